// DICTIONARY and ACDBDICTIONARYWDFLT: named entries that own or point to objects.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbDictionary, DxDbObject, "DICTIONARY")
DX_DEFINE_CONCRETE(DxDbDictionaryWithDefault, DxDbDictionary, "ACDBDICTIONARYWDFLT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbDictionary> {
  // Dictionary entries: key (3) and soft (350) or hard (360) owner reference.
  static FieldDef dictEntries() {
    return custom(
        3, {350, 360},
        [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
          auto& d = Access::self<DxDbDictionary>(o);
          if (ctx.firstHit) d.m_items.clear();
          if (t.code == 3) {
            d.m_items.emplace_back(std::string(t.text), DxDbObjectId());
          } else if (!d.m_items.empty()) {
            d.m_items.back().second = t.id;
            if (t.code == 350) d.m_softKeys = true;
          }
        },
        [](const DxDbObject& o, Sink& out, int) {
          const auto& d = Access::self<DxDbDictionary>(o);
          int code = (d.m_hardOwner || !d.m_softKeys) ? 360 : 350;
          if (d.m_softKeys && !d.m_hardOwner) code = 350;
          for (const auto& [k, id] : d.m_items) {
            if (id.isNull() || id.isErased()) continue;
            out.str(3, k);
            out.ref(code, id);
          }
        },
        nullptr, "entries");
  }

  static void define() {
    object<DxDbDictionary>(
        "DICTIONARY",
        {sub("AcDbDictionary", {
                                   opt<&DxDbDictionary::m_hardOwner, 0>(280, "hard_owned"),
                                   req<&DxDbDictionary::m_cloning>(281, "cloning"),
                                   dictEntries(),
                               })});
    object<DxDbDictionaryWithDefault>(
        "ACDBDICTIONARYWDFLT", {sub("AcDbDictionary",
                                    {
                                        opt<&DxDbDictionary::m_hardOwner, 0>(280, "hard_owned"),
                                        req<&DxDbDictionary::m_cloning>(281, "cloning"),
                                        dictEntries(),
                                    }),
                                sub("AcDbDictionaryWithDefault",
                                    {req<&DxDbDictionaryWithDefault::m_default>(340, "default")})});
  }
};

void defineDictionarySchemas() { Access::Schemas<DxDbDictionary>::define(); }

}  // namespace dx::db

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
  DatabaseImpl* db = databaseOf(*this);
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

DxDbObjectId dxdbNamedObject(DxDbDatabase* db, const char* key, DxDbObject* (*make)()) {
  DxDbObjectId id;
  DxDbDictionary* nod = nullptr;
  if (!db || dxdbOpenObject(nod, db->namedObjectsDictionaryId(), DxDb::kForRead) != Dxad::eOk)
    return id;
  if (nod->getAt(key, id) != Dxad::eOk && make && nod->upgradeOpen() == Dxad::eOk) {
    DxDbObject* obj = make();
    if (nod->setAt(key, obj, id) == Dxad::eOk) {
      obj->close();
    } else {
      delete obj;
      id = DxDbObjectId();
    }
  }
  nod->close();
  return id;
}
