// PURGE ALL: removes unreferenced layers, linetypes, text styles, dimension styles and
// blocks, pass after pass until nothing more goes.
#include <cstdio>
#include <unordered_set>

#include "host/db/database_impl.h"

using namespace dx::db;

namespace {

// Collects every object an object refers to, by handle or by name.
class RefCollector : public Sink {
 public:
  std::unordered_set<Stub*>& refs;
  Stub* owner = nullptr;  // ownership is not a use
  explicit RefCollector(std::unordered_set<Stub*>& r) : refs(r) {}
  void str(int, std::string_view) override {}
  void real(int, double) override {}
  void integer(int, int64_t) override {}
  void point(int, const double*, int) override {}
  void ref(int code, DxDbObjectId id) override {
    if (id.stub() && !(code == 330 && id.stub() == owner)) refs.insert(id.stub());
  }
  void xtag(const XTag& t) override {
    if (t.isRef && t.ref) refs.insert(t.ref);
  }
  void nameRef(int, DxDbObjectId id, std::string_view) override {
    if (id.stub()) refs.insert(id.stub());
  }
};

struct Kind {
  Table table;
  const char* label;
};
const Kind kKinds[] = {{Table::Block, "Block"},      {Table::Layer, "Layer"}, {Table::Linetype, "Linetype"},
                       {Table::Style, "Text style"}, {Table::DimStyle, "Dimension style"}};

const Kind* kindOf(const DxDbObject* o) {
  if (DxRxObject::cast<DxDbBlockTableRecord>(o)) return &kKinds[0];
  if (DxRxObject::cast<DxDbLayerTableRecord>(o)) return &kKinds[1];
  if (DxRxObject::cast<DxDbLinetypeTableRecord>(o)) return &kKinds[2];
  if (DxRxObject::cast<DxDbTextStyleTableRecord>(o)) return &kKinds[3];
  if (DxRxObject::cast<DxDbDimStyleTableRecord>(o)) return &kKinds[4];
  return nullptr;
}

// Whether an unreferenced record of the table may go: the drawing's fixed records, layouts,
// external references and the pictures of dimensions stay.
bool purgeable(Table table, const DxDbSymbolTableRecord* rec, const std::unordered_set<std::string>& dimBlocks) {
  if (rec->isDependent()) return false;
  std::string key = upperKey(rec->getName());
  switch (table) {
    case Table::Layer: return key != "0" && key != "DEFPOINTS";
    case Table::Linetype: return key != "BYLAYER" && key != "BYBLOCK" && key != "CONTINUOUS";
    case Table::Style:
    case Table::DimStyle: return key != "STANDARD";
    case Table::Block: {
      auto* b = static_cast<const DxDbBlockTableRecord*>(rec);
      return !b->isLayout() && !b->isFromExternalReference() && !dimBlocks.count(key);
    }
    default: return true;
  }
}

// One pass; true when it removed something that may have been the last use of another
// record, so that another pass can find more.
bool purgePass(DatabaseImpl& db, PurgeFilter filter, PurgeReport report, void* ctx) {
  std::unordered_set<Stub*> refs;
  RefCollector col(refs);
  std::unordered_set<std::string> dimBlocks;
  db.forEachStub([&](Stub& s) {
    if (!s.obj || s.erased) return;
    // Table membership and ownership are not uses.
    if (DxRxObject::cast<DxDbSymbolTable>(s.obj)) return;
    if (auto* d = DxRxObject::cast<DxDbDimension>(s.obj)) {
      // Dimensions name their picture block.
      dimBlocks.insert(upperKey(Access::dimBlockName(*d)));
    }
    col.owner = s.obj->ownerId().stub();
    emitObject(*s.obj, col, true);
  });
  // What the drawing's current settings name stays.
  for (DxDbObjectId id : {db.owner()->clayer(), db.owner()->celtype(), db.owner()->textstyle(),
                          db.owner()->dimstyle()})
    if (id.stub()) refs.insert(id.stub());

  // What the removed objects referred to: only those records can have lost their last use.
  std::unordered_set<Stub*> released;
  RefCollector releasedBy(released);
  auto remove = [&](DxDbObject* o) {
    releasedBy.owner = o->ownerId().stub();
    emitObject(*o, releasedBy, true);
    return o->erase() == Dxad::eOk;
  };
  for (const Kind& k : kKinds) {
    DxDbSymbolTable* tab = db.table(k.table);
    if (!tab) continue;
    std::vector<DxDbObjectId> victims;
    for (const DxDbObjectId& id : Access::records(*tab)) {
      Stub* s = id.stub();
      if (!s || !s->obj || s->erased || refs.count(s)) continue;
      auto* rec = static_cast<DxDbSymbolTableRecord*>(s->obj);
      if (!purgeable(k.table, rec, dimBlocks)) continue;
      if (filter && !filter(ctx, k.label, rec->getName().c_str())) continue;
      victims.push_back(id);
    }
    for (const DxDbObjectId& id : victims) {
      DxDbObject* o = nullptr;
      if (dxdbOpenObject(o, id, DxDb::kForWrite) != Dxad::eOk) continue;
      std::string name = static_cast<DxDbSymbolTableRecord*>(o)->getName();
      if (remove(o)) {
        if (report) report(ctx, k.label, name.c_str());
        // A block's own entities go with it.
        if (auto* b = DxRxObject::cast<DxDbBlockTableRecord>(o))
          for (const DxDbObjectId& eid : b->entityIds()) {
            DxDbObject* e = nullptr;
            if (dxdbOpenObject(e, eid, DxDb::kForWrite) == Dxad::eOk) {
              remove(e);
              e->close();
            }
          }
      }
      o->close();
    }
  }
  for (Stub* s : released) {
    if (!s->obj || s->erased) continue;
    const Kind* k = kindOf(s->obj);
    if (k && purgeable(k->table, static_cast<DxDbSymbolTableRecord*>(s->obj), dimBlocks)) return true;
  }
  return false;
}

}  // namespace

bool purgeSome(DxDbDatabase* db, PurgeFilter filter, PurgeReport report, void* ctx) {
  if (!db) return false;
  while (purgePass(*db->impl(), filter, report, ctx)) {
  }
  return true;
}

bool purgeAllWithReport(DxDbDatabase* db, PurgeReport report, void* ctx) {
  return purgeSome(db, nullptr, report, ctx);
}

extern "C" bool purgeAll(DxDbDatabase* db, bool verbose) {
  if (!verbose || !dxdbIsInteractive()) return purgeAllWithReport(db, nullptr, nullptr);
  return purgeAllWithReport(
      db, [](void*, const char* kind, const char* name) { std::printf("Deleting %s \"%s\".\n", kind, name); },
      nullptr);
}
