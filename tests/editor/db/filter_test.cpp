// Selection filters as modules write them: group codes with wildcards, relational tests
// and the -4 grouping operators, through dxedSSGet.
#include <gtest/gtest.h>

#include <set>

#include "fixture.h"

using namespace dx::ed;

namespace {

using Set = std::set<std::string>;

class FilterTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    addLayer("WALLS");
    addLayer("WALL-EXT");
    addLayer("Doors");
    addLayer("LOCKED", true);
    dx_point a = {0, 0, 0}, b = {10, 0, 0}, c = {5, 5, 0}, d = {-5, 20, 3};
    make("line-walls", dxutBuildList(RTDXF0, "LINE", 8, "WALLS", 10, a, 11, b, 62, 1, 0));
    make("line-ext", dxutBuildList(RTDXF0, "LINE", 8, "WALL-EXT", 10, c, 11, d, 0));
    make("circle-small", dxutBuildList(RTDXF0, "CIRCLE", 8, "Doors", 10, c, 40, 1.0, 62, 3, 0));
    make("circle-big", dxutBuildList(RTDXF0, "CIRCLE", 8, "WALLS", 10, d, 40, 7.5, 0));
    make("text-a", dxutBuildList(RTDXF0, "TEXT", 8, "0", 10, a, 40, 2.5, 1, "Room 101", 0));
    make("text-b", dxutBuildList(RTDXF0, "TEXT", 8, "LOCKED", 10, c, 40, 2.5, 1, "Hall, east", 0));
    make("point-tagged", dxutBuildList(RTDXF0, "POINT", 8, "0", 10, d, -3, 1001, "SURVEY", 1070, 7, 0));
  }

  void make(const char* label, resbuf* list) {
    ASSERT_EQ(dxdbEntMake(list), RTNORM) << label;
    dxutRelRb(list);
    dx_name last;
    ASSERT_EQ(dxdbEntLast(last), RTNORM);
    DxDbObjectId id;
    dxdbGetObjectId(id, last);
    labels[id.handle().str()] = label;
  }

  // Labels of the entities dxedSSGet "X" picks with the filter (empty when it fails).
  std::set<std::string> pick(resbuf* filter, const char* mode = "X") {
    dx_name ss;
    int rc = dxedSSGet(mode, nullptr, nullptr, filter, ss);
    dxutRelRb(filter);
    return rc == RTNORM ? labelsOf(ss) : Set{};
  }

  Set window(const char* mode, double x1, double y1, double x2, double y2) {
    dx_point p1 = {x1, y1, 0}, p2 = {x2, y2, 0};
    dx_name ss;
    return dxedSSGet(mode, p1, p2, nullptr, ss) == RTNORM ? labelsOf(ss) : Set{};
  }

  // The labels of a selection set's members; the set is freed.
  Set labelsOf(dx_name ss) {
    Set got;
    int32_t n = 0;
    dxedSSLength(ss, &n);
    for (int32_t i = 0; i < n; ++i) {
      dx_name e;
      dxedSSName(ss, i, e);
      DxDbObjectId id;
      dxdbGetObjectId(id, e);
      got.insert(labels[id.handle().str()]);
    }
    dxedSSFree(ss);
    return got;
  }

  std::map<std::string, std::string> labels;  // handle -> label
};

// Members of both sets.
Set operator&(const Set& a, const Set& b) {
  Set r;
  for (auto& x : a)
    if (b.count(x)) r.insert(x);
  return r;
}

TEST_F(FilterTest, GroupCodesWithWildcardsIgnoreCase) {
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "CIRCLE", 0)), (Set{"circle-small", "circle-big"}));
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "LINE,circle", 8, "wall*", 0)),
            (Set{"line-walls", "line-ext", "circle-big"}));
  EXPECT_EQ(pick(dxutBuildList(8, "WALL-???", 0)), (Set{"line-ext"}));
  EXPECT_EQ(pick(dxutBuildList(8, "~WALL*", RTDXF0, "LINE,CIRCLE", 0)), (Set{"circle-small"}));
  EXPECT_EQ(pick(dxutBuildList(1, "Room ###", 0)), (Set{"text-a"}));
  // A comma in the value is escaped with a back quote.
  EXPECT_EQ(pick(dxutBuildList(1, "*`, east", 0)), (Set{"text-b"}));
  EXPECT_EQ(pick(dxutBuildList(8, "[A-D]*", 0)), (Set{"circle-small"}));
  // Colour 256 (BYLAYER) is what an entity without 62 has.
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "LINE", 62, 256, 0)), (Set{"line-ext"}));
  EXPECT_TRUE(pick(dxutBuildList(8, "NOSUCH", 0)).empty());
}

TEST_F(FilterTest, RelationalTestsOnNumbers) {
  auto circles = [&](const char* op, double r) {
    return pick(dxutBuildList(RTDXF0, "CIRCLE", -4, op, 40, r, 0));
  };
  EXPECT_EQ(circles(">", 1.0), (Set{"circle-big"}));
  EXPECT_EQ(circles(">=", 1.0), (Set{"circle-small", "circle-big"}));
  EXPECT_EQ(circles("<", 7.5), (Set{"circle-small"}));
  EXPECT_EQ(circles("<=", 7.5), (Set{"circle-small", "circle-big"}));
  EXPECT_EQ(circles("!=", 1.0), (Set{"circle-big"}));
  EXPECT_EQ(circles("/=", 7.5), (Set{"circle-small"}));
  EXPECT_EQ(circles("<>", 7.5), (Set{"circle-small"}));
  EXPECT_EQ(circles("=", 7.5), (Set{"circle-big"}));
  EXPECT_EQ(circles("*", 99.0), (Set{"circle-small", "circle-big"}));
  // Bitwise tests on integers: colour 3 has bit 2, colour 1 does not.
  EXPECT_EQ(pick(dxutBuildList(-4, "&", 62, 2, 0)), (Set{"circle-small"}));
  EXPECT_EQ(pick(dxutBuildList(-4, "&=", 62, 3, 0)), (Set{"circle-small"}));
  EXPECT_EQ(pick(dxutBuildList(-4, "&", 62, 1, RTDXF0, "~TEXT", 0)), (Set{"line-walls", "circle-small"}));
  // The relational operator applies to the next item only.
  EXPECT_EQ(pick(dxutBuildList(-4, ">", 40, 2.0, RTDXF0, "TEXT", 0)), (Set{"text-a", "text-b"}));
  EXPECT_EQ(pick(dxutBuildList(-4, ">", 40, 2.0, 40, 7.5, 0)), (Set{"circle-big"}));
}

TEST_F(FilterTest, RelationalTestsOnPointsPerCoordinate) {
  dx_point p = {0, 10, 0};
  // Start points with x >= 0 and y below 10; z anything.
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "LINE", -4, ">=,<,*", 10, p, 0)), (Set{"line-walls", "line-ext"}));
  EXPECT_EQ(pick(dxutBuildList(-4, "*,>,>", 10, p, 0)), (Set{"circle-big", "point-tagged"}));
  dx_point c = {5, 5, 0};
  EXPECT_EQ(pick(dxutBuildList(10, c, 0)), (Set{"line-ext", "circle-small", "text-b"}));
  // One operator for all three coordinates.
  dx_point lo = {-1, -1, -1};
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "LINE", -4, ">", 11, lo, 0)), (Set{"line-walls"}));
}

TEST_F(FilterTest, GroupingOperatorsNest) {
  EXPECT_EQ(pick(dxutBuildList(-4, "<OR", 8, "Doors", -4, "<AND", RTDXF0, "LINE", 62, 1, -4, "AND>",
                               -4, "OR>", 0)),
            (Set{"circle-small", "line-walls"}));
  EXPECT_EQ(pick(dxutBuildList(-4, "<NOT", RTDXF0, "LINE,CIRCLE", -4, "NOT>", 0)),
            (Set{"text-a", "text-b", "point-tagged"}));
  // Exactly one of the two: on WALLS, or a circle.
  EXPECT_EQ(pick(dxutBuildList(-4, "<XOR", 8, "WALLS", RTDXF0, "CIRCLE", -4, "XOR>", 0)),
            (Set{"line-walls", "circle-small"}));
  EXPECT_EQ(pick(dxutBuildList(-4, "<and", -4, "<not", 8, "0", -4, "not>", -4, "<or", RTDXF0, "TEXT",
                               -4, ">", 40, 5.0, -4, "or>", -4, "and>", 0)),
            (Set{"text-b", "circle-big"}));
}

TEST_F(FilterTest, ExtendedDataByApplication) {
  EXPECT_EQ(pick(dxutBuildList(-3, 1001, "SURVEY", 0)), (Set{"point-tagged"}));
  EXPECT_EQ(pick(dxutBuildList(-3, 1001, "SURV*", 0)), (Set{"point-tagged"}));
  EXPECT_TRUE(pick(dxutBuildList(-3, 1001, "OTHER", 0)).empty());
  EXPECT_EQ(pick(dxutBuildList(-4, "<NOT", -3, 1001, "SURVEY", -4, "NOT>", RTDXF0, "POINT,TEXT", 0)),
            (Set{"text-a", "text-b"}));
}

TEST_F(FilterTest, MalformedFiltersFailWithAMessage) {
  for (resbuf* bad : {dxutBuildList(-4, "<AND", 8, "WALLS", 0),             // never closed
                      dxutBuildList(8, "WALLS", -4, "AND>", 0),             // closed, never opened
                      dxutBuildList(-4, "<NOT", 8, "A", 8, "B", -4, "NOT>", 0),  // two operands
                      dxutBuildList(-4, "<XOR", 8, "A", -4, "XOR>", 0),     // one operand
                      dxutBuildList(-4, "<OR", -4, "OR>", 0),               // none
                      dxutBuildList(-4, "<AND", 8, "A", -4, "OR>", 0)}) {   // wrong closer
    EXPECT_TRUE(pick(bad).empty());
    EXPECT_NE(out().find("Invalid selection filter"), std::string::npos);
  }
  EXPECT_EQ(entities().size(), 7u);
}

TEST_F(FilterTest, ModesLockedLayersAndPreviousSet) {
  // ":L" leaves out what lies on a locked layer.
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "TEXT", 0), "X:L"), (Set{"text-a"}));
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "TEXT", 0), "X"), (Set{"text-a", "text-b"}));
  // "P" is the set chosen last, filtered again.
  EXPECT_EQ(pick(dxutBuildList(RTDXF0, "CIRCLE", 0)), (Set{"circle-small", "circle-big"}));
  EXPECT_EQ(pick(dxutBuildList(8, "WALLS", 0), "P"), (Set{"circle-big"}));
  EXPECT_EQ(pick(nullptr, "L"), (Set{"point-tagged"}));
  // Windows: wholly inside for W, touching for C.
  const Set shapes{"line-walls", "circle-small", "line-ext", "circle-big"};
  EXPECT_EQ(window("W", -1, -1, 11, 6) & shapes, (Set{"line-walls", "circle-small"}));
  EXPECT_EQ(window("C", 11, 6, -1, -1) & shapes, (Set{"line-walls", "circle-small", "line-ext"}));
}

// A filtered "Select objects:" prompt keeps only what passes; what is filtered out is
// still counted as found.
TEST_F(FilterTest, InteractiveSelectionAppliesTheFilter) {
  auto& q = session().directAnswers;
  q.push_back(Answer::text_("ALL"));
  q.push_back(Answer::empty());
  std::set<std::string> got = pick(dxutBuildList(RTDXF0, "CIRCLE", 0), nullptr);
  EXPECT_EQ(got, (Set{"circle-small", "circle-big"}));
  EXPECT_NE(out().find("7 found, 2 total"), std::string::npos);
}

}  // namespace
