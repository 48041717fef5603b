#include "support/line_test_streams.h"

#include <memory>

#include "support/compound_file_builder.h"
#include "support/compound_file_tools.h"
#include "support/file_stream_helpers.h"
#include "support/memory_test_stream.h"

namespace cadserv_test {
namespace {

OpenedStream OpenMemory(const std::string& content, bool exposeBuffer) {
  auto* stream = new MemoryTestStream(content, exposeBuffer);
  return OpenedStream(stream, [stream] { delete stream; });
}

// A file stream over a file holding `content`, opened in `mode`. Opened for
// reading, the file is mapped and the stream offers the mapping; opened for
// reading and writing, it reads through the file handle.
OpenedStream OpenFileStream(const std::string& content, uint32_t mode) {
  auto dir = std::make_shared<TempDir>();
  std::string path = dir->Write("text.dxf", content.data(), content.size());
  IServStream* stream = nullptr;
  if (SERV_OpenFile(Widen(path).c_str(), mode, &stream, nullptr) != SERV_OK) return {};
  return OpenedStream(stream, [stream, dir] { stream->Release(); });
}

// The stream element "Text" of a compound file.
OpenedStream OpenElementStream(const std::string& content) {
  auto dir = std::make_shared<TempDir>();
  std::vector<uint8_t> bytes(content.begin(), content.end());
  CfbFile file =
      BuildCompoundFile(CfbNode::Storage(u"Root Entry", {CfbNode::Stream(u"Text", bytes)}));
  std::string path = dir->Write("drawing.dwg", file.bytes.data(), file.bytes.size());
  IServStream* storage = nullptr;
  IServStream* element = nullptr;
  if (SERV_OpenFile(Widen(path).c_str(), SERV_MODE_READ, &storage, nullptr) != SERV_OK) return {};
  if (SERV_OpenFile(u"Text", SERV_MODE_READ | SERV_MODE_ELEMENTSTREAM, &element, storage) !=
      SERV_OK) {
    storage->Release();
    return {};
  }
  return OpenedStream(element, [element, storage, dir] {
    element->Release();
    storage->Release();
  });
}

}  // namespace

std::vector<LineStreamKind> LineStreamKinds() {
  return {
      {"Memory", [](const std::string& content) { return OpenMemory(content, false); }},
      {"MemoryView", [](const std::string& content) { return OpenMemory(content, true); }},
      {"MappedFile",
       [](const std::string& content) { return OpenFileStream(content, SERV_MODE_READ); }},
      {"ReadWriteFile",
       [](const std::string& content) { return OpenFileStream(content, SERV_MODE_READWRITE); }},
      {"Element", OpenElementStream},
  };
}

uint32_t StreamPosition(IServStream* stream) {
  // The test stream is asked directly, so that its Seek may be made to fail.
  if (auto* memory = dynamic_cast<MemoryTestStream*>(stream)) {
    return static_cast<uint32_t>(memory->position());
  }
  uint32_t position = 0xDEADBEEF;
  if (stream->Seek(0, SERV_SEEK_CUR, &position) != SERV_OK) return 0xDEADBEEF;
  return position;
}

}  // namespace cadserv_test
