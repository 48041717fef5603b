#include "support/compound_file_tools.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <sstream>
#include <vector>

#include "platform/posix/utf8_path.h"

namespace cadserv_test {

void PrintTo(const ElementRecord& record, std::ostream* out) {
  *out << (record.isStorage ? "storage" : "stream") << " size " << record.size << " created "
       << record.createdTime << " modified " << record.modifiedTime << " crc " << record.crc;
}

uint32_t Crc32(const void* data, size_t size, uint32_t crc) {
  static uint32_t table[256];
  static bool ready = [] {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ (value & 1 ? 0xEDB88320u : 0);
      table[i] = value;
    }
    return true;
  }();
  (void)ready;
  const uint8_t* bytes = static_cast<const uint8_t*>(data);
  crc = ~crc;
  for (size_t i = 0; i < size; ++i) crc = table[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
  return ~crc;
}

bool RunCommand(const std::string& command, std::string* output) {
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return false;
  std::string text;
  char chunk[4096];
  size_t n;
  while ((n = fread(chunk, 1, sizeof chunk, pipe)) > 0) text.append(chunk, n);
  int status = pclose(pipe);
  if (output != nullptr) *output = std::move(text);
  return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool HaveProgram(const std::string& program, const std::string& package, std::string* error) {
  if (RunCommand("command -v '" + program + "' >/dev/null 2>&1")) return true;
  *error = "'" + program + "' is not installed; the compound file tests need it (Debian package " +
           package + ", installed by ./run deps)";
  return false;
}

bool OlefileTree(const std::string& path, ElementTree* tree, std::string* error) {
  const std::string python = "/usr/bin/python3";
  std::string script = std::string(CADSERV_SOURCE_DIR) + "/tests/support/olefile_dump.py";
  std::string output;
  if (!RunCommand(python + " '" + script + "' '" + path + "'", &output)) {
    *error = "olefile could not read '" + path + "' (needs " + python +
             " with python3-olefile, installed by ./run deps)";
    return false;
  }
  tree->clear();
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string kind, name, size, created, modified, crc;
    if (!std::getline(fields, kind, '\t') || !std::getline(fields, name, '\t') ||
        !std::getline(fields, size, '\t') || !std::getline(fields, created, '\t') ||
        !std::getline(fields, modified, '\t') || !std::getline(fields, crc)) {
      *error = "unexpected line from olefile_dump.py: " + line;
      return false;
    }
    ElementRecord& record = (*tree)[name];
    record.isStorage = kind == "storage";
    record.size = std::stoull(size);
    record.createdTime = std::stoull(created);
    record.modifiedTime = std::stoull(modified);
    record.crc = static_cast<uint32_t>(std::stoul(crc));
  }
  return true;
}

std::u16string Widen(const std::string& text) {
  std::u16string wide;
  for (char c : text) wide += static_cast<char16_t>(static_cast<unsigned char>(c));
  return wide;
}

bool ReadTree(cadserv::platform::Storage* storage, ElementTree* tree, const std::string& prefix) {
  using namespace cadserv::platform;
  std::vector<StorageElement> elements;
  if (!storage->ListElements(&elements)) return false;
  for (const StorageElement& element : elements) {
    std::string path = prefix + Utf8FromUtf16(element.name.c_str());
    ElementRecord& record = (*tree)[path];
    record.isStorage = element.isStorage;
    record.size = element.size;
    record.createdTime = element.createdFileTime;
    record.modifiedTime = element.modifiedFileTime;
    if (element.isStorage) {
      Ref<Storage> child(storage->OpenStorage(element.name.c_str()));
      if (child == nullptr || !ReadTree(child.get(), tree, path + "/")) return false;
      continue;
    }
    Ref<StorageStream> stream(storage->OpenStream(element.name.c_str()));
    if (stream == nullptr) return false;
    std::vector<uint8_t> chunk(65536);
    uint64_t total = 0;
    uint32_t got = 0;
    do {
      if (!stream->Read(chunk.data(), static_cast<uint32_t>(chunk.size()), &got)) return false;
      record.crc = Crc32(chunk.data(), got, record.crc);
      total += got;
    } while (got > 0);
    uint64_t size = 0;
    if (total != element.size || !stream->Stat(&size, nullptr) || size != total) return false;
  }
  return true;
}

TempDir::TempDir() {
  const char* base = getenv("TMPDIR");
  std::string pattern =
      std::string(base != nullptr && *base ? base : "/tmp") + "/cadserv-cfb-XXXXXX";
  if (mkdtemp(&pattern[0]) != nullptr) path_ = pattern;
}

TempDir::~TempDir() {
  if (!path_.empty()) RunCommand("rm -rf '" + path_ + "'");
}

std::string TempDir::Write(const std::string& relative, const void* data, size_t size) const {
  std::string full = path_ + "/" + relative;
  for (size_t slash = full.find('/', path_.size() + 1); slash != std::string::npos;
       slash = full.find('/', slash + 1)) {
    mkdir(full.substr(0, slash).c_str(), 0700);
  }
  FILE* file = fopen(full.c_str(), "wb");
  if (file != nullptr) {
    if (size > 0) fwrite(data, 1, size, file);
    fclose(file);
  }
  return full;
}

}  // namespace cadserv_test
