// The user's registered code pages and text mapping flags: the per-process
// caches, bit 16 of "InputCP", and what the store holds after a save.
#include <gtest/gtest.h>

#include <string>

#include "cadserv/guids.h"
#include "cadserv/registry.h"
#include "cadserv/settings.h"
#include "settings/text_mapping_settings.h"
#include "support/code_page_scope.h"
#include "support/settings_scope.h"

namespace {

using cadserv::settings::SaveTextMappingSettings;
using cadserv_test::ForgetRegisteredCodePages;

const char kHeader[] =
    "; cadserv settings 1\n[CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\\Parameters]\n";

class RegisteredCodePages : public ::testing::Test {
 protected:
  // A store whose Parameters key holds `values` (lines of the text form).
  void Store(const std::string& values) { store_.WriteFile(kHeader + values); }

  // A value of the Parameters key as stored: its type and bytes.
  std::string Stored(const char16_t* name, DWORD* type) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER,
                      u"CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\\Parameters", 0, KEY_READ,
                      &key) != ERROR_SUCCESS) {
      return "(no key)";
    }
    BYTE data[64];
    DWORD size = sizeof data;
    LSTATUS status = RegQueryValueExW(key, name, nullptr, type, data, &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? std::string(reinterpret_cast<char*>(data), size) : "(none)";
  }

  cadserv_test::TempSettingsStore store_;
  cadserv_test::AnsiCodePage ansi_{1250};
};

TEST_F(RegisteredCodePages, NothingStoredGivesTheAnsiCodePage) {
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 1250);  // not SERV_CP_DEFAULT
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 1250);
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 0);
  EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), 0);
}

TEST_F(RegisteredCodePages, UnreadableStoreGivesTheAnsiCodePage) {
  store_.MakeUnwritable();
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 1250);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 1250);
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 0);
  EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), 0);
}

TEST_F(RegisteredCodePages, Bit16IsTheUseDrawingFlag) {
  Store("\"InputCP\"=dword:000104e2\n\"OutputCP\"=dword:000104e2\n");
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 1250);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 1250);  // cleared in the output twin too
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 1);
  Store("\"InputCP\"=dword:000004e2\n");
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 0);
}

TEST_F(RegisteredCodePages, TranslateFlagIsAnyNonZeroValue) {
  struct Case {
    const char* line;
    BYTE expected;
  };
  const Case cases[] = {
      {"\"TranslateACADSpec\"=dword:00000002\n", 1},
      {"\"TranslateACADSpec\"=dword:80000000\n", 1},
      {"\"TranslateACADSpec\"=dword:00000000\n", 0},
      {"\"TranslateACADSpec\"=hex:01\n", 1},              // the type is not checked
      {"\"TranslateACADSpec\"=hex:00,00,00,00,01\n", 0},  // longer than 4 bytes: absent
      {"\"translateacadspec\"=dword:00000001\n", 1},
      {"\"Other\"=dword:00000001\n", 0},
  };
  for (const Case& c : cases) {
    Store(c.line);
    EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), c.expected) << c.line;
  }
}

// A value is read straight over the cache, which starts as the ANSI code
// page: up to 4 bytes of any type replace the bytes they cover; a longer
// value counts as absent.
TEST_F(RegisteredCodePages, ValuesOfOtherSizesAndTypes) {
  struct Case {
    const char* line;
    int32_t expected;
  };
  const Case cases[] = {
      {"\"InputCP\"=hex:52,03\n", 850},               // over 1250 = 0x04E2
      {"\"InputCP\"=hex:25\n", 0x0425},               // only the low byte
      {"\"InputCP\"=\"A\"\n", 0x41},                  // REG_SZ "A" and its terminator
      {"\"InputCP\"=hex(4):b5,01,00,00,00\n", 1250},  // five bytes: absent
      {"\"InputCP\"=hex:00,00,00,00,00,00,00,00\n", 1250},
      {"\"InputCP\"=hex:\n", 1250},  // no bytes: nothing replaced
  };
  for (const Case& c : cases) {
    Store(c.line);
    ForgetRegisteredCodePages();
    EXPECT_EQ(SERV_GetRegisteredInputCodePage(), c.expected) << c.line;
  }
}

TEST_F(RegisteredCodePages, CacheHoldsUntilSetOrForgotten) {
  Store("\"InputCP\"=dword:000001b5\n\"OutputCP\"=dword:00000352\n");
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 437);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 850);
  // Another process saves new choices: this one keeps what it read...
  Store(
      "\"InputCP\"=dword:000104e3\n\"OutputCP\"=dword:000004e3\n"
      "\"TranslateACADSpec\"=dword:00000001\n");
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 437);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 850);
  // ...while the flags are read at each call.
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 1);
  EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), 1);

  SERV_SetRegisteredOutputCodePage(437);
  SERV_SetRegisteredInputCodePage(0x10352);  // kept as given, bit 16 and all
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 437);
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 0x10352);
  EXPECT_EQ(Stored(u"OutputCP", nullptr), std::string("\xE3\x04\0\0", 4));  // store untouched

  ForgetRegisteredCodePages();  // as a new process would
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 1251);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 1251);
}

TEST_F(RegisteredCodePages, StoredNotReadMarkerIsReadAgain) {
  Store("\"InputCP\"=dword:0000ffff\n");
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 0xFFFF);
  Store("\"InputCP\"=dword:000001b5\n");
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 437);
}

TEST_F(RegisteredCodePages, SaveWritesThreeDwordsAndTheCaches) {
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 1250);  // fill the caches first
  ASSERT_TRUE(SaveTextMappingSettings(852, true, 437, 2));
  DWORD type = 0;
  EXPECT_EQ(Stored(u"InputCP", &type), std::string("\x54\x03\x01\x00", 4));  // 0x10354
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(Stored(u"OutputCP", &type), std::string("\xB5\x01\0\0", 4));
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(Stored(u"TranslateACADSpec", &type), std::string("\x02\0\0\0", 4));
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 852);
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 437);
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 1);
  EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), 1);
  ForgetRegisteredCodePages();
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 852);

  // The special code pages of the Text Mapping page, flag off.
  ASSERT_TRUE(SaveTextMappingSettings(32769, false, 32770, 0));
  EXPECT_EQ(Stored(u"InputCP", nullptr), std::string("\x01\x80\0\0", 4));
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 0);
  EXPECT_EQ(SERV_QueryIfTranslateACADSpec(), 0);
}

TEST_F(RegisteredCodePages, SaveKeepsOtherValuesOfTheKey) {
  Store("\"FilterOwn\"=dword:00000009\n\"OutputCP\"=dword:00000001\n");
  ASSERT_TRUE(SaveTextMappingSettings(1250, false, 1252, 0));
  EXPECT_EQ(Stored(u"FilterOwn", nullptr), std::string("\x09\0\0\0", 4));
  EXPECT_EQ(Stored(u"OutputCP", nullptr), std::string("\xE4\x04\0\0", 4));
}

TEST_F(RegisteredCodePages, FailedSaveStillSetsTheCaches) {
  store_.MakeUnwritable();
  EXPECT_FALSE(SaveTextMappingSettings(0x10352, true, 866, 1));
  EXPECT_EQ(SERV_GetRegisteredInputCodePage(), 850);  // bit 16 left out of the cache
  EXPECT_EQ(SERV_GetRegisteredOutputCodePage(), 866);
  EXPECT_EQ(SERV_QueryIfUseDrawingCodePage(), 0);
}

}  // namespace
