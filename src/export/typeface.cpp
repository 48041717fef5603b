// The flag operators of sol_typeface. Its underlying type is fixed, so every
// 32-bit pattern (a complement included) is a value of the enumeration.
#include "cadserv/export_records.h"

sol_typeface& operator|=(sol_typeface& flags, int value) {
  flags = static_cast<sol_typeface>(static_cast<int32_t>(flags) | value);
  return flags;
}

sol_typeface& operator&=(sol_typeface& flags, int value) {
  flags = static_cast<sol_typeface>(static_cast<int32_t>(flags) & value);
  return flags;
}

sol_typeface& operator~(sol_typeface& flags) {
  flags = static_cast<sol_typeface>(~static_cast<int32_t>(flags));
  return flags;
}
