#include "express/aids/superhatch/shatch_geometry.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace express::shatch {

double gridShift(double tileMin, double tileMax, double boundMin, double size) {
  double d = tileMin - boundMin;
  if (d >= 0) return -(std::trunc(d / size) + 3) * size;
  double e = boundMin - tileMax;
  if (e > 0) return (std::trunc(e / size) - 3) * size;
  return 0;
}

bool layGrid(const DxGePoint2d& tLo, const DxGePoint2d& tHi, const DxGePoint2d& bLo,
             const DxGePoint2d& bHi, CGridLayout& grid) {
  grid.width = tHi.x - tLo.x;
  grid.height = tHi.y - tLo.y;
  if (!(grid.width > kTol) || !(grid.height > kTol)) return false;
  grid.shift = {gridShift(tLo.x, tHi.x, bLo.x, grid.width), gridShift(tLo.y, tHi.y, bLo.y, grid.height)};
  grid.origin = {tLo.x + grid.shift.x, tLo.y + grid.shift.y};
  double spanX = bHi.x - grid.origin.x, spanY = bHi.y - grid.origin.y;
  if (spanX < -kTol || spanY < -kTol) return false;
  grid.columns = int(std::trunc(spanX / grid.width)) + 1;
  grid.rows = int(std::trunc(spanY / grid.height)) + 1;
  return true;
}

std::vector<KvGeLineSeg2d> cutLines(const DxGePoint2d& outerLo, const DxGePoint2d& outerHi,
                                    const std::vector<std::pair<DxGePoint2d, DxGePoint2d>>& islands) {
  std::vector<KvGeLineSeg2d> lines;
  double y0 = outerLo.y - 5.0, y1 = outerHi.y + 5.0;
  for (const auto& [lo, hi] : islands) {
    double d = std::fabs(hi.x - lo.x) * 0.1;
    lines.emplace_back(DxGePoint2d(lo.x + d, y0), DxGePoint2d(lo.x + d, y1));
    lines.emplace_back(DxGePoint2d(hi.x - d, y0), DxGePoint2d(hi.x - d, y1));
  }
  return lines;
}

int arcSampleCount(double sweep, int accuracy) {
  if (!(accuracy / (2 * M_PI) > kTol)) return 0;
  return int(std::trunc(std::fabs(sweep) * accuracy / (2 * M_PI)));
}

namespace {

std::pair<DxGePoint2d, DxGePoint2d> extentsOf(const std::vector<DxGePoint2d>& pts) {
  DxGePoint2d lo{HUGE_VAL, HUGE_VAL}, hi{-HUGE_VAL, -HUGE_VAL};
  for (const auto& p : pts) {
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y)};
  }
  return {lo, hi};
}

KvGeGeneralRegion2d regionOf(const std::vector<DxGePoint2d>& loop) {
  return KvGeGeneralRegion2d(KvGePolyline2d(loop, {}, true));
}

// Whether segments ab and cd meet (touching counts).
bool segmentsMeet(const DxGePoint2d& a, const DxGePoint2d& b, const DxGePoint2d& c, const DxGePoint2d& d) {
  auto cross = [](const DxGePoint2d& o, const DxGePoint2d& p, const DxGePoint2d& q) {
    return (p.x - o.x) * (q.y - o.y) - (p.y - o.y) * (q.x - o.x);
  };
  auto within = [](const DxGePoint2d& p, const DxGePoint2d& q, const DxGePoint2d& r) {
    return std::min(p.x, q.x) - kTol <= r.x && r.x <= std::max(p.x, q.x) + kTol &&
           std::min(p.y, q.y) - kTol <= r.y && r.y <= std::max(p.y, q.y) + kTol;
  };
  double d1 = cross(c, d, a), d2 = cross(c, d, b), d3 = cross(a, b, c), d4 = cross(a, b, d);
  if (((d1 > kTol && d2 < -kTol) || (d1 < -kTol && d2 > kTol)) &&
      ((d3 > kTol && d4 < -kTol) || (d3 < -kTol && d4 > kTol)))
    return true;
  return (std::fabs(d1) <= kTol && within(c, d, a)) || (std::fabs(d2) <= kTol && within(c, d, b)) ||
         (std::fabs(d3) <= kTol && within(a, b, c)) || (std::fabs(d4) <= kTol && within(a, b, d));
}

}  // namespace

std::vector<std::vector<DxGePoint2d>> splitArea(const std::vector<DxGePoint2d>& outer,
                                                const std::vector<std::vector<DxGePoint2d>>& islands) {
  KvGeGeneralRegion2d area = regionOf(outer);
  std::vector<std::pair<DxGePoint2d, DxGePoint2d>> extents;
  for (const auto& island : islands) {
    area = area.Subtract(regionOf(island));
    extents.push_back(extentsOf(island));
  }
  auto [lo, hi] = extentsOf(outer);
  for (const auto& line : cutLines(lo, hi, extents)) area.Cut(line);
  std::vector<KvGeRegion2d> regions;
  area.GetCurRegion2D(regions);
  std::vector<std::vector<DxGePoint2d>> pieces;
  for (auto& r : regions)
    if (r.outer.size() >= 3) pieces.push_back(std::move(r.outer));
  return pieces;
}

std::vector<DxGePoint2d> clipToRect(const std::vector<DxGePoint2d>& poly, const DxGePoint2d& lo,
                                    const DxGePoint2d& hi) {
  std::vector<DxGePoint2d> out = poly, in;
  // Each side as (axis, bound, keep below the bound).
  const struct { bool x; double bound; bool below; } sides[4] = {
      {true, lo.x, false}, {true, hi.x, true}, {false, lo.y, false}, {false, hi.y, true}};
  for (const auto& side : sides) {
    in.swap(out);
    out.clear();
    auto value = [&](const DxGePoint2d& p) { return side.x ? p.x : p.y; };
    auto keeps = [&](const DxGePoint2d& p) { return side.below ? value(p) <= side.bound : value(p) >= side.bound; };
    for (size_t i = 0; i < in.size(); ++i) {
      const DxGePoint2d& a = in[(i + in.size() - 1) % in.size()];
      const DxGePoint2d& b = in[i];
      if (keeps(a) != keeps(b)) {
        double t = (side.bound - value(a)) / (value(b) - value(a));
        out.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t});
      }
      if (keeps(b)) out.push_back(b);
    }
  }
  return out;
}

bool CWyobiRect::IsInside(const DxGePoint2d& p) const {
  return p.x >= m_lo.x - kTol && p.x <= m_hi.x + kTol && p.y >= m_lo.y - kTol && p.y <= m_hi.y + kTol;
}

bool CWyobiRect::IsOverlap(const DxGePoint2d& lo, const DxGePoint2d& hi) const {
  return lo.x <= m_hi.x + kTol && hi.x >= m_lo.x - kTol && lo.y <= m_hi.y + kTol && hi.y >= m_lo.y - kTol;
}

CWyobiPolyline::CWyobiPolyline(std::vector<DxGePoint2d> pts) : m_pts(std::move(pts)) {
  std::tie(m_lo, m_hi) = extentsOf(m_pts);
}

bool CWyobiPolyline::IsInside(const DxGePoint2d& p) const {
  size_t n = m_pts.size();
  if (n < 3 || p.x < m_lo.x - kTol || p.x > m_hi.x + kTol || p.y < m_lo.y - kTol || p.y > m_hi.y + kTol)
    return false;
  bool inside = false;
  for (size_t i = 0, j = n - 1; i < n; j = i++) {
    const DxGePoint2d &a = m_pts[i], &b = m_pts[j];
    if (segmentsMeet(a, b, p, p)) return true;
    if ((a.y > p.y) != (b.y > p.y) && p.x < (b.x - a.x) * (p.y - a.y) / (b.y - a.y) + a.x) inside = !inside;
  }
  return inside;
}

bool CWyobiPolyline::IsOverlap(const DxGePoint2d& lo, const DxGePoint2d& hi) const {
  size_t n = m_pts.size();
  if (n < 3 || lo.x > m_hi.x + kTol || hi.x < m_lo.x - kTol || lo.y > m_hi.y + kTol || hi.y < m_lo.y - kTol)
    return false;
  const DxGePoint2d corners[4] = {lo, {lo.x, hi.y}, hi, {hi.x, lo.y}};
  for (size_t i = 0, j = n - 1; i < n; j = i++)
    for (int k = 0; k < 4; ++k)
      if (segmentsMeet(m_pts[j], m_pts[i], corners[k], corners[(k + 1) % 4])) return true;
  // No edge crossing: the piece may still lie wholly inside a copy bigger than itself.
  return CWyobiRect(lo, hi).IsInside(m_pts[0]);
}

void assignPieces(const std::vector<std::unique_ptr<CWyobiShape>>& pieces, const DxGePoint2d& lo,
                  const DxGePoint2d& hi, std::vector<size_t>& taken) {
  taken.clear();
  const DxGePoint2d corners[4] = {lo, {lo.x, hi.y}, hi, {hi.x, lo.y}};
  for (size_t i = 0; i < pieces.size(); ++i) {
    int inside = 0;
    for (const auto& c : corners) inside += pieces[i]->IsInside(c);
    if (inside == 0) {
      if (pieces[i]->IsOverlap(lo, hi)) taken.push_back(i);
      continue;
    }
    taken.push_back(i);
    if (inside == 4) break;
  }
}

}  // namespace express::shatch
