// cadserv text: text conversion between code pages.
#include <stdio.h>

#include <string>

#include "cadserv/codepage.h"
#include "command.h"

namespace cadserv_tool {
namespace {

const char kTextUsage[] =
    "usage: cadserv text convert --from CP --to CP [-o OUT] [FILE]\n"
    "\n"
    "Converts FILE (default: standard input) from one code page to another,\n"
    "byte by byte, and writes the result to OUT (default: standard output).\n"
    "Characters the target cannot hold become '?' or a look-alike.\n"
    "\n"
    "CP is a Windows code page number (437, 850, 852, 1250-1254 have the\n"
    "library's own tables; others such as 866 or 1257 convert through the\n"
    "system) or one of: default (the system's ANSI code page), pure-ascii\n"
    "(accents dropped), symbol (42).\n";

// Windows code page numbers the library can take as a source (its own
// tables, or the system's converter).
bool IsKnownCodePage(int32_t codePage) {
  static const int32_t kKnown[] = {
      42,    437,   737,   775,   850,   852,   855,   857,   858,   860,   861,   862,
      863,   864,   865,   866,   869,   874,   932,   936,   949,   950,   1250,  1251,
      1252,  1253,  1254,  1255,  1256,  1257,  1258,  10000, 10007, 10029, 20127, 20866,
      21866, 28591, 28592, 28593, 28594, 28595, 28596, 28597, 28598, 28599, 28603, 28605,
      SERV_CP_DEFAULT, SERV_CP_PURE_ASCII};
  for (int32_t known : kKnown) {
    if (known == codePage) return true;
  }
  return false;
}

bool TakeCodePage(const std::string& option, const std::string& value, int32_t& codePage,
                  std::string& error) {
  if (!ParseCodePage(value, codePage) || !IsKnownCodePage(codePage)) {
    error = "unknown code page '" + value + "' for " + option;
    return false;
  }
  return true;
}

int Convert(const Args& args) {
  int32_t from = 0;
  int32_t to = 0;
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
      } else if (!TakeCodePage(arg, value, arg == "--from" ? from : to, error)) {
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
  if (from == 0 || to == 0) return Fail(kExitUsage, "both --from and --to are required");

  std::string text;
  if (!ReadInput(input, text, error)) return Fail(kExitFailure, error);
  // The library converts zero-terminated strings in place; a NUL byte in the
  // input separates strings and is kept as it is.
  text.push_back('\0');
  for (size_t start = 0; start < text.size();) {
    char* segment = &text[start];
    size_t length = std::char_traits<char>::length(segment);
    SERV_CodePageConvertStr(segment, from, to);
    start += length + 1;
  }
  text.pop_back();
  if (!WriteOutput(output, text, error)) return Fail(kExitFailure, error);
  return kExitOk;
}

}  // namespace

int TextCommand(const Args& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    fputs(kTextUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  if (args[0] == "convert") return Convert(Args(args.begin() + 1, args.end()));
  return Fail(kExitUsage, "unknown text command '" + args[0] + "' (try 'cadserv text --help')");
}

}  // namespace cadserv_tool
