// An IServStream over a block of memory for tests and fuzz targets, with
// failures on demand.
//
// It behaves as the library's in-memory streams do: Read stops at the end of
// the content, Seek accepts targets within [0, size] and answers SERV_E_SEEK
// otherwise, Write overwrites at the position and extends the content (up to
// an optional capacity, beyond which writes come out short). GetBuffer hands
// out the content only when asked to, so that a test can run the same bytes
// with and without an in-memory view.
//
// Failure injection: while `failRead` is set every Read fails with
// SERV_E_READ and moves nothing; likewise `failSeek` and `failWrite`;
// `writeReportsFailure` makes complete writes answer a failure. The
// stream never deletes itself: it lives on the test's stack, and Release
// only counts.
//
// Header-only, because the fuzz targets build without the test helpers.
#ifndef CADSERV_TESTS_SUPPORT_MEMORY_TEST_STREAM_H
#define CADSERV_TESTS_SUPPORT_MEMORY_TEST_STREAM_H

#include <stdint.h>
#include <string.h>

#include <string>

#include "cadserv/guids.h"
#include "cadserv/stream.h"

namespace cadserv_test {

class MemoryTestStream final : public IServStream {
 public:
  explicit MemoryTestStream(std::string content = std::string(), bool exposeBuffer = false)
      : content_(std::move(content)), exposeBuffer_(exposeBuffer) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(const GUID* iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (iid != nullptr && (*iid == IID_IServStream || *iid == IID_IUnknown)) {
      *object = static_cast<IServStream*>(this);
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override { return references_ == 0 ? 0 : --references_; }

  SERVRESULT STDMETHODCALLTYPE Read(void* buffer, uint32_t count, uint32_t* countRead) override {
    ++reads;
    if (countRead != nullptr) *countRead = 0;
    if (failRead) return SERV_E_READ;
    uint64_t available = content_.size() - position_;
    uint32_t n = count < available ? count : static_cast<uint32_t>(available);
    if (n != 0) memcpy(buffer, content_.data() + position_, n);
    position_ += n;
    bytesRead += n;
    if (countRead != nullptr) *countRead = n;
    return SERV_OK;
  }

  SERVRESULT STDMETHODCALLTYPE Write(const void* buffer, uint32_t count,
                                     uint32_t* countWritten) override {
    ++writes;
    if (countWritten != nullptr) *countWritten = 0;
    if (failWrite) return SERV_E_WRITE;
    uint64_t room = capacity > position_ ? capacity - position_ : 0;
    uint32_t n = count < room ? count : static_cast<uint32_t>(room);
    if (position_ + n > content_.size()) content_.resize(position_ + n);
    if (n != 0) memcpy(&content_[position_], buffer, n);
    position_ += n;
    if (countWritten != nullptr) *countWritten = n;
    return n == count && !writeReportsFailure ? SERV_OK : SERV_E_WRITE;
  }

  SERVRESULT STDMETHODCALLTYPE Seek(int32_t offset, uint32_t origin,
                                    uint32_t* newPosition) override {
    ++seeks;
    if (failSeek) return SERV_E_SEEK;
    int64_t base;
    switch (origin) {
      case SERV_SEEK_SET:
        base = 0;
        break;
      case SERV_SEEK_CUR:
        base = static_cast<int64_t>(position_);
        break;
      case SERV_SEEK_END:
        base = static_cast<int64_t>(content_.size());
        break;
      default:
        return SERV_E_INVALIDARG;
    }
    int64_t target = base + offset;
    if (target < 0 || target > static_cast<int64_t>(content_.size())) return SERV_E_SEEK;
    position_ = static_cast<uint64_t>(target);
    if (newPosition != nullptr) *newPosition = static_cast<uint32_t>(position_);
    return SERV_OK;
  }

  const WCHAR* STDMETHODCALLTYPE GetName() override { return u""; }

  SERVRESULT STDMETHODCALLTYPE GetInfo(ServStreamInfo* info) override {
    if (info == nullptr) return SERV_E_INVALIDARG;
    info->SizeLow = static_cast<uint32_t>(content_.size());
    info->SizeHigh = static_cast<uint32_t>(static_cast<uint64_t>(content_.size()) >> 32);
    info->DosDateTime = 0;
    info->Reserved = 0;
    return SERV_OK;
  }

  const uint8_t* STDMETHODCALLTYPE GetBuffer() override {
    return exposeBuffer_ ? reinterpret_cast<const uint8_t*>(content_.data()) : nullptr;
  }

  // Test controls and observations.
  const std::string& content() const { return content_; }
  uint64_t position() const { return position_; }
  void set_position(uint64_t position) { position_ = position; }
  ULONG references() const { return references_; }

  bool failRead = false;
  bool failSeek = false;
  bool failWrite = false;
  bool writeReportsFailure = false;  // Write answers SERV_E_WRITE even when it took everything
  uint64_t capacity = UINT64_MAX;    // writes stop here
  uint64_t reads = 0;                // calls of Read, Seek and Write
  uint64_t seeks = 0;
  uint64_t writes = 0;
  uint64_t bytesRead = 0;  // bytes copied out by Read

 private:
  std::string content_;
  bool exposeBuffer_;
  uint64_t position_ = 0;
  ULONG references_ = 1;
};

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_MEMORY_TEST_STREAM_H
