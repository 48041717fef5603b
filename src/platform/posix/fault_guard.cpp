#include "platform/posix/fault_guard.h"

#include <pthread.h>
#include <setjmp.h>
#include <signal.h>

#include <mutex>

#include "platform/posix/guarded_copy.h"

namespace cadserv::platform::posix {
namespace {

// One guarded call on the current thread; frames link outwards.
struct GuardFrame {
  GuardFrame* outer;
  FaultFilter filter;
  void* filterContext;
  sigjmp_buf resume;
};

// The innermost guard of each thread. Initial-exec TLS: the handler reads it
// without the lazy allocation that a dynamically loaded library's TLS may
// otherwise do on a thread's first access, which is not signal-safe.
__attribute__((tls_model("initial-exec"))) thread_local GuardFrame* t_innermost = nullptr;

struct sigaction g_previousSegv;
struct sigaction g_previousBus;
std::once_flag g_installed;

// Hands a fault no guard took to the handler that was installed before ours.
void PassOn(int signal, siginfo_t* info, void* context) {
  const struct sigaction& previous = signal == SIGBUS ? g_previousBus : g_previousSegv;
  if ((previous.sa_flags & SA_SIGINFO) != 0 && previous.sa_sigaction != nullptr) {
    previous.sa_sigaction(signal, info, context);
    return;
  }
  if (previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN) {
    previous.sa_handler(signal);
    return;
  }
  // Default action: with the default disposition back, a fault re-executes
  // the access on return and ends the process with the same signal; a
  // signal that someone sent is raised again.
  struct sigaction fallback = {};
  fallback.sa_handler = SIG_DFL;
  sigemptyset(&fallback.sa_mask);
  sigaction(signal, &fallback, nullptr);
  if (info == nullptr || info->si_code <= 0) raise(signal);
}

void OnFault(int signal, siginfo_t* info, void* context) {
  // Only a fault raised by the thread's own access is a guard's business;
  // si_code <= 0 means another process or raise() sent the signal.
  if (info != nullptr && info->si_code > 0) {
    if (RedirectGuardedCopyFault(info->si_addr, context)) return;
    FaultInfo fault{signal, info->si_addr};
    for (GuardFrame* frame = t_innermost; frame != nullptr; frame = frame->outer) {
      FaultAction action = frame->filter(fault, frame->filterContext);
      if (action == FaultAction::kContinueExecution) return;
      if (action == FaultAction::kExecuteHandler) siglongjmp(frame->resume, 1);
    }
  }
  PassOn(signal, info, context);
}

void InstallHandler() {
  struct sigaction ours = {};
  ours.sa_sigaction = OnFault;
  ours.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&ours.sa_mask);
  sigaction(SIGSEGV, &ours, &g_previousSegv);
  sigaction(SIGBUS, &ours, &g_previousBus);
}

}  // namespace

void InstallFaultHandler() {
  std::call_once(g_installed, InstallHandler);
}

bool RunGuarded(void (*body)(void*), void* bodyContext, FaultFilter filter, void* filterContext) {
  InstallFaultHandler();
  GuardFrame frame;
  frame.outer = t_innermost;
  frame.filter = filter;
  frame.filterContext = filterContext;
  // The mask is not saved: that would cost a system call on every guarded
  // call. The handler ran with its signal blocked (and nothing else added),
  // and the jump skips the return that would unblock it; unblocking it here
  // restores the mask as it was, since a thread that blocks SIGSEGV or
  // SIGBUS cannot survive the fault to get here.
  if (sigsetjmp(frame.resume, 0) != 0) {
    t_innermost = frame.outer;
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGSEGV);
    sigaddset(&faults, SIGBUS);
    pthread_sigmask(SIG_UNBLOCK, &faults, nullptr);
    return false;
  }
  t_innermost = &frame;
  body(bodyContext);
  t_innermost = frame.outer;
  return true;
}

}  // namespace cadserv::platform::posix
