// SERV_GetUniqueID: numbers unique within the process, under the library lock.
#include "cadserv/settings.h"
#include "frame/module_state.h"

namespace {

// The next number to hand out; kept only for the life of the process.
uint32_t g_nextUniqueId = 0x40000;

}  // namespace

int32_t SERV_GetUniqueID(void) {
  cadserv::platform::CriticalSectionGuard guard(cadserv::frame::LibraryLock());
  uint32_t id = g_nextUniqueId++;  // wraps at 2^32 without notice
  return static_cast<int32_t>(id);
}
