// LWPOLYLINE: 2-D vertices with widths and bulges in the object coordinate system.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbPolyline, DxDbCurve, "LWPOLYLINE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbPolyline> {
  // Vertex list of a lightweight polyline.
  static FieldDef lwVertices() {
    return custom(
        10, {40, 41, 42, 91},
        [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
          auto& v = Access::self<DxDbPolyline>(o).m_verts;
          if (ctx.firstHit) v.clear();
          if (t.code == 10 || v.empty()) v.emplace_back();
          auto& last = v.back();
          switch (t.code) {
            case 10:
              last.pt = {t.pt[0], t.pt[1]};
              break;
            case 40:
              last.startWidth = asReal(t);
              break;
            case 41:
              last.endWidth = asReal(t);
              break;
            case 42:
              last.bulge = asReal(t);
              break;
            case 91:
              last.id = int32_t(asInt(t));
              break;
          }
        },
        [](const DxDbObject& o, Sink& out, int) {
          const auto& p = Access::self<DxDbPolyline>(o);
          for (const auto& v : p.m_verts) {
            double pt[3] = {v.pt.x, v.pt.y, 0};
            out.point(10, pt, 2);
            if (p.m_constWidth == 0 && (v.startWidth != 0 || v.endWidth != 0)) {
              out.real(40, v.startWidth);
              out.real(41, v.endWidth);
            }
            if (v.bulge != 0) out.real(42, v.bulge);
            if (v.id != 0 && out.version >= Ver::R2010) out.integer(91, v.id);
          }
        },
        nullptr, "vertices");
  }

  static void define() {
    entity<DxDbPolyline>(
        "LWPOLYLINE",
        {sub("AcDbPolyline", {
                                 derived(90,
                                         [](const DxDbObject& o, Sink& out, int c) {
                                           out.integer(
                                               c, Access::self<DxDbPolyline>(o).m_verts.size());
                                         }),
                                 req<&DxDbPolyline::m_flags>(70, "flags"),
                                 opt<&DxDbPolyline::m_constWidth, 0>(43, "const_width"),
                                 opt<&DxDbPolyline::m_elevation, 0>(38, "elevation"),
                                 opt<&DxDbPolyline::m_thickness, 0>(39, "thickness"),
                                 lwVertices(),
                                 normal<&DxDbPolyline::m_normal>(),
                             })});
  }
};

void definePolylineSchemas() { Access::Schemas<DxDbPolyline>::define(); }

}  // namespace dx::db

ErrorStatus DxDbPolyline::addVertexAt(unsigned i, const DxGePoint2d& pt, double bulge, double sw,
                                      double ew) {
  if (i > m_verts.size()) return Dxad::eInvalidIndex;
  assertWriteEnabled();
  Vertex v;
  v.pt = pt;
  v.bulge = bulge;
  v.startWidth = sw < 0 ? 0 : sw;
  v.endWidth = ew < 0 ? 0 : ew;
  m_verts.insert(m_verts.begin() + i, v);
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::removeVertexAt(unsigned i) {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  assertWriteEnabled();
  m_verts.erase(m_verts.begin() + i);
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::getPointAt(unsigned i, DxGePoint2d& pt) const {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  pt = m_verts[i].pt;
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::getPointAt(unsigned i, DxGePoint3d& pt) const {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  pt = DxGeMatrix3d::planeToWorld(m_normal) *
       DxGePoint3d(m_verts[i].pt.x, m_verts[i].pt.y, m_elevation);
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::setPointAt(unsigned i, const DxGePoint2d& pt) {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  assertWriteEnabled();
  m_verts[i].pt = pt;
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::getBulgeAt(unsigned i, double& b) const {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  b = m_verts[i].bulge;
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::setBulgeAt(unsigned i, double b) {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  assertWriteEnabled();
  m_verts[i].bulge = b;
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::getWidthsAt(unsigned i, double& s, double& e) const {
  if (i >= m_verts.size()) return Dxad::eInvalidIndex;
  s = m_verts[i].startWidth;
  e = m_verts[i].endWidth;
  return Dxad::eOk;
}
bool DxDbPolyline::hasBulges() const {
  return std::any_of(m_verts.begin(), m_verts.end(), [](const Vertex& v) { return v.bulge != 0; });
}
void DxDbPolyline::setClosed(bool c) {
  assertWriteEnabled();
  m_flags = int16_t(c ? (m_flags | 1) : (m_flags & ~1));
}
void DxDbPolyline::setElevation(double e) {
  assertWriteEnabled();
  m_elevation = e;
}
void DxDbPolyline::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
}
bool DxDbPolyline::getArcSegAt(unsigned i, DxGePoint3d& center, double& radius, double& sa,
                               double& ea) const {
  if (i >= m_verts.size() || m_verts[i].bulge == 0) return false;
  unsigned j = (i + 1) % unsigned(m_verts.size());
  if (j == 0 && !isClosed()) return false;
  DxGePoint2d p0 = m_verts[i].pt, p1 = m_verts[j].pt;
  double b = m_verts[i].bulge;
  double theta = 4 * std::atan(b);
  double chord = p0.distanceTo(p1);
  if (chord == 0) return false;
  radius = std::fabs(chord / (2 * std::sin(theta / 2)));
  double mx = (p0.x + p1.x) / 2, my = (p0.y + p1.y) / 2;
  double d = radius * std::cos(theta / 2) * (b > 0 ? 1 : -1);
  double ux = -(p1.y - p0.y) / chord, uy = (p1.x - p0.x) / chord;
  double s = std::fabs(theta) > M_PI ? -1 : 1;
  DxGePoint3d c(mx + ux * d * s, my + uy * d * s, m_elevation);
  double a0 = std::atan2(p0.y - c.y, p0.x - c.x), a1 = std::atan2(p1.y - c.y, p1.x - c.x);
  if (b > 0)
    sa = a0, ea = a1;
  else
    sa = a1, ea = a0;
  center = DxGeMatrix3d::planeToWorld(m_normal) * c;
  return true;
}
ErrorStatus DxDbPolyline::getArcSegAt(unsigned i, DxGeCircArc3d& arc) const {
  DxGePoint3d c, start;
  double r, sa, ea;
  if (!getArcSegAt(i, c, r, sa, ea) || getPointAt(i, start) != Dxad::eOk) return Dxad::eNotApplicable;
  double b = m_verts[i].bulge;
  // A clockwise bulge runs about the opposite normal, so the arc always goes start to end.
  arc.set(c, b > 0 ? m_normal : -m_normal, start - c, r, 0, 4 * std::atan(std::fabs(b)));
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  for (unsigned i = 0; i < m_verts.size(); ++i) {
    box.add(toW * DxGePoint3d(m_verts[i].pt.x, m_verts[i].pt.y, m_elevation));
    DxGePoint3d c;
    double r, sa, ea;
    if (getArcSegAt(i, c, r, sa, ea))
      addArc(box, DxGeMatrix3d::worldToPlane(m_normal) * c, r, sa, ea, m_normal);
  }
  return box.out(a, b);
}
ErrorStatus DxDbPolyline::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  bool mirrored = (m * (toW * DxGeVector3d::kZAxis)).dotProduct(n) < 0;
  double scale = std::sqrt(
      std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
  double elev = m_elevation;
  for (auto& v : m_verts) {
    DxGePoint3d p = toP * (m * (toW * DxGePoint3d(v.pt.x, v.pt.y, m_elevation)));
    v.pt = {p.x, p.y};
    elev = p.z;
    if (mirrored) v.bulge = -v.bulge;
    v.startWidth *= scale;
    v.endWidth *= scale;
  }
  m_constWidth *= scale;
  m_elevation = elev;
  m_normal = n;
  return Dxad::eOk;
}
ErrorStatus DxDbPolyline::explode(std::vector<DxDbEntity*>& pieces) const {
  unsigned n = unsigned(m_verts.size());
  unsigned segs = isClosed() ? n : (n ? n - 1 : 0);
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  for (unsigned i = 0; i < segs; ++i) {
    DxGePoint3d c;
    double r, sa, ea;
    DxDbEntity* e = nullptr;
    if (getArcSegAt(i, c, r, sa, ea)) {
      e = new DxDbArc(c, m_normal, r, sa, ea);
    } else {
      const auto& a = m_verts[i].pt;
      const auto& b = m_verts[(i + 1) % n].pt;
      e = new DxDbLine(toW * DxGePoint3d(a.x, a.y, m_elevation),
                       toW * DxGePoint3d(b.x, b.y, m_elevation));
    }
    e->setPropertiesFrom(this);
    pieces.push_back(e);
  }
  return Dxad::eOk;
}
