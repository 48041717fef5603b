// Module resources on POSIX: each module's resource directory, found through
// its dlopen handle. The library's own directory is linked in beside this
// code and taken directly, which also serves programs that link the
// library's objects statically and export nothing; for any other module the
// well-known symbol is looked up with dlsym and accepted only if that module
// itself defines it (dlsym also searches a module's dependencies, and a
// filter without resources of its own must not find cadserv's).
#include <dlfcn.h>
#include <link.h>
#include <string.h>

#include <string>

#include "platform/platform.h"
#include "platform/posix/resource_lookup.h"
#include "platform/resource_directory.h"

extern "C" const CadservResourceDirectory cadserv_resource_directory;

namespace cadserv::platform {
namespace {

constexpr uint16_t kLangNeutral = 0;

link_map* LinkMapOfAddress(const void* address) {
  Dl_info info{};
  void* map = nullptr;
  if (dladdr1(address, &info, &map, RTLD_DL_LINKMAP) == 0) return nullptr;
  return static_cast<link_map*>(map);
}

link_map* LinkMapOfHandle(void* handle) {
  link_map* map = nullptr;
  if (handle == nullptr || dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) return nullptr;
  return map;
}

void* MainProgramHandle() {
  static void* const handle = [] {
    void* main = dlopen(nullptr, RTLD_LAZY);
    if (main != nullptr) dlclose(main);  // the program stays loaded regardless
    return main;
  }();
  return handle;
}

const CadservResourceDirectory* DirectoryOf(ModuleHandle module) {
  link_map* map = LinkMapOfHandle(module != nullptr ? module : MainProgramHandle());
  if (map == nullptr) return nullptr;
  static link_map* const ownMap = LinkMapOfAddress(&cadserv_resource_directory);
  if (map == ownMap) return &cadserv_resource_directory;
  void* symbol = dlsym(module != nullptr ? module : MainProgramHandle(), kResourceDirectorySymbol);
  if (symbol == nullptr || LinkMapOfAddress(symbol) != map) return nullptr;
  auto* directory = static_cast<const CadservResourceDirectory*>(symbol);
  if (directory->magic != kResourceDirectoryMagic || directory->version < 1) return nullptr;
  return directory;
}

}  // namespace

ResourceInfo FindModuleResource(ModuleHandle module, const WCHAR* type, const WCHAR* name,
                                uint16_t language) {
  const CadservResourceDirectory* directory = DirectoryOf(module);
  if (directory == nullptr) return nullptr;
  return FindInDirectory(*directory, type, name, language);
}

const uint8_t* LoadModuleResource(ModuleHandle, ResourceInfo info) {
  return info == nullptr ? nullptr : static_cast<const CadservResourceEntry*>(info)->data;
}

uint32_t ModuleResourceSize(ModuleHandle, ResourceInfo info) {
  return info == nullptr ? 0 : static_cast<const CadservResourceEntry*>(info)->size;
}

int32_t LoadModuleString(ModuleHandle module, uint32_t id, char* buffer, int32_t size) {
  if (buffer == nullptr || size <= 0) return 0;
  buffer[0] = '\0';
  if (id > 0xFFFF) return 0;
  // String n is entry n % 16 of block n / 16 + 1; each entry is a 16-bit
  // length and that many UTF-16 units, without terminator.
  ResourceInfo info =
      FindModuleResource(module, ResourceId(kResourceTypeString),
                         ResourceId(static_cast<uint16_t>(id / 16 + 1)), kLangNeutral);
  const uint8_t* data = LoadModuleResource(module, info);
  uint32_t left = ModuleResourceSize(module, info);
  uint16_t length = 0;
  for (uint32_t entry = 0; entry <= id % 16; ++entry) {
    data += length * 2u;
    left -= length * 2u;
    if (left < 2) return 0;
    memcpy(&length, data, 2);
    data += 2;
    left -= 2;
    if (left < length * 2u) return 0;
  }
  if (length == 0) return 0;
  std::u16string units(length, u'\0');
  memcpy(&units[0], data, length * 2u);
  std::string bytes(static_cast<size_t>(length) * 4, '\0');
  int32_t count =
      WideToMultiByte(0, units.data(), length, &bytes[0], static_cast<int32_t>(bytes.size()));
  if (count == 0) {  // no ANSI converter: the low bytes, which serve ASCII
    count = length;
    for (uint16_t i = 0; i < length; ++i) bytes[i] = static_cast<char>(units[i]);
  }
  int32_t copied = count < size - 1 ? count : size - 1;
  memcpy(buffer, bytes.data(), static_cast<size_t>(copied));
  buffer[copied] = '\0';
  return copied;
}

}  // namespace cadserv::platform
