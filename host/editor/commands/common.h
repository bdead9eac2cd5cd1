// Helpers the host commands share.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/editor/core/session.h"

namespace dx::ed::cmd {

inline Session& session() { return Session::get(); }
inline DxDbDatabase* db() {
  Document* d = Session::get().current();
  return d ? d->database() : nullptr;
}
void say(const std::string& s);
// Appends a new entity to the current space with the drawing's current properties.
DxDbObjectId appendToCurrentSpace(DxDbEntity* ent, bool defaults = true);
// The pick-first set of a command that takes one, otherwise "Select objects:".
int selectForCommand(std::vector<DxDbObjectId>& ids, bool skipLocked);
DxDbObjectId findRecord(DxDbObjectId tableId, const std::string& name);
std::string recordName(DxDbObjectId id);
// Colour answers: a number, BYLAYER, BYBLOCK, a colour name or "r,g,b".
bool parseColor(const std::string& s, DxCmColor& c);
// The outline of a polyline in world points, arcs replaced by chords.
std::vector<DxGePoint3d> polylineOutline(const DxDbPolyline& pl);
// Where a block or external reference goes: the point (UCS), scale and rotation (world).
struct Placement {
  DxGePoint3d at;
  DxGeVector3d scale{1, 1, 1};
  double rotation = 0;
};
// "Specify insertion point or [Scale/X/Y/Z/Rotate]:", then the scales and rotation not
// given there. RTNORM, or RTCAN when cancelled.
int askPlacement(Placement& p);
// "1 (red)", "30".
std::string colorText(const DxCmColor& c);

void cmdLine();
void cmdErase();
void cmdExplode();
void cmdChprop();
void cmdUndo();
void cmdU();
void cmdInsert();
void cmdUcs();
void cmdLinetype();
void cmdPurge();
void cmdNew();
void cmdOpen();
void cmdRecover();
void cmdAudit();
void cmdSave();
void cmdSaveAs();
void cmdScript();
void cmdQuit();
void cmdSetvar();
void cmdPlot();
void cmdBoundary();
void cmdLayer();
void cmdImage();
void cmdImageClip();
void cmdWipeout();
void cmdGroup();
void cmdDrawOrder();
void cmdXclip();
void cmdXref();

}  // namespace dx::ed::cmd
