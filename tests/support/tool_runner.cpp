#include "support/tool_runner.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cadserv_test {

int RunTool(const std::string& arguments, std::string* output, const std::string& input) {
  output->clear();
  char inputPath[] = "/tmp/cadserv-tool-in-XXXXXX";
  int fd = mkstemp(inputPath);
  if (fd < 0) return -1;
  bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  close(fd);
  int exitCode = -1;
  std::string command =
      std::string("'") + CADSERV_TOOL_PATH + "' " + arguments + " < " + inputPath + " 2>/dev/null";
  FILE* pipe = written ? popen(command.c_str(), "r") : nullptr;
  if (pipe != nullptr) {
    char chunk[4096];
    size_t got;
    while ((got = fread(chunk, 1, sizeof chunk, pipe)) > 0) output->append(chunk, got);
    int status = pclose(pipe);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  unlink(inputPath);
  return exitCode;
}

}  // namespace cadserv_test
