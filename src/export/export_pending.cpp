// Operations whose services are not built yet: line patterns, rasters and
// curve emission. Each answers with the failure result its interface
// documents, never with a success it did not earn: no pattern exists (so
// lines are drawn solid), no raster can be made, no curve is emitted.
#include "export/export_support_object.h"

namespace cadserv::exporting {

int32_t ExportSupport::DefineLinePattern(int32_t, const WCHAR*, const double*, int32_t, int32_t) {
  return -1;
}

int32_t ExportSupport::FindLinePattern(int32_t, const WCHAR*, LinePattern** out) {
  if (out != nullptr) *out = nullptr;
  return -1;
}

int32_t ExportSupport::GetLinePattern(int32_t, LinePattern** out) {
  if (out != nullptr) *out = nullptr;
  return -1;
}

// No pattern has any id, so every id is drawn solid.
bool ExportSupport::IsSolidPattern(int32_t) {
  return true;
}

int32_t ExportSupport::DashPolyline(const EntityContext*, const sol_point*, int32_t, uint32_t,
                                    uint32_t, int32_t, int32_t, sol_point**) {
  return 0;
}

int32_t ExportSupport::RegisterPredefinedPatterns(uint32_t) {
  return -1;
}

RasterBuffer* ExportSupport::CreateRaster(int32_t, int32_t, double, double, double, uint32_t) {
  return nullptr;
}

// A missing raster is "nothing to do" (0); any other raster cannot be one of ours.
SERVRESULT ExportSupport::AddRasterRow(RasterBuffer* raster, uint32_t, const uint8_t*, uint32_t) {
  return raster == nullptr ? SERV_OK : SERV_E_INVALIDARG;
}

SERVRESULT ExportSupport::PutRasterBlock(RasterBuffer* raster, int32_t, int32_t, int32_t, int32_t,
                                         int32_t, const uint8_t*, int32_t, int32_t, int32_t,
                                         int32_t) {
  return raster == nullptr ? SERV_OK : SERV_E_INVALIDARG;
}

void ExportSupport::FreeRaster(RasterBuffer*) {}

bool ExportSupport::FinishRaster(RasterBuffer* raster) {
  return raster == nullptr;
}

SERVRESULT ExportSupport::EmitCurve(ICurveSink*, uint32_t, uint32_t, int32_t, const sol_point*,
                                    EntityParms*) {
  return SERV_E_OUTOFMEMORY;
}

}  // namespace cadserv::exporting
