// Object snaps: a point given near an entity moves onto its end, middle, centre,
// intersection, node, quadrant or nearest point, within the aperture (APERTURE pixels
// of the current view). Running snaps (OSMODE) apply to points from scripts and command
// calls, as to a user's picks; typed overrides (END, MID, ...) to the next point only.
#include <cmath>
#include <cstring>
#include <limits>

#include "host/editor/core/geometry.h"
#include "host/editor/core/session.h"

namespace dx::ed {
namespace {

using geo::Piece;

enum : int {
  kEnd = 1, kMid = 2, kCen = 4, kNode = 8, kQuad = 16, kInt = 32, kNear = 512, kSnapsOff = 16384,
};

struct Candidates {
  DxGePoint2d at;
  double aperture;
  bool found = false;
  double best = std::numeric_limits<double>::infinity();
  DxGePoint2d point;
  // The candidate closest to the given point wins, whatever its mode.
  void offer(const DxGePoint2d& q) {
    double d = q.distanceTo(at);
    if (d > aperture || d >= best) return;
    best = d;
    point = q;
    found = true;
  }
};

DxGePoint2d nearestOn(const Piece& p, const DxGePoint2d& q) {
  if (p.isArc) {
    double ang = std::atan2(q.y - p.c.y, q.x - p.c.x);
    if (p.angleOn(ang, 0)) return p.at(ang);
    return q.distanceTo(p.a) < q.distanceTo(p.b) ? p.a : p.b;
  }
  double dx = p.b.x - p.a.x, dy = p.b.y - p.a.y, len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? std::clamp(((q.x - p.a.x) * dx + (q.y - p.a.y) * dy) / len2, 0.0, 1.0) : 0;
  return {p.a.x + t * dx, p.a.y + t * dy};
}

void offerFeatures(const std::vector<Piece>& pieces, int modes, Candidates& c) {
  const Piece* firstFlat = nullptr;
  const Piece* lastFlat = nullptr;
  for (const Piece& p : pieces) {
    bool full = p.isArc && std::fabs(p.sweep) >= 2 * M_PI - 1e-12;
    if (p.flat) {
      if (!firstFlat) firstFlat = &p;
      lastFlat = &p;
    } else {
      if ((modes & kEnd) && !full) c.offer(p.a), c.offer(p.b);
      if (modes & kMid && !full)
        c.offer(p.isArc ? p.at(p.a0 + p.sweep / 2) : DxGePoint2d((p.a.x + p.b.x) / 2, (p.a.y + p.b.y) / 2));
    }
    if (p.isArc && (modes & kCen)) c.offer(p.c);
    if (p.isArc && (modes & kQuad))
      for (int k = 0; k < 4; ++k)
        if (p.angleOn(k * M_PI / 2, 0)) c.offer(p.at(k * M_PI / 2));
    if (modes & kNear) c.offer(nearestOn(p, c.at));
  }
  if ((modes & kEnd) && firstFlat && !firstFlat->a.isEqualTo(lastFlat->b)) c.offer(firstFlat->a), c.offer(lastFlat->b);
}

}  // namespace

double snapAperture() {
  Session& s = Session::get();
  VarValue screen;
  s.getVar("SCREENSIZE", screen);
  double h = screen.pt.y > 0 ? screen.pt.y : 800;
  return std::max(s.getInt("APERTURE") * s.getReal("VIEWSIZE") / h, 1e-9);
}

bool osnapPoint(const DxGePoint3d& wcs, int modes, DxGePoint3d& out) {
  modes &= ~kSnapsOff;
  if (!modes) return false;
  Candidates c;
  c.at = wcs.to2d();
  c.aperture = snapAperture();
  Box near{{c.at.x - c.aperture, c.at.y - c.aperture}, {c.at.x + c.aperture, c.at.y + c.aperture}};
  std::vector<std::vector<Piece>> nearby;
  for (DxDbObjectId id : currentSpaceEntities()) {
    Opened<DxDbEntity> e(id, DxDb::kForRead);
    Box box;
    if (!e || !extentsOf(e.get(), box) || !box.overlaps(near)) continue;
    if (modes & kNode)
      if (auto* pt = DxRxObject::cast<DxDbPoint>(e.get())) c.offer(pt->position().to2d());
    std::vector<Piece> pieces;
    worldPieces(e.get(), pieces);
    offerFeatures(pieces, modes, c);
    if (modes & kInt) {
      std::erase_if(pieces, [&](const Piece& p) {
        DxGePoint2d lo{HUGE_VAL, HUGE_VAL}, hi{-HUGE_VAL, -HUGE_VAL};
        p.extend(lo, hi);
        return !Box{lo, hi}.overlaps(near);
      });
      nearby.push_back(std::move(pieces));
    }
  }
  // Crossings between different entities near the point.
  std::vector<DxGePoint2d> pts;
  for (size_t i = 0; i < nearby.size(); ++i)
    for (size_t j = i + 1; j < nearby.size(); ++j)
      for (const Piece& p : nearby[i])
        for (const Piece& q : nearby[j]) {
          pts.clear();
          geo::intersect(p, q, pts, 1e-10);
          for (const auto& x : pts) c.offer(x);
        }
  if (!c.found) return false;
  out = {c.point.x, c.point.y, wcs.z};
  return true;
}

int osnapModes(const std::string& word) {
  static const std::pair<const char*, int> names[] = {
      {"END", kEnd}, {"ENDP", kEnd}, {"ENDPOINT", kEnd}, {"MID", kMid}, {"MIDPOINT", kMid},
      {"CEN", kCen}, {"CENTER", kCen}, {"NOD", kNode}, {"NODE", kNode}, {"QUA", kQuad},
      {"QUADRANT", kQuad}, {"INT", kInt}, {"INTERSECTION", kInt}, {"NEA", kNear},
      {"NEAREST", kNear}, {"NON", 0}, {"NONE", 0}};
  std::string w = upper(word);
  int modes = -1;
  // "end,mid": several at once.
  size_t start = 0;
  for (;;) {
    size_t comma = w.find(',', start);
    std::string part = w.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    while (!part.empty() && (part.front() == ' ' || part.front() == '_')) part.erase(0, 1);
    while (!part.empty() && part.back() == ' ') part.pop_back();
    int bits = -1;
    for (auto& [n, b] : names)
      if (part == n) bits = b;
    if (bits < 0) return -1;
    modes = (modes < 0 ? 0 : modes) | bits;
    if (comma == std::string::npos) return modes;
    start = comma + 1;
  }
}

}  // namespace dx::ed

using namespace dx::ed;

int dxedOsnap(const dx_point pt, const char* mode, dx_point result) {
  int modes = mode ? osnapModes(mode) : -1;
  if (modes <= 0 || !Session::get().current()) return RTERROR;
  DxGePoint3d out;
  if (!osnapPoint(ucsToWorld({pt[0], pt[1], pt[2]}), modes, out)) return RTERROR;
  DxGePoint3d u = worldToUcs(out);
  result[0] = u.x, result[1] = u.y, result[2] = u.z;
  return RTNORM;
}
