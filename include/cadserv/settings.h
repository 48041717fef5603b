// The user's text mapping choices, the settings keys of filters, and
// process-unique numbers.
//
// The choices live per user under HKEY_CURRENT_USER\CLSID\{class id of
// CLSID_TextMappingSettings}\Parameters as three REG_DWORD values:
// "InputCP" (the input code page, bit 16 set when a drawing's own code page
// is to be used), "OutputCP" and "TranslateACADSpec". A value missing, or
// longer than 4 bytes, counts as absent.
#ifndef CADSERV_SETTINGS_H
#define CADSERV_SETTINGS_H

#include <stdint.h>

#include "cadserv/com.h"
#include "cadserv/registry.h"

// Opens HKEY_CURRENT_USER\CLSID\{clsid} (the class id in its braced text
// form). With `create` set the key is created if need be, with `options`
// (REG_OPTION_NON_VOLATILE or REG_OPTION_VOLATILE), and opened with
// KEY_WRITE; with `create` clear it is only opened, with KEY_READ. Null
// when it cannot be opened. The caller closes the key with RegCloseKey.
// A filter keeps its own settings this way, below its own class id.
CADSERV_CAPI HKEY SERV_OpenCreateSettingsKey(const CLSID* clsid, BYTE create, DWORD options);

// The user's input and output code pages. The first call reads the store;
// later calls return the value kept in the process, which a Set call below
// or a save from the Text Mapping page replaces. With nothing stored (or a
// store that cannot be read) both are the system's ANSI code page.
CADSERV_CAPI int32_t SERV_GetRegisteredInputCodePage(void);
CADSERV_CAPI int32_t SERV_GetRegisteredOutputCodePage(void);

// Overrides the code page for the rest of the process; the store is not
// written. 65535 makes the next Get call read the store again.
CADSERV_CAPI void SERV_SetRegisteredInputCodePage(int32_t codePage);
CADSERV_CAPI void SERV_SetRegisteredOutputCodePage(int32_t codePage);

// Whether the code page that a drawing declares is to be used (bit 16 of
// "InputCP"), and whether AutoCAD special-character codes are translated
// ("TranslateACADSpec" not 0). Read from the store at each call; false when
// it holds nothing.
CADSERV_CAPI BYTE SERV_QueryIfUseDrawingCodePage(void);
CADSERV_CAPI BYTE SERV_QueryIfTranslateACADSpec(void);

// A number no other call in this process has returned: 262144, 262145, ...
// (it wraps after 2^32 calls). Safe to call from any thread.
CADSERV_CAPI int32_t SERV_GetUniqueID(void);

#endif  // CADSERV_SETTINGS_H
