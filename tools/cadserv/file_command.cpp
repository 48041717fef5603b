// cadserv file: what the library sees of a file.
#include <stdio.h>

#include <string>

#include "cadserv/stream.h"
#include "command.h"
#include "platform/platform.h"

namespace cadserv_tool {
namespace {

const char kFileUsage[] =
    "usage: cadserv file info FILE\n"
    "\n"
    "Prints what a filter reading FILE learns of it: its size in bytes, its\n"
    "last modification time in MS-DOS form (date and time of the time stamp's\n"
    "own UTC fields, to two seconds; none outside 1980-2107), and whether it\n"
    "opens as a compound (OLE structured storage) file.\n";

std::string Hex16(uint32_t value) {
  char text[8];
  snprintf(text, sizeof text, "0x%04X", value & 0xFFFF);
  return text;
}

// "YYYY-MM-DD HH:MM:SS (date 0x...., time 0x....)" of a DOS date << 16 | time.
std::string ShowDosDateTime(uint32_t dosDateTime) {
  if (dosDateTime == 0) return "none";
  uint32_t date = dosDateTime >> 16;
  uint32_t time = dosDateTime & 0xFFFF;
  char text[64];
  snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", 1980 + (date >> 9),
           (date >> 5) & 0xF, date & 0x1F, time >> 11, (time >> 5) & 0x3F, (time & 0x1F) * 2);
  return std::string(text) + " (DOS date " + Hex16(date) + ", time " + Hex16(time) + ")";
}

int Info(const std::string& file) {
  std::u16string name = Utf16FromUtf8(file);
  IServStream* stream = nullptr;
  SERVRESULT result = SERV_OpenFile(name.c_str(), SERV_MODE_READ, &stream, nullptr);
  if (result == SERV_E_SHARING) {
    return Fail(kExitFailure, "'" + file + "': another program holds it for writing");
  }
  if (result != SERV_OK) return Fail(kExitFailure, "cannot open '" + file + "'");
  ServStreamInfo info{};
  // A compound file opens as a storage, which has no size or time of its
  // own: those of the file on disk are taken the way the stream takes them.
  bool compound = stream->GetInfo(&info) == SERV_E_NOINFO;
  stream->Release();
  if (compound) {
    using namespace cadserv::platform;
    FileHandle handle = OpenFile(name.c_str(), FileOpen::kReadExisting, nullptr);
    FileInformation information;
    bool known = GetFileInformation(handle, &information);
    CloseFile(handle);
    if (!known) return Fail(kExitFailure, "cannot read the size and time of '" + file + "'");
    info.SizeLow = static_cast<uint32_t>(information.size);
    info.SizeHigh = static_cast<uint32_t>(information.size >> 32);
    uint16_t date = 0;
    uint16_t time = 0;
    bool expressible = FileTimeToDosDateTime(information.lastWriteFileTime, &date, &time);
    info.DosDateTime = expressible ? uint32_t{date} << 16 | time : 0;
  }
  uint64_t size = uint64_t{info.SizeHigh} << 32 | info.SizeLow;
  printf("file:           %s\n", file.c_str());
  printf("size:           %llu bytes\n", static_cast<unsigned long long>(size));
  printf("modified:       %s\n", ShowDosDateTime(info.DosDateTime).c_str());
  printf("compound file:  %s\n", compound ? "yes" : "no");
  if (fflush(stdout) != 0) return Fail(kExitFailure, "cannot write standard output");
  return kExitOk;
}

}  // namespace

int FileCommand(const Args& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    fputs(kFileUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      fputs(kFileUsage, stdout);
      return kExitOk;
    }
    if (arg.size() > 1 && arg[0] == '-') {
      return Fail(kExitUsage, "unknown option '" + arg + "' (try 'cadserv file --help')");
    }
  }
  if (args[0] != "info") {
    return Fail(kExitUsage, "unknown file command '" + args[0] + "' (try 'cadserv file --help')");
  }
  if (args.size() != 2) return Fail(kExitUsage, "usage: cadserv file info FILE");
  return Info(args[1]);
}

}  // namespace cadserv_tool
