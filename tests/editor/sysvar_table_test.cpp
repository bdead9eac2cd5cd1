#include <gtest/gtest.h>

#include "host/editor/sysvar_table.h"
#include "hostapi/db.h"

using namespace dx::ed;

TEST(SysvarTable, HoldsTheVariablesCommandsRely) {
  for (const char* name :
       {"CMDECHO", "HIGHLIGHT", "PLINETYPE", "OSMODE", "MIRRTEXT", "DIMZIN", "ATTMODE", "ATTDIA",
        "REGENMODE", "OFFSETDIST", "ATTREQ", "GRIDMODE", "PLINEWID", "CELTYPE", "ERRNO", "FILEDIA",
        "CMDNAMES", "DIMSCALE", "MEASUREMENT", "DWGNAME", "DWGPREFIX", "LUPREC", "LUNITS", "CLAYER",
        "TEXTSTYLE", "VIEWCTR", "VIEWSIZE", "SCREENSIZE", "LIMCHECK", "LIMMIN"})
    EXPECT_NE(findVar(name), nullptr) << name;
  EXPECT_EQ(findVar("NOSUCHVAR"), nullptr);
  ASSERT_NE(findVar("cmdecho"), nullptr);  // any case
}

TEST(SysvarTable, TypesAndDefaults) {
  EXPECT_EQ(findVar("CMDECHO")->def.type, RTSHORT);
  EXPECT_EQ(findVar("CMDECHO")->def.integer, 1);
  EXPECT_EQ(findVar("OFFSETDIST")->def.type, RTREAL);
  EXPECT_EQ(findVar("OFFSETDIST")->def.real, -1.0);
  EXPECT_EQ(findVar("CELTYPE")->def.type, RTSTR);
  EXPECT_EQ(findVar("LIMMIN")->def.type, RTPOINT);
  EXPECT_EQ(findVar("VIEWCTR")->def.type, RT3DPOINT);
  EXPECT_TRUE(findVar("CMDNAMES")->flags & kVarReadOnly);
  EXPECT_TRUE(findVar("CLAYER")->flags & kVarDrawing);
  EXPECT_FALSE(findVar("FILEDIA")->flags & kVarDrawing);
}

TEST(SysvarTable, ParsesValuesWithinRange) {
  VarValue v;
  std::string why;
  ASSERT_TRUE(parseVarValue(*findVar("LUPREC"), "6", v, why));
  EXPECT_EQ(v.integer, 6);
  EXPECT_FALSE(parseVarValue(*findVar("LUPREC"), "9", v, why));
  EXPECT_NE(why.find("between 0 and 8"), std::string::npos);
  EXPECT_FALSE(parseVarValue(*findVar("CMDECHO"), "0.5", v, why));
  EXPECT_FALSE(parseVarValue(*findVar("DIMSCALE"), "big", v, why));
  ASSERT_TRUE(parseVarValue(*findVar("DIMSCALE"), "2.5", v, why));
  EXPECT_EQ(v.real, 2.5);
  ASSERT_TRUE(parseVarValue(*findVar("LIMMIN"), "1,2", v, why));
  EXPECT_EQ(v.pt, DxGePoint3d(1, 2, 0));
  EXPECT_EQ(formatVarValue(v), "1,2");
}
