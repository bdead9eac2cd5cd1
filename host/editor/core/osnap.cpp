// Object snap of one point: the nearest point, midpoint or endpoint of what the entities
// near the point show, within the pick aperture.
#include <cmath>
#include <limits>
#include <sstream>
#include <string>

#include "host/editor/core/geometry.h"
#include "host/editor/core/session.h"
#include "host/editor/text_utils.h"

using namespace dx::ed;

namespace {

DxGePoint2d nearestOnSegment(const DxGePoint2d& a, const DxGePoint2d& b, const DxGePoint2d& p) {
  const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2 : 0;
  t = std::clamp(t, 0.0, 1.0);
  return {a.x + t * dx, a.y + t * dy};
}

double dist(const DxGePoint2d& a, const DxGePoint2d& b) { return std::hypot(a.x - b.x, a.y - b.y); }

}  // namespace

int dxedOsnap(const dx_point pt, const char* mode, dx_point result) {
  if (!pt || !mode || !result || !Session::get().current()) return RTERROR;
  bool nearest = false, middle = false, ends = false;
  std::stringstream modes(mode);
  for (std::string m; std::getline(modes, m, ',');) {
    m.erase(0, m.find_first_not_of(' '));
    m = upper(m);
    if (m.rfind("_", 0) == 0) m.erase(0, 1);
    nearest |= m.rfind("NEA", 0) == 0;
    middle |= m.rfind("MID", 0) == 0;
    ends |= m.rfind("END", 0) == 0;
  }
  if (!nearest && !middle && !ends) return RTERROR;
  const DxGePoint3d wcs = ucsToWorld(DxGePoint3d(pt[0], pt[1], pt[2]));
  const DxGePoint2d p = wcs.to2d();
  const double aperture = pickAperture();
  double best = std::numeric_limits<double>::infinity();
  DxGePoint2d found;
  auto consider = [&](const DxGePoint2d& q) {
    double d = dist(p, q);
    if (d <= aperture && d < best) best = d, found = q;
  };
  for (DxDbObjectId id : currentSpaceEntities()) {
    Opened<DxDbEntity> e(id, DxDb::kForRead);
    Outline outline;
    if (!e || !outlineOf(e.get(), outline)) continue;
    for (const auto& path : outline.paths)
      for (size_t i = 1; i < path.size(); ++i) {
        if (nearest) consider(nearestOnSegment(path[i - 1], path[i], p));
        if (middle) consider({(path[i - 1].x + path[i].x) / 2, (path[i - 1].y + path[i].y) / 2});
        if (ends) consider(path[i - 1]), consider(path[i]);
      }
  }
  if (!std::isfinite(best)) return RTERROR;
  const DxGePoint3d ucs = worldToUcs(DxGePoint3d(found.x, found.y, wcs.z));
  result[0] = ucs.x, result[1] = ucs.y, result[2] = ucs.z;
  return RTNORM;
}
