// The export support object: the working state an export filter keeps for
// one job (layer table, block nesting with its mappings, bounds, extents,
// code page, device flags, units), reached only through IExportSupport.
//
// Not built yet, and answering with their failure results until they are:
// the line patterns (DefineLinePattern and FindLinePattern -1, GetLinePattern
// -1 with *out null, IsSolidPattern true, DashPolyline 0 "draw solid",
// RegisterPredefinedPatterns -1), the rasters (CreateRaster null;
// AddRasterRow and PutRasterBlock SERV_E_INVALIDARG for any raster, 0 for
// none; FinishRaster false for any raster, true for none; FreeRaster does
// nothing) and curve emission (EmitCurve SERV_E_OUTOFMEMORY, the sink not
// called).
#ifndef CADSERV_EXPORT_SUPPORT_H
#define CADSERV_EXPORT_SUPPORT_H

#include <stdint.h>

#include "cadserv/acadinfo.h"
#include "cadserv/com.h"
#include "cadserv/entity_context.h"
#include "cadserv/export.h"
#include "cadserv/export_records.h"
#include "cadserv/geometry.h"
#include "cadserv/guids.h"
#include "cadserv/stream.h"

#ifdef __cplusplus

struct LinePattern;   // a registered line pattern
struct RasterBuffer;  // a raster built row by row or from blocks
struct ICurveSink;    // the filter's output object for discretised curves

// The arguments of Reserved1: sixteen doubles' worth, never read.
struct ServReservedArgs {
  double values[16];
};

// The operations in their table order (slots 0-33); the interface has no
// destructor slot. Results are the library's own codes where the type is
// SERVRESULT. Every operation is used by one thread at a time.
struct IExportSupport {
  // 0-2: IUnknown and IID_IExportSupport answer with the object (S_OK);
  // anything else E_NOINTERFACE with *out null. Release destroys the object
  // when the count goes from 1 to 0; the object does not free contexts.
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(const GUID* iid, void** out) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;
  // 3-6: the layer table. A sorted table is put in name order (case folded
  // as _wcsicmp folds: ASCII letters to lowercase, then UTF-16 unit order)
  // once it is full or EndTables runs; GetLayer then finds by stored index.
  virtual int32_t STDMETHODCALLTYPE InitLayerTable(int32_t capacity, uint8_t sorted) = 0;
  virtual int32_t STDMETHODCALLTYPE AddLayer(const WCHAR* name, uint8_t flag1, uint8_t flag2,
                                             uint32_t colour, int32_t lineStyle) = 0;
  virtual LayerParms* STDMETHODCALLTYPE FindLayer(const WCHAR* name) = 0;
  virtual LayerParms* STDMETHODCALLTYPE GetLayer(int32_t index) = 0;
  // 7-9: nesting contexts (see entity_context.h).
  virtual EntityContext* STDMETHODCALLTYPE BeginContext(EntityContext* parent, int32_t layerIndex,
                                                        uint32_t flags,
                                                        const EntityParms* parms) = 0;
  virtual EntityContext* STDMETHODCALLTYPE BeginInsert(EntityContext* parent, int32_t layerIndex,
                                                       uint32_t flags, const EntityParms* parms,
                                                       const sol_point* base, double sx, double sy,
                                                       double sz, const sol_point* insertion,
                                                       const sol_point* centre, double angle) = 0;
  virtual int32_t STDMETHODCALLTYPE EndContext(EntityContext* context, uint32_t ignored) = 0;
  // 10-12
  virtual int32_t STDMETHODCALLTYPE SetModes(int32_t yOrder, int32_t composeMode) = 0;
  virtual int32_t STDMETHODCALLTYPE SetBounds(double x1, double x2, double y1, double y2, double z1,
                                              double z2) = 0;
  virtual EntityContext* STDMETHODCALLTYPE EndTables(EntityContext* context) = 0;
  // 13-16
  virtual int32_t STDMETHODCALLTYPE SetUnits(int32_t value, double unit1, double unit2,
                                             double unit3, double unit4, int32_t unit) = 0;
  virtual int32_t STDMETHODCALLTYPE Reserved1(ServReservedArgs ignored) = 0;
  virtual int32_t STDMETHODCALLTYPE DefineLinePattern(int32_t reserved, const WCHAR* name,
                                                      const double* elements, int32_t count,
                                                      int32_t unit) = 0;
  virtual int32_t STDMETHODCALLTYPE FindLinePattern(int32_t reserved, const WCHAR* name,
                                                    LinePattern** out) = 0;
  // 17-19
  virtual uint32_t STDMETHODCALLTYPE SetCodePage(uint32_t codePage) = 0;  // returns the previous
  virtual uint32_t STDMETHODCALLTYPE GetCodePage() = 0;
  virtual int32_t STDMETHODCALLTYPE Reserved2(uint32_t ignored) = 0;
  // 20-23: rasters
  virtual RasterBuffer* STDMETHODCALLTYPE CreateRaster(int32_t width, int32_t height, double value1,
                                                       double value2, double value3,
                                                       uint32_t format) = 0;
  virtual SERVRESULT STDMETHODCALLTYPE AddRasterRow(RasterBuffer* raster, uint32_t encoding,
                                                    const uint8_t* data, uint32_t length) = 0;
  virtual SERVRESULT STDMETHODCALLTYPE PutRasterBlock(RasterBuffer* raster, int32_t x, int32_t y,
                                                      int32_t w, int32_t h, int32_t mode,
                                                      const uint8_t* data, int32_t srcStride,
                                                      int32_t srcX, int32_t srcY,
                                                      int32_t format) = 0;
  virtual void STDMETHODCALLTYPE FreeRaster(RasterBuffer* raster) = 0;
  // 24-27
  virtual EntityContext* STDMETHODCALLTYPE BeginDrawing(const ACADinfo* info) = 0;
  virtual int32_t STDMETHODCALLTYPE GetLinePattern(int32_t id, LinePattern** out) = 0;
  virtual bool STDMETHODCALLTYPE IsSolidPattern(int32_t id) = 0;
  virtual int32_t STDMETHODCALLTYPE DashPolyline(const EntityContext* context,
                                                 const sol_point* points, int32_t count,
                                                 uint32_t ignored1, uint32_t ignored2, int32_t id,
                                                 int32_t maxDashes, sol_point** out) = 0;
  // 28-29: extents, in the order min x, max x, min y, max y, min z, max z.
  virtual void STDMETHODCALLTYPE AddExtents(int32_t count, const sol_point* points) = 0;
  virtual double* STDMETHODCALLTYPE GetExtents(double* out) = 0;  // out: six doubles
  // 30-33
  virtual bool STDMETHODCALLTYPE FinishRaster(RasterBuffer* raster) = 0;
  virtual SERVRESULT STDMETHODCALLTYPE EmitCurve(ICurveSink* sink, uint32_t value1, uint32_t value2,
                                                 int32_t count, const sol_point* points,
                                                 EntityParms* parms) = 0;
  virtual void STDMETHODCALLTYPE SetDeviceFlags(uint32_t flags) = 0;
  virtual int32_t STDMETHODCALLTYPE RegisterPredefinedPatterns(uint32_t mask) = 0;
};

// A new export support object with one reference, the device flags set, the
// predefined line patterns not skipped by `patternMask` (bit i skips
// pattern i) registered, and the registered input code page as its code
// page. Null when memory runs out. Counted in the module's object count
// (DllCanUnloadNow) until its last Release.
CADSERV_CAPI IExportSupport* GetExportSupportInterface(uint32_t deviceFlags, uint32_t patternMask);

#endif  // __cplusplus

#endif  // CADSERV_EXPORT_SUPPORT_H
