// DIMENSION: the common dimension groups, aligned and rotated dimensions.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbDimension, DxDbEntity, "DIMENSION")
DX_DEFINE_CONCRETE(DxDbAlignedDimension, DxDbDimension, "DIMENSION")
DX_DEFINE_CONCRETE(DxDbRotatedDimension, DxDbDimension, "DIMENSION")

namespace dx::db {

template <>
struct Access::Schemas<DxDbDimension> {
  static SubclassDef dimensionSub() {
    using D = DxDbDimension;
    return sub("AcDbDimension", {
                                    req<&D::m_blockName>(2, "geometry"),
                                    req<&D::m_defPoint>(10, "defpoint"),
                                    req<&D::m_textPos>(11, "text_midpoint"),
                                    req<&D::m_type>(70, "dimtype"),
                                    opt<&D::m_attach, 5>(71, "attachment_point"),
                                    opt<&D::m_lsStyle, 1>(72, "line_spacing_style"),
                                    opt<&D::m_lsFactor, 1>(41, "line_spacing_factor"),
                                    optEmpty<&D::m_measurement>(42, "actual_measurement"),
                                    optEmpty<&D::m_text>(1, "text"),
                                    opt<&D::m_textRotDeg, 0>(53, "text_rotation"),
                                    opt<&D::m_hdirDeg, 0>(51, "horizontal_direction"),
                                    normal<&D::m_normal>(),
                                    nameRef<&D::m_dimstyle, Table::DimStyle>(3, "dimstyle"),
                                });
  }

  static SubclassDef alignedSub() {
    using D = DxDbDimension;
    return sub("AcDbAlignedDimension", {
                                           req<&D::m_xline1>(13, "defpoint2"),
                                           req<&D::m_xline2>(14, "defpoint3"),
                                           opt<&D::m_rotationDeg, 0>(50, "angle"),
                                           opt<&D::m_obliqueDeg, 0>(52, "oblique_angle"),
                                       });
  }

  static void define() {
    entity<DxDbDimension>("DIMENSION", {dimensionSub()});
    entity<DxDbAlignedDimension>("DIMENSION", {dimensionSub(), alignedSub()}, false);
    entity<DxDbRotatedDimension>(
        "DIMENSION", {dimensionSub(), alignedSub(), sub("AcDbRotatedDimension", {})}, false);
  }
};

void defineDimensionSchemas() { Access::Schemas<DxDbDimension>::define(); }

}  // namespace dx::db

ErrorStatus DxDbDimension::setDimensionStyle(DxDbObjectId id) {
  assertWriteEnabled();
  m_dimstyle = id;
  return Dxad::eOk;
}
ErrorStatus DxDbDimension::setDimensionText(const char* t) {
  assertWriteEnabled();
  m_text = t ? t : "";
  return Dxad::eOk;
}
DX_SETTER(DxDbDimension, setTextPosition, const DxGePoint3d&, m_textPos)
double DxDbDimension::textRotation() const { return m_textRotDeg * kDeg; }
ErrorStatus DxDbDimension::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  m_defPoint = m * m_defPoint;
  m_textPos = m * m_textPos;
  m_xline1 = m * m_xline1;
  m_xline2 = m * m_xline2;
  return Dxad::eOk;
}
ErrorStatus DxDbDimension::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  box.add(m_defPoint);
  box.add(m_textPos);
  if (!(m_xline1 == DxGePoint3d())) box.add(m_xline1);
  if (!(m_xline2 == DxGePoint3d())) box.add(m_xline2);
  return box.out(a, b);
}
ErrorStatus DxDbDimension::explode(std::vector<DxDbEntity*>& pieces) const {
  Stub* s = Access::stub(*this);
  if (!s || !s->db) return Dxad::eNotInDatabase;
  DxDbObjectId btrId = s->db->recordId(Table::Block, m_blockName);
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objectOf(btrId));
  if (!btr) return Dxad::eNotApplicable;
  for (const auto& id : Access::entities(*btr)) {
    auto* e = DxRxObject::cast<DxDbEntity>(objectOf(id));
    if (!e || id.isErased()) continue;
    auto* c = static_cast<DxDbEntity*>(e->clone());
    Access::stub(*c) = nullptr;
    Access::owner(*c) = {};
    Access::openCount(*c) = 0;
    Access::openWrite(*c) = false;
    pieces.push_back(c);
  }
  return Dxad::eOk;
}

DxDbAlignedDimension::DxDbAlignedDimension() { m_type = 1; }
DX_SETTER(DxDbAlignedDimension, setXLine1Point, const DxGePoint3d&, m_xline1)
DX_SETTER(DxDbAlignedDimension, setXLine2Point, const DxGePoint3d&, m_xline2)
DX_SETTER(DxDbAlignedDimension, setDimLinePoint, const DxGePoint3d&, m_defPoint)

DxDbRotatedDimension::DxDbRotatedDimension() { m_type = 0; }
DxDbRotatedDimension::DxDbRotatedDimension(double rotation, const DxGePoint3d& x1,
                                           const DxGePoint3d& x2, const DxGePoint3d& dimLine,
                                           const char* text, DxDbObjectId style) {
  m_type = 0;
  m_rotationDeg = rotation / kDeg;
  m_xline1 = x1;
  m_xline2 = x2;
  m_defPoint = dimLine;
  m_text = text ? text : "";
  m_dimstyle = style;
  m_textPos = DxGePoint3d((x1.x + x2.x) / 2, (x1.y + x2.y) / 2, (x1.z + x2.z) / 2);
}
DX_SETTER(DxDbRotatedDimension, setXLine1Point, const DxGePoint3d&, m_xline1)
DX_SETTER(DxDbRotatedDimension, setXLine2Point, const DxGePoint3d&, m_xline2)
DX_SETTER(DxDbRotatedDimension, setDimLinePoint, const DxGePoint3d&, m_defPoint)
double DxDbRotatedDimension::rotation() const { return m_rotationDeg * kDeg; }
ErrorStatus DxDbRotatedDimension::setRotation(double r) {
  assertWriteEnabled();
  m_rotationDeg = r / kDeg;
  return Dxad::eOk;
}
