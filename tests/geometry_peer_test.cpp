// The geometry against ezdxf, a DXF library nobody here wrote
// (tests/support/ezdxf_peer.py): the arbitrary axis algorithm, 4 x 4
// products and inverses, and chains of scalings, rotations and offsets, on a
// few hundred seeded random cases each, to 1e-12 relative to the largest
// element of the peer's answer. These tests fail when ezdxf is missing.
#include <gtest/gtest.h>
#include <math.h>
#include <stdio.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "cadserv/arbitrary_axes.h"
#include "cadserv/map3d.h"
#include "support/ezdxf_peer.h"

namespace {

constexpr double kRelativeTolerance = 1e-12;

std::string Number(double value) {
  char text[32];
  snprintf(text, sizeof text, "%.17g", value);
  return text;
}

std::string Numbers(const TransformationMatrix3D& matrix) {
  std::string text;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) text += " " + Number(matrix.m[r][c]);
  return text;
}

std::vector<double> Elements(const TransformationMatrix3D& matrix) {
  std::vector<double> values;
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 4; ++c) values.push_back(matrix.m[r][c]);
  return values;
}

// Ours and the peer's agree to kRelativeTolerance of the peer's largest
// element magnitude.
::testing::AssertionResult AgreeWithPeer(const std::vector<double>& ours,
                                         const std::vector<double>& theirs) {
  if (ours.size() != theirs.size())
    return ::testing::AssertionFailure()
           << "the peer gave " << theirs.size() << " numbers, we " << ours.size();
  double scale = 0.0;
  for (double value : theirs) scale = std::max(scale, fabs(value));
  for (size_t i = 0; i < ours.size(); ++i)
    if (!(fabs(ours[i] - theirs[i]) <= kRelativeTolerance * scale))
      return ::testing::AssertionFailure()
             << "element " << i << ": ours " << Number(ours[i]) << ", ezdxf " << Number(theirs[i]);
  return ::testing::AssertionSuccess();
}

std::vector<std::vector<double>> Ask(const std::vector<std::string>& questions) {
  std::vector<std::vector<double>> answers;
  std::string error;
  EXPECT_TRUE(cadserv_test::AskEzdxf(questions, &answers, &error)) << error;
  return answers;
}

class EzdxfPeer : public ::testing::Test {
 protected:
  double Uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
  }
  int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
  // A scale factor of either sign, kept away from zero so that every chain
  // stays well conditioned.
  double Factor() { return (Below(2) ? -1.0 : 1.0) * Uniform(0.2, 3.0); }

  // A 4 x 4 matrix, column 3 included, that is well conditioned but needs
  // row exchanges: a diagonally dominant matrix with its rows shuffled,
  // scaled by a random power of ten.
  TransformationMatrix3D ShuffledDominant() {
    TransformationMatrix3D dominant;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) dominant.m[r][c] = Uniform(-1.0, 1.0) + (r == c ? 5.0 : 0.0);
    int order[4] = {0, 1, 2, 3};
    std::shuffle(order, order + 4, random_);
    const double scale = pow(10.0, Below(7) - 3);
    TransformationMatrix3D shuffled;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) shuffled.m[r][c] = dominant.m[order[r]][c] * scale;
    return shuffled;
  }

  // A mapping as filters build them: random rotations about random centres,
  // scalings (mirrors included) and offsets, appended one after another.
  // `steps` receives the same chain in the peer's words.
  Map3D RandomChain(std::string* steps) {
    Map3D map;
    const int count = 1 + Below(6);
    for (int i = 0; i < count; ++i) {
      const double a = Uniform(-720.0, 720.0), u = Uniform(-100.0, 100.0),
                   v = Uniform(-100.0, 100.0), w = Uniform(-100.0, 100.0);
      switch (Below(5)) {
        case 0: {
          const double sx = Factor(), sy = Factor(), sz = Factor();
          map.Scale(sx, sy, sz, u, v, w);
          *steps += " S " + Number(sx) + " " + Number(sy) + " " + Number(sz) + " " + Number(u) +
                    " " + Number(v) + " " + Number(w);
          break;
        }
        case 1:
          map.RotateXY(a, u, v, w);
          *steps += " XY " + Number(a) + " " + Number(u) + " " + Number(v);
          break;
        case 2:
          map.RotateYZ(a, u, v, w);
          *steps += " YZ " + Number(a) + " " + Number(v) + " " + Number(w);
          break;
        case 3:
          map.RotateZX(a, u, v, w);
          *steps += " ZX " + Number(a) + " " + Number(u) + " " + Number(w);
          break;
        default:
          map.Offset(u, v, w);
          *steps += " T " + Number(u) + " " + Number(v) + " " + Number(w);
          break;
      }
    }
    return map;
  }

  std::mt19937_64 random_{20261123};
};

// The general branch: directions whose z lies within (-0.999, 0.999); half
// of them also scaled by a random length, which leaves X and Y unchanged and
// Z the direction as given.
TEST_F(EzdxfPeer, ArbitraryAxesOfRandomExtrusions) {
  std::vector<std::string> questions;
  std::vector<std::vector<double>> ours;
  std::vector<double> lengths;
  while (questions.size() < 400) {
    double n[3] = {Uniform(-1.0, 1.0), Uniform(-1.0, 1.0), Uniform(-1.0, 1.0)};
    const double norm = sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (norm < 0.1 || norm > 1.0) continue;  // uniform directions
    for (double& c : n) c /= norm;
    double length = questions.size() % 2 ? Uniform(0.2, 1.0) : 1.0;
    const double k[3] = {n[0] * length, n[1] * length, n[2] * length};
    if (fabs(k[2]) >= 0.999 || (fabs(k[0]) < 1.0 / 64 && fabs(k[1]) < 1.0 / 64)) continue;
    std::vector<double> axes(9);
    EXPECT_FALSE(ACAD_CalcArbitraryAxes(axes.data(), k[0], k[1], k[2]));
    ours.push_back(axes);
    lengths.push_back(length);
    questions.push_back("ocs " + Number(n[0]) + " " + Number(n[1]) + " " + Number(n[2]));
  }
  std::vector<std::vector<double>> theirs = Ask(questions);
  ASSERT_EQ(theirs.size(), questions.size());
  for (size_t i = 0; i < questions.size(); ++i) {
    ASSERT_EQ(theirs[i].size(), 9u) << questions[i];
    for (int c = 6; c < 9; ++c) theirs[i][c] *= lengths[i];
    EXPECT_TRUE(AgreeWithPeer(ours[i], theirs[i])) << questions[i] << " times " << lengths[i];
  }
}

TEST_F(EzdxfPeer, ProductsAndInversesOfRandomMatrices) {
  std::vector<std::string> questions;
  std::vector<std::vector<double>> ours;
  for (int i = 0; i < 300; ++i) {
    TransformationMatrix3D a = ShuffledDominant();
    TransformationMatrix3D b = ShuffledDominant();
    questions.push_back("mul" + Numbers(a) + Numbers(b));
    ours.push_back(Elements(a * b));
    questions.push_back("inv" + Numbers(a));
    TransformationMatrix3D inverse = a;
    EXPECT_EQ(inverse.Inverse(), 0) << questions.back();
    ours.push_back(Elements(inverse));
  }
  // Mappings as filters build them, with column 3 = (0, 0, 0, 1): Map3D's
  // own Inverse answers the same.
  for (int i = 0; i < 200; ++i) {
    std::string steps;
    Map3D map = RandomChain(&steps);
    questions.push_back("inv" + Numbers(map));
    EXPECT_EQ(map.Inverse(), 0) << questions.back();
    ours.push_back(Elements(map));
  }
  std::vector<std::vector<double>> theirs = Ask(questions);
  ASSERT_EQ(theirs.size(), questions.size());
  for (size_t i = 0; i < questions.size(); ++i)
    EXPECT_TRUE(AgreeWithPeer(ours[i], theirs[i])) << questions[i];
}

TEST_F(EzdxfPeer, ChainsOfScalesRotationsAndOffsets) {
  std::vector<std::string> questions;
  std::vector<std::vector<double>> ours;
  for (int i = 0; i < 300; ++i) {
    std::string steps;
    Map3D map = RandomChain(&steps);
    questions.push_back("map" + steps);
    ours.push_back(Elements(map));
  }
  std::vector<std::vector<double>> theirs = Ask(questions);
  ASSERT_EQ(theirs.size(), questions.size());
  for (size_t i = 0; i < questions.size(); ++i)
    EXPECT_TRUE(AgreeWithPeer(ours[i], theirs[i])) << questions[i];
}

}  // namespace
