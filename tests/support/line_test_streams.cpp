#include "support/line_test_streams.h"

#include "support/memory_test_stream.h"

namespace cadserv_test {
namespace {

OpenedStream OpenMemory(const std::string& content, bool exposeBuffer) {
  auto* stream = new MemoryTestStream(content, exposeBuffer);
  return OpenedStream(stream, [stream] { delete stream; });
}

}  // namespace

std::vector<LineStreamKind> LineStreamKinds() {
  return {
      {"Memory", [](const std::string& content) { return OpenMemory(content, false); }},
      {"MemoryView", [](const std::string& content) { return OpenMemory(content, true); }},
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
