// cadserv storage: the element tree of a compound file, and one element's bytes.
#include <stdio.h>
#include <time.h>

#include <string>
#include <vector>

#include "cadserv/stream.h"
#include "command.h"
#include "platform/platform.h"

namespace cadserv_tool {
namespace {

const char kStorageUsage[] =
    "usage: cadserv storage ls FILE\n"
    "       cadserv storage cat FILE PATH\n"
    "\n"
    "ls   lists every element of the compound (OLE structured storage) file\n"
    "     FILE, depth first: its size in bytes ('-' for a storage), its\n"
    "     modification time in UTC ('-' where the file records none) and its\n"
    "     path; a storage's path ends in '/'.\n"
    "cat  writes the bytes of the stream element PATH of FILE to standard\n"
    "     output. PATH names the storages that lead to it and the element,\n"
    "     joined with '/', as ls shows them; names match without regard to case.\n"
    "\n"
    "In names, control characters and '/' appear as \\xNN and a backslash\n"
    "doubled (\\x05SummaryInformation); PATH is written the same way.\n";

using cadserv::platform::Storage;
using cadserv::platform::StorageElement;

// FILETIME (100 ns units since 1601, UTC) as "YYYY-MM-DD HH:MM:SS", or "-".
std::string ShowFileTime(uint64_t fileTime) {
  constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
  if (fileTime == 0) return "-";
  time_t seconds =
      static_cast<time_t>(static_cast<int64_t>(fileTime / 10000000) - kSecondsFrom1601To1970);
  struct tm fields;
  char text[32];
  if (gmtime_r(&seconds, &fields) == nullptr ||
      strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields) == 0) {
    return "-";
  }
  return text;
}

// Prints the elements below `storage`, each path prefixed by `prefix`.
bool List(Storage* storage, const std::string& prefix, int depth) {
  std::vector<StorageElement> elements;
  if (depth > 64 || !storage->ListElements(&elements)) return false;
  bool complete = true;
  for (const StorageElement& element : elements) {
    std::string path = prefix + ShowElementName(element.name);
    std::string size = element.isStorage ? "-" : std::to_string(element.size);
    printf("%12s  %-19s  %s%s\n", size.c_str(), ShowFileTime(element.modifiedFileTime).c_str(),
           path.c_str(), element.isStorage ? "/" : "");
    if (!element.isStorage) continue;
    Storage* child = storage->OpenStorage(element.name.c_str());
    if (child == nullptr) {
      complete = false;
      continue;
    }
    complete = List(child, path + "/", depth + 1) && complete;
    child->Release();
  }
  return complete;
}

int ListCommand(const std::string& file) {
  if (!cadserv::platform::IsStorageFile(Utf16FromUtf8(file).c_str())) {
    return Fail(kExitFailure, "'" + file + "' is no compound file (or cannot be read)");
  }
  Storage* root = cadserv::platform::OpenStorageFile(Utf16FromUtf8(file).c_str());
  if (root == nullptr) {
    return Fail(kExitFailure, "'" + file + "' is a damaged compound file or held by a writer");
  }
  printf("%12s  %-19s  %s\n", "SIZE", "MODIFIED (UTC)", "PATH");
  bool complete = List(root, "", 0);
  root->Release();
  if (fflush(stdout) != 0) return Fail(kExitFailure, "cannot write standard output");
  return complete ? kExitOk : Fail(kExitFailure, "some storages of '" + file + "' cannot be read");
}

std::string OpenFailure(SERVRESULT result) {
  switch (result) {
    case SERV_E_SHARING:
      return "another program holds it for writing";
    case SERV_E_INVALIDARG:
      return "name too long";
    default:
      return "cannot open it";
  }
}

int CatCommand(const std::string& file, const std::string& path) {
  // The path's names, each as the library takes it.
  std::vector<std::u16string> names;
  for (size_t start = 0;;) {
    size_t slash = path.find('/', start);
    std::string shown = path.substr(start, slash == std::string::npos ? slash : slash - start);
    std::u16string name;
    if (shown.empty() || !ParseElementName(shown, name)) {
      return Fail(kExitUsage, "bad element path '" + path + "' (try 'cadserv storage --help')");
    }
    names.push_back(name);
    if (slash == std::string::npos) break;
    start = slash + 1;
  }

  IServStream* parent = nullptr;
  SERVRESULT result = SERV_OpenFile(Utf16FromUtf8(file).c_str(), SERV_MODE_READ, &parent, nullptr);
  if (result != SERV_OK) return Fail(kExitFailure, "'" + file + "': " + OpenFailure(result));
  // A storage has no size or time of its own to give; a plain file has.
  ServStreamInfo info;
  if (parent->GetInfo(&info) == SERV_OK) {
    parent->Release();
    return Fail(kExitFailure, "'" + file + "' is no compound file");
  }
  std::string reached;
  for (size_t i = 0; i < names.size(); ++i) {
    const bool last = i + 1 == names.size();
    uint32_t mode = SERV_MODE_READ | (last ? SERV_MODE_ELEMENTSTREAM : SERV_MODE_SUBSTORAGE);
    IServStream* next = nullptr;
    result = SERV_OpenFile(names[i].c_str(), mode, &next, parent);
    parent->Release();
    parent = next;
    reached += (i == 0 ? "" : "/") + ShowElementName(names[i]);
    if (result != SERV_OK) {
      return Fail(kExitFailure, std::string("no ") + (last ? "stream" : "storage") + " '" +
                                    reached + "' in '" + file + "'");
    }
  }

  std::vector<char> buffer(65536);
  bool written = true;
  for (;;) {
    uint32_t count = 0;
    result = parent->Read(buffer.data(), static_cast<uint32_t>(buffer.size()), &count);
    if (result != SERV_OK || count == 0) break;
    written = fwrite(buffer.data(), 1, count, stdout) == count && written;
  }
  parent->Release();
  if (result != SERV_OK) return Fail(kExitFailure, "cannot read '" + path + "'");
  if (!written || fflush(stdout) != 0) return Fail(kExitFailure, "cannot write standard output");
  return kExitOk;
}

}  // namespace

int StorageCommand(const Args& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    fputs(kStorageUsage, args.empty() ? stderr : stdout);
    return args.empty() ? kExitUsage : kExitOk;
  }
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      fputs(kStorageUsage, stdout);
      return kExitOk;
    }
    if (arg.size() > 1 && arg[0] == '-') {
      return Fail(kExitUsage, "unknown option '" + arg + "' (try 'cadserv storage --help')");
    }
  }
  if (args[0] == "ls") {
    if (args.size() != 2) return Fail(kExitUsage, "usage: cadserv storage ls FILE");
    return ListCommand(args[1]);
  }
  if (args[0] == "cat") {
    if (args.size() != 3) return Fail(kExitUsage, "usage: cadserv storage cat FILE PATH");
    return CatCommand(args[1], args[2]);
  }
  return Fail(kExitUsage,
              "unknown storage command '" + args[0] + "' (try 'cadserv storage --help')");
}

}  // namespace cadserv_tool
