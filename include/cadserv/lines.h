// Line reading and writing on any IServStream.
#ifndef CADSERV_LINES_H
#define CADSERV_LINES_H

#include "cadserv/stream.h"

#ifdef __cplusplus
// Reads one line (ended by CR, LF, CR LF or LF CR; SUB ends the text) into
// `buffer` of `size` bytes and leaves the stream at the next line. Returns
// the bytes consumed for the line and its terminator, or -1 at the end.
CADSERV_CAPI int32_t SERV_GetLine(IServStream* stream, char* buffer, uint32_t size, BOOL skipEmpty);
// As SERV_GetLine, then widens the line in place from the ANSI code page;
// `buffer` holds `size` UTF-16 units.
CADSERV_CAPI int32_t SERV_GetLineToW(IServStream* stream, char* buffer, uint32_t size,
                                     BOOL skipEmpty);
// Writes `text` and a line feed. 0 on success, -1 on failure.
CADSERV_CAPI int32_t SERV_PutLine(IServStream* stream, const char* text);
#endif

#endif  // CADSERV_LINES_H
