// DIMSTYLE records: the dimension variables by group code.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbDimStyleTableRecord, DxDbSymbolTableRecord, "DIMSTYLE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbDimStyleTableRecord> {
  static void define() {
    using R = DxDbSymbolTableRecord;
    {
      using D = DxDbDimStyleTableRecord;
      auto* sc = object<D>("DIMSTYLE",
                           record(sub("AcDbDimStyleTableRecord",
                                      {
                                          req<&R::m_name>(2, "name"),
                                          req<&R::m_flags>(70, "flags"),
                                          custom(
                                              -1, {},
                                              [](DxDbObject& o, const InTag& t, LoadContext&) {
                                                D::Var v;
                                                v.code = t.code;
                                                if (t.isRef)
                                                  v.id = t.id;
                                                else if (t.kind == dx::dxf::Kind::Double)
                                                  v.real = t.real;
                                                else if (t.kind == dx::dxf::Kind::String)
                                                  v.text = std::string(t.text);
                                                else
                                                  v.integer = t.integer;
                                                auto& vars = Access::self<D>(o).m_vars;
                                                for (auto& x : vars)
                                                  if (x.code == v.code) {
                                                    x = std::move(v);
                                                    return;
                                                  }
                                                vars.push_back(std::move(v));
                                              },
                                              [](const DxDbObject& o, Sink& out, int) {
                                                for (const auto& v : Access::self<D>(o).m_vars) {
                                                  auto k = dx::dxf::kindOf(v.code);
                                                  if (dx::dxf::isReferenceCode(v.code))
                                                    out.ref(v.code, v.id);
                                                  else if (k == dx::dxf::Kind::Double)
                                                    out.real(v.code, v.real);
                                                  else if (k == dx::dxf::Kind::String)
                                                    out.str(v.code, v.text);
                                                  else
                                                    out.integer(v.code, v.integer);
                                                }
                                              },
                                              nullptr, "variables"),
                                      })));
      sc->handleCode = 105;
    }
  }
};

void defineDimStyleSchemas() { Access::Schemas<DxDbDimStyleTableRecord>::define(); }

}  // namespace dx::db

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
  auto it =
      std::remove_if(m_vars.begin(), m_vars.end(), [&](const Var& x) { return x.code == code; });
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
