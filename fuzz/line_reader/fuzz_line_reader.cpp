// Differential fuzz target: SERV_GetLine against the step-by-step reference
// reader on the same stream contents, call by call.
//
// Input: one byte of flags (bit 0: the stream offers its memory through
// GetBuffer; bits 1-3: how many call plans follow, less one; bit 4: the
// library's stream over a file holding the contents, opened for reading and
// so mapped, in place of the test stream), two bytes per
// call plan, then the stream's contents. A call plan gives the buffer size
// (1 to 300), skipEmpty (any low bit, or a bit above the low byte that must
// not count) and whether Read or Seek fail during that call. The plans are
// used in turn until both readers have reached the end. A file stream
// cannot be made to fail, so its plans' failures are left out.
//
// Results, lines (through their terminating zero) and stream positions must
// be identical; buffers are allocated at their exact size, so that a write
// past the size is caught by the address sanitizer.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "cadserv/lines.h"
#include "cadserv/stream.h"
#include "support/memory_test_stream.h"
#include "support/reference_getline.h"

namespace {

struct CallPlan {
  uint32_t size;
  BOOL skipEmpty;
  bool failRead;
  bool failSeek;
};

CallPlan Plan(uint8_t low, uint8_t high) {
  CallPlan plan;
  plan.size = 1 + ((static_cast<uint32_t>(high & 1) << 8) | low) % 300;
  plan.skipEmpty = ((high & 2) != 0 ? 1 : 0) | ((high & 4) != 0 ? 0x100 : 0);
  uint8_t fault = (high >> 3) & 7;  // mostly none
  plan.failRead = fault == 5 || fault == 7;
  plan.failSeek = fault == 6 || fault == 7;
  return plan;
}

void Check(bool condition, const char* what) {
  if (!condition) {
    fprintf(stderr, "line reader differs from the reference: %s\n", what);
    abort();
  }
}

// The position of any stream, by a seek that moves nowhere.
uint32_t PositionOf(IServStream* stream) {
  uint32_t position = 0;
  stream->Seek(0, SERV_SEEK_CUR, &position);
  return position;
}

// A file stream for reading over `content`, in a file of this process's own.
IServStream* OpenFileHolding(const std::string& content) {
  static const std::string path = "/tmp/cadserv-fuzz-lines-" + std::to_string(getpid());
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) abort();
  fwrite(content.data(), 1, content.size(), file);
  fclose(file);
  std::u16string name(path.begin(), path.end());
  IServStream* stream = nullptr;
  if (SERV_OpenFile(name.c_str(), SERV_MODE_READ, &stream, nullptr) != SERV_OK) abort();
  return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  bool view = (data[0] & 1) != 0;
  size_t plans = 1 + ((data[0] >> 1) & 7);
  if (size < 1 + 2 * plans) return 0;
  std::vector<CallPlan> plan;
  for (size_t i = 0; i < plans; ++i) plan.push_back(Plan(data[1 + 2 * i], data[2 + 2 * i]));
  std::string content(reinterpret_cast<const char*>(data) + 1 + 2 * plans, size - 1 - 2 * plans);

  bool onFile = (data[0] & 0x10) != 0;
  cadserv_test::MemoryTestStream memory(content, view), slow(content, view);
  IServStream* fast = onFile ? OpenFileHolding(content) : &memory;
  // Every call that is not -1 consumes a byte, and -1 twice in a row at the
  // end stops the run; the bound only guards against a reader that stalls.
  size_t budget = 4 * content.size() + 16;
  int endings = 0;
  for (size_t call = 0; call < budget && endings < 2; ++call) {
    const CallPlan& p = plan[call % plan.size()];
    memory.failRead = slow.failRead = p.failRead && !onFile;
    memory.failSeek = slow.failSeek = p.failSeek && !onFile;
    std::vector<char> a(p.size, 'A'), b(p.size, 'B');
    int32_t ra = SERV_GetLine(fast, a.data(), p.size, p.skipEmpty);
    int32_t rb = cadserv_test::ReferenceGetLine(&slow, b.data(), p.size, p.skipEmpty);
    Check(ra == rb, "result");
    Check(strlen(b.data()) < p.size, "reference line unterminated");
    Check(memcmp(a.data(), b.data(), strlen(b.data()) + 1) == 0, "line");
    Check((onFile ? PositionOf(fast) : memory.position()) == slow.position(), "position");
    bool atEnd = ra == -1 && slow.position() == content.size() && !slow.failRead;
    endings = atEnd ? endings + 1 : 0;
  }
  if (onFile) fast->Release();
  return 0;
}
