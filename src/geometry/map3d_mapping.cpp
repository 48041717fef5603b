// Map3D: applying the mapping to points, vectors, distances and 2D angles.
// Every formula sums its terms in the order written; the point array loops
// give the same bits as MapPoint.
#include <math.h>

#include "cadserv/map3d.h"

namespace {

// What MapDistance and MapDistanceAlongVector answer instead of a distance.
constexpr double kNoDistance = -1e306;

}  // namespace

sol_point Map3D::MapPoint(const sol_point& p) const {
  return p * *this;
}

// The twelve elements are held in locals so that stores through dst (which
// may alias anything) do not force them to be reloaded for every point.
// Each point is read completely before its image is stored.
void Map3D::MapPointArray(sol_point* const src, sol_point* dst, int count) const {
  const double m00 = m[0][0], m01 = m[0][1], m02 = m[0][2];
  const double m10 = m[1][0], m11 = m[1][1], m12 = m[1][2];
  const double m20 = m[2][0], m21 = m[2][1], m22 = m[2][2];
  const double m30 = m[3][0], m31 = m[3][1], m32 = m[3][2];
  for (int i = 0; i < count; ++i) {
    const double x = src[i].x, y = src[i].y, z = src[i].z;
    dst[i].x = x * m00 + y * m10 + z * m20 + m30;
    dst[i].y = x * m01 + y * m11 + z * m21 + m31;
    dst[i].z = x * m02 + y * m12 + z * m22 + m32;
  }
}

void Map3D::MapPointArrayInPlace(sol_point* points, int count) const {
  MapPointArray(points, points, count);
}

sol_vector Map3D::MapVector(const sol_vector& v) const {
  return MapVectorComponents(v.x, v.y, v.z);
}

sol_vector Map3D::MapVectorComponents(double dx, double dy, double dz) const {
  return sol_vector(dx * m[0][0] + dy * m[1][0] + dz * m[2][0],
                    dx * m[0][1] + dy * m[1][1] + dz * m[2][1],
                    dx * m[0][2] + dy * m[1][2] + dz * m[2][2]);
}

double Map3D::MapDistanceX(double d) const {
  const double z = d * m[0][2], y = d * m[0][1], x = d * m[0][0];
  return sqrt(z * z + y * y + x * x);
}

double Map3D::MapDistanceY(double d) const {
  const double z = d * m[1][2], y = d * m[1][1], x = d * m[1][0];
  return sqrt(z * z + y * y + x * x);
}

double Map3D::MapThickness(double t) const {
  double largest = fabs(m[0][0]);
  if (fabs(m[1][1]) > largest) largest = fabs(m[1][1]);
  if (fabs(m[2][2]) > largest) largest = fabs(m[2][2]);
  if (largest != 0.0) return largest * t;
  // All three diagonal elements zero, as for a mapping that permutes the axes.
  const double a = m[0][1] + m[0][2];
  const double b = m[1][0] + m[1][2];
  const double c = m[2][0] + m[2][1];
  return sqrt(a * a + b * b + c * c) / sqrt(3.0) * t;
}

double Map3D::MapDistance(const sol_point& /*a*/, const sol_point& /*b*/) const {
  return kNoDistance;
}

double Map3D::MapDistanceAlongVector(double /*d*/, double /*vx*/, double /*vy*/,
                                     double /*vz*/) const {
  return kNoDistance;
}

double Map3D::MapAngle2D(double angle) const {
  double a = angle;
  if (mirrorY) a = 180.0 - a;
  if (mirrorX) a = -a;
  return SERV_NormalizeAngle(a);
}

void Map3D::MapArcAngles2D(double* start, double* end) const {
  const double s = MapAngle2D(*start);
  const double e = MapAngle2D(*end);
  const bool reversed = mirrorX != mirrorY;
  *start = reversed ? e : s;
  *end = reversed ? s : e;
}
