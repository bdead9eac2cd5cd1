// BURST inside the host, where a pick-first set can be left the way a user's grips leave
// it and references can be put in another space.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "express/frame/command_body.h"
#include "tests/editor/db/fixture.h"

namespace {

class BurstCommandTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    ASSERT_NE(express::commandBody("BURST"), nullptr);
    dxedRegCmds()->addCommand("BURSTTEST", "BURST", "BURST", 0x2, express::commandBody("BURST"));
    block = makeBlock();
  }
  void TearDown() override {
    dxedRegCmds()->removeGroup("BURSTTEST");
    EditorTest::TearDown();
  }

  // Block PART: a line on layer 0 and one attribute definition.
  DxDbObjectId makeBlock() {
    DxDbBlockTable* table = nullptr;
    EXPECT_EQ(db()->getSymbolTable(table, DxDb::kForWrite), Dxad::eOk);
    auto* rec = new DxDbBlockTableRecord();
    rec->setName("PART");
    DxDbObjectId id;
    EXPECT_EQ(table->add(id, rec), Dxad::eOk);
    table->close();
    auto* line = new DxDbLine(DxGePoint3d(0, 0, 0), DxGePoint3d(1, 0, 0));
    line->setDatabaseDefaults(db());
    line->setLayer("0");
    EXPECT_EQ(rec->appendDxDbEntity(line), Dxad::eOk);
    line->close();
    auto* def = new DxDbAttributeDefinition();
    def->setDatabaseDefaults(db());
    def->setTag("NAME");
    def->setHeight(1);
    EXPECT_EQ(rec->appendDxDbEntity(def), Dxad::eOk);
    def->close();
    rec->close();
    return id;
  }
  // A reference of PART with its attribute, in the given space (model space by default).
  DxDbObjectId addReference(double x, const char* value, const char* layer = "0", DxDbObjectId space = {}) {
    auto* ref = new DxDbBlockReference(DxGePoint3d(x, 0, 0), block);
    ref->setDatabaseDefaults(db());
    ref->setLayer(layer);
    DxDbBlockTableRecord* owner = nullptr;
    EXPECT_EQ(dxdbOpenObject(owner, space.isNull() ? db()->modelSpaceId() : space, DxDb::kForWrite), Dxad::eOk);
    DxDbObjectId id;
    EXPECT_EQ(owner->appendDxDbEntity(id, ref), Dxad::eOk);
    owner->close();
    auto* att = new DxDbAttribute();
    att->setPropertiesFrom(ref);
    att->setTag("NAME");
    att->setTextString(value);
    att->setHeight(1);
    att->setPosition(DxGePoint3d(x, -1, 0));
    DxDbObjectId attId;
    EXPECT_EQ(ref->appendAttribute(attId, att), Dxad::eOk);
    att->close();
    ref->close();
    return id;
  }
  // Entity kinds of a space, with texts as "TEXT:value".
  std::vector<std::string> contents(DxDbObjectId space = {}) {
    DxDbBlockTableRecord* rec = nullptr;
    std::vector<std::string> kinds;
    if (dxdbOpenObject(rec, space.isNull() ? db()->modelSpaceId() : space, DxDb::kForRead) != Dxad::eOk) return kinds;
    for (DxDbObjectId id : rec->entityIds()) {
      DxDbEntity* e = nullptr;
      if (dxdbOpenObject(e, id, DxDb::kForRead) != Dxad::eOk) continue;
      std::string kind = e->isA()->name();
      if (auto* t = DxRxObject::cast<DxDbText>(e)) kind += std::string(":") + t->textString();
      kinds.push_back(kind);
      e->close();
    }
    rec->close();
    std::sort(kinds.begin(), kinds.end());
    return kinds;
  }
  int variable(const char* name) {
    resbuf rb{};
    EXPECT_EQ(dxedGetVar(name, &rb), RTNORM);
    return rb.resval.rint;
  }
  DxDbObjectId block;
};

}  // namespace

TEST_F(BurstCommandTest, PickFirstOfThreeWithOneLockedCountsAndBurstsTwo) {
  addLayer("LOCKED", true);
  auto a = addReference(0, "a");
  auto b = addReference(10, "b");
  auto locked = addReference(20, "locked", "LOCKED");
  auto line = addLine(50, 50, 60, 60);
  pickFirst({a, line, b, locked});
  ASSERT_EQ(script("BURST\n"), 0) << failure;
  std::string o = out();
  EXPECT_NE(o.find("\n2 found."), std::string::npos) << o;
  EXPECT_EQ(o.find("Select objects"), std::string::npos) << o;
  auto kinds = contents();
  EXPECT_EQ(kinds, (std::vector<std::string>{"DxDbBlockReference", "DxDbLine", "DxDbLine", "DxDbLine",
                                             "DxDbText:a", "DxDbText:b"}))
      << ::testing::PrintToString(kinds);
  DxDbBlockReference* kept = nullptr;
  ASSERT_EQ(dxdbOpenObject(kept, locked, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(kept->attributeIds().size(), 1u);
  kept->close();
}

TEST_F(BurstCommandTest, PickFirstWithoutReferencesAsksAndEnterLeavesTheDrawing) {
  addReference(0, "a");
  auto line = addLine(50, 50, 60, 60);
  pickFirst({line});
  auto before = contents();
  ASSERT_EQ(script("BURST \"\"\n"), 0) << failure;
  std::string o = out();
  EXPECT_NE(o.find("Select objects"), std::string::npos) << o;
  EXPECT_EQ(o.find("found."), std::string::npos) << o;
  EXPECT_EQ(contents(), before);
}

TEST_F(BurstCommandTest, ReferenceOutsideTheCurrentSpaceIsCountedAndLeft) {
  auto here = addReference(0, "here");
  auto there = addReference(0, "there", "0", db()->paperSpaceId());
  pickFirst({here, there});
  ASSERT_EQ(script("BURST\n"), 0) << failure;
  std::string o = out();
  EXPECT_NE(o.find("2 objects selected, 1 of them are not in the current space."), std::string::npos) << o;
  EXPECT_EQ(contents(), (std::vector<std::string>{"DxDbLine", "DxDbText:here"}));
  EXPECT_EQ(contents(db()->paperSpaceId()), (std::vector<std::string>{"DxDbBlockReference"}));
}

TEST_F(BurstCommandTest, VariablesComeBackAndOneUndoGivesBackEveryReference) {
  addReference(0, "a");
  addReference(10, "b");
  auto before = contents();
  ASSERT_EQ(script("HIGHLIGHT 0\nCMDECHO 1\n"), 0) << failure;
  ASSERT_EQ(script("BURST ALL \"\"\n"), 0) << failure;
  EXPECT_EQ(contents(), (std::vector<std::string>{"DxDbLine", "DxDbLine", "DxDbText:a", "DxDbText:b"}));
  EXPECT_EQ(variable("HIGHLIGHT"), 0);
  EXPECT_EQ(variable("CMDECHO"), 1);
  ASSERT_EQ(script("U\n"), 0) << failure;
  EXPECT_EQ(contents(), before);
}

TEST_F(BurstCommandTest, CancelledSelectionEndsQuietly) {
  addReference(0, "a");
  auto before = contents();
  ASSERT_EQ(script("HIGHLIGHT 0\nBURST ^C\n"), 0) << failure;
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(variable("HIGHLIGHT"), 0);
}
