// A read-only reader of compound files (OLE structured storage, MS-CFB
// versions 3 and 4) over any random-access byte source.
//
// The reader trusts nothing in the file: every sector chain is bounded by the
// number of sectors the file can hold and checked for repeats, every sector
// number, directory id and mini sector is range-checked, and a stream's size
// must fit in its chain. A damaged file gives failure results, never a read
// outside the source. The directory is read once, when the file is opened,
// into a clean forest: each element belongs to the first storage whose tree
// reaches it, so loops and shared subtrees in the file cannot make a walk
// run forever. This code is portable; the file on disk is one ByteSource.
#ifndef CADSERV_PLATFORM_POSIX_COMPOUND_FILE_H
#define CADSERV_PLATFORM_POSIX_COMPOUND_FILE_H

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <vector>

namespace cadserv::platform::cfb {

// Random-access bytes of a compound file. ReadAt may be called from several
// threads at once.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual uint64_t Size() const = 0;
  // Copies `count` bytes at `offset` into `buffer`; false unless all of them
  // could be read.
  virtual bool ReadAt(uint64_t offset, void* buffer, size_t count) const = 0;
};

// A compound file held in memory (tests and the fuzz target).
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
  uint64_t Size() const override { return bytes_.size(); }
  bool ReadAt(uint64_t offset, void* buffer, size_t count) const override;

 private:
  std::vector<uint8_t> bytes_;
};

// Special sector numbers and the empty directory link.
constexpr uint32_t kMaxRegularSector = 0xFFFFFFFA;
constexpr uint32_t kDifatSector = 0xFFFFFFFC;
constexpr uint32_t kFatSector = 0xFFFFFFFD;
constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFreeSector = 0xFFFFFFFF;
constexpr uint32_t kNoEntry = 0xFFFFFFFF;
constexpr uint32_t kRootId = 0;
constexpr size_t kMaxNameLength = 31;  // UTF-16 units, without the terminator

// Little-endian fields of the file, whatever the host's byte order.
inline uint16_t LoadU16(const uint8_t* p) {
  return static_cast<uint16_t>(p[0] | p[1] << 8);
}
inline uint32_t LoadU32(const uint8_t* p) {
  return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24;
}
inline uint64_t LoadU64(const uint8_t* p) {
  return LoadU32(p) | uint64_t{LoadU32(p + 4)} << 32;
}

enum class ElementType : uint8_t { kInvalid = 0, kStorage = 1, kStream = 2, kRoot = 5 };

// One directory entry.
struct Element {
  char16_t name[kMaxNameLength + 1] = {};  // zero-terminated
  uint8_t nameLength = 0;
  ElementType type = ElementType::kInvalid;
  uint64_t size = 0;  // a stream's bytes (version 3: the low 32 bits); the root: the mini stream's
  uint64_t createdTime = 0;   // FILETIME
  uint64_t modifiedTime = 0;  // FILETIME
  uint32_t startSector = kEndOfChain;
  uint32_t left = kNoEntry;  // the tree links as stored in the file
  uint32_t right = kNoEntry;
  uint32_t child = kNoEntry;
  // Filled by the directory walk: the storage this element belongs to
  // (kNoEntry when no storage reaches it) and, for a storage, where its
  // children lie in the reader's child list.
  uint32_t parent = kNoEntry;
  uint32_t firstChild = 0;
  uint32_t childCount = 0;
};

// The ids of a storage's children, in the order of its tree.
struct ChildList {
  const uint32_t* first = nullptr;
  size_t count = 0;
  const uint32_t* begin() const { return first; }
  const uint32_t* end() const { return first + count; }
};

// Where a stream element's bytes lie: its sectors, or its mini sectors.
struct StreamMap {
  uint64_t size = 0;
  bool inMiniStream = false;
  std::vector<uint32_t> sectors;
};

class CompoundFile {
 public:
  // Parses the header, the FAT, the directory and the mini stream's tables.
  // Null when the source is no valid compound file; `reason` (may be null)
  // then gets a short static description.
  static std::unique_ptr<CompoundFile> Open(std::unique_ptr<ByteSource> source,
                                            const char** reason = nullptr);

  uint16_t MajorVersion() const { return majorVersion_; }
  uint32_t SectorSize() const { return 1u << sectorShift_; }

  // The element `id`, or null when it is out of range or no storage reaches
  // it. The root is kRootId.
  const Element* Entry(uint32_t id) const;
  // The children of a storage (or the root); empty for anything else.
  ChildList Children(uint32_t storageId) const;
  // The child of `storageId` named `name` (case-insensitive), or kNoEntry.
  uint32_t FindChild(uint32_t storageId, const char16_t* name, size_t length) const;

  // Locates the bytes of stream element `id`; false when it is no stream or
  // its chain cannot hold its size.
  bool MapStream(uint32_t id, StreamMap* map) const;
  // Copies `count` bytes at `offset` of a mapped stream; the range must lie
  // within map.size. False when the source cannot deliver them.
  bool ReadStream(const StreamMap& map, uint64_t offset, void* buffer, size_t count) const;

 private:
  CompoundFile() = default;
  bool ReadHeader(const char** reason);
  bool ReadFat(const uint8_t* header, const char** reason);
  bool ReadDirectory(const char** reason);
  void WalkDirectory();
  void WalkStorage(uint32_t storageId, std::vector<uint32_t>* pendingStorages);
  void ReadMiniStreamTables();
  bool ReadSector(uint32_t sector, void* buffer) const;
  // The position in the source of byte `offset` of a mapped stream.
  bool Locate(const StreamMap& map, uint64_t offset, uint64_t* position) const;
  // Follows a chain through `table` from `start` over at most `limit`
  // distinct sectors: `wanted` of them, or up to the end of the chain when
  // `wanted` is kWholeChain. False on a bad link, a repeat, or an early end.
  static constexpr size_t kWholeChain = SIZE_MAX;
  static bool FollowChain(const std::vector<uint32_t>& table, uint32_t limit, uint32_t start,
                          size_t wanted, std::vector<uint32_t>* chain);

  std::unique_ptr<ByteSource> source_;
  uint16_t majorVersion_ = 0;
  uint32_t sectorShift_ = 9;
  uint32_t sectorCount_ = 0;  // sectors the file's size can hold (the last may be partial)
  uint32_t firstDirectorySector_ = kEndOfChain;
  uint32_t firstMiniFatSector_ = kEndOfChain;
  std::vector<uint32_t> fat_;
  std::vector<Element> entries_;
  std::vector<uint32_t> children_;  // every storage's children, one run per storage
  bool miniStreamUsable_ = false;
  std::vector<uint32_t> miniFat_;
  std::vector<uint32_t> miniStreamSectors_;  // the root's chain, which holds the mini stream
  uint32_t miniSectorCount_ = 0;
};

}  // namespace cadserv::platform::cfb

#endif  // CADSERV_PLATFORM_POSIX_COMPOUND_FILE_H
