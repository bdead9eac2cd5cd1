// The text list of BURST that takes an attribute's place: the groups an attribute lacks
// stay absent and the reference's colour replaces BYBLOCK.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "express/blocks/burst.h"
#include "express/env/holders.h"

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

