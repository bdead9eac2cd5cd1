#include "host/editor/sysvar_table.h"

#include <algorithm>
#include <map>

#include "host/editor/text_utils.h"
#include "hostapi/db.h"

namespace dx::ed {
namespace {

VarValue S(int v) { VarValue r; r.type = RTSHORT; r.integer = v; return r; }
VarValue R(double v) { VarValue r; r.type = RTREAL; r.real = v; return r; }
VarValue T(const char* v) { VarValue r; r.type = RTSTR; r.text = v; return r; }
VarValue P2(double x, double y) { VarValue r; r.type = RTPOINT; r.pt = {x, y, 0}; return r; }
VarValue P3(double x, double y, double z) {
  VarValue r; r.type = RT3DPOINT; r.pt = {x, y, z}; return r;
}

constexpr unsigned D = kVarDrawing, POS = kVarPositive, RO = kVarReadOnly, C = kVarComputed | kVarReadOnly;

std::vector<VarDef> buildTable() {
  // Defaults are those of an imperial default drawing; a drawing's header wins.
  std::vector<VarDef> t = {
      {"ACADVER", T("24.3"), RO},
      {"ANGBASE", R(0), D},
      {"APERTURE", S(10), 0, 1, 50},
      {"ANGDIR", S(0), D, 0, 1},
      {"ATTDIA", S(0), 0, 0, 1},
      {"ATTMODE", S(1), D, 0, 2},
      {"ATTREQ", S(1), 0, 0, 1},
      {"AUNITS", S(0), D, 0, 4},
      {"AUPREC", S(0), D, 0, 8},
      {"BLIPMODE", S(0), 0, 0, 1},
      {"CECOLOR", T("BYLAYER"), D},
      {"CELTSCALE", R(1), D | POS},
      {"CELTYPE", T("BYLAYER"), D},
      {"CELWEIGHT", S(-1), D, -3, 211},
      {"CHAMFERA", R(0), D},
      {"CLAYER", T("0"), D},
      {"CMDACTIVE", S(0), C},
      {"CMDDIA", S(1), 0, 0, 1},
      {"CMDECHO", S(1), 0, 0, 1},
      {"CMDNAMES", T(""), C},
      {"CTAB", T("Model"), C},
      {"DATE", R(0), C},
      {"DBMOD", S(0), C},
      {"DELOBJ", S(1), D, -2, 2},
      {"DIMASZ", R(0.18), D},
      {"DIMSCALE", R(1), D},
      {"DIMSTYLE", T("Standard"), C},
      {"DIMTXT", R(0.18), D},
      {"DIMZIN", S(0), D, 0, 15},
      {"DRAGMODE", S(2), 0, 0, 2},
      {"DWGNAME", T("Drawing1.dxf"), C},
      {"DWGPREFIX", T(""), C},
      {"DWGTITLED", S(0), C},
      {"ERRNO", S(0), 0},
      {"EXPERT", S(0), 0, 0, 5},
      {"EXPLMODE", S(1), 0, 0, 1},
      {"EXTMAX", P3(-1e20, -1e20, -1e20), C},
      {"EXTMIN", P3(1e20, 1e20, 1e20), C},
      {"FILEDIA", S(1), 0, 0, 1},
      {"FILLETRAD", R(0), D},
      {"FILLMODE", S(1), D, 0, 1},
      {"GRIDMODE", S(0), 0, 0, 1},
      {"HIGHLIGHT", S(1), 0, 0, 1},
      {"HPGAPTOL", R(0), 0},
      {"INSBASE", P3(0, 0, 0), D},
      {"INSNAME", T(""), 0},
      {"INSUNITS", S(0), D, 0, 24},
      {"LASTPOINT", P3(0, 0, 0), 0},
      {"LIMCHECK", S(0), D, 0, 1},
      {"LIMMAX", P2(12, 9), D},
      {"LIMMIN", P2(0, 0), D},
      {"LOCALE", T("en"), RO},
      {"LTSCALE", R(1), D | POS},
      {"LUNITS", S(2), D, 1, 5},
      {"LUPREC", S(4), D, 0, 8},
      {"LWDISPLAY", S(0), 0, 0, 1},
      {"MAXSORT", S(1000), 0, 0, 32767},
      {"MEASUREINIT", S(0), 0, 0, 1},
      {"MEASUREMENT", S(0), D, 0, 1},
      {"MIRRTEXT", S(0), D, 0, 1},
      {"NOMUTT", S(0), 0, 0, 1},
      {"OFFSETDIST", R(-1), 0},
      {"ORTHOMODE", S(0), D, 0, 1},
      {"OSMODE", S(0), 0, 0, 32767},  // no running snaps until a script asks for them
      {"OSNAPCOORD", S(2), 0, 0, 2},
      {"PDMODE", S(0), D},
      {"PDSIZE", R(0), D},
      {"PEDITACCEPT", S(0), 0, 0, 1},
      {"PICKADD", S(1), 0, 0, 2},
      {"PICKAUTO", S(1), 0, 0, 3},
      {"PICKBOX", S(3), 0, 0, 50},
      {"PICKFIRST", S(1), 0, 0, 1},
      {"PICKSTYLE", S(1), 0, 0, 3},
      {"PLINEGEN", S(0), D, 0, 1},
      {"PLINETYPE", S(2), 0, 0, 2},
      {"PLINEWID", R(0), D},
      {"PROXYNOTICE", S(1), 0, 0, 1},
      {"QAFLAGS", S(0), 0, 0, 32767},
      {"REFEDITNAME", T(""), C},
      {"REGENMODE", S(1), D, 0, 1},
      {"SCREENSIZE", P2(1280, 800), RO},
      {"SDI", S(0), 0, 0, 3},
      {"SNAPMODE", S(0), D, 0, 1},
      {"TEXTEVAL", S(0), 0, 0, 1},
      {"TEXTSIZE", R(0.2), D},
      {"TEXTSTYLE", T("Standard"), D},
      {"THICKNESS", R(0), D},
      {"TILEMODE", S(1), D, 0, 1},
      {"UCSNAME", T(""), C},
      {"UCSORG", P3(0, 0, 0), C},
      {"UCSXDIR", P3(1, 0, 0), C},
      {"UCSYDIR", P3(0, 1, 0), C},
      {"UNDOCTL", S(5), C},
      {"VIEWCTR", P3(6.2, 4.5, 0), C},
      {"VIEWDIR", P3(0, 0, 1), C},
      {"VIEWSIZE", R(9), C},
      {"WORLDUCS", S(1), C},
  };
  std::sort(t.begin(), t.end(), [](const VarDef& a, const VarDef& b) { return a.name < b.name; });
  return t;
}

}  // namespace

const std::vector<VarDef>& sysvarTable() {
  static const std::vector<VarDef> table = buildTable();
  return table;
}

const VarDef* findVar(std::string_view name) {
  std::string key = upper(name);
  const auto& t = sysvarTable();
  auto it = std::lower_bound(t.begin(), t.end(), key,
                             [](const VarDef& d, const std::string& k) { return d.name < k; });
  return it != t.end() && it->name == key ? &*it : nullptr;
}

std::string formatVarValue(const VarValue& v) {
  switch (v.type) {
    case RTSHORT:
    case RTLONG: return std::to_string(v.integer);
    case RTREAL: return formatDistance(v.real, 2, 4, 8);
    case RTPOINT: return formatDistance(v.pt.x, 2, 4, 8) + "," + formatDistance(v.pt.y, 2, 4, 8);
    case RT3DPOINT: return formatPoint(v.pt);
    default: return "\"" + v.text + "\"";
  }
}

bool parseVarValue(const VarDef& def, std::string_view text, VarValue& out, std::string& why) {
  out = def.def;
  switch (def.def.type) {
    case RTSHORT:
    case RTLONG: {
      double d;
      if (!parseDistance(text, d) || d != double(int64_t(d))) {
        why = "Requires an integer value.";
        return false;
      }
      int64_t lo = def.lo, hi = def.hi;
      if (def.def.type == RTSHORT && lo > hi) lo = -32768, hi = 32767;
      if (lo <= hi && (d < double(lo) || d > double(hi))) {
        why = "Requires an integer between " + std::to_string(lo) + " and " + std::to_string(hi) + ".";
        return false;
      }
      out.integer = int64_t(d);
      return true;
    }
    case RTREAL:
      if (!parseDistance(text, out.real)) {
        why = "Requires a number.";
        return false;
      }
      if ((def.flags & kVarPositive) && !(out.real > 0)) {
        why = "Requires a value greater than 0.";
        return false;
      }
      return true;
    case RTPOINT:
    case RT3DPOINT:
      if (!parsePoint(text, std::nullopt, out.pt)) {
        why = "Requires a point.";
        return false;
      }
      if (def.def.type == RTPOINT) out.pt.z = 0;
      return true;
    default:
      out.text = std::string(text);
      return true;
  }
}

}  // namespace dx::ed
