// Shared pieces of the cadserv command-line tool's subcommands.
#ifndef CADSERV_TOOLS_COMMAND_H
#define CADSERV_TOOLS_COMMAND_H

#include <stdint.h>

#include <string>
#include <vector>

namespace cadserv_tool {

// Exit codes: 0 done, 1 the work failed (I/O, a library error), 2 bad usage.
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

using Args = std::vector<std::string>;

// Prints "cadserv: <message>" on stderr and returns `code`.
int Fail(int code, const std::string& message);

// Reads a whole file ("-" or "" is standard input); false with a message on error.
bool ReadInput(const std::string& path, std::string& bytes, std::string& error);
// Writes all bytes to a file ("-" or "" is standard output).
bool WriteOutput(const std::string& path, const std::string& bytes, std::string& error);

// Parses a code page argument: a number, or one of the names "default",
// "pure-ascii", "unicode", "symbol". False when it is not a code page.
bool ParseCodePage(const std::string& text, int32_t& codePage);

// UTF-8 (command-line arguments) -> UTF-16 (the library's names); invalid
// sequences become U+FFFD.
std::u16string Utf16FromUtf8(const std::string& text);
// An element name of a compound file as the tool shows it: UTF-8, with
// control characters and '/' as \xNN and a backslash doubled, so that a
// path joins names with '/'. ParseElementName reads that form back; false
// for a malformed escape.
std::string ShowElementName(const std::u16string& name);
bool ParseElementName(const std::string& shown, std::u16string& name);

// Subcommands.
int TextCommand(const Args& args);
int StorageCommand(const Args& args);
int FileCommand(const Args& args);
int LinesCommand(const Args& args);
int SettingsCommand(const Args& args);

}  // namespace cadserv_tool

#endif  // CADSERV_TOOLS_COMMAND_H
