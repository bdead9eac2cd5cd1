// Editor reactors attached to the object registered as "DxEditor": what a module hears
// of commands and system variables.
#include <gtest/gtest.h>

#include <stdexcept>

#include "fixture.h"

using namespace dx::ed;

namespace {

class Recorder : public DxEditorReactor {
 public:
  void commandWillStart(const char* c) override { log.push_back(std::string("start ") + c); }
  void commandEnded(const char* c) override { log.push_back(std::string("end ") + c); }
  void commandCancelled(const char* c) override { log.push_back(std::string("cancel ") + c); }
  void commandFailed(const char* c) override { log.push_back(std::string("fail ") + c); }
  void unknownCommand(const char* c) override { log.push_back(std::string("unknown ") + c); }
  void sysVarWillChange(const char* v) override { log.push_back(std::string("var? ") + v); }
  void sysVarChanged(const char* v, bool ok) override {
    log.push_back(std::string("var ") + v + (ok ? " ok" : " refused"));
  }
  std::vector<std::string> log;
};

// A module command that drives a host command and then fails.
void drawThenThrow() {
  dx_point a = {0, 0, 0}, b = {1, 1, 0};
  dxedCommandS(RTSTR, "._LINE", RTPOINT, a, RTPOINT, b, RTSTR, "", 0);
  throw std::runtime_error("out of paper");
}

class ReactorTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    editor = DxRxObject::cast<DxEditor>(dxrxSysRegistry()->at("DxEditor"));
    ASSERT_NE(editor, nullptr);
    editor->addReactor(&rec);
  }
  void TearDown() override {
    if (editor) editor->removeReactor(&rec);
    dxedRegCmds()->removeGroup("REACTTEST");
    EditorTest::TearDown();
  }
  DxEditor* editor = nullptr;
  Recorder rec;
};

using Log = std::vector<std::string>;

TEST_F(ReactorTest, CommandStartAndEndInOrder) {
  ASSERT_EQ(script("LINE 0,0 5,5 \"\"\nERASE ALL \"\"\n"), 0) << failure;
  EXPECT_EQ(rec.log, (Log{"start LINE", "end LINE", "start ERASE", "end ERASE"}));
}

TEST_F(ReactorTest, CancelledUnknownAndFailedCommands) {
  ASSERT_EQ(dxedRegCmds()->addCommand("REACTTEST", "DRAWFAIL", "DRAWFAIL", 0, drawThenThrow), Dxad::eOk);
  EXPECT_EQ(script("ERASE ^C\n"), 0) << failure;
  EXPECT_NE(script("NOSUCHCMD\n"), 0);
  EXPECT_EQ(script("DRAWFAIL\n"), 0) << failure;
  // The host command the module called starts and ends inside the module's command.
  EXPECT_EQ(rec.log, (Log{"start ERASE", "cancel ERASE", "unknown NOSUCHCMD", "start DRAWFAIL",
                          "start LINE", "end LINE", "fail DRAWFAIL"}));
  EXPECT_NE(out().find("out of paper"), std::string::npos);
}

TEST_F(ReactorTest, CommandLeftWaitingEndsOnTheNextCall) {
  dx_point a = {0, 0, 0}, b = {3, 0, 0};
  EXPECT_EQ(dxedCommandS(RTSTR, "LINE", RTPOINT, a, 0), RTNORM);
  EXPECT_EQ(rec.log, (Log{"start LINE"}));
  EXPECT_EQ(dxedCommandS(RTPOINT, b, RTSTR, "", 0), RTNORM);
  EXPECT_EQ(rec.log, (Log{"start LINE", "end LINE"}));
}

TEST_F(ReactorTest, SystemVariableChangesAndRemoval) {
  resbuf rb{};
  rb.restype = RTSHORT;
  rb.resval.rint = 0;
  ASSERT_EQ(dxedSetVar("CMDECHO", &rb), RTNORM);
  rb.resval.rint = 42;
  EXPECT_EQ(dxedSetVar("LUPREC", &rb), RTERROR);  // out of range: never about to change
  resbuf name{};
  name.restype = RTSTR;
  name.resval.rstring = const_cast<char*>("NOPE");
  EXPECT_EQ(dxedSetVar("CLAYER", &name), RTERROR);
  name.resval.rstring = const_cast<char*>("999");
  EXPECT_EQ(dxedSetVar("CECOLOR", &name), RTERROR);
  EXPECT_EQ(rec.log, (Log{"var? CMDECHO", "var CMDECHO ok", "var? CLAYER", "var CLAYER refused",
                          "var? CECOLOR", "var CECOLOR refused"}));
  editor->removeReactor(&rec);
  rec.log.clear();
  ASSERT_EQ(script("LINE 0,0 1,0 \"\"\n"), 0) << failure;
  rb.resval.rint = 1;
  dxedSetVar("CMDECHO", &rb);
  EXPECT_TRUE(rec.log.empty());
}

// A reactor that takes itself off while it is being told: the others still hear it.
TEST_F(ReactorTest, ReactorRemovingItselfDuringANotification) {
  struct OneShot : DxEditorReactor {
    DxEditor* ed = nullptr;
    int calls = 0;
    void commandWillStart(const char*) override {
      ++calls;
      ed->removeReactor(this);
    }
  } once;
  once.ed = editor;
  editor->addReactor(&once);
  ASSERT_EQ(script("LINE 0,0 1,0 \"\"\nLINE 0,0 2,0 \"\"\n"), 0) << failure;
  EXPECT_EQ(once.calls, 1);
  EXPECT_EQ(rec.log, (Log{"start LINE", "end LINE", "start LINE", "end LINE"}));
}

}  // namespace
