// The shared matrix step and the exported bracket around one entity.
#include "export/entity_transformation.h"

#include <stddef.h>

#include <new>

// What SERV_ProcessEntityTransformation takes away and gives back.
struct SavedTransformation {
  Map3D entityMap;     // the context's entityMap before the entity's matrix
  ServMatrix* matrix;  // the entity's matrix pointer that was cleared
};

// Filters keep contexts and hand them back, so the layout is fixed for
// 32-bit Windows (4-byte pointers) and for 64-bit targets. EntityContext
// holds Map3D, which is not standard-layout (base and class both hold
// data); offsetof tolerates that on every compiler the library is built with.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#if defined(_WIN32) && !defined(_WIN64)
static_assert(offsetof(EntityContext, layerIndex) == 12 && offsetof(EntityContext, flags) == 16 &&
                  offsetof(EntityContext, parms) == 20 &&
                  offsetof(EntityContext, entityMap) == 24 &&
                  offsetof(EntityContext, drawingMap) == 168 &&
                  offsetof(EntityContext, combinedMap) == 312 &&
                  offsetof(EntityContext, filterSetting1) == 456,
              "EntityContext fields");
static_assert(sizeof(EntityContext) == 464, "EntityContext is 464 bytes");
#elif UINTPTR_MAX == 0xFFFFFFFFFFFFFFFFu
static_assert(offsetof(EntityContext, layerIndex) == 16 && offsetof(EntityContext, flags) == 20 &&
                  offsetof(EntityContext, parms) == 24 &&
                  offsetof(EntityContext, entityMap) == 32 &&
                  offsetof(EntityContext, drawingMap) == 176 &&
                  offsetof(EntityContext, combinedMap) == 320 &&
                  offsetof(EntityContext, filterSetting1) == 464,
              "EntityContext fields");
static_assert(sizeof(EntityContext) == 472, "EntityContext is 472 bytes");
#endif
static_assert(offsetof(EntityContext, kind) == 4 && offsetof(EntityContext, parent) == 8,
              "EntityContext kind and parent");
#pragma GCC diagnostic pop

namespace cadserv::exporting {

void ApplyEntityMatrix(ServMatrix* matrix, const sol_point* base, Map3D& target,
                       const Map3D& baseMapping, int mode) {
  if (matrix == nullptr) return;
  Map3D entity;
  sol_point p(0.0, 0.0, 0.0);
  if (base != nullptr) {
    sol_point given = *base;
    baseMapping.MapPointArray(&given, &p, 1);
    target.Offset(-p.x, -p.y, -p.z);
  }
  entity.SetMatrix(matrix);
  if (mode == kComposeLeft) {
    target.ComposeLeft(entity);
  } else {
    target.ComposeRight(entity);
  }
  if (base != nullptr) target.Offset(p.x, p.y, p.z);
}

void RecomputeCombinedMap(EntityContext& context) {
  context.combinedMap = context.entityMap;
  context.combinedMap.ComposeRight(context.drawingMap);
}

}  // namespace cadserv::exporting

using cadserv::exporting::ApplyEntityMatrix;
using cadserv::exporting::RecomputeCombinedMap;

// Without memory for the saved state nothing is applied: a change that
// could not be taken back would leak into every later entity.
SavedTransformation* SERV_ProcessEntityTransformation(EntityContext* context,
                                                      ServMatrix** matrixSlot,
                                                      const sol_point* base) {
  if (matrixSlot == nullptr || *matrixSlot == nullptr || context == nullptr) return nullptr;
  auto* saved = new (std::nothrow) SavedTransformation{context->entityMap, *matrixSlot};
  if (saved == nullptr) return nullptr;
  ApplyEntityMatrix(*matrixSlot, base, context->entityMap, context->entityMap,
                    cadserv::exporting::kComposeLeft);
  RecomputeCombinedMap(*context);
  *matrixSlot = nullptr;
  return saved;
}

void SERV_RestoreEntityTransformation(EntityContext* context, ServMatrix** matrixSlot,
                                      SavedTransformation* saved) {
  if (saved == nullptr) return;
  if (matrixSlot != nullptr) *matrixSlot = saved->matrix;
  if (context != nullptr) {
    context->entityMap = saved->entityMap;
    RecomputeCombinedMap(*context);
  }
  delete saved;
}
