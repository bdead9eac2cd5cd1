// BOUNDARY and -BOUNDARY: closed polylines around picked points, made from whatever
// curves enclose them (lines, arcs, circles, ellipses, polylines, splines, also inside
// block references), with the closed shapes inside as islands.
#include <cmath>
#include <unordered_map>

#include "host/editor/commands/common.h"
#include "host/geometry/boundary.h"

namespace dx::ed::cmd {
namespace {

using geo::Piece;

bool planView(const DxGeVector3d& n) { return std::fabs(n.x) < 1e-9 && std::fabs(n.y) < 1e-9; }

void addLines(const std::vector<DxGePoint3d>& pts, std::vector<Piece>& out) {
  for (size_t i = 1; i < pts.size(); ++i) out.push_back(Piece::line(pts[i - 1].to2d(), pts[i].to2d()));
}

// The entity's curves in world XY; curves not lying in a plane parallel to it are left out.
void collectPieces(const DxDbEntity* e, std::vector<Piece>& out, int depth) {
  if (auto* l = DxRxObject::cast<DxDbLine>(e)) {
    out.push_back(Piece::line(l->startPoint().to2d(), l->endPoint().to2d()));
  } else if (auto* a = DxRxObject::cast<DxDbArc>(e)) {
    if (!planView(a->normal())) return;
    double sweep = std::fmod(a->endAngle() - a->startAngle(), 2 * M_PI);
    if (sweep <= 0) sweep += 2 * M_PI;
    DxGePoint2d c = a->center().to2d(), s = a->startPoint().to2d();
    Piece p = Piece::arc(c, a->radius(), std::atan2(s.y - c.y, s.x - c.x), a->normal().z > 0 ? sweep : -sweep);
    p.a = s;
    p.b = a->endPoint().to2d();
    out.push_back(p);
  } else if (auto* c = DxRxObject::cast<DxDbCircle>(e)) {
    if (planView(c->normal())) out.push_back(Piece::arc(c->center().to2d(), c->radius(), 0, 2 * M_PI));
  } else if (auto* pl = DxRxObject::cast<DxDbPolyline>(e)) {
    if (!planView(pl->normal()) || pl->numVerts() < 2) return;
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
    if (!planView(el->normal())) return;
    double t0 = el->startParam(), t1 = el->endParam();
    while (t1 <= t0) t1 += 2 * M_PI;
    int n = std::max(8, int(std::ceil((t1 - t0) / (2 * M_PI) * 128)));
    std::vector<DxGePoint3d> pts;
    for (int i = 0; i <= n; ++i) {
      double t = t0 + (t1 - t0) * i / n;
      pts.push_back(el->center() + el->majorAxis() * std::cos(t) + el->minorAxis() * std::sin(t));
    }
    addLines(pts, out);
  } else if (auto* sp = DxRxObject::cast<DxDbSpline>(e)) {
    std::vector<DxGePoint3d> pts;
    sp->getSamplePoints(std::max<int>(64, int(sp->controlPoints().size()) * 8), pts);
    addLines(pts, out);
  } else if (depth < 16 && (DxRxObject::cast<DxDbBlockReference>(e) || DxRxObject::cast<DxDbPolylineHeavy>(e))) {
    std::vector<DxDbEntity*> parts;
    if (e->explode(parts) == Dxad::eOk)
      for (DxDbEntity* part : parts) collectPieces(part, out, depth + 1);
    for (DxDbEntity* part : parts) delete part;
  }
}

DxDbPolyline* polylineOf(const geo::BoundaryLoop& loop) {
  // Straight pieces that continue one another (walls drawn in several lines) join.
  std::vector<Piece> merged;
  for (const Piece& p : loop.pieces) {
    if (!merged.empty() && !p.isArc && !merged.back().isArc) {
      Piece& last = merged.back();
      double ux = last.b.x - last.a.x, uy = last.b.y - last.a.y, vx = p.b.x - p.a.x, vy = p.b.y - p.a.y;
      if (std::fabs(ux * vy - uy * vx) <= 1e-12 * std::hypot(ux, uy) * std::hypot(vx, vy) && ux * vx + uy * vy > 0) {
        last.b = p.b;
        continue;
      }
    }
    merged.push_back(p);
  }
  auto* pl = new DxDbPolyline(unsigned(merged.size()));
  for (const Piece& p : merged)
    pl->addVertexAt(pl->numVerts(), p.a, p.isArc ? std::tan(p.sweep / 4) : 0.0);
  pl->setClosed(true);
  return pl;
}

bool visibleLayer(DxDbObjectId layerId, std::unordered_map<dx::db::Stub*, bool>& cache) {
  auto [it, fresh] = cache.try_emplace(layerId.stub(), true);
  if (fresh) {
    Opened<DxDbLayerTableRecord> layer(layerId, DxDb::kForRead);
    it->second = !layer || (!layer->isOff() && !layer->isFrozen());
  }
  return it->second;
}

}  // namespace

void cmdBoundary() {
  bool islands = true, regions = false;
  std::vector<DxDbObjectId> candidates;  // empty: everything in the current space
  std::unique_ptr<geo::BoundaryFinder> finder;
  int made = 0;
  for (;;) {
    DxGePoint3d pick;
    std::string kw;
    int rc = askPoint("\nPick internal point or [Advanced options]: ", nullptr, pick, "Advanced _Advanced", &kw);
    if (rc == RTCAN) return;
    if (rc == RTNONE) break;
    if (rc == RTKWORD) {
      for (;;) {
        rc = askKeyword("\nEnter an option [Boundary set/Island detection/Object type]: ",
                        "Boundary Island Object _Boundary Island Object", kw);
        if (rc == RTCAN) return;
        if (rc != RTNORM) break;
        std::string answer;
        if (kw == "Island") {
          rc = askKeyword(std::string("\nDo you want island detection? [Yes/No] <") + (islands ? "Yes" : "No") + ">: ",
                          "Yes No _Yes No", answer);
          if (rc == RTCAN) return;
          if (rc == RTNORM) islands = answer == "Yes";
        } else if (kw == "Object") {
          // Global names carry the option's letter so that "_OPO" reads as polyline output.
          rc = askKeyword(std::string("\nEnter type of boundary object [Region/Polyline] <") +
                              (regions ? "Region" : "Polyline") + ">: ",
                          "Region Polyline _ORegion OPolyline", answer);
          if (rc == RTCAN) return;
          if (rc == RTNORM) regions = answer == "ORegion";
          if (regions) say("\nRegions are not made by this host; boundaries stay polylines.\n");
          regions = false;
        } else if (kw == "Boundary") {
          rc = askKeyword("\nSpecify candidate set for boundary [New/Everything] <Everything>: ",
                          "New Everything _New Everything", answer);
          if (rc == RTCAN) return;
          if (rc == RTNORM && answer == "New") {
            std::vector<DxDbObjectId> ids;
            SelectOptions opt;
            rc = selectObjects(opt, ids);
            if (rc == RTCAN) return;
            if (rc == RTNORM) candidates = std::move(ids);
          } else {
            candidates.clear();
          }
          finder.reset();
        }
      }
      continue;
    }
    if (!finder) {
      std::vector<Piece> pieces;
      std::unordered_map<dx::db::Stub*, bool> layers;
      for (DxDbObjectId id : candidates.empty() ? currentSpaceEntities() : candidates) {
        Opened<DxDbEntity> e(id, DxDb::kForRead);
        if (e && e->visibility() == DxDb::kVisible && visibleLayer(e->layerId(), layers))
          collectPieces(e.get(), pieces, 0);
      }
      double gap = std::max(session().getReal("HPGAPTOL"), DxGeTol().equalPoint);
      finder = std::make_unique<geo::BoundaryFinder>(std::move(pieces), gap);
    }
    geo::BoundaryLoop outer;
    std::vector<geo::BoundaryLoop> inner;
    if (!finder->find(ucsToWorld(pick).to2d(), islands, outer, inner)) {
      say("\nValid boundary not found: the point lies in no closed area.\n");
      session().failCommand();
      return;
    }
    appendToCurrentSpace(polylineOf(outer));
    for (const auto& l : inner) appendToCurrentSpace(polylineOf(l));
    made += 1 + int(inner.size());
  }
  say("\nBOUNDARY created " + std::to_string(made) + (made == 1 ? " polyline\n" : " polylines\n"));
}

}  // namespace dx::ed::cmd
