// Block table records and the BLOCK and ENDBLK entities that open and close a block
// in the file; the groups of BLOCK are kept on the record.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbBlockTableRecord, DxDbSymbolTableRecord, "BLOCK_RECORD")
DX_DEFINE_CONCRETE(DxDbBlockBegin, DxDbEntity, "BLOCK")
DX_DEFINE_CONCRETE(DxDbBlockEnd, DxDbEntity, "ENDBLK")

namespace dx::db {

template <>
struct Access::Schemas<DxDbBlockTableRecord> {
  static DxDbBlockTableRecord* ownerBlock(const DxDbObject& o) {
    return DxRxObject::cast<DxDbBlockTableRecord>(objectOf(o.ownerId()));
  }

  // Groups of BLOCK live on the block table record that owns it.
  template <class V, V DxDbBlockTableRecord::*M>
  static FieldDef onBlock(int code, const char* name) {
    FieldDef f;
    f.code = code;
    f.name = name;
    f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
      if (auto* b = ownerBlock(o)) setValue(b->*M, t);
    };
    f.emit = [](const DxDbObject& o, Sink& out, int c) {
      if (auto* b = ownerBlock(o)) emitValue(b->*M, out, c);
    };
    return f;
  }

  static FieldDef blockName(int code) {
    FieldDef f;
    f.code = code;
    f.name = "name";
    f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
      if (auto* b = ownerBlock(o))
        if (b->getName().empty()) Access::name(*b).assign(t.text.data(), t.text.size());
    };
    f.emit = [](const DxDbObject& o, Sink& out, int c) {
      auto* b = ownerBlock(o);
      out.str(c, b ? b->getName() : std::string());
    };
    return f;
  }

  static void define() {
    using R = DxDbSymbolTableRecord;
    {
      using B = DxDbBlockTableRecord;
      object<B>("BLOCK_RECORD",
                record(sub("AcDbBlockTableRecord",
                           {
                               req<&R::m_name>(2, "name"),
                               minVersion(optEmpty<&B::m_layout>(340, "layout"), Ver::R2000),
                               minVersion(req<&B::m_insertUnits>(70, "units"), Ver::R2000),
                               minVersion(req<&B::m_explodable>(280, "explode"), Ver::R2000),
                               minVersion(req<&B::m_scalable>(281, "scale"), Ver::R2000),
                           })));
    }
    {
      using BB = DxDbBlockTableRecord;
      entity<DxDbBlockBegin>(
          "BLOCK", {sub("AcDbBlockBegin", {
                                              blockName(2),
                                              onBlock<int16_t, &BB::m_blockFlags>(70, "flags"),
                                              onBlock<DxGePoint3d, &BB::m_origin>(10, "base_point"),
                                              blockName(3),
                                              onBlock<std::string, &BB::m_xrefPath>(1, "xref_path"),
                                              FieldDef([] {
                                                FieldDef f =
                                                    onBlock<std::string, &BB::m_description>(
                                                        4, "description");
                                                f.isDefault = [](const DxDbObject& o) {
                                                  auto* b = ownerBlock(o);
                                                  return !b || b->comments()[0] == 0;
                                                };
                                                f.minVer = Ver::R2000;
                                                return f;
                                              }()),
                                          })});
    }
    entity<DxDbBlockEnd>("ENDBLK", {sub("AcDbBlockEnd", {})});
  }
};

void defineBlockRecordSchemas() { Access::Schemas<DxDbBlockTableRecord>::define(); }

}  // namespace dx::db

DxDbBlockTableRecord::DxDbBlockTableRecord() = default;
DxDbBlockTableRecord::~DxDbBlockTableRecord() = default;

ErrorStatus DxDbBlockTableRecord::appendDxDbEntity(DxDbObjectId& id, DxDbEntity* ent) {
  if (!ent) return Dxad::eNullObjectPointer;
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  if (Access::stub(*ent)) return Dxad::eAlreadyInDb;
  DatabaseImpl* db = databaseOf(*this);
  if (!db) return Dxad::eNoDatabase;
  if (!allFinite(*ent)) return Dxad::eInvalidInput;
  if (ent->layerId().isNull()) {
    DxDbObjectId layer = db->owner()->clayer();
    Access::self<DxDbEntity>(*ent).setLayer(layer.isNull() ? db->layerZero : layer);
  }
  if (ent->linetypeId().isNull()) Access::self<DxDbEntity>(*ent).setLinetype(db->ltByLayer);
  id = db->attach(ent);
  Access::owner(*ent) = objectId();
  m_entities.push_back(id);
  // Vertices or attributes made before the entity had a database join it now.
  auto adopt = [&](auto& pending, DxDbObjectIdArray& subs, DxDbObjectId& seqend) {
    if (pending.empty()) return;
    for (auto& p : pending) {
      DxDbEntity* sub = static_cast<DxDbEntity*>(p->clone());
      if (sub->layerId().isNull()) sub->setPropertiesFrom(ent);
      DxDbObjectId sid = db->attach(sub);
      Access::owner(*sub) = id;
      subs.push_back(sid);
    }
    pending.clear();
    if (seqend.isNull() || !seqend.isValid()) {
      auto* end = new DxDbSequenceEnd();
      end->setPropertiesFrom(ent);
      seqend = db->attach(end);
      Access::owner(*end) = id;
    }
  };
  if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(ent))
    adopt(Access::pendingVertices(*pl), Access::vertices(*pl), Access::seqend(*pl));
  if (auto* ref = DxRxObject::cast<DxDbBlockReference>(ent))
    adopt(Access::pendingAttribs(*ref), Access::attribs(*ref), Access::seqend(*ref));
  Access::openCount(*ent) = 1;
  Access::openWrite(*ent) = true;
  db->noteOpened(Access::stub(*ent));
  return Dxad::eOk;
}

std::vector<DxDbObjectId> DxDbBlockTableRecord::entityIds() const {
  std::vector<DxDbObjectId> ids;
  ids.reserve(m_entities.size());
  for (const auto& id : m_entities)
    if (!id.isErased() && id.isValid()) ids.push_back(id);
  return ids;
}

size_t DxDbBlockTableRecord::entityCount() const {
  size_t n = 0;
  for (const auto& id : m_entities)
    if (!id.isErased() && id.isValid()) ++n;
  return n;
}

ErrorStatus DxDbBlockTableRecord::newIterator(DxDbBlockTableRecordIterator*& it, bool,
                                              bool skipErased) const {
  if (skipErased) {
    it = new DxDbBlockTableRecordIterator(entityIds());
  } else {
    std::vector<DxDbObjectId> all;
    for (const auto& id : m_entities)
      if (id.isValid()) all.push_back(id);
    it = new DxDbBlockTableRecordIterator(std::move(all));
  }
  return Dxad::eOk;
}

ErrorStatus DxDbBlockTableRecordIterator::getEntityId(DxDbObjectId& id) const {
  if (done()) return Dxad::eInvalidIndex;
  id = m_ids[m_pos];
  return Dxad::eOk;
}

ErrorStatus DxDbBlockTableRecordIterator::getEntity(DxDbEntity*& ent, DxDb::OpenMode mode,
                                                    bool openErased) const {
  if (done()) return Dxad::eInvalidIndex;
  return dxdbOpenObject(ent, m_ids[m_pos], mode, openErased);
}

ErrorStatus DxDbBlockTableRecord::getBlockReferenceIds(DxDbObjectIdArray& ids, bool, bool) const {
  ids.clear();
  DatabaseImpl* db = databaseOf(*this);
  if (!db) return Dxad::eNotInDatabase;
  DxDbObjectId me = objectId();
  // References live in any block, layout or not: walk all block records.
  for (const auto& bid : Access::records(*db->table(Table::Block))) {
    auto* b = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(bid));
    if (!b || bid.isErased()) continue;
    for (const auto& eid : Access::entities(*b)) {
      if (eid.isErased()) continue;
      DxDbObject* o = objectOf(eid);
      if (auto* r = DxRxObject::cast<DxDbBlockReference>(o)) {
        if (r->blockTableRecord() == me) ids.push_back(eid);
      }
    }
  }
  return Dxad::eOk;
}

ErrorStatus DxDbBlockTableRecord::setOrigin(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_origin = p;
  return Dxad::eOk;
}
bool DxDbBlockTableRecord::isLayout() const {
  std::string k = upperKey(m_name);
  return k.rfind("*MODEL_SPACE", 0) == 0 || k.rfind("*PAPER_SPACE", 0) == 0;
}
bool DxDbBlockTableRecord::hasAttributeDefinitions() const {
  for (const auto& id : m_entities)
    if (!id.isErased() && DxRxObject::cast<DxDbAttributeDefinition>(objectOf(id))) return true;
  return false;
}
void DxDbBlockTableRecord::setExplodable(bool e) {
  assertWriteEnabled();
  m_explodable = e;
}
ErrorStatus DxDbBlockTableRecord::setPathName(const char* p) {
  assertWriteEnabled();
  m_xrefPath = p ? p : "";
  return Dxad::eOk;
}
