// BOUNDARY and -BOUNDARY: closed polylines around picked points, made from whatever
// curves enclose them (lines, arcs, circles, ellipses, polylines, splines, also inside
// block references), with the closed shapes inside as islands.
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
    appendToCurrentSpace(polylineOf(outer));
    for (const auto& l : inner) appendToCurrentSpace(polylineOf(l));
    made += 1 + int(inner.size());
  }
  say("\nBOUNDARY created " + std::to_string(made) + (made == 1 ? " polyline\n" : " polylines\n"));
}

}  // namespace dx::ed::cmd
