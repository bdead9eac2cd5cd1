// LINE: two points, a thickness and an extrusion direction.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbLine, DxDbCurve, "LINE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbLine> {
  static void define() {
    entity<DxDbLine>("LINE", {sub("AcDbLine", {
                                                  opt<&DxDbLine::m_thickness, 0>(39, "thickness"),
                                                  req<&DxDbLine::m_start>(10, "start"),
                                                  req<&DxDbLine::m_end>(11, "end"),
                                                  normal<&DxDbLine::m_normal>(),
                                              })});
  }
};

void defineLineSchemas() { Access::Schemas<DxDbLine>::define(); }

}  // namespace dx::db

DX_SETTER(DxDbLine, setStartPoint, const DxGePoint3d&, m_start)
DX_SETTER(DxDbLine, setEndPoint, const DxGePoint3d&, m_end)
ErrorStatus DxDbLine::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  box.add(m_start);
  box.add(m_end);
  return box.out(a, b);
}
ErrorStatus DxDbLine::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  m_start = m * m_start;
  m_end = m * m_end;
  m_normal = (m * m_normal).normal();
  return Dxad::eOk;
}
