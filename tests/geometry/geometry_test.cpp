// Plane curves and areas on the cases that break naive code: near-full arcs, either
// orientation, collinear overlaps, touching islands and gaps at the tolerance.
#include <gtest/gtest.h>

#include <cmath>

#include "hostapi/geometry.h"

namespace {

KvGePolyline2d rect(double x0, double y0, double x1, double y1, bool clockwise = false) {
  std::vector<DxGePoint2d> p{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
  if (clockwise) std::reverse(p.begin(), p.end());
  return KvGePolyline2d(p, {}, true);
}

// A circle of radius r as a polyline of two half-circle bulges.
KvGePolyline2d disc(DxGePoint2d c, double r, bool clockwise = false) {
  double b = clockwise ? -1 : 1;
  return KvGePolyline2d({{c.x - r, c.y}, {c.x + r, c.y}}, {b, b}, true);
}

TEST(Curves2d, AreaAndInsideKeepArcsExactInEitherOrientation) {
  for (bool cw : {false, true}) {
    KvGePolyline2d d = disc({3, 4}, 2, cw);
    EXPECT_NEAR(d.Area(), (cw ? -1 : 1) * M_PI * 4, 1e-12);
    EXPECT_TRUE(d.IsInclude({4.99, 4}));
    EXPECT_TRUE(d.IsInclude({3, 5.999}));
    EXPECT_FALSE(d.IsInclude({4.5, 5.5}));  // inside the chord box, outside the arc
    EXPECT_TRUE(d.IsInclude({5, 4}));       // on the curve
    DxGePoint2d lo, hi;
    d.GetExtent2d(lo, hi);
    EXPECT_NEAR(lo.y, 2, 1e-12);
    EXPECT_NEAR(hi.y, 6, 1e-12);
  }
}

TEST(Curves2d, ArcOfNearlyAFullTurn) {
  // 359 degrees from (1,0) round to just below it, closed by a short chord.
  double sweep = 359 * M_PI / 180;
  DxGePoint2d end{std::cos(sweep), std::sin(sweep)};
  KvGePolyline2d pie({{1, 0}, end}, {std::tan(sweep / 4), 0}, true);
  double expected = 0.5 * (sweep - std::sin(sweep));  // the segment the chord cuts off
  EXPECT_NEAR(pie.Area(), expected, 1e-12);
  EXPECT_TRUE(pie.IsInclude({-0.99, 0}));
  EXPECT_TRUE(pie.IsInclude({0, 0}));
  EXPECT_FALSE(pie.IsInclude({1.01, -0.001}));
  DxGePoint2d lo, hi;
  pie.GetExtent2d(lo, hi);
  EXPECT_NEAR(lo.x, -1, 1e-12);
  EXPECT_NEAR(lo.y, -1, 1e-12);
  EXPECT_NEAR(hi.y, 1, 1e-12);
  std::vector<DxGePoint2d> pts;
  pie.MLinearize(64, pts);
  EXPECT_EQ(pts.size(), 65u);  // 64 chords on the arc (ceil of 63.8), one back to the start
  // A line through the gap side meets the arc twice and the chord once.
  std::vector<DxGePoint2d> hits;
  EXPECT_EQ(KvGeLineSeg2d({0.5, -2}, {0.5, 2}).IntersectWith(pie, hits), 2);
  // Near the gap the lower crossing of the circle is missing; the chord is met instead.
  hits.clear();
  ASSERT_EQ(KvGeLineSeg2d({0.9999, -0.5}, {0.9999, 0.5}).IntersectWith(pie, hits), 2);
  double chordY = end.y * (1 - 0.9999) / (1 - end.x);
  EXPECT_NEAR(std::min(hits[0].y, hits[1].y), chordY, 1e-9);
}

TEST(Curves2d, IntersectionsOfLinesAndCircles) {
  std::vector<DxGePoint2d> pts;
  KvGeCircle2d c({0, 0}, 1);
  EXPECT_EQ(KvGeLineSeg2d({-2, 1}, {2, 1}).IntersectWith(c, pts), 1);  // tangent once
  EXPECT_NEAR(pts.back().x, 0, 1e-7);
  EXPECT_EQ(KvGeCircle2d({1.5, 0}, 1).IntersectWith(c, pts), 2);
  EXPECT_NEAR(pts.back().x, 0.75, 1e-12);
  // Collinear overlap meets at the ends of the overlap only.
  pts.clear();
  EXPECT_EQ(KvGeLineSeg2d({0, 0}, {4, 0}).IntersectWith(KvGeLineSeg2d({2, 0}, {6, 0}), pts), 2);
  EXPECT_EQ(pts[0], DxGePoint2d(2, 0));
  EXPECT_EQ(pts[1], DxGePoint2d(4, 0));
  pts.clear();
  EXPECT_EQ(KvGeLineSeg2d({0, 0}, {4, 0}).IntersectWith(KvGeLineSeg2d({0, 1e-6}, {4, 1e-6}), pts), 0);
}

TEST(Curves2d, GapsCloseOnlyWithinTheTolerance) {
  KvGeLineSeg2d a({0, 0}, {1, 0}), b({1 + 5e-11, 0}, {1, 1});
  std::vector<DxGePoint2d> pts;
  EXPECT_EQ(a.IntersectWith(b, pts, 1e-10), 1);
  EXPECT_EQ(a.IntersectWith(b, pts, 1e-11), 0);
}

TEST(Regions, IslandsTouchingEachOtherAndTheOuterEdge) {
  KvGeObjList loops;
  loops.Add(rect(0, 0, 10, 10).Clone());
  loops.Add(rect(2, 2, 4, 4, true).Clone());   // two islands sharing an edge
  loops.Add(rect(4, 2, 6, 4).Clone());
  loops.Add(rect(8, 0, 10, 2).Clone());        // an island in the outer corner
  KvGeGeneralRegion2d area(loops);
  EXPECT_NEAR(area.Area(), 100 - 4 - 4 - 4, 1e-9);
  EXPECT_FALSE(area.IsInclude({3, 3}));
  EXPECT_FALSE(area.IsInclude({9, 1}));
  EXPECT_TRUE(area.IsInclude({7, 7}));
  EXPECT_TRUE(area.IsInclude({5, 8}));
}

TEST(Regions, BooleansOnSharedEdges) {
  KvGeGeneralRegion2d a(rect(0, 0, 2, 2)), b(rect(2, 0, 4, 2, true));
  KvGeGeneralRegion2d u = a.Union(b);
  EXPECT_EQ(u.NumRegions(), 1u);  // the shared edge vanishes
  EXPECT_NEAR(u.Area(), 8, 1e-9);
  EXPECT_NEAR(a.Intersect(b).Area(), 0, 1e-9);
  EXPECT_NEAR(u.Subtract(KvGeGeneralRegion2d(rect(1, 0.5, 3, 1.5))).Area(), 6, 1e-9);
  KvGeGeneralRegion2d grown = a.Offset(1);
  EXPECT_NEAR(grown.Area(), 4 + 8 + M_PI, 0.01);
  EXPECT_NEAR(grown.Offset(-1).Area(), 4, 0.01);
}

TEST(Regions, CutsThroughAnIslandLeaveNoHoles) {
  KvGeObjList loops;
  loops.Add(rect(0, 0, 10, 6).Clone());
  loops.Add(disc({5, 3}, 1).Clone());
  KvGeGeneralRegion2d area(loops, 128);
  double before = area.Area();
  area.Cut(KvGeLineSeg2d({4.2, -5}, {4.2, 11}));
  area.Cut(KvGeLineSeg2d({5.8, -5}, {5.8, 11}));
  std::vector<KvGeRegion2d> pieces;
  area.GetCurRegion2D(pieces);
  ASSERT_EQ(pieces.size(), 4u);  // left, right, above and below the island
  double sum = 0;
  for (const auto& p : pieces) {
    EXPECT_TRUE(p.holes.empty());
    sum += p.Area();
  }
  EXPECT_NEAR(sum, before, 1e-6);
  EXPECT_NEAR(before, 60 - M_PI, 0.01);
}

TEST(Curves3d, ArcSamplesRunFromStartToEnd) {
  DxGeCircArc3d arc({1, 1, 0}, {0, 0, -1}, {1, 0, 0}, 2, 0, M_PI / 2);
  std::vector<DxGePoint3d> pts;
  arc.getSamplePoints(3, pts);
  ASSERT_EQ(pts.size(), 3u);
  EXPECT_TRUE(pts[0].isEqualTo({3, 1, 0}));
  EXPECT_TRUE(pts[2].isEqualTo({1, -1, 0}));  // clockwise seen from +z
  EXPECT_TRUE(pts[1].isEqualTo({1 + std::sqrt(2.0), 1 - std::sqrt(2.0), 0}, 1e-12));
}

TEST(Matrix, RotationAboutAPointUndoneByItsInverse) {
  DxGeMatrix3d m;
  m.setToRotation(0.7, {1, 2, 3}, {4, 5, 6});
  m.postMultBy(DxGeMatrix3d().setToTranslation({1, -2, 0.5}));
  DxGePoint3d p{3, -1, 2};
  EXPECT_TRUE((m.inverse() * (m * p)).isEqualTo(p, 1e-12));
  EXPECT_TRUE((m * m.inverse()).isIdentity(1e-12));
  EXPECT_NEAR(m.det(), 1, 1e-12);
}

}  // namespace
