// Fuzz target: the input as a compound file. Opens it, lists every storage
// recursively, opens and reads every stream element (whole, and again after
// seeks), and checks the promises the reader makes whatever the bytes: an
// open element cannot be opened twice, a stream's size is that of a stream
// listed under its name, and a stream that reads to its end reads exactly
// its size.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/posix/compound_file.h"
#include "platform/posix/compound_name.h"
#include "platform/posix/compound_storage.h"

namespace {

using cadserv::platform::Storage;
using cadserv::platform::StorageElement;
using cadserv::platform::StorageStream;

void Check(bool condition) {
  if (!condition) abort();
}

// Names compare as the reader looks them up: case-insensitively, up to a
// zero unit.
size_t LookupLength(const std::u16string& name) {
  size_t zero = name.find(u'\0');
  return zero == std::u16string::npos ? name.size() : zero;
}

bool SameName(const std::u16string& a, const std::u16string& b) {
  return cadserv::platform::cfb::CompareNames(a.c_str(), LookupLength(a), b.c_str(),
                                              LookupLength(b)) == 0;
}

// A hostile storage may list several streams under one name (differing in
// case, or after a zero unit); the open one is then any of them.
void ReadStream(StorageStream* stream, const std::vector<StorageElement>& siblings,
                const std::u16string& name) {
  uint64_t size = 0;
  uint64_t modified = 0;
  Check(stream->Stat(&size, &modified));
  bool listed = false;
  for (const StorageElement& sibling : siblings) {
    listed = listed || (!sibling.isStorage && sibling.size == size && SameName(sibling.name, name));
  }
  Check(listed);
  std::vector<uint8_t> buffer(4096);
  uint64_t total = 0;
  uint32_t got = 0;
  bool ok = true;
  while ((ok = stream->Read(buffer.data(), static_cast<uint32_t>(buffer.size()), &got)) &&
         got > 0) {
    total += got;
  }
  // A read may fail where the file is cut short; otherwise it ends at the size.
  Check(!ok || total == size);
  uint64_t position = 0;
  if (stream->Seek(-1, 2, &position)) {
    Check(size > 0 && position == size - 1);
    stream->Read(buffer.data(), 2, &got);
    Check(got <= 1);
  }
  Check(stream->Seek(static_cast<int64_t>(size / 2), 0, &position) && position == size / 2);
  stream->Read(buffer.data(), 100, &got);
}

void Walk(Storage* storage, int depth) {
  std::vector<StorageElement> elements;
  Check(storage->ListElements(&elements));
  for (const StorageElement& element : elements) {
    if (element.isStorage) {
      // Hostile files may hold two elements of one name, or names with a
      // zero unit inside: then the listed element need not open.
      Storage* child = storage->OpenStorage(element.name.c_str());
      if (child == nullptr) continue;
      Check(storage->OpenStorage(element.name.c_str()) == nullptr);
      if (depth < 32) Walk(child, depth + 1);
      child->Release();
    } else {
      // Nor does a stream whose chain cannot hold its size.
      StorageStream* stream = storage->OpenStream(element.name.c_str());
      if (stream == nullptr) continue;
      Check(storage->OpenStream(element.name.c_str()) == nullptr);
      ReadStream(stream, elements, element.name);
      stream->Release();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto source = std::make_unique<cadserv::platform::cfb::MemorySource>(
      std::vector<uint8_t>(data, data + size));
  Storage* root = cadserv::platform::OpenStorageFromSource(std::move(source));
  if (root == nullptr) return 0;
  Walk(root, 0);
  root->Release();
  return 0;
}
