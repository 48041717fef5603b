// The registry's key handles over the per-user settings store.
//
// A handle holds the path of its key (as the store spells it) and the
// access rights it was opened with; every query reads the store and every
// change updates it at once, so handles never hold stale data and several
// processes see each other's values. Open handles are kept in a set, so that
// a handle that was closed or never opened is refused rather than followed.
#include <mutex>
#include <unordered_set>

#include "platform/platform.h"
#include "platform/posix/settings_file.h"

struct HKEY__ {
  std::u16string path;
  uint32_t access = 0;
};

namespace cadserv::platform {
namespace {

// Values larger than this are refused, as the registry refuses them.
constexpr uint32_t kMaxValueBytes = 1u << 20;

std::mutex& HandleLock() {
  static std::mutex lock;
  return lock;
}

std::unordered_set<HKEY>& OpenHandles() {
  static std::unordered_set<HKEY> handles;
  return handles;
}

// The path and rights of an open key; false for a handle that is not one.
bool Resolve(HKEY key, std::u16string* path, uint32_t* access) {
  if (key == HKEY_CURRENT_USER) {
    path->clear();
    *access = KEY_ALL_ACCESS;
    return true;
  }
  std::lock_guard<std::mutex> guard(HandleLock());
  if (OpenHandles().count(key) == 0) return false;
  *path = key->path;
  *access = key->access;
  return true;
}

HKEY NewHandle(const std::u16string& path, uint32_t access) {
  HKEY key = new HKEY__;
  key->path = path;
  key->access = access;
  std::lock_guard<std::mutex> guard(HandleLock());
  OpenHandles().insert(key);
  return key;
}

std::u16string Text(const WCHAR* text) {
  return text == nullptr ? u"" : std::u16string(text);
}

// The components of `subKey` below the key at `base`.
int32_t Components(const std::u16string& base, const WCHAR* subKey,
                   std::vector<std::u16string>* components) {
  std::vector<std::u16string> below;
  if (!SplitSettingsPath(base, components) || !SplitSettingsPath(Text(subKey), &below)) {
    return ERROR_BAD_PATHNAME;
  }
  components->insert(components->end(), below.begin(), below.end());
  return ERROR_SUCCESS;
}

std::u16string JoinPath(const std::vector<std::u16string>& components) {
  std::u16string path;
  for (const std::u16string& component : components) {
    if (!path.empty()) path += u'\\';
    path += component;
  }
  return path;
}

}  // namespace

int32_t OpenSettingsKey(HKEY parent, const WCHAR* path, uint32_t access, HKEY* key) {
  std::u16string base;
  uint32_t parentAccess;
  std::vector<std::u16string> components;
  if (key == nullptr) return ERROR_INVALID_PARAMETER;
  if (!Resolve(parent, &base, &parentAccess)) return ERROR_INVALID_HANDLE;
  int32_t result = Components(base, path, &components);
  if (result != ERROR_SUCCESS) return result;
  SettingsTree tree = ReadSettingsStore();
  const SettingsKeyEntry* entry = tree.FindKey(JoinPath(components));
  if (entry == nullptr) return ERROR_FILE_NOT_FOUND;
  *key = NewHandle(entry->path, access);
  return ERROR_SUCCESS;
}

int32_t CreateSettingsKey(HKEY parent, const WCHAR* path, uint32_t /*options*/, uint32_t access,
                          HKEY* key, bool* created) {
  std::u16string base;
  uint32_t parentAccess;
  std::vector<std::u16string> components;
  if (key == nullptr) return ERROR_INVALID_PARAMETER;
  if (!Resolve(parent, &base, &parentAccess)) return ERROR_INVALID_HANDLE;
  int32_t result = Components(base, path, &components);
  if (result != ERROR_SUCCESS) return result;
  // A key that exists opens without writing, so a read-only store still
  // opens what it holds.
  SettingsTree current = ReadSettingsStore();
  if (const SettingsKeyEntry* entry = current.FindKey(JoinPath(components))) {
    if (created != nullptr) *created = false;
    *key = NewHandle(entry->path, access);
    return ERROR_SUCCESS;
  }
  bool added = false;
  std::u16string spelling;
  bool stored = UpdateSettingsStore([&](SettingsTree* tree) {
    SettingsKeyEntry* entry = tree->AddKey(components, &added);
    spelling = entry->path;
    return added;
  });
  if (!stored) return ERROR_WRITE_FAULT;
  if (created != nullptr) *created = added;
  *key = NewHandle(spelling, access);
  return ERROR_SUCCESS;
}

int32_t QuerySettingsValue(HKEY key, const WCHAR* name, uint32_t* type, uint8_t* data,
                           uint32_t* size) {
  std::u16string path;
  uint32_t access;
  if (!Resolve(key, &path, &access)) return ERROR_INVALID_HANDLE;
  if ((access & KEY_QUERY_VALUE) == 0) return ERROR_ACCESS_DENIED;
  if (data != nullptr && size == nullptr) return ERROR_INVALID_PARAMETER;
  SettingsTree tree = ReadSettingsStore();
  const SettingsKeyEntry* entry = tree.FindKey(path);
  const SettingsValue* value = entry == nullptr ? nullptr : entry->FindValue(Text(name));
  if (value == nullptr) return ERROR_FILE_NOT_FOUND;
  uint32_t needed = static_cast<uint32_t>(value->data.size());
  if (type != nullptr) *type = value->type;
  if (data != nullptr && *size < needed) {
    *size = needed;
    return ERROR_MORE_DATA;
  }
  if (data != nullptr) value->data.copy(reinterpret_cast<char*>(data), needed);
  if (size != nullptr) *size = needed;
  return ERROR_SUCCESS;
}

int32_t SetSettingsValue(HKEY key, const WCHAR* name, uint32_t type, const uint8_t* data,
                         uint32_t size) {
  std::u16string path;
  uint32_t access;
  std::vector<std::u16string> components;
  if (!Resolve(key, &path, &access)) return ERROR_INVALID_HANDLE;
  if ((access & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  if ((data == nullptr && size != 0) || size > kMaxValueBytes) return ERROR_INVALID_PARAMETER;
  if (!SplitSettingsPath(path, &components)) return ERROR_BAD_PATHNAME;
  SettingsValue value;
  value.name = Text(name);
  value.type = type;
  if (size != 0) value.data.assign(reinterpret_cast<const char*>(data), size);
  bool stored = UpdateSettingsStore([&](SettingsTree* tree) {
    // A key that vanished from the store (a damaged file was read as empty)
    // comes back with its value.
    SettingsKeyEntry* entry = tree->AddKey(components, nullptr);
    const SettingsValue* held = entry->FindValue(value.name);
    if (held != nullptr && held->type == value.type && held->data == value.data) return false;
    entry->SetValue(value);
    return true;
  });
  return stored ? ERROR_SUCCESS : ERROR_WRITE_FAULT;
}

int32_t CloseSettingsKey(HKEY key) {
  if (key == HKEY_CURRENT_USER) return ERROR_SUCCESS;
  {
    std::lock_guard<std::mutex> guard(HandleLock());
    if (OpenHandles().erase(key) == 0) return ERROR_INVALID_HANDLE;
  }
  delete key;
  return ERROR_SUCCESS;
}

std::string SettingsStoreLocation() {
  return SettingsFilePath();
}

}  // namespace cadserv::platform
