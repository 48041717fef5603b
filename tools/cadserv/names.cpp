// Names between the command line (UTF-8) and the library (UTF-16).
#include <string>

#include "command.h"

namespace cadserv_tool {
namespace {

void AppendUtf8(uint32_t c, std::string& out) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::u16string Utf16FromUtf8(const std::string& text) {
  std::u16string out;
  const auto* p = reinterpret_cast<const unsigned char*>(text.data());
  const auto* end = p + text.size();
  while (p < end) {
    uint32_t c = *p++;
    int more = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
    if (c >= 0x80 && more == 0) c = 0xFFFD;  // a stray continuation byte
    if (more > 0) c &= 0x3F >> more;
    for (; more > 0; --more) {
      if (p == end || (*p & 0xC0) != 0x80) {
        c = 0xFFFD;
        break;
      }
      c = c << 6 | (*p++ & 0x3F);
    }
    if (c >= 0x10000 && c <= 0x10FFFF) {
      out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(c > 0x10FFFF ? 0xFFFD : c);
    }
  }
  return out;
}

std::string ShowElementName(const std::u16string& name) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < name.size(); ++i) {
    uint32_t c = name[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < name.size() && name[i + 1] >= 0xDC00 &&
        name[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (name[++i] - 0xDC00);
    }
    if (c < 0x20 || c == 0x7F || c == '/') {
      out += "\\x";
      out += kHex[c >> 4];
      out += kHex[c & 0xF];
    } else if (c == '\\') {
      out += "\\\\";
    } else {
      AppendUtf8(c, out);
    }
  }
  return out;
}

bool ParseElementName(const std::string& shown, std::u16string& name) {
  std::string plain;
  for (size_t i = 0; i < shown.size(); ++i) {
    if (shown[i] != '\\') {
      plain += shown[i];
    } else if (i + 1 < shown.size() && shown[i + 1] == '\\') {
      plain += '\\';
      ++i;
    } else if (i + 3 < shown.size() && shown[i + 1] == 'x' && HexValue(shown[i + 2]) >= 0 &&
               HexValue(shown[i + 3]) >= 0) {
      plain += static_cast<char>(HexValue(shown[i + 2]) << 4 | HexValue(shown[i + 3]));
      i += 3;
    } else {
      return false;
    }
  }
  name = Utf16FromUtf8(plain);
  return true;
}

}  // namespace cadserv_tool
