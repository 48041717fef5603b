// FindFile: FindFirstFileW on one name, on POSIX file systems.
//
// Paths come from drawings made on Windows, so they are read the Windows
// way: `\` and `/` both separate folders, and a drive prefix ("C:") is
// dropped: Linux has one tree, so `C:\jobs\plan.dwg` is looked up as
// `/jobs/plan.dwg` and `C:plan.dwg` as `plan.dwg` in the current folder.
// An empty path, or one that ends in a separator, finds nothing (as
// FindFirstFileW finds nothing for a trailing backslash).
//
// The exact name is tried first. Failing that, the path is walked folder by
// folder, and a component that does not exist as written is matched without
// regard to case among its folder's entries, since Windows names files in
// any case. The last component may hold the wildcards '*' (any run of
// characters) and '?' (one character). Where several entries match, the
// first in byte order is taken, so the answer does not depend on the order
// of readdir.
//
// Case is folded as Windows folds file names: each UTF-16 unit to its simple
// uppercase. The folding here covers ASCII, Latin-1, Latin Extended-A, Greek,
// Cyrillic and the fullwidth Latin letters; other characters match only
// exactly. Entry names that are not valid UTF-8 match only exactly.
#include <dirent.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/name_case.h"
#include "platform/posix/utf8_path.h"

namespace cadserv::platform {
namespace {

// UTF-8 -> code points; false on a malformed sequence.
bool Decode(const std::string& text, std::u32string& out) {
  out.clear();
  for (size_t i = 0; i < text.size();) {
    unsigned char lead = static_cast<unsigned char>(text[i]);
    int extra = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
    if (extra < 0 || lead >= 0xF8 || i + extra >= text.size()) return false;
    char32_t c = extra == 0 ? lead : lead & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
      unsigned char next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      c = (c << 6) | (next & 0x3F);
    }
    out += c;
    i += static_cast<size_t>(extra) + 1;
  }
  return true;
}

bool HasWildcards(const std::u32string& name) {
  return name.find(U'*') != std::u32string::npos || name.find(U'?') != std::u32string::npos;
}

// Does `name` match `pattern` with case folded, '*' and '?' as wildcards
// when `wildcards` is set? Backtracks to the last '*' only, which is enough
// for these two wildcards.
bool Matches(const std::u32string& pattern, const std::u32string& name, bool wildcards) {
  size_t p = 0, n = 0, star = std::u32string::npos, resume = 0;
  while (n < name.size()) {
    if (p < pattern.size() && wildcards && pattern[p] == U'*') {
      star = p++;
      resume = n;
    } else if (p < pattern.size() && ((wildcards && pattern[p] == U'?') ||
                                      UpcaseName(pattern[p]) == UpcaseName(name[n]))) {
      ++p;
      ++n;
    } else if (star != std::u32string::npos) {
      p = star + 1;
      n = ++resume;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && wildcards && pattern[p] == U'*') ++p;
  return p == pattern.size();
}

bool Stat(const std::string& path, struct stat* info) {
  // A dangling symbolic link is still an entry of its folder.
  return stat(path.c_str(), info) == 0 || lstat(path.c_str(), info) == 0;
}

bool IsFolder(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The entry of `folder` (empty: the current folder; else ending in '/') that
// matches `name`, the first in byte order; folders only if `folderWanted`.
bool FindEntry(const std::string& folder, const std::string& name, bool wildcards,
               bool folderWanted, std::string& entry) {
  std::u32string pattern;
  if (!Decode(name, pattern)) return false;
  DIR* dir = opendir(folder.empty() ? "." : folder.c_str());
  if (dir == nullptr) return false;
  bool found = false;
  std::u32string candidate;
  while (const dirent* item = readdir(dir)) {
    std::string itemName = item->d_name;
    if (found && itemName >= entry) continue;
    if (!Decode(itemName, candidate) || !Matches(pattern, candidate, wildcards)) continue;
    if (folderWanted && !IsFolder(folder + itemName)) continue;
    entry = itemName;
    found = true;
  }
  closedir(dir);
  return found;
}

bool Report(const std::string& path, FoundFile* found) {
  struct stat info;
  if (!Stat(path, &info)) return false;
  if (found != nullptr) {
    // Folders have no size of their own in a search's answer.
    found->isDirectory = S_ISDIR(info.st_mode);
    found->size = found->isDirectory ? 0 : static_cast<uint64_t>(info.st_size);
  }
  return true;
}

}  // namespace

bool FindFile(const WCHAR* path, FoundFile* found) {
  if (path == nullptr || path[0] == 0) return false;
  std::string name = Utf8FromUtf16(path[1] == u':' ? path + 2 : path);
  for (char& c : name) {
    if (c == '\\') c = '/';
  }
  if (name.empty() || name.back() == '/') return false;
  if (Report(name, found)) return true;

  std::vector<std::string> parts;
  for (size_t start = 0; start < name.size();) {
    size_t end = name.find('/', start);
    if (end == std::string::npos) end = name.size();
    if (end > start) parts.push_back(name.substr(start, end - start));
    start = end + 1;
  }
  std::string folder = name[0] == '/' ? "/" : "";
  for (size_t i = 0; i + 1 < parts.size(); ++i) {
    const std::string& part = parts[i];
    std::string entry;
    if (part == "." || part == ".." || IsFolder(folder + part)) {
      entry = part;
    } else if (!FindEntry(folder, part, false, true, entry)) {
      return false;
    }
    folder += entry + "/";
  }
  const std::string& last = parts.back();
  if (Report(folder + last, found)) return true;
  std::u32string lastName;
  bool wildcards = Decode(last, lastName) && HasWildcards(lastName);
  std::string entry;
  return FindEntry(folder, last, wildcards, false, entry) && Report(folder + entry, found);
}

}  // namespace cadserv::platform
