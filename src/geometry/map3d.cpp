// Map3D: construction, copying, the cache and composition.
#include "cadserv/map3d.h"

#include <stddef.h>

// Filters read the cache fields directly, so their places are fixed. Map3D
// is not standard-layout (both it and its base hold data), which offsetof
// tolerates on every compiler the library is built with.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Map3D, m) == 0, "the matrix comes first");
static_assert(
    offsetof(Map3D, rotation) == 128 && offsetof(Map3D, mirrorX) == 136 &&
        offsetof(Map3D, mirrorY) == 137 && offsetof(Map3D, mirrorZ) == 138 &&
        offsetof(Map3D, allFlag) == 139 && offsetof(Map3D, anyFlag) == 140,
    "the cache follows the matrix: rotation, mirrorX, mirrorY, mirrorZ, allFlag, anyFlag");
static_assert(sizeof(Map3D) == 144, "Map3D is its matrix, one double and five flags");
#pragma GCC diagnostic pop

Map3D::Map3D()
    : rotation(0.0),
      mirrorX(false),
      mirrorY(false),
      mirrorZ(false),
      allFlag(true),
      anyFlag(false) {}

Map3D::Map3D(const Map3D& other) : Map3D() {
  *this = other;
}

Map3D::Map3D(double sx, double sy, double sz, double angle, double dx, double dy, double dz,
             double rcx, double rcy, double /*rcz*/, double scx, double scy, double scz)
    : Map3D() {
  Scale(sx, sy, sz, scx, scy, scz);
  RotateXY(angle, rcx, rcy, 0.0);
  rotation = SERV_NormalizeAngle(angle + rotation);
  Offset(dx, dy, dz);
}

Map3D::~Map3D() {}

Map3D& Map3D::operator=(const Map3D& other) {
  TransformationMatrix3D::operator=(other);
  rotation = other.rotation;
  mirrorX = other.mirrorX;
  mirrorY = other.mirrorY;
  mirrorZ = other.mirrorZ;
  allFlag = other.allFlag;
  anyFlag = other.anyFlag;
  return *this;
}

void Map3D::SetToIdentity() {
  *this = Map3D();
}

void Map3D::SetMatrix(double (*const elements)[4][4]) {
  SetToIdentity();
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) m[r][c] = (*elements)[r][c];
}

void Map3D::GetMatrix(double (*elements)[4][4]) {
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) (*elements)[r][c] = m[r][c];
}

double Map3D::GetRotation() const {
  return rotation;
}
bool Map3D::GetMirrorX() const {
  return mirrorX;
}
bool Map3D::GetMirrorY() const {
  return mirrorY;
}
bool Map3D::GetMirrorZ() const {
  return mirrorZ;
}

namespace {

// The cache rule shared by both compositions. Reads `other` completely
// before writing, so other may be `map` itself.
void CombineCache(Map3D& map, const Map3D& other) {
  const double rotation = SERV_NormalizeAngle(other.rotation + map.rotation);
  const bool mirrorX = map.mirrorX != other.mirrorX;
  const bool mirrorY = map.mirrorY != other.mirrorY;
  const bool mirrorZ = map.mirrorZ != other.mirrorZ;
  const bool allFlag = map.allFlag && other.allFlag;
  const bool anyFlag = map.anyFlag || other.anyFlag;
  map.rotation = rotation;
  map.mirrorX = mirrorX;
  map.mirrorY = mirrorY;
  map.mirrorZ = mirrorZ;
  map.allFlag = allFlag;
  map.anyFlag = anyFlag;
}

}  // namespace

Map3D& Map3D::ComposeLeft(const Map3D& other) {
  TransformationMatrix3D::operator=(other** this);
  CombineCache(*this, other);
  return *this;
}

Map3D& Map3D::ComposeRight(const Map3D& other) {
  TransformationMatrix3D::operator=(*this* other);
  CombineCache(*this, other);
  return *this;
}

// Through ComposeRight, so that only the mirror flags can change: the
// scaling's own rotation is 0 and its other flags are in their initial state.
void Map3D::Scale(double sx, double sy, double sz, double cx, double cy, double cz) {
  Map3D scaling;
  scaling.m[0][0] = sx;
  scaling.m[1][1] = sy;
  scaling.m[2][2] = sz;
  scaling.m[3][0] = (1.0 - sx) * cx;
  scaling.m[3][1] = (1.0 - sy) * cy;
  scaling.m[3][2] = (1.0 - sz) * cz;
  // Strictly below zero: a factor of 0.0 or -0.0 collapses but does not mirror.
  scaling.mirrorX = sx < 0.0;
  scaling.mirrorY = sy < 0.0;
  scaling.mirrorZ = sz < 0.0;
  ComposeRight(scaling);
}

void Map3D::Mirror(bool mx, bool my, bool mz, double cx, double cy, double cz) {
  Scale(mx ? -1.0 : 1.0, my ? -1.0 : 1.0, mz ? -1.0 : 1.0, cx, cy, cz);
}

int Map3D::Inverse() {
  const int result = TransformationMatrix3D::Inverse();
  if (result == 0) rotation = SERV_NormalizeAngle(-rotation);
  return result;
}
