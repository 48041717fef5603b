// The export support object's layer table, unsorted and sorted, and the
// name order it sorts by.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cadserv/cadserv.h"
#include "export/layer_table.h"
#include "support/export_object.h"

namespace {

using cadserv::exporting::CompareLayerNames;
using cadserv_test::ExportObject;

std::u16string NameOf(const LayerParms* layer) {
  return layer != nullptr && layer->name != nullptr ? std::u16string(layer->name) : u"<none>";
}

// The table's records in their current order (positions, as an unsorted
// table's GetLayer sees them, are not available once sorted; FindLayer on
// each name would be circular), read straight from the array.
std::vector<std::u16string> Order(IExportSupport* object,
                                  const std::vector<const char16_t*>& names) {
  // The first record's address plus positions: records are contiguous.
  const LayerParms* first = nullptr;
  for (const char16_t* name : names) {
    const LayerParms* layer = object->FindLayer(name);
    if (layer != nullptr && (first == nullptr || layer < first)) first = layer;
  }
  std::vector<std::u16string> order;
  for (size_t i = 0; first != nullptr && i < names.size(); ++i) order.push_back(NameOf(first + i));
  return order;
}

TEST(LayerNameOrder, FoldsAsciiLettersToLowercaseOnly) {
  struct Case {
    const char16_t* a;
    const char16_t* b;
    int sign;
  };
  const Case cases[] = {
      {u"layer", u"LAYER", 0},
      {u"_", u"a", -1},  // '_' 0x5F before 'a' 0x61: lowercase folding
      {u"_", u"A", -1},  // uppercase folding would put 'A' 0x41 first
      {u"[", u"b", -1},
      {u"Z", u"_", 1},
      {u"ab", u"ABC", -1},         // a prefix first
      {u"\u00C4", u"\u00E4", -1},  // Latin-1 letters are not folded
      {u"\u00E9", u"z", 1},
      {u"\u0416", u"\u0436", -1},      // nor Cyrillic
      {u"\U0001F600", u"\uFF21", -1},  // UTF-16 unit order: a surrogate before U+FF21
      {u"", u"a", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.a, c.a + std::u16string(c.a).size()));
    const int forward = CompareLayerNames(c.a, c.b);
    const int backward = CompareLayerNames(c.b, c.a);
    EXPECT_EQ((forward > 0) - (forward < 0), c.sign);
    EXPECT_EQ((backward > 0) - (backward < 0), -c.sign);
  }
  EXPECT_EQ(CompareLayerNames(nullptr, nullptr), 0);
  EXPECT_LT(CompareLayerNames(nullptr, u""), 0);
}

TEST(LayerTable, UnsortedKeepsTheOrderOfAddition) {
  ExportObject object;
  EXPECT_EQ(object->InitLayerTable(3, 0), 0);
  EXPECT_EQ(object->AddLayer(u"b", 1, 2, 0x00FF00, 5), 0);
  EXPECT_EQ(object->AddLayer(u"A", 0, 0, COLOR_DEFAULT, -1), 1);
  EXPECT_EQ(object->AddLayer(u"c", 0, 0, COLOR_UNSET, 1), 2);
  EXPECT_EQ(object->AddLayer(u"d", 0, 0, 0, 1), -1) << "full";

  LayerParms* b = object->GetLayer(0);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(NameOf(b), u"b");
  EXPECT_EQ(b->index, 0);
  EXPECT_EQ(b->flag1, 1);
  EXPECT_EQ(b->flag2, 2);
  EXPECT_EQ(b->colour, 0x00FF00u);
  EXPECT_EQ(b->lineStyle, 5);
  EXPECT_EQ(NameOf(object->GetLayer(1)), u"A");
  EXPECT_EQ(NameOf(object->GetLayer(2)), u"c");
  for (int32_t index : {-1, 3, INT32_MIN}) EXPECT_EQ(object->GetLayer(index), nullptr) << index;
  EXPECT_EQ(object->FindLayer(u"B"), b);
  EXPECT_EQ(object->FindLayer(u"d"), nullptr);
  EXPECT_EQ(object->FindLayer(nullptr), nullptr);
}

TEST(LayerTable, ColoursAboveTwentyFourBitsBecomeTheDefault) {
  ExportObject object;
  const uint32_t colours[] = {0x00000000, 0x00FF00, 0x00FFFFFF, COLOR_UNSET, COLOR_DEFAULT,
                              BYLAYER,    BYBLOCK,  0x01000000, 0x10000001,  0xFFFFFFFF};
  const uint32_t stored[] = {0x00000000,    0x00FF00,      0x00FFFFFF,    COLOR_UNSET,
                             COLOR_DEFAULT, COLOR_DEFAULT, COLOR_DEFAULT, COLOR_DEFAULT,
                             COLOR_DEFAULT, COLOR_DEFAULT};
  object->InitLayerTable(10, 0);
  for (uint32_t colour : colours) object->AddLayer(u"x", 0, 0, colour, BYBLOCK);
  for (int32_t i = 0; i < 10; ++i) {
    EXPECT_EQ(object->GetLayer(i)->colour, stored[i]) << std::hex << colours[i];
    EXPECT_EQ(object->GetLayer(i)->lineStyle, static_cast<int32_t>(BYBLOCK)) << "kept as given";
  }
}

TEST(LayerTable, SortedTableIsInNameOrderOnceFullAndFoundByStoredIndex) {
  ExportObject object;
  object->InitLayerTable(3, 1);
  EXPECT_EQ(object->AddLayer(u"b", 0, 0, 1, 1), 0);
  EXPECT_EQ(object->AddLayer(u"A", 0, 0, 2, 1), 1);
  EXPECT_EQ(object->AddLayer(u"c", 0, 0, 3, 1), 2);
  EXPECT_EQ(Order(object.get(), {u"b", u"A", u"c"}),
            (std::vector<std::u16string>{u"A", u"b", u"c"}));
  LayerParms* b = object->GetLayer(0);
  EXPECT_EQ(NameOf(b), u"b") << "stored index 0, not position 0";
  EXPECT_EQ(b->colour, 1u);
  EXPECT_EQ(object->FindLayer(u"B"), b);
  EXPECT_EQ(NameOf(object->GetLayer(1)), u"A");
  EXPECT_EQ(object->GetLayer(3), nullptr);
  EXPECT_EQ(object->GetLayer(-1), nullptr);
}

TEST(LayerTable, SortedOrderWithPunctuationAndNonAsciiNames) {
  const std::vector<const char16_t*> names = {u"b", u"\u00C4", u"_", u"A", u"[", u"\u00E4", u"Z"};
  ExportObject object;
  object->InitLayerTable(static_cast<int32_t>(names.size()), 1);
  for (const char16_t* name : names) object->AddLayer(name, 0, 0, 0, 1);
  EXPECT_EQ(Order(object.get(), names),
            (std::vector<std::u16string>{u"[", u"_", u"A", u"b", u"Z", u"\u00C4", u"\u00E4"}));
  EXPECT_EQ(object->FindLayer(u"\u00E4"), object->GetLayer(5)) << "no folding beyond ASCII";
  EXPECT_EQ(object->FindLayer(u"\u00C4"), object->GetLayer(1));
}

TEST(LayerTable, EndTablesSortsAPartlyFilledTableAndClosesIt) {
  ExportObject object;
  EntityContext* root = object->BeginDrawing(nullptr);
  object->InitLayerTable(5, 1);
  object->AddLayer(u"zeta", 0, 0, 0, 1);
  object->AddLayer(u"Alpha", 0, 0, 0, 1);
  EXPECT_EQ(Order(object.get(), {u"zeta", u"Alpha"}),
            (std::vector<std::u16string>{u"zeta", u"Alpha"}))
      << "not sorted before the table is full";

  EntityContext other;
  EXPECT_EQ(object->EndTables(&other), nullptr);
  EXPECT_EQ(object->EndTables(nullptr), nullptr);
  EXPECT_EQ(root->flags, 0u) << "refused without a change";
  EXPECT_EQ(object->AddLayer(u"more", 0, 0, 0, 1), 2);  // still open: capacity 5

  EXPECT_EQ(object->EndTables(root), root);
  EXPECT_EQ(root->flags, 0xE000u);
  EXPECT_EQ(Order(object.get(), {u"zeta", u"Alpha", u"more"}),
            (std::vector<std::u16string>{u"Alpha", u"more", u"zeta"}));
  EXPECT_EQ(object->AddLayer(u"late", 0, 0, 0, 1), -1) << "capacity cut to the count";
  EXPECT_EQ(NameOf(object->GetLayer(2)), u"more");
}

TEST(LayerTable, EndTablesLeavesAnUnsortedTableOpen) {
  ExportObject object;
  EntityContext* root = object->BeginDrawing(nullptr);
  object->InitLayerTable(3, 0);
  object->AddLayer(u"b", 0, 0, 0, 1);
  EXPECT_EQ(object->EndTables(root), root);
  EXPECT_EQ(object->AddLayer(u"a", 0, 0, 0, 1), 1);
  EXPECT_EQ(NameOf(object->GetLayer(1)), u"a");
}

TEST(LayerTable, NullNamesAreStoredAsNoneAndNeverFound) {
  ExportObject object;
  object->InitLayerTable(3, 1);
  EXPECT_EQ(object->AddLayer(u"b", 0, 0, 0, 1), 0);
  EXPECT_EQ(object->AddLayer(nullptr, 0, 0, 0, 1), 1);
  EXPECT_EQ(object->AddLayer(u"", 0, 0, 0, 1), 2);
  EXPECT_EQ(object->GetLayer(1)->name, nullptr);
  EXPECT_EQ(object->FindLayer(nullptr), nullptr);
  EXPECT_EQ(object->FindLayer(u""), object->GetLayer(2));
  EXPECT_EQ(object->FindLayer(u"B"), object->GetLayer(0));
}

TEST(LayerTable, NamesAreCopies) {
  ExportObject object;
  object->InitLayerTable(1, 0);
  char16_t name[] = u"Walls";
  object->AddLayer(name, 0, 0, 0, 1);
  name[0] = u'X';
  EXPECT_EQ(NameOf(object->GetLayer(0)), u"Walls");
  EXPECT_NE(object->GetLayer(0)->name, name);
}

TEST(LayerTable, WithoutInitEveryLookupFails) {
  ExportObject object;
  EXPECT_EQ(object->AddLayer(u"a", 0, 0, 0, 1), -1);
  EXPECT_EQ(object->GetLayer(0), nullptr);
  EXPECT_EQ(object->FindLayer(u"a"), nullptr);
  object->InitLayerTable(-4, 0);
  EXPECT_EQ(object->AddLayer(u"a", 0, 0, 0, 1), -1);
}

TEST(LayerTable, ASecondInitStartsANewArrayAndKeepsTheCount) {
  ExportObject object;
  object->InitLayerTable(2, 0);
  object->AddLayer(u"a", 0, 0, 0, 1);
  object->AddLayer(u"b", 0, 0, 0, 1);
  object->InitLayerTable(3, 0);
  EXPECT_EQ(object->FindLayer(u"a"), nullptr) << "the old records are gone";
  EXPECT_EQ(object->AddLayer(u"c", 0, 0, 0, 1), 2) << "the count was kept";
  EXPECT_EQ(object->AddLayer(u"d", 0, 0, 0, 1), -1);
  EXPECT_EQ(NameOf(object->GetLayer(2)), u"c");
  object->InitLayerTable(1, 0);
  EXPECT_EQ(object->GetLayer(0)->name, nullptr) << "only records below the capacity are read";
  EXPECT_EQ(object->GetLayer(1), nullptr);
  EXPECT_EQ(object->AddLayer(u"e", 0, 0, 0, 1), -1);
}

}  // namespace
