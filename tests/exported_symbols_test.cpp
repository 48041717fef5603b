// The shared library exports exactly the documented interface built so far.
#include <gtest/gtest.h>
#include <stdio.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

std::set<std::string> DefinedDynamicSymbols(const std::string& library) {
  std::set<std::string> names;
  std::string command = "nm -D --defined-only --format=posix '" + library + "'";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return names;
  char line[4096];
  while (fgets(line, sizeof line, pipe) != nullptr) {
    std::istringstream fields(line);
    std::string name, type;
    fields >> name >> type;
    // Versioned-symbol bookkeeping, not an export of ours.
    if (type == "A") continue;
    names.insert(name);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return names;
}

std::set<std::string> ExpectedSymbols() {
  std::set<std::string> names;
  std::ifstream list(CADSERV_TEST_DATA "/exported_symbols.txt");
  std::string name;
  while (list >> name) names.insert(name);
  return names;
}

TEST(ExportedSymbols, MatchTheDocumentedInterface) {
  std::set<std::string> expected = ExpectedSymbols();
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(DefinedDynamicSymbols(CADSERV_LIBRARY_PATH), expected);
}

}  // namespace
