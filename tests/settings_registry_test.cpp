// The registry calls of the POSIX settings store, as a filter makes them on
// its own settings key.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "cadserv/registry.h"
#include "cadserv/settings.h"
#include "settings/settings_key.h"
#include "support/compound_file_tools.h"
#include "support/settings_scope.h"

namespace {

// A filter's own class id (not one of the library's).
constexpr CLSID kFilterClass = {
    0x12345678, 0x9ABC, 0xDEF0, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
const HKEY kSentinelKey = reinterpret_cast<HKEY>(0xDEADBEEF);

class SettingsRegistry : public ::testing::Test {
 protected:
  HKEY Create(const char16_t* path, REGSAM access = KEY_ALL_ACCESS, DWORD* disposition = nullptr) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                              nullptr, &key, disposition),
              ERROR_SUCCESS);
    return key;
  }
  void SetDword(HKEY key, const char16_t* name, DWORD value) {
    EXPECT_EQ(RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4),
              ERROR_SUCCESS);
  }
  cadserv_test::TempSettingsStore store_;
};

TEST_F(SettingsRegistry, BracedClassIdText) {
  // The shell link class id, whose braced form is published.
  const CLSID shellLink = {0x00021401, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  EXPECT_EQ(cadserv::settings::BracedGuidText(shellLink),
            u"{00021401-0000-0000-C000-000000000046}");
  EXPECT_EQ(cadserv::settings::BracedGuidText(kFilterClass),
            u"{12345678-9ABC-DEF0-0123-456789ABCDEF}");
}

TEST_F(SettingsRegistry, FilterKeepsItsSettingsUnderItsClassId) {
  // Reading first: nothing there yet, but "CLSID" itself is made.
  EXPECT_EQ(SERV_OpenCreateSettingsKey(&kFilterClass, 0, 0), nullptr);
  EXPECT_NE(store_.ReadFile().find("[CLSID]\n"), std::string::npos);

  HKEY key = SERV_OpenCreateSettingsKey(&kFilterClass, 1, REG_OPTION_VOLATILE);
  ASSERT_NE(key, nullptr);
  HKEY parameters = kSentinelKey;
  ASSERT_EQ(RegCreateKeyExW(key, u"Parameters", 0, nullptr, 0, KEY_SET_VALUE, nullptr, &parameters,
                            nullptr),
            ERROR_SUCCESS);
  SetDword(parameters, u"Precision", 6);
  const char16_t title[] = u"Plan";
  ASSERT_EQ(RegSetValueExW(parameters, u"Title", 0, REG_SZ, reinterpret_cast<const BYTE*>(title),
                           sizeof title),
            ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(parameters), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);

  EXPECT_NE(store_.ReadFile().find("[CLSID\\{12345678-9ABC-DEF0-0123-456789ABCDEF}\\Parameters]\n"
                                   "\"Precision\"=dword:00000006\n"
                                   "\"Title\"=\"Plan\"\n"),
            std::string::npos)
      << store_.ReadFile();

  key = SERV_OpenCreateSettingsKey(&kFilterClass, 0, 0);
  ASSERT_NE(key, nullptr);
  ASSERT_EQ(RegOpenKeyExW(key, u"Parameters", 0, KEY_READ, &parameters), ERROR_SUCCESS);
  DWORD type = 0, value = 0, size = sizeof value;
  EXPECT_EQ(RegQueryValueExW(parameters, u"Precision", nullptr, &type,
                             reinterpret_cast<BYTE*>(&value), &size),
            ERROR_SUCCESS);
  EXPECT_EQ(type, REG_DWORD);
  EXPECT_EQ(value, 6u);
  EXPECT_EQ(size, 4u);
  // The key opened for reading has no right to write, and the reverse.
  EXPECT_EQ(RegSetValueExW(key, u"x", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), 4),
            ERROR_ACCESS_DENIED);
  RegCloseKey(parameters);
  RegCloseKey(key);
  key = SERV_OpenCreateSettingsKey(&kFilterClass, 1, 0);
  size = sizeof value;
  EXPECT_EQ(
      RegQueryValueExW(key, u"Precision", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size),
      ERROR_ACCESS_DENIED);
  RegCloseKey(key);
}

TEST_F(SettingsRegistry, NamesCompareWithoutCase) {
  DWORD disposition = 0;
  HKEY key = Create(u"Software\\Vendor \u00C4pfel \u0416", KEY_ALL_ACCESS, &disposition);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  SetDword(key, u"Zoom\u00E9", 1);
  SetDword(key, u"ZOOM\u00C9", 2);  // the same value, first spelling kept
  RegCloseKey(key);

  key = Create(u"SOFTWARE\\vendor \u00E4PFEL \u0436\\", KEY_ALL_ACCESS, &disposition);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
  DWORD value = 0, size = sizeof value;
  EXPECT_EQ(RegQueryValueExW(key, u"zoom\u00E9", nullptr, nullptr, reinterpret_cast<BYTE*>(&value),
                             &size),
            ERROR_SUCCESS);
  EXPECT_EQ(value, 2u);
  RegCloseKey(key);
  std::string file = store_.ReadFile();
  EXPECT_NE(
      file.find("[Software\\Vendor \xC3\x84pfel \xD0\x96]\n\"Zoom\xC3\xA9\"=dword:00000002\n"),
      std::string::npos)
      << file;
  // Characters that differ by more than case do not match.
  HKEY other = kSentinelKey;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Vendor Apfel \u0416", 0, KEY_READ, &other),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(SettingsRegistry, QueryAnswersSizesAndLeavesSmallBuffersAlone) {
  HKEY key = Create(u"Sizes");
  const BYTE eight[] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(RegSetValueExW(key, u"Eight", 0, REG_BINARY, eight, 8), ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key, nullptr, 0, REG_DWORD, eight, 4), ERROR_SUCCESS);

  DWORD type = 0xDEADBEEF, size = 0xDEADBEEF;
  EXPECT_EQ(RegQueryValueExW(key, u"eight", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, REG_BINARY);
  EXPECT_EQ(size, 8u);

  BYTE buffer[4] = {0xAA, 0xAA, 0xAA, 0xAA};
  size = sizeof buffer;
  EXPECT_EQ(RegQueryValueExW(key, u"Eight", nullptr, nullptr, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 8u);
  for (BYTE b : buffer) EXPECT_EQ(b, 0xAA);

  size = sizeof buffer;  // the default value: a null and an empty name alike
  EXPECT_EQ(RegQueryValueExW(key, u"", nullptr, nullptr, buffer, &size), ERROR_SUCCESS);
  EXPECT_EQ(buffer[3], 4);
  EXPECT_EQ(RegQueryValueExW(key, u"Missing", nullptr, nullptr, buffer, &size),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegQueryValueExW(key, u"Eight", nullptr, nullptr, buffer, nullptr),
            ERROR_INVALID_PARAMETER);
  DWORD reserved = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"Eight", &reserved, nullptr, nullptr, &size),
            ERROR_INVALID_PARAMETER);
  RegCloseKey(key);
}

TEST_F(SettingsRegistry, RefusesBadHandlesAndPaths) {
  HKEY key = Create(u"A");
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"x", nullptr, nullptr, nullptr, &size), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegSetValueExW(kSentinelKey, u"x", 0, REG_NONE, nullptr, 0), ERROR_INVALID_HANDLE);
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyExW(kSentinelKey, u"A", 0, KEY_READ, &opened), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"A\\\\B", 0, KEY_READ, &opened), ERROR_BAD_PATHNAME);
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, u"\\A", 0, nullptr, 0, KEY_READ, nullptr, &opened,
                            nullptr),
            ERROR_BAD_PATHNAME);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"A\\B", 0, KEY_READ, &opened), ERROR_FILE_NOT_FOUND);
  // A null or empty path opens the key itself again.
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"A", 0, KEY_READ, &key), ERROR_SUCCESS);
  ASSERT_EQ(RegOpenKeyExW(key, nullptr, 0, KEY_READ, &opened), ERROR_SUCCESS);
  RegCloseKey(opened);
  RegCloseKey(key);
}

TEST_F(SettingsRegistry, StoreIsPrivateAndReplacedWhole) {
  HKEY key = Create(u"Private");
  for (DWORD i = 0; i < 5; ++i) SetDword(key, u"Count", i);
  RegCloseKey(key);
  struct stat info;
  ASSERT_EQ(stat(store_.file().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  ASSERT_EQ(stat(store_.folder().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700u);
  std::string listing;
  ASSERT_TRUE(cadserv_test::RunCommand("ls -A '" + store_.folder() + "'", &listing));
  EXPECT_EQ(listing, "settings.lock\nsettings.reg\n");  // no temporary file left over
}

TEST_F(SettingsRegistry, DamagedFileReadsAsEmptyAndIsReplacedOnSave) {
  store_.WriteFile("; cadserv settings 1\n[Kept]\n\"Value\"=dword:0000");  // cut short
  HKEY key = kSentinelKey;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Kept", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  key = Create(u"Kept");
  SetDword(key, u"Value", 7);
  RegCloseKey(key);
  EXPECT_EQ(store_.ReadFile(), "; cadserv settings 1\n[Kept]\n\"Value\"=dword:00000007\n");
  std::string kept;  // the damaged file, kept for whoever made it
  ASSERT_TRUE(cadserv_test::RunCommand("cat '" + store_.folder() + "/settings.bad'", &kept));
  EXPECT_EQ(kept, "; cadserv settings 1\n[Kept]\n\"Value\"=dword:0000");
}

TEST_F(SettingsRegistry, UnwritableStoreFailsCleanly) {
  store_.MakeUnwritable();
  HKEY key = kSentinelKey;
  EXPECT_EQ(
      RegCreateKeyExW(HKEY_CURRENT_USER, u"A", 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
      ERROR_WRITE_FAULT);
  EXPECT_EQ(key, kSentinelKey);
  EXPECT_EQ(SERV_OpenCreateSettingsKey(&kFilterClass, 1, 0), nullptr);
  DWORD value = 1;
  EXPECT_EQ(RegSetValueExW(HKEY_CURRENT_USER, u"x", 0, REG_DWORD,
                           reinterpret_cast<const BYTE*>(&value), 4),
            ERROR_WRITE_FAULT);
}

}  // namespace
