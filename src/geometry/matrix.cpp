// TransformationMatrix3D: construction, copying and the two products.
#include <stddef.h>

#include "cadserv/geometry.h"

static_assert(offsetof(sol_point, x) == 0 && offsetof(sol_point, y) == 8 &&
                  offsetof(sol_point, z) == 16,
              "point coordinates are x, y, z in that order");
static_assert(offsetof(sol_vector, x) == 0 && offsetof(sol_vector, y) == 8 &&
                  offsetof(sol_vector, z) == 16,
              "vector components are x, y, z in that order");
static_assert(offsetof(TransformationMatrix3D, m) == 0, "the matrix holds only its elements");
static_assert(sizeof(double[4][4]) == 128, "rows are stored one after another");

TransformationMatrix3D::TransformationMatrix3D() {
  SetToIdentity();
}

TransformationMatrix3D::~TransformationMatrix3D() {}

TransformationMatrix3D& TransformationMatrix3D::operator=(const TransformationMatrix3D& other) {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m[r][c] = other.m[r][c];
  return *this;
}

void TransformationMatrix3D::SetToIdentity() {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
}

// The result is built in its own object, so `a = a * b` reads no element
// that was already overwritten.
TransformationMatrix3D operator*(const TransformationMatrix3D& a, const TransformationMatrix3D& b) {
  TransformationMatrix3D product;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      product.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j] +
                        a.m[i][3] * b.m[3][j];
  return product;
}

sol_point operator*(const sol_point& p, const TransformationMatrix3D& m) {
  return sol_point(p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0],
                   p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1],
                   p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2]);
}
