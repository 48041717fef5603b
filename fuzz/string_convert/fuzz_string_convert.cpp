// Drives SERV_StrToWideStr and SERV_WideStrToStr (and the blank tests) with
// random bytes, code pages and in-place or separate buffers. Each buffer is
// allocated at exactly the size the caller is told to provide, so that a
// write past it is an AddressSanitizer report.
//
// Input: byte 0 picks the code page, byte 1 the choices (bit 0 in place,
// bit 1 wide to narrow, bit 2 hide code page 932 from the platform, bit 3
// a double-byte ANSI code page); the rest is the string.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "cadserv/cadserv.h"
#include "platform/platform.h"

namespace {

const uint32_t kCodePages[] = {0,     1,     437,   850,   852,   866,   874,   932,
                               936,   949,   950,   1250,  1251,  1252,  1253,  1254,
                               1255,  1258,  20127, 28591, 54936, 65001, 42,    32769,
                               32770, 32772, 12345, 3};

void Check(bool condition) {
  if (!condition) abort();
}

void NarrowToWide(const std::vector<char>& text, uint32_t codePage, bool inPlace) {
  size_t length = strlen(text.data());
  if (inPlace) {
    // 2 x (length + 1) bytes at the string's own address.
    std::vector<char> buffer(2 * (length + 1));
    memcpy(buffer.data(), text.data(), length + 1);
    int32_t result = SERV_StrToWideStr(buffer.data(), reinterpret_cast<WCHAR*>(buffer.data()),
                                       codePage);
    Check(result >= 0 && static_cast<size_t>(result) <= length + 1);
    return;
  }
  int32_t query = SERV_StrToWideStr(text.data(), nullptr, codePage);
  Check(query >= 0 && static_cast<size_t>(query) <= length);
  std::vector<WCHAR> wide(length + 1);
  int32_t result = SERV_StrToWideStr(text.data(), wide.data(), codePage);
  Check(result >= 0 && static_cast<size_t>(result) <= length + 1);
  SERV_hasPrintableCharactersW(wide.data());
}

void WideToNarrow(const std::vector<WCHAR>& text, uint32_t codePage, bool inPlace) {
  size_t length = 0;
  while (text[length] != 0) ++length;
  Check(SERV_WideStrToStr(text.data(), nullptr, codePage) == static_cast<int32_t>(length));
  if (inPlace) {
    std::vector<WCHAR> buffer(text.begin(), text.begin() + static_cast<ptrdiff_t>(length) + 1);
    int32_t result =
        SERV_WideStrToStr(buffer.data(), reinterpret_cast<char*>(buffer.data()), codePage);
    Check(result == static_cast<int32_t>(length));
    return;
  }
  // The platform converter may use 2 x (length + 1) bytes; one byte per unit
  // and the terminator is all the other path may use.
  bool known = cadserv::platform::CodePageInfo(codePage, nullptr);
  std::vector<char> narrow(known ? 2 * (length + 1) : length + 1);
  int32_t result = SERV_WideStrToStr(text.data(), narrow.data(), codePage);
  Check(result >= 0 && static_cast<size_t>(result) <= narrow.size());
  SERV_hasPrintableCharacters(narrow.data());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  uint32_t codePage = kCodePages[data[0] % (sizeof kCodePages / sizeof kCodePages[0])];
  uint8_t choices = data[1];
  data += 2;
  size -= 2;
  cadserv::platform::SetCodePageUnknownForTesting(932, (choices & 4) != 0);
  cadserv::platform::SetAnsiCodePageForTesting((choices & 8) != 0 ? 932 : 1252);
  if ((choices & 2) == 0) {
    std::vector<char> text(data, data + size);
    text.push_back('\0');
    SERV_hasPrintableCharacters(text.data());
    NarrowToWide(text, codePage, (choices & 1) != 0);
  } else {
    std::vector<WCHAR> text(size / 2 + 1, 0);
    if (size >= 2) memcpy(text.data(), data, size / 2 * 2);
    WideToNarrow(text, codePage, (choices & 1) != 0);
  }
  cadserv::platform::SetCodePageUnknownForTesting(932, false);
  cadserv::platform::SetAnsiCodePageForTesting(0);
  return 0;
}
