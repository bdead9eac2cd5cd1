// CSysVarSet inside real commands: every way out restores the fourteen variables, and
// one U takes the whole command back.
#include <functional>
#include <map>

#include "express/env/sysvar_guard.h"
#include "tests/editor/db/fixture.h"

using express::CSysVarSet;

namespace {

// Values every variable is given inside the command, all different from the defaults.
const std::map<std::string, std::string> kInside = {
    {"HIGHLIGHT", "0"}, {"PLINETYPE", "0"},  {"OSMODE", "512"},   {"MIRRTEXT", "1"},
    {"DIMZIN", "8"},    {"ATTMODE", "2"},    {"ATTDIA", "1"},     {"REGENMODE", "0"},
    {"OFFSETDIST", "7.5"}, {"ATTREQ", "0"},  {"GRIDMODE", "1"},   {"PLINEWID", "0.25"},
    {"CELTYPE", "Continuous"}};

std::string varText(const char* name) {
  resbuf rb{};
  if (dxedGetVar(name, &rb) != RTNORM) return "?";
  char buf[64];
  std::string s;
  switch (rb.restype) {
    case RTSHORT: s = std::to_string(rb.resval.rint); break;
    case RTLONG: s = std::to_string(rb.resval.rlong); break;
    case RTREAL: std::snprintf(buf, sizeof buf, "%g", rb.resval.rreal); s = buf; break;
    case RTSTR: s = rb.resval.rstring; std::free(rb.resval.rstring); break;
    default: s = "?";
  }
  return s;
}

std::map<std::string, std::string> snapshot() {
  std::map<std::string, std::string> m;
  for (const char* v : CSysVarSet::kVariables) m[v] = varText(v);
  return m;
}

void setVar(const std::string& name, const std::string& value) {
  resbuf rb{};
  rb.restype = RTSTR;
  if (name == "CELTYPE") {
    rb.resval.rstring = const_cast<char*>(value.c_str());
  } else if (value.find('.') != std::string::npos) {
    rb.restype = RTREAL;
    rb.resval.rreal = std::stod(value);
  } else {
    rb.restype = RTSHORT;
    rb.resval.rint = short(std::stoi(value));
  }
  ASSERT_EQ(dxedSetVar(name.c_str(), &rb), RTNORM) << name;
}

// The body of the test command, chosen per test.
std::function<void()> g_body;
std::string g_echoInside;
void guardedCommand() { g_body(); }

// Records the order of variable writes and of command starts.
struct Recorder : DxEditorReactor {
  std::vector<std::string> events;
  void sysVarChanged(const char* name, bool) override { events.push_back(std::string("var ") + name); }
  void commandWillStart(const char* name) override { events.push_back(std::string("cmd ") + name); }
};

class GuardTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    dxedRegCmds()->addCommand("GUARDTEST", "GUARDED", "GUARDED", 0, guardedCommand);
  }
  void TearDown() override {
    dxedRegCmds()->removeGroup("GUARDTEST");
    EditorTest::TearDown();
  }
  // A body that changes every variable and draws a line, then ends by `ending`.
  void changeAndDraw(bool undoGrouping, std::function<void()> ending) {
    g_body = [=] {
      CSysVarSet guard(undoGrouping);
      g_echoInside = varText("CMDECHO");
      for (auto& [name, value] : kInside) setVar(name, value);
      dxedCommandS(RTSTR, "._LINE", RTSTR, "0,0", RTSTR, "10,0", RTSTR, "", 0);
      dxedCommandS(RTSTR, "._LINE", RTSTR, "0,5", RTSTR, "10,5", RTSTR, "", 0);
      ending();
    };
  }
};

}  // namespace

TEST_F(GuardTest, VariablesComeBackAfterANormalEndACancelAndAnError) {
  auto before = snapshot();
  ASSERT_EQ(before["CMDECHO"], "1");

  changeAndDraw(true, [] {});
  ASSERT_EQ(script("GUARDED\n"), 0) << failure;
  EXPECT_EQ(g_echoInside, "0");
  EXPECT_EQ(snapshot(), before);
  EXPECT_EQ(entities().size(), 2u);

  // Cancel at a prompt of the command.
  changeAndDraw(true, [] {
    dx_point p;
    dxedGetPoint(nullptr, "\nPoint: ", p);
  });
  ASSERT_EQ(script("GUARDED\n^C\n"), 0) << failure;
  EXPECT_EQ(snapshot(), before);

  // A host call that fails makes the command give up half-way.
  changeAndDraw(false, [] { EXPECT_EQ(dxedCommandS(RTSTR, "._NOSUCHCOMMAND", 0), RTERROR); });
  script("GUARDED\n");
  EXPECT_EQ(snapshot(), before);
  EXPECT_TRUE(db()->openObjects().empty());
}

TEST_F(GuardTest, OneUndoTakesBackTheWholeGuardedCommand) {
  ASSERT_EQ(script("LINE 0,10 5,10 \"\"\n"), 0) << failure;
  ASSERT_EQ(entities().size(), 1u);
  changeAndDraw(true, [] {});
  ASSERT_EQ(script("GUARDED\n"), 0) << failure;
  ASSERT_EQ(entities().size(), 3u);
  ASSERT_EQ(script("U\n"), 0) << failure;
  EXPECT_EQ(entities().size(), 1u);  // both lines of the command, and only they
  ASSERT_EQ(script("U\n"), 0) << failure;
  EXPECT_EQ(entities().size(), 0u);
}

TEST_F(GuardTest, SavesInOrderRestoresEchoFirstAndClosesExactlyTwoGroups) {
  Recorder rec;
  dxedEditor()->addReactor(&rec);
  g_body = [] { CSysVarSet guard(true); };
  ASSERT_EQ(script("GUARDED\n"), 0) << failure;
  dxedEditor()->removeReactor(&rec);

  std::vector<std::string> expected = {"cmd GUARDED", "var CMDECHO", "cmd UNDO", "cmd UNDO", "cmd UNDO",
                                       "cmd UNDO", "cmd UNDO", "cmd UNDO"};
  for (const char* v : CSysVarSet::kVariables) expected.push_back(std::string("var ") + v);
  // UNDO changes no variable of the list; anything else it reports is left out here.
  std::vector<std::string> seen;
  for (const std::string& e : rec.events)
    if (e.rfind("cmd ", 0) == 0 || std::find_if(CSysVarSet::kVariables.begin(), CSysVarSet::kVariables.end(),
                                                 [&](const char* v) { return e == std::string("var ") + v; }) !=
                                       CSysVarSet::kVariables.end())
      seen.push_back(e);
  EXPECT_EQ(seen, expected);
  // Undo groups balanced: the next command is a step of its own.
  ASSERT_EQ(script("LINE 0,0 1,1 \"\"\nLINE 0,0 2,2 \"\"\nU\n"), 0) << failure;
  EXPECT_EQ(entities().size(), 1u);
}

TEST_F(GuardTest, WithoutUndoGroupingNoUndoCommandRuns) {
  Recorder rec;
  dxedEditor()->addReactor(&rec);
  g_body = [] { CSysVarSet guard(false); };
  ASSERT_EQ(script("GUARDED\n"), 0) << failure;
  dxedEditor()->removeReactor(&rec);
  for (const std::string& e : rec.events) EXPECT_NE(e, "cmd UNDO");
}
