// Differential fuzzing of string conversion: SERV_CodePageConvertStr (which
// converts long strings through byte maps) must give exactly what
// SERV_CodePageConvert gives byte by byte, and leave everything after the
// terminator alone.
//
// Input: byte 0 picks the source code page, byte 1 the target, byte 2 the
// platform's ANSI code page (bits 0-1) and whether the text is repeated to
// a long string (bit 2); the rest is the text, zeros included.
#include <stdint.h>
#include <stdlib.h>

#include <string>

#include "cadserv/codepage.h"
#include "platform/platform.h"

namespace {

// The table code pages, the special ones, code pages the platform converts
// (932 is double-byte: its lead bytes alone do not convert) and numbers the
// platform does not know.
constexpr int32_t kCodePages[] = {437,
                                  850,
                                  852,
                                  1250,
                                  1251,
                                  1252,
                                  1253,
                                  1254,
                                  SERV_CP_DEFAULT,
                                  SERV_CP_PURE_ASCII,
                                  SERV_CP_UNICODE,
                                  CP_SYMBOL,
                                  866,
                                  932,
                                  1257,
                                  0,
                                  -1,
                                  12345};
constexpr size_t kCodePageCount = sizeof(kCodePages) / sizeof(kCodePages[0]);
constexpr int32_t kAnsiCodePages[] = {0, 1252, 1251, 866};
constexpr size_t kLongText = 1024;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  const int32_t from = kCodePages[data[0] % kCodePageCount];
  const int32_t to = kCodePages[data[1] % kCodePageCount];
  const uint8_t flags = data[2];
  std::string text(reinterpret_cast<const char*>(data + 3), size - 3);
  if ((flags & 4) != 0 && !text.empty()) {
    const std::string piece = text;
    while (text.size() < kLongText) text += piece;
  }
  text.push_back('\0');

  cadserv::platform::SetAnsiCodePageForTesting(kAnsiCodePages[flags & 3]);
  std::string expected = text;
  if (from != to) {
    for (char& c : expected) {
      if (c == '\0') break;
      c = static_cast<char>(SERV_CodePageConvert(static_cast<unsigned char>(c), from, to));
    }
  }
  if (SERV_CodePageConvertStr(&text[0], from, to) != 0) abort();
  if (text != expected) abort();
  cadserv::platform::SetAnsiCodePageForTesting(0);
  return 0;
}
