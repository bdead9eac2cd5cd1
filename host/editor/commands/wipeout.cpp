// WIPEOUT: an area that hides what lies under it, from points or from a closed polyline.
#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

bool addWipeout(const std::vector<DxGePoint3d>& polygon, const DxGeVector3d& normal) {
  auto* w = new DxDbWipeout();
  if (!w->setBoundary(polygon, normal)) {
    delete w;
    say("\nThe wipeout has no area; nothing was made.\n");
    return false;
  }
  if (appendToCurrentSpace(w).isNull()) {
    say("\nThe wipeout could not be added to the drawing.\n");
    return false;
  }
  DxDbWipeoutVariables::openOrCreate(db());
  return true;
}

void fromPolyline() {
  SelectOptions opt;
  opt.single = true;
  opt.addPrompt = "\nSelect a closed polyline: ";
  std::vector<DxDbObjectId> picked;
  if (selectObjects(opt, picked) != RTNORM) return;
  std::vector<DxGePoint3d> outline;
  DxGeVector3d normal;
  DxDbObjectId source;
  for (auto id : picked) {
    Opened<DxDbPolyline> pl(id, DxDb::kForRead);
    if (!pl) continue;
    if (!pl->isClosed()) {
      say("\nThe polyline is not closed.\n");
      return;
    }
    outline = polylineOutline(*pl.get());
    normal = pl->normal();
    source = id;
    break;
  }
  if (source.isNull()) {
    say("\nNo polyline selected.\n");
    return;
  }
  std::string kw;
  int rc = askKeyword("\nErase polyline? [Yes/No] <No>: ", "Yes No", kw);
  if (rc == RTCAN) return;
  if (!addWipeout(outline, normal)) return;
  if (rc == RTNORM && kw == "Yes")
    if (Opened<DxDbEntity> pl(source, DxDb::kForWrite); pl) pl->erase();
}

void frames() {
  std::string kw;
  int rc = askKeyword("\nEnter mode [ON/OFF] <ON>: ", "ON OFF", kw);
  if (rc == RTCAN) return;
  bool on = rc == RTNONE || kw == "ON";
  Opened<DxDbWipeoutVariables> vars(DxDbWipeoutVariables::openOrCreate(db()), DxDb::kForWrite);
  if (vars) vars->setShowFrame(on);
}

}  // namespace

void cmdWipeout() {
  DxGePoint3d p;
  std::string kw;
  int rc = askPoint("\nSpecify first point or [Frames/Polyline] <Polyline>: ", nullptr, p,
                    "Frames Polyline", &kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE || (rc == RTKWORD && kw == "Polyline")) return fromPolyline();
  if (rc == RTKWORD) return frames();
  std::vector<DxGePoint3d> pts{p};
  for (;;) {
    DxGePoint3d last = pts.back();
    rc = askPoint(pts.size() < 2 ? "\nSpecify next point: " : "\nSpecify next point or [Undo]: ",
                  &last, p, pts.size() < 2 ? "" : "Undo", &kw);
    if (rc == RTCAN) return;
    if (rc == RTNONE) break;  // Enter closes the outline
    if (rc == RTKWORD) {
      pts.pop_back();
      continue;
    }
    pts.push_back(p);
  }
  if (pts.size() < 3) {
    say("\nA wipeout needs at least three points.\n");
    return;
  }
  for (auto& q : pts) q = ucsToWorld(q);
  addWipeout(pts, DxGeVector3d(0, 0, 1));
}

}  // namespace dx::ed::cmd
