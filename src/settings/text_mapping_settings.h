// Saving the user's text mapping choices, as the Text Mapping page and the
// command-line tool do.
#ifndef CADSERV_SETTINGS_TEXT_MAPPING_SETTINGS_H
#define CADSERV_SETTINGS_TEXT_MAPPING_SETTINGS_H

#include <stdint.h>

namespace cadserv::settings {

// Writes "InputCP" (`inputCodePage`, with bit 16 set when
// `useDrawingCodePage`), "OutputCP" and "TranslateACADSpec" (`translate`
// as given) to the Parameters key of CLSID_TextMappingSettings, creating
// the keys as needed. Whether or not the store could be written, the
// process's input and output code pages become `inputCodePage` (bit 16
// clear) and `outputCodePage`. Returns whether all three values were
// written.
bool SaveTextMappingSettings(int32_t inputCodePage, bool useDrawingCodePage, int32_t outputCodePage,
                             uint32_t translate);

}  // namespace cadserv::settings

#endif  // CADSERV_SETTINGS_TEXT_MAPPING_SETTINGS_H
