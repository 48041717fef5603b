// Compound files on disk: the file as a byte source (mapped, see
// file_view_source.h, or read with pread where it cannot be mapped), and
// the deny-write share of an open compound file as a shared flock().
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/platform.h"
#include "platform/posix/compound_storage.h"
#include "platform/posix/file_view_source.h"
#include "platform/posix/utf8_path.h"

namespace cadserv::platform {
namespace {

constexpr uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

// Reads with pread, so one descriptor serves every element at once. The
// size is fixed when the file is opened; if the file shrinks later, reads
// past its new end fail instead of faulting as a mapping would.
class FileSource final : public cfb::ByteSource {
 public:
  FileSource(int descriptor, uint64_t size) : descriptor_(descriptor), size_(size) {}
  ~FileSource() override { close(descriptor_); }  // also drops the flock

  uint64_t Size() const override { return size_; }

  bool ReadAt(uint64_t offset, void* buffer, size_t count) const override {
    uint8_t* out = static_cast<uint8_t*>(buffer);
    while (count > 0) {
      if (offset > static_cast<uint64_t>(INT64_MAX)) return false;
      ssize_t got = pread(descriptor_, out, count, static_cast<off_t>(offset));
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      out += got;
      offset += static_cast<uint64_t>(got);
      count -= static_cast<size_t>(got);
    }
    return true;
  }

 private:
  int descriptor_;
  uint64_t size_;
};

// Opens a regular file for reading (O_NONBLOCK: a FIFO must not block the
// open; it is then refused as no regular file). Its size goes to `size`.
int OpenForReading(const WCHAR* path, uint64_t* size) {
  if (path == nullptr || path[0] == 0) return -1;
  int descriptor = open(Utf8FromUtf16(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return -1;
  struct stat info;
  if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(descriptor);
    return -1;
  }
  *size = static_cast<uint64_t>(info.st_size);
  return descriptor;
}

}  // namespace

bool IsStorageFile(const WCHAR* path) {
  uint64_t size = 0;
  int descriptor = OpenForReading(path, &size);
  if (descriptor < 0) return false;
  uint8_t start[sizeof kSignature];
  bool isStorage =
      pread(descriptor, start, sizeof start, 0) == static_cast<ssize_t>(sizeof start) &&
      memcmp(start, kSignature, sizeof kSignature) == 0;
  close(descriptor);
  return isStorage;
}

Storage* OpenStorageFile(const WCHAR* path) {
  uint64_t size = 0;
  int descriptor = OpenForReading(path, &size);
  if (descriptor < 0) return nullptr;
  // Deny-write: writers take an exclusive flock, so while this shared one is
  // held none can open the file, and a file a writer holds cannot be opened
  // here. flock belongs to the open file description, so this also works
  // between two opens in one process. File systems without flock leave the
  // file unshared rather than unreadable.
  if (flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    close(descriptor);
    return nullptr;
  }
  // Mapped where the file allows it (element reads are then memory copies);
  // read with pread otherwise.
  std::unique_ptr<cfb::ByteSource> source = MapFileSource(descriptor, size);
  if (source == nullptr) source = std::make_unique<FileSource>(descriptor, size);
  return OpenStorageFromSource(std::move(source));
}

}  // namespace cadserv::platform
