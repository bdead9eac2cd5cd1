// XCLIP driven the way a module drives it: a selection set and a polyline's entity name
// through command calls, the result read through the reference-clip accessor.
#include <gtest/gtest.h>

#include <cmath>

#include "fixture.h"

namespace {

class XclipTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    session().newDocument();
    DxDbBlockTable* bt = nullptr;
    ASSERT_EQ(db()->getSymbolTable(bt, DxDb::kForWrite), Dxad::eOk);
    auto* b = new DxDbBlockTableRecord();
    b->setName("TILE");
    ASSERT_EQ(bt->add(m_block, b), Dxad::eOk);
    DxDbObjectId lineId;
    b->appendDxDbEntity(lineId, new DxDbLine({0, 0, 0}, {4, 4, 0}));
    b->close();
    bt->close();
  }
  DxDbObjectId addReference(const DxGePoint3d& at, double scale, double rotation) {
    auto* ref = new DxDbBlockReference(at, m_block);
    ref->setDatabaseDefaults(db());
    ref->setScaleFactors(DxGeVector3d(scale, scale, scale));
    ref->setRotation(rotation);
    return append(ref);
  }
  DxDbObjectId addSquare(double lo, double hi) {
    auto* pl = new DxDbPolyline();
    pl->setDatabaseDefaults(db());
    for (auto [x, y] : {std::pair{lo, lo}, {hi, lo}, {hi, hi}, {lo, hi}})
      pl->addVertexAt(pl->numVerts(), DxGePoint2d(x, y));
    pl->setClosed(true);
    return append(pl);
  }
  DxDbReferenceClip clipOf(DxDbObjectId id) {
    DxDbReferenceClip clip;
    dx::ed::Opened<DxDbBlockReference> ref(id, DxDb::kForRead);
    EXPECT_TRUE(ref && dxdbReferenceClip(ref.get(), clip));
    return clip;
  }
  int clipBy(const std::vector<DxDbObjectId>& refs, DxDbObjectId outline) {
    dx_name ss = {0, 0}, ent, pl;
    for (auto id : refs) {
      dxdbGetGdsName(ent, id);
      dxedSSAdd(ent, ss[0] || ss[1] ? ss : nullptr, ss);
    }
    dxdbGetGdsName(pl, outline);
    int rc = dxedCommandS(RTSTR, "._XCLIP", RTPICKS, ss, RTSTR, "", RTSTR, "_N", RTSTR, "_S",
                          RTENAME, pl, 0);
    dxedSSFree(ss);
    return rc;
  }
  DxDbObjectId m_block;
};

TEST_F(XclipTest, CommandCallClipsEveryReferenceByTheOutlineWhereItStands) {
  DxDbObjectId plain = addReference({0, 0, 0}, 1, 0);
  DxDbObjectId turned = addReference({3, 1, 0}, 2.5, 0.7);
  ASSERT_EQ(clipBy({plain, turned}, addSquare(1, 3)), RTNORM);
  EXPECT_EQ(session().cmdNames(), "");
  const DxGePoint3d want[] = {{1, 1, 0}, {3, 1, 0}, {3, 3, 0}, {1, 3, 0}};
  for (auto id : {plain, turned}) {
    DxDbReferenceClip clip = clipOf(id);
    EXPECT_TRUE(clip.enabled);
    EXPECT_FALSE(clip.inverted);
    ASSERT_EQ(clip.worldPolygon.size(), 4u);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(clip.worldPolygon[i].isEqualTo(want[i])) << i;
    // A polyline outline is stored as its vertices, in the plane where it was drawn.
    dx::ed::Opened<DxDbBlockReference> ref(id, DxDb::kForRead);
    dx::ed::Opened<DxDbSpatialFilter> filter(dxdbSpatialFilterOf(ref.get()), DxDb::kForRead);
    ASSERT_TRUE(filter);
    ASSERT_EQ(filter->boundary().size(), 4u);
    EXPECT_TRUE(filter->boundary()[2].isEqualTo({3, 3}));
  }
}

TEST_F(XclipTest, SecondCallWaitsForTheOldBoundaryQuestionAndNotAPolylineFails) {
  DxDbObjectId ref = addReference({0, 0, 0}, 1, 0);
  DxDbObjectId square = addSquare(1, 3);
  ASSERT_EQ(clipBy({ref}, square), RTNORM);
  // With a clip in place the command asks first; the outline then answers the wrong prompt.
  dx_name ent, pl;
  dxdbGetGdsName(ent, ref);
  dxdbGetGdsName(pl, addSquare(0, 2));
  EXPECT_EQ(dxedCommandS(RTSTR, "._XCLIP", RTENAME, ent, RTSTR, "", RTSTR, "_N", RTSTR, "_Y",
                         RTSTR, "_S", RTENAME, pl, 0),
            RTNORM);
  EXPECT_TRUE(clipOf(ref).worldPolygon[0].isEqualTo({0, 0, 0}));
  dxdbGetGdsName(pl, addLine(10, 10, 20, 10));
  dxedCommandS(RTSTR, "._XCLIP", RTENAME, ent, RTSTR, "", RTSTR, "_N", RTSTR, "_Y", RTSTR, "_S",
               RTENAME, pl, 0);
  EXPECT_NE(out().find("not a polyline"), std::string::npos);
  EXPECT_TRUE(clipOf(ref).worldPolygon[0].isEqualTo({0, 0, 0}));
}

}  // namespace
