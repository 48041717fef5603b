// Folding angles in degrees into [0, 360].
#include <math.h>

#include "cadserv/geometry.h"

namespace {
// Beyond this magnitude an angle is taken as meaningless and folds to 0; it
// also bounds the loops below to a few dozen steps.
constexpr double kLargestFoldedAngle = 10000.0;
}  // namespace

// Comparisons with NaN are false, so NaN passes through unchanged and an
// infinity (magnitude above the limit) gives 0.
CADSERV_CAPI double SERV_NormalizeAngle(double angle) {
  if (fabs(angle) > kLargestFoldedAngle) return 0.0;
  while (angle < 0.0) angle += 360.0;
  while (angle > 360.0) angle -= 360.0;
  return angle;
}
