// CIRCLE and ARC: a centre in the object coordinate system, a radius and, for arcs,
// the angles in degrees as the file keeps them.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbCircle, DxDbCurve, "CIRCLE")
DX_DEFINE_CONCRETE(DxDbArc, DxDbCurve, "ARC")

namespace dx::db {

template <>
struct Access::Schemas<DxDbCircle> {
  static void define() {
    entity<DxDbCircle>("CIRCLE",
                       {sub("AcDbCircle", {
                                              opt<&DxDbCircle::m_thickness, 0>(39, "thickness"),
                                              req<&DxDbCircle::m_center>(10, "center"),
                                              req<&DxDbCircle::m_radius>(40, "radius"),
                                              normal<&DxDbCircle::m_normal>(),
                                          })});
    entity<DxDbArc>("ARC", {sub("AcDbCircle",
                                {
                                    opt<&DxDbArc::m_thickness, 0>(39, "thickness"),
                                    req<&DxDbArc::m_center>(10, "center"),
                                    req<&DxDbArc::m_radius>(40, "radius"),
                                    normal<&DxDbArc::m_normal>(),
                                }),
                            sub("AcDbArc", {
                                               req<&DxDbArc::m_startDeg>(50, "start_angle"),
                                               req<&DxDbArc::m_endDeg>(51, "end_angle"),
                                           })});
  }
};

void defineArcCircleSchemas() { Access::Schemas<DxDbCircle>::define(); }

}  // namespace dx::db

DxDbCircle::DxDbCircle(const DxGePoint3d& c, const DxGeVector3d& n, double r)
    : m_radius(r), m_normal(n.normal()) {
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * c;
}
DxGePoint3d DxDbCircle::center() const { return DxGeMatrix3d::planeToWorld(m_normal) * m_center; }
ErrorStatus DxDbCircle::setCenter(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * p;
  return Dxad::eOk;
}
ErrorStatus DxDbCircle::setRadius(double r) {
  if (r <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_radius = r;
  return Dxad::eOk;
}
ErrorStatus DxDbCircle::setNormal(const DxGeVector3d& n) {
  DxGePoint3d c = center();
  assertWriteEnabled();
  m_normal = n.normal();
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * c;
  return Dxad::eOk;
}
ErrorStatus DxDbCircle::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  addArc(box, m_center, m_radius, 0, 2 * M_PI, m_normal);
  return box.out(a, b);
}
ErrorStatus DxDbCircle::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGePoint3d c = m * center();
  DxGeVector3d n = xformNormal(m, m_normal);
  m_radius *= std::sqrt(
      std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
  m_normal = n;
  m_center = DxGeMatrix3d::worldToPlane(n) * c;
  return Dxad::eOk;
}

DxDbArc::DxDbArc(const DxGePoint3d& c, double r, double s, double e)
    : DxDbArc(c, DxGeVector3d::kZAxis, r, s, e) {}
DxDbArc::DxDbArc(const DxGePoint3d& c, const DxGeVector3d& n, double r, double s, double e)
    : m_radius(r), m_startDeg(s / kDeg), m_endDeg(e / kDeg), m_normal(n.normal()) {
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * c;
}
DxGePoint3d DxDbArc::center() const { return DxGeMatrix3d::planeToWorld(m_normal) * m_center; }
ErrorStatus DxDbArc::setCenter(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * p;
  return Dxad::eOk;
}
ErrorStatus DxDbArc::setRadius(double r) {
  if (r <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_radius = r;
  return Dxad::eOk;
}
double DxDbArc::startAngle() const { return m_startDeg * kDeg; }
double DxDbArc::endAngle() const { return m_endDeg * kDeg; }
ErrorStatus DxDbArc::setStartAngle(double a) {
  assertWriteEnabled();
  m_startDeg = a / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbArc::setEndAngle(double a) {
  assertWriteEnabled();
  m_endDeg = a / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbArc::setNormal(const DxGeVector3d& n) {
  DxGePoint3d c = center();
  assertWriteEnabled();
  m_normal = n.normal();
  m_center = DxGeMatrix3d::worldToPlane(m_normal) * c;
  return Dxad::eOk;
}
DxGePoint3d DxDbArc::startPoint() const {
  return DxGeMatrix3d::planeToWorld(m_normal) *
         DxGePoint3d(m_center.x + m_radius * std::cos(startAngle()),
                     m_center.y + m_radius * std::sin(startAngle()), m_center.z);
}
DxGePoint3d DxDbArc::endPoint() const {
  return DxGeMatrix3d::planeToWorld(m_normal) *
         DxGePoint3d(m_center.x + m_radius * std::cos(endAngle()),
                     m_center.y + m_radius * std::sin(endAngle()), m_center.z);
}
ErrorStatus DxDbArc::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  addArc(box, m_center, m_radius, startAngle(), endAngle(), m_normal);
  return box.out(a, b);
}
ErrorStatus DxDbArc::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGePoint3d s = m * startPoint(), e = m * endPoint(), c = m * center();
  DxGeVector3d n = xformNormal(m, m_normal);
  double scale = std::sqrt(
      std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
  bool mirrored =
      (m * DxGeMatrix3d::planeToWorld(m_normal) * DxGeVector3d::kZAxis).dotProduct(n) < 0;
  m_radius *= scale;
  m_normal = n;
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  m_center = toP * c;
  DxGePoint3d sp = toP * s, ep = toP * e;
  double a0 = std::atan2(sp.y - m_center.y, sp.x - m_center.x) / kDeg;
  double a1 = std::atan2(ep.y - m_center.y, ep.x - m_center.x) / kDeg;
  if (mirrored) std::swap(a0, a1);
  m_startDeg = a0 < 0 ? a0 + 360 : a0;
  m_endDeg = a1 < 0 ? a1 + 360 : a1;
  return Dxad::eOk;
}
