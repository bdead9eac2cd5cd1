// dxedTextBox measured with the style's real font, and dxedTrans between the world, the
// current UCS and object coordinate systems.
#include <gtest/gtest.h>

#include <cmath>

#include "fixture.h"

using namespace dx::ed;

namespace {

class TextBoxTest : public EditorTest {
 protected:
  void addStyle(const char* name, const char* font) {
    DxDbTextStyleTable* t = nullptr;
    ASSERT_EQ(db()->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* rec = new DxDbTextStyleTableRecord();
    rec->setName(name);
    rec->setFileName(font);
    DxDbObjectId id;
    ASSERT_EQ(t->add(id, rec), Dxad::eOk);
    rec->close();
    t->close();
  }
  struct Box {
    double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    double width() const { return x1 - x0; }
  };
  // The box of a text given as an entity list.
  Box box(const char* text, double height, const char* style = "Standard", double width = 1) {
    resbuf* list = dxutBuildList(RTDXF0, "TEXT", 1, text, 40, height, 7, style, 41, width, 0);
    dx_point a, b;
    int rc = dxedTextBox(list, a, b);
    dxutRelRb(list);
    EXPECT_EQ(rc, RTNORM) << text;
    return {a[0], a[1], b[0], b[1]};
  }
};

TEST_F(TextBoxTest, CapitalsFillTheHeightAndWidthScales) {
  Box h = box("H", 2.5);
  EXPECT_EQ(h.x0, 0);
  EXPECT_NEAR(h.y0, 0, 1e-9);
  EXPECT_NEAR(h.y1, 2.5, 1e-9);
  EXPECT_GT(h.width(), 1.0);
  EXPECT_LT(h.width(), 3.0);
  // Four capitals are four advances; twice the height is twice the width.
  EXPECT_NEAR(box("HHHH", 2.5).width(), 4 * h.width(), 1e-9);
  EXPECT_NEAR(box("H", 5).width(), 2 * h.width(), 1e-9);
  EXPECT_NEAR(box("H", 2.5, "Standard", 0.5).width(), h.width() / 2, 1e-9);
  // Descenders go below the base line; the top stays at the height.
  Box g = box("Hg", 2.5);
  EXPECT_LT(g.y0, -0.3);
  EXPECT_NEAR(g.y1, 2.5, 1e-9);
  // Proportional glyphs: "i" is narrower than "M".
  EXPECT_LT(box("iiii", 2.5).width(), box("MMMM", 2.5).width() * 0.6);
  EXPECT_EQ(box("", 2.5).width(), 0);
}

TEST_F(TextBoxTest, TheStyleFontIsUsedAndAMissingFontFallsBack) {
  addStyle("MONO", "DejaVuSansMono.ttf");
  addStyle("GONE", "nosuchfont.shx");
  // A fixed-pitch font gives every glyph one advance.
  EXPECT_NEAR(box("iiii", 2.5, "MONO").width(), box("MMMM", 2.5, "MONO").width(), 1e-9);
  EXPECT_GT(box("iiii", 2.5, "MONO").width(), box("iiii", 2.5).width() * 1.3);
  // A font that is not there measures like the fallback, and a missing style too.
  EXPECT_NEAR(box("Room 12", 2.5, "GONE").width(), box("Room 12", 2.5).width(), 1e-9);
  EXPECT_NEAR(box("Room 12", 2.5, "NOSTYLE").width(), box("Room 12", 2.5).width(), 1e-9);
}

TEST_F(TextBoxTest, AnEntityNameReadsTheTextFromTheDrawing) {
  addStyle("MONO", "DejaVuSansMono.ttf");
  dx_point at = {40, 40, 0};
  resbuf* list = dxutBuildList(RTDXF0, "TEXT", 10, at, 40, 3.0, 1, "A-12", 7, "MONO", 0);
  ASSERT_EQ(dxdbEntMake(list), RTNORM);
  dxutRelRb(list);
  resbuf name{};
  name.restype = -1;
  ASSERT_EQ(dxdbEntLast(name.resval.rlname), RTNORM);
  dx_point a, b;
  ASSERT_EQ(dxedTextBox(&name, a, b), RTNORM);
  // In the text's own coordinates: the insertion point is not added. Round glyphs
  // overshoot the capital height a little.
  Box fromList = box("A-12", 3, "MONO");
  EXPECT_NEAR(b[0] - a[0], fromList.width(), 1e-9);
  EXPECT_NEAR(b[1], fromList.y1, 1e-9);
  EXPECT_GT(b[1], 3.0);
  EXPECT_LT(b[1], 3.1);
  EXPECT_EQ(dxedTextBox(nullptr, a, b), RTERROR);
  ASSERT_EQ(dxdbEntDel(name.resval.rlname), RTNORM);
  EXPECT_EQ(dxedTextBox(&name, a, b), RTERROR);
}

class TransTest : public EditorTest {
 protected:
  static resbuf cs(int code) {
    resbuf r{};
    r.restype = RTSHORT;
    r.resval.rint = short(code);
    return r;
  }
  static resbuf extrusion(double x, double y, double z) {
    resbuf r{};
    r.restype = RT3DPOINT;
    r.resval.rpoint[0] = x, r.resval.rpoint[1] = y, r.resval.rpoint[2] = z;
    return r;
  }
  void expectPoint(const dx_point p, double x, double y, double z) {
    EXPECT_NEAR(p[0], x, 1e-9);
    EXPECT_NEAR(p[1], y, 1e-9);
    EXPECT_NEAR(p[2], z, 1e-9);
  }
  // The UCS with origin 10,0,0 turned 90 degrees about Z.
  void turnUcs() {
    auto& ucs = session().current()->ucs;
    ucs.origin = {10, 0, 0};
    ucs.x = {0, 1, 0};
    ucs.y = {-1, 0, 0};
  }
};

TEST_F(TransTest, WorldAndUcsPointsAndDisplacements) {
  turnUcs();
  resbuf world = cs(0), ucs = cs(1);
  dx_point p = {10, 5, 2}, r;
  ASSERT_EQ(dxedTrans(p, &world, &ucs, 0, r), RTNORM);
  expectPoint(r, 5, 0, 2);
  // A displacement turns but does not move.
  ASSERT_EQ(dxedTrans(p, &world, &ucs, 1, r), RTNORM);
  expectPoint(r, 5, -10, 2);
  dx_point back;
  ASSERT_EQ(dxedTrans(r, &ucs, &world, 1, back), RTNORM);
  expectPoint(back, 10, 5, 2);
  ASSERT_EQ(dxedTrans(p, &ucs, &ucs, 0, r), RTNORM);
  expectPoint(r, 10, 5, 2);
}

TEST_F(TransTest, ObjectCoordinatesFollowTheArbitraryAxisRule) {
  // For the normal 1,0,0 the OCS x axis is world Y (Z cross N) and its y axis world Z.
  resbuf world = cs(0), ocs = extrusion(1, 0, 0);
  dx_point p = {1, 2, 3}, r;
  ASSERT_EQ(dxedTrans(p, &ocs, &world, 0, r), RTNORM);
  expectPoint(r, 3, 1, 2);
  // Near the Z axis the rule takes Y cross N: for 0,0,-1 the x axis is world -X.
  resbuf down = extrusion(0, 0, -1);
  ASSERT_EQ(dxedTrans(p, &down, &world, 0, r), RTNORM);
  expectPoint(r, -1, 2, -3);
  // An entity name stands for its own OCS: a circle with that normal, a line the world.
  dx_point c = {0, 0, 0};
  dx_point n = {1, 0, 0};
  resbuf* circle = dxutBuildList(RTDXF0, "CIRCLE", 10, c, 40, 1.0, 210, n, 0);
  ASSERT_EQ(dxdbEntMake(circle), RTNORM);
  dxutRelRb(circle);
  resbuf ent{};
  ent.restype = RTENAME;
  dxdbEntLast(ent.resval.rlname);
  ASSERT_EQ(dxedTrans(p, &ent, &world, 0, r), RTNORM);
  expectPoint(r, 3, 1, 2);
  dx_point s = {0, 0, 0}, e = {1, 0, 0};
  resbuf* line = dxutBuildList(RTDXF0, "LINE", 10, s, 11, e, 210, n, 0);
  ASSERT_EQ(dxdbEntMake(line), RTNORM);
  dxutRelRb(line);
  dxdbEntLast(ent.resval.rlname);
  ASSERT_EQ(dxedTrans(p, &ent, &world, 0, r), RTNORM);
  expectPoint(r, 1, 2, 3);
  // A solid lies in its OCS like a circle.
  dx_point q0 = {0, 0, 0}, q1 = {1, 0, 0}, q2 = {0, 1, 0};
  resbuf* solid = dxutBuildList(RTDXF0, "SOLID", 10, q0, 11, q1, 12, q2, 13, q2, 210, n, 0);
  ASSERT_EQ(dxdbEntMake(solid), RTNORM);
  dxutRelRb(solid);
  dxdbEntLast(ent.resval.rlname);
  ASSERT_EQ(dxedTrans(p, &ent, &world, 0, r), RTNORM);
  expectPoint(r, 3, 1, 2);
  // World to OCS and back is the identity.
  dx_point there, again;
  ASSERT_EQ(dxedTrans(p, &world, &ocs, 0, there), RTNORM);
  ASSERT_EQ(dxedTrans(there, &ocs, &world, 0, again), RTNORM);
  expectPoint(again, 1, 2, 3);
}

TEST_F(TransTest, BadCoordinateSystemsAreRefused) {
  resbuf world = cs(0), bad = cs(7), zero = extrusion(0, 0, 0);
  dx_point p = {1, 2, 3}, r = {9, 9, 9};
  EXPECT_EQ(dxedTrans(p, &world, &bad, 0, r), RTERROR);
  EXPECT_EQ(dxedTrans(p, &zero, &world, 0, r), RTERROR);
  EXPECT_EQ(dxedTrans(p, nullptr, &world, 0, r), RTERROR);
  EXPECT_EQ(dxedTrans(nullptr, &world, &world, 0, r), RTERROR);
  // An erased entity has no coordinate system any more.
  dx_point c = {0, 0, 0};
  resbuf* circle = dxutBuildList(RTDXF0, "CIRCLE", 10, c, 40, 1.0, 0);
  ASSERT_EQ(dxdbEntMake(circle), RTNORM);
  dxutRelRb(circle);
  resbuf gone{};
  gone.restype = RTENAME;
  dxdbEntLast(gone.resval.rlname);
  ASSERT_EQ(dxdbEntDel(gone.resval.rlname), RTNORM);
  EXPECT_EQ(dxedTrans(p, &gone, &world, 0, r), RTERROR);
  expectPoint(r, 9, 9, 9);  // untouched on failure
}

}  // namespace
