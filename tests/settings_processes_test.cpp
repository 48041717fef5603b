// The settings store shared by several processes and threads: concurrent
// saves all land, a process killed while saving leaves a readable store,
// and unique ids never repeat.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "cadserv/guids.h"
#include "cadserv/registry.h"
#include "cadserv/settings.h"
#include "platform/posix/settings_text.h"
#include "settings/text_mapping_settings.h"
#include "support/compound_file_tools.h"
#include "support/settings_scope.h"

namespace {

using cadserv::settings::SaveTextMappingSettings;

// Runs `work` in a child process and returns its pid. The child leaves with
// _exit(0), or _exit(1) when `work` returned false.
template <typename Work>
pid_t Spawn(Work work) {
  pid_t pid = fork();
  if (pid == 0) _exit(work() ? 0 : 1);
  return pid;
}

bool ExitedCleanly(pid_t pid) {
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class SettingsStoreProcesses : public ::testing::Test {
 protected:
  // The store file parses, and its text mapping values are those of one of
  // the two saves (each value on its own: the three are written one by one).
  void ExpectOneOfTheSaves() {
    cadserv::platform::SettingsTree tree;
    ASSERT_TRUE(cadserv::platform::ParseSettingsText(store_.ReadFile(), &tree));
    cadserv_test::ForgetRegisteredCodePages();
    int32_t input = SERV_GetRegisteredInputCodePage();
    int32_t output = SERV_GetRegisteredOutputCodePage();
    EXPECT_TRUE(input == 1250 || input == 850) << input;
    EXPECT_TRUE(output == 852 || output == 1251) << output;
  }

  cadserv_test::TempSettingsStore store_;
};

TEST_F(SettingsStoreProcesses, TwoProcessesSavingAThousandTimes) {
  pid_t first = Spawn([] {
    bool all = true;
    for (int i = 0; i < 1000; ++i) all = SaveTextMappingSettings(1250, true, 852, 1) && all;
    return all;
  });
  pid_t second = Spawn([] {
    bool all = true;
    for (int i = 0; i < 1000; ++i) all = SaveTextMappingSettings(850, false, 1251, 0) && all;
    return all;
  });
  ASSERT_GT(first, 0);
  ASSERT_GT(second, 0);
  EXPECT_TRUE(ExitedCleanly(first));
  EXPECT_TRUE(ExitedCleanly(second));
  ExpectOneOfTheSaves();
}

// Each process adds values of its own to one key at the same time; a
// read-modify-write that another slipped into would lose some of them.
TEST_F(SettingsStoreProcesses, ConcurrentWritersLoseNothing) {
  constexpr int kValues = 150;
  auto writer = [](char16_t prefix) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, u"Shared", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr) != ERROR_SUCCESS) {
      return false;
    }
    bool all = true;
    for (DWORD i = 0; i < kValues; ++i) {
      std::u16string name = std::u16string(1, prefix) + char16_t(u'0' + i / 100) +
                            char16_t(u'0' + i / 10 % 10) + char16_t(u'0' + i % 10);
      all = RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&i), 4) ==
                ERROR_SUCCESS &&
            all;
    }
    return RegCloseKey(key) == ERROR_SUCCESS && all;
  };
  pid_t a = Spawn([&] { return writer(u'A'); });
  pid_t b = Spawn([&] { return writer(u'B'); });
  std::thread c([&] { EXPECT_TRUE(writer(u'C')); });  // and a thread of this process
  c.join();
  EXPECT_TRUE(ExitedCleanly(a));
  EXPECT_TRUE(ExitedCleanly(b));

  cadserv::platform::SettingsTree tree;
  ASSERT_TRUE(cadserv::platform::ParseSettingsText(store_.ReadFile(), &tree));
  const cadserv::platform::SettingsKeyEntry* key = tree.FindKey(u"Shared");
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(key->values.size(), 3u * kValues);
}

// A process killed at any moment of a save leaves the old file or the new
// one, and its lock goes with it; while it saves, readers see whole files.
TEST_F(SettingsStoreProcesses, KilledWhileSavingLeavesAReadableStore) {
  ASSERT_TRUE(SaveTextMappingSettings(850, false, 1251, 0));
  {
    // Bulk in the same file, so that each save writes for a while.
    HKEY key = SERV_OpenCreateSettingsKey(&CLSID_TextMappingSettings, 1, 0);
    std::vector<BYTE> bulk(64 * 1024, 0x5A);
    ASSERT_EQ(
        RegSetValueExW(key, u"Bulk", 0, REG_BINARY, bulk.data(), static_cast<DWORD>(bulk.size())),
        ERROR_SUCCESS);
    RegCloseKey(key);
  }
  for (int round = 0; round < 12; ++round) {
    pid_t saver = Spawn([] {
      for (int i = 0;; ++i) {
        if (i % 2 == 0) {
          SaveTextMappingSettings(1250, true, 852, 1);
        } else {
          SaveTextMappingSettings(850, false, 1251, 0);
        }
      }
      return true;
    });
    ASSERT_GT(saver, 0);
    // Meanwhile every read finds a whole file.
    int broken = 0;
    for (int read = 0; read < 10; ++read) {
      cadserv::platform::SettingsTree tree;
      if (!cadserv::platform::ParseSettingsText(store_.ReadFile(), &tree)) ++broken;
      usleep(100 + 150 * round);
    }
    EXPECT_EQ(broken, 0);
    kill(saver, SIGKILL);
    int status = 0;
    waitpid(saver, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    ExpectOneOfTheSaves();
  }
  // Nobody holds the lock any more, and the next save clears away the
  // temporary files of the killed ones.
  EXPECT_TRUE(SaveTextMappingSettings(437, false, 437, 0));
  std::string listing;
  ASSERT_TRUE(cadserv_test::RunCommand("ls -A '" + store_.folder() + "'", &listing));
  EXPECT_EQ(listing, "settings.lock\nsettings.reg\n");
}

TEST(UniqueId, EightThreadsGetDistinctNumbers) {
  constexpr int kThreads = 8, kCalls = 20000;
  std::vector<std::vector<int32_t>> got(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&got, t] {
      got[t].reserve(kCalls);
      for (int i = 0; i < kCalls; ++i) got[t].push_back(SERV_GetUniqueID());
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<int32_t> all;
  for (const std::vector<int32_t>& ids : got) {
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));  // each thread sees them rise
    all.insert(all.end(), ids.begin(), ids.end());
  }
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
  // No number skipped either: the calls took one consecutive run.
  EXPECT_EQ(all.back() - all.front() + 1, kThreads * kCalls);
}

// A library loaded afresh starts its counter and its caches anew.
TEST(UniqueId, FreshLibraryStartsAt262144) {
  cadserv_test::TempSettingsStore store;
  store.WriteFile(
      "; cadserv settings 1\n[CLSID\\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\\Parameters]\n"
      "\"OutputCP\"=dword:000001b5\n");
  void* library = dlopen(CADSERV_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto uniqueId = reinterpret_cast<int32_t (*)()>(dlsym(library, "SERV_GetUniqueID"));
  auto output = reinterpret_cast<int32_t (*)()>(dlsym(library, "SERV_GetRegisteredOutputCodePage"));
  ASSERT_NE(uniqueId, nullptr);
  ASSERT_NE(output, nullptr);
  SERV_GetUniqueID();  // this copy's counter is another one
  EXPECT_EQ(uniqueId(), 262144);
  EXPECT_EQ(uniqueId(), 262145);
  SERV_SetRegisteredOutputCodePage(866);
  EXPECT_EQ(output(), 437);  // read from the store, not this copy's cache
  dlclose(library);
}

}  // namespace
