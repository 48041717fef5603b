#include "platform/posix/file_view_source.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

#include "platform/platform.h"
#include "platform/posix/fault_guard.h"

namespace cadserv::platform {
namespace {

class FileViewSource final : public cfb::ByteSource {
 public:
  FileViewSource(int descriptor, const uint8_t* view, size_t size)
      : descriptor_(descriptor), view_(view), size_(size) {}
  ~FileViewSource() override {
    munmap(const_cast<uint8_t*>(view_), size_);
    close(descriptor_);
  }

  uint64_t Size() const override { return size_; }

  bool ReadAt(uint64_t offset, void* buffer, size_t count) const override {
    if (offset > size_ || count > size_ - offset) return false;
    return CopyFromMappedView(buffer, view_ + offset, count);
  }

 private:
  int descriptor_;
  const uint8_t* view_;
  size_t size_;
};

}  // namespace

std::unique_ptr<cfb::ByteSource> MapFileSource(int descriptor, uint64_t size) {
  if (size == 0 || size > SIZE_MAX) return nullptr;
  posix::InstallFaultHandler();  // before any copy from the view
  void* view = mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_SHARED, descriptor, 0);
  if (view == MAP_FAILED) return nullptr;
  std::unique_ptr<cfb::ByteSource> source(new (std::nothrow) FileViewSource(
      descriptor, static_cast<const uint8_t*>(view), static_cast<size_t>(size)));
  if (source == nullptr) munmap(view, static_cast<size_t>(size));
  return source;
}

}  // namespace cadserv::platform
