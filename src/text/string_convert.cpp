// Whole strings between a code page and UTF-16: the platform's converter for
// the code pages it knows, the library's own tables (or, for code page 932,
// a packing of lead and trail bytes) for the others.
#include <stdlib.h>
#include <string.h>

#include "cadserv/codepage.h"
#include "cadserv/text.h"
#include "platform/platform.h"

namespace cadserv::text {
namespace {

using platform::kMbPrecomposed;

constexpr uint32_t kShiftJis = 932;

int32_t ByteLength(const char* text) {
  return static_cast<int32_t>(strlen(text));
}

int32_t UnitLength(const WCHAR* text) {
  int32_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

bool SameAddress(const void* a, const void* b) {
  return a == b;
}

// Lead bytes of the 932 packing. Narrower than Shift JIS's own lead range
// (which reaches 0xFC): bytes 0xF0-0xFC stand for themselves here.
bool IsPackingLeadByte(uint8_t byte) {
  return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xEF);
}

// Code page 932 without a converter: each character is kept as its bytes,
// a lead byte and its trail as one unit lead x 256 + trail. In place, the
// string first moves up by `length` bytes so that reading stays ahead of
// writing: unit k covers bytes 2k and 2k+1, and byte r of the string sits at
// length + r, with k <= r.
int32_t Pack932(const char* source, WCHAR* destination, int32_t length) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(source);
  if (SameAddress(source, destination)) {
    uint8_t* buffer = reinterpret_cast<uint8_t*>(destination);
    memmove(buffer + length, buffer, static_cast<size_t>(length) + 1);
    in = buffer + length;
  }
  int32_t units = 0;
  for (int32_t r = 0;; ++units) {
    uint8_t byte = in[r++];
    if (byte == 0) break;
    WCHAR unit = byte;
    if (IsPackingLeadByte(byte)) {
      uint8_t trail = in[r++];  // may be the terminator
      unit = static_cast<WCHAR>(byte << 8 | trail);
      if (trail == 0) {
        destination[units++] = unit;
        break;
      }
    }
    destination[units] = unit;
  }
  destination[units] = 0;
  return units;
}

// A code page the platform does not know: byte by byte through the library's
// own conversion, from the terminator back to the first byte so that, in
// place, unit i (bytes 2i and 2i+1) never covers a byte not yet read.
int32_t ConvertThroughTables(const char* source, WCHAR* destination, int32_t length,
                             uint32_t codePage) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(source);
  for (int32_t i = length; i >= 0; --i) {
    uint8_t byte = in[i];
    destination[i] = static_cast<WCHAR>(
        SERV_CodePageConvert(byte, static_cast<int32_t>(codePage), SERV_CP_UNICODE));
  }
  return length;
}

// One byte of a single-byte code page the platform knows, as one unit: the
// platform's one-byte conversion (a table lookup after the first use), and
// for a byte without a character, its own value.
WCHAR ConvertOneByte(const char* byte, uint32_t codePage) {
  WCHAR unit;
  if (platform::ConvertByteToUnit(codePage, static_cast<uint8_t>(*byte), &unit)) return unit;
  return static_cast<uint8_t>(*byte);
}

// In place in a code page of more than one byte per character: the bytes
// are copied aside first, since a character's units may need more room than
// its bytes before it is read.
int32_t ConvertMultiByteInPlace(WCHAR* buffer, int32_t length, uint32_t codePage) {
  char* copy = static_cast<char*>(malloc(static_cast<size_t>(length) + 1));
  if (copy == nullptr) return length;
  memcpy(copy, buffer, static_cast<size_t>(length) + 1);
  int32_t units =
      platform::MultiByteToWide(codePage, kMbPrecomposed, copy, length + 1, buffer, length + 1);
  free(copy);
  return units;
}

// In place in a single-byte code page: unit i (bytes 2i and 2i+1) is written
// only after byte i was read, and from the end down, so every byte is read
// before a unit covers it; byte 0 is converted aside and stored last.
int32_t ConvertSingleByteInPlace(WCHAR* buffer, int32_t length, uint32_t codePage) {
  const char* bytes = reinterpret_cast<const char*>(buffer);
  for (int32_t i = length; i >= 1; --i) buffer[i] = ConvertOneByte(bytes + i, codePage);
  WCHAR first = ConvertOneByte(bytes, codePage);
  buffer[0] = first;
  return length + 1;
}

}  // namespace
}  // namespace cadserv::text

int32_t SERV_StrToWideStr(const char* source, WCHAR* destination, uint32_t codePage) {
  using namespace cadserv;
  using namespace cadserv::text;
  if (source == nullptr) return 0;
  int32_t length = ByteLength(source);
  if (destination == nullptr) {
    if (codePage == 932 || codePage == 936 || codePage == 950) {
      return platform::MultiByteToWide(codePage, kMbPrecomposed, source, length, nullptr, 0);
    }
    return length;
  }
  uint32_t maxCharSize = 1;
  if (!platform::CodePageInfo(codePage, &maxCharSize)) {
    if (codePage == kShiftJis) return Pack932(source, destination, length);
    return ConvertThroughTables(source, destination, length, codePage);
  }
  if (!SameAddress(source, destination)) {
    int32_t units = platform::MultiByteToWide(codePage, kMbPrecomposed, source, length + 1,
                                              destination, length + 1);
    if (units == 0) {
      units = platform::MultiByteToWide(codePage, 0, source, length + 1, destination, length + 1);
    }
    return units;
  }
  if (maxCharSize > 1) return ConvertMultiByteInPlace(destination, length, codePage);
  return ConvertSingleByteInPlace(destination, length, codePage);
}

int32_t SERV_WideStrToStr(const WCHAR* source, char* destination, uint32_t codePage) {
  using namespace cadserv;
  using namespace cadserv::text;
  if (source == nullptr) return 0;
  int32_t length = UnitLength(source);
  if (destination == nullptr) return length;
  if (!SameAddress(source, destination) && platform::CodePageInfo(codePage, nullptr)) {
    return platform::WideToMultiByte(codePage, source, length + 1, destination, 2 * (length + 1));
  }
  // One byte per unit: byte i is written after unit i (bytes 2i and 2i+1)
  // was read, so in place the writing never overtakes the reading.
  int32_t i = 0;
  for (; source[i] != 0; ++i) {
    WCHAR unit = source[i];
    char byte;
    if (platform::CodePageInfo(codePage, nullptr)) {
      // A character that takes two bytes in the code page has no one-byte
      // form: it becomes '?', as unmappable characters do.
      char bytes[8];
      byte =
          platform::WideToMultiByte(codePage, &unit, 1, bytes, sizeof bytes) == 1 ? bytes[0] : '?';
    } else {
      byte = static_cast<char>(
          SERV_CodePageConvert(unit, SERV_CP_UNICODE, static_cast<int32_t>(codePage)));
    }
    destination[i] = byte;
  }
  destination[i] = '\0';
  return i;
}
