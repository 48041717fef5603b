// The registry functions that filters call on POSIX (see cadserv/registry.h),
// over the platform's settings store.
#include "cadserv/registry.h"
#include "platform/platform.h"

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD /*options*/, REGSAM access, PHKEY result) {
  return cadserv::platform::OpenSettingsKey(key, subKey, access, result);
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR /*keyClass*/,
                        DWORD options, REGSAM access, void* /*security*/, PHKEY result,
                        LPDWORD disposition) {
  if (reserved != 0) return ERROR_INVALID_PARAMETER;
  bool created = false;
  LSTATUS status =
      cadserv::platform::CreateSettingsKey(key, subKey, options, access, result, &created);
  if (status == ERROR_SUCCESS && disposition != nullptr) {
    *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  }
  return status;
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
  if (reserved != nullptr) return ERROR_INVALID_PARAMETER;
  return cadserv::platform::QuerySettingsValue(key, name, type, data, size);
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD /*reserved*/, DWORD type, const BYTE* data,
                       DWORD size) {
  return cadserv::platform::SetSettingsValue(key, name, type, data, size);
}

LSTATUS RegCloseKey(HKEY key) {
  return cadserv::platform::CloseSettingsKey(key);
}
