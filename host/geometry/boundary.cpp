#include "host/geometry/boundary.h"

#include <algorithm>
#include <cmath>

namespace dx::geo {
namespace {

double wrap2pi(double a) {
  a = std::fmod(a, 2 * M_PI);
  return a < 0 ? a + 2 * M_PI : a;
}

}  // namespace

bool BoundaryLoop::contains(const DxGePoint2d& p) const {
  int n = 0;
  for (const Piece& q : pieces) n += crossings(q, p);
  return n % 2 == 1;
}

BoundaryFinder::BoundaryFinder(std::vector<Piece> curves, double tol) : m_tol(std::max(tol, 1e-12)) {
  // Arcs over half a turn are halved: a parameter along an arc is then never ambiguous.
  for (const Piece& c : curves) {
    if (c.length() <= m_tol) continue;
    if (c.isArc && std::fabs(c.sweep) > M_PI) {
      Piece a = Piece::arc(c.c, c.r, c.a0, c.sweep / 2), b = Piece::arc(c.c, c.r, c.a0 + c.sweep / 2, c.sweep / 2);
      a.a = c.a;
      b.b = c.b;
      m_edges.push_back(a);
      m_edges.push_back(b);
    } else {
      m_edges.push_back(c);
    }
  }
  size_t n = m_edges.size();
  m_lo.resize(n);
  m_hi.resize(n);
  for (size_t i = 0; i < n; ++i) {
    m_lo[i] = {HUGE_VAL, HUGE_VAL};
    m_hi[i] = {-HUGE_VAL, -HUGE_VAL};
    m_edges[i].extend(m_lo[i], m_hi[i]);
  }
  m_splits.resize(n);
  m_splitDone.assign(n, 0);
  m_stamp.assign(n, 0);
  buildGrid();
}

void BoundaryFinder::buildGrid() {
  DxGePoint2d lo{HUGE_VAL, HUGE_VAL}, hi{-HUGE_VAL, -HUGE_VAL};
  for (size_t i = 0; i < m_edges.size(); ++i) {
    lo = {std::min(lo.x, m_lo[i].x), std::min(lo.y, m_lo[i].y)};
    hi = {std::max(hi.x, m_hi[i].x), std::max(hi.y, m_hi[i].y)};
  }
  if (m_edges.empty()) lo = hi = {0, 0};
  double w = hi.x - lo.x, h = hi.y - lo.y, size = std::max({w, h, 1e-9});
  // About one edge per cell, at most 2048 cells a side.
  m_cell = std::max({std::sqrt(std::max(w, size / 2048) * std::max(h, size / 2048) / double(std::max<size_t>(m_edges.size(), 1))),
                     size / 2048, 1e-9});
  m_gridLo = {lo.x - m_cell, lo.y - m_cell};
  m_nx = std::min(2050, int((w + 2 * m_cell) / m_cell) + 1);
  m_ny = std::min(2050, int((h + 2 * m_cell) / m_cell) + 1);
  std::vector<uint32_t> count(size_t(m_nx) * m_ny + 1, 0);
  auto range = [&](size_t i, auto&& f) {
    double pad = 4 * m_tol;
    int x0 = std::clamp(int((m_lo[i].x - pad - m_gridLo.x) / m_cell), 0, m_nx - 1);
    int x1 = std::clamp(int((m_hi[i].x + pad - m_gridLo.x) / m_cell), 0, m_nx - 1);
    int y0 = std::clamp(int((m_lo[i].y - pad - m_gridLo.y) / m_cell), 0, m_ny - 1);
    int y1 = std::clamp(int((m_hi[i].y + pad - m_gridLo.y) / m_cell), 0, m_ny - 1);
    for (int y = y0; y <= y1; ++y)
      for (int x = x0; x <= x1; ++x) f(size_t(y) * m_nx + x);
  };
  for (size_t i = 0; i < m_edges.size(); ++i) range(i, [&](size_t c) { ++count[c + 1]; });
  for (size_t c = 1; c < count.size(); ++c) count[c] += count[c - 1];
  m_cellStart = count;
  m_cellEdges.resize(count.back());
  for (size_t i = 0; i < m_edges.size(); ++i) range(i, [&](size_t c) { m_cellEdges[count[c]++] = uint32_t(i); });
}

template <class F>
void BoundaryFinder::forCells(const DxGePoint2d& lo, const DxGePoint2d& hi, F&& f) {
  if (++m_stampNow == 0) {
    std::fill(m_stamp.begin(), m_stamp.end(), 0);
    m_stampNow = 1;
  }
  int x0 = std::clamp(int((lo.x - m_gridLo.x) / m_cell), 0, m_nx - 1);
  int x1 = std::clamp(int((hi.x - m_gridLo.x) / m_cell), 0, m_nx - 1);
  int y0 = std::clamp(int((lo.y - m_gridLo.y) / m_cell), 0, m_ny - 1);
  int y1 = std::clamp(int((hi.y - m_gridLo.y) / m_cell), 0, m_ny - 1);
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) {
      size_t c = size_t(y) * m_nx + x;
      for (uint32_t k = m_cellStart[c]; k < m_cellStart[c + 1]; ++k) {
        uint32_t e = m_cellEdges[k];
        if (m_stamp[e] == m_stampNow) continue;
        m_stamp[e] = m_stampNow;
        if (m_lo[e].x > hi.x || m_hi[e].x < lo.x || m_lo[e].y > hi.y || m_hi[e].y < lo.y) continue;
        f(int(e));
      }
    }
}

double BoundaryFinder::paramOf(int e, const DxGePoint2d& p) const {
  const Piece& c = m_edges[e];
  if (!c.isArc) {
    double dx = c.b.x - c.a.x, dy = c.b.y - c.a.y;
    return std::clamp(((p.x - c.a.x) * dx + (p.y - c.a.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
  }
  double rel = c.offsetOnArc(std::atan2(p.y - c.c.y, p.x - c.c.x)), s = std::fabs(c.sweep);
  if (rel <= s) return rel / s;
  return rel - s < 2 * M_PI - rel ? 1.0 : 0.0;
}

DxGePoint2d BoundaryFinder::pointAt(int e, double t) const {
  const Piece& c = m_edges[e];
  if (t <= 0) return c.a;
  if (t >= 1) return c.b;
  if (c.isArc) return c.at(c.a0 + t * c.sweep);
  return {c.a.x + t * (c.b.x - c.a.x), c.a.y + t * (c.b.y - c.a.y)};
}

const std::vector<double>& BoundaryFinder::splits(int e) {
  if (m_splitDone[e]) return m_splits[e];
  const Piece& me = m_edges[e];
  std::vector<double> s{0, 1};
  std::vector<DxGePoint2d> pts;
  DxGePoint2d lo{m_lo[e].x - m_tol, m_lo[e].y - m_tol}, hi{m_hi[e].x + m_tol, m_hi[e].y + m_tol};
  forCells(lo, hi, [&](int f) {
    if (f == e) return;
    const Piece& other = m_edges[f];
    pts.clear();
    intersect(me, other, pts, m_tol);
    // Ends that stop short of this curve, or run past it, within the gap close on it.
    for (const DxGePoint2d* q : {&other.a, &other.b})
      if (me.distance(*q) <= m_tol) pts.push_back(*q);
    for (const auto& q : pts) s.push_back(paramOf(e, q));
  });
  std::sort(s.begin(), s.end());
  double step = m_tol / me.length();
  std::vector<double>& out = m_splits[e];
  for (double t : s) {
    if (!out.empty() && t - out.back() <= step) continue;
    out.push_back(t);
  }
  if (out.size() >= 2 && 1 - out.back() <= step) out.back() = 1;
  else out.push_back(1);
  out.front() = 0;
  m_splitDone[e] = 1;
  return out;
}

Piece BoundaryFinder::part(const Half& h) {
  const auto& s = splits(h.edge);
  const Piece& c = m_edges[h.edge];
  double t0 = s[h.index], t1 = s[h.index + 1];
  Piece p;
  if (c.isArc) {
    p = h.forward ? Piece::arc(c.c, c.r, c.a0 + t0 * c.sweep, (t1 - t0) * c.sweep)
                  : Piece::arc(c.c, c.r, c.a0 + t1 * c.sweep, -(t1 - t0) * c.sweep);
  }
  p.a = pointAt(h.edge, h.forward ? t0 : t1);
  p.b = pointAt(h.edge, h.forward ? t1 : t0);
  return p;
}

void BoundaryFinder::tangent(const Half& h, bool atEnd, double& angle, double& curvature) {
  Piece p = part(h);
  if (!p.isArc) {
    angle = std::atan2(p.b.y - p.a.y, p.b.x - p.a.x);
    curvature = 0;
    return;
  }
  double phi = atEnd ? p.a0 + p.sweep : p.a0;
  angle = phi + (p.sweep > 0 ? M_PI / 2 : -M_PI / 2);
  curvature = p.sweep > 0 ? 1 / p.r : -1 / p.r;
}

namespace {

// Two pieces along the same way (drawn twice counts as one), or one back along the other.
bool samePath(const Piece& x, const Piece& y, double tol, bool reversed) {
  if (x.isArc != y.isArc) return false;
  const DxGePoint2d& ya = reversed ? y.b : y.a;
  const DxGePoint2d& yb = reversed ? y.a : y.b;
  if (!x.a.isEqualTo(ya, tol) || !x.b.isEqualTo(yb, tol)) return false;
  return !x.isArc || (x.c.isEqualTo(y.c, tol) && (x.sweep > 0) == ((y.sweep > 0) != reversed));
}

}  // namespace

bool BoundaryFinder::walk(Half start, BoundaryLoop& loop, std::vector<int>& touched) {
  std::vector<Half> halves;
  std::vector<int> near;
  loop.pieces.clear();
  double match = 4 * m_tol;
  Half h = start;
  const Piece first = part(start);
  size_t guard = 8 * m_edges.size() + 1000;
  for (size_t step = 0;; ++step) {
    if (step > guard) return false;
    Half rev{h.edge, h.index, !h.forward};
    Piece pc = part(h);
    touched.push_back(h.edge);
    // A way out and straight back (a loose end) leaves nothing behind.
    if (!halves.empty() && (halves.back() == rev || samePath(loop.pieces.back(), pc, match, true))) {
      halves.pop_back();
      loop.pieces.pop_back();
    } else {
      halves.push_back(h);
      loop.pieces.push_back(pc);
    }
    DxGePoint2d v = pc.b;
    double inAngle, inCurv;
    tangent(h, true, inAngle, inCurv);
    double back = inAngle + M_PI;
    Half best = rev;
    double bestRel = 4 * M_PI, bestCurv = 0;
    // Splitting queries the grid too: gather the edges first.
    near.clear();
    forCells({v.x - match, v.y - match}, {v.x + match, v.y + match}, [&](int f) { near.push_back(f); });
    for (int f : near) {
      const auto& s = splits(f);
      for (size_t j = 0; j < s.size(); ++j) {
        if (pointAt(f, s[j]).distanceTo(v) > match) continue;
        for (int dir = 0; dir < 2; ++dir) {
          Half c{f, int(dir ? j : j - 1), dir == 1};
          if ((dir == 1 && j + 1 >= s.size()) || (dir == 0 && j == 0) || c == rev) continue;
          double a, k;
          tangent(c, false, a, k);
          // Clockwise from the way back: the first one met is the sharpest left turn.
          double rel = wrap2pi(back - a);
          if (rel < 1e-12) rel = 2 * M_PI;
          bool better = rel < bestRel - 1e-9 || (rel < bestRel + 1e-9 && k > bestCurv);
          if (better) {
            best = c;
            bestRel = rel;
            bestCurv = k;
          }
        }
      }
    }
    h = best;
    // Back at the start, or on a curve drawn over it.
    if (h == start || samePath(part(h), first, match, false)) break;
  }
  while (halves.size() >= 2 && (halves.front() == Half{halves.back().edge, halves.back().index, !halves.back().forward} ||
                                 samePath(loop.pieces.front(), loop.pieces.back(), match, true))) {
    halves.erase(halves.begin());
    halves.pop_back();
    loop.pieces.erase(loop.pieces.begin());
    loop.pieces.pop_back();
  }
  loop.area = 0;
  for (const Piece& p : loop.pieces) loop.area += p.areaTerm();
  return true;
}

bool BoundaryFinder::traceFrom(const DxGePoint2d& p0, std::vector<char>& taken, bool firstOnly,
                               BoundaryLoop& loop, std::vector<BoundaryLoop>* passedOut) {
  double match = 4 * m_tol;
  std::vector<BoundaryLoop> local;
  std::vector<BoundaryLoop>& passed = passedOut ? *passedOut : local;
  // A ray through a vertex or along an edge is ambiguous: another one a hair higher is not.
  for (int attempt = 0; attempt < 8; ++attempt) {
    DxGePoint2d p{p0.x, p0.y + attempt * m_cell * 1.37e-6};
    struct Hit {
      double x;
      int edge;
      DxGePoint2d at;
    };
    std::vector<Hit> hits;
    double far = m_gridLo.x + (m_nx + 1) * m_cell;
    Piece ray = Piece::line(p, {far, p.y});
    std::vector<DxGePoint2d> pts;
    forCells(p, {far, p.y}, [&](int f) {
      if (taken[f]) return;
      pts.clear();
      intersect(ray, m_edges[f], pts, 0);
      for (const auto& q : pts)
        if (q.x > p.x) hits.push_back({q.x, f, q});
    });
    std::sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) { return a.x < b.x; });
    bool retry = false;
    for (const Hit& hit : hits) {
      if (taken[hit.edge]) continue;
      if (std::any_of(passed.begin(), passed.end(), [&](const BoundaryLoop& l) { return l.contains(hit.at); }))
        continue;
      const auto& s = splits(hit.edge);
      double t = paramOf(hit.edge, hit.at);
      size_t k = std::upper_bound(s.begin(), s.end(), t) - s.begin();
      k = std::clamp<size_t>(k, 1, s.size() - 1) - 1;
      if (pointAt(hit.edge, s[k]).distanceTo(hit.at) <= match ||
          pointAt(hit.edge, s[k + 1]).distanceTo(hit.at) <= match) {
        retry = true;
        break;
      }
      Half h{hit.edge, int(k), true};
      double a, curv;
      tangent(h, false, a, curv);
      // Tangent where the ray meets the edge: p must lie to the left of the way walked.
      const Piece& c = m_edges[hit.edge];
      double ty = c.isArc ? std::cos(std::atan2(hit.at.y - c.c.y, hit.at.x - c.c.x)) * (c.sweep > 0 ? 1 : -1)
                          : c.b.y - c.a.y;
      if (std::fabs(ty) < 1e-12 * (c.isArc ? 1 : c.length())) {
        retry = true;
        break;
      }
      h.forward = ty > 0;
      std::vector<int> touched;
      if (!walk(h, loop, touched)) return false;
      for (int e : touched) taken[e] = 1;
      if (firstOnly) return true;
      if (loop.area > 0 && loop.contains(p0)) return true;
      if (!loop.pieces.empty()) passed.push_back(loop);
    }
    if (!retry) return false;
  }
  return false;
}

bool BoundaryFinder::find(const DxGePoint2d& p, bool islands, BoundaryLoop& outer, std::vector<BoundaryLoop>& inner) {
  inner.clear();
  std::vector<char> taken(m_edges.size(), 0);
  // Shapes the ray met on its way to the outline are islands already.
  if (m_edges.empty() || !traceFrom(p, taken, false, outer, &inner) || outer.pieces.empty()) return false;
  std::erase_if(inner, [](const BoundaryLoop& l) { return !(l.area < 0); });
  if (!islands) {
    inner.clear();
    return true;
  }
  DxGePoint2d lo{HUGE_VAL, HUGE_VAL}, hi{-HUGE_VAL, -HUGE_VAL};
  for (const Piece& q : outer.pieces) q.extend(lo, hi);
  std::vector<int> inside;
  forCells(lo, hi, [&](int e) {
    if (!taken[e] && m_lo[e].x >= lo.x && m_hi[e].x <= hi.x && m_lo[e].y >= lo.y && m_hi[e].y <= hi.y)
      inside.push_back(e);
  });
  // Leftmost first: a shape is met before anything nested in it.
  std::sort(inside.begin(), inside.end(), [&](int a, int b) { return m_lo[a].x < m_lo[b].x; });
  double match = 4 * m_tol, step = std::max(10 * match, m_cell * 1e-6);
  auto onOuter = [&](const DxGePoint2d& q) {
    return std::any_of(outer.pieces.begin(), outer.pieces.end(), [&](const Piece& o) { return o.distance(q) <= step; });
  };
  for (int e : inside) {
    if (taken[e]) continue;
    const Piece& c = m_edges[e];
    DxGePoint2d left = c.a.x <= c.b.x ? c.a : c.b;
    if (c.isArc && c.angleOn(M_PI, 0)) left = c.at(M_PI);
    DxGePoint2d q{left.x - step, left.y};
    bool nested = std::any_of(inner.begin(), inner.end(), [&](const BoundaryLoop& l) { return l.contains(left); });
    if (nested || onOuter(left) || !outer.contains(left)) continue;
    BoundaryLoop loop;
    if (!traceFrom(q, taken, true, loop)) continue;
    if (loop.area < 0 && !loop.pieces.empty() && outer.contains(loop.pieces.front().a))
      inner.push_back(std::move(loop));
  }
  return true;
}

}  // namespace dx::geo
