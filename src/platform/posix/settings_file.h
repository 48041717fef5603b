// The file that holds the per-user settings store, and its safe update.
#ifndef CADSERV_PLATFORM_POSIX_SETTINGS_FILE_H
#define CADSERV_PLATFORM_POSIX_SETTINGS_FILE_H

#include <stdint.h>

#include <functional>
#include <string>

#include "platform/posix/settings_tree.h"

namespace cadserv::platform {

// The store's folder: $XDG_CONFIG_HOME/cadserv when XDG_CONFIG_HOME is an
// absolute path, else $HOME/.config/cadserv (the home folder from the user
// database when HOME is unset). Empty when no folder is known. Read at each
// call, so that a change of the environment takes effect at once.
std::string SettingsFolder();

// The store's file in that folder ("settings.reg"); empty when no folder.
std::string SettingsFilePath();

// The store as it is now. No file, an unreadable file and one that is not
// the complete text form all read as an empty store. Needs no lock: the
// file is only ever replaced whole, so a reader sees one version or the
// other.
SettingsTree ReadSettingsStore();

// Read-modify-write of the store under an exclusive advisory lock on
// "settings.lock" in its folder, so that updates from any number of threads
// and processes apply one after the other and none is lost. `change` edits
// the store as read under the lock and returns whether it changed anything;
// if so the new text goes to a temporary file in the folder (mode 0600),
// is flushed to the disk, and replaces the old file by rename, after which
// the folder is flushed too. A crash at any point leaves the old file or
// the new one; the temporary files of saves that died are removed by the
// next update. A file that read as empty because it was damaged or
// foreign is kept as "settings.bad" before the update replaces it. True
// when the update landed (or nothing needed writing); false when the
// folder, the lock or the file could not be written.
bool UpdateSettingsStore(const std::function<bool(SettingsTree*)>& change);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_SETTINGS_FILE_H
