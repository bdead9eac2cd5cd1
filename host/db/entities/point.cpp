// POINT.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbPoint, DxDbEntity, "POINT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbPoint> {
  static void define() {
    entity<DxDbPoint>("POINT",
                      {sub("AcDbPoint", {
                                            req<&DxDbPoint::m_pos>(10, "location"),
                                            opt<&DxDbPoint::m_thickness, 0>(39, "thickness"),
                                            normal<&DxDbPoint::m_normal>(),
                                            opt<&DxDbPoint::m_xAngleDeg, 0>(50, "angle"),
                                        })});
  }
};

void definePointSchemas() { Access::Schemas<DxDbPoint>::define(); }

}  // namespace dx::db

DX_SETTER(DxDbPoint, setPosition, const DxGePoint3d&, m_pos)
ErrorStatus DxDbPoint::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  a = b = m_pos;
  return Dxad::eOk;
}
ErrorStatus DxDbPoint::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  m_pos = m * m_pos;
  return Dxad::eOk;
}
