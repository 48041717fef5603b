// An export support object for a test: made under a private settings store
// with a known input code page, released (last reference) at scope end.
#ifndef CADSERV_TESTS_SUPPORT_EXPORT_OBJECT_H
#define CADSERV_TESTS_SUPPORT_EXPORT_OBJECT_H

#include <gtest/gtest.h>

#include "cadserv/cadserv.h"
#include "support/settings_scope.h"

namespace cadserv_test {

// The registered input code page every ExportObject starts with.
constexpr int32_t kObjectInputCodePage = 1250;

class ExportObject {
 public:
  explicit ExportObject(uint32_t deviceFlags = 0, uint32_t patternMask = 0) {
    SERV_SetRegisteredInputCodePage(kObjectInputCodePage);
    object_ = GetExportSupportInterface(deviceFlags, patternMask);
  }
  ~ExportObject() {
    if (object_ != nullptr) {
      EXPECT_EQ(object_->Release(), 0u);
    }
  }
  ExportObject(const ExportObject&) = delete;
  ExportObject& operator=(const ExportObject&) = delete;

  IExportSupport* operator->() const { return object_; }
  IExportSupport* get() const { return object_; }

 private:
  TempSettingsStore store_;
  IExportSupport* object_ = nullptr;
};

}  // namespace cadserv_test

#endif  // CADSERV_TESTS_SUPPORT_EXPORT_OBJECT_H
