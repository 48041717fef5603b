#include "platform/posix/settings_tree.h"

#include "platform/posix/name_case.h"

namespace cadserv::platform {

bool SettingsNamesEqual(const std::u16string& a, const std::u16string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && UpcaseName(a[i]) != UpcaseName(b[i])) return false;
  }
  return true;
}

bool SplitSettingsPath(const std::u16string& path, std::vector<std::u16string>* components) {
  components->clear();
  if (path.empty()) return true;
  size_t end = path.size();
  if (path[end - 1] == u'\\') --end;
  for (size_t start = 0;;) {
    size_t stop = path.find(u'\\', start);
    if (stop == std::u16string::npos || stop > end) stop = end;
    if (stop == start) return false;
    components->push_back(path.substr(start, stop - start));
    if (stop == end) return true;
    start = stop + 1;
  }
}

const SettingsValue* SettingsKeyEntry::FindValue(const std::u16string& name) const {
  for (const SettingsValue& value : values) {
    if (SettingsNamesEqual(value.name, name)) return &value;
  }
  return nullptr;
}

void SettingsKeyEntry::SetValue(const SettingsValue& value) {
  for (SettingsValue& held : values) {
    if (SettingsNamesEqual(held.name, value.name)) {
      held.type = value.type;
      held.data = value.data;
      return;
    }
  }
  values.push_back(value);
}

SettingsTree::SettingsTree() {
  keys_.emplace_back();
}

const SettingsKeyEntry* SettingsTree::FindKey(const std::u16string& path) const {
  for (const SettingsKeyEntry& key : keys_) {
    if (SettingsNamesEqual(key.path, path)) return &key;
  }
  return nullptr;
}

SettingsKeyEntry* SettingsTree::FindKey(const std::u16string& path) {
  return const_cast<SettingsKeyEntry*>(static_cast<const SettingsTree*>(this)->FindKey(path));
}

SettingsKeyEntry* SettingsTree::AddKey(const std::vector<std::u16string>& components,
                                       bool* created) {
  size_t index = 0;  // the root
  bool added = false;
  std::u16string path;
  for (const std::u16string& component : components) {
    std::u16string wanted = path.empty() ? component : path + u'\\' + component;
    const SettingsKeyEntry* found = FindKey(wanted);
    added = found == nullptr;
    if (added) {
      SettingsKeyEntry key;
      key.path = wanted;
      keys_.push_back(key);
      index = keys_.size() - 1;
    } else {
      index = static_cast<size_t>(found - keys_.data());
    }
    path = keys_[index].path;  // the existing spelling carries on below it
  }
  if (created != nullptr) *created = added;
  return &keys_[index];
}

}  // namespace cadserv::platform
