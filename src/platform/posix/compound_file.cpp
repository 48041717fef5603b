// Compound file header, sector tables and stream reading.
#include "platform/posix/compound_file.h"

#include <string.h>

#include <algorithm>

namespace cadserv::platform::cfb {
namespace {

constexpr uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr size_t kHeaderSize = 512;
constexpr size_t kHeaderDifatCount = 109;
constexpr uint32_t kMiniSectorShift = 6;
constexpr uint32_t kMiniStreamCutoff = 4096;

bool Fail(const char** reason, const char* text) {
  if (reason != nullptr) *reason = text;
  return false;
}

// How many units of 2^shift bytes hold `bytes`.
uint64_t UnitsFor(uint64_t bytes, uint32_t shift) {
  return (bytes >> shift) + ((bytes & ((uint64_t{1} << shift) - 1)) != 0);
}

}  // namespace

bool MemorySource::ReadAt(uint64_t offset, void* buffer, size_t count) const {
  if (offset > bytes_.size() || count > bytes_.size() - offset) return false;
  if (count > 0) memcpy(buffer, bytes_.data() + offset, count);
  return true;
}

std::unique_ptr<CompoundFile> CompoundFile::Open(std::unique_ptr<ByteSource> source,
                                                 const char** reason) {
  std::unique_ptr<CompoundFile> file(new CompoundFile);
  file->source_ = std::move(source);
  if (!file->ReadHeader(reason) || !file->ReadDirectory(reason)) return nullptr;
  file->WalkDirectory();
  file->ReadMiniStreamTables();
  return file;
}

bool CompoundFile::ReadHeader(const char** reason) {
  uint8_t header[kHeaderSize];
  if (source_->Size() < kHeaderSize || !source_->ReadAt(0, header, kHeaderSize)) {
    return Fail(reason, "shorter than a compound file header");
  }
  if (memcmp(header, kSignature, sizeof kSignature) != 0) {
    return Fail(reason, "no compound file signature");
  }
  if (LoadU16(header + 28) != 0xFFFE) return Fail(reason, "unknown byte order");
  majorVersion_ = LoadU16(header + 26);
  uint16_t shift = LoadU16(header + 30);
  if (!(majorVersion_ == 3 && shift == 9) && !(majorVersion_ == 4 && shift == 12)) {
    return Fail(reason, "unsupported version or sector size");
  }
  if (LoadU16(header + 32) != kMiniSectorShift || LoadU32(header + 56) != kMiniStreamCutoff) {
    return Fail(reason, "unsupported mini stream layout");
  }
  sectorShift_ = shift;
  // Sector n starts at (n + 1) * sector size; a partial last sector counts,
  // and reads past the end of the source fail where they happen.
  uint64_t size = source_->Size();
  uint64_t sectors = size > SectorSize() ? UnitsFor(size - SectorSize(), sectorShift_) : 0;
  sectorCount_ =
      static_cast<uint32_t>(std::min<uint64_t>(sectors, uint64_t{kMaxRegularSector} + 1));
  firstDirectorySector_ = LoadU32(header + 48);
  firstMiniFatSector_ = LoadU32(header + 60);
  return ReadFat(header, reason);
}

bool CompoundFile::ReadFat(const uint8_t* header, const char** reason) {
  uint32_t fatSectorCount = LoadU32(header + 44);
  if (fatSectorCount == 0 || fatSectorCount > sectorCount_) {
    return Fail(reason, "FAT size does not fit the file");
  }
  // The header lists the first 109 FAT sectors; DIFAT sectors list the rest,
  // each ending with the number of the next DIFAT sector.
  std::vector<uint32_t> fatSectors;
  fatSectors.reserve(fatSectorCount);
  for (size_t i = 0; i < kHeaderDifatCount && fatSectors.size() < fatSectorCount; ++i) {
    fatSectors.push_back(LoadU32(header + 76 + 4 * i));
  }
  const uint32_t perSector = SectorSize() / 4;
  std::vector<uint8_t> sector(SectorSize());
  std::vector<bool> seen(sectorCount_);
  uint32_t next = LoadU32(header + 68);
  while (fatSectors.size() < fatSectorCount) {
    if (next >= sectorCount_ || seen[next]) return Fail(reason, "broken DIFAT chain");
    seen[next] = true;
    if (!ReadSector(next, sector.data())) return Fail(reason, "DIFAT sector missing");
    for (uint32_t i = 0; i + 1 < perSector && fatSectors.size() < fatSectorCount; ++i) {
      fatSectors.push_back(LoadU32(&sector[4 * i]));
    }
    next = LoadU32(&sector[4 * (perSector - 1)]);
  }
  fat_.resize(size_t{fatSectorCount} * perSector);
  for (size_t i = 0; i < fatSectors.size(); ++i) {
    if (fatSectors[i] >= sectorCount_ || !ReadSector(fatSectors[i], sector.data())) {
      return Fail(reason, "FAT sector missing");
    }
    for (uint32_t j = 0; j < perSector; ++j) fat_[i * perSector + j] = LoadU32(&sector[4 * j]);
  }
  return true;
}

bool CompoundFile::ReadSector(uint32_t sector, void* buffer) const {
  return source_->ReadAt((uint64_t{sector} + 1) << sectorShift_, buffer, SectorSize());
}

bool CompoundFile::FollowChain(const std::vector<uint32_t>& table, uint32_t limit, uint32_t start,
                               size_t wanted, std::vector<uint32_t>* chain) {
  chain->clear();
  if (wanted == 0) return true;
  size_t bound = std::min<size_t>(limit, table.size());
  if (wanted != kWholeChain) {
    if (wanted > bound) return false;
    chain->reserve(wanted);
  }
  std::vector<bool> seen(bound);
  uint32_t sector = start;
  while (chain->size() < wanted) {
    if (sector == kEndOfChain && wanted == kWholeChain) return true;
    if (sector >= bound || seen[sector]) return false;
    seen[sector] = true;
    chain->push_back(sector);
    sector = table[sector];
  }
  return true;
}

void CompoundFile::ReadMiniStreamTables() {
  // A broken mini stream only makes the small streams unreadable.
  uint64_t size = entries_[kRootId].size;
  if (size > (uint64_t{sectorCount_} << sectorShift_)) return;
  if (!FollowChain(fat_, sectorCount_, entries_[kRootId].startSector, UnitsFor(size, sectorShift_),
                   &miniStreamSectors_)) {
    return;
  }
  std::vector<uint32_t> chain;
  if (!FollowChain(fat_, sectorCount_, firstMiniFatSector_, kWholeChain, &chain)) return;
  const uint32_t perSector = SectorSize() / 4;
  std::vector<uint8_t> sector(SectorSize());
  miniFat_.resize(chain.size() * perSector);
  for (size_t i = 0; i < chain.size(); ++i) {
    if (!ReadSector(chain[i], sector.data())) {
      miniFat_.clear();
      return;
    }
    for (uint32_t j = 0; j < perSector; ++j) miniFat_[i * perSector + j] = LoadU32(&sector[4 * j]);
  }
  miniSectorCount_ = static_cast<uint32_t>(
      std::min<uint64_t>(UnitsFor(size, kMiniSectorShift), uint64_t{kMaxRegularSector} + 1));
  miniStreamUsable_ = true;
}

bool CompoundFile::MapStream(uint32_t id, StreamMap* map) const {
  const Element* element = Entry(id);
  if (element == nullptr || element->type != ElementType::kStream) return false;
  map->size = element->size;
  map->inMiniStream = element->size < kMiniStreamCutoff;
  if (map->inMiniStream) {
    if (element->size > 0 && !miniStreamUsable_) return false;
    return FollowChain(miniFat_, miniSectorCount_, element->startSector,
                       UnitsFor(element->size, kMiniSectorShift), &map->sectors);
  }
  if (element->size > (uint64_t{sectorCount_} << sectorShift_)) return false;
  return FollowChain(fat_, sectorCount_, element->startSector,
                     UnitsFor(element->size, sectorShift_), &map->sectors);
}

bool CompoundFile::Locate(const StreamMap& map, uint64_t offset, uint64_t* position) const {
  const uint32_t shift = map.inMiniStream ? kMiniSectorShift : sectorShift_;
  uint64_t index = offset >> shift;
  if (index >= map.sectors.size()) return false;
  uint64_t within = offset & ((uint64_t{1} << shift) - 1);
  if (!map.inMiniStream) {
    *position = ((uint64_t{map.sectors[index]} + 1) << shift) + within;
    return true;
  }
  // A mini sector never straddles two sectors of the mini stream.
  uint64_t miniPosition = (uint64_t{map.sectors[index]} << kMiniSectorShift) + within;
  uint64_t rootIndex = miniPosition >> sectorShift_;
  if (rootIndex >= miniStreamSectors_.size()) return false;
  *position = ((uint64_t{miniStreamSectors_[rootIndex]} + 1) << sectorShift_) +
              (miniPosition & (SectorSize() - 1));
  return true;
}

bool CompoundFile::ReadStream(const StreamMap& map, uint64_t offset, void* buffer,
                              size_t count) const {
  if (offset > map.size || count > map.size - offset) return false;
  uint8_t* out = static_cast<uint8_t*>(buffer);
  const uint64_t unit = uint64_t{1} << (map.inMiniStream ? kMiniSectorShift : sectorShift_);
  while (count > 0) {
    uint64_t position;
    if (!Locate(map, offset, &position)) return false;
    size_t length = static_cast<size_t>(std::min<uint64_t>(count, unit - (offset & (unit - 1))));
    // Units that follow each other in the file are read in one go.
    uint64_t next;
    while (length < count && Locate(map, offset + length, &next) && next == position + length) {
      length = static_cast<size_t>(std::min<uint64_t>(count, length + unit));
    }
    if (!source_->ReadAt(position, out, length)) return false;
    out += length;
    offset += length;
    count -= length;
  }
  return true;
}

}  // namespace cadserv::platform::cfb
