// The cadserv tool's storage and file subcommands, run as a user runs them.
#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

#include "support/compound_file_builder.h"
#include "support/compound_file_tools.h"
#include "support/file_stream_helpers.h"
#include "support/tool_runner.h"

namespace {

using namespace cadserv_test;

class StorageTool : public ::testing::Test {
 protected:
  void SetUp() override {
    inner_ = PatternBytes(70000, 4);
    CfbNode root = CfbNode::Storage(
        u"Root Entry",
        {CfbNode::Stream(u"\u0005Summary", {1, 2, 3}),
         CfbNode::Storage(u"Sub", {CfbNode::Stream(u"Inner", inner_, kInnerTime)}, 0, kSubTime)});
    CfbFile file = BuildCompoundFile(root);
    compound_ = dir_.Write("drawing.dwg", file.bytes.data(), file.bytes.size());
    plain_ = dir_.Write("plain.dxf", "0\nEOF\n", 6);
  }
  const uint64_t kInnerTime = FileTimeOf(UtcSeconds(2020, 2, 29, 23, 59, 58));
  const uint64_t kSubTime = FileTimeOf(UtcSeconds(2001, 9, 8, 7, 6, 5));
  TempDir dir_;
  std::vector<uint8_t> inner_;
  std::string compound_, plain_;
};

// Elements come in the file's own order: shorter names first.
TEST_F(StorageTool, LsListsTheTreeWithSizesAndTimes) {
  std::string output;
  ASSERT_EQ(RunTool("storage ls '" + compound_ + "'", &output), 0);
  EXPECT_EQ(output,
            "        SIZE  MODIFIED (UTC)       PATH\n"
            "           -  2001-09-08 07:06:05  Sub/\n"
            "       70000  2020-02-29 23:59:58  Sub/Inner\n"
            "           3  -                    \\x05Summary\n");
  EXPECT_EQ(RunTool("storage ls '" + plain_ + "'", &output), 1);
  EXPECT_EQ(RunTool("storage ls", &output), 2);
}

TEST_F(StorageTool, CatWritesTheElementsBytes) {
  std::string output;
  ASSERT_EQ(RunTool("storage cat '" + compound_ + "' sub/INNER", &output), 0);
  EXPECT_EQ(output, std::string(inner_.begin(), inner_.end()));
  ASSERT_EQ(RunTool("storage cat '" + compound_ + "' '\\x05Summary'", &output), 0);
  EXPECT_EQ(output, std::string("\x01\x02\x03"));

  for (const char* path : {"Missing", "Sub", "Sub/Missing", "Missing/Inner"}) {
    EXPECT_EQ(RunTool("storage cat '" + compound_ + "' '" + path + "'", &output), 1) << path;
    EXPECT_EQ(output, "") << path;
  }
  EXPECT_EQ(RunTool("storage cat '" + plain_ + "' Inner", &output), 1);
  EXPECT_EQ(RunTool("storage cat '" + compound_ + "' 'Sub//Inner'", &output), 2);
  EXPECT_EQ(RunTool("storage cat '" + compound_ + "' '\\q'", &output), 2);
  EXPECT_EQ(RunTool("storage cat '" + compound_ + "'", &output), 2);
  EXPECT_EQ(RunTool("storage list '" + compound_ + "'", &output), 2);
  EXPECT_EQ(RunTool("storage --help", &output), 0);
  EXPECT_NE(output.find("cadserv storage cat FILE PATH"), std::string::npos);
}

TEST_F(StorageTool, FileInfoGivesSizeDosTimeAndKind) {
  SetModifiedTime(plain_, UtcSeconds(2024, 5, 6, 7, 8, 11));
  std::string output;
  ASSERT_EQ(RunTool("file info '" + plain_ + "'", &output), 0);
  EXPECT_EQ(output, "file:           " + plain_ +
                        "\n"
                        "size:           6 bytes\n"
                        "modified:       2024-05-06 07:08:10 (DOS date 0x58A6, time 0x3905)\n"
                        "compound file:  no\n");
  SetModifiedTime(compound_, UtcSeconds(1999, 12, 31, 23, 59, 59));
  ASSERT_EQ(RunTool("file info '" + compound_ + "'", &output), 0);
  EXPECT_NE(
      output.find("size:           " + std::to_string(FileBytes(compound_).size()) + " bytes\n"),
      std::string::npos)
      << output;
  EXPECT_NE(output.find("modified:       1999-12-31 23:59:58"), std::string::npos) << output;
  EXPECT_NE(output.find("compound file:  yes\n"), std::string::npos) << output;

  EXPECT_EQ(RunTool("file info '" + dir_.path() + "/missing'", &output), 1);
  EXPECT_EQ(RunTool("file info", &output), 2);
  EXPECT_EQ(RunTool("file stat '" + plain_ + "'", &output), 2);
}

// `storage ls` and `storage cat` on a package made by msitools' wixl, checked
// element by element against olefile's view of the same file.
TEST(StorageToolOnWixlPackage, ListsAndCatsEveryElementOlefileSees) {
  std::string error;
  ASSERT_TRUE(HaveProgram("wixl", "wixl", &error)) << error;
  TempDir dir;
  std::vector<uint8_t> payload = PatternBytes(30000, 41);
  dir.Write("payload.bin", payload.data(), payload.size());
  std::string msi = dir.path() + "/package.msi";
  ASSERT_TRUE(RunCommand("cd '" + dir.path() + "' && wixl -o '" + msi +
                         "' '" CADSERV_TEST_DATA "/wixl/package.wxs' >/dev/null"));
  ElementTree expected;
  ASSERT_TRUE(OlefileTree(msi, &expected, &error)) << error;

  std::string listing;
  ASSERT_EQ(RunTool("storage ls '" + msi + "'", &listing), 0);
  constexpr size_t kPathColumn = 35;  // after the size and time columns
  size_t lines = 0;
  size_t start = listing.find('\n') + 1;  // past the heading
  for (size_t end; (end = listing.find('\n', start)) != std::string::npos; start = end + 1) {
    std::string shown = listing.substr(start + kPathColumn, end - start - kPathColumn);
    // The listing spells control characters as \xNN, as `cat` takes them.
    std::string name;
    for (size_t i = 0; i < shown.size(); ++i) {
      if (shown.compare(i, 2, "\\x") == 0 && i + 3 < shown.size()) {
        name += static_cast<char>(std::stoi(shown.substr(i + 2, 2), nullptr, 16));
        i += 3;
      } else {
        name += shown[i];
      }
    }
    ++lines;
    ASSERT_EQ(expected.count(name), 1u) << "listed but unknown to olefile: " << shown;
    if (expected[name].isStorage) continue;
    std::string bytes;
    ASSERT_EQ(RunTool("storage cat '" + msi + "' '" + shown + "'", &bytes), 0) << shown;
    EXPECT_EQ(bytes.size(), expected[name].size) << shown;
    EXPECT_EQ(Crc32(bytes.data(), bytes.size()), expected[name].crc) << shown;
  }
  EXPECT_EQ(lines, expected.size());
}

}  // namespace
