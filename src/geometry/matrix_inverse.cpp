// TransformationMatrix3D::Inverse: LU factorisation with partial pivoting,
// then inversion from the factors, in place (the scheme of LINPACK's DGEFA
// and DGEDI). Every step is done in the order written so that results are
// reproducible to the bit; there is no tolerance, only an exact zero pivot
// fails.
#include <math.h>

#include "cadserv/geometry.h"

namespace {

// The failure result when column 0 alone had a zero pivot: its index, 0,
// is the success result.
constexpr int kZeroPivotInFirstColumn = -1;
constexpr int kNoFailure = -2;

using Elements = double[4][4];

// Factorises a into L and U in place: U on and above the diagonal, the
// negated multipliers below it; pivot[k] is the row swapped into row k.
// Returns the last column whose pivot was zero, or kNoFailure.
int Factorise(Elements& a, int (&pivot)[4]) {
  int failedColumn = kNoFailure;
  for (int k = 0; k < 3; ++k) {
    int l = k;
    for (int i = k + 1; i < 4; ++i)
      if (fabs(a[i][k]) > fabs(a[l][k])) l = i;  // the first of equal maxima stays
    pivot[k] = l;
    if (a[l][k] == 0.0) {
      failedColumn = k;
      continue;
    }
    if (l != k)
      for (int c = k; c < 4; ++c) {
        const double swap = a[l][c];
        a[l][c] = a[k][c];
        a[k][c] = swap;
      }
    const double t = -1.0 / a[k][k];
    for (int j = k + 1; j < 4; ++j) {
      a[j][k] = t * a[j][k];
      for (int i = k + 1; i < 4; ++i) a[j][i] = a[j][i] + a[j][k] * a[k][i];
    }
  }
  pivot[3] = 3;
  return failedColumn;
}

// Replaces U by its inverse.
void InvertUpper(Elements& a) {
  for (int k = 0; k < 4; ++k) {
    a[k][k] = 1.0 / a[k][k];
    const double t = -a[k][k];
    for (int i = 0; i < k; ++i) a[i][k] = t * a[i][k];
    for (int j = k + 1; j < 4; ++j) {
      const double u = a[k][j];
      a[k][j] = 0.0;
      for (int i = 0; i <= k; ++i) a[i][j] = a[i][j] + u * a[i][k];
    }
  }
}

// Multiplies inverse(U) by inverse(L) from the right, undoing the row swaps
// as column swaps.
void ApplyLowerInverse(Elements& a, const int (&pivot)[4]) {
  for (int k = 2; k >= 0; --k) {
    double work[4];
    for (int i = k + 1; i < 4; ++i) {
      work[i] = a[i][k];
      a[i][k] = 0.0;
    }
    for (int j = k + 1; j < 4; ++j)
      for (int r = 0; r < 4; ++r) a[r][k] = a[r][k] + work[j] * a[r][j];
    const int l = pivot[k];
    if (l != k)
      for (int r = 0; r < 4; ++r) {
        const double swap = a[r][k];
        a[r][k] = a[r][l];
        a[r][l] = swap;
      }
  }
}

}  // namespace

int TransformationMatrix3D::Inverse() {
  const TransformationMatrix3D saved = *this;
  int pivot[4];
  const int failedColumn = Factorise(m, pivot);
  if (m[3][3] == 0.0) {
    *this = saved;
    return 3;
  }
  if (failedColumn != kNoFailure) {
    *this = saved;
    return failedColumn == 0 ? kZeroPivotInFirstColumn : failedColumn;
  }
  InvertUpper(m);
  ApplyLowerInverse(m, pivot);
  return 0;
}
