#include "platform/posix/name_case.h"

namespace cadserv::platform {

char32_t UpcaseName(char32_t c) {
  if (c < 0x80) return c >= 'a' && c <= 'z' ? c - 0x20 : c;
  if (c < 0x100) {
    if (c == 0xFF) return 0x178;
    if (c == 0xB5) return 0x39C;
    return c >= 0xE0 && c != 0xF7 ? c - 0x20 : c;
  }
  if (c < 0x180) {
    // Pairs, upper case first; two runs pair odd with even.
    bool oddUpper = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) return c;
    if (oddUpper) return (c & 1) == 0 ? c - 1 : c;
    return (c & 1) != 0 ? c - 1 : c;
  }
  if (c >= 0x3B1 && c <= 0x3CB && c != 0x3C2) return c - 0x20;  // Greek
  if (c == 0x3C2) return 0x3A3;
  if (c == 0x3AC) return 0x386;
  if (c >= 0x3AD && c <= 0x3AF) return c - 0x25;
  if (c == 0x3CC) return 0x38C;
  if (c == 0x3CD || c == 0x3CE) return c - 0x3F;
  if (c >= 0x430 && c <= 0x44F) return c - 0x20;  // Cyrillic
  if (c >= 0x450 && c <= 0x45F) return c - 0x50;
  if ((c >= 0x460 && c <= 0x481) || (c >= 0x48A && c <= 0x4BF) || (c >= 0x4D0 && c <= 0x52F)) {
    return (c & 1) != 0 ? c - 1 : c;
  }
  if (c >= 0xFF41 && c <= 0xFF5A) return c - 0x20;  // fullwidth Latin
  return c;
}

}  // namespace cadserv::platform
