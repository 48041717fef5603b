#include "platform/posix/settings_file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/settings_text.h"

namespace cadserv::platform {
namespace {

// A larger file is not one this library wrote; reading it would only cost.
constexpr off_t kMaxStoreBytes = 16 << 20;

// Closes a descriptor when the scope ends.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  // Closes now; false when close reports an error (a write that failed late).
  bool Close() {
    int fd = fd_;
    fd_ = -1;
    return close(fd) == 0;
  }

 private:
  int fd_;
};

std::string HomeFolder() {
  const char* home = getenv("HOME");
  if (home != nullptr && home[0] == '/') return home;
  struct passwd entry;
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr &&
      found->pw_dir != nullptr && found->pw_dir[0] == '/') {
    return found->pw_dir;
  }
  return "";
}

// mkdir -p with mode 0700 for the folders it creates.
bool MakeFolders(const std::string& folder) {
  for (size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
    std::string part = folder.substr(0, slash);
    if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) break;
  }
  struct stat info;
  return stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool ReadWhole(int fd, std::string* bytes) {
  struct stat info;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > kMaxStoreBytes) {
    return false;
  }
  bytes->resize(static_cast<size_t>(info.st_size));
  size_t done = 0;
  while (done < bytes->size()) {
    ssize_t got = read(fd, &(*bytes)[done], bytes->size() - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<size_t>(got);
  }
  return true;
}

bool WriteWhole(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t put = write(fd, bytes.data() + done, bytes.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<size_t>(put);
  }
  return true;
}

bool LockExclusive(int fd) {
  while (flock(fd, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// Writes the new file beside the old one and renames it into place.
bool ReplaceFile(const std::string& folder, const std::string& path, const std::string& text) {
  std::string temporary = path + ".XXXXXX";
  int fd = mkostemp(&temporary[0], O_CLOEXEC);
  if (fd < 0) return false;
  Descriptor file(fd);
  bool written = fchmod(fd, 0600) == 0 && WriteWhole(fd, text) && fsync(fd) == 0 && file.Close() &&
                 rename(temporary.c_str(), path.c_str()) == 0;
  if (!written) {
    unlink(temporary.c_str());
    return false;
  }
  // The rename itself reaches the disk with the folder's entry.
  Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.get() >= 0) fsync(directory.get());
  return true;
}

// Temporary files that a process killed in the middle of a save left
// behind. Only the holder of the lock writes one, so under the lock every
// such file is stale.
void RemoveStaleTemporaries(const std::string& folder) {
  DIR* directory = opendir(folder.c_str());
  if (directory == nullptr) return;
  const std::string prefix = "settings.reg.";
  while (const struct dirent* entry = readdir(directory)) {
    if (std::string(entry->d_name).compare(0, prefix.size(), prefix) == 0) {
      unlinkat(dirfd(directory), entry->d_name, 0);
    }
  }
  closedir(directory);
}

// Reads the store at `path` into `tree`. False when a file is there but
// cannot be read or is not the text form (the tree is then empty); true
// for a good file and for none at all.
bool ReadStore(const std::string& path, SettingsTree* tree) {
  *tree = SettingsTree();
  if (path.empty()) return true;
  Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return errno == ENOENT;
  std::string text;
  return ReadWhole(file.get(), &text) && ParseSettingsText(text, tree);
}

}  // namespace

std::string SettingsFolder() {
  const char* config = getenv("XDG_CONFIG_HOME");
  if (config != nullptr && config[0] == '/') return std::string(config) + "/cadserv";
  std::string home = HomeFolder();
  return home.empty() ? home : home + "/.config/cadserv";
}

std::string SettingsFilePath() {
  std::string folder = SettingsFolder();
  return folder.empty() ? folder : folder + "/settings.reg";
}

SettingsTree ReadSettingsStore() {
  SettingsTree tree;
  ReadStore(SettingsFilePath(), &tree);
  return tree;
}

bool UpdateSettingsStore(const std::function<bool(SettingsTree*)>& change) {
  std::string folder = SettingsFolder();
  if (folder.empty() || !MakeFolders(folder)) return false;
  std::string lockPath = folder + "/settings.lock";
  Descriptor lock(open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (lock.get() < 0 || !LockExclusive(lock.get())) return false;
  RemoveStaleTemporaries(folder);
  std::string path = SettingsFilePath();
  SettingsTree tree;
  bool damaged = !ReadStore(path, &tree);
  if (!change(&tree)) return true;
  if (damaged) {
    // The file that read as empty stays at hand for its owner: perhaps a
    // hand edit that went wrong, which this save is about to replace.
    std::string kept = folder + "/settings.bad";
    unlink(kept.c_str());
    link(path.c_str(), kept.c_str());
  }
  return ReplaceFile(folder, path, FormatSettingsText(tree));
}

}  // namespace cadserv::platform
