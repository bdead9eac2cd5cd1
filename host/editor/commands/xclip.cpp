// XCLIP: clip boundaries of block and external references (SPATIAL_FILTER objects in
// each reference's extension dictionary, under ACAD_FILTER / SPATIAL).
#include <algorithm>
#include <cmath>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

constexpr const char* kFilterDict = "ACAD_FILTER";
constexpr const char* kFilterKey = "SPATIAL";

std::vector<DxDbObjectId> referencesIn(const std::vector<DxDbObjectId>& ids) {
  std::vector<DxDbObjectId> out;
  for (auto id : ids)
    if (Opened<DxDbBlockReference> ref(id, DxDb::kForRead); ref) out.push_back(id);
  return out;
}

DxDbObjectId filterOf(DxDbObjectId refId) {
  Opened<DxDbBlockReference> ref(refId, DxDb::kForRead);
  return ref ? dxdbSpatialFilterOf(ref.get()) : DxDbObjectId();
}

// A boundary as the user gave it, in world points; a rectangle as its four corners.
struct Boundary {
  std::vector<DxGePoint3d> world;
  bool rectangle = false;
  bool inverted = false;  // hides what lies inside
};

double area2d(const std::vector<DxGePoint2d>& p) {
  double a = 0;
  for (size_t i = 0, n = p.size(); i < n; ++i)
    a += p[i].x * p[(i + 1) % n].y - p[(i + 1) % n].x * p[i].y;
  return a / 2;
}

// The boundary in the plane of a reference. A rectangle whose sides run along that
// plane's axes is kept as its two corners, as the file format has it.
std::vector<DxGePoint2d> planePoints(const Boundary& b, const DxGeVector3d& normal) {
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
  std::vector<DxGePoint2d> pts;
  for (const auto& w : b.world) {
    DxGePoint3d q = toPlane * w;
    DxGePoint2d p(q.x, q.y);
    if (pts.empty() || !pts.back().isEqualTo(p)) pts.push_back(p);
  }
  while (pts.size() > 1 && pts.front().isEqualTo(pts.back())) pts.pop_back();
  if (b.rectangle && pts.size() == 4) {
    bool aligned = true;
    for (size_t i = 0; i < 4; ++i) {
      const auto &a = pts[i], &c = pts[(i + 1) % 4];
      aligned = aligned && (std::abs(a.x - c.x) < 1e-10 || std::abs(a.y - c.y) < 1e-10);
    }
    if (aligned) {
      auto [xlo, xhi] = std::minmax({pts[0].x, pts[1].x, pts[2].x, pts[3].x});
      auto [ylo, yhi] = std::minmax({pts[0].y, pts[1].y, pts[2].y, pts[3].y});
      return {{xlo, ylo}, {xhi, yhi}};
    }
  }
  return pts;
}

// Erases an object with what it owns: its extension dictionary and, for a dictionary,
// its entries.
void eraseOwned(DxDbObjectId id) {
  Opened<DxDbObject> obj(id, DxDb::kForWrite);
  if (!obj) return;
  DxDbObjectIdArray owned;
  if (!obj->extensionDictionary().isNull()) owned.push_back(obj->extensionDictionary());
  if (auto* dict = DxRxObject::cast<DxDbDictionary>(obj.get())) {
    std::unique_ptr<DxDbDictionaryIterator> it(dict->newIterator());
    for (; !it->done(); it->next()) owned.push_back(it->objectId());
  }
  obj->erase();
  obj.close();
  for (auto o : owned) eraseOwned(o);
}

bool removeClip(DxDbObjectId refId) {
  DxDbObjectId xdict;
  if (Opened<DxDbBlockReference> ref(refId, DxDb::kForRead); ref) xdict = ref->extensionDictionary();
  // Read first: most references have no clip yet, and a write would journal a copy.
  Opened<DxDbDictionary> dict(xdict, DxDb::kForRead);
  DxDbObjectId filters;
  if (!dict || dict->getAt(kFilterDict, filters) != Dxad::eOk || dict->upgradeOpen() != Dxad::eOk)
    return false;
  dict->remove(kFilterDict);
  dict.close();
  eraseOwned(filters);
  return true;
}

// Gives a reference a new clip boundary, replacing the one it had.
bool setClip(DxDbObjectId refId, const Boundary& b) {
  Opened<DxDbBlockReference> ref(refId, DxDb::kForRead);
  if (!ref) return false;
  DxGeVector3d normal = ref->normal();
  DxGeMatrix3d blockXf = ref->blockTransform();
  // The reference's extents in its plane: an inverted clip's outline must take them in.
  DxGePoint2d lo(1e300, 1e300), hi(-1e300, -1e300);
  if (DxGePoint3d a, c; b.inverted && ref->getGeomExtents(a, c) == Dxad::eOk) {
    DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
    for (int i = 0; i < 8; ++i) {
      DxGePoint3d q = toPlane * DxGePoint3d(i & 1 ? c.x : a.x, i & 2 ? c.y : a.y, i & 4 ? c.z : a.z);
      lo = DxGePoint2d(std::min(lo.x, q.x), std::min(lo.y, q.y));
      hi = DxGePoint2d(std::max(hi.x, q.x), std::max(hi.y, q.y));
    }
  }
  auto* filter = new DxDbSpatialFilter();
  if (filter->setDefinition(planePoints(b, normal), normal, blockXf) != Dxad::eOk) {
    delete filter;
    return false;
  }
  if (ref->extensionDictionary().isNull() &&
      (ref->upgradeOpen() != Dxad::eOk || ref->createExtensionDictionary() != Dxad::eOk)) {
    delete filter;
    return false;
  }
  DxDbObjectId xdict = ref->extensionDictionary();
  ref.close();
  removeClip(refId);
  Opened<DxDbDictionary> dict(xdict, DxDb::kForWrite);
  DxDbObjectId filtersId, filterId;
  auto* filters = new DxDbDictionary();
  if (!dict || dict->setAt(kFilterDict, filters, filtersId) != Dxad::eOk) {
    delete filters;
    delete filter;
    return false;
  }
  filters->addPersistentReactor(xdict);
  if (filters->setAt(kFilterKey, filter, filterId) != Dxad::eOk) {
    delete filter;
  } else {
    filter->addPersistentReactor(filtersId);
    if (b.inverted && filter->setInverted(lo, hi) != Dxad::eOk) filterId = DxDbObjectId();
    filter->close();
  }
  filters->close();
  return !filterId.isNull();
}

int askBoundary(Boundary& b) {
  std::string kw;
  int rc;
  for (;;) {
    rc = askKeyword("\nSpecify clipping boundary or select invert option:\n"
                    "[Select polyline/Polygonal/Rectangular/Invert clip] <Rectangular>: ",
                    "Select Polygonal Rectangular Invert", kw);
    if (rc == RTCAN) return RTCAN;
    if (rc == RTNONE) kw = "Rectangular";
    if (kw != "Invert") break;
    b.inverted = !b.inverted;
    say(b.inverted ? "\nInside mode - Objects inside boundary will be hidden.\n"
                   : "\nOutside mode - Objects outside boundary will be hidden.\n");
  }
  DxGePoint3d p, q;
  if (kw == "Rectangular") {
    if (askPoint("\nSpecify first corner: ", nullptr, p) != RTNORM) return RTCAN;
    if (askPoint("\nSpecify opposite corner: ", &p, q) != RTNORM) return RTCAN;
    b.rectangle = true;
    for (const auto& c : {p, DxGePoint3d(q.x, p.y, p.z), q, DxGePoint3d(p.x, q.y, p.z)})
      b.world.push_back(ucsToWorld(c));
    return RTNORM;
  }
  if (kw == "Polygonal") {
    if (askPoint("\nSpecify first point: ", nullptr, p) != RTNORM) return RTCAN;
    b.world.push_back(ucsToWorld(p));
    for (;;) {
      DxGePoint3d last = worldToUcs(b.world.back());
      rc = askPoint("\nSpecify next point or [Undo]: ", &last, p, "Undo", &kw);
      if (rc == RTCAN) return RTCAN;
      if (rc == RTNONE) return RTNORM;  // Enter closes the polygon
      if (rc == RTKWORD) {
        if (b.world.size() > 1) b.world.pop_back();
        continue;
      }
      b.world.push_back(ucsToWorld(p));
    }
  }
  SelectOptions opt;
  opt.single = true;
  opt.addPrompt = "\nSelect polyline: ";
  std::vector<DxDbObjectId> picked;
  if (rc = selectObjects(opt, picked); rc != RTNORM) return rc;
  for (auto id : picked)
    if (Opened<DxDbPolyline> pl(id, DxDb::kForRead); pl) {
      b.world = polylineOutline(*pl.get());
      return RTNORM;
    }
  say("\nThe object selected is not a polyline.\n");
  return RTERROR;
}

void newBoundary(const std::vector<DxDbObjectId>& refs) {
  bool anyClipped = std::any_of(refs.begin(), refs.end(), [](auto id) { return !filterOf(id).isNull(); });
  std::string kw;
  if (anyClipped) {
    int rc = askKeyword("\nDelete old boundary? [Yes/No] <Yes>: ", "Yes No", kw);
    if (rc == RTCAN || (rc == RTNORM && kw == "No")) return;
  }
  Boundary b;
  if (askBoundary(b) != RTNORM) return;
  std::vector<DxGePoint2d> check = planePoints(b, DxGeVector3d::kZAxis);
  if (check.size() < 2 || (check.size() > 2 && std::abs(area2d(check)) < 1e-10) ||
      (check.size() == 2 && (std::abs(check[1].x - check[0].x) < 1e-10 ||
                             std::abs(check[1].y - check[0].y) < 1e-10))) {
    say("\nThe clipping boundary has no area; nothing was clipped.\n");
    return;
  }
  size_t done = 0;
  for (auto id : refs) done += setClip(id, b) ? 1 : 0;
  if (done < refs.size()) say("\n" + std::to_string(refs.size() - done) + " reference(s) could not be clipped.\n");
}

void generatePolyline(const std::vector<DxDbObjectId>& refs) {
  size_t made = 0;
  for (auto id : refs) {
    DxDbReferenceClip clip;
    DxGeVector3d normal;
    {
      Opened<DxDbBlockReference> ref(id, DxDb::kForRead);
      if (!ref || !dxdbReferenceClip(ref.get(), clip)) continue;
      normal = ref->normal();
    }
    DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
    auto* pl = new DxDbPolyline(unsigned(clip.worldPolygon.size()));
    double elevation = 0;
    for (const auto& w : clip.worldPolygon) {
      DxGePoint3d q = toPlane * w;
      elevation = q.z;
      pl->addVertexAt(pl->numVerts(), DxGePoint2d(q.x, q.y));
    }
    pl->setNormal(normal);
    pl->setElevation(elevation);
    pl->setClosed(true);
    made += appendToCurrentSpace(pl).isNull() ? 0 : 1;
  }
  if (made == 0) say("\nNo clip boundary in the selection.\n");
}

void setEnabled(const std::vector<DxDbObjectId>& refs, bool on) {
  for (auto id : refs)
    if (Opened<DxDbSpatialFilter> f(filterOf(id), DxDb::kForWrite); f) f->setEnabled(on);
}

// Front and back clip planes are asked for as usual but not kept: clips here are
// two-dimensional.
void clipDepth() {
  for (const char* which : {"front", "back"}) {
    DxGePoint3d p;
    std::string kw;
    int rc = askPoint(std::string("\nSpecify ") + which + " clip point or [Distance/Remove]: ",
                      nullptr, p, "Distance Remove", &kw);
    if (rc == RTCAN) return;
    double d;
    if (rc == RTKWORD && kw == "Distance" && askReal("\nSpecify distance from boundary: ", d) == RTCAN)
      return;
  }
  say("\nClip depth is not used; the clip boundary stays as it is.\n");
}

}  // namespace

void cmdXclip() {
  std::vector<DxDbObjectId> picked;
  if (selectForCommand(picked, true) != RTNORM) return;
  std::vector<DxDbObjectId> refs = referencesIn(picked);
  if (refs.empty()) {
    say("\nNo block references or external references selected.\n");
    return;
  }
  std::string kw;
  int rc = askKeyword("\nEnter clipping option [ON/OFF/Clipdepth/Delete/generate Polyline/New boundary] <New>: ",
                      "ON OFF Clipdepth Delete generatePolyline New", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE || kw == "New") return newBoundary(refs);
  if (kw == "ON" || kw == "OFF") return setEnabled(refs, kw == "ON");
  if (kw == "Clipdepth") return clipDepth();
  if (kw == "generatePolyline") return generatePolyline(refs);
  size_t removed = 0;
  for (auto id : refs) removed += removeClip(id) ? 1 : 0;
  if (removed == 0) say("\nNo clip boundary in the selection.\n");
}

}  // namespace dx::ed::cmd
