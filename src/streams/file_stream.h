// ServFileStream: a stream over a file on disk (read through a mapping of
// the whole file, or through the file's handle), over a structured-storage
// file or a storage inside one, or over a stream element of such a storage.
#ifndef CADSERV_STREAMS_FILE_STREAM_H
#define CADSERV_STREAMS_FILE_STREAM_H

#include <string.h>

#include <atomic>

#include "cadserv/stream.h"
#include "platform/platform.h"
#include "streams/stream_base.h"

namespace cadserv::streams {

// After Open a file stream is in one state for its life:
//   mapped file    access 1 and the mapping succeeded: reads copy from the
//                  view, writes fail, seeks stay within [0, size];
//   plain file     any access without a view: the file's handle serves all;
//   storage        access 1 on a compound file, or SERV_MODE_SUBSTORAGE: a
//                  parent for elements; Read, Write and GetInfo fail, Seek
//                  succeeds without effect;
//   element stream SERV_MODE_ELEMENTSTREAM: reads and seeks the element,
//                  writes fail.
class ServFileStream final : public ServStreamBase<IServFileStream> {
 public:
  ServFileStream() = default;
  ServFileStream(const ServFileStream&) = delete;
  ServFileStream& operator=(const ServFileStream&) = delete;

  SERVRESULT STDMETHODCALLTYPE Read(void* buffer, uint32_t count, uint32_t* countRead) override;
  SERVRESULT STDMETHODCALLTYPE Write(const void* buffer, uint32_t count,
                                     uint32_t* countWritten) override;
  SERVRESULT STDMETHODCALLTYPE Seek(int32_t offset, uint32_t origin,
                                    uint32_t* newPosition) override;
  SERVRESULT STDMETHODCALLTYPE GetInfo(ServStreamInfo* info) override;
  const uint8_t* STDMETHODCALLTYPE GetBuffer() override { return view_; }
  SERVRESULT STDMETHODCALLTYPE Open(const WCHAR* name, uint32_t mode, IServStream* parent) override;

  // The library's own readers (the line reader) look at a mapped file in
  // place, where a call through the interface costs more than the few
  // bytes it moves. The file stream behind `stream` when it is one of this
  // library's in the mapped state; otherwise null.
  static ServFileStream* MappedFrom(IServStream* stream) {
    const void* table = table_.load(std::memory_order_relaxed);
    if (stream == nullptr || table == nullptr || InterfaceTable(stream) != table) return nullptr;
    ServFileStream* file = static_cast<ServFileStream*>(stream);
    return file->view_ != nullptr ? file : nullptr;
  }
  // In the mapped state: the view at the position, and the bytes left.
  const uint8_t* MappedBytes(uint32_t* left) const {
    *left = size_ - position_;
    return view_ + position_;
  }
  // Seek(count, SERV_SEEK_CUR) over bytes that are left: false, the
  // position unchanged, where Seek fails (targets from 2 GiB on).
  bool Advance(uint32_t count) {
    uint32_t target = position_ + count;
    if (static_cast<int32_t>(target) < 0) return false;
    position_ = target;
    return true;
  }

  // The first word of a COM object: its interface table. Two objects of the
  // same final class share it, which tells a file stream of this library
  // from any other implementation of IServStream without touching more of
  // the other object than every COM object has (the check COM servers use
  // to recognise their own objects behind an interface pointer).
  static const void* InterfaceTable(const void* object) {
    const void* table;
    memcpy(&table, object, sizeof table);
    return table;
  }

 private:
  friend ServFileStream* NewFileStream();
  ~ServFileStream() override;
  const IID* OwnInterface() const override { return &IID_IServFileStream; }

  // Releases whatever the stream holds, in the order the destructor does,
  // and makes it unopened again.
  void Close();
  // Step 2 of Open: the element `name` of the parent's storage.
  SERVRESULT OpenElement(const WCHAR* name, uint32_t* mode, IServStream* parent);
  // Step 3 of Open: the file `name` by the access bits of `*mode`.
  void OpenByAccess(const WCHAR* name, uint32_t* mode, platform::FileError* error);
  // The plain-file end of Open once a handle is valid.
  void TakeFile(uint32_t access);

  platform::FileHandle file_ = platform::kInvalidFile;
  uint8_t ownsFile_ = 0;
  platform::FileMapping* mapping_ = nullptr;
  const uint8_t* view_ = nullptr;
  platform::Storage* storage_ = nullptr;
  platform::StorageStream* elementStream_ = nullptr;

  // The interface table of this library's file streams, once one exists.
  static std::atomic<const void*> table_;
};

// A new, unopened file stream with no reference yet (the class factory's);
// null when there is no memory.
ServFileStream* NewFileStream();

}  // namespace cadserv::streams

#endif  // CADSERV_STREAMS_FILE_STREAM_H
