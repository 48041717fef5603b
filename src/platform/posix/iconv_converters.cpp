// The calling thread's iconv converters, the resolution of the platform's
// symbolic code pages, and the test hook that hides code pages.
#include <atomic>
#include <mutex>

#include "platform/platform.h"
#include "platform/posix/codepage_backend.h"
#include "platform/posix/iconv_names.h"

namespace cadserv::platform {
namespace {

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr char kUnitsName[] = "UTF-16BE";
#else
constexpr char kUnitsName[] = "UTF-16LE";
#endif

// A few code pages per thread: text in a drawing comes in one or two code
// pages, so a tiny cache with round-robin replacement keeps every converter
// that matters open.
class ConverterCache {
 public:
  ConverterCache() = default;
  ConverterCache(const ConverterCache&) = delete;
  ConverterCache& operator=(const ConverterCache&) = delete;
  ~ConverterCache() {
    for (int i = 0; i < used_; ++i) Close(slots_[i]);
  }

  Converters& For(uint32_t codePage) {
    for (int i = 0; i < used_; ++i) {
      if (slots_[i].codePage == codePage) return slots_[i];
    }
    Converters* slot;
    if (used_ < kSlots) {
      slot = &slots_[used_++];
    } else {
      slot = &slots_[next_];
      next_ = (next_ + 1) % kSlots;
      Close(*slot);
    }
    *slot = Converters();
    slot->codePage = codePage;
    std::string name = IconvName(codePage);
    if (!name.empty()) slot->toUnits = iconv_open(kUnitsName, name.c_str());
    return *slot;
  }

 private:
  static void Close(Converters& converters) {
    if (converters.toUnits != Converters::kNoConverter) iconv_close(converters.toUnits);
    if (converters.fromUnits != Converters::kNoConverter) iconv_close(converters.fromUnits);
    converters = Converters();
  }

  static constexpr int kSlots = 8;
  Converters slots_[kSlots];
  int used_ = 0;
  int next_ = 0;
};

thread_local ConverterCache t_converters;

// Code pages a test declared unknown; 0 marks a free slot. Readers take no
// lock: the common case, no declaration at all, costs one atomic load.
constexpr int kHiddenSlots = 16;
std::atomic<uint32_t> g_hidden[kHiddenSlots];
std::atomic<int> g_hiddenCount{0};
std::mutex g_hiddenWriter;

}  // namespace

uint32_t ResolveCodePage(uint32_t codePage) {
  switch (codePage) {
    case 0:  // CP_ACP
    case 3:  // CP_THREAD_ACP
      return static_cast<uint32_t>(AnsiCodePage());
    case 1:  // CP_OEMCP
      return static_cast<uint32_t>(OemCodePage());
    default:
      return codePage;
  }
}

bool DeclaredUnknownForTesting(uint32_t codePage) {
  if (g_hiddenCount.load(std::memory_order_acquire) == 0) return false;
  for (const std::atomic<uint32_t>& slot : g_hidden) {
    if (slot.load(std::memory_order_relaxed) == codePage) return true;
  }
  return false;
}

void SetCodePageUnknownForTesting(uint32_t codePage, bool unknown) {
  if (codePage == 0) return;
  std::lock_guard<std::mutex> hold(g_hiddenWriter);
  int count = 0;
  bool present = false;
  for (std::atomic<uint32_t>& slot : g_hidden) {
    uint32_t value = slot.load(std::memory_order_relaxed);
    if (value == codePage && !unknown) slot.store(0, std::memory_order_relaxed);
    if (value == codePage) present = true;
  }
  if (unknown && !present) {
    for (std::atomic<uint32_t>& slot : g_hidden) {
      if (slot.load(std::memory_order_relaxed) == 0) {
        slot.store(codePage, std::memory_order_relaxed);
        break;
      }
    }
  }
  for (std::atomic<uint32_t>& slot : g_hidden) count += slot.load(std::memory_order_relaxed) != 0;
  g_hiddenCount.store(count, std::memory_order_release);
}

Converters* ConvertersFor(uint32_t codePage) {
  if (DeclaredUnknownForTesting(codePage)) return nullptr;
  Converters& converters = t_converters.For(codePage);
  return converters.toUnits == Converters::kNoConverter ? nullptr : &converters;
}

iconv_t FromUnitsConverter(Converters& converters) {
  if (!converters.fromOpened) {
    converters.fromOpened = true;
    std::string name = IconvName(converters.codePage);
    converters.fromUnits = iconv_open(name.c_str(), kUnitsName);
  }
  return converters.fromUnits;
}

}  // namespace cadserv::platform
