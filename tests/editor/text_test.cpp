#include <gtest/gtest.h>

#include "host/editor/text_utils.h"
#include "hostapi/editor.h"

using namespace dx::ed;

TEST(WcMatch, SingleCharacterClasses) {
  EXPECT_EQ(dxutWcMatch("A1", "@#"), RTNORM);
  EXPECT_EQ(dxutWcMatch("11", "@#"), RTERROR);
  EXPECT_EQ(dxutWcMatch("A-", "A."), RTNORM);
  EXPECT_EQ(dxutWcMatch("AB", "A."), RTERROR);
  EXPECT_EQ(dxutWcMatch("ABC", "A?C"), RTNORM);
  EXPECT_EQ(dxutWcMatch("AC", "A?C"), RTERROR);
}

TEST(WcMatch, StarsBacktrack) {
  EXPECT_EQ(dxutWcMatch("WALL-EXT-01", "*-*-##"), RTNORM);
  EXPECT_EQ(dxutWcMatch("WALL-EXT-0X", "*-*-##"), RTERROR);
  EXPECT_EQ(dxutWcMatch("", "*"), RTNORM);
  EXPECT_EQ(dxutWcMatch("abcabd", "*abd"), RTNORM);
  EXPECT_EQ(dxutWcMatch("abcab", "*abd"), RTERROR);
}

TEST(WcMatch, AlternativesNegationAndBrackets) {
  EXPECT_EQ(dxutWcMatch("TEXT", "LINE,TEXT,MTEXT"), RTNORM);
  EXPECT_EQ(dxutWcMatch("ARC", "LINE,TEXT,MTEXT"), RTERROR);
  EXPECT_EQ(dxutWcMatch("DOOR", "~WIN*"), RTNORM);
  EXPECT_EQ(dxutWcMatch("WINDOW", "~WIN*"), RTERROR);
  EXPECT_EQ(dxutWcMatch("B2", "[ABC]#"), RTNORM);
  EXPECT_EQ(dxutWcMatch("D2", "[ABC]#"), RTERROR);
  EXPECT_EQ(dxutWcMatch("D2", "[~ABC]#"), RTNORM);
  EXPECT_EQ(dxutWcMatch("m", "[a-z]"), RTNORM);
  EXPECT_EQ(dxutWcMatch("M", "[a-z]"), RTERROR);
  // An escaped comma is a character, not a separator; an escaped star is literal.
  EXPECT_EQ(dxutWcMatch("A,B", "A`,B"), RTNORM);
  EXPECT_EQ(dxutWcMatch("A*", "A`*"), RTNORM);
  EXPECT_EQ(dxutWcMatch("AB", "A`*"), RTERROR);
}

TEST(WcMatch, CaseIsSignificantUnlessAsked) {
  EXPECT_EQ(dxutWcMatch("defpoints", "DEFPOINTS"), RTERROR);
  EXPECT_TRUE(wcMatch("defpoints", "DEF*", true));
  EXPECT_EQ(dxutWcMatch(nullptr, "*"), RTERROR);
}

TEST(Distances, DecimalWithZeroSuppression) {
  EXPECT_EQ(formatDistance(2.5, 2, 4), "2.5000");
  EXPECT_EQ(formatDistance(2.5, 2, 4, 8), "2.5");
  EXPECT_EQ(formatDistance(0.5, 2, 2, 4), ".50");
  EXPECT_EQ(formatDistance(3.0, 2, 3, 8), "3");
  EXPECT_EQ(formatDistance(-0.00001, 2, 2), "0.00");
  EXPECT_EQ(formatDistance(1234.5, 1, 2), "1.23E+03");
}

TEST(Distances, FeetAndInches) {
  EXPECT_EQ(formatDistance(15.5, 3, 2), "1'-3.50\"");
  EXPECT_EQ(formatDistance(15.5, 4, 4), "1'-3 1/2\"");
  EXPECT_EQ(formatDistance(15.5, 5, 4), "15 1/2");
  EXPECT_EQ(formatDistance(0.25, 4, 4), "0'-1/4\"");
  double v;
  ASSERT_TRUE(parseDistance("1'-3.5\"", v));
  EXPECT_DOUBLE_EQ(v, 15.5);
  ASSERT_TRUE(parseDistance("2'", v));
  EXPECT_DOUBLE_EQ(v, 24);
  ASSERT_TRUE(parseDistance("1-1/2", v));
  EXPECT_DOUBLE_EQ(v, 1.5);
  ASSERT_TRUE(parseDistance("3/4\"", v));
  EXPECT_DOUBLE_EQ(v, 0.75);
  ASSERT_TRUE(parseDistance("-1e2", v));
  EXPECT_DOUBLE_EQ(v, -100);
}

TEST(Distances, RejectsWhatIsNotANumber) {
  double v = 42;
  for (const char* bad : {"", "abc", "1,2", "1/0", "nan", "inf", "1.2.3", "'", "--1", "0x10"})
    EXPECT_FALSE(parseDistance(bad, v)) << bad;
  EXPECT_EQ(v, 42);
}

TEST(Angles, FormatsAndParses) {
  EXPECT_EQ(formatAngle(M_PI / 2, 0, 2), "90");
  EXPECT_EQ(formatAngle(M_PI / 4 + M_PI / 720, 1, 4), "45d15'0\"");
  EXPECT_EQ(formatAngle(M_PI, 2, 1), "200.0g");
  double r;
  ASSERT_TRUE(parseAngle("45d30'", 0, r));
  EXPECT_NEAR(r, 45.5 * M_PI / 180, 1e-12);
  ASSERT_TRUE(parseAngle("100g", 0, r));
  EXPECT_NEAR(r, M_PI / 2, 1e-12);
  ASSERT_TRUE(parseAngle("1.5r", 0, r));
  EXPECT_DOUBLE_EQ(r, 1.5);
  ASSERT_TRUE(parseAngle("90", 0, r));
  EXPECT_NEAR(r, M_PI / 2, 1e-12);
  EXPECT_FALSE(parseAngle("north", 0, r));
}

TEST(Tokens, BlanksQuotesEmptyAndCancel) {
  auto t = tokenizeLine("LINE  0,0 \"My Layer\" \"\" ^C");
  ASSERT_EQ(t.size(), 5u);
  EXPECT_EQ(t[0].text, "LINE");
  EXPECT_EQ(t[1].text, "0,0");
  EXPECT_EQ(t[2].text, "My Layer");
  EXPECT_TRUE(t[2].quoted);
  EXPECT_TRUE(t[3].isEmpty());
  EXPECT_EQ(t[4].kind, Answer::Cancel);
}

TEST(Tokens, EmptyLinesCommentsAndLineEnds) {
  auto e = tokenizeLine("   \r\n");
  ASSERT_EQ(e.size(), 1u);
  EXPECT_TRUE(e[0].isEmpty());
  EXPECT_TRUE(tokenizeLine("; a comment LINE 0,0").empty());
  auto q = tokenizeLine("\"^C\" \"unterminated text");
  ASSERT_EQ(q.size(), 2u);
  EXPECT_EQ(q[0].kind, Answer::Text);  // a quoted ^C is text
  EXPECT_EQ(q[1].text, "unterminated text");
}

TEST(Points, AbsoluteRelativeAndPolar) {
  DxGePoint3d p;
  ASSERT_TRUE(parsePoint("1,2", std::nullopt, p));
  EXPECT_EQ(p, DxGePoint3d(1, 2, 0));
  ASSERT_TRUE(parsePoint("1.5,-2,3", std::nullopt, p));
  EXPECT_EQ(p, DxGePoint3d(1.5, -2, 3));
  DxGePoint3d last(10, 10, 1);
  ASSERT_TRUE(parsePoint("@5,0", last, p));
  EXPECT_EQ(p, DxGePoint3d(15, 10, 1));
  ASSERT_TRUE(parsePoint("@2<90", last, p));
  EXPECT_NEAR(p.x, 10, 1e-12);
  EXPECT_NEAR(p.y, 12, 1e-12);
  ASSERT_TRUE(parsePoint("@", last, p));
  EXPECT_EQ(p, last);
}

TEST(Points, Malformed) {
  DxGePoint3d p(7, 7, 7);
  for (const char* bad : {"", "1", "1,", ",1", "1,2,3,4", "a,b", "@1,1", "1;2", "<45"})
    EXPECT_FALSE(parsePoint(bad, std::nullopt, p)) << bad;
  EXPECT_EQ(p, DxGePoint3d(7, 7, 7));
}
