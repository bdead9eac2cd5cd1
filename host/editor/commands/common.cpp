#include "host/editor/commands/common.h"

#include <cmath>
#include <cstdlib>

namespace dx::ed::cmd {

void say(const std::string& s) { output().message(s); }

DxDbObjectId appendToCurrentSpace(DxDbEntity* ent, bool defaults) {
  DxDbDatabase* d = db();
  DxDbObjectId id;
  if (!d) {
    delete ent;
    return id;
  }
  if (defaults) ent->setDatabaseDefaults(d);
  DxDbBlockTableRecord* space = nullptr;
  if (dxdbOpenObject(space, d->currentSpaceId(), DxDb::kForWrite) != Dxad::eOk) {
    delete ent;
    return id;
  }
  if (Dxad::ErrorStatus es = space->appendDxDbEntity(id, ent); es != Dxad::eOk) {
    if (es == Dxad::eInvalidInput) say("\nThe result is out of range (not a finite number); nothing was added.\n");
    delete ent;
    id = DxDbObjectId();
  } else {
    ent->close();
  }
  space->close();
  return id;
}

int selectForCommand(std::vector<DxDbObjectId>& ids, bool skipLocked) {
  Document* doc = session().current();
  if (doc && !doc->pickFirst.empty() && session().getInt("PICKFIRST")) {
    for (auto id : doc->pickFirst)
      if (id.isValid() && !id.isErased() && (!skipLocked || !onLockedLayer(id))) ids.push_back(id);
    doc->pickFirst.clear();
    if (!ids.empty()) return RTNORM;
  }
  SelectOptions opt;
  opt.skipLocked = skipLocked;
  return selectObjects(opt, ids);
}

DxDbObjectId findRecord(DxDbObjectId tableId, const std::string& name) {
  Opened<DxDbSymbolTable> table(tableId, DxDb::kForRead);
  DxDbObjectId id;
  if (table) table->getIdAt(name.c_str(), id);
  return id;
}

std::string recordName(DxDbObjectId id) {
  Opened<DxDbSymbolTableRecord> rec(id, DxDb::kForRead);
  return rec ? rec->getName() : std::string();
}

namespace {
// Segments per full turn when a polyline's arcs become straight edges.
constexpr int kArcSegmentsPerTurn = 64;
}  // namespace

std::vector<DxGePoint3d> polylineOutline(const DxDbPolyline& pl) {
  std::vector<DxGePoint3d> out;
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(pl.normal());
  DxGeMatrix3d toWorld = DxGeMatrix3d::planeToWorld(pl.normal());
  for (unsigned i = 0; i < pl.numVerts(); ++i) {
    DxGePoint3d p;
    pl.getPointAt(i, p);
    out.push_back(p);
    DxGePoint3d center;
    double r, sa, ea, bulge = 0;
    pl.getBulgeAt(i, bulge);
    if (!pl.getArcSegAt(i, center, r, sa, ea)) continue;
    double sweep = std::fmod(ea - sa + 4 * M_PI, 2 * M_PI);
    if (sweep < 1e-12) sweep = 2 * M_PI;
    int n = std::max(1, int(std::ceil(sweep * kArcSegmentsPerTurn / (2 * M_PI))));
    DxGePoint3d c = toPlane * center;
    // The arc runs from this vertex to the next: counter-clockwise for a positive bulge.
    double from = bulge > 0 ? sa : ea, step = (bulge > 0 ? sweep : -sweep) / n;
    for (int k = 1; k < n; ++k) {
      double a = from + step * k;
      out.push_back(toWorld * DxGePoint3d(c.x + r * std::cos(a), c.y + r * std::sin(a), c.z));
    }
  }
  return out;
}

namespace {
const char* const kColorNames[] = {"RED", "YELLOW", "GREEN", "CYAN", "BLUE", "MAGENTA", "WHITE"};
}

std::string colorText(const DxCmColor& c) {
  int i = c.colorIndex();
  std::string s = std::to_string(i);
  if (i < 1 || i > 7) return s;
  std::string name = kColorNames[i - 1];
  for (char& ch : name) ch = char(std::tolower(static_cast<unsigned char>(ch)));
  return s + " (" + name + ")";
}

bool parseColor(const std::string& in, DxCmColor& c) {
  std::string s = upper(in);
  const auto& names = kColorNames;
  if (s == "BYLAYER") {
    c = DxCmColor();
    c.setColorMethod(DxCmColor::kByLayer);
    return true;
  }
  if (s == "BYBLOCK") {
    c = DxCmColor();
    c.setColorMethod(DxCmColor::kByBlock);
    return c.setColorIndex(0) == Dxad::eOk || true;
  }
  for (int i = 0; i < 7; ++i)
    if (s == names[i]) {
      c = DxCmColor::byACI(int16_t(i + 1));
      return true;
    }
  if (s.find(',') != std::string::npos) {
    int rgb[3];
    size_t start = 0;
    for (int k = 0; k < 3; ++k) {
      size_t e = s.find(',', start);
      std::string part = s.substr(start, e == std::string::npos ? std::string::npos : e - start);
      char* end = nullptr;
      long v = std::strtol(part.c_str(), &end, 10);
      if (part.empty() || *end || v < 0 || v > 255 || (k < 2 && e == std::string::npos)) return false;
      rgb[k] = int(v);
      start = e + 1;
      if (k == 2 && e != std::string::npos) return false;
    }
    c.setRGB(uint8_t(rgb[0]), uint8_t(rgb[1]), uint8_t(rgb[2]));
    return true;
  }
  char* end = nullptr;
  long v = std::strtol(s.c_str(), &end, 10);
  if (s.empty() || *end || v < 0 || v > 256) return false;
  if (v == 256) return parseColor("BYLAYER", c);
  if (v == 0) return parseColor("BYBLOCK", c);
  c = DxCmColor::byACI(int16_t(v));
  return true;
}

}  // namespace dx::ed::cmd

namespace dx::ed {

void registerHostCommands(DxEdCommandStack* stack) {
  using namespace DxEdCommandFlags;
  struct Row {
    const char* name;
    int32_t flags;
    DxRxFunctionPtr fn;
  };
  const Row rows[] = {
      {"LINE", kModal, cmd::cmdLine},
      {"ERASE", kUsePickSet, cmd::cmdErase},
      {"EXPLODE", kUsePickSet, cmd::cmdExplode},
      {"CHPROP", kUsePickSet, cmd::cmdChprop},
      {"UNDO", kNoUndoMarker, cmd::cmdUndo},
      {"U", kNoUndoMarker, cmd::cmdU},
      {"-INSERT", kModal, cmd::cmdInsert},
      {"UCS", kModal, cmd::cmdUcs},
      {"-LINETYPE", kModal, cmd::cmdLinetype},
      {"PURGE", kModal, cmd::cmdPurge},
      {"NEW", kNoUndoMarker, cmd::cmdNew},
      {"OPEN", kNoUndoMarker, cmd::cmdOpen},
      {"SAVE", kNoUndoMarker, cmd::cmdSave},
      {"SAVEAS", kNoUndoMarker, cmd::cmdSaveAs},
      {"SCRIPT", kNoUndoMarker, cmd::cmdScript},
      {"QUIT", kNoUndoMarker, cmd::cmdQuit},
      {"SETVAR", kTransparent, cmd::cmdSetvar},
      {"-PLOT", kModal, cmd::cmdPlot},
      {"BOUNDARY", kModal, cmd::cmdBoundary},
      {"-BOUNDARY", kModal, cmd::cmdBoundary},
      {"-LAYER", kModal, cmd::cmdLayer},
      {"-IMAGE", kModal, cmd::cmdImage},
      {"IMAGECLIP", kUsePickSet, cmd::cmdImageClip},
      {"-XREF", kModal, cmd::cmdXref},
      {"WIPEOUT", kModal, cmd::cmdWipeout},
      {"-GROUP", kModal, cmd::cmdGroup},
      {"DRAWORDER", kUsePickSet, cmd::cmdDrawOrder},
      {"XCLIP", kUsePickSet, cmd::cmdXclip},
      {"RECOVER", kNoUndoMarker, cmd::cmdRecover},
      {"AUDIT", kModal, cmd::cmdAudit},
  };
  for (const Row& r : rows) stack->addCommand(kHostGroup, r.name, r.name, r.flags, r.fn);
}

}  // namespace dx::ed
