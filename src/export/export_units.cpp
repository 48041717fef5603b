// The output's units, recorded in the header. No length is converted: the
// unit code only labels the four values.
#include <string.h>

#include "export/export_support_object.h"

namespace cadserv::exporting {
namespace {

struct UnitAbbreviation {
  int32_t code;
  const char* text;
};

constexpr UnitAbbreviation kUnitAbbreviations[] = {
    {0x11, "in"}, {0x12, "ft"}, {0x21, "mm"}, {0x22, "cm"},   {0x43, "m"},
    {0x44, "km"}, {0x81, "pt"}, {0x82, "tw"}, {0x101, "pel"},
};

}  // namespace

// The header's field holds two characters and the NUL, so "pel" is kept as
// "pe"; an unknown code stores the empty string.
int32_t ExportSupport::SetUnits(int32_t value, double unit1, double unit2, double unit3,
                                double unit4, int32_t unit) {
  header_.unitValues[0] = unit1;
  header_.unitValues[1] = unit2;
  header_.unitValues[2] = unit3;
  header_.unitValues[3] = unit4;
  char* abbreviation = header_.unitAbbreviation;
  memset(abbreviation, 0, sizeof header_.unitAbbreviation);
  for (const UnitAbbreviation& entry : kUnitAbbreviations) {
    if (entry.code == unit) {
      strncpy(abbreviation, entry.text, sizeof header_.unitAbbreviation - 1);
      break;
    }
  }
  return value;
}

}  // namespace cadserv::exporting
