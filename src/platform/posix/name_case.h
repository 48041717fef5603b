// Case folding of names as Windows folds file, key and value names.
#ifndef CADSERV_PLATFORM_POSIX_NAME_CASE_H
#define CADSERV_PLATFORM_POSIX_NAME_CASE_H

namespace cadserv::platform {

// The simple uppercase of one character, as Windows folds file names and
// registry names unit by unit. The folding covers ASCII, Latin-1, Latin
// Extended-A, Greek, Cyrillic and the fullwidth Latin letters; any other
// character is its own uppercase.
char32_t UpcaseName(char32_t c);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_NAME_CASE_H
