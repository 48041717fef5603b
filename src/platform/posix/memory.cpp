// The COM task allocator and the local heap, both on malloc, with the
// Win32-named entry points a caller uses to free what the library hands out.
#include <stdlib.h>

#include "cadserv/com.h"
#include "platform/platform.h"

namespace cadserv::platform {

void* TaskMemAlloc(size_t bytes) { return malloc(bytes == 0 ? 1 : bytes); }
void TaskMemFree(void* block) { free(block); }
void* LocalHeapAlloc(size_t bytes) { return malloc(bytes == 0 ? 1 : bytes); }
void LocalHeapFree(void* block) { free(block); }

}  // namespace cadserv::platform

void* CoTaskMemAlloc(SIZE_T bytes) { return cadserv::platform::TaskMemAlloc(bytes); }
void CoTaskMemFree(void* block) { cadserv::platform::TaskMemFree(block); }

HLOCAL LocalAlloc(UINT, SIZE_T bytes) { return cadserv::platform::LocalHeapAlloc(bytes); }

HLOCAL LocalFree(HLOCAL block) {
  cadserv::platform::LocalHeapFree(block);
  return nullptr;
}
