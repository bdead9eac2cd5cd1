// The registry of class schemas: each family file registers its classes once, on the
// first use of any schema.
#include <mutex>
#include <unordered_map>

#include "host/db/family.h"

namespace dx::db {

namespace {
std::unordered_map<std::string, DxRxClass*>& byDxfName() {
  static std::unordered_map<std::string, DxRxClass*> m;
  return m;
}
}  // namespace

ClassSchema* defineSchema(DxRxClass* cls, const char* dxfName, std::vector<SubclassDef> subs,
                          bool isEntity, bool registerName) {
  auto* sc = new ClassSchema();
  sc->dxfName = dxfName;
  sc->cls = cls;
  sc->subclasses = std::move(subs);
  sc->isEntity = isEntity;
  sc->finalize();
  cls->schema = sc;
  if (registerName && dxfName[0]) byDxfName().emplace(dxfName, cls);
  return sc;
}

void ensureSchemas() {
  static std::once_flag once;
  std::call_once(once, [] {
#define DX_DB_DEFINE_FAMILY(F) define##F##Schemas();
    DX_DB_FAMILIES(DX_DB_DEFINE_FAMILY)
#undef DX_DB_DEFINE_FAMILY
  });
}

DxRxClass* classForDxfName(std::string_view dxfName) {
  ensureSchemas();
  auto it = byDxfName().find(std::string(dxfName));
  return it == byDxfName().end() ? nullptr : it->second;
}

DxDbObject* copyObject(const DxDbObject& o) {
  // The journal's copy keeps the identity the public clone leaves behind.
  DxDbObject* c = o.clone();
  Access::stub(*c) = Access::stub(o);
  Access::owner(*c) = o.ownerId();
  Access::xdict(*c) = o.extensionDictionary();
  return c;
}

}  // namespace dx::db
