// Element names of compound files: their order and case-insensitive equality.
#ifndef CADSERV_PLATFORM_POSIX_COMPOUND_NAME_H
#define CADSERV_PLATFORM_POSIX_COMPOUND_NAME_H

#include <stddef.h>

namespace cadserv::platform::cfb {

// The simple uppercase form of one UTF-16 unit (surrogates map to themselves).
char16_t UppercaseUnit(char16_t unit);

// The order of sibling names in a storage's tree: the shorter name first,
// then unit by unit on the uppercase forms. Negative, 0 or positive.
int CompareNames(const char16_t* a, size_t aLength, const char16_t* b, size_t bLength);

}  // namespace cadserv::platform::cfb

#endif  // CADSERV_PLATFORM_POSIX_COMPOUND_NAME_H
