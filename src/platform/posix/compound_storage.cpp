// Storage and StorageStream over the compound file reader. Elements open
// exclusively, as STGM_SHARE_EXCLUSIVE asks: the objects of one opened file
// share a set of the elements open now.
#include "platform/posix/compound_storage.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <unordered_set>

namespace cadserv::platform {
namespace {

using cfb::CompoundFile;
using cfb::Element;
using cfb::ElementType;

class SharedFile {
 public:
  explicit SharedFile(std::unique_ptr<CompoundFile> file) : file_(std::move(file)) {}
  const CompoundFile& File() const { return *file_; }
  // Marks element `id` open; false when it already is.
  bool Claim(uint32_t id) {
    std::lock_guard<std::mutex> lock(mutex_);
    return open_.insert(id).second;
  }
  void Unclaim(uint32_t id) {
    std::lock_guard<std::mutex> lock(mutex_);
    open_.erase(id);
  }

 private:
  std::unique_ptr<CompoundFile> file_;
  std::mutex mutex_;
  std::unordered_set<uint32_t> open_;
};

class CompoundStream final : public StorageStream {
 public:
  CompoundStream(std::shared_ptr<SharedFile> shared, uint32_t id, cfb::StreamMap map)
      : shared_(std::move(shared)), id_(id), map_(std::move(map)) {}

  void AddRef() override { references_.fetch_add(1, std::memory_order_relaxed); }
  void Release() override {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  bool Read(void* buffer, uint32_t count, uint32_t* countRead) override {
    if (countRead != nullptr) *countRead = 0;
    uint32_t length = 0;
    if (position_ < map_.size) {
      length = static_cast<uint32_t>(std::min<uint64_t>(count, map_.size - position_));
    }
    if (length > 0 &&
        (buffer == nullptr || !shared_->File().ReadStream(map_, position_, buffer, length))) {
      return false;
    }
    position_ += length;
    if (countRead != nullptr) *countRead = length;
    return true;
  }

  bool Seek(int64_t offset, uint32_t origin, uint64_t* newPosition) override {
    uint64_t base;
    switch (origin) {
      case 0:
        base = 0;
        break;
      case 1:
        base = position_;
        break;
      case 2:
        base = map_.size;
        break;
      default:
        return false;
    }
    uint64_t target;
    if (offset >= 0) {
      if (base > UINT64_MAX - static_cast<uint64_t>(offset)) return false;
      target = base + static_cast<uint64_t>(offset);
    } else {
      uint64_t back = static_cast<uint64_t>(-(offset + 1)) + 1;  // no overflow at INT64_MIN
      if (back > base) return false;
      target = base - back;
    }
    position_ = target;
    if (newPosition != nullptr) *newPosition = target;
    return true;
  }

  bool Stat(uint64_t* size, uint64_t* modifiedFileTime) override {
    if (size != nullptr) *size = map_.size;
    if (modifiedFileTime != nullptr) *modifiedFileTime = shared_->File().Entry(id_)->modifiedTime;
    return true;
  }

 private:
  ~CompoundStream() override { shared_->Unclaim(id_); }

  std::shared_ptr<SharedFile> shared_;
  uint32_t id_;
  cfb::StreamMap map_;
  uint64_t position_ = 0;
  std::atomic<uint32_t> references_{1};
};

class CompoundStorage final : public Storage {
 public:
  CompoundStorage(std::shared_ptr<SharedFile> shared, uint32_t id)
      : shared_(std::move(shared)), id_(id) {}

  void AddRef() override { references_.fetch_add(1, std::memory_order_relaxed); }
  void Release() override {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  StorageStream* OpenStream(const WCHAR* name) override {
    uint32_t id = FindAndClaim(name, ElementType::kStream);
    if (id == cfb::kNoEntry) return nullptr;
    cfb::StreamMap map;
    StorageStream* stream = nullptr;
    if (shared_->File().MapStream(id, &map)) {
      stream = new (std::nothrow) CompoundStream(shared_, id, std::move(map));
    }
    if (stream == nullptr) shared_->Unclaim(id);
    return stream;
  }

  Storage* OpenStorage(const WCHAR* name) override {
    uint32_t id = FindAndClaim(name, ElementType::kStorage);
    if (id == cfb::kNoEntry) return nullptr;
    Storage* storage = new (std::nothrow) CompoundStorage(shared_, id);
    if (storage == nullptr) shared_->Unclaim(id);
    return storage;
  }

  bool ListElements(std::vector<StorageElement>* elements) override {
    if (elements == nullptr) return false;
    elements->clear();
    const CompoundFile& file = shared_->File();
    for (uint32_t id : file.Children(id_)) {
      const Element& element = *file.Entry(id);
      StorageElement item;
      item.name.assign(element.name, element.nameLength);
      item.isStorage = element.type == ElementType::kStorage;
      item.size = element.size;
      item.createdFileTime = element.createdTime;
      item.modifiedFileTime = element.modifiedTime;
      elements->push_back(std::move(item));
    }
    return true;
  }

 private:
  ~CompoundStorage() override {
    if (id_ != cfb::kRootId) shared_->Unclaim(id_);
  }

  // The child named `name` of the given type, marked open; kNoEntry when
  // there is none or it is open already.
  uint32_t FindAndClaim(const WCHAR* name, ElementType type) {
    if (name == nullptr) return cfb::kNoEntry;
    size_t length = 0;
    while (length <= cfb::kMaxNameLength && name[length] != 0) ++length;
    const CompoundFile& file = shared_->File();
    uint32_t id = file.FindChild(id_, name, length);
    if (id == cfb::kNoEntry || file.Entry(id)->type != type || !shared_->Claim(id)) {
      return cfb::kNoEntry;
    }
    return id;
  }

  std::shared_ptr<SharedFile> shared_;
  uint32_t id_;
  std::atomic<uint32_t> references_{1};
};

}  // namespace

Storage* OpenStorageFromSource(std::unique_ptr<cfb::ByteSource> source) {
  std::unique_ptr<CompoundFile> file = CompoundFile::Open(std::move(source));
  if (file == nullptr) return nullptr;
  auto shared = std::make_shared<SharedFile>(std::move(file));
  return new (std::nothrow) CompoundStorage(std::move(shared), cfb::kRootId);
}

}  // namespace cadserv::platform
