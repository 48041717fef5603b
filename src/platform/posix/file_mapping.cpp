// Read-only mappings of whole files, and the guarded copy out of them.
#include <string.h>
#include <sys/mman.h>

#include <new>

#include "platform/platform.h"
#include "platform/posix/fault_guard.h"
#include "platform/posix/guarded_copy.h"

namespace cadserv::platform {

// mmap needs the descriptor and the length; the mapping object keeps them
// between CreateFileMappingW's and MapViewOfFile's stand-ins.
struct FileMapping {
  int descriptor;
  size_t size;
};

FileMapping* CreateReadOnlyMapping(FileHandle file, uint32_t size) {
  if (file < 0 || file > INT32_MAX || size == 0) return nullptr;
  return new (std::nothrow) FileMapping{static_cast<int>(file), size};
}

const uint8_t* MapView(FileMapping* mapping) {
  if (mapping == nullptr) return nullptr;
  // Copies from the view rely on the fault handler being in place.
  posix::InstallFaultHandler();
  // Shared, as a Windows view is: changes others make to the file show.
  void* view = mmap(nullptr, mapping->size, PROT_READ, MAP_SHARED, mapping->descriptor, 0);
  return view == MAP_FAILED ? nullptr : static_cast<const uint8_t*>(view);
}

void UnmapView(FileMapping* mapping, const uint8_t* view) {
  if (mapping != nullptr && view != nullptr) munmap(const_cast<uint8_t*>(view), mapping->size);
}

void CloseMapping(FileMapping* mapping) {
  delete mapping;
}

namespace {

struct Copy {
  void* destination;
  const void* source;
  size_t count;
};

void CopyBytes(void* context) {
  const Copy* copy = static_cast<const Copy*>(context);
  memcpy(copy->destination, copy->source, copy->count);
}

// An in-page error is a fault on the source bytes: SIGBUS where the file no
// longer has the page, SIGSEGV where the view itself is gone. A fault on the
// destination is the caller's and goes on as it would without the guard.
posix::FaultAction InPageErrorFilter(const posix::FaultInfo& fault, void* context) {
  const Copy* copy = static_cast<const Copy*>(context);
  const uint8_t* address = static_cast<const uint8_t*>(fault.address);
  const uint8_t* start = static_cast<const uint8_t*>(copy->source);
  bool inSource = address >= start && address - start < static_cast<ptrdiff_t>(copy->count);
  return inSource ? posix::FaultAction::kExecuteHandler : posix::FaultAction::kContinueSearch;
}

}  // namespace

// Up to this many bytes the guarded copy routine is cheaper than a guard's
// setup; beyond it memcpy's own speed counts more.
constexpr size_t kShortCopy = 256;

bool CopyFromMappedView(void* destination, const void* source, size_t count) {
  if (count == 0) return true;
  if (posix::kHaveGuardedCopy && count <= kShortCopy) {
    return posix::GuardedCopy(destination, source, count);
  }
  Copy copy{destination, source, count};
  return posix::RunGuarded(CopyBytes, &copy, InPageErrorFilter, &copy);
}

}  // namespace cadserv::platform
