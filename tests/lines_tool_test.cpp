// The cadserv tool's lines subcommand, run as a filter author runs it.
#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

#include "support/compound_file_tools.h"
#include "support/tool_runner.h"

namespace {

using cadserv_test::RunTool;

class LinesTool : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string text = "  0\r\nSECTION\r\n\r\n  2\tx\\y\nENTITIES\x1Atail";
    path_ = dir_.Write("drawing.dxf", text.data(), text.size());
  }
  cadserv_test::TempDir dir_;
  std::string path_;
};

TEST_F(LinesTool, PrintsEachResultAndLine) {
  std::string output;
  ASSERT_EQ(RunTool("lines '" + path_ + "'", &output), 0);
  EXPECT_EQ(output,
            "5\t  0\n"
            "9\tSECTION\n"
            "2\t\n"
            "8\t  2\\x09x\\\\y\n"
            "8\tENTITIES\n"
            "-1\t\n");
}

TEST_F(LinesTool, SmallBufferAndSkippedEmptyLines) {
  std::string output;
  ASSERT_EQ(RunTool("lines --size 5 --skip-empty '" + path_ + "'", &output), 0);
  EXPECT_EQ(output,
            "4\t  0\n"
            "4\tSEC\n"  // the LF after "  0\r" is an empty line, skipped
            "4\tTION\n"
            "4\t\n"  // a window of empty lines only: an empty line
            "4\t  2\\x09\n"
            "4\tx\\\\y\n"
            "4\tENTI\n"
            "4\tTIES\n"
            "-1\t\n");
}

TEST_F(LinesTool, BadUsageAndMissingFiles) {
  std::string output;
  EXPECT_EQ(RunTool("lines", &output), 2);
  EXPECT_EQ(RunTool("lines --size 0 '" + path_ + "'", &output), 2);
  EXPECT_EQ(RunTool("lines --size", &output), 2);
  EXPECT_EQ(RunTool("lines --wide '" + path_ + "'", &output), 2);
  EXPECT_EQ(RunTool("lines '" + path_ + "' other.dxf", &output), 2);
  EXPECT_EQ(RunTool("lines '" + dir_.path() + "/missing.dxf'", &output), 1);
  EXPECT_EQ(RunTool("lines --help", &output), 0);
  EXPECT_NE(output.find("usage: cadserv lines FILE"), std::string::npos);
}

}  // namespace
