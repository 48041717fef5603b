#include "platform/posix/settings_text.h"

#include <stdint.h>
#include <stdio.h>

#include <string_view>

namespace cadserv::platform {
namespace {

constexpr std::string_view kSignature = "; cadserv settings 1";
constexpr uint32_t kTypeText = 1;    // REG_SZ
constexpr uint32_t kTypeBinary = 3;  // REG_BINARY
constexpr uint32_t kTypeDword = 4;   // REG_DWORD

// UTF-16 -> UTF-8. An unpaired surrogate is written as the three bytes its
// code point would take (as WTF-8 does), so that every name survives the
// round trip through the file unchanged.
void AppendUtf8(const std::u16string& units, std::string* out) {
  for (size_t i = 0; i < units.size(); ++i) {
    uint32_t c = units[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
        units[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
    }
    if (c < 0x80) {
      *out += static_cast<char>(c);
    } else if (c < 0x800) {
      *out += static_cast<char>(0xC0 | (c >> 6));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      *out += static_cast<char>(0xE0 | (c >> 12));
      *out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      *out += static_cast<char>(0xF0 | (c >> 18));
      *out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      *out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      *out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
}

// UTF-8 (with surrogates allowed, as AppendUtf8 writes them) -> UTF-16.
// False for an overlong, cut or out-of-range sequence.
bool DecodeUtf8(std::string_view bytes, std::u16string* units) {
  units->clear();
  for (size_t i = 0; i < bytes.size();) {
    uint8_t lead = static_cast<uint8_t>(bytes[i]);
    size_t extra = 0;
    if (lead >= 0x80) {
      if (lead < 0xC2 || lead > 0xF4) return false;
      extra = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    }
    if (i + extra >= bytes.size()) return false;
    uint32_t c = extra == 0 ? lead : lead & (0x3F >> extra);
    for (size_t k = 1; k <= extra; ++k) {
      uint8_t next = static_cast<uint8_t>(bytes[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      c = (c << 6) | (next & 0x3F);
    }
    if ((extra == 2 && c < 0x800) || (extra == 3 && (c < 0x10000 || c > 0x10FFFF))) return false;
    if (c < 0x10000) {
      *units += static_cast<char16_t>(c);
    } else {
      *units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
      *units += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
    }
    i += extra + 1;
  }
  return true;
}

bool NeedsEscape(uint8_t byte) {
  return byte < 0x20 || byte == 0x7F || byte == '%' || byte == '"' || byte == '[' || byte == ']';
}

std::string Escape(const std::u16string& units) {
  std::string utf8, out;
  AppendUtf8(units, &utf8);
  for (char c : utf8) {
    uint8_t byte = static_cast<uint8_t>(c);
    if (NeedsEscape(byte)) {
      char escaped[4];
      snprintf(escaped, sizeof escaped, "%%%02X", byte);
      out += escaped;
    } else {
      out += c;
    }
  }
  return out;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The inverse of Escape. Characters that Escape would have escaped must
// not appear unescaped.
bool Unescape(std::string_view text, std::u16string* units) {
  std::string utf8;
  for (size_t i = 0; i < text.size(); ++i) {
    uint8_t byte = static_cast<uint8_t>(text[i]);
    if (byte == '%') {
      if (i + 2 >= text.size()) return false;
      int high = HexDigit(text[i + 1]), low = HexDigit(text[i + 2]);
      if (high < 0 || low < 0) return false;
      utf8 += static_cast<char>(high * 16 + low);
      i += 2;
    } else if (NeedsEscape(byte)) {
      return false;
    } else {
      utf8 += static_cast<char>(byte);
    }
  }
  return DecodeUtf8(utf8, units);
}

// A REG_SZ that is whole UTF-16 text with one terminator at its end, which
// the file can show as text.
bool IsPlainText(const SettingsValue& value, std::u16string* units) {
  const std::string& data = value.data;
  if (value.type != kTypeText || data.size() < 2 || data.size() % 2 != 0) return false;
  units->clear();
  for (size_t i = 0; i + 2 <= data.size(); i += 2) {
    char16_t unit = static_cast<char16_t>(static_cast<uint8_t>(data[i]) |
                                          static_cast<uint8_t>(data[i + 1]) << 8);
    if (unit == 0) return i + 2 == data.size();
    *units += unit;
  }
  return false;
}

std::string FormatData(const SettingsValue& value) {
  char buffer[32];
  if (value.type == kTypeDword && value.data.size() == 4) {
    uint32_t number = 0;
    for (int i = 3; i >= 0; --i) number = number << 8 | static_cast<uint8_t>(value.data[i]);
    snprintf(buffer, sizeof buffer, "dword:%08x", number);
    return buffer;
  }
  std::u16string units;
  if (IsPlainText(value, &units)) return "\"" + Escape(units) + "\"";
  std::string out;
  if (value.type == kTypeBinary) {
    out = "hex:";
  } else {
    snprintf(buffer, sizeof buffer, "hex(%x):", value.type);
    out = buffer;
  }
  for (size_t i = 0; i < value.data.size(); ++i) {
    snprintf(buffer, sizeof buffer, i == 0 ? "%02x" : ",%02x", static_cast<uint8_t>(value.data[i]));
    out += buffer;
  }
  return out;
}

// Hex digits, 1 to 8 of them, as a number.
bool ParseHexNumber(std::string_view text, size_t maxDigits, uint32_t* number) {
  if (text.empty() || text.size() > maxDigits) return false;
  *number = 0;
  for (char c : text) {
    int digit = HexDigit(c);
    if (digit < 0) return false;
    *number = *number << 4 | static_cast<uint32_t>(digit);
  }
  return true;
}

bool ParseByteList(std::string_view text, std::string* bytes) {
  bytes->clear();
  for (size_t i = 0; i < text.size(); i += 3) {
    if (i + 2 > text.size() || (i + 2 < text.size() && text[i + 2] != ',') ||
        i + 3 == text.size()) {
      return false;
    }
    int high = HexDigit(text[i]), low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return false;
    *bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

bool ParseData(std::string_view text, SettingsValue* value) {
  constexpr std::string_view kDword = "dword:", kHex = "hex:", kHexType = "hex(";
  if (text.substr(0, kDword.size()) == kDword) {
    std::string_view digits = text.substr(kDword.size());
    uint32_t number;
    if (digits.size() != 8 || !ParseHexNumber(digits, 8, &number)) return false;
    value->type = kTypeDword;
    value->data.clear();
    for (int i = 0; i < 4; ++i) value->data += static_cast<char>(number >> (8 * i));
    return true;
  }
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    std::u16string units;
    if (!Unescape(text.substr(1, text.size() - 2), &units)) return false;
    units += u'\0';
    value->type = kTypeText;
    value->data.clear();
    for (char16_t unit : units) {
      value->data += static_cast<char>(unit & 0xFF);
      value->data += static_cast<char>(unit >> 8);
    }
    return true;
  }
  if (text.substr(0, kHex.size()) == kHex) {
    value->type = kTypeBinary;
    return ParseByteList(text.substr(kHex.size()), &value->data);
  }
  if (text.substr(0, kHexType.size()) == kHexType) {
    size_t close = text.find("):");
    if (close == std::string_view::npos) return false;
    std::string_view type = text.substr(kHexType.size(), close - kHexType.size());
    return ParseHexNumber(type, 8, &value->type) &&
           ParseByteList(text.substr(close + 2), &value->data);
  }
  return false;
}

bool ParseKeyLine(std::string_view line, SettingsTree* tree, SettingsKeyEntry** key) {
  if (line.size() < 2 || line.back() != ']') return false;
  std::u16string path;
  std::vector<std::u16string> components;
  if (!Unescape(line.substr(1, line.size() - 2), &path)) return false;
  if (!path.empty() && path.back() == u'\\') return false;
  if (!SplitSettingsPath(path, &components)) return false;
  *key = tree->AddKey(components, nullptr);
  return true;
}

bool ParseValueLine(std::string_view line, SettingsKeyEntry* key) {
  size_t close = line.find('"', 1);
  if (key == nullptr || close == std::string_view::npos || close + 1 >= line.size() ||
      line[close + 1] != '=') {
    return false;
  }
  SettingsValue value;
  if (!Unescape(line.substr(1, close - 1), &value.name)) return false;
  if (!ParseData(line.substr(close + 2), &value)) return false;
  key->SetValue(value);
  return true;
}

bool ParseLines(const std::string& text, SettingsTree* tree) {
  SettingsKeyEntry* key = nullptr;
  bool signed_ = false;
  for (size_t pos = 0; pos < text.size();) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) return false;  // cut short
    std::string_view line(text.data() + pos, end - pos);
    pos = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (!signed_) {
      if (line != kSignature) return false;
      signed_ = true;
    } else if (line.empty() || line[0] == ';') {
      continue;
    } else if (line[0] == '[') {
      if (!ParseKeyLine(line, tree, &key)) return false;
    } else if (line[0] == '"') {
      if (!ParseValueLine(line, key)) return false;
    } else {
      return false;
    }
  }
  return signed_;
}

}  // namespace

bool ParseSettingsText(const std::string& text, SettingsTree* tree) {
  *tree = SettingsTree();
  if (ParseLines(text, tree)) return true;
  *tree = SettingsTree();
  return false;
}

std::string FormatSettingsText(const SettingsTree& tree) {
  std::string out(kSignature);
  out += '\n';
  for (const SettingsKeyEntry& key : tree.keys()) {
    if (key.path.empty() && key.values.empty()) continue;
    out += "[" + Escape(key.path) + "]\n";
    for (const SettingsValue& value : key.values) {
      out += "\"" + Escape(value.name) + "\"=" + FormatData(value) + "\n";
    }
  }
  return out;
}

}  // namespace cadserv::platform
