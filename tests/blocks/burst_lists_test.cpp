// The group-code lists of BURST: what a reference hands down, and the text list that
// takes an attribute's place (order, relabelled alignment, colour, and the host making it).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "express/blocks/burst.h"
#include "express/env/holders.h"
#include "tests/editor/db/fixture.h"

using express::burstInherited;
using express::burstTextList;
using express::CResbufPtr;

namespace {

std::vector<int> codesOf(const resbuf* list) {
  std::vector<int> codes;
  for (const resbuf* rb = list; rb; rb = rb->rbnext) codes.push_back(rb->restype);
  return codes;
}

const resbuf* nth(const resbuf* list, int code, int n = 0) {
  for (const resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code && n-- == 0) return rb;
  return nullptr;
}

const double kOrigin[3] = {1, 2, 0};
const double kAlign[3] = {4, 5, 0};
const double kNormal[3] = {0, 0, 1};

// An attribute's entity list as the host gives it, groups in the host's own order, with
// those a text has no use for.
resbuf* attributeList(int color) {
  dx_name self = {0, 0};
  return dxutBuildList(-1, self, RTDXF0, "ATTRIB", 5, "2A", 100, "AcDbEntity", 8, "NOTES", 6, "DASHED", 62, color,
                       100, "AcDbText", 39, 0.5, 10, kOrigin, 40, 2.5, 1, "VALUE 1", 50, 30.0, 41, 0.8, 51, 15.0,
                       7, "NARROW", 71, 2, 72, 1, 11, kAlign, 210, kNormal, 100, "AcDbAttribute", 2, "TAG", 70, 1,
                       73, 12, 74, 3, 67, 1, 38, 0.25, 0);
}

}  // namespace

TEST(BurstInherited, ReferenceWithoutGroupsInheritsDefaults) {
  CResbufPtr ref(dxutBuildList(RTDXF0, "INSERT", 2, "PART", 0));
  auto in = burstInherited(ref.get());
  EXPECT_EQ(in.blockName, "PART");
  EXPECT_EQ(in.layer, "0");
  EXPECT_EQ(in.linetype, "BYLAYER");
  EXPECT_EQ(in.color, "BYLAYER");
  EXPECT_EQ(in.colorIndex, 256);
}

TEST(BurstInherited, ColourByBlockAndByIndex) {
  CResbufPtr byBlock(dxutBuildList(RTDXF0, "INSERT", 8, "REFS", 6, "BYBLOCK", 62, 0, 2, "PART", 0));
  auto in = burstInherited(byBlock.get());
  EXPECT_EQ(in.layer, "REFS");
  EXPECT_EQ(in.linetype, "BYBLOCK");
  EXPECT_EQ(in.color, "BYBLOCK");
  EXPECT_EQ(in.colorIndex, 0);
  CResbufPtr red(dxutBuildList(RTDXF0, "INSERT", 62, 1, 2, "PART", 0));
  EXPECT_EQ(burstInherited(red.get()).color, "1");
  CResbufPtr index(dxutBuildList(RTDXF0, "INSERT", 62, 142, 2, "PART", 0));
  EXPECT_EQ(burstInherited(index.get()).color, "142");
  EXPECT_EQ(burstInherited(index.get()).colorIndex, 142);
}

TEST(BurstTextList, CopiesTheTextGroupsInOrderAndRelabelsTheVerticalAlignment) {
  CResbufPtr att(attributeList(5));
  CResbufPtr text(burstTextList(att.get(), 7));
  EXPECT_EQ(codesOf(text.get()),
            (std::vector<int>{0, 8, 6, 38, 39, 62, 67, 210, 10, 40, 1, 50, 41, 51, 7, 71, 72, 11, 73}));
  EXPECT_STREQ(text->resval.rstring, "TEXT");
  EXPECT_STREQ(nth(text.get(), 1)->resval.rstring, "VALUE 1");
  EXPECT_STREQ(nth(text.get(), 7)->resval.rstring, "NARROW");
  EXPECT_EQ(nth(text.get(), 62)->resval.rint, 5);  // a colour of its own stays
  EXPECT_EQ(nth(text.get(), 73)->resval.rint, 3);  // the vertical alignment, not the field length
  EXPECT_DOUBLE_EQ(nth(text.get(), 11)->resval.rpoint[0], 4);
  EXPECT_DOUBLE_EQ(nth(text.get(), 50)->resval.rreal, 30);
  // The text owns its strings: releasing the attribute's list leaves them readable.
  att.reset();
  EXPECT_STREQ(nth(text.get(), 8)->resval.rstring, "NOTES");
}

TEST(BurstTextList, ByBlockColourTakesTheReferenceColourAndAbsentGroupsStayAbsent) {
  CResbufPtr att(attributeList(0));
  CResbufPtr text(burstTextList(att.get(), 256));
  EXPECT_EQ(nth(text.get(), 62)->resval.rint, 256);
  CResbufPtr plain(dxutBuildList(RTDXF0, "ATTRIB", 8, "0", 10, kOrigin, 40, 1.0, 1, "v", 2, "TAG", 70, 0, 0));
  CResbufPtr minimal(burstTextList(plain.get(), 3));
  EXPECT_EQ(codesOf(minimal.get()), (std::vector<int>{0, 8, 10, 40, 1}));
  // Without an alignment group the field length is copied as it stands.
  CResbufPtr lengthOnly(dxutBuildList(RTDXF0, "ATTRIB", 10, kOrigin, 1, "v", 73, 0, 0));
  CResbufPtr kept(burstTextList(lengthOnly.get(), 3));
  EXPECT_EQ(codesOf(kept.get()), (std::vector<int>{0, 10, 1, 73}));
}

// The host makes the text from the list; its vertical alignment is the attribute's.
TEST_F(EditorTest, BurstTextListMakesATextWithTheAttributesAlignment) {
  CResbufPtr att(attributeList(0));
  // Layer, linetype and style the drawing knows.
  for (resbuf* rb = att.get(); rb; rb = rb->rbnext) {
    if (rb->restype == 8 || rb->restype == 6 || rb->restype == 7) {
      std::free(rb->resval.rstring);
      rb->resval.rstring = strdup(rb->restype == 8 ? "0" : rb->restype == 6 ? "BYLAYER" : "Standard");
    }
    if (rb->restype == 67) rb->resval.rint = 0;
  }
  CResbufPtr text(burstTextList(att.get(), 4));
  ASSERT_EQ(dxdbEntMake(text.get()), RTNORM);
  DxDbText* made = nullptr;
  ASSERT_EQ(dxdbOpenObject(made, entities().back(), DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(made->isA(), DxDbText::desc());
  EXPECT_STREQ(made->textString(), "VALUE 1");
  EXPECT_EQ(made->verticalMode(), DxDb::kTextTop);
  EXPECT_EQ(made->horizontalMode(), DxDb::kTextCenter);
  EXPECT_EQ(made->colorIndex(), 4);
  EXPECT_NEAR(made->alignmentPoint().x, 4, 1e-12);
  EXPECT_NEAR(made->height(), 2.5, 1e-12);
  made->close();
}
