// The linetype maker's pattern: its number format, the order of elements along the line,
// the checks that refuse a pattern, and the ".lin" file update.
#include <gtest/gtest.h>

#include <cmath>

#include "express/styles/lin_pattern.h"

using namespace express::styles;

TEST(LinNumber, SixDecimalsWithoutTrailingZerosAndTinyValuesAsZero) {
  EXPECT_EQ(linNumber(0.5), "0.5");
  EXPECT_EQ(linNumber(2.0), "2");
  EXPECT_EQ(linNumber(-0.25), "-0.25");
  EXPECT_EQ(linNumber(1e-8), "0");
  EXPECT_EQ(linNumber(-1e-8), "0");
  EXPECT_EQ(linNumber(1.23456789), "1.234568");
  EXPECT_EQ(linNumber(-120), "-120");
  // Above the zero threshold but rounding to nothing: the sign stays.
  EXPECT_EQ(linNumber(-4e-7), "-0");
}

TEST(LinRotation, RelativeToThePatternDirectionWithTheTruncatedConstants) {
  // A text along the pattern reads one turn back.
  EXPECT_NEAR(linRotationDegrees(0.3, 0, 0.3), -360.0, 1e-9);
  EXPECT_NEAR(linRotationDegrees(M_PI / 2, 0.1, 0.1), -270.0, 1e-9);
  // The truncated pi shows in the last digits of angles that are not whole turns.
  EXPECT_NEAR(linRotationDegrees(M_PI, 0, 0), -180.0, 1e-9);
  EXPECT_NE(linRotationDegrees(M_PI, 0, 0), -180.0);
}

TEST(LinPattern, DashesGapsDotsAndTextInOrderAlongTheLine) {
  std::vector<PatternPiece> pieces;
  PatternPiece dash2{12, 20};         // given out of order and reversed below
  PatternPiece dash1{8, 0};
  PatternPiece dot{15.5, 15.5};       // inside the second dash: adds nothing
  PatternPiece dot2{22, 22};
  PatternPiece text;
  text.isDash = false;
  text.from = text.to = 10;
  text.element.kind = PatternElement::kText;
  text.element.body = "x";
  text.element.style = "STANDARD";
  text.element.scale = 2.5;
  text.element.rotationDeg = -360;
  text.element.y = -1.25;
  pieces = {dash2, text, dot, dash1, dot2};
  auto elements = buildPattern(pieces, 25);
  EXPECT_EQ(linPatternLine(elements), ",A,8,[\"x\",STANDARD,S=2.5,R=-360,X=2,Y=-1.25],-4,8,-2,0,-3");
  EXPECT_EQ(checkPattern(elements), PatternProblem::kNone);
}

TEST(LinPattern, ElementOptionsBelowTheThresholdAreLeftOut) {
  PatternElement t;
  t.kind = PatternElement::kText;
  t.body = "GAS";
  t.style = "Standard";
  t.scale = 9e-6, t.rotationDeg = -9e-6, t.x = 0, t.y = 5e-6;
  EXPECT_EQ(linPatternLine({{PatternElement::kDash, 1}, t}), ",A,1,[\"GAS\",Standard]");
  PatternElement shape = t;
  shape.kind = PatternElement::kShape;
  shape.body = "TRACK1";
  shape.scale = 0.25;
  EXPECT_EQ(linPatternLine({shape}), ",A,[TRACK1,Standard,S=0.25]");
  EXPECT_EQ(linPatternLine({}), "");
}

TEST(LinPattern, RefusesEmptyContinuousAndTooLongPatterns) {
  EXPECT_EQ(checkPattern(buildPattern({}, 10)), PatternProblem::kEmpty);
  EXPECT_EQ(checkPattern(buildPattern({{0, 10}}, 10)), PatternProblem::kContinuous);
  EXPECT_EQ(checkPattern(buildPattern({{0, 9}}, 10)), PatternProblem::kNone);  // a gap at the end
  std::vector<PatternPiece> many;
  for (int i = 0; i < kMaxPatternSegments / 2; ++i) many.push_back({2.0 * i, 2.0 * i + 1});
  EXPECT_EQ(checkPattern(buildPattern(many, 2.0 * (kMaxPatternSegments / 2))), PatternProblem::kNone);
  many.push_back({100, 101});
  EXPECT_EQ(checkPattern(buildPattern(many, 102)), PatternProblem::kTooManySegments);
}

TEST(LinName, ForbiddenCharacters) {
  EXPECT_TRUE(isValidLinetypeName("FENCE-2 (x)"));
  for (const char* bad : {"A,B", "A*", "A\\B", "<A", "A>", "A/B", "A?", "A\"", "A:", "A;", "A|", "A=B", "A`", ""})
    EXPECT_FALSE(isValidLinetypeName(bad)) << bad;
}

TEST(LinFile, ReplacesTheDefinitionOfTheNameOrAppendsIt) {
  const std::string lin = ";; mine\n*OTHER,other\nA,1,-1\n*Fence,old\nA,2,-2\n\n*LAST,last\nA,3,-3\n";
  EXPECT_TRUE(linDefines(lin, "FENCE"));
  EXPECT_FALSE(linDefines(lin, "FENC"));
  const std::string def = "*FENCE,new\nA,5,-5\n";
  EXPECT_EQ(linWithDefinition(lin, "fence", def),
            ";; mine\n*OTHER,other\nA,1,-1\n*FENCE,new\nA,5,-5\n\n*LAST,last\nA,3,-3\n");
  EXPECT_EQ(linWithDefinition("", "FENCE", def), def);
  EXPECT_EQ(linWithDefinition("*A,a\nA,1\n", "FENCE", def), "*A,a\nA,1\n" + def);
}
