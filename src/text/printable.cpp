// Whether a string holds anything but blanks.
#include "cadserv/text.h"
#include "platform/platform.h"

uint8_t SERV_hasPrintableCharacters(const char* text) {
  if (text == nullptr) return FALSE;
  // Spaces are stepped over as whole characters of the ANSI code page; the
  // first other byte decides, and a control character ends the search.
  const char* p = text;
  while (*p == ' ') p = cadserv::platform::NextCharAnsi(p);
  return static_cast<uint8_t>(*p) > 0x20 ? TRUE : FALSE;
}

uint8_t SERV_hasPrintableCharactersW(const WCHAR* text) {
  if (text == nullptr) return FALSE;
  for (const WCHAR* p = text; *p != 0; ++p) {
    if (*p > 0x20) return TRUE;
  }
  return FALSE;
}
