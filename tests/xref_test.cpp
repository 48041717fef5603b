// External reference lookup: path splitting and joining as the C runtime
// does it, the POSIX stand-in of FindFirstFileW, and SERV_LocateXRefW/A on
// real temporary folders.
#include "cadserv/xref.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/platform.h"
#include "streams/split_path.h"
#include "support/code_page_scope.h"

namespace {

namespace fs = std::filesystem;
using cadserv::platform::FindFile;
using cadserv::platform::FoundFile;
using cadserv::streams::MakePath;
using cadserv::streams::PathParts;
using cadserv::streams::SplitPath;

// UTF-8 -> UTF-16 for test strings (no supplementary characters needed).
std::u16string Wide(const std::string& text) {
  std::u16string out;
  for (size_t i = 0; i < text.size();) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    int extra = c < 0x80 ? 0 : c >= 0xE0 ? 2 : 1;
    char16_t unit = extra == 0 ? c : c & (extra == 1 ? 0x1F : 0x0F);
    for (int k = 1; k <= extra; ++k) unit = (unit << 6) | (text[i + k] & 0x3F);
    out += unit;
    i += extra + 1;
  }
  return out;
}

std::string Backslashes(std::string path) {
  for (char& c : path) {
    if (c == '/') c = '\\';
  }
  return path;
}

// A fresh folder under the system's temporary folder, removed afterwards.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (fs::temp_directory_path() / "cadserv-xref-XXXXXX").string();
    path_ = mkdtemp(&pattern[0]);
  }
  ~TempFolder() { fs::remove_all(path_); }
  const std::string& path() const { return path_; }
  // Creates `relative` (folders included) holding `bytes`; returns its path.
  std::string File(const std::string& relative, const std::string& bytes = "x") const {
    fs::path full = fs::path(path_) / relative;
    fs::create_directories(full.parent_path());
    std::ofstream(full, std::ios::binary) << bytes;
    return full.string();
  }
  std::string Folder(const std::string& relative) const {
    fs::create_directories(fs::path(path_) / relative);
    return path_ + "/" + relative;
  }

 private:
  std::string path_;
};

struct SplitCase {
  const char16_t* path;
  const char16_t* drive;
  const char16_t* dir;
  const char16_t* fileName;
  const char16_t* extension;
};

TEST(SplitPath, SplitsAsTheRuntimeLibraryDoes) {
  const SplitCase cases[] = {
      {u"C:\\old\\site\\plan.dxf", u"C:", u"\\old\\site\\", u"plan", u".dxf"},
      {u"plan", u"", u"", u"plan", u""},
      {u"/home/u/a.b.c", u"", u"/home/u/", u"a.b", u".c"},
      {u"dir.v2\\name", u"", u"dir.v2\\", u"name", u""},
      {u"a/b\\c.d", u"", u"a/b\\", u"c", u".d"},
      {u".hidden", u"", u"", u"", u".hidden"},
      {u"name.", u"", u"", u"name", u"."},
      {u"C:", u"C:", u"", u"", u""},
      {u"C:name.ext", u"C:", u"", u"name", u".ext"},
      {u"1:x", u"1:", u"", u"x", u""},
      {u"\\\\server\\share\\x.dwg", u"", u"\\\\server\\share\\", u"x", u".dwg"},
      {u"", u"", u"", u"", u""},
  };
  for (const SplitCase& c : cases) {
    SCOPED_TRACE(std::string(c.path, c.path + std::char_traits<char16_t>::length(c.path)));
    PathParts parts;
    ASSERT_TRUE(SplitPath(c.path, &parts));
    EXPECT_EQ(std::u16string(parts.drive), c.drive);
    EXPECT_EQ(std::u16string(parts.dir), c.dir);
    EXPECT_EQ(std::u16string(parts.fileName), c.fileName);
    EXPECT_EQ(std::u16string(parts.extension), c.extension);
  }
}

TEST(SplitPath, ComponentsAtAndOverTheirLimits) {
  PathParts parts;
  std::u16string dir255 = u"\\" + std::u16string(253, u'd') + u"\\";
  ASSERT_TRUE(SplitPath((dir255 + u"f.e").c_str(), &parts));
  EXPECT_EQ(std::u16string(parts.dir), dir255);
  EXPECT_FALSE(SplitPath((u"d" + dir255 + u"f.e").c_str(), &parts));
  EXPECT_EQ(parts.dir[0], 0);
  EXPECT_EQ(parts.fileName[0], 0);
  ASSERT_TRUE(SplitPath((std::u16string(255, u'f') + u".e").c_str(), &parts));
  EXPECT_FALSE(SplitPath((std::u16string(256, u'f') + u".e").c_str(), &parts));
  ASSERT_TRUE(SplitPath((u"f." + std::u16string(254, u'e')).c_str(), &parts));
  EXPECT_FALSE(SplitPath((u"f." + std::u16string(255, u'e')).c_str(), &parts));
}

TEST(MakePath, InsertsColonSeparatorAndDot) {
  WCHAR out[260];
  ASSERT_TRUE(MakePath(out, 260, u"C:", u"\\jobs\\", u"plan", u"dwg"));
  EXPECT_EQ(std::u16string(out), u"C:\\jobs\\plan.dwg");
  ASSERT_TRUE(MakePath(out, 260, u"C", u"\\jobs", u"plan", u".dwg"));
  EXPECT_EQ(std::u16string(out), u"C:\\jobs\\plan.dwg");
  ASSERT_TRUE(MakePath(out, 260, u"", u"/home/u/", u"plan", u"dwg"));
  EXPECT_EQ(std::u16string(out), u"/home/u/plan.dwg");
  ASSERT_TRUE(MakePath(out, 260, nullptr, nullptr, u"plan", nullptr));
  EXPECT_EQ(std::u16string(out), u"plan");
  ASSERT_TRUE(MakePath(out, 260, u"", u"", u"", u""));
  EXPECT_EQ(std::u16string(out), u"");
}

TEST(MakePath, NeverWritesPastItsCapacity) {
  WCHAR out[262];
  std::fill(out, out + 262, u'#');
  std::u16string name255(255, u'n');
  ASSERT_TRUE(MakePath(out, 260, nullptr, nullptr, name255.c_str(), u"dwg"));  // 259 units
  EXPECT_EQ(std::u16string(out), name255 + u".dwg");
  std::fill(out, out + 262, u'#');
  EXPECT_FALSE(MakePath(out, 260, nullptr, u"x", name255.c_str(), u"dwg"));  // 261 units
  EXPECT_EQ(out[0], u'#');
}

TEST(MakePath, JoinsWhatSplitPathTakesApart) {
  for (const char16_t* path : {u"C:\\old\\site\\plan.dxf", u"/home/u/a.b.c", u"x.y", u"D:rel\\f"}) {
    PathParts parts;
    ASSERT_TRUE(SplitPath(path, &parts));
    WCHAR out[260];
    ASSERT_TRUE(MakePath(out, 260, parts.drive, parts.dir, parts.fileName, parts.extension));
    EXPECT_EQ(std::u16string(out), path);
  }
}

TEST(PosixFindFile, FindsFilesAndFoldersByTheirExactName) {
  TempFolder temp;
  std::string file = temp.File("plan.dwg", "12345");
  FoundFile found;
  ASSERT_TRUE(FindFile(Wide(file).c_str(), &found));
  EXPECT_EQ(found.size, 5u);
  EXPECT_FALSE(found.isDirectory);
  ASSERT_TRUE(FindFile(Wide(temp.path()).c_str(), &found));
  EXPECT_TRUE(found.isDirectory);
  EXPECT_TRUE(FindFile(Wide(file).c_str(), nullptr));
  EXPECT_FALSE(FindFile(Wide(temp.path() + "/missing.dwg").c_str(), &found));
}

TEST(PosixFindFile, MatchesNamesWithoutRegardToCase) {
  TempFolder temp;
  temp.File("Plan.DWG", "abc");
  temp.File(u8"Pl\u00e4ne.dwg");
  temp.File(u8"\u0447\u0435\u0440\u0442\u0451\u0436.dwg");  // чертёж
  const std::string base = temp.path() + "/";
  FoundFile found;
  ASSERT_TRUE(FindFile(Wide(base + "plan.dwg").c_str(), &found));
  EXPECT_EQ(found.size, 3u);
  EXPECT_TRUE(FindFile(Wide(base + "PLAN.dwg").c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide(base + u8"PL\u00c4NE.DWG").c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide(base + u8"\u0427\u0415\u0420\u0422\u0401\u0416.DWG").c_str(), nullptr));
  EXPECT_FALSE(FindFile(Wide(base + "plan.dxf").c_str(), nullptr));
  // Folders in the path too.
  temp.File("Jobs/Site B/Main.dwg");
  EXPECT_TRUE(FindFile(Wide(base + "jobs/SITE b/main.DWG").c_str(), nullptr));
}

TEST(PosixFindFile, TakesTheFirstInByteOrderAmongCaseVariants) {
  TempFolder temp;
  temp.File("plan.dwg", "lower");
  temp.File("PLAN.DWG", "UPPER!");
  FoundFile found;
  ASSERT_TRUE(FindFile(Wide(temp.path() + "/Plan.dwg").c_str(), &found));
  EXPECT_EQ(found.size, 6u);  // "PLAN.DWG" sorts first
  ASSERT_TRUE(FindFile(Wide(temp.path() + "/plan.dwg").c_str(), &found));
  EXPECT_EQ(found.size, 5u);  // the exact name wins
}

TEST(PosixFindFile, ReadsWindowsPaths) {
  TempFolder temp;
  temp.File("site/plan.dwg");
  std::string windows = Backslashes(temp.path() + "/site/plan.dwg");
  EXPECT_TRUE(FindFile(Wide(windows).c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide("C:" + windows).c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide("z:" + temp.path() + "\\SITE/Plan.dwg").c_str(), nullptr));
  // A trailing separator finds nothing, as with FindFirstFileW.
  EXPECT_FALSE(FindFile(Wide(temp.path() + "/site/").c_str(), nullptr));
  EXPECT_FALSE(FindFile(Wide(Backslashes(temp.path()) + "\\site\\").c_str(), nullptr));
  EXPECT_FALSE(FindFile(u"", nullptr));
  EXPECT_FALSE(FindFile(u"C:", nullptr));
  EXPECT_FALSE(FindFile(nullptr, nullptr));
}

TEST(PosixFindFile, WildcardsInTheLastName) {
  TempFolder temp;
  temp.File("plan.dwg");
  const std::string base = temp.path() + "/";
  EXPECT_TRUE(FindFile(Wide(base + "pl*.dwg").c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide(base + "PLA?.DWG").c_str(), nullptr));
  EXPECT_TRUE(FindFile(Wide(base + "*").c_str(), nullptr));
  EXPECT_FALSE(FindFile(Wide(base + "x*.dwg").c_str(), nullptr));
  EXPECT_FALSE(FindFile(Wide(base + "plan?.dwg").c_str(), nullptr));
}

TEST(PosixFindFile, EntriesThatAreNotUtf8DoNotStopTheSearch) {
  TempFolder temp;
  temp.File("\xFF\xFE.dwg");
  temp.File("A.dwg");
  EXPECT_TRUE(FindFile(Wide(temp.path() + "/a.dwg").c_str(), nullptr));
}

// SERV_LocateXRefW on a reference buffer of MAX_PATH units followed by
// sentinels, which must survive.
class XrefBuffer {
 public:
  explicit XrefBuffer(const std::u16string& path) {
    std::fill(units_, units_ + kSize, u'\xBEEF');
    std::copy(path.begin(), path.end(), units_);
    units_[path.size()] = 0;
  }
  WCHAR* get() { return units_; }
  std::u16string path() const { return units_; }
  bool SentinelsIntact() const {
    return std::all_of(units_ + 260, units_ + kSize, [](WCHAR c) { return c == u'\xBEEF'; });
  }

 private:
  static constexpr size_t kSize = 300;
  WCHAR units_[kSize];
};

TEST(LocateXRef, AnExistingReferenceIsLeftAsItIs) {
  TempFolder temp;
  std::u16string reference = Wide(temp.File("ref.dxf"));
  XrefBuffer xref(reference);
  EXPECT_EQ(SERV_LocateXRefW(0, nullptr, xref.get()), SERV_OK);
  EXPECT_EQ(xref.path(), reference);
  EXPECT_EQ(SERV_LocateXRefW(0, u"D:\\jobs\\main.dwg", xref.get()), SERV_OK);
  EXPECT_EQ(xref.path(), reference);
}

TEST(LocateXRef, FindsADwgOfTheSameNameBesideTheHost) {
  TempFolder temp;
  temp.File("plan.dwg");
  std::string hostFolder = "D:" + Backslashes(temp.path()) + "\\";
  for (const char16_t* reference : {u"C:\\old\\site\\plan.dxf", u"plan", u"C:\\old\\plan.dwg"}) {
    SCOPED_TRACE(std::string(reference, reference + std::char_traits<char16_t>::length(reference)));
    XrefBuffer xref(reference);
    EXPECT_EQ(SERV_LocateXRefW(0, Wide(hostFolder + "main.dwg").c_str(), xref.get()), SERV_OK);
    EXPECT_EQ(xref.path(), Wide(hostFolder + "plan.dwg"));
    EXPECT_TRUE(xref.SentinelsIntact());
  }
  // A POSIX host path, and a file named in another case.
  temp.File("Site/PLAN.DWG");
  XrefBuffer xref(u"C:\\old\\Plan.dxf");
  std::string host = temp.path() + "/site/main.dwg";
  EXPECT_EQ(SERV_LocateXRefW(0, Wide(host).c_str(), xref.get()), SERV_OK);
  EXPECT_EQ(xref.path(), Wide(temp.path() + "/site/Plan.dwg"));
}

TEST(LocateXRef, NotFoundLeavesTheReferenceAsItWas) {
  TempFolder temp;
  std::u16string host = Wide(temp.path() + "/main.dwg");
  XrefBuffer xref(u"C:\\old\\site\\plan.dxf");
  EXPECT_EQ(SERV_LocateXRefW(0, host.c_str(), xref.get()), SERV_E_NOTFOUND);
  EXPECT_EQ(xref.path(), u"C:\\old\\site\\plan.dxf");
  EXPECT_EQ(SERV_LocateXRefW(0, nullptr, xref.get()), SERV_E_NOTFOUND);
  EXPECT_EQ(xref.path(), u"C:\\old\\site\\plan.dxf");
  EXPECT_TRUE(xref.SentinelsIntact());
  EXPECT_EQ(SERV_LocateXRefW(0, host.c_str(), nullptr), SERV_E_NOTFOUND);
}

// MAX_PATH: a path of 259 units is looked for; one that would need 260
// (no room for the terminator) is not, even if such a file exists.
TEST(LocateXRef, PathsOfMaxPathLength) {
  TempFolder temp;
  auto folderFor = [&](size_t pathLength, const std::string& name) {
    size_t padding = pathLength - temp.path().size() - 2 - name.size();
    return temp.Folder(std::string(padding, 'd'));
  };
  // The reference itself, 259 units.
  std::string longReference = folderFor(259, "ref.dxf") + "/ref.dxf";
  temp.File(longReference.substr(temp.path().size() + 1));
  ASSERT_EQ(longReference.size(), 259u);
  XrefBuffer xref(Wide(longReference));
  EXPECT_EQ(SERV_LocateXRefW(0, nullptr, xref.get()), SERV_OK);
  // The built path, 259 and 260 units.
  for (size_t length : {259u, 260u}) {
    std::string folder = folderFor(length, "plan.dwg");
    temp.File(folder.substr(temp.path().size() + 1) + "/plan.dwg");
    XrefBuffer built(u"C:\\old\\plan.dxf");
    SERVRESULT result = SERV_LocateXRefW(0, Wide(folder + "/main.dwg").c_str(), built.get());
    if (length == 259) {
      EXPECT_EQ(result, SERV_OK);
      EXPECT_EQ(built.path(), Wide(folder + "/plan.dwg"));
    } else {
      EXPECT_EQ(result, SERV_E_NOTFOUND);
      EXPECT_EQ(built.path(), u"C:\\old\\plan.dxf");
    }
    EXPECT_TRUE(built.SentinelsIntact());
  }
}

// The ANSI form answers as the wide form for paths in the ANSI code page.
TEST(LocateXRefA, AnswersAsTheWideForm) {
  cadserv_test::AnsiCodePage ansi(1252);
  TempFolder temp;
  temp.File(u8"Pl\u00e4ne/plan.dwg");
  std::string hostFolder = "D:" + Backslashes(temp.path()) + "\\Pl\xE4ne\\";  // code page 1252
  std::string host = hostFolder + "main.dwg";
  char xref[300];
  strcpy(xref, "C:\\old\\site\\plan.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, host.c_str(), xref), SERV_OK);
  EXPECT_EQ(std::string(xref), hostFolder + "plan.dwg");
  // Found where it stands, and not found.
  EXPECT_EQ(SERV_LocateXRefA(0, nullptr, xref), SERV_OK);
  strcpy(xref, "C:\\old\\site\\missing.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, host.c_str(), xref), SERV_E_NOTFOUND);
  EXPECT_STREQ(xref, "C:\\old\\site\\missing.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, nullptr, xref), SERV_E_NOTFOUND);
  EXPECT_STREQ(xref, "C:\\old\\site\\missing.dxf");
}

TEST(LocateXRefA, DoubleByteAnsiCodePage) {
  cadserv_test::AnsiCodePage ansi(932);
  TempFolder temp;
  temp.File(u8"\u56F3\u9762/plan.dwg");  // 図面, in code page 932: 90 7D 96 CA
  std::string hostFolder = Backslashes(temp.path()) + "\\\x90\x7D\x96\xCA\\";
  char xref[300];
  strcpy(xref, "C:\\old\\plan.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, (hostFolder + "main.dwg").c_str(), xref), SERV_OK);
  EXPECT_EQ(std::string(xref), hostFolder + "plan.dwg");
}

TEST(LocateXRefA, PathsLongerThan259AreNotLookedFor) {
  TempFolder temp;
  std::string folder = temp.Folder(std::string(260 - temp.path().size() - 2 - 7, 'd'));
  std::string reference = folder + "/ref.dxf";  // 260 characters
  temp.File(reference.substr(temp.path().size() + 1));
  ASSERT_EQ(reference.size(), 260u);
  std::string before = reference;
  EXPECT_EQ(SERV_LocateXRefA(0, nullptr, &reference[0]), SERV_E_NOTFOUND);
  EXPECT_EQ(reference, before);
  std::string shorter = folder + "/ref.dx";  // 259 characters, missing
  char xref[300];
  strcpy(xref, "plan.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, (reference + "x").c_str(), xref), SERV_E_NOTFOUND);
  EXPECT_STREQ(xref, "plan.dxf");
  EXPECT_EQ(SERV_LocateXRefA(0, shorter.c_str(), nullptr), SERV_E_NOTFOUND);
}

}  // namespace
