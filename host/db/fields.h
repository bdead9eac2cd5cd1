// Building blocks of class schemas: one line per group code, the member it maps to and
// when the file leaves it out.
#pragma once

#include <cmath>
#include <string>
#include <type_traits>

#include "host/db/schema.h"

namespace dx::db::fields {

template <auto M>
struct Member;
template <class C, class T, T C::*M>
struct Member<M> {
  using Class = C;
  using Type = T;
  static T& get(DxDbObject& o) { return static_cast<C&>(o).*M; }
  static const T& get(const DxDbObject& o) { return static_cast<const C&>(o).*M; }
};

inline double asReal(const InTag& t) {
  return t.kind == dxf::Kind::Double ? t.real : double(t.integer);
}
inline int64_t asInt(const InTag& t) {
  return t.kind == dxf::Kind::Double ? int64_t(std::llround(t.real)) : t.integer;
}

template <class T>
void setValue(T& v, const InTag& t) {
  if constexpr (std::is_same_v<T, double>) {
    v = asReal(t);
  } else if constexpr (std::is_same_v<T, bool>) {
    v = asInt(t) != 0;
  } else if constexpr (std::is_integral_v<T>) {
    v = T(asInt(t));
  } else if constexpr (std::is_same_v<T, std::string>) {
    v.assign(t.text.data(), t.text.size());
  } else if constexpr (std::is_same_v<T, DxGePoint3d> || std::is_same_v<T, DxGeVector3d>) {
    if (t.dims) v = T(t.pt[0], t.pt[1], t.pt[2]);
  } else if constexpr (std::is_same_v<T, DxGePoint2d> || std::is_same_v<T, DxGeVector2d>) {
    if (t.dims) v = T(t.pt[0], t.pt[1]);
  } else if constexpr (std::is_same_v<T, DxDbObjectId>) {
    v = t.id;
  } else {
    static_assert(sizeof(T) == 0, "no group mapping for this member type");
  }
}

template <class T>
void emitValue(const T& v, Sink& out, int code) {
  if constexpr (std::is_same_v<T, double>) {
    out.real(code, v);
  } else if constexpr (std::is_same_v<T, bool>) {
    out.integer(code, v ? 1 : 0);
  } else if constexpr (std::is_integral_v<T>) {
    out.integer(code, int64_t(v));
  } else if constexpr (std::is_same_v<T, std::string>) {
    out.str(code, v);
  } else if constexpr (std::is_same_v<T, DxGePoint3d> || std::is_same_v<T, DxGeVector3d>) {
    double p[3] = {v.x, v.y, v.z};
    out.point(code, p, 3);
  } else if constexpr (std::is_same_v<T, DxGePoint2d> || std::is_same_v<T, DxGeVector2d>) {
    double p[3] = {v.x, v.y, 0};
    out.point(code, p, 2);
  } else if constexpr (std::is_same_v<T, DxDbObjectId>) {
    out.ref(code, v);
  }
}

// A field the file always carries.
template <auto M>
FieldDef req(int code, const char* name = "", Ver minVer = Ver::R12) {
  using MT = Member<M>;
  FieldDef f;
  f.code = code;
  f.name = name;
  f.minVer = minVer;
  f.set = [](DxDbObject& o, const InTag& t, LoadContext&) { setValue(MT::get(o), t); };
  f.emit = [](const DxDbObject& o, Sink& out, int c) { emitValue(MT::get(o), out, c); };
  return f;
}

// A scalar field the file leaves out at its default value.
template <auto M, auto Def>
FieldDef opt(int code, const char* name = "", Ver minVer = Ver::R12) {
  using MT = Member<M>;
  FieldDef f = req<M>(code, name, minVer);
  f.isDefault = [](const DxDbObject& o) {
    return MT::get(o) == static_cast<typename MT::Type>(Def);
  };
  return f;
}

// The same for a default that is not a whole number, named by a constant: clang before
// 18 takes no floating-point template argument.
template <auto M, const auto& Def>
FieldDef optRef(int code, const char* name = "", Ver minVer = Ver::R12) {
  using MT = Member<M>;
  FieldDef f = req<M>(code, name, minVer);
  f.isDefault = [](const DxDbObject& o) { return MT::get(o) == Def; };
  return f;
}

// A text, point or reference field left out when empty, zero or null.
template <auto M>
FieldDef optEmpty(int code, const char* name = "", Ver minVer = Ver::R12) {
  using MT = Member<M>;
  FieldDef f = req<M>(code, name, minVer);
  f.isDefault = [](const DxDbObject& o) {
    using T = typename MT::Type;
    const T& v = MT::get(o);
    if constexpr (std::is_same_v<T, std::string>) return v.empty();
    else if constexpr (std::is_same_v<T, DxDbObjectId>) return v.isNull();
    else return v == T();
  };
  return f;
}

// An extrusion direction, left out when it is the z axis.
template <auto M>
FieldDef normal(int code = 210, const char* name = "normal") {
  using MT = Member<M>;
  FieldDef f = req<M>(code, name);
  f.isDefault = [](const DxDbObject& o) { return MT::get(o) == DxGeVector3d(0, 0, 1); };
  return f;
}

// A reference to a symbol table record, written as the record's name.
template <auto M, Table T>
FieldDef nameRef(int code, const char* name = "", bool omitNull = false) {
  using MT = Member<M>;
  FieldDef f;
  f.code = code;
  f.name = name;
  f.set = [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
    MT::get(o) = t.isRef ? t.id : ctx.resolveName(T, t.text);
  };
  f.emit = [](const DxDbObject& o, Sink& out, int c) {
    const DxDbObjectId& id = MT::get(o);
    const DxDbObject* rec = id.stub() ? id.stub()->obj : nullptr;
    out.nameRef(c, id, rec ? static_cast<const DxDbSymbolTableRecord*>(rec)->getName() : std::string());
  };
  if (omitNull) f.isDefault = [](const DxDbObject& o) { return MT::get(o).isNull(); };
  return f;
}

// A field computed from other state when written, and ignored when read.
inline FieldDef derived(int code, EmitFn emit, IsDefaultFn isDefault = nullptr,
                        const char* name = "") {
  FieldDef f;
  f.code = code;
  f.name = name;
  f.set = [](DxDbObject&, const InTag&, LoadContext&) {};
  f.emit = emit;
  f.isDefault = isDefault;
  return f;
}

inline FieldDef custom(int code, std::vector<int> more, SetFn set, EmitFn emit,
                       IsDefaultFn isDefault = nullptr, const char* name = "") {
  FieldDef f;
  f.code = code;
  f.more = std::move(more);
  f.name = name;
  f.set = set;
  f.emit = emit;
  f.isDefault = isDefault;
  f.repeat = true;
  return f;
}

// A part that begins with a group of code and runs to the end of its subclass (a hatch's
// boundary: loops, edges, pattern lines and seed points repeat codes of other fields).
inline FieldDef rest(int code, SetFn set, EmitFn emit, const char* name = "") {
  FieldDef f = custom(code, {}, set, emit, nullptr, name);
  f.rest = true;
  return f;
}

// A group that stays where it is, unmodelled, and that no earlier subclass may take.
inline FieldDef keep(int code, const char* name = "") {
  FieldDef f;
  f.code = code;
  f.name = name;
  f.repeat = true;
  return f;
}

inline FieldDef minVersion(FieldDef f, Ver v) {
  f.minVer = v;
  return f;
}

inline SubclassDef sub(const char* marker, std::vector<FieldDef> fs) {
  SubclassDef s;
  s.marker = marker;
  s.fields = std::move(fs);
  return s;
}

}  // namespace dx::db::fields
