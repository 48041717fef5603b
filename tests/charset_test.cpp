// Character sets and code pages, the well-known code page list with its
// names, and the module resources the names come from.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "cadserv/cadserv.h"
#include "frame/module_state.h"
#include "platform/platform.h"
#include "platform/posix/resource_lookup.h"
#include "resources/resource_ids.h"

namespace {

using namespace cadserv::platform;

struct CharsetCodePage {
  int32_t charset;
  int32_t codePage;
};
const CharsetCodePage kTable[] = {
    {0, 1252},   {2, 42},     {77, 10000}, {78, 10001}, {83, 10005}, {88, 10029}, {89, 10007},
    {128, 932},  {161, 1253}, {162, 1254}, {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257},
    {204, 1251}, {222, 874},  {238, 1250}, {254, 437},  {255, 1},
};

TEST(Charset2CodePage, MapsTheTableAndNothingElse) {
  for (const CharsetCodePage& entry : kTable) {
    EXPECT_EQ(SERV_Charset2CodePage(entry.charset, 850), entry.codePage) << entry.charset;
  }
  EXPECT_EQ(SERV_Charset2CodePage(1, 850), 850);
  EXPECT_EQ(SERV_Charset2CodePage(1, 0), 0);
  for (int32_t none : {129, 130, 134, 136, 3, 256, -1, -255, 0x7FFFFFFF}) {
    EXPECT_EQ(SERV_Charset2CodePage(none, 850), 0) << none;
  }
}

TEST(CodePage2Charset, IsTheExactReverseWithDefaultCharsetOtherwise) {
  for (const CharsetCodePage& entry : kTable) {
    EXPECT_EQ(SERV_CodePage2Charset(entry.codePage), static_cast<uint32_t>(entry.charset));
    for (int32_t defaultCodePage : {0, 850, 1252}) {
      EXPECT_EQ(SERV_Charset2CodePage(static_cast<int32_t>(SERV_CodePage2Charset(entry.codePage)),
                                      defaultCodePage),
                entry.codePage);
    }
  }
  for (int32_t none : {850, 852, 936, 949, 950, 65001, 0, -1, 32769, 32770, 32772}) {
    EXPECT_EQ(SERV_CodePage2Charset(none), 1u) << none;
  }
}

struct WellKnown {
  int32_t codePage;
  const char* name;
};
const WellKnown kWellKnown[] = {
    {32769, "Unknown (use the system default)"}, {32770, "Pure ASCII"},
    {437, "437 - MS-DOS  United States"},        {850, "850 - MS-DOS  Multilingual (Latin I)"},
    {852, "852 - MS-DOS  Slavic (Latin II)"},    {1250, "1250 - Windows 3.1 Eastern European "},
    {1251, "1251 - Windows 3.1 Cyrillic"},       {1252, "1252 - Windows 3.1 US (ANSI)"},
    {1253, "1253 - Windows 3.1 Greek"},          {1254, "1254 - Windows 3.1 Turkish"},
};

TEST(CodePageConvertInfo, ListsTheTenWellKnownCodePagesWithTheirExactNames) {
  for (uint32_t index = 0; index < 10; ++index) {
    SCOPED_TRACE(index);
    char* name = nullptr;
    int32_t codePage = 0;
    int32_t length = SERV_CodePageConvertInfo(index, &name, 0xDEADBEEF, &codePage);
    EXPECT_EQ(codePage, kWellKnown[index].codePage);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(length, static_cast<int32_t>(strlen(kWellKnown[index].name)));
    EXPECT_STREQ(name, kWellKnown[index].name);
    EXPECT_EQ(LocalFree(name), nullptr);
  }
}

TEST(CodePageConvertInfo, SpecificLengths) {
  char* name = nullptr;
  int32_t codePage = 0;
  EXPECT_EQ(SERV_CodePageConvertInfo(5, &name, 0, &codePage), 36);  // trailing blank kept
  EXPECT_EQ(codePage, 1250);
  LocalFree(name);
  EXPECT_EQ(SERV_CodePageConvertInfo(9, &name, 0, &codePage), 26);
  EXPECT_EQ(codePage, 1254);
  LocalFree(name);
}

TEST(CodePageConvertInfo, PastTheEndAnswersZeroAndTheDefaultAndAllocatesNothing) {
  for (uint32_t index : {10u, 11u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    char* name = reinterpret_cast<char*>(0x1234);
    int32_t codePage = 0;
    EXPECT_EQ(SERV_CodePageConvertInfo(index, &name, 0, &codePage), 0);
    EXPECT_EQ(codePage, SERV_CP_DEFAULT);
    EXPECT_EQ(name, reinterpret_cast<char*>(0x1234));
  }
  // Null out-pointers are stepped over rather than written through.
  EXPECT_EQ(SERV_CodePageConvertInfo(10, nullptr, 0, nullptr), 0);
  EXPECT_EQ(SERV_CodePageConvertInfo(3, nullptr, 0, nullptr), 0);
  int32_t codePage = 0;
  EXPECT_EQ(SERV_CodePageConvertInfo(3, nullptr, 0, &codePage), 0);
  EXPECT_EQ(codePage, 850);
}

// --- Module resources ------------------------------------------------------

TEST(ModuleResources, LoadStringCopiesTruncatesAndTerminates) {
  ModuleHandle module = cadserv::frame::ThisModule();
  char buffer[100];
  EXPECT_EQ(LoadModuleString(module, IDS_CODEPAGE_1252, buffer, sizeof buffer), 28);
  EXPECT_STREQ(buffer, "1252 - Windows 3.1 US (ANSI)");

  memset(buffer, 'x', sizeof buffer);
  EXPECT_EQ(LoadModuleString(module, IDS_CODEPAGE_1252, buffer, 5), 4);
  EXPECT_STREQ(buffer, "1252");
  EXPECT_EQ(buffer[5], 'x');

  EXPECT_EQ(LoadModuleString(module, IDS_CODEPAGE_1252, buffer, 1), 0);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(LoadModuleString(module, IDS_CODEPAGE_1252, buffer, 0), 0);
  EXPECT_EQ(LoadModuleString(module, IDS_CODEPAGE_1252, nullptr, 10), 0);

  // Missing strings: id 0 and 11 share the block but are empty; id 16 would
  // be in a block that does not exist.
  for (uint32_t missing : {0u, 11u, 15u, 16u, 4000u, 0x10000u}) {
    buffer[0] = 'x';
    EXPECT_EQ(LoadModuleString(module, missing, buffer, sizeof buffer), 0) << missing;
    EXPECT_EQ(buffer[0], '\0');
  }
}

TEST(ModuleResources, StringTableIsStoredInBlocksOfSixteen) {
  ModuleHandle module = cadserv::frame::ThisModule();
  ResourceInfo info = FindModuleResource(module, ResourceId(6), ResourceId(1), 0x0409);
  ASSERT_NE(info, nullptr);
  const uint8_t* data = LoadModuleResource(module, info);
  uint32_t size = ModuleResourceSize(module, info);
  // Entry 0 (id 0) is empty, entry 1 is id 1: 32 units of text.
  ASSERT_GE(size, 4u);
  EXPECT_EQ(data[0] | data[1] << 8, 0);
  EXPECT_EQ(data[2] | data[3] << 8, 32);
  EXPECT_EQ(std::u16string(reinterpret_cast<const char16_t*>(data + 4), 7), u"Unknown");
  // 16 length words and the ten strings' units, nothing else.
  uint32_t units = 0;
  for (const WellKnown& entry : kWellKnown) units += static_cast<uint32_t>(strlen(entry.name));
  EXPECT_EQ(size, 2 * (16 + units));
}

TEST(ModuleResources, FoundByLanguageWithNeutralFallbacks) {
  ModuleHandle module = cadserv::frame::ThisModule();
  EXPECT_NE(FindModuleResource(module, ResourceId(6), ResourceId(1), 0x0409), nullptr);
  EXPECT_NE(FindModuleResource(module, ResourceId(6), ResourceId(1), 0x0000), nullptr);
  EXPECT_NE(FindModuleResource(module, ResourceId(6), ResourceId(1), 0x0400), nullptr);
  EXPECT_EQ(FindModuleResource(module, ResourceId(6), ResourceId(1), 0x0407), nullptr);
  EXPECT_NE(FindModuleResource(module, u"#6", u"#1", 0), nullptr);
  EXPECT_EQ(FindModuleResource(module, ResourceId(6), ResourceId(2), 0), nullptr);
  EXPECT_EQ(FindModuleResource(module, ResourceId(5), ResourceId(129), 0), nullptr);
  EXPECT_EQ(FindModuleResource(module, ResourceId(6), nullptr, 0), nullptr);
  EXPECT_EQ(LoadModuleResource(module, nullptr), nullptr);
  EXPECT_EQ(ModuleResourceSize(module, nullptr), 0u);
}

TEST(ModuleResources, NullModuleIsTheMainProgram) {
  // The test program links the library's objects: its main module carries
  // the library's resources.
  char buffer[100];
  EXPECT_EQ(LoadModuleString(nullptr, IDS_CODEPAGE_PURE_ASCII, buffer, sizeof buffer), 10);
  EXPECT_STREQ(buffer, "Pure ASCII");
}

TEST(ModuleResources, SharedLibraryCarriesItsOwnAndOtherModulesNone) {
  void* library = dlopen(CADSERV_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  char buffer[100];
  EXPECT_EQ(LoadModuleString(library, IDS_CODEPAGE_DEFAULT, buffer, sizeof buffer), 32);
  EXPECT_STREQ(buffer, "Unknown (use the system default)");
  dlclose(library);

  // A module without resources finds none, not those of a module it
  // depends on or of the program.
  void* libm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(libm, nullptr);
  EXPECT_EQ(FindModuleResource(libm, ResourceId(6), ResourceId(1), 0), nullptr);
  EXPECT_EQ(LoadModuleString(libm, IDS_CODEPAGE_DEFAULT, buffer, sizeof buffer), 0);
  dlclose(libm);
}

TEST(ResourceDirectoryLookup, NamesNumbersAndLanguages) {
  static const uint8_t kBytes[] = {1, 2, 3};
  static const CadservResourceEntry kEntries[] = {
      {10, nullptr, 7, nullptr, 0x0407, 1, kBytes},   // German
      {10, nullptr, 7, nullptr, 0x0007, 2, kBytes},   // German, neutral sublanguage
      {10, nullptr, 8, nullptr, 0x0419, 3, kBytes},   // Russian only
      {0, u"MYTYPE", 0, u"LOGO", 0x0000, 3, kBytes},  // language neutral
      {5, nullptr, 129, nullptr, 0x0409, 1, kBytes},
  };
  const CadservResourceDirectory directory = {kResourceDirectoryMagic, 1, 5, kEntries};
  auto find = [&](const WCHAR* type, const WCHAR* name, uint16_t language) {
    return FindInDirectory(directory, type, name, language);
  };
  EXPECT_EQ(find(ResourceId(10), ResourceId(7), 0x0407), &kEntries[0]);
  EXPECT_EQ(find(ResourceId(10), ResourceId(7), 0x0807), &kEntries[1]);  // Swiss German
  EXPECT_EQ(find(ResourceId(10), ResourceId(7), 0x0409), nullptr);
  EXPECT_EQ(find(ResourceId(10), ResourceId(8), 0x0000), &kEntries[2]);  // any, at last
  EXPECT_EQ(find(ResourceId(10), ResourceId(8), 0x0409), nullptr);
  EXPECT_EQ(find(u"mytype", u"Logo", 0x0409), &kEntries[3]);
  EXPECT_EQ(find(u"MYTYPE", u"LOGO2", 0x0409), nullptr);
  EXPECT_EQ(find(u"MYTYPE", ResourceId(0), 0), nullptr);
  EXPECT_EQ(find(u"#5", u"#129", 0x0409), &kEntries[4]);
  EXPECT_EQ(find(u"#5", u"#129x", 0x0409), nullptr);
  EXPECT_EQ(find(u"#5", u"#99999", 0x0409), nullptr);
  EXPECT_EQ(find(ResourceId(5), ResourceId(129), 0), &kEntries[4]);  // en-US for neutral
}

}  // namespace
