#include "streams/stream_base.h"

#include <stddef.h>

#include "frame/module_state.h"
#include "platform/platform.h"

// ServStreamInfo is read by filters built by other compilers: its layout is
// fixed on every target, 32-bit Windows included.
static_assert(sizeof(ServStreamInfo) == 16, "ServStreamInfo is four 32-bit fields");
static_assert(offsetof(ServStreamInfo, SizeLow) == 0, "ServStreamInfo.SizeLow");
static_assert(offsetof(ServStreamInfo, SizeHigh) == 4, "ServStreamInfo.SizeHigh");
static_assert(offsetof(ServStreamInfo, DosDateTime) == 8, "ServStreamInfo.DosDateTime");
static_assert(offsetof(ServStreamInfo, Reserved) == 12, "ServStreamInfo.Reserved");

namespace cadserv::streams {

ULONG AddStreamReference(uint32_t* refCount) {
  platform::CriticalSectionGuard hold(frame::LibraryLock());
  frame::AddObject();
  return ++*refCount;
}

ULONG ReleaseStreamReference(uint32_t* refCount, IServStream* stream) {
  platform::CriticalSectionGuard hold(frame::LibraryLock());
  frame::RemoveObject();
  if (--*refCount != 0) return *refCount;
  delete stream;
  return 0;
}

HRESULT AnswerStreamInterface(IServStream* stream, const IID* ownInterface, const GUID* iid,
                              void** object) {
  if (object == nullptr) return E_NOINTERFACE;
  *object = nullptr;
  if (iid == nullptr) return E_NOINTERFACE;
  bool answers = *iid == IID_IUnknown || *iid == IID_IServStream ||
                 (ownInterface != nullptr && *iid == *ownInterface);
  if (!answers) return E_NOINTERFACE;
  stream->AddRef();
  *object = stream;
  return S_OK;
}

size_t BoundedNameLength(const WCHAR* name, size_t limit) {
  size_t length = 0;
  while (length <= limit && name[length] != 0) ++length;
  return length;
}

}  // namespace cadserv::streams
