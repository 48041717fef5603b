// The cadserv tool's text subcommands, run as a user runs them.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/tool_runner.h"

namespace {

struct ToolRun {
  int exitCode = -1;
  std::string out;
};

// Runs `cadserv <arguments>` with `input` on standard input.
ToolRun Tool(const std::string& arguments, const std::string& input = "") {
  ToolRun run;
  run.exitCode = cadserv_test::RunTool(arguments, &run.out, input);
  return run;
}

TEST(TextTool, ConvertsDoubleByteTextToUtf8AndUtf16AndBack) {
  const std::string shiftJis = "\x93\xFA\x96\x7B abc";
  ToolRun utf8 = Tool("text convert --from 932 --to utf-8", shiftJis);
  EXPECT_EQ(utf8.exitCode, 0);
  EXPECT_EQ(utf8.out, "日本 abc");
  ToolRun utf16 = Tool("text convert --from 932 --to utf-16le", shiftJis);
  EXPECT_EQ(utf16.out, std::string("\xE5\x65\x2C\x67 \0a\0b\0c\0", 12));
  EXPECT_EQ(Tool("text convert --from utf-16le --to 932", utf16.out).out, shiftJis);
  EXPECT_EQ(Tool("text convert --from utf-8 --to 932", "\xEF\xBB\xBF" + utf8.out).out, shiftJis);
  EXPECT_EQ(Tool("text convert --from utf-8 --to utf-16le", utf8.out).out, utf16.out);
}

TEST(TextTool, NulSeparatedStringsKeepTheirSeparators) {
  ToolRun run = Tool("text convert --from 1251 --to utf-8", std::string("\xC0\0\xE1", 3));
  EXPECT_EQ(run.out, std::string("А\0б", 5));
  EXPECT_EQ(Tool("text convert --from utf-8 --to 1251", run.out).out, std::string("\xC0\0\xE1", 3));
}

TEST(TextTool, ListsTheWellKnownCodePages) {
  ToolRun run = Tool("text codepages");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_NE(run.out.find("5      1250       yes     \"1250 - Windows 3.1 Eastern European \"\n"),
            std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("0      32769      no      \"Unknown (use the system default)\""),
            std::string::npos);
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 11);
}

TEST(TextTool, CharsetPrintsItsCodePage) {
  EXPECT_EQ(Tool("text charset 238").out, "1250\n");
  EXPECT_EQ(Tool("text charset 134").out, "0\n");
  EXPECT_EQ(Tool("text charset --default 850 1").out, "850\n");
}

TEST(TextTool, BadUsageAndBadInput) {
  EXPECT_EQ(Tool("text charset").exitCode, 2);
  EXPECT_EQ(Tool("text charset abc").exitCode, 2);
  EXPECT_EQ(Tool("text convert --from utf-16 --to 1252").exitCode, 2);
  EXPECT_EQ(Tool("text convert --to utf-8").exitCode, 2);
  EXPECT_EQ(Tool("text codepages extra").exitCode, 2);
  EXPECT_EQ(Tool("text convert --from utf-16le --to 1252", "abc").exitCode, 1);
}

}  // namespace
