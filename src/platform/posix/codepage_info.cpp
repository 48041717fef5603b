// GetCPInfo and CharNextA on POSIX: what glibc iconv knows, with the
// character sizes and lead bytes that Windows reports for the same numbers.
#include "platform/platform.h"
#include "platform/posix/codepage_backend.h"

namespace cadserv::platform {
namespace {

struct CharSize {
  uint32_t codePage;
  uint32_t maxCharSize;
};

// The code pages of more than one byte per character; all others are 1.
constexpr CharSize kMultiByte[] = {
    {932, 2},   {936, 2},   {949, 2},   {950, 2},   {20932, 3},
    {51932, 3}, {51949, 2}, {54936, 4}, {65001, 4},
};

}  // namespace

bool CodePageInfo(uint32_t codePage, uint32_t* maxCharSize) {
  codePage = ResolveCodePage(codePage);
  if (ConvertersFor(codePage) == nullptr) return false;
  if (maxCharSize != nullptr) {
    *maxCharSize = 1;
    for (const CharSize& entry : kMultiByte) {
      if (entry.codePage == codePage) *maxCharSize = entry.maxCharSize;
    }
  }
  return true;
}

bool IsLeadByte(uint32_t codePage, uint8_t byte) {
  switch (ResolveCodePage(codePage)) {
    case 932:  // Shift JIS: two lead byte ranges around the half-width katakana
      return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    case 936:  // GBK
    case 949:  // Unified Hangul Code
    case 950:  // Big5
      return byte >= 0x81 && byte <= 0xFE;
    default:
      return false;
  }
}

const char* NextCharAnsi(const char* text) {
  if (*text == '\0') return text;
  uint32_t ansi = static_cast<uint32_t>(AnsiCodePage());
  if (IsLeadByte(ansi, static_cast<uint8_t>(*text)) && text[1] != '\0') return text + 2;
  return text + 1;
}

}  // namespace cadserv::platform
