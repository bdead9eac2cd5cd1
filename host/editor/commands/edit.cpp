// LINE, ERASE, EXPLODE and CHPROP.
#include <cmath>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {

void cmdLine() {
  DxGePoint3d first;
  if (askPoint("\nSpecify first point: ", nullptr, first) != RTNORM) return;
  std::vector<DxGePoint3d> pts{first};
  std::vector<DxDbObjectId> made;
  for (;;) {
    bool canClose = made.size() >= 2;
    DxGePoint3d p;
    std::string kw;
    int rc = askPoint(canClose ? "\nSpecify next point or [Close/Undo]: " : "\nSpecify next point or [Undo]: ",
                      &pts.back(), p, canClose ? "Close Undo" : "Undo", &kw);
    if (rc != RTNORM && rc != RTKWORD) return;  // Enter ends, cancel keeps what was drawn
    if (rc == RTKWORD && kw == "Undo") {
      if (made.empty()) {
        say("\nAll segments already undone.\n");
        continue;
      }
      Opened<DxDbEntity> last(made.back(), DxDb::kForWrite);
      if (last) last->erase();
      made.pop_back();
      pts.pop_back();
      continue;
    }
    bool closing = rc == RTKWORD && kw == "Close";
    DxGePoint3d to = closing ? first : p;
    DxDbObjectId id = appendToCurrentSpace(new DxDbLine(ucsToWorld(pts.back()), ucsToWorld(to)));
    if (id.isNull()) {
      say("\nThe line could not be added to the drawing.\n");
      return;
    }
    if (closing) return;
    made.push_back(id);
    pts.push_back(p);
  }
}

void cmdErase() {
  std::vector<DxDbObjectId> ids;
  if (selectForCommand(ids, true) != RTNORM) return;
  for (auto id : ids) {
    Opened<DxDbEntity> e(id, DxDb::kForWrite);
    if (e) e->erase();
  }
}

void cmdExplode() {
  std::vector<DxDbObjectId> ids;
  if (selectForCommand(ids, true) != RTNORM) return;
  int failed = 0;
  for (auto id : ids) {
    std::vector<DxDbEntity*> pieces;
    DxDbObjectId owner;
    {
      Opened<DxDbEntity> e(id, DxDb::kForRead);
      if (!e) continue;
      owner = e->ownerId();
      bool explodable = true;
      if (auto* ref = DxRxObject::cast<DxDbBlockReference>(e.get())) {
        Opened<DxDbBlockTableRecord> block(ref->blockTableRecord(), DxDb::kForRead);
        explodable = block && block->explodable() && !block->isFromExternalReference() &&
                     !block->isFromOverlayReference();
      }
      if (!explodable || e->explode(pieces) != Dxad::eOk || pieces.empty()) {
        for (auto* p : pieces) delete p;
        ++failed;
        continue;
      }
    }
    Opened<DxDbBlockTableRecord> space(owner, DxDb::kForWrite);
    if (!space) {
      for (auto* p : pieces) delete p;
      ++failed;
      continue;
    }
    for (DxDbEntity* piece : pieces) {
      DxDbObjectId pid;
      if (space->appendDxDbEntity(pid, piece) == Dxad::eOk) piece->close();
      else delete piece;
    }
    space.close();
    Opened<DxDbEntity> e(id, DxDb::kForWrite);
    if (e) e->erase();
  }
  if (failed) say("\n" + std::to_string(failed) + (failed == 1 ? " was" : " were") + " not able to be exploded.\n");
}

namespace {

bool parseLineweight(const std::string& s, DxDb::LineWeight& lw) {
  std::string u = upper(s);
  if (u == "BYLAYER") return lw = DxDb::kLnWtByLayer, true;
  if (u == "BYBLOCK") return lw = DxDb::kLnWtByBlock, true;
  if (u == "DEFAULT") return lw = DxDb::kLnWtByLwDefault, true;
  double mm;
  if (!parseDistance(s, mm) || mm < 0 || mm > 2.11) return false;
  static const int valid[] = {0, 5, 9, 13, 15, 18, 20, 25, 30, 35, 40, 50, 53, 60,
                              70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
  int want = int(std::lround(mm * 100)), best = 0;
  for (int v : valid)
    if (std::abs(v - want) < std::abs(best - want)) best = v;
  lw = DxDb::LineWeight(best);
  return true;
}

}  // namespace

void cmdChprop() {
  std::vector<DxDbObjectId> ids;
  if (selectForCommand(ids, true) != RTNORM) return;
  DxDbDatabase* d = db();
  for (;;) {
    std::string kw;
    int rc = askKeyword("\nEnter property to change [Color/LAyer/LType/ltScale/LWeight]: ",
                        "Color LAyer LType ltScale LWeight LInetype", kw);
    if (rc != RTNORM) return;
    auto apply = [&](auto&& change) {
      for (auto id : ids) {
        Opened<DxDbEntity> e(id, DxDb::kForWrite);
        if (e) change(e.get());
      }
    };
    if (kw == "Color") {
      std::string s;
      if (askString("\nNew color [Truecolor] <BYLAYER>: ", s, false) != RTNORM) return;
      if (s.empty()) s = "BYLAYER";
      if (iequals(s, "T") || iequals(s, "Truecolor")) {
        if (askString("\nRed,Green,Blue: ", s, false) != RTNORM) return;
      }
      DxCmColor c;
      if (!parseColor(s, c)) {
        say("\nInvalid color \"" + s + "\".\n");
        continue;
      }
      apply([&](DxDbEntity* e) { e->setColor(c); });
    } else if (kw == "LAyer") {
      std::string name;
      if (askString("\nEnter new layer name <" + recordName(d->clayer()) + ">: ", name) != RTNORM) return;
      if (name.empty()) name = recordName(d->clayer());
      DxDbObjectId layer = findRecord(d->layerTableId(), name);
      if (layer.isNull()) {
        say("\nCannot find layer \"" + name + "\".\n");
        continue;
      }
      apply([&](DxDbEntity* e) { e->setLayer(layer); });
    } else if (kw == "LType" || kw == "LInetype") {  // modules name it either way
      std::string name;
      if (askString("\nEnter new linetype name <ByLayer>: ", name) != RTNORM) return;
      if (name.empty()) name = "ByLayer";
      DxDbObjectId lt = findRecord(d->linetypeTableId(), name);
      if (lt.isNull()) {
        say("\nLinetype \"" + name + "\" is not loaded.  Use -LINETYPE to load it.\n");
        continue;
      }
      apply([&](DxDbEntity* e) { e->setLinetype(lt); });
    } else if (kw == "ltScale") {
      double v;
      dxedInitGet(RSG_NOZERO | RSG_NONEG, nullptr);
      rc = dxedGetReal("\nSpecify new linetype scale <1.0000>: ", &v);
      if (rc == RTNONE) v = 1;
      else if (rc != RTNORM) return;
      apply([&](DxDbEntity* e) { e->setLinetypeScale(v); });
    } else if (kw == "LWeight") {
      std::string s;
      if (askString("\nEnter new lineweight <ByLayer>: ", s, false) != RTNORM) return;
      if (s.empty()) s = "ByLayer";
      DxDb::LineWeight lw;
      if (!parseLineweight(s, lw)) {
        say("\nInvalid lineweight \"" + s + "\".\n");
        continue;
      }
      apply([&](DxDbEntity* e) { e->setLineWeight(lw); });
    }
  }
}

}  // namespace dx::ed::cmd
