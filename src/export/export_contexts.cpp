// The export support object's drawing start and nesting contexts.
#include <string.h>

#include <new>

#include "cadserv/arbitrary_axes.h"
#include "export/entity_transformation.h"
#include "export/export_support_object.h"

namespace cadserv::exporting {
namespace {

// Empty extents: every point lowers the minima and raises the maxima.
constexpr double kEmptyExtent = 1e306;
// The compose mode that BeginDrawing sets: entity matrices on the right.
constexpr int kComposeRight = 2;

}  // namespace

void ExportSupport::ResetDrawingState() {
  for (int axis = 0; axis < 3; ++axis) {
    extents_[2 * axis] = kEmptyExtent;
    extents_[2 * axis + 1] = -kEmptyExtent;
  }
  yOrder_ = 0;
  composeMode_ = kComposeRight;
}

// A drawing whose extrusion is not +Z is written through the inverse of its
// object coordinate axes. drawingMap is composed, not replaced, and
// combinedMap is left as it was: contexts opened later compute their own.
EntityContext* ExportSupport::BeginDrawing(const ACADinfo* info) {
  ResetDrawingState();
  if (info != nullptr) {
    double axes[9];
    if (!ACAD_CalcArbitraryAxes(axes, info->extrusion[0], info->extrusion[1], info->extrusion[2])) {
      ACAD_Invert3x3InPlace(axes);
      ServMatrix matrix = {};
      for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) matrix[r][c] = axes[3 * r + c];
      matrix[3][3] = 1.0;
      Map3D extrusion;
      extrusion.SetMatrix(&matrix);
      root_.drawingMap.ComposeRight(extrusion);
    }
  }
  return &root_;
}

// A child starts as a copy of its parent. The parms copy is shallow: its
// matrix and base point still point into the filter's memory.
EntityContext* ExportSupport::BeginContext(EntityContext* parent, int32_t layerIndex,
                                           uint32_t flags, const EntityParms* parms) {
  if (parent == nullptr) return nullptr;
  auto* child = new (std::nothrow) EntityContext(*parent);
  if (child == nullptr) return nullptr;
  child->kind = 1;
  child->parent = parent;
  child->layerIndex = layerIndex;
  child->flags = flags;
  child->parms = nullptr;
  if (parms != nullptr) {
    child->parms = new (std::nothrow) EntityParms;
    if (child->parms == nullptr) {
      delete child;
      return nullptr;
    }
    memcpy(child->parms, parms, sizeof *parms);
  }
  child->drawingMap = parent->drawingMap;
  child->entityMap = parent->entityMap;
  if (parms != nullptr && parms->matrix != nullptr) {
    ApplyEntityMatrix(parms->matrix, parms->basePoint, child->entityMap, parent->entityMap,
                      composeMode_);
    RecomputeCombinedMap(*child);
  } else {
    child->combinedMap = parent->combinedMap;
  }
  return child;
}

// The insertion (scale about the base point, move the base point to the
// insertion point, rotate about the centre) acts on the block's entities
// before everything accumulated above; the reference's own matrix, if any,
// is applied as BeginContext would, but the child's parms copy carries none.
// Base point, insertion point and centre must all be given.
EntityContext* ExportSupport::BeginInsert(EntityContext* parent, int32_t layerIndex, uint32_t flags,
                                          const EntityParms* parms, const sol_point* base,
                                          double sx, double sy, double sz,
                                          const sol_point* insertion, const sol_point* centre,
                                          double angle) {
  if (base == nullptr || insertion == nullptr || centre == nullptr) return nullptr;
  // The caller's record is left untouched: the copy without a matrix stands
  // in for it during the call.
  EntityParms withoutMatrix;
  if (parms != nullptr) {
    memcpy(&withoutMatrix, parms, sizeof withoutMatrix);
    withoutMatrix.matrix = nullptr;
  }
  EntityContext* child =
      BeginContext(parent, layerIndex, flags, parms != nullptr ? &withoutMatrix : nullptr);
  if (child == nullptr) return nullptr;

  Map3D insert;
  insert.Scale(sx, sy, sz, base->x, base->y, base->z);
  insert.Offset(insertion->x - base->x, insertion->y - base->y, insertion->z - base->z);
  insert.Rotate2D(angle, centre->x, centre->y);
  if (parms != nullptr) {
    ApplyEntityMatrix(parms->matrix, parms->basePoint, child->entityMap, parent->entityMap,
                      composeMode_);
  }
  child->entityMap.ComposeLeft(insert);
  RecomputeCombinedMap(*child);
  return child;
}

// The root belongs to the object: it is answered with its kind and kept.
int32_t ExportSupport::EndContext(EntityContext* context, uint32_t /*ignored*/) {
  if (context == nullptr) return 0;
  const int32_t kind = context->kind;
  if (context == &root_) return kind;
  delete context->parms;
  delete context;
  return kind;
}

}  // namespace cadserv::exporting
