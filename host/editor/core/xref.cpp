// Loading external references into their blocks. The file is read into a database of
// its own, whose objects the drawing then takes over as they are: copying each one would
// cost more than reading the file.
#include "host/editor/core/xref.h"

#include <algorithm>
#include <filesystem>
#include <unordered_map>

#include "host/db/database_impl.h"
#include "host/editor/core/session.h"
#include "host/editor/output.h"

namespace fs = std::filesystem;
using dx::db::Access;
using dx::db::liveObjectOf;
using dx::db::Stub;
using dx::db::Table;
using dx::db::upperKey;

namespace dx::ed {
namespace {

std::string canonical(const std::string& file) {
  std::error_code ec;
  fs::path p = fs::weakly_canonical(fs::absolute(file), ec);
  return ec ? file : p.string();
}

void setResolved(DxDbObjectId block, bool resolved) {
  Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead);
  if (!b || ((b->blockFlags() & kResolvedFlag) != 0) == resolved) return;
  if (b->upgradeOpen() != Dxad::eOk) return;
  int16_t& flags = Access::blockFlags(*b.get());
  flags = resolved ? int16_t(flags | kResolvedFlag) : int16_t(flags & ~kResolvedFlag);
}

void erase(DxDbObjectId id) {
  if (Opened<DxDbObject> o(id, DxDb::kForWrite); o) o->erase();
}

// Puts a reference's file into its block: the model space entities go into the block,
// the records they use into the drawing's tables as "name|record" (dependent), except
// the records every drawing has, for which the drawing's own stand in. What an earlier
// load left under the same names is replaced.
class Adoption {
 public:
  Adoption(DxDbDatabase* host, DxDbObjectId block, const std::string& name)
      : m_host(*dx::db::implOf(host)), m_block(block), m_prefix(name + "|") {}

  // Returns the blocks of the references nested in the file, still to be loaded.
  std::vector<DxDbObjectId> run(DxDbDatabase& source) {
    dx::db::DatabaseImpl& src = *dx::db::implOf(&source);
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
      Opened<DxDbBlockTableRecord> target(m_block, DxDb::kForWrite);
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
            if (Opened<DxDbLayerTableRecord> l(id, DxDb::kForWrite); l) l->setLinetypeObjectId(lt);
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

  dx::db::DatabaseImpl& m_host;
  DxDbObjectId m_block;
  std::string m_prefix;
  std::vector<std::pair<Stub*, DxDbObjectId>> m_redirect;  // the source's record, the drawing's
  std::vector<Stub*> m_overlays;
  std::unordered_map<std::string, std::string> m_renamed;  // anonymous blocks: old, new name
};

}  // namespace

void emptyBlock(DxDbObjectId block) {
  std::vector<DxDbObjectId> ents;
  if (Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead); b) ents = b->entityIds();
  for (DxDbObjectId e : ents) erase(e);
}

std::string findXrefFile(const std::string& path, const std::string& baseDir) {
  if (path.empty()) return {};
  std::error_code ec;
  fs::path p(path);
  std::vector<fs::path> tries;
  if (!baseDir.empty() && p.is_relative()) tries.push_back(fs::path(baseDir) / p);
  tries.push_back(p);
  for (const auto& t : tries)
    if (fs::is_regular_file(t, ec)) return t.lexically_normal().string();
  char found[4096];
  if (dxedFindFile(p.filename().c_str(), found, sizeof found) == RTNORM) return found;
  return {};
}

XrefLoader::XrefLoader(DxDbDatabase* host, const std::string& hostPath) : m_host(host) {
  if (!hostPath.empty()) {
    m_chain.push_back(canonical(hostPath));
    m_hostDir = fs::path(m_chain.back()).parent_path().string();
  }
}

bool XrefLoader::load(DxDbObjectId block, std::string& why) { return loadFrom(block, m_hostDir, why); }

bool XrefLoader::loadFrom(DxDbObjectId block, const std::string& baseDir, std::string& why) {
  std::string name, path;
  {
    Opened<DxDbBlockTableRecord> b(block, DxDb::kForRead);
    if (!b) return false;
    name = b->getName();
    path = b->pathName();
  }
  std::string file = findXrefFile(path, baseDir);
  if (file.empty()) {
    setResolved(block, false);
    why = "\"" + path + "\" not found";
    return false;
  }
  std::string canon = canonical(file);
  if (std::find(m_chain.begin(), m_chain.end(), canon) != m_chain.end()) {
    setResolved(block, false);
    for (const auto& f : m_chain) m_cycle += fs::path(f).filename().string() + " -> ";
    m_cycle += fs::path(canon).filename().string();
    why = "circular reference " + m_cycle;
    return false;
  }
  DxDbDatabase source(false);
  if (source.readDwgFile(file.c_str()) != Dxad::eOk) {
    setResolved(block, false);
    why = "cannot read \"" + file + "\": " + source.lastError();
    return false;
  }
  emptyBlock(block);
  std::vector<DxDbObjectId> nested = Adoption(m_host, block, name).run(source);
  setResolved(block, true);
  // Nested references are read beside the drawing that names them.
  m_chain.push_back(canon);
  std::string dir = fs::path(canon).parent_path().string();
  for (DxDbObjectId id : nested) {
    std::string inner;
    if (!loadFrom(id, dir, inner)) {
      Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
      m_notes.push_back("External reference \"" + (b ? b->getName() : std::string()) + "\": " + inner + ".");
    }
  }
  m_chain.pop_back();
  return true;
}

void resolveXrefs(DxDbDatabase* db, const std::string& path) {
  std::vector<DxDbObjectId> xrefs;
  {
    Opened<DxDbSymbolTable> table(db->blockTableId(), DxDb::kForRead);
    if (!table) return;
    for (DxDbObjectId id : table->recordIds()) {
      Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
      if (b && b->isFromExternalReference() && !isNestedXref(*b.get())) xrefs.push_back(id);
    }
  }
  for (DxDbObjectId id : xrefs) {
    XrefLoader loader(db, path);
    std::string why;
    bool ok = loader.load(id, why);
    for (const auto& n : loader.notes()) output().message("\n" + n + "\n");
    if (ok) continue;
    Opened<DxDbBlockTableRecord> b(id, DxDb::kForRead);
    output().message("\nExternal reference \"" + (b ? b->getName() : std::string()) + "\": " + why + ".\n");
  }
}

}  // namespace dx::ed
