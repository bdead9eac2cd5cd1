// Hit testing: what a pick point, a window or a crossing window touches, measured on the
// entities' own geometry in the XY plane of the world.
#include <algorithm>
#include <cmath>
#include <limits>

#include "host/editor/core/geometry.h"

namespace dx::ed {
namespace {

void sampleArc(const DxGePoint3d& c, double r, double a0, double a1, std::vector<DxGePoint2d>& out) {
  while (a1 < a0) a1 += 2 * M_PI;
  int n = std::max(4, int(std::ceil((a1 - a0) / (2 * M_PI) * 72)));
  for (int i = 0; i <= n; ++i) {
    double t = a0 + (a1 - a0) * i / n;
    out.emplace_back(c.x + r * std::cos(t), c.y + r * std::sin(t));
  }
}

bool planView(const DxGeVector3d& n) { return std::fabs(n.x) < 1e-12 && std::fabs(n.y) < 1e-12 && n.z > 0; }

double segDist(const DxGePoint2d& p, const DxGePoint2d& a, const DxGePoint2d& b) {
  double dx = b.x - a.x, dy = b.y - a.y;
  double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2 : 0;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

// Liang-Barsky: does the segment touch the box?
bool segHitsBox(DxGePoint2d a, DxGePoint2d b, const Box& box) {
  double t0 = 0, t1 = 1, dx = b.x - a.x, dy = b.y - a.y;
  auto clip = [&](double p, double q) {
    if (p == 0) return q >= 0;
    double r = q / p;
    if (p < 0) {
      if (r > t1) return false;
      if (r > t0) t0 = r;
    } else {
      if (r < t0) return false;
      if (r < t1) t1 = r;
    }
    return true;
  };
  return clip(-dx, a.x - box.lo.x) && clip(dx, box.hi.x - a.x) && clip(-dy, a.y - box.lo.y) &&
         clip(dy, box.hi.y - a.y);
}

using geo::Piece;

// Seen from above or below: curves in such planes have a true shape in world XY.
bool parallelToXY(const DxGeVector3d& n) { return std::fabs(n.x) < 1e-9 && std::fabs(n.y) < 1e-9; }

// Chords of a flattened curve (ellipses, splines).
void addChords(const std::vector<DxGePoint3d>& pts, std::vector<Piece>& out) {
  for (size_t i = 1; i < pts.size(); ++i) {
    out.push_back(Piece::line(pts[i - 1].to2d(), pts[i].to2d()));
    out.back().flat = true;
  }
}

// The entity's curves in world XY; curves not lying in a plane parallel to it are left out.
void collectPieces(const DxDbEntity* e, std::vector<Piece>& out, int depth) {
  if (auto* l = DxRxObject::cast<DxDbLine>(e)) {
    out.push_back(Piece::line(l->startPoint().to2d(), l->endPoint().to2d()));
  } else if (auto* a = DxRxObject::cast<DxDbArc>(e)) {
    if (!parallelToXY(a->normal())) return;
    double sweep = std::fmod(a->endAngle() - a->startAngle(), 2 * M_PI);
    if (sweep <= 0) sweep += 2 * M_PI;
    DxGePoint2d c = a->center().to2d(), s = a->startPoint().to2d();
    Piece p = Piece::arc(c, a->radius(), std::atan2(s.y - c.y, s.x - c.x), a->normal().z > 0 ? sweep : -sweep);
    p.a = s;
    p.b = a->endPoint().to2d();
    out.push_back(p);
  } else if (auto* c = DxRxObject::cast<DxDbCircle>(e)) {
    if (parallelToXY(c->normal())) out.push_back(Piece::arc(c->center().to2d(), c->radius(), 0, 2 * M_PI));
  } else if (auto* pl = DxRxObject::cast<DxDbPolyline>(e)) {
    if (!parallelToXY(pl->normal()) || pl->numVerts() < 2) return;
    unsigned n = pl->numVerts(), segs = pl->isClosed() ? n : n - 1;
    double flip = pl->normal().z > 0 ? 1 : -1;  // bulges turn the other way seen from below
    for (unsigned i = 0; i < segs; ++i) {
      DxGePoint3d p, q;
      double b = 0;
      pl->getPointAt(i, p);
      pl->getPointAt((i + 1) % n, q);
      pl->getBulgeAt(i, b);
      out.push_back(Piece::bulged(p.to2d(), q.to2d(), b * flip));
    }
  } else if (auto* el = DxRxObject::cast<DxDbEllipse>(e)) {
    if (!parallelToXY(el->normal())) return;
    double t0 = el->startParam(), t1 = el->endParam();
    while (t1 <= t0) t1 += 2 * M_PI;
    int n = std::max(8, int(std::ceil((t1 - t0) / (2 * M_PI) * 128)));
    std::vector<DxGePoint3d> pts;
    for (int i = 0; i <= n; ++i) {
      double t = t0 + (t1 - t0) * i / n;
      pts.push_back(el->center() + el->majorAxis() * std::cos(t) + el->minorAxis() * std::sin(t));
    }
    addChords(pts, out);
  } else if (auto* sp = DxRxObject::cast<DxDbSpline>(e)) {
    std::vector<DxGePoint3d> pts;
    sp->getSamplePoints(std::max<int>(64, int(sp->controlPoints().size()) * 8), pts);
    addChords(pts, out);
  } else if (depth < 16 && (DxRxObject::cast<DxDbBlockReference>(e) || DxRxObject::cast<DxDbPolylineHeavy>(e) ||
                            DxRxObject::cast<DxDbRegion>(e))) {
    std::vector<DxDbEntity*> parts;
    if (e->explode(parts) == Dxad::eOk)
      for (DxDbEntity* part : parts) collectPieces(part, out, depth + 1);
    for (DxDbEntity* part : parts) delete part;
  }
}

}  // namespace

void worldPieces(const DxDbEntity* e, std::vector<geo::Piece>& out) { collectPieces(e, out, 0); }

bool Box::contains(const DxGePoint2d& p, double tol) const {
  return p.x >= lo.x - tol && p.x <= hi.x + tol && p.y >= lo.y - tol && p.y <= hi.y + tol;
}
bool Box::contains(const Box& b) const {
  return b.lo.x >= lo.x && b.hi.x <= hi.x && b.lo.y >= lo.y && b.hi.y <= hi.y;
}
bool Box::overlaps(const Box& b) const {
  return b.lo.x <= hi.x && b.hi.x >= lo.x && b.lo.y <= hi.y && b.hi.y >= lo.y;
}
double Box::distance(const DxGePoint2d& p) const {
  double dx = std::max({lo.x - p.x, 0.0, p.x - hi.x});
  double dy = std::max({lo.y - p.y, 0.0, p.y - hi.y});
  return std::hypot(dx, dy);
}

bool extentsOf(const DxDbEntity* e, Box& box) {
  DxGePoint3d lo, hi;
  if (e->getGeomExtents(lo, hi) != Dxad::eOk) return false;
  if (!(lo.x <= hi.x) || !(lo.y <= hi.y)) return false;
  box.lo = lo.to2d();
  box.hi = hi.to2d();
  return true;
}

bool outlineOf(const DxDbEntity* e, Outline& out) {
  out.paths.clear();
  if (auto* l = DxRxObject::cast<DxDbLine>(e)) {
    out.paths.push_back({l->startPoint().to2d(), l->endPoint().to2d()});
    return true;
  }
  if (auto* a = DxRxObject::cast<DxDbArc>(e)) {
    if (!planView(a->normal())) return false;
    out.paths.emplace_back();
    sampleArc(a->center(), a->radius(), a->startAngle(), a->endAngle(), out.paths.back());
    return true;
  }
  if (auto* c = DxRxObject::cast<DxDbCircle>(e)) {
    if (!planView(c->normal())) return false;
    out.paths.emplace_back();
    sampleArc(c->center(), c->radius(), 0, 2 * M_PI, out.paths.back());
    return true;
  }
  if (auto* pl = DxRxObject::cast<DxDbPolyline>(e)) {
    if (!planView(pl->normal()) || pl->numVerts() == 0) return false;
    out.paths.emplace_back();
    auto& path = out.paths.back();
    unsigned n = pl->numVerts();
    unsigned segs = pl->isClosed() ? n : n - 1;
    DxGePoint3d p;
    pl->getPointAt(0, p);
    path.push_back(p.to2d());
    for (unsigned i = 0; i < segs; ++i) {
      DxGePoint3d c;
      double r, a0, a1;
      if (pl->getArcSegAt(i, c, r, a0, a1)) {
        std::vector<DxGePoint2d> arc;
        sampleArc(c, r, a0, a1, arc);
        DxGePoint3d q;
        pl->getPointAt((i + 1) % n, q);
        // The sampled arc runs counter-clockwise; a clockwise bulge ends at its start.
        if (!arc.empty() && arc.front().distanceTo(q.to2d()) < arc.back().distanceTo(q.to2d()))
          std::reverse(arc.begin(), arc.end());
        path.insert(path.end(), arc.begin(), arc.end());
      } else {
        DxGePoint3d q;
        pl->getPointAt((i + 1) % n, q);
        path.push_back(q.to2d());
      }
    }
    return true;
  }
  if (auto* el = DxRxObject::cast<DxDbEllipse>(e)) {
    out.paths.emplace_back();
    double t0 = el->startParam(), t1 = el->endParam();
    while (t1 <= t0) t1 += 2 * M_PI;
    DxGeVector3d ma = el->majorAxis(), mi = el->minorAxis();
    for (int i = 0; i <= 72; ++i) {
      double t = t0 + (t1 - t0) * i / 72;
      DxGePoint3d q = el->center() + ma * std::cos(t) + mi * std::sin(t);
      out.paths.back().push_back(q.to2d());
    }
    return true;
  }
  if (auto* sp = DxRxObject::cast<DxDbSpline>(e)) {
    std::vector<DxGePoint3d> pts;
    sp->getSamplePoints(64, pts);
    if (pts.empty()) return false;
    out.paths.emplace_back();
    for (auto& q : pts) out.paths.back().push_back(q.to2d());
    return true;
  }
  if (auto* pt = DxRxObject::cast<DxDbPoint>(e)) {
    out.paths.push_back({pt->position().to2d()});
    return true;
  }
  if (DxRxObject::cast<DxDbPolylineHeavy>(e) || DxRxObject::cast<DxDbRegion>(e)) {
    std::vector<DxDbEntity*> pieces;
    if (e->explode(pieces) != Dxad::eOk) return false;
    for (DxDbEntity* piece : pieces) {
      Outline sub;
      if (outlineOf(piece, sub))
        out.paths.insert(out.paths.end(), sub.paths.begin(), sub.paths.end());
      delete piece;
    }
    return !out.paths.empty();
  }
  return false;  // texts, references, hatches, images: their box is what the user sees
}

double pickDistance(const DxDbEntity* e, const DxGePoint2d& p, double aperture) {
  Box box;
  if (!extentsOf(e, box) || !box.contains(p, aperture)) return std::numeric_limits<double>::infinity();
  Outline o;
  if (!outlineOf(e, o)) return box.distance(p);
  double best = std::numeric_limits<double>::infinity();
  for (auto& path : o.paths) {
    if (path.size() == 1) best = std::min(best, path[0].distanceTo(p));
    for (size_t i = 1; i < path.size(); ++i) best = std::min(best, segDist(p, path[i - 1], path[i]));
  }
  return best;
}

bool inWindow(const DxDbEntity* e, const Box& win, bool crossing) {
  Box box;
  if (!extentsOf(e, box)) return false;
  if (win.contains(box)) return true;
  if (!crossing || !win.overlaps(box)) return false;
  Outline o;
  if (!outlineOf(e, o)) return true;
  for (auto& path : o.paths) {
    if (path.size() == 1 && win.contains(path[0], 0)) return true;
    for (size_t i = 1; i < path.size(); ++i)
      if (segHitsBox(path[i - 1], path[i], win)) return true;
  }
  return false;
}

}  // namespace dx::ed
