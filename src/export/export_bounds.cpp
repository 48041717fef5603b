// The export support object's modes, the header's bounds and the extents.
#include "export/export_support_object.h"

namespace cadserv::exporting {

int32_t ExportSupport::SetModes(int32_t yOrder, int32_t composeMode) {
  yOrder_ = yOrder;
  composeMode_ = composeMode;
  return 0;
}

// yOrder 1 wants the y pair ascending, anything else descending. Equal or
// unordered (NaN) values take the swapped order under 1 and stay as given
// otherwise: the test is "y1 < y2" either way.
int32_t ExportSupport::SetBounds(double x1, double x2, double y1, double y2, double z1, double z2) {
  const bool ascending = y1 < y2;
  const bool keep = yOrder_ == 1 ? ascending : !ascending;
  double* bounds = header_.bounds;
  bounds[0] = x1;
  bounds[1] = x2;
  bounds[2] = keep ? y1 : y2;
  bounds[3] = keep ? y2 : y1;
  bounds[4] = z1;
  bounds[5] = z2;
  return 0;
}

// Strict comparisons, so a NaN coordinate changes nothing.
void ExportSupport::AddExtents(int32_t count, const sol_point* points) {
  if (points == nullptr) return;
  for (int32_t i = 0; i < count; ++i) {
    const double coordinates[3] = {points[i].x, points[i].y, points[i].z};
    for (int axis = 0; axis < 3; ++axis) {
      double& minimum = extents_[2 * axis];
      double& maximum = extents_[2 * axis + 1];
      if (minimum > coordinates[axis]) minimum = coordinates[axis];
      if (maximum < coordinates[axis]) maximum = coordinates[axis];
    }
  }
}

double* ExportSupport::GetExtents(double* out) {
  if (out == nullptr) return nullptr;
  for (int i = 0; i < 6; ++i) out[i] = extents_[i];
  return out;
}

}  // namespace cadserv::exporting
