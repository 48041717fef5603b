// The kinds of stream that the line reading tests run on alike.
#ifndef CADSERV_TESTS_SUPPORT_LINE_TEST_STREAMS_H
#define CADSERV_TESTS_SUPPORT_LINE_TEST_STREAMS_H

#include <stdint.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "cadserv/stream.h"

namespace cadserv_test {

// A stream opened over some content, closed (and its files removed) when
// this goes.
class OpenedStream {
 public:
  OpenedStream() = default;
  OpenedStream(IServStream* stream, std::function<void()> close)
      : stream_(stream), close_(std::move(close)) {}
  OpenedStream(OpenedStream&& other) noexcept
      : stream_(other.stream_), close_(std::move(other.close_)) {
    other.stream_ = nullptr;
    other.close_ = nullptr;
  }
  OpenedStream& operator=(OpenedStream&&) = delete;
  ~OpenedStream() {
    if (close_) close_();
  }
  IServStream* get() const { return stream_; }

 private:
  IServStream* stream_ = nullptr;
  std::function<void()> close_;
};

struct LineStreamKind {
  const char* name;
  std::function<OpenedStream(const std::string& content)> open;
};
inline void PrintTo(const LineStreamKind& kind, std::ostream* out) {
  *out << kind.name;
}

// Every kind: the test memory stream without and with an in-memory view
// (the stand-in for the library's memory stream until that is built), the
// file stream over a mapped file and over a file read through its handle,
// and an element stream of a compound file.
std::vector<LineStreamKind> LineStreamKinds();

// The stream's position, asked through Seek.
uint32_t StreamPosition(IServStream* stream);

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_LINE_TEST_STREAMS_H
