// GROUP: a named, ordered set of entities.
#include <cmath>
#include <unordered_set>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbGroup, DxDbObject, "GROUP")

namespace dx::db {

template <>
struct Access::Schemas<DxDbGroup> {
  static void define() {
    object<DxDbGroup>(
        "GROUP",
        {sub("AcDbGroup", {
                              req<&DxDbGroup::m_description>(300, "description"),
                              req<&DxDbGroup::m_unnamed>(70, "unnamed"),
                              req<&DxDbGroup::m_selectable>(71, "selectable"),
                              custom(
                                  340, {},
                                  [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                                    if (ctx.firstHit) Access::self<DxDbGroup>(o).m_entities.clear();
                                    Access::self<DxDbGroup>(o).m_entities.push_back(t.id);
                                  },
                                  [](const DxDbObject& o, Sink& out, int c) {
                                    for (const auto& id : Access::self<DxDbGroup>(o).m_entities)
                                      if (!id.isErased() && id.isValid()) out.ref(c, id);
                                  },
                                  nullptr, "entities"),
                          })});
  }
};

void defineGroupSchemas() { Access::Schemas<DxDbGroup>::define(); }

}  // namespace dx::db

DxDbGroup::DxDbGroup(const char* description, bool selectable)
    : m_description(description ? description : ""), m_selectable(selectable ? 1 : 0) {}
ErrorStatus DxDbGroup::append(DxDbObjectId id) {
  if (id.isNull()) return Dxad::eNullObjectId;
  assertWriteEnabled();
  if (std::find(m_entities.begin(), m_entities.end(), id) != m_entities.end())
    return Dxad::eAlreadyInDb;
  return append(DxDbObjectIdArray{id});
}
ErrorStatus DxDbGroup::append(const DxDbObjectIdArray& ids) {
  // Members are looked up once, so that filling a group in batches stays linear.
  std::unordered_set<Stub*> members;
  for (const auto& id : m_entities) members.insert(id.stub());
  for (const auto& id : ids) {
    if (id.isNull()) return Dxad::eNullObjectId;
    if (!members.insert(id.stub()).second) continue;
    assertWriteEnabled();
    m_entities.push_back(id);
    if (DxDbObject* o = objectOf(id)) {
      if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
      o->addPersistentReactor(objectId());
    }
  }
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::remove(DxDbObjectId id) {
  auto it = std::find(m_entities.begin(), m_entities.end(), id);
  if (it == m_entities.end()) return Dxad::eKeyNotFound;
  assertWriteEnabled();
  m_entities.erase(it);
  if (DxDbObject* o = objectOf(id)) {
    if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
    o->removePersistentReactor(objectId());
  }
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
  if (auto* d = DxRxObject::cast<DxDbDictionary>(objectOf(m_owner))) {
    auto& items = Access::items(*d);
    for (auto& [k, id] : items)
      if (id == objectId()) {
        bool numbered = k.size() > 2 && (k[1] == 'A' || k[1] == 'a') && k[0] == '*' &&
                        k.find_first_not_of("0123456789", 2) == std::string::npos;
        if (!numbered) {
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
  if (auto* d = DxRxObject::cast<DxDbDictionary>(objectOf(m_owner)))
    return d->nameAt(objectId(), name);
  return Dxad::eKeyNotFound;
}
ErrorStatus DxDbGroup::setSelectable(bool on) {
  assertWriteEnabled();
  m_selectable = on ? 1 : 0;
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::setName(const char* name) {
  if (!name || !*name) return Dxad::eInvalidInput;
  DxDbDictionary* dict = nullptr;
  if (dxdbOpenObject(dict, m_owner, DxDb::kForWrite) != Dxad::eOk) return Dxad::eKeyNotFound;
  ErrorStatus es = Dxad::eKeyNotFound;
  std::string key = upperKey(name);
  auto& items = Access::items(*dict);
  bool taken = false;
  for (auto& [k, id] : items) taken |= id != objectId() && upperKey(k) == key;
  if (taken) {
    es = Dxad::eDuplicateKey;
  } else {
    for (auto& [k, id] : items)
      if (id == objectId()) {
        k = name;
        es = Dxad::eOk;
      }
  }
  dict->close();
  return es;
}
ErrorStatus DxDbGroup::setVisibility(DxDb::Visibility v) {
  for (const auto& id : m_entities) {
    DxDbEntity* e = nullptr;
    if (dxdbOpenObject(e, id, DxDb::kForWrite) != Dxad::eOk) continue;
    e->setVisibility(v);
    e->close();
  }
  return Dxad::eOk;
}
ErrorStatus DxDbGroup::clear() {
  assertWriteEnabled();
  for (const auto& id : m_entities)
    if (DxDbObject* o = objectOf(id)) {
      if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
      o->removePersistentReactor(objectId());
    }
  m_entities.clear();
  return Dxad::eOk;
}
