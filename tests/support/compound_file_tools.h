// Independent tools for the compound file tests: olefile's view of a file,
// the tools that write compound files (libgsf's gsf, msitools' msibuild),
// and a temporary folder.
#ifndef CADSERV_TESTS_SUPPORT_COMPOUND_FILE_TOOLS_H
#define CADSERV_TESTS_SUPPORT_COMPOUND_FILE_TOOLS_H

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <memory>
#include <ostream>
#include <string>

#include "platform/platform.h"

namespace cadserv_test {

// One element as olefile and the reader under test describe it.
struct ElementRecord {
  bool isStorage = false;
  uint64_t size = 0;
  uint64_t createdTime = 0;
  uint64_t modifiedTime = 0;
  uint32_t crc = 0;  // CRC-32 of a stream's bytes
  bool operator==(const ElementRecord& other) const {
    return isStorage == other.isStorage && size == other.size && createdTime == other.createdTime &&
           modifiedTime == other.modifiedTime && crc == other.crc;
  }
};
void PrintTo(const ElementRecord& record, std::ostream* out);

// Elements by path: names joined with "/", UTF-8.
using ElementTree = std::map<std::string, ElementRecord>;

// zlib's CRC-32, continued from `crc`.
uint32_t Crc32(const void* data, size_t size, uint32_t crc = 0);

// Runs a shell command; true when it exits with 0. Its standard output goes
// to `output` (may be null), its standard error to the test's.
bool RunCommand(const std::string& command, std::string* output = nullptr);

// Checks that a program is on PATH; false with an installation hint in
// `error` when it is not.
bool HaveProgram(const std::string& program, const std::string& package, std::string* error);

// olefile's view of the compound file at `path`; false with a message.
bool OlefileTree(const std::string& path, ElementTree* tree, std::string* error);

// Owns one reference of a platform object (Storage, StorageStream).
struct Releaser {
  template <class T>
  void operator()(T* object) const {
    object->Release();
  }
};
template <class T>
using Ref = std::unique_ptr<T, Releaser>;

// Widens an ASCII or Latin-1 string (paths of temporary files).
std::u16string Widen(const std::string& text);

// Reads every element below `storage` into `tree` the way olefile_dump.py
// describes them, names prefixed by `prefix`. False when an element that the
// storage lists cannot be opened or read, or reads other than its size.
bool ReadTree(cadserv::platform::Storage* storage, ElementTree* tree,
              const std::string& prefix = "");

// A fresh temporary folder, removed with its content by the destructor.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // Writes a file below the folder (creating parent folders); its full path.
  std::string Write(const std::string& relative, const void* data, size_t size) const;

 private:
  std::string path_;
};

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_COMPOUND_FILE_TOOLS_H
