// Pieces shared by the POSIX code page functions: code page resolution, the
// test hook's list of code pages declared unknown, and the calling thread's
// iconv converters.
#ifndef CADSERV_PLATFORM_POSIX_CODEPAGE_BACKEND_H
#define CADSERV_PLATFORM_POSIX_CODEPAGE_BACKEND_H

#include <iconv.h>
#include <stdint.h>

namespace cadserv::platform {

// 0 (CP_ACP) and 3 (CP_THREAD_ACP) -> the ANSI code page, 1 (CP_OEMCP) -> the
// OEM code page; every other value as it is.
uint32_t ResolveCodePage(uint32_t codePage);

// True while a test has declared `codePage` unknown.
bool DeclaredUnknownForTesting(uint32_t codePage);

// The calling thread's converters between one code page and UTF-16 (host
// byte order). An iconv_t must not be used by two threads at once, and
// opening one costs far more than converting a short string, so each thread
// keeps its own for the code pages it used last.
struct Converters {
  uint32_t codePage = 0;
  iconv_t toUnits = kNoConverter;    // code page -> UTF-16; kNoConverter: unknown
  iconv_t fromUnits = kNoConverter;  // UTF-16 -> code page; opened at first use
  bool fromOpened = false;

  static inline const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);
};

// The converters of the (resolved) code page, or null when the platform does
// not know it. The pointer is good until the thread's next call.
Converters* ConvertersFor(uint32_t codePage);

// The UTF-16 -> code page converter of `converters`, opened on first use;
// kNoConverter when iconv has none.
iconv_t FromUnitsConverter(Converters& converters);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_CODEPAGE_BACKEND_H
