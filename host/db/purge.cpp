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

  struct Kind {
    Table table;
    const char* label;
  };
  const Kind kinds[] = {{Table::Block, "Block"},       {Table::Layer, "Layer"}, {Table::Linetype, "Linetype"},
                        {Table::Style, "Text style"},  {Table::DimStyle, "Dimension style"}};
  bool any = false;
  for (const Kind& k : kinds) {
    DxDbSymbolTable* tab = db.table(k.table);
    if (!tab) continue;
    std::vector<DxDbObjectId> victims;
    for (const DxDbObjectId& id : Access::records(*tab)) {
      Stub* s = id.stub();
      if (!s || !s->obj || s->erased || refs.count(s)) continue;
      auto* rec = static_cast<DxDbSymbolTableRecord*>(s->obj);
      std::string key = upperKey(rec->getName());
      if (rec->isDependent()) continue;
      switch (k.table) {
        case Table::Layer:
          if (key == "0" || key == "DEFPOINTS") continue;
          break;
        case Table::Linetype:
          if (key == "BYLAYER" || key == "BYBLOCK" || key == "CONTINUOUS") continue;
          break;
        case Table::Style:
        case Table::DimStyle:
          if (key == "STANDARD") continue;
          break;
        case Table::Block: {
          auto* b = static_cast<DxDbBlockTableRecord*>(rec);
          if (b->isLayout() || b->isFromExternalReference() || dimBlocks.count(key)) continue;
          break;
        }
        default: break;
      }
      if (filter && !filter(ctx, k.label, rec->getName().c_str())) continue;
      victims.push_back(id);
    }
    for (const DxDbObjectId& id : victims) {
      DxDbObject* o = nullptr;
      if (dxdbOpenObject(o, id, DxDb::kForWrite) != Dxad::eOk) continue;
      std::string name = static_cast<DxDbSymbolTableRecord*>(o)->getName();
      if (o->erase() == Dxad::eOk) {
        any = true;
        if (report) report(ctx, k.label, name.c_str());
        // A block's own entities go with it.
        if (auto* b = DxRxObject::cast<DxDbBlockTableRecord>(o))
          for (const DxDbObjectId& eid : b->entityIds()) {
            DxDbObject* e = nullptr;
            if (dxdbOpenObject(e, eid, DxDb::kForWrite) == Dxad::eOk) {
              e->erase();
              e->close();
            }
          }
      }
      o->close();
    }
  }
  return any;
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
  if (!verbose) return purgeAllWithReport(db, nullptr, nullptr);
  return purgeAllWithReport(
      db, [](void*, const char* kind, const char* name) { std::printf("Deleting %s \"%s\".\n", kind, name); },
      nullptr);
}
