// DxEdJig through small commands of the test's own, answered from scripts.
#include <gtest/gtest.h>

#include <cmath>

#include "fixture.h"

namespace {

std::string g_log;
int g_controls = 0;

// Drags the end of a line that starts at the origin; the origin itself is refused.
class EndJig : public DxEdJig {
 public:
  EndJig() : m_line(new DxDbLine({0, 0, 0}, {1, 0, 0})) {}
  ~EndJig() override { delete m_line; }
  DragStatus sampler() override { return acquirePoint(m_end, DxGePoint3d(0, 0, 0)); }
  bool update() override {
    if (m_end.isEqualTo(DxGePoint3d::kOrigin)) return false;
    m_line->setEndPoint(m_end);
    return true;
  }
  DxDbEntity* entity() const override { return m_line; }
  void appendLine() {
    if (!append().isNull()) m_line = nullptr;
  }

 private:
  DxDbLine* m_line;
  DxGePoint3d m_end;
};

void endJigCommand() {
  EndJig jig;
  jig.setDispPrompt("\nEnd point or [Flip/Stop]: ");
  jig.setKeywordList("Flip Stop");
  jig.setUserInputControls(g_controls);
  for (;;) {
    DxEdJig::DragStatus s = jig.drag();
    g_log += std::to_string(int(s)) + " ";
    if (s == DxEdJig::kNormal) return jig.appendLine();
    if (s != DxEdJig::kKW1 && s != DxEdJig::kOther) return;
  }
}

// Asks a scale and an angle the way the image jigs do, and logs what it got.
class ValueJig : public DxEdJig {
 public:
  bool angle = false;
  double value = -1;
  DragStatus sampler() override {
    return angle ? acquireAngle(value, DxGePoint3d(1, 1, 0)) : acquireDist(value, DxGePoint3d(1, 1, 0));
  }
  bool update() override { return true; }
  DxDbEntity* entity() const override { return nullptr; }
};

void valueJigCommand() {
  ValueJig jig;
  jig.setDispPrompt("\nScale: ");
  jig.setUserInputControls(DxEdJig::kNoZeroResponseAccepted | DxEdJig::kNoNegativeResponseAccepted);
  if (jig.drag() != DxEdJig::kNormal) return;
  double scale = jig.value;
  jig.angle = true;
  jig.setDispPrompt("\nRotation: ");
  if (jig.drag() != DxEdJig::kNormal) return;
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.6g %.6g", scale, jig.value);
  g_log = buf;
}

class JigTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    session().newDocument();
    g_log.clear();
    g_controls = 0;
    auto* stack = dxedRegCmds();
    stack->addCommand("JIGTESTS", "ENDJIG", "ENDJIG", 0, endJigCommand);
    stack->addCommand("JIGTESTS", "VALUEJIG", "VALUEJIG", 0, valueJigCommand);
  }
  void TearDown() override {
    dxedRegCmds()->removeGroup("JIGTESTS");
    EditorTest::TearDown();
  }
  std::vector<DxGePoint3d> lineEnds() {
    std::vector<DxGePoint3d> ends;
    for (auto id : entities())
      if (dx::ed::Opened<DxDbLine> l(id, DxDb::kForRead); l) ends.push_back(l->endPoint());
    return ends;
  }
};

TEST_F(JigTest, AnsweredPointIsOneSampleThenAcceptance) {
  script("ENDJIG\nF\n0,0\n5,6\n");
  // Flip (kKW1), the refused origin (kOther), then the point.
  EXPECT_EQ(g_log, "1 -3 0 ");
  auto ends = lineEnds();
  ASSERT_EQ(ends.size(), 1u);
  EXPECT_TRUE(ends[0].isEqualTo({5, 6, 0}));
}

TEST_F(JigTest, EnterCancelAndSecondKeywordEndTheDragWithoutEntity) {
  script("ENDJIG\n\n2,2\n");  // Enter is refused unless the jig accepts it
  EXPECT_EQ(g_log, "0 ");
  EXPECT_NE(out().find("required"), std::string::npos);
  g_log.clear();
  g_controls = DxEdJig::kNullResponseAccepted;
  script("ENDJIG\n\nENDJIG\nS\nENDJIG\n^C\n");
  EXPECT_EQ(g_log, "-1 2 -4 ");
  EXPECT_EQ(lineEnds().size(), 1u);
}

TEST_F(JigTest, DistanceAndAngleHonourTheInputControls) {
  script("VALUEJIG\n0\n-2\n2.5\n90\n");
  EXPECT_EQ(g_log, "2.5 1.5708");
  g_log.clear();
  script("VALUEJIG\n4,5\n1,4\n");  // points from the base point (1,1)
  EXPECT_EQ(g_log, "5 1.5708");
}

}  // namespace
