// The one-point snap call modules use, and the aperture it looks within.
#include <gtest/gtest.h>

#include <cmath>

#include "fixture.h"

namespace {

class OsnapTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    session().newDocument();
    addLine(0, 0, 100, 0);
    append(new DxDbArc(DxGePoint3d(50, 50, 0), 10, 0, M_PI));
  }
  bool snap(const char* mode, double x, double y, DxGePoint3d& out) {
    dx_point p = {x, y, 0}, r;
    if (dxedOsnap(p, mode, r) != RTNORM) return false;
    out = {r[0], r[1], r[2]};
    return true;
  }
};

TEST_F(OsnapTest, NearestEndMiddleCentreAndIntersection) {
  double ap = dx::ed::snapAperture();
  ASSERT_GT(ap, 0.01);
  ASSERT_LT(ap, 1);
  DxGePoint3d q;
  ASSERT_TRUE(snap("nea", 30, ap / 2, q));
  EXPECT_TRUE(q.isEqualTo({30, 0, 0}));
  EXPECT_FALSE(snap("nea", 30, ap * 1.5, q));  // outside the aperture
  ASSERT_TRUE(snap("nea", 56 + ap / 5, 58 + ap / 5, q));  // onto the arc, radially
  EXPECT_NEAR(q.distanceTo({50, 50, 0}), 10, 1e-12);
  ASSERT_TRUE(snap("end,mid", 50 + ap / 3, 0, q));
  EXPECT_TRUE(q.isEqualTo({50, 0, 0}));
  ASSERT_TRUE(snap("mid", 50 + ap / 3, 60 - ap / 3, q));  // the arc's middle
  EXPECT_TRUE(q.isEqualTo({50, 60, 0}, 1e-12));
  EXPECT_FALSE(snap("cen", 70, 70, q));
  ASSERT_TRUE(snap("qua", 40 + ap / 3, 50 + ap / 3, q));
  EXPECT_TRUE(q.isEqualTo({40, 50, 0}, 1e-12));
  // The arc's end meets nothing, its quadrant at (60,50) is no crossing either.
  EXPECT_FALSE(snap("int", 60, 50, q));
  addLine(60, 40, 60, 60);
  ASSERT_TRUE(snap("int", 60 + ap / 3, 50, q));
  EXPECT_TRUE(q.isEqualTo({60, 50, 0}, 1e-9));
  // With several modes the closest candidate wins.
  ASSERT_TRUE(snap("end,nea", 100 - ap / 2, ap / 10, q));
  EXPECT_TRUE(q.isEqualTo({100 - ap / 2, 0, 0}));
  ASSERT_TRUE(snap("end,mid,nea", 100 + ap / 2, ap / 10, q));  // past the end: the end
  EXPECT_TRUE(q.isEqualTo({100, 0, 0}));
  dx_point p = {0, 0, 0}, r;
  EXPECT_EQ(dxedOsnap(p, "bogus", r), RTERROR);
}

}  // namespace
