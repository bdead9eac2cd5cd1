// Prompts: every dxedGet* function reads one answer of the input model, checks it
// against the dxedInitGet flags and keywords, and asks again after a wrong answer.
#include <cmath>
#include <cstring>
#include <filesystem>

#include "host/editor/core/session.h"

namespace fs = std::filesystem;

namespace dx::ed {
namespace {

InitGet parseKeywords(int flags, const char* text) {
  InitGet ig;
  ig.flags = flags;
  if (!text) return ig;
  std::vector<std::string> local, global;
  bool inGlobal = false;
  for (const Answer& w : tokenizeLine(text)) {
    if (w.kind != Answer::Text) continue;
    std::string t = w.text;
    if (!inGlobal && t[0] == '_') {
      inGlobal = true;
      t.erase(0, 1);
      if (t.empty()) continue;
    }
    (inGlobal ? global : local).push_back(t);
  }
  for (size_t i = 0; i < local.size(); ++i)
    ig.keywords.emplace_back(local[i], i < global.size() ? global[i] : local[i]);
  return ig;
}

// "eXit": X, x, ex, exit match (all capitals covered, or the capitals alone); "e" does not.
bool keywordMatches(const std::string& kw, const std::string& in) {
  if (in.empty()) return false;
  if (iequals(kw, in)) return true;
  std::string caps;
  size_t lastCap = 0;
  for (size_t i = 0; i < kw.size(); ++i)
    if (std::isupper(static_cast<unsigned char>(kw[i]))) {
      caps += kw[i];
      lastCap = i + 1;
    }
  if (caps.empty()) return false;
  if (iequals(caps, in)) return true;
  return in.size() >= lastCap && in.size() <= kw.size() && iequals(kw.substr(0, in.size()), in) &&
         kw.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") < in.size();
}

}  // namespace

// The keyword an answer names (global form), or "".
std::string matchKeyword(const InitGet& ig, const Answer& a) {
  if (a.kind != Answer::Text || a.quoted || a.text.empty()) return "";
  std::string in = a.text;
  bool global = in[0] == '_';
  if (global) in.erase(0, 1);
  for (auto& [local, glob] : ig.keywords)
    if (keywordMatches(global ? glob : local, in)) return glob;
  // A global name typed without "_" still works when no local name took it.
  for (auto& [local, glob] : ig.keywords)
    if (keywordMatches(glob, in)) return glob;
  return "";
}

namespace {

Session& S() {
  Session& s = Session::get();
  s.init();
  return s;
}

void say(const std::string& msg) { output().message(msg); }

std::optional<DxGePoint3d> lastUcsPoint() {
  Document* doc = S().current();
  if (!doc || !doc->lastPoint) return std::nullopt;
  return worldToUcs(*doc->lastPoint);
}

void rememberPoint(const DxGePoint3d& ucs) {
  if (Document* doc = S().current()) doc->lastPoint = ucsToWorld(ucs);
}

// Common shape of the numeric prompts.
enum class Kind { Int, Real, Dist, Angle, Orient };

int askNumber(Kind kind, const dx_point base, const char* prompt, double& out) {
  Session& s = S();
  InitGet ig = s.takeInitGet();
  std::string p = prompt ? prompt : "";
  std::optional<DxGePoint3d> basePt;
  if (base) basePt = DxGePoint3d(base[0], base[1], base[2]);
  for (;;) {
    Answer a = s.ask(p);
    if (a.kind == Answer::Cancel) return RTCAN;
    if (a.isEmpty()) {
      if (ig.flags & RSG_NONULL) {
        say("\nRequires a value.\n");
        continue;
      }
      return RTNONE;
    }
    double v = 0;
    bool ok = false;
    if (a.kind == Answer::Int) v = double(a.integer), ok = true;
    else if (a.kind == Answer::Real) v = a.real, ok = true;
    else if (a.kind == Answer::Point || a.kind == Answer::Text) {
      std::string kw = matchKeyword(ig, a);
      if (!kw.empty()) {
        s.lastInput = kw;
        return RTKWORD;
      }
      DxGePoint3d pt;
      bool isPoint = a.kind == Answer::Point;
      if (isPoint) pt = a.pt;
      else if (kind == Kind::Int || kind == Kind::Real) ok = parseDistance(a.text, v);
      else if (kind == Kind::Dist) ok = parseDistance(a.text, v);
      else ok = parseAngle(a.text, s.getInt("AUNITS"), v);
      if (!ok && kind != Kind::Int && kind != Kind::Real && !isPoint)
        isPoint = parsePoint(a.text, lastUcsPoint(), pt);
      if (isPoint && kind != Kind::Int && kind != Kind::Real) {
        DxGePoint3d from;
        if (basePt) {
          from = *basePt;
        } else {
          from = pt;
          dx_point fp = {pt.x, pt.y, pt.z}, second;
          int rc = dxedGetPoint(fp, "\nSpecify second point: ", second);
          if (rc != RTNORM) return rc == RTNONE ? RTNONE : rc;
          pt = DxGePoint3d(second[0], second[1], second[2]);
        }
        if (kind == Kind::Dist) {
          v = (ig.flags & RSG_GETZ) ? pt.distanceTo(from) : std::hypot(pt.x - from.x, pt.y - from.y);
        } else {
          v = std::atan2(pt.y - from.y, pt.x - from.x);
        }
        ok = true;
        if (kind == Kind::Angle) v -= s.getReal("ANGBASE");
      } else if (ok && kind == Kind::Angle) {
        // Typed angles count from ANGBASE already.
      }
      if (!ok && (ig.flags & RSG_OTHER) && a.kind == Answer::Text) {
        s.lastInput = a.text;
        return RTKWORD;
      }
    }
    if (!ok) {
      say(kind == Kind::Int ? "\nRequires an integer value.\n"
          : kind == Kind::Real ? "\nRequires numeric value.\n"
          : kind == Kind::Dist ? "\nRequires numeric distance or two points.\n"
                               : "\nRequires valid numeric angle or second point.\n");
      continue;
    }
    if (kind == Kind::Int && (v != std::floor(v) || v < -32768 || v > 32767)) {
      say("\nRequires an integer between -32768 and 32767.\n");
      continue;
    }
    if ((ig.flags & RSG_NOZERO) && v == 0) {
      say("\nValue must be nonzero.\n");
      continue;
    }
    if ((ig.flags & RSG_NONEG) && v < 0) {
      say("\nValue must be positive.\n");
      continue;
    }
    if (kind == Kind::Angle || kind == Kind::Orient) {
      v = std::fmod(v, 2 * M_PI);
      if (v < 0) v += 2 * M_PI;
    }
    out = v;
    return RTNORM;
  }
}

}  // namespace

int askPoint(const std::string& prompt, const DxGePoint3d* base, DxGePoint3d& p,
             const std::string& keywords, std::string* kw, int flags) {
  dxedInitGet(flags, keywords.c_str());
  dx_point b = {0, 0, 0}, r;
  if (base) b[0] = base->x, b[1] = base->y, b[2] = base->z;
  int rc = dxedGetPoint(base ? b : nullptr, prompt.c_str(), r);
  if (rc == RTNORM) p = DxGePoint3d(r[0], r[1], r[2]);
  if (rc == RTKWORD && kw) *kw = S().lastInput;
  return rc;
}

int askKeyword(const std::string& prompt, const std::string& keywords, std::string& kw, int flags) {
  dxedInitGet(flags, keywords.c_str());
  char buf[512];
  int rc = dxedGetKword(prompt.c_str(), buf, sizeof buf);
  if (rc == RTNORM) kw = buf;
  return rc;
}

int askString(const std::string& prompt, std::string& out, bool spaces) {
  char buf[2049];
  int rc = dxedGetString(spaces, prompt.c_str(), buf, sizeof buf);
  if (rc == RTNORM) out = buf;
  return rc;
}

int askReal(const std::string& prompt, double& v, int flags) {
  dxedInitGet(flags, nullptr);
  return dxedGetReal(prompt.c_str(), &v);
}

int askAngle(const std::string& prompt, const DxGePoint3d* base, double& v, int flags) {
  dxedInitGet(flags, nullptr);
  dx_point b = {0, 0, 0};
  if (base) b[0] = base->x, b[1] = base->y, b[2] = base->z;
  return dxedGetAngle(base ? b : nullptr, prompt.c_str(), &v);
}

}  // namespace dx::ed

using namespace dx::ed;

int dxedInitGet(int flags, const char* keywords) {
  S().setInitGet(parseKeywords(flags, keywords));
  return RTNORM;
}

int dxedGetPoint(const dx_point base, const char* prompt, dx_point result) {
  Session& s = S();
  InitGet ig = s.takeInitGet();
  std::string p = prompt ? prompt : "";
  int override = -1;  // snap modes typed for this point
  for (;;) {
    Answer a = s.ask(override >= 0 ? "\nof " : p);
    if (a.kind == Answer::Cancel) return RTCAN;
    if (a.isEmpty()) {
      if (ig.flags & RSG_NONULL) {
        say("\nPoint or option keyword required.\n");
        continue;
      }
      return RTNONE;
    }
    DxGePoint3d pt;
    bool ok = false;
    if (a.kind == Answer::Point) {
      pt = a.pt;
      ok = true;
    } else if (a.kind == Answer::Text) {
      std::string kw = matchKeyword(ig, a);
      if (!kw.empty()) {
        s.lastInput = kw;
        return RTKWORD;
      }
      if (!a.quoted && !(ig.flags & RSG_NOOSNAP) && override < 0) {
        override = osnapModes(a.text);
        if (override >= 0) continue;
      }
      ok = parsePoint(a.text, lastUcsPoint(), pt);
      if (!ok && (ig.flags & RSG_OTHER)) {
        s.lastInput = a.text;
        return RTKWORD;
      }
    }
    if (!ok) {
      say(ig.keywords.empty() ? "\nInvalid point.\n" : "\nPoint or option keyword required.\n");
      continue;
    }
    // Running snaps apply to points from scripts and command calls, not to coordinates
    // typed at the keyboard (OSNAPCOORD 2); an override applies to any point.
    int osnapCoord = s.getInt("OSNAPCOORD");
    bool running = !(ig.flags & RSG_NOOSNAP) && (osnapCoord == 0 || (osnapCoord == 2 && !a.shown));
    int modes = override >= 0 ? override : running ? s.getInt("OSMODE") : 0;
    DxGePoint3d snapped;
    if (modes > 0 && osnapPoint(ucsToWorld(pt), modes, snapped)) {
      pt = worldToUcs(snapped);
    } else if (override > 0) {
      say("\nNo snap point found within the aperture.\n");
      override = -1;
      continue;
    }
    override = -1;
    if (ig.flags & RSG_2D) pt.z = 0;
    rememberPoint(pt);
    result[0] = pt.x, result[1] = pt.y, result[2] = pt.z;
    return RTNORM;
  }
}

int dxedGetCorner(const dx_point base, const char* prompt, dx_point result) {
  return dxedGetPoint(base, prompt, result);
}

int dxedGetInt(const char* prompt, int* result) {
  double v;
  int rc = askNumber(Kind::Int, nullptr, prompt, v);
  if (rc == RTNORM && result) *result = int(v);
  return rc;
}

int dxedGetReal(const char* prompt, double* result) {
  double v;
  int rc = askNumber(Kind::Real, nullptr, prompt, v);
  if (rc == RTNORM && result) *result = v;
  return rc;
}

int dxedGetDist(const dx_point base, const char* prompt, double* result) {
  double v;
  int rc = askNumber(Kind::Dist, base, prompt, v);
  if (rc == RTNORM && result) *result = v;
  return rc;
}

int dxedGetAngle(const dx_point base, const char* prompt, double* result) {
  double v;
  int rc = askNumber(Kind::Angle, base, prompt, v);
  if (rc == RTNORM && result) *result = v;
  return rc;
}

int dxedGetOrient(const dx_point base, const char* prompt, double* result) {
  double v;
  int rc = askNumber(Kind::Orient, base, prompt, v);
  if (rc == RTNORM && result) *result = v;
  return rc;
}

namespace {
int copyOut(const std::string& s, char* result, size_t len) {
  if (!result || len == 0) return RTERROR;
  if (s.size() >= len) {
    std::memcpy(result, s.data(), len - 1);
    result[len - 1] = 0;
    return RTINPUTTRUNCATED;
  }
  std::memcpy(result, s.c_str(), s.size() + 1);
  return RTNORM;
}
}  // namespace

int dxedGetString(int cronly, const char* prompt, char* result, size_t bufLen) {
  Session& s = S();
  s.takeInitGet();
  Answer a = s.ask(prompt ? prompt : "");
  if (a.kind == Answer::Cancel) return RTCAN;
  std::string text;
  switch (a.kind) {
    case Answer::Text: text = a.text; break;
    case Answer::Point: text = formatPoint(a.pt); break;
    case Answer::Real: text = formatDistance(a.real, 2, 6, 8); break;
    case Answer::Int: text = std::to_string(a.integer); break;
    default: break;
  }
  if (!cronly) {
    size_t sp = text.find(' ');
    if (sp != std::string::npos) text.resize(sp);
  }
  return copyOut(text, result, bufLen);
}

int dxedGetKword(const char* prompt, char* result, size_t bufLen) {
  Session& s = S();
  InitGet ig = s.takeInitGet();
  for (;;) {
    Answer a = s.ask(prompt ? prompt : "");
    if (a.kind == Answer::Cancel) return RTCAN;
    if (a.isEmpty()) {
      if (ig.flags & RSG_NONULL) {
        say("\nInvalid option keyword.\n");
        continue;
      }
      return RTNONE;
    }
    std::string kw = matchKeyword(ig, a);
    if (kw.empty() && (ig.flags & RSG_OTHER) && a.kind == Answer::Text) kw = a.text;
    if (kw.empty()) {
      say("\nInvalid option keyword.\n");
      continue;
    }
    s.lastInput = kw;
    return copyOut(kw, result, bufLen);
  }
}

int dxedGetInput(char* result, size_t bufLen) { return copyOut(S().lastInput, result, bufLen); }

namespace {
void setErrno(int v) {
  VarValue e;
  e.type = RTSHORT;
  e.integer = v;
  Session::get().setVar("ERRNO", e);
}
}  // namespace

int dxedEntSel(const char* prompt, dx_name entity, dx_point pickPoint) {
  Session& s = S();
  InitGet ig = s.takeInitGet();
  setErrno(0);
  std::string p = prompt ? prompt : "\nSelect object: ";
  for (;;) {
    Answer a = s.ask(p);
    if (a.kind == Answer::Cancel) return RTCAN;
    if (a.isEmpty()) return RTERROR;  // ERRNO stays 0: the user ended the prompt
    if (a.kind == Answer::Name) {
      entity[0] = a.name[0], entity[1] = a.name[1];
      if (pickPoint) pickPoint[0] = pickPoint[1] = pickPoint[2] = 0;
      return RTNORM;
    }
    DxGePoint3d pt;
    bool isPoint = a.kind == Answer::Point;
    if (isPoint) pt = a.pt;
    if (a.kind == Answer::Text) {
      std::string kw = matchKeyword(ig, a);
      if (!kw.empty()) {
        s.lastInput = kw;
        return RTKWORD;
      }
      if (a.text[0] == '#') {
        DxDbObjectId id;
        Document* doc = s.current();
        if (doc) doc->database()->getObjectId(id, false, DxDbHandle(a.text.c_str() + 1));
        if (id.isNull() || id.isErased() || !id.objectClass() ||
            !id.objectClass()->isDerivedFrom(DxDbEntity::desc())) {
          setErrno(7);
          say("\nNo object with handle " + a.text.substr(1) + ".\n");
          return RTERROR;
        }
        dxdbIdToName(entity, id);
        if (pickPoint) pickPoint[0] = pickPoint[1] = pickPoint[2] = 0;
        return RTNORM;
      }
      isPoint = parsePoint(a.text, lastUcsPoint(), pt);
      if (!isPoint) {
        say("\nInvalid point.\n");
        continue;
      }
    }
    if (!isPoint) {
      say("\nInvalid selection.\n");
      continue;
    }
    DxDbObjectId hit = pickAt(ucsToWorld(pt));
    if (hit.isNull()) {
      setErrno(7);
      return RTERROR;
    }
    dxdbIdToName(entity, hit);
    if (pickPoint) pickPoint[0] = pt.x, pickPoint[1] = pt.y, pickPoint[2] = pt.z;
    return RTNORM;
  }
}

int dxedNEntSel(const char* prompt, dx_name entity, dx_point pickPoint, double xform[4][4],
                resbuf** refstkres) {
  int rc = dxedEntSel(prompt, entity, pickPoint);
  if (rc == RTNORM && xform)
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) xform[i][j] = i == j ? 1 : 0;
  if (refstkres) *refstkres = nullptr;
  return rc;
}

int dxedGetFileD(const char* title, const char* defawlt, const char* ext, int flags,
                 resbuf* result) {
  Session& s = S();
  if (!result) return RTERROR;
  std::string def = defawlt ? defawlt : "";
  std::string e = ext ? ext : "";
  std::string prompt = (flags & 16) && title ? std::string(title)
                       : "\nEnter file name" + (def.empty() ? std::string() : " <" + def + ">") + ": ";
  if (title && !(flags & 16) && *title) prompt = "\n" + std::string(title) + (def.empty() ? "" : " <" + def + ">") + ": ";
  for (;;) {
    s.takeInitGet();
    Answer a = s.ask(prompt);
    if (a.kind == Answer::Cancel) return RTCAN;
    std::string name = a.kind == Answer::Text ? a.text : "";
    if (name.empty()) name = def;
    if (name.empty()) return RTERROR;
    if (name == "~") continue;  // the dialog request: there is no dialog to show
    if (!e.empty() && !(flags & 4) && fs::path(name).extension().empty()) name += "." + e;
    std::error_code ec;
    bool exists = fs::exists(name, ec);
    if (!(flags & 1) && !exists) {
      say("\nCannot find file \"" + name + "\".\n");
      continue;
    }
    if ((flags & 1) && exists && !(flags & 32)) {
      std::string kw;
      int rc = askKeyword("\n" + name + " already exists. Replace it? [Yes/No] <N>: ", "Yes No", kw);
      if (rc == RTCAN) return RTCAN;
      if (kw != "Yes") continue;
    }
    result->restype = RTSTR;
    result->resval.rstring = strdup(name.c_str());
    return RTNORM;
  }
}
