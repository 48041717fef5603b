// The export support object: lifetime and the module's object count,
// interface answers and slot order, code page, device flags, units, bounds,
// extents, and the operations that are not built yet.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>

#include <cstring>

#include "cadserv/cadserv.h"
#include "export/export_support_object.h"
#include "frame/module_state.h"
#include "support/export_object.h"

namespace {

using cadserv::exporting::ExportSupport;
using cadserv::frame::ObjectCount;
using cadserv::frame::ServerLockCount;
using cadserv_test::ExportObject;

const ExportSupport& Impl(const ExportObject& object) {
  return *static_cast<const ExportSupport*>(object.get());
}

TEST(ExportSupportLifetime, CountedInTheModuleUntilTheLastRelease) {
  cadserv_test::TempSettingsStore store;
  const int32_t before = ObjectCount();
  IExportSupport* object = GetExportSupportInterface(0, 0);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(ObjectCount(), before + 1);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_EQ(object->AddRef(), 2u);
  EXPECT_EQ(ObjectCount(), before + 1) << "references are not objects";
  EXPECT_EQ(object->Release(), 1u);
  EXPECT_EQ(object->GetCodePage(), object->GetCodePage()) << "still alive";
  EXPECT_EQ(ObjectCount(), before + 1);
  EXPECT_EQ(object->Release(), 0u);
  EXPECT_EQ(ObjectCount(), before);
  if (before == 0 && ServerLockCount() <= 0) {
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
  }
}

TEST(ExportSupportLifetime, QueryInterfaceAnswersIUnknownAndItsOwnInterface) {
  ExportObject object;
  for (const IID& iid : {IID_IUnknown, IID_IExportSupport}) {
    void* out = reinterpret_cast<void*>(0xDEADBEEF);
    ASSERT_EQ(object->QueryInterface(&iid, &out), S_OK);
    EXPECT_EQ(out, static_cast<void*>(object.get()));
    EXPECT_EQ(object->Release(), 1u) << "QueryInterface added one reference";
  }
  for (const IID& iid : {IID_IServStream, IID_IClassFactory, IID_IRasterReader}) {
    void* out = reinterpret_cast<void*>(0xDEADBEEF);
    EXPECT_EQ(object->QueryInterface(&iid, &out), E_NOINTERFACE);
    EXPECT_EQ(out, nullptr);
  }
}

#if defined(__GNUC__)
// Under the Itanium C++ ABI a pointer to a virtual member holds 1 + the
// slot's byte offset in the table.
template <typename Member>
size_t SlotOf(Member member) {
  struct {
    uintptr_t pointer;
    ptrdiff_t adjustment;
  } raw;
  static_assert(sizeof raw == sizeof member, "virtual member pointers are two words");
  memcpy(&raw, &member, sizeof raw);
  return (raw.pointer - 1) / sizeof(void*);
}

TEST(ExportSupportLifetime, OperationsStandInTheDocumentedSlots) {
  EXPECT_EQ(SlotOf(&IExportSupport::QueryInterface), 0u);
  EXPECT_EQ(SlotOf(&IExportSupport::Release), 2u);
  EXPECT_EQ(SlotOf(&IExportSupport::InitLayerTable), 3u);
  EXPECT_EQ(SlotOf(&IExportSupport::GetLayer), 6u);
  EXPECT_EQ(SlotOf(&IExportSupport::BeginInsert), 8u);
  EXPECT_EQ(SlotOf(&IExportSupport::EndTables), 12u);
  EXPECT_EQ(SlotOf(&IExportSupport::Reserved1), 14u);
  EXPECT_EQ(SlotOf(&IExportSupport::SetCodePage), 17u);
  EXPECT_EQ(SlotOf(&IExportSupport::CreateRaster), 20u);
  EXPECT_EQ(SlotOf(&IExportSupport::BeginDrawing), 24u);
  EXPECT_EQ(SlotOf(&IExportSupport::DashPolyline), 27u);
  EXPECT_EQ(SlotOf(&IExportSupport::AddExtents), 28u);
  EXPECT_EQ(SlotOf(&IExportSupport::EmitCurve), 31u);
  EXPECT_EQ(SlotOf(&IExportSupport::RegisterPredefinedPatterns), 33u);
}
#endif

TEST(ExportSupportState, CodePageStartsAsTheRegisteredInputCodePage) {
  ExportObject object;
  EXPECT_EQ(object->GetCodePage(), 1250u);
  EXPECT_EQ(object->SetCodePage(932), 1250u);
  EXPECT_EQ(object->SetCodePage(65001), 932u);
  EXPECT_EQ(object->GetCodePage(), 65001u);
}

TEST(ExportSupportState, DeviceFlagsComeFromTheMaker) {
  ExportObject object(0xF0);
  EXPECT_EQ(Impl(object).DeviceFlags(), 0xF0u);
  object->SetDeviceFlags(0x10);
  EXPECT_EQ(Impl(object).DeviceFlags(), 0x10u);
}

TEST(ExportSupportState, HeaderIsADrawingDescriptionOfVersion0x8001) {
  ExportObject object;
  EXPECT_EQ(Impl(object).Header().version, 0x8001);
  EXPECT_EQ(Impl(object).Header().versionIsNot8, 1);
  EXPECT_EQ(object->Reserved1(ServReservedArgs{}), 0);
  EXPECT_EQ(object->Reserved2(7), 0);
}

TEST(ExportSupportState, SetUnitsLabelsTheHeaderAndReturnsItsValue) {
  ExportObject object;
  struct Case {
    int32_t unit;
    const char* abbreviation;
  };
  for (const Case& c : {Case{17, "in"}, Case{18, "ft"}, Case{33, "mm"}, Case{34, "cm"},
                        Case{67, "m"}, Case{68, "km"}, Case{129, "pt"}, Case{130, "tw"},
                        Case{257, "pe"}, Case{0, ""}, Case{35, ""}, Case{-1, ""}}) {
    SCOPED_TRACE(c.unit);
    EXPECT_EQ(object->SetUnits(-42, 1.5, 2.5, 3.5, 4.5, c.unit), -42);
    const ACADinfo& header = Impl(object).Header();
    EXPECT_STREQ(header.unitAbbreviation, c.abbreviation);
    EXPECT_EQ(header.unitAbbreviation[2], 0);
    const double values[4] = {1.5, 2.5, 3.5, 4.5};
    EXPECT_EQ(memcmp(header.unitValues, values, sizeof values), 0);
  }
}

TEST(ExportSupportBounds, YPairFollowsTheOrderMode) {
  const double nan = NAN;
  struct Case {
    int32_t yOrder;
    double y1, y2;
    double stored1, stored2;
  };
  const Case cases[] = {
      {1, 8, 2, 2, 8},           {0, 8, 2, 8, 2},           {1, 2, 8, 2, 8},
      {0, 2, 8, 8, 2},           {5, 2, 8, 8, 2},           {-1, 8, 2, 8, 2},
      {1, 0.0, -0.0, -0.0, 0.0}, {0, 0.0, -0.0, 0.0, -0.0}, {1, nan, 3, 3, nan},
      {0, nan, 3, nan, 3},
  };
  ExportObject object;
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "yOrder " << c.yOrder << " y " << c.y1 << ", " << c.y2);
    EXPECT_EQ(object->SetModes(c.yOrder, 2), 0);
    EXPECT_EQ(object->SetBounds(10, 0, c.y1, c.y2, 7, -7), 0);
    const double* bounds = Impl(object).Header().bounds;
    EXPECT_EQ(bounds[0], 10);
    EXPECT_EQ(bounds[1], 0) << "x is stored as given";
    // Bit patterns: the order of signed zeros and NaN matters too.
    EXPECT_EQ(memcmp(&bounds[2], &c.stored1, sizeof(double)), 0) << bounds[2];
    EXPECT_EQ(memcmp(&bounds[3], &c.stored2, sizeof(double)), 0) << bounds[3];
    EXPECT_EQ(bounds[4], 7);
    EXPECT_EQ(bounds[5], -7);
  }
}

TEST(ExportSupportExtents, BeginDrawingEmptiesThemAndPointsWidenThem) {
  ExportObject object;
  object->SetModes(1, 1);
  object->BeginDrawing(nullptr);
  EXPECT_EQ(Impl(object).YOrder(), 0);
  EXPECT_EQ(Impl(object).ComposeMode(), 2);
  double extents[6];
  ASSERT_EQ(object->GetExtents(extents), extents);
  const double empty[6] = {1e306, -1e306, 1e306, -1e306, 1e306, -1e306};
  EXPECT_EQ(memcmp(extents, empty, sizeof empty), 0);

  const sol_point one(1, 2, 3);
  object->AddExtents(1, &one);
  object->GetExtents(extents);
  const double single[6] = {1, 1, 2, 2, 3, 3};
  EXPECT_EQ(memcmp(extents, single, sizeof single), 0);

  const sol_point more[] = {{-4, NAN, 5}, {NAN, 9, NAN}, {0.5, 2.5, -1}};
  object->AddExtents(3, more);
  object->AddExtents(0, more);
  object->AddExtents(-2, more);
  object->GetExtents(extents);
  const double widened[6] = {-4, 1, 2, 9, -1, 5};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(extents[i], widened[i]) << i;
  EXPECT_EQ(object->GetExtents(nullptr), nullptr);
}

TEST(ExportSupportPending, LinePatternsRastersAndCurvesAnswerTheirFailureResults) {
  ExportObject object;
  LinePattern* pattern = reinterpret_cast<LinePattern*>(0xDEADBEEF);
  const WCHAR dash[] = u"Dash";
  const double elements[2] = {1.2, -0.8};
  EXPECT_EQ(object->RegisterPredefinedPatterns(0), -1);
  EXPECT_EQ(object->DefineLinePattern(0, dash, elements, 2, 34), -1);
  EXPECT_EQ(object->FindLinePattern(0, dash, &pattern), -1);
  EXPECT_EQ(pattern, nullptr);
  pattern = reinterpret_cast<LinePattern*>(0xDEADBEEF);
  EXPECT_EQ(object->GetLinePattern(2, &pattern), -1);
  EXPECT_EQ(pattern, nullptr);
  EXPECT_TRUE(object->IsSolidPattern(2));

  const sol_point line[2] = {{0, 0, 0}, {5, 0, 0}};
  sol_point dashes[8];
  sol_point* out = dashes;
  for (sol_point& p : dashes) p = sol_point(-1, -1, -1);
  EXPECT_EQ(object->DashPolyline(nullptr, line, 2, 0, 0, 2, 8, &out), 0);
  for (const sol_point& p : dashes) EXPECT_EQ(p.x, -1.0) << "nothing written";

  EXPECT_EQ(object->CreateRaster(10, 10, 0, 0, 0, 3), nullptr);
  auto* foreign = reinterpret_cast<RasterBuffer*>(dashes);
  const uint8_t row[4] = {1, 2, 3, 4};
  EXPECT_EQ(object->AddRasterRow(nullptr, 0, row, 4), SERV_OK);
  EXPECT_EQ(object->AddRasterRow(foreign, 0, row, 4), SERV_E_INVALIDARG);
  EXPECT_EQ(object->PutRasterBlock(foreign, 0, 0, 1, 1, 0, row, 4, 0, 0, 3), SERV_E_INVALIDARG);
  EXPECT_TRUE(object->FinishRaster(nullptr));
  EXPECT_FALSE(object->FinishRaster(foreign));
  object->FreeRaster(foreign);  // not ours: left alone

  EntityParms parms;
  SERV_ResetEntityParms(&parms);
  parms.curveType = 2;
  EXPECT_EQ(object->EmitCurve(reinterpret_cast<ICurveSink*>(dashes), 1, 2, 2, line, &parms),
            SERV_E_OUTOFMEMORY);
}

}  // namespace
