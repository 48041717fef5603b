// Points, vectors and vector normalisation.
#include <math.h>

#include "cadserv/geometry.h"

sol_point::sol_point() : x(0.0), y(0.0), z(0.0) {}
sol_point::sol_point(double x, double y, double z) : x(x), y(y), z(z) {}

sol_vector::sol_vector() : x(0.0), y(0.0), z(0.0) {}
sol_vector::sol_vector(double x, double y, double z) : x(x), y(y), z(z) {}

// The length is not tested: a zero vector gives 0 x infinity, NaN.
CADSERV_CAPI void SERV_NormalizeVector(sol_vector* v) {
  const double f = 1.0 / sqrt(v->x * v->x + v->y * v->y + v->z * v->z);
  v->x *= f;
  v->y *= f;
  v->z *= f;
}
