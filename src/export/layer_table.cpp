#include "export/layer_table.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

namespace cadserv::exporting {
namespace {

unsigned FoldAsciiToLower(WCHAR unit) {
  unsigned value = static_cast<uint16_t>(unit);
  return value >= 'A' && value <= 'Z' ? value + ('a' - 'A') : value;
}

// The runtime's _wcsdup for 16-bit units: malloc'd, freed with free.
WCHAR* DuplicateName(const WCHAR* name) {
  size_t length = 0;
  while (name[length] != 0) ++length;
  WCHAR* copy = static_cast<WCHAR*>(malloc((length + 1) * sizeof(WCHAR)));
  if (copy != nullptr) memcpy(copy, name, (length + 1) * sizeof(WCHAR));
  return copy;
}

// Layer colours are plain 24-bit values or the two reserved colours; BYLAYER,
// BYBLOCK and anything else above 24 bits would make resolution loop back.
uint32_t NormaliseLayerColour(uint32_t colour) {
  if (colour <= 0x00FFFFFFu || colour == COLOR_UNSET || colour == COLOR_DEFAULT) return colour;
  return COLOR_DEFAULT;
}

}  // namespace

int CompareLayerNames(const WCHAR* a, const WCHAR* b) {
  if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
  for (size_t i = 0;; ++i) {
    unsigned ca = FoldAsciiToLower(a[i]);
    unsigned cb = FoldAsciiToLower(b[i]);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

LayerTable::~LayerTable() {
  FreeNames();
  free(records_);
}

void LayerTable::FreeNames() {
  for (int32_t i = 0; i < Used(); ++i) free(records_[i].name);
}

void LayerTable::Init(int32_t capacity, bool sorted) {
  FreeNames();
  free(records_);
  records_ = nullptr;
  capacity_ = 0;
  sorted_ = sorted;
  if (capacity <= 0) return;
  records_ = static_cast<LayerParms*>(calloc(static_cast<size_t>(capacity), sizeof(LayerParms)));
  if (records_ != nullptr) capacity_ = capacity;
}

int32_t LayerTable::Add(const WCHAR* name, uint8_t flag1, uint8_t flag2, uint32_t colour,
                        int32_t lineStyle) {
  if (count_ >= capacity_) return -1;
  WCHAR* copy = nullptr;
  if (name != nullptr) {
    copy = DuplicateName(name);
    if (copy == nullptr) return -1;
  }
  // The record's size field and filter area stay as they are.
  const int32_t index = count_;
  LayerParms& record = records_[index];
  record.index = index;
  record.name = copy;
  record.flag1 = flag1;
  record.flag2 = flag2;
  record.colour = NormaliseLayerColour(colour);
  record.lineStyle = lineStyle;
  ++count_;
  if (count_ == capacity_ && sorted_) SortByName();
  return index;
}

LayerParms* LayerTable::Find(const WCHAR* name) {
  if (name == nullptr) return nullptr;
  for (int32_t i = 0; i < Used(); ++i) {
    if (records_[i].name != nullptr && CompareLayerNames(records_[i].name, name) == 0) {
      return &records_[i];
    }
  }
  return nullptr;
}

LayerParms* LayerTable::Get(int32_t index) {
  if (!sorted_) {
    return static_cast<uint32_t>(index) < static_cast<uint32_t>(Used()) ? &records_[index]
                                                                        : nullptr;
  }
  for (int32_t i = 0; i < Used(); ++i) {
    if (records_[i].index == index) return &records_[i];
  }
  return nullptr;
}

void LayerTable::EndTables() {
  if (count_ < capacity_ && sorted_) {
    capacity_ = count_;
    SortByName();
  }
}

// Stable, so layers whose names match keep their order of addition.
void LayerTable::SortByName() {
  std::stable_sort(records_, records_ + Used(), [](const LayerParms& a, const LayerParms& b) {
    return CompareLayerNames(a.name, b.name) < 0;
  });
}

}  // namespace cadserv::exporting
