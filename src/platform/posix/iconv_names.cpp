#include "platform/posix/iconv_names.h"

namespace cadserv::platform {
namespace {

struct NamedCodePage {
  uint32_t codePage;
  const char* name;
};

// Code pages whose iconv name is not simply "CP" and the number.
constexpr NamedCodePage kNamed[] = {
    {874, "CP874"},           {10000, "MACINTOSH"},      {10007, "MAC-CYRILLIC"},
    {10029, "MAC-CENTRALEUROPE"}, {20127, "ASCII"},      {20866, "KOI8-R"},
    {21866, "KOI8-U"},        {28591, "ISO-8859-1"},     {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},    {28594, "ISO-8859-4"},     {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},    {28597, "ISO-8859-7"},     {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},    {28603, "ISO-8859-13"},    {28605, "ISO-8859-15"},
    {20932, "EUC-JP"},        {51932, "EUC-JP"},         {51949, "EUC-KR"},
    {54936, "GB18030"},       {65001, "UTF-8"},
};

// Code pages that glibc knows by "CP" and the number.
constexpr uint32_t kNumbered[] = {437,  737,  775,  850,  852,  855,  857,  858,  860,  861,
                                  862,  863,  864,  865,  866,  869,  932,  936,  949,  950,
                                  1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258};

}  // namespace

std::string IconvName(uint32_t codePage) {
  for (const NamedCodePage& entry : kNamed) {
    if (entry.codePage == codePage) return entry.name;
  }
  for (uint32_t number : kNumbered) {
    if (number == codePage) return "CP" + std::to_string(codePage);
  }
  return "";
}

}  // namespace cadserv::platform
