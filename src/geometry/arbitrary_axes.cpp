// The DXF arbitrary axis algorithm and the plain 3 x 3 inversion.
#include "cadserv/arbitrary_axes.h"

#include <math.h>

namespace {

// Directions within 0.001 of +Z count as the world Z axis, within 0.001 of
// -Z as its mirror image.
constexpr double kNearlyUp = 0.999;
constexpr double kNearlyDown = -0.999;
// The DXF threshold: an extrusion this close to the Z axis takes world Y,
// not world Z, to build its X axis.
constexpr double kOneOver64 = 1.0 / 64.0;

void Normalise(double* v) {
  const double f = 1.0 / sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  v[0] *= f;
  v[1] *= f;
  v[2] *= f;
}

void SetAxes(double* axes, const double (&values)[9]) {
  for (int i = 0; i < 9; ++i) axes[i] = values[i];
}

}  // namespace

CADSERV_CAPI bool ACAD_CalcArbitraryAxes(double* axes, double nx, double ny, double nz) {
  if (nz > kNearlyUp) {
    SetAxes(axes, {1, 0, 0, 0, 1, 0, 0, 0, 1});
    return true;
  }
  if (nz < kNearlyDown) {
    SetAxes(axes, {-1, 0, 0, 0, 1, 0, 0, 0, -1});
    return false;
  }
  double* x = axes;
  double* y = axes + 3;
  double* z = axes + 6;
  z[0] = nx;
  z[1] = ny;
  z[2] = nz;
  if (fabs(nx) < kOneOver64 && fabs(ny) < kOneOver64) {
    x[0] = nz;  // world Y x Z
    x[1] = 0.0;
    x[2] = -nx;
  } else {
    x[0] = -ny;  // world Z x Z
    x[1] = nx;
    x[2] = 0.0;
  }
  Normalise(x);
  y[0] = ny * x[2] - nz * x[1];
  y[1] = nz * x[0] - nx * x[2];
  y[2] = nx * x[1] - ny * x[0];
  Normalise(y);
  return false;
}

CADSERV_CAPI void ACAD_Invert3x3InPlace(double* m) {
  const double m0 = m[0], m1 = m[1], m2 = m[2];
  const double m3 = m[3], m4 = m[4], m5 = m[5];
  const double m6 = m[6], m7 = m[7], m8 = m[8];
  const double det = m0 * (m4 * m8 - m7 * m5) - m1 * (m3 * m8 - m6 * m5) + m2 * (m7 * m3 - m6 * m4);
  const double inv = 1 / det;
  m[0] = (m4 * m8 - m7 * m5) * inv;
  m[1] = -(m1 * m8 - m7 * m2) * inv;
  m[2] = (m1 * m5 - m2 * m4) * inv;
  m[3] = -(m3 * m8 - m6 * m5) * inv;
  m[4] = (m0 * m8 - m6 * m2) * inv;
  m[5] = -(m0 * m5 - m3 * m2) * inv;
  m[6] = (m7 * m3 - m6 * m4) * inv;
  m[7] = -(m7 * m0 - m6 * m1) * inv;
  m[8] = (m4 * m0 - m3 * m1) * inv;
}
