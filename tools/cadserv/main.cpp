// cadserv: the command-line tool over the library's public interface.
#include <stdio.h>
#include <string.h>

#include "command.h"

namespace cadserv_tool {
namespace {

const char kUsage[] =
    "usage: cadserv <command> [arguments]\n"
    "\n"
    "commands:\n"
    "  text convert --from CP --to CP [-o OUT] [FILE]  convert text between code pages,\n"
    "                                       UTF-16LE and UTF-8\n"
    "  text codepages                       the well-known code pages and their names\n"
    "  text charset [--default CP] N        the code page of font character set N\n"
    "  storage ls FILE                      list the elements of a compound file\n"
    "  storage cat FILE PATH                write a compound file's stream element to stdout\n"
    "  file info FILE                       size, DOS date and time, compound or not\n"
    "  lines FILE [--size N] [--skip-empty] each line as SERV_GetLine returns it\n"
    "  settings show                        the user's text mapping choices\n"
    "  settings set [--input-cp CP] [--output-cp CP] [--use-drawing-cp on|off]\n"
    "               [--translate-acad on|off]  save text mapping choices\n"
    "\n"
    "Run 'cadserv <command> --help' for the arguments of a command.\n";

struct Command {
  const char* name;
  int (*run)(const Args& args);
};

// clang-format off: one command a line
constexpr Command kCommands[] = {
    {"text", TextCommand},   {"storage", StorageCommand},   {"file", FileCommand},
    {"lines", LinesCommand}, {"settings", SettingsCommand},
};
// clang-format on

}  // namespace
}  // namespace cadserv_tool

int main(int argc, char** argv) {
  using namespace cadserv_tool;
  if (argc < 2) {
    fputs(kUsage, stderr);
    return kExitUsage;
  }
  if (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0 ||
      strcmp(argv[1], "help") == 0) {
    fputs(kUsage, stdout);
    return kExitOk;
  }
  Args args(argv + 2, argv + argc);
  for (const Command& command : kCommands) {
    if (strcmp(argv[1], command.name) == 0) return command.run(args);
  }
  return Fail(kExitUsage, std::string("unknown command '") + argv[1] + "' (try 'cadserv --help')");
}
