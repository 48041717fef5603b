// Runs the cadserv command-line tool as a user does, for the tool's tests.
#ifndef CADSERV_TESTS_SUPPORT_TOOL_RUNNER_H
#define CADSERV_TESTS_SUPPORT_TOOL_RUNNER_H

#include <string>

namespace cadserv_test {

// Runs `cadserv ARGUMENTS` (a shell fragment) with `input` on standard input
// and standard error discarded; its exit code (-1 when it did not exit),
// with standard output in `output`.
int RunTool(const std::string& arguments, std::string* output, const std::string& input = "");

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_TOOL_RUNNER_H
