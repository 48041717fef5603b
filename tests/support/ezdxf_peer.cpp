#include "support/ezdxf_peer.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

namespace cadserv_test {

bool AskEzdxf(const std::vector<std::string>& questions, std::vector<std::vector<double>>* answers,
              std::string* error) {
  answers->clear();
  std::string input;
  for (const std::string& question : questions) input += question + "\n";

  char inputPath[] = "/tmp/cadserv-ezdxf-in-XXXXXX";
  int fd = mkstemp(inputPath);
  if (fd < 0) {
    *error = "cannot make a temporary file";
    return false;
  }
  bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  close(fd);
  std::string command = std::string("'") + CADSERV_PEER_PYTHON + "' '" + CADSERV_SOURCE_DIR +
                        "/tests/support/ezdxf_peer.py' < " + inputPath + " 2>&1";
  std::string output;
  int status = -1;
  FILE* pipe = written ? popen(command.c_str(), "r") : nullptr;
  if (pipe != nullptr) {
    char chunk[4096];
    size_t got;
    while ((got = fread(chunk, 1, sizeof chunk, pipe)) > 0) output.append(chunk, got);
    status = pclose(pipe);
  }
  unlink(inputPath);
  if (status != 0) {
    *error = "the peer failed (" + command + "): " + output;
    return false;
  }

  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    std::vector<double> numbers;
    const char* cursor = line.c_str();
    char* end = nullptr;
    for (double value = strtod(cursor, &end); end != cursor; value = strtod(cursor, &end)) {
      numbers.push_back(value);
      cursor = end;
    }
    answers->push_back(numbers);
  }
  if (answers->size() != questions.size()) {
    *error = "the peer answered " + std::to_string(answers->size()) + " lines to " +
             std::to_string(questions.size()) + " questions: " + output;
    return false;
  }
  return true;
}

}  // namespace cadserv_test
