// Entity contexts: the drawing's extrusion mapping, child contexts and
// block insertions with their accumulated mappings, the compose modes, and
// the bracket that applies an entity's own matrix. Expected mappings are
// products of plain 4 x 4 matrices built here, independently of Map3D.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>

#include "cadserv/cadserv.h"
#include "support/export_object.h"

namespace {

using cadserv_test::ExportObject;

constexpr double kDegree = 0.017453292519943295;

struct M4 {
  double m[4][4];
};

M4 Identity() {
  M4 r = {};
  for (int i = 0; i < 4; ++i) r.m[i][i] = 1;
  return r;
}

// a x b: a acts first (row vectors).
M4 operator*(const M4& a, const M4& b) {
  M4 r = {};
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      for (int k = 0; k < 4; ++k) r.m[i][j] += a.m[i][k] * b.m[k][j];
  return r;
}

M4 Translation(double x, double y, double z) {
  M4 r = Identity();
  r.m[3][0] = x;
  r.m[3][1] = y;
  r.m[3][2] = z;
  return r;
}

M4 ScalingAbout(double sx, double sy, double sz, const sol_point& c) {
  M4 s = Identity();
  s.m[0][0] = sx;
  s.m[1][1] = sy;
  s.m[2][2] = sz;
  return Translation(-c.x, -c.y, -c.z) * s * Translation(c.x, c.y, c.z);
}

// Counter-clockwise about the Z axis through (cx, cy).
M4 RotationAbout(double degrees, double cx, double cy) {
  M4 r = Identity();
  const double c = cos(degrees * kDegree), s = sin(degrees * kDegree);
  r.m[0][0] = c;
  r.m[0][1] = s;
  r.m[1][0] = -s;
  r.m[1][1] = c;
  return Translation(-cx, -cy, 0) * r * Translation(cx, cy, 0);
}

M4 Of(const Map3D& map) {
  M4 r;
  memcpy(r.m, map.m, sizeof r.m);
  return r;
}

sol_point Apply(const sol_point& p, const M4& m) {
  return sol_point(p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0],
                   p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1],
                   p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2]);
}

void ExpectMatrix(const Map3D& actual, const M4& expected, const char* what) {
  SCOPED_TRACE(what);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(actual.m[i][j], expected.m[i][j], 1e-9) << i << j;
}

bool SameMap(const Map3D& a, const Map3D& b) {
  return memcmp(a.m, b.m, sizeof a.m) == 0 && a.rotation == b.rotation && a.mirrorX == b.mirrorX &&
         a.mirrorY == b.mirrorY && a.mirrorZ == b.mirrorZ && a.allFlag == b.allFlag &&
         a.anyFlag == b.anyFlag;
}

// An entity matrix that does not commute with the insertions below: a
// shear plus a move, so every composition order gives its own result.
ServMatrix kEntityMatrix = {{1, 0.5, 0, 0}, {0, 1, 0, 0}, {0, 0, 2, 0}, {3, -1, 4, 1}};

M4 EntityM4() {
  M4 r;
  memcpy(r.m, kEntityMatrix, sizeof r.m);
  return r;
}

ACADinfo InfoWithExtrusion(double x, double y, double z) {
  ACADinfo info;
  SERV_InitACADinfo(&info, 0x8001);
  info.extrusion[0] = x;
  info.extrusion[1] = y;
  info.extrusion[2] = z;
  return info;
}

TEST(DrawingStart, ExtrusionSetsTheDrawingMapOfTheRoot) {
  ExportObject object;
  ACADinfo up = InfoWithExtrusion(0, 0, 1);
  EntityContext* root = object->BeginDrawing(&up);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->kind, 0);
  EXPECT_EQ(root->parent, nullptr);
  EXPECT_EQ(root->layerIndex, -1);
  EXPECT_EQ(root->size, sizeof(EntityContext));
  ExpectMatrix(root->drawingMap, Identity(), "+Z leaves it alone");
  EXPECT_EQ(object->BeginDrawing(nullptr), root);
  ExpectMatrix(root->drawingMap, Identity(), "no record leaves it alone");

  ACADinfo down = InfoWithExtrusion(0, 0, -1);
  object->BeginDrawing(&down);
  M4 flipped = Identity();
  flipped.m[0][0] = -1;
  flipped.m[2][2] = -1;
  ExpectMatrix(root->drawingMap, flipped, "-Z: diag(-1, 1, -1)");
  ExpectMatrix(root->combinedMap, Identity(), "combinedMap not recomputed");
  object->BeginDrawing(&down);
  ExpectMatrix(root->drawingMap, Identity(), "a second start composes again");
}

TEST(DrawingStart, TiltedExtrusionMapsTheObjectAxesToTheWorldAxes) {
  ExportObject object;
  const double n[3] = {0.6, 0, 0.8};
  ACADinfo info = InfoWithExtrusion(n[0], n[1], n[2]);
  EntityContext* root = object->BeginDrawing(&info);
  double axes[9];
  ASSERT_FALSE(ACAD_CalcArbitraryAxes(axes, n[0], n[1], n[2]));
  // Each object axis, written as a row, maps to its world axis.
  for (int a = 0; a < 3; ++a) {
    const sol_point mapped =
        Apply(sol_point(axes[3 * a], axes[3 * a + 1], axes[3 * a + 2]), Of(root->drawingMap));
    EXPECT_NEAR(mapped.x, a == 0, 1e-12) << a;
    EXPECT_NEAR(mapped.y, a == 1, 1e-12) << a;
    EXPECT_NEAR(mapped.z, a == 2, 1e-12) << a;
  }
}

TEST(ChildContext, CopiesItsParentAndKeepsItsOwnParms) {
  ExportObject object;
  ACADinfo down = InfoWithExtrusion(0, 0, -1);
  EntityContext* root = object->BeginDrawing(&down);
  root->filterSetting1 = 77;
  root->filterSetting2 = 88;
  EntityParms parms;
  SERV_ResetEntityParms(&parms);
  parms.colour = 5;

  EntityContext* child = object->BeginContext(root, 3, 0x42, &parms);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->kind, 1);
  EXPECT_EQ(child->parent, root);
  EXPECT_EQ(child->layerIndex, 3);
  EXPECT_EQ(child->flags, 0x42u);
  EXPECT_EQ(child->size, root->size);
  EXPECT_EQ(child->filterSetting1, 77u);
  EXPECT_EQ(child->filterSetting2, 88u);
  ASSERT_NE(child->parms, nullptr);
  EXPECT_NE(child->parms, &parms);
  EXPECT_EQ(memcmp(child->parms, &parms, sizeof parms), 0);
  EXPECT_TRUE(SameMap(child->drawingMap, root->drawingMap));
  EXPECT_TRUE(SameMap(child->entityMap, root->entityMap));
  // Without a matrix the child takes the parent's combinedMap as it is,
  // although the root's was not recomputed after the extrusion.
  EXPECT_TRUE(SameMap(child->combinedMap, root->combinedMap));

  EntityContext* bare = object->BeginContext(child, 1, 0, nullptr);
  ASSERT_NE(bare, nullptr);
  EXPECT_EQ(bare->parms, nullptr);
  EXPECT_EQ(bare->parent, child);
  EXPECT_EQ(object->EndContext(bare, 0), 1);
  EXPECT_EQ(object->EndContext(child, 0), 1);
  EXPECT_EQ(object->EndContext(nullptr, 0), 0);
  EXPECT_EQ(object->EndContext(root, 0), 0) << "the root stays with the object";
  EXPECT_EQ(root->filterSetting1, 77u);
  EXPECT_EQ(object->BeginContext(nullptr, 0, 0, &parms), nullptr);
}

TEST(BlockInsertion, MovesTheBlockToItsInsertionPoint) {
  ExportObject object;
  EntityContext* root = object->BeginDrawing(nullptr);
  const sol_point base(0, 0, 0), insertion(10, 5, 0), centre(0, 0, 0);
  EntityContext* child =
      object->BeginInsert(root, 0, 0, nullptr, &base, 1, 1, 1, &insertion, &centre, 0);
  ASSERT_NE(child, nullptr);
  const sol_point mapped = child->entityMap.MapPoint(sol_point(1, 1, 0));
  EXPECT_EQ(mapped.x, 11);
  EXPECT_EQ(mapped.y, 6);
  EXPECT_EQ(mapped.z, 0);
  EXPECT_EQ(child->parms, nullptr);
  EXPECT_EQ(object->EndContext(child, 0), 1);
  // Base, insertion point and centre are required.
  EXPECT_EQ(object->BeginInsert(root, 0, 0, nullptr, nullptr, 1, 1, 1, &insertion, &centre, 0),
            nullptr);
  EXPECT_EQ(object->BeginInsert(root, 0, 0, nullptr, &base, 1, 1, 1, nullptr, &centre, 0), nullptr);
  EXPECT_EQ(object->BeginInsert(root, 0, 0, nullptr, &base, 1, 1, 1, &insertion, nullptr, 0),
            nullptr);
  EXPECT_EQ(object->BeginInsert(nullptr, 0, 0, nullptr, &base, 1, 1, 1, &insertion, &centre, 0),
            nullptr);
}

// The insertion's own matrix: scale about the base point, move the base
// point to the insertion point, rotate about the centre.
M4 InsertionMatrix(const sol_point& base, double sx, double sy, double sz,
                   const sol_point& insertion, const sol_point& centre, double angle) {
  return ScalingAbout(sx, sy, sz, base) *
         Translation(insertion.x - base.x, insertion.y - base.y, insertion.z - base.z) *
         RotationAbout(angle, centre.x, centre.y);
}

TEST(BlockInsertion, NestedInsertsAccumulateInnerFirst) {
  ExportObject object;
  ACADinfo down = InfoWithExtrusion(0, 0, -1);
  EntityContext* root = object->BeginDrawing(&down);
  const M4 drawing = Of(root->drawingMap);

  const sol_point baseA(1, 1, 0), insA(10, 5, 0), centreA(10, 5, 0);
  EntityContext* outer =
      object->BeginInsert(root, 2, 0, nullptr, &baseA, 2, 3, 1, &insA, &centreA, 30);
  ASSERT_NE(outer, nullptr);
  const M4 a = InsertionMatrix(baseA, 2, 3, 1, insA, centreA, 30);
  ExpectMatrix(outer->entityMap, a, "outer entityMap");
  ExpectMatrix(outer->combinedMap, a * drawing, "outer combinedMap");

  const sol_point baseB(0, 0, 0), insB(2, 0, 1), centreB(2, 0, 0);
  EntityContext* inner =
      object->BeginInsert(outer, 4, 0, nullptr, &baseB, -0.5, 0.5, 0.5, &insB, &centreB, 90);
  ASSERT_NE(inner, nullptr);
  const M4 b = InsertionMatrix(baseB, -0.5, 0.5, 0.5, insB, centreB, 90);
  ExpectMatrix(inner->entityMap, b * a, "inner entityMap: the inner insertion acts first");
  ExpectMatrix(inner->combinedMap, b * a * drawing, "inner combinedMap");
  ExpectMatrix(inner->drawingMap, drawing, "drawingMap is inherited");
  EXPECT_DOUBLE_EQ(inner->entityMap.GetRotation(), 120);
  EXPECT_TRUE(inner->entityMap.GetMirrorX());
  EXPECT_FALSE(inner->entityMap.GetMirrorY());

  EXPECT_EQ(object->EndContext(inner, 0), 1);
  EXPECT_EQ(object->EndContext(outer, 0), 1);
}

// The entity matrix of a context's opening record, about its base point,
// in either compose mode; the base point maps through the parent's entityMap.
TEST(ComposeMode, DecidesWhereTheOpeningEntitysMatrixGoes) {
  const sol_point baseA(1, 1, 0), insA(10, 5, 0), centreA(0, 0, 0);
  const M4 parentMap = InsertionMatrix(baseA, 2, 2, 2, insA, centreA, 45);
  sol_point basePoint(1, 2, 3);
  const sol_point p = Apply(basePoint, parentMap);
  const M4 toBase = Translation(-p.x, -p.y, -p.z), back = Translation(p.x, p.y, p.z);
  struct Case {
    int32_t mode;
    M4 expected;
  };
  const Case cases[] = {
      {2, parentMap * toBase * EntityM4() * back},  // on the right
      {0, parentMap * toBase * EntityM4() * back},
      {1, EntityM4() * parentMap * toBase * back},  // on the left: the offsets cancel
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.mode);
    ExportObject object;
    ACADinfo down = InfoWithExtrusion(0, 0, -1);
    EntityContext* root = object->BeginDrawing(&down);
    object->SetModes(0, c.mode);
    EntityContext* parent =
        object->BeginInsert(root, 0, 0, nullptr, &baseA, 2, 2, 2, &insA, &centreA, 45);
    EntityParms parms;
    SERV_ResetEntityParms(&parms);
    parms.matrix = &kEntityMatrix;
    parms.basePoint = &basePoint;

    EntityContext* child = object->BeginContext(parent, 0, 0, &parms);
    ASSERT_NE(child, nullptr);
    ExpectMatrix(child->entityMap, c.expected, "BeginContext entityMap");
    ExpectMatrix(child->combinedMap, c.expected * Of(root->drawingMap), "combinedMap");
    EXPECT_EQ(child->parms->matrix, &kEntityMatrix) << "BeginContext keeps the copy's matrix";

    // BeginInsert applies the reference's matrix the same way, then its
    // insertion on the left; the child's copy carries no matrix and the
    // caller's record keeps its own.
    const sol_point base(0, 0, 0), insertion(0, 7, 0), centre(0, 7, 0);
    EntityContext* insert =
        object->BeginInsert(parent, 0, 0, &parms, &base, 1, 1, 1, &insertion, &centre, 90);
    ASSERT_NE(insert, nullptr);
    const M4 insertionMatrix = InsertionMatrix(base, 1, 1, 1, insertion, centre, 90);
    ExpectMatrix(insert->entityMap, insertionMatrix * c.expected, "BeginInsert entityMap");
    EXPECT_EQ(insert->parms->matrix, nullptr);
    EXPECT_EQ(insert->parms->basePoint, &basePoint) << "a shallow copy otherwise";
    EXPECT_EQ(parms.matrix, &kEntityMatrix);

    object->EndContext(insert, 0);
    object->EndContext(child, 0);
    object->EndContext(parent, 0);
  }
}

TEST(EntityBracket, AppliesTheMatrixOnTheLeftAndTakesItBack) {
  ExportObject object;
  ACADinfo down = InfoWithExtrusion(0, 0, -1);
  EntityContext* root = object->BeginDrawing(&down);
  object->SetModes(0, 2);  // the bracket composes on the left whatever the mode
  const sol_point base(1, 1, 0), insertion(10, 5, 0), centre(3, 4, 0);
  EntityContext* context =
      object->BeginInsert(root, 0, 0, nullptr, &base, 2, 1, 1, &insertion, &centre, 60);
  ASSERT_NE(context, nullptr);
  const Map3D entityBefore = context->entityMap;
  const Map3D combinedBefore = context->combinedMap;

  EntityParms parms;
  SERV_ResetEntityParms(&parms);
  parms.matrix = &kEntityMatrix;
  sol_point entityBase(2, -1, 5);
  SavedTransformation* saved =
      SERV_ProcessEntityTransformation(context, &parms.matrix, &entityBase);
  ASSERT_NE(saved, nullptr);
  EXPECT_EQ(parms.matrix, nullptr) << "not applied a second time further down";
  const sol_point p = Apply(entityBase, Of(entityBefore));
  const M4 expected =
      EntityM4() * Of(entityBefore) * Translation(-p.x, -p.y, -p.z) * Translation(p.x, p.y, p.z);
  ExpectMatrix(context->entityMap, expected, "entityMap during the entity");
  ExpectMatrix(context->combinedMap, expected * Of(root->drawingMap), "combinedMap");

  const Map3D entityDuring = context->entityMap;
  EXPECT_EQ(SERV_ProcessEntityTransformation(context, &parms.matrix, &entityBase), nullptr);
  EXPECT_TRUE(SameMap(context->entityMap, entityDuring)) << "nothing left to apply";

  SERV_RestoreEntityTransformation(context, &parms.matrix, saved);
  EXPECT_EQ(parms.matrix, &kEntityMatrix);
  EXPECT_TRUE(SameMap(context->entityMap, entityBefore));
  EXPECT_TRUE(SameMap(context->combinedMap, combinedBefore));

  // Entities without a matrix go through the same bracket untouched.
  EntityParms plain;
  SERV_ResetEntityParms(&plain);
  EXPECT_EQ(SERV_ProcessEntityTransformation(context, &plain.matrix, nullptr), nullptr);
  EXPECT_EQ(SERV_ProcessEntityTransformation(context, nullptr, nullptr), nullptr);
  SERV_RestoreEntityTransformation(context, &plain.matrix, nullptr);
  EXPECT_EQ(plain.matrix, nullptr);
  EXPECT_TRUE(SameMap(context->entityMap, entityBefore));
  object->EndContext(context, 0);
}

TEST(EntityBracket, WithoutABasePointTheMatrixActsAboutTheOrigin) {
  ExportObject object;
  EntityContext* root = object->BeginDrawing(nullptr);
  ServMatrix* slot = &kEntityMatrix;
  SavedTransformation* saved = SERV_ProcessEntityTransformation(root, &slot, nullptr);
  ASSERT_NE(saved, nullptr);
  ExpectMatrix(root->entityMap, EntityM4(), "the matrix alone");
  const sol_point mapped = root->combinedMap.MapPoint(sol_point(1, 1, 1));
  EXPECT_NEAR(mapped.x, 4, 1e-12);
  EXPECT_NEAR(mapped.y, 0.5, 1e-12);
  EXPECT_NEAR(mapped.z, 6, 1e-12);
  SERV_RestoreEntityTransformation(root, &slot, saved);
  ExpectMatrix(root->entityMap, Identity(), "restored");
  EXPECT_EQ(slot, &kEntityMatrix);
}

}  // namespace
