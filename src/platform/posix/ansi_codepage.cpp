// GetACP: the ANSI code page from the process locale, as Wine maps locales.
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <string>

#include "platform/platform.h"

namespace cadserv::platform {
namespace {

struct LanguageCodePage {
  const char* language;  // ISO 639 code, as at the start of a POSIX locale name
  int32_t codePage;
};

// Languages whose Windows locales use an ANSI code page other than 1252.
constexpr LanguageCodePage kLanguages[] = {
    {"cs", 1250}, {"hu", 1250}, {"pl", 1250}, {"ro", 1250}, {"sk", 1250}, {"sl", 1250},
    {"hr", 1250}, {"sq", 1250}, {"bs", 1250}, {"ru", 1251}, {"uk", 1251}, {"be", 1251},
    {"bg", 1251}, {"mk", 1251}, {"sr", 1251}, {"kk", 1251}, {"ky", 1251}, {"tt", 1251},
    {"mn", 1251}, {"el", 1253}, {"tr", 1254}, {"az", 1254}, {"uz", 1254}, {"he", 1255},
    {"iw", 1255}, {"yi", 1255}, {"ar", 1256}, {"fa", 1256}, {"ur", 1256}, {"et", 1257},
    {"lv", 1257}, {"lt", 1257}, {"vi", 1258}, {"th", 874},  {"ja", 932},  {"ko", 949},
};

// The locale name the process runs under: the first set of LC_ALL, LC_CTYPE
// and LANG, which is what setlocale(LC_ALL, "") would choose.
std::string ProcessLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

int32_t CodePageOfLocale(const std::string& locale) {
  // "ll_CC.charset@modifier": the language decides, and for Chinese the
  // territory too (simplified: 936, traditional: 950). Serbian written in
  // Latin script uses 1250.
  std::string language = locale.substr(0, locale.find_first_of("_.@"));
  if (language == "zh") {
    bool traditional = locale.find("_TW") != std::string::npos ||
                       locale.find("_HK") != std::string::npos ||
                       locale.find("_MO") != std::string::npos;
    return traditional ? 950 : 936;
  }
  if (language == "sr" && locale.find("@latin") != std::string::npos) return 1250;
  for (const LanguageCodePage& entry : kLanguages) {
    if (language == entry.language) return entry.codePage;
  }
  return 1252;
}

std::atomic<int32_t> g_override{0};

}  // namespace

int32_t AnsiCodePage() {
  int32_t forced = g_override.load(std::memory_order_relaxed);
  if (forced != 0) return forced;
  // Like GetACP, fixed for the life of the process once asked.
  static const int32_t codePage = CodePageOfLocale(ProcessLocaleName());
  return codePage;
}

int32_t OemCodePage() {
  // The MS-DOS code page of the same script, as Windows pairs them. Western
  // locales split: English keeps the original 437, the others use 850.
  struct Pair {
    int32_t ansi;
    int32_t oem;
  };
  static const Pair kPairs[] = {{1250, 852}, {1251, 866}, {1253, 737}, {1254, 857},
                                {1255, 862}, {1256, 720}, {1257, 775}};
  int32_t ansi = AnsiCodePage();
  for (const Pair& pair : kPairs) {
    if (pair.ansi == ansi) return pair.oem;
  }
  if (ansi != 1252) return ansi;  // 874, 932, 936, 949, 950, 1258 serve as both
  static const bool english = [] {
    std::string locale = ProcessLocaleName();
    return locale == "C" || locale == "POSIX" || locale.rfind("en", 0) == 0;
  }();
  return english ? 437 : 850;
}

void SetAnsiCodePageForTesting(int32_t codePage) {
  g_override.store(codePage, std::memory_order_relaxed);
}

}  // namespace cadserv::platform
