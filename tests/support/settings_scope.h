// A private per-user settings store for a test, so that no test reads or
// writes the settings of the user who runs it.
#ifndef CADSERV_TESTS_SUPPORT_SETTINGS_SCOPE_H
#define CADSERV_TESTS_SUPPORT_SETTINGS_SCOPE_H

#include <string>

namespace cadserv_test {

// While this lives, XDG_CONFIG_HOME names a fresh temporary folder (so the
// store is <folder>/cadserv/settings.reg, and child processes use it too),
// LC_ALL is C, and the process's registered code pages are "not read yet".
// The folder is on tmpfs (/dev/shm) where there is one: the tests check
// what the store does, and each save's flushes to a real disk would make
// the thousands of saves they run take minutes.
class TempSettingsStore {
 public:
  TempSettingsStore();
  ~TempSettingsStore();
  TempSettingsStore(const TempSettingsStore&) = delete;
  TempSettingsStore& operator=(const TempSettingsStore&) = delete;

  const std::string& configHome() const { return path_; }
  std::string folder() const { return path_ + "/cadserv"; }
  std::string file() const { return folder() + "/settings.reg"; }

  // Replaces the store file with `text` (creating the folder).
  void WriteFile(const std::string& text) const;
  // The store file's bytes; empty when there is none.
  std::string ReadFile() const;
  // Points XDG_CONFIG_HOME at a plain file, where no store can be made.
  void MakeUnwritable() const;

 private:
  std::string path_;
  std::string savedConfigHome_, savedLocale_;
  bool hadConfigHome_ = false, hadLocale_ = false;
};

// Makes the process's registered code pages "not read yet" again, as in a
// process that has just started.
void ForgetRegisteredCodePages();

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_SETTINGS_SCOPE_H
