// The cadserv tool's settings subcommand, run as a user runs it.
#include <gtest/gtest.h>

#include <string>

#include "support/settings_scope.h"
#include "support/tool_runner.h"

namespace {

using cadserv_test::RunTool;

class SettingsTool : public ::testing::Test {
 protected:
  std::string Show() {
    std::string output;
    EXPECT_EQ(RunTool("settings show", &output), 0);
    return output;
  }
  std::string Location() { return "stored in: " + store_.file() + "\n"; }
  cadserv_test::TempSettingsStore store_;  // LC_ALL=C: the ANSI code page is 1252
};

TEST_F(SettingsTool, ShowsDefaultsWhenNothingIsSaved) {
  EXPECT_EQ(Show(),
            "input code page: 1252\n"
            "output code page: 1252\n"
            "use drawing code page: off\n"
            "translate AutoCAD codes: off\n" +
                Location());
}

TEST_F(SettingsTool, SetSavesWhatIsGivenAndKeepsTheRest) {
  std::string output;
  ASSERT_EQ(RunTool("settings set --input-cp 1250 --use-drawing-cp on", &output), 0);
  EXPECT_EQ(output, "");
  EXPECT_NE(store_.ReadFile().find("\"InputCP\"=dword:000104e2\n"
                                   "\"OutputCP\"=dword:000004e4\n"
                                   "\"TranslateACADSpec\"=dword:00000000\n"),
            std::string::npos);
  ASSERT_EQ(RunTool("settings set --output-cp pure-ascii --translate-acad on", &output), 0);
  EXPECT_EQ(Show(),
            "input code page: 1250\n"
            "output code page: 32770\n"
            "use drawing code page: on\n"
            "translate AutoCAD codes: on\n" +
                Location());
  ASSERT_EQ(RunTool("settings set --use-drawing-cp off --input-cp default", &output), 0);
  EXPECT_EQ(Show(),
            "input code page: 32769\n"
            "output code page: 32770\n"
            "use drawing code page: off\n"
            "translate AutoCAD codes: on\n" +
                Location());
}

TEST_F(SettingsTool, BadArgumentsChangeNothing) {
  std::string output;
  const char* bad[] = {
      "settings",
      "settings list",
      "settings show extra",
      "settings set",
      "settings set --input-cp",
      "settings set --input-cp 0",
      "settings set --input-cp 65535",
      "settings set --input-cp 70000",
      "settings set --input-cp unicode",
      "settings set --output-cp -5",
      "settings set --use-drawing-cp yes",
      "settings set --translate-acad",
      "settings set --input-cp 1250 --colour red",
  };
  for (const char* arguments : bad) {
    EXPECT_EQ(RunTool(arguments, &output), 2) << arguments;
  }
  EXPECT_EQ(store_.ReadFile(), "");  // not even a key was made
  ASSERT_EQ(RunTool("settings --help", &output), 0);
  EXPECT_NE(output.find("usage: cadserv settings show"), std::string::npos);
  ASSERT_EQ(RunTool("settings set --help", &output), 0);
  EXPECT_NE(output.find("--translate-acad on|off"), std::string::npos);
}

TEST_F(SettingsTool, UnwritableStoreIsAFailure) {
  store_.MakeUnwritable();
  std::string output;
  EXPECT_EQ(RunTool("settings set --input-cp 437", &output), 1);
  EXPECT_EQ(RunTool("settings show", &output), 0);
  EXPECT_NE(output.find("input code page: 1252\n"), std::string::npos);
}

}  // namespace
