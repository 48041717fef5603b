// The export support object's lifetime, interface answers and plain state.
#include "export/export_support_object.h"

#include <new>

#include "cadserv/settings.h"
#include "frame/module_state.h"

namespace cadserv::exporting {

// The header describes the output drawing as version 0x8001. Extents and
// modes are meant to be set by BeginDrawing; until then they hold the same
// empty extents and modes that it sets, rather than whatever memory held.
ExportSupport::ExportSupport()
    : codePage_(static_cast<uint32_t>(SERV_GetRegisteredInputCodePage())) {
  SERV_InitACADinfo(&header_, 0x8001);
  ResetDrawingState();
  frame::AddObject();
}

// Contexts made by BeginContext and BeginInsert belong to the caller and
// are not freed here; the root and its mappings go with the object.
ExportSupport::~ExportSupport() {
  frame::RemoveObject();
}

HRESULT ExportSupport::QueryInterface(const GUID* iid, void** out) {
  if (out == nullptr) return E_NOINTERFACE;
  *out = nullptr;
  if (iid == nullptr || (*iid != IID_IUnknown && *iid != IID_IExportSupport)) {
    return E_NOINTERFACE;
  }
  *out = static_cast<IExportSupport*>(this);
  AddRef();
  return S_OK;
}

// One thread uses an object at a time, so the count is a plain integer.
ULONG ExportSupport::AddRef() {
  return static_cast<ULONG>(++refCount_);
}

ULONG ExportSupport::Release() {
  if (refCount_-- == 1) {
    delete this;
    return 0;
  }
  return static_cast<ULONG>(refCount_);
}

uint32_t ExportSupport::SetCodePage(uint32_t codePage) {
  const uint32_t previous = codePage_;
  codePage_ = codePage;
  return previous;
}

uint32_t ExportSupport::GetCodePage() {
  return codePage_;
}

int32_t ExportSupport::Reserved1(ServReservedArgs /*ignored*/) {
  return 0;
}

int32_t ExportSupport::Reserved2(uint32_t /*ignored*/) {
  return 0;
}

void ExportSupport::SetDeviceFlags(uint32_t flags) {
  deviceFlags_ = flags;
}

}  // namespace cadserv::exporting

IExportSupport* GetExportSupportInterface(uint32_t deviceFlags, uint32_t patternMask) {
  auto* object = new (std::nothrow) cadserv::exporting::ExportSupport();
  if (object == nullptr) return nullptr;
  object->AddRef();
  object->SetDeviceFlags(deviceFlags);
  object->RegisterPredefinedPatterns(patternMask);  // the result is not looked at
  return object;
}
