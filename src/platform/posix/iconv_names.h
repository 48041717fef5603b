// Windows code page numbers -> glibc iconv encoding names.
#ifndef CADSERV_PLATFORM_POSIX_ICONV_NAMES_H
#define CADSERV_PLATFORM_POSIX_ICONV_NAMES_H

#include <stdint.h>

#include <string>

namespace cadserv::platform {

// The iconv name of a Windows code page, or "" when glibc has no equivalent.
std::string IconvName(uint32_t codePage);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_ICONV_NAMES_H
