// Font character sets and code pages, each mapped to the other.
#include "cadserv/codepage.h"
#include "cadserv/text.h"

namespace {

constexpr int32_t kDefaultCharset = 1;  // DEFAULT_CHARSET
constexpr int32_t kOemCodePage = 1;     // CP_OEMCP

struct CharsetCodePage {
  int32_t charset;
  int32_t codePage;
};

// DEFAULT_CHARSET (1) is not here: it stands for the caller's default.
constexpr CharsetCodePage kCharsets[] = {
    {0, 1252},                                                               // ANSI_CHARSET
    {2, CP_SYMBOL},                                                          // SYMBOL_CHARSET
    {77, 10000},                                                             // MAC_CHARSET
    {78, 10001},         {83, 10005}, {88, 10029}, {89, 10007}, {128, 932},  // SHIFTJIS_CHARSET
    {161, 1253},                                                             // GREEK_CHARSET
    {162, 1254},                                                             // TURKISH_CHARSET
    {163, 1258},                                                             // VIETNAMESE_CHARSET
    {177, 1255},                                                             // HEBREW_CHARSET
    {178, 1256},                                                             // ARABIC_CHARSET
    {186, 1257},                                                             // BALTIC_CHARSET
    {204, 1251},                                                             // RUSSIAN_CHARSET
    {222, 874},                                                              // THAI_CHARSET
    {238, 1250},                                                             // EASTEUROPE_CHARSET
    {254, 437},                                                              //
    {255, kOemCodePage},                                                     // OEM_CHARSET
};

}  // namespace

int32_t SERV_Charset2CodePage(int32_t charset, int32_t defaultCodePage) {
  if (charset == kDefaultCharset) return defaultCodePage;
  for (const CharsetCodePage& entry : kCharsets) {
    if (entry.charset == charset) return entry.codePage;
  }
  return 0;
}

uint32_t SERV_CodePage2Charset(int32_t codePage) {
  for (const CharsetCodePage& entry : kCharsets) {
    if (entry.codePage == codePage) return static_cast<uint32_t>(entry.charset);
  }
  return kDefaultCharset;
}
