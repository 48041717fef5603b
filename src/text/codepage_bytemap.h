// Byte maps: the fast path of string conversion between two code pages.
//
// Converting byte b from code page s to t always gives the same byte once s
// is resolved, so a string converts through a 256-entry map of the pair.
// Maps of pairs whose source the library converts itself (its tables, Pure
// ASCII, Unicode, symbol) are built once, on the first long string, and kept
// for the life of the process; a source converted by the platform gets a map
// for the one long string. Short strings convert byte by byte unless their
// pair's map already exists, so none pays for building one.
#ifndef CADSERV_TEXT_CODEPAGE_BYTEMAP_H
#define CADSERV_TEXT_CODEPAGE_BYTEMAP_H

#include <stddef.h>
#include <stdint.h>

namespace cadserv::text {

// Strings of at least this many bytes convert through a byte map even when
// it has to be built: building costs about as much as converting 128 bytes.
constexpr size_t kByteMapMinLength = 256;

struct ByteMap {
  uint8_t to[256];
  bool identity;  // every byte stays as it is: nothing to do
};

// Fills `map` with the low byte of ConvertThroughUnit(b, from, to) for every
// byte b (`from` resolved, not SERV_CP_DEFAULT).
void BuildByteMap(int32_t from, int32_t to, ByteMap* map);

// Converts `length` bytes in place through `map`.
void ApplyByteMap(const ByteMap& map, unsigned char* bytes, size_t length);

// Converts `length` bytes in place from `from` (resolved) to `to`, exactly as
// ConvertThroughUnit would byte by byte, choosing the map or the byte path.
// Safe to call from several threads at once.
void ConvertBytes(unsigned char* bytes, size_t length, int32_t from, int32_t to);

}  // namespace cadserv::text

#endif  // CADSERV_TEXT_CODEPAGE_BYTEMAP_H
