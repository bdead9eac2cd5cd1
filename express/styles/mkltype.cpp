// mkltype: a complex linetype made from drawn lines, points, texts and shapes, written
// into a ".lin" file and loaded into the drawing.
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "express/env/command_env.h"
#include "express/env/holders.h"
#include "express/env/sysvar_guard.h"
#include "express/frame/command_body.h"
#include "express/res/resource.h"
#include "express/styles/lin_pattern.h"
#include "express/styles/style_commands.h"
#include "hostapi/editor.h"

namespace express::styles {
namespace {

const resbuf* group(const resbuf* list, int code) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb;
  return nullptr;
}
DxGePoint3d pointOf(const resbuf* list, int code) {
  const resbuf* rb = group(list, code);
  return rb ? DxGePoint3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]) : DxGePoint3d();
}
double realOf(const resbuf* list, int code, double def = 0) {
  const resbuf* rb = group(list, code);
  return rb ? rb->resval.rreal : def;
}

// The pattern's frame: start point, unit direction and length.
struct Frame {
  DxGePoint3d start;
  DxGeVector3d u, n;
  double length = 0, direction = 0;
  double along(const DxGePoint3d& p) const { return u.dotProduct(p - start); }
  double across(const DxGePoint3d& p) const { return n.dotProduct(p - start); }
};

void addSegment(const Frame& f, const DxGePoint3d& a, const DxGePoint3d& b, std::vector<PatternPiece>& out) {
  PatternPiece p;
  p.from = f.along(a);
  p.to = f.along(b);
  out.push_back(p);
}

// The fixed height of a text style (1.0 when it has none, so the scale is the height).
double styleHeight(const std::string& style) {
  CResbufPtr rec(dxdbTblSearch("STYLE", style.c_str()));
  double h = rec ? realOf(rec.get(), 40) : 0;
  return h > 0 ? h : 1.0;
}

// The file of the first shape-file style, for shapes (a shape names no style; the
// linetype file names the shape file).
std::string shapeFile() {
  for (CResbufPtr rec(dxdbTblNext("STYLE", 1)); rec; rec.reset(dxdbTblNext("STYLE"))) {
    const resbuf* flags = group(rec.get(), 70);
    if (flags && (flags->resval.rint & 1)) return groupText(rec.get(), 3);
  }
  return "";
}

void addEntity(const Frame& f, const dx_name ename, std::vector<PatternPiece>& out) {
  CResbufPtr list(dxdbEntGet(ename));
  if (!list) return;
  const std::string type = groupText(list.get(), 0);
  if (type == "LINE") {
    addSegment(f, pointOf(list.get(), 10), pointOf(list.get(), 11), out);
  } else if (type == "POINT") {
    addSegment(f, pointOf(list.get(), 10), pointOf(list.get(), 10), out);
  } else if (type == "LWPOLYLINE") {
    std::vector<DxGePoint3d> pts;
    for (const resbuf* rb = list.get(); rb; rb = rb->rbnext)
      if (rb->restype == 10) pts.emplace_back(rb->resval.rpoint[0], rb->resval.rpoint[1], 0);
    const resbuf* flags = group(list.get(), 70);
    if (flags && (flags->resval.rint & 1) && pts.size() > 2) pts.push_back(pts.front());
    for (size_t i = 1; i < pts.size(); ++i) addSegment(f, pts[i - 1], pts[i], out);
  } else if (type == "POLYLINE") {
    std::vector<DxGePoint3d> pts;
    dx_name cur = {ename[0], ename[1]}, next;
    while (dxdbEntNext(cur, next) == RTNORM) {
      CResbufPtr v(dxdbEntGet(next));
      if (groupText(v.get(), 0) != "VERTEX") break;
      pts.push_back(pointOf(v.get(), 10));
      cur[0] = next[0], cur[1] = next[1];
    }
    const resbuf* flags = group(list.get(), 70);
    if (flags && (flags->resval.rint & 1) && pts.size() > 2) pts.push_back(pts.front());
    for (size_t i = 1; i < pts.size(); ++i) addSegment(f, pts[i - 1], pts[i], out);
  } else if (type == "TEXT" || type == "SHAPE") {
    const bool text = type == "TEXT";
    const resbuf* h = group(list.get(), 72);
    const resbuf* v = group(list.get(), 73);
    const bool aligned = text && ((h && h->resval.rint) || (v && v->resval.rint));
    const DxGePoint3d at = pointOf(list.get(), aligned ? 11 : 10);
    PatternPiece p;
    p.isDash = false;
    p.from = p.to = f.along(at);
    PatternElement& e = p.element;
    e.kind = text ? PatternElement::kText : PatternElement::kShape;
    e.body = groupText(list.get(), text ? 1 : 2);
    e.style = text ? groupText(list.get(), 7) : shapeFile();
    if (text && e.style.empty()) e.style = "Standard";  // the list leaves the default style out
    e.scale = text ? realOf(list.get(), 40) / styleHeight(e.style) : realOf(list.get(), 40, 1);
    e.rotationDeg = linRotationDegrees(realOf(list.get(), 50), 0, f.direction);
    e.y = f.across(at);
    out.push_back(p);
  }
}

bool readFile(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::ostringstream s;
  s << in.rdbuf();
  text = s.str();
  return true;
}

int askPoint(const char* prompt, const dx_point base, DxGePoint3d& world) {
  dx_point p, w;
  int rc = dxedGetPoint(base, prompt, p);
  if (rc != RTNORM) return rc;
  resbuf from{}, to{};
  from.restype = to.restype = RTSHORT;
  from.resval.rint = 1;
  to.resval.rint = 0;
  dxedTrans(p, &from, &to, 0, w);
  world = DxGePoint3d(w[0], w[1], w[2]);
  return RTNORM;
}

void cmdMkltype() {
  CSysVarSet guard(false);
  resbuf answer{};
  const std::string def = fileBesideDrawing(".lin");
  const std::string defaultFile = def.substr(0, def.rfind('/') + 1) + "MKLTYPE-" + def.substr(def.rfind('/') + 1);
  if (dxedGetFileD(CResString(res::MkltypeFileCaption), defaultFile.c_str(), "lin", 1 | 32, &answer) != RTNORM)
    return;
  const std::string file = answer.resval.rstring;
  std::free(answer.resval.rstring);
  std::string linText;
  readFile(file, linText);  // a new file starts empty

  std::string name;
  for (;;) {
    char buf[512];
    if (dxedGetString(0, CResString(res::MkltypeName), buf, sizeof buf) != RTNORM) return;
    name = buf;
    if (isValidLinetypeName(name)) break;
    dxutPrintf("%s", CResString(res::MkltypeBadName).c_str());
  }
  if (linDefines(linText, name)) {
    char prompt[600];
    std::snprintf(prompt, sizeof prompt, CResString(res::MkltypeOverwrite), name.c_str());
    dxedInitGet(0, "Yes No _Yes No");
    char kw[32] = "";
    int rc = dxedGetKword(prompt, kw, sizeof kw);
    if (rc == RTCAN) {
      dxutPrintf("%s", CResString(res::MkltypeCancelled).c_str());
      return;
    }
    if (rc != RTNORM || std::strcmp(kw, "Yes") != 0) {
      dxutPrintf("%s", CResString(res::MkltypeIgnored).c_str());
      return;
    }
  }
  char description[2049];
  if (dxedGetString(1, CResString(res::MkltypeDescription), description, sizeof description) != RTNORM) return;

  Frame f;
  DxGePoint3d end;
  if (askPoint(CResString(res::MkltypeStartPoint), nullptr, f.start) != RTNORM) return;
  dx_point base = {f.start.x, f.start.y, f.start.z};
  for (;;) {
    if (askPoint(CResString(res::MkltypeEndPoint), base, end) != RTNORM) return;
    if (end.distanceTo(f.start) > 1e-10) break;
  }
  f.u = (end - f.start).normal();
  f.n = DxGeVector3d(-f.u.y, f.u.x, 0);
  f.length = end.distanceTo(f.start);
  f.direction = std::atan2(f.u.y, f.u.x);

  CResbufPtr filter = filterAnd(entityTypeFilter({"LINE", "LWPOLYLINE", "POLYLINE", "POINT", "SHAPE", "TEXT"}));
  CSelectionSet ss;
  if (ss.select(nullptr, nullptr, nullptr, filter.get()) != RTNORM) return;

  // Measured in a coordinate system turned to the pattern direction.
  char angle[64];
  std::snprintf(angle, sizeof angle, "%.10f", f.direction * 180.0 / M_PI);
  dxedCommandS(RTSTR, "_.ucs", RTSTR, "_z", RTSTR, angle, 0);
  std::vector<PatternPiece> pieces;
  for (int32_t i = 0, n = ss.length(); i < n; ++i) {
    dx_name ent;
    if (dxedSSName(ss.name(), i, ent) == RTNORM) addEntity(f, ent, pieces);
  }
  dxedCommandS(RTSTR, "_.ucs", RTSTR, "_p", 0);

  const std::vector<PatternElement> elements = buildPattern(pieces, f.length);
  switch (checkPattern(elements)) {
    case PatternProblem::kEmpty: dxutPrintf("%s", CResString(res::MkltypeIgnored).c_str()); return;
    case PatternProblem::kContinuous: dxutPrintf("%s", CResString(res::MkltypeContinuous).c_str()); return;
    case PatternProblem::kTooManySegments:
      dxutPrintf("%s", CResString(res::MkltypeTooManySegments).c_str());
      return;
    case PatternProblem::kNone: break;
  }
  // The name line, then the pattern line without the comma the pattern starts with.
  char definition[8192];
  std::snprintf(definition, sizeof definition, "%s%s%s", ("*" + name + "," + description).c_str(), "\n",
                (linPatternLine(elements).substr(1) + "\n").c_str());
  if (!writeFileReplacing(file, linWithDefinition(linText, name, definition))) {
    dxutPrintf(CResString(res::DimCannotWrite), file.c_str());
    return;
  }

  const bool existed = CResbufPtr(dxdbTblSearch("LTYPE", name.c_str())).get() != nullptr;
  if (existed)
    dxedCommandS(RTSTR, "-linetype", RTSTR, "l", RTSTR, name.c_str(), RTSTR, file.c_str(), RTSTR, "Y", RTSTR, "", 0);
  else
    dxedCommandS(RTSTR, "-linetype", RTSTR, "l", RTSTR, name.c_str(), RTSTR, file.c_str(), RTSTR, "", 0);
  if (!CResbufPtr(dxdbTblSearch("LTYPE", name.c_str()))) {
    dxutPrintf(CResString(res::MkltypeNotCreated), name.c_str());
    return;
  }
  dxutPrintf("%s", CResString(res::MkltypeLinetype).c_str());
  dxutPrintf(existed ? CResString(res::MkltypeRedefined) : CResString(res::MkltypeCreated), name.c_str());
}

}  // namespace

DX_COMMAND_BODY("mkltype", cmdMkltype);

}  // namespace express::styles
