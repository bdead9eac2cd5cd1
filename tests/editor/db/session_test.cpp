#include <gtest/gtest.h>

#include "fixture.h"
#include "hostapi/ui.h"

using namespace dx::ed;

namespace {
int g_calls = 0;
void countingCommand() { ++g_calls; }

std::string g_log;
void askTwoPoints() {
  dx_point a, b;
  if (dxedGetPoint(nullptr, "\nFirst: ", a) != RTNORM) return;
  if (dxedGetPoint(a, "\nSecond: ", b) != RTNORM) return;
  g_log += "got " + formatPoint({a[0], a[1], a[2]}) + " " + formatPoint({b[0], b[1], b[2]});
}
}  // namespace

TEST_F(EditorTest, CommandStackGroupsNamesAndRemoval) {
  DxEdCommandStack* stack = DxRxObject::cast<DxEdCommandStack>(dxrxSysRegistry()->at("DXRX_REGISTERED_COMMANDS"));
  ASSERT_NE(stack, nullptr);
  ASSERT_EQ(stack->addCommand("TESTGRP", "hello", "hallo", 0x2, countingCommand), Dxad::eOk);
  EXPECT_EQ(stack->addCommand("TESTGRP", "HELLO", "x", 0, countingCommand), Dxad::eDuplicateKey);
  EXPECT_EQ(stack->addCommand("OTHER", "hello", "hello", 0, countingCommand), Dxad::eOk);
  // The local name, the global name with "_", and any case reach the command.
  DxEdCommand* byLocal = stack->lookupCmd("HALLO");
  ASSERT_NE(byLocal, nullptr);
  EXPECT_EQ(byLocal->group, "TESTGRP");
  EXPECT_EQ(stack->lookupCmd("hallo", true), nullptr);
  // The most recent group wins a shared global name.
  EXPECT_EQ(stack->lookupGlobalCmd("hello")->group, "OTHER");
  g_calls = 0;
  EXPECT_EQ(dxedCommandS(RTSTR, "_hello", 0), RTNORM);
  EXPECT_EQ(dxedCommandS(RTSTR, "hallo", 0), RTNORM);
  EXPECT_EQ(g_calls, 2);
  EXPECT_EQ(stack->removeGroup("TESTGRP"), Dxad::eOk);
  EXPECT_EQ(stack->removeGroup("TESTGRP"), Dxad::eKeyNotFound);
  EXPECT_EQ(stack->lookupCmd("hallo"), nullptr);
  EXPECT_EQ(stack->removeGroup("OTHER"), Dxad::eOk);
  EXPECT_EQ(dxedCommandS(RTSTR, "hello", 0), RTERROR);
  EXPECT_EQ(g_calls, 2);
}

TEST_F(EditorTest, CommandLeftWaitingIsFedByTheNextCall) {
  auto* stack = dxedRegCmds();
  ASSERT_EQ(stack->addCommand("TESTGRP", "TWOPTS", "TWOPTS", 0, askTwoPoints), Dxad::eOk);
  g_log.clear();
  dx_point p1 = {1, 2, 0}, p2 = {3, 4, 0};
  EXPECT_EQ(dxedCommandS(RTSTR, "TWOPTS", RTPOINT, p1, 0), RTNORM);
  resbuf names{};
  ASSERT_EQ(dxedGetVar("CMDNAMES", &names), RTNORM);
  EXPECT_STREQ(names.resval.rstring, "TWOPTS");
  free(names.resval.rstring);
  EXPECT_EQ(g_log, "");
  EXPECT_EQ(dxedCommandS(RTPOINT, p2, 0), RTNORM);
  EXPECT_EQ(g_log, "got 1,2,0 3,4,0");
  ASSERT_EQ(dxedGetVar("CMDNAMES", &names), RTNORM);
  EXPECT_STREQ(names.resval.rstring, "");
  free(names.resval.rstring);
  stack->removeGroup("TESTGRP");
}

TEST_F(EditorTest, PromptsReRunOnBadAnswersAndHonourInitGet) {
  auto& q = session().directAnswers;
  q.push_back(Answer::text_("nonsense"));
  q.push_back(Answer::text_("1,2,3,4"));
  q.push_back(Answer::text_("5,6"));
  dx_point p;
  EXPECT_EQ(dxedGetPoint(nullptr, "\nPoint: ", p), RTNORM);
  EXPECT_EQ(p[0], 5);
  EXPECT_EQ(p[1], 6);
  std::string text = out();
  EXPECT_NE(text.find("Invalid point."), std::string::npos);

  dxedInitGet(RSG_NONULL | RSG_NOZERO, "eXit Block _eXit Block");
  q.push_back(Answer::empty());
  q.push_back(Answer::text_("0"));
  q.push_back(Answer::text_("x"));
  int n = 0;
  EXPECT_EQ(dxedGetInt("\nNumber: ", &n), RTKWORD);
  char kw[64];
  dxedGetInput(kw, sizeof kw);
  EXPECT_STREQ(kw, "eXit");
  // The flags held for one prompt only: now Enter is accepted.
  q.push_back(Answer::empty());
  EXPECT_EQ(dxedGetInt("\nNumber: ", &n), RTNONE);
  q.push_back(Answer::text_("2.5"));
  q.push_back(Answer::text_("7"));
  EXPECT_EQ(dxedGetInt("\nNumber: ", &n), RTNORM);
  EXPECT_EQ(n, 7);
  q.push_back(Answer::cancel());
  EXPECT_EQ(dxedGetReal("\nReal: ", nullptr), RTCAN);
  // Out of answers outside a command counts as a cancel.
  EXPECT_EQ(dxedGetString(1, "\nText: ", kw, sizeof kw), RTCAN);
}

TEST_F(EditorTest, KeywordsLocalGlobalAndAbbreviations) {
  auto& q = session().directAnswers;
  char kw[64];
  for (auto [typed, expect] : std::vector<std::pair<const char*, const char*>>{
           {"Blok", "Block"}, {"b", "Block"}, {"_Block", "Block"}, {"SP", "sPecify"}, {"p", "sPecify"}}) {
    dxedInitGet(0, "Blok Groesse sPecify _Block Size sPecify");
    q.push_back(Answer::text_(typed));
    ASSERT_EQ(dxedGetKword("\nOption: ", kw, sizeof kw), RTNORM) << typed;
    EXPECT_STREQ(kw, expect) << typed;
  }
  dxedInitGet(0, "Yes No");
  q.push_back(Answer::text_("maybe"));
  q.push_back(Answer::text_("\"Yes\""));  // tokenised as text with quotes kept: not a keyword
  q.push_back(Answer::text_("n"));
  ASSERT_EQ(dxedGetKword("\nOK? ", kw, sizeof kw), RTNORM);
  EXPECT_STREQ(kw, "No");
}

TEST_F(EditorTest, SystemVariablesTypesReadOnlyAndDrawingScope) {
  resbuf rb{};
  ASSERT_EQ(dxedGetVar("OFFSETDIST", &rb), RTNORM);
  EXPECT_EQ(rb.restype, RTREAL);
  EXPECT_EQ(rb.resval.rreal, -1.0);
  rb.restype = RTSHORT;
  rb.resval.rint = 5;
  EXPECT_EQ(dxedSetVar("OFFSETDIST", &rb), RTNORM);  // an integer for a real is accepted
  resbuf back{};
  dxedGetVar("OFFSETDIST", &back);
  EXPECT_EQ(back.resval.rreal, 5.0);
  rb.resval.rint = 9;
  EXPECT_EQ(dxedSetVar("LUPREC", &rb), RTERROR);  // out of range
  rb.resval.rint = 2;
  EXPECT_EQ(dxedSetVar("LUPREC", &rb), RTNORM);
  char s[64];
  dxdbRToS(1.23456, -1, -1, s, sizeof s);
  EXPECT_STREQ(s, "1.23");
  EXPECT_EQ(dxedSetVar("CMDNAMES", &rb), RTERROR);
  EXPECT_EQ(dxedGetVar("NOSUCH", &rb), RTERROR);

  // CLAYER is the drawing's: only an existing layer, and it lands in the database.
  resbuf name{};
  name.restype = RTSTR;
  name.resval.rstring = const_cast<char*>("WALLS");
  EXPECT_EQ(dxedSetVar("CLAYER", &name), RTERROR);
  DxDbObjectId walls = addLayer("WALLS");
  EXPECT_EQ(dxedSetVar("CLAYER", &name), RTNORM);
  EXPECT_EQ(db()->clayer(), walls);
  // A new drawing has its own value; the session's CMDECHO is shared.
  rb.resval.rint = 0;
  dxedSetVar("CMDECHO", &rb);
  session().setCurrent(session().newDocument());
  resbuf cl{};
  dxedGetVar("CLAYER", &cl);
  EXPECT_STREQ(cl.resval.rstring, "0");
  free(cl.resval.rstring);
  resbuf echo{};
  dxedGetVar("CMDECHO", &echo);
  EXPECT_EQ(echo.resval.rint, 0);
}

TEST_F(EditorTest, TypedVariableNameAndSetvarAskForAValue) {
  EXPECT_EQ(script("DIMSCALE 2.5\nSETVAR LUNITS 9\n4\n"), 0) << failure;
  EXPECT_EQ(session().getReal("DIMSCALE"), 2.5);
  EXPECT_EQ(session().getInt("LUNITS"), 4);
  std::string text = out();
  EXPECT_NE(text.find("Enter new value for DIMSCALE <1>: 2.5"), std::string::npos) << text;
  EXPECT_NE(text.find("between 1 and 5"), std::string::npos) << text;
}

TEST_F(EditorTest, MessageBoxTakesItsAnswerFromTheInput) {
  EXPECT_EQ(DxUiMessageBox("Done.", "Test", MB_OK), IDOK);
  auto& q = session().directAnswers;
  q.push_back(Answer::text_("n"));
  EXPECT_EQ(DxUiMessageBox("Replace?", "Test", MB_YESNO), IDNO);
  q.push_back(Answer::cancel());
  EXPECT_EQ(DxUiMessageBox("Replace?", "Test", MB_YESNOCANCEL), IDCANCEL);
  EXPECT_NE(out().find("Test: Replace?"), std::string::npos);
}

TEST_F(EditorTest, DocumentDataPerDocument) {
  struct Accuracy {
    int segments = 64;
  };
  DxApDataManager<Accuracy> data;
  data.docData().segments = 128;
  DxApDocument* first = dxDocManagerPtr()->curDocument();
  session().setCurrent(session().newDocument());
  EXPECT_EQ(data.docData().segments, 64);  // a record of its own, made on first access
  EXPECT_EQ(data.docData(first).segments, 128);
  EXPECT_EQ(dxDocManagerPtr()->documentCount(), 2);
  session().closeDocument(static_cast<Document*>(first));
  EXPECT_FALSE(data.hasData(first));
}

namespace {
// Starts TWOPTS with its first point and leaves its second to the user.
void pausingCaller() {
  dx_point p1 = {1, 2, 0};
  int rc = dxedCommandS(RTSTR, "TWOPTS", RTPOINT, p1, RTSTR, PAUSE, 0);
  g_log += " rc " + std::to_string(rc);
}
}  // namespace

TEST_F(EditorTest, PauseInACommandCallLeavesOnePromptToTheUser) {
  auto* stack = dxedRegCmds();
  ASSERT_EQ(stack->addCommand("TESTGRP", "TWOPTS", "TWOPTS", 0, askTwoPoints), Dxad::eOk);
  ASSERT_EQ(stack->addCommand("TESTGRP", "PAUSER", "PAUSER", 0, pausingCaller), Dxad::eOk);
  g_log.clear();
  EXPECT_EQ(script("CMDECHO 0\nPAUSER\n5,6\n"), 0) << failure;
  EXPECT_EQ(g_log, "got 1,2,0 5,6,0 rc 5100");
  EXPECT_NE(out().find("Second: 5,6"), std::string::npos);  // shown although CMDECHO is 0
  g_log.clear();
  EXPECT_EQ(script("PAUSER\n^C\n"), 0) << failure;
  EXPECT_EQ(g_log, " rc " + std::to_string(RTCAN));
  EXPECT_EQ(session().cmdNames(), "");
  stack->removeGroup("TESTGRP");
}
