// Writes small compound files (versions 3 and 4) in memory for tests and
// fuzz seeds: a tree of storages and streams laid out as the format
// describes, with the places of its tables reported so that tests can damage
// them on purpose. Checked against olefile by the tests that use it.
#ifndef CADSERV_TESTS_SUPPORT_COMPOUND_FILE_BUILDER_H
#define CADSERV_TESTS_SUPPORT_COMPOUND_FILE_BUILDER_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace cadserv_test {

struct CfbNode {
  std::u16string name;
  bool isStorage = false;
  std::vector<uint8_t> data;  // a stream's bytes
  uint64_t createdTime = 0;   // FILETIME
  uint64_t modifiedTime = 0;
  std::vector<CfbNode> children;  // a storage's elements

  static CfbNode Stream(std::u16string name, std::vector<uint8_t> data, uint64_t modified = 0);
  static CfbNode Storage(std::u16string name, std::vector<CfbNode> children, uint64_t created = 0,
                         uint64_t modified = 0);
};

struct CfbOptions {
  int majorVersion = 3;  // 3: 512-byte sectors, 4: 4096-byte sectors
  // FAT sectors beyond those the file needs (all free): makes a small file
  // whose FAT is listed in DIFAT sectors.
  uint32_t extraFatSectors = 0;
  // Siblings as a chain of right links in the order given (unsorted,
  // unbalanced) instead of a balanced tree in name order.
  bool siblingsAsChain = false;
};

struct CfbFile {
  std::vector<uint8_t> bytes;
  uint32_t sectorSize = 0;
  std::vector<uint32_t> fatSectors;
  std::vector<uint32_t> difatSectors;
  std::vector<uint32_t> directorySectors;
  std::vector<uint32_t> miniFatSectors;
  std::vector<uint32_t> miniStreamSectors;
  std::vector<std::u16string> entryPaths;  // by directory id: "" root, "a/b" nested
  std::vector<uint32_t> entryStarts;       // first sector (or mini sector) by directory id

  size_t SectorOffset(uint32_t sector) const { return (size_t{sector} + 1) * sectorSize; }
  // The directory id of an element by its path; aborts the test when none.
  uint32_t EntryId(const std::u16string& path) const;
  size_t EntryOffset(uint32_t id) const;
  size_t FatEntryOffset(uint32_t sector) const;
  size_t MiniFatEntryOffset(uint32_t miniSector) const;
  void Put32(size_t offset, uint32_t value);
  void Put16(size_t offset, uint16_t value);
  uint32_t Get32(size_t offset) const;
};

CfbFile BuildCompoundFile(const CfbNode& root, const CfbOptions& options = {});

// Little helpers for test data.
std::vector<uint8_t> PatternBytes(size_t size, uint32_t seed);

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_COMPOUND_FILE_BUILDER_H
