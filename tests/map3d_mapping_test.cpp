// Map3D: mapping points, arrays, vectors, distances, thicknesses and angles.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>

#include <random>
#include <vector>

#include "cadserv/map3d.h"

namespace {

Map3D Translation(double dx, double dy, double dz) {
  Map3D map;
  map.Offset(dx, dy, dz);
  return map;
}

// The image of p written out term by term, in the order the mapping sums.
sol_point ByTheFormula(const sol_point& p, const TransformationMatrix3D& t) {
  const double(&m)[4][4] = t.m;
  return sol_point(p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
                   p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
                   p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]);
}

TEST(Map3DPointArray, MapsExactlyCountPoints) {
  const Map3D move = Translation(1, 2, 3);
  sol_point points[6];
  for (int i = 0; i < 6; ++i) points[i] = sol_point(i, 10 * i, 100 * i);
  std::vector<sol_point> out(6, sol_point(-7, -7, -7));
  move.MapPointArray(points, out.data(), 5);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(out[i].x, i + 1.0);
    EXPECT_EQ(out[i].y, 10 * i + 2.0);
    EXPECT_EQ(out[i].z, 100 * i + 3.0);
  }
  EXPECT_EQ(out[5].x, -7.0);    // nothing beyond the count
  EXPECT_EQ(points[4].x, 4.0);  // the source is left alone

  move.MapPointArrayInPlace(points, 5);
  EXPECT_EQ(points[4].z, 403.0);
  EXPECT_EQ(points[5].z, 500.0);

  for (int count : {0, -1}) {
    move.MapPointArray(points, out.data(), count);
    move.MapPointArrayInPlace(points, count);
  }
  EXPECT_EQ(out[0].x, 1.0);
  EXPECT_EQ(points[0].x, 1.0);
}

// The array operations give the same bits as the formula evaluated one point
// at a time (and as MapPoint), on general matrices with column 3 set too;
// a destination equal to the source behaves as in place.
TEST(Map3DPointArray, BitIdenticalToThePerPointFormula) {
  std::mt19937_64 random(77);
  std::uniform_real_distribution<double> value(-1e3, 1e3);
  for (int trial = 0; trial < 20; ++trial) {
    Map3D map;
    double elements[4][4];
    for (auto& row : elements)
      for (double& e : row) e = value(random);
    map.SetMatrix(&elements);
    std::vector<sol_point> points(1000);
    for (sol_point& p : points) p = sol_point(value(random), value(random), value(random));

    std::vector<sol_point> expected;
    for (const sol_point& p : points) expected.push_back(ByTheFormula(p, map));
    std::vector<sol_point> mapped(points.size());
    map.MapPointArray(points.data(), mapped.data(), static_cast<int>(points.size()));
    EXPECT_EQ(memcmp(mapped.data(), expected.data(), points.size() * sizeof(sol_point)), 0);

    std::vector<sol_point> inPlace = points;
    map.MapPointArrayInPlace(inPlace.data(), static_cast<int>(inPlace.size()));
    EXPECT_EQ(memcmp(inPlace.data(), expected.data(), points.size() * sizeof(sol_point)), 0);

    std::vector<sol_point> aliased = points;
    map.MapPointArray(aliased.data(), aliased.data(), static_cast<int>(aliased.size()));
    EXPECT_EQ(memcmp(aliased.data(), expected.data(), points.size() * sizeof(sol_point)), 0);

    const sol_point single = map.MapPoint(points[17]);
    EXPECT_EQ(memcmp(&single, &expected[17], sizeof single), 0);
  }
}

TEST(Map3DVector, IgnoresTheTranslation) {
  const Map3D move = Translation(1, 2, 3);
  sol_vector v = move.MapVector(sol_vector(1, 0, 0));
  EXPECT_EQ(v.x, 1.0);
  EXPECT_EQ(v.y, 0.0);
  EXPECT_EQ(v.z, 0.0);
  Map3D map = move;
  map.Scale(2, 3, 4, 5, 6, 7);
  v = map.MapVectorComponents(1, 1, 1);
  EXPECT_EQ(v.x, 2.0);
  EXPECT_EQ(v.y, 3.0);
  EXPECT_EQ(v.z, 4.0);
}

TEST(Map3DDistance, AxisDistancesAreLengthsOfImages) {
  Map3D stretch;
  stretch.Scale(3, 5, 1, 0, 0, 0);
  stretch.Offset(100, 100, 100);
  EXPECT_EQ(stretch.MapDistanceX(2.0), 6.0);
  EXPECT_EQ(stretch.MapDistanceX(-2.0), 6.0);
  EXPECT_EQ(stretch.MapDistanceY(-2.0), 10.0);
  Map3D turn;
  turn.RotateXY(90, 0, 0, 0);
  EXPECT_NEAR(turn.MapDistanceX(2.0), 2.0, 1e-15);
  turn.RotateYZ(30, 0, 0, 0);
  EXPECT_NEAR(turn.MapDistanceY(-4.0), 4.0, 1e-15);
}

TEST(Map3DDistance, GeneralDistancesAreNotComputed) {
  Map3D map;
  EXPECT_EQ(map.MapDistance(sol_point(0, 0, 0), sol_point(3, 4, 0)), -1e306);
  EXPECT_EQ(map.MapDistance(sol_point(1, 1, 1), sol_point(1, 1, 1)), -1e306);
  EXPECT_EQ(map.MapDistanceAlongVector(5, 1, 0, 0), -1e306);
}

TEST(Map3DThickness, LargestDiagonalElementOrPermutationFallback) {
  Map3D scaled;
  scaled.Scale(1, 3, -5, 0, 0, 0);
  EXPECT_EQ(scaled.MapThickness(2.0), 10.0);
  EXPECT_EQ(scaled.MapThickness(-2.0), -10.0);  // keeps the sign of t

  // x -> y, y -> z, z -> x: all three diagonal elements zero.
  double cycle[4][4] = {{0, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}, {0, 0, 0, 1}};
  Map3D permuted;
  permuted.SetMatrix(&cycle);
  EXPECT_DOUBLE_EQ(permuted.MapThickness(1.0), 1.0);
  double twice[4][4] = {{0, 2, 2, 0}, {0, 0, 2, 0}, {2, 0, 0, 0}, {0, 0, 0, 1}};
  permuted.SetMatrix(&twice);
  EXPECT_DOUBLE_EQ(permuted.MapThickness(3.0), sqrt(16.0 + 4.0 + 4.0) / sqrt(3.0) * 3.0);
}

struct AngleCase {
  bool mirrorX, mirrorY;
  double angle, mapped;
  double start, end, mappedStart, mappedEnd;
};

TEST(Map3DAngle, MirrorFlagsMapAnglesAndReverseArcs) {
  const AngleCase cases[] = {
      {false, false, 30, 30, 10, 50, 10, 50},   {false, false, -30, 330, -10, 370, 350, 10},
      {true, false, 30, 330, 10, 50, 310, 350}, {false, true, 30, 150, 10, 50, 130, 170},
      {true, true, 30, 210, 10, 50, 190, 230},
  };
  for (const AngleCase& c : cases) {
    Map3D map;
    map.Mirror(c.mirrorX, c.mirrorY, true, 0, 0, 0);  // mirrorZ takes no part
    map.Rotate2D(45, 0, 0);                           // nor does the rotation
    EXPECT_DOUBLE_EQ(map.MapAngle2D(c.angle), c.mapped) << c.mirrorX << c.mirrorY << c.angle;
    double start = c.start, end = c.end;
    map.MapArcAngles2D(&start, &end);
    EXPECT_DOUBLE_EQ(start, c.mappedStart) << c.mirrorX << c.mirrorY << c.start;
    EXPECT_DOUBLE_EQ(end, c.mappedEnd) << c.mirrorX << c.mirrorY << c.end;
  }
}

}  // namespace
