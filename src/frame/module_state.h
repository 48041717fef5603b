// Process-wide state of the library: module handle, library lock, object
// count and lock count. Lives from process attach to process detach.
#ifndef CADSERV_FRAME_MODULE_STATE_H
#define CADSERV_FRAME_MODULE_STATE_H

#include <stdint.h>

#include "platform/platform.h"

namespace cadserv::frame {

// Called by the platform backend when the library is loaded and unloaded.
void ProcessAttach(platform::ModuleHandle module);
void ProcessDetach();

// The library's own module handle, kept at process attach.
platform::ModuleHandle ThisModule();

// The library lock: held only around counter updates and the destruction of
// a stream whose last reference goes; never while calling out of the library.
platform::CriticalSection& LibraryLock();

// Live objects (and, for streams, live references) handed out.
void AddObject();
void RemoveObject();
int32_t ObjectCount();

// IClassFactory::LockServer's count; may go below zero.
void AddServerLock();
void RemoveServerLock();
int32_t ServerLockCount();

}  // namespace cadserv::frame

#endif  // CADSERV_FRAME_MODULE_STATE_H
