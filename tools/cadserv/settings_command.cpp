// cadserv settings: the user's text mapping choices, as the Text Mapping
// page shows and saves them on Windows.
#include <stdio.h>

#include <optional>
#include <string>

#include "cadserv/codepage.h"
#include "cadserv/settings.h"
#include "command.h"
#include "platform/platform.h"
#include "settings/text_mapping_settings.h"

namespace cadserv_tool {
namespace {

const char kSettingsUsage[] =
    "usage: cadserv settings show\n"
    "       cadserv settings set [--input-cp CP] [--output-cp CP]\n"
    "                            [--use-drawing-cp on|off] [--translate-acad on|off]\n"
    "\n"
    "The text mapping choices that every filter of this user reads: the code\n"
    "page of imported text (input), the code page of exported text (output),\n"
    "whether a drawing's own code page is used when it declares one, and\n"
    "whether AutoCAD special-character codes (%%d, %%c, ...) are translated.\n"
    "With nothing saved, both code pages are the system's ANSI code page.\n"
    "\n"
    "show: prints each choice on a line of its own, then where they are kept.\n"
    "\n"
    "set: saves the choices given and keeps the others as they are, as the\n"
    "Text Mapping page's Apply does. CP is a code page number from 1 to 65534\n"
    "or one of: default (32769, the system's ANSI code page), pure-ascii\n"
    "(32770, accents dropped), symbol (42).\n";

bool ParseSwitch(const std::string& text, bool& on) {
  if (text == "on") {
    on = true;
  } else if (text == "off") {
    on = false;
  } else {
    return false;
  }
  return true;
}

int Show(const Args& args) {
  if (!args.empty()) return Fail(kExitUsage, "settings show takes no arguments");
  printf("input code page: %d\n", SERV_GetRegisteredInputCodePage());
  printf("output code page: %d\n", SERV_GetRegisteredOutputCodePage());
  printf("use drawing code page: %s\n", SERV_QueryIfUseDrawingCodePage() ? "on" : "off");
  printf("translate AutoCAD codes: %s\n", SERV_QueryIfTranslateACADSpec() ? "on" : "off");
  std::string location = cadserv::platform::SettingsStoreLocation();
  printf("stored in: %s\n", location.empty() ? "(no home folder)" : location.c_str());
  return fflush(stdout) == 0 ? kExitOk : Fail(kExitFailure, "cannot write standard output");
}

int Set(const Args& args) {
  std::optional<int32_t> input, output;
  std::optional<bool> useDrawing, translate;
  if (args.empty()) return Fail(kExitUsage, "settings set needs at least one choice");
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& option = args[i];
    bool isCodePage = option == "--input-cp" || option == "--output-cp";
    bool isSwitch = option == "--use-drawing-cp" || option == "--translate-acad";
    if (!isCodePage && !isSwitch) {
      return Fail(kExitUsage, "unknown option '" + option + "' (try 'cadserv settings --help')");
    }
    if (i + 1 == args.size()) return Fail(kExitUsage, "missing value after " + option);
    const std::string& value = args[++i];
    if (isCodePage) {
      int32_t codePage = 0;
      // 65535 stands for "not read yet" in every process that reads it, and
      // bit 16 belongs to the use-drawing flag.
      if (!ParseCodePage(value, codePage) || codePage >= 0xFFFF || codePage == SERV_CP_UNICODE) {
        return Fail(kExitUsage, option + " takes a code page from 1 to 65534, default, " +
                                    "pure-ascii or symbol, not '" + value + "'");
      }
      (option == "--input-cp" ? input : output) = codePage;
    } else {
      bool on = false;
      if (!ParseSwitch(value, on)) {
        return Fail(kExitUsage, option + " takes on or off, not '" + value + "'");
      }
      (option == "--use-drawing-cp" ? useDrawing : translate) = on;
    }
  }
  // The choices not given keep their saved values.
  if (!input) input = SERV_GetRegisteredInputCodePage();
  if (!output) output = SERV_GetRegisteredOutputCodePage();
  if (!useDrawing) useDrawing = SERV_QueryIfUseDrawingCodePage() != 0;
  if (!translate) translate = SERV_QueryIfTranslateACADSpec() != 0;
  if (!cadserv::settings::SaveTextMappingSettings(*input, *useDrawing, *output,
                                                  *translate ? 1 : 0)) {
    std::string location = cadserv::platform::SettingsStoreLocation();
    return Fail(kExitFailure, "cannot save the settings to '" + location + "'");
  }
  return kExitOk;
}

}  // namespace

int SettingsCommand(const Args& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    fputs(kSettingsUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  Args rest(args.begin() + 1, args.end());
  for (const std::string& arg : rest) {
    if (arg == "--help" || arg == "-h") {
      fputs(kSettingsUsage, stdout);
      return kExitOk;
    }
  }
  if (args[0] == "show") return Show(rest);
  if (args[0] == "set") return Set(rest);
  return Fail(kExitUsage,
              "unknown settings command '" + args[0] + "' (try 'cadserv settings --help')");
}

}  // namespace cadserv_tool
