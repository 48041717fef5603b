// The compound file reader against files written by other tools (libgsf's
// gsf, msitools' msibuild) and by the test builder, each cross-checked with
// olefile, an independent reader; and the format's name order.
#include "platform/posix/compound_file.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/platform.h"
#include "platform/posix/compound_name.h"
#include "support/compound_file_builder.h"
#include "support/compound_file_tools.h"

namespace {

using cadserv::platform::OpenStorageFile;
using cadserv::platform::Storage;
using cadserv::platform::cfb::CompareNames;
using cadserv::platform::cfb::UppercaseUnit;
using namespace cadserv_test;

// The tree as the reader under test sees it through the platform interface.
ElementTree ReaderTree(const std::string& path) {
  ElementTree tree;
  Ref<Storage> root(OpenStorageFile(Widen(path).c_str()));
  EXPECT_NE(root, nullptr) << path;
  if (root != nullptr) {
    EXPECT_TRUE(ReadTree(root.get(), &tree)) << path;
  }
  return tree;
}

ElementTree OlefileTreeOf(const std::string& path) {
  ElementTree tree;
  std::string error;
  EXPECT_TRUE(OlefileTree(path, &tree, &error)) << error;
  return tree;
}

ElementRecord StreamRecord(const std::vector<uint8_t>& data, uint64_t modified = 0) {
  ElementRecord record;
  record.size = data.size();
  record.modifiedTime = modified;
  record.crc = Crc32(data.data(), data.size());
  return record;
}

// Writes the files with gsf createole into one compound file; its path.
std::string GsfCompoundFile(const TempDir& dir, const std::string& name,
                            const std::vector<std::string>& entries) {
  std::string error;
  if (!HaveProgram("gsf", "libgsf-bin", &error)) {
    ADD_FAILURE() << error;
    return "";
  }
  std::string command = "cd '" + dir.path() + "/in' && gsf createole '../" + name + "'";
  for (const std::string& entry : entries) command += " '" + entry + "'";
  EXPECT_TRUE(RunCommand(command + " >/dev/null 2>&1")) << command;
  return dir.path() + "/" + name;
}

TEST(CompoundFileReader, MatchesOlefileOnNestedStoragesWrittenByGsf) {
  TempDir dir;
  // Streams on both sides of the 4096-byte mini stream cutoff, an empty one,
  // two levels of storages and a name outside ASCII.
  const std::vector<uint8_t> small = PatternBytes(6, 1), big = PatternBytes(5000, 2),
                             exact = PatternBytes(4096, 3), below = PatternBytes(4095, 4);
  dir.Write("in/a.txt", small.data(), small.size());
  dir.Write(
      "in/\xC3\x9C"
      "berblick",
      small.data(), small.size());
  dir.Write("in/sub/b.bin", big.data(), big.size());
  dir.Write("in/sub/deeper/exact.bin", exact.data(), exact.size());
  dir.Write("in/sub/deeper/below.bin", below.data(), below.size());
  dir.Write("in/sub/deeper/empty.bin", nullptr, 0);
  std::string path = GsfCompoundFile(dir, "nested.ole",
                                     {"a.txt",
                                      "\xC3\x9C"
                                      "berblick",
                                      "sub"});
  if (path.empty()) return;

  ElementTree tree = ReaderTree(path);
  EXPECT_EQ(tree, OlefileTreeOf(path));
  ASSERT_EQ(tree.size(), 8u);
  EXPECT_TRUE(tree["sub"].isStorage);
  EXPECT_TRUE(tree["sub/deeper"].isStorage);
  // gsf stamps each stream with its time of writing; the bytes are ours.
  for (auto [name, data] : {std::pair{"a.txt", small},
                            {"\xC3\x9C"
                             "berblick",
                             small},
                            {"sub/b.bin", big},
                            {"sub/deeper/exact.bin", exact},
                            {"sub/deeper/below.bin", below},
                            {"sub/deeper/empty.bin", {}}}) {
    EXPECT_EQ(tree[name].size, data.size()) << name;
    EXPECT_EQ(tree[name].crc, Crc32(data.data(), data.size())) << name;
  }
}

TEST(CompoundFileReader, MatchesOlefileOnALargeMiniStream) {
  // 60 small streams: a mini stream of about 150 KB with a mini FAT of many
  // sectors.
  TempDir dir;
  std::vector<std::string> names;
  std::vector<std::vector<uint8_t>> data;
  for (int i = 0; i < 60; ++i) {
    names.push_back("s" + std::to_string(i));
    data.push_back(PatternBytes(1000 + 50 * i, 100 + i));
    dir.Write("in/" + names.back(), data.back().data(), data.back().size());
  }
  std::string path = GsfCompoundFile(dir, "mini.ole", names);
  if (path.empty()) return;
  ElementTree tree = ReaderTree(path);
  EXPECT_EQ(tree, OlefileTreeOf(path));
  ASSERT_EQ(tree.size(), names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(tree[names[i]].crc, Crc32(data[i].data(), data[i].size())) << names[i];
  }
}

TEST(CompoundFileReader, ReadsTheDifatSectorsOfAnEightMegabyteGsfFile) {
  // More than 109 FAT sectors of 512 bytes: the FAT is listed in DIFAT
  // sectors beyond the header.
  TempDir dir;
  std::vector<uint8_t> large = PatternBytes(8'000'000, 7);
  dir.Write("in/large.bin", large.data(), large.size());
  std::string path = GsfCompoundFile(dir, "large.ole", {"large.bin"});
  if (path.empty()) return;
  std::ifstream in(path, std::ios::binary);
  uint8_t header[76] = {};
  in.read(reinterpret_cast<char*>(header), sizeof header);
  EXPECT_GT(cadserv::platform::cfb::LoadU32(header + 44), 109u) << "FAT sectors";
  EXPECT_GE(cadserv::platform::cfb::LoadU32(header + 72), 1u) << "DIFAT sectors";

  ElementTree tree = ReaderTree(path);
  EXPECT_EQ(tree, OlefileTreeOf(path));
  ASSERT_EQ(tree.size(), 1u);
  EXPECT_EQ(tree["large.bin"].size, large.size());
  EXPECT_EQ(tree["large.bin"].crc, Crc32(large.data(), large.size()));
}

TEST(CompoundFileReader, MatchesOlefileOnAnMsiWrittenByMsibuild) {
  TempDir dir;
  std::string error;
  ASSERT_TRUE(HaveProgram("msibuild", "msitools", &error)) << error;
  std::vector<uint8_t> payload = PatternBytes(6000, 11), icon = PatternBytes(100, 12);
  std::string payloadPath = dir.Write("payload.bin", payload.data(), payload.size());
  std::string iconPath = dir.Write("icon.bin", icon.data(), icon.size());
  std::string msi = dir.path() + "/tiny.msi";
  // One call per option: msibuild takes a variable number of -s arguments.
  for (std::string arguments :
       {std::string("-s 'cadserv test' cadserv ';1033' '{6A3E2F10-5C2B-4E43-9C7E-0C5F1D7A9B21}'"),
        std::string("-q 'CREATE TABLE `Property` (`Property` CHAR(72) NOT NULL, `Value` "
                    "LONGCHAR NOT NULL PRIMARY KEY `Property`)'"),
        std::string("-q 'INSERT INTO `Property` (`Property`, `Value`) VALUES "
                    "('\\''ProductName'\\'', '\\''cadserv'\\'')'"),
        "-a Payload '" + payloadPath + "'", "-a Icon '" + iconPath + "'"}) {
    ASSERT_TRUE(RunCommand("msibuild '" + msi + "' " + arguments + " >/dev/null")) << arguments;
  }

  ElementTree tree = ReaderTree(msi);
  EXPECT_EQ(tree, OlefileTreeOf(msi));
  EXPECT_EQ(tree.count("\x05SummaryInformation"), 1u);
  // Stream names of MSI tables are packed into CJK-range units; find the
  // added streams by their bytes.
  int found = 0;
  for (const auto& [name, record] : tree) {
    found += record == StreamRecord(payload) || record == StreamRecord(icon);
  }
  EXPECT_EQ(found, 2);
}

// Builds tests/data/wixl/package.wxs (one payload file in an embedded
// cabinet) with msitools' wixl into `dir`; the .msi path, or "" on failure.
std::string BuildWixlPackage(const TempDir& dir, const std::vector<uint8_t>& payload) {
  dir.Write("payload.bin", payload.data(), payload.size());
  std::string msi = dir.path() + "/package.msi";
  std::string command = "cd '" + dir.path() + "' && wixl -o '" + msi +
                        "' '" CADSERV_TEST_DATA "/wixl/package.wxs' >/dev/null";
  return RunCommand(command) ? msi : "";
}

TEST(CompoundFileReader, MatchesOlefileOnAnMsiWrittenByWixl) {
  TempDir dir;
  std::string error;
  ASSERT_TRUE(HaveProgram("wixl", "wixl", &error)) << error;
  std::string msi = BuildWixlPackage(dir, PatternBytes(30000, 31));
  ASSERT_FALSE(msi.empty());

  ElementTree tree = ReaderTree(msi);
  EXPECT_EQ(tree, OlefileTreeOf(msi));
  // The summary, the string pool and the tables, and the embedded cabinet
  // (its own stream, larger than the mini stream cutoff or not).
  EXPECT_EQ(tree.count("\x05SummaryInformation"), 1u);
  EXPECT_GT(tree.size(), 10u);
}

// A tree of everything the builder can lay out: nested storages with times,
// streams in the mini stream and in sectors, empty streams, names outside
// ASCII.
CfbNode SampleTree() {
  return CfbNode::Storage(
      u"", {CfbNode::Stream(u"Contents", PatternBytes(10000, 21), 0x01D9000011112222),
            CfbNode::Stream(u"tiny", PatternBytes(1, 22)), CfbNode::Stream(u"Empty", {}),
            CfbNode::Storage(
                u"Drawing",
                {CfbNode::Stream(u"Layer \u00e9t\u00e9", PatternBytes(4095, 23)),
                 CfbNode::Stream(u"Blocks", PatternBytes(4096, 24)),
                 CfbNode::Storage(u"Nested", {CfbNode::Stream(u"Deep", PatternBytes(300, 25))},
                                  0x01D8000000000001, 0x01D8000000000002)},
                0x01D7AAAABBBBCCCC, 0x01D7DDDDEEEEFFFF)});
}

ElementTree SampleExpectation() {
  ElementTree tree;
  tree["Contents"] = StreamRecord(PatternBytes(10000, 21), 0x01D9000011112222);
  tree["tiny"] = StreamRecord(PatternBytes(1, 22));
  tree["Empty"] = StreamRecord({});
  tree["Drawing"] = {true, 0, 0x01D7AAAABBBBCCCC, 0x01D7DDDDEEEEFFFF, 0};
  tree["Drawing/Layer \xC3\xA9t\xC3\xA9"] = StreamRecord(PatternBytes(4095, 23));
  tree["Drawing/Blocks"] = StreamRecord(PatternBytes(4096, 24));
  tree["Drawing/Nested"] = {true, 0, 0x01D8000000000001, 0x01D8000000000002, 0};
  tree["Drawing/Nested/Deep"] = StreamRecord(PatternBytes(300, 25));
  return tree;
}

TEST(CompoundFileReader, ReadsVersion3And4FilesAsOlefileDoes) {
  for (int version : {3, 4}) {
    SCOPED_TRACE(version);
    TempDir dir;
    CfbOptions options;
    options.majorVersion = version;
    CfbFile file = BuildCompoundFile(SampleTree(), options);
    std::string path = dir.Write("sample.cfb", file.bytes.data(), file.bytes.size());
    EXPECT_EQ(OlefileTreeOf(path), SampleExpectation());
    EXPECT_EQ(ReaderTree(path), SampleExpectation());
  }
}

TEST(CompoundFileReader, FollowsAChainOfDifatSectors) {
  // 400 more FAT sectors than needed: three DIFAT sectors in a small file.
  TempDir dir;
  CfbOptions options;
  options.extraFatSectors = 400;
  CfbFile file = BuildCompoundFile(SampleTree(), options);
  ASSERT_EQ(file.difatSectors.size(), 3u);
  std::string path = dir.Write("difat.cfb", file.bytes.data(), file.bytes.size());
  EXPECT_EQ(OlefileTreeOf(path), SampleExpectation());
  EXPECT_EQ(ReaderTree(path), SampleExpectation());
}

TEST(CompoundFileReader, FindsElementsInTreesOfAnyOrder) {
  // Siblings as an unsorted chain of right links, as some writers leave them.
  TempDir dir;
  CfbOptions options;
  options.siblingsAsChain = true;
  CfbFile file = BuildCompoundFile(SampleTree(), options);
  std::string path = dir.Write("chain.cfb", file.bytes.data(), file.bytes.size());
  EXPECT_EQ(ReaderTree(path), SampleExpectation());
}

TEST(CompoundFileName, UppercasesUnitsByTheSimpleMapping) {
  const std::pair<char16_t, char16_t> kCases[] = {
      {u'a', u'A'},     {u'z', u'Z'},     {u'A', u'A'},     {u'0', u'0'},     {u'_', u'_'},
      {0x00E9, 0x00C9}, {0x00FF, 0x0178}, {0x00DF, 0x00DF}, {0x00F7, 0x00F7}, {0x0101, 0x0100},
      {0x0100, 0x0100}, {0x017E, 0x017D}, {0x03C3, 0x03A3}, {0x03C2, 0x03A3}, {0x0430, 0x0410},
      {0x0451, 0x0401}, {0x1F80, 0x1F88}, {0xFF41, 0xFF21}, {0xD801, 0xD801}, {0xDC28, 0xDC28},
      {0x4840, 0x4840}, {0x0005, 0x0005},
  };
  for (auto [unit, upper] : kCases) {
    EXPECT_EQ(UppercaseUnit(unit), upper) << std::hex << unit;
  }
}

TEST(CompoundFileName, OrdersShorterNamesFirstThenByUppercaseUnits) {
  auto compare = [](std::u16string a, std::u16string b) {
    return CompareNames(a.data(), a.size(), b.data(), b.size());
  };
  EXPECT_LT(compare(u"ZZ", u"AAA"), 0);
  EXPECT_GT(compare(u"AAA", u"ZZ"), 0);
  EXPECT_EQ(compare(u"Layer", u"lAYER"), 0);
  EXPECT_EQ(compare(u"\u00e9t\u00e9", u"\u00c9T\u00c9"), 0);
  EXPECT_LT(compare(u"abc", u"ABD"), 0);
  // '_' (0x5F) lies between the upper and lower case letters.
  EXPECT_LT(compare(u"a", u"_"), 0);
  EXPECT_EQ(compare(u"", u""), 0);
}

}  // namespace
