// Code page conversion of characters and strings (one UTF-16 unit at a time).
#ifndef CADSERV_CODEPAGE_H
#define CADSERV_CODEPAGE_H

#include <stdint.h>

#include "cadserv/export.h"

// Code page identifiers with a meaning of their own besides the platform's
// code page numbers.
#define CP_SYMBOL 42
#define SERV_CP_DEFAULT 32769    // the platform's current ANSI code page (as a source)
#define SERV_CP_PURE_ASCII 32770 // accents dropped ("Pure ASCII" transliteration)
#define SERV_CP_UNICODE 32772    // the value is a UTF-16 code unit

// Converts one character of code page `from` (a byte 0-255, or a UTF-16 unit
// when `from` is SERV_CP_UNICODE) to code page `to`, through one UTF-16 unit.
// Characters below 0x80, negative values included, pass unchanged; what cannot
// be represented becomes '?'. Equal code pages return the character as it is.
// Never fails.
CADSERV_CAPI int32_t SERV_CodePageConvert(int32_t character, int32_t from, int32_t to);

// Converts the zero-terminated byte string in place, byte by byte, keeping
// the low byte of each converted character. Returns 0, or -1 for a null
// string when the code pages differ (equal code pages: 0, string untouched).
CADSERV_CAPI int32_t SERV_CodePageConvertStr(char* text, int32_t from, int32_t to);

#endif  // CADSERV_CODEPAGE_H
