// A fresh editor session with one new drawing per test, and its command-line output.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/editor/core/driver.h"
#include "host/editor/core/session.h"

class EditorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dx::ed::Session::get().reset();
    dx::ed::output().setCapture(true);
    dx::ed::output().setSink([](std::string_view) {});
  }
  void TearDown() override {
    dx::ed::Session::get().cancelAll();
    dx::ed::output().setSink(nullptr);
    dx::ed::output().setCapture(false);
  }
  dx::ed::Session& session() { return dx::ed::Session::get(); }
  DxDbDatabase* db() { return session().current()->database(); }
  std::string out() { return dx::ed::output().takeCaptured(); }
  // Runs lines as a script; the driver's status.
  int script(const std::string& text) {
    dx::ed::Driver d;
    d.push(std::make_unique<dx::ed::TextSource>(text, "test"));
    int rc = d.run();
    failure = d.failure();
    return rc;
  }
  std::vector<DxDbObjectId> entities() { return dx::ed::currentSpaceEntities(); }
  DxDbObjectId addLine(double x1, double y1, double x2, double y2, const char* layer = nullptr) {
    auto* l = new DxDbLine(DxGePoint3d(x1, y1, 0), DxGePoint3d(x2, y2, 0));
    l->setDatabaseDefaults(db());
    if (layer) l->setLayer(layer);
    return append(l);
  }
  DxDbObjectId append(DxDbEntity* e) {
    DxDbBlockTableRecord* ms = nullptr;
    EXPECT_EQ(dxdbOpenObject(ms, db()->modelSpaceId(), DxDb::kForWrite), Dxad::eOk);
    DxDbObjectId id;
    EXPECT_EQ(ms->appendDxDbEntity(id, e), Dxad::eOk);
    e->close();
    ms->close();
    return id;
  }
  DxDbObjectId addLayer(const char* name, bool locked = false) {
    DxDbLayerTable* t = nullptr;
    EXPECT_EQ(db()->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* rec = new DxDbLayerTableRecord();
    rec->setName(name);
    rec->setIsLocked(locked);
    DxDbObjectId id;
    EXPECT_EQ(t->add(id, rec), Dxad::eOk);
    rec->close();
    t->close();
    return id;
  }
  // Leaves the objects selected as a user's grips leave them before a command.
  void pickFirst(const std::vector<DxDbObjectId>& ids) {
    dx_name ss = {0, 0};
    for (DxDbObjectId id : ids) {
      dx_name e;
      dxdbIdToName(e, id);
      dxedSSAdd(e, ss[0] ? ss : nullptr, ss);
    }
    ASSERT_EQ(dxedSSSetFirst(ss, nullptr), RTNORM);
    dxedSSFree(ss);
  }
  std::string failure;
};
