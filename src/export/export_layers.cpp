// The export support object's layer operations and EndTables.
#include "export/export_support_object.h"

namespace cadserv::exporting {

int32_t ExportSupport::InitLayerTable(int32_t capacity, uint8_t sorted) {
  layers_.Init(capacity, sorted != 0);
  return 0;
}

int32_t ExportSupport::AddLayer(const WCHAR* name, uint8_t flag1, uint8_t flag2, uint32_t colour,
                                int32_t lineStyle) {
  return layers_.Add(name, flag1, flag2, colour, lineStyle);
}

LayerParms* ExportSupport::FindLayer(const WCHAR* name) {
  return layers_.Find(name);
}

LayerParms* ExportSupport::GetLayer(int32_t index) {
  return layers_.Get(index);
}

// Marks the end of the tables on the root only; any other context is
// refused without a change.
EntityContext* ExportSupport::EndTables(EntityContext* context) {
  if (context != &root_) return nullptr;
  root_.flags |= 0xE000u;
  layers_.EndTables();
  return &root_;
}

}  // namespace cadserv::exporting
