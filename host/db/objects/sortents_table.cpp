// SORTENTSTABLE: the draw order of a block's entities, as sort handles.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <unordered_map>
#include <unordered_set>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbSortentsTable, DxDbObject, "SORTENTSTABLE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbSortentsTable> {
  static void define() {
    using T = DxDbSortentsTable;
    object<T>("SORTENTSTABLE",
              {sub("AcDbSortentsTable",
                   {
                       req<&T::m_block>(330, "block"),
                       // Pairs of an entity (331) and its sort handle (5).
                       custom(
                           331, {5},
                           [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                             auto& entries = Access::self<T>(o).m_entries;
                             if (ctx.firstHit) entries.clear();
                             if (t.code == 331) entries.emplace_back(t.id, 0);
                             else if (!entries.empty())
                               entries.back().second = DxDbHandle(std::string(t.text).c_str()).value();
                           },
                           [](const DxDbObject& o, Sink& out, int c) {
                             if (c != 331) return;
                             char hex[24];
                             for (const auto& [id, sort] : Access::self<T>(o).m_entries) {
                               if (id.isErased()) continue;
                               out.ref(331, id);
                               std::snprintf(hex, sizeof hex, "%" PRIX64, sort);
                               out.str(5, hex);
                             }
                           },
                           nullptr, "entries"),
                   })});
  }
};

void defineSortentsTableSchemas() { Access::Schemas<DxDbSortentsTable>::define(); }

}  // namespace dx::db

namespace {

uint64_t ownHandle(DxDbObjectId id) {
  Stub* s = id.stub();
  return s ? s->handle : 0;
}

}  // namespace

ErrorStatus DxDbSortentsTable::openFor(DxDbObjectId blockId, DxDbSortentsTable*& table,
                                       DxDb::OpenMode mode, bool create) {
  table = nullptr;
  DxDbBlockTableRecord* btr = nullptr;
  if (auto es = dxdbOpenObject(btr, blockId, DxDb::kForRead); es != Dxad::eOk) return es;
  DxDbObjectId xdict = btr->extensionDictionary();
  DxDbObjectId tableId;
  if (DxDbDictionary* dict = nullptr;
      !xdict.isNull() && dxdbOpenObject(dict, xdict, DxDb::kForRead) == Dxad::eOk) {
    dict->getAt("ACAD_SORTENTS", tableId);
    dict->close();
  }
  if (!tableId.isNull() || !create) {
    btr->close();
    return tableId.isNull() ? Dxad::eKeyNotFound : dxdbOpenObject(table, tableId, mode);
  }
  ErrorStatus es = Dxad::eOk;
  if (xdict.isNull()) {
    es = btr->upgradeOpen();
    if (es == Dxad::eOk) es = btr->createExtensionDictionary();
    xdict = btr->extensionDictionary();
  }
  btr->close();
  DxDbDictionary* dict = nullptr;
  if (es == Dxad::eOk) es = dxdbOpenObject(dict, xdict, DxDb::kForWrite);
  if (es != Dxad::eOk) return es;
  auto* t = new DxDbSortentsTable();
  t->m_block = blockId;
  es = dict->setAt("ACAD_SORTENTS", t, tableId);
  dict->close();
  if (es != Dxad::eOk) {
    delete t;
    return es;
  }
  table = t;  // open for write, as a new object is
  return Dxad::eOk;
}

ErrorStatus DxDbSortentsTable::getFullDrawOrder(DxDbObjectIdArray& ids) const {
  ids.clear();
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(liveObjectOf(m_block));
  if (!btr) return Dxad::eNullObjectId;
  std::unordered_map<const Stub*, uint64_t> sortOf;
  sortOf.reserve(m_entries.size());
  for (const auto& [id, sort] : m_entries) sortOf[id.stub()] = sort;
  std::vector<std::pair<uint64_t, DxDbObjectId>> keyed;
  for (const auto& id : Access::entities(*btr)) {
    if (id.isErased()) continue;
    auto it = sortOf.find(id.stub());
    keyed.emplace_back(it == sortOf.end() ? ownHandle(id) : it->second, id);
  }
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  ids.reserve(keyed.size());
  for (const auto& k : keyed) ids.push_back(k.second);
  return Dxad::eOk;
}

// The entities keep the set of their own handles; the order deals them out again, and
// only an entity whose sort handle differs from its own gets an entry.
ErrorStatus DxDbSortentsTable::setFullDrawOrder(const DxDbObjectIdArray& ids) {
  assertWriteEnabled();
  std::vector<uint64_t> handles;
  handles.reserve(ids.size());
  for (const auto& id : ids) handles.push_back(ownHandle(id));
  std::sort(handles.begin(), handles.end());
  m_entries.clear();
  for (size_t i = 0; i < ids.size(); ++i)
    if (handles[i] != ownHandle(ids[i])) m_entries.emplace_back(ids[i], handles[i]);
  return Dxad::eOk;
}

ErrorStatus DxDbSortentsTable::place(const DxDbObjectIdArray& moved, DxDbObjectId target, bool above) {
  DxDbObjectIdArray order;
  if (auto es = getFullDrawOrder(order); es != Dxad::eOk) return es;
  std::unordered_set<const Stub*> moving;
  for (const auto& id : moved) moving.insert(id.stub());
  DxDbObjectIdArray rest, picked;
  for (const auto& id : order) (moving.count(id.stub()) ? picked : rest).push_back(id);
  size_t at = above ? rest.size() : 0;
  if (!target.isNull()) {
    auto it = std::find(rest.begin(), rest.end(), target);
    if (it == rest.end()) return Dxad::eInvalidInput;
    at = size_t(it - rest.begin()) + (above ? 1 : 0);
  }
  rest.insert(rest.begin() + long(at), picked.begin(), picked.end());
  return setFullDrawOrder(rest);
}

ErrorStatus DxDbSortentsTable::moveToTop(const DxDbObjectIdArray& ids) { return place(ids, {}, true); }
ErrorStatus DxDbSortentsTable::moveToBottom(const DxDbObjectIdArray& ids) { return place(ids, {}, false); }
ErrorStatus DxDbSortentsTable::moveAbove(const DxDbObjectIdArray& ids, DxDbObjectId target) {
  return target.isNull() ? Dxad::eNullObjectId : place(ids, target, true);
}
ErrorStatus DxDbSortentsTable::moveBelow(const DxDbObjectIdArray& ids, DxDbObjectId target) {
  return target.isNull() ? Dxad::eNullObjectId : place(ids, target, false);
}
