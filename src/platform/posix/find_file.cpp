// FindFirstFileW on one name: for now the exact name only.
#include <sys/stat.h>

#include <string>

#include "platform/platform.h"
#include "platform/posix/utf8_path.h"

namespace cadserv::platform {

bool FindFile(const WCHAR* path, FoundFile* found) {
  if (path == nullptr || path[0] == 0) return false;
  std::string name = Utf8FromUtf16(path);
  for (char& c : name) {
    if (c == '\\') c = '/';
  }
  struct stat info;
  if (stat(name.c_str(), &info) != 0) return false;
  if (found != nullptr) {
    found->isDirectory = S_ISDIR(info.st_mode);
    found->size = found->isDirectory ? 0 : static_cast<uint64_t>(info.st_size);
  }
  return true;
}

}  // namespace cadserv::platform
