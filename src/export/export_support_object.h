// ExportSupport: the object behind IExportSupport. Its operations are split
// over several files by concept: lifetime and plain state
// (export_support_object.cpp), layers (export_layers.cpp), bounds and
// extents (export_bounds.cpp), contexts (export_contexts.cpp), units
// (export_units.cpp), and the operations not built yet
// (export_pending.cpp).
#ifndef CADSERV_EXPORT_EXPORT_SUPPORT_OBJECT_H
#define CADSERV_EXPORT_EXPORT_SUPPORT_OBJECT_H

#include <stdint.h>

#include "cadserv/export_support.h"
#include "export/layer_table.h"

namespace cadserv::exporting {

class ExportSupport final : public IExportSupport {
 public:
  // Counts itself in the module's object count; the reference count starts at 0.
  ExportSupport();
  ExportSupport(const ExportSupport&) = delete;
  ExportSupport& operator=(const ExportSupport&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(const GUID* iid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  int32_t STDMETHODCALLTYPE InitLayerTable(int32_t capacity, uint8_t sorted) override;
  int32_t STDMETHODCALLTYPE AddLayer(const WCHAR* name, uint8_t flag1, uint8_t flag2,
                                     uint32_t colour, int32_t lineStyle) override;
  LayerParms* STDMETHODCALLTYPE FindLayer(const WCHAR* name) override;
  LayerParms* STDMETHODCALLTYPE GetLayer(int32_t index) override;
  EntityContext* STDMETHODCALLTYPE BeginContext(EntityContext* parent, int32_t layerIndex,
                                                uint32_t flags, const EntityParms* parms) override;
  EntityContext* STDMETHODCALLTYPE BeginInsert(EntityContext* parent, int32_t layerIndex,
                                               uint32_t flags, const EntityParms* parms,
                                               const sol_point* base, double sx, double sy,
                                               double sz, const sol_point* insertion,
                                               const sol_point* centre, double angle) override;
  int32_t STDMETHODCALLTYPE EndContext(EntityContext* context, uint32_t ignored) override;
  int32_t STDMETHODCALLTYPE SetModes(int32_t yOrder, int32_t composeMode) override;
  int32_t STDMETHODCALLTYPE SetBounds(double x1, double x2, double y1, double y2, double z1,
                                      double z2) override;
  EntityContext* STDMETHODCALLTYPE EndTables(EntityContext* context) override;
  int32_t STDMETHODCALLTYPE SetUnits(int32_t value, double unit1, double unit2, double unit3,
                                     double unit4, int32_t unit) override;
  int32_t STDMETHODCALLTYPE Reserved1(ServReservedArgs ignored) override;
  int32_t STDMETHODCALLTYPE DefineLinePattern(int32_t reserved, const WCHAR* name,
                                              const double* elements, int32_t count,
                                              int32_t unit) override;
  int32_t STDMETHODCALLTYPE FindLinePattern(int32_t reserved, const WCHAR* name,
                                            LinePattern** out) override;
  uint32_t STDMETHODCALLTYPE SetCodePage(uint32_t codePage) override;
  uint32_t STDMETHODCALLTYPE GetCodePage() override;
  int32_t STDMETHODCALLTYPE Reserved2(uint32_t ignored) override;
  RasterBuffer* STDMETHODCALLTYPE CreateRaster(int32_t width, int32_t height, double value1,
                                               double value2, double value3,
                                               uint32_t format) override;
  SERVRESULT STDMETHODCALLTYPE AddRasterRow(RasterBuffer* raster, uint32_t encoding,
                                            const uint8_t* data, uint32_t length) override;
  SERVRESULT STDMETHODCALLTYPE PutRasterBlock(RasterBuffer* raster, int32_t x, int32_t y, int32_t w,
                                              int32_t h, int32_t mode, const uint8_t* data,
                                              int32_t srcStride, int32_t srcX, int32_t srcY,
                                              int32_t format) override;
  void STDMETHODCALLTYPE FreeRaster(RasterBuffer* raster) override;
  EntityContext* STDMETHODCALLTYPE BeginDrawing(const ACADinfo* info) override;
  int32_t STDMETHODCALLTYPE GetLinePattern(int32_t id, LinePattern** out) override;
  bool STDMETHODCALLTYPE IsSolidPattern(int32_t id) override;
  int32_t STDMETHODCALLTYPE DashPolyline(const EntityContext* context, const sol_point* points,
                                         int32_t count, uint32_t ignored1, uint32_t ignored2,
                                         int32_t id, int32_t maxDashes, sol_point** out) override;
  void STDMETHODCALLTYPE AddExtents(int32_t count, const sol_point* points) override;
  double* STDMETHODCALLTYPE GetExtents(double* out) override;
  bool STDMETHODCALLTYPE FinishRaster(RasterBuffer* raster) override;
  SERVRESULT STDMETHODCALLTYPE EmitCurve(ICurveSink* sink, uint32_t value1, uint32_t value2,
                                         int32_t count, const sol_point* points,
                                         EntityParms* parms) override;
  void STDMETHODCALLTYPE SetDeviceFlags(uint32_t flags) override;
  int32_t STDMETHODCALLTYPE RegisterPredefinedPatterns(uint32_t mask) override;

  // Internal views for the library's own use and its tests.
  const ACADinfo& Header() const { return header_; }
  uint32_t DeviceFlags() const { return deviceFlags_; }
  int32_t YOrder() const { return yOrder_; }
  int32_t ComposeMode() const { return composeMode_; }

 private:
  ~ExportSupport();  // only through Release
  void ResetDrawingState();

  ACADinfo header_;
  EntityContext root_;
  LayerTable layers_;
  uint32_t codePage_;
  double extents_[6];  // min x, max x, min y, max y, min z, max z
  int32_t yOrder_;
  int32_t composeMode_;  // 1: entity matrices compose on the left, else on the right
  uint32_t deviceFlags_ = 0;
  int32_t refCount_ = 0;
};

}  // namespace cadserv::exporting

#endif  // CADSERV_EXPORT_EXPORT_SUPPORT_OBJECT_H
