// DxEdJig on a host without a screen: a drag is one prompt, and its answer is the one
// sample that the drag accepts.
#include <sstream>

#include "host/editor/core/session.h"
#include "host/editor/text_utils.h"

namespace {

// Position of a keyword, in the form dxedGetInput gives it, in a dxedInitGet list.
int keywordIndex(const std::string& list, const std::string& kw) {
  std::istringstream in(list);
  std::vector<std::string> local, global;
  bool inGlobal = false;
  for (std::string w; in >> w;) {
    if (!inGlobal && w[0] == '_') {
      inGlobal = true;
      w.erase(0, 1);
      if (w.empty()) continue;
    }
    (inGlobal ? global : local).push_back(w);
  }
  const auto& names = global.empty() ? local : global;
  for (size_t i = 0; i < names.size(); ++i)
    if (dx::ed::iequals(names[i], kw)) return int(i);
  return -1;
}

void toPoint(const DxGePoint3d& p, dx_point out) {
  out[0] = p.x;
  out[1] = p.y;
  out[2] = p.z;
}

}  // namespace

int DxEdJig::initGet() const {
  int flags = 0;
  if (!(m_controls & kNullResponseAccepted)) flags |= RSG_NONULL;
  if (m_controls & kNoZeroResponseAccepted) flags |= RSG_NOZERO;
  if (m_controls & kNoNegativeResponseAccepted) flags |= RSG_NONEG;
  if (m_controls & kNoDwgLimitsChecking) flags |= RSG_NOLIM;
  return flags;
}

DxEdJig::DragStatus DxEdJig::statusOf(int rc) {
  switch (rc) {
    case RTNORM: return kNormal;
    case RTNONE: return kNull;
    case RTCAN: return kCancel;
    case RTKWORD: {
      char kw[512] = "";
      dxedGetInput(kw, sizeof kw);
      int i = keywordIndex(m_keywords, kw);
      return i >= 0 && i < 9 ? DragStatus(kKW1 + i) : kOther;
    }
    default: return kOther;
  }
}

DxEdJig::DragStatus DxEdJig::drag() {
  DragStatus s = sampler();
  if (s != kNormal && s != kNoChange) return s;
  return update() ? kNormal : kOther;
}

DxDbObjectId DxEdJig::append() {
  DxDbObjectId id;
  DxDbEntity* ent = entity();
  dx::ed::Document* doc = dx::ed::Session::get().current();
  if (!ent || !doc) return id;
  DxDbBlockTableRecord* space = nullptr;
  if (dxdbOpenObject(space, doc->database()->currentSpaceId(), DxDb::kForWrite) != Dxad::eOk) return id;
  if (space->appendDxDbEntity(id, ent) == Dxad::eOk) ent->close();
  else id = DxDbObjectId();
  space->close();
  return id;
}

DxEdJig::DragStatus DxEdJig::acquire(Value kind, const DxGePoint3d* base, double out[3]) {
  dxedInitGet(initGet(), m_keywords.c_str());
  dx_point b;
  if (base) toPoint(dx::ed::worldToUcs(*base), b);
  const double* from = base ? b : nullptr;
  const char* prompt = m_prompt.c_str();
  int rc = kind == Value::Point  ? dxedGetPoint(from, prompt, out)
           : kind == Value::Dist ? dxedGetDist(from, prompt, &out[0])
                                 : dxedGetAngle(from, prompt, &out[0]);
  DragStatus s = statusOf(rc);
  if (s == kNormal && kind == Value::Point) toPoint(dx::ed::ucsToWorld(DxGePoint3d(out[0], out[1], out[2])), out);
  return s;
}

namespace {

DxEdJig::DragStatus take(DxEdJig::DragStatus s, const double* v, DxGePoint3d& point) {
  if (s == DxEdJig::kNormal) point = DxGePoint3d(v[0], v[1], v[2]);
  return s;
}
DxEdJig::DragStatus take(DxEdJig::DragStatus s, const double* v, double& value) {
  if (s == DxEdJig::kNormal) value = v[0];
  return s;
}

}  // namespace

DxEdJig::DragStatus DxEdJig::acquirePoint(DxGePoint3d& point) {
  double v[3];
  return take(acquire(Value::Point, nullptr, v), v, point);
}
DxEdJig::DragStatus DxEdJig::acquirePoint(DxGePoint3d& point, const DxGePoint3d& base) {
  double v[3];
  return take(acquire(Value::Point, &base, v), v, point);
}
DxEdJig::DragStatus DxEdJig::acquireDist(double& dist) {
  double v[3];
  return take(acquire(Value::Dist, nullptr, v), v, dist);
}
DxEdJig::DragStatus DxEdJig::acquireDist(double& dist, const DxGePoint3d& base) {
  double v[3];
  return take(acquire(Value::Dist, &base, v), v, dist);
}
DxEdJig::DragStatus DxEdJig::acquireAngle(double& angle) {
  double v[3];
  return take(acquire(Value::Angle, nullptr, v), v, angle);
}
DxEdJig::DragStatus DxEdJig::acquireAngle(double& angle, const DxGePoint3d& base) {
  double v[3];
  return take(acquire(Value::Angle, &base, v), v, angle);
}
