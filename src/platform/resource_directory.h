// How a module carries its resources where the object format has none (ELF):
// one directory, compiled from the module's resource script at build time
// (src/resources/rc_compile.py), that the module exports under the symbol
// named by kResourceDirectorySymbol. The platform's resource functions find
// it through a module handle. On Windows the same script goes through the
// resource compiler into the module's resource section instead.
//
// The layout is an interface between modules (a filter can carry its own
// directory), so it only ever grows at the end, with a new version number.
#ifndef CADSERV_PLATFORM_RESOURCE_DIRECTORY_H
#define CADSERV_PLATFORM_RESOURCE_DIRECTORY_H

#include <stdint.h>

extern "C" {

// One resource. A type or name is either a number (`...Name` null) or a
// zero-terminated upper-case UTF-16 name, as the resource compiler stores it.
struct CadservResourceEntry {
  uint16_t typeId;
  const char16_t* typeName;
  uint16_t nameId;
  const char16_t* name;
  uint16_t language;  // a Windows language id: primary | sublanguage << 10
  uint32_t size;
  const uint8_t* data;
};

struct CadservResourceDirectory {
  uint32_t magic;    // kResourceDirectoryMagic
  uint32_t version;  // 1
  uint32_t count;
  const CadservResourceEntry* entries;
};

}  // extern "C"

namespace cadserv::platform {

constexpr char kResourceDirectorySymbol[] = "cadserv_resource_directory";
constexpr uint32_t kResourceDirectoryMagic = 0x43525352;  // "RSRC"

// The resource types the library uses (the Win32 RT_ numbers).
constexpr uint16_t kResourceTypeDialog = 5;  // RT_DIALOG
constexpr uint16_t kResourceTypeString = 6;  // RT_STRING, blocks of 16 strings
constexpr uint16_t kResourceTypeData = 10;   // RT_RCDATA

}  // namespace cadserv::platform

#endif  // CADSERV_PLATFORM_RESOURCE_DIRECTORY_H
