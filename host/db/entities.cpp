// Entity behaviour: properties, extents, transformations and explosion.
#include <algorithm>
#include <cmath>
#include <limits>

#include "host/db/database_impl.h"

using namespace dx::db;
using Dxad::ErrorStatus;

namespace {
constexpr double kDeg = M_PI / 180.0;

DxDbObject* objOf(DxDbObjectId id) {
  Stub* s = id.stub();
  return s && s->obj ? s->obj : nullptr;
}

struct Box {
  DxGePoint3d lo{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                 std::numeric_limits<double>::max()};
  DxGePoint3d hi{-std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
                 -std::numeric_limits<double>::max()};
  bool empty = true;
  void add(const DxGePoint3d& p) {
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
    empty = false;
  }
  ErrorStatus out(DxGePoint3d& a, DxGePoint3d& b) const {
    if (empty) return Dxad::eInvalidInput;
    a = lo;
    b = hi;
    return Dxad::eOk;
  }
};

// Points on a circle or arc in its plane, for extents (exact at the quadrants).
void addArc(Box& box, const DxGePoint3d& cOcs, double r, double a0, double a1,
            const DxGeVector3d& n) {
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(n);
  auto at = [&](double a) { return toW * DxGePoint3d(cOcs.x + r * std::cos(a), cOcs.y + r * std::sin(a), cOcs.z); };
  while (a1 < a0) a1 += 2 * M_PI;
  box.add(at(a0));
  box.add(at(a1));
  for (int q = int(std::ceil(a0 / (M_PI / 2))); q * (M_PI / 2) < a1; ++q) box.add(at(q * (M_PI / 2)));
}

// New normal and the transform of an object coordinate system under xform.
DxGeVector3d xformNormal(const DxGeMatrix3d& m, const DxGeVector3d& n) {
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(n);
  DxGeVector3d ax = toW * DxGeVector3d::kXAxis, ay = toW * DxGeVector3d::kYAxis;
  DxGeVector3d nx = m * ax, ny = m * ay;
  return nx.crossProduct(ny).normal();
}
}  // namespace

// ---------------------------------------------------------------------------------------
// DxDbEntity

DxDbEntity::DxDbEntity() = default;

std::string DxDbEntity::layer() const {
  auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(objOf(m_layer));
  return r ? r->getName() : std::string();
}
std::string DxDbEntity::linetype() const {
  auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(objOf(m_linetype));
  return r ? r->getName() : std::string("ByLayer");
}

static DxDbDatabase* dbFor(const DxDbObject* o) {
  DxDbDatabase* db = o->database();
  if (!db && dxdbHostApplicationServices()->workingDatabase())
    db = dxdbHostApplicationServices()->workingDatabase();
  return db;
}

ErrorStatus DxDbEntity::setLayer(const char* name) {
  DxDbDatabase* db = dbFor(this);
  if (!db) return Dxad::eNoDatabase;
  DxDbObjectId id = db->impl()->recordId(Table::Layer, name ? name : "");
  if (id.isNull()) return Dxad::eKeyNotFound;
  return setLayer(id);
}
ErrorStatus DxDbEntity::setLayer(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbLayerTableRecord>(objOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_layer = id;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setLinetype(const char* name) {
  DxDbDatabase* db = dbFor(this);
  if (!db) return Dxad::eNoDatabase;
  DxDbObjectId id = db->impl()->recordId(Table::Linetype, name ? name : "");
  if (id.isNull()) return Dxad::eUndefinedLineType;
  return setLinetype(id);
}
ErrorStatus DxDbEntity::setLinetype(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbLinetypeTableRecord>(objOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_linetype = id;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setLinetypeScale(double s) {
  if (s <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_ltscale = s;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setColor(const DxCmColor& c) {
  assertWriteEnabled();
  m_color = c;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setColorIndex(int16_t index) {
  DxCmColor c;
  if (auto es = c.setColorIndex(index); es != Dxad::eOk) return es;
  return setColor(c);
}
ErrorStatus DxDbEntity::setLineWeight(DxDb::LineWeight lw) {
  assertWriteEnabled();
  m_lineweight = int16_t(lw);
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setVisibility(DxDb::Visibility v) {
  assertWriteEnabled();
  m_invisible = v == DxDb::kInvisible;
  return Dxad::eOk;
}

void DxDbEntity::setDatabaseDefaults(DxDbDatabase* db) {
  if (!db) db = dbFor(this);
  if (!db) return;
  m_layer = db->clayer();
  m_linetype = db->celtype();
  m_color = db->cecolor();
  m_ltscale = db->celtscale();
  m_lineweight = -1;
}

void DxDbEntity::setPropertiesFrom(const DxDbEntity* o) {
  if (!o) return;
  m_layer = o->m_layer;
  m_linetype = o->m_linetype;
  m_color = o->m_color;
  m_ltscale = o->m_ltscale;
  m_lineweight = o->m_lineweight;
  m_invisible = o->m_invisible;
}

ErrorStatus DxDbEntity::getGeomExtents(DxGePoint3d&, DxGePoint3d&) const { return Dxad::eInvalidInput; }
ErrorStatus DxDbEntity::transformBy(const DxGeMatrix3d&) { return Dxad::eNotApplicable; }
ErrorStatus DxDbEntity::explode(std::vector<DxDbEntity*>&) const { return Dxad::eNotApplicable; }
ErrorStatus DxDbEntity::highlight() {
  m_highlighted = true;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::unhighlight() {
  m_highlighted = false;
  return Dxad::eOk;
}

#define DX_SETTER(CLASS, NAME, TYPE, MEMBER) \
  ErrorStatus CLASS::NAME(TYPE v) {          \
    assertWriteEnabled();                    \
    MEMBER = v;                              \
    return Dxad::eOk;                        \
  }

// ---------------------------------------------------------------------------------------
// Lines, circles, arcs, ellipses, points, solids

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

DxDbCircle::DxDbCircle(const DxGePoint3d& c, const DxGeVector3d& n, double r) : m_radius(r), m_normal(n.normal()) {
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
  m_radius *= std::sqrt(std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
  m_normal = n;
  m_center = DxGeMatrix3d::worldToPlane(n) * c;
  return Dxad::eOk;
}

DxDbArc::DxDbArc(const DxGePoint3d& c, double r, double s, double e) : DxDbArc(c, DxGeVector3d::kZAxis, r, s, e) {}
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
         DxGePoint3d(m_center.x + m_radius * std::cos(startAngle()), m_center.y + m_radius * std::sin(startAngle()), m_center.z);
}
DxGePoint3d DxDbArc::endPoint() const {
  return DxGeMatrix3d::planeToWorld(m_normal) *
         DxGePoint3d(m_center.x + m_radius * std::cos(endAngle()), m_center.y + m_radius * std::sin(endAngle()), m_center.z);
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
  double scale = std::sqrt(std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
  bool mirrored = (m * DxGeMatrix3d::planeToWorld(m_normal) * DxGeVector3d::kZAxis).dotProduct(n) < 0;
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

DxDbEllipse::DxDbEllipse(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& major,
                         double ratio, double s, double e)
    : m_center(c), m_major(major), m_normal(n.normal()), m_ratio(ratio), m_startParam(s), m_endParam(e) {}
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
  Box box;
  DxGeVector3d mi = minorAxis();
  double e = m_endParam;
  while (e <= m_startParam) e += 2 * M_PI;
  for (int i = 0; i <= 64; ++i) {
    double t = m_startParam + (e - m_startParam) * i / 64.0;
    box.add(m_center + m_major * std::cos(t) + mi * std::sin(t));
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

DxDbSolid::DxDbSolid(const DxGePoint3d& p0, const DxGePoint3d& p1, const DxGePoint3d& p2, const DxGePoint3d& p3)
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

// ---------------------------------------------------------------------------------------
// Polylines

ErrorStatus DxDbPolyline::addVertexAt(unsigned i, const DxGePoint2d& pt, double bulge, double sw, double ew) {
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
  pt = DxGeMatrix3d::planeToWorld(m_normal) * DxGePoint3d(m_verts[i].pt.x, m_verts[i].pt.y, m_elevation);
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
bool DxDbPolyline::getArcSegAt(unsigned i, DxGePoint3d& center, double& radius, double& sa, double& ea) const {
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
  if (b > 0) sa = a0, ea = a1;
  else sa = a1, ea = a0;
  center = DxGeMatrix3d::planeToWorld(m_normal) * c;
  return true;
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
  double scale = std::sqrt(std::fabs((m * DxGeVector3d::kXAxis).crossProduct(m * DxGeVector3d::kYAxis).length()));
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
      e = new DxDbLine(toW * DxGePoint3d(a.x, a.y, m_elevation), toW * DxGePoint3d(b.x, b.y, m_elevation));
    }
    e->setPropertiesFrom(this);
    pieces.push_back(e);
  }
  return Dxad::eOk;
}

DX_SETTER(DxDbVertex, setPosition, const DxGePoint3d&, m_pos)

DxDbPolylineHeavy::DxDbPolylineHeavy() = default;
DxDbPolylineHeavy::~DxDbPolylineHeavy() = default;
ErrorStatus DxDbPolylineHeavy::appendVertex(DxDbObjectId& id, DxDbVertex* v) {
  if (!v) return Dxad::eNullObjectPointer;
  Stub* s = Access::stub(*this);
  if (!s || !s->db) {
    // Kept with the polyline until the polyline itself goes into a database.
    id = {};
    m_pendingVertices.emplace_back(v);
    return Dxad::eOk;
  }
  assertWriteEnabled();
  id = s->db->attach(v);
  Access::owner(*v) = objectId();
  v->setPropertiesFrom(this);
  m_vertices.push_back(id);
  if (m_seqend.isNull()) {
    auto* end = new DxDbSequenceEnd();
    m_seqend = s->db->attach(end);
    Access::owner(*end) = objectId();
    end->setPropertiesFrom(this);
  }
  Access::openCount(*v) = 1;
  Access::openWrite(*v) = true;
  s->db->noteOpened(Access::stub(*v));
  return Dxad::eOk;
}
ErrorStatus DxDbPolylineHeavy::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objOf(id))) box.add(toW * v->position());
  return box.out(a, b);
}
ErrorStatus DxDbPolylineHeavy::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = is3d() ? m_normal : xformNormal(m, m_normal);
  DxGeMatrix3d toP = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::worldToPlane(n);
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objOf(id))) {
      if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
      Access::self<DxDbVertex>(*v).m_pos = toP * (m * (toW * v->position()));
    }
  for (auto& v : m_pendingVertices) v->m_pos = toP * (m * (toW * v->position()));
  m_normal = n;
  return Dxad::eOk;
}
ErrorStatus DxDbPolylineHeavy::explode(std::vector<DxDbEntity*>& pieces) const {
  std::vector<const DxDbVertex*> vs;
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objOf(id)))
      if (!(v->vertexFlags() & 16)) vs.push_back(v);
  if (vs.size() < 2) return Dxad::eOk;
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  size_t segs = isClosed() ? vs.size() : vs.size() - 1;
  for (size_t i = 0; i < segs; ++i) {
    const DxDbVertex* a = vs[i];
    const DxDbVertex* b = vs[(i + 1) % vs.size()];
    DxDbEntity* e = nullptr;
    if (!is3d() && a->bulge() != 0) {
      DxDbPolyline tmp;
      Access::self<DxDbPolyline>(tmp).m_verts = {{{a->position().x, a->position().y}, 0, 0, a->bulge(), 0},
                                                 {{b->position().x, b->position().y}, 0, 0, 0, 0}};
      Access::self<DxDbPolyline>(tmp).m_elevation = m_elevation.z;
      Access::self<DxDbPolyline>(tmp).m_normal = m_normal;
      DxGePoint3d c;
      double r, sa, ea;
      if (tmp.getArcSegAt(0, c, r, sa, ea)) e = new DxDbArc(c, m_normal, r, sa, ea);
    }
    if (!e) e = new DxDbLine(toW * a->position(), toW * b->position());
    e->setPropertiesFrom(this);
    pieces.push_back(e);
  }
  return Dxad::eOk;
}

// ---------------------------------------------------------------------------------------
// Texts

DxDbText::DxDbText(const DxGePoint3d& pos, const char* text, DxDbObjectId style, double height, double rotation)
    : m_pos(pos), m_height(height), m_rotationDeg(rotation / kDeg), m_text(text ? text : ""), m_style(style) {}
DX_SETTER(DxDbText, setPosition, const DxGePoint3d&, m_pos)
ErrorStatus DxDbText::setAlignmentPoint(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_align = p;
  m_hasAlign = true;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setTextString(const char* s) {
  assertWriteEnabled();
  m_text = s ? s : "";
  return Dxad::eOk;
}
DX_SETTER(DxDbText, setTextStyle, DxDbObjectId, m_style)
ErrorStatus DxDbText::setHeight(double h) {
  if (h <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_height = h;
  return Dxad::eOk;
}
double DxDbText::rotation() const { return m_rotationDeg * kDeg; }
ErrorStatus DxDbText::setRotation(double r) {
  assertWriteEnabled();
  m_rotationDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setWidthFactor(double w) {
  if (w <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_widthFactor = w;
  return Dxad::eOk;
}
double DxDbText::oblique() const { return m_obliqueDeg * kDeg; }
ErrorStatus DxDbText::setOblique(double r) {
  assertWriteEnabled();
  m_obliqueDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setHorizontalMode(DxDb::TextHorzMode m) {
  assertWriteEnabled();
  m_hmode = int16_t(m);
  return Dxad::eOk;
}
ErrorStatus DxDbText::setVerticalMode(DxDb::TextVertMode m) {
  assertWriteEnabled();
  m_vmode = int16_t(m);
  return Dxad::eOk;
}
ErrorStatus DxDbText::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
ErrorStatus DxDbText::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  // Without font metrics: a box of 0.8 height per character along the baseline.
  Box box;
  double w = m_height * m_widthFactor * 0.8 * double(m_text.size());
  double r = rotation();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGePoint3d p = m_pos;
  DxGeVector3d dx(std::cos(r), std::sin(r), 0), dy(-std::sin(r), std::cos(r), 0);
  box.add(toW * p);
  box.add(toW * (p + dx * w));
  box.add(toW * (p + dy * m_height));
  box.add(toW * (p + dx * w + dy * m_height));
  return box.out(a, b);
}
ErrorStatus DxDbText::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  double r = rotation();
  DxGeVector3d dir = m * (toW * DxGeVector3d(std::cos(r), std::sin(r), 0));
  DxGeVector3d up = m * (toW * DxGeVector3d(-std::sin(r), std::cos(r), 0));
  m_pos = toP * (m * (toW * m_pos));
  m_align = toP * (m * (toW * m_align));
  DxGeVector3d dirP = toP * dir;
  m_rotationDeg = std::atan2(dirP.y, dirP.x) / kDeg;
  if (m_rotationDeg < 0) m_rotationDeg += 360;
  double sx = dir.length();
  if (sx > 0) {
    m_height *= up.length();
    m_widthFactor *= sx / std::max(up.length(), 1e-300);
  }
  m_normal = n;
  return Dxad::eOk;
}

DX_SETTER(DxDbMText, setLocation, const DxGePoint3d&, m_location)
ErrorStatus DxDbMText::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
DxGeVector3d DxDbMText::direction() const {
  if (m_hasRotation) {
    DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
    return toW * DxGeVector3d(std::cos(m_rotationRad), std::sin(m_rotationRad), 0);
  }
  return m_xdir;
}
ErrorStatus DxDbMText::setDirection(const DxGeVector3d& d) {
  if (d.isZeroLength()) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_xdir = d.normal();
  m_hasRotation = false;
  return Dxad::eOk;
}
double DxDbMText::rotation() const {
  DxGeVector3d d = DxGeMatrix3d::worldToPlane(m_normal) * direction();
  double a = std::atan2(d.y, d.x);
  return a < 0 ? a + 2 * M_PI : a;
}
ErrorStatus DxDbMText::setRotation(double r) {
  assertWriteEnabled();
  m_xdir = DxGeMatrix3d::planeToWorld(m_normal) * DxGeVector3d(std::cos(r), std::sin(r), 0);
  m_hasRotation = false;
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setWidth(double w) {
  if (w < 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_width = w;
  m_hasWidth = true;
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setTextHeight(double h) {
  if (h <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_height = h;
  return Dxad::eOk;
}
DX_SETTER(DxDbMText, setTextStyle, DxDbObjectId, m_style)
ErrorStatus DxDbMText::setAttachment(AttachmentPoint a) {
  if (a < kTopLeft || a > kBottomRight) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_attach = int16_t(a);
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setFlowDirection(FlowDirection f) {
  assertWriteEnabled();
  m_flow = int16_t(f);
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setContents(const char* s) {
  assertWriteEnabled();
  m_contents = s ? s : "";
  return Dxad::eOk;
}
ErrorStatus DxDbMText::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  box.add(m_location);
  double w = m_width > 0 ? m_width : m_height * 0.8 * double(m_contents.size());
  DxGeVector3d d = direction().normal();
  DxGeVector3d up = m_normal.crossProduct(d).normal();
  int lines = 1 + int(std::count(m_contents.begin(), m_contents.end(), '\n'));
  for (size_t i = 0; i + 1 < m_contents.size(); ++i)
    if (m_contents[i] == '\\' && m_contents[i + 1] == 'P') ++lines;
  double h = m_height * (1 + (lines - 1) * 1.667 * m_lsFactor);
  int col = (m_attach - 1) % 3, row = (m_attach - 1) / 3;
  DxGePoint3d tl = m_location - d * (w * col / 2.0) + up * (h * row / 2.0);
  box.add(tl);
  box.add(tl + d * w);
  box.add(tl - up * h);
  box.add(tl + d * w - up * h);
  return box.out(a, b);
}
ErrorStatus DxDbMText::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeVector3d d = m * direction();
  DxGeVector3d up = m * m_normal.crossProduct(direction().normal());
  m_location = m * m_location;
  m_normal = d.crossProduct(up).normal();
  double s = d.length();
  m_xdir = d.normal();
  m_hasRotation = false;
  m_height *= up.length();
  m_width *= s;
  return Dxad::eOk;
}

ErrorStatus DxDbAttributeDefinition::setTag(const char* t) {
  assertWriteEnabled();
  m_tag = t ? t : "";
  return Dxad::eOk;
}
ErrorStatus DxDbAttributeDefinition::setPrompt(const char* p) {
  assertWriteEnabled();
  m_prompt = p ? p : "";
  return Dxad::eOk;
}
bool DxDbAttributeDefinition::isMTextAttributeDefinition() const {
  if (!m_extras) return false;
  for (const auto& r : m_extras->runs)
    for (const auto& t : r.tags)
      if (t.code == 101) return true;
  return false;
}

ErrorStatus DxDbAttribute::setTag(const char* t) {
  assertWriteEnabled();
  m_tag = t ? t : "";
  return Dxad::eOk;
}
bool DxDbAttribute::isMTextAttribute() const {
  if (!m_extras) return false;
  for (const auto& r : m_extras->runs)
    for (const auto& t : r.tags)
      if (t.code == 101) return true;
  return false;
}
DxDbMText* DxDbAttribute::getMTextAttribute() const {
  if (!isMTextAttribute()) return nullptr;
  // The embedded object carries the multiline text's groups after its 101 marker.
  auto* mt = new DxDbMText();
  auto& m = Access::self<DxDbMText>(*mt);
  m.setPropertiesFrom(this);
  m.m_style = m_style;
  m.m_height = m_height;
  m.m_location = m_pos;
  std::string contents;
  bool in = false;
  for (const auto& r : m_extras->runs)
    for (const auto& t : r.tags) {
      if (t.code == 101) {
        in = true;
        continue;
      }
      if (!in) continue;
      switch (t.code) {
        case 10: m.m_location = {t.v[0], t.v[1], t.v[2]}; break;
        case 40: m.m_height = t.v[0]; break;
        case 41: m.m_width = t.v[0]; break;
        case 71: m.m_attach = int16_t(t.i); break;
        case 72: m.m_flow = int16_t(t.i); break;
        case 3: contents += t.s; break;
        case 1: contents += t.s; break;
        case 11: m.m_xdir = DxGeVector3d(t.v[0], t.v[1], t.v[2]); break;
        case 210: m.m_normal = DxGeVector3d(t.v[0], t.v[1], t.v[2]); break;
        case 44: m.m_lsFactor = t.v[0]; break;
        case 73: m.m_lsStyle = int16_t(t.i); break;
        default: break;
      }
    }
  m.m_contents = contents.empty() ? m_text : contents;
  return mt;
}
ErrorStatus DxDbAttribute::setAttributeFromBlock(const DxDbAttributeDefinition* def, const DxGeMatrix3d& xf) {
  if (!def) return Dxad::eNullObjectPointer;
  assertWriteEnabled();
  auto& d = Access::self<DxDbText>(*def);
  m_pos = d.m_pos;
  m_align = d.m_align;
  m_hasAlign = d.m_hasAlign;
  m_height = d.m_height;
  m_rotationDeg = d.m_rotationDeg;
  m_widthFactor = d.m_widthFactor;
  m_obliqueDeg = d.m_obliqueDeg;
  m_style = d.m_style;
  m_genFlags = d.m_genFlags;
  m_hmode = d.m_hmode;
  m_vmode = d.m_vmode;
  m_normal = d.m_normal;
  m_thickness = d.m_thickness;
  m_text = def->textString();
  m_tag = def->tag();
  m_attFlags = int16_t(def->attributeFlags() & ~2);
  setPropertiesFrom(def);
  return DxDbText::transformBy(xf);
}

// ---------------------------------------------------------------------------------------
// Block references

DxDbBlockReference::DxDbBlockReference() = default;
DxDbBlockReference::DxDbBlockReference(const DxGePoint3d& pos, DxDbObjectId btr) : m_block(btr), m_pos(pos) {}
DxDbBlockReference::~DxDbBlockReference() = default;
ErrorStatus DxDbBlockReference::setBlockTableRecord(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbBlockTableRecord>(objOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_block = id;
  return Dxad::eOk;
}
DX_SETTER(DxDbBlockReference, setPosition, const DxGePoint3d&, m_pos)
ErrorStatus DxDbBlockReference::setScaleFactors(const DxGeVector3d& s) {
  if (s.x == 0 || s.y == 0 || s.z == 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_scale[0] = s.x;
  m_scale[1] = s.y;
  m_scale[2] = s.z;
  return Dxad::eOk;
}
double DxDbBlockReference::rotation() const { return m_rotationDeg * kDeg; }
ErrorStatus DxDbBlockReference::setRotation(double r) {
  assertWriteEnabled();
  m_rotationDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbBlockReference::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
DxGeMatrix3d DxDbBlockReference::blockTransform() const {
  DxGePoint3d base;
  if (auto* b = DxRxObject::cast<DxDbBlockTableRecord>(objOf(m_block))) base = b->origin();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  // The insertion point is in object coordinates, as in the file.
  return toW * DxGeMatrix3d::translation(m_pos.asVector()) *
         DxGeMatrix3d::rotation(rotation(), DxGeVector3d::kZAxis) *
         DxGeMatrix3d::scaling(m_scale[0], m_scale[1], m_scale[2]) *
         DxGeMatrix3d::translation(-base.asVector());
}

namespace {
class IdIterator : public DxDbObjectIterator {
 public:
  explicit IdIterator(DxDbObjectIdArray ids) : m_ids(std::move(ids)) {}
  bool done() const override { return m_pos >= m_ids.size(); }
  void step() override { ++m_pos; }
  DxDbObjectId objectId() const override { return m_ids[m_pos]; }
  void start() override { m_pos = 0; }

 private:
  DxDbObjectIdArray m_ids;
  size_t m_pos = 0;
};
}  // namespace

DxDbObjectIterator* DxDbBlockReference::attributeIterator() const {
  DxDbObjectIdArray live;
  for (const auto& id : m_attribs)
    if (!id.isErased() && id.isValid()) live.push_back(id);
  return new IdIterator(std::move(live));
}

ErrorStatus DxDbBlockReference::appendAttribute(DxDbObjectId& id, DxDbAttribute* att) {
  if (!att) return Dxad::eNullObjectPointer;
  Stub* s = Access::stub(*this);
  if (!s || !s->db) {
    // Kept with the reference until the reference itself goes into a database.
    id = {};
    m_pendingAttribs.emplace_back(att);
    return Dxad::eOk;
  }
  assertWriteEnabled();
  id = s->db->attach(att);
  Access::owner(*att) = objectId();
  if (att->layerId().isNull()) att->setPropertiesFrom(this);
  m_attribs.push_back(id);
  if (m_seqend.isNull() || !m_seqend.isValid()) {
    auto* end = new DxDbSequenceEnd();
    m_seqend = s->db->attach(end);
    Access::owner(*end) = objectId();
    end->setPropertiesFrom(this);
  }
  Access::openCount(*att) = 1;
  Access::openWrite(*att) = true;
  s->db->noteOpened(Access::stub(*att));
  return Dxad::eOk;
}

ErrorStatus DxDbBlockReference::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objOf(m_block));
  if (!btr) return Dxad::eInvalidInput;
  Box box;
  DxGeMatrix3d xf = blockTransform();
  for (const auto& id : Access::entities(*const_cast<DxDbBlockTableRecord*>(btr))) {
    auto* e = DxRxObject::cast<DxDbEntity>(objOf(id));
    if (!e || id.isErased() || DxRxObject::cast<DxDbAttributeDefinition>(e)) continue;
    DxGePoint3d lo, hi;
    if (e->getGeomExtents(lo, hi) != Dxad::eOk) continue;
    for (int i = 0; i < 8; ++i)
      box.add(xf * DxGePoint3d(i & 1 ? hi.x : lo.x, i & 2 ? hi.y : lo.y, i & 4 ? hi.z : lo.z));
  }
  for (const auto& id : m_attribs)
    if (auto* e = DxRxObject::cast<DxDbEntity>(objOf(id))) {
      DxGePoint3d lo, hi;
      if (!id.isErased() && e->getGeomExtents(lo, hi) == Dxad::eOk) {
        box.add(lo);
        box.add(hi);
      }
    }
  return box.out(a, b);
}

ErrorStatus DxDbBlockReference::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGePoint3d p = m * (toW * m_pos);
  DxGeVector3d x = m * (toW * DxGeVector3d(std::cos(rotation()), std::sin(rotation()), 0));
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  DxGeVector3d xp = toP * x;
  double s = x.length();
  m_pos = toP * p;
  m_rotationDeg = std::atan2(xp.y, xp.x) / kDeg;
  for (double& f : m_scale) f *= s;
  m_normal = n;
  for (const auto& id : m_attribs)
    if (auto* a = DxRxObject::cast<DxDbAttribute>(objOf(id))) {
      if (Stub* st = id.stub(); st && st->db) st->db->noteWrite(st);
      bool w = Access::openWrite(*a);
      Access::openWrite(*a) = true;
      a->transformBy(m);
      Access::openWrite(*a) = w;
    }
  for (auto& a : m_pendingAttribs) a->transformBy(m);
  return Dxad::eOk;
}

ErrorStatus DxDbBlockReference::explode(std::vector<DxDbEntity*>& pieces) const {
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objOf(m_block));
  if (!btr) return Dxad::eInvalidInput;
  if (!btr->explodable()) return Dxad::eNotApplicable;
  DxGeMatrix3d xf = blockTransform();
  for (const auto& id : Access::entities(*const_cast<DxDbBlockTableRecord*>(btr))) {
    auto* e = DxRxObject::cast<DxDbEntity>(objOf(id));
    if (!e || id.isErased()) continue;
    auto* c = static_cast<DxDbEntity*>(e->clone());
    Access::stub(*c) = nullptr;
    Access::owner(*c) = {};
    Access::xdict(*c) = {};
    Access::openCount(*c) = 0;
    Access::openWrite(*c) = false;
    // Sub-entities travel with their piece and join the drawing with it.
    if (auto* ins = DxRxObject::cast<DxDbBlockReference>(c)) {
      for (const auto& aid : Access::attribs(*ins))
        if (auto* a = DxRxObject::cast<DxDbAttribute>(objOf(aid)); a && !aid.isErased())
          Access::pendingAttribs(*ins).emplace_back(static_cast<DxDbAttribute*>(a->clone()));
      Access::attribs(*ins).clear();
      Access::seqend(*ins) = {};
    }
    if (auto* pl = DxRxObject::cast<DxDbPolylineHeavy>(c)) {
      for (const auto& vid : Access::vertices(*pl))
        if (auto* v = DxRxObject::cast<DxDbVertex>(objOf(vid)); v && !vid.isErased())
          Access::pendingVertices(*pl).emplace_back(static_cast<DxDbVertex*>(v->clone()));
      Access::vertices(*pl).clear();
      Access::seqend(*pl) = {};
    }
    Access::openWrite(*c) = true;
    c->transformBy(xf);
    Access::openWrite(*c) = false;
    pieces.push_back(c);
  }
  return Dxad::eOk;
}

// ---------------------------------------------------------------------------------------
// Hatches, dimensions, images, splines

ErrorStatus DxDbHatch::setPattern(HatchPatternType, const char* name) {
  assertWriteEnabled();
  m_pattern = name ? name : "SOLID";
  m_solid = upperKey(m_pattern) == "SOLID" ? 1 : 0;
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::setElevation(double e) {
  assertWriteEnabled();
  m_elevation = {0, 0, e};
  return Dxad::eOk;
}

namespace {
// The boundary groups of a hatch live in its unmodelled groups after the associativity
// flag; they are rebuilt whole when a loop is added.
struct HatchLoop {
  int32_t type = 0;
  std::vector<DxGePoint2d> pts;
  std::vector<double> bulges;
};

std::vector<HatchLoop> parseLoops(const ObjectExtras* ex) {
  std::vector<HatchLoop> loops;
  if (!ex) return loops;
  std::vector<const XTag*> tags;
  for (const auto& r : ex->runs)
    for (const auto& t : r.tags) tags.push_back(&t);
  size_t i = 0;
  while (i < tags.size() && tags[i]->code != 91) ++i;
  if (i >= tags.size()) return loops;
  int64_t n = tags[i++]->i;
  for (int64_t k = 0; k < n && i < tags.size(); ++k) {
    if (tags[i]->code != 92) break;
    HatchLoop loop;
    loop.type = int32_t(tags[i++]->i);
    if (loop.type & 2) {
      bool hasBulge = false;
      int64_t nv = 0;
      while (i < tags.size() && tags[i]->code != 93) {
        if (tags[i]->code == 72) hasBulge = tags[i]->i != 0;
        ++i;
      }
      if (i < tags.size()) nv = tags[i++]->i;
      for (int64_t v = 0; v < nv && i < tags.size(); ++v) {
        if (tags[i]->code != 10) break;
        loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
        ++i;
        double b = 0;
        if (hasBulge && i < tags.size() && tags[i]->code == 42) b = tags[i++]->v[0];
        loop.bulges.push_back(b);
      }
    } else {
      int64_t ne = 0;
      if (i < tags.size() && tags[i]->code == 93) ne = tags[i++]->i;
      for (int64_t e = 0; e < ne && i < tags.size(); ++e) {
        if (tags[i]->code != 72) break;
        int64_t et = tags[i++]->i;
        int seen = 0;
        while (i < tags.size() && tags[i]->code != 72 && tags[i]->code != 97 && tags[i]->code != 92) {
          if (et == 1 && tags[i]->code == 10 && seen++ == 0) loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
          if (et != 1 && tags[i]->code == 10 && seen++ == 0) loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
          ++i;
        }
        loop.bulges.push_back(0);
      }
    }
    while (i < tags.size() && tags[i]->code != 92 && tags[i]->code != 75) ++i;
    loops.push_back(std::move(loop));
  }
  return loops;
}
}  // namespace

ErrorStatus DxDbHatch::appendLoop(int32_t loopType, const std::vector<DxGePoint2d>& pts,
                                  const std::vector<double>& bulges) {
  if (pts.size() < 2) return Dxad::eInvalidInput;
  assertWriteEnabled();
  std::vector<HatchLoop> loops = parseLoops(m_extras.get());
  loops.push_back({loopType | 2, pts, bulges});
  // Rebuild the boundary and pattern groups.
  auto& ex = Access::extrasMut(*this);
  ex.runs.clear();
  ExtraRun run;
  run.subclass = 1;    // AcDbHatch
  run.afterField = 4;  // after the associativity flag
  auto add = [&](int code, auto v) {
    XTag t;
    t.code = int16_t(code);
    t.kind = dx::dxf::kindOf(code);
    if constexpr (std::is_floating_point_v<decltype(v)>) t.v[0] = v;
    else t.i = int64_t(v);
    run.tags.push_back(t);
  };
  auto addPt = [&](int code, const DxGePoint2d& p) {
    XTag t;
    t.code = int16_t(code);
    t.kind = dx::dxf::Kind::Double;
    t.dims = 2;
    t.v[0] = p.x;
    t.v[1] = p.y;
    run.tags.push_back(t);
  };
  add(91, int64_t(loops.size()));
  for (const auto& l : loops) {
    bool hasBulge = std::any_of(l.bulges.begin(), l.bulges.end(), [](double b) { return b != 0; });
    add(92, int64_t(l.type | 2));
    add(72, int64_t(hasBulge ? 1 : 0));
    add(73, int64_t(1));
    add(93, int64_t(l.pts.size()));
    for (size_t i = 0; i < l.pts.size(); ++i) {
      addPt(10, l.pts[i]);
      if (hasBulge) add(42, i < l.bulges.size() ? l.bulges[i] : 0.0);
    }
    add(97, int64_t(0));
  }
  add(75, int64_t(1));
  add(76, int64_t(1));
  if (!m_solid) {
    add(52, 0.0);
    add(41, 1.0);
    add(77, int64_t(0));
    add(78, int64_t(0));
  }
  add(98, int64_t(0));
  ex.runs.push_back(std::move(run));
  return Dxad::eOk;
}
int DxDbHatch::numLoops() const { return int(parseLoops(m_extras.get()).size()); }
ErrorStatus DxDbHatch::getLoopAt(int index, int32_t& type, std::vector<DxGePoint2d>& pts,
                                 std::vector<double>& bulges) const {
  auto loops = parseLoops(m_extras.get());
  if (index < 0 || index >= int(loops.size())) return Dxad::eInvalidIndex;
  type = loops[size_t(index)].type;
  pts = loops[size_t(index)].pts;
  bulges = loops[size_t(index)].bulges;
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::evaluateHatch() { return Dxad::eOk; }
ErrorStatus DxDbHatch::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  for (const auto& l : parseLoops(m_extras.get()))
    for (const auto& p : l.pts) box.add(toW * DxGePoint3d(p.x, p.y, m_elevation.z));
  return box.out(a, b);
}
ErrorStatus DxDbHatch::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  if (!m_extras) return Dxad::eOk;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  double z = m_elevation.z;
  // Boundary points (codes 10 with two coordinates) move; seeds too.
  for (auto& r : m_extras->runs)
    for (auto& t : r.tags)
      if (t.code == 10 && t.dims == 2) {
        DxGePoint3d p = toP * (m * (toW * DxGePoint3d(t.v[0], t.v[1], m_elevation.z)));
        t.v[0] = p.x;
        t.v[1] = p.y;
        z = p.z;
      }
  m_elevation = {0, 0, z};
  m_normal = n;
  return Dxad::eOk;
}

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
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(objOf(btrId));
  if (!btr) return Dxad::eNotApplicable;
  for (const auto& id : Access::entities(*btr)) {
    auto* e = DxRxObject::cast<DxDbEntity>(objOf(id));
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
DxDbRotatedDimension::DxDbRotatedDimension(double rotation, const DxGePoint3d& x1, const DxGePoint3d& x2,
                                           const DxGePoint3d& dimLine, const char* text, DxDbObjectId style) {
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

ErrorStatus DxDbRasterImage::setImageDefId(DxDbObjectId id) {
  assertWriteEnabled();
  m_imageDef = id;
  return Dxad::eOk;
}
void DxDbRasterImage::getOrientation(DxGePoint3d& o, DxGeVector3d& u, DxGeVector3d& v) const {
  o = m_origin;
  u = m_u;
  v = m_v;
}
bool DxDbRasterImage::setOrientation(const DxGePoint3d& o, const DxGeVector3d& uw, const DxGeVector3d& vw) {
  if (uw.isZeroLength() || vw.isZeroLength()) return false;
  assertWriteEnabled();
  m_origin = o;
  m_u = uw * (1.0 / m_size.x);
  m_v = vw * (1.0 / m_size.y);
  return true;
}
ErrorStatus DxDbRasterImage::setDisplayOpt(ImageDisplayOpt opt, bool on) {
  assertWriteEnabled();
  m_display = int16_t(on ? (m_display | opt) : (m_display & ~opt));
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::setClipBoundary(const std::vector<DxGePoint2d>& pts) {
  assertWriteEnabled();
  m_clip = pts;
  m_clipType = pts.size() == 2 ? 1 : 2;
  m_clipping = 1;
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeVector3d uw = m_u * m_size.x, vw = m_v * m_size.y;
  box.add(m_origin);
  box.add(m_origin + uw);
  box.add(m_origin + vw);
  box.add(m_origin + uw + vw);
  return box.out(a, b);
}
ErrorStatus DxDbRasterImage::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  m_origin = m * m_origin;
  m_u = m * m_u;
  m_v = m * m_v;
  return Dxad::eOk;
}

void DxDbSpline::getSamplePoints(int count, std::vector<DxGePoint3d>& pts) const {
  pts.clear();
  int p = m_degree;
  size_t n = m_ctrl.size();
  if (n == 0) {
    pts = m_fit;
    return;
  }
  if (m_knots.size() != n + size_t(p) + 1 || p < 1) {
    pts = m_ctrl;
    return;
  }
  double t0 = m_knots[size_t(p)], t1 = m_knots[n];
  count = std::max(count, 2);
  for (int k = 0; k < count; ++k) {
    double t = t0 + (t1 - t0) * k / (count - 1);
    size_t span = size_t(p);
    while (span + 1 < n && m_knots[span + 1] <= t) ++span;
    std::vector<DxGePoint3d> d(size_t(p) + 1);
    std::vector<double> w(size_t(p) + 1);
    for (int j = 0; j <= p; ++j) {
      size_t idx = span - size_t(p) + size_t(j);
      double wt = m_weights.size() == n ? m_weights[idx] : 1.0;
      d[size_t(j)] = DxGePoint3d(m_ctrl[idx].x * wt, m_ctrl[idx].y * wt, m_ctrl[idx].z * wt);
      w[size_t(j)] = wt;
    }
    for (int r = 1; r <= p; ++r)
      for (int j = p; j >= r; --j) {
        size_t i = span - size_t(p) + size_t(j);
        double den = m_knots[i + size_t(p) + 1 - size_t(r)] - m_knots[i];
        double a = den == 0 ? 0 : (t - m_knots[i]) / den;
        d[size_t(j)] = DxGePoint3d(d[size_t(j - 1)].x * (1 - a) + d[size_t(j)].x * a,
                                   d[size_t(j - 1)].y * (1 - a) + d[size_t(j)].y * a,
                                   d[size_t(j - 1)].z * (1 - a) + d[size_t(j)].z * a);
        w[size_t(j)] = w[size_t(j - 1)] * (1 - a) + w[size_t(j)] * a;
      }
    double ww = w[size_t(p)] == 0 ? 1 : w[size_t(p)];
    pts.emplace_back(d[size_t(p)].x / ww, d[size_t(p)].y / ww, d[size_t(p)].z / ww);
  }
}
ErrorStatus DxDbSpline::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  for (const auto& p : m_ctrl) box.add(p);
  for (const auto& p : m_fit) box.add(p);
  return box.out(a, b);
}
ErrorStatus DxDbSpline::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  for (auto& p : m_ctrl) p = m * p;
  for (auto& p : m_fit) p = m * p;
  m_startTan = m * m_startTan;
  m_endTan = m * m_endTan;
  m_normal = (m * m_normal).normal();
  return Dxad::eOk;
}
