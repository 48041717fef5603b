// Conversion of one character between code pages, for the string paths.
#ifndef CADSERV_TEXT_CODEPAGE_CONVERT_H
#define CADSERV_TEXT_CODEPAGE_CONVERT_H

#include <stdint.h>

namespace cadserv::text {

// Character `character` of code page `from` to code page `to` through one
// UTF-16 unit: SERV_CodePageConvert without its two first steps. `from` is
// never SERV_CP_DEFAULT here (the caller resolved it), and equal code pages
// still convert (1252 to 1252 goes through the tables like any other pair).
int32_t ConvertThroughUnit(int32_t character, int32_t from, int32_t to);

}  // namespace cadserv::text

#endif  // CADSERV_TEXT_CODEPAGE_CONVERT_H
