// External references taken over whole: the referenced file is read into a database of
// its own, whose objects the drawing then adopts as they are (copying each one would
// cost more than reading the file).
#include "host/db/merge.h"

#include <algorithm>
#include <unordered_map>

#include "host/db/database_impl.h"

namespace dx::db {

int16_t& recordFlags(DxDbSymbolTableRecord& rec) { return Access::flags(rec); }
int16_t& blockFlags(DxDbBlockTableRecord& block) { return Access::blockFlags(block); }
const std::string& dimensionBlockName(const DxDbDimension& dim) {
  return Access::dimBlockName(const_cast<DxDbDimension&>(dim));
}

namespace {

// An object opened for write, closed when it goes.
template <class T>
class Writing {
 public:
  explicit Writing(DxDbObjectId id) { dxdbOpenObject(m_obj, id, DxDb::kForWrite); }
  ~Writing() {
    if (m_obj) m_obj->close();
  }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;
  T* operator->() const { return m_obj; }
  T* get() const { return m_obj; }
  explicit operator bool() const { return m_obj != nullptr; }

 private:
  T* m_obj = nullptr;
};

void erase(DxDbObjectId id) {
  if (Writing<DxDbObject> o(id); o) o->erase();
}

class Adoption {
 public:
  Adoption(DxDbDatabase& host, DxDbObjectId block, const std::string& name)
      : m_host(*implOf(&host)), m_block(block), m_prefix(name + "|") {}

  std::vector<DxDbObjectId> run(DxDbDatabase& source) {
    DatabaseImpl& src = *implOf(&source);
    std::vector<std::pair<Table, DxDbObjectId>> records;
    for (Table t : {Table::Layer, Table::Linetype, Table::Style, Table::DimStyle, Table::Block})
      if (DxDbSymbolTable* tab = src.table(t))
        for (DxDbObjectId id : tab->recordIds()) records.emplace_back(t, id);
    DxDbObjectId model = src.modelSpace;
    m_host.adopt(src);

    std::vector<DxDbObjectId> blocks, nested;
    for (auto [t, id] : records) {
      auto* rec = static_cast<DxDbSymbolTableRecord*>(liveObjectOf(id));
      auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(rec);
      if (!rec || id == model || (btr && btr->isLayout())) continue;
      std::string name = rec->getName();
      if (shared(t, name)) {
        m_redirect.emplace_back(id.stub(), m_host.recordId(t, name));
        continue;
      }
      if (btr && btr->isFromOverlayReference()) {
        m_overlays.push_back(id.stub());  // overlays are not carried further
        continue;
      }
      bool anonymous = btr && name.size() > 1 && name[0] == '*';
      std::string to = anonymous ? freeName(name.substr(0, 2)) : m_prefix + name;
      if (anonymous) m_renamed[upperKey(name)] = to;
      if (DxDbObjectId old = m_host.recordId(t, to); !old.isNull()) {
        if (DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(old))) emptyBlock(old);
        erase(old);
      }
      Access::name(*rec) = to;
      if (!btr) {
        Access::flags(*rec) |= kDependentFlag | kResolvedFlag;
      } else if (btr->isFromExternalReference()) {
        Access::blockFlags(*btr) = int16_t((btr->blockFlags() | kDependentFlag) & ~kResolvedFlag);
        nested.push_back(id);
      } else {
        Access::blockFlags(*btr) |= kDependentFlag | kResolvedFlag;
        blocks.push_back(id);
      }
      enter(t, id, *rec);
    }
    for (DxDbObjectId id : blocks) takeEntities(*static_cast<DxDbBlockTableRecord*>(liveObjectOf(id)), id);
    {
      Writing<DxDbBlockTableRecord> target(m_block);
      auto* from = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(model));
      if (target && from) {
        auto& list = Access::entities(*target.get());
        std::vector<DxDbObjectId> taken = std::move(Access::entities(*from));
        Access::entities(*from).clear();
        list.reserve(list.size() + taken.size());
        for (DxDbObjectId e : taken)
          if (keep(e, m_block)) list.push_back(e);
      }
    }
    // Layers name their linetype.
    for (auto [t, id] : records)
      if (t == Table::Layer)
        if (auto* layer = DxRxObject::cast<DxDbLayerTableRecord>(liveObjectOf(id)))
          if (DxDbObjectId lt = redirected(layer->linetypeObjectId()); lt != layer->linetypeObjectId())
            if (Writing<DxDbLayerTableRecord> l(id); l) l->setLinetypeObjectId(lt);
    return nested;
  }

 private:
  static bool shared(Table t, const std::string& name) {
    std::string k = upperKey(name);
    if (t == Table::Layer) return k == "0" || k == "DEFPOINTS";
    if (t == Table::Linetype) return k == "BYLAYER" || k == "BYBLOCK" || k == "CONTINUOUS";
    return false;
  }

  std::string freeName(const std::string& prefix) {
    for (int n = 1;; ++n) {
      std::string cand = prefix + std::to_string(n);
      if (m_host.recordId(Table::Block, cand).isNull()) return cand;
    }
  }

  // A record joins the drawing's table; the table is saved for undo first.
  void enter(Table t, DxDbObjectId id, DxDbSymbolTableRecord& rec) {
    DxDbSymbolTable* table = m_host.table(t);
    if (Stub* ts = Access::stub(*table)) m_host.noteWrite(ts);
    Access::records(*table).push_back(id);
    Access::index(*table)[upperKey(rec.getName())] = id;
    Access::owner(rec) = table->objectId();
  }

  DxDbObjectId redirected(DxDbObjectId id) const {
    for (const auto& [from, to] : m_redirect)
      if (id.stub() == from) return to;
    return id;
  }

  void takeEntities(DxDbBlockTableRecord& b, DxDbObjectId id) {
    for (DxDbObjectId marker : {Access::blockBegin(b), Access::blockEnd(b)}) keep(marker, id);
    auto& list = Access::entities(b);
    list.erase(std::remove_if(list.begin(), list.end(), [&](DxDbObjectId e) { return !keep(e, id); }),
               list.end());
  }

  // Points an entity (and its attributes or vertices) at the drawing's records; false
  // for one that is left out.
  bool keep(DxDbObjectId id, DxDbObjectId owner) {
    // Block lists hold entities only; every one of a big drawing passes here, so the
    // class is looked at once rather than cast to each kind in turn.
    DxDbObject* o = liveObjectOf(id);
    if (!o) return false;
    auto* e = static_cast<DxDbEntity*>(o);
    const DxRxClass* cls = o->isA();
    if (cls == DxDbBlockReference::desc()) {
      auto* ref = static_cast<DxDbBlockReference*>(o);
      Stub* block = ref->blockTableRecord().stub();
      if (std::find(m_overlays.begin(), m_overlays.end(), block) != m_overlays.end()) return false;
      for (DxDbObjectId a : Access::attribs(*ref)) fix(a);
      fix(Access::seqend(*ref));
    } else if (cls == DxDbPolylineHeavy::desc()) {
      auto* pl = static_cast<DxDbPolylineHeavy*>(o);
      for (DxDbObjectId v : Access::vertices(*pl)) fix(v);
      fix(Access::seqend(*pl));
    } else if (cls->myParent() == DxDbDimension::desc() || cls == DxDbDimension::desc()) {
      std::string& shown = Access::dimBlockName(*static_cast<DxDbDimension*>(o));
      if (auto it = m_renamed.find(upperKey(shown)); it != m_renamed.end()) shown = it->second;
    }
    Access::owner(*e) = owner;
    fix(*e);
    return true;
  }

  void fix(DxDbObjectId id) {
    if (auto* e = DxRxObject::cast<DxDbEntity>(liveObjectOf(id))) fix(*e);
  }
  void fix(DxDbEntity& e) {
    Access::layer(e) = redirected(Access::layer(e));
    Access::linetype(e) = redirected(Access::linetype(e));
  }

  DatabaseImpl& m_host;
  DxDbObjectId m_block;
  std::string m_prefix;
  std::vector<std::pair<Stub*, DxDbObjectId>> m_redirect;  // the source's record, the drawing's
  std::vector<Stub*> m_overlays;
  std::unordered_map<std::string, std::string> m_renamed;  // anonymous blocks: old, new name
};

}  // namespace

void emptyBlock(DxDbObjectId block) {
  std::vector<DxDbObjectId> ents;
  if (DxDbBlockTableRecord* b = nullptr; dxdbOpenObject(b, block, DxDb::kForRead) == Dxad::eOk) {
    ents = b->entityIds();
    b->close();
  }
  for (DxDbObjectId e : ents) erase(e);
}

std::vector<DxDbObjectId> adoptReferencedDrawing(DxDbDatabase& host, DxDbDatabase& source,
                                                 DxDbObjectId block, const std::string& name) {
  return Adoption(host, block, name).run(source);
}

}  // namespace dx::db
