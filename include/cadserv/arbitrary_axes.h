// The DXF arbitrary axis algorithm and a plain 3 x 3 inversion. Both work on
// nine doubles stored row by row (m0 m1 m2 / m3 m4 m5 / m6 m7 m8).
#ifndef CADSERV_ARBITRARY_AXES_H
#define CADSERV_ARBITRARY_AXES_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "cadserv/export.h"

// Fills axes[0..2], [3..5], [6..8] with the X, Y and Z axes of the object
// coordinate system of the extrusion direction (nx, ny, nz). nz > 0.999: the
// world axes, result true. nz < -0.999: X = (-1, 0, 0), Y = (0, 1, 0),
// Z = (0, 0, -1), false. Otherwise Z = (nx, ny, nz) as given (not
// normalised), X = world Y x Z when |nx| and |ny| are both below 1/64, else
// world Z x Z, normalised; Y = Z x X normalised; false.
CADSERV_CAPI bool ACAD_CalcArbitraryAxes(double* axes, double nx, double ny, double nz);

// Inverts m in place by the adjugate over the determinant. No pivoting and no
// singularity test: a zero determinant gives infinities or NaN.
CADSERV_CAPI void ACAD_Invert3x3InPlace(double* m);

#endif  // CADSERV_ARBITRARY_AXES_H
