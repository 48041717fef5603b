#include "streams/split_path.h"

#include <string>

namespace cadserv::streams {
namespace {

bool IsSeparator(WCHAR c) {
  return c == u'\\' || c == u'/';
}

// Copies [begin, end) and a terminator into `out` of `limit` units; false
// when it does not fit.
bool CopyPart(const WCHAR* begin, const WCHAR* end, WCHAR* out, size_t limit) {
  size_t length = static_cast<size_t>(end - begin);
  if (length >= limit) return false;
  for (size_t i = 0; i < length; ++i) out[i] = begin[i];
  out[length] = 0;
  return true;
}

}  // namespace

bool SplitPath(const WCHAR* path, PathParts* parts) {
  parts->drive[0] = parts->dir[0] = parts->fileName[0] = parts->extension[0] = 0;
  if (path == nullptr) return false;
  const WCHAR* rest = path;
  if (rest[0] != 0 && rest[1] == u':') {
    CopyPart(rest, rest + 2, parts->drive, kMaxDrive);
    rest += 2;
  }
  // The folder runs through the last separator; the extension starts at the
  // last dot after it.
  const WCHAR* name = rest;
  const WCHAR* dot = nullptr;
  const WCHAR* end = rest;
  for (; *end != 0; ++end) {
    if (IsSeparator(*end)) {
      name = end + 1;
      dot = nullptr;
    } else if (*end == u'.') {
      dot = end;
    }
  }
  if (dot == nullptr) dot = end;
  bool fits = CopyPart(rest, name, parts->dir, kMaxDir) &&
              CopyPart(name, dot, parts->fileName, kMaxFileName) &&
              CopyPart(dot, end, parts->extension, kMaxExtension);
  if (!fits) parts->drive[0] = parts->dir[0] = parts->fileName[0] = parts->extension[0] = 0;
  return fits;
}

bool MakePath(WCHAR* out, size_t capacity, const WCHAR* drive, const WCHAR* dir,
              const WCHAR* fileName, const WCHAR* extension) {
  std::u16string path;
  if (drive != nullptr && drive[0] != 0) {
    path += drive[0];
    path += u':';
  }
  if (dir != nullptr && dir[0] != 0) {
    path += dir;
    if (!IsSeparator(path.back())) path += u'\\';
  }
  if (fileName != nullptr) path += fileName;
  if (extension != nullptr && extension[0] != 0) {
    if (extension[0] != u'.') path += u'.';
    path += extension;
  }
  if (path.size() + 1 > capacity) return false;
  for (size_t i = 0; i < path.size(); ++i) out[i] = path[i];
  out[path.size()] = 0;
  return true;
}

}  // namespace cadserv::streams
