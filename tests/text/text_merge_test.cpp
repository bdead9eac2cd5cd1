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

TEST(TextConversion, RulesApplyInOrder) {
  EXPECT_EQ(convertTextString("100%%%"), "100%");
  EXPECT_EQ(convertTextString("%%%%%%"), "%%");
  // Backslashes are doubled before the codes are written, so the codes stay single.
  EXPECT_EQ(convertTextString("a\\b"), "a\\\\b");
  EXPECT_EQ(convertTextString("\\%%Ux"), "\\\\\\Lx\\l");
  // Every "%%U" starts an underline, the closing one only at the end.
  EXPECT_EQ(convertTextString("%%Uon%%Uoff"), "\\Lon\\Loff\\l");
  EXPECT_EQ(convertTextString("%%Oa%%Ub"), "\\Oa\\Lb\\l\\o");
  // "%%%U" is a percent and a U after the first rule.
  EXPECT_EQ(convertTextString("%%%U"), "%U");
  EXPECT_EQ(convertTextString("%%u and %%o"), "%%u and %%o");
  EXPECT_EQ(convertTextString(""), "");
}

TEST(TextOrder, TopToBottomKeepsSelectionOrderOnEqualY) {
  std::vector<SourceText> t = {text("low", 0, 1), text("tieA", 5, 7), text("high", 0, 9), text("tieB", 0, 7)};
  EXPECT_EQ(topToBottom(t), (std::vector<size_t>{2, 1, 3, 0}));
}

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

TEST(TextMerge, WrapOffBreaksEveryPieceAndEndsEachWithABlank) {
  auto r = merge({text("A", 0, 3), text("B", 0, 2), text("C", 0, 1)}, false);
  EXPECT_EQ(r.contents, "A \\PB \\PC ");
  EXPECT_EQ(r.width, 0);
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

TEST(TextMerge, SingleTextHasNoTrailingBlankAndWidthFactorCode) {
  SourceText t = text("narrow", 0, 0);
  t.widthFactor = 0.8;
  EXPECT_EQ(merge({t}, false).contents, "\\W0.8000;narrow");
  EXPECT_EQ(merge({t}, false, false).contents, "narrow");
  t.widthFactor = 1.0;
  EXPECT_EQ(merge({t}, false).contents, "narrow");
}

TEST(TextMerge, HeightAndColourCodesOnlyOnChange) {
  SourceText a = text("a", 0, 4, 5), b = text("b", 0, 3, 2.5), c = text("c", 0, 2, 2.5), d = text("d", 0, 1, 5);
  a.color = 1;
  b.color = 1;
  c.color = 3;
  d.color = 3;
  EXPECT_EQ(merge({a, b, c, d}, false).contents, "a \\P\\H2.50;b \\P\\C3;c \\P\\H5.00;d ");
}

TEST(TextMerge, AnnotativeFollowsTheLastText) {
  SourceText a = text("a", 0, 2), b = text("b", 0, 1);
  a.annotative = true;
  EXPECT_FALSE(merge({a, b}, true).annotative);
  EXPECT_TRUE(merge({b, a}, true).annotative);
  EXPECT_TRUE(merge({a}, true).annotative);
}

TEST(TcountOrder, XKeepsTiesYReversesThem) {
  std::vector<double> xs = {5, 1, 5, 0}, ys = {2, 2, 9, 2};
  EXPECT_EQ(countOrder(xs, ys, CountOrder::X), (std::vector<size_t>{3, 1, 0, 2}));
  EXPECT_EQ(countOrder(xs, ys, CountOrder::Y), (std::vector<size_t>{2, 3, 1, 0}));
  EXPECT_EQ(countOrder(xs, ys, CountOrder::Selection), (std::vector<size_t>{0, 1, 2, 3}));
}

TEST(TcountNumbers, NoDecimalsAndNegativeSteps) {
  EXPECT_EQ(countNumber(1, 1, 2), "3");
  EXPECT_EQ(countNumber(1, 0.5, 1), "2");   // 1.5 to the nearest even
  EXPECT_EQ(countNumber(1, 0.5, 3), "2");   // 2.5 likewise
  EXPECT_EQ(countNumber(10, -4, 3), "-2");
  EXPECT_EQ(countNumber(0.4, 0, 0), "0");
}

TEST(TcountPlacement, EachPlacement) {
  EXPECT_EQ(placeNumber("Room", "7", NumberPlacement::Overwrite, false), "7");
  EXPECT_EQ(placeNumber("Room", "7", NumberPlacement::Prefix, false), "7 Room");
  EXPECT_EQ(placeNumber("Room", "7", NumberPlacement::Suffix, true), "Room 7");
  EXPECT_EQ(placeNumber("A-x-x", "7", NumberPlacement::FindReplace, false, "x"), "A-7-7");
  EXPECT_EQ(placeNumber("aaa", "7", NumberPlacement::FindReplace, false, "aa"), "7a");
  EXPECT_EQ(placeNumber("abc", "7", NumberPlacement::FindReplace, false, ""), "abc");
  // A multiline text opening with a paragraph break keeps the number on its line.
  EXPECT_EQ(placeNumber("\\Pold", "7", NumberPlacement::Overwrite, true), "\\P7");
  EXPECT_EQ(placeNumber("\\Pold", "7", NumberPlacement::Overwrite, false), "7");
  EXPECT_EQ(placeNumber("old\\Pmore", "7", NumberPlacement::Overwrite, true), "7");
}

TEST(TcountAnswer, StartAndIncrementSplit) {
  std::string s, i;
  EXPECT_TRUE(splitStartIncrement("10,2", s, i));
  EXPECT_EQ(s, "10");
  EXPECT_EQ(i, "2");
  EXPECT_TRUE(splitStartIncrement(" 1.5 , -0.25 ", s, i));
  EXPECT_EQ(s, "1.5");
  EXPECT_EQ(i, "-0.25");
  EXPECT_FALSE(splitStartIncrement("10", s, i));
  EXPECT_FALSE(splitStartIncrement("1,2,3", s, i));
  EXPECT_FALSE(splitStartIncrement(",2", s, i));
  EXPECT_FALSE(splitStartIncrement("1,", s, i));
}
