// -BOUNDARY driven the way modules drive it: through command calls, with its status.
#include <gtest/gtest.h>

#include <cmath>

#include "fixture.h"

namespace {

int g_rc = 0;
void callBoundaryOutside() {
  dx_point p = {500, 500, 0};
  g_rc = dxedCommandS(RTSTR, ".-BOUNDARY", RTSTR, "_A", RTSTR, "_IS", RTSTR, "_Y", RTSTR, "_OB", RTSTR, "_OPO",
                      RTSTR, "", RT3DPOINT, p, RTSTR, "", 0);
}

class BoundaryTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    session().newDocument();
    addLine(0, 0, 100, 0);
    addLine(100, 0, 100, 100);
    addLine(100, 100, 0, 100);
    addLine(0, 100, 0, 0);
    auto* c = new DxDbCircle(DxGePoint3d(30, 30, 0), DxGeVector3d::kZAxis, 10);
    c->setDatabaseDefaults(db());
    append(c);
  }
  int boundaryAt(double x, double y) {
    dx_point p = {x, y, 0};
    return dxedCommandS(RTSTR, ".-BOUNDARY", RTSTR, "_A", RTSTR, "_IS", RTSTR, "_Y", RTSTR, "_OB", RTSTR, "_OPO",
                        RTSTR, "", RT3DPOINT, p, RTSTR, "", 0);
  }
  std::vector<double> polylineAreas() {
    std::vector<double> areas;
    for (DxDbObjectId id : entities()) {
      dx::ed::Opened<DxDbPolyline> pl(id, DxDb::kForRead);
      if (!pl) continue;
      // Shoelace over the vertices plus the circular segment of every bulge.
      double a = 0;
      for (unsigned i = 0, n = pl->numVerts(); i < n; ++i) {
        DxGePoint2d p, q;
        double b;
        pl->getPointAt(i, p);
        pl->getPointAt((i + 1) % n, q);
        pl->getBulgeAt(i, b);
        a += (p.x * q.y - q.x * p.y) / 2;
        double th = 4 * std::atan(b), r = p.distanceTo(q) / (2 * std::sin(th / 2));
        if (b != 0) a += r * r / 2 * (th - std::sin(th));
      }
      areas.push_back(a);
    }
    return areas;
  }
};

TEST_F(BoundaryTest, CommandCallMakesOutlineAndIslandOnTheCurrentLayer) {
  addLayer("HATCHES");
  ASSERT_EQ(dxedCommandS(RTSTR, "CLAYER", RTSTR, "HATCHES", 0), RTNORM);
  ASSERT_EQ(boundaryAt(50, 50), RTNORM);
  EXPECT_EQ(session().cmdNames(), "");
  auto areas = polylineAreas();
  ASSERT_EQ(areas.size(), 2u);
  EXPECT_NEAR(areas[0], 10000, 1e-6);            // outer first, counter-clockwise
  EXPECT_NEAR(areas[1], -M_PI * 100, 1e-6);      // the island, kept as two bulges
  for (DxDbObjectId id : entities()) {
    dx::ed::Opened<DxDbPolyline> pl(id, DxDb::kForRead);
    if (pl) EXPECT_EQ(pl->layer(), "HATCHES");
  }
}

TEST_F(BoundaryTest, PointInNoAreaFailsTheCallAndChangesNothing) {
  size_t before = entities().size();
  EXPECT_EQ(boundaryAt(200, 50), RTERROR);
  EXPECT_EQ(entities().size(), before);
  EXPECT_EQ(session().cmdNames(), "");
  EXPECT_NE(out().find("no closed area"), std::string::npos);
  // The next call is not blamed for the earlier failure.
  EXPECT_EQ(boundaryAt(50, 50), RTNORM);
}

TEST_F(BoundaryTest, FailureReachesTheCallingCommandOnlyAndStopsAScript) {
  ASSERT_EQ(dxedRegCmds()->addCommand("TESTGRP", "CALLB", "CALLB", 0, callBoundaryOutside), Dxad::eOk);
  g_rc = 0;
  EXPECT_EQ(script("CALLB\nLINE 0,0 5,5 \"\"\n"), 0);  // the caller handled it
  EXPECT_EQ(g_rc, RTERROR);
  size_t before = entities().size();
  EXPECT_EQ(script("-BOUNDARY 300,300\nLINE 0,0 5,5 \"\"\n"), 1);
  EXPECT_NE(failure.find("failed"), std::string::npos);
  EXPECT_EQ(entities().size(), before);  // the script stopped before the line
  dxedRegCmds()->removeGroup("TESTGRP");
}

}  // namespace
