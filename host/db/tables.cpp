// Symbol tables and their records, block table records, dictionaries, groups and other
// objects.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/db/database_impl.h"

using namespace dx::db;
using Dxad::ErrorStatus;

namespace {
DxDbObject* objOf(DxDbObjectId id) {
  Stub* s = id.stub();
  return s && s->obj ? s->obj : nullptr;
}
DatabaseImpl* dbOf(const DxDbObject& o) {
  Stub* s = Access::stub(o);
  return s ? s->db : nullptr;
}
// Characters a symbol name may not hold.
bool validSymbolName(const char* n) {
  if (!n || !*n) return false;
  for (const char* p = n; *p; ++p)
    if (std::strchr("<>/\\\":;?*|=`", *p)) return false;
  return true;
}
}  // namespace

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
  DatabaseImpl* db = dbOf(*this);
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
  if (auto it = m_index.find(key); it != m_index.end() && !it->second.isErased() && it->second.isValid())
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

ErrorStatus DxDbSymbolTable::newIterator(DxDbSymbolTableIterator*& it, bool, bool skipErased) const {
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
  if (auto* tab = DxRxObject::cast<DxDbSymbolTable>(objOf(m_owner))) {
    auto& idx = Access::index(*tab);
    std::string key = upperKey(name);
    if (auto it = idx.find(key); it != idx.end() && it->second != objectId() && !it->second.isErased())
      return Dxad::eDuplicateRecordName;
    // The table's name index is bookkeeping of the table, kept without opening it.
    if (Stub* ts = Access::stub(*tab); ts && ts->db) ts->db->noteWrite(ts);
    idx.erase(upperKey(m_name));
    idx[key] = objectId();
  }
  m_name = name;
  return Dxad::eOk;
}

// ---------------------------------------------------------------------------------------
// Layers, linetypes, styles, dimension styles, UCS, viewports

void DxDbLayerTableRecord::setIsOff(bool off) {
  assertWriteEnabled();
  int16_t c = int16_t(std::abs(m_color));
  m_color = off ? int16_t(-c) : c;
}
void DxDbLayerTableRecord::setIsFrozen(bool f) {
  assertWriteEnabled();
  m_flags = int16_t(f ? (m_flags | 1) : (m_flags & ~1));
}
void DxDbLayerTableRecord::setIsLocked(bool l) {
  assertWriteEnabled();
  m_flags = int16_t(l ? (m_flags | 4) : (m_flags & ~4));
}
void DxDbLayerTableRecord::setIsPlottable(bool p) {
  assertWriteEnabled();
  m_plot = p;
}
DxCmColor DxDbLayerTableRecord::color() const {
  DxCmColor c;
  if (m_trueColor >= 0)
    c.setRGB(uint8_t(m_trueColor >> 16), uint8_t(m_trueColor >> 8), uint8_t(m_trueColor));
  else
    c.setColorIndex(int16_t(std::abs(m_color)));
  return c;
}
void DxDbLayerTableRecord::setColor(const DxCmColor& c) {
  assertWriteEnabled();
  bool off = isOff();
  int16_t idx = c.colorIndex();
  if (idx < 1 || idx > 255) idx = 7;
  m_color = off ? int16_t(-idx) : idx;
  m_trueColor = c.isByColor() ? c.rgb() : -1;
}
void DxDbLayerTableRecord::setLinetypeObjectId(DxDbObjectId id) {
  assertWriteEnabled();
  m_linetype = id;
}
void DxDbLayerTableRecord::setLineWeight(DxDb::LineWeight lw) {
  assertWriteEnabled();
  m_lineweight = int16_t(lw);
}

ErrorStatus DxDbLinetypeTableRecord::setComments(const char* s) {
  assertWriteEnabled();
  m_description = s ? s : "";
  return Dxad::eOk;
}
ErrorStatus DxDbLinetypeTableRecord::setPatternLength(double l) {
  assertWriteEnabled();
  m_patternLength = l;
  return Dxad::eOk;
}
ErrorStatus DxDbLinetypeTableRecord::setDashes(const std::vector<Dash>& d) {
  assertWriteEnabled();
  m_dashes = d;
  double total = 0;
  for (const auto& x : d) total += std::fabs(x.length);
  m_patternLength = total;
  return Dxad::eOk;
}

ErrorStatus DxDbTextStyleTableRecord::setFileName(const char* f) {
  assertWriteEnabled();
  m_font = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setBigFontFileName(const char* f) {
  assertWriteEnabled();
  m_bigFont = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setTextSize(double h) {
  if (h < 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_fixedHeight = h;
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setXScale(double w) {
  if (w <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_widthFactor = w;
  return Dxad::eOk;
}
double DxDbTextStyleTableRecord::obliquingAngle() const { return m_obliqueDeg * M_PI / 180.0; }
ErrorStatus DxDbTextStyleTableRecord::setObliquingAngle(double r) {
  assertWriteEnabled();
  m_obliqueDeg = r * 180.0 / M_PI;
  return Dxad::eOk;
}
std::string DxDbTextStyleTableRecord::fontFamily() const {
  if (!m_extras) return "";
  bool acad = false;
  for (const auto& t : m_extras->xdata) {
    if (t.code == 1001) acad = t.s == "ACAD";
    else if (acad && t.code == 1000) return t.s;
  }
  return "";
}

bool DxDbDimStyleTableRecord::getValue(int code, double& v) const {
  for (const auto& x : m_vars)
    if (x.code == code) {
      v = dx::dxf::kindOf(code) == dx::dxf::Kind::Double ? x.real : double(x.integer);
      return true;
    }
  return false;
}
bool DxDbDimStyleTableRecord::getValue(int code, int& v) const {
  for (const auto& x : m_vars)
    if (x.code == code) {
      v = dx::dxf::kindOf(code) == dx::dxf::Kind::Double ? int(x.real) : int(x.integer);
      return true;
    }
  return false;
}
bool DxDbDimStyleTableRecord::getValue(int code, std::string& v) const {
  for (const auto& x : m_vars)
    if (x.code == code) {
      v = x.text;
      return true;
    }
  return false;
}
bool DxDbDimStyleTableRecord::getValue(int code, DxDbObjectId& v) const {
  for (const auto& x : m_vars)
    if (x.code == code) {
      v = x.id;
      return true;
    }
  return false;
}
namespace {
template <class F>
ErrorStatus setVar(std::vector<DxDbDimStyleTableRecord::Var>& vars, int code, F&& assign) {
  for (auto& x : vars)
    if (x.code == code) {
      assign(x);
      return Dxad::eOk;
    }
  DxDbDimStyleTableRecord::Var v;
  v.code = code;
  assign(v);
  vars.push_back(std::move(v));
  return Dxad::eOk;
}
}  // namespace
ErrorStatus DxDbDimStyleTableRecord::setValue(int code, double v) {
  assertWriteEnabled();
  return setVar(m_vars, code, [&](Var& x) { x.real = v; });
}
ErrorStatus DxDbDimStyleTableRecord::setValue(int code, int v) {
  assertWriteEnabled();
  return setVar(m_vars, code, [&](Var& x) { x.integer = v; });
}
ErrorStatus DxDbDimStyleTableRecord::setValue(int code, const char* v) {
  assertWriteEnabled();
  return setVar(m_vars, code, [&](Var& x) { x.text = v ? v : ""; });
}
ErrorStatus DxDbDimStyleTableRecord::setValue(int code, DxDbObjectId v) {
  assertWriteEnabled();
  return setVar(m_vars, code, [&](Var& x) { x.id = v; });
}
ErrorStatus DxDbDimStyleTableRecord::removeValue(int code) {
  assertWriteEnabled();
  auto it = std::remove_if(m_vars.begin(), m_vars.end(), [&](const Var& x) { return x.code == code; });
  if (it == m_vars.end()) return Dxad::eKeyNotFound;
  m_vars.erase(it, m_vars.end());
  return Dxad::eOk;
}
std::vector<int> DxDbDimStyleTableRecord::codes() const {
  std::vector<int> c;
  for (const auto& x : m_vars) c.push_back(x.code);
  return c;
}
double DxDbDimStyleTableRecord::dimscale() const {
  double v = 1;
  getValue(40, v);
  return v;
}
double DxDbDimStyleTableRecord::dimtxt() const {
  double v = 2.5;
  getValue(140, v);
  return v;
}
DxDbObjectId DxDbDimStyleTableRecord::dimtxsty() const {
  DxDbObjectId id;
  getValue(340, id);
  return id;
}

void DxDbUCSTableRecord::setOrigin(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_origin = p;
}
void DxDbUCSTableRecord::setXAxis(const DxGeVector3d& v) {
  assertWriteEnabled();
  m_x = v;
}
void DxDbUCSTableRecord::setYAxis(const DxGeVector3d& v) {
  assertWriteEnabled();
  m_y = v;
}
void DxDbViewportTableRecord::setCenterPoint(const DxGePoint2d& p) {
  assertWriteEnabled();
  m_center = p;
}
void DxDbViewportTableRecord::setHeight(double h) {
  assertWriteEnabled();
  m_height = h;
}

// ---------------------------------------------------------------------------------------
// Block table records

DxDbBlockTableRecord::DxDbBlockTableRecord() = default;
DxDbBlockTableRecord::~DxDbBlockTableRecord() = default;

ErrorStatus DxDbBlockTableRecord::appendDxDbEntity(DxDbObjectId& id, DxDbEntity* ent) {
  if (!ent) return Dxad::eNullObjectPointer;
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  if (Access::stub(*ent)) return Dxad::eAlreadyInDb;
  DatabaseImpl* db = dbOf(*this);
  if (!db) return Dxad::eNoDatabase;
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

ErrorStatus DxDbBlockTableRecord::newIterator(DxDbBlockTableRecordIterator*& it, bool, bool skipErased) const {
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

ErrorStatus DxDbBlockTableRecordIterator::getEntity(DxDbEntity*& ent, DxDb::OpenMode mode, bool openErased) const {
  if (done()) return Dxad::eInvalidIndex;
  return dxdbOpenObject(ent, m_ids[m_pos], mode, openErased);
}

ErrorStatus DxDbBlockTableRecord::getBlockReferenceIds(DxDbObjectIdArray& ids, bool, bool) const {
  ids.clear();
  DatabaseImpl* db = dbOf(*this);
  if (!db) return Dxad::eNotInDatabase;
  DxDbObjectId me = objectId();
  // References live in any block, layout or not: walk all block records.
  for (const auto& bid : Access::records(*db->table(Table::Block))) {
    auto* b = DxRxObject::cast<DxDbBlockTableRecord>(objOf(bid));
    if (!b || bid.isErased()) continue;
    for (const auto& eid : Access::entities(*b)) {
      if (eid.isErased()) continue;
      DxDbObject* o = objOf(eid);
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
    if (!id.isErased() && DxRxObject::cast<DxDbAttributeDefinition>(objOf(id))) return true;
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

// ---------------------------------------------------------------------------------------
// Dictionaries

ErrorStatus DxDbDictionary::getAt(const char* key, DxDbObjectId& id) const {
  std::string k = upperKey(key ? key : "");
  for (const auto& [name, oid] : m_items)
    if (upperKey(name) == k && !oid.isErased() && oid.isValid()) {
      id = oid;
      return Dxad::eOk;
    }
  id = {};
  return Dxad::eKeyNotFound;
}
bool DxDbDictionary::has(const char* key) const {
  DxDbObjectId id;
  return getAt(key, id) == Dxad::eOk;
}
bool DxDbDictionary::has(DxDbObjectId id) const {
  for (const auto& [n, oid] : m_items)
    if (oid == id && !oid.isErased()) return true;
  return false;
}
ErrorStatus DxDbDictionary::setAt(const char* key, DxDbObject* obj, DxDbObjectId& id) {
  if (!key || !*key || !obj) return Dxad::eInvalidInput;
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  DatabaseImpl* db = dbOf(*this);
  if (!db) return Dxad::eNoDatabase;
  std::string k = upperKey(key);
  if (!Access::stub(*obj)) {
    id = db->attach(obj);
    db->objectsOrder.push_back(id);
    Access::openCount(*obj) = 1;
    Access::openWrite(*obj) = true;
    db->noteOpened(Access::stub(*obj));
  } else {
    id = obj->objectId();
  }
  Access::owner(*obj) = objectId();
  for (auto& [name, oid] : m_items)
    if (upperKey(name) == k) {
      oid = id;
      return Dxad::eOk;
    }
  m_items.emplace_back(key, id);
  return Dxad::eOk;
}
ErrorStatus DxDbDictionary::remove(const char* key) {
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  std::string k = upperKey(key ? key : "");
  for (auto it = m_items.begin(); it != m_items.end(); ++it)
    if (upperKey(it->first) == k) {
      m_items.erase(it);
      return Dxad::eOk;
    }
  return Dxad::eKeyNotFound;
}
ErrorStatus DxDbDictionary::remove(DxDbObjectId id) {
  if (!m_openWrite) return Dxad::eNotOpenForWrite;
  for (auto it = m_items.begin(); it != m_items.end(); ++it)
    if (it->second == id) {
      m_items.erase(it);
      return Dxad::eOk;
    }
  return Dxad::eKeyNotFound;
}
ErrorStatus DxDbDictionary::nameAt(DxDbObjectId id, std::string& key) const {
  for (const auto& [name, oid] : m_items)
    if (oid == id) {
      key = name;
      return Dxad::eOk;
    }
  return Dxad::eKeyNotFound;
}
uint32_t DxDbDictionary::numEntries() const {
  uint32_t n = 0;
  for (const auto& [name, oid] : m_items)
    if (!oid.isErased() && oid.isValid()) ++n;
  return n;
}
DxDbDictionaryIterator* DxDbDictionary::newIterator() const {
  std::vector<std::pair<std::string, DxDbObjectId>> live;
  for (const auto& item : m_items)
    if (!item.second.isErased() && item.second.isValid()) live.push_back(item);
  return new DxDbDictionaryIterator(std::move(live));
}

// ---------------------------------------------------------------------------------------
// Groups, records, images, layouts

DxDbGroup::DxDbGroup(const char* description, bool selectable)
    : m_description(description ? description : ""), m_selectable(selectable ? 1 : 0) {}
ErrorStatus DxDbGroup::append(DxDbObjectId id) {
  if (id.isNull()) return Dxad::eNullObjectId;
  assertWriteEnabled();
  if (std::find(m_entities.begin(), m_entities.end(), id) != m_entities.end()) return Dxad::eAlreadyInDb;
  m_entities.push_back(id);
  if (DxDbObject* o = objOf(id)) {
    if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
    o->addPersistentReactor(objectId());
  }
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::append(const DxDbObjectIdArray& ids) {
  for (const auto& id : ids)
    if (auto es = append(id); es != Dxad::eOk && es != Dxad::eAlreadyInDb) return es;
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::remove(DxDbObjectId id) {
  auto it = std::find(m_entities.begin(), m_entities.end(), id);
  if (it == m_entities.end()) return Dxad::eKeyNotFound;
  assertWriteEnabled();
  m_entities.erase(it);
  if (DxDbObject* o = objOf(id)) o->removePersistentReactor(objectId());
  return Dxad::eOk;
}
bool DxDbGroup::has(DxDbObjectId id) const {
  return std::find(m_entities.begin(), m_entities.end(), id) != m_entities.end();
}
uint32_t DxDbGroup::numEntities() const {
  uint32_t n = 0;
  for (const auto& id : m_entities)
    if (!id.isErased() && id.isValid()) ++n;
  return n;
}
uint32_t DxDbGroup::allEntityIds(DxDbObjectIdArray& ids) const {
  ids.clear();
  for (const auto& id : m_entities)
    if (!id.isErased() && id.isValid()) ids.push_back(id);
  return uint32_t(ids.size());
}
ErrorStatus DxDbGroup::setDescription(const char* d) {
  assertWriteEnabled();
  m_description = d ? d : "";
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::setAnonymous() {
  assertWriteEnabled();
  m_unnamed = 1;
  // An anonymous group is renamed "*Ann" in its dictionary.
  if (auto* d = DxRxObject::cast<DxDbDictionary>(objOf(m_owner))) {
    auto& items = Access::items(*d);
    for (auto& [k, id] : items)
      if (id == objectId()) {
        if (k.empty() || k[0] != '*') {
          int n = 1;
          for (;; ++n) {
            std::string cand = "*A" + std::to_string(n);
            bool used = false;
            for (auto& item : items) used |= upperKey(item.first) == upperKey(cand);
            if (!used) break;
          }
          k = "*A" + std::to_string(n);
        }
      }
  }
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::getName(std::string& name) const {
  if (auto* d = DxRxObject::cast<DxDbDictionary>(objOf(m_owner))) return d->nameAt(objectId(), name);
  return Dxad::eKeyNotFound;
}

ErrorStatus DxDbXrecord::rbChain(resbuf** chain) const {
  *chain = nullptr;
  if (!m_extras) return Dxad::eOk;
  resbuf* tail = nullptr;
  for (const auto& r : m_extras->runs)
    for (const auto& t : r.tags) {
      resbuf* rb = resbufFromXTag(t);
      (tail ? tail->rbnext : *chain) = rb;
      tail = rb;
    }
  return Dxad::eOk;
}
ErrorStatus DxDbXrecord::setFromRbChain(const resbuf* chain) {
  assertWriteEnabled();
  auto& ex = Access::extrasMut(*this);
  ex.runs.clear();
  ExtraRun run;
  run.subclass = 0;
  run.afterField = 0;
  for (const resbuf* rb = chain; rb; rb = rb->rbnext) {
    XTag t = xtagFromResbuf(rb);
    run.tags.push_back(std::move(t));
  }
  ex.runs.push_back(std::move(run));
  return Dxad::eOk;
}

ErrorStatus DxDbRasterImageDef::setSourceFileName(const char* f) {
  assertWriteEnabled();
  m_file = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImageDef::load() {
  m_loaded = 1;
  return Dxad::eOk;
}

ErrorStatus DxDbLayout::setLayoutName(const char* n) {
  assertWriteEnabled();
  m_name = n ? n : "";
  return Dxad::eOk;
}
ErrorStatus DxDbLayout::setBlockTableRecordId(DxDbObjectId id) {
  assertWriteEnabled();
  m_block = id;
  return Dxad::eOk;
}
