// System variables: the table's defaults, per-drawing values kept in the drawing header,
// session values, and the ones the host works out when they are read.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "host/editor/core/session.h"

namespace fs = std::filesystem;

namespace dx::ed {
namespace {

std::string recordName(DxDbObjectId id) {
  Opened<DxDbSymbolTableRecord> rec(id, DxDb::kForRead);
  return rec ? rec->getName() : std::string();
}

DxDbObjectId findRecord(DxDbObjectId tableId, const std::string& name) {
  Opened<DxDbSymbolTable> table(tableId, DxDb::kForRead);
  DxDbObjectId id;
  if (table) table->getIdAt(name.c_str(), id);
  return id;
}

VarValue fromRb(const resbuf* rb, int wanted) {
  VarValue v;
  v.type = wanted;
  if (!rb) return v;
  switch (rb->restype) {
    case RTSHORT: v.integer = rb->resval.rint; v.real = v.integer; break;
    case RTLONG: v.integer = rb->resval.rlong; v.real = double(v.integer); break;
    case RTREAL:
    case RTANG: v.real = rb->resval.rreal; v.integer = int64_t(std::lround(v.real)); break;
    case RTSTR: v.text = rb->resval.rstring ? rb->resval.rstring : ""; break;
    case RTPOINT:
    case RT3DPOINT:
      v.pt = {rb->resval.rpoint[0], rb->resval.rpoint[1],
              rb->restype == RT3DPOINT ? rb->resval.rpoint[2] : 0.0};
      break;
    default: break;
  }
  if (wanted == RTPOINT) v.pt.z = 0;
  return v;
}

bool viewport(DxDbDatabase* db, DxGePoint2d& center, double& height) {
  Opened<DxDbSymbolTable> table(db->viewportTableId(), DxDb::kForRead);
  if (!table) return false;
  DxDbObjectId id;
  if (table->getIdAt("*Active", id) != Dxad::eOk) return false;
  table.close();
  Opened<DxDbViewportTableRecord> vp(id, DxDb::kForRead);
  if (!vp || !(vp->height() > 0)) return false;
  center = vp->centerPoint();
  height = vp->height();
  return true;
}

// Without a saved view a drawing opens on its extents.
bool extentsView(DxDbDatabase* db, DxGePoint2d& center, double& height) {
  resbuf* lo = db->getHeaderVar("EXTMIN");
  resbuf* hi = db->getHeaderVar("EXTMAX");
  bool ok = lo && hi && hi->resval.rpoint[0] >= lo->resval.rpoint[0] && hi->resval.rpoint[1] >= lo->resval.rpoint[1] &&
            hi->resval.rpoint[0] - lo->resval.rpoint[0] < 1e19;
  if (ok) {
    double w = hi->resval.rpoint[0] - lo->resval.rpoint[0], h = hi->resval.rpoint[1] - lo->resval.rpoint[1];
    center = {(lo->resval.rpoint[0] + hi->resval.rpoint[0]) / 2, (lo->resval.rpoint[1] + hi->resval.rpoint[1]) / 2};
    // The view keeps the screen's proportions around the whole drawing.
    height = std::max(h, w * 800.0 / 1280.0);
    ok = height > 0;
  }
  dxutRelRb(lo);
  dxutRelRb(hi);
  return ok;
}

VarValue point3(const DxGePoint3d& p) {
  VarValue v;
  v.type = RT3DPOINT;
  v.pt = p;
  return v;
}

}  // namespace

bool Ucs::isWorld() const {
  return origin == DxGePoint3d::kOrigin && x == DxGeVector3d::kXAxis && y == DxGeVector3d::kYAxis;
}

DxGeMatrix3d Ucs::toWorld() const {
  DxGeVector3d z = x.crossProduct(y).normal();
  DxGeMatrix3d m;
  m.entry[0][0] = x.x, m.entry[0][1] = y.x, m.entry[0][2] = z.x, m.entry[0][3] = origin.x;
  m.entry[1][0] = x.y, m.entry[1][1] = y.y, m.entry[1][2] = z.y, m.entry[1][3] = origin.y;
  m.entry[2][0] = x.z, m.entry[2][1] = y.z, m.entry[2][2] = z.z, m.entry[2][3] = origin.z;
  return m;
}

DxGeMatrix3d Ucs::fromWorld() const { return toWorld().inverse(); }

DxGePoint3d ucsToWorld(const DxGePoint3d& p) {
  Document* doc = Session::get().current();
  return doc && !doc->ucs.isWorld() ? doc->ucs.toWorld() * p : p;
}

DxGePoint3d worldToUcs(const DxGePoint3d& p) {
  Document* doc = Session::get().current();
  return doc && !doc->ucs.isWorld() ? doc->ucs.fromWorld() * p : p;
}

bool Session::getVar(const std::string& nameIn, VarValue& v) const {
  const VarDef* def = findVar(nameIn);
  if (!def) return false;
  const std::string& name = def->name;
  Document* doc = m_current;
  DxDbDatabase* db = doc ? doc->database() : nullptr;
  v = def->def;
  if (def->flags & kVarComputed) {
    if (name == "CMDNAMES") v.text = cmdNames();
    else if (name == "CMDACTIVE") v.integer = m_frames.empty() ? 0 : 1;
    else if (name == "DWGNAME" && doc) v.text = doc->docTitle();
    else if (name == "REFEDITNAME" && doc) v.text = doc->refEditName;
    else if (name == "DWGPREFIX" && doc) {
      fs::path p(doc->fileName());
      std::string folder = p.has_parent_path() ? p.parent_path().string()
                                               : fs::current_path().string();
      v.text = folder.empty() || folder.back() == '/' ? folder : folder + "/";
    } else if (name == "DWGTITLED" && doc) v.integer = fs::path(doc->fileName()).has_parent_path();
    else if (name == "DBMOD" && doc) v.integer = doc->modified() ? 1 : 0;
    else if (name == "UCSORG" && doc) v.pt = doc->ucs.origin;
    else if (name == "UCSXDIR" && doc) v.pt = DxGePoint3d::kOrigin + doc->ucs.x;
    else if (name == "UCSYDIR" && doc) v.pt = DxGePoint3d::kOrigin + doc->ucs.y;
    else if (name == "WORLDUCS" && doc) v.integer = doc->ucs.isWorld() ? 1 : 0;
    else if (name == "DIMSTYLE" && db) v.text = recordName(db->dimstyle());
    else if (name == "UNDOCTL" && doc)
      v.integer = (doc->undo.enabled ? 1 : 0) | (doc->undo.autoMode ? 4 : 0) |
                  (doc->undo.groupOpen() ? 8 : 0);
    else if (name == "DATE") {
      double now = double(std::time(nullptr));
      v.real = 2440587.5 + now / 86400.0;
    } else if ((name == "VIEWCTR" || name == "VIEWSIZE") && db) {
      DxGePoint2d c;
      double h;
      if (viewport(db, c, h) || extentsView(db, c, h)) {
        if (name == "VIEWSIZE") v.real = h;
        else v.pt = {c.x, c.y, 0};
      }
    } else if ((name == "EXTMIN" || name == "EXTMAX") && db) {
      if (resbuf* rb = db->getHeaderVar(name.c_str())) {
        v = fromRb(rb, def->def.type);
        dxutRelRb(rb);
      }
    }
    return true;
  }
  if (def->flags & kVarDrawing) {
    if (!db) return true;
    if (name == "CLAYER") {
      v.text = recordName(db->clayer());
      return true;
    }
    if (name == "TEXTSTYLE") {
      v.text = recordName(db->textstyle());
      return true;
    }
    if (name == "CELTYPE") {
      v.text = recordName(db->celtype());
      if (v.text.empty()) v.text = "ByLayer";
      return true;
    }
    if (name == "CECOLOR") {
      DxCmColor c = db->cecolor();
      v.text = c.isByLayer() ? "BYLAYER" : c.isByBlock() ? "BYBLOCK" : std::to_string(c.colorIndex());
      return true;
    }
    if (resbuf* rb = db->getHeaderVar(name.c_str())) {
      v = fromRb(rb, def->def.type);
      dxutRelRb(rb);
      return true;
    }
    auto it = doc->vars.find(name);
    if (it != doc->vars.end()) v = it->second;
    return true;
  }
  auto it = m_sessionVars.find(name);
  if (it != m_sessionVars.end()) v = it->second;
  return true;
}

int Session::setVar(const std::string& nameIn, const VarValue& in, std::string* why) {
  auto fail = [&](const std::string& msg) {
    if (why) *why = msg;
    return RTERROR;
  };
  const VarDef* def = findVar(nameIn);
  if (!def) return fail("Unknown variable name.");
  const std::string& name = def->name;
  if (def->flags & kVarReadOnly) return fail("** That variable is read only **");
  VarValue v = def->def;
  // Integers, reals and points convert where a CAD host converts them.
  switch (def->def.type) {
    case RTSHORT:
    case RTLONG:
      if (in.type == RTSHORT || in.type == RTLONG) v.integer = in.integer;
      else if (in.type == RTREAL && in.real == std::floor(in.real)) v.integer = int64_t(in.real);
      else return fail("Requires an integer value.");
      if (def->lo <= def->hi && (v.integer < def->lo || v.integer > def->hi))
        return fail("Value out of range.");
      if (def->def.type == RTSHORT && (v.integer < -32768 || v.integer > 32767))
        return fail("Value out of range.");
      break;
    case RTREAL:
      if (in.type == RTREAL) v.real = in.real;
      else if (in.type == RTSHORT || in.type == RTLONG) v.real = double(in.integer);
      else return fail("Requires a number.");
      if (!std::isfinite(v.real)) return fail("Requires a number.");
      if ((def->flags & kVarPositive) && !(v.real > 0)) return fail("Requires a value greater than 0.");
      break;
    case RTPOINT:
    case RT3DPOINT:
      if (in.type != RTPOINT && in.type != RT3DPOINT) return fail("Requires a point.");
      v.pt = in.pt;
      if (def->def.type == RTPOINT) v.pt.z = 0;
      break;
    default:
      if (in.type != RTSTR) return fail("Requires a text value.");
      v.text = in.text;
  }
  for (auto* r : std::vector(editorReactors)) r->sysVarWillChange(name.c_str());
  int result = RTNORM;
  Document* doc = m_current;
  DxDbDatabase* db = doc ? doc->database() : nullptr;
  if ((def->flags & kVarDrawing) && db) {
    auto setRecord = [&](DxDbObjectId tableId, const char* what,
                         Dxad::ErrorStatus (DxDbDatabase::*set)(DxDbObjectId)) {
      DxDbObjectId id = findRecord(tableId, v.text);
      if (id.isNull()) {
        if (why) *why = std::string("Cannot find ") + what + " \"" + v.text + "\".";
        return RTERROR;
      }
      return (db->*set)(id) == Dxad::eOk ? RTNORM : RTERROR;
    };
    if (name == "CLAYER") result = setRecord(db->layerTableId(), "layer", &DxDbDatabase::setClayer);
    else if (name == "TEXTSTYLE")
      result = setRecord(db->textStyleTableId(), "text style", &DxDbDatabase::setTextstyle);
    else if (name == "CELTYPE")
      result = setRecord(db->linetypeTableId(), "linetype", &DxDbDatabase::setCeltype);
    else if (name == "CECOLOR") {
      std::string u = upper(v.text);
      DxCmColor c;
      if (u == "BYLAYER") c.setColorMethod(DxCmColor::kByLayer);
      else if (u == "BYBLOCK") c.setColorMethod(DxCmColor::kByBlock);
      else {
        char* end = nullptr;
        long idx = std::strtol(v.text.c_str(), &end, 10);
        // Refused after sysVarWillChange went out: sysVarChanged must still follow.
        if (!end || *end || idx < 1 || idx > 255) {
          if (why) *why = "Invalid color.";
          result = RTERROR;
        }
        c = DxCmColor::byACI(int16_t(idx));
      }
      if (result == RTNORM) result = db->setCecolor(c) == Dxad::eOk ? RTNORM : RTERROR;
    } else {
      resbuf rb{};
      rb.restype = short(v.type);
      switch (v.type) {
        case RTSHORT: rb.resval.rint = short(v.integer); break;
        case RTLONG: rb.resval.rlong = int32_t(v.integer); break;
        case RTREAL: rb.resval.rreal = v.real; break;
        case RTSTR: rb.resval.rstring = const_cast<char*>(v.text.c_str()); break;
        default:
          rb.resval.rpoint[0] = v.pt.x, rb.resval.rpoint[1] = v.pt.y, rb.resval.rpoint[2] = v.pt.z;
      }
      if (db->setHeaderVar(name.c_str(), &rb) != Dxad::eOk) doc->vars[name] = v;
    }
  } else {
    m_sessionVars[name] = v;
  }
  for (auto* r : std::vector(editorReactors)) r->sysVarChanged(name.c_str(), result == RTNORM);
  return result;
}

int Session::getInt(const char* name) const {
  VarValue v;
  return getVar(name, v) ? int(v.type == RTREAL ? v.real : v.integer) : 0;
}

double Session::getReal(const char* name) const {
  VarValue v;
  return getVar(name, v) ? (v.type == RTREAL ? v.real : double(v.integer)) : 0.0;
}

}  // namespace dx::ed

int dxedGetVar(const char* name, resbuf* result) {
  auto& s = dx::ed::Session::get();
  s.init();
  dx::ed::VarValue v;
  if (!name || !result || !s.getVar(name, v)) return RTERROR;
  result->restype = short(v.type);
  switch (v.type) {
    case RTSHORT: result->resval.rint = short(v.integer); break;
    case RTLONG: result->resval.rlong = int32_t(v.integer); break;
    case RTREAL: result->resval.rreal = v.real; break;
    case RTSTR: result->resval.rstring = strdup(v.text.c_str()); break;
    default:
      result->resval.rpoint[0] = v.pt.x;
      result->resval.rpoint[1] = v.pt.y;
      result->resval.rpoint[2] = v.pt.z;
  }
  return RTNORM;
}

int dxedSetVar(const char* name, const resbuf* value) {
  auto& s = dx::ed::Session::get();
  s.init();
  if (!name || !value) return RTERROR;
  dx::ed::VarValue v;
  v.type = value->restype;
  switch (value->restype) {
    case RTSHORT: v.integer = value->resval.rint; break;
    case RTLONG: v.integer = value->resval.rlong; break;
    case RTREAL:
    case RTANG: v.type = RTREAL; v.real = value->resval.rreal; break;
    case RTSTR: v.text = value->resval.rstring ? value->resval.rstring : ""; break;
    case RTPOINT:
    case RT3DPOINT:
      v.pt = {value->resval.rpoint[0], value->resval.rpoint[1],
              value->restype == RT3DPOINT ? value->resval.rpoint[2] : 0.0};
      break;
    default: return RTERROR;
  }
  std::string why;
  int rc = s.setVar(name, v, &why);
  return rc;
}
