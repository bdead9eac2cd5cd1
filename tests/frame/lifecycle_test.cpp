// The module's messages: initialisation, unload, drawing messages, class records.
#include <algorithm>

#include "express/frame/command_body.h"
#include "express/frame/commands.h"
#include "express/frame/lifecycle.h"
#include "host/app/app.h"
#include "host/db/database_impl.h"
#include "tests/frame/frame_fixture.h"

namespace {

int reactorsOf(DxDbDatabase* db, DxRxClass* cls) {
  int n = 0;
  for (DxDbDatabaseReactor* r : db->impl()->reactors) n += r->isKindOf(cls);
  return n;
}

int editorReactorsOf(DxRxClass* cls) {
  int n = 0;
  for (DxEditorReactor* r : dx::ed::Session::get().editorReactors) n += r->isKindOf(cls);
  return n;
}

}  // namespace

TEST_F(FrameTest, InitialisationRegistersEveryRowInOrderAndMakesReactors) {
  EXPECT_EQ(dxrxEntryPoint(1, nullptr), 0);
  auto table = express::commandTable();
  std::vector<std::string> expected;
  for (const auto& row : table) expected.push_back(row.globalName);
  EXPECT_EQ(registeredNames(), expected);
  for (const auto& row : table) {
    DxEdCommand* c = dxedRegCmds()->lookupGlobalCmd(row.globalName);
    ASSERT_NE(c, nullptr) << row.globalName;
    EXPECT_EQ(c->group, row.group);
    EXPECT_EQ(c->flags, row.flags);
    // This build's keyword library holds no names.
    EXPECT_EQ(c->localName, row.globalName);
    EXPECT_EQ(c->functionCode, -1);
    EXPECT_EQ(c->resource.handle(), express::resourceLibrary());
  }
  EXPECT_NE(express::resourceLibrary(), nullptr);

  auto& s = express::moduleState();
  ASSERT_NE(s.cmdEndReactor, nullptr);
  EXPECT_TRUE(s.cmdEndReactor->isAttached());
  EXPECT_EQ(editorReactorsOf(ZOTACmdEndReactor::desc()), 1);
  EXPECT_EQ(reactorsOf(db(), ZOTABlockChangeReactor::desc()), 1);
  EXPECT_TRUE(s.blockChangeReactors.at(session().current()) != nullptr);
  EXPECT_TRUE(ZOTACmdEndReactor::desc()->isDerivedFrom(DxEditorReactor::desc()));
  EXPECT_TRUE(ZOTABlockChangeReactor::desc()->isDerivedFrom(DxDbDatabaseReactor::desc()));
}

TEST_F(FrameTest, AliasPairsRunOneBodyAndRowsWithoutBodySayNotAvailable) {
  auto table = express::commandTable();
  size_t wjsr = 0, fileimp = 0;
  for (size_t i = 0; i < table.size(); ++i) {
    if (std::string(table[i].globalName) == "wjsr") wjsr = i;
    if (std::string(table[i].globalName) == "FILEIMP") fileimp = i;
  }
  ASSERT_EQ(fileimp, wjsr + 1);
  // Without bodies each row has its own handler, naming its own command.
  EXPECT_NE(express::commandHandler(wjsr), express::commandHandler(fileimp));
  dxrxEntryPoint(1, nullptr);
  out();
  ASSERT_EQ(script("FILEIMP\ntcount\n"), 0) << failure;
  std::string text = out();
  EXPECT_NE(text.find("\nThe FILEIMP command is not available in this version.\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\nThe tcount command is not available in this version.\n"), std::string::npos) << text;
}

namespace {
int g_bodyRuns = 0;
void countingBody() { ++g_bodyRuns; }
}  // namespace

TEST_F(FrameTest, ABodyPlugsIntoItsRowAndItsAlias) {
  ASSERT_TRUE(express::addCommandBody("hzcf", countingBody));
  EXPECT_FALSE(express::addCommandBody("hzcf", countingBody));  // the first body stays
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(dxedRegCmds()->lookupGlobalCmd("hzcf")->handler, &countingBody);
  EXPECT_EQ(dxedRegCmds()->lookupGlobalCmd("TXTSPLIT")->handler, &countingBody);
  g_bodyRuns = 0;
  ASSERT_EQ(script("TXTSPLIT\nhzcf\n"), 0) << failure;
  EXPECT_EQ(g_bodyRuns, 2);
}

TEST_F(FrameTest, ANameTakenInTheHostFailsAloneAndTheRestRegister) {
  ASSERT_EQ(dxedRegCmds()->addCommand("KvExpressTools", "tcount", "tcount", 0, countingBody), Dxad::eOk);
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(commandsIn("KvExpressTools") + commandsIn("KVEXPRESSTOOLSCMD") + commandsIn("DraxelTools"), 190u);
  EXPECT_EQ(dxedRegCmds()->lookupGlobalCmd("tcount")->handler, &countingBody);
  std::vector<std::string> names = registeredNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), "tcount"), 1);
  EXPECT_EQ(names.back(), "UNLOCK");
}

TEST_F(FrameTest, AddOnGateKeepsCommandsAndMenuOutButStillMakesReactors) {
  ::setenv("DRAXEL_DISABLE_ADDONS", "1", 1);
  dx::app::unloadMenuGroupsForTests();
  std::filesystem::create_directories(dir() / "App");
  {
    CVmUserProfile* p = CVmSystem::instance()->userProfile();
    ASSERT_TRUE(p->writeString("General", "DXAD", "/opt/fonts"));
  }
  dxrxEntryPoint(1, nullptr);
  dxrxEntryPoint(3, nullptr);
  EXPECT_EQ(registeredNames().size(), 0u);
  EXPECT_FALSE(dxedIsMenuGroupLoaded("express"));
  EXPECT_NE(express::resourceLibrary(), nullptr);
  EXPECT_EQ(editorReactorsOf(ZOTACmdEndReactor::desc()), 1);
  EXPECT_EQ(reactorsOf(db(), ZOTABlockChangeReactor::desc()), 1);
  std::string path;
  ASSERT_TRUE(CVmSystem::instance()->userProfile()->readString("General", "DXAD", path));
  EXPECT_EQ(path, "/opt/fonts");  // no support-path step either

  // The profile key sets the gate as well; the variable, when set to 0, opens it.
  ::unsetenv("DRAXEL_DISABLE_ADDONS");
  EXPECT_FALSE(CVmSystem::instance()->isAddOnCommandsDisabled());
  CVmSystem::instance()->userProfile()->writeString("General", "DisableAddOnCommands", "1");
  EXPECT_TRUE(CVmSystem::instance()->isAddOnCommandsDisabled());
  ::setenv("DRAXEL_DISABLE_ADDONS", "0", 1);
  EXPECT_FALSE(CVmSystem::instance()->isAddOnCommandsDisabled());
}

TEST_F(FrameTest, DrawingLoadedLoadsTheMenuOnce) {
  dx::app::unloadMenuGroupsForTests();
  dxrxEntryPoint(1, nullptr);
  out();
  dxrxEntryPoint(3, nullptr);  // express.cuix lies beside the test program
  ASSERT_TRUE(dxedIsMenuGroupLoaded("express"));
  ASSERT_EQ(dx::app::loadedMenuGroups().size(), 1u);
  const auto& menu = dx::app::loadedMenuGroups()[0];
  std::vector<std::string> expected;
  for (const auto& row : express::commandTable()) expected.push_back(row.globalName);
  EXPECT_EQ(menu.commands, expected);
  std::string file = menu.file;
  dxrxEntryPoint(3, nullptr);
  EXPECT_EQ(dx::app::loadedMenuGroups().size(), 1u);
  EXPECT_EQ(out(), "");
}

TEST_F(FrameTest, UnloadRemovesAllFourGroupsAlsoNeverAddedOnes) {
  dxrxEntryPoint(1, nullptr);
  dxedRegCmds()->addCommand("quantitiestool", "QTY", "QTY", 0, countingBody);
  dxrxEntryPoint(2, nullptr);
  EXPECT_EQ(groupNames(), std::vector<std::string>{dx::ed::kHostGroup});
  EXPECT_EQ(express::moduleState().cmdEndReactor, nullptr);
  EXPECT_EQ(editorReactorsOf(DxEditorReactor::desc()), 0);
  EXPECT_EQ(dxrxFindDxRxClass("ZOTACmdEndReactor"), nullptr);
  EXPECT_EQ(dxrxFindDxRxClass("ZOTABlockChangeReactor"), nullptr);

  // Under the gate no group was added; unloading is just as clean.
  ::setenv("DRAXEL_DISABLE_ADDONS", "1", 1);
  dxrxEntryPoint(1, nullptr);
  dxrxEntryPoint(2, nullptr);
  EXPECT_EQ(groupNames(), std::vector<std::string>{dx::ed::kHostGroup});

  // A compare entity class registered by a command goes with the module.
  new DxRxClass("VmacDbDragComEntity", DxDbEntity::desc());
  dxrxEntryPoint(2, nullptr);
  EXPECT_EQ(dxrxFindDxRxClass("VmacDbDragComEntity"), nullptr);
}

TEST_F(FrameTest, SecondInitialisationIsHarmless) {
  dxrxEntryPoint(1, nullptr);
  DxRxClass* cls = ZOTACmdEndReactor::desc();
  ZOTACmdEndReactor* reactor = express::moduleState().cmdEndReactor.get();
  out();
  dxrxEntryPoint(1, nullptr);
  EXPECT_EQ(out(), "");
  EXPECT_EQ(registeredNames().size(), 190u);
  EXPECT_EQ(ZOTACmdEndReactor::desc(), cls);
  EXPECT_EQ(express::moduleState().cmdEndReactor.get(), reactor);
  EXPECT_EQ(editorReactorsOf(ZOTACmdEndReactor::desc()), 1);
  EXPECT_EQ(reactorsOf(db(), ZOTABlockChangeReactor::desc()), 1);
}

TEST_F(FrameTest, UnknownMessagesDoNothing) {
  dxrxEntryPoint(1, nullptr);
  for (int m : {0, 5, 6, 7, 8, 10, 11, -1, 1000}) {
    EXPECT_EQ(dxrxEntryPoint(m, nullptr), 0);
    EXPECT_EQ(registeredNames().size(), 190u) << m;
  }
  EXPECT_EQ(editorReactorsOf(ZOTACmdEndReactor::desc()), 1);
}

TEST_F(FrameTest, DrawingUnloadDetachesThatDocumentsReactorOnly) {
  dxrxEntryPoint(1, nullptr);
  dx::ed::Document* first = session().current();
  dx::ed::Document* second = session().newDocument();
  session().setCurrent(second);
  dxrxEntryPoint(4, nullptr);  // the second has no reactor: nothing to do
  EXPECT_EQ(reactorsOf(first->database(), ZOTABlockChangeReactor::desc()), 1);
  session().setCurrent(first);
  dxrxEntryPoint(4, nullptr);
  EXPECT_EQ(reactorsOf(first->database(), ZOTABlockChangeReactor::desc()), 0);
  auto& map = express::moduleState().blockChangeReactors;
  ASSERT_EQ(map.count(first), 1u);  // the entry stays, empty
  EXPECT_EQ(map.at(first), nullptr);
  dxrxEntryPoint(4, nullptr);
}

TEST_F(FrameTest, ClassRecordsStopTheHostOnAMismatch) {
  DxRxClass* cache = nullptr;
  express::registerClass(cache, "ZOTATestClass", DxRxObject::desc());
  ASSERT_NE(cache, nullptr);
  DxRxClass* first = cache;
  express::registerClass(cache, "ZOTATestClass", DxRxObject::desc());
  EXPECT_EQ(cache, first);
  express::deleteClass(cache, "ZOTATestClass");
  EXPECT_EQ(dxrxFindDxRxClass("ZOTATestClass"), nullptr);

  // Another module's record under the name while ours is cached: fatal.
  DxRxClass* ours = new DxRxClass("ZOTAOurs", DxRxObject::desc());
  DxRxClass* theirs = new DxRxClass("ZOTAShared", DxRxObject::desc());
  EXPECT_DEATH(express::registerClass(ours, "ZOTAShared", DxRxObject::desc()), "Class mismatch");
  deleteDxRxClass(ours);
  deleteDxRxClass(theirs);
}
