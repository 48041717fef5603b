// Splitting a path into drive, folder, file name and extension and joining
// them again, as the C runtime's _wsplitpath and _wmakepath do, on any
// platform: `\` and `/` both separate folders, and a drive is the first two
// characters when the second is ':'.
#ifndef CADSERV_STREAMS_SPLIT_PATH_H
#define CADSERV_STREAMS_SPLIT_PATH_H

#include <stddef.h>

#include "cadserv/com.h"

namespace cadserv::streams {

// The runtime library's component limits, terminators included
// (_MAX_DRIVE, _MAX_DIR, _MAX_FNAME, _MAX_EXT), and MAX_PATH.
constexpr size_t kMaxDrive = 3;
constexpr size_t kMaxDir = 256;
constexpr size_t kMaxFileName = 256;
constexpr size_t kMaxExtension = 256;
constexpr size_t kMaxPath = 260;

struct PathParts {
  WCHAR drive[kMaxDrive];          // "C:" or empty
  WCHAR dir[kMaxDir];              // through the last separator: "\jobs\" or empty
  WCHAR fileName[kMaxFileName];    // up to the last dot after the folder
  WCHAR extension[kMaxExtension];  // from that dot on, with it: ".dxf" or empty
};

// _wsplitpath. A component longer than its limit makes the split fail (all
// parts empty): the runtime's own behaviour there is undefined, and a cut
// folder name would name another folder.
bool SplitPath(const WCHAR* path, PathParts* parts);

// _wmakepath into `out`, which holds `capacity` units: the drive letter and a
// colon, the folder with a `\` added when it ends in no separator, the file
// name, and the extension with a '.' added in front when it has none. Empty
// or null parts are left out. False, with `out` untouched, when the path and
// its terminator do not fit.
bool MakePath(WCHAR* out, size_t capacity, const WCHAR* drive, const WCHAR* dir,
              const WCHAR* fileName, const WCHAR* extension);

}  // namespace cadserv::streams

#endif  // CADSERV_STREAMS_SPLIT_PATH_H
