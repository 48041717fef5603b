// cadserv lines: a text file read line by line as a filter reads it.
#include <stdio.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "cadserv/lines.h"
#include "cadserv/stream.h"
#include "command.h"

namespace cadserv_tool {
namespace {

const char kLinesUsage[] =
    "usage: cadserv lines FILE [--size N] [--skip-empty]\n"
    "\n"
    "Reads FILE with SERV_GetLine, as a filter does, and prints each call's\n"
    "result and line, separated by a tab, up to the first -1. The result is\n"
    "the count of bytes the call consumed: the line and its terminator (CR,\n"
    "LF, CR LF or LF CR), or the whole buffer's worth when no line end was\n"
    "found in it; a SUB (Ctrl-Z) ends the text.\n"
    "\n"
    "  --size N       buffer size in bytes, terminator included (default 256);\n"
    "                 longer lines come in pieces of N - 1 bytes\n"
    "  --skip-empty   skip empty lines\n"
    "\n"
    "In the printed lines, control bytes appear as \\xNN and a backslash as \\\\.\n";

std::string Visible(const char* line) {
  std::string out;
  for (const char* p = line; *p != '\0'; ++p) {
    unsigned char c = static_cast<unsigned char>(*p);
    if (c == '\\') {
      out += "\\\\";
    } else if (c < 0x20 || c == 0x7F) {
      char escaped[8];
      snprintf(escaped, sizeof escaped, "\\x%02X", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

bool ParseSize(const std::string& text, uint32_t& size) {
  if (text.empty() || text.size() > 10) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  unsigned long long value = strtoull(text.c_str(), nullptr, 10);
  if (value < 1 || value > (1u << 30)) return false;
  size = static_cast<uint32_t>(value);
  return true;
}

}  // namespace

int LinesCommand(const Args& args) {
  std::string path;
  uint32_t size = 256;
  BOOL skipEmpty = FALSE;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      fputs(kLinesUsage, stdout);
      return kExitOk;
    }
    if (arg == "--skip-empty") {
      skipEmpty = TRUE;
    } else if (arg == "--size") {
      if (i + 1 == args.size()) return Fail(kExitUsage, "missing value after --size");
      if (!ParseSize(args[++i], size)) {
        return Fail(kExitUsage, "--size takes a byte count from 1 to 1073741824");
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Fail(kExitUsage, "unknown option '" + arg + "' (try 'cadserv lines --help')");
    } else if (!path.empty()) {
      return Fail(kExitUsage, "more than one input file");
    } else {
      path = arg;
    }
  }
  if (path.empty()) {
    fputs(kLinesUsage, stderr);
    return kExitUsage;
  }

  IServStream* stream = nullptr;
  SERVRESULT opened = SERV_OpenFile(Utf16FromUtf8(path).c_str(), SERV_MODE_READ, &stream, nullptr);
  if (opened != SERV_OK || stream == nullptr) {
    char code[16];
    snprintf(code, sizeof code, "0x%08X", opened);
    return Fail(kExitFailure, "cannot open '" + path + "' (" + code + ")");
  }
  std::vector<char> buffer(size);
  int32_t result;
  do {
    result = SERV_GetLine(stream, buffer.data(), size, skipEmpty);
    printf("%d\t%s\n", result, Visible(buffer.data()).c_str());
  } while (result != -1);
  stream->Release();
  return fflush(stdout) == 0 ? kExitOk : Fail(kExitFailure, "cannot write standard output");
}

}  // namespace cadserv_tool
