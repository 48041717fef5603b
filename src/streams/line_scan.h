// Finding the bytes that stop a text line: NUL, LF, CR and SUB.
#ifndef CADSERV_STREAMS_LINE_SCAN_H
#define CADSERV_STREAMS_LINE_SCAN_H

#include <stddef.h>
#include <stdint.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace cadserv::streams {

constexpr uint8_t kNul = 0x00;
constexpr uint8_t kLineFeed = 0x0A;
constexpr uint8_t kCarriageReturn = 0x0D;
constexpr uint8_t kSub = 0x1A;  // Ctrl-Z: the end of the text

inline bool IsLineStop(uint8_t c) {
  return c == kNul || c == kLineFeed || c == kCarriageReturn || c == kSub;
}

// The offset of the first NUL, LF, CR or SUB among `length` bytes, or
// `length` when there is none. Never reads outside the range.
inline size_t FindLineStop(const uint8_t* bytes, size_t length) {
  size_t i = 0;
#if defined(__SSE2__)
  // Lines of text files are short: one 16-byte block usually holds the end.
  const __m128i nul = _mm_setzero_si128();
  const __m128i lf = _mm_set1_epi8(static_cast<char>(kLineFeed));
  const __m128i cr = _mm_set1_epi8(static_cast<char>(kCarriageReturn));
  const __m128i sub = _mm_set1_epi8(static_cast<char>(kSub));
  for (; i + 16 <= length; i += 16) {
    __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    __m128i hits =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(block, nul), _mm_cmpeq_epi8(block, lf)),
                     _mm_or_si128(_mm_cmpeq_epi8(block, cr), _mm_cmpeq_epi8(block, sub)));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hits));
    if (mask != 0) return i + static_cast<size_t>(__builtin_ctz(mask));
  }
#endif
  for (; i < length; ++i) {
    if (IsLineStop(bytes[i])) return i;
  }
  return length;
}

// The line end among 16 bytes, when the first stop byte there is a CR or LF
// before the last byte, so that the byte after it is known too. Sets `end`
// to its offset and `next` to the offset after its terminator (CR LF and
// LF CR are one). False when the block leaves anything open: no stop byte,
// a NUL or SUB first, or the line end on the last byte.
#if defined(__SSE2__)
inline bool FindLineEndInBlock(__m128i block, uint32_t& end, uint32_t& next) {
  unsigned lf = static_cast<unsigned>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(kLineFeed)))));
  unsigned cr = static_cast<unsigned>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(kCarriageReturn)))));
  unsigned other = static_cast<unsigned>(_mm_movemask_epi8(
      _mm_or_si128(_mm_cmpeq_epi8(block, _mm_setzero_si128()),
                   _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(kSub))))));
  unsigned stops = lf | cr | other;
  if (stops == 0) return false;
  unsigned first = static_cast<unsigned>(__builtin_ctz(stops));
  if (first == 15 || ((other >> first) & 1) != 0) return false;
  unsigned partners = ((lf >> first) & 1) != 0 ? cr : lf;
  end = first;
  next = first + 1 + ((partners >> (first + 1)) & 1);
  return true;
}
#endif

// The same for the 16 bytes at `bytes`, all of which must be readable.
inline bool FindLineEndInBlock(const uint8_t* bytes, uint32_t& end, uint32_t& next) {
#if defined(__SSE2__)
  return FindLineEndInBlock(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), end, next);
#else
  uint32_t first = 0;
  while (first < 16 && !IsLineStop(bytes[first])) ++first;
  if (first >= 15 || bytes[first] == kNul || bytes[first] == kSub) return false;
  uint8_t partner = bytes[first] == kLineFeed ? kCarriageReturn : kLineFeed;
  end = first;
  next = bytes[first + 1] == partner ? first + 2 : first + 1;
  return true;
#endif
}

}  // namespace cadserv::streams

#endif  // CADSERV_STREAMS_LINE_SCAN_H
