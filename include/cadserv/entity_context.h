// EntityContext: one level of the block nesting that the export support
// object keeps, with the mappings accumulated down to it; and the bracket
// that applies an entity's own matrix to a context for one entity.
//
// The root context belongs to the object (BeginDrawing returns it); child
// contexts come from IExportSupport::BeginContext and BeginInsert and are
// freed by EndContext, children before their parents, all before the object
// is released. Filters pass contexts back to the library, so the fields
// stand in this order: 472 bytes on 64-bit targets, 464 on 32-bit Windows.
#ifndef CADSERV_ENTITY_CONTEXT_H
#define CADSERV_ENTITY_CONTEXT_H

#include <stdint.h>

#include "cadserv/export.h"
#include "cadserv/export_records.h"
#include "cadserv/map3d.h"

#ifdef __cplusplus

struct EntityContext {
  uint16_t size = sizeof(EntityContext);
  int32_t kind = 0;                 // 0 the root, 1 a child
  EntityContext* parent = nullptr;  // none for the root
  int32_t layerIndex = -1;          // layer of the block reference that opened it
  uint32_t flags = 0;               // the filter's; EndTables sets 0xE000 on the root
  EntityParms* parms = nullptr;     // the context's own copy of the opening entity's record
  Map3D entityMap;                  // accumulated from the drawing down to here
  Map3D drawingMap;                 // the drawing's own mapping (extrusion)
  Map3D combinedMap;                // entityMap, then drawingMap: what entities go through
  uint32_t filterSetting1 = 0;
  uint32_t filterSetting2 = 0;
};

// What SERV_ProcessEntityTransformation saved; opaque to callers.
struct SavedTransformation;

// Applies the matrix held in *matrixSlot (an EntityParms' `matrix`) to the
// context for one entity: entityMap takes the matrix on its left, about the
// base point mapped through entityMap (the base may be null), combinedMap is
// recomputed, and *matrixSlot is cleared so the matrix is not applied twice
// further down. Returns what SERV_RestoreEntityTransformation needs; null,
// with nothing changed, when there is no matrix (null slot or null pointer
// in it), no context, or no memory for the saved state.
CADSERV_CAPI SavedTransformation* SERV_ProcessEntityTransformation(EntityContext* context,
                                                                   ServMatrix** matrixSlot,
                                                                   const sol_point* base);

// Undoes SERV_ProcessEntityTransformation: puts the matrix pointer back into
// *matrixSlot (when the slot is given), restores entityMap and combinedMap
// (when the context is given) and frees `saved`. A null `saved` does
// nothing, so the bracket is safe for entities without a matrix.
CADSERV_CAPI void SERV_RestoreEntityTransformation(EntityContext* context, ServMatrix** matrixSlot,
                                                   SavedTransformation* saved);

#endif  // __cplusplus

#endif  // CADSERV_ENTITY_CONTEXT_H
