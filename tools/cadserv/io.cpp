#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cadserv/codepage.h"
#include "command.h"

namespace cadserv_tool {

int Fail(int code, const std::string& message) {
  fprintf(stderr, "cadserv: %s\n", message.c_str());
  return code;
}

bool ReadInput(const std::string& path, std::string& bytes, std::string& error) {
  bool useStdin = path.empty() || path == "-";
  FILE* file = useStdin ? stdin : fopen(path.c_str(), "rb");
  if (file == nullptr) {
    error = "cannot open '" + path + "': " + strerror(errno);
    return false;
  }
  bytes.clear();
  char chunk[65536];
  size_t n;
  while ((n = fread(chunk, 1, sizeof chunk, file)) > 0) bytes.append(chunk, n);
  bool ok = !ferror(file);
  if (!ok) error = "cannot read '" + (useStdin ? std::string("standard input") : path) + "'";
  if (!useStdin) fclose(file);
  return ok;
}

bool WriteOutput(const std::string& path, const std::string& bytes, std::string& error) {
  bool useStdout = path.empty() || path == "-";
  FILE* file = useStdout ? stdout : fopen(path.c_str(), "wb");
  if (file == nullptr) {
    error = "cannot create '" + path + "': " + strerror(errno);
    return false;
  }
  bool ok = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  ok = (useStdout ? fflush(file) == 0 : fclose(file) == 0) && ok;
  if (!ok) error = "cannot write '" + (useStdout ? std::string("standard output") : path) + "'";
  return ok;
}

bool ParseCodePage(const std::string& text, int32_t& codePage) {
  struct Named {
    const char* name;
    int32_t codePage;
  };
  static const Named kNames[] = {{"default", SERV_CP_DEFAULT},
                                 {"pure-ascii", SERV_CP_PURE_ASCII},
                                 {"unicode", SERV_CP_UNICODE},
                                 {"symbol", CP_SYMBOL}};
  for (const Named& named : kNames) {
    if (text == named.name) {
      codePage = named.codePage;
      return true;
    }
  }
  if (text.empty() || text.size() > 5) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  codePage = static_cast<int32_t>(strtol(text.c_str(), nullptr, 10));
  return codePage > 0;
}

}  // namespace cadserv_tool
