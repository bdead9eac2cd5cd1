// What keeps a damaged or hostile drawing from harming the host: handles that never
// wrap, numbers that must be finite, block cycles found and broken by AUDIT.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <set>

#include "host/db/database_impl.h"

using dx::db::DatabaseImpl;

namespace {

DxDbObjectId addBlock(DxDbDatabase& db, const char* name) {
  DxDbBlockTable* table = nullptr;
  EXPECT_EQ(db.getSymbolTable(table, DxDb::kForWrite), Dxad::eOk);
  auto* btr = new DxDbBlockTableRecord();
  btr->setName(name);
  DxDbObjectId id;
  EXPECT_EQ(table->add(id, btr), Dxad::eOk);
  btr->close();
  table->close();
  return id;
}

Dxad::ErrorStatus append(DxDbObjectId space, DxDbEntity* e) {
  DxDbBlockTableRecord* btr = nullptr;
  EXPECT_EQ(dxdbOpenObject(btr, space, DxDb::kForWrite), Dxad::eOk);
  DxDbObjectId id;
  Dxad::ErrorStatus es = btr->appendDxDbEntity(id, e);
  if (es == Dxad::eOk) e->close();
  else delete e;
  btr->close();
  return es;
}

}  // namespace

TEST(Handles, NewObjectsTakeFreeHandlesOnceTheTopIsUsed) {
  DxDbDatabase db(true);
  DatabaseImpl& impl = *dx::db::implOf(&db);
  const uint64_t top = std::numeric_limits<uint64_t>::max();
  ASSERT_NE(impl.stubFor(top), nullptr);
  ASSERT_NE(impl.stubFor(top - 1), nullptr);
  std::set<uint64_t> seen;
  for (int i = 0; i < 100; ++i) {
    dx::db::Stub* s = impl.newStub();
    ASSERT_NE(s, nullptr);
    EXPECT_NE(s->handle, 0u);
    EXPECT_EQ(impl.findStub(s->handle), s);
    EXPECT_TRUE(seen.insert(s->handle).second) << "handle given twice: " << s->handle;
  }
  EXPECT_FALSE(seen.count(top));
}

TEST(FiniteNumbers, AnEntityHoldingInfinityOrNaNIsNotAdded) {
  DxDbDatabase db(true);
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(append(db.modelSpaceId(), new DxDbLine({0, 0, 0}, {1, std::nan(""), 0})), Dxad::eInvalidInput);
  auto* circle = new DxDbCircle();
  circle->setRadius(inf);
  EXPECT_EQ(append(db.modelSpaceId(), circle), Dxad::eInvalidInput);
  EXPECT_EQ(append(db.modelSpaceId(), new DxDbLine({0, 0, 0}, {1, 1e308, 0})), Dxad::eOk);
  DxDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(dxdbOpenObject(ms, db.modelSpaceId(), DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(ms->entityIds().size(), 1u);
  ms->close();
}

TEST(Audit, BlocksHoldingEachOtherAreMeasuredReportedAndBroken) {
  DxDbDatabase db(true);
  DxDbObjectId a = addBlock(db, "A"), b = addBlock(db, "B");
  ASSERT_EQ(append(a, new DxDbLine({0, 0, 0}, {2, 3, 0})), Dxad::eOk);
  ASSERT_EQ(append(a, new DxDbBlockReference({10, 0, 0}, b)), Dxad::eOk);
  ASSERT_EQ(append(b, new DxDbBlockReference({0, 10, 0}, a)), Dxad::eOk);
  ASSERT_EQ(append(db.modelSpaceId(), new DxDbBlockReference({0, 0, 0}, a)), Dxad::eOk);

  // Extents end although the nesting goes round: what is not on the cycle counts.
  DxDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(dxdbOpenObject(ms, db.modelSpaceId(), DxDb::kForRead), Dxad::eOk);
  DxDbObjectId refId = ms->entityIds().front();
  ms->close();
  DxDbBlockReference* ref = nullptr;
  ASSERT_EQ(dxdbOpenObject(ref, refId, DxDb::kForRead), Dxad::eOk);
  DxGePoint3d lo, hi;
  ASSERT_EQ(ref->getGeomExtents(lo, hi), Dxad::eOk);
  ref->close();
  EXPECT_DOUBLE_EQ(lo.x, 0);
  EXPECT_DOUBLE_EQ(hi.y, 3);

  DatabaseImpl& impl = *dx::db::implOf(&db);
  std::vector<std::string> notes;
  EXPECT_EQ(dx::db::auditDatabase(impl, notes, false), 1u);
  ASSERT_EQ(notes.size(), 1u);
  EXPECT_NE(notes[0].find("contain itself"), std::string::npos) << notes[0];
  notes.clear();
  EXPECT_EQ(dx::db::auditDatabase(impl, notes, true), 1u);
  notes.clear();
  EXPECT_EQ(dx::db::auditDatabase(impl, notes, false), 0u);
  // The model-space reference and the line stay; one reference of the cycle went.
  size_t live = 0;
  for (DxDbObjectId blk : {a, b}) {
    DxDbBlockTableRecord* btr = nullptr;
    ASSERT_EQ(dxdbOpenObject(btr, blk, DxDb::kForRead), Dxad::eOk);
    for (DxDbObjectId id : btr->entityIds()) live += !id.isErased();
    btr->close();
  }
  EXPECT_EQ(live, 2u);
}
