// The settings key of a class id: HKEY_CURRENT_USER\CLSID\{class id}.
#ifndef CADSERV_SETTINGS_SETTINGS_KEY_H
#define CADSERV_SETTINGS_SETTINGS_KEY_H

#include <string>

#include "cadserv/settings.h"

namespace cadserv::settings {

// The braced text form of a class id, as StringFromGUID2 writes it:
// "{6A1C3E50-2D47-4B19-9E83-51C27F04D621}", 38 characters, upper-case hex.
std::u16string BracedGuidText(const GUID& guid);

// Name of the subkey of a settings key that holds the values.
constexpr char16_t kParametersKey[] = u"Parameters";

}  // namespace cadserv::settings

#endif  // CADSERV_SETTINGS_SETTINGS_KEY_H
