// Hit testing on entity geometry (world XY).
#pragma once

#include <vector>

#include "host/geometry/pieces.h"
#include "hostapi/db.h"

namespace dx::ed {

struct Box {
  DxGePoint2d lo, hi;
  bool contains(const DxGePoint2d& p, double tol) const;
  bool contains(const Box& b) const;
  bool overlaps(const Box& b) const;
  double distance(const DxGePoint2d& p) const;
};

// The entity as polylines (curves sampled finely); false for entities picked by their box.
struct Outline {
  std::vector<std::vector<DxGePoint2d>> paths;
};
bool outlineOf(const DxDbEntity* e, Outline& out);
bool extentsOf(const DxDbEntity* e, Box& box);
// Distance from a point to what the user sees of the entity (infinity when far).
double pickDistance(const DxDbEntity* e, const DxGePoint2d& p, double aperture);
// Window: entirely inside; crossing: inside or touching the window's edge.
bool inWindow(const DxDbEntity* e, const Box& window, bool crossing);
// The entity's curves in world XY as lines and true arcs (ellipses and splines as chords
// marked flat; block references and old polylines through their parts). Curves in planes
// not parallel to XY are left out.
void worldPieces(const DxDbEntity* e, std::vector<geo::Piece>& out);

}  // namespace dx::ed
