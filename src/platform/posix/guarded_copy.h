// Copies from mapped views whose faults on the source need no per-call
// setup: a copy routine, and the block load that platform.h declares.
//
// RunGuarded pays for a sigsetjmp and a thread-local frame on every call,
// which is nothing beside a 64 KiB copy but most of the cost of copying a
// text line. The routine here is instead known to the fault handler by its
// code addresses, as the Linux kernel knows its user-copy routines through
// exception tables: a fault inside it whose address lies in the source
// range makes the handler resume it at its failure return. They are hand-
// written in assembly so that no compiler decides where their loads are.
#ifndef CADSERV_PLATFORM_POSIX_GUARDED_COPY_H
#define CADSERV_PLATFORM_POSIX_GUARDED_COPY_H

#include <stddef.h>

namespace cadserv::platform::posix {

// True where the routine exists (x86-64 Linux); elsewhere callers use
// RunGuarded.
#if defined(__x86_64__) && defined(__linux__)
constexpr bool kHaveGuardedCopy = true;
#else
constexpr bool kHaveGuardedCopy = false;
#endif

// Copies `count` bytes; false when reading `source` faulted (the destination
// may then hold part of the bytes). The process's fault handler must be
// installed first (InstallFaultHandler). Only where kHaveGuardedCopy.
bool GuardedCopy(void* destination, const void* source, size_t count);

// Called by the fault handler with the signal's context: true when the fault
// is a read of the source inside GuardedCopy or LoadBlockFromMappedView,
// which then resumes at its failure return.
bool RedirectGuardedCopyFault(const void* faultAddress, void* signalContext);

}  // namespace cadserv::platform::posix

#endif  // CADSERV_PLATFORM_POSIX_GUARDED_COPY_H
