// The command environment's shared routines: missed picks, locked layers, filters and
// the holders that close and release.
#include <functional>

#include "express/env/command_env.h"
#include "express/env/holders.h"
#include "tests/editor/db/fixture.h"

using namespace express;

namespace {

std::function<void()> g_body;
void bodyCommand() { g_body(); }

class EnvTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    dxedRegCmds()->addCommand("ENVTEST", "ENVCMD", "ENVCMD", 0, bodyCommand);
  }
  void TearDown() override {
    dxedRegCmds()->removeGroup("ENVTEST");
    EditorTest::TearDown();
  }
  DxDbObjectId addText(const char* type, double x, const char* layer = nullptr) {
    DxDbEntity* e = nullptr;
    if (std::string(type) == "TEXT") {
      auto* t = new DxDbText();
      t->setTextString("t");
      t->setPosition(DxGePoint3d(x, 0, 0));
      e = t;
    } else {
      auto* m = new DxDbMText();
      m->setContents("m");
      m->setLocation(DxGePoint3d(x, 0, 0));
      e = m;
    }
    e->setDatabaseDefaults(db());
    if (layer) e->setLayer(layer);
    return append(e);
  }
  std::vector<DxDbObjectId> selectAll(const resbuf* filter) {
    std::vector<DxDbObjectId> ids;
    g_body = [&] {
      CSelectionSet ss;
      if (ss.select("X", nullptr, nullptr, filter) == RTNORM) ids = selectionIds(ss);
    };
    EXPECT_EQ(script("ENVCMD\n"), 0) << failure;
    return ids;
  }
};

}  // namespace

TEST_F(EnvTest, MissedPickAsksAgainEnterAndCancelEndTheLoop) {
  DxDbObjectId line = addLine(0, 0, 10, 0);
  int rc = 0;
  DxDbObjectId picked;
  g_body = [&] {
    dx_name ent;
    dx_point pt;
    rc = entSelRetrying("\nPick a line: ", ent, pt);
    if (rc == RTNORM) dxdbGetObjectId(picked, ent);
  };
  // Two misses on empty space, then a hit.
  ASSERT_EQ(script("ENVCMD\n50,50\n60,60\n5,0\n"), 0) << failure;
  EXPECT_EQ(rc, RTNORM);
  EXPECT_EQ(picked, line);
  std::string text = out();
  size_t asked = 0;
  for (size_t p = text.find("Pick a line:"); p != std::string::npos; p = text.find("Pick a line:", p + 1)) ++asked;
  EXPECT_EQ(asked, 3u) << text;

  ASSERT_EQ(script("ENVCMD\n50,50\n\"\"\n"), 0) << failure;
  EXPECT_EQ(rc, RTERROR);  // Enter after a miss ends it
  ASSERT_EQ(script("ENVCMD\n^C\n"), 0) << failure;
  EXPECT_EQ(rc, RTCAN);

  EXPECT_FALSE(isMissedPick(RTNORM));
  EXPECT_FALSE(isMissedPick(RTCAN));
}

TEST_F(EnvTest, LockedLayerTestSkipsLockedUnopenableAndNonEntities) {
  addLayer("FREE");
  DxDbObjectId lockedLayer = addLayer("LOCKED", true);
  DxDbObjectId gone = addLayer("GONE");
  DxDbObjectId onFree = addLine(0, 0, 1, 0, "FREE");
  DxDbObjectId onLocked = addLine(0, 0, 1, 0, "LOCKED");
  DxDbObjectId onGone = addLine(0, 0, 1, 0, "GONE");
  {
    CDbObjectPtr<DxDbLayerTableRecord> layer(gone, DxDb::kForWrite);
    ASSERT_TRUE(layer);
    ASSERT_EQ(layer->erase(), Dxad::eOk);
  }
  EXPECT_FALSE(isOnLockedLayer(onFree));
  EXPECT_TRUE(isOnLockedLayer(onLocked));
  EXPECT_TRUE(isOnLockedLayer(onGone));
  EXPECT_TRUE(isOnLockedLayer(lockedLayer));  // a layer record is no entity
  EXPECT_TRUE(isOnLockedLayer(static_cast<const DxDbObject*>(nullptr)));
  EXPECT_TRUE(isOnLockedLayer(DxDbObjectId()));
  EXPECT_EQ(withoutLockedLayers({onFree, onLocked, onGone}), std::vector<DxDbObjectId>{onFree});
  EXPECT_TRUE(db()->openObjects().empty());
}

TEST_F(EnvTest, FiltersSelectByTypeWithOrAndNot) {
  DxDbObjectId line = addLine(0, 0, 1, 0);
  DxDbObjectId text = addText("TEXT", 1);
  DxDbObjectId mtext = addText("MTEXT", 2);

  CResbufPtr texts = entityTypeFilter({"TEXT", "MTEXT", "ATTDEF"});
  // (-4 . "<OR") (0 . "TEXT") (0 . "MTEXT") (0 . "ATTDEF") (-4 . "OR>")
  std::vector<std::pair<int, std::string>> chain;
  for (resbuf* rb = texts.get(); rb; rb = rb->rbnext) chain.emplace_back(rb->restype, rb->resval.rstring);
  EXPECT_EQ(chain, (std::vector<std::pair<int, std::string>>{
                       {-4, "<OR"}, {0, "TEXT"}, {0, "MTEXT"}, {0, "ATTDEF"}, {-4, "OR>"}}));
  EXPECT_EQ(selectAll(texts.get()), (std::vector<DxDbObjectId>{text, mtext}));

  CResbufPtr notLine = filterNot(entityTypeFilter({"LINE"}));
  EXPECT_EQ(selectAll(notLine.get()), (std::vector<DxDbObjectId>{text, mtext}));

  addLayer("NOTES");
  DxDbObjectId noted = addText("TEXT", 3, "NOTES");
  CResbufPtr textOnNotes = filterAnd(filterJoin(entityTypeFilter({"TEXT"}), CResbufPtr(dxutBuildList(8, "NOTES", 0))));
  EXPECT_EQ(selectAll(textOnNotes.get()), std::vector<DxDbObjectId>{noted});
  EXPECT_EQ(selectAll(nullptr).size(), 4u);
  (void)line;
}

TEST_F(EnvTest, HoldersCloseAndReleaseOnEveryPath) {
  DxDbObjectId line = addLine(0, 0, 1, 0);
  auto early = [&](bool leave) -> int {
    CDbObjectPtr<DxDbLine> l(line, DxDb::kForWrite);
    if (!l) return -1;
    if (leave) return 1;  // an early way out still closes
    l->setEndPoint(DxGePoint3d(2, 0, 0));
    return 0;
  };
  EXPECT_EQ(early(true), 1);
  EXPECT_TRUE(db()->openObjects().empty());
  EXPECT_EQ(early(false), 0);
  EXPECT_TRUE(db()->openObjects().empty());

  // Opened for write twice fails with the host's status, and the holder says so.
  CDbObjectPtr<DxDbLine> first(line, DxDb::kForWrite);
  CDbObjectPtr<DxDbLine> second(line, DxDb::kForWrite);
  EXPECT_TRUE(first);
  EXPECT_FALSE(second);
  EXPECT_EQ(second.status(), Dxad::eWasOpenForWrite);
  CDbObjectPtr<DxDbLine> moved(std::move(first));
  EXPECT_FALSE(first);
  EXPECT_EQ(moved.close(), Dxad::eOk);
  EXPECT_TRUE(db()->openObjects().empty());

  // The wrong class: the object is not left open behind the holder's back.
  CDbObjectPtr<DxDbCircle> notACircle(line, DxDb::kForRead);
  EXPECT_FALSE(notACircle);
  EXPECT_EQ(notACircle.status(), Dxad::eNotThatKindOfClass);
  EXPECT_TRUE(db()->openObjects().empty());

  CResbufPtr list(dxutBuildList(RTSTR, "a", RTSHORT, 3, 0));
  EXPECT_EQ(list.find(RTSHORT)->resval.rint, 3);
  EXPECT_EQ(list.find(RTREAL), nullptr);
  CResbufPtr other(std::move(list));
  EXPECT_FALSE(list);
  EXPECT_TRUE(other);
  resbuf* raw = other.release();
  EXPECT_FALSE(other);
  dxutRelRb(raw);
}
