// cadserv text: text conversion between code pages, UTF-16LE and UTF-8; the
// well-known code pages; character sets.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "cadserv/codepage.h"
#include "cadserv/text.h"
#include "command.h"
#include "platform/platform.h"

namespace cadserv_tool {
namespace {

const char kTextUsage[] =
    "usage: cadserv text convert --from ENC --to ENC [-o OUT] [FILE]\n"
    "       cadserv text codepages\n"
    "       cadserv text charset [--default CP] CHARSET\n"
    "\n"
    "convert: converts FILE (default: standard input) and writes the result\n"
    "to OUT (default: standard output). ENC is a code page or one of utf-16le,\n"
    "utf-8. Between two code pages the text is converted byte by byte, and\n"
    "characters the target cannot hold become '?' or a look-alike; to or from\n"
    "UTF-16LE or UTF-8 it is converted as whole strings, through the system's\n"
    "converter where the system knows the code page (double-byte code pages\n"
    "such as 932, 936, 949 and 950 included) and the library's tables where\n"
    "not. A NUL byte (unit) separates strings and is kept. A byte order mark\n"
    "at the start of UTF-16LE or UTF-8 input is dropped; none is written.\n"
    "\n"
    "CP is a Windows code page number (437, 850, 852, 1250-1254 have the\n"
    "library's own tables; others such as 866 or 1257 convert through the\n"
    "system) or one of: default (the system's ANSI code page), pure-ascii\n"
    "(accents dropped), symbol (42).\n"
    "\n"
    "codepages: lists the well-known code pages: index, code page, whether the\n"
    "system converts it (yes/no), and the display name in quotes.\n"
    "\n"
    "charset: prints the code page of a font character set number (0 when\n"
    "none). Character set 1 (DEFAULT_CHARSET) prints the --default code page\n"
    "(default: 0).\n";

// Windows code page numbers the library can take as a source (its own
// tables, or the system's converter).
bool IsKnownCodePage(int32_t codePage) {
  static const int32_t kKnown[] = {42,
                                   437,
                                   737,
                                   775,
                                   850,
                                   852,
                                   855,
                                   857,
                                   858,
                                   860,
                                   861,
                                   862,
                                   863,
                                   864,
                                   865,
                                   866,
                                   869,
                                   874,
                                   932,
                                   936,
                                   949,
                                   950,
                                   1250,
                                   1251,
                                   1252,
                                   1253,
                                   1254,
                                   1255,
                                   1256,
                                   1257,
                                   1258,
                                   10000,
                                   10007,
                                   10029,
                                   20127,
                                   20866,
                                   21866,
                                   28591,
                                   28592,
                                   28593,
                                   28594,
                                   28595,
                                   28596,
                                   28597,
                                   28598,
                                   28599,
                                   28603,
                                   28605,
                                   54936,
                                   65001,
                                   SERV_CP_DEFAULT,
                                   SERV_CP_PURE_ASCII};
  for (int32_t known : kKnown) {
    if (known == codePage) return true;
  }
  return false;
}

// What text is read or written as: bytes of a code page, or Unicode.
enum class Form { kCodePage, kUtf16le, kUtf8 };
struct Encoding {
  Form form = Form::kCodePage;
  int32_t codePage = 0;  // 0: not given
};

bool TakeEncoding(const std::string& option, const std::string& value, Encoding& encoding,
                  std::string& error) {
  if (value == "utf-16le" || value == "utf-8") {
    encoding.form = value == "utf-8" ? Form::kUtf8 : Form::kUtf16le;
    encoding.codePage = -1;
    return true;
  }
  if (!ParseCodePage(value, encoding.codePage) || !IsKnownCodePage(encoding.codePage)) {
    error = "unknown code page '" + value + "' for " + option;
    return false;
  }
  return true;
}

// Input bytes -> UTF-16 units; false with a message when they are not text
// of that form.
bool DecodeInput(const std::string& bytes, const Encoding& from, std::u16string& units,
                 std::string& error) {
  units.clear();
  if (from.form == Form::kUtf16le) {
    if (bytes.size() % 2 != 0) {
      error = "UTF-16LE input has an odd number of bytes";
      return false;
    }
    for (size_t i = 0; i < bytes.size(); i += 2) {
      units += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) |
                                     static_cast<uint8_t>(bytes[i + 1]) << 8);
    }
    if (!units.empty() && units[0] == 0xFEFF) units.erase(0, 1);
    return true;
  }
  if (from.form == Form::kUtf8) {
    size_t start = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    int32_t count = static_cast<int32_t>(bytes.size() - start);
    if (count == 0) return true;
    units.resize(static_cast<size_t>(count));
    // Invalid UTF-8 becomes U+FFFD, as the system's converter does.
    int32_t n =
        cadserv::platform::MultiByteToWide(65001, 0, bytes.data() + start, count, &units[0], count);
    units.resize(static_cast<size_t>(n));
    return true;
  }
  // A code page: each NUL-terminated string through SERV_StrToWideStr.
  std::string text = bytes + '\0';
  for (size_t start = 0; start < text.size();) {
    const char* segment = &text[start];
    size_t length = strlen(segment);
    std::vector<WCHAR> wide(length + 1, 0);
    int32_t result = SERV_StrToWideStr(segment, wide.data(), static_cast<uint32_t>(from.codePage));
    if (result == 0 && length > 0) {
      error = "cannot convert from code page " + std::to_string(from.codePage);
      return false;
    }
    units.append(wide.data());
    start += length + 1;
    if (start < text.size()) units += u'\0';
  }
  return true;
}

// UTF-16 units -> output bytes.
bool EncodeOutput(const std::u16string& units, const Encoding& to, std::string& bytes,
                  std::string& error) {
  bytes.clear();
  if (to.form == Form::kUtf16le) {
    for (char16_t unit : units) {
      bytes += static_cast<char>(unit & 0xFF);
      bytes += static_cast<char>(unit >> 8);
    }
    return true;
  }
  if (to.form == Form::kUtf8) {
    if (units.empty()) return true;
    bytes.resize(units.size() * 3);
    int32_t n =
        cadserv::platform::WideToMultiByte(65001, units.data(), static_cast<int32_t>(units.size()),
                                           &bytes[0], static_cast<int32_t>(bytes.size()));
    bytes.resize(static_cast<size_t>(n));
    return true;
  }
  // A code page: each zero-terminated string through SERV_WideStrToStr.
  std::u16string text = units + u'\0';
  for (size_t start = 0; start < text.size();) {
    const char16_t* segment = &text[start];
    size_t length = std::char_traits<char16_t>::length(segment);
    std::vector<char> narrow(2 * (length + 1), '\0');
    int32_t result = SERV_WideStrToStr(segment, narrow.data(), static_cast<uint32_t>(to.codePage));
    if (result == 0 && length > 0) {
      error = "cannot convert to code page " + std::to_string(to.codePage);
      return false;
    }
    bytes.append(narrow.data());
    start += length + 1;
    if (start < text.size()) bytes += '\0';
  }
  return true;
}

// Between two code pages, byte by byte and in place; a NUL byte separates
// strings and is kept.
void ConvertBytes(std::string& text, int32_t from, int32_t to) {
  text.push_back('\0');
  for (size_t start = 0; start < text.size();) {
    char* segment = &text[start];
    size_t length = std::char_traits<char>::length(segment);
    SERV_CodePageConvertStr(segment, from, to);
    start += length + 1;
  }
  text.pop_back();
}

int Convert(const Args& args) {
  Encoding from;
  Encoding to;
  std::string input;
  std::string output;
  std::string error;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      fputs(kTextUsage, stdout);
      return kExitOk;
    }
    if (arg == "--from" || arg == "--to" || arg == "-o") {
      if (i + 1 == args.size()) return Fail(kExitUsage, "missing value after " + arg);
      const std::string& value = args[++i];
      if (arg == "-o") {
        output = value;
      } else if (!TakeEncoding(arg, value, arg == "--from" ? from : to, error)) {
        return Fail(kExitUsage, error);
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Fail(kExitUsage, "unknown option '" + arg + "' (try 'cadserv text --help')");
    } else if (!input.empty()) {
      return Fail(kExitUsage, "more than one input file");
    } else {
      input = arg;
    }
  }
  if (from.codePage == 0 || to.codePage == 0) {
    return Fail(kExitUsage, "both --from and --to are required");
  }

  std::string text;
  if (!ReadInput(input, text, error)) return Fail(kExitFailure, error);
  if (from.form == Form::kCodePage && to.form == Form::kCodePage) {
    ConvertBytes(text, from.codePage, to.codePage);
  } else {
    std::u16string units;
    if (!DecodeInput(text, from, units, error) || !EncodeOutput(units, to, text, error)) {
      return Fail(kExitFailure, error);
    }
  }
  if (!WriteOutput(output, text, error)) return Fail(kExitFailure, error);
  return kExitOk;
}

int ListCodePages(const Args& args) {
  if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
    fputs(kTextUsage, stdout);
    return kExitOk;
  }
  if (!args.empty()) return Fail(kExitUsage, "text codepages takes no arguments");
  printf("%-5s  %-9s  %-6s  %s\n", "index", "code page", "system", "name");
  for (uint32_t index = 0;; ++index) {
    char* name = nullptr;
    int32_t codePage = 0;
    if (SERV_CodePageConvertInfo(index, &name, 0, &codePage) == 0) break;
    bool known = cadserv::platform::CodePageInfo(static_cast<uint32_t>(codePage), nullptr);
    printf("%-5u  %-9d  %-6s  \"%s\"\n", index, codePage, known ? "yes" : "no", name);
    LocalFree(name);
  }
  return kExitOk;
}

bool ParseInteger(const std::string& text, int32_t& value) {
  if (text.empty() || text.size() > 11) return false;
  char* end = nullptr;
  long parsed = strtol(text.c_str(), &end, 10);
  if (*end != '\0' || parsed < INT32_MIN || parsed > INT32_MAX) return false;
  value = static_cast<int32_t>(parsed);
  return true;
}

int Charset(const Args& args) {
  int32_t defaultCodePage = 0;
  int32_t charset = 0;
  bool haveCharset = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      fputs(kTextUsage, stdout);
      return kExitOk;
    }
    if (arg == "--default") {
      if (i + 1 == args.size()) return Fail(kExitUsage, "missing value after --default");
      if (!ParseCodePage(args[++i], defaultCodePage)) {
        return Fail(kExitUsage, "unknown code page '" + args[i] + "' for --default");
      }
    } else if (haveCharset) {
      return Fail(kExitUsage, "more than one character set");
    } else if (!ParseInteger(arg, charset)) {
      return Fail(kExitUsage, "not a character set number: '" + arg + "'");
    } else {
      haveCharset = true;
    }
  }
  if (!haveCharset) return Fail(kExitUsage, "a character set number is required");
  printf("%d\n", SERV_Charset2CodePage(charset, defaultCodePage));
  return kExitOk;
}

}  // namespace

int TextCommand(const Args& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    fputs(kTextUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  Args rest(args.begin() + 1, args.end());
  if (args[0] == "convert") return Convert(rest);
  if (args[0] == "codepages") return ListCodePages(rest);
  if (args[0] == "charset") return Charset(rest);
  return Fail(kExitUsage, "unknown text command '" + args[0] + "' (try 'cadserv text --help')");
}

}  // namespace cadserv_tool
