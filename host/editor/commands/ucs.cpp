// UCS: origin with points on the X axis and in the XY plane, alignment to an object or
// to the view, rotation about an axis, World, Previous, and named coordinate systems.
#include <cmath>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

DxGeVector3d rotate(const DxGeVector3d& v, const DxGeVector3d& axis, double a) {
  return DxGeMatrix3d::rotation(a, axis) * v;
}

// The coordinate system with this origin, X along x and Z along z (x is made
// perpendicular to z); false when x lies along z.
bool axesFrom(const DxGePoint3d& origin, DxGeVector3d x, DxGeVector3d z, Ucs& out) {
  if (z.isZeroLength()) return false;
  z = z.normal();
  x = x - z * x.dotProduct(z);
  if (x.length() < 1e-10) return false;
  out.origin = origin;
  out.x = x.normal();
  out.y = z.crossProduct(out.x).normal();
  return true;
}

// The X axis of an object's coordinate system turned by an angle about its normal.
DxGeVector3d ocsXAxis(const DxGeVector3d& normal, double angle) {
  DxGeMatrix3d m = DxGeMatrix3d::planeToWorld(normal);
  return m * DxGeVector3d(std::cos(angle), std::sin(angle), 0);
}

// A UCS lined up with an entity, the way a CAD user expects for its kind: a line from
// its end nearer the pick, a circle from its centre towards the pick, an arc towards its
// nearer end, texts, blocks and points from their position and rotation, a polyline
// along its first segment.
bool alignToObject(DxDbObjectId id, const DxGePoint3d& pick, const Ucs& current, Ucs& out) {
  Opened<DxDbEntity> e(id, DxDb::kForRead);
  if (!e) return false;
  DxGeVector3d curZ = current.x.crossProduct(current.y).normal();
  if (auto* l = DxRxObject::cast<DxDbLine>(e.get())) {
    DxGePoint3d a = l->startPoint(), b = l->endPoint();
    if (pick.distanceTo(b) < pick.distanceTo(a)) std::swap(a, b);
    DxGeVector3d x = b - a, z = l->normal();
    return axesFrom(a, x, z, out) || axesFrom(a, x, curZ, out) ||
           axesFrom(a, x, x.crossProduct(DxGeVector3d::kXAxis).isZeroLength() ? DxGeVector3d::kYAxis
                                                                             : DxGeVector3d::kXAxis,
                    out);
  }
  if (auto* a = DxRxObject::cast<DxDbArc>(e.get())) {
    DxGePoint3d c = a->center();
    DxGeVector3d n = a->normal();
    DxGePoint3d s = c + ocsXAxis(n, a->startAngle()) * a->radius();
    DxGePoint3d t = c + ocsXAxis(n, a->endAngle()) * a->radius();
    return axesFrom(c, (pick.distanceTo(t) < pick.distanceTo(s) ? t : s) - c, n, out);
  }
  if (auto* c = DxRxObject::cast<DxDbCircle>(e.get())) {
    DxGeVector3d toPick = pick - c->center();
    return axesFrom(c->center(), toPick, c->normal(), out) ||
           axesFrom(c->center(), ocsXAxis(c->normal(), 0), c->normal(), out);
  }
  if (auto* t = DxRxObject::cast<DxDbText>(e.get()))
    return axesFrom(t->position(), ocsXAxis(t->normal(), t->rotation()), t->normal(), out);
  if (auto* m = DxRxObject::cast<DxDbMText>(e.get()))
    return axesFrom(m->location(), m->direction(), m->normal(), out);
  if (auto* r = DxRxObject::cast<DxDbBlockReference>(e.get()))
    return axesFrom(r->position(), ocsXAxis(r->normal(), r->rotation()), r->normal(), out);
  if (auto* p = DxRxObject::cast<DxDbPolyline>(e.get())) {
    if (p->numVerts() < 2) return false;
    DxGePoint3d a, b;
    p->getPointAt(0u, a);
    p->getPointAt(1u, b);
    return axesFrom(a, b - a, p->normal(), out);
  }
  if (auto* pt = DxRxObject::cast<DxDbPoint>(e.get()))
    return axesFrom(pt->position(), ocsXAxis(pt->normal(), 0), pt->normal(), out);
  return false;
}

// The view's direction and twist, from the active viewport record.
void viewDirection(DxGeVector3d& dir, double& twist) {
  dir = DxGeVector3d::kZAxis;
  twist = 0;
  Opened<DxDbSymbolTable> table(db()->viewportTableId(), DxDb::kForRead);
  DxDbObjectId id;
  if (!table || table->getIdAt("*Active", id) != Dxad::eOk) return;
  table.close();
  dx_name n;
  dxdbIdToName(n, id);
  resbuf* list = dxdbEntGet(n);
  for (const resbuf* rb = list; rb; rb = rb->rbnext) {
    if (rb->restype == 16) dir = DxGeVector3d(rb->resval.rpoint[0], rb->resval.rpoint[1], rb->resval.rpoint[2]);
    if (rb->restype == 51) twist = rb->resval.rreal;
  }
  if (list) dxutRelRb(list);
  if (dir.isZeroLength()) dir = DxGeVector3d::kZAxis;
}


// Each option either gives the next coordinate system (true) or ends the command,
// having said why or done all it does (false).

// Origin, then optionally a point on the X axis and one on the XY plane.
bool ucsByPoints(const Ucs& before, const DxGePoint3d& origin, Ucs& next) {
  next.origin = ucsToWorld(origin);
  DxGePoint3d onX;
  int rc = askPoint("\nSpecify point on X-axis or <Accept>: ", &origin, onX);
  if (rc == RTCAN) return false;
  if (rc != RTNORM) return true;
  DxGeVector3d x = ucsToWorld(onX) - next.origin;
  DxGeVector3d z = before.x.crossProduct(before.y).normal();
  if (x.isZeroLength()) {
    say("\nThe point is on the origin; the axes are kept.\n");
    return true;
  }
  DxGePoint3d onXY;
  rc = askPoint("\nSpecify point on the XY plane or <Accept>: ", &origin, onXY);
  if (rc == RTCAN) return false;
  // Three points: the plane through them, Y towards the third point.
  if (rc == RTNORM) {
    DxGeVector3d normal = x.crossProduct(ucsToWorld(onXY) - next.origin);
    if (normal.length() < 1e-10 * x.length())
      say("\nThe three points lie on one line; the XY plane is kept.\n");
    else
      z = normal;
  }
  if (!axesFrom(next.origin, x, z, next)) say("\nThe X axis is along the Z axis; the axes are kept.\n");
  return true;
}

bool ucsByObject(const Ucs& before, Ucs& next) {
  dx_name ent;
  dx_point pick;
  for (;;) {
    int rc = dxedEntSel("\nSelect object to align UCS: ", ent, pick);
    if (rc == RTNORM) break;
    resbuf err{};
    if (rc == RTERROR && dxedGetVar("ERRNO", &err) == RTNORM && err.resval.rint != 0) continue;
    return false;
  }
  DxDbObjectId id;
  dxdbGetObjectId(id, ent);
  if (!alignToObject(id, ucsToWorld(DxGePoint3d(pick[0], pick[1], pick[2])), before, next)) {
    say("\nCannot align the UCS to this object.\n");
    return false;
  }
  return true;
}

bool ucsByView(const Ucs& before, Ucs& next) {
  DxGeVector3d dir;
  double twist;
  viewDirection(dir, twist);
  // X runs left to right on the screen: across the view from the world Z axis (the
  // world X axis in a plan view), turned by the view's twist.
  DxGeVector3d x = DxGeVector3d::kZAxis.crossProduct(dir);
  if (x.length() < 1e-10) x = DxGeVector3d::kXAxis;
  x = rotate(x.normal(), dir.normal(), -twist);
  return axesFrom(before.origin, x, dir, next);
}

bool ucsRotated(const std::string& axisName, const Ucs& before, Ucs& next) {
  double a = M_PI / 2;
  dx_point zero = {0, 0, 0};
  int rc = dxedGetOrient(zero, ("\nSpecify rotation angle about " + axisName + " axis <90>: ").c_str(), &a);
  if (rc == RTCAN) return false;
  if (rc == RTNONE) a = M_PI / 2;
  DxGeVector3d z = before.x.crossProduct(before.y).normal();
  DxGeVector3d axis = axisName == "X" ? before.x : axisName == "Y" ? before.y : z;
  next.x = rotate(before.x, axis, a).normal();
  next.y = rotate(before.y, axis, a).normal();
  return true;
}

// Restore gives a saved system; Save stores the current one and ends.
bool ucsNamed(const Ucs& before, Ucs& next) {
  std::string opt;
  if (askKeyword("\nEnter an option [Restore/Save]: ", "Restore Save", opt) != RTNORM) return false;
  std::string name;
  if (askString("\nEnter name of UCS: ", name) != RTNORM || name.empty()) return false;
  DxDbDatabase* d = db();
  if (opt == "Restore") {
    DxDbObjectId id = findRecord(d->UCSTableId(), name);
    Opened<DxDbUCSTableRecord> rec(id, DxDb::kForRead);
    if (!rec) {
      say("\nCannot find UCS \"" + name + "\".\n");
      return false;
    }
    next.origin = rec->origin();
    next.x = rec->xAxis().normal();
    next.y = rec->yAxis().normal();
    return true;
  }
  Opened<DxDbSymbolTable> table(d->UCSTableId(), DxDb::kForWrite);
  if (!table) return false;
  DxDbObjectId id;
  if (table->getIdAt(name.c_str(), id) == Dxad::eOk) {
    table.close();
    Opened<DxDbUCSTableRecord> rec(id, DxDb::kForWrite);
    if (rec) rec->setOrigin(before.origin), rec->setXAxis(before.x), rec->setYAxis(before.y);
  } else {
    auto* rec = new DxDbUCSTableRecord();
    rec->setName(name.c_str());
    rec->setOrigin(before.origin);
    rec->setXAxis(before.x);
    rec->setYAxis(before.y);
    if (table->add(id, rec) == Dxad::eOk) rec->close();
    else delete rec;
  }
  return false;
}

}  // namespace

void cmdUcs() {
  Document* doc = session().current();
  if (!doc) return;
  Ucs before = doc->ucs;
  Ucs next = before;
  std::string kw;
  DxGePoint3d origin;
  int rc = askPoint(std::string("\nCurrent ucs name:  ") + (before.isWorld() ? "*WORLD*" : "*NO NAME*") +
                        "\nSpecify origin of UCS or [NAmed/OBject/Previous/View/World/X/Y/Z] <World>: ",
                    nullptr, origin, "NAmed OBject Previous View World X Y Z", &kw);
  if (rc == RTCAN) return;
  bool apply = true;
  if (rc == RTNONE || (rc == RTKWORD && kw == "World")) next = Ucs();
  else if (rc == RTNORM) apply = ucsByPoints(before, origin, next);
  else if (kw == "OBject") apply = ucsByObject(before, next);
  else if (kw == "View") apply = ucsByView(before, next);
  else if (kw == "X" || kw == "Y" || kw == "Z") apply = ucsRotated(kw, before, next);
  else if (kw == "NAmed") apply = ucsNamed(before, next);
  else if (kw == "Previous") {
    if (doc->ucsPrevious.empty()) {
      say("\nNo previous UCS.\n");
      return;
    }
    doc->ucs = doc->ucsPrevious.back();
    doc->ucsPrevious.pop_back();
    return;
  }
  if (!apply) return;
  auto finite = [](const DxGeVector3d& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); };
  if (!finite(next.origin.asVector()) || !finite(next.x) || !finite(next.y) || next.x.isZeroLength() ||
      next.y.isZeroLength()) {
    say("\nThe coordinate system is out of range; the UCS is kept.\n");
    return;
  }
  doc->ucsPrevious.push_back(before);
  if (doc->ucsPrevious.size() > 10) doc->ucsPrevious.erase(doc->ucsPrevious.begin());
  doc->ucs = next;
}

}  // namespace dx::ed::cmd
