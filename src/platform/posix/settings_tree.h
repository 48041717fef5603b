// The per-user settings store in memory: keys by path, each with its values.
#ifndef CADSERV_PLATFORM_POSIX_SETTINGS_TREE_H
#define CADSERV_PLATFORM_POSIX_SETTINGS_TREE_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace cadserv::platform {

// One value of a key: a name (empty for the key's default value), a type
// number and the bytes, kept exactly as they were set.
struct SettingsValue {
  std::u16string name;
  uint32_t type = 0;
  std::string data;
};

// One key: its path below the user's root, components joined by '\\' and
// spelt as the key was first created (empty for the root itself).
struct SettingsKeyEntry {
  std::u16string path;
  std::vector<SettingsValue> values;

  // The value of that name, compared without regard to case; null if none.
  const SettingsValue* FindValue(const std::u16string& name) const;
  // Replaces the value of the same name (keeping its first spelling), or
  // adds it at the end.
  void SetValue(const SettingsValue& value);
};

// True when two names are equal without regard to case, unit by unit as
// the registry compares them.
bool SettingsNamesEqual(const std::u16string& a, const std::u16string& b);

// Splits a key path at '\\' into its components. A single trailing '\\' is
// allowed; false for an empty component anywhere else. An empty path has
// no components.
bool SplitSettingsPath(const std::u16string& path, std::vector<std::u16string>* components);

// Every key of the store. The root key is always there, first.
class SettingsTree {
 public:
  SettingsTree();

  // The key at `path` (a path as SplitSettingsPath accepts it, without a
  // trailing '\\'), compared without regard to case; null when none.
  const SettingsKeyEntry* FindKey(const std::u16string& path) const;
  SettingsKeyEntry* FindKey(const std::u16string& path);

  // The key at `components` below the root, added together with each
  // missing key above it; `*created` (may be null) tells whether the key
  // itself was new. Returns the key, valid until the next AddKey.
  SettingsKeyEntry* AddKey(const std::vector<std::u16string>& components, bool* created);

  const std::vector<SettingsKeyEntry>& keys() const { return keys_; }

 private:
  std::vector<SettingsKeyEntry> keys_;
};

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_SETTINGS_TREE_H
