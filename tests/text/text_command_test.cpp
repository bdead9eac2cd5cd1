// txt2mtxt and the settings form inside the host, where the pick-first set can be set
// the way a user's grips would leave it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "express/frame/command_body.h"
#include "express/res/dialogs.h"
#include "express/res/resource.h"
#include "hostapi/ui.h"
#include "tests/editor/db/fixture.h"

namespace {

class TextCommandTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    appdir = std::filesystem::temp_directory_path() / ("txt2mtxt-" + std::to_string(::getpid()));
    std::filesystem::create_directories(appdir);
    setenv("DRAXEL_APPDIR", appdir.c_str(), 1);
    auto* stack = dxedRegCmds();
    stack->addCommand("TEXTTEST", "txt2mtxt", "txt2mtxt", 0x2, express::commandBody("txt2mtxt"));
  }
  void TearDown() override {
    dxedRegCmds()->removeGroup("TEXTTEST");
    unsetenv("DRAXEL_APPDIR");
    std::filesystem::remove_all(appdir);
    EditorTest::TearDown();
  }
  DxDbObjectId addText(const char* s, double y, const char* layer = nullptr) {
    auto* t = new DxDbText(DxGePoint3d(0, y, 0), s, DxDbObjectId(), 2.5);
    t->setDatabaseDefaults(db());
    if (layer) t->setLayer(layer);
    return append(t);
  }
  std::vector<std::string> mtexts() {
    std::vector<std::string> v;
    for (DxDbObjectId id : entities()) {
      DxDbMText* m = nullptr;
      if (dxdbOpenObject(m, id, DxDb::kForRead) != Dxad::eOk) continue;
      v.push_back(m->contents());
      m->close();
    }
    return v;
  }
  size_t textCount() {
    size_t n = 0;
    for (DxDbObjectId id : entities()) {
      DxDbObject* o = nullptr;
      if (dxdbOpenObject(o, id, DxDb::kForRead) != Dxad::eOk) continue;
      n += o->isA() == DxDbText::desc();
      o->close();
    }
    return n;
  }
  std::filesystem::path appdir;
};

}  // namespace

TEST_F(TextCommandTest, PickFirstWithSeveralTextsConvertsWithoutAsking) {
  auto a = addText("upper", 10);
  auto b = addText("lower", 0);
  addLine(0, 0, 5, 5);
  pickFirst({b, a});
  ASSERT_EQ(script("txt2mtxt\n"), 0) << failure;
  std::string o = out();
  EXPECT_EQ(o.find("Select text objects"), std::string::npos) << o;
  EXPECT_EQ(mtexts(), (std::vector<std::string>{"upper lower "}));
  EXPECT_EQ(textCount(), 0u);
}

TEST_F(TextCommandTest, PickFirstWithOneTextCountsItAndCarriesItIntoTheSelection) {
  auto a = addText("first", 10);
  addText("second", 0);
  auto line = addLine(0, 0, 5, 5);
  pickFirst({a, line});
  // The prompt asks; the window adds the other text, the carried one comes along.
  ASSERT_EQ(script("txt2mtxt W -1,-1 50,5 \"\"\n"), 0) << failure;
  std::string o = out();
  EXPECT_NE(o.find("Text objects found: 1."), std::string::npos) << o;
  EXPECT_NE(o.find("Select text objects, or Enter for settings"), std::string::npos) << o;
  EXPECT_EQ(mtexts(), (std::vector<std::string>{"first second "}));
}

TEST_F(TextCommandTest, PickFirstOfLockedTextsOnlyLeavesThemAndAsks) {
  addLayer("LOCKED", true);
  auto a = addText("locked one", 10, "LOCKED");
  auto b = addText("locked two", 0, "LOCKED");
  pickFirst({a, b});
  ASSERT_EQ(script("txt2mtxt ^C\n"), 0) << failure;
  EXPECT_NE(out().find("Text objects found: 0."), std::string::npos);
  EXPECT_EQ(textCount(), 2u);
  EXPECT_TRUE(mtexts().empty());
}

TEST_F(TextCommandTest, AFormTheLibraryDoesNotDeclareIsRefused) {
  express::ensureResourceLibrary();
  ASSERT_NE(express::resourceLibrary(), nullptr);
  static DxUiDialogValues values;
  static int result;
  result = 0;
  dxedRegCmds()->addCommand("TEXTTEST", "NODIALOG", "NODIALOG", 0,
                            [] { result = DxUiDoModal(99999, values, express::resourceLibrary()); });
  ASSERT_EQ(script("NODIALOG\n"), 0) << failure;
  EXPECT_EQ(result, -1);
}
