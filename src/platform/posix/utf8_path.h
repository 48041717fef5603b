// UTF-16 names -> UTF-8 at the POSIX boundary.
#ifndef CADSERV_PLATFORM_POSIX_UTF8_PATH_H
#define CADSERV_PLATFORM_POSIX_UTF8_PATH_H

#include <string>

#include "cadserv/com.h"

namespace cadserv::platform {

// The UTF-8 form of a zero-terminated UTF-16 string. Surrogate pairs combine;
// an unpaired surrogate becomes U+FFFD, so every name has some spelling.
std::string Utf8FromUtf16(const WCHAR* text);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_UTF8_PATH_H
