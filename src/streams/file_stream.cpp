#include "streams/file_stream.h"

#include <string.h>

#include <atomic>
#include <new>

namespace cadserv::streams {
namespace {

constexpr uint32_t kAccessBits = 0xF;
constexpr uint32_t kElementBits = SERV_MODE_ELEMENTSTREAM | SERV_MODE_SUBSTORAGE;

uint32_t Low32(uint64_t value) {
  return static_cast<uint32_t>(value);
}

}  // namespace

std::atomic<const void*> ServFileStream::table_{nullptr};

ServFileStream::~ServFileStream() {
  Close();
}

void ServFileStream::Close() {
  if (view_ != nullptr) platform::UnmapView(mapping_, view_);
  view_ = nullptr;
  if (mapping_ != nullptr) platform::CloseMapping(mapping_);
  mapping_ = nullptr;
  // Every valid handle here is one the stream opened itself, whether or not
  // Open got as far as taking it.
  if (file_ != platform::kInvalidFile) platform::CloseFile(file_);
  file_ = platform::kInvalidFile;
  ownsFile_ = 0;
  if (storage_ != nullptr) storage_->Release();
  storage_ = nullptr;
  if (elementStream_ != nullptr) elementStream_->Release();
  elementStream_ = nullptr;
  position_ = 0;
  size_ = 0;
  mode_ = 0;
  name_[0] = 0;
}

SERVRESULT ServFileStream::Open(const WCHAR* name, uint32_t mode, IServStream* parent) {
  if (name == nullptr) return SERV_E_INVALIDARG;
  const size_t length = BoundedNameLength(name, SERV_MAX_STREAM_NAME);
  if (length > SERV_MAX_STREAM_NAME) return SERV_E_INVALIDARG;
  Close();  // Open is meant once per object; a second one starts afresh

  const uint32_t access = mode & kAccessBits;
  SERVRESULT result = SERV_OK;
  platform::FileError fileError = platform::FileError::kNone;
  if ((mode & kElementBits) != 0) {
    SERVRESULT pending = OpenElement(name, &mode, parent);
    if ((mode & SERV_MODE_ELEMENTSTREAM) != 0 && elementStream_ == nullptr) result = pending;
  } else {
    OpenByAccess(name, &mode, &fileError);
  }

  if (result != SERV_OK) {
    // reported below
  } else if ((mode & SERV_MODE_ELEMENTSTREAM) != 0) {
    uint64_t elementSize = 0;
    if (elementStream_->Stat(&elementSize, nullptr)) size_ = Low32(elementSize);
  } else if ((mode & (SERV_MODE_ISSTORAGE | SERV_MODE_SUBSTORAGE)) != 0) {
    if (storage_ == nullptr) {
      result = access == SERV_MODE_READ ? SERV_E_OPENREAD : SERV_E_OPENWRITE;
    } else {
      // The size of a storage is that of the file it was opened from; an
      // element's name normally names no file and leaves it 0.
      platform::FoundFile found;
      if (platform::FindFile(name, &found)) size_ = Low32(found.size);
    }
  } else if (file_ == platform::kInvalidFile) {
    if (access != SERV_MODE_READ) {
      result = SERV_E_OPENWRITE;
    } else {
      bool shared = fileError == platform::FileError::kSharingViolation;
      result = shared ? SERV_E_SHARING : SERV_E_OPENREAD;
    }
  } else {
    TakeFile(access);
  }

  if (result != SERV_OK) {
    Close();
    return result;
  }
  mode_ = mode;
  SetName(name, length);
  return SERV_OK;
}

SERVRESULT ServFileStream::OpenElement(const WCHAR* name, uint32_t* mode, IServStream* parent) {
  if (parent == nullptr || InterfaceTable(parent) != InterfaceTable(this)) {
    return SERV_E_INVALIDARG;
  }
  ServFileStream* holder = static_cast<ServFileStream*>(parent);
  if ((holder->mode_ & SERV_MODE_ISSTORAGE) == 0) return SERV_E_INVALIDARG;
  if (holder->storage_ == nullptr) return SERV_E_OUTOFMEMORY;
  if ((*mode & SERV_MODE_ELEMENTSTREAM) != 0) {
    elementStream_ = holder->storage_->OpenStream(name);
    if (elementStream_ != nullptr) {
      // The element shares its root: the storage stays alive while the
      // element is open, even when the parent stream goes first.
      storage_ = holder->storage_;
      storage_->AddRef();
    }
  } else {
    storage_ = holder->storage_->OpenStorage(name);
    if (storage_ != nullptr) *mode |= SERV_MODE_ISSTORAGE;
  }
  return SERV_E_OUTOFMEMORY;  // what a missing element stream reports
}

void ServFileStream::OpenByAccess(const WCHAR* name, uint32_t* mode, platform::FileError* error) {
  switch (*mode & kAccessBits) {
    case SERV_MODE_READ:
      if (platform::IsStorageFile(name)) storage_ = platform::OpenStorageFile(name);
      if (storage_ != nullptr) {
        *mode |= SERV_MODE_ISSTORAGE;
      } else {
        file_ = platform::OpenFile(name, platform::FileOpen::kReadExisting, error);
      }
      break;
    case SERV_MODE_WRITE:
      file_ = platform::OpenFile(name, platform::FileOpen::kWriteTruncate, error);
      break;
    case SERV_MODE_READWRITE:
      file_ = platform::OpenFile(name, platform::FileOpen::kReadWriteAlways, error);
      break;
    case SERV_MODE_APPEND:
      file_ = platform::OpenFile(name, platform::FileOpen::kWriteExisting, error);
      if (file_ != platform::kInvalidFile) platform::SetFilePointer(file_, 0, SERV_SEEK_END);
      break;
    default:
      break;  // not a mode: nothing opens
  }
}

void ServFileStream::TakeFile(uint32_t access) {
  platform::FileInformation information;
  // GetFileSize's low part, or INVALID_FILE_SIZE when the size is unknown.
  size_ = platform::GetFileInformation(file_, &information) ? Low32(information.size) : 0xFFFFFFFFu;
  position_ = platform::SetFilePointer(file_, 0, SERV_SEEK_CUR);
  ownsFile_ = 1;
  if (access != SERV_MODE_READ) return;
  // Reading maps the whole file. Without a view (an empty file, a file the
  // system cannot map) reads go through the handle instead.
  mapping_ = platform::CreateReadOnlyMapping(file_, size_);
  if (mapping_ != nullptr) view_ = platform::MapView(mapping_);
}

SERVRESULT ServFileStream::Read(void* buffer, uint32_t count, uint32_t* countRead) {
  uint32_t done = 0;
  if (elementStream_ != nullptr) {
    // A failed element read counts what the element reports, and is no
    // failure of the stream.
    elementStream_->Read(buffer, count, &done);
  } else if (view_ != nullptr) {
    done = count < size_ - position_ ? count : size_ - position_;
    if (done > 0 &&
        (buffer == nullptr || !platform::CopyFromMappedView(buffer, view_ + position_, done))) {
      if (countRead != nullptr) *countRead = 0;
      return SERV_E_READ;
    }
  } else if (!platform::ReadFile(file_, buffer, count, &done)) {
    if (countRead != nullptr) *countRead = 0;
    return SERV_E_READ;
  }
  position_ += done;
  if (countRead != nullptr) *countRead = done;
  return SERV_OK;
}

SERVRESULT ServFileStream::Write(const void* buffer, uint32_t count, uint32_t* countWritten) {
  if (countWritten != nullptr) *countWritten = 0;
  // A view is read-only: any byte written to it fails. Element streams and
  // storages have no handle to write to.
  if (view_ != nullptr) return count == 0 ? SERV_OK : SERV_E_WRITE;
  uint32_t done = 0;
  if (!platform::WriteFile(file_, buffer, count, &done)) return SERV_E_WRITE;
  position_ += done;
  if (countWritten != nullptr) *countWritten = done;
  return SERV_OK;
}

SERVRESULT ServFileStream::Seek(int32_t offset, uint32_t origin, uint32_t* newPosition) {
  if (origin > SERV_SEEK_END) return SERV_E_INVALIDARG;
  if (elementStream_ != nullptr) {
    uint64_t target = 0;
    if (!elementStream_->Seek(offset, origin, &target)) return SERV_E_READ;
    position_ = Low32(target);
  } else if (view_ != nullptr) {
    uint32_t base = origin == SERV_SEEK_SET ? 0 : origin == SERV_SEEK_CUR ? position_ : size_;
    // Compared as signed 32-bit values, which limits mapped seeking to
    // files below 2 GiB.
    int32_t target = static_cast<int32_t>(base + static_cast<uint32_t>(offset));
    if (target < 0 || target > static_cast<int32_t>(size_)) {
      if (newPosition != nullptr) *newPosition = position_;
      return SERV_E_SEEK;
    }
    position_ = static_cast<uint32_t>(target);
  } else {
    uint32_t target = platform::SetFilePointer(file_, offset, origin);
    if (target == platform::kInvalidSetFilePointer) {
      // A storage has no position: seeking it succeeds and changes nothing.
      bool isStorage = storage_ != nullptr && file_ == platform::kInvalidFile;
      return isStorage ? SERV_OK : SERV_E_SEEK;
    }
    position_ = target;
  }
  if (newPosition != nullptr) *newPosition = position_;
  return SERV_OK;
}

SERVRESULT ServFileStream::GetInfo(ServStreamInfo* info) {
  if (info == nullptr) return SERV_E_INVALIDARG;
  uint64_t size = 0;
  uint64_t modified = 0;
  if (elementStream_ != nullptr) {
    if (!elementStream_->Stat(&size, &modified)) return SERV_E_NOINFO;
  } else {
    platform::FileInformation information;
    if (!platform::GetFileInformation(file_, &information)) return SERV_E_NOINFO;
    size = information.size;
    modified = information.lastWriteFileTime;
  }
  info->SizeLow = Low32(size);
  info->SizeHigh = static_cast<uint32_t>(size >> 32);
  uint16_t date = 0;
  uint16_t time = 0;
  // No time, or one that MS-DOS cannot express, reads as 0.
  bool expressible = platform::FileTimeToDosDateTime(modified, &date, &time);
  info->DosDateTime = expressible ? uint32_t{date} << 16 | time : 0;
  return SERV_OK;  // Reserved is left as the caller had it
}

ServFileStream* NewFileStream() {
  ServFileStream* stream = new (std::nothrow) ServFileStream();
  if (stream != nullptr) {
    ServFileStream::table_.store(ServFileStream::InterfaceTable(stream), std::memory_order_relaxed);
  }
  return stream;
}

}  // namespace cadserv::streams

SERVRESULT SERV_OpenFile(const WCHAR* name, uint32_t mode, IServStream** stream,
                         IServStream* parent) {
  if (stream == nullptr) return SERV_E_INVALIDARG;
  cadserv::streams::ServFileStream* file = cadserv::streams::NewFileStream();
  if (file == nullptr) return SERV_E_OUTOFMEMORY;
  file->AddRef();
  SERVRESULT result = file->Open(name, mode, parent);
  if (result != SERV_OK) {
    file->Release();
    *stream = nullptr;
    return result;
  }
  *stream = file;
  return SERV_OK;
}
