// The registered input and output code pages and the two text mapping flags.
//
// The code pages are cached in the process: 65535 means "not read yet", and
// the first Get call fills the cache from the store, starting from the ANSI
// code page so that a store without the value still gives an answer. The
// caches are atomics only so that a read racing a write is well defined; a
// getter racing a setter returns either value, as plain 32-bit values would.
#include "settings/text_mapping_settings.h"

#include <string.h>

#include <atomic>

#include "cadserv/guids.h"
#include "cadserv/settings.h"
#include "platform/platform.h"
#include "settings/settings_key.h"

namespace cadserv::settings {
namespace {

constexpr int32_t kNotRead = 0xFFFF;
constexpr uint32_t kUseDrawingCodePage = 0x10000;  // bit 16 of "InputCP"

std::atomic<int32_t> g_inputCodePage{kNotRead};
std::atomic<int32_t> g_outputCodePage{kNotRead};

// Opens the Parameters key of CLSID_TextMappingSettings for reading; null
// when either key is missing.
HKEY OpenParameters() {
  HKEY settings = SERV_OpenCreateSettingsKey(&CLSID_TextMappingSettings, 0, 0);
  if (settings == nullptr) return nullptr;
  HKEY parameters = nullptr;
  if (platform::OpenSettingsKey(settings, kParametersKey, KEY_READ, &parameters) != ERROR_SUCCESS) {
    parameters = nullptr;
  }
  platform::CloseSettingsKey(settings);
  return parameters;
}

// Reads a value of at most 4 bytes over the first bytes of `*value`, as the
// registry reads into a DWORD: a shorter value replaces only its own bytes,
// and a missing or longer one leaves `*value` alone.
bool ReadSmallValue(HKEY key, const char16_t* name, uint32_t* value) {
  uint8_t bytes[4];
  memcpy(bytes, value, sizeof bytes);
  uint32_t size = sizeof bytes;
  if (platform::QuerySettingsValue(key, name, nullptr, bytes, &size) != ERROR_SUCCESS) return false;
  memcpy(value, bytes, sizeof bytes);
  return true;
}

int32_t RegisteredCodePage(std::atomic<int32_t>& cache, const char16_t* name) {
  int32_t cached = cache.load(std::memory_order_relaxed);
  if (cached != kNotRead) return cached;
  uint32_t value = static_cast<uint32_t>(platform::AnsiCodePage());
  if (HKEY parameters = OpenParameters()) {
    ReadSmallValue(parameters, name, &value);
    platform::CloseSettingsKey(parameters);
  }
  int32_t codePage = static_cast<int32_t>(value & ~kUseDrawingCodePage);
  cache.store(codePage, std::memory_order_relaxed);
  return codePage;
}

bool WriteDword(HKEY key, const char16_t* name, uint32_t value) {
  uint8_t bytes[4];
  memcpy(bytes, &value, sizeof bytes);
  return platform::SetSettingsValue(key, name, REG_DWORD, bytes, sizeof bytes) == ERROR_SUCCESS;
}

}  // namespace

bool SaveTextMappingSettings(int32_t inputCodePage, bool useDrawingCodePage, int32_t outputCodePage,
                             uint32_t translate) {
  bool written = false;
  if (HKEY settings = SERV_OpenCreateSettingsKey(&CLSID_TextMappingSettings, 1, 0)) {
    HKEY parameters = nullptr;
    if (platform::CreateSettingsKey(settings, kParametersKey, REG_OPTION_NON_VOLATILE,
                                    KEY_SET_VALUE, &parameters, nullptr) == ERROR_SUCCESS) {
      uint32_t input =
          static_cast<uint32_t>(inputCodePage) | (useDrawingCodePage ? kUseDrawingCodePage : 0);
      // All three are attempted, in this order, whatever the first ones did.
      bool in = WriteDword(parameters, u"InputCP", input);
      bool out = WriteDword(parameters, u"OutputCP", static_cast<uint32_t>(outputCodePage));
      bool flag = WriteDword(parameters, u"TranslateACADSpec", translate);
      written = in && out && flag;
      platform::CloseSettingsKey(parameters);
    }
    platform::CloseSettingsKey(settings);
  }
  g_inputCodePage.store(
      static_cast<int32_t>(static_cast<uint32_t>(inputCodePage) & ~kUseDrawingCodePage),
      std::memory_order_relaxed);
  g_outputCodePage.store(outputCodePage, std::memory_order_relaxed);
  return written;
}

}  // namespace cadserv::settings

using cadserv::settings::g_inputCodePage;
using cadserv::settings::g_outputCodePage;

int32_t SERV_GetRegisteredInputCodePage(void) {
  return cadserv::settings::RegisteredCodePage(g_inputCodePage, u"InputCP");
}

int32_t SERV_GetRegisteredOutputCodePage(void) {
  return cadserv::settings::RegisteredCodePage(g_outputCodePage, u"OutputCP");
}

void SERV_SetRegisteredInputCodePage(int32_t codePage) {
  g_inputCodePage.store(codePage, std::memory_order_relaxed);
}

void SERV_SetRegisteredOutputCodePage(int32_t codePage) {
  g_outputCodePage.store(codePage, std::memory_order_relaxed);
}

BYTE SERV_QueryIfUseDrawingCodePage(void) {
  HKEY parameters = cadserv::settings::OpenParameters();
  if (parameters == nullptr) return 0;
  uint32_t value = 0;
  cadserv::settings::ReadSmallValue(parameters, u"InputCP", &value);
  cadserv::platform::CloseSettingsKey(parameters);
  return (value & cadserv::settings::kUseDrawingCodePage) != 0 ? 1 : 0;
}

BYTE SERV_QueryIfTranslateACADSpec(void) {
  HKEY parameters = cadserv::settings::OpenParameters();
  if (parameters == nullptr) return 0;
  uint32_t value = 0;
  bool read = cadserv::settings::ReadSmallValue(parameters, u"TranslateACADSpec", &value);
  cadserv::platform::CloseSettingsKey(parameters);
  return read && value != 0 ? 1 : 0;
}
