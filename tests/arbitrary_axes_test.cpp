// The DXF arbitrary axis algorithm and the 3 x 3 inversion. The bulk of
// random extrusion directions is checked against ezdxf in
// geometry_peer_test.cpp; these are the branches and their boundaries.
#include "cadserv/arbitrary_axes.h"

#include <gtest/gtest.h>
#include <math.h>

#include <limits>

namespace {

struct Axes {
  double v[9];
};

void ExpectAxes(const double* axes, const Axes& expected, const char* what) {
  for (int i = 0; i < 9; ++i)
    EXPECT_NEAR(axes[i], expected.v[i], 1e-15) << what << " [" << i << "]";
}

TEST(ArbitraryAxes, NearlyVerticalDirectionsTakeFixedAxes) {
  double axes[9];
  EXPECT_TRUE(ACAD_CalcArbitraryAxes(axes, 0, 0, 1));
  ExpectAxes(axes, {{1, 0, 0, 0, 1, 0, 0, 0, 1}}, "up");
  // Within 0.001 of +Z counts as +Z, whatever x and y are.
  EXPECT_TRUE(ACAD_CalcArbitraryAxes(axes, 0.3, -0.2, 0.9995));
  ExpectAxes(axes, {{1, 0, 0, 0, 1, 0, 0, 0, 1}}, "nearly up");
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0, 0, -1));
  ExpectAxes(axes, {{-1, 0, 0, 0, 1, 0, 0, 0, -1}}, "down");
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0.3, 0.2, -0.9995));
  ExpectAxes(axes, {{-1, 0, 0, 0, 1, 0, 0, 0, -1}}, "nearly down");
}

// 0.999 and -0.999 themselves, and NaN, take the general branch.
TEST(ArbitraryAxes, GeneralBranchStartsAtTheThresholds) {
  double axes[9];
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0, 0, 0.999));
  ExpectAxes(axes, {{1, 0, 0, 0, 0.999 / 0.999, 0, 0, 0, 0.999}}, "0.999");
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0, 0, -0.999));
  ExpectAxes(axes, {{-1, 0, 0, 0, 1, 0, 0, 0, -0.999}}, "-0.999");
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0, 0, std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(isnan(axes[0]));
}

TEST(ArbitraryAxes, WorldZCrossExtrusionUnlessNearZ) {
  double axes[9];
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 1, 0, 0));
  ExpectAxes(axes, {{0, 1, 0, 0, 0, 1, 1, 0, 0}}, "+X");
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0, -2, 0));  // not normalised
  ExpectAxes(axes, {{1, 0, 0, 0, 0, 1, 0, -2, 0}}, "-2Y");

  // |nx| and |ny| below 1/64: world Y x extrusion, normalised.
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 0.01, 0, 0.5));
  const double len = sqrt(0.5 * 0.5 + 0.01 * 0.01);
  const double x[3] = {0.5 / len, 0, -0.01 / len};
  ExpectAxes(axes, {{x[0], x[1], x[2], 0, 1, 0, 0.01, 0, 0.5}}, "near Z");

  // 1/64 exactly is not below it: world Z is used.
  EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes, 1.0 / 64, 0, 0.5));
  ExpectAxes(axes,
             {{0, 1, 0, -0.5 / hypot(0.5, 1.0 / 64), 0, 1.0 / 64 / hypot(0.5, 1.0 / 64), 1.0 / 64,
               0, 0.5}},
             "at 1/64");
}

TEST(Invert3x3, InvertsInPlace) {
  double diagonal[9] = {2, 0, 0, 0, 4, 0, 0, 0, 8};
  ACAD_Invert3x3InPlace(diagonal);
  ExpectAxes(diagonal, {{0.5, 0, 0, 0, 0.25, 0, 0, 0, 0.125}}, "diagonal");
  double swap[9] = {0, 1, 0, 1, 0, 0, 0, 0, 1};
  ACAD_Invert3x3InPlace(swap);
  ExpectAxes(swap, {{0, 1, 0, 1, 0, 0, 0, 0, 1}}, "swap");

  // A general matrix: m x inverse(m) = I.
  const double m[9] = {2, -1, 0.5, 3, 1, -2, 0.25, 4, 1};
  double inv[9];
  for (int i = 0; i < 9; ++i) inv[i] = m[i];
  ACAD_Invert3x3InPlace(inv);
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) {
      double sum = 0;
      for (int k = 0; k < 3; ++k) sum += m[r * 3 + k] * inv[k * 3 + c];
      EXPECT_NEAR(sum, r == c ? 1 : 0, 1e-15) << r << c;
    }
}

TEST(Invert3x3, SingularGivesNonNumbersWithoutTesting) {
  double flat[9] = {1, 2, 3, 2, 4, 6, 0, 0, 1};
  ACAD_Invert3x3InPlace(flat);
  for (double e : flat) EXPECT_FALSE(isfinite(e));
}

}  // namespace
