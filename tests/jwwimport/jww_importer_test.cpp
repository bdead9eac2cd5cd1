// The import of a JWW drawing into a drawing database: what it adds, where, and what it
// leaves alone.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "express/jww/jww_importer.h"
#include "express/jww/jww_record_make.h"
#include "express/jww/jww_translate.h"

namespace {

constexpr double kPi = std::numbers::pi;

using jwwmake::Head;
using jwwmake::Line;

struct Drawing {
  std::unique_ptr<DxDbDatabase> db = std::make_unique<DxDbDatabase>(true);
  std::vector<std::vector<std::string>> loaderCalls;

  jww::ImportResult import(const JwwDocument& doc, DxGeVector3d offset = {0, 0, 0}, bool expectOk = true) {
    jww::Importer importer(db.get(), doc);
    jww::ImportResult r;
    bool ok = importer.Import(offset, [&](const std::vector<std::string>& names) { loaderCalls.push_back(names); }, r);
    EXPECT_EQ(ok, expectOk) << r.failure;
    EXPECT_TRUE(db->openObjects().empty()) << "objects left open";
    return r;
  }

  template <class T = DxDbEntity>
  std::vector<T*> entities(DxDbObjectId space = {}) {
    std::vector<T*> out;
    DxDbBlockTableRecord* btr = nullptr;
    EXPECT_EQ(dxdbOpenObject(btr, space.isNull() ? db->modelSpaceId() : space, DxDb::kForRead), Dxad::eOk);
    for (DxDbObjectId id : btr->entityIds()) {
      DxDbEntity* e = nullptr;
      if (dxdbOpenObject(e, id, DxDb::kForRead) != Dxad::eOk) continue;
      if (T* t = DxRxObject::cast<T>(e)) out.push_back(t);
      e->close();  // the objects stay in memory while the database lives
    }
    btr->close();
    return out;
  }

  std::vector<std::string> names(DxDbObjectId tableId) {
    DxDbSymbolTable* t = nullptr;
    EXPECT_EQ(dxdbOpenObject(t, tableId, DxDb::kForRead), Dxad::eOk);
    std::vector<std::string> out;
    for (DxDbObjectId id : t->recordIds()) {
      DxDbSymbolTableRecord* r = nullptr;
      if (dxdbOpenObject(r, id, DxDb::kForRead) == Dxad::eOk) {
        out.push_back(r->getName());
        r->close();
      }
    }
    t->close();
    return out;
  }

  DxDbObjectId record(DxDbObjectId tableId, const char* name) {
    DxDbSymbolTable* t = nullptr;
    EXPECT_EQ(dxdbOpenObject(t, tableId, DxDb::kForRead), Dxad::eOk);
    DxDbObjectId id;
    t->getIdAt(name, id);
    t->close();
    return id;
  }

};

TEST(JwwImportLayers, ALayerNameTheTableRefusesPutsItsEntitiesOnLayerZero) {
  Drawing d;
  JwwDocument doc;
  doc.header.layerNames[1][2] = "a/b";
  doc.entities.lines = {Line(Head(1, 2), 0, 0, 1, 1), Line(Head(0, 0), 0, 0, 1, 1)};
  jww::ImportResult r = d.import(doc);
  ASSERT_EQ(r.layers.size(), 2u);
  EXPECT_TRUE(r.layers[0].created);
  EXPECT_FALSE(r.layers[1].created);
  EXPECT_EQ(r.layers[1].group, 1u);
  EXPECT_EQ(r.layers[1].layer, 2u);
  EXPECT_EQ(r.layersCreated, 1);
  auto lines = d.entities<DxDbLine>();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]->layer(), "0");
  EXPECT_EQ(lines[1]->layer(), "JWW[0][0]");
}

TEST(JwwImportLineTypes, MissingNamedLineTypesAreAskedForOnceAndAssigned) {
  Drawing d;
  JwwDocument doc;
  doc.entities.lines = {Line(Head(0, 0, 1), 0, 0, 1, 0), Line(Head(0, 0, 3), 0, 1, 1, 1),
                        Line(Head(0, 0, 9), 0, 2, 1, 2), Line(Head(0, 0, 12), 0, 3, 1, 3),
                        Line(Head(0, 0, 3), 0, 4, 1, 4)};
  d.import(doc);
  ASSERT_EQ(d.loaderCalls.size(), 1u);
  EXPECT_EQ(d.loaderCalls[0], (std::vector<std::string>{"DASHED", "DOT"}));
  auto lines = d.entities<DxDbLine>();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[0]->linetype(), "Continuous");
  // The loader here loads nothing: the entities keep the caller's line type.
  EXPECT_EQ(lines[1]->linetype(), "ByLayer");
  EXPECT_EQ(lines[3]->linetype(), "ByLayer");

  // Once the drawing has them they are used and not asked for again.
  for (const char* name : {"DASHED", "DOT"}) {
    DxDbLinetypeTable* t = nullptr;
    ASSERT_EQ(d.db->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* rec = new DxDbLinetypeTableRecord();
    rec->setName(name);
    ASSERT_EQ(t->add(rec), Dxad::eOk);
    rec->close();
    t->close();
  }
  d.import(doc);
  EXPECT_EQ(d.loaderCalls.size(), 1u);
  lines = d.entities<DxDbLine>();
  EXPECT_EQ(lines[6]->linetype(), "DASHED");
  EXPECT_EQ(lines[7]->linetype(), "DOT");
  EXPECT_EQ(lines[8]->linetype(), "ByLayer");  // style 12 names none
}

TEST(JwwImportTextStyles, StylesAreSharedByTypefaceAndKindAndFoundAgain) {
  Drawing d;
  JwwDocument doc;
  auto text = [](std::string font, std::uint32_t kind) {
    JwwText t;
    t.sizeX = t.sizeY = 3;
    t.fontName = std::move(font);
    t.textKind = kind;
    t.content = "x";
    return t;
  };
  doc.entities.texts = {text("Arial", 0), text("Arial", 0), text("Arial", 20000), text("Arial", 10000),
                        text("ＭＳ ゴシック", 0), text("", 0), text("", 30000)};
  std::size_t before = d.names(d.db->textStyleTableId()).size();
  d.import(doc);
  auto texts = d.entities<DxDbText>();
  ASSERT_EQ(texts.size(), 7u);
  EXPECT_EQ(texts[0]->textStyle(), texts[1]->textStyle());
  EXPECT_NE(texts[0]->textStyle(), texts[2]->textStyle());
  EXPECT_NE(texts[2]->textStyle(), texts[3]->textStyle());
  EXPECT_NE(texts[0]->textStyle(), texts[4]->textStyle());
  // A text without a font name in plain kind uses the drawing's own style without a typeface.
  EXPECT_EQ(texts[5]->textStyle(), d.record(d.db->textStyleTableId(), "Standard"));
  EXPECT_NEAR(texts[6]->oblique(), 12 * kPi / 180, 1e-12);
  std::size_t after = d.names(d.db->textStyleTableId()).size();
  EXPECT_EQ(after - before, 5u);

  // A second import finds the styles by typeface and kind.
  d.import(doc);
  EXPECT_EQ(d.names(d.db->textStyleTableId()).size(), after);
  auto again = d.entities<DxDbText>();
  for (int i = 0; i < 7; ++i) EXPECT_EQ(again[7 + i]->textStyle(), texts[i]->textStyle()) << i;
}

TEST(JwwImportBlocks, SelfInsertionsAndUnknownNumbersAreLeftOutAndDefinitionsFoundAgain) {
  Drawing d;
  JwwDocument doc;
  JwwBlockDef window;
  window.number = 1;
  window.name = "窓";
  window.entities.lines = {Line(Head(0, 5), 0, 0, 1, 0)};
  JwwBlockDef door;
  door.number = 7;
  door.name = "door";
  JwwBlock inner;
  inner.blockNumber = 1;
  JwwBlock self = inner;
  self.blockNumber = 7;
  door.entities.blocks = {inner, self};
  doc.blockDefs = {window, door};
  doc.IndexBlockDef(0);
  doc.IndexBlockDef(1);
  JwwBlock ref;
  ref.blockNumber = 7;
  JwwBlock missing = ref;
  missing.blockNumber = 99;
  doc.entities.blocks = {ref, missing};

  jww::ImportResult r = d.import(doc);
  EXPECT_EQ(r.counts.blocks, 1);
  ASSERT_EQ(d.entities<DxDbBlockReference>().size(), 1u);
  DxDbObjectId doorId = d.record(d.db->blockTableId(), "door7");
  DxDbObjectId windowId = d.record(d.db->blockTableId(), "窓1");
  ASSERT_FALSE(windowId.isNull());
  auto nested = d.entities<DxDbBlockReference>(doorId);
  ASSERT_EQ(nested.size(), 1u) << "the door's insertion of itself is left out";
  EXPECT_EQ(nested[0]->blockTableRecord(), windowId);

  std::size_t blocks = d.names(d.db->blockTableId()).size();
  d.import(doc);
  EXPECT_EQ(d.names(d.db->blockTableId()).size(), blocks);
  EXPECT_EQ(d.entities<DxDbLine>(windowId).size(), 1u) << "a found definition is not filled twice";
  EXPECT_EQ(d.entities<DxDbBlockReference>().size(), 2u);
}

TEST(JwwImportLayers, BlockContentsUseALayerTheDrawingAlreadyHas) {
  JwwDocument doc;
  doc.header.layerNames[0][3] = "fittings";
  JwwBlockDef door;
  door.number = 1;
  door.name = "door";
  door.entities.lines = {Line(Head(0, 3), 0, 0, 1, 0)};
  doc.blockDefs = {door};
  doc.IndexBlockDef(0);
  JwwBlock ref;
  ref.blockNumber = 1;
  doc.entities.blocks = {ref};

  Drawing d;
  {
    DxDbLayerTable* t = nullptr;
    ASSERT_EQ(d.db->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* layer = new DxDbLayerTableRecord();
    layer->setName("JWW[0][3]fittings");
    ASSERT_EQ(t->add(layer), Dxad::eOk);
    layer->close();
    t->close();
  }
  d.import(doc);
  auto found = d.entities<DxDbLine>(d.record(d.db->blockTableId(), "door1"));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]->layer(), "JWW[0][3]fittings");
}

TEST(JwwImportSolids, ASolidsOwnColourWinsOverItsPen) {
  Drawing d;
  JwwDocument doc;
  JwwSolid solid;
  solid.head.penColor = kJwwRgbSolidPenColor;
  solid.rgbColor = 0x00FF00;  // green
  solid.x2 = 2, solid.x3 = 2, solid.y3 = 2, solid.y4 = 2;
  doc.entities.solids = {solid};
  d.import(doc);
  auto hatches = d.entities<DxDbHatch>();
  ASSERT_EQ(hatches.size(), 1u);
  EXPECT_EQ(hatches[0]->colorIndex(), 3);
}

TEST(JwwImportDamage, RecordsWithoutNumbersAreLeftOutAndCountedNot) {
  Drawing d;
  JwwDocument doc;
  doc.entities.lines = {Line(Head(0, 0), 0, 0, 1, 1), Line(Head(0, 0), NAN, 0, 1, 1),
                        Line(Head(40, 99), 0, 0, 2, 2)};
  JwwDot dot;
  dot.y = INFINITY;
  doc.entities.dots = {dot};
  JwwBlock b;
  b.rotation = NAN;
  doc.entities.blocks = {b};
  jww::ImportResult r = d.import(doc);
  EXPECT_EQ(r.counts, (jww::ImportCounts{2, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(jww::TranslatableCounts(doc), r.counts);
  auto lines = d.entities<DxDbLine>();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[1]->layer(), "0") << "a layer number outside the 16 x 16 goes to layer 0";
}

TEST(JwwImportFailure, WithoutADrawingNothingIsDone) {
  JwwDocument doc;
  doc.entities.lines = {Line(Head(0, 0), 0, 0, 1, 1)};
  jww::Importer importer(nullptr, doc);
  jww::ImportResult r;
  EXPECT_FALSE(importer.Import({0, 0, 0}, {}, r));
  EXPECT_FALSE(r.failure.empty());
}

}  // namespace
