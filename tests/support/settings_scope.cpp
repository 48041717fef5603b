#include "support/settings_scope.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "cadserv/settings.h"
#include "support/compound_file_tools.h"

namespace cadserv_test {
namespace {

void Restore(const char* name, bool had, const std::string& value) {
  if (had) {
    setenv(name, value.c_str(), 1);
  } else {
    unsetenv(name);
  }
}

}  // namespace

void ForgetRegisteredCodePages() {
  SERV_SetRegisteredInputCodePage(0xFFFF);
  SERV_SetRegisteredOutputCodePage(0xFFFF);
}

TempSettingsStore::TempSettingsStore() {
  if (const char* value = getenv("XDG_CONFIG_HOME")) {
    hadConfigHome_ = true;
    savedConfigHome_ = value;
  }
  if (const char* value = getenv("LC_ALL")) {
    hadLocale_ = true;
    savedLocale_ = value;
  }
  std::string base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  if (const char* tmp = getenv("TMPDIR"); base == "/tmp" && tmp != nullptr && *tmp != '\0') {
    base = tmp;
  }
  std::string pattern = base + "/cadserv-settings-XXXXXX";
  if (mkdtemp(&pattern[0]) != nullptr) path_ = pattern;
  setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
  setenv("LC_ALL", "C", 1);
  ForgetRegisteredCodePages();
}

TempSettingsStore::~TempSettingsStore() {
  Restore("XDG_CONFIG_HOME", hadConfigHome_, savedConfigHome_);
  Restore("LC_ALL", hadLocale_, savedLocale_);
  ForgetRegisteredCodePages();
  if (!path_.empty()) RunCommand("rm -rf '" + path_ + "'");
}

void TempSettingsStore::WriteFile(const std::string& text) const {
  mkdir(folder().c_str(), 0700);
  std::ofstream(file(), std::ios::binary | std::ios::trunc) << text;
}

std::string TempSettingsStore::ReadFile() const {
  std::ifstream in(file(), std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void TempSettingsStore::MakeUnwritable() const {
  std::string blocker = path_ + "/not-a-folder";
  std::ofstream(blocker) << "x";
  setenv("XDG_CONFIG_HOME", blocker.c_str(), 1);
}

}  // namespace cadserv_test
