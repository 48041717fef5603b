// The text form of the per-user settings store.
//
//   ; cadserv settings 1
//   [CLSID\{6A1C3E50-2D47-4B19-9E83-51C27F04D621}\Parameters]
//   "InputCP"=dword:000104e2
//   "Title"="Text Mapping"
//   "Blob"=hex:01,02,ff
//   "List"=hex(7):41,00,00,00,00,00
//
// UTF-8, one item a line, every line ended by LF. The first line is the
// signature above, so that a foreign file is never taken for settings. Empty
// lines and lines that start with ';' are comments. A key line names the
// key's path in brackets ("[]" is the root); the value lines below it belong
// to that key. A value line is the name in quotes (empty for the default
// value), '=', and the data: "dword:" with 8 hex digits for a REG_DWORD of 4
// bytes, a quoted text for a REG_SZ (UTF-16 with its terminator), "hex:"
// for REG_BINARY, or "hex(T):" with the type T in hex for any other type
// or size; bytes are two hex digits each, separated by commas. In names,
// paths and texts, '%', '"', '[', ']' and control characters are written as
// %XX (XX the byte in hex).
#ifndef CADSERV_PLATFORM_POSIX_SETTINGS_TEXT_H
#define CADSERV_PLATFORM_POSIX_SETTINGS_TEXT_H

#include <string>

#include "platform/posix/settings_tree.h"

namespace cadserv::platform {

// Reads the text form into `tree` (replacing what it held). False, with
// `tree` empty, for anything that is not the complete text form: a foreign
// or damaged file, or one cut short in the middle of a line.
bool ParseSettingsText(const std::string& text, SettingsTree* tree);

// The text form of `tree`, which ParseSettingsText reads back as it is.
std::string FormatSettingsText(const SettingsTree& tree);

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_POSIX_SETTINGS_TEXT_H
