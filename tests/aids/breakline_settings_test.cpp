// The break line's stored settings and its scale rule.
#include <gtest/gtest.h>

#include "express/aids/breakline_settings.h"

using namespace express::aids;

TEST(BreaklineSettings, TheTagIsTrimmedAsACharacterSetNotAsAPrefix) {
  EXPECT_EQ(untagged("STR_BRKSYM.DXF", true), "BRKSYM.DXF");
  EXPECT_EQ(untagged("STR_STAIRS.DXF", true), "AIRS.DXF");
  EXPECT_EQ(untagged("REAL_2.5", false), "2.5");
  EXPECT_EQ(untagged("REAL_", false), "");
  // Untagged values lose leading letters of the set as well.
  EXPECT_EQ(untagged("RAIL.DXF", true), "AIL.DXF");
  EXPECT_EQ(untagged("LARGE.DXF", false), "GE.DXF");
  EXPECT_EQ(trimLeftChars("", "ab"), "");
}

TEST(BreaklineSettings, ScaleFollowsSizeDimscaleAndUnits) {
  EXPECT_DOUBLE_EQ(breaklineScale(1, 1, 1, 2), 0.5);
  EXPECT_DOUBLE_EQ(breaklineScale(3, 2, 1, 1), 6);
  // DIMSCALE 0 or less counts as 1.
  EXPECT_DOUBLE_EQ(breaklineScale(3, 0, 1, 1), breaklineScale(3, 1, 1, 1));
  EXPECT_DOUBLE_EQ(breaklineScale(3, -4, 1, 1), 3);
  // An imperial drawing: 25.4 times smaller.
  EXPECT_DOUBLE_EQ(breaklineScale(2, 1, 0, 1) * 25.4, breaklineScale(2, 1, 1, 1));
}
