#include "host/console/report.h"

#include <map>

#include "host/editor/core/session.h"

namespace dx::console {
namespace {

std::string typeName(DxDbObjectId id) {
  DxRxClass* cls = id.objectClass();
  if (!cls) return "?";
  if (*cls->dxfName()) return cls->dxfName();
  dx::ed::Opened<DxDbUnknownEntity> u(id, DxDb::kForRead);
  return u ? u->dxfName() : std::string(cls->name());
}

std::string counts(const std::vector<DxDbObjectId>& ids) {
  std::map<std::string, size_t> byType;
  for (auto id : ids) ++byType[typeName(id)];
  std::string s;
  for (auto& [t, n] : byType) s += "    " + t + " " + std::to_string(n) + "\n";
  return s;
}

}  // namespace

std::string drawingReport(DxDbDatabase* db, const std::string& name) {
  using dx::ed::Opened;
  std::string out = "drawing " + name + " (" + db->originalFileVersion() + ")\n";
  Opened<DxDbSymbolTable> blocks(db->blockTableId(), DxDb::kForRead);
  std::vector<DxDbObjectId> records = blocks ? blocks->recordIds() : std::vector<DxDbObjectId>{};
  blocks.close();
  std::string layouts, blockLines;
  size_t blockCount = 0;
  for (auto id : records) {
    Opened<DxDbBlockTableRecord> btr(id, DxDb::kForRead);
    if (!btr) continue;
    auto ids = btr->entityIds();
    std::string n = btr->getName();
    if (btr->isLayout()) {
      std::string layoutName = n;
      Opened<DxDbLayout> layout(btr->getLayoutId(), DxDb::kForRead);
      if (layout) layoutName = layout->getLayoutName();
      layouts += "  layout " + layoutName + ": " + std::to_string(ids.size()) + " entities\n" + counts(ids);
    } else if (n.empty() || n[0] != '*') {
      ++blockCount;
      blockLines += "  " + n + ": " + std::to_string(ids.size()) + " entities\n";
    }
  }
  out += layouts;
  Opened<DxDbSymbolTable> layers(db->layerTableId(), DxDb::kForRead);
  std::vector<DxDbObjectId> layerIds = layers ? layers->recordIds() : std::vector<DxDbObjectId>{};
  layers.close();
  out += "layers " + std::to_string(layerIds.size()) + ":";
  for (auto id : layerIds) {
    Opened<DxDbLayerTableRecord> l(id, DxDb::kForRead);
    if (l) out += " " + l->getName();
  }
  out += "\nblocks " + std::to_string(blockCount) + ":\n" + blockLines;
  return out;
}

}  // namespace dx::console
