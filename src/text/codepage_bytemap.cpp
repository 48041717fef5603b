// The byte map cache of string conversion (see codepage_bytemap.h).
#include "text/codepage_bytemap.h"

#include <string.h>

#include <atomic>

#include "cadserv/codepage.h"
#include "text/codepage_convert.h"

namespace cadserv::text {
namespace {

// The code pages the library converts itself: its tables, Unicode, symbol
// and Pure ASCII. Pairs with one of them as the source have cached maps;
// every other source is converted by the platform. As targets, all other
// code pages convert alike (Latin-1 as is, the rest as 1250 would), so they
// share one kind.
constexpr int32_t kOwnCodePages[] = {
    437, 850, 852, 1250, 1251, 1252, 1253, 1254, SERV_CP_UNICODE, CP_SYMBOL, SERV_CP_PURE_ASCII};
constexpr int kOwnPages = sizeof(kOwnCodePages) / sizeof(kOwnCodePages[0]);
constexpr int kTargetKinds = kOwnPages + 1;

// Index into kOwnCodePages, or -1 for any other code page.
int OwnKind(int32_t codePage) {
  for (int i = 0; i < kOwnPages; ++i) {
    if (kOwnCodePages[i] == codePage) return i;
  }
  return -1;
}

// Maps are only ever added, so readers take them without a lock. Two threads
// that build the same map at once both succeed; one copy is kept.
std::atomic<const ByteMap*> g_maps[kOwnPages * kTargetKinds];

const ByteMap* CachedMap(int slot, int32_t from, int32_t to, bool build) {
  const ByteMap* map = g_maps[slot].load(std::memory_order_acquire);
  if (map != nullptr || !build) return map;
  auto* built = new ByteMap;
  BuildByteMap(from, to, built);
  const ByteMap* expected = nullptr;
  if (g_maps[slot].compare_exchange_strong(expected, built, std::memory_order_acq_rel)) {
    return built;
  }
  delete built;
  return expected;
}

uint8_t ConvertByte(unsigned char byte, int32_t from, int32_t to) {
  return static_cast<uint8_t>(ConvertThroughUnit(byte, from, to));
}

}  // namespace

void BuildByteMap(int32_t from, int32_t to, ByteMap* map) {
  map->identity = true;
  for (int byte = 0; byte < 256; ++byte) {
    // Bytes below 0x80 never change, whatever the code pages.
    map->to[byte] = byte < 0x80 ? byte : ConvertByte(static_cast<unsigned char>(byte), from, to);
    map->identity = map->identity && map->to[byte] == byte;
  }
}

// Eight bytes of `word` through the map, each in its place.
uint64_t MapWord(const ByteMap& map, uint64_t word) {
  uint64_t converted = 0;
  for (int k = 0; k < 8; ++k) converted |= uint64_t{map.to[(word >> (8 * k)) & 0xFF]} << (8 * k);
  return converted;
}

void ApplyByteMap(const ByteMap& map, unsigned char* bytes, size_t length) {
  if (map.identity) return;
  // ASCII never changes, so runs of it are skipped; the test is made on 32
  // bytes at a time, which keeps it predictable when text mixes ASCII with
  // high bytes and still skips pure ASCII at memory speed.
  constexpr uint64_t kHighBits = 0x8080808080808080u;
  constexpr size_t kBlock = 32;
  size_t i = 0;
  for (; i + kBlock <= length; i += kBlock) {
    uint64_t words[kBlock / 8];
    memcpy(words, bytes + i, kBlock);
    if (((words[0] | words[1] | words[2] | words[3]) & kHighBits) == 0) continue;
    for (uint64_t& word : words) word = MapWord(map, word);
    memcpy(bytes + i, words, kBlock);
  }
  for (; i < length; ++i) bytes[i] = map.to[bytes[i]];
}

void ConvertBytes(unsigned char* bytes, size_t length, int32_t from, int32_t to) {
  bool isLong = length >= kByteMapMinLength;
  int source = OwnKind(from);
  if (source >= 0) {
    int target = OwnKind(to);
    int slot = source * kTargetKinds + (target >= 0 ? target : kTargetKinds - 1);
    if (const ByteMap* map = CachedMap(slot, from, to, isLong)) {
      ApplyByteMap(*map, bytes, length);
      return;
    }
  } else if (isLong) {
    ByteMap map;
    BuildByteMap(from, to, &map);
    ApplyByteMap(map, bytes, length);
    return;
  }
  for (size_t i = 0; i < length; ++i) {
    if (bytes[i] >= 0x80) bytes[i] = ConvertByte(bytes[i], from, to);
  }
}

}  // namespace cadserv::text
