// Map3D: appending translations, rotations and the camera view. None of
// these touches the cache except Rotate2D.
#include <math.h>

#include "cadserv/map3d.h"

namespace {

constexpr double kDegreesToRadians = 0.017453292519943295;

// matrix = matrix x t, by the full product: even zero elements of t take
// part, so infinities in the matrix give the product's IEEE results.
void Append(TransformationMatrix3D& matrix, const TransformationMatrix3D& t) {
  matrix = matrix * t;
}

}  // namespace

void Map3D::Offset(double dx, double dy, double dz) {
  TransformationMatrix3D t;
  t.m[3][0] = dx;
  t.m[3][1] = dy;
  t.m[3][2] = dz;
  Append(*this, t);
}

void Map3D::RotateXY(double angle, double cx, double cy, double /*cz*/) {
  const double r = angle * kDegreesToRadians;
  const double c = cos(r);
  const double s = sin(r);
  TransformationMatrix3D t;
  t.m[0][0] = c;
  t.m[0][1] = s;
  t.m[1][0] = -s;
  t.m[1][1] = c;
  t.m[3][0] = cx * (1 - c) + cy * s;
  t.m[3][1] = cy * (1 - c) - cx * s;
  t.m[3][2] = 0;
  Append(*this, t);
}

void Map3D::RotateYZ(double angle, double /*cx*/, double cy, double cz) {
  const double r = angle * kDegreesToRadians;
  const double c = cos(r);
  const double s = sin(r);
  TransformationMatrix3D t;
  t.m[1][1] = c;
  t.m[1][2] = s;
  t.m[2][1] = -s;
  t.m[2][2] = c;
  t.m[3][0] = 0;
  t.m[3][1] = cy * (1 - c) + cz * s;
  t.m[3][2] = cz * (1 - c) - cy * s;
  Append(*this, t);
}

void Map3D::RotateZX(double angle, double cx, double /*cy*/, double cz) {
  const double r = angle * kDegreesToRadians;
  const double c = cos(r);
  const double s = sin(r);
  TransformationMatrix3D t;
  t.m[0][0] = c;
  t.m[0][2] = -s;
  t.m[2][0] = s;
  t.m[2][2] = c;
  t.m[3][0] = cx * (1 - c) - cz * s;
  t.m[3][1] = 0;
  t.m[3][2] = cz * (1 - c) + cx * s;
  Append(*this, t);
}

void Map3D::Rotate2D(double angle, double cx, double cy) {
  RotateXY(angle, cx, cy, 0.0);
  rotation = SERV_NormalizeAngle(rotation + angle);
}

// The view's axes: n from the target towards the eye, X = up x n normalised,
// Y = n x X. Up is world Y when n lies along the Z axis, else world Z.
//
// "Along the Z axis" means n.x and n.y both zero, whatever n.z is: rounding
// can leave the normalised z of such a direction a unit in the last place
// short of 1 (eye - target = (0, 0, 49)), and world Z as up would then give
// a zero-length X axis and a matrix of NaN. For every other direction the
// choice is the same as testing n = (0, 0, +-1) exactly.
void Map3D::SetCamera(const sol_point& eye, const sol_point& target, const double& twist) {
  Offset(-target.x, -target.y, -target.z);

  const double dx = eye.x - target.x;
  const double dy = eye.y - target.y;
  const double dz = eye.z - target.z;
  const double f = 1.0 / sqrt(dx * dx + dy * dy + dz * dz);
  const double nx = dx * f, ny = dy * f, nz = dz * f;

  const bool alongZ = nx == 0.0 && ny == 0.0;
  const double upX = 0.0, upY = alongZ ? 1.0 : 0.0, upZ = alongZ ? 0.0 : 1.0;

  double xx = upY * nz - upZ * ny;
  double xy = upZ * nx - upX * nz;
  double xz = upX * ny - upY * nx;
  const double g = 1.0 / sqrt(xx * xx + xy * xy + xz * xz);
  xx *= g;
  xy *= g;
  xz *= g;
  const double yx = ny * xz - nz * xy;
  const double yy = nz * xx - nx * xz;
  const double yz = nx * xy - ny * xx;

  TransformationMatrix3D view;
  view.m[0][0] = xx;
  view.m[1][0] = xy;
  view.m[2][0] = xz;
  view.m[0][1] = yx;
  view.m[1][1] = yy;
  view.m[2][1] = yz;
  view.m[0][2] = nx;
  view.m[1][2] = ny;
  view.m[2][2] = nz;
  Append(*this, view);

  RotateXY(twist, 0.0, 0.0, 0.0);
}
