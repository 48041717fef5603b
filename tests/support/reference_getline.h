// The line reader written the plain way, step by step, as the yardstick for
// the library's SERV_GetLine: one Read of size - 1 bytes, the text taken as a
// zero-terminated string, SUB cutting it, the line end searched, empty lines
// shifted out of the buffer, and the stream sought back over what follows
// the line. Slow on purpose (every call costs a whole buffer); the tests and
// the differential fuzz target compare the library's results, lines and
// stream positions with it.
//
// Header-only, because the fuzz targets build without the test helpers.
#ifndef CADSERV_TESTS_SUPPORT_REFERENCE_GETLINE_H
#define CADSERV_TESTS_SUPPORT_REFERENCE_GETLINE_H

#include <stdint.h>
#include <string.h>

#include "cadserv/stream.h"

namespace cadserv_test {

inline int32_t ReferenceGetLine(IServStream* stream, char* buffer, uint32_t size, BOOL skipEmpty) {
  // 1. One read of size - 1 bytes.
  uint32_t n = 0;
  SERVRESULT result = stream->Read(buffer, size - 1, &n);
  if (result != SERV_OK || n == 0 || static_cast<uint8_t>(buffer[0]) == 0x1A) {
    buffer[0] = '\0';
    return -1;
  }
  // 2. From here on the text is a zero-terminated string.
  buffer[n] = '\0';
  // 3. SUB ends the text; the stream is put back so the next read starts at it.
  if (const char* sub = strchr(buffer, 0x1A)) {
    uint32_t k = static_cast<uint32_t>(sub - buffer);
    stream->Seek(static_cast<int32_t>(k - n), SERV_SEEK_CUR, nullptr);
    n = k;
    buffer[k] = '\0';
  }
  // 4.
  uint32_t held = n;
  uint32_t next = 0;  // t: where the line after this one starts
  for (;;) {
    // 5. The line end: the earlier of the first LF and the first CR; CR LF
    // and LF CR are one terminator.
    const char* lf = strchr(buffer, '\n');
    const char* cr = strchr(buffer, '\r');
    const char* end = lf == nullptr ? cr : (cr == nullptr || lf < cr ? lf : cr);
    if (end != nullptr) {
      char other = *end == '\n' ? '\r' : '\n';
      uint32_t e = static_cast<uint32_t>(end - buffer);
      next = buffer[e + 1] == other ? e + 2 : e + 1;
      buffer[e] = '\0';
    }
    if ((skipEmpty & 0xFF) == 0) {
      // 7.
      if (end == nullptr) return static_cast<int32_t>(n);
      break;
    }
    // 6.1 No line end: the whole text is the line.
    if (end == nullptr) return static_cast<int32_t>(n);
    // 6.2
    if (buffer[0] != '\0') break;
    // 6.3 An empty line with more behind it: shift it out. (6.4: nothing
    // behind it; the next round finds no line end.)
    if (held > next) {
      memmove(buffer, buffer + next, held - next);
      buffer[held - next] = '\0';
      held -= next;
    }
  }
  // 8. Put back what follows the line.
  stream->Seek(static_cast<int32_t>(next - held), SERV_SEEK_CUR, nullptr);
  return static_cast<int32_t>(next);
}

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_REFERENCE_GETLINE_H
