#include <gtest/gtest.h>

#include <cctype>
#include <set>
#include <string>

#include "host/editor/sysvar_table.h"
#include "hostapi/db.h"

using namespace dx::ed;

// Properties of the whole table rather than its rows: every name is found in any case and
// only once, every default lies in its range, and a default typed as the command line
// shows it reads back as that default.
TEST(SysvarTable, EveryVariableIsFoundAndItsDefaultReadsBackAsShown) {
  std::set<std::string> names;
  for (const VarDef& v : sysvarTable()) {
    EXPECT_TRUE(names.insert(v.name).second) << "twice: " << v.name;
    std::string lower = v.name;
    for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
    EXPECT_EQ(findVar(lower), &v) << v.name;
    if (v.lo <= v.hi && (v.def.type == RTSHORT || v.def.type == RTLONG)) {
      EXPECT_GE(v.def.integer, v.lo) << v.name;
      EXPECT_LE(v.def.integer, v.hi) << v.name;
    }
    if (v.flags & kVarReadOnly) continue;
    VarValue back;
    std::string why;
    // Texts are shown in quotes and typed without them.
    std::string typed = v.def.type == RTSTR ? v.def.text : formatVarValue(v.def);
    ASSERT_TRUE(parseVarValue(v, typed, back, why)) << v.name << ": " << why;
    EXPECT_EQ(formatVarValue(back), formatVarValue(v.def)) << v.name;
  }
  EXPECT_EQ(findVar("NOSUCHVAR"), nullptr);
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
