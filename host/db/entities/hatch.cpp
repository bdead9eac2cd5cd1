// HATCH: pattern, fill, and the boundary part of the file (loops with their edges, the
// pattern lines, seed points) read into typed parts, so that a change to one part keeps
// the others.
#include <cmath>
#include <optional>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbHatch, DxDbEntity, "HATCH")

// One edge of an edge loop. Which members count depends on the type: 1 a line (p, q),
// 2 a circular arc (p centre, radius, angles, ccw), 3 an elliptic arc (p centre, q end of
// the major axis, radius as the ratio, angles, ccw), 4 a spline.
struct HatchEdge {
  int16_t type = 1;
  DxGePoint2d p, q;
  double radius = 0, start = 0, end = 0;
  int16_t ccw = 1;
  // splines
  int32_t degree = 3;
  int16_t rational = 0, periodic = 0;
  std::vector<double> knots, weights;
  std::vector<DxGePoint2d> control, fit;
  bool hasFitCount = false;  // 97 is written from a later version on
  std::optional<DxGePoint2d> startTangent, endTangent;
};

struct HatchLoopData {
  int32_t type = 0;
  int16_t hasBulge = 0, closed = 1;
  std::vector<DxGePoint2d> pts;
  std::vector<double> bulges;
  std::vector<HatchEdge> edges;
  std::vector<XTag> sources;  // 330: boundary objects of an associative hatch
};

struct PatternLine {
  double angle = 0;
  DxGePoint2d base, offset;
  std::vector<double> dashes;
};

struct DxDbHatch::Boundary {
  std::vector<HatchLoopData> loops;
  std::optional<int16_t> style, patternType;
  std::optional<double> patternAngle, patternScale;
  std::optional<int16_t> patternDouble;
  std::optional<std::vector<PatternLine>> patternLines;
  std::optional<double> pixelSize;
  std::optional<std::vector<DxGePoint2d>> seeds;
  std::vector<XTag> trailing;  // gradient and anything after the seed points
  // Groups as read while loading; kept as they are when they do not read as a boundary.
  std::vector<XTag> raw;
  bool typed = false;
};

namespace {

// Writes the typed parts as groups, in file order.
class TagList {
 public:
  std::vector<XTag> tags;
  void integer(int code, int64_t v) {
    XTag t = make(code);
    t.i = v;
    tags.push_back(std::move(t));
  }
  void real(int code, double v) {
    XTag t = make(code);
    t.v[0] = v;
    tags.push_back(std::move(t));
  }
  void point(int code, const DxGePoint2d& p) {
    XTag t = make(code);
    t.dims = 2;
    t.v[0] = p.x;
    t.v[1] = p.y;
    tags.push_back(std::move(t));
  }

 private:
  static XTag make(int code) {
    XTag t;
    t.code = int16_t(code);
    t.kind = dx::dxf::kindOf(code);
    return t;
  }
};

void writeEdge(const HatchEdge& e, TagList& out) {
  out.integer(72, e.type);
  switch (e.type) {
    case 1:
      out.point(10, e.p);
      out.point(11, e.q);
      break;
    case 2:
    case 3:
      out.point(10, e.p);
      if (e.type == 3) out.point(11, e.q);
      out.real(40, e.radius);
      out.real(50, e.start);
      out.real(51, e.end);
      out.integer(73, e.ccw);
      break;
    default:
      out.integer(94, e.degree);
      out.integer(73, e.rational);
      out.integer(74, e.periodic);
      out.integer(95, int64_t(e.knots.size()));
      out.integer(96, int64_t(e.control.size()));
      for (double k : e.knots) out.real(40, k);
      for (size_t i = 0; i < e.control.size(); ++i) {
        out.point(10, e.control[i]);
        if (i < e.weights.size()) out.real(42, e.weights[i]);
      }
      if (e.hasFitCount) out.integer(97, int64_t(e.fit.size()));
      for (const auto& f : e.fit) out.point(11, f);
      if (e.startTangent) out.point(12, *e.startTangent);
      if (e.endTangent) out.point(13, *e.endTangent);
      break;
  }
}

void writeBoundary(const DxDbHatch::Boundary& b, TagList& out) {
  out.integer(91, int64_t(b.loops.size()));
  for (const auto& l : b.loops) {
    out.integer(92, l.type);
    if (l.type & 2) {
      out.integer(72, l.hasBulge);
      out.integer(73, l.closed);
      out.integer(93, int64_t(l.pts.size()));
      for (size_t i = 0; i < l.pts.size(); ++i) {
        out.point(10, l.pts[i]);
        if (l.hasBulge) out.real(42, i < l.bulges.size() ? l.bulges[i] : 0.0);
      }
    } else {
      out.integer(93, int64_t(l.edges.size()));
      for (const auto& e : l.edges) writeEdge(e, out);
    }
    out.integer(97, int64_t(l.sources.size()));
    for (const auto& s : l.sources) out.tags.push_back(s);
  }
  if (b.style) out.integer(75, *b.style);
  if (b.patternType) out.integer(76, *b.patternType);
  if (b.patternAngle) out.real(52, *b.patternAngle);
  if (b.patternScale) out.real(41, *b.patternScale);
  if (b.patternDouble) out.integer(77, *b.patternDouble);
  if (b.patternLines) {
    out.integer(78, int64_t(b.patternLines->size()));
    for (const auto& pl : *b.patternLines) {
      out.real(53, pl.angle);
      out.real(43, pl.base.x);
      out.real(44, pl.base.y);
      out.real(45, pl.offset.x);
      out.real(46, pl.offset.y);
      out.integer(79, int64_t(pl.dashes.size()));
      for (double d : pl.dashes) out.real(49, d);
    }
  }
  if (b.pixelSize) out.real(47, *b.pixelSize);
  if (b.seeds) {
    out.integer(98, int64_t(b.seeds->size()));
    for (const auto& s : *b.seeds) out.point(10, s);
  }
  for (const auto& t : b.trailing) out.tags.push_back(t);
}

// Reads groups in order; each take() succeeds only on the code asked for.
class TagReader {
 public:
  explicit TagReader(const std::vector<XTag>& t) : m_tags(t) {}
  bool at(int code) const { return m_pos < m_tags.size() && m_tags[m_pos].code == code; }
  bool done() const { return m_pos >= m_tags.size(); }
  bool integer(int code, int64_t& v) {
    if (!at(code)) return false;
    v = m_tags[m_pos++].i;
    return true;
  }
  template <class T>
  bool small(int code, T& v) {
    int64_t x = 0;
    if (!integer(code, x)) return false;
    v = T(x);
    return true;
  }
  bool real(int code, double& v) {
    if (!at(code)) return false;
    v = m_tags[m_pos++].v[0];
    return true;
  }
  bool point(int code, DxGePoint2d& p) {
    if (!at(code)) return false;
    p = {m_tags[m_pos].v[0], m_tags[m_pos].v[1]};
    ++m_pos;
    return true;
  }
  const XTag& next() { return m_tags[m_pos++]; }

 private:
  const std::vector<XTag>& m_tags;
  size_t m_pos = 0;
};

bool readEdge(TagReader& in, HatchEdge& e) {
  if (!in.small(72, e.type)) return false;
  switch (e.type) {
    case 1:
      return in.point(10, e.p) && in.point(11, e.q);
    case 2:
    case 3:
      return in.point(10, e.p) && (e.type == 2 || in.point(11, e.q)) && in.real(40, e.radius) &&
             in.real(50, e.start) && in.real(51, e.end) && in.small(73, e.ccw);
    case 4: {
      int64_t nk = 0, nc = 0, nf = 0;
      if (!(in.small(94, e.degree) && in.small(73, e.rational) && in.small(74, e.periodic) &&
            in.integer(95, nk) && in.integer(96, nc)))
        return false;
      for (int64_t i = 0; i < nk; ++i)
        if (!in.real(40, e.knots.emplace_back())) return false;
      for (int64_t i = 0; i < nc; ++i) {
        if (!in.point(10, e.control.emplace_back())) return false;
        double w = 0;
        if (in.real(42, w)) e.weights.push_back(w);
      }
      e.hasFitCount = in.integer(97, nf);
      for (int64_t i = 0; i < nf; ++i)
        if (!in.point(11, e.fit.emplace_back())) return false;
      DxGePoint2d t;
      if (in.point(12, t)) e.startTangent = t;
      if (in.point(13, t)) e.endTangent = t;
      return true;
    }
    default:
      return false;
  }
}

bool readLoop(TagReader& in, HatchLoopData& l) {
  int64_t n = 0;
  if (!in.small(92, l.type)) return false;
  if (l.type & 2) {
    if (!(in.small(72, l.hasBulge) && in.small(73, l.closed) && in.integer(93, n))) return false;
    for (int64_t i = 0; i < n; ++i) {
      if (!in.point(10, l.pts.emplace_back())) return false;
      double b = 0;
      if (l.hasBulge && !in.real(42, b)) return false;
      l.bulges.push_back(b);
    }
  } else {
    if (!in.integer(93, n)) return false;
    for (int64_t i = 0; i < n; ++i)
      if (!readEdge(in, l.edges.emplace_back())) return false;
  }
  if (!in.integer(97, n)) return false;
  for (int64_t i = 0; i < n; ++i) {
    if (!in.at(330)) return false;
    l.sources.push_back(in.next());
  }
  return true;
}

template <class T>
void readOptional(TagReader& in, int code, std::optional<T>& v) {
  T x{};
  bool ok;
  if constexpr (std::is_floating_point_v<T>)
    ok = in.real(code, x);
  else
    ok = in.small(code, x);
  if (ok) v = x;
}

bool readBoundary(const std::vector<XTag>& tags, DxDbHatch::Boundary& b) {
  TagReader in(tags);
  int64_t n = 0;
  if (!in.integer(91, n)) return false;
  for (int64_t i = 0; i < n; ++i)
    if (!readLoop(in, b.loops.emplace_back())) return false;
  readOptional(in, 75, b.style);
  readOptional(in, 76, b.patternType);
  readOptional(in, 52, b.patternAngle);
  readOptional(in, 41, b.patternScale);
  readOptional(in, 77, b.patternDouble);
  if (in.integer(78, n)) {
    auto& lines = b.patternLines.emplace();
    for (int64_t i = 0; i < n; ++i) {
      PatternLine& pl = lines.emplace_back();
      int64_t nd = 0;
      if (!(in.real(53, pl.angle) && in.real(43, pl.base.x) && in.real(44, pl.base.y) &&
            in.real(45, pl.offset.x) && in.real(46, pl.offset.y) && in.integer(79, nd)))
        return false;
      for (int64_t d = 0; d < nd; ++d)
        if (!in.real(49, pl.dashes.emplace_back())) return false;
    }
  }
  readOptional(in, 47, b.pixelSize);
  if (in.integer(98, n)) {
    auto& seeds = b.seeds.emplace();
    for (int64_t i = 0; i < n; ++i)
      if (!in.point(10, seeds.emplace_back())) return false;
  }
  while (!in.done()) b.trailing.push_back(in.next());
  return true;
}

bool sameTag(const XTag& a, const XTag& b) {
  return a.code == b.code && a.kind == b.kind && a.dims == b.dims && a.i == b.i &&
         a.isRef == b.isRef && a.ref == b.ref && a.s == b.s &&
         std::equal(a.v, a.v + 3, b.v,
                    [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}

// Types the groups read; when they do not read back as the same groups, they stay
// as they are (nothing is lost, and the boundary is not changed by the host).
void typeBoundary(DxDbHatch::Boundary& b) {
  DxDbHatch::Boundary typed;
  if (readBoundary(b.raw, typed)) {
    TagList again;
    writeBoundary(typed, again);
    if (std::equal(again.tags.begin(), again.tags.end(), b.raw.begin(), b.raw.end(), sameTag)) {
      typed.typed = true;
      b = std::move(typed);
      return;
    }
  }
  b.typed = false;
}

}  // namespace

namespace dx::db {

template <>
struct Access::Schemas<DxDbHatch> {
  static DxDbHatch::Boundary& boundary(DxDbObject& o) {
    auto& h = Access::self<DxDbHatch>(o);
    if (!h.m_boundary) h.m_boundary = std::make_unique<DxDbHatch::Boundary>();
    return *h.m_boundary;
  }
  static void define() {
    using H = DxDbHatch;
    ClassSchema* sc = entity<H>(
        "HATCH", {sub("AcDbHatch", {
                                       req<&H::m_elevation>(10, "elevation"),
                                       normal<&H::m_normal>(),
                                       req<&H::m_pattern>(2, "pattern_name"),
                                       req<&H::m_solid>(70, "solid_fill"),
                                       req<&H::m_assoc>(71, "associative"),
                                       rest(
                                           91,
                                           [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                                             auto& b = boundary(o);
                                             if (ctx.firstHit) b = DxDbHatch::Boundary();
                                             b.raw.push_back(XTag::from(t));
                                             // Lists give every point with three coordinates; the
                                             // boundary's are points of the hatch's plane.
                                             if (ctx.fromEntityList && b.raw.back().dims == 3)
                                               b.raw.back().dims = 2;
                                           },
                                           [](const DxDbObject& o, Sink& out, int) {
                                             const auto& h = Access::self<H>(o);
                                             if (!h.m_boundary) return;
                                             if (!h.m_boundary->typed) {
                                               for (const XTag& t : h.m_boundary->raw) out.xtag(t);
                                               return;
                                             }
                                             TagList tags;
                                             writeBoundary(*h.m_boundary, tags);
                                             for (const XTag& t : tags.tags) out.xtag(t);
                                           },
                                           "boundary"),
                                   })});
    sc->afterLoad = [](DxDbObject& o, LoadContext&) {
      auto& h = Access::self<H>(o);
      if (h.m_boundary && !h.m_boundary->raw.empty()) typeBoundary(*h.m_boundary);
    };
  }
};

void defineHatchSchemas() { Access::Schemas<DxDbHatch>::define(); }

}  // namespace dx::db

DxDbHatch::DxDbHatch() = default;
DxDbHatch::DxDbHatch(const DxDbHatch& o)
    : DxDbEntity(o),
      m_elevation(o.m_elevation),
      m_normal(o.m_normal),
      m_pattern(o.m_pattern),
      m_solid(o.m_solid),
      m_assoc(o.m_assoc),
      m_boundary(o.m_boundary ? std::make_unique<Boundary>(*o.m_boundary) : nullptr) {}
DxDbHatch::~DxDbHatch() = default;

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

DxGePoint2d onArc(const DxGePoint2d& c, double r, double deg) {
  return {c.x + r * std::cos(deg * kDeg), c.y + r * std::sin(deg * kDeg)};
}

// Where an edge starts: the loop's corner points as callers of getLoopAt see them.
DxGePoint2d edgeStart(const HatchEdge& e) {
  switch (e.type) {
    case 1:
      return e.p;
    case 2:
      return onArc(e.p, e.radius, e.ccw ? e.start : -e.start);
    case 3: {
      DxGeVector2d major(e.q.x, e.q.y), minor(-e.q.y * e.radius, e.q.x * e.radius);
      double a = (e.ccw ? e.start : -e.start) * kDeg;
      return {e.p.x + major.x * std::cos(a) + minor.x * std::sin(a),
              e.p.y + major.y * std::cos(a) + minor.y * std::sin(a)};
    }
    default:
      return e.control.empty() ? DxGePoint2d() : e.control.front();
  }
}

// Points that bound an elliptical arc c + M cos t + m sin t, t from t0 counter-clockwise
// through the sweep (radians): its ends and the extremes of x and y inside the sweep.
void boundArc(const DxGePoint2d& c, const DxGeVector2d& M, const DxGeVector2d& m, double t0, double sweep,
              std::vector<DxGePoint2d>& pts) {
  auto at = [&](double t) {
    return DxGePoint2d(c.x + M.x * std::cos(t) + m.x * std::sin(t), c.y + M.y * std::cos(t) + m.y * std::sin(t));
  };
  t0 = std::fmod(t0, 2 * M_PI);
  if (t0 < 0) t0 += 2 * M_PI;
  sweep = std::fmod(sweep, 2 * M_PI);
  if (sweep <= 0) sweep += 2 * M_PI;  // equal ends: the whole curve
  double t1 = t0 + sweep;
  pts.push_back(at(t0));
  pts.push_back(at(t1));
  for (double base : {std::atan2(m.x, M.x), std::atan2(m.y, M.y)})
    for (int k = -1; k <= 4; ++k)
      if (double t = base + k * M_PI; t > t0 && t < t1) pts.push_back(at(t));
}

// Points that bound a loop: corners, the extremes of its arcs and elliptical arcs, spline
// control points (a spline lies within their hull).
void boundLoop(const HatchLoopData& l, std::vector<DxGePoint2d>& pts) {
  pts.insert(pts.end(), l.pts.begin(), l.pts.end());
  for (size_t i = 0; i < l.pts.size() && i < l.bulges.size(); ++i) {
    double b = l.bulges[i];
    if (b == 0 || (i + 1 == l.pts.size() && !l.closed)) continue;
    const DxGePoint2d &a = l.pts[i], &z = l.pts[(i + 1) % l.pts.size()];
    double chord = std::hypot(z.x - a.x, z.y - a.y);
    if (chord == 0) continue;
    // The arc's centre lies off the chord's middle; its sweep is four times atan(bulge).
    double sweep = 4 * std::atan(b), r = chord * (1 + b * b) / (4 * std::fabs(b));
    double off = chord * (1 - b * b) / (4 * b);  // signed distance of the centre to the left
    DxGePoint2d mid((a.x + z.x) / 2, (a.y + z.y) / 2);
    DxGePoint2d c(mid.x - (z.y - a.y) / chord * off, mid.y + (z.x - a.x) / chord * off);
    double ta = std::atan2(a.y - c.y, a.x - c.x), tz = std::atan2(z.y - c.y, z.x - c.x);
    boundArc(c, {r, 0}, {0, r}, sweep > 0 ? ta : tz, std::fabs(sweep), pts);
  }
  for (const auto& e : l.edges) {
    // Clockwise edges store their angles mirrored: the same arc runs counter-clockwise
    // from the negated end to the negated start.
    double t0 = (e.ccw ? e.start : -e.end) * kDeg, t1 = (e.ccw ? e.end : -e.start) * kDeg;
    switch (e.type) {
      case 1:
        pts.push_back(e.p);
        pts.push_back(e.q);
        break;
      case 2:
        boundArc(e.p, {e.radius, 0}, {0, e.radius}, t0, t1 - t0, pts);
        break;
      case 3:
        boundArc(e.p, {e.q.x, e.q.y}, {-e.q.y * e.radius, e.q.x * e.radius}, t0, t1 - t0, pts);
        break;
      default:
        pts.insert(pts.end(), e.control.begin(), e.control.end());
        break;
    }
  }
}

}  // namespace

ErrorStatus DxDbHatch::appendLoop(int32_t loopType, const std::vector<DxGePoint2d>& pts,
                                  const std::vector<double>& bulges) {
  if (pts.size() < 2) return Dxad::eInvalidInput;
  // A boundary the host could not read stays as the file gave it.
  if (m_boundary && !m_boundary->typed && !m_boundary->raw.empty()) return Dxad::eNotApplicable;
  assertWriteEnabled();
  if (!m_boundary || !m_boundary->typed) {
    // A new boundary: loops, then the pattern of a predefined pattern at scale 1, no seeds.
    m_boundary = std::make_unique<Boundary>();
    m_boundary->typed = true;
    m_boundary->style = 1;
    m_boundary->patternType = 1;
    if (!m_solid) {
      m_boundary->patternAngle = 0.0;
      m_boundary->patternScale = 1.0;
      m_boundary->patternDouble = 0;
      m_boundary->patternLines.emplace();
    }
    m_boundary->seeds.emplace();
  }
  HatchLoopData l;
  l.type = loopType | 2;
  l.hasBulge = std::any_of(bulges.begin(), bulges.end(), [](double b) { return b != 0; });
  l.pts = pts;
  for (size_t i = 0; i < pts.size(); ++i) l.bulges.push_back(i < bulges.size() ? bulges[i] : 0.0);
  m_boundary->loops.push_back(std::move(l));
  return Dxad::eOk;
}
int DxDbHatch::numLoops() const {
  return m_boundary && m_boundary->typed ? int(m_boundary->loops.size()) : 0;
}
ErrorStatus DxDbHatch::getLoopAt(int index, int32_t& type, std::vector<DxGePoint2d>& pts,
                                 std::vector<double>& bulges) const {
  if (index < 0 || index >= numLoops()) return Dxad::eInvalidIndex;
  const HatchLoopData& l = m_boundary->loops[size_t(index)];
  type = l.type;
  if (l.type & 2) {
    pts = l.pts;
    bulges = l.bulges;
  } else {
    pts.clear();
    for (const auto& e : l.edges) pts.push_back(edgeStart(e));
    bulges.assign(pts.size(), 0.0);
  }
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::evaluateHatch() { return Dxad::eOk; }
ErrorStatus DxDbHatch::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  std::vector<DxGePoint2d> pts;
  for (int i = 0; i < numLoops(); ++i) boundLoop(m_boundary->loops[size_t(i)], pts);
  for (const auto& p : pts) box.add(toW * DxGePoint3d(p.x, p.y, m_elevation.z));
  return box.out(a, b);
}

ErrorStatus DxDbHatch::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  double z = m_elevation.z;
  auto point = [&](DxGePoint2d& p) {
    DxGePoint3d q = toP * (m * (toW * DxGePoint3d(p.x, p.y, m_elevation.z)));
    p = {q.x, q.y};
    z = q.z;
  };
  auto vector = [&](DxGePoint2d& v) {
    DxGeVector3d w = toP * (m * (toW * DxGeVector3d(v.x, v.y, 0)));
    v = {w.x, w.y};
  };
  if (m_boundary && !m_boundary->typed) {
    // Unread boundary: its plane points (codes 10 with two coordinates) move.
    for (XTag& t : m_boundary->raw)
      if (t.code == 10 && t.dims == 2) {
        DxGePoint2d p(t.v[0], t.v[1]);
        point(p);
        t.v[0] = p.x;
        t.v[1] = p.y;
      }
  } else if (m_boundary) {
    // The x axis of the plane tells how angles turn and lengths scale.
    DxGePoint2d x(1, 0);
    vector(x);
    double turn = std::atan2(x.y, x.x) / kDeg, scale = std::hypot(x.x, x.y);
    for (auto& l : m_boundary->loops) {
      for (auto& p : l.pts) point(p);
      for (auto& e : l.edges) {
        if (e.type == 1) {
          point(e.p);
          point(e.q);
        } else if (e.type == 2) {
          point(e.p);
          e.radius *= scale;
          e.start += turn;
          e.end += turn;
        } else if (e.type == 3) {
          point(e.p);
          vector(e.q);
        } else {
          for (auto& p : e.control) point(p);
          for (auto& p : e.fit) point(p);
          if (e.startTangent) vector(*e.startTangent);
          if (e.endTangent) vector(*e.endTangent);
        }
      }
    }
    if (m_boundary->patternAngle) *m_boundary->patternAngle += turn;
    if (m_boundary->patternScale) *m_boundary->patternScale *= scale;
    if (m_boundary->patternLines)
      for (auto& pl : *m_boundary->patternLines) {
        pl.angle += turn;
        point(pl.base);
        vector(pl.offset);
        for (double& d : pl.dashes) d *= scale;
      }
    if (m_boundary->seeds)
      for (auto& p : *m_boundary->seeds) point(p);
  }
  m_elevation = {0, 0, z};
  m_normal = n;
  return Dxad::eOk;
}
