// The superhatch engine's plane rules: grid phase and size, cut lines, pieces, the
// corner-first sorting of copies into pieces, and arc flattening by the accuracy.
#include <gtest/gtest.h>

#include <cmath>

#include "express/aids/superhatch/shatch_algo.h"
#include "express/aids/superhatch/shatch_geometry.h"

using namespace express::shatch;

namespace {

std::vector<DxGePoint2d> rect(double x0, double y0, double x1, double y1) {
  return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

double area(const std::vector<DxGePoint2d>& loop) {
  double a = 0;
  for (size_t i = 0, j = loop.size() - 1; i < loop.size(); j = i++)
    a += loop[j].x * loop[i].y - loop[i].x * loop[j].y;
  return std::fabs(a) / 2;
}

}  // namespace

TEST(SuperhatchGrid, StartsOutsideTheBoundaryInPhaseWithThePatternAndCoversIt) {
  const DxGePoint2d bLo{10, 20}, bHi{110, 100};
  const double w = 7, h = 5;
  // Placements right of/above, at, inside and far left of/below the boundary.
  for (DxGePoint2d at : {DxGePoint2d{300, 400}, DxGePoint2d{10, 20}, DxGePoint2d{40.5, 33.3},
                         DxGePoint2d{-250, -130}, DxGePoint2d{5, 17}}) {
    CGridLayout g;
    ASSERT_TRUE(layGrid(at, {at.x + w, at.y + h}, bLo, bHi, g));
    EXPECT_NEAR(std::remainder(g.shift.x, w), 0, 1e-9);  // whole tiles only
    EXPECT_NEAR(std::remainder(g.shift.y, h), 0, 1e-9);
    EXPECT_LE(g.origin.x, bLo.x);
    EXPECT_LE(g.origin.y, bLo.y);
    EXPECT_GE(g.origin.x + g.columns * w, bHi.x);
    EXPECT_GE(g.origin.y + g.rows * h, bHi.y);
    if (at.x >= bLo.x) {  // moved back: the first column lies 2 to 3 tiles out
      EXPECT_GE(g.origin.x, bLo.x - 3 * w - 1e-9);
      EXPECT_LT(g.origin.x, bLo.x - 2 * w);
    }
    if (at.x + w < bLo.x) {  // moved forward: 4 to 5 tiles out
      EXPECT_GT(g.origin.x, bLo.x - 5 * w);
      EXPECT_LE(g.origin.x, bLo.x - 4 * w + 1e-9);
    }
  }
  // At the corner: exactly three tiles back; far left: trunc(e/w) - 3 tiles forward.
  EXPECT_DOUBLE_EQ(gridShift(10, 17, 10, 7), -21);
  EXPECT_DOUBLE_EQ(gridShift(-250, -243, 10, 7), (std::trunc(253.0 / 7) - 3) * 7);
  // A tile straddling the boundary's minimum stays.
  EXPECT_DOUBLE_EQ(gridShift(5, 12, 10, 7), 0);
  CGridLayout g;
  EXPECT_FALSE(layGrid({0, 0}, {0, 5}, bLo, bHi, g));
  EXPECT_FALSE(layGrid({0, 0}, {7, 1e-11}, bLo, bHi, g));
}

TEST(SuperhatchPieces, CutLinesAtTenPercentInsideIslandsAndBeyondTheOuterExtents) {
  auto lines = cutLines({0, 0}, {100, 80}, {{{20, 30}, {40, 50}}});
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_DOUBLE_EQ(lines[0].StartPoint().x, 22);
  EXPECT_DOUBLE_EQ(lines[1].StartPoint().x, 38);
  for (const auto& l : lines) {
    EXPECT_DOUBLE_EQ(l.StartPoint().x, l.EndPoint().x);
    EXPECT_DOUBLE_EQ(std::min(l.StartPoint().y, l.EndPoint().y), -5);
    EXPECT_DOUBLE_EQ(std::max(l.StartPoint().y, l.EndPoint().y), 85);
  }
}

TEST(SuperhatchPieces, AreaWithIslandsSplitsIntoHoleFreePiecesOfTheSameArea) {
  std::vector<DxGePoint2d> outer = rect(0, 0, 100, 80), square = rect(60, 20, 80, 40), octagon;
  for (int k = 0; k < 8; ++k) octagon.push_back({30 + 10 * std::cos(k * M_PI / 4), 40 + 10 * std::sin(k * M_PI / 4)});
  auto pieces = splitArea(outer, {square, octagon});
  double sum = 0;
  for (const auto& p : pieces) sum += area(p);
  EXPECT_NEAR(sum, area(outer) - area(square) - area(octagon), 1e-6);
  // Each island is cut through, so no piece can hold it as a hole: every piece's
  // loop alone has the piece's area, and the islands' centres lie in none.
  EXPECT_GE(pieces.size(), 5u);
  for (const auto& p : pieces) {
    CWyobiPolyline shape(p);
    EXPECT_FALSE(shape.IsInside({30, 40}));
    EXPECT_FALSE(shape.IsInside({70, 30}));
  }
}

TEST(SuperhatchSorting, CornerFirstAndOnePiecePerWhollyInsideCopy) {
  std::vector<std::unique_ptr<CWyobiShape>> pieces;
  pieces.push_back(std::make_unique<CWyobiPolyline>(rect(0, 0, 50, 80)));
  pieces.push_back(std::make_unique<CWyobiPolyline>(rect(50, 0, 100, 80)));
  pieces.push_back(std::make_unique<CWyobiPolyline>(rect(0, 0, 100, 80)));  // overlaps both
  std::vector<size_t> taken;
  // Wholly inside the first: the search ends there.
  assignPieces(pieces, {10, 10}, {17, 15}, taken);
  EXPECT_EQ(taken, (std::vector<size_t>{0}));
  // Across the cut at x = 50: both sides, and the wide piece, which holds it whole.
  assignPieces(pieces, {47, 10}, {54, 15}, taken);
  EXPECT_EQ(taken, (std::vector<size_t>{0, 1, 2}));
  // No corner inside, edges crossing: overlap.
  assignPieces(pieces, {-3, -3}, {103, 2}, taken);
  EXPECT_EQ(taken, (std::vector<size_t>{0, 1, 2}));
  // Outside everything.
  assignPieces(pieces, {200, 10}, {207, 15}, taken);
  EXPECT_TRUE(taken.empty());
  // A piece smaller than the copy, wholly inside it, is still covered.
  std::vector<std::unique_ptr<CWyobiShape>> small;
  small.push_back(std::make_unique<CWyobiPolyline>(rect(1, 1, 2, 2)));
  assignPieces(small, {0, 0}, {7, 5}, taken);
  EXPECT_EQ(taken, (std::vector<size_t>{0}));
  // Too few vertices: never overlaps.
  EXPECT_FALSE(CWyobiPolyline({{0, 0}, {1, 1}}).IsOverlap({-1, -1}, {2, 2}));
}

TEST(SuperhatchFlatten, HalfCircleGetsAccuracyOverTwoPoints) {
  DxDbPolyline pl;
  pl.addVertexAt(0, {0, 0}, 1.0);  // half circle to (10, 0), counter-clockwise
  pl.addVertexAt(1, {10, 0});
  pl.setClosed(true);
  for (int accuracy : {16, 64}) {
    std::unique_ptr<DxDbPolyline> flat(flattenedCopy(pl, accuracy));
    ASSERT_TRUE(flat);
    EXPECT_FALSE(flat->hasBulges());
    EXPECT_EQ(int(flat->numVerts()), accuracy / 2) << accuracy;  // both ends included
    for (unsigned i = 0; i < flat->numVerts(); ++i) {
      DxGePoint2d p;
      flat->getPointAt(i, p);
      EXPECT_NEAR(p.distanceTo({5, 0}), 5, 1e-9);
      EXPECT_LE(p.y, 1e-9);  // the arc runs below the chord for a positive bulge from left to right
    }
  }
  EXPECT_EQ(arcSampleCount(M_PI, 32), 16);
  DxDbPolyline straight;
  straight.addVertexAt(0, {0, 0});
  straight.addVertexAt(1, {1, 0});
  EXPECT_EQ(flattenedCopy(straight, 64), nullptr);
}

TEST(SuperhatchClip, PolygonCutToATileKeepsTheExactAreaEvenWhenConcave) {
  // A U shape whose arms both cross the tile: two parts joined along the tile's edge.
  std::vector<DxGePoint2d> u = {{0, 0}, {10, 0}, {10, 10}, {7, 10}, {7, 3}, {3, 3}, {3, 10}, {0, 10}};
  EXPECT_NEAR(area(clipToRect(u, {1, 2}, {9, 8})), 2 * (2 * 5) + 8 * 1, 1e-12);  // arms and the band below
  EXPECT_NEAR(area(clipToRect(u, {-5, -5}, {15, 15})), area(u), 1e-12);
  EXPECT_LT(clipToRect(u, {20, 20}, {30, 30}).size(), 3u);
}
