// The POSIX stand-in for structured exception handling around memory
// accesses: a guarded call whose faults (SIGSEGV, SIGBUS) are shown to a
// filter, which decides as a Win32 exception filter does.
//
// One process-wide handler for SIGSEGV and SIGBUS is installed at the first
// guarded call (or by InstallFaultHandler), chained to whatever handler was there before. A fault on a
// thread inside a guarded call goes to that thread's guards, innermost
// first; a fault that no guard takes (or outside any guarded call) goes on
// to the previous handler, or ends the process as it would have without
// the guard.
#ifndef CADSERV_PLATFORM_POSIX_FAULT_GUARD_H
#define CADSERV_PLATFORM_POSIX_FAULT_GUARD_H

namespace cadserv::platform::posix {

// A filter's answer, with the values of EXCEPTION_CONTINUE_SEARCH,
// EXCEPTION_EXECUTE_HANDLER and EXCEPTION_CONTINUE_EXECUTION.
enum class FaultAction : int {
  kContinueSearch = 0,     // not this guard's fault: ask the next one out
  kExecuteHandler = 1,     // abandon the guarded call: RunGuarded returns false
  kContinueExecution = -1  // the filter mended the cause: retry the access
};

struct FaultInfo {
  int signal;           // SIGSEGV or SIGBUS
  const void* address;  // the faulting address (si_addr)
};

// Runs in the signal handler: must only do what is safe there.
using FaultFilter = FaultAction (*)(const FaultInfo& fault, void* context);

// Installs the process's handler if it is not yet: before the first
// GuardedCopy, which has no setup of its own.
void InstallFaultHandler();

// Calls body(bodyContext) under a guard. True when the body returned; false
// when a fault was handed to `filter` and it answered kExecuteHandler. The
// body is then left where it faulted (a longjmp): it must hold no lock and
// own nothing that needs cleaning up, as a plain memory copy does not.
bool RunGuarded(void (*body)(void*), void* bodyContext, FaultFilter filter, void* filterContext);

}  // namespace cadserv::platform::posix

#endif  // CADSERV_PLATFORM_POSIX_FAULT_GUARD_H
