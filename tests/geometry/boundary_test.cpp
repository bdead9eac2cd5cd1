// The area around a point among loose curves, on drawings as people make them: walls of
// separate lines that overlap or stop short, door swings, islands that touch.
#include <gtest/gtest.h>

#include <cmath>

#include "host/geometry/boundary.h"

using dx::geo::BoundaryFinder;
using dx::geo::BoundaryLoop;
using dx::geo::Piece;

namespace {

void box(std::vector<Piece>& out, double x0, double y0, double x1, double y1) {
  out.push_back(Piece::line({x0, y0}, {x1, y0}));
  out.push_back(Piece::line({x1, y0}, {x1, y1}));
  out.push_back(Piece::line({x1, y1}, {x0, y1}));
  out.push_back(Piece::line({x0, y1}, {x0, y0}));
}

struct Found {
  bool ok = false;
  BoundaryLoop outer;
  std::vector<BoundaryLoop> islands;
};

Found find(std::vector<Piece> curves, DxGePoint2d at, double tol = 1e-10, bool islands = true) {
  Found f;
  BoundaryFinder finder(std::move(curves), tol);
  f.ok = finder.find(at, islands, f.outer, f.islands);
  return f;
}

void expectClosed(const BoundaryLoop& l) {
  ASSERT_FALSE(l.pieces.empty());
  for (size_t i = 0; i < l.pieces.size(); ++i)
    EXPECT_LT(l.pieces[i].b.distanceTo(l.pieces[(i + 1) % l.pieces.size()].a), 1e-9);
}

TEST(Boundary, RectangleOfLinesWithACircleAndAnArcShapeInside) {
  std::vector<Piece> c;
  box(c, 0, 0, 100, 100);
  c.push_back(Piece::arc({30, 30}, 10, 0, 2 * M_PI));
  // A closed shape of a line and a half-circle bulge.
  c.push_back(Piece::line({60, 60}, {80, 60}));
  c.push_back(Piece::bulged({80, 60}, {60, 60}, 1));
  Found f = find(c, {5, 5});
  ASSERT_TRUE(f.ok);
  expectClosed(f.outer);
  EXPECT_NEAR(f.outer.area, 10000, 1e-6);
  ASSERT_EQ(f.islands.size(), 2u);
  double holes = 0;
  for (auto& l : f.islands) {
    expectClosed(l);
    EXPECT_LT(l.area, 0);
    holes += l.area;
  }
  EXPECT_NEAR(-holes, M_PI * 100 + M_PI * 100 / 2, 1e-6);
  // Without island detection only the outline comes back.
  Found g = find(c, {5, 5}, 1e-10, false);
  EXPECT_TRUE(g.ok);
  EXPECT_TRUE(g.islands.empty());
  // Inside the circle: the circle itself, with arcs kept.
  Found h = find(c, {30, 31});
  ASSERT_TRUE(h.ok);
  EXPECT_NEAR(h.outer.area, M_PI * 100, 1e-6);
}

TEST(Boundary, RoomOfOverlappingWallsWithADoorSwing) {
  std::vector<Piece> c;
  // Walls drawn as separate lines that overlap and cross at the corners.
  c.push_back(Piece::line({-1, 0}, {6, 0}));
  c.push_back(Piece::line({4, 0}, {11, 0}));  // collinear overlap
  c.push_back(Piece::line({10, -1}, {10, 8}));
  c.push_back(Piece::line({11, 8}, {-1, 8}));
  c.push_back(Piece::line({0, 9}, {0, 3}));
  c.push_back(Piece::line({0, 2}, {0, -1}));  // a door opening from y 2 to 3 in the left wall
  // The door: leaf from the hinge (0,2) to (1,2)... closing the opening with a swing.
  c.push_back(Piece::line({0, 2}, {1, 2}));
  c.push_back(Piece::arc({0, 2}, 1, 0, M_PI / 2));
  Found f = find(c, {5, 5});
  ASSERT_TRUE(f.ok);
  expectClosed(f.outer);
  // The room less the quarter disc of the swing.
  EXPECT_NEAR(f.outer.area, 80 - M_PI / 4, 1e-9);
  EXPECT_TRUE(f.islands.empty());
  // A dangling line inside a room is no island and does not spoil the outline.
  c.push_back(Piece::line({4, 4}, {6, 6}));
  Found g = find(c, {5, 2});
  ASSERT_TRUE(g.ok);
  EXPECT_NEAR(g.outer.area, 80 - M_PI / 4, 1e-9);
  EXPECT_TRUE(g.islands.empty());
}

TEST(Boundary, IslandsTouchingEachOtherOrTheOuterEdge) {
  std::vector<Piece> c;
  box(c, 0, 0, 10, 10);
  box(c, 2, 2, 4, 4);
  box(c, 4, 2, 6, 4);   // shares an edge with the one before: one island of both
  box(c, 8, 0, 10, 2);  // in the corner: part of the outline, no island
  Found f = find(c, {5, 8});
  ASSERT_TRUE(f.ok);
  EXPECT_NEAR(f.outer.area, 100 - 4, 1e-9);
  ASSERT_EQ(f.islands.size(), 1u);
  EXPECT_NEAR(f.islands[0].area, -8, 1e-9);
  // An island inside an island is not one of this area's islands.
  box(c, 2.5, 2.5, 3.5, 3.5);
  f = find(c, {5, 8});
  ASSERT_EQ(f.islands.size(), 1u);
  // Picked inside the first square of the touching pair: that square alone.
  Found g = find(c, {2.2, 2.2});
  ASSERT_TRUE(g.ok);
  EXPECT_NEAR(g.outer.area, 4, 1e-9);
  ASSERT_EQ(g.islands.size(), 1u);
  EXPECT_NEAR(g.islands[0].area, -1, 1e-9);
}

TEST(Boundary, CurvesDrawnTwiceCountOnce) {
  std::vector<Piece> c;
  box(c, 0, 0, 10, 10);
  box(c, 0, 0, 10, 10);
  c.push_back(Piece::line({10, 10}, {0, 10}));  // once more, the other way
  c.push_back(Piece::arc({5, 5}, 2, 0, 2 * M_PI));
  c.push_back(Piece::arc({5, 5}, 2, M_PI, -2 * M_PI));
  Found f = find(c, {1, 1});
  ASSERT_TRUE(f.ok);
  EXPECT_NEAR(f.outer.area, 100, 1e-9);
  EXPECT_EQ(f.outer.pieces.size(), 4u);
  ASSERT_EQ(f.islands.size(), 1u);
  EXPECT_NEAR(f.islands[0].area, -M_PI * 4, 1e-9);
}

TEST(Boundary, GapsCloseWithinTheToleranceOnly) {
  std::vector<Piece> c;
  c.push_back(Piece::line({0, 0}, {10, 0}));
  c.push_back(Piece::line({10, 1e-4}, {10, 10}));
  c.push_back(Piece::line({10, 10}, {0, 10}));
  c.push_back(Piece::line({0, 10}, {0, 0}));
  EXPECT_FALSE(find(c, {5, 5}, 1e-10).ok);
  Found f = find(c, {5, 5}, 1e-3);
  ASSERT_TRUE(f.ok);
  EXPECT_NEAR(f.outer.area, 100, 1e-3);
}

TEST(Boundary, PointsInNoClosedAreaAndPicksInLineWithCorners) {
  std::vector<Piece> c;
  box(c, 0, 0, 10, 10);
  EXPECT_FALSE(find(c, {20, 5}).ok);
  EXPECT_FALSE(find(c, {-5, 5}).ok);  // the ray meets the square from outside
  EXPECT_FALSE(find({}, {0, 0}).ok);
  // A pick level with a corner: the ray runs through vertices and along edges.
  std::vector<Piece> d;
  box(d, 0, 0, 10, 10);
  box(d, 4, 3, 6, 5);
  Found f = find(d, {1, 3});
  ASSERT_TRUE(f.ok);
  EXPECT_NEAR(f.outer.area, 100, 1e-9);
  ASSERT_EQ(f.islands.size(), 1u);
  EXPECT_NEAR(f.islands[0].area, -4, 1e-9);
}

TEST(Boundary, ArcsOfAlmostAFullTurnAndClockwiseInput) {
  std::vector<Piece> c;
  double sweep = 359 * M_PI / 180;
  Piece arc = Piece::arc({0, 0}, 5, 0, -sweep);  // clockwise
  c.push_back(arc);
  c.push_back(Piece::line(arc.b, arc.a));
  Found f = find(c, {-4, 0});
  ASSERT_TRUE(f.ok);
  EXPECT_NEAR(f.outer.area, 12.5 * (sweep - std::sin(sweep)), 1e-9);
}

}  // namespace
