// breakline: a line through two picks, extended past both, broken by a symbol drawing
// whose two definition points mark the gap. One undo step.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "express/aids/breakline_settings.h"
#include "express/env/holders.h"
#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "hostapi/app.h"
#include "hostapi/editor.h"

namespace express::aids {
namespace {

namespace fs = std::filesystem;

double realVar(const char* name, double def) {
  resbuf rb{};
  if (dxedGetVar(name, &rb) != RTNORM) return def;
  if (rb.restype == RTREAL) return rb.resval.rreal;
  if (rb.restype == RTSHORT) return rb.resval.rint;
  return def;
}

// The symbol drawing: in ExtendCmd of the program folder, then beside the executable,
// then anywhere the host looks for files.
std::string findSymbolDrawing(const std::string& name) {
  std::error_code ec;
  if (fs::path(name).is_absolute() && fs::is_regular_file(name, ec)) return name;
  fs::path appDir = fs::path(dxutGetDxadAppDir()) / "ExtendCmd" / name;
  if (fs::is_regular_file(appDir, ec)) return appDir.string();
  char exe[4096];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n > 0) {
    exe[n] = 0;
    fs::path beside = fs::path(exe).parent_path() / "ExtendCmd" / name;
    if (fs::is_regular_file(beside, ec)) return beside.string();
  }
  char found[1024];
  if (dxedFindFile(name.c_str(), found, sizeof found) == RTNORM) return found;
  return "";
}

struct Symbol {
  std::string block;                 // the block the drawing now holds
  DxGePoint3d first, second;         // definition points, first with the smaller x
  double length = 0;
};

// Inserts the drawing once to learn its definition points; the insert is erased again.
bool loadSymbol(const std::string& file, Symbol& sym) {
  // The drawing file, or a block of its name the drawing already holds.
  std::string source = findSymbolDrawing(file);
  if (source.empty()) {
    CResbufPtr block(dxdbTblSearch("BLOCK", fs::path(file).stem().string().c_str()));
    if (block) source = fs::path(file).stem().string();
  }
  if (source.empty()) {
    dxutPrintf("\n%s", CResString(res::BreaklineGetNameError).c_str());
    return false;
  }
  dx_name before{0, 0}, ref;
  dxdbEntLast(before);
  dxedCommandS(RTSTR, "_.-insert", RTSTR, source.c_str(), RTSTR, "0,0", RTSTR, "1", RTSTR, "1", RTSTR, "0", 0);
  if (dxdbEntLast(ref) != RTNORM || (ref[0] == before[0] && ref[1] == before[1])) {
    dxutPrintf("\n%s", CResString(res::BreaklineGetNameError).c_str());
    return false;
  }
  {
    CResbufPtr list(dxdbEntGet(ref));
    const resbuf* name = list.find(2);
    sym.block = name && name->resval.rstring ? name->resval.rstring : "";
  }
  dxedCommandS(RTSTR, "._erase", RTENAME, ref, RTSTR, "", 0);
  std::vector<DxGePoint3d> points;
  DxDbDatabase* db = dxdbHostApplicationServices()->workingDatabase();
  CDbObjectPtr<DxDbBlockTable> table(db->blockTableId(), DxDb::kForRead);
  DxDbObjectId blockId;
  if (table && table->getIdAt(sym.block.c_str(), blockId) == Dxad::eOk) {
    table.close();
    CDbObjectPtr<DxDbBlockTableRecord> block(blockId, DxDb::kForRead);
    for (const DxDbObjectId& id : block ? block->entityIds() : std::vector<DxDbObjectId>{}) {
      CDbObjectPtr<DxDbPoint> pt(id, DxDb::kForRead);
      // Points on any layer count: the layer test is satisfied by any answer of the match.
      if (pt && dxutWcMatch(pt->layer().c_str(), "DEFPOINTS") != 0) points.push_back(pt->position());
      if (points.size() == 2) break;
    }
  }
  if (points.size() < 2) {
    dxutPrintf("\n%s", CResString(res::BreaklineGetPointError).c_str());
    return false;
  }
  sym.first = points[0].x <= points[1].x ? points[0] : points[1];
  sym.second = points[0].x <= points[1].x ? points[1] : points[0];
  sym.length = sym.first.distanceTo(sym.second);
  return sym.length > 1e-10;
}

enum class Step { kDone, kCancelled, kAgain };

void undoWhatWasDrawn() {
  dxedCommandS(RTSTR, "_.undo", RTSTR, "_end", 0);
  dxedCommandS(RTSTR, "_.u", 0);
}

std::string degrees(double radians) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.12f", radians * 180.0 / M_PI);
  return buf;
}

Step drawBreakLine(const BreaklineSettings& settings, const DxGePoint3d& p1) {
  double size = 1, extension = 2.5;
  dxdbDisToF(settings.size.c_str(), 2, &size);
  dxdbDisToF(settings.extension.c_str(), 2, &extension);
  Symbol sym;
  if (!loadSymbol(settings.block, sym)) return Step::kAgain;
  const double k = breaklineScale(size, realVar("DIMSCALE", 1), int(realVar("MEASUREMENT", 1)), sym.length);
  const double gap = sym.length * std::fabs(k);

  dx_point base = {p1.x, p1.y, p1.z}, picked;
  DxGePoint3d p2;
  for (;;) {
    int rc = dxedGetPoint(base, CResString(res::BreaklineSecondPoint), picked);
    if (rc != RTNORM) {
      undoWhatWasDrawn();
      return Step::kCancelled;
    }
    p2 = DxGePoint3d(picked[0], picked[1], picked[2]);
    if (p1.distanceTo(p2) >= gap) break;
    dxutPrintf("%s", CResString(res::BreaklineTooClose).c_str());
  }
  const DxGeVector3d u = (p2 - p1).normal();
  const DxGePoint3d a = p1 - u * extension, b = p2 + u * extension;
  const double pa[3] = {a.x, a.y, a.z}, pb[3] = {b.x, b.y, b.z};
  dxedCommandS(RTSTR, "_.line", RT3DPOINT, pa, RT3DPOINT, pb, RTSTR, "", 0);
  dx_name line;
  dxdbEntLast(line);

  DxGePoint3d at = p1 + (p2 - p1) * 0.5;
  {
    CShortVarSaver osmode("OSMODE");
    CShortVarSaver::set("OSMODE", 514);
    dx_point loc, snapped;
    int rc = dxedGetPoint(nullptr, CResString(res::BreaklineLocation), loc);
    if (rc == RTCAN || rc == RTERROR) {
      dxedCommandS(RTSTR, "._erase", RTENAME, line, RTSTR, "", 0);
      undoWhatWasDrawn();
      return Step::kCancelled;
    }
    if (rc == RTNORM) {
      if (dxedOsnap(loc, "nea", snapped) != RTNORM) std::memcpy(snapped, loc, sizeof loc);
      // Onto the break line itself, whatever else lies near.
      const DxGePoint3d q(snapped[0], snapped[1], snapped[2]);
      at = p1 + u * u.dotProduct(q - p1);
    }
  }

  // The symbol: scaled by k, turned so that its definition points lie on the line with
  // their midpoint at the location.
  const double angle = std::atan2(u.y, u.x) - std::atan2(sym.second.y - sym.first.y, sym.second.x - sym.first.x);
  const DxGePoint3d mid = sym.first + (sym.second - sym.first) * 0.5;
  const double c = std::cos(angle), s = std::sin(angle);
  const DxGePoint3d insert(at.x - k * (mid.x * c - mid.y * s), at.y - k * (mid.x * s + mid.y * c), at.z);
  if (k != 0) {  // a zero scale has nothing to show, and no insert takes it
    CShortVarSaver osmode("OSMODE");
    CShortVarSaver::set("OSMODE", 0);
    const double pi[3] = {insert.x, insert.y, insert.z};
    char scale[64];
    std::snprintf(scale, sizeof scale, "%.12g", k);
    dxedCommandS(RTSTR, "_.-insert", RTSTR, sym.block.c_str(), RT3DPOINT, pi, RTSTR, scale, RTSTR, scale, RTSTR,
                 degrees(angle).c_str(), 0);
  }
  // The line is broken between the definition points: two lines either side of the gap.
  const DxGePoint3d cut1 = at - u * (gap / 2), cut2 = at + u * (gap / 2);
  const double c1[3] = {cut1.x, cut1.y, cut1.z}, c2[3] = {cut2.x, cut2.y, cut2.z};
  dxedCommandS(RTSTR, "._erase", RTENAME, line, RTSTR, "", 0);
  dxedCommandS(RTSTR, "_.line", RT3DPOINT, pa, RT3DPOINT, c1, RTSTR, "", 0);
  dxedCommandS(RTSTR, "_.line", RT3DPOINT, c2, RT3DPOINT, pb, RTSTR, "", 0);
  if (size <= 1e-10) dxutPrintf("\n%s", CResString(res::BreaklineSmallScale).c_str());
  return Step::kDone;
}

// A keyword of the first prompt; false ends the command.
bool runKeyword(const std::string& kw, BreaklineSettings& settings) {
  std::string which = kw;
  if (which == "sPecify" || which == "Specify") {
    dxedInitGet(0, "Size Extension _Size Extension");
    char buf[64];
    if (dxedGetKword(CResString(res::BreaklineSpecify), buf, sizeof buf) != RTNORM) return true;
    which = buf;
  }
  if (which == "eXit" || which == "Exit") return false;
  if (which == "Block") {
    resbuf file{};
    if (dxedGetFileD(CResString(res::BreaklineBlockFile), settings.block.c_str(), "dxf", 0, &file) == RTNORM) {
      settings.block = file.resval.rstring;
      std::free(file.resval.rstring);
      writeBreaklineSetting(kBreaklineBlockKey, settings.block);
    }
    return true;
  }
  const bool isSize = which == "Size";
  std::string& value = isSize ? settings.size : settings.extension;
  char prompt[600], buf[512];
  std::snprintf(prompt, sizeof prompt, isSize ? CResString(res::BreaklineSize) : CResString(res::BreaklineExtension),
                value.c_str());
  if (dxedGetString(0, prompt, buf, sizeof buf) != RTNORM || !buf[0]) return true;
  double v;
  if (dxdbDisToF(buf, 2, &v) != RTNORM) return true;
  value = buf;
  writeBreaklineSetting(isSize ? kBreaklineSizeKey : kBreaklineExtensionKey, value);
  return true;
}

void cmdBreakline() {
  CShortVarSaver cmdecho("CMDECHO");
  CShortVarSaver::set("CMDECHO", 0);
  dxedCommandS(RTSTR, "_.undo", RTSTR, "_begin", 0);
  BreaklineSettings settings = readBreaklineSettings();
  dxutPrintf(CResString(res::BreaklineSettings), settings.block.c_str(), settings.size.c_str(),
             settings.extension.c_str());
  for (;;) {
    dxedInitGet(RSG_OTHER, "Block Size Extension sPecify eXit _Block Size Extension sPecify eXit");
    dx_point p;
    int rc = dxedGetPoint(nullptr, CResString(res::BreaklineFirstPoint), p);
    if (rc == RTKWORD) {
      char kw[512];
      dxedGetInput(kw, sizeof kw);
      if (!runKeyword(kw, settings)) break;
      continue;
    }
    if (rc != RTNORM) break;
    Step step = drawBreakLine(settings, DxGePoint3d(p[0], p[1], p[2]));
    if (step == Step::kCancelled) return;  // the undo group is closed already
    if (step == Step::kDone) break;
  }
  dxedCommandS(RTSTR, "_.undo", RTSTR, "_end", 0);
}

}  // namespace

DX_COMMAND_BODY("breakline", cmdBreakline);

}  // namespace express::aids
