#include "support/compound_file_builder.h"

#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>

namespace cadserv_test {
namespace {

constexpr uint32_t kEndOfChain = 0xFFFFFFFE;
constexpr uint32_t kFreeSector = 0xFFFFFFFF;
constexpr uint32_t kFatSector = 0xFFFFFFFD;
constexpr uint32_t kDifatSector = 0xFFFFFFFC;
constexpr uint32_t kNoEntry = 0xFFFFFFFF;
constexpr size_t kMiniCutoff = 4096;

struct Entry {
  const CfbNode* node;
  std::u16string path;
  uint32_t left = kNoEntry, right = kNoEntry, child = kNoEntry;
  uint32_t start = kEndOfChain;
  uint64_t size = 0;
};

// The format's sibling order for the names tests use: shorter first, then
// by units with ASCII and Latin-1 letters uppercased. Written apart from the
// reader's own table on purpose.
bool NameBefore(const std::u16string& a, const std::u16string& b) {
  if (a.size() != b.size()) return a.size() < b.size();
  auto upper = [](char16_t c) -> char16_t {
    if ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7)) return c - 32;
    return c;
  };
  for (size_t i = 0; i < a.size(); ++i) {
    if (upper(a[i]) != upper(b[i])) return upper(a[i]) < upper(b[i]);
  }
  return false;
}

uint32_t BalancedTree(std::vector<Entry>& entries, const std::vector<uint32_t>& ids, size_t low,
                      size_t high) {
  if (low >= high) return kNoEntry;
  size_t middle = (low + high) / 2;
  entries[ids[middle]].left = BalancedTree(entries, ids, low, middle);
  entries[ids[middle]].right = BalancedTree(entries, ids, middle + 1, high);
  return ids[middle];
}

uint32_t Ceil(uint64_t bytes, uint64_t unit) {
  return static_cast<uint32_t>((bytes + unit - 1) / unit);
}

// Assigns `count` consecutive sectors from `next` as one chain in `table`.
uint32_t Chain(std::vector<uint32_t>& table, uint32_t& next, uint32_t count) {
  if (count == 0) return kEndOfChain;
  uint32_t first = next;
  for (uint32_t i = 0; i < count; ++i) table[next + i] = i + 1 < count ? next + i + 1 : kEndOfChain;
  next += count;
  return first;
}

}  // namespace

CfbNode CfbNode::Stream(std::u16string name, std::vector<uint8_t> data, uint64_t modified) {
  CfbNode node;
  node.name = std::move(name);
  node.data = std::move(data);
  node.modifiedTime = modified;
  return node;
}

CfbNode CfbNode::Storage(std::u16string name, std::vector<CfbNode> children, uint64_t created,
                         uint64_t modified) {
  CfbNode node;
  node.name = std::move(name);
  node.isStorage = true;
  node.children = std::move(children);
  node.createdTime = created;
  node.modifiedTime = modified;
  return node;
}

uint32_t CfbFile::EntryId(const std::u16string& path) const {
  for (size_t i = 0; i < entryPaths.size(); ++i) {
    if (entryPaths[i] == path) return static_cast<uint32_t>(i);
  }
  ADD_FAILURE() << "no element with that path in the built file";
  abort();
}

size_t CfbFile::EntryOffset(uint32_t id) const {
  uint32_t perSector = sectorSize / 128;
  return SectorOffset(directorySectors.at(id / perSector)) + (id % perSector) * 128;
}

size_t CfbFile::FatEntryOffset(uint32_t sector) const {
  uint32_t perSector = sectorSize / 4;
  return SectorOffset(fatSectors.at(sector / perSector)) + (sector % perSector) * 4;
}

size_t CfbFile::MiniFatEntryOffset(uint32_t miniSector) const {
  uint32_t perSector = sectorSize / 4;
  return SectorOffset(miniFatSectors.at(miniSector / perSector)) + (miniSector % perSector) * 4;
}

void CfbFile::Put32(size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.at(offset + i) = static_cast<uint8_t>(value >> (8 * i));
}

void CfbFile::Put16(size_t offset, uint16_t value) {
  bytes.at(offset) = static_cast<uint8_t>(value);
  bytes.at(offset + 1) = static_cast<uint8_t>(value >> 8);
}

uint32_t CfbFile::Get32(size_t offset) const {
  uint32_t value = 0;
  for (int i = 0; i < 4; ++i) value |= uint32_t{bytes.at(offset + i)} << (8 * i);
  return value;
}

CfbFile BuildCompoundFile(const CfbNode& root, const CfbOptions& options) {
  CfbFile file;
  file.sectorSize = options.majorVersion == 4 ? 4096 : 512;
  const uint32_t ss = file.sectorSize;
  const uint32_t perTable = ss / 4;

  // Directory ids: the root, then each storage's children together.
  std::vector<Entry> entries{{&root, u""}};
  for (size_t storage = 0; storage < entries.size(); ++storage) {
    const CfbNode* node = entries[storage].node;
    if (!node->isStorage && storage != 0) continue;
    std::vector<const CfbNode*> kids;
    for (const CfbNode& child : node->children) kids.push_back(&child);
    if (!options.siblingsAsChain) {
      std::stable_sort(kids.begin(), kids.end(), [](const CfbNode* a, const CfbNode* b) {
        return NameBefore(a->name, b->name);
      });
    }
    std::vector<uint32_t> ids;
    std::u16string prefix = storage == 0 ? u"" : entries[storage].path + u"/";
    for (const CfbNode* kid : kids) {
      ids.push_back(static_cast<uint32_t>(entries.size()));
      entries.push_back({kid, prefix + kid->name});
    }
    if (options.siblingsAsChain) {
      for (size_t i = 0; i + 1 < ids.size(); ++i) entries[ids[i]].right = ids[i + 1];
      entries[storage].child = ids.empty() ? kNoEntry : ids[0];
    } else {
      entries[storage].child = BalancedTree(entries, ids, 0, ids.size());
    }
  }

  // Sector counts, then the FAT's own size by fixed point.
  uint32_t miniSectors = 0;
  uint32_t bigSectors = 0;
  for (Entry& entry : entries) {
    if (entry.node->isStorage || &entry == &entries[0]) continue;
    entry.size = entry.node->data.size();
    if (entry.size < kMiniCutoff) {
      miniSectors += Ceil(entry.size, 64);
    } else {
      bigSectors += Ceil(entry.size, ss);
    }
  }
  uint32_t directoryCount = Ceil(entries.size() * 128, ss);
  uint32_t miniFatCount = Ceil(miniSectors * 4, ss);
  uint32_t miniStreamCount = Ceil(miniSectors * 64, ss);
  uint32_t others = directoryCount + miniFatCount + miniStreamCount + bigSectors;
  uint32_t fatCount = 1;
  uint32_t difatCount = 0;
  for (;;) {
    uint32_t fat = Ceil(others + fatCount + difatCount, perTable) + options.extraFatSectors;
    uint32_t difat = fat > 109 ? Ceil(fat - 109, perTable - 1) : 0;
    if (fat == fatCount && difat == difatCount) break;
    fatCount = fat;
    difatCount = difat;
  }
  uint32_t total = fatCount + difatCount + others;
  file.bytes.assign((size_t{total} + 1) * ss, 0);

  std::vector<uint32_t> fat(size_t{fatCount} * perTable, kFreeSector);
  std::vector<uint32_t> miniFat(size_t{miniFatCount} * perTable, kFreeSector);
  uint32_t next = 0;
  for (uint32_t i = 0; i < fatCount; ++i, ++next) {
    fat[next] = kFatSector;
    file.fatSectors.push_back(next);
  }
  for (uint32_t i = 0; i < difatCount; ++i, ++next) {
    fat[next] = kDifatSector;
    file.difatSectors.push_back(next);
  }
  auto chainOf = [&](uint32_t count, std::vector<uint32_t>& sectors) {
    uint32_t first = Chain(fat, next, count);
    for (uint32_t i = 0; i < count; ++i) sectors.push_back(first + i);
    return first;
  };
  uint32_t directoryStart = chainOf(directoryCount, file.directorySectors);
  uint32_t miniFatStart = chainOf(miniFatCount, file.miniFatSectors);
  entries[0].start = chainOf(miniStreamCount, file.miniStreamSectors);
  entries[0].size = uint64_t{miniSectors} * 64;
  uint32_t nextMini = 0;
  for (size_t id = 1; id < entries.size(); ++id) {
    Entry& entry = entries[id];
    if (entry.node->isStorage) continue;
    const std::vector<uint8_t>& data = entry.node->data;
    if (entry.size < kMiniCutoff) {
      entry.start = Chain(miniFat, nextMini, Ceil(entry.size, 64));
      for (size_t i = 0; i < data.size(); ++i) {
        size_t position = size_t{entry.start} * 64 + i;
        file.bytes[file.SectorOffset(file.miniStreamSectors[position / ss]) + position % ss] =
            data[i];
      }
    } else {
      entry.start = Chain(fat, next, Ceil(entry.size, ss));
      memcpy(&file.bytes[file.SectorOffset(entry.start)], data.data(), data.size());
    }
  }

  // Header.
  static const uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  memcpy(file.bytes.data(), kSignature, 8);
  file.Put16(24, 0x3E);
  file.Put16(26, static_cast<uint16_t>(options.majorVersion));
  file.Put16(28, 0xFFFE);
  file.Put16(30, options.majorVersion == 4 ? 12 : 9);
  file.Put16(32, 6);
  file.Put32(40, options.majorVersion == 4 ? directoryCount : 0);
  file.Put32(44, fatCount);
  file.Put32(48, directoryStart);
  file.Put32(56, 4096);
  file.Put32(60, miniFatStart);
  file.Put32(64, miniFatCount);
  file.Put32(68, difatCount > 0 ? file.difatSectors[0] : kEndOfChain);
  file.Put32(72, difatCount);
  for (uint32_t i = 0; i < 109; ++i) file.Put32(76 + 4 * i, i < fatCount ? i : kFreeSector);
  // DIFAT sectors: the FAT sectors after the first 109, then the next link.
  uint32_t listed = 109;
  for (uint32_t d = 0; d < difatCount; ++d) {
    size_t base = file.SectorOffset(file.difatSectors[d]);
    for (uint32_t i = 0; i + 1 < perTable; ++i, ++listed) {
      file.Put32(base + 4 * i, listed < fatCount ? listed : kFreeSector);
    }
    file.Put32(base + ss - 4, d + 1 < difatCount ? file.difatSectors[d + 1] : kEndOfChain);
  }
  for (size_t i = 0; i < fat.size(); ++i)
    file.Put32(file.SectorOffset(file.fatSectors[i / perTable]) + (i % perTable) * 4, fat[i]);
  for (size_t i = 0; i < miniFat.size(); ++i)
    file.Put32(file.MiniFatEntryOffset(static_cast<uint32_t>(i)), miniFat[i]);

  // Directory entries; unused slots keep empty links.
  for (uint32_t id = 0; id < directoryCount * (ss / 128); ++id) {
    size_t base = file.EntryOffset(id);
    file.Put32(base + 68, kNoEntry);
    file.Put32(base + 72, kNoEntry);
    file.Put32(base + 76, kNoEntry);
    if (id >= entries.size()) continue;
    const Entry& entry = entries[id];
    std::u16string name = id == 0 ? u"Root Entry" : entry.node->name;
    for (size_t i = 0; i < name.size(); ++i) file.Put16(base + 2 * i, name[i]);
    file.Put16(base + 64, static_cast<uint16_t>((name.size() + 1) * 2));
    file.bytes[base + 66] = id == 0 ? 5 : entry.node->isStorage ? 1 : 2;
    file.bytes[base + 67] = 1;  // black
    file.Put32(base + 68, entry.left);
    file.Put32(base + 72, entry.right);
    file.Put32(base + 76, entry.child);
    file.Put32(base + 100, static_cast<uint32_t>(entry.node->createdTime));
    file.Put32(base + 104, static_cast<uint32_t>(entry.node->createdTime >> 32));
    file.Put32(base + 108, static_cast<uint32_t>(entry.node->modifiedTime));
    file.Put32(base + 112, static_cast<uint32_t>(entry.node->modifiedTime >> 32));
    file.Put32(base + 116, id != 0 && entry.node->isStorage ? 0 : entry.start);
    file.Put32(base + 120, static_cast<uint32_t>(entry.size));
    file.Put32(base + 124, static_cast<uint32_t>(entry.size >> 32));
    file.entryPaths.push_back(entry.path);
    file.entryStarts.push_back(entry.start);
  }
  return file;
}

std::vector<uint8_t> PatternBytes(size_t size, uint32_t seed) {
  std::vector<uint8_t> bytes(size);
  uint32_t state = seed * 2654435761u + 1;
  for (uint8_t& byte : bytes) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    byte = static_cast<uint8_t>(state >> 24);
  }
  return bytes;
}

}  // namespace cadserv_test
