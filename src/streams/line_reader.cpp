// SERV_GetLine and SERV_GetLineToW: one text line per call from any stream.
//
// What a call returns is fixed by one imagined read of size - 1 bytes (the
// "window") from the stream's position: the text is those bytes up to the
// first NUL or SUB, the line ends at the first CR or LF (CR LF and LF CR
// count as one terminator, unless the window ends between the two), and the
// stream is left at the start of the next line -- at the SUB when the text
// ends at one, after the whole window when it ends otherwise.
//
// Reading the whole window for every line would cost a full buffer per line
// (filters pass 256 to 4096 bytes; DXF lines are 3 to 10). So the window is
// read in growing pieces, each landing at the offset the single read would
// have put it, and reading stops as soon as the answer is decided: the line
// end and the byte after it have been seen. What was read beyond the line is
// sought back, as the single read would be. Results, the line, and the
// position after the call are the same as with the single read; so are they
// on a stream whose Seek fails (the rest of the window is then read, leaving
// the stream where the single read would have left it).
//
// The fast reading relies on what every cadserv stream does: Read returns
// fewer bytes than asked only at the end of the content, and a failing Read
// fails whatever it is asked for. The library's own mapped file streams are
// read in place in the common case, without the interface's calls.
//
// The bytes of `buffer` after the line's terminating zero are unspecified.
#include <string.h>

#include "cadserv/lines.h"
#include "cadserv/text.h"
#include "platform/platform.h"
#include "streams/file_stream.h"
#include "streams/line_scan.h"

namespace cadserv::streams {
namespace {

// The first piece holds a typical DXF line with its end; later pieces double.
constexpr uint32_t kFirstPiece = 32;

// Keeps the rare paths out of the common one, so that it stays short.
#if defined(__GNUC__)
#define CADSERV_COLD __attribute__((noinline, cold))
#define CADSERV_NOINLINE __attribute__((noinline))
#else
#define CADSERV_COLD
#define CADSERV_NOINLINE
#endif

// What one call has read of its window so far.
struct Window {
  IServStream* stream;
  char* buffer;
  uint32_t size;  // what the single read would ask for: size - 1
  uint32_t held;  // bytes of the window in the buffer so far
  bool complete;  // `held` is all that the single read would have given
};

// The general case, after the first piece: lines that need more pieces,
// empty lines to skip, NUL and SUB, failing seeks.
class LineReader {
 public:
  explicit LineReader(const Window& window) : w_(window) {}

  CADSERV_COLD int32_t ReadLine(bool skipEmpty);
  // Reads what is left of the window: the stream then stands where the
  // single read would have left it.
  CADSERV_COLD void ReadRest();

 private:
  const uint8_t* Bytes() const { return reinterpret_cast<const uint8_t*>(w_.buffer); }
  uint8_t At(uint32_t offset) const { return Bytes()[offset]; }
  // Reads the next piece of the window; at the end of the stream (or of the
  // window) marks the text complete.
  void ReadMore();
  // Leaves the stream at `offset` of the window.
  void PutBack(uint32_t offset);
  // Moves the line [start, end) to the front of the buffer, terminates it
  // and returns `result`.
  int32_t Deliver(uint32_t start, uint32_t end, uint32_t result);

  Window w_;
};

void LineReader::ReadMore() {
  uint32_t want = w_.size - w_.held;
  uint32_t piece = w_.held < kFirstPiece ? kFirstPiece : w_.held;
  if (piece < want) want = piece;
  uint32_t got = 0;
  if (w_.stream->Read(w_.buffer + w_.held, want, &got) != SERV_OK) got = 0;
  if (got > want) got = want;
  w_.held += got;
  if (got < want || w_.held == w_.size) w_.complete = true;
}

void LineReader::ReadRest() {
  if (w_.complete) return;
  uint32_t want = w_.size - w_.held;
  uint32_t got = 0;
  if (w_.stream->Read(w_.buffer + w_.held, want, &got) != SERV_OK) got = 0;
  w_.held += got < want ? got : want;
  w_.complete = true;
}

void LineReader::PutBack(uint32_t offset) {
  // The offset wraps as a 32-bit signed count, as a seek by (offset - held)
  // from the current position always has.
  int32_t back = static_cast<int32_t>(offset - w_.held);
  if (w_.stream->Seek(back, SERV_SEEK_CUR, nullptr) != SERV_OK) ReadRest();
}

int32_t LineReader::Deliver(uint32_t start, uint32_t end, uint32_t result) {
  uint32_t length = end - start;
  if (start != 0) memmove(w_.buffer, w_.buffer + start, length);
  w_.buffer[length] = '\0';
  return static_cast<int32_t>(result);
}

int32_t LineReader::ReadLine(bool skipEmpty) {
  if (At(0) == kSub) {
    // The end of the text; what the single read took stays consumed.
    ReadRest();
    w_.buffer[0] = '\0';
    return -1;
  }
  uint32_t start = 0;  // the current line's first byte
  uint32_t scan = 0;   // bytes before this hold no stop byte
  for (;;) {
    uint32_t stop = scan + static_cast<uint32_t>(FindLineStop(Bytes() + scan, w_.held - scan));
    if (stop == w_.held) {
      scan = w_.held;
      if (!w_.complete) {
        ReadMore();
        continue;
      }
      // No line end within the window: all of it is the line.
      return Deliver(start, w_.held, w_.held);
    }
    uint8_t c = At(stop);
    if (c == kNul) {
      // The text ends here, but every byte of the window stays consumed.
      ReadRest();
      return Deliver(start, stop, w_.held);
    }
    if (c == kSub) {
      // The text ends here, and the next call starts at the SUB.
      PutBack(stop);
      return Deliver(start, stop, stop);
    }
    // A line end. Its partner (LF after CR, CR after LF) belongs to it, unless
    // the window ends before the partner.
    if (stop + 1 == w_.held && !w_.complete) {
      scan = stop;
      ReadMore();
      continue;
    }
    uint8_t partner = c == kLineFeed ? kCarriageReturn : kLineFeed;
    uint32_t next = stop + 1 < w_.held && At(stop + 1) == partner ? stop + 2 : stop + 1;
    if (skipEmpty && stop == start) {
      start = scan = next;
      continue;
    }
    PutBack(next);
    return Deliver(start, stop, next - start);
  }
}

#if defined(CADSERV_HAVE_MAPPED_BLOCK_LOAD)
// The common case on a mapped file stream of the library, read in place: a
// window of at least 16 bytes whose first 16 hold a line that is not to be
// skipped, its end and the byte after the end. Then the single read and
// the seek back would leave the stream after the terminator, which is
// where this moves it. False, with nothing changed, in any other case --
// also where the view faults: the block is then zeros, a NUL first, and
// the general path meets the fault through the stream's Read.
inline bool ReadShortLineInPlace(ServFileStream* file, char* buffer, uint32_t window,
                                 bool skipEmpty, int32_t* result) {
  uint32_t left = 0;
  const uint8_t* bytes = file->MappedBytes(&left);
  if (window < 16 || left < 16) return false;
  __m128i block = platform::LoadBlockFromMappedView(bytes, nullptr);
  uint32_t end, next;
  if (!FindLineEndInBlock(block, end, next) || (skipEmpty && end == 0) || !file->Advance(next)) {
    return false;
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(buffer), block);
  buffer[end] = '\0';
  *result = static_cast<int32_t>(next);
  return true;
}
#endif

// One call. The common case runs straight through on local values: the
// first 16 bytes hold a line that is not to be skipped, its end, and the
// byte after the end. Anything else goes to the LineReader.
// Kept out of SERV_GetLine so that the in-place case stays a short call.
CADSERV_NOINLINE int32_t GetLine(IServStream* stream, char* buffer, uint32_t size, bool skipEmpty) {
  Window w{stream, buffer, size - 1, 0, false};
  uint32_t first = w.size < kFirstPiece ? w.size : kFirstPiece;
  uint32_t got = 0;
  if (stream->Read(buffer, first, &got) != SERV_OK) got = 0;
  if (got > first) got = first;
  if (got == 0) {
    buffer[0] = '\0';
    return -1;
  }
  w.held = got;
  w.complete = got < first || got == w.size;

  uint32_t end, next;
  if (got >= 16 && FindLineEndInBlock(reinterpret_cast<const uint8_t*>(buffer), end, next) &&
      !(skipEmpty && end == 0)) {
    if (stream->Seek(static_cast<int32_t>(next - got), SERV_SEEK_CUR, nullptr) != SERV_OK) {
      LineReader(w).ReadRest();
    }
    buffer[end] = '\0';
    return static_cast<int32_t>(next);
  }
  return LineReader(w).ReadLine(skipEmpty);
}

}  // namespace
}  // namespace cadserv::streams

int32_t SERV_GetLine(IServStream* stream, char* buffer, uint32_t size, BOOL skipEmpty) {
  // No room even for the terminator: nothing is read and nothing written.
  if (buffer == nullptr || size == 0) return -1;
#if defined(CADSERV_HAVE_MAPPED_BLOCK_LOAD)
  using cadserv::streams::ServFileStream;
  int32_t result;
  ServFileStream* mapped = ServFileStream::MappedFrom(stream);
  if (mapped != nullptr && cadserv::streams::ReadShortLineInPlace(
                               mapped, buffer, size - 1, (skipEmpty & 0xFF) != 0, &result)) {
    return result;
  }
#endif
  if (stream == nullptr || size == 1) {
    // Size 1 leaves no room for a byte of text.
    buffer[0] = '\0';
    return -1;
  }
  return cadserv::streams::GetLine(stream, buffer, size, (skipEmpty & 0xFF) != 0);
}

int32_t SERV_GetLineToW(IServStream* stream, char* buffer, uint32_t size, BOOL skipEmpty) {
  int32_t result = SERV_GetLine(stream, buffer, size, skipEmpty);
  // Widened in place from the ANSI code page, also after -1 (an empty line
  // then becomes an empty UTF-16 string). The count stays in stream bytes.
  if (buffer != nullptr && size != 0) {
    SERV_StrToWideStr(buffer, reinterpret_cast<WCHAR*>(buffer), 0);
  }
  return result;
}
