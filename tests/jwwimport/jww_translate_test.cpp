// The rules that map JWW records onto host entities, checked without a drawing.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "express/jww/jww_translate.h"

using namespace jww;

namespace {

constexpr double kPi = std::numbers::pi;

// A point of a JWW elliptic arc record at angle t of its own (untilted, unflattened) frame.
Point2 JwwEllipsePoint(const JwwCircle& c, double t) {
  double x = c.radius * std::cos(t), y = c.radius * c.flatness * std::sin(t);
  double ct = std::cos(c.tiltAngle), st = std::sin(c.tiltAngle);
  return {c.centerX + x * ct - y * st, c.centerY + x * st + y * ct};
}

// A point of the translated ellipse at parameter s, as a DXF reader computes it.
Point2 HostEllipsePoint(const CurveGeom& g, double s) {
  Point2 major = g.majorAxis;
  Point2 minor{-major.y * g.ratio, major.x * g.ratio};
  return {g.center.x + major.x * std::cos(s) + minor.x * std::sin(s),
          g.center.y + major.y * std::cos(s) + minor.y * std::sin(s)};
}

void ExpectNear(Point2 a, Point2 b, double tol = 1e-9) {
  EXPECT_NEAR(a.x, b.x, tol);
  EXPECT_NEAR(a.y, b.y, tol);
}

JwwCircle Circle(double r, double start, double arc, double tilt, double flatness, bool whole) {
  JwwCircle c;
  c.centerX = 10;
  c.centerY = -5;
  c.radius = r;
  c.startAngle = start;
  c.arcAngle = arc;
  c.tiltAngle = tilt;
  c.flatness = flatness;
  c.fullCircle = whole ? 1 : 0;
  return c;
}

}  // namespace

TEST(JwwTranslateNames, BlockNamesLoseCharactersTheTableRefuses) {
  JwwBlockDef def;
  def.number = 4;
  def.name = "a/b:c*d";
  EXPECT_EQ(BlockName(def), "a_b_c_d4");
  def.name = "扉 (左)";  // blanks, brackets and Japanese text are kept
  EXPECT_EQ(BlockName(def), "扉 (左)4");
}

TEST(JwwTranslateColors, PenColorsReadRedFromTheLowByte) {
  JwwHeader h;
  h.penColors[3].rgb = 0x00C08040;  // blue C0, green 80, red 40
  EXPECT_EQ(PenRgb(h, 3), (Rgb{0x40, 0x80, 0xC0}));
  // Between the two tables and past the end there is no pen.
  EXPECT_FALSE(PenRgb(h, 10));
  EXPECT_FALSE(PenRgb(h, 99));
  EXPECT_FALSE(PenRgb(h, 357));
  EXPECT_TRUE(PenRgb(h, 356));
}

TEST(JwwTranslateTexts, OnlyTextsWithoutTypefaceLeanAndTextsNeedAHeight) {
  JwwText t;
  t.sizeX = 5;
  t.sizeY = 10;
  t.fontName = "ＭＳ ゴシック";
  t.textKind = 30010;
  TextProps p;
  ASSERT_TRUE(TextPropsOf(t, p));
  EXPECT_TRUE(p.bold && p.italic);
  EXPECT_EQ(p.oblique, 0) << "a named font carries its own italics";
  t.fontName.clear();
  t.textKind = 20000;
  ASSERT_TRUE(TextPropsOf(t, p));
  EXPECT_EQ(p.oblique, 0);

  t.sizeY = 0;
  EXPECT_FALSE(TextPropsOf(t, p));
  t.sizeY = 2;
  t.angle = std::nan("");
  EXPECT_FALSE(TextPropsOf(t, p));
}

TEST(JwwTranslateCurves, ArcsTurnWithTheirTiltAndTinyOnesBecomeEllipses) {
  // The tilt turns the arc.
  auto tilted = CurveGeomOf(Circle(5, 0.5, 1.0, 0.25, 1, false));
  ASSERT_TRUE(tilted);
  EXPECT_DOUBLE_EQ(tilted->startAngle, 0.75);
  EXPECT_DOUBLE_EQ(tilted->endAngle, 1.75);

  // Tiny arcs and tiny radii are drawn as elliptic arcs of ratio 1.
  auto tinyArc = CurveGeomOf(Circle(5, 0, 0.05, 0, 1, false));
  ASSERT_TRUE(tinyArc);
  EXPECT_EQ(tinyArc->kind, CurveGeom::kEllipse);
  EXPECT_EQ(tinyArc->ratio, 1);
  auto tinyRadius = CurveGeomOf(Circle(0.4, 0, 2 * kPi, 0, 1, true));
  ASSERT_TRUE(tinyRadius);
  EXPECT_EQ(tinyRadius->kind, CurveGeom::kEllipse);
}

TEST(JwwTranslateCurves, EllipsesKeepAxesTiltAndExtent) {
  struct Case {
    double flatness, start, arc, tilt;
    bool whole;
  } cases[] = {
      {0.5, 0.3, 2.0, 0.0, false},  {0.5, 0.3, 2.0, 0.7, false}, {0.25, 1.0, -2.5, -0.4, false},
      {2.0, 0.3, 2.0, 0.7, false},  {3.0, -1.0, 4.0, 2.0, false}, {0.6, 0, 2 * kPi, 0.9, true},
      {1.5, 0, 2 * kPi, 0.9, true},
  };
  for (const Case& k : cases) {
    JwwCircle c = Circle(8, k.start, k.arc, k.tilt, k.flatness, k.whole);
    auto g = CurveGeomOf(c);
    ASSERT_TRUE(g);
    ASSERT_EQ(g->kind, CurveGeom::kEllipse);
    EXPECT_GT(g->ratio, 0);
    EXPECT_LE(g->ratio, 1);
    double majorLength = std::hypot(g->majorAxis.x, g->majorAxis.y);
    EXPECT_NEAR(majorLength, 8 * std::max(1.0, k.flatness), 1e-9);
    EXPECT_LT(g->startParam, g->endParam);
    if (k.whole) {
      EXPECT_NEAR(g->endParam - g->startParam, 2 * kPi, 1e-12);
    } else {
      EXPECT_NEAR(g->endParam - g->startParam, std::fabs(k.arc), 1e-12);
    }
    // Every point of the record's arc is the same point of the host's ellipse, ends included.
    double from = k.arc < 0 ? k.start + k.arc : k.start;
    double span = std::fabs(k.arc);
    for (int i = 0; i <= 8; ++i) {
      double t = from + span * i / 8;
      // A whole ellipse may start anywhere; its parameter still follows the record's angle.
      double s = k.whole ? t - (k.flatness > 1 ? kPi / 2 : 0) : g->startParam + (g->endParam - g->startParam) * i / 8;
      ExpectNear(HostEllipsePoint(*g, s), JwwEllipsePoint(c, t));
    }
  }
}

TEST(JwwTranslateCurves, RecordsWithoutExtentAreDropped) {
  EXPECT_FALSE(CurveGeomOf(Circle(0, 0, 1, 0, 1, false)));
  EXPECT_FALSE(CurveGeomOf(Circle(5, 0, 1, 0, 0, false)));
  EXPECT_FALSE(CurveGeomOf(Circle(std::nan(""), 0, 1, 0, 1, false)));
  EXPECT_FALSE(CurveGeomOf(Circle(5, 0, INFINITY, 0, 1, false)));
}

TEST(JwwTranslateSolids, OutlineKeepsLoopOrderAndUncrossesFilledQuadrilaterals) {
  JwwSolid s;
  s.x1 = 0, s.y1 = 0, s.x2 = 4, s.y2 = 0, s.x3 = 4, s.y3 = 3, s.x4 = 0, s.y4 = 3;
  EXPECT_EQ(SolidOutline(s), (std::vector<Point2>{{0, 0}, {4, 0}, {4, 3}, {0, 3}}));
  // The crossed order of a filled quadrilateral becomes the loop around it.
  s.x3 = 0, s.y3 = 3, s.x4 = 4, s.y4 = 3;
  EXPECT_EQ(SolidOutline(s), (std::vector<Point2>{{0, 0}, {4, 0}, {4, 3}, {0, 3}}));
  // A triangle repeats a corner.
  s.x3 = 2, s.y3 = 3, s.x4 = 2, s.y4 = 3;
  EXPECT_EQ(SolidOutline(s), (std::vector<Point2>{{0, 0}, {4, 0}, {2, 3}}));
  s.x4 = 0, s.y4 = 0;
  EXPECT_EQ(SolidOutline(s), (std::vector<Point2>{{0, 0}, {4, 0}, {2, 3}}));
  // Corners in a row fill nothing.
  s.x3 = 8, s.y3 = 0, s.x4 = 12, s.y4 = 0;
  EXPECT_TRUE(SolidOutline(s).empty());
  s = {};
  EXPECT_TRUE(SolidOutline(s).empty());
}

TEST(JwwTranslateDimensions, ExtensionLinesGiveTheMeasuredPoints) {
  JwwMeasure m;
  m.line.startX = 0, m.line.startY = 10, m.line.endX = 30, m.line.endY = 10;
  m.text.startX = 12, m.text.startY = 11, m.text.endX = 18, m.text.endY = 11;
  m.text.sizeX = m.text.sizeY = 2.5;
  m.text.content = "3,000";
  // Listed second-first and drawn from the dimension line outwards on one, inwards on
  // the other.
  m.extensionLines[0].startX = 30, m.extensionLines[0].startY = 9, m.extensionLines[0].endX = 30,
  m.extensionLines[0].endY = 0;
  m.extensionLines[1].startX = 0, m.extensionLines[1].startY = 2, m.extensionLines[1].endX = 0,
  m.extensionLines[1].endY = 9;
  auto g = DimensionGeomOf(m, true);
  ASSERT_TRUE(g);
  EXPECT_EQ(g->xLine1, (Point2{0, 2}));
  EXPECT_EQ(g->xLine2, (Point2{30, 0}));
  EXPECT_EQ(g->dimLine, (Point2{30, 10}));
  EXPECT_NEAR(g->rotation, 0, 1e-12);
  EXPECT_EQ(g->text, "3,000");
  EXPECT_NEAR(g->textMiddle.x, 15, 1e-12);
  EXPECT_NEAR(g->textMiddle.y, 11 + 2.5 * 0.6 / 2, 1e-12);

  // Files before 420 have no extension lines: the dimension line's ends are measured.
  auto old = DimensionGeomOf(m, false);
  ASSERT_TRUE(old);
  EXPECT_EQ(old->xLine1, (Point2{0, 10}));
  EXPECT_EQ(old->xLine2, (Point2{30, 10}));

  // Extension lines of no length leave the ends too.
  m.extensionLines = {};
  auto none = DimensionGeomOf(m, true);
  ASSERT_TRUE(none);
  EXPECT_EQ(none->xLine1, (Point2{0, 10}));

  // A vertical dimension turns with its line.
  m.line.endX = 0, m.line.endY = 40;
  auto vertical = DimensionGeomOf(m, true);
  ASSERT_TRUE(vertical);
  EXPECT_NEAR(vertical->rotation, kPi / 2, 1e-12);

  m.line.endX = 0, m.line.endY = 10;
  EXPECT_FALSE(DimensionGeomOf(m, true));
}

TEST(JwwTranslateBlocks, InsertionCyclesAreGroupedAndChainsAreNot) {
  JwwDocument doc;
  auto def = [&](std::uint32_t number, std::vector<std::uint32_t> inserts) {
    JwwBlockDef d;
    d.number = number;
    for (std::uint32_t n : inserts) {
      JwwBlock b;
      b.blockNumber = n;
      d.entities.blocks.push_back(b);
    }
    doc.blockDefs.push_back(d);
    doc.IndexBlockDef(doc.blockDefs.size() - 1);
  };
  def(0, {1});     // 0 -> 1 -> 2: a chain
  def(1, {2});
  def(2, {});
  def(3, {3});     // inserts itself
  def(4, {5, 2});  // 4 <-> 5, and 4 -> 2
  def(5, {4, 9});  // 9 has no definition
  auto g = InsertionCycleGroups(doc);
  ASSERT_EQ(g.size(), 6u);
  // Only 4 and 5 reach each other; every other definition is a group of its own.
  for (std::size_t i = 0; i < g.size(); ++i)
    for (std::size_t j = i + 1; j < g.size(); ++j)
      EXPECT_EQ(g[i] == g[j], i == 4 && j == 5) << i << " " << j;
}

TEST(JwwTranslateBlocks, DeepChainsNeedNoDeepStack) {
  JwwDocument doc;
  const std::uint32_t n = 200000;
  for (std::uint32_t i = 0; i < n; ++i) {
    JwwBlockDef d;
    d.number = i;
    JwwBlock b;
    b.blockNumber = (i + 1) % n;  // one ring through all of them
    d.entities.blocks.push_back(b);
    doc.blockDefs.push_back(std::move(d));
    doc.IndexBlockDef(i);
  }
  auto g = InsertionCycleGroups(doc);
  ASSERT_EQ(g.size(), n);
  for (std::uint32_t i = 1; i < n; ++i) ASSERT_EQ(g[i], g[0]);
}
