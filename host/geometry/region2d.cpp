// Areas with holes. Booleans, offsets and cuts go through Clipper: it is robust on
// touching and overlapping edges, which is where hand-written clippers fail. Clipper
// works on integers, so every operation scales its input to about 1e15 units.
#include <clipper.hpp>

#include <algorithm>
#include <cmath>

#include "host/geometry/pieces.h"

namespace cl = ClipperLib;

namespace {

struct Scale {
  double k = 1;
  void fit(double maxAbs) {
    // A power of two keeps the conversion exact in the mantissa.
    k = maxAbs > 0 ? std::ldexp(1.0, int(std::floor(std::log2(1e15 / maxAbs)))) : 1;
  }
  cl::Path path(const std::vector<DxGePoint2d>& pts) const {
    cl::Path p;
    p.reserve(pts.size());
    for (const auto& q : pts) p.emplace_back(cl::cInt(std::llround(q.x * k)), cl::cInt(std::llround(q.y * k)));
    return p;
  }
  std::vector<DxGePoint2d> points(const cl::Path& p) const {
    std::vector<DxGePoint2d> out;
    out.reserve(p.size());
    for (const auto& q : p) out.emplace_back(double(q.X) / k, double(q.Y) / k);
    return out;
  }
};

double maxAbs(const std::vector<KvGeRegion2d>& rs, double m = 0) {
  auto upd = [&](const std::vector<DxGePoint2d>& loop) {
    for (const auto& p : loop) m = std::max({m, std::fabs(p.x), std::fabs(p.y)});
  };
  for (const auto& r : rs) {
    upd(r.outer);
    for (const auto& h : r.holes) upd(h);
  }
  return m;
}

cl::Paths pathsOf(const std::vector<KvGeRegion2d>& rs, const Scale& s) {
  cl::Paths out;
  for (const auto& r : rs) {
    out.push_back(s.path(r.outer));
    for (const auto& h : r.holes) out.push_back(s.path(h));
  }
  return out;
}

void collect(const cl::PolyNode* node, const Scale& s, std::vector<KvGeRegion2d>& out) {
  for (const cl::PolyNode* child : node->Childs) {
    // Children of the root and of holes are outer loops.
    KvGeRegion2d r;
    r.outer = s.points(child->Contour);
    for (const cl::PolyNode* hole : child->Childs) {
      r.holes.push_back(s.points(hole->Contour));
      collect(hole, s, out);
    }
    out.push_back(std::move(r));
  }
}

std::vector<KvGeRegion2d> fromTree(const cl::PolyTree& tree, const Scale& s) {
  std::vector<KvGeRegion2d> out;
  collect(&tree, s, out);
  return out;
}

std::vector<KvGeRegion2d> boolean(const std::vector<KvGeRegion2d>& a, const std::vector<KvGeRegion2d>& b,
                                  cl::ClipType type) {
  Scale s;
  s.fit(maxAbs(b, maxAbs(a)));
  cl::Clipper c;
  c.AddPaths(pathsOf(a, s), cl::ptSubject, true);
  c.AddPaths(pathsOf(b, s), cl::ptClip, true);
  cl::PolyTree tree;
  c.Execute(type, tree, cl::pftEvenOdd, cl::pftEvenOdd);
  return fromTree(tree, s);
}

bool insideLoop(const std::vector<DxGePoint2d>& loop, const DxGePoint2d& p, bool& onEdge) {
  bool in = false;
  onEdge = false;
  for (size_t i = 0, n = loop.size(); i < n; ++i) {
    const DxGePoint2d &a = loop[i], &b = loop[(i + 1) % n];
    if (dx::geo::Piece::line(a, b).distance(p) <= 1e-10) onEdge = true;
    if ((a.y > p.y) != (b.y > p.y) && p.x < a.x + (p.y - a.y) * (b.x - a.x) / (b.y - a.y)) in = !in;
  }
  return in;
}

double loopArea(const std::vector<DxGePoint2d>& loop) {
  double a = 0;
  for (size_t i = 0, n = loop.size(); i < n; ++i)
    a += loop[i].x * loop[(i + 1) % n].y - loop[(i + 1) % n].x * loop[i].y;
  return a / 2;
}

}  // namespace

bool KvGeRegion2d::IsInclude(const DxGePoint2d& p) const {
  bool edge;
  if (!insideLoop(outer, p, edge)) return edge;
  if (edge) return true;
  for (const auto& h : holes)
    if (insideLoop(h, p, edge) && !edge) return false;
  return true;
}

double KvGeRegion2d::Area() const {
  double a = std::fabs(loopArea(outer));
  for (const auto& h : holes) a -= std::fabs(loopArea(h));
  return a;
}

void KvGeRegion2d::GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const {
  lo = {HUGE_VAL, HUGE_VAL};
  hi = {-HUGE_VAL, -HUGE_VAL};
  for (const auto& p : outer) {
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y)};
  }
}

KvGeGeneralRegion2d::KvGeGeneralRegion2d(const KvGeObjList& curves, int perCircle) {
  std::vector<KvGeRegion2d> loops;
  for (size_t i = 0; i < curves.Count(); ++i) {
    const KvGeCurve2d* c = curves.At(i);
    if (!c || !c->IsClosed()) continue;
    KvGeRegion2d r;
    c->MLinearize(perCircle, r.outer);
    if (r.outer.size() >= 3) loops.push_back(std::move(r));
  }
  Scale s;
  s.fit(maxAbs(loops));
  cl::Clipper c;
  c.AddPaths(pathsOf(loops, s), cl::ptSubject, true);
  cl::PolyTree tree;
  c.Execute(cl::ctUnion, tree, cl::pftEvenOdd, cl::pftEvenOdd);
  m_regions = fromTree(tree, s);
}

KvGeGeneralRegion2d::KvGeGeneralRegion2d(const KvGeCurve2d& curve, int perCircle) {
  KvGeObjList one;
  one.Add(curve.Clone());
  *this = KvGeGeneralRegion2d(one, perCircle);
}

KvGeGeneralRegion2d KvGeGeneralRegion2d::Union(const KvGeGeneralRegion2d& o) const {
  KvGeGeneralRegion2d r;
  // Each operand is even-odd on its own; union them as two sets.
  r.m_regions = boolean(m_regions, o.m_regions, cl::ctUnion);
  return r;
}
KvGeGeneralRegion2d KvGeGeneralRegion2d::Subtract(const KvGeGeneralRegion2d& o) const {
  KvGeGeneralRegion2d r;
  r.m_regions = boolean(m_regions, o.m_regions, cl::ctDifference);
  return r;
}
KvGeGeneralRegion2d KvGeGeneralRegion2d::Intersect(const KvGeGeneralRegion2d& o) const {
  KvGeGeneralRegion2d r;
  r.m_regions = boolean(m_regions, o.m_regions, cl::ctIntersection);
  return r;
}

KvGeGeneralRegion2d KvGeGeneralRegion2d::Offset(double d) const {
  Scale s;
  s.fit(maxAbs(m_regions) + std::fabs(d));
  cl::ClipperOffset co;
  // About seventy chords to a full turn of a rounded corner.
  co.ArcTolerance = std::max(0.25, std::fabs(d) * s.k * 1e-3);
  co.AddPaths(pathsOf(m_regions, s), cl::jtRound, cl::etClosedPolygon);
  cl::PolyTree tree;
  co.Execute(tree, d * s.k);
  KvGeGeneralRegion2d r;
  r.m_regions = fromTree(tree, s);
  return r;
}

void KvGeGeneralRegion2d::Cut(const KvGeLineSeg2d& line) {
  DxGePoint2d lo, hi;
  if (!GetExtent2d(lo, hi)) return;
  DxGePoint2d a = line.StartPoint(), b = line.EndPoint();
  double len = a.distanceTo(b);
  if (len == 0) return;
  double ux = (b.x - a.x) / len, uy = (b.y - a.y) / len;
  // Half-planes as rectangles that reach well past every area.
  double reach = 4 * (hi.distanceTo(lo) + std::max(a.distanceTo(lo), a.distanceTo(hi))) + 1;
  DxGePoint2d p0{a.x - ux * reach, a.y - uy * reach}, p1{a.x + ux * reach, a.y + uy * reach};
  std::vector<KvGeRegion2d> pieces;
  for (double side : {1.0, -1.0}) {
    KvGeRegion2d half;
    double nx = -uy * reach * side, ny = ux * reach * side;
    half.outer = {p0, p1, {p1.x + nx, p1.y + ny}, {p0.x + nx, p0.y + ny}};
    // Area by area: pieces of one side that touch along an earlier cut would merge.
    for (const auto& region : m_regions)
      for (auto& r : boolean({region}, {half}, cl::ctIntersection)) pieces.push_back(std::move(r));
  }
  m_regions = std::move(pieces);
}

bool KvGeGeneralRegion2d::IsInclude(const DxGePoint2d& p) const {
  return std::any_of(m_regions.begin(), m_regions.end(), [&](const KvGeRegion2d& r) { return r.IsInclude(p); });
}

double KvGeGeneralRegion2d::Area() const {
  double a = 0;
  for (const auto& r : m_regions) a += r.Area();
  return a;
}

bool KvGeGeneralRegion2d::GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const {
  if (m_regions.empty()) return false;
  lo = {HUGE_VAL, HUGE_VAL};
  hi = {-HUGE_VAL, -HUGE_VAL};
  for (const auto& r : m_regions) {
    DxGePoint2d l, h;
    r.GetExtent2d(l, h);
    lo = {std::min(lo.x, l.x), std::min(lo.y, l.y)};
    hi = {std::max(hi.x, h.x), std::max(hi.y, h.y)};
  }
  return true;
}
