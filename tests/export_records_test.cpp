// The parameter records' reset functions, the drawing description record's
// defaults and the sol_typeface operators.
#include <gtest/gtest.h>
#include <stddef.h>
#include <string.h>

#include <vector>

#include "cadserv/cadserv.h"

namespace {

constexpr uint8_t kSentinel = 0xA5;

// A record of T with sentinel bytes before and after it.
template <typename T>
struct Guarded {
  Guarded() { memset(static_cast<void*>(bytes), kSentinel, sizeof bytes); }
  T* record() { return reinterpret_cast<T*>(bytes + 16); }
  bool GuardsIntact() const {
    for (size_t i = 0; i < 16; ++i) {
      if (bytes[i] != kSentinel || bytes[16 + sizeof(T) + i] != kSentinel) return false;
    }
    return true;
  }
  // Every byte of the record in [from, to) is zero.
  bool Zero(size_t from, size_t to) const {
    for (size_t i = from; i < to; ++i) {
      if (bytes[16 + i] != 0) return false;
    }
    return true;
  }
  alignas(16) uint8_t bytes[16 + sizeof(T) + 16];
};

TEST(ParameterRecordReset, EntityParmsDefaults) {
  Guarded<EntityParms> guarded;
  SERV_ResetEntityParms(guarded.record());
  const EntityParms& p = *guarded.record();
  EXPECT_TRUE(guarded.GuardsIntact());
  EXPECT_EQ(p.size, sizeof(EntityParms));
  EXPECT_TRUE(guarded.Zero(2, offsetof(EntityParms, colour)));
  EXPECT_EQ(p.colour, COLOR_DEFAULT);
  EXPECT_EQ(p.lineStyle, LINESTYLE_CONTINUOUS);
  EXPECT_EQ(p.filterSetting1, 1.0);
  EXPECT_EQ(p.secondColour, COLOR_UNSET);
  const int32_t modes[5] = {p.mode1, p.mode2, p.mode3, p.mode4, p.mode5};
  EXPECT_EQ(std::vector<int32_t>(modes, modes + 5), (std::vector<int32_t>{1, 2, 1, 3, 2}));
  EXPECT_EQ(p.curveType, 1);
  EXPECT_EQ(p.closed, 0);
  EXPECT_EQ(p.matrix, nullptr);
  EXPECT_EQ(p.basePoint, nullptr);
  EXPECT_EQ(p.filterSetting2, 1);
  EXPECT_TRUE(guarded.Zero(offsetof(EntityParms, filterArea2), offsetof(EntityParms, matrix)));
  EXPECT_TRUE(guarded.Zero(offsetof(EntityParms, filterArea4), sizeof(EntityParms)));
}

TEST(ParameterRecordReset, TextParmsDefaults) {
  Guarded<TextParms> guarded;
  SERV_ResetTextParms(guarded.record());
  const TextParms& p = *guarded.record();
  EXPECT_TRUE(guarded.GuardsIntact());
  EXPECT_EQ(p.size, 192);
  EXPECT_EQ(p.textColour, COLOR_DEFAULT);
  EXPECT_EQ(p.secondColour, COLOR_UNSET);
  EXPECT_EQ(p.filterSetting1, 1);
  EXPECT_EQ(p.filterSetting2, 400);
  EXPECT_EQ(p.filterSetting3, 1);
  EXPECT_EQ(p.filterSetting4, 1);
  EXPECT_EQ(p.filterSetting5, 1);
  EXPECT_EQ(p.filterSetting6, 0);
  EXPECT_EQ(p.filterSetting7, 1);
  EXPECT_TRUE(guarded.Zero(offsetof(TextParms, filterArea1), offsetof(TextParms, filterSetting2)));
  EXPECT_TRUE(guarded.Zero(offsetof(TextParms, filterArea4), sizeof(TextParms)));
}

TEST(ParameterRecordReset, LayerParmsWritesOnlyTheRecord) {
  Guarded<LayerParms> guarded;
  SERV_ResetLayerParms(guarded.record());
  const LayerParms& p = *guarded.record();
  EXPECT_TRUE(guarded.GuardsIntact());
  EXPECT_EQ(p.size, sizeof(LayerParms));
  EXPECT_EQ(p.index, -1);
  EXPECT_EQ(p.name, nullptr);
  EXPECT_EQ(p.flag1, 0);
  EXPECT_EQ(p.flag2, 0);
  EXPECT_EQ(p.colour, COLOR_DEFAULT);
  EXPECT_EQ(p.lineStyle, LINESTYLE_CONTINUOUS);
  EXPECT_TRUE(guarded.Zero(offsetof(LayerParms, filterArea), sizeof(LayerParms)));
}

TEST(ParameterRecordReset, ReferenceParmsDefaults) {
  Guarded<ReferenceParms> guarded;
  SERV_ResetReferenceParms(guarded.record());
  const ReferenceParms& p = *guarded.record();
  EXPECT_TRUE(guarded.GuardsIntact());
  EXPECT_EQ(p.size, 48);
  EXPECT_EQ(p.filterSetting1, -1);
  EXPECT_EQ(p.filterSetting2, 1);
  EXPECT_TRUE(guarded.Zero(offsetof(ReferenceParms, filterArea1), 32));
  EXPECT_TRUE(guarded.Zero(33, 48));
}

TEST(ParameterRecordReset, NullRecordsAreLeftAlone) {
  SERV_ResetEntityParms(nullptr);
  SERV_ResetTextParms(nullptr);
  SERV_ResetLayerParms(nullptr);
  SERV_ResetReferenceParms(nullptr);
}

TEST(DrawingDescription, DefaultsOfEveryField) {
  Guarded<ACADinfo> guarded;
  EXPECT_TRUE(SERV_InitACADinfo(guarded.record(), 0x8001));
  const ACADinfo& info = *guarded.record();
  EXPECT_TRUE(guarded.GuardsIntact());
  EXPECT_EQ(info.version, 0x8001);
  EXPECT_EQ(info.filterSetting1, 1);
  const double bounds[6] = {0, 1, 0, 1, 0, 0};
  EXPECT_EQ(memcmp(info.bounds, bounds, sizeof bounds), 0);
  EXPECT_TRUE(guarded.Zero(offsetof(ACADinfo, unitValues), offsetof(ACADinfo, filterSetting2)));
  for (double v : info.filterSetting2) EXPECT_EQ(v, 1.0);
  EXPECT_EQ(info.filterSetting5, 1);
  EXPECT_EQ(info.filterSetting6, 1);
  EXPECT_STREQ(info.unitAbbreviation, "");
  EXPECT_EQ(info.filterSetting9, 1200);
  EXPECT_EQ(info.filterSetting10, 1200);
  EXPECT_TRUE(
      guarded.Zero(offsetof(ACADinfo, filterSetting11), offsetof(ACADinfo, filterSetting12)));
  EXPECT_EQ(info.filterSetting12, 1);
  EXPECT_EQ(info.filterSetting13, 1.0);
  EXPECT_EQ(info.filterSetting14, 0.0);
  const double pairs[4][2] = {{0, 0}, {1, 1}, {0.5, 0.5}, {0, 0}};
  EXPECT_EQ(memcmp(info.filterSetting15, pairs[0], 16), 0);
  EXPECT_EQ(memcmp(info.filterSetting16, pairs[1], 16), 0);
  EXPECT_EQ(memcmp(info.filterSetting17, pairs[2], 16), 0);
  EXPECT_EQ(memcmp(info.filterSetting18, pairs[3], 16), 0);
  for (double v : info.filterSetting19) EXPECT_EQ(v, 0.1);
  const double extrusion[3] = {0, 0, 1};
  EXPECT_EQ(memcmp(info.extrusion, extrusion, sizeof extrusion), 0);
  EXPECT_EQ(info.filterSetting21, 5.0);
  EXPECT_EQ(info.filterSetting22, 1.0);
  EXPECT_EQ(info.filterSetting23, 50.0);
  const int32_t settings26[8] = {0, 100, 1, 0, 1, 1, 0, 0};
  EXPECT_EQ(memcmp(info.filterSetting26, settings26, sizeof settings26), 0);
  const double matrix[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
  EXPECT_EQ(memcmp(info.matrix, matrix, sizeof matrix), 0);
  EXPECT_EQ(info.versionIsNot8, 1);
  EXPECT_TRUE(guarded.Zero(offsetof(ACADinfo, filterArea3), sizeof(ACADinfo)));
}

TEST(DrawingDescription, TheLastFlagSaysWhetherTheVersionIsNot8) {
  ACADinfo info;
  for (int32_t version : {0, 7, 9, -8, 0x8001, 0x0108}) {
    EXPECT_TRUE(SERV_InitACADinfo(&info, version)) << version;
    EXPECT_EQ(info.versionIsNot8, 1) << version;
    EXPECT_EQ(info.version, version);
  }
  EXPECT_FALSE(SERV_InitACADinfo(&info, 8));
  EXPECT_EQ(info.versionIsNot8, 0);
  EXPECT_FALSE(SERV_InitACADinfo(nullptr, 0x8001));
}

TEST(TypefaceFlags, OperatorsChangeTheOperandInPlace) {
  sol_typeface flags = static_cast<sol_typeface>(15);
  sol_typeface& complemented = ~flags;
  EXPECT_EQ(&complemented, &flags);
  EXPECT_EQ(static_cast<int32_t>(flags), ~15);
  EXPECT_EQ(&(flags &= 0x30), &flags);
  EXPECT_EQ(static_cast<int32_t>(flags), 0x30);
  EXPECT_EQ(&(flags |= 0x101), &flags);
  EXPECT_EQ(static_cast<int32_t>(flags), 0x131);
  flags |= INT32_MIN;
  EXPECT_EQ(static_cast<uint32_t>(flags), 0x80000131u);
}

}  // namespace
