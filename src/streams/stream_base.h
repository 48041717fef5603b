// ServStreamBase: what every stream of the library shares — its interface
// answers, its reference counting, its name and the fields position, size
// and mode. A stream class derives from ServStreamBase<its interface>, where
// the interface is IServStream or one derived from it (IServFileStream and
// the like add their Open after the destructor's slots).
#ifndef CADSERV_STREAMS_STREAM_BASE_H
#define CADSERV_STREAMS_STREAM_BASE_H

#include <stddef.h>
#include <stdint.h>

#include <type_traits>

#include "cadserv/stream.h"

namespace cadserv::streams {

// Reference counting of streams, under the library lock: every AddRef and
// every Release also moves the library's object count, so the count comes
// back to where it was when a stream's last reference goes.
ULONG AddStreamReference(uint32_t* refCount);
// Takes one reference off; at zero destroys `stream` while the lock is still
// held (its destructor closes handles and releases storage objects there).
ULONG ReleaseStreamReference(uint32_t* refCount, IServStream* stream);

// QueryInterface of every stream: IID_IUnknown and IID_IServStream, plus
// `ownInterface` when not null; the stream itself after AddRef, or
// E_NOINTERFACE with *object null.
HRESULT AnswerStreamInterface(IServStream* stream, const IID* ownInterface, const GUID* iid,
                              void** object);

// The length of `name`, looked at no further than `limit` + 1 units: a
// result above `limit` means the name is too long.
size_t BoundedNameLength(const WCHAR* name, size_t limit);

template <class Interface>
class ServStreamBase : public Interface {
  static_assert(std::is_base_of<IServStream, Interface>::value, "streams implement IServStream");

 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(const GUID* iid, void** object) override {
    return AnswerStreamInterface(this, OwnInterface(), iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return AddStreamReference(&refCount_); }
  ULONG STDMETHODCALLTYPE Release() override { return ReleaseStreamReference(&refCount_, this); }
  // Valid while the stream lives; empty for streams without a name.
  const WCHAR* STDMETHODCALLTYPE GetName() override { return name_; }

  // The mode word of a successful Open (0 before), with SERV_MODE_ISSTORAGE
  // added by a file stream that holds a storage.
  uint32_t Mode() const { return mode_; }

 protected:
  ServStreamBase() { name_[0] = 0; }
  ~ServStreamBase() override = default;

  // The interface this class answers besides IUnknown and IServStream
  // (&IID_IServFileStream, &IID_IServMemoryStream), or null for none.
  virtual const IID* OwnInterface() const = 0;

  // Keeps `name` (at most SERV_MAX_STREAM_NAME units, already checked).
  void SetName(const WCHAR* name, size_t length) {
    for (size_t i = 0; i < length; ++i) name_[i] = name[i];
    name_[length] = 0;
  }

  uint32_t position_ = 0;  // offset of the next byte read or written
  uint32_t size_ = 0;      // the content's length, as far as the class tracks it
  uint32_t mode_ = 0;
  WCHAR name_[SERV_MAX_STREAM_NAME + 1];
  uint32_t refCount_ = 0;  // the maker's AddRef raises it to 1
};

}  // namespace cadserv::streams

#endif  // CADSERV_STREAMS_STREAM_BASE_H
