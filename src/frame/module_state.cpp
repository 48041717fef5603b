#include "frame/module_state.h"

#include <atomic>

namespace cadserv::frame {
namespace {

platform::ModuleHandle g_module = nullptr;
// The counts change without the lock for the page objects and under it for
// streams; atomics keep both kinds of change whole.
std::atomic<int32_t> g_objects{0};
std::atomic<int32_t> g_serverLocks{0};

}  // namespace

void ProcessAttach(platform::ModuleHandle module) {
  g_module = module;
  LibraryLock();  // constructs the lock now rather than at first use
}

void ProcessDetach() {}

platform::ModuleHandle ThisModule() { return g_module; }

platform::CriticalSection& LibraryLock() {
  static platform::CriticalSection lock;
  return lock;
}

void AddObject() { g_objects.fetch_add(1, std::memory_order_relaxed); }
void RemoveObject() { g_objects.fetch_sub(1, std::memory_order_relaxed); }
int32_t ObjectCount() { return g_objects.load(std::memory_order_relaxed); }

void AddServerLock() { g_serverLocks.fetch_add(1, std::memory_order_relaxed); }
void RemoveServerLock() { g_serverLocks.fetch_sub(1, std::memory_order_relaxed); }
int32_t ServerLockCount() { return g_serverLocks.load(std::memory_order_relaxed); }

}  // namespace cadserv::frame
