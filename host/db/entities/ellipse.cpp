// ELLIPSE: centre, major axis, ratio and parameters, in world coordinates.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbEllipse, DxDbCurve, "ELLIPSE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbEllipse> {
  static void define() {
    entity<DxDbEllipse>("ELLIPSE",
                        {sub("AcDbEllipse", {
                                                req<&DxDbEllipse::m_center>(10, "center"),
                                                req<&DxDbEllipse::m_major>(11, "major_axis"),
                                                normal<&DxDbEllipse::m_normal>(),
                                                req<&DxDbEllipse::m_ratio>(40, "ratio"),
                                                req<&DxDbEllipse::m_startParam>(41, "start_param"),
                                                req<&DxDbEllipse::m_endParam>(42, "end_param"),
                                            })});
  }
};

void defineEllipseSchemas() { Access::Schemas<DxDbEllipse>::define(); }

}  // namespace dx::db

DxDbEllipse::DxDbEllipse(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& major,
                         double ratio, double s, double e)
    : m_center(c),
      m_major(major),
      m_normal(n.normal()),
      m_ratio(ratio),
      m_startParam(s),
      m_endParam(e) {}
DxGeVector3d DxDbEllipse::minorAxis() const { return m_normal.crossProduct(m_major) * m_ratio; }
ErrorStatus DxDbEllipse::set(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& major,
                             double ratio, double s, double e) {
  if (ratio <= 0 || ratio > 1 || major.isZeroLength()) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_center = c;
  m_normal = n.normal();
  m_major = major;
  m_ratio = ratio;
  m_startParam = s;
  m_endParam = e;
  return Dxad::eOk;
}
ErrorStatus DxDbEllipse::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  // True extents: along each axis the curve turns where the derivative of that
  // coordinate vanishes, at atan2(minor, major) and half a turn on.
  Box box;
  DxGeVector3d mi = minorAxis();
  double s = m_startParam, e = m_endParam;
  while (e <= s) e += 2 * M_PI;
  auto at = [&](double t) { return m_center + m_major * std::cos(t) + mi * std::sin(t); };
  box.add(at(s));
  box.add(at(e));
  const double ma[3] = {m_major.x, m_major.y, m_major.z}, mn[3] = {mi.x, mi.y, mi.z};
  for (int k = 0; k < 3; ++k) {
    if (ma[k] == 0 && mn[k] == 0) continue;
    for (double t = std::atan2(mn[k], ma[k]), turn = 0; turn < 2; ++turn, t += M_PI) {
      double u = s + std::fmod(std::fmod(t - s, 2 * M_PI) + 2 * M_PI, 2 * M_PI);
      if (u <= e) box.add(at(u));
    }
  }
  return box.out(a, b);
}
ErrorStatus DxDbEllipse::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeVector3d mi = minorAxis();
  m_center = m * m_center;
  DxGeVector3d nm = m * m_major, nn = m * mi;
  m_normal = nm.crossProduct(nn).normal();
  m_major = nm;
  if (nm.length() > 0) m_ratio = std::min(1.0, nn.length() / nm.length());
  return Dxad::eOk;
}
