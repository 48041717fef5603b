// The storage and stream element objects of the POSIX backend's compound
// file reader, over any byte source.
#ifndef CADSERV_PLATFORM_POSIX_COMPOUND_STORAGE_H
#define CADSERV_PLATFORM_POSIX_COMPOUND_STORAGE_H

#include <memory>

#include "platform/platform.h"
#include "platform/posix/compound_file.h"

namespace cadserv::platform {

// The root storage of the compound file that `source` holds, with one
// reference; null when the source is no valid compound file. Every object
// opened from it shares the source, which lives until the last is released.
Storage* OpenStorageFromSource(std::unique_ptr<cfb::ByteSource> source);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_COMPOUND_STORAGE_H
