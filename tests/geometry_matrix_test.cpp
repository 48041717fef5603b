// TransformationMatrix3D, points, and the angle and vector helpers.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>

#include <limits>

#include "cadserv/geometry.h"

namespace {

TransformationMatrix3D FromRows(const double (&rows)[4][4]) {
  TransformationMatrix3D matrix;
  memcpy(matrix.m, rows, sizeof rows);
  return matrix;
}

bool SameBits(const TransformationMatrix3D& a, const TransformationMatrix3D& b) {
  return memcmp(a.m, b.m, sizeof a.m) == 0;
}

void ExpectPoint(const sol_point& p, double x, double y, double z) {
  EXPECT_DOUBLE_EQ(p.x, x);
  EXPECT_DOUBLE_EQ(p.y, y);
  EXPECT_DOUBLE_EQ(p.z, z);
}

TEST(PointTypes, StartAtTheOriginAndHoldThreeDoubles) {
  sol_point points[3];
  const double* raw = &points[0].x;
  for (int i = 0; i < 9; ++i) EXPECT_EQ(raw[i], 0.0);
  points[1] = sol_point(1, 2, 3);
  EXPECT_EQ(raw[3], 1.0);
  EXPECT_EQ(raw[5], 3.0);
  sol_vector v;
  EXPECT_EQ(v.x + v.y + v.z, 0.0);
}

TEST(TransformationMatrix, StartsAsTheIdentityStoredRowByRow) {
  TransformationMatrix3D matrix;
  const double* raw = &matrix.m[0][0];
  for (int i = 0; i < 16; ++i) EXPECT_EQ(raw[i], i % 5 == 0 ? 1.0 : 0.0) << i;
  matrix.m[1][2] = 7.0;
  EXPECT_EQ(raw[6], 7.0);
  matrix.SetToIdentity();
  EXPECT_TRUE(SameBits(matrix, TransformationMatrix3D()));
}

TEST(TransformationMatrix, MapsRowVectorsTranslationInRowThreeColumnThreeIgnored) {
  TransformationMatrix3D matrix;
  matrix.m[3][0] = 10;
  matrix.m[3][1] = 20;
  matrix.m[3][2] = 30;
  ExpectPoint(sol_point(1, 2, 3) * matrix, 11, 22, 33);
  matrix.m[0][3] = 5;
  matrix.m[1][3] = -4;
  matrix.m[2][3] = 9;
  matrix.m[3][3] = 0;  // no homogeneous division either
  ExpectPoint(sol_point(1, 2, 3) * matrix, 11, 22, 33);
  // Row r of the linear part is the image of the r-th unit vector.
  TransformationMatrix3D linear =
      FromRows({{0, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}, {0, 0, 0, 1}});
  ExpectPoint(sol_point(1, 0, 0) * linear, 0, 1, 0);
  ExpectPoint(sol_point(0, 0, 1) * linear, 1, 0, 0);
}

TEST(TransformationMatrix, ProductMapsByTheLeftOperandFirst) {
  TransformationMatrix3D translate, scale;
  translate.m[3][0] = 1;
  for (int i = 0; i < 3; ++i) scale.m[i][i] = 2;
  ExpectPoint(sol_point() * (translate * scale), 2, 0, 0);
  ExpectPoint(sol_point() * (scale * translate), 1, 0, 0);
  // Either operand may receive the result.
  TransformationMatrix3D a = translate;
  a = a * scale;
  ExpectPoint(sol_point() * a, 2, 0, 0);
  TransformationMatrix3D b = scale;
  b = translate * b;
  ExpectPoint(sol_point() * b, 2, 0, 0);
  TransformationMatrix3D c = translate;
  c = c * c;
  ExpectPoint(sol_point() * c, 2, 0, 0);
}

TEST(TransformationMatrix, ProductIncludesColumnThree) {
  TransformationMatrix3D a =
      FromRows({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}});
  TransformationMatrix3D product = a * a;
  EXPECT_EQ(product.m[0][0], 90.0);   // 1 + 10 + 27 + 52
  EXPECT_EQ(product.m[3][3], 600.0);  // 52 + 112 + 180 + 256
  EXPECT_EQ(product.m[1][3], 280.0);  // 20 + 48 + 84 + 128
}

TEST(MatrixInverse, InvertsInPlace) {
  TransformationMatrix3D identity;
  EXPECT_EQ(identity.Inverse(), 0);
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) EXPECT_EQ(identity.m[r][c], r == c ? 1.0 : 0.0);  // -0.0 allowed

  // Scale by (2, 4, 8) then translate by (1, 2, 3), column 3 general.
  TransformationMatrix3D a = FromRows({{2, 0, 0, 0}, {0, 4, 0, 0}, {0, 0, 8, 0}, {1, 2, 3, 1}});
  ASSERT_EQ(a.Inverse(), 0);
  ExpectPoint(sol_point(3, 6, 11) * a, 1, 1, 1);
  EXPECT_EQ(a.m[3][0], -0.5);
  EXPECT_EQ(a.m[2][2], 0.125);

  // A tiny pivot is not a zero pivot.
  TransformationMatrix3D tiny =
      FromRows({{1e-300, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}});
  ASSERT_EQ(tiny.Inverse(), 0);
  EXPECT_DOUBLE_EQ(tiny.m[0][0], 1e300);
}

// Without row exchanges the pivot 1e-17 would swamp the 1 below it and the
// computed inverse would be far off; with them it is accurate.
TEST(MatrixInverse, ExchangesRowsForTheLargestPivot) {
  TransformationMatrix3D a = FromRows({{1e-17, 1, 0, 0}, {1, 1, 0, 0}, {0, 0, 0, 1}, {0, 0, 1, 0}});
  TransformationMatrix3D inverse = a;
  ASSERT_EQ(inverse.Inverse(), 0);
  TransformationMatrix3D product = a * inverse;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) EXPECT_NEAR(product.m[r][c], r == c ? 1.0 : 0.0, 1e-15) << r << c;
  EXPECT_NEAR(inverse.m[0][0], -1.0, 1e-15);
  EXPECT_NEAR(inverse.m[0][1], 1.0, 1e-15);
  EXPECT_EQ(inverse.m[2][3], 1.0);
  EXPECT_EQ(inverse.m[3][2], 1.0);
}

// A singular matrix is left bit for bit as it was, even after rows were
// exchanged; the result names the last column whose pivot was zero, 3 for
// the last pivot whatever came before, -1 for column 0 alone.
TEST(MatrixInverse, SingularMatricesAreRestoredAndNameTheZeroPivot) {
  struct Case {
    const char* what;
    double rows[4][4];
    int result;
  };
  const Case cases[] = {
      {"last pivot zero", {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}, 3},
      {"column 0 zero", {{0, 1, 0, 0}, {0, 2, 1, 0}, {0, 0, 3, 1}, {0, 1, 1, 1}}, -1},
      {"column 1 zero", {{1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 0, 1, 1}}, 1},
      {"column 2 zero", {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}, {0, 0, 0, 2}}, 2},
      {"columns 0 and 2 zero: the later wins",
       {{0, 1, 0, 0}, {0, 0, 0, 1}, {0, 2, 0, 0}, {0, 0, 0, 3}},
       2},
      {"column 0 zero and last pivot zero",
       {{0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 0, 0, 0}},
       3},
      {"zero pivot made by elimination",
       {{1, 2, 0, 0}, {2, 4, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}},
       1},
      {"rows exchanged before the zero pivot",
       {{1, 0, 0, 5}, {0, 0, 1, 6}, {3, 0, 2, 7}, {0, 0, 4, 8}},
       1},
      {"last pivot zero after exchanges",
       {{1, 2, 3, 4}, {2, 4, 6, 8}, {3, 1, 4, 1}, {5, 9, 2, 6}},
       3},
  };
  for (const Case& c : cases) {
    TransformationMatrix3D matrix = FromRows(c.rows);
    const TransformationMatrix3D before = matrix;
    EXPECT_EQ(matrix.Inverse(), c.result) << c.what;
    EXPECT_TRUE(SameBits(matrix, before)) << c.what;
  }
}

// Only exact zeros fail: NaN is not zero, so it runs through and spreads
// (0 x NaN is NaN) instead of failing.
TEST(MatrixInverse, NanIsNotAZeroPivot) {
  TransformationMatrix3D matrix;
  matrix.m[1][1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(matrix.Inverse(), 0);
  EXPECT_TRUE(isnan(matrix.m[1][1]));
}

TEST(NormalizeAngle, FoldsIntoZeroTo360Inclusive) {
  const struct {
    double in, out;
  } cases[] = {
      {-90, 270},    {360, 360},   {370, 10},     {-360, 0},      {720, 360},     {0, 0},
      {-0.5, 359.5}, {10000.5, 0}, {-10000.5, 0}, {-10000.0, 80}, {10000.0, 280}, {1e300, 0},
  };
  for (const auto& c : cases) EXPECT_DOUBLE_EQ(SERV_NormalizeAngle(c.in), c.out) << c.in;
  EXPECT_EQ(SERV_NormalizeAngle(std::numeric_limits<double>::infinity()), 0.0);
  EXPECT_EQ(SERV_NormalizeAngle(-std::numeric_limits<double>::infinity()), 0.0);
  EXPECT_TRUE(isnan(SERV_NormalizeAngle(std::numeric_limits<double>::quiet_NaN())));
}

TEST(NormalizeVector, ScalesToUnitLengthWithoutTesting) {
  sol_vector v(3, 0, 4);
  SERV_NormalizeVector(&v);
  EXPECT_DOUBLE_EQ(v.x, 0.6);
  EXPECT_EQ(v.y, 0.0);
  EXPECT_DOUBLE_EQ(v.z, 0.8);
  sol_vector zero;
  SERV_NormalizeVector(&zero);
  EXPECT_TRUE(isnan(zero.x) && isnan(zero.y) && isnan(zero.z));
}

}  // namespace
