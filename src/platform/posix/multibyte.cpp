// MultiByteToWideChar and WideCharToMultiByte on glibc iconv, with Windows'
// answers where iconv would stop: a byte that starts no character, and a
// character the target cannot hold, become replacements instead of errors.
#include <errno.h>
#include <string.h>

#include "platform/platform.h"
#include "platform/posix/codepage_backend.h"

namespace cadserv::platform {
namespace {

// What one bad piece of input becomes: `skip` input bytes are replaced by
// `size` output bytes.
struct Replacement {
  size_t skip = 1;
  char bytes[4] = {};
  size_t size = 0;
};

// Converts `inLeft` bytes through `cd` into `out` (at most `outCapacity`
// bytes) or, when `out` is null, only counts. Returns the bytes produced, or
// -1 when they do not fit (the bytes that did fit stay written).
template <typename ReplaceBadInput>
int64_t RunIconv(iconv_t cd, const char* in, size_t inLeft, char* out, size_t outCapacity,
                 ReplaceBadInput replace) {
  int savedErrno = errno;
  bool counting = out == nullptr;
  char scratch[256];
  size_t produced = 0;
  char* inPtr = const_cast<char*>(in);
  // One iconv step into the free part of the output; false when it is full.
  // With no input it flushes: some decoders (glibc's 1255 and 1258) hold a
  // base letter back to see whether a combining mark follows.
  auto step = [&](bool flush) {
    char* outPtr = counting ? scratch : out + produced;
    size_t room = counting ? sizeof scratch : outCapacity - produced;
    size_t outLeft = room;
    size_t done = flush ? iconv(cd, nullptr, nullptr, &outPtr, &outLeft)
                        : iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    produced += room - outLeft;
    if (done != static_cast<size_t>(-1)) return 0;
    return errno == E2BIG ? (counting && outLeft < room ? 1 : -1) : 2;
  };
  // Converters are left in their initial state (see the end), so none needs
  // a reset before use.
  int64_t result = 0;
  while (result == 0 && inLeft > 0) {
    int status = step(false);
    if (status == 1) continue;  // counting: the scratch block is full
    if (status < 0) result = -1;
    if (status != 2) continue;
    // EILSEQ (no character of the source, or none of the target) or EINVAL
    // (a sequence cut off by the end of the input): inPtr is at its start.
    Replacement bad = replace(inPtr, inLeft);
    if (step(true) != 0 || (!counting && outCapacity - produced < bad.size)) {
      result = -1;
      break;
    }
    if (!counting) memcpy(out + produced, bad.bytes, bad.size);
    produced += bad.size;
    inPtr += bad.skip;
    inLeft -= bad.skip;
  }
  if (result == 0 && step(true) != 0) result = -1;
  if (result != 0) iconv(cd, nullptr, nullptr, nullptr, nullptr);
  errno = savedErrno;
  return result < 0 ? result : static_cast<int64_t>(produced);
}

// Code pages for which Windows refuses every flag but MB_ERR_INVALID_CHARS.
bool TakesNoFlags(uint32_t codePage) {
  switch (codePage) {
    case 42:
    case 50220:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:
    case 52936:
    case 54936:
    case 65000:
    case 65001:
      return true;
    default:
      return codePage >= 57002 && codePage <= 57011;
  }
}

// The unit a bad byte sequence of `codePage` starting with `lead` becomes.
WCHAR DefaultUnit(uint32_t codePage, uint8_t lead) {
  if (codePage == 65001 || codePage == 54936) return 0xFFFD;
  uint32_t maxCharSize = 1;
  CodePageInfo(codePage, &maxCharSize);
  if (maxCharSize > 1) return 0x30FB;  // KATAKANA MIDDLE DOT, the CJK pages' default
  return lead;
}

void PutUnit(Replacement& replacement, WCHAR unit) {
  memcpy(replacement.bytes, &unit, sizeof unit);
  replacement.size = sizeof unit;
}

}  // namespace

int32_t MultiByteToWide(uint32_t codePage, uint32_t flags, const char* bytes, int32_t byteCount,
                        WCHAR* units, int32_t unitCount) {
  codePage = ResolveCodePage(codePage);
  if (byteCount <= 0 || unitCount < 0 || bytes == nullptr) return 0;
  if ((flags & ~kMbPrecomposed) != 0 || (flags != 0 && TakesNoFlags(codePage))) return 0;
  Converters* converters = ConvertersFor(codePage);
  if (converters == nullptr) return 0;
  bool counting = units == nullptr || unitCount == 0;
  auto replace = [codePage](const char* at, size_t left) {
    Replacement bad;
    uint8_t lead = static_cast<uint8_t>(at[0]);
    // A lead byte takes the byte after it along, unless that is a zero byte:
    // a terminator is never swallowed as a trail byte.
    if (IsLeadByte(codePage, lead) && left > 1 && at[1] != '\0') bad.skip = 2;
    PutUnit(bad, DefaultUnit(codePage, lead));
    return bad;
  };
  int64_t produced =
      RunIconv(converters->toUnits, bytes, static_cast<size_t>(byteCount),
               counting ? nullptr : reinterpret_cast<char*>(units),
               counting ? 0 : static_cast<size_t>(unitCount) * sizeof(WCHAR), replace);
  return produced < 0 ? 0 : static_cast<int32_t>(produced / sizeof(WCHAR));
}

int32_t WideToMultiByte(uint32_t codePage, const WCHAR* units, int32_t unitCount, char* bytes,
                        int32_t byteCount) {
  codePage = ResolveCodePage(codePage);
  if (unitCount <= 0 || byteCount < 0 || units == nullptr) return 0;
  Converters* converters = ConvertersFor(codePage);
  if (converters == nullptr) return 0;
  iconv_t cd = FromUnitsConverter(*converters);
  if (cd == Converters::kNoConverter) return 0;
  bool counting = bytes == nullptr || byteCount == 0;
  auto replace = [codePage](const char*, size_t) {
    Replacement bad;
    bad.skip = sizeof(WCHAR);  // one unit, so an unpaired surrogate costs one
    if (codePage == 65001) {
      memcpy(bad.bytes, "\xEF\xBF\xBD", 3);  // U+FFFD
      bad.size = 3;
    } else {
      bad.bytes[0] = '?';
      bad.size = 1;
    }
    return bad;
  };
  int64_t produced = RunIconv(cd, reinterpret_cast<const char*>(units),
                              static_cast<size_t>(unitCount) * sizeof(WCHAR),
                              counting ? nullptr : bytes, counting ? 0 : byteCount, replace);
  return produced < 0 ? 0 : static_cast<int32_t>(produced);
}

}  // namespace cadserv::platform
