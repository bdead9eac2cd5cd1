// REGION: planar faces bounded by lines and circular or elliptical arcs, kept in world
// coordinates; the file carries them as an ACIS body (entities/region_sat.cpp).
#include <cmath>
#include <unordered_map>

#include "host/db/entities/entity_geometry.h"
#include "host/db/entities/region_sat.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;
using Edge = DxDbRegion::Edge;
using Loop = DxDbRegion::Loop;
using Face = DxDbRegion::Face;

DX_DEFINE_CONCRETE(DxDbRegion, DxDbEntity, "REGION")

namespace dx::db {

namespace {
constexpr size_t kLineMax = 255;  // longest text of one group; the rest goes on in group 3
}

template <>
struct Access::Schemas<DxDbRegion> {
  static void define() {
    using R = DxDbRegion;
    entity<R>(
        "REGION",
        {sub("AcDbModelerGeometry",
             {
                 // Files from 2013 on leave the version out (their body lives elsewhere).
                 opt<&R::m_modelerVersion, 0>(70, "version"),
                 custom(
                     1, {3},
                     [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                       auto& r = Access::self<R>(o);
                       if (ctx.firstHit) r.m_body.clear();
                       r.m_body.emplace_back(int16_t(t.code), std::string(t.text));
                     },
                     [](const DxDbObject& o, Sink& out, int) {
                       const auto& r = Access::self<R>(o);
                       if (!r.m_body.empty()) {
                         for (const auto& [code, text] : r.m_body) out.str(code, text);
                         return;
                       }
                       if (r.m_faces.empty()) return;
                       std::string text = sat::writeBody(r.m_faces, r.m_normal);
                       for (size_t pos = 0; pos < text.size();) {
                         size_t nl = text.find('\n', pos);
                         std::string line = sat::encode(std::string_view(text).substr(pos, nl - pos));
                         pos = nl + 1;
                         for (size_t k = 0; k < line.size() || k == 0; k += kLineMax) {
                           // Never split a caret from the blank that belongs to it.
                           size_t len = std::min(kLineMax, line.size() - k);
                           if (len == kLineMax && line[k + len - 1] == '^') --len;
                           out.str(k == 0 ? 1 : 3, line.substr(k, len));
                           k -= kLineMax - len;
                         }
                       }
                     },
                     nullptr, "acis_data"),
             })})
        ->afterLoad = [](DxDbObject& o, LoadContext&) { Access::self<R>(o).parseBody(); };
  }
};

void defineRegionSchemas() { Access::Schemas<DxDbRegion>::define(); }

namespace {

// Plane coordinates of a loop's pieces: the same sums serve area and orientation.
double edgeArea(const Edge& e, const DxGeMatrix3d& toPlane) {
  if (!e.isArc) {
    DxGePoint3d a = toPlane * e.start, b = toPlane * e.end;
    return 0.5 * (a.x * b.y - b.x * a.y);
  }
  // Half the integral of x dy - y dx along centre + A cos t + B sin t.
  DxGePoint3d c = toPlane * e.center;
  DxGeVector3d A = toPlane * e.majorAxis, B = toPlane * e.minorAxis();
  auto cross = [](double ax, double ay, double bx, double by) { return ax * by - ay * bx; };
  double t0 = e.startParam, t1 = e.endParam;
  return 0.5 * (cross(c.x, c.y, A.x, A.y) * (std::cos(t1) - std::cos(t0)) +
                cross(c.x, c.y, B.x, B.y) * (std::sin(t1) - std::sin(t0)) + cross(A.x, A.y, B.x, B.y) * (t1 - t0));
}

double edgeLength(const Edge& e) {
  if (!e.isArc) return e.start.distanceTo(e.end);
  double a = e.majorAxis.length(), sweep = e.endParam - e.startParam;
  if (std::fabs(e.ratio - 1) < 1e-12) return a * sweep;
  // Simpson's rule on the speed |A sin t| .. ; smooth, so a few hundred steps are exact
  // to far below drawing precision.
  DxGeVector3d A = e.majorAxis, B = e.minorAxis();
  int n = 512;
  double h = sweep / n, sum = 0;
  for (int i = 0; i <= n; ++i) {
    double t = e.startParam + h * i;
    double s = (A * -std::sin(t) + B * std::cos(t)).length();
    sum += s * (i == 0 || i == n ? 1 : (i % 2 ? 4 : 2));
  }
  return sum * h / 3;
}

Edge reversed(const Edge& e) {
  Edge r = e;
  std::swap(r.start, r.end);
  if (e.isArc) {
    // Seen from the other side the same points run the other way: t -> -t.
    r.normal = -e.normal;
    r.startParam = -e.endParam;
    r.endParam = -e.startParam;
  }
  return r;
}

Edge lineEdge(const DxGePoint3d& a, const DxGePoint3d& b) {
  Edge e;
  e.start = a;
  e.end = b;
  return e;
}

Edge arcEdge(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& major, double ratio, double t0,
             double t1) {
  Edge e;
  e.isArc = true;
  e.center = c;
  e.normal = n.normal();
  e.majorAxis = major;
  e.ratio = ratio;
  e.startParam = t0;
  e.endParam = t1;
  e.start = e.pointAt(t0);
  e.end = e.pointAt(t1);
  return e;
}

// The curves as edges; closed ones come out as loops of their own.
bool edgesOf(const DxDbEntity* ent, std::vector<Edge>& open, std::vector<Loop>& closed, int depth = 0) {
  auto closedOrOpen = [&](std::vector<Edge> edges, bool isClosed) {
    if (edges.empty()) return true;
    if (isClosed || edges.front().start.isEqualTo(edges.back().end, 0))
      closed.push_back({std::move(edges)});
    else
      open.insert(open.end(), edges.begin(), edges.end());
    return true;
  };
  if (auto* l = DxRxObject::cast<DxDbLine>(ent)) {
    if (l->startPoint().isEqualTo(l->endPoint(), 0)) return true;  // nothing to bound
    open.push_back(lineEdge(l->startPoint(), l->endPoint()));
    return true;
  }
  if (auto* a = DxRxObject::cast<DxDbArc>(ent)) {
    DxGeVector3d n = a->normal().normal();
    DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(n);
    double sweep = std::fmod(a->endAngle() - a->startAngle(), 2 * M_PI);
    if (sweep <= 0) sweep += 2 * M_PI;
    DxGeVector3d major = toW * DxGeVector3d(std::cos(a->startAngle()), std::sin(a->startAngle()), 0) * a->radius();
    Edge e = arcEdge(a->center(), n, major, 1, 0, sweep);
    e.start = a->startPoint();
    e.end = a->endPoint();
    open.push_back(e);
    return true;
  }
  if (auto* c = DxRxObject::cast<DxDbCircle>(ent)) {
    if (c->radius() <= 0) return false;
    DxGeVector3d n = c->normal().normal();
    return closedOrOpen({arcEdge(c->center(), n, dxgeArbitraryXAxis(n) * c->radius(), 1, 0, 2 * M_PI)}, true);
  }
  if (auto* el = DxRxObject::cast<DxDbEllipse>(ent)) {
    double t0 = el->startParam(), t1 = el->endParam();
    while (t1 <= t0) t1 += 2 * M_PI;
    bool full = t1 - t0 >= 2 * M_PI - 1e-12;
    return closedOrOpen({arcEdge(el->center(), el->normal(), el->majorAxis(), el->radiusRatio(), t0, t1)}, full);
  }
  if (auto* pl = DxRxObject::cast<DxDbPolyline>(ent)) {
    unsigned n = pl->numVerts(), segs = pl->isClosed() ? n : (n ? n - 1 : 0);
    std::vector<Edge> edges;
    for (unsigned i = 0; i < segs; ++i) {
      DxGePoint3d p, q;
      pl->getPointAt(i, p);
      pl->getPointAt((i + 1) % n, q);
      if (p.isEqualTo(q, 0)) continue;
      DxGeCircArc3d arc;
      if (pl->getArcSegAt(i, arc) == Dxad::eOk) {
        Edge e = arcEdge(arc.center(), arc.normal(), arc.refVec().normal() * arc.radius(), 1, 0, arc.endAng());
        e.start = p;
        e.end = q;
        edges.push_back(e);
      } else {
        edges.push_back(lineEdge(p, q));
      }
    }
    return closedOrOpen(std::move(edges), pl->isClosed());
  }
  if (auto* sp = DxRxObject::cast<DxDbSpline>(ent)) {
    std::vector<DxGePoint3d> pts;
    sp->getSamplePoints(std::max<int>(64, int(sp->controlPoints().size()) * 8), pts);
    std::vector<Edge> edges;
    for (size_t i = 1; i < pts.size(); ++i)
      if (!pts[i - 1].isEqualTo(pts[i], 0)) edges.push_back(lineEdge(pts[i - 1], pts[i]));
    return closedOrOpen(std::move(edges), false);
  }
  if (auto* hp = DxRxObject::cast<DxDbPolylineHeavy>(ent); hp && depth == 0) {
    std::vector<DxDbEntity*> parts;
    bool ok = hp->explode(parts) == Dxad::eOk;
    std::vector<Edge> edges;
    std::vector<Loop> none;
    for (DxDbEntity* part : parts) {
      ok = ok && edgesOf(part, edges, none, depth + 1);
      delete part;
    }
    return ok && closedOrOpen(std::move(edges), hp->isClosed());
  }
  return false;
}

// Chains loose edges end to end into loops. Ends meet within tol; an end shared by other
// than exactly two edges, or a chain that does not close, fails.
bool chain(std::vector<Edge>& edges, double tol, std::vector<Loop>& loops) {
  if (edges.empty()) return true;
  // Ends fall into grid cells of size tol; a meeting end lies in the same or a
  // neighbouring cell, so each lookup stays local.
  struct Key {
    int64_t x, y, z;
    bool operator==(const Key&) const = default;
  };
  struct KeyHash {
    size_t operator()(const Key& k) const {
      return size_t(k.x * 73856093) ^ size_t(k.y * 19349663) ^ size_t(k.z * 83492791);
    }
  };
  std::unordered_map<Key, std::vector<int>, KeyHash> cells;  // end = 2 * edge + (0 start, 1 end)
  auto keyOf = [&](const DxGePoint3d& p) {
    return Key{int64_t(std::floor(p.x / tol)), int64_t(std::floor(p.y / tol)), int64_t(std::floor(p.z / tol))};
  };
  auto endPt = [&](int end) { return end % 2 ? edges[size_t(end / 2)].end : edges[size_t(end / 2)].start; };
  for (int i = 0; i < int(edges.size()); ++i)
    for (int s = 0; s < 2; ++s) cells[keyOf(endPt(2 * i + s))].push_back(2 * i + s);
  auto partner = [&](int end) {
    DxGePoint3d p = endPt(end);
    Key k = keyOf(p);
    int found = -1, count = 0;
    for (int dx = -1; dx <= 1; ++dx)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dz = -1; dz <= 1; ++dz) {
          auto it = cells.find(Key{k.x + dx, k.y + dy, k.z + dz});
          if (it == cells.end()) continue;
          for (int other : it->second)
            if (other != end && endPt(other).distanceTo(p) <= tol) {
              found = other;
              ++count;
            }
        }
    return count == 1 ? found : -1;
  };
  std::vector<char> used(edges.size(), 0);
  for (size_t first = 0; first < edges.size(); ++first) {
    if (used[first]) continue;
    Loop loop;
    int cur = int(first);
    bool forward = true;
    for (;;) {
      used[size_t(cur)] = 1;
      loop.edges.push_back(forward ? edges[size_t(cur)] : reversed(edges[size_t(cur)]));
      int next = partner(2 * cur + (forward ? 1 : 0));
      if (next < 0) return false;
      if (next / 2 == int(first)) {
        if (next % 2 != 0) return false;  // came back the wrong way round
        break;
      }
      if (used[size_t(next / 2)]) return false;
      cur = next / 2;
      forward = next % 2 == 0;
    }
    // Small gaps close: each edge ends exactly where the next one starts.
    for (size_t i = 0; i < loop.edges.size(); ++i) loop.edges[i].end = loop.edges[(i + 1) % loop.edges.size()].start;
    loops.push_back(std::move(loop));
  }
  return true;
}

// The plane of a loop: an arc's when there is one, else from its points (Newell); the
// normal points up (towards +z, or +x, +y for upright planes). False when the loop does
// not lie in one plane within tol.
bool planeOf(const Loop& loop, double tol, DxGeVector3d& normal) {
  DxGeVector3d n;
  for (const Edge& e : loop.edges)
    if (e.isArc) {
      n = e.normal;
      break;
    }
  if (n.isZeroLength()) {
    const DxGePoint3d& o = loop.edges[0].start;
    for (const Edge& e : loop.edges) {
      DxGeVector3d a = e.start - o, b = e.end - o;
      n += a.crossProduct(b);
    }
  }
  if (n.isZeroLength(1e-300)) return false;
  n = n.normal();
  double up = std::fabs(n.z) > 1e-12 ? n.z : std::fabs(n.x) > 1e-12 ? n.x : n.y;
  if (up < 0) n = -n;
  const DxGePoint3d& o = loop.edges[0].start;
  for (const Edge& e : loop.edges) {
    if (std::fabs((e.end - o).dotProduct(n)) > tol) return false;
    if (e.isArc && (std::fabs((e.center - o).dotProduct(n)) > tol ||
                    std::fabs(std::fabs(e.normal.dotProduct(n)) - 1) > 1e-9))
      return false;
  }
  normal = n;
  return true;
}

double sizeOf(const std::vector<Loop>& loops, const std::vector<Edge>& open) {
  Box box;
  for (const Loop& l : loops)
    for (const Edge& e : l.edges) box.add(e.start), box.add(e.end), box.add(e.center);
  for (const Edge& e : open) box.add(e.start), box.add(e.end);
  return box.empty ? 0 : box.hi.distanceTo(box.lo);
}

bool isSimilarity(const DxGeMatrix3d& m) {
  DxGeVector3d x = m * DxGeVector3d::kXAxis, y = m * DxGeVector3d::kYAxis, z = m * DxGeVector3d::kZAxis;
  double s = x.length(), tol = 1e-9 * s;
  return s > 0 && std::fabs(y.length() - s) <= tol && std::fabs(z.length() - s) <= tol &&
         std::fabs(x.dotProduct(y)) <= tol * s && std::fabs(y.dotProduct(z)) <= tol * s &&
         std::fabs(x.dotProduct(z)) <= tol * s;
}

// The loops seen in the plane of normal: circular arcs as bulges, elliptical ones as chords.
void loops2d(const std::vector<Face>& in, const DxGeVector3d& normal, std::vector<std::vector<KvGePolyline2d>>& out) {
  out.clear();
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
  for (const Face& f : in) {
    out.emplace_back();
    for (const Loop& l : f.loops) {
      KvGePolyline2d pl;
      pl.SetClosed(true);
      for (const Edge& e : l.edges) {
        DxGePoint2d a = (toPlane * e.start).to2d();
        double sweep = e.endParam - e.startParam;
        if (!e.isArc) {
          pl.AddVertex(a);
        } else if (std::fabs(e.ratio - 1) < 1e-12) {
          // Counter-clockwise in the plane when the arc's normal agrees with it.
          double sense = e.normal.dotProduct(normal) > 0 ? 1 : -1;
          if (sweep < 2 * M_PI - 1e-12) {
            pl.AddVertex(a, sense * std::tan(sweep / 4));
          } else {  // a whole circle: two half turns
            pl.AddVertex(a, sense);
            pl.AddVertex((toPlane * e.pointAt(e.startParam + M_PI)).to2d(), sense);
          }
        } else {
          int n = std::max(8, int(std::ceil(sweep / (2 * M_PI) * 128)));
          for (int i = 0; i < n; ++i) pl.AddVertex((toPlane * e.pointAt(e.startParam + sweep * i / n)).to2d());
        }
      }
      out.back().push_back(std::move(pl));
    }
  }
}

}  // namespace

double loopArea(const Loop& loop, const DxGeVector3d& normal) {
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
  double a = 0;
  for (const Edge& e : loop.edges) a += edgeArea(e, toPlane);
  return a;
}

void reverseLoop(Loop& loop) {
  std::vector<Edge> r;
  r.reserve(loop.edges.size());
  for (auto it = loop.edges.rbegin(); it != loop.edges.rend(); ++it) r.push_back(reversed(*it));
  loop.edges = std::move(r);
}

void orientFace(Face& face, const DxGeVector3d& normal) {
  std::vector<double> areas;
  size_t outer = 0;
  for (size_t i = 0; i < face.loops.size(); ++i) {
    areas.push_back(loopArea(face.loops[i], normal));
    if (std::fabs(areas[i]) > std::fabs(areas[outer])) outer = i;
  }
  for (size_t i = 0; i < face.loops.size(); ++i)
    if ((i == outer) != (areas[i] > 0)) reverseLoop(face.loops[i]);
  if (outer != 0) std::swap(face.loops[0], face.loops[outer]);
}

}  // namespace dx::db

void DxDbRegion::parseBody() {
  std::string text;
  for (const auto& [code, part] : m_body) {
    if (code == 1 && !text.empty()) text += '\n';
    text += sat::decode(part);
  }
  m_understood = !m_body.empty() && sat::readBody(text, m_faces, m_normal);
  if (!m_understood) m_faces.clear();
}

void DxDbRegion::geometryChanged() {
  m_body.clear();
  m_modelerVersion = 1;
  m_understood = true;
}

ErrorStatus DxDbRegion::createFromCurves(const DxDbVoidPtrArray& curveSegments, DxDbVoidPtrArray& regions) {
  std::vector<Edge> open;
  std::vector<Loop> loops;
  for (void* p : curveSegments) {
    auto* curve = static_cast<DxDbCurve*>(p);
    if (!curve || !edgesOf(curve, open, loops)) return Dxad::eInvalidInput;
  }
  double tol = std::max(DxGeTol().equalPoint, 1e-9 * sizeOf(loops, open));
  if (!chain(open, tol, loops) || loops.empty()) return Dxad::eInvalidInput;
  std::vector<DxDbRegion*> made;
  for (Loop& loop : loops) {
    DxGeVector3d n;
    if (!planeOf(loop, tol, n) || std::fabs(loopArea(loop, n)) <= tol * tol) {
      for (DxDbRegion* r : made) delete r;
      return Dxad::eInvalidInput;
    }
    auto* r = new DxDbRegion();
    r->m_modelerVersion = 1;
    r->m_normal = n;
    Face f{{std::move(loop)}};
    orientFace(f, n);
    r->m_faces.push_back(std::move(f));
    made.push_back(r);
  }
  for (DxDbRegion* r : made) regions.push_back(r);
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::setFace(const std::vector<Loop>& loops) {
  if (loops.empty() || loops[0].edges.empty()) return Dxad::eInvalidInput;
  DxGeVector3d n;
  if (!planeOf(loops[0], std::max(DxGeTol().equalPoint, 1e-9 * sizeOf(loops, {})), n)) return Dxad::eInvalidInput;
  assertWriteEnabled();
  Face f{loops};
  orientFace(f, n);
  m_normal = n;
  m_faces.assign(1, std::move(f));
  geometryChanged();
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::getArea(double& area) const {
  if (!m_understood) return Dxad::eNotApplicable;
  area = 0;
  for (const Face& f : m_faces)
    for (const Loop& l : f.loops) area += loopArea(l, m_normal);
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::getPerimeter(double& perimeter) const {
  if (!m_understood) return Dxad::eNotApplicable;
  perimeter = 0;
  for (const Face& f : m_faces)
    for (const Loop& l : f.loops)
      for (const Edge& e : l.edges) perimeter += edgeLength(e);
  return Dxad::eOk;
}

double DxDbRegion::elevation() const {
  if (m_faces.empty()) return 0;
  return (DxGeMatrix3d::worldToPlane(m_normal) * m_faces[0].loops[0].edges[0].start).z;
}

ErrorStatus DxDbRegion::getLoops2d(std::vector<std::vector<KvGePolyline2d>>& faces) const {
  if (!m_understood) return Dxad::eNotApplicable;
  loops2d(m_faces, m_normal, faces);
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::getGeomExtents(DxGePoint3d& lo, DxGePoint3d& hi) const {
  Box box;
  for (const Face& f : m_faces)
    for (const Loop& l : f.loops)
      for (const Edge& e : l.edges) {
        box.add(e.start);
        if (!e.isArc) continue;
        DxDbEllipse el(e.center, e.normal, e.majorAxis, e.ratio, e.startParam, e.endParam);
        DxGePoint3d a, b;
        if (el.getGeomExtents(a, b) == Dxad::eOk) box.add(a), box.add(b);
      }
  return box.out(lo, hi);
}

ErrorStatus DxDbRegion::transformBy(const DxGeMatrix3d& m) {
  if (!m_understood) return Dxad::eNotApplicable;  // a body the host cannot follow stays put
  bool hasArcs = false;
  for (const Face& f : m_faces)
    for (const Loop& l : f.loops)
      for (const Edge& e : l.edges) hasArcs = hasArcs || e.isArc;
  if (hasArcs && !isSimilarity(m)) return Dxad::eNotApplicable;
  assertWriteEnabled();
  bool mirrored = m.det() < 0;
  for (Face& f : m_faces)
    for (Loop& l : f.loops)
      for (Edge& e : l.edges) {
        e.start = m * e.start;
        e.end = m * e.end;
        if (!e.isArc) continue;
        DxGeVector3d mi = m * e.minorAxis();
        e.center = m * e.center;
        e.majorAxis = m * e.majorAxis;
        e.normal = e.majorAxis.crossProduct(mi).normal();
      }
  // A mirror turns the loops the other way about the moved normal; the normal flips so
  // that outlines stay counter-clockwise.
  m_normal = (m * m_normal).normal();
  if (mirrored) m_normal = -m_normal;
  geometryChanged();
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::explode(std::vector<DxDbEntity*>& pieces) const {
  if (!m_understood) return Dxad::eNotApplicable;
  for (const Face& f : m_faces)
    for (const Loop& l : f.loops)
      for (const Edge& e : l.edges) {
        DxDbEntity* piece = nullptr;
        double sweep = e.endParam - e.startParam;
        if (!e.isArc) {
          piece = new DxDbLine(e.start, e.end);
        } else if (std::fabs(e.ratio - 1) < 1e-12) {
          DxGeVector3d ocsMajor = DxGeMatrix3d::worldToPlane(e.normal) * e.majorAxis;
          double a0 = std::atan2(ocsMajor.y, ocsMajor.x) + e.startParam;
          if (sweep >= 2 * M_PI - 1e-12)
            piece = new DxDbCircle(e.center, e.normal, e.majorAxis.length());
          else
            piece = new DxDbArc(e.center, e.normal, e.majorAxis.length(), a0, a0 + sweep);
        } else {
          piece = new DxDbEllipse(e.center, e.normal, e.majorAxis, e.ratio, e.startParam, e.endParam);
        }
        piece->setPropertiesFrom(this);
        pieces.push_back(piece);
      }
  return Dxad::eOk;
}

ErrorStatus DxDbRegion::booleanOper(BoolOperType op, DxDbRegion* other) {
  if (!other || other == this || !m_understood || !other->m_understood) return Dxad::eInvalidInput;
  if (!m_faces.empty() && !other->m_faces.empty() &&
      (std::fabs(std::fabs(m_normal.dotProduct(other->m_normal)) - 1) > 1e-9 ||
       std::fabs(other->elevation() * other->m_normal.dotProduct(m_normal) - elevation()) >
          1e-9 * std::max(1.0, std::fabs(elevation()))))
    return Dxad::eInvalidInput;  // not in one plane
  // The polygon library works on the areas in this region's plane; arcs become chords.
  auto areaOf = [&](const DxDbRegion& r) {
    KvGeGeneralRegion2d all;
    std::vector<std::vector<KvGePolyline2d>> faces;
    loops2d(r.m_faces, m_normal, faces);
    for (auto& f : faces) {
      KvGeObjList list;
      for (auto& l : f) list.Add(l.Clone());
      all = all.Union(KvGeGeneralRegion2d(list, 256));
    }
    return all;
  };
  KvGeGeneralRegion2d a = areaOf(*this), b = areaOf(*other);
  KvGeGeneralRegion2d res = op == kBoolUnite ? a.Union(b) : op == kBoolSubtract ? a.Subtract(b) : a.Intersect(b);
  std::vector<KvGeRegion2d> parts;
  res.GetCurRegion2D(parts);
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  double z = elevation();
  std::vector<Face> faces;
  auto loopOf = [&](const std::vector<DxGePoint2d>& pts) {
    Loop l;
    for (size_t i = 0; i < pts.size(); ++i) {
      const DxGePoint2d &p = pts[i], &q = pts[(i + 1) % pts.size()];
      l.edges.push_back(lineEdge(toW * DxGePoint3d(p.x, p.y, z), toW * DxGePoint3d(q.x, q.y, z)));
    }
    return l;
  };
  for (const auto& part : parts) {
    if (part.outer.size() < 3) continue;
    Face f;
    f.loops.push_back(loopOf(part.outer));
    for (const auto& h : part.holes)
      if (h.size() >= 3) f.loops.push_back(loopOf(h));
    orientFace(f, m_normal);
    faces.push_back(std::move(f));
  }
  assertWriteEnabled();
  other->assertWriteEnabled();
  m_faces = std::move(faces);
  other->m_faces.clear();
  other->geometryChanged();
  geometryChanged();
  return Dxad::eOk;
}
