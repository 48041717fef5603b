// Whole-string conversion between code pages and UTF-16, character sets and
// the well-known code page list.
#ifndef CADSERV_TEXT_H
#define CADSERV_TEXT_H

#include <stdint.h>

#include "cadserv/com.h"
#include "cadserv/export.h"

// Byte string -> UTF-16. `destination` may be null (size query) or equal to
// `source` (in place; the buffer then needs 2 x (length + 1) bytes). See the
// reference documentation for the count returned on each path.
CADSERV_CAPI int32_t SERV_StrToWideStr(const char* source, WCHAR* destination, uint32_t codePage);

// UTF-16 string -> bytes. `destination` may be null (returns the unit count)
// or equal to `source` (in place, one byte per unit).
CADSERV_CAPI int32_t SERV_WideStrToStr(const WCHAR* source, char* destination, uint32_t codePage);

// TRUE when the string holds a character above the blank before any control
// character (spaces are stepped over as whole characters of the ANSI code page).
CADSERV_CAPI uint8_t SERV_hasPrintableCharacters(const char* text);
// TRUE when the string holds a unit above 0x20.
CADSERV_CAPI uint8_t SERV_hasPrintableCharactersW(const WCHAR* text);

// Font character set -> code page (0 when none); 1 (DEFAULT_CHARSET) answers
// `defaultCodePage`.
CADSERV_CAPI int32_t SERV_Charset2CodePage(int32_t charset, int32_t defaultCodePage);
// Code page -> font character set; 1 (DEFAULT_CHARSET) when none.
CADSERV_CAPI uint32_t SERV_CodePage2Charset(int32_t codePage);

// Entry `index` (0-9) of the well-known code page list: stores its code page
// and a 100-byte local-heap block holding its display name (free it with
// LocalFree) and returns the name's length. Past the end: returns 0, stores
// SERV_CP_DEFAULT and leaves *name alone.
CADSERV_CAPI int32_t SERV_CodePageConvertInfo(uint32_t index, char** name, uint32_t ignored,
                                              int32_t* codePage);

#endif  // CADSERV_TEXT_H
