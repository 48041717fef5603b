// SERV_PutLine: a string and a line feed. Lines are always ended by LF alone.
#include <string.h>

#include "cadserv/lines.h"

int32_t SERV_PutLine(IServStream* stream, const char* text) {
  if (stream == nullptr || text == nullptr) return -1;
  // Only the counts reported written decide; a stream may report a failure
  // and still have taken everything (or succeed and take less).
  uint32_t length = static_cast<uint32_t>(strlen(text));
  uint32_t written = 0;
  stream->Write(text, length, &written);
  if (written != length) return -1;
  static const char kLineFeed = '\n';
  written = 0;
  stream->Write(&kLineFeed, 1, &written);
  return written == 1 ? 0 : -1;
}
