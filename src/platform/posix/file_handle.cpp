// Files opened the way CreateFileW opens them, with Windows share modes
// emulated by flock() so that they hold between processes.
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/platform.h"
#include "platform/posix/utf8_path.h"

namespace cadserv::platform {
namespace {

// The share check of CreateFileW, for the four ways the library opens files:
// a new open must share every access the existing opens have, and every
// existing open must share the new one's access. Reading opens share reading
// with each other; no way shares writing, so a writer conflicts with every
// other open and every other open conflicts with a writer. That is exactly a
// readers-writer lock: readers hold flock(LOCK_SH), writers flock(LOCK_EX).
// The compound file reader holds LOCK_SH for STGM_SHARE_DENY_WRITE, which is
// the same share. flock() belongs to the open file description, so two opens
// in one process exclude each other as two processes do.
struct OpenWay {
  int flags;
  int lock;
  bool truncate;
};

OpenWay WayOf(FileOpen how) {
  switch (how) {
    case FileOpen::kReadExisting:
      return {O_RDONLY, LOCK_SH, false};
    case FileOpen::kWriteTruncate:
      return {O_WRONLY | O_CREAT, LOCK_EX, true};
    case FileOpen::kReadWriteAlways:
      return {O_RDWR | O_CREAT, LOCK_EX, false};
    case FileOpen::kWriteExisting:
      return {O_WRONLY, LOCK_EX, false};
  }
  return {O_RDONLY, LOCK_SH, false};
}

FileHandle Fail(FileError* error, FileError reason) {
  if (error != nullptr) *error = reason;
  return kInvalidFile;
}

int Descriptor(FileHandle file) {
  return static_cast<int>(file);
}

bool IsOpen(FileHandle file) {
  return file >= 0 && file <= INT32_MAX;
}

}  // namespace

FileHandle OpenFile(const WCHAR* path, FileOpen how, FileError* error) {
  if (error != nullptr) *error = FileError::kNone;
  if (path == nullptr || path[0] == 0) return Fail(error, FileError::kOther);
  const OpenWay way = WayOf(how);
  // O_NONBLOCK keeps a FIFO from holding the open up; it is cleared below.
  int descriptor;
  do {
    descriptor = open(Utf8FromUtf16(path).c_str(), way.flags | O_CLOEXEC | O_NONBLOCK, 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) return Fail(error, FileError::kOther);

  struct stat info;
  if (fstat(descriptor, &info) != 0 || S_ISDIR(info.st_mode)) {
    close(descriptor);
    return Fail(error, FileError::kOther);
  }
  // File systems without flock leave the file unshared rather than unusable.
  if (flock(descriptor, way.lock | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    close(descriptor);
    return Fail(error, FileError::kSharingViolation);
  }
  int flags = fcntl(descriptor, F_GETFL);
  bool ready = flags >= 0 && fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0;
  if (ready && way.truncate && S_ISREG(info.st_mode)) ready = ftruncate(descriptor, 0) == 0;
  if (!ready) {
    close(descriptor);
    return Fail(error, FileError::kOther);
  }
  return descriptor;
}

void CloseFile(FileHandle file) {
  if (IsOpen(file)) close(Descriptor(file));  // also drops the flock
}

bool ReadFile(FileHandle file, void* buffer, uint32_t count, uint32_t* countRead) {
  if (countRead != nullptr) *countRead = 0;
  if (!IsOpen(file) || (buffer == nullptr && count > 0)) return false;
  // ReadFile returns once the request is filled or the file ends; read()
  // may return less from a pipe or on a signal, so it is repeated.
  uint8_t* out = static_cast<uint8_t*>(buffer);
  uint32_t done = 0;
  while (done < count) {
    ssize_t got = read(Descriptor(file), out + done, count - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    done += static_cast<uint32_t>(got);
  }
  if (countRead != nullptr) *countRead = done;
  return true;
}

bool WriteFile(FileHandle file, const void* buffer, uint32_t count, uint32_t* countWritten) {
  if (countWritten != nullptr) *countWritten = 0;
  if (!IsOpen(file) || (buffer == nullptr && count > 0)) return false;
  const uint8_t* in = static_cast<const uint8_t*>(buffer);
  uint32_t done = 0;
  while (done < count) {
    ssize_t put = write(Descriptor(file), in + done, count - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<uint32_t>(put);
  }
  if (countWritten != nullptr) *countWritten = done;
  return true;
}

uint32_t SetFilePointer(FileHandle file, int32_t offset, uint32_t origin) {
  if (!IsOpen(file)) return kInvalidSetFilePointer;
  int descriptor = Descriptor(file);
  off_t base;
  switch (origin) {
    case 0:
      base = 0;
      break;
    case 1:
      base = lseek(descriptor, 0, SEEK_CUR);
      break;
    case 2: {
      struct stat info;
      base = fstat(descriptor, &info) == 0 ? info.st_size : -1;
      break;
    }
    default:
      return kInvalidSetFilePointer;
  }
  if (base < 0) return kInvalidSetFilePointer;
  // Without a high part the new position must fit in 32 bits. A position of
  // exactly 0xFFFFFFFF is taken, and reads as a failure, as on Windows.
  int64_t target = static_cast<int64_t>(base) + offset;
  if (target < 0 || target > int64_t{UINT32_MAX}) return kInvalidSetFilePointer;
  if (lseek(descriptor, static_cast<off_t>(target), SEEK_SET) < 0) return kInvalidSetFilePointer;
  return static_cast<uint32_t>(target);
}

bool GetFileInformation(FileHandle file, FileInformation* information) {
  struct stat info;
  if (!IsOpen(file) || information == nullptr || fstat(Descriptor(file), &info) != 0) return false;
  // FILETIME counts 100 ns units from 1601-01-01, 11644473600 s before 1970.
  constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
  int64_t seconds = static_cast<int64_t>(info.st_mtim.tv_sec) + kSecondsFrom1601To1970;
  information->size = static_cast<uint64_t>(info.st_size);
  information->lastWriteFileTime = seconds < 0
                                       ? 0
                                       : static_cast<uint64_t>(seconds) * 10000000u +
                                             static_cast<uint64_t>(info.st_mtim.tv_nsec) / 100u;
  return true;
}

}  // namespace cadserv::platform
