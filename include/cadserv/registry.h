// The per-user settings store, reached as the Windows registry is.
//
// On Windows these are the system's registry functions. Elsewhere cadserv
// provides the few of them that filters need to keep their own settings
// under the key that SERV_OpenCreateSettingsKey hands out, with the same
// names, arguments and result codes, over its per-user store: a text file
// under the XDG config folder ($XDG_CONFIG_HOME/cadserv/, by default
// ~/.config/cadserv/). Only HKEY_CURRENT_USER is there. Key and value names
// compare without regard to case; values keep their type and bytes as
// given. Each call reads or writes the store at once, so a value set by
// one process is seen by the next query of any other.
#ifndef CADSERV_REGISTRY_H
#define CADSERV_REGISTRY_H

#include "cadserv/com.h"

#if !defined(_WIN32)

typedef struct HKEY__* HKEY;
typedef HKEY* PHKEY;
typedef uint32_t REGSAM;
typedef int32_t LSTATUS;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef DWORD* LPDWORD;
typedef BYTE* LPBYTE;

// The one predefined key: the current user's root.
#define HKEY_CURRENT_USER ((HKEY)(uintptr_t)(intptr_t)(int32_t)0x80000001)

// Access rights. A key opened without KEY_QUERY_VALUE cannot be read, one
// opened without KEY_SET_VALUE cannot be written (ERROR_ACCESS_DENIED).
#define KEY_QUERY_VALUE 0x0001u
#define KEY_SET_VALUE 0x0002u
#define KEY_CREATE_SUB_KEY 0x0004u
#define KEY_ENUMERATE_SUB_KEYS 0x0008u
#define KEY_NOTIFY 0x0010u
#define KEY_READ 0x20019u
#define KEY_WRITE 0x20006u
#define KEY_ALL_ACCESS 0xF003Fu

// Key options of RegCreateKeyExW. The store keeps a volatile key like any other.
#define REG_OPTION_NON_VOLATILE 0u
#define REG_OPTION_VOLATILE 1u

// Value types (any other number is kept as given).
#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_BINARY 3u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u
#define REG_QWORD 11u

// Dispositions of RegCreateKeyExW.
#define REG_CREATED_NEW_KEY 1u
#define REG_OPENED_EXISTING_KEY 2u

// Result codes.
#define ERROR_SUCCESS 0
#define ERROR_FILE_NOT_FOUND 2      // no such key or value
#define ERROR_ACCESS_DENIED 5       // the key's access rights exclude the call
#define ERROR_INVALID_HANDLE 6      // not an open key
#define ERROR_WRITE_FAULT 29        // the store could not be written
#define ERROR_INVALID_PARAMETER 87  // a missing out-pointer, a reserved argument not 0
#define ERROR_BAD_PATHNAME 161      // an empty component in a key path
#define ERROR_MORE_DATA 234         // the buffer is too small; *size tells the size needed

// Opens the key `subKey` (components separated by '\\'; null or empty: the
// key itself) below `key` with the rights `access`; *result gets a new
// handle, to be closed with RegCloseKey. ERROR_FILE_NOT_FOUND when the key
// does not exist. `options` is ignored.
CADSERV_CAPI LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access,
                                   PHKEY result);

// Opens the key `subKey` below `key`, creating it and any missing key on
// its way. `reserved` must be 0; `keyClass` and `security` are ignored.
// *disposition (may be null) tells whether the key was created.
CADSERV_CAPI LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR keyClass,
                                     DWORD options, REGSAM access, void* security, PHKEY result,
                                     LPDWORD disposition);

// Reads the value `name` (null or empty: the key's default value). *type
// (may be null) gets its type. With `data` null, *size (may then be null)
// gets the value's size in bytes. Else *size gives the buffer's size: a
// value that fits is copied and *size set to its size; a larger one gives
// ERROR_MORE_DATA with *size set to the size needed and the buffer left
// alone. `reserved` must be null.
CADSERV_CAPI LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, LPDWORD reserved, LPDWORD type,
                                      LPBYTE data, LPDWORD size);

// Writes the value `name` (null or empty: the default value) as `size`
// bytes of `type`, replacing any value of that name. The store is updated
// before the call returns; ERROR_WRITE_FAULT when it cannot be.
CADSERV_CAPI LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type,
                                    const BYTE* data, DWORD size);

// Closes a handle from RegOpenKeyExW, RegCreateKeyExW or
// SERV_OpenCreateSettingsKey. ERROR_INVALID_HANDLE for anything else.
CADSERV_CAPI LSTATUS RegCloseKey(HKEY key);

#else
#include <windows.h>
#endif  // !_WIN32

#endif  // CADSERV_REGISTRY_H
