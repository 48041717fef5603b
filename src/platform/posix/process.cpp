// Process attach and detach of the shared object, and its module handle.
#include <dlfcn.h>

#include "frame/module_state.h"
#include "platform/platform.h"

namespace cadserv::platform {
namespace {

// The dlopen handle of the object this code was linked into: the shared
// library, or the program itself when the library's objects are linked in
// statically. Taking the handle with RTLD_NOLOAD adds a reference, which is
// given back at once so that the host alone decides when the library unloads;
// the handle stays valid for as long as the object is loaded.
ModuleHandle FindOwnModule() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&FindOwnModule), &info) == 0 || info.dli_fname == nullptr) {
    return nullptr;
  }
  void* handle = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) handle = dlopen(nullptr, RTLD_LAZY);
  if (handle != nullptr) dlclose(handle);
  return handle;
}

__attribute__((constructor)) void OnLoad() { frame::ProcessAttach(FindOwnModule()); }
__attribute__((destructor)) void OnUnload() { frame::ProcessDetach(); }

}  // namespace
}  // namespace cadserv::platform
