// The compound file reader on damaged and hostile files: every case must
// end in a failure result (no element, no file, a failed read) without a
// crash, a hang or a read outside the file. The sanitizer preset runs these.
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>

#include "platform/posix/compound_file.h"
#include "platform/posix/compound_storage.h"
#include "support/compound_file_builder.h"
#include "support/compound_file_tools.h"

namespace {

using cadserv::platform::OpenStorageFromSource;
using cadserv::platform::Storage;
using cadserv::platform::StorageStream;
using cadserv::platform::cfb::MemorySource;
using namespace cadserv_test;

// Directory entry fields.
constexpr size_t kNameLength = 64, kType = 66, kLeft = 68, kRight = 72, kChild = 76, kStart = 116,
                 kSize = 120;

Ref<Storage> OpenBytes(const std::vector<uint8_t>& bytes) {
  return Ref<Storage>(OpenStorageFromSource(std::make_unique<MemorySource>(bytes)));
}

// Streams in the mini stream and in sectors, two levels of storages; the
// last stream fills its last sector, so any cut of the file loses bytes
// that some element needs.
CfbNode HostileSample() {
  return CfbNode::Storage(
      u"", {CfbNode::Stream(u"Small", PatternBytes(200, 1)),
            CfbNode::Stream(u"Big", PatternBytes(5120, 2)),
            CfbNode::Stream(u"Last", PatternBytes(4608, 3)),
            CfbNode::Storage(
                u"Folder",
                {CfbNode::Stream(u"Inner", PatternBytes(100, 4)),
                 CfbNode::Storage(u"Sub", {CfbNode::Stream(u"Leaf", PatternBytes(10, 5))})})});
}

CfbFile Sample(int version = 3) {
  CfbOptions options;
  options.majorVersion = version;
  return BuildCompoundFile(HostileSample(), options);
}

ElementTree TreeOf(const std::vector<uint8_t>& bytes, bool* complete = nullptr) {
  ElementTree tree;
  Ref<Storage> root = OpenBytes(bytes);
  bool read = root != nullptr && ReadTree(root.get(), &tree);
  if (complete != nullptr) *complete = read;
  return tree;
}

// Opens the stream at `path` ("Folder/Inner") below the root; null when
// any step fails. Keeps the storages on the way open in `keep`.
Ref<StorageStream> OpenPath(Storage* root, const std::u16string& path,
                            std::vector<Ref<Storage>>* keep) {
  Storage* storage = root;
  size_t start = 0;
  for (size_t slash; (slash = path.find(u'/', start)) != std::u16string::npos; start = slash + 1) {
    keep->emplace_back(storage->OpenStorage(path.substr(start, slash - start).c_str()));
    if (keep->back() == nullptr) return nullptr;
    storage = keep->back().get();
  }
  return Ref<StorageStream>(storage->OpenStream(path.substr(start).c_str()));
}

bool StreamOpens(const std::vector<uint8_t>& bytes, const std::u16string& path) {
  Ref<Storage> root = OpenBytes(bytes);
  std::vector<Ref<Storage>> keep;
  return root != nullptr && OpenPath(root.get(), path, &keep) != nullptr;
}

TEST(CompoundFileHostile, TheSampleReadsCompletelyUndamaged) {
  for (int version : {3, 4}) {
    bool complete = false;
    ElementTree tree = TreeOf(Sample(version).bytes, &complete);
    EXPECT_TRUE(complete);
    EXPECT_EQ(tree.size(), 7u);
    EXPECT_EQ(tree["Folder/Sub/Leaf"].crc, Crc32(PatternBytes(10, 5).data(), 10));
  }
}

TEST(CompoundFileHostile, TruncatedFilesNeverReadCompletely) {
  for (int version : {3, 4}) {
    SCOPED_TRACE(version);
    CfbFile file = Sample(version);
    ElementTree whole = TreeOf(file.bytes);
    // Up to the last byte of the last stream (in version 4 its last sector
    // is not full).
    uint32_t last = file.entryStarts[file.EntryId(u"Last")];
    size_t end = file.SectorOffset(last + 4607 / file.sectorSize) + 4607 % file.sectorSize + 1;
    ASSERT_LE(end, file.bytes.size());
    // Every sector boundary and its neighbours, and a stride through the rest.
    std::vector<size_t> lengths;
    const size_t stride = version == 3 ? 29 : 113;
    for (size_t length = 0; length < end; length += stride) lengths.push_back(length);
    for (size_t boundary = 0; boundary < end; boundary += 512) {
      for (size_t length : {boundary - 1, boundary, boundary + 1, boundary + 64}) {
        if (length < end) lengths.push_back(length);
      }
    }
    lengths.push_back(end - 1);
    for (size_t length : lengths) {
      std::vector<uint8_t> cut(file.bytes.begin(), file.bytes.begin() + length);
      bool complete = false;
      ElementTree tree = TreeOf(cut, &complete);
      ASSERT_FALSE(complete && tree == whole) << "cut at " << length;
    }
  }
}

// One field of the header set to a value the reader must refuse.
struct HeaderDamage {
  const char* what;
  size_t offset;
  uint32_t value;
  int width;  // bytes
};

TEST(CompoundFileHostile, RefusesBadHeaders) {
  const HeaderDamage kDamages[] = {
      {"signature", 0, 0xE011CFD1, 4},
      {"byte order", 28, 0xFEFF, 2},
      {"version 3 with 4096-byte sectors", 30, 12, 2},
      {"sector shift 8", 30, 8, 2},
      {"version 5", 26, 5, 2},
      {"mini sector shift 7", 32, 7, 2},
      {"mini stream cutoff 8192", 56, 8192, 4},
      {"no FAT sector", 44, 0, 4},
      {"more FAT sectors than the file holds", 44, 0xFFFFFFFF, 4},
      {"FAT sector beyond the file", 76, 0x00FFFFFF, 4},
      {"FAT sector on a special number", 76, 0xFFFFFFFD, 4},
      {"directory beyond the file", 48, 5000, 4},
      {"empty directory chain", 48, 0xFFFFFFFE, 4},
  };
  for (const HeaderDamage& damage : kDamages) {
    CfbFile file = Sample();
    if (damage.width == 2) {
      file.Put16(damage.offset, static_cast<uint16_t>(damage.value));
    } else {
      file.Put32(damage.offset, damage.value);
    }
    EXPECT_EQ(OpenBytes(file.bytes), nullptr) << damage.what;
  }
  EXPECT_EQ(OpenBytes({}), nullptr);
  std::vector<uint8_t> header = Sample().bytes;
  header.resize(511);
  EXPECT_EQ(OpenBytes(header), nullptr);
}

TEST(CompoundFileHostile, VersionAndSectorSizeMustAgree) {
  CfbFile file = Sample(4);
  file.Put16(30, 9);
  EXPECT_EQ(OpenBytes(file.bytes), nullptr);
  file.Put16(26, 3);  // version 3 with 512-byte sectors, but laid out for 4096
  Ref<Storage> root = OpenBytes(file.bytes);
  ElementTree tree;
  EXPECT_FALSE(root != nullptr && ReadTree(root.get(), &tree) && tree == TreeOf(Sample(4).bytes));
}

TEST(CompoundFileHostile, CyclicChainsFail) {
  {  // directory chain pointing at itself
    CfbFile file = Sample();
    file.Put32(file.FatEntryOffset(file.directorySectors.back()), file.directorySectors[0]);
    EXPECT_EQ(OpenBytes(file.bytes), nullptr) << "directory";
  }
  {  // DIFAT chain looping back to its first sector
    CfbOptions options;
    options.extraFatSectors = 400;
    CfbFile file = BuildCompoundFile(HostileSample(), options);
    ASSERT_GE(file.difatSectors.size(), 2u);
    file.Put32(file.SectorOffset(file.difatSectors.back()) + file.sectorSize - 4,
               file.difatSectors[0]);
    EXPECT_NE(OpenBytes(file.bytes), nullptr) << "the last DIFAT link is not needed";
    file.Put32(file.SectorOffset(file.difatSectors[1]) + file.sectorSize - 4, file.difatSectors[0]);
    EXPECT_EQ(OpenBytes(file.bytes), nullptr) << "DIFAT";
  }
  {  // a stream's sectors looping back
    CfbFile file = Sample();
    uint32_t start = file.entryStarts[file.EntryId(u"Big")];
    file.Put32(file.FatEntryOffset(start + 4), start + 1);
    EXPECT_FALSE(StreamOpens(file.bytes, u"Big"));
    EXPECT_TRUE(StreamOpens(file.bytes, u"Last"));
    EXPECT_TRUE(StreamOpens(file.bytes, u"Small"));
  }
  {  // a small stream's mini sectors looping back
    CfbFile file = Sample();
    uint32_t start = file.entryStarts[file.EntryId(u"Small")];
    file.Put32(file.MiniFatEntryOffset(start + 2), start);
    EXPECT_FALSE(StreamOpens(file.bytes, u"Small"));
    EXPECT_TRUE(StreamOpens(file.bytes, u"Folder/Inner"));
  }
  {  // the mini stream's own chain looping: no small stream opens, big ones do
    CfbFile file = Sample();
    ASSERT_EQ(file.miniStreamSectors.size(), 1u);
    file.Put32(file.FatEntryOffset(file.miniStreamSectors[0]), file.miniStreamSectors[0]);
    file.Put32(file.EntryOffset(0) + kSize, 2 * file.sectorSize);
    EXPECT_FALSE(StreamOpens(file.bytes, u"Small"));
    EXPECT_FALSE(StreamOpens(file.bytes, u"Folder/Sub/Leaf"));
    EXPECT_TRUE(StreamOpens(file.bytes, u"Big"));
  }
}

TEST(CompoundFileHostile, SizesBeyondTheChainFail) {
  struct Case {
    const char* stream;
    uint32_t low, high;
    bool opens;
  };
  const Case kCases[] = {
      {"Big", 5120 + 512, 0, false},    // one sector more than its chain
      {"Big", 5120 - 1, 0, true},       // less is fine
      {"Small", 257, 0, false},         // one mini sector more than its chain
      {"Small", 0x7FFFFFFF, 0, false},  // far beyond the file
      {"Big", 5120, 0xFFFFFFFF, true},  // version 3: the high half is ignored
  };
  for (const Case& c : kCases) {
    CfbFile file = Sample();
    std::u16string name(c.stream, c.stream + strlen(c.stream));
    size_t entry = file.EntryOffset(file.EntryId(name));
    file.Put32(entry + kSize, c.low);
    file.Put32(entry + kSize + 4, c.high);
    EXPECT_EQ(StreamOpens(file.bytes, name), c.opens) << c.stream << " " << c.low;
  }
  // Version 4 takes all 64 bits.
  CfbFile file = Sample(4);
  file.Put32(file.EntryOffset(file.EntryId(u"Big")) + kSize + 4, 1);
  EXPECT_FALSE(StreamOpens(file.bytes, u"Big"));
  // A mini stream larger than the file leaves small streams unreadable.
  file = Sample();
  file.Put32(file.EntryOffset(0) + kSize, 0x40000000);
  EXPECT_FALSE(StreamOpens(file.bytes, u"Small"));
  EXPECT_TRUE(StreamOpens(file.bytes, u"Big"));
}

TEST(CompoundFileHostile, IndexesOutOfRangeFail) {
  {  // a FAT link beyond the file
    CfbFile file = Sample();
    uint32_t start = file.entryStarts[file.EntryId(u"Big")];
    file.Put32(file.FatEntryOffset(start + 3), 0x00FFFFF0);
    EXPECT_FALSE(StreamOpens(file.bytes, u"Big"));
  }
  {  // a stream starting on a special sector number
    CfbFile file = Sample();
    file.Put32(file.EntryOffset(file.EntryId(u"Last")) + kStart, 0xFFFFFFFD);
    EXPECT_FALSE(StreamOpens(file.bytes, u"Last"));
  }
  {  // a mini sector beyond the mini stream
    CfbFile file = Sample();
    file.Put32(file.EntryOffset(file.EntryId(u"Small")) + kStart,
               static_cast<uint32_t>(file.miniStreamSectors.size() * file.sectorSize / 64));
    EXPECT_FALSE(StreamOpens(file.bytes, u"Small"));
  }
  {  // directory links beyond the directory: no element there
    CfbFile file = Sample();
    file.Put32(file.EntryOffset(0) + kChild, 0x7FFFFFFF);
    EXPECT_EQ(TreeOf(file.bytes).size(), 0u);
    file = Sample();
    uint32_t folder = file.EntryId(u"Folder");
    file.Put32(file.EntryOffset(folder) + kChild, 1000);
    ElementTree tree = TreeOf(file.bytes);
    EXPECT_EQ(tree.count("Folder"), 1u);
    EXPECT_EQ(tree.count("Folder/Inner"), 0u);
  }
}

TEST(CompoundFileHostile, DirectoryLoopsListEachElementOnce) {
  CfbFile sample = Sample();
  const uint32_t folder = sample.EntryId(u"Folder"), sub = sample.EntryId(u"Folder/Sub"),
                 leaf = sample.EntryId(u"Folder/Sub/Leaf"), big = sample.EntryId(u"Big");
  struct Loop {
    const char* what;
    uint32_t entry;
    size_t field;
    uint32_t target;
    size_t listed;  // elements still reachable
  };
  const Loop kLoops[] = {
      {"root's child is the root", 0, kChild, 0, 0},
      {"a storage is its own child", folder, kChild, folder, 4},
      {"a storage's child is its parent", sub, kChild, folder, 6},
      {"an element is its own left sibling", big, kLeft, big, 7},
      {"an element's sibling is the root", big, kRight, 0, 7},
      {"a leaf's sibling is its grandparent", leaf, kLeft, folder, 7},
      {"a leaf's sibling is the root's top child", leaf, kRight,
       sample.Get32(sample.EntryOffset(0) + kChild), 7},
  };
  for (const Loop& loop : kLoops) {
    CfbFile file = Sample();
    file.Put32(file.EntryOffset(loop.entry) + loop.field, loop.target);
    bool complete = false;
    EXPECT_EQ(TreeOf(file.bytes, &complete).size(), loop.listed) << loop.what;
    EXPECT_TRUE(complete) << loop.what;
  }
  // Siblings linking each other both ways are each listed once.
  CfbFile file = Sample();
  uint32_t top = file.Get32(file.EntryOffset(0) + kChild);
  uint32_t left = file.Get32(file.EntryOffset(top) + kLeft);
  ASSERT_NE(left, 0xFFFFFFFFu);
  file.Put32(file.EntryOffset(left) + kRight, top);
  bool complete = false;
  EXPECT_EQ(TreeOf(file.bytes, &complete).size(), 7u);
  EXPECT_TRUE(complete);
}

TEST(CompoundFileHostile, BadEntriesAreNeitherListedNorOpened) {
  struct Damage {
    const char* what;
    size_t field;
    uint16_t value;
    int width;
  };
  const Damage kDamages[] = {
      {"name of 32 units", kNameLength, 66, 2}, {"name length 0", kNameLength, 0, 2},
      {"odd name length", kNameLength, 9, 2},   {"type 3", kType, 3, 1},
      {"a second root", kType, 5, 1},           {"type 0", kType, 0, 1},
  };
  for (const Damage& damage : kDamages) {
    CfbFile file = Sample();
    size_t entry = file.EntryOffset(file.EntryId(u"Folder/Sub/Leaf"));
    if (damage.width == 1) {
      file.bytes[entry + damage.field] = static_cast<uint8_t>(damage.value);
    } else {
      file.Put16(entry + damage.field, damage.value);
    }
    bool complete = false;
    ElementTree tree = TreeOf(file.bytes, &complete);
    EXPECT_TRUE(complete) << damage.what;
    EXPECT_EQ(tree.size(), 6u) << damage.what;
    EXPECT_EQ(tree.count("Folder/Sub/Leaf"), 0u) << damage.what;
    EXPECT_FALSE(StreamOpens(file.bytes, u"Folder/Sub/Leaf")) << damage.what;
  }
  // Without a root entry there is no file.
  CfbFile file = Sample();
  file.bytes[file.EntryOffset(0) + kType] = 1;
  EXPECT_EQ(OpenBytes(file.bytes), nullptr);
}

TEST(CompoundFileHostile, NamesEqualButForCaseOpenOneElementOnce) {
  // Two siblings whose names compare equal: both are listed, a lookup by
  // either name finds one of them with its own size, and that element
  // stays exclusive whichever spelling asks for it again.
  CfbOptions options;
  options.siblingsAsChain = true;
  CfbFile file =
      BuildCompoundFile(CfbNode::Storage(u"", {CfbNode::Stream(u"Twin", PatternBytes(10, 1)),
                                               CfbNode::Stream(u"TWIN", PatternBytes(700, 2))}),
                        options);
  Ref<Storage> root = OpenBytes(file.bytes);
  ASSERT_NE(root, nullptr);
  std::vector<cadserv::platform::StorageElement> listed;
  ASSERT_TRUE(root->ListElements(&listed));
  EXPECT_EQ(listed.size(), 2u);
  Ref<StorageStream> stream(root->OpenStream(u"tWiN"));
  ASSERT_NE(stream, nullptr);
  uint64_t size = 0, modified = 0;
  ASSERT_TRUE(stream->Stat(&size, &modified));
  EXPECT_TRUE(size == 10 || size == 700) << size;
  std::vector<uint8_t> bytes(size + 1);
  uint32_t got = 0;
  ASSERT_TRUE(stream->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &got));
  EXPECT_EQ(got, size);
  bytes.resize(got);
  EXPECT_EQ(bytes, PatternBytes(size, size == 10 ? 1 : 2));
  EXPECT_EQ(root->OpenStream(u"Twin"), nullptr);
  EXPECT_EQ(root->OpenStream(u"TWIN"), nullptr);
}

TEST(CompoundFileHostile, GarbageGivesFailuresOnly) {
  // Noise after a valid header, and noise with a valid header and FAT over
  // a damaged directory: whatever opens must list and read without harm.
  for (uint32_t seed = 1; seed <= 200; ++seed) {
    CfbFile file = Sample(seed % 2 ? 3 : 4);
    std::vector<uint8_t> noise = PatternBytes(file.bytes.size(), seed);
    size_t from = seed % 3 == 0 ? 512 : file.SectorOffset(file.directorySectors[0]);
    size_t length = seed % 3 == 0 ? noise.size() - from : 128 * (1 + seed % 4);
    std::copy(noise.begin() + from, noise.begin() + from + length, file.bytes.begin() + from);
    TreeOf(file.bytes);
  }
  EXPECT_EQ(OpenBytes(PatternBytes(20000, 99)), nullptr);
}

}  // namespace
