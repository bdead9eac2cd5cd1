// DRAWORDER and dxedDrawOrderInherit: which entities are drawn over which.
#include <unordered_set>

#include "host/editor/commands/common.h"

namespace dx::ed::cmd {
namespace {

DxDbObjectId ownerOf(DxDbObjectId id) {
  Opened<DxDbEntity> e(id, DxDb::kForRead);
  return e ? e->ownerId() : DxDbObjectId();
}

// Moves ids within their space's draw order (every id in one space).
Dxad::ErrorStatus reorder(const DxDbObjectIdArray& ids, DxDbObjectId target, DxEdDrawOrderCmdType how) {
  if (ids.empty()) return Dxad::eOk;
  DxDbSortentsTable* table = nullptr;
  if (auto es = DxDbSortentsTable::openFor(ownerOf(ids.front()), table, DxDb::kForWrite, true);
      es != Dxad::eOk)
    return es;
  Dxad::ErrorStatus es = Dxad::eOk;
  switch (how) {
    case kDrawOrderTop: es = table->moveToTop(ids); break;
    case kDrawOrderBottom: es = table->moveToBottom(ids); break;
    case kDrawOrderBelow: es = table->moveBelow(ids, target); break;
    default: es = table->moveAbove(ids, target); break;
  }
  table->close();
  return es;
}

}  // namespace

void cmdDrawOrder() {
  std::vector<DxDbObjectId> picked;
  if (selectForCommand(picked, false) != RTNORM) return;
  std::string kw;
  int rc = askKeyword("\nEnter object ordering option [Above objects/Under objects/Front/Back] <Back>: ",
                      "Above Under Front Back", kw);
  if (rc == RTCAN) return;
  if (rc == RTNONE) kw = "Back";
  DxDbObjectId space = db()->currentSpaceId();
  DxDbObjectIdArray ids;
  for (auto id : picked)
    if (ownerOf(id) == space) ids.push_back(id);
  if (ids.empty()) return;
  DxDbObjectId target;
  if (kw == "Above" || kw == "Under") {
    SelectOptions opt;
    opt.addPrompt = "\nSelect reference objects: ";
    std::vector<DxDbObjectId> refs;
    if (selectObjects(opt, refs) != RTNORM) return;
    // Above: over the topmost reference; under: beneath the lowest one.
    DxDbSortentsTable* table = nullptr;
    DxDbObjectIdArray order;
    if (DxDbSortentsTable::openFor(space, table, DxDb::kForWrite, true) != Dxad::eOk) return;
    table->getFullDrawOrder(order);
    table->close();
    std::unordered_set<const void*> isRef, isMoved;
    for (auto r : refs) isRef.insert(r.stub());
    for (auto m : ids) isMoved.insert(m.stub());
    for (auto id : order)
      if (isRef.count(id.stub()) && !isMoved.count(id.stub())) {
        target = id;
        if (kw == "Under") break;
      }
    if (target.isNull()) {
      say("\nThe reference objects are the objects being moved.\n");
      return;
    }
  }
  DxEdDrawOrderCmdType how = kw == "Front" ? kDrawOrderTop
                           : kw == "Back"  ? kDrawOrderBottom
                           : kw == "Under" ? kDrawOrderBelow
                                           : kDrawOrderAbove;
  if (reorder(ids, target, how) != Dxad::eOk) say("\nThe draw order could not be changed.\n");
}

}  // namespace dx::ed::cmd

Dxad::ErrorStatus dxedDrawOrderInherit(DxDbObjectId parent, const DxDbObjectIdArray& children,
                                       DxEdDrawOrderCmdType cmd) {
  using namespace dx::ed::cmd;
  DxDbObjectId space = ownerOf(parent);
  if (space.isNull()) return Dxad::eNullObjectId;
  DxDbObjectIdArray ids;
  for (const auto& c : children)
    if (c != parent && ownerOf(c) == space) ids.push_back(c);
  return reorder(ids, parent, cmd == kDrawOrderNone ? kDrawOrderAbove : cmd);
}
