// Map3D: a coordinate mapping (a TransformationMatrix3D) with a cache of how
// it was built: the accumulated rotation in the XY plane (degrees, kept in
// [0, 360]) and one mirror flag per axis. The cache is not derived from the
// matrix; only the operations below change it, each as its comment says.
// "Appending" T makes the matrix M x T: T acts after everything before.
// Angles are in degrees. Getters return plain values (a const on a returned
// scalar means nothing to callers and is not part of the exported names).
#ifndef CADSERV_MAP3D_H
#define CADSERV_MAP3D_H

#include "cadserv/export.h"
#include "cadserv/geometry.h"

#ifdef __cplusplus

class CADSERV_API Map3D : public TransformationMatrix3D {
 public:
  Map3D();  // identity, rotation 0, no mirror, allFlag true, anyFlag false
  Map3D(const Map3D& other);
  // Scale(sx, sy, sz) about (scx, scy, scz), then RotateXY(angle) about
  // (rcx, rcy), rotation += angle, then Offset(dx, dy, dz). rcz is not used.
  Map3D(double sx, double sy, double sz, double angle, double dx, double dy, double dz, double rcx,
        double rcy, double rcz, double scx, double scy, double scz);
  ~Map3D();
  Map3D& operator=(const Map3D& other);  // matrix and all six cache fields

  void SetToIdentity();                     // matrix and cache back to their initial state
  void SetMatrix(double (*const m)[4][4]);  // as SetToIdentity, then copies *m (not analysed)
  void GetMatrix(double (*m)[4][4]);
  double GetRotation() const;
  bool GetMirrorX() const;
  bool GetMirrorY() const;
  bool GetMirrorZ() const;

  // Composition. Both combine the caches alike: rotations added (folded),
  // mirror flags exclusive-or, allFlag and, anyFlag or. `other` may be *this.
  Map3D& ComposeLeft(const Map3D& other);   // other acts first, then this mapping
  Map3D& ComposeRight(const Map3D& other);  // this mapping first, then other

  void Offset(double dx, double dy, double dz);  // cache unchanged
  // Scaling about (cx, cy, cz); a factor below 0.0 toggles that axis's mirror flag.
  void Scale(double sx, double sy, double sz, double cx, double cy, double cz);
  void Mirror(bool mx, bool my, bool mz, double cx, double cy, double cz);  // Scale by -1 / 1
  // Counter-clockwise rotations seen from the positive end of the axis through
  // the centre; the centre coordinate along the axis is not used. Cache unchanged.
  void RotateXY(double angle, double cx, double cy, double cz);
  void RotateYZ(double angle, double cx, double cy, double cz);
  void RotateZX(double angle, double cx, double cy, double cz);
  // RotateXY about (cx, cy) and rotation += angle (folded into [0, 360]).
  void Rotate2D(double angle, double cx, double cy);
  // Appends the view from `eye` on `target`: the target becomes the origin,
  // X points right, Y up, the view looks along -Z; then twists by `twist`
  // about Z. Cache unchanged.
  void SetCamera(const sol_point& eye, const sol_point& target, const double& twist);
  // Inverts the matrix (TransformationMatrix3D::Inverse, same results); on
  // success rotation becomes -rotation folded; on failure nothing changes.
  int Inverse();

  // Mapping. Points take the translation, vectors do not.
  sol_point MapPoint(const sol_point& p) const;
  // dst[i] = src[i] x M for i < count; count <= 0 does nothing; dst may be src.
  void MapPointArray(sol_point* const src, sol_point* dst, int count) const;
  void MapPointArrayInPlace(sol_point* points, int count) const;
  sol_vector MapVector(const sol_vector& v) const;
  sol_vector MapVectorComponents(double dx, double dy, double dz) const;
  double MapDistanceX(double d) const;  // length of the image of (d, 0, 0)
  double MapDistanceY(double d) const;  // length of the image of (0, d, 0)
  // t times the largest absolute diagonal element, or for a matrix whose
  // three diagonal elements are zero (an axis permutation) t times the
  // root-mean-square of the off-diagonal pair sums.
  double MapThickness(double t) const;
  // Not computed: both always answer -1e306, a value no distance can have.
  double MapDistance(const sol_point& a, const sol_point& b) const;
  double MapDistanceAlongVector(double d, double vx, double vy, double vz) const;
  // The angle mapped by the X and Y mirror flags only (rotation takes no
  // part), folded into [0, 360].
  double MapAngle2D(double angle) const;
  // Both angles mapped as MapAngle2D; swapped when exactly one of the X and
  // Y mirror flags is set (the arc runs the other way).
  void MapArcAngles2D(double* start, double* end) const;

  double rotation;
  bool mirrorX;
  bool mirrorY;
  bool mirrorZ;
  bool allFlag;  // starts true, composes by and; the library never reads it
  bool anyFlag;  // starts false, composes by or; the library never reads it
};

#endif

#endif  // CADSERV_MAP3D_H
