// Character and string conversion between code pages through one UTF-16 unit.
#include "text/codepage_convert.h"

#include <string.h>

#include "cadserv/codepage.h"
#include "platform/platform.h"
#include "text/codepage_bytemap.h"
#include "text/codepage_tables.h"

namespace cadserv::text {
namespace {

constexpr int32_t kReplacement = '?';

// Source side: byte (or unit) c of code page `from` -> UTF-16 unit.
int32_t ToUnit(int32_t c, int32_t from) {
  if (c < 0x80) return c;
  if (from == SERV_CP_UNICODE) return c;
  if (const char16_t* table = ToUnicodeTable(from)) {
    return c <= 0xFF ? table[c - 0x80] : kReplacement;
  }
  if (from == CP_SYMBOL) return c | 0xF000;
  if (from == SERV_CP_PURE_ASCII) {
    int32_t unit = c & 0x7F;
    return unit < 0x20 ? kReplacement : unit;
  }
  WCHAR unit;
  if (platform::ConvertByteToUnit(static_cast<uint32_t>(from), static_cast<uint8_t>(c), &unit)) {
    return unit;
  }
  return c;
}

int32_t LookUp(const uint8_t* table, int32_t unit) {
  int index = FromUnicodeIndex(static_cast<uint32_t>(unit));
  return index < 0 ? kReplacement : table[index];
}

// Target side: UTF-16 unit w -> character of code page `to`.
int32_t FromUnit(int32_t w, int32_t to) {
  if (w < 0x80) return w;
  if (to == SERV_CP_UNICODE) return w;
  if (const uint8_t* table = FromUnicodeTable(to)) return LookUp(table, w);
  if (to == CP_SYMBOL) return w & 0xFF;
  // Code pages without a table of their own: Latin-1 units stay as they are,
  // anything above is spelled as code page 1250 would spell it.
  if (w < 0x100) return w;
  return LookUp(FromUnicodeTable(1250), w);
}

}  // namespace

int32_t ConvertThroughUnit(int32_t character, int32_t from, int32_t to) {
  return FromUnit(ToUnit(character, from), to);
}

}  // namespace cadserv::text

int32_t SERV_CodePageConvert(int32_t character, int32_t from, int32_t to) {
  using namespace cadserv;
  if (from == to) return character;
  if (from == SERV_CP_DEFAULT) from = platform::AnsiCodePage();
  return text::ConvertThroughUnit(character, from, to);
}

int32_t SERV_CodePageConvertStr(char* text, int32_t from, int32_t to) {
  using namespace cadserv;
  if (from == to) return 0;
  if (text == nullptr) return -1;
  // The ANSI code page is looked up once for the whole string. The length is
  // taken first: a byte that converts to 0 does not end the string early.
  if (from == SERV_CP_DEFAULT) from = platform::AnsiCodePage();
  text::ConvertBytes(reinterpret_cast<unsigned char*>(text), strlen(text), from, to);
  return 0;
}
