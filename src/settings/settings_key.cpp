#include "settings/settings_key.h"

#include "platform/platform.h"

namespace cadserv::settings {
namespace {

void AppendHex(uint32_t value, int digits, std::u16string* text) {
  static const char16_t kDigits[] = u"0123456789ABCDEF";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    *text += kDigits[(value >> shift) & 0xF];
}

}  // namespace

std::u16string BracedGuidText(const GUID& guid) {
  std::u16string text = u"{";
  AppendHex(guid.Data1, 8, &text);
  text += u'-';
  AppendHex(guid.Data2, 4, &text);
  text += u'-';
  AppendHex(guid.Data3, 4, &text);
  text += u'-';
  for (int i = 0; i < 8; ++i) {
    if (i == 2) text += u'-';
    AppendHex(guid.Data4[i], 2, &text);
  }
  return text + u"}";
}

}  // namespace cadserv::settings

HKEY SERV_OpenCreateSettingsKey(const CLSID* clsid, BYTE create, DWORD options) {
  using namespace cadserv;
  if (clsid == nullptr) return nullptr;
  std::u16string name = settings::BracedGuidText(*clsid);
  // "CLSID" is created in either mode, as COM's own keys are; the class id's
  // key only when asked for.
  HKEY classes = nullptr;
  if (platform::CreateSettingsKey(HKEY_CURRENT_USER, u"CLSID", REG_OPTION_NON_VOLATILE, KEY_WRITE,
                                  &classes, nullptr) != ERROR_SUCCESS) {
    return nullptr;
  }
  HKEY key = nullptr;
  int32_t result = create != 0 ? platform::CreateSettingsKey(classes, name.c_str(), options,
                                                             KEY_WRITE, &key, nullptr)
                               : platform::OpenSettingsKey(classes, name.c_str(), KEY_READ, &key);
  platform::CloseSettingsKey(classes);
  return result == ERROR_SUCCESS ? key : nullptr;
}
