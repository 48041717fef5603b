// Map3D: construction, composition and the cache of rotation and mirror flags.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>

#include "cadserv/map3d.h"

namespace {

constexpr double kRounding = 1e-12;

void ExpectPoint(const sol_point& p, double x, double y, double z) {
  EXPECT_NEAR(p.x, x, kRounding);
  EXPECT_NEAR(p.y, y, kRounding);
  EXPECT_NEAR(p.z, z, kRounding);
}

struct Cache {
  double rotation;
  bool mirrorX, mirrorY, mirrorZ, allFlag, anyFlag;
};

void ExpectCache(const Map3D& map, const Cache& cache) {
  EXPECT_DOUBLE_EQ(map.GetRotation(), cache.rotation);
  EXPECT_EQ(map.GetMirrorX(), cache.mirrorX);
  EXPECT_EQ(map.GetMirrorY(), cache.mirrorY);
  EXPECT_EQ(map.GetMirrorZ(), cache.mirrorZ);
  EXPECT_EQ(map.allFlag, cache.allFlag);
  EXPECT_EQ(map.anyFlag, cache.anyFlag);
}

const Cache kInitial = {0.0, false, false, false, true, false};

// A map with every cache field away from its initial value, its matrix
// rotating and mirroring to match.
Map3D Busy() {
  Map3D map;
  map.Rotate2D(30, 0, 0);
  map.Mirror(true, true, true, 0, 0, 0);
  map.allFlag = false;
  map.anyFlag = true;
  return map;
}
const Cache kBusy = {30.0, true, true, true, false, true};

TEST(Map3DState, StartsAsTheIdentityWithTheInitialCache) {
  Map3D map;
  ExpectPoint(map.MapPoint(sol_point(1, 2, 3)), 1, 2, 3);
  ExpectCache(map, kInitial);
}

TEST(Map3DState, CopiesCarryTheMatrixAndAllSixCacheFields) {
  Map3D busy = Busy();
  busy.Offset(1, 2, 3);
  Map3D copied(busy);
  ExpectCache(copied, kBusy);
  EXPECT_EQ(memcmp(copied.m, busy.m, sizeof busy.m), 0);
  Map3D assigned;
  assigned = busy;
  ExpectCache(assigned, kBusy);
  EXPECT_EQ(memcmp(assigned.m, busy.m, sizeof busy.m), 0);
}

TEST(Map3DState, SetToIdentityAndSetMatrixResetTheCache) {
  Map3D map = Busy();
  map.SetToIdentity();
  ExpectCache(map, kInitial);
  EXPECT_EQ(memcmp(map.m, TransformationMatrix3D().m, sizeof map.m), 0);

  // The given matrix mirrors and rotates, but is not analysed.
  double mirrored[4][4] = {{0, -1, 0, 0}, {-1, 0, 0, 0}, {0, 0, -1, 0}, {5, 6, 7, 1}};
  map = Busy();
  map.SetMatrix(&mirrored);
  ExpectCache(map, kInitial);
  double back[4][4];
  map.GetMatrix(&back);
  EXPECT_EQ(memcmp(back, mirrored, sizeof back), 0);
}

TEST(Map3DScale, ScalesAboutTheCentreAndTogglesMirrorsOfNegativeFactors) {
  Map3D map;
  map.Scale(2, 2, 2, 1, 1, 1);
  ExpectPoint(map.MapPoint(sol_point(1, 1, 1)), 1, 1, 1);
  ExpectPoint(map.MapPoint(sol_point(2, 1, 1)), 3, 1, 1);
  ExpectCache(map, kInitial);

  Map3D mirror;
  mirror.Mirror(true, false, false, 0, 0, 0);
  ExpectPoint(mirror.MapPoint(sol_point(1, 2, 3)), -1, 2, 3);
  ExpectCache(mirror, {0, true, false, false, true, false});
  mirror.Mirror(true, false, false, 0, 0, 0);
  ExpectCache(mirror, kInitial);

  // Zero factors collapse an axis but mirror nothing, whatever their sign.
  Map3D flat;
  flat.Scale(0, -0.0, 1, 0, 0, 0);
  ExpectCache(flat, kInitial);

  // Each negative factor toggles its own flag; the other cache fields stay.
  Map3D busy = Busy();
  busy.Scale(-1, 2, -3, 0, 0, 0);
  ExpectCache(busy, {30, false, true, false, false, true});
}

TEST(Map3DRotate, RotatesCounterClockwiseAboutTheCentre) {
  Map3D xy;
  xy.RotateXY(90, 0, 0, 0);
  ExpectPoint(xy.MapPoint(sol_point(1, 0, 0)), 0, 1, 0);
  ExpectCache(xy, kInitial);

  Map3D centred;
  centred.RotateXY(90, 1, 1, 55);  // cz is not used
  ExpectPoint(centred.MapPoint(sol_point(2, 1, 0)), 1, 2, 0);
  ExpectPoint(centred.MapPoint(sol_point(2, 1, 7)), 1, 2, 7);

  Map3D yz;
  yz.RotateYZ(90, 55, 1, 1);  // turns +Y towards +Z; cx is not used
  ExpectPoint(yz.MapPoint(sol_point(0, 2, 1)), 0, 1, 2);
  ExpectPoint(yz.MapPoint(sol_point(4, 1, 1)), 4, 1, 1);

  Map3D zx;
  zx.RotateZX(90, 1, 55, 1);  // turns +Z towards +X; cy is not used
  ExpectPoint(zx.MapPoint(sol_point(1, 0, 2)), 2, 0, 1);
  ExpectPoint(zx.MapPoint(sol_point(1, 4, 1)), 1, 4, 1);
  ExpectCache(zx, kInitial);
}

TEST(Map3DRotate, Rotate2DAccumulatesTheFoldedRotation) {
  Map3D map;
  map.Rotate2D(90, 0, 0);
  ExpectPoint(map.MapPoint(sol_point(1, 0, 0)), 0, 1, 0);
  ExpectCache(map, {90, false, false, false, true, false});

  Map3D wraps;
  wraps.Rotate2D(300, 0, 0);
  wraps.Rotate2D(100, 0, 0);
  EXPECT_DOUBLE_EQ(wraps.GetRotation(), 40);
  wraps.Rotate2D(-80, 0, 0);
  EXPECT_DOUBLE_EQ(wraps.GetRotation(), 320);
}

TEST(Map3DOffset, TranslatesAfterWhatCameBeforeAndKeepsTheCache) {
  Map3D map = Busy();
  map.Offset(10, 20, 30);
  ExpectCache(map, kBusy);
  Map3D rotatedThenMoved;
  rotatedThenMoved.RotateXY(90, 0, 0, 0);
  rotatedThenMoved.Offset(10, 0, 0);
  ExpectPoint(rotatedThenMoved.MapPoint(sol_point(1, 0, 0)), 10, 1, 0);
}

TEST(Map3DConstruct, ScalesRotatesThenOffsets) {
  Map3D map(1, 1, 1, 90, 10, 0, 0, 0, 0, 0, 0, 0, 0);
  ExpectPoint(map.MapPoint(sol_point(1, 0, 0)), 10, 1, 0);
  ExpectCache(map, {90, false, false, false, true, false});

  // Scale (-2, 1, 1) about (1, 0, 0): (2, 0, 0) -> (-1, 0, 0); rotate 90
  // about (0, 1, rcz unused) -> (1, 0, 0); offset (0, 0, 5).
  Map3D full(-2, 1, 1, 90, 0, 0, 5, 0, 1, 99, 1, 0, 0);
  ExpectPoint(full.MapPoint(sol_point(2, 0, 0)), 1, 0, 5);
  ExpectCache(full, {90, true, false, false, true, false});

  Map3D folded(1, 1, 1, -450, 0, 0, 0, 0, 0, 0, 0, 0, 0);
  EXPECT_DOUBLE_EQ(folded.GetRotation(), 270);
}

TEST(Map3DCompose, OrderOfActionAndTheCombinedCache) {
  Map3D move;
  move.Offset(1, 0, 0);
  Map3D twice;
  twice.Scale(2, 2, 2, 0, 0, 0);

  Map3D right = move;
  right.ComposeRight(twice);  // move first, then scale
  ExpectPoint(right.MapPoint(sol_point()), 2, 0, 0);
  Map3D left = move;
  left.ComposeLeft(twice);  // scale first, then move
  ExpectPoint(left.MapPoint(sol_point()), 1, 0, 0);

  // Rotations add and fold, mirrors exclusive-or, allFlag and, anyFlag or.
  Map3D a, b;
  a.Rotate2D(200, 0, 0);
  b.Rotate2D(250, 0, 0);
  a.Mirror(true, true, false, 0, 0, 0);
  b.Mirror(true, false, true, 0, 0, 0);
  b.allFlag = false;
  b.anyFlag = true;
  Map3D ab = a;
  ab.ComposeRight(b);
  ExpectCache(ab, {90, false, true, true, false, true});
  Map3D ba = a;
  ba.ComposeLeft(b);
  ExpectCache(ba, {90, false, true, true, false, true});
  Map3D unchangedFlags = a;
  unchangedFlags.ComposeRight(Map3D());
  ExpectCache(unchangedFlags, {200, true, true, false, true, false});
}

TEST(Map3DCompose, WithItself) {
  Map3D map = Busy();
  map.Offset(1, 0, 0);
  Map3D expected = map;
  Map3D copy = map;
  expected.ComposeRight(copy);
  map.ComposeRight(map);
  EXPECT_EQ(memcmp(map.m, expected.m, sizeof map.m), 0);
  ExpectCache(map, {60, false, false, false, false, true});

  Map3D left = Busy();
  left.ComposeLeft(left);
  ExpectCache(left, {60, false, false, false, false, true});
}

TEST(Map3DInverse, NegatesTheRotationOnlyOnSuccess) {
  Map3D map;
  map.Rotate2D(30, 0, 0);
  map.Offset(5, 0, 0);
  ASSERT_EQ(map.Inverse(), 0);
  EXPECT_DOUBLE_EQ(map.GetRotation(), 330);
  ExpectPoint(map.MapPoint(sol_point(5 + cos(M_PI / 6), sin(M_PI / 6), 0)), 1, 0, 0);

  Map3D flat = Busy();
  flat.Scale(1, 1, 0, 0, 0, 0);
  const Map3D before = flat;
  EXPECT_EQ(flat.Inverse(), 2);
  ExpectCache(flat, kBusy);
  EXPECT_EQ(memcmp(flat.m, before.m, sizeof flat.m), 0);
}

TEST(Map3DCamera, LooksFromTheEyeAlongMinusZ) {
  const double noTwist = 0;
  Map3D above;
  above.SetCamera(sol_point(0, 0, 10), sol_point(0, 0, 0), noTwist);
  ExpectPoint(above.MapPoint(sol_point(1, 2, 3)), 1, 2, 3);

  Map3D below;
  below.SetCamera(sol_point(0, 0, -10), sol_point(0, 0, 0), noTwist);
  ExpectPoint(below.MapPoint(sol_point(1, 2, 3)), -1, 2, -3);

  Map3D side;
  side.SetCamera(sol_point(10, 0, 0), sol_point(0, 0, 0), noTwist);
  ExpectPoint(side.MapPoint(sol_point(0, 1, 0)), 1, 0, 0);
  ExpectPoint(side.MapPoint(sol_point(0, 0, 1)), 0, 1, 0);
  ExpectPoint(side.MapPoint(sol_point(1, 0, 0)), 0, 0, 1);

  // The target becomes the origin; the twist turns the view about its Z.
  const double twist = 90;
  Map3D twisted;
  twisted.rotation = 30;
  twisted.mirrorX = twisted.mirrorY = twisted.mirrorZ = true;
  twisted.allFlag = false;
  twisted.anyFlag = true;
  twisted.SetCamera(sol_point(1, 2, 13), sol_point(1, 2, 3), twist);
  ExpectPoint(twisted.MapPoint(sol_point(1, 2, 3)), 0, 0, 0);
  ExpectPoint(twisted.MapPoint(sol_point(2, 2, 3)), 0, 1, 0);
  ExpectCache(twisted, kBusy);
}

// 49 x (1 / 49) rounds below 1, so the normalised direction of (0, 0, 49) is
// not exactly +Z; it is still taken as along Z, not as a degenerate view.
TEST(Map3DCamera, DirectionsAlongZWithRoundedLengthKeepWorldYUp) {
  ASSERT_NE(49.0 * (1.0 / sqrt(49.0 * 49.0)), 1.0);
  Map3D up, down;
  up.SetCamera(sol_point(0, 0, 49), sol_point(0, 0, 0), 0.0);
  down.SetCamera(sol_point(0, 0, -49), sol_point(0, 0, 0), 0.0);
  ExpectPoint(up.MapPoint(sol_point(1, 2, 3)), 1, 2, 3);
  ExpectPoint(down.MapPoint(sol_point(1, 2, 3)), -1, 2, -3);
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) EXPECT_FALSE(isnan(up.m[r][c]) || isnan(down.m[r][c]));
}

TEST(Map3DCamera, EyeOnTheTargetGivesNonNumbers) {
  Map3D map;
  map.SetCamera(sol_point(1, 1, 1), sol_point(1, 1, 1), 0.0);
  EXPECT_TRUE(isnan(map.MapPoint(sol_point(0, 0, 0)).x));
}

}  // namespace
