// UCS: origin, rotation about an axis, World, Previous, and named coordinate systems.
#include <cmath>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

DxGeVector3d rotate(const DxGeVector3d& v, const DxGeVector3d& axis, double a) {
  return DxGeMatrix3d::rotation(a, axis) * v;
}

}  // namespace

void cmdUcs() {
  Session& s = session();
  Document* doc = s.current();
  if (!doc) return;
  Ucs before = doc->ucs;
  Ucs next = before;
  std::string kw;
  DxGePoint3d origin;
  int rc = askPoint(std::string("\nCurrent ucs name:  ") + (before.isWorld() ? "*WORLD*" : "*NO NAME*") +
                        "\nSpecify origin of UCS or [NAmed/Previous/World/X/Y/Z] <World>: ",
                    nullptr, origin, "NAmed Previous World X Y Z", &kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE || (rc == RTKWORD && kw == "World")) {
    next = Ucs();
  } else if (rc == RTNORM) {
    next.origin = ucsToWorld(origin);
    DxGePoint3d onX;
    rc = askPoint("\nSpecify point on X-axis or <Accept>: ", &origin, onX);
    if (rc == RTCAN) return;
    if (rc == RTNORM) {
      DxGeVector3d x = ucsToWorld(onX) - next.origin;
      DxGeVector3d z = before.x.crossProduct(before.y).normal();
      x = x - z * x.dotProduct(z);
      if (x.isZeroLength()) {
        say("\nThe point is on the origin; the axis is kept.\n");
      } else {
        next.x = x.normal();
        next.y = z.crossProduct(next.x).normal();
      }
    }
  } else if (kw == "Previous") {
    if (doc->ucsPrevious.empty()) {
      say("\nNo previous UCS.\n");
      return;
    }
    doc->ucs = doc->ucsPrevious.back();
    doc->ucsPrevious.pop_back();
    return;
  } else if (kw == "X" || kw == "Y" || kw == "Z") {
    double a = M_PI / 2;
    dx_point zero = {0, 0, 0};
    rc = dxedGetOrient(zero, ("\nSpecify rotation angle about " + kw + " axis <90>: ").c_str(), &a);
    if (rc == RTCAN) return;
    if (rc == RTNONE) a = M_PI / 2;
    DxGeVector3d z = before.x.crossProduct(before.y).normal();
    DxGeVector3d axis = kw == "X" ? before.x : kw == "Y" ? before.y : z;
    next.x = rotate(before.x, axis, a).normal();
    next.y = rotate(before.y, axis, a).normal();
  } else if (kw == "NAmed") {
    std::string opt;
    if (askKeyword("\nEnter an option [Restore/Save]: ", "Restore Save", opt) != RTNORM) return;
    std::string name;
    if (askString("\nEnter name of UCS: ", name) != RTNORM || name.empty()) return;
    DxDbDatabase* d = db();
    if (opt == "Restore") {
      DxDbObjectId id = findRecord(d->UCSTableId(), name);
      Opened<DxDbUCSTableRecord> rec(id, DxDb::kForRead);
      if (!rec) {
        say("\nCannot find UCS \"" + name + "\".\n");
        return;
      }
      next.origin = rec->origin();
      next.x = rec->xAxis().normal();
      next.y = rec->yAxis().normal();
    } else {
      Opened<DxDbSymbolTable> table(d->UCSTableId(), DxDb::kForWrite);
      if (!table) return;
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
      return;
    }
  }
  doc->ucsPrevious.push_back(before);
  if (doc->ucsPrevious.size() > 10) doc->ucsPrevious.erase(doc->ucsPrevious.begin());
  doc->ucs = next;
}

}  // namespace dx::ed::cmd
