// A whole file as a compound file reader's byte source, read from a
// read-only mapping: reading an element is then a memory copy rather than a
// system call per piece.
#ifndef CADSERV_PLATFORM_POSIX_FILE_VIEW_SOURCE_H
#define CADSERV_PLATFORM_POSIX_FILE_VIEW_SOURCE_H

#include <stdint.h>

#include <memory>

#include "platform/posix/compound_file.h"

namespace cadserv::platform {

// Maps the first `size` bytes of the file open on `descriptor`. On success
// the source owns the descriptor (closing it when destroyed, which also
// drops any flock on it). Null when the file cannot be mapped (an empty
// file, a file system without mappings); the descriptor then stays the
// caller's. Copies run under the in-page-error guard: a file that shrinks
// under the mapping gives read failures, as a pread source does, not SIGBUS.
std::unique_ptr<cfb::ByteSource> MapFileSource(int descriptor, uint64_t size);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_FILE_VIEW_SOURCE_H
