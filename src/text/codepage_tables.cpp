// PLACEHOLDER until the generator lands.
#include "text/codepage_tables.h"
namespace cadserv::text {
const char16_t* ToUnicodeTable(int32_t) { return nullptr; }
const uint8_t* FromUnicodeTable(int32_t) { static uint8_t t[kFromUnicodeEntries]; return t; }
}
