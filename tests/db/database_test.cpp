// The drawing database: open/close discipline, entity lists, undo journal, purge,
// reading and writing through our own reader.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <unistd.h>

#include "host/db/database_impl.h"
#include "host/dxf/tags.h"

namespace fs = std::filesystem;
using dx::db::DatabaseImpl;

namespace {

// A fresh default drawing that is the working database while the test runs.
struct Drawing {
  std::unique_ptr<DxDbDatabase> db = std::make_unique<DxDbDatabase>(true);
  Drawing() { dxdbHostApplicationServices()->setWorkingDatabase(db.get()); }
  ~Drawing() { dxdbHostApplicationServices()->setWorkingDatabase(nullptr); }

  DxDbObjectId add(DxDbEntity* e, DxDbObjectId space = {}) {
    DxDbBlockTableRecord* btr = nullptr;
    EXPECT_EQ(dxdbOpenObject(btr, space.isNull() ? db->currentSpaceId() : space, DxDb::kForWrite), Dxad::eOk);
    DxDbObjectId id;
    EXPECT_EQ(btr->appendDxDbEntity(id, e), Dxad::eOk);
    e->close();
    btr->close();
    return id;
  }
  template <class Table, class Record>
  DxDbObjectId addRecord(const char* name) {
    Table* t = nullptr;
    EXPECT_EQ(db->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* rec = new Record();
    rec->setName(name);
    DxDbObjectId id;
    EXPECT_EQ(t->add(id, rec), Dxad::eOk);
    rec->close();
    t->close();
    return id;
  }
  DxDbObjectId addBlock(const char* name) { return addRecord<DxDbBlockTable, DxDbBlockTableRecord>(name); }
  DxDbObjectId addLayer(const char* name) { return addRecord<DxDbLayerTable, DxDbLayerTableRecord>(name); }
  std::string dxf(DxDbDwgVersion v = DxDb::kDHL_1032) const {
    dx::dxf::TagWriter w;
    dx::db::writeDxf(*db->impl(), dx::db::verFromDwgVersion(v), w);
    return w.buffer();
  }
};

std::string sampleDir() { return DX_SHARED_DATA "/dxf"; }

resbuf* find(resbuf* list, int code) {
  for (resbuf* rb = list; rb; rb = rb->rbnext)
    if (rb->restype == code) return rb;
  return nullptr;
}

struct RbDeleter {
  void operator()(resbuf* rb) const { dxutRelRb(rb); }
};
using Rb = std::unique_ptr<resbuf, RbDeleter>;

}  // namespace

// ---------------------------------------------------------------------------------------
// Open and close

TEST(OpenDiscipline, SecondWriteOpenAndMixedOpensFailWithTheirStatus) {
  Drawing d;
  DxDbObjectId id = d.add(new DxDbLine({0, 0, 0}, {1, 1, 0}));
  DxDbObject* a = nullptr;
  DxDbObject* b = nullptr;
  ASSERT_EQ(dxdbOpenObject(a, id, DxDb::kForWrite), Dxad::eOk);
  EXPECT_EQ(dxdbOpenObject(b, id, DxDb::kForWrite), Dxad::eWasOpenForWrite);
  EXPECT_EQ(dxdbOpenObject(b, id, DxDb::kForRead), Dxad::eWasOpenForWrite);
  EXPECT_EQ(b, nullptr);
  ASSERT_EQ(a->close(), Dxad::eOk);

  ASSERT_EQ(dxdbOpenObject(a, id, DxDb::kForRead), Dxad::eOk);
  ASSERT_EQ(dxdbOpenObject(b, id, DxDb::kForRead), Dxad::eOk);
  DxDbObject* c = nullptr;
  EXPECT_EQ(dxdbOpenObject(c, id, DxDb::kForWrite), Dxad::eWasOpenForRead);
  EXPECT_EQ(a->upgradeOpen(), Dxad::eWasOpenForRead);  // another reader holds it
  b->close();
  EXPECT_EQ(a->upgradeOpen(), Dxad::eOk);
  EXPECT_TRUE(a->isWriteEnabled());
  a->close();
  EXPECT_TRUE(d.db->openObjects().empty());
}

TEST(OpenDiscipline, ObjectsLeftOpenAndChangesWithoutWriteAreReported) {
  Drawing d;
  DxDbObjectId id = d.add(new DxDbCircle({0, 0, 0}, {0, 0, 1}, 2));
  DxDbCircle* c = nullptr;
  ASSERT_EQ(dxdbOpenObject(c, id, DxDb::kForRead), Dxad::eOk);
  d.db->takeDisciplineReport();
  c->setRadius(3);  // not open for write
  auto report = d.db->takeDisciplineReport();
  ASSERT_EQ(report.size(), 2u);
  EXPECT_NE(report[0].find("not open for write"), std::string::npos);
  EXPECT_NE(report[1].find("left open"), std::string::npos);
  EXPECT_NE(report[1].find(id.handle().str()), std::string::npos);
  c->close();
  EXPECT_TRUE(d.db->takeDisciplineReport().empty());
}

TEST(OpenDiscipline, ReadingAndBuildingADrawingReportNothing) {
  Drawing d;
  d.db->takeDisciplineReport();
  d.addBlock("B");
  EXPECT_TRUE(d.db->takeDisciplineReport().empty());
  DxDbDatabase back(false);
  ASSERT_EQ(back.readDxfFromBuffer("  0\nSECTION\n  2\nENTITIES\n  0\nLINE\n 10\n0\n 20\n0\n 11\n1\n 21\n1\n  0\nENDSEC\n  0\nEOF\n"),
            Dxad::eOk);
  EXPECT_TRUE(back.takeDisciplineReport().empty());
}

TEST(OpenDiscipline, CloneIsFreeOfTheDatabase) {
  Drawing d;
  DxDbObjectId id = d.add(new DxDbLine({0, 0, 0}, {1, 0, 0}));
  DxDbLine* l = nullptr;
  ASSERT_EQ(dxdbOpenObject(l, id, DxDb::kForRead), Dxad::eOk);
  std::unique_ptr<DxDbObject> c(l->clone());
  l->close();
  EXPECT_TRUE(c->objectId().isNull());
  EXPECT_TRUE(c->ownerId().isNull());
  EXPECT_FALSE(c->isReadEnabled());
  EXPECT_EQ(static_cast<DxDbLine*>(c.get())->endPoint(), DxGePoint3d(1, 0, 0));
}

TEST(OpenDiscipline, ErasedObjectsOpenOnlyOnRequestAndWrongClassIsRefused) {
  Drawing d;
  DxDbObjectId id = d.add(new DxDbPoint({1, 2, 3}));
  DxDbEntity* e = nullptr;
  ASSERT_EQ(dxdbOpenObject(e, id, DxDb::kForWrite), Dxad::eOk);
  ASSERT_EQ(e->erase(), Dxad::eOk);
  e->close();
  EXPECT_EQ(dxdbOpenObject(e, id, DxDb::kForRead), Dxad::eWasErased);
  ASSERT_EQ(dxdbOpenObject(e, id, DxDb::kForRead, true), Dxad::eOk);
  e->close();
  DxDbLine* line = nullptr;
  EXPECT_EQ(dxdbOpenObject(line, id, DxDb::kForRead, true), Dxad::eNotThatKindOfClass);
  EXPECT_TRUE(d.db->openObjects().empty());
  EXPECT_EQ(dxdbOpenObject(e, DxDbObjectId(), DxDb::kForRead), Dxad::eNullObjectId);
}

// ---------------------------------------------------------------------------------------
// Tables and containers

TEST(Tables, DefaultDrawingHasTheStandardRecordsAndRejectsDuplicates) {
  Drawing d;
  DxDbLayerTable* lt = nullptr;
  ASSERT_EQ(d.db->getSymbolTable(lt, DxDb::kForWrite), Dxad::eOk);
  DxDbObjectId zero;
  EXPECT_EQ(lt->getIdAt("0", zero), Dxad::eOk);
  EXPECT_EQ(zero, d.db->clayer());
  auto* dup = new DxDbLayerTableRecord();
  dup->setName("0");
  DxDbObjectId id;
  EXPECT_EQ(lt->add(id, dup), Dxad::eDuplicateRecordName);
  delete dup;
  auto* bad = new DxDbLayerTableRecord();
  EXPECT_EQ(bad->setName("a<b"), Dxad::eInvalidSymbolTableName);
  delete bad;
  lt->close();
  for (const char* lt : {"ByLayer", "ByBlock", "Continuous"}) EXPECT_FALSE(d.db->impl()->recordId(dx::db::Table::Linetype, lt).isNull()) << lt;
  EXPECT_FALSE(d.db->textstyle().isNull());
  EXPECT_FALSE(d.db->dimstyle().isNull());
  EXPECT_NE(d.db->modelSpaceId(), d.db->paperSpaceId());
}

TEST(Tables, LookupIsCaseInsensitiveAndRenameMovesTheKey) {
  Drawing d;
  DxDbObjectId walls = d.addLayer("Walls");
  DxDbLayerTable* lt = nullptr;
  ASSERT_EQ(d.db->getSymbolTable(lt, DxDb::kForRead), Dxad::eOk);
  DxDbObjectId id;
  EXPECT_EQ(lt->getIdAt("WALLS", id), Dxad::eOk);
  EXPECT_EQ(id, walls);
  lt->close();
  DxDbLayerTableRecord* rec = nullptr;
  ASSERT_EQ(dxdbOpenObject(rec, walls, DxDb::kForWrite), Dxad::eOk);
  EXPECT_EQ(rec->setName("0"), Dxad::eDuplicateRecordName);
  EXPECT_EQ(rec->setName("Doors"), Dxad::eOk);
  rec->setIsLocked(true);
  rec->setIsOff(true);
  rec->close();
  ASSERT_EQ(d.db->getSymbolTable(lt, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(lt->getIdAt("walls", id), Dxad::eKeyNotFound);
  EXPECT_EQ(lt->getIdAt("doors", id), Dxad::eOk);
  lt->close();
  Rb list(dxdbTblSearch("LAYER", "DOORS"));
  ASSERT_TRUE(list);
  EXPECT_EQ(find(list.get(), 70)->resval.rint & 4, 4);
  EXPECT_LT(find(list.get(), 62)->resval.rint, 0);  // off: negative colour
}

TEST(Tables, BlockReferencesAreFoundInEveryBlock) {
  Drawing d;
  DxDbObjectId innerId = d.addBlock("INNER"), outerId = d.addBlock("OUTER");
  d.add(new DxDbLine({0, 0, 0}, {1, 0, 0}), innerId);
  DxDbObjectId nested = d.add(new DxDbBlockReference({0, 0, 0}, innerId), outerId);
  DxDbObjectId top = d.add(new DxDbBlockReference({5, 0, 0}, innerId));
  DxDbBlockTableRecord* r = nullptr;
  ASSERT_EQ(dxdbOpenObject(r, innerId, DxDb::kForRead), Dxad::eOk);
  DxDbObjectIdArray refs;
  ASSERT_EQ(r->getBlockReferenceIds(refs), Dxad::eOk);
  r->close();
  std::set<DxDbObjectId> got(refs.begin(), refs.end());
  EXPECT_EQ(got, (std::set<DxDbObjectId>{nested, top}));

  // The table entry of a block: its BLOCK entity's groups and its first entity; a path
  // only for an external reference.
  Rb entry(dxdbTblSearch("BLOCK", "outer"));
  ASSERT_TRUE(entry);
  std::ostringstream shown;
  for (resbuf* rb = entry.get(); rb; rb = rb->rbnext) shown << rb->restype << ' ';
  EXPECT_EQ(shown.str(), "-1 0 2 70 10 -2 ");
  EXPECT_STREQ(find(entry.get(), 2)->resval.rstring, "OUTER");
  DxDbObjectId first;
  ASSERT_EQ(dxdbGetObjectId(first, find(entry.get(), -2)->resval.rlname), Dxad::eOk);
  EXPECT_EQ(first, nested);
  ASSERT_EQ(dxdbOpenObject(r, outerId, DxDb::kForWrite), Dxad::eOk);
  r->setPathName("/plans/outer.dxf");
  r->close();
  entry.reset(dxdbTblSearch("BLOCK", "OUTER"));
  EXPECT_STREQ(find(entry.get(), 1)->resval.rstring, "/plans/outer.dxf");
}

TEST(Tables, ExplodedPiecesBringTheirVerticesAndAttributes) {
  Drawing d;
  DxDbObjectId tagId = d.addBlock("TAG"), outerId = d.addBlock("OUTER");
  // OUTER holds an old-style polyline of three vertices and a reference with an attribute.
  auto* pl = new DxDbPolylineHeavy();
  for (double x : {0.0, 1.0, 2.0}) {
    auto* v = new DxDbVertex();
    v->setPosition({x, x * x, 0});
    DxDbObjectId vid;
    ASSERT_EQ(pl->appendVertex(vid, v), Dxad::eOk);  // before the polyline is in a drawing
  }
  d.add(pl, outerId);
  auto* ref = new DxDbBlockReference({5, 0, 0}, tagId);
  DxDbObjectId refId = d.add(ref, outerId);
  DxDbBlockReference* r = nullptr;
  ASSERT_EQ(dxdbOpenObject(r, refId, DxDb::kForWrite), Dxad::eOk);
  auto* att = new DxDbAttribute();
  att->setTag("NO");
  att->setTextString("42");
  DxDbObjectId aid;
  ASSERT_EQ(r->appendAttribute(aid, att), Dxad::eOk);
  att->close();
  r->close();

  // Explode a reference to OUTER moved by (10, 0) and append the pieces.
  DxDbBlockReference top({10, 0, 0}, outerId);
  std::vector<DxDbEntity*> pieces;
  ASSERT_EQ(top.explode(pieces), Dxad::eOk);
  ASSERT_EQ(pieces.size(), 2u);
  for (auto* p : pieces) d.add(p);

  DxDbDatabase back(false);
  ASSERT_EQ(back.readDxfFromBuffer(d.dxf()), Dxad::eOk) << back.lastError();
  DxDbBlockTableRecord* ms = nullptr;
  ASSERT_EQ(dxdbOpenObject(ms, back.modelSpaceId(), DxDb::kForRead), Dxad::eOk);
  auto ids = ms->entityIds();
  ms->close();
  ASSERT_EQ(ids.size(), 2u);
  DxDbPolylineHeavy* plBack = nullptr;
  ASSERT_EQ(dxdbOpenObject(plBack, ids[0], DxDb::kForRead), Dxad::eOk);
  ASSERT_EQ(plBack->vertexIds().size(), 3u);
  DxDbVertex* last = nullptr;
  ASSERT_EQ(dxdbOpenObject(last, plBack->vertexIds()[2], DxDb::kForRead), Dxad::eOk);
  EXPECT_TRUE(last->position().isEqualTo({12, 4, 0}, 1e-12));
  last->close();
  plBack->close();
  DxDbBlockReference* refBack = nullptr;
  ASSERT_EQ(dxdbOpenObject(refBack, ids[1], DxDb::kForRead), Dxad::eOk);
  ASSERT_EQ(refBack->attributeIds().size(), 1u);
  DxDbAttribute* attBack = nullptr;
  ASSERT_EQ(dxdbOpenObject(attBack, refBack->attributeIds()[0], DxDb::kForRead), Dxad::eOk);
  EXPECT_STREQ(attBack->textString(), "42");
  EXPECT_TRUE(attBack->position().isEqualTo({10, 0, 0}, 1e-12));
  attBack->close();
  refBack->close();
}

TEST(Dictionaries, ExtensionDictionaryAndGroupsKeepTheirMembers) {
  Drawing d;
  DxDbObjectId line = d.add(new DxDbLine({0, 0, 0}, {1, 0, 0}));
  DxDbObject* o = nullptr;
  ASSERT_EQ(dxdbOpenObject(o, line, DxDb::kForWrite), Dxad::eOk);
  ASSERT_EQ(o->createExtensionDictionary(), Dxad::eOk);
  DxDbObjectId xd = o->extensionDictionary();
  o->close();
  DxDbDictionary* dict = nullptr;
  ASSERT_EQ(dxdbOpenObject(dict, xd, DxDb::kForWrite), Dxad::eOk);
  DxDbObjectId rec;
  auto* xr = new DxDbXrecord();
  ASSERT_EQ(dict->setAt("{KEY}", xr, rec), Dxad::eOk);
  resbuf* data = dxutBuildList(1, "hello", 40, 2.5, 0);
  ASSERT_EQ(xr->setFromRbChain(data), Dxad::eOk);
  dxutRelRb(data);
  xr->close();
  EXPECT_TRUE(dict->has("{key}"));
  dict->close();

  DxDbDictionary* groups = nullptr;
  ASSERT_EQ(d.db->getGroupDictionary(groups, DxDb::kForWrite), Dxad::eOk);
  auto* g = new DxDbGroup("pair");
  DxDbObjectId gid;
  ASSERT_EQ(groups->setAt("PAIR", g, gid), Dxad::eOk);
  ASSERT_EQ(g->append(line), Dxad::eOk);
  EXPECT_EQ(g->append(line), Dxad::eAlreadyInDb);
  g->close();
  groups->close();

  // Everything survives a trip through a file.
  std::string text = d.dxf();
  DxDbDatabase back(false);
  ASSERT_EQ(back.readDxfFromBuffer(text), Dxad::eOk) << back.lastError();
  DxDbObjectId lineBack;
  ASSERT_EQ(back.getObjectId(lineBack, false, line.handle()), Dxad::eOk);
  ASSERT_EQ(dxdbOpenObject(o, lineBack, DxDb::kForRead), Dxad::eOk);
  DxDbObjectId xdBack = o->extensionDictionary();
  EXPECT_EQ(o->getPersistentReactorIds().size(), 1u);  // the group
  o->close();
  ASSERT_EQ(dxdbOpenObject(dict, xdBack, DxDb::kForRead), Dxad::eOk);
  DxDbXrecord* xrBack = nullptr;
  ASSERT_EQ(dict->getAt("{KEY}", xrBack, DxDb::kForRead), Dxad::eOk);
  resbuf* chain = nullptr;
  xrBack->rbChain(&chain);
  Rb chainOwner(chain);
  ASSERT_TRUE(find(chain, 1));
  EXPECT_STREQ(find(chain, 1)->resval.rstring, "hello");
  EXPECT_EQ(find(chain, 40)->resval.rreal, 2.5);
  xrBack->close();
  dict->close();
  ASSERT_EQ(back.getGroupDictionary(groups, DxDb::kForRead), Dxad::eOk);
  DxDbGroup* gBack = nullptr;
  ASSERT_EQ(groups->getAt("PAIR", gBack, DxDb::kForRead), Dxad::eOk);
  DxDbObjectIdArray members;
  EXPECT_EQ(gBack->allEntityIds(members), 1u);
  EXPECT_EQ(members[0], lineBack);
  gBack->close();
  groups->close();
}

TEST(Dictionaries, LongReactorListsAndBatchedGroupsKeepEachIdOnce) {
  Drawing d;
  std::vector<DxDbObjectId> lines;
  for (int i = 0; i < 100; ++i) lines.push_back(d.add(new DxDbLine({0, double(i), 0}, {1, double(i), 0})));
  DxDbDictionary* groups = nullptr;
  ASSERT_EQ(d.db->getGroupDictionary(groups, DxDb::kForWrite), Dxad::eOk);
  auto* g = new DxDbGroup("many");
  DxDbObjectId gid;
  ASSERT_EQ(groups->setAt("MANY", g, gid), Dxad::eOk);
  groups->close();
  // Batches overlapping each other and themselves.
  ASSERT_EQ(g->append(DxDbObjectIdArray(lines.begin(), lines.begin() + 60)), Dxad::eOk);
  DxDbObjectIdArray again(lines.begin() + 50, lines.end());
  again.push_back(lines[70]);
  ASSERT_EQ(g->append(again), Dxad::eOk);
  EXPECT_EQ(g->numEntities(), 100u);
  EXPECT_EQ(g->append(lines[99]), Dxad::eAlreadyInDb);

  // The group as a reactor of many objects, and many reactors on one object.
  DxDbObject* hub = g;
  for (auto id : lines) hub->addPersistentReactor(id);
  hub->addPersistentReactor(lines[3]);
  EXPECT_EQ(hub->getPersistentReactorIds().size(), 100u);
  ASSERT_EQ(hub->removePersistentReactor(lines[40]), Dxad::eOk);
  hub->addPersistentReactor(lines[41]);
  EXPECT_EQ(hub->getPersistentReactorIds().size(), 99u);
  hub->addPersistentReactor(lines[40]);
  EXPECT_EQ(hub->getPersistentReactorIds().size(), 100u);
  g->close();
}

// ---------------------------------------------------------------------------------------
// Entity lists

TEST(EntityLists, GetShowsTheGroupsAndModChangesTheEntity) {
  Drawing d;
  d.addLayer("WALLS");
  DxDbObjectId id = d.add(new DxDbLine({1, 2, 3}, {4, 5, 6}));
  dx_name en;
  dxdbGetGdsName(en, id);
  Rb list(dxdbEntGet(en));
  ASSERT_TRUE(list);
  EXPECT_EQ(list->restype, -1);
  EXPECT_STREQ(find(list.get(), 0)->resval.rstring, "LINE");
  EXPECT_STREQ(find(list.get(), 8)->resval.rstring, "0");
  EXPECT_EQ(find(list.get(), 62), nullptr);  // BYLAYER colour has no group
  EXPECT_EQ(find(list.get(), 11)->resval.rpoint[1], 5.0);
  DxDbObjectId owner;
  dxdbGetObjectId(owner, find(list.get(), 330)->resval.rlname);
  EXPECT_EQ(owner, d.db->modelSpaceId());

  // Change the layer, the colour and the start point by the list.
  std::free(find(list.get(), 8)->resval.rstring);
  find(list.get(), 8)->resval.rstring = strdup("WALLS");
  find(list.get(), 10)->resval.rpoint[0] = 10;
  resbuf* color = dxutBuildList(62, 3, 0);
  color->rbnext = list->rbnext;
  list->rbnext = color;
  ASSERT_EQ(dxdbEntMod(list.get()), RTNORM);
  DxDbLine* line = nullptr;
  ASSERT_EQ(dxdbOpenObject(line, id, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(line->layer(), "WALLS");
  EXPECT_EQ(line->colorIndex(), 3);
  EXPECT_EQ(line->startPoint(), DxGePoint3d(10, 2, 3));
  line->close();
}

TEST(EntityLists, MakeAppendsToTheCurrentSpaceOnTheCurrentLayer) {
  Drawing d;
  DxDbObjectId layer = d.addLayer("NOTES");
  ASSERT_EQ(d.db->setClayer(layer), Dxad::eOk);
  double pt[3] = {1, 1, 0};
  Rb text(dxutBuildList(RTDXF0, "TEXT", 10, pt, 40, 2.5, 1, "Hello world", 50, M_PI / 2, 0));
  ASSERT_EQ(dxdbEntMake(text.get()), RTNORM);
  dx_name last;
  ASSERT_EQ(dxdbEntLast(last), RTNORM);
  DxDbObjectId id;
  dxdbGetObjectId(id, last);
  DxDbText* t = nullptr;
  ASSERT_EQ(dxdbOpenObject(t, id, DxDb::kForRead), Dxad::eOk);
  EXPECT_STREQ(t->textString(), "Hello world");
  EXPECT_EQ(t->layerId(), layer);
  EXPECT_NEAR(t->rotation(), M_PI / 2, 1e-12);  // lists give radians
  EXPECT_EQ(t->height(), 2.5);
  t->close();

  // A group given twice: the last one holds, as when a list is changed group by group.
  Rb twice(dxutBuildList(RTDXF0, "CIRCLE", 10, pt, 40, 1.0, 40, 3.0, 0));
  ASSERT_EQ(dxdbEntMake(twice.get()), RTNORM);
  dx_name circle;
  ASSERT_EQ(dxdbEntLast(circle), RTNORM);
  Rb circleList(dxdbEntGet(circle));
  EXPECT_EQ(find(circleList.get(), 40)->resval.rreal, 3.0);

  Rb noType(dxutBuildList(10, pt, 0));
  EXPECT_EQ(dxdbEntMake(noType.get()), RTERROR);
  Rb unknown(dxutBuildList(RTDXF0, "NOSUCHTHING", 10, pt, 0));
  EXPECT_EQ(dxdbEntMake(unknown.get()), RTERROR);
  Rb noPoint(dxutBuildList(RTDXF0, "LINE", 8, "0", 0));
  EXPECT_EQ(dxdbEntMake(noPoint.get()), RTERROR);

  // A table record by list.
  Rb style(dxutBuildList(RTDXF0, "STYLE", 2, "ROMANS", 70, 0, 40, 0.0, 41, 0.8, 3, "romans.shx", 0));
  ASSERT_EQ(dxdbEntMake(style.get()), RTNORM);
  Rb found(dxdbTblSearch("style", "romans"));
  ASSERT_TRUE(found);
  EXPECT_EQ(find(found.get(), 41)->resval.rreal, 0.8);
}

TEST(EntityLists, WalkVisitsAttributesAndEndMarkerAfterTheirInsert) {
  Drawing d;
  DxDbObjectId bid = d.addBlock("TAG");
  d.add(new DxDbLine({0, 0, 0}, {1, 0, 0}));
  auto* ref = new DxDbBlockReference({0, 0, 0}, bid);
  DxDbObjectId refId = d.add(ref);
  DxDbBlockReference* r = nullptr;
  ASSERT_EQ(dxdbOpenObject(r, refId, DxDb::kForWrite), Dxad::eOk);
  DxDbObjectId a1, a2;
  auto* att1 = new DxDbAttribute();
  att1->setTag("A");
  auto* att2 = new DxDbAttribute();
  att2->setTag("B");
  ASSERT_EQ(r->appendAttribute(a1, att1), Dxad::eOk);
  att1->close();
  ASSERT_EQ(r->appendAttribute(a2, att2), Dxad::eOk);
  att2->close();
  r->close();
  DxDbObjectId after = d.add(new DxDbPoint({3, 3, 0}));

  std::vector<std::string> types;
  dx_name cur{0, 0}, next;
  for (int guard = 0; guard < 20 && dxdbEntNext(guard ? cur : nullptr, next) == RTNORM; ++guard) {
    Rb l(dxdbEntGet(next));
    types.push_back(find(l.get(), 0)->resval.rstring);
    cur[0] = next[0];
    cur[1] = next[1];
  }
  EXPECT_EQ(types, (std::vector<std::string>{"LINE", "INSERT", "ATTRIB", "ATTRIB", "SEQEND", "POINT"}));

  // Erasing by list and bringing back.
  dx_name pn;
  dxdbGetGdsName(pn, after);
  ASSERT_EQ(dxdbEntDel(pn), RTNORM);
  dx_name last;
  ASSERT_EQ(dxdbEntLast(last), RTNORM);
  DxDbObjectId lastId;
  ASSERT_EQ(dxdbGetObjectId(lastId, last), Dxad::eOk);
  EXPECT_EQ(lastId, refId);
  ASSERT_EQ(dxdbEntDel(pn), RTNORM);
  EXPECT_FALSE(after.isErased());

  // An erased end marker: the file still closes the attributes, and they read back.
  DxDbBlockReference* rr = nullptr;
  ASSERT_EQ(dxdbOpenObject(rr, refId, DxDb::kForRead), Dxad::eOk);
  DxDbObjectIdArray atts = rr->attributeIds();
  rr->close();
  dx_name en;
  ASSERT_EQ(dxdbEntNext(nullptr, en), RTNORM);
  for (int i = 0; i < 4; ++i) ASSERT_EQ(dxdbEntNext(en, en), RTNORM);  // LINE INSERT A B SEQEND
  ASSERT_STREQ(find(Rb(dxdbEntGet(en)).get(), 0)->resval.rstring, "SEQEND");
  ASSERT_EQ(dxdbEntDel(en), RTNORM);
  std::string text = d.dxf();
  size_t lastTag = text.find("  2\nB\n");
  ASSERT_NE(lastTag, std::string::npos);
  EXPECT_LT(text.find("SEQEND", lastTag), text.find("POINT", lastTag));
  DxDbDatabase back(false);
  ASSERT_EQ(back.readDxfFromBuffer(text), Dxad::eOk) << back.lastError();
  dxdbHostApplicationServices()->setWorkingDatabase(&back);
  dx_name bn;
  ASSERT_EQ(dxdbEntNext(nullptr, bn), RTNORM);
  ASSERT_EQ(dxdbEntNext(bn, bn), RTNORM);
  DxDbObjectId backRef;
  ASSERT_EQ(dxdbGetObjectId(backRef, bn), Dxad::eOk);
  DxDbBlockReference* br = nullptr;
  ASSERT_EQ(dxdbOpenObject(br, backRef, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(br->attributeIds().size(), atts.size());
  br->close();
  dxdbHostApplicationServices()->setWorkingDatabase(d.db.get());
}

TEST(EntityLists, MadeUpAndStaleNamesAreRefused) {
  dx_name stale{0, 0};
  {
    Drawing d;
    DxDbObjectId id = d.add(new DxDbPoint({0, 0, 0}));
    dxdbGetGdsName(stale, id);
    dx_name madeUp{stale[0], stale[1] + 12345};
    DxDbObjectId out;
    EXPECT_EQ(dxdbGetObjectId(out, madeUp), Dxad::eInvalidInput);
    EXPECT_EQ(dxdbEntGet(madeUp), nullptr);
    dx_name garbage{0x1234, 0x99};
    EXPECT_EQ(dxdbEntDel(garbage), RTERROR);
  }
  DxDbObjectId out;
  EXPECT_NE(dxdbGetObjectId(out, stale), Dxad::eOk);  // its drawing is gone
}

TEST(EntityLists, AnglesAreRadiansInListsAndDegreesInFiles) {
  Drawing d;
  DxDbObjectId arc = d.add(new DxDbArc({0, 0, 0}, 1, M_PI / 6, M_PI));
  dx_name en;
  dxdbGetGdsName(en, arc);
  Rb list(dxdbEntGet(en));
  EXPECT_NEAR(find(list.get(), 50)->resval.rreal, M_PI / 6, 1e-12);
  find(list.get(), 51)->resval.rreal = M_PI / 2;
  ASSERT_EQ(dxdbEntMod(list.get()), RTNORM);
  DxDbArc* a = nullptr;
  ASSERT_EQ(dxdbOpenObject(a, arc, DxDb::kForRead), Dxad::eOk);
  EXPECT_NEAR(a->endAngle(), M_PI / 2, 1e-12);
  a->close();
  EXPECT_NE(d.dxf().find(" 51\n90.0\n"), std::string::npos);  // the file keeps degrees
}

TEST(EntityLists, ExtendedDataByObjectAndReplacedPerApplication) {
  Drawing d;
  for (const char* app : {"APP1", "APP2"}) {
    Rb a(dxutBuildList(RTDXF0, "APPID", 2, app, 70, 0, 0));
    ASSERT_EQ(dxdbEntMake(a.get()), RTNORM);
  }
  DxDbObjectId id = d.add(new DxDbPoint({0, 0, 0}));
  DxDbObject* o = nullptr;
  ASSERT_EQ(dxdbOpenObject(o, id, DxDb::kForWrite), Dxad::eOk);
  Rb x1(dxutBuildList(1001, "APP1", 1000, "one", 1001, "APP2", 1070, 7, 0));
  ASSERT_EQ(o->setXData(x1.get()), Dxad::eOk);
  Rb x2(dxutBuildList(1001, "APP1", 1000, "uno", 0));
  ASSERT_EQ(o->setXData(x2.get()), Dxad::eOk);
  Rb bad(dxutBuildList(1001, "NOT_REGISTERED", 1000, "x", 0));
  EXPECT_EQ(o->setXData(bad.get()), Dxad::eInvalidInput);
  Rb app1(o->xData("app1"));
  Rb app2(o->xData("APP2"));
  o->close();
  ASSERT_TRUE(app1);
  EXPECT_STREQ(find(app1.get(), 1000)->resval.rstring, "uno");
  EXPECT_EQ(find(app1.get(), 1070), nullptr);
  ASSERT_TRUE(app2);
  EXPECT_EQ(find(app2.get(), 1070)->resval.rint, 7);
}

TEST(EntityLists, ExtendedDataTravelsWithTheApplicationFilter) {
  Drawing d;
  Rb app(dxutBuildList(RTDXF0, "APPID", 2, "MYAPP", 70, 0, 0));
  ASSERT_EQ(dxdbEntMake(app.get()), RTNORM);
  DxDbObjectId id = d.add(new DxDbCircle({0, 0, 0}, {0, 0, 1}, 1));
  dx_name en;
  dxdbGetGdsName(en, id);
  Rb list(dxdbEntGet(en));
  resbuf* tail = list.get();
  while (tail->rbnext) tail = tail->rbnext;
  tail->rbnext = dxutBuildList(-3, 1001, "MYAPP", 1000, "note", 1040, 7.5, 0);
  ASSERT_EQ(dxdbEntMod(list.get()), RTNORM);
  Rb apps(dxutBuildList(RTSTR, "MYAPP", 0));
  Rb withX(dxdbEntGet(en, apps.get()));
  ASSERT_TRUE(find(withX.get(), -3));
  EXPECT_STREQ(find(withX.get(), 1000)->resval.rstring, "note");
  EXPECT_EQ(find(withX.get(), 1040)->resval.rreal, 7.5);
  Rb other(dxutBuildList(RTSTR, "OTHER", 0));
  Rb withoutX(dxdbEntGet(en, other.get()));
  EXPECT_EQ(find(withoutX.get(), -3), nullptr);
}

// ---------------------------------------------------------------------------------------
// Undo journal

TEST(Journal, RollbackGivesBackTheDrawingByteForByte) {
  Drawing d;
  DxDbObjectId keep = d.add(new DxDbLine({0, 0, 0}, {1, 0, 0}));
  DxDbObjectId gone = d.add(new DxDbCircle({5, 5, 0}, {0, 0, 1}, 1));
  DatabaseImpl* impl = d.db->impl();
  impl->setJournalEnabled(true);
  std::string before = d.dxf();
  uint64_t pos = impl->journalPosition();

  DxDbLine* line = nullptr;
  ASSERT_EQ(dxdbOpenObject(line, keep, DxDb::kForWrite), Dxad::eOk);
  line->setEndPoint({9, 9, 9});
  line->setColorIndex(1);
  line->close();
  DxDbEntity* c = nullptr;
  ASSERT_EQ(dxdbOpenObject(c, gone, DxDb::kForWrite), Dxad::eOk);
  c->erase();
  c->close();
  d.add(new DxDbText({0, 0, 0}, "new"));
  DxDbObjectId temp = d.addLayer("TEMP");
  ASSERT_EQ(d.db->setClayer(temp), Dxad::eOk);  // a header variable: undone too
  EXPECT_NE(d.dxf(), before);

  impl->rollbackTo(pos);
  EXPECT_EQ(d.dxf(), before);
  EXPECT_FALSE(gone.isErased());
  ASSERT_EQ(dxdbOpenObject(line, keep, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(line->endPoint(), DxGePoint3d(1, 0, 0));
  line->close();
}

TEST(Journal, StepsRollBackSeparately) {
  Drawing d;
  DxDbObjectId id = d.add(new DxDbPoint({0, 0, 0}));
  DatabaseImpl* impl = d.db->impl();
  impl->setJournalEnabled(true);
  auto move = [&](double x) {
    DxDbPoint* p = nullptr;
    ASSERT_EQ(dxdbOpenObject(p, id, DxDb::kForWrite), Dxad::eOk);
    p->setPosition({x, 0, 0});
    p->close();
  };
  uint64_t s1 = impl->journalPosition();
  move(1);
  move(2);  // same step: one copy only
  uint64_t s2 = impl->journalPosition();
  move(3);
  impl->rollbackTo(s2);
  DxDbPoint* p = nullptr;
  ASSERT_EQ(dxdbOpenObject(p, id, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(p->position().x, 2);
  p->close();
  impl->rollbackTo(s1);
  ASSERT_EQ(dxdbOpenObject(p, id, DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(p->position().x, 0);
  p->close();
}

// ---------------------------------------------------------------------------------------
// Purge

TEST(Purge, RemovesUnusedRecordsPassAfterPassAndKeepsWhatIsUsed) {
  Drawing d;
  DxDbObjectId used = d.addLayer("USED");
  d.addLayer("UNUSED");
  d.addLayer("DEFPOINTS");
  DxDbObjectId onlyInBlock = d.addLayer("INBLOCK");
  DxDbObjectId current = d.addLayer("CURRENT");
  d.db->setClayer(current);
  // A linetype used only by an unused layer goes in the second pass.
  Rb lt(dxutBuildList(RTDXF0, "LTYPE", 2, "DASHED", 70, 0, 3, "- -", 72, 65, 73, 2, 40, 1.0, 49, 0.5, 74, 0, 49,
                      -0.5, 74, 0, 0));
  ASSERT_EQ(dxdbEntMake(lt.get()), RTNORM);
  Rb lay(dxutBuildList(RTDXF0, "LAYER", 2, "DASHLAYER", 70, 0, 62, 1, 6, "DASHED", 0));
  ASSERT_EQ(dxdbEntMake(lay.get()), RTNORM);
  // Block OUTER is unused and refers to INNER; INNER's entity is on INBLOCK.
  DxDbObjectId inner = d.addBlock("INNER"), outer = d.addBlock("OUTER"), kept = d.addBlock("KEPT");
  auto* inLine = new DxDbLine({0, 0, 0}, {1, 0, 0});
  inLine->setLayer(onlyInBlock);
  d.add(inLine, inner);
  d.add(new DxDbBlockReference({0, 0, 0}, inner), outer);
  auto* top = new DxDbBlockReference({0, 0, 0}, kept);
  top->setLayer(used);
  d.add(top);

  std::vector<std::string> removed;
  ASSERT_TRUE(purgeAllWithReport(
      d.db.get(),
      [](void* ctx, const char* kind, const char* name) {
        static_cast<std::vector<std::string>*>(ctx)->push_back(std::string(kind) + ":" + name);
      },
      &removed));
  std::set<std::string> got(removed.begin(), removed.end());
  EXPECT_EQ(got, (std::set<std::string>{"Block:OUTER", "Block:INNER", "Layer:UNUSED", "Layer:INBLOCK",
                                        "Layer:DASHLAYER", "Linetype:DASHED"}));
  auto* impl = d.db->impl();
  for (const char* name : {"0", "DEFPOINTS", "USED", "CURRENT"})
    EXPECT_FALSE(impl->recordId(dx::db::Table::Layer, name).isNull()) << name;
  EXPECT_FALSE(impl->recordId(dx::db::Table::Block, "KEPT").isNull());
  EXPECT_FALSE(impl->recordId(dx::db::Table::Style, "Standard").isNull());
  // Purging again finds nothing.
  removed.clear();
  purgeAllWithReport(d.db.get(), [](void* ctx, const char*, const char* n) {
    static_cast<std::vector<std::string>*>(ctx)->push_back(n);
  }, &removed);
  EXPECT_TRUE(removed.empty());
  EXPECT_FALSE(purgeAll(nullptr));
}

TEST(Purge, ModulesFindItByItsPlainName) {
  auto fn = reinterpret_cast<PurgeAllFn>(dlsym(RTLD_DEFAULT, "purgeAll"));
  ASSERT_NE(fn, nullptr) << "purgeAll is not exported under its plain name";
  Drawing d;
  d.addLayer("SPARE");
  EXPECT_TRUE(fn(d.db.get(), false));
  EXPECT_TRUE(d.db->impl()->recordId(dx::db::Table::Layer, "SPARE").isNull());
}

TEST(Purge, AFilterLimitsWhatGoes) {
  Drawing d;
  d.addLayer("TMP_A");
  d.addLayer("TMP_B");
  d.addLayer("KEEP");
  std::vector<std::string> removed;
  ASSERT_TRUE(purgeSome(
      d.db.get(),
      [](void*, const char* kind, const char* name) {
        return std::string(kind) == "Layer" && std::string(name).rfind("TMP_", 0) == 0;
      },
      [](void* ctx, const char*, const char* name) { static_cast<std::vector<std::string>*>(ctx)->push_back(name); },
      &removed));
  EXPECT_EQ(std::set<std::string>(removed.begin(), removed.end()), (std::set<std::string>{"TMP_A", "TMP_B"}));
  EXPECT_FALSE(d.db->impl()->recordId(dx::db::Table::Layer, "KEEP").isNull());
}

// ---------------------------------------------------------------------------------------
// Colours and geometry

TEST(Colors, IndexesTrueColoursAndTheNearestIndex) {
  DxCmColor c;
  EXPECT_TRUE(c.isByLayer());
  EXPECT_EQ(c.colorIndex(), 256);
  c.setColorIndex(0);
  EXPECT_TRUE(c.isByBlock());
  c.setColorIndex(1);
  EXPECT_EQ(c.red(), 255);
  EXPECT_EQ(c.green(), 0);
  c.setRGB(250, 5, 5);
  EXPECT_TRUE(c.isByColor());
  EXPECT_EQ(c.colorIndex(), 1);
  EXPECT_EQ(c.rgb(), 0xFA0505);
  EXPECT_EQ(DxCmColor::nearestIndex(0, 0, 255), 5);
  EXPECT_EQ(DxCmColor::nearestIndex(255, 255, 255), 7);
  EXPECT_EQ(DxCmColor::paletteRGB(11), 0xFF7F7Fu);
  EXPECT_EQ(c.setColorIndex(300), Dxad::eInvalidInput);
}

TEST(Geometry, ArcsInTiltedPlanesAndBlockTransforms) {
  DxDbArc arc({0, 0, 5}, {0, 0, -1}, 2, 0, M_PI / 2);
  // With a -Z normal the object x axis is world -x: the start point mirrors.
  EXPECT_TRUE(arc.startPoint().isEqualTo({-2, 0, 5}, 1e-12));
  EXPECT_TRUE(arc.center().isEqualTo({0, 0, 5}, 1e-12));
  DxGePoint3d lo, hi;
  ASSERT_EQ(arc.getGeomExtents(lo, hi), Dxad::eOk);
  EXPECT_NEAR(lo.x, -2, 1e-12);
  EXPECT_NEAR(hi.y, 2, 1e-12);

  DxDbPolyline pl;
  pl.addVertexAt(0, {0, 0}, 1.0);  // a half circle up to (2,0)
  pl.addVertexAt(1, {2, 0});
  DxGePoint3d c;
  double r, sa, ea;
  ASSERT_TRUE(pl.getArcSegAt(0, c, r, sa, ea));
  EXPECT_TRUE(c.isEqualTo({1, 0, 0}, 1e-12));
  EXPECT_NEAR(r, 1, 1e-12);
  ASSERT_EQ(pl.getGeomExtents(lo, hi), Dxad::eOk);
  EXPECT_NEAR(lo.y, -1, 1e-12);  // a positive bulge turns counter-clockwise: below the chord

  DxGeMatrix3d m = DxGeMatrix3d::rotation(M_PI / 2, DxGeVector3d::kZAxis, {1, 1, 0});
  EXPECT_TRUE((m * DxGePoint3d(2, 1, 0)).isEqualTo({1, 2, 0}, 1e-12));
  EXPECT_TRUE((m.inverse() * (m * DxGePoint3d(3, -4, 7))).isEqualTo({3, -4, 7}, 1e-12));
}

// Texts measure their glyphs in the style's font (here the default face): a box from a
// character count would give "iiii" and "WWWW" the same width.
TEST(Geometry, TextAndHatchExtentsAreExact) {
  DxGePoint3d lo, hi, lo2, hi2;
  DxDbText narrow({0, 0, 0}, "iiii", DxDbObjectId(), 10), wide({0, 0, 0}, "WWWW", DxDbObjectId(), 10);
  ASSERT_EQ(narrow.getGeomExtents(lo, hi), Dxad::eOk);
  ASSERT_EQ(wide.getGeomExtents(lo2, hi2), Dxad::eOk);
  EXPECT_GT(hi2.x - lo2.x, 2.5 * (hi.x - lo.x));
  EXPECT_NEAR(lo2.y, 0, 0.2);  // capitals stand on the baseline and fill the height
  EXPECT_NEAR(hi2.y, 10, 0.2);
  DxDbText low({0, 0, 0}, "gjpq", DxDbObjectId(), 10);
  low.getGeomExtents(lo, hi);
  EXPECT_LT(lo.y, -1.5);  // descenders reach below the baseline

  // Middle-centred and turned a quarter: the box is centred on the alignment point.
  wide.setHorizontalMode(DxDb::kTextMid);
  wide.setAlignmentPoint({50, 50, 0});
  wide.setRotation(M_PI / 2);
  ASSERT_EQ(wide.getGeomExtents(lo, hi), Dxad::eOk);
  EXPECT_NEAR((lo.y + hi.y) / 2, 50, 1e-6);
  EXPECT_NEAR(hi.y - lo.y, hi2.x - lo2.x, 1e-6);
  EXPECT_NEAR(hi.x - lo.x, 10, 0.3);

  // A hatch loop of a half disc below its chord reaches the arc's lowest point.
  DxDbHatch h;
  ASSERT_EQ(h.appendLoop(1, {{0, 0}, {10, 0}}, {1.0, 0.0}), Dxad::eOk);
  ASSERT_EQ(h.getGeomExtents(lo, hi), Dxad::eOk);
  EXPECT_NEAR(lo.y, -5, 1e-9);
  EXPECT_NEAR(hi.y, 0, 1e-9);

  // Two paragraphs: the longer line sets the width; the pitch is five thirds the height.
  DxDbMText m;
  m.setContents("WWWW\\PWW");
  m.setTextHeight(10);
  ASSERT_EQ(m.getGeomExtents(lo, hi), Dxad::eOk);
  EXPECT_NEAR(hi.x - lo.x, hi2.x - lo2.x, 1e-6);
  EXPECT_NEAR(hi.y, 0, 0.2);  // top left attachment: the text hangs below its location
  EXPECT_NEAR(lo.y, -(10 + 10 * 5.0 / 3.0), 0.3);
}

// ---------------------------------------------------------------------------------------
// Reading and writing

TEST(DxfFiles, EveryVersionWrittenReadsBackWithTheSameContent) {
  Drawing d;
  d.addLayer("Ωmega ü");
  auto* t = new DxDbText({1, 2, 0}, "Grüße 日本");
  t->setHeight(3);
  d.add(t);
  auto* pl = new DxDbPolyline();
  pl->addVertexAt(0, {0, 0}, 0.5);
  pl->addVertexAt(1, {10, 0});
  pl->addVertexAt(2, {10, 5});
  pl->setClosed(true);
  d.add(pl);
  auto* mt = new DxDbMText();
  std::string longText(600, 'x');
  longText += "é";
  mt->setContents(longText.c_str());
  mt->setTextHeight(2);
  d.add(mt);
  for (auto v : {DxDb::kDHL_1014, DxDb::kDHL_1015, DxDb::kDHL_1018, DxDb::kDHL_1021, DxDb::kDHL_1024,
                 DxDb::kDHL_1027, DxDb::kDHL_1032}) {
    std::string text = d.dxf(v);
    bool ascii = std::all_of(text.begin(), text.end(), [](char ch) { return uint8_t(ch) < 0x80; });
    EXPECT_EQ(ascii, v < DxDb::kDHL_1021) << int(v);  // older files escape what is not ASCII
    DxDbDatabase back(false);
    ASSERT_EQ(back.readDxfFromBuffer(text), Dxad::eOk) << back.lastError();
    EXPECT_EQ(back.originalFileVersion(), std::string(dx::db::acadFromVer(dx::db::verFromDwgVersion(v))));
    EXPECT_FALSE(back.impl()->recordId(dx::db::Table::Layer, "Ωmega ü").isNull());
    DxDbBlockTableRecord* ms = nullptr;
    ASSERT_EQ(dxdbOpenObject(ms, back.modelSpaceId(), DxDb::kForRead), Dxad::eOk);
    auto ids = ms->entityIds();
    ms->close();
    ASSERT_EQ(ids.size(), 3u);
    DxDbText* tb = nullptr;
    ASSERT_EQ(dxdbOpenObject(tb, ids[0], DxDb::kForRead), Dxad::eOk);
    EXPECT_STREQ(tb->textString(), "Grüße 日本");
    tb->close();
    DxDbPolyline* pb = nullptr;
    ASSERT_EQ(dxdbOpenObject(pb, ids[1], DxDb::kForRead), Dxad::eOk);
    EXPECT_EQ(pb->numVerts(), 3u);
    EXPECT_TRUE(pb->isClosed());
    double bulge = 0;
    pb->getBulgeAt(0, bulge);
    EXPECT_EQ(bulge, 0.5);
    pb->close();
    DxDbMText* mb = nullptr;
    ASSERT_EQ(dxdbOpenObject(mb, ids[2], DxDb::kForRead), Dxad::eOk);
    EXPECT_EQ(mb->contents(), longText);  // split into chunks and joined again
    mb->close();
    // Handles stay unique and below the seed.
    std::set<uint64_t> handles;
    uint64_t seed = back.impl()->handseed();
    back.impl()->forEachStub([&](dx::db::Stub& s) {
      if (!s.obj) return;
      EXPECT_TRUE(handles.insert(s.handle).second);
      EXPECT_LT(s.handle, seed);
    });
  }
}

TEST(DxfFiles, BadInputGivesOneLineAndLeavesTheDrawingAsItWas) {
  Drawing d;
  d.add(new DxDbLine({0, 0, 0}, {1, 1, 0}));
  std::string before = d.dxf();
  std::string good = before;
  std::vector<std::string> bad = {"", "garbage\nmore garbage\n", "  0\nSECTION\n  2\nENTITIES\n  0\nLINE\n  8\n",
                                  "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1099\n  0\nENDSEC\n  0\nEOF\n",
                                  std::string("AC1032\0\0\0\x12\x34", 11)};
  // Truncations of a real file at many places.
  for (size_t cut = 7; cut + 20 < good.size(); cut += good.size() / 97) bad.push_back(good.substr(0, cut));
  for (const std::string& data : bad) {
    Dxad::ErrorStatus es = d.db->readDxfFromBuffer(data);
    EXPECT_NE(es, Dxad::eOk) << data.size();
    EXPECT_FALSE(d.db->lastError().empty());
    EXPECT_EQ(d.db->lastError().find('\n'), std::string::npos);
    EXPECT_EQ(d.dxf(), before);
  }
  EXPECT_NE(d.db->readDxfFromBuffer(bad[3]), Dxad::eOk);
  EXPECT_NE(d.db->lastError().find("AC1099"), std::string::npos);
  EXPECT_NE(d.db->readDxfFromBuffer(bad[4]), Dxad::eOk);
  EXPECT_NE(d.db->lastError().find("DWG"), std::string::npos);
  EXPECT_EQ(d.db->readDwgFile("/nonexistent/dir/x.dxf"), Dxad::eFileNotFound);
}

// Unknown objects and entities come back verbatim: the second write equals the first.
TEST(DxfFiles, SampleDrawingsWriteTheSameTwice) {
  if (!fs::exists(sampleDir())) GTEST_SKIP() << "sample drawings not found at " << sampleDir();
  for (const char* name : {"images.dxf", "hatches_1.dxf", "mtext_columns_R2018.dxf", "xclip.dxf"}) {
    DxDbDatabase a(false), b(false);
    ASSERT_EQ(a.readDwgFile((sampleDir() + "/" + name).c_str()), Dxad::eOk) << name << a.lastError();
    dx::dxf::TagWriter w1, w2;
    dx::db::writeDxf(*a.impl(), dx::db::Ver::R2018, w1);
    ASSERT_EQ(b.readDxfFromBuffer(w1.buffer()), Dxad::eOk) << b.lastError();
    dx::db::writeDxf(*b.impl(), dx::db::Ver::R2018, w2);
    EXPECT_TRUE(w1.buffer() == w2.buffer()) << name << ": the second write differs from the first";
  }
}

// A big file is mapped while it loads; another program truncating it meanwhile makes the
// lost pages fault. The load fails with a message and the process lives on.
TEST(DxfFiles, AFileTruncatedWhileItLoadsFailsTheLoadNotTheProcess) {
  Drawing d;
  for (int i = 0; i < 12000; ++i) d.add(new DxDbLine({double(i), 0, 0}, {double(i), 1.5, 0}));
  std::string text = d.dxf();
  if (text.size() % 4096 == 0) text += "\n";  // pages past the end give the closing NUL
  ASSERT_GT(text.size(), size_t(1) << 20);
  std::string path = (fs::temp_directory_path() / ("dx_cut_" + std::to_string(::getpid()) + ".dxf")).string();
  {
    std::ofstream(path, std::ios::binary) << text;
  }
  int fd = ::open(path.c_str(), O_RDWR);
  ASSERT_GE(fd, 0);
  dx::dxf::Bytes bytes;
  std::string err;
  ASSERT_TRUE(dx::dxf::Bytes::fromFd(fd, text.size(), bytes, err)) << err;
  ASSERT_EQ(::ftruncate(fd, off_t(text.size() / 3)), 0);
  ::close(fd);
  DatabaseImpl* impl = d.db->impl();
  EXPECT_FALSE(dx::db::readDxf(*impl, std::move(bytes), err));
  EXPECT_NE(err.find("cut short"), std::string::npos) << err;
  // The same file, now short for good, is an ordinary damaged file.
  DxDbDatabase again(false);
  EXPECT_NE(again.readDwgFile(path.c_str()), Dxad::eOk);
  EXPECT_EQ(again.lastError().find("cut short"), std::string::npos);
  fs::remove(path);
}
