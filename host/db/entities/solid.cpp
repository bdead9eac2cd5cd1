// SOLID: four corners (the fourth repeats the third for a triangle).
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbSolid, DxDbEntity, "SOLID")

namespace dx::db {

template <>
struct Access::Schemas<DxDbSolid> {
  static void define() {
    entity<DxDbSolid>(
        "SOLID", {sub("AcDbTrace",
                      {
                          opt<&DxDbSolid::m_thickness, 0>(39, "thickness"),
                          FieldDef([] {
                            FieldDef f;
                            f.code = 10;
                            f.more = {11, 12, 13};
                            f.repeat = true;
                            f.name = "vertices";
                            f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
                              int i = t.code - 10;
                              if (i >= 0 && i < 4)
                                Access::self<DxDbSolid>(o).m_pts[i] = {t.pt[0], t.pt[1], t.pt[2]};
                            };
                            f.emit = [](const DxDbObject& o, Sink& out, int) {
                              for (int i = 0; i < 4; ++i) {
                                const auto& p = Access::self<DxDbSolid>(o).m_pts[i];
                                double pt[3] = {p.x, p.y, p.z};
                                out.point(10 + i, pt, 3);
                              }
                            };
                            return f;
                          }()),
                          normal<&DxDbSolid::m_normal>(),
                      })});
  }
};

void defineSolidSchemas() { Access::Schemas<DxDbSolid>::define(); }

}  // namespace dx::db

DxDbSolid::DxDbSolid(const DxGePoint3d& p0, const DxGePoint3d& p1, const DxGePoint3d& p2,
                     const DxGePoint3d& p3)
    : m_pts{p0, p1, p2, p3} {}
ErrorStatus DxDbSolid::getPointAt(int i, DxGePoint3d& p) const {
  if (i < 0 || i > 3) return Dxad::eInvalidIndex;
  p = m_pts[i];
  return Dxad::eOk;
}
ErrorStatus DxDbSolid::setPointAt(int i, const DxGePoint3d& p) {
  if (i < 0 || i > 3) return Dxad::eInvalidIndex;
  assertWriteEnabled();
  m_pts[i] = p;
  return Dxad::eOk;
}
ErrorStatus DxDbSolid::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  for (const auto& p : m_pts) box.add(toW * p);
  return box.out(a, b);
}
ErrorStatus DxDbSolid::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  for (auto& p : m_pts) p = toP * (m * (toW * p));
  m_normal = n;
  return Dxad::eOk;
}
