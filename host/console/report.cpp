#include "host/console/report.h"

#include <map>

#include "hostapi/db.h"

namespace dx::console {

// One line per layout and per block with its entity counts by type, then the layers.
std::string drawingReport(DxDbDatabase* db, const std::string&) {
  std::string out = std::string("Version: ") + db->originalFileVersion() + "\n";
  DxDbBlockTable* bt = nullptr;
  if (db->getSymbolTable(bt, DxDb::kForRead) != Dxad::eOk) return out;
  for (DxDbObjectId btrId : bt->recordIds()) {
    DxDbBlockTableRecord* btr = nullptr;
    if (dxdbOpenObject(btr, btrId, DxDb::kForRead) != Dxad::eOk) continue;
    std::map<std::string, int> counts;
    for (DxDbObjectId id : btr->entityIds()) {
      DxRxClass* c = id.objectClass();
      counts[c ? c->dxfName() : "?"]++;
    }
    bool layout = btr->isLayout();
    if (layout || !counts.empty()) {
      out += std::string(layout ? "Layout " : "Block ") + btr->name() + ":";
      if (counts.empty()) out += " empty";
      for (auto& [k, n] : counts) out += " " + (k.empty() ? std::string("other") : k) + "=" + std::to_string(n);
      out += "\n";
    }
    btr->close();
  }
  bt->close();
  DxDbLayerTable* lt = nullptr;
  if (db->getSymbolTable(lt, DxDb::kForRead) == Dxad::eOk) {
    out += "Layers:";
    for (DxDbObjectId id : lt->recordIds()) {
      DxDbLayerTableRecord* l = nullptr;
      if (dxdbOpenObject(l, id, DxDb::kForRead) != Dxad::eOk) continue;
      out += std::string(" ") + l->name();
      l->close();
    }
    out += "\n";
    lt->close();
  }
  return out;
}

}  // namespace dx::console
