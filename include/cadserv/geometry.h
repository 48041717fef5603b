// Points, vectors and the 4 x 4 transformation matrix that every geometric
// service of the library works on, with the two small helpers that fold an
// angle and normalise a vector.
//
// Layout is part of the interface: a point is three doubles x, y, z and
// nothing else, so an array of points is a contiguous run of triples; a
// matrix is 16 doubles stored row after row. Points are row vectors
// multiplied on the left: the image of (x, y, z) is (x, y, z, 1) x M, so
// rows 0-2 hold the linear part, row 3 the translation, and A x B maps by A
// first, then by B. Column 3 takes part in products and inversion but no
// mapping reads it. Angles are in degrees.
#ifndef CADSERV_GEOMETRY_H
#define CADSERV_GEOMETRY_H

#include "cadserv/export.h"

#ifdef __cplusplus

// A position.
class CADSERV_API sol_point {
 public:
  sol_point();  // the origin
  sol_point(double x, double y, double z);

  double x;
  double y;
  double z;
};

// A direction or a displacement.
class CADSERV_API sol_vector {
 public:
  sol_vector();  // the zero vector
  sol_vector(double x, double y, double z);

  double x;
  double y;
  double z;
};

// A 4 x 4 matrix of doubles, row-vector convention; m[r][c] is row r, column c.
class CADSERV_API TransformationMatrix3D {
 public:
  TransformationMatrix3D();  // the identity
  TransformationMatrix3D(const TransformationMatrix3D& other) = default;
  ~TransformationMatrix3D();
  TransformationMatrix3D& operator=(const TransformationMatrix3D& other);  // copies all 16

  void SetToIdentity();
  // Replaces the matrix by its inverse (LU factorisation with partial
  // pivoting, no tolerance: only an exact zero pivot is singular). Returns 0
  // on success. On failure the matrix is left exactly as it was and the
  // result is 3 when the last pivot is zero, else the last column (1 or 2)
  // whose pivot was zero, else -1 (a zero pivot in column 0 only).
  int Inverse();

  double m[4][4];
};

// a x b, element [i][j] summed over k = 0..3 in that order. Either operand
// may also receive the result.
CADSERV_API TransformationMatrix3D operator*(const TransformationMatrix3D& a,
                                             const TransformationMatrix3D& b);
// The image of p: (x, y, z, 1) x m; column 3 is not read, nothing is divided.
CADSERV_API sol_point operator*(const sol_point& p, const TransformationMatrix3D& m);

static_assert(sizeof(sol_point) == 3 * sizeof(double), "a point is three doubles");
static_assert(sizeof(sol_vector) == 3 * sizeof(double), "a vector is three doubles");
static_assert(sizeof(TransformationMatrix3D) == 16 * sizeof(double), "a matrix is 16 doubles");

#else
// C callers see the vector as its three doubles.
typedef struct sol_vector {
  double x;
  double y;
  double z;
} sol_vector;
#endif

// Folds an angle in degrees into [0, 360]: 0 when |angle| > 10000, else 360
// is added while below 0 and subtracted while above 360 (360 stays 360, -360
// becomes 0). NaN stays NaN.
CADSERV_CAPI double SERV_NormalizeAngle(double angle);

// Scales *v to unit length by 1 / sqrt(x² + y² + z²); a zero vector becomes
// non-numbers (the length is not tested).
CADSERV_CAPI void SERV_NormalizeVector(sol_vector* v);

#endif  // CADSERV_GEOMETRY_H
