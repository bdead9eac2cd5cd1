// Symbol tables and what every record has: a name and flags.
#include <cmath>
#include <cstring>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_ABSTRACT(DxDbSymbolTableRecord, DxDbObject)
DX_DEFINE_CONCRETE(DxDbSymbolTable, DxDbObject, "TABLE")
DX_DEFINE_CONCRETE(DxDbLayerTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbLinetypeTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbTextStyleTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbDimStyleTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbBlockTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbRegAppTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbUCSTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbViewTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbViewportTable, DxDbSymbolTable, "TABLE")

namespace {
// Characters a symbol name may not hold.
bool validSymbolName(const char* n) {
  if (!n || !*n) return false;
  for (const char* p = n; *p; ++p)
    if (std::strchr("<>/\\\":;?*|=`", *p)) return false;
  return true;
}
}  // namespace

namespace dx::db {

template <>
struct Access::Schemas<DxDbSymbolTable> {
  static void define() {
    object<DxDbSymbolTable>(
        "TABLE",
        {sub("AcDbSymbolTable",
             {derived(70,
                      [](const DxDbObject& o, Sink& out, int c) {
                        size_t n = 0;
                        for (const auto& id : Access::self<DxDbSymbolTable>(o).recordIds())
                          n += !Access::implicit(
                              static_cast<DxDbSymbolTableRecord&>(*id.stub()->obj));
                        out.integer(c, int64_t(n));
                      })})},
        false);
    auto record = [](SubclassDef own) {
      std::vector<SubclassDef> v;
      v.push_back(sub("AcDbSymbolTableRecord", {}));
      v.push_back(std::move(own));
      return v;
    };
  }
};

void defineSymbolTableSchemas() { Access::Schemas<DxDbSymbolTable>::define(); }

}  // namespace dx::db

// ---------------------------------------------------------------------------------------
// Symbol tables

ErrorStatus DxDbSymbolTable::getIdAt(const char* name, DxDbObjectId& id, bool getErased) const {
  auto it = m_index.find(upperKey(name ? name : ""));
  if (it == m_index.end() || (!getErased && it->second.isErased()) || !it->second.isValid()) {
    id = {};
    return Dxad::eKeyNotFound;
  }
  id = it->second;
  return Dxad::eOk;
}

bool DxDbSymbolTable::has(const char* name) const {
  DxDbObjectId id;
  return getIdAt(name, id) == Dxad::eOk;
}

bool DxDbSymbolTable::has(DxDbObjectId id) const {
  return !id.isErased() && std::find(m_records.begin(), m_records.end(), id) != m_records.end();
}

ErrorStatus DxDbSymbolTable::add(DxDbObjectId& id, DxDbSymbolTableRecord* rec) {
  if (!rec) return Dxad::eNullObjectPointer;
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  if (Access::stub(*rec)) return Dxad::eAlreadyInDb;
  if (m_recordClass && !rec->isKindOf(m_recordClass)) return Dxad::eNotThatKindOfClass;
  const std::string& name = rec->getName();
  bool anonymousBlock = m_recordClass == DxDbBlockTableRecord::desc() && name == "*U";
  if (!anonymousBlock && !validSymbolName(name.c_str()) && !(name.size() > 1 && name[0] == '*'))
    return Dxad::eInvalidSymbolTableName;
  DatabaseImpl* db = databaseOf(*this);
  if (!db) return Dxad::eNoDatabase;
  if (anonymousBlock) {
    // "*U" asks for the next free anonymous block name.
    for (int n = 1;; ++n) {
      std::string cand = "*U" + std::to_string(n);
      if (!m_index.count(upperKey(cand))) {
        Access::name(*rec) = cand;
        Access::blockFlags(*static_cast<DxDbBlockTableRecord*>(rec)) |= 1;
        break;
      }
    }
  }
  std::string key = upperKey(rec->getName());
  if (auto it = m_index.find(key);
      it != m_index.end() && !it->second.isErased() && it->second.isValid())
    return Dxad::eDuplicateRecordName;
  id = db->attach(rec);
  Access::owner(*rec) = objectId();
  m_records.push_back(id);
  m_index[key] = id;
  if (auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(rec)) {
    auto* b = new DxDbBlockBegin();
    Access::blockBegin(*btr) = db->attach(b);
    Access::owner(*b) = id;
    Access::layer(*b) = db->layerZero;
    auto* e = new DxDbBlockEnd();
    Access::blockEnd(*btr) = db->attach(e);
    Access::owner(*e) = id;
    Access::layer(*e) = db->layerZero;
  }
  Access::openCount(*rec) = 1;
  Access::openWrite(*rec) = true;
  db->noteOpened(Access::stub(*rec));
  return Dxad::eOk;
}

std::vector<DxDbObjectId> DxDbSymbolTable::recordIds() const {
  std::vector<DxDbObjectId> ids;
  ids.reserve(m_records.size());
  for (const auto& id : m_records)
    if (!id.isErased() && id.isValid()) ids.push_back(id);
  return ids;
}

ErrorStatus DxDbSymbolTable::newIterator(DxDbSymbolTableIterator*& it, bool,
                                         bool skipErased) const {
  if (skipErased) {
    it = new DxDbSymbolTableIterator(recordIds());
  } else {
    std::vector<DxDbObjectId> all;
    for (const auto& id : m_records)
      if (id.isValid()) all.push_back(id);
    it = new DxDbSymbolTableIterator(std::move(all));
  }
  return Dxad::eOk;
}

ErrorStatus DxDbSymbolTableIterator::getRecordId(DxDbObjectId& id) const {
  if (done()) return Dxad::eInvalidIndex;
  id = m_ids[m_pos];
  return Dxad::eOk;
}

ErrorStatus DxDbSymbolTableRecord::getName(std::string& name) const {
  name = m_name;
  return Dxad::eOk;
}

ErrorStatus DxDbSymbolTableRecord::setName(const char* name) {
  if (!validSymbolName(name) && !(name && name[0] == '*')) return Dxad::eInvalidSymbolTableName;
  if (m_stub && !m_openWrite) return Dxad::eNotOpenForWrite;
  if (auto* tab = DxRxObject::cast<DxDbSymbolTable>(objectOf(m_owner))) {
    auto& idx = Access::index(*tab);
    std::string key = upperKey(name);
    if (auto it = idx.find(key);
        it != idx.end() && it->second != objectId() && !it->second.isErased())
      return Dxad::eDuplicateRecordName;
    // The table's name index is bookkeeping of the table, kept without opening it.
    if (Stub* ts = Access::stub(*tab); ts && ts->db) ts->db->noteWrite(ts);
    idx.erase(upperKey(m_name));
    idx[key] = objectId();
  }
  m_name = name;
  return Dxad::eOk;
}
