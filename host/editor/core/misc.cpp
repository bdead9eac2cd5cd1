// Output, units, coordinates, files and menus of the editor family.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "host/editor/core/session.h"

namespace fs = std::filesystem;
using namespace dx::ed;

int dxutPrintf(const char* format, ...) {
  if (!format) return 0;
  va_list ap;
  va_start(ap, format);
  va_list ap2;
  va_copy(ap2, ap);
  int n = std::vsnprintf(nullptr, 0, format, ap);
  va_end(ap);
  if (n < 0) {
    va_end(ap2);
    return 0;
  }
  std::string s(size_t(n), '\0');
  std::vsnprintf(s.data(), size_t(n) + 1, format, ap2);
  va_end(ap2);
  output().message(s);
  return n;
}

void dxdbFail(const char* message) { output().message(std::string("\n") + (message ? message : "")); }

const char* dxutGetDxadAppDir() {
  static std::string dir;
  if (const char* env = std::getenv("DRAXEL_APPDIR"); env && *env) {
    dir = env;
  } else {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    fs::path base = xdg && *xdg ? fs::path(xdg) : fs::path(home ? home : "/tmp") / ".config";
    dir = (base / "draxel" / "R24").string();
  }
  std::error_code ec;
  fs::create_directories(dir, ec);
  if (!dir.empty() && dir.back() != '/') dir += '/';
  return dir.c_str();
}

std::string dxutCombinePath(const std::string& folder, const std::string& name) {
  if (folder.empty()) return name;
  return (fs::path(folder) / name).string();
}

int dxedFindFile(const char* name, char* result, size_t bufLen) {
  if (!name || !*name || !result || !bufLen) return RTERROR;
  std::vector<fs::path> tries;
  fs::path n(name);
  if (n.is_absolute()) {
    tries.push_back(n);
  } else {
    if (Document* doc = Session::get().current()) {
      fs::path f(doc->fileName());
      if (f.has_parent_path()) tries.push_back(f.parent_path() / n);
    }
    tries.push_back(fs::current_path() / n);
    tries.push_back(fs::path(dxutGetDxadAppDir()) / n);
    if (const char* support = std::getenv("DRAXEL_SUPPORT")) {
      std::string s = support;
      size_t start = 0;
      for (size_t i = 0; i <= s.size(); ++i)
        if (i == s.size() || s[i] == ':' || s[i] == ';') {
          if (i > start) tries.push_back(fs::path(s.substr(start, i - start)) / n);
          start = i + 1;
        }
    }
  }
  std::error_code ec;
  for (auto& p : tries) {
    if (fs::is_regular_file(p, ec)) {
      std::string s = p.lexically_normal().string();
      if (s.size() >= bufLen) return RTERROR;
      std::memcpy(result, s.c_str(), s.size() + 1);
      return RTNORM;
    }
  }
  return RTERROR;
}

int dxdbRToS(double val, int unit, int prec, char* str, size_t bufLen) {
  if (!str || !bufLen) return RTERROR;
  Session& s = Session::get();
  s.init();
  if (unit < 0) unit = s.getInt("LUNITS");
  if (prec < 0) prec = s.getInt("LUPREC");
  if (unit < 1 || unit > 5 || prec > 8) return RTERROR;
  std::string r = formatDistance(val, unit, prec, s.getInt("DIMZIN"));
  if (r.size() >= bufLen) return RTERROR;
  std::memcpy(str, r.c_str(), r.size() + 1);
  return RTNORM;
}

int dxdbDisToF(const char* str, int unit, double* result) {
  if (!str || !result || unit > 5 || unit == 0 || unit < -1) return RTERROR;
  double v;
  if (!parseDistance(str, v)) return RTERROR;
  *result = v;
  return RTNORM;
}

int dxdbAngToS(double angle, int unit, int prec, char* str, size_t bufLen) {
  if (!str || !bufLen) return RTERROR;
  Session& s = Session::get();
  s.init();
  if (unit < 0) unit = s.getInt("AUNITS");
  if (prec < 0) prec = s.getInt("AUPREC");
  if (unit > 4) return RTERROR;
  std::string r = formatAngle(angle, unit, prec);
  if (r.size() >= bufLen) return RTERROR;
  std::memcpy(str, r.c_str(), r.size() + 1);
  return RTNORM;
}

int dxdbAngToF(const char* str, int unit, double* result) {
  if (!str || !result) return RTERROR;
  if (unit < 0) unit = Session::get().getInt("AUNITS");
  double v;
  if (!parseAngle(str, unit, v)) return RTERROR;
  *result = v;
  return RTNORM;
}

namespace {

// The matrix from a coordinate system given as a dxedTrans argument to the world.
bool toWorldMatrix(const resbuf* cs, DxGeMatrix3d& m) {
  if (!cs) return false;
  Document* doc = Session::get().current();
  switch (cs->restype) {
    case RTSHORT:
      switch (cs->resval.rint) {
        case 0: m = DxGeMatrix3d(); return true;
        case 1:
        case 2: m = doc ? doc->ucs.toWorld() : DxGeMatrix3d(); return true;
        case 3: m = DxGeMatrix3d(); return true;
        default: return false;
      }
    case RT3DPOINT: {
      DxGeVector3d n(cs->resval.rpoint[0], cs->resval.rpoint[1], cs->resval.rpoint[2]);
      if (n.isZeroLength()) return false;
      m = DxGeMatrix3d::planeToWorld(n.normal());
      return true;
    }
    case RTENAME: {
      DxDbObjectId id;
      if (dxdbGetObjectId(id, cs->resval.rlname) != Dxad::eOk) return false;
      Opened<DxDbEntity> e(id, DxDb::kForRead);
      if (!e) return false;
      DxGeVector3d n(0, 0, 1);
      // Entities with an object coordinate system: their normal defines it.
      if (auto* c = DxRxObject::cast<DxDbCircle>(e.get())) n = c->normal();
      else if (auto* a = DxRxObject::cast<DxDbArc>(e.get())) n = a->normal();
      else if (auto* t = DxRxObject::cast<DxDbText>(e.get())) n = t->normal();
      else if (auto* p = DxRxObject::cast<DxDbPolyline>(e.get())) n = p->normal();
      else if (auto* r = DxRxObject::cast<DxDbBlockReference>(e.get())) n = r->normal();
      else if (auto* h = DxRxObject::cast<DxDbHatch>(e.get())) n = h->normal();
      else if (auto* hp = DxRxObject::cast<DxDbPolylineHeavy>(e.get())) n = hp->normal();
      else {
        // Planar entities without a normal accessor carry it in their entity list.
        std::string dxf = e->isA()->dxfName();
        e.close();
        if (dxf == "SOLID" || dxf == "TRACE" || dxf == "SHAPE" || dxf == "DIMENSION") {
          if (resbuf* list = dxdbEntGet(cs->resval.rlname)) {
            for (const resbuf* rb = list; rb; rb = rb->rbnext)
              if (rb->restype == 210) n = DxGeVector3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]);
            dxutRelRb(list);
          }
          if (n.isZeroLength()) return false;
        } else {
          m = DxGeMatrix3d();  // world-coordinate entities (lines, points, 3-D objects)
          return true;
        }
      }
      m = DxGeMatrix3d::planeToWorld(n);
      return true;
    }
    default: return false;
  }
}

}  // namespace

int dxedTrans(const dx_point pt, const resbuf* from, const resbuf* to, int disp, dx_point result) {
  if (!pt || !result) return RTERROR;
  DxGeMatrix3d a, b;
  if (!toWorldMatrix(from, a) || !toWorldMatrix(to, b)) return RTERROR;
  DxGeMatrix3d m = b.inverse() * a;
  if (disp) {
    DxGeVector3d v = m * DxGeVector3d(pt[0], pt[1], pt[2]);
    result[0] = v.x, result[1] = v.y, result[2] = v.z;
  } else {
    DxGePoint3d p = m * DxGePoint3d(pt[0], pt[1], pt[2]);
    result[0] = p.x, result[1] = p.y, result[2] = p.z;
  }
  return RTNORM;
}

// Menu groups (dxedLoadMenuGroup, dxedIsMenuGroupLoaded) are kept by host/app.

namespace dx::ed {
void reportOpenObjects(Document* doc, const std::string& command) {
  DxDbDatabase* db = doc->database();
  for (DxDbObjectId id : db->openObjects()) {
    output().message("\n" + command + " left " + (id.objectClass() ? id.objectClass()->name() : "an object") +
                     " " + id.handle().str() + " open.\n");
  }
  for (const std::string& v : db->takeDisciplineReport()) output().message("\n" + command + ": " + v + "\n");
}
}  // namespace dx::ed
