// Test helpers for code page work: scoped overrides of the platform's
// answers, and buffers with guard elements past the size a call may use.
#ifndef CADSERV_TESTS_SUPPORT_CODE_PAGE_SCOPE_H
#define CADSERV_TESTS_SUPPORT_CODE_PAGE_SCOPE_H

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include "platform/platform.h"

namespace cadserv_test {

// The platform does not know `codePage` while this lives.
class UnknownCodePage {
 public:
  explicit UnknownCodePage(uint32_t codePage) : codePage_(codePage) {
    cadserv::platform::SetCodePageUnknownForTesting(codePage_, true);
  }
  ~UnknownCodePage() { cadserv::platform::SetCodePageUnknownForTesting(codePage_, false); }
  UnknownCodePage(const UnknownCodePage&) = delete;
  UnknownCodePage& operator=(const UnknownCodePage&) = delete;

 private:
  uint32_t codePage_;
};

// The ANSI code page is `codePage` while this lives.
class AnsiCodePage {
 public:
  explicit AnsiCodePage(int32_t codePage) {
    cadserv::platform::SetAnsiCodePageForTesting(codePage);
  }
  ~AnsiCodePage() { cadserv::platform::SetAnsiCodePageForTesting(0); }
  AnsiCodePage(const AnsiCodePage&) = delete;
  AnsiCodePage& operator=(const AnsiCodePage&) = delete;
};

// `allowed` elements a call may write, then guard elements it must leave
// alone; every element starts as `sentinel`.
template <typename T>
class Guarded {
 public:
  static constexpr size_t kGuard = 16;

  Guarded(size_t allowed, T sentinel) : allowed_(allowed), sentinel_(sentinel) {
    storage_.assign(allowed + kGuard, sentinel);
  }
  T* data() { return storage_.data(); }
  T& operator[](size_t i) { return storage_[i]; }
  size_t allowed() const { return allowed_; }
  T sentinel() const { return sentinel_; }
  // True while no guard element was written.
  bool GuardIntact() const {
    for (size_t i = allowed_; i < storage_.size(); ++i) {
      if (storage_[i] != sentinel_) return false;
    }
    return true;
  }
  // True while no element at all was written.
  bool Untouched() const {
    for (const T& element : storage_) {
      if (element != sentinel_) return false;
    }
    return true;
  }

 private:
  size_t allowed_;
  T sentinel_;
  std::vector<T> storage_;
};

// Sentinels: values no conversion under test produces.
constexpr char16_t kUnitSentinel = 0xDEAD;
constexpr char kByteSentinel = static_cast<char>(0xDB);

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_CODE_PAGE_SCOPE_H
