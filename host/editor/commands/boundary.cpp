// BOUNDARY and -BOUNDARY: closed polylines or regions around picked points, made from
// whatever curves enclose them (lines, arcs, circles, ellipses, polylines, splines, also
// inside block references), with the closed shapes inside as islands.
#include <cmath>
#include <unordered_map>

#include "host/editor/commands/common.h"
#include "host/editor/core/geometry.h"
#include "host/geometry/boundary.h"

namespace dx::ed::cmd {
namespace {

using geo::Piece;

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

DxDbRegion::Loop regionLoop(const geo::BoundaryLoop& loop) {
  DxDbRegion::Loop out;
  for (const Piece& p : loop.pieces) {
    DxDbRegion::Edge e;
    e.start = DxGePoint3d(p.a.x, p.a.y, 0);
    e.end = DxGePoint3d(p.b.x, p.b.y, 0);
    if (p.isArc && !p.flat) {
      // Clockwise pieces run about the downward normal, so parameters always grow.
      e.isArc = true;
      e.center = DxGePoint3d(p.c.x, p.c.y, 0);
      e.normal = DxGeVector3d(0, 0, p.sweep > 0 ? 1 : -1);
      e.majorAxis = DxGeVector3d(p.a.x - p.c.x, p.a.y - p.c.y, 0);
      e.endParam = std::fabs(p.sweep);
      // Pieces of one circle that follow each other (a circle split where it was
      // searched) make one arc again.
      if (!out.edges.empty()) {
        DxDbRegion::Edge& last = out.edges.back();
        double r = e.majorAxis.length();
        if (last.isArc && last.normal == e.normal && last.center.isEqualTo(e.center, 1e-9 * r) &&
            std::fabs(last.majorAxis.length() - r) <= 1e-9 * r && last.endParam + e.endParam <= 2 * M_PI + 1e-9) {
          last.endParam += e.endParam;
          last.end = e.end;
          continue;
        }
      }
    }
    out.edges.push_back(e);
  }
  return out;
}

// One region: the outline with its islands as holes.
DxDbRegion* regionOf(const geo::BoundaryLoop& outer, const std::vector<geo::BoundaryLoop>& inner) {
  std::vector<DxDbRegion::Loop> loops{regionLoop(outer)};
  for (const auto& l : inner) loops.push_back(regionLoop(l));
  auto* r = new DxDbRegion();
  if (r->setFace(loops) != Dxad::eOk) {
    delete r;
    return nullptr;
  }
  return r;
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
          worldPieces(e.get(), pieces);
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
    if (regions) {
      DxDbRegion* r = regionOf(outer, inner);
      if (!r) {
        say("\nThe boundary found does not make a region.\n");
        session().failCommand();
        return;
      }
      appendToCurrentSpace(r);
      ++made;
      continue;
    }
    appendToCurrentSpace(polylineOf(outer));
    for (const auto& l : inner) appendToCurrentSpace(polylineOf(l));
    made += 1 + int(inner.size());
  }
  const char* what = regions ? (made == 1 ? " region" : " regions") : (made == 1 ? " polyline" : " polylines");
  say("\nBOUNDARY created " + std::to_string(made) + what + "\n");
}

}  // namespace dx::ed::cmd
