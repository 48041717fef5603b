// The export support object's layer table: an array of LayerParms of fixed
// capacity, filled in the order of addition, optionally put in name order.
#ifndef CADSERV_EXPORT_LAYER_TABLE_H
#define CADSERV_EXPORT_LAYER_TABLE_H

#include <stdint.h>

#include "cadserv/export_records.h"

namespace cadserv::exporting {

// Compares two names as _wcsicmp does in the C locale: unit by unit, ASCII
// A-Z folded to lowercase, other units by their 16-bit value (so "_" sorts
// before "a", and a surrogate pair before U+E000). A null name sorts before
// every name; two null names are equal.
int CompareLayerNames(const WCHAR* a, const WCHAR* b);

class LayerTable {
 public:
  LayerTable() = default;
  ~LayerTable();
  LayerTable(const LayerTable&) = delete;
  LayerTable& operator=(const LayerTable&) = delete;

  // Replaces the array by `capacity` zero-filled records (none when the
  // capacity is not positive or memory runs out, which leaves capacity 0,
  // so AddLayer fails). The count is kept, as the interface says, but only
  // records below the capacity are ever looked at.
  void Init(int32_t capacity, bool sorted);
  // Appends the layer; -1 when the table is full or the name cannot be
  // duplicated. A null name is stored as none.
  int32_t Add(const WCHAR* name, uint8_t flag1, uint8_t flag2, uint32_t colour, int32_t lineStyle);
  // The first record in the current order whose name matches; null names never match.
  LayerParms* Find(const WCHAR* name);
  // By position while unsorted; by stored index in a sorted table.
  LayerParms* Get(int32_t index);
  // EndTables with the root: a sorted table that is not full is cut to its
  // count and put in name order.
  void EndTables();

 private:
  int32_t Used() const { return count_ < capacity_ ? count_ : capacity_; }
  void SortByName();
  void FreeNames();

  LayerParms* records_ = nullptr;
  int32_t count_ = 0;
  int32_t capacity_ = 0;
  bool sorted_ = false;
};

}  // namespace cadserv::exporting

#endif  // CADSERV_EXPORT_LAYER_TABLE_H
