// What a class family file of the database uses: the runtime class record macros and
// the helpers that turn a list of subclasses into a registered schema.
//
// A family file (entities/line.cpp, tables/layer.cpp, objects/group.cpp ...) holds, for
// its classes, the class records, the schema lines and the methods. Its schema lines
// live in a specialisation of Access::Schemas<Class>, which may name the classes'
// internals, and one function named in families.h makes them:
//
//   template <> struct Access::Schemas<DxDbLine> {
//     static void define() { entity<DxDbLine>("LINE", {sub("AcDbLine", {...})}); }
//   };
//   void defineLineSchemas() { Access::Schemas<DxDbLine>::define(); }
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "host/db/database_impl.h"
#include "host/db/families.h"
#include "host/db/fields.h"

#define DX_DEFINE_RX(CLASS, PARENT, DXFNAME, CTOR)                                \
  DxRxClass* CLASS::desc() {                                                      \
    static DxRxClass* cls = new DxRxClass(#CLASS, PARENT::desc(), DXFNAME, CTOR); \
    return cls;                                                                   \
  }                                                                               \
  DxRxClass* CLASS::isA() const { return desc(); }

#define DX_DEFINE_ABSTRACT(CLASS, PARENT) DX_DEFINE_RX(CLASS, PARENT, "", nullptr)
#define DX_DEFINE_CONCRETE(CLASS, PARENT, DXFNAME)                                  \
  DX_DEFINE_RX(CLASS, PARENT, DXFNAME, []() -> DxRxObject* { return new CLASS(); }) \
  DxDbObject* CLASS::clone() const {                                                \
    auto* c = new CLASS(*this);                                                     \
    dx::db::Access::detach(*c);                                                     \
    return c;                                                                       \
  }

// A plain setter: checks the open state and assigns.
#define DX_SETTER(CLASS, NAME, TYPE, MEMBER) \
  Dxad::ErrorStatus CLASS::NAME(TYPE v) {    \
    assertWriteEnabled();                    \
    MEMBER = v;                              \
    return Dxad::eOk;                        \
  }

namespace dx::db {

// Registers the schema of a class under its DXF name (when registerName is set: classes
// that share a name, such as the dimension kinds, register the first one only).
ClassSchema* defineSchema(DxRxClass* cls, const char* dxfName, std::vector<SubclassDef> subs,
                          bool isEntity, bool registerName = true);

// The groups every entity starts with (AcDbEntity); made by entities/entity.cpp.
SubclassDef entitySubclass();
// The groups of a multiline text's own subclass (AcDbMText), which attributes embed;
// made by entities/mtext.cpp.
SubclassDef mtextSubclass();

template <class T>
ClassSchema* entity(const char* dxfName, std::vector<SubclassDef> own, bool registerName = true) {
  std::vector<SubclassDef> subs{entitySubclass()};
  for (auto& s : own) subs.push_back(std::move(s));
  return defineSchema(T::desc(), dxfName, std::move(subs), true, registerName);
}

template <class T>
ClassSchema* object(const char* dxfName, std::vector<SubclassDef> own, bool registerName = true) {
  return defineSchema(T::desc(), dxfName, std::move(own), false, registerName);
}

// A symbol table record: the common marker, then the record's own subclass.
inline std::vector<SubclassDef> record(SubclassDef own) {
  std::vector<SubclassDef> v;
  v.push_back(fields::sub("AcDbSymbolTableRecord", {}));
  v.push_back(std::move(own));
  return v;
}

}  // namespace dx::db
