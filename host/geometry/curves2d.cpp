// Plane curves: lines, circles and polylines with bulges, handled piece by piece as
// straight segments and true arcs so that intersections, areas and inside tests stay
// exact on arcs.
#include <algorithm>
#include <cmath>

#include "host/geometry/pieces.h"

namespace dx::geo {

Piece Piece::line(const DxGePoint2d& a, const DxGePoint2d& b) {
  Piece p;
  p.a = a;
  p.b = b;
  return p;
}

Piece Piece::bulged(const DxGePoint2d& a, const DxGePoint2d& b, double bulge) {
  double chord = a.distanceTo(b);
  if (bulge == 0 || chord == 0) return line(a, b);
  Piece p;
  p.isArc = true;
  p.a = a;
  p.b = b;
  p.sweep = 4 * std::atan(bulge);
  double nx = -(b.y - a.y) / chord, ny = (b.x - a.x) / chord;  // left of a->b
  double h = (chord / 2) / std::tan(p.sweep / 2);
  p.c = {(a.x + b.x) / 2 + nx * h, (a.y + b.y) / 2 + ny * h};
  p.r = p.c.distanceTo(a);
  p.a0 = std::atan2(a.y - p.c.y, a.x - p.c.x);
  return p;
}

Piece Piece::arc(const DxGePoint2d& c, double r, double a0, double sweep) {
  Piece p;
  p.isArc = true;
  p.c = c;
  p.r = r;
  p.a0 = a0;
  p.sweep = sweep;
  p.a = p.at(a0);
  p.b = p.at(a0 + sweep);
  return p;
}

DxGePoint2d Piece::at(double angle) const { return {c.x + r * std::cos(angle), c.y + r * std::sin(angle)}; }

double Piece::offsetOnArc(double angle) const {
  // How far past the start, in the arc's own sense, the angle lies: in [0, 2 pi).
  double rel = sweep >= 0 ? angle - a0 : a0 - angle;
  rel = std::fmod(rel, 2 * M_PI);
  if (rel < 0) rel += 2 * M_PI;
  return rel;
}

bool Piece::angleOn(double angle, double tol) const {
  double rel = offsetOnArc(angle);
  double tolAng = r > 0 ? tol / r : 0;
  return rel <= std::fabs(sweep) + tolAng || 2 * M_PI - rel <= tolAng;
}

void Piece::extend(DxGePoint2d& lo, DxGePoint2d& hi) const {
  auto add = [&](const DxGePoint2d& q) {
    lo = {std::min(lo.x, q.x), std::min(lo.y, q.y)};
    hi = {std::max(hi.x, q.x), std::max(hi.y, q.y)};
  };
  add(a);
  add(b);
  if (!isArc) return;
  for (int k = 0; k < 4; ++k)
    if (angleOn(k * M_PI / 2, 0)) add(at(k * M_PI / 2));
}

double Piece::distance(const DxGePoint2d& p) const {
  if (isArc) {
    double ang = std::atan2(p.y - c.y, p.x - c.x);
    if (angleOn(ang, 0)) return std::fabs(p.distanceTo(c) - r);
    return std::min(p.distanceTo(a), p.distanceTo(b));
  }
  double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / len2, 0.0, 1.0) : 0;
  return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

double Piece::areaTerm() const {
  // Shoelace term of the chord plus the circular segment between chord and arc.
  double t = a.x * b.y - b.x * a.y;
  double seg = isArc ? r * r * (sweep - std::sin(sweep)) : 0;
  return 0.5 * t + 0.5 * seg;
}

double Piece::length() const { return isArc ? std::fabs(sweep) * r : a.distanceTo(b); }

namespace {

void addUnique(std::vector<DxGePoint2d>& out, size_t from, const DxGePoint2d& p, double tol) {
  for (size_t i = from; i < out.size(); ++i)
    if (out[i].distanceTo(p) <= tol) return;
  out.push_back(p);
}

bool onLine(const Piece& l, const DxGePoint2d& p, double tol) { return l.distance(p) <= tol; }

void lineLine(const Piece& p, const Piece& q, std::vector<DxGePoint2d>& out, size_t from, double tol) {
  double rx = p.b.x - p.a.x, ry = p.b.y - p.a.y, sx = q.b.x - q.a.x, sy = q.b.y - q.a.y;
  double den = rx * sy - ry * sx;
  double lp = std::hypot(rx, ry), lq = std::hypot(sx, sy);
  if (std::fabs(den) <= 1e-14 * lp * lq) {
    // Parallel: only collinear overlaps meet, at the ends of the overlap.
    for (const DxGePoint2d* e : {&q.a, &q.b})
      if (onLine(p, *e, tol)) addUnique(out, from, *e, tol);
    for (const DxGePoint2d* e : {&p.a, &p.b})
      if (onLine(q, *e, tol)) addUnique(out, from, *e, tol);
    return;
  }
  double qx = q.a.x - p.a.x, qy = q.a.y - p.a.y;
  double t = (qx * sy - qy * sx) / den, u = (qx * ry - qy * rx) / den;
  double tt = lp > 0 ? tol / lp : 0, tu = lq > 0 ? tol / lq : 0;
  if (t < -tt || t > 1 + tt || u < -tu || u > 1 + tu) return;
  addUnique(out, from, {p.a.x + t * rx, p.a.y + t * ry}, tol);
}

void lineArc(const Piece& l, const Piece& arc, std::vector<DxGePoint2d>& out, size_t from, double tol) {
  double dx = l.b.x - l.a.x, dy = l.b.y - l.a.y, len = std::hypot(dx, dy);
  if (len == 0) return;
  double ux = dx / len, uy = dy / len;
  // Foot of the centre on the line, then along the line either way.
  double s = (arc.c.x - l.a.x) * ux + (arc.c.y - l.a.y) * uy;
  DxGePoint2d foot{l.a.x + s * ux, l.a.y + s * uy};
  double d = foot.distanceTo(arc.c);
  if (d > arc.r + tol) return;
  double h = d >= arc.r ? 0 : std::sqrt(arc.r * arc.r - d * d);
  for (double k : {-h, h}) {
    DxGePoint2d p{foot.x + k * ux, foot.y + k * uy};
    if (onLine(l, p, tol) && arc.angleOn(std::atan2(p.y - arc.c.y, p.x - arc.c.x), tol))
      addUnique(out, from, p, tol);
    if (h == 0) break;
  }
}

void arcArc(const Piece& p, const Piece& q, std::vector<DxGePoint2d>& out, size_t from, double tol) {
  double d = p.c.distanceTo(q.c);
  if (d <= tol && std::fabs(p.r - q.r) <= tol) {
    // Same circle: the arcs meet where one's end lies on the other.
    for (const Piece* x : {&p, &q})
      for (const DxGePoint2d* e : {&x->a, &x->b}) {
        const Piece& other = x == &p ? q : p;
        if (other.distance(*e) <= tol) addUnique(out, from, *e, tol);
      }
    return;
  }
  if (d > p.r + q.r + tol || d < std::fabs(p.r - q.r) - tol || d == 0) return;
  double a = (p.r * p.r - q.r * q.r + d * d) / (2 * d);
  double h2 = p.r * p.r - a * a;
  double h = h2 > 0 ? std::sqrt(h2) : 0;
  double ux = (q.c.x - p.c.x) / d, uy = (q.c.y - p.c.y) / d;
  DxGePoint2d m{p.c.x + a * ux, p.c.y + a * uy};
  for (double k : {-h, h}) {
    DxGePoint2d x{m.x - k * uy, m.y + k * ux};
    if (p.angleOn(std::atan2(x.y - p.c.y, x.x - p.c.x), tol) &&
        q.angleOn(std::atan2(x.y - q.c.y, x.x - q.c.x), tol))
      addUnique(out, from, x, tol);
    if (h == 0) break;
  }
}

}  // namespace

void intersect(const Piece& p, const Piece& q, std::vector<DxGePoint2d>& out, double tol) {
  size_t from = out.size();
  if (!p.isArc && !q.isArc) lineLine(p, q, out, from, tol);
  else if (!p.isArc) lineArc(p, q, out, from, tol);
  else if (!q.isArc) lineArc(q, p, out, from, tol);
  else arcArc(p, q, out, from, tol);
}

int crossings(const Piece& p, const DxGePoint2d& pt) {
  // Crossings of the ray from pt towards +x, half-open in y so that vertices count once.
  auto segment = [&](const DxGePoint2d& a, const DxGePoint2d& b) {
    if ((a.y > pt.y) == (b.y > pt.y)) return 0;
    double x = a.x + (pt.y - a.y) * (b.x - a.x) / (b.y - a.y);
    return x > pt.x ? 1 : 0;
  };
  if (!p.isArc) return segment(p.a, p.b);
  // Arcs split where y turns, so that every part is monotone in y.
  std::vector<double> cuts{0};
  double total = std::fabs(p.sweep), dir = p.sweep >= 0 ? 1 : -1;
  for (double turn : {M_PI / 2, 3 * M_PI / 2}) {
    double rel = std::fmod((dir > 0 ? turn - p.a0 : p.a0 - turn), 2 * M_PI);
    if (rel < 0) rel += 2 * M_PI;
    if (rel > 0 && rel < total) cuts.push_back(rel);
  }
  cuts.push_back(total);
  std::sort(cuts.begin(), cuts.end());
  int n = 0;
  for (size_t i = 1; i < cuts.size(); ++i) {
    double t0 = p.a0 + dir * cuts[i - 1], t1 = p.a0 + dir * cuts[i];
    DxGePoint2d a = p.at(t0), b = p.at(t1);
    if (i == 1) a = p.a;
    if (i + 1 == cuts.size()) b = p.b;
    if ((a.y > pt.y) == (b.y > pt.y)) continue;
    double dy = pt.y - p.c.y;
    double dx = std::sqrt(std::max(0.0, p.r * p.r - dy * dy));
    double x = std::cos((t0 + t1) / 2) >= 0 ? p.c.x + dx : p.c.x - dx;
    if (x > pt.x) ++n;
  }
  return n;
}

std::vector<Piece> piecesOf(const KvGeCurve2d& c) {
  std::vector<Piece> out;
  switch (c.type()) {
    case KvGeType::kLineSeg: {
      auto& l = static_cast<const KvGeLineSeg2d&>(c);
      out.push_back(Piece::line(l.StartPoint(), l.EndPoint()));
      break;
    }
    case KvGeType::kCircle: {
      auto& ci = static_cast<const KvGeCircle2d&>(c);
      out.push_back(Piece::arc(ci.Center(), ci.Radius(), 0, M_PI));
      out.push_back(Piece::arc(ci.Center(), ci.Radius(), M_PI, M_PI));
      break;
    }
    case KvGeType::kPolyline: {
      auto& pl = static_cast<const KvGePolyline2d&>(c);
      unsigned n = pl.NumVerts();
      unsigned segs = pl.IsClosed() ? n : (n ? n - 1 : 0);
      for (unsigned i = 0; i < segs; ++i) {
        DxGePoint2d a = pl.PointAt(i), b = pl.PointAt((i + 1) % n);
        if (a == b) continue;
        out.push_back(Piece::bulged(a, b, pl.BulgeAt(i)));
      }
      break;
    }
  }
  return out;
}

void linearize(const Piece& p, int perCircle, std::vector<DxGePoint2d>& pts) {
  // Appends the piece's start and its inner points; the end belongs to the next piece.
  pts.push_back(p.a);
  if (!p.isArc) return;
  int n = std::max(1, int(std::ceil(std::fabs(p.sweep) / (2 * M_PI) * std::max(perCircle, 1) - 1e-9)));
  for (int i = 1; i < n; ++i) pts.push_back(p.at(p.a0 + p.sweep * i / n));
}

}  // namespace dx::geo

using namespace dx::geo;

int KvGeCurve2d::IntersectWith(const KvGeCurve2d& other, std::vector<DxGePoint2d>& pts, double tol) const {
  size_t before = pts.size();
  std::vector<DxGePoint2d> found;
  auto mine = piecesOf(*this), theirs = piecesOf(other);
  for (const Piece& p : mine)
    for (const Piece& q : theirs) intersect(p, q, found, tol);
  for (const auto& p : found) {
    bool dup = false;
    for (size_t i = before; i < pts.size() && !dup; ++i) dup = pts[i].distanceTo(p) <= tol;
    if (!dup) pts.push_back(p);
  }
  return int(pts.size() - before);
}

bool KvGeCurve2d::IsInclude(const DxGePoint2d& p, double tol) const {
  if (!IsClosed()) return false;
  auto pieces = piecesOf(*this);
  int n = 0;
  for (const Piece& q : pieces) {
    if (q.distance(p) <= tol) return true;
    n += crossings(q, p);
  }
  return n % 2 == 1;
}

double KvGeCurve2d::Area() const {
  if (!IsClosed()) return 0;
  double a = 0;
  for (const Piece& q : piecesOf(*this)) a += q.areaTerm();
  return a;
}

void KvGeLineSeg2d::GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const {
  lo = {std::min(m_start.x, m_end.x), std::min(m_start.y, m_end.y)};
  hi = {std::max(m_start.x, m_end.x), std::max(m_start.y, m_end.y)};
}
void KvGeLineSeg2d::MLinearize(int, std::vector<DxGePoint2d>& pts) const {
  pts = {m_start, m_end};
}

void KvGeCircle2d::GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const {
  lo = {m_center.x - m_radius, m_center.y - m_radius};
  hi = {m_center.x + m_radius, m_center.y + m_radius};
}
void KvGeCircle2d::MLinearize(int perCircle, std::vector<DxGePoint2d>& pts) const {
  pts.clear();
  int n = std::max(3, perCircle);
  for (int i = 0; i < n; ++i) {
    double t = 2 * M_PI * i / n;
    pts.emplace_back(m_center.x + m_radius * std::cos(t), m_center.y + m_radius * std::sin(t));
  }
}

KvGePolyline2d::KvGePolyline2d(std::vector<DxGePoint2d> pts, std::vector<double> bulges, bool closed)
    : m_pts(std::move(pts)), m_bulges(std::move(bulges)), m_closed(closed) {
  m_bulges.resize(m_pts.size(), 0.0);
}
void KvGePolyline2d::AddVertex(const DxGePoint2d& p, double bulge) {
  m_pts.push_back(p);
  m_bulges.push_back(bulge);
}
void KvGePolyline2d::GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const {
  lo = {HUGE_VAL, HUGE_VAL};
  hi = {-HUGE_VAL, -HUGE_VAL};
  for (const auto& p : m_pts) Piece::line(p, p).extend(lo, hi);
  for (const Piece& q : piecesOf(*this)) q.extend(lo, hi);
}
void KvGePolyline2d::MLinearize(int perCircle, std::vector<DxGePoint2d>& pts) const {
  pts.clear();
  auto pieces = piecesOf(*this);
  for (const Piece& q : pieces) linearize(q, perCircle, pts);
  if (!m_closed && !m_pts.empty()) pts.push_back(m_pts.back());
  if (pieces.empty() && !m_pts.empty() && m_closed) pts.push_back(m_pts.front());
}
