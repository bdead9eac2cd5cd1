// Checks of a drawing's consistency, made on load and by AUDIT.
#include <cmath>
#include <unordered_map>

#include "host/db/database_impl.h"

namespace dx::db {
namespace {

DxDbObject* live(DxDbObjectId id) {
  Stub* s = id.stub();
  return s && s->obj && !s->erased ? s->obj : nullptr;
}

}  // namespace

// A block that holds a reference of itself, directly or through others, has no
// geometry: such references are taken out (and reported) so that nothing walking the
// nesting ever goes round. The walk keeps its own stack: long legal chains are fine.
size_t breakBlockCycles(DatabaseImpl& db, std::vector<std::string>& notes, bool fix) {
  DxDbSymbolTable* blocks = db.table(Table::Block);
  if (!blocks) return 0;
  size_t found = 0;
  enum : uint8_t { kNew, kOnPath, kDone };
  std::unordered_map<const DxDbObject*, uint8_t> state;
  for (const DxDbObjectId& rootId : Access::records(*blocks)) {
    auto* root = DxRxObject::cast<DxDbBlockTableRecord>(live(rootId));
    if (!root || state[root] != kNew) continue;
    std::vector<std::pair<DxDbBlockTableRecord*, size_t>> path{{root, 0}};
    state[root] = kOnPath;
    while (!path.empty()) {
      auto [btr, next] = path.back();
      auto& ids = Access::entities(*btr);
      if (next == ids.size()) {
        state[btr] = kDone;
        path.pop_back();
        continue;
      }
      ++path.back().second;
      auto* ref = DxRxObject::cast<DxDbBlockReference>(live(ids[next]));
      auto* nested = ref ? DxRxObject::cast<DxDbBlockTableRecord>(live(ref->blockTableRecord())) : nullptr;
      if (!nested) continue;
      uint8_t& st = state[nested];
      if (st == kNew) {
        st = kOnPath;
        path.emplace_back(nested, 0);
      } else if (st == kOnPath) {
        ++found;
        notes.push_back("a reference of block '" + nested->getName() + "' inside '" + btr->getName() + "' " +
                        (fix ? "was removed" : "makes a cycle") + ": the block would contain itself");
        if (!fix) continue;
        db.noteWrite(ids[next].stub());
        ids[next].stub()->erased = true;
        for (const DxDbObjectId& a : ref->attributeIds())
          if (Stub* s = a.stub()) db.noteWrite(s), s->erased = true;
      }
    }
  }
  return found;
}

size_t auditDatabase(DatabaseImpl& db, std::vector<std::string>& notes, bool fix) {
  size_t found = breakBlockCycles(db, notes, fix);
  DxDbSymbolTable* blocks = db.table(Table::Block);
  if (!blocks) return found;
  for (const DxDbObjectId& btrId : Access::records(*blocks)) {
    auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(live(btrId));
    if (!btr) continue;
    for (const DxDbObjectId& id : Access::entities(*btr)) {
      auto* e = DxRxObject::cast<DxDbEntity>(live(id));
      if (!e) continue;
      std::string what = std::string(schemaOf(*e)->dxfName) + " " + DxDbHandle(id.stub()->handle).str();
      if (!allFinite(*e)) {
        ++found;
        notes.push_back(what + " holds a number that is not finite" + (fix ? "; erased" : ""));
        if (fix) db.noteWrite(id.stub()), id.stub()->erased = true;
        continue;
      }
      auto* ref = DxRxObject::cast<DxDbBlockReference>(e);
      if (ref && !DxRxObject::cast<DxDbBlockTableRecord>(live(ref->blockTableRecord()))) {
        ++found;
        notes.push_back(what + " refers to a block that is not there" + (fix ? "; erased" : ""));
        if (fix) db.noteWrite(id.stub()), id.stub()->erased = true;
        continue;
      }
      if (!DxRxObject::cast<DxDbLayerTableRecord>(live(e->layerId()))) {
        ++found;
        notes.push_back(what + " is on no layer" + (fix ? "; moved to layer 0" : ""));
        if (fix) db.noteWrite(id.stub()), Access::layer(*e) = db.layerZero;
      }
    }
  }
  return found;
}

const std::vector<std::string>& loadRepairs(const DxDbDatabase& db) { return implOf(&db)->repairs; }

size_t auditDrawing(DxDbDatabase& db, std::vector<std::string>& notes, bool fix) {
  return auditDatabase(*implOf(&db), notes, fix);
}

}  // namespace dx::db
