// Code pages the platform converts: glibc iconv under Windows code page numbers.
#include <iconv.h>

#include <atomic>
#include <mutex>
#include <string>

#include "platform/platform.h"
#include "platform/posix/codepage_backend.h"
#include "platform/posix/iconv_names.h"

namespace cadserv::platform {
namespace {

// The single-byte view of a code page: for each byte, the UTF-16 unit that
// the byte alone converts to, if any. Built once per code page through iconv
// and kept for the life of the process, so that per-character conversion is
// a table lookup rather than a converter call.
struct ByteTable {
  uint32_t codePage = 0;
  bool known = false;
  bool valid[256] = {};
  WCHAR unit[256] = {};
};

ByteTable* BuildByteTable(uint32_t codePage) {
  auto* table = new ByteTable();
  table->codePage = codePage;
  std::string name = IconvName(codePage);
  if (name.empty()) return table;
  iconv_t cd = iconv_open("UTF-16LE", name.c_str());
  if (cd == reinterpret_cast<iconv_t>(-1)) return table;
  table->known = true;
  for (int byte = 0; byte < 256; ++byte) {
    char in = static_cast<char>(byte);
    unsigned char out[8];
    char* inPtr = &in;
    size_t inLeft = 1;
    char* outPtr = reinterpret_cast<char*>(out);
    size_t outLeft = sizeof(out);
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    size_t done = iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    // Flush, so that a byte held back as an incomplete sequence shows as such.
    if (done != static_cast<size_t>(-1) && inLeft == 0) {
      iconv(cd, nullptr, nullptr, &outPtr, &outLeft);
    }
    if (done != static_cast<size_t>(-1) && inLeft == 0 && sizeof(out) - outLeft == 2) {
      table->valid[byte] = true;
      table->unit[byte] = static_cast<WCHAR>(out[0] | (out[1] << 8));
    }
  }
  iconv_close(cd);
  return table;
}

// A small open-addressed cache of byte tables. Entries are only ever added,
// so readers need no lock; writers serialise on a mutex.
constexpr size_t kCacheSlots = 64;
std::atomic<ByteTable*> g_tables[kCacheSlots];
std::mutex g_tablesWriter;

const ByteTable* ByteTableFor(uint32_t codePage) {
  size_t start = (codePage * 2654435761u) % kCacheSlots;
  for (size_t i = 0; i < kCacheSlots; ++i) {
    ByteTable* table = g_tables[(start + i) % kCacheSlots].load(std::memory_order_acquire);
    if (table == nullptr) break;
    if (table->codePage == codePage) return table;
  }
  std::lock_guard<std::mutex> hold(g_tablesWriter);
  for (size_t i = 0; i < kCacheSlots; ++i) {
    std::atomic<ByteTable*>& slot = g_tables[(start + i) % kCacheSlots];
    ByteTable* table = slot.load(std::memory_order_acquire);
    if (table == nullptr) {
      table = BuildByteTable(codePage);
      slot.store(table, std::memory_order_release);
      return table;
    }
    if (table->codePage == codePage) return table;
  }
  return nullptr;  // cache full: the caller converts without a table
}

}  // namespace

bool ConvertByteToUnit(uint32_t codePage, uint8_t byte, WCHAR* unit) {
  codePage = ResolveCodePage(codePage);
  if (DeclaredUnknownForTesting(codePage)) return false;
  const ByteTable* table = ByteTableFor(codePage);
  if (table == nullptr) {
    ByteTable* once = BuildByteTable(codePage);
    bool ok = once->valid[byte];
    if (ok) *unit = once->unit[byte];
    delete once;
    return ok;
  }
  if (!table->valid[byte]) return false;
  *unit = table->unit[byte];
  return true;
}

}  // namespace cadserv::platform
