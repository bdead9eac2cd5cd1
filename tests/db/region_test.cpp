// Regions: made from curves (and refused from curves that bound nothing), measured,
// moved, and carried through a drawing file as an ACIS body.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "host/db/database_impl.h"
#include "host/db/entities/region_sat.h"
#include "host/dxf/tags.h"

namespace {

// Owns what createFromCurves hands out and the curves handed in.
struct Curves {
  std::vector<std::unique_ptr<DxDbEntity>> owned;
  DxDbVoidPtrArray in, out;
  ~Curves() {
    for (void* r : out) delete static_cast<DxDbRegion*>(r);
  }
  template <class T>
  Curves& add(T* e) {
    owned.emplace_back(e);
    in.push_back(static_cast<DxDbCurve*>(e));
    return *this;
  }
  Curves& line(double x0, double y0, double x1, double y1, double z = 0) {
    return add(new DxDbLine({x0, y0, z}, {x1, y1, z}));
  }
  Dxad::ErrorStatus make() { return DxDbRegion::createFromCurves(in, out); }
  DxDbRegion* region(size_t i) const { return static_cast<DxDbRegion*>(out[i]); }
};

double areaOf(const DxDbRegion* r) {
  double a = -1;
  EXPECT_EQ(r->getArea(a), Dxad::eOk);
  return a;
}

// The square 60..80 x 20..40 with its right side bulged out into a half circle.
DxDbPolyline* bulgedSquare() {
  auto* pl = new DxDbPolyline();
  pl->addVertexAt(0, {60, 20});
  pl->addVertexAt(1, {80, 20}, 1.0);
  pl->addVertexAt(2, {80, 40});
  pl->addVertexAt(3, {60, 40});
  pl->setClosed(true);
  return pl;
}

const double kBulgedArea = 400 + M_PI * 50;

TEST(Region, LooseCurvesInAnyOrderAndSenseMakeOneRegionPerLoop) {
  Curves c;
  // A clockwise rectangle of separate lines, shuffled, one drawn backwards and one
  // ending a hair short of the next.
  c.line(0, 60, 100, 60).line(0, 0, 0, 60).line(100, 0, 100, 60).line(100, 0, 1e-12, 0);
  c.add(new DxDbCircle({30, 30, 0}, {0, 0, 1}, 10));
  c.add(bulgedSquare());
  // An arc closed by a line: a half disc on the left of the rectangle.
  c.add(new DxDbArc({-50, 30, 0}, 10, M_PI / 2, 3 * M_PI / 2)).line(-50, 20, -50, 40);
  ASSERT_EQ(c.make(), Dxad::eOk);
  ASSERT_EQ(c.out.size(), 4u);
  std::vector<double> areas;
  DxDbRegion* bulged = nullptr;
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(c.region(i)->numFaces(), 1);
    EXPECT_GT(c.region(i)->normal().z, 0);
    areas.push_back(areaOf(c.region(i)));
    if (std::fabs(areas.back() - kBulgedArea) < 1e-6) bulged = c.region(i);
  }
  std::sort(areas.begin(), areas.end());
  EXPECT_NEAR(areas[0], M_PI * 50, 1e-9);
  EXPECT_NEAR(areas[1], M_PI * 100, 1e-9);
  EXPECT_NEAR(areas[2], kBulgedArea, 1e-9);
  EXPECT_NEAR(areas[3], 6000, 1e-9);
  double perimeter = 0;
  ASSERT_TRUE(bulged);
  ASSERT_EQ(bulged->getPerimeter(perimeter), Dxad::eOk);
  EXPECT_NEAR(perimeter, 60 + M_PI * 10, 1e-9);  // the bulged square: three sides and a half circle
}

TEST(Region, CurvesThatBoundNothingAreRefusedWithoutRegions) {
  {
    Curves open;  // three sides of a square
    open.line(0, 0, 10, 0).line(10, 0, 10, 10).line(10, 10, 0, 10);
    EXPECT_EQ(open.make(), Dxad::eInvalidInput);
    EXPECT_TRUE(open.out.empty());
  }
  {
    Curves branching;  // a closed square with a fourth line leaving one corner
    branching.line(0, 0, 10, 0).line(10, 0, 10, 10).line(10, 10, 0, 10).line(0, 10, 0, 0).line(0, 0, -5, -5);
    EXPECT_EQ(branching.make(), Dxad::eInvalidInput);
    EXPECT_TRUE(branching.out.empty());
  }
  {
    Curves skew;  // a closed chain that does not lie in one plane
    skew.line(0, 0, 10, 0).line(10, 0, 10, 10).line(10, 10, 0, 10, 0).add(new DxDbLine({0, 10, 0}, {0, 0, 5}));
    skew.add(new DxDbLine({0, 0, 5}, {0, 0, 0}));
    EXPECT_EQ(skew.make(), Dxad::eInvalidInput);
  }
  {
    Curves flat;  // there and back: closed but no area
    flat.line(0, 0, 10, 0).line(10, 0, 0, 0);
    EXPECT_EQ(flat.make(), Dxad::eInvalidInput);
  }
  {
    Curves good;  // one good loop does not let a stray text through
    good.add(new DxDbCircle({0, 0, 0}, {0, 0, 1}, 1));
    good.owned.emplace_back(new DxDbText({0, 0, 0}, "x"));
    good.in.push_back(good.owned.back().get());
    EXPECT_EQ(good.make(), Dxad::eInvalidInput);
    EXPECT_TRUE(good.out.empty());
    good.in = {nullptr};
    EXPECT_EQ(good.make(), Dxad::eInvalidInput);
  }
}

TEST(Region, TransformsKeepAreaAndSenseAndRefuseToSquashArcs) {
  Curves c;
  c.add(bulgedSquare());
  ASSERT_EQ(c.make(), Dxad::eOk);
  DxDbRegion* r = c.region(0);
  // Mirrored, doubled and turned: four times the area, still counter-clockwise.
  DxGeMatrix3d m = DxGeMatrix3d::rotation(0.5, DxGeVector3d::kZAxis) * DxGeMatrix3d::scaling(-2, 2, 2);
  ASSERT_EQ(r->transformBy(m), Dxad::eOk);
  EXPECT_NEAR(areaOf(r), 4 * kBulgedArea, 1e-8);
  DxGePoint3d lo, hi;
  ASSERT_EQ(r->getGeomExtents(lo, hi), Dxad::eOk);
  ASSERT_EQ(r->transformBy(m.inverse()), Dxad::eOk);
  ASSERT_EQ(r->getGeomExtents(lo, hi), Dxad::eOk);
  // The half circle reaches x = 90; the arc's true extent, not its chord's.
  EXPECT_NEAR(hi.x, 90, 1e-9);
  EXPECT_NEAR(lo.y, 20, 1e-9);
  EXPECT_EQ(r->transformBy(DxGeMatrix3d::scaling(1, 3, 1)), Dxad::eNotApplicable);
  EXPECT_NEAR(areaOf(r), kBulgedArea, 1e-8);
  std::vector<DxDbEntity*> pieces;
  ASSERT_EQ(r->explode(pieces), Dxad::eOk);
  EXPECT_EQ(pieces.size(), 4u);
  int arcs = 0;
  for (DxDbEntity* p : pieces) {
    if (auto* a = DxRxObject::cast<DxDbArc>(p)) {
      ++arcs;
      EXPECT_TRUE(a->center().isEqualTo({80, 30, 0}, 1e-9));
      EXPECT_TRUE(a->startPoint().isEqualTo({80, 20, 0}, 1e-9));
    }
    delete p;
  }
  EXPECT_EQ(arcs, 1);
}

TEST(Region, SubtractingAnInnerSquareLeavesAFrame) {
  Curves c;
  c.line(0, 0, 10, 0).line(10, 0, 10, 10).line(10, 10, 0, 10).line(0, 10, 0, 0);
  c.line(2, 2, 4, 2).line(4, 2, 4, 4).line(4, 4, 2, 4).line(2, 4, 2, 2);
  ASSERT_EQ(c.make(), Dxad::eOk);
  ASSERT_EQ(c.out.size(), 2u);
  DxDbRegion *big = c.region(0), *small = c.region(1);
  if (areaOf(big) < areaOf(small)) std::swap(big, small);
  ASSERT_EQ(big->booleanOper(DxDbRegion::kBoolSubtract, small), Dxad::eOk);
  EXPECT_NEAR(areaOf(big), 96, 1e-9);
  EXPECT_TRUE(small->isNull());
  ASSERT_EQ(big->faces().size(), 1u);
  EXPECT_EQ(big->faces()[0].loops.size(), 2u);
}

// A drawing with a region of an outline and two holes (a circle and the bulged square).
struct RegionDrawing {
  std::unique_ptr<DxDbDatabase> db = std::make_unique<DxDbDatabase>(true);
  RegionDrawing() { dxdbHostApplicationServices()->setWorkingDatabase(db.get()); }
  ~RegionDrawing() { dxdbHostApplicationServices()->setWorkingDatabase(nullptr); }
  void addRegion() {
    Curves c;
    c.line(0, 0, 100, 0).line(100, 0, 100, 60).line(100, 60, 0, 60).line(0, 60, 0, 0);
    c.add(new DxDbCircle({30, 30, 0}, {0, 0, 1}, 10)).add(bulgedSquare());
    ASSERT_EQ(c.make(), Dxad::eOk);
    std::vector<DxDbRegion::Loop> loops;
    for (size_t i = 0; i < c.out.size(); ++i) loops.push_back(c.region(i)->faces()[0].loops[0]);
    auto* r = new DxDbRegion();
    ASSERT_EQ(r->setFace(loops), Dxad::eOk);
    DxDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(dxdbOpenObject(ms, db->modelSpaceId(), DxDb::kForWrite), Dxad::eOk);
    DxDbObjectId id;
    ASSERT_EQ(ms->appendDxDbEntity(id, r), Dxad::eOk);
    r->close();
    ms->close();
  }
  std::string dxf(DxDbDatabase& from, DxDbDwgVersion v) const {
    dx::dxf::TagWriter w;
    dx::db::writeDxf(*from.impl(), dx::db::verFromDwgVersion(v), w);
    return w.buffer();
  }
};

std::string regionText(const std::string& file) {
  size_t at = file.find("\nREGION\n");
  return at == std::string::npos ? "" : file.substr(at, file.find("\n  0\n", at) - at);
}

// Reads a drawing file into db and opens the one entity of its model space as a region.
DxDbRegion* readOnlyRegion(DxDbDatabase& db, const std::string& file, DxDb::OpenMode mode) {
  if (db.readDxfFromBuffer(file) != Dxad::eOk) {
    ADD_FAILURE() << db.lastError();
    return nullptr;
  }
  DxDbBlockTableRecord* ms = nullptr;
  if (dxdbOpenObject(ms, db.modelSpaceId(), DxDb::kForRead) != Dxad::eOk) return nullptr;
  auto ids = ms->entityIds();
  ms->close();
  DxDbRegion* r = nullptr;
  if (ids.size() != 1 || dxdbOpenObject(r, ids[0], mode) != Dxad::eOk) return nullptr;
  return r;
}

TEST(Region, BodyGoesThroughTheFileAndComesBackTheSame) {
  RegionDrawing d;
  d.addRegion();
  std::string first = d.dxf(*d.db, DxDb::kDHL_1024);
  ASSERT_NE(regionText(first), "");
  DxDbDatabase back(false);
  DxDbRegion* r = readOnlyRegion(back, first, DxDb::kForRead);
  ASSERT_TRUE(r);
  EXPECT_TRUE(r->isUnderstood());
  EXPECT_NEAR(areaOf(r), 6000 - M_PI * 100 - kBulgedArea, 1e-9);
  ASSERT_EQ(r->faces().size(), 1u);
  EXPECT_EQ(r->faces()[0].loops.size(), 3u);
  r->close();
  EXPECT_EQ(regionText(d.dxf(back, DxDb::kDHL_1024)), regionText(first));
}

TEST(Region, BodyOfCurvesTheHostCannotFollowIsKeptAsItWas) {
  // A face on a cone: read, not understood, written back unchanged and left in place.
  std::string sat =
      "400 7 1 0\n4 Test 12 ACIS 4.00 NT 24 Mon Jan 01 00:00:00 2024\n1 9.9999999999999995e-07 1e-10\n"
      "-0 body $-1 $1 $-1 $-1 #\n-1 lump $-1 $-1 $2 $0 #\n-2 shell $-1 $-1 $-1 $3 $-1 $1 #\n"
      "-3 face $-1 $-1 $-1 $2 $-1 $4 forward double out #\n"
      "-4 cone-surface $-1 0 0 0 0 0 1 10 0 0 1 I I 0 1 forward I I I I #\nEnd-of-ACIS-data\n";
  std::string file = "  0\nSECTION\n  2\nENTITIES\n  0\nREGION\n  5\n2A\n100\nAcDbEntity\n  8\n0\n100\nAcDbModelerGeometry\n 70\n1\n";
  size_t pos = 0;
  while (pos < sat.size()) {
    size_t nl = sat.find('\n', pos);
    file += "  1\n" + dx::db::sat::encode(sat.substr(pos, nl - pos)) + "\n";
    pos = nl + 1;
  }
  file += "  0\nENDSEC\n  0\nEOF\n";
  RegionDrawing d;
  DxDbDatabase back(false);
  DxDbRegion* r = readOnlyRegion(back, file, DxDb::kForWrite);
  ASSERT_TRUE(r);
  EXPECT_FALSE(r->isUnderstood());
  double a;
  EXPECT_EQ(r->getArea(a), Dxad::eNotApplicable);
  EXPECT_EQ(r->transformBy(DxGeMatrix3d::translation({1, 0, 0})), Dxad::eNotApplicable);
  r->close();
  std::string out = d.dxf(back, DxDb::kDHL_1015);
  EXPECT_NE(out.find(dx::db::sat::encode("-4 cone-surface $-1 0 0 0 0 0 1 10 0 0 1 I I 0 1 forward I I I I #")),
            std::string::npos);
  EXPECT_EQ(dx::db::sat::decode(dx::db::sat::encode("A caret ^ and all of ASCII ~!")), "A caret ^ and all of ASCII ~!");
}

}  // namespace
