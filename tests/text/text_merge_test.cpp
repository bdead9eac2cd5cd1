// The conversion of single-line texts into multiline-text contents, without a drawing.
#include <gtest/gtest.h>

#include <cmath>

#include "express/text/tcount_core.h"
#include "express/text/text_merge.h"

using namespace express::text;

namespace {

SourceText text(const char* s, double x, double y, double height = 2.5, double boxRight = 10) {
  SourceText t;
  t.string = s;
  t.x = x;
  t.y = y;
  t.height = height;
  t.boxRight = boxRight;
  return t;
}

std::string fixed2(double h) {
  char b[32];
  std::snprintf(b, sizeof b, "%.2f", h);
  return b;
}

MergeResult merge(const std::vector<SourceText>& texts, bool wrap, bool prefix = true) {
  std::vector<const SourceText*> p;
  for (const auto& t : texts) p.push_back(&t);
  return mergeTexts(p, wrap, prefix, fixed2);
}

}  // namespace

TEST(TextSpan, DirectionAndUprightTexts) {
  double l, r;
  textSpan(10, 4, 2, 0, 0, l, r);
  EXPECT_DOUBLE_EQ(l, 10);
  EXPECT_DOUBLE_EQ(r, 14);
  textSpan(10, 4, 2, M_PI, M_PI, l, r);  // upside down: the box runs to the left
  EXPECT_NEAR(l, 6, 1e-12);
  EXPECT_DOUBLE_EQ(r, 10);
  // cos(90°) is about 6e-17: counted as 0, so the height decides, on the sine's side.
  textSpan(10, 4, 2, M_PI / 2, M_PI / 2, l, r);
  EXPECT_DOUBLE_EQ(l, 8);
  EXPECT_DOUBLE_EQ(r, 10);
  textSpan(10, 4, 2, M_PI / 2, -M_PI / 2, l, r);
  EXPECT_DOUBLE_EQ(l, 10);
  EXPECT_DOUBLE_EQ(r, 12);
}

TEST(TextMerge, WrapOnSpansAllBoxesWithoutBreaks) {
  auto r = merge({text("A", 0, 3, 2.5, 10), text("B", -5, 2, 2.5, 4), text("C", 3, 1, 2.5, 20)}, true);
  EXPECT_EQ(r.contents, "A B C ");
  EXPECT_DOUBLE_EQ(r.width, 23 - (-5));
}

TEST(TextMerge, LaterTextsUseTheHeadsSineButTheirOwnCosine) {
  SourceText head = text("H", 0, 5, 2, 10);
  head.rotation = M_PI / 2;        // upright head: measured by height, to the left
  SourceText flat = text("F", 100, 1, 3, 10);  // its own cosine 1: the box counts
  auto r = merge({head, flat}, true);
  EXPECT_DOUBLE_EQ(r.width, 110 - (0 - 2));
}

TEST(TextMerge, AnnotativeFollowsTheLastText) {
  SourceText a = text("a", 0, 2), b = text("b", 0, 1);
  a.annotative = true;
  EXPECT_FALSE(merge({a, b}, true).annotative);
  EXPECT_TRUE(merge({b, a}, true).annotative);
  EXPECT_TRUE(merge({a}, true).annotative);
}

TEST(TcountPlacement, FindReplaceTakesEveryOccurrenceOnceAndNeedsAMarker) {
  EXPECT_EQ(placeNumber("aaa", "7", NumberPlacement::FindReplace, false, "aa"), "7a");
  EXPECT_EQ(placeNumber("abc", "7", NumberPlacement::FindReplace, false, ""), "abc");
  // Only a multiline text that opens with a paragraph break keeps the number on its line.
  EXPECT_EQ(placeNumber("\\Pold", "7", NumberPlacement::Overwrite, false), "7");
  EXPECT_EQ(placeNumber("old\\Pmore", "7", NumberPlacement::Overwrite, true), "7");
}

TEST(TcountAnswer, StartAndIncrementSplit) {
  std::string s, i;
  EXPECT_TRUE(splitStartIncrement("10,2", s, i));
  EXPECT_EQ(s, "10");
  EXPECT_EQ(i, "2");
  EXPECT_FALSE(splitStartIncrement("1,2,3", s, i));
  EXPECT_FALSE(splitStartIncrement(",2", s, i));
  EXPECT_FALSE(splitStartIncrement("1,", s, i));
}
