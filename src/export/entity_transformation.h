// The step shared by the contexts and the entity bracket: applying an
// entity's own matrix to a mapping about a base point.
#ifndef CADSERV_EXPORT_ENTITY_TRANSFORMATION_H
#define CADSERV_EXPORT_ENTITY_TRANSFORMATION_H

#include "cadserv/entity_context.h"

namespace cadserv::exporting {

// Compose modes: kComposeLeft puts the entity's matrix before the target
// (it acts first); any other value puts it after.
constexpr int kComposeLeft = 1;

// With no matrix nothing happens. Otherwise, with P the base point mapped
// through `baseMapping` (the origin when there is no base point), the
// target becomes: target offset by -P, the matrix composed in `mode`, offset
// by +P. Under kComposeLeft the two offsets both follow the target and so
// cancel; the base point then changes nothing but rounding. `baseMapping`
// may be `target` itself: P is taken before the target changes.
void ApplyEntityMatrix(ServMatrix* matrix, const sol_point* base, Map3D& target,
                       const Map3D& baseMapping, int mode);

// combinedMap := entityMap, then drawingMap.
void RecomputeCombinedMap(EntityContext& context);

}  // namespace cadserv::exporting

#endif  // CADSERV_EXPORT_ENTITY_TRANSFORMATION_H
