// The import of a JWW drawing into a drawing database: what it adds, where, and what it
// leaves alone.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "express/jww/jww_importer.h"
#include "express/jww/jww_record_make.h"
#include "express/jww/jww_translate.h"
#include "tests/jww/jww_samples.h"

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

  std::string layerOf(const DxDbEntity* e) { return e->layer(); }
};

JwwDocument DocWithLayers() {
  JwwDocument doc;
  doc.header.layerNames[0][1] = "walls";
  doc.header.layerNames[2][10] = "doors";
  doc.header.layerGroups[2].state = 0;  // hidden group
  doc.header.layerGroups[0].layers[3].state = 1;  // shown only
  doc.header.penColors[1].rgb = 0x0000FF;  // red
  doc.header.penColors[2].rgb = 0x00FF00;  // green
  doc.entities.lines = {Line(Head(0, 1), 0, 0, 10, 0), Line(Head(2, 10), 0, 1, 10, 1),
                        Line(Head(0, 3, 1, 2), 0, 2, 10, 2), Line(Head(0, 1), 0, 3, 10, 3)};
  return doc;
}

TEST(JwwImportLayers, UsedLayersAreCreatedOnceWithTheirStates) {
  Drawing d;
  JwwDocument doc = DocWithLayers();
  jww::ImportResult r = d.import(doc);
  ASSERT_EQ(r.layers.size(), 3u);
  EXPECT_EQ(r.layersCreated, 3);
  // Group, then layer order.
  EXPECT_EQ(r.layers[0].name, "JWW[0][1]walls");
  EXPECT_EQ(r.layers[1].name, "JWW[0][3]");
  EXPECT_EQ(r.layers[2].name, "JWW[2][10]doors");
  EXPECT_EQ(r.layers[2].group, 2u);
  EXPECT_EQ(r.layers[2].layer, 10u);

  auto state = [&](const char* name) {
    DxDbLayerTableRecord* l = nullptr;
    EXPECT_EQ(dxdbOpenObject(l, d.record(d.db->layerTableId(), name), DxDb::kForRead), Dxad::eOk);
    std::tuple<bool, bool, bool> s{l->isOff(), l->isFrozen(), l->isLocked()};
    l->close();
    return s;
  };
  EXPECT_EQ(state("JWW[0][1]walls"), std::make_tuple(false, false, false));
  EXPECT_EQ(state("JWW[0][3]"), std::make_tuple(false, false, true));
  EXPECT_EQ(state("JWW[2][10]doors"), std::make_tuple(true, false, false));

  auto lines = d.entities<DxDbLine>();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0]->layer(), "JWW[0][1]walls");
  EXPECT_EQ(lines[1]->layer(), "JWW[2][10]doors");
  EXPECT_EQ(lines[2]->layer(), "JWW[0][3]");
  // Pen colours become the nearest colour index: red is 1, green 3.
  EXPECT_EQ(lines[0]->colorIndex(), 1);
  EXPECT_EQ(lines[2]->colorIndex(), 3);
  EXPECT_EQ(r.counts.lines, 4);

  // The second import finds every layer in place.
  std::size_t layerCount = d.names(d.db->layerTableId()).size();
  jww::ImportResult again = d.import(doc);
  EXPECT_TRUE(again.layers.empty());
  EXPECT_EQ(again.layersCreated, 0);
  EXPECT_EQ(d.names(d.db->layerTableId()).size(), layerCount);
  EXPECT_EQ(d.entities<DxDbLine>().size(), 8u);
}

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

TEST(JwwImportEntities, EveryKindLandsAtTheOffsetWithItsGeometry) {
  Drawing d;
  JwwDocument doc;
  doc.version = 600;
  doc.header.penColors[5].rgb = 0xFF0000;  // blue
  JwwEntitySet& e = doc.entities;
  e.lines = {Line(Head(0, 0), 1, 2, 3, 4)};
  JwwCircle arc;
  arc.head = Head(0, 0, 0);
  arc.centerX = 5, arc.radius = 2, arc.startAngle = kPi / 2, arc.arcAngle = -kPi / 2, arc.flatness = 1;
  JwwCircle ellipse = arc;
  ellipse.head = Head(0, 0, 2);
  ellipse.flatness = 0.5, ellipse.tiltAngle = kPi / 6, ellipse.fullCircle = 1;
  e.circles = {arc, ellipse};
  JwwDot dot;
  dot.x = 7, dot.y = 8;
  e.dots = {dot};
  JwwText text;
  text.head = Head(0, 0, 1, 5);
  text.startX = 1, text.startY = 1, text.sizeX = 4, text.sizeY = 5, text.angle = 30;
  text.fontName = "ＭＳ 明朝";
  text.textKind = 20000;
  text.content = "日本語の文字";
  JwwText picture = text;
  picture.content = "^@BMimage.bmp";
  e.texts = {text, picture};
  JwwSolid solid;
  solid.head.penColor = kJwwRgbSolidPenColor;
  solid.rgbColor = 0x00FF00;
  solid.x2 = 2, solid.x3 = 2, solid.y3 = 2, solid.y4 = 2;
  e.solids = {solid};
  JwwMeasure m;
  m.line = Line(Head(0, 0), 0, 10, 30, 10);
  m.text.sizeX = m.text.sizeY = 2.5;
  m.text.content = "3,000";
  m.extensionLines = {Line(Head(0, 0), 0, 0, 0, 9), Line(Head(0, 0), 30, 0, 30, 9)};
  e.measures = {m};

  const DxGeVector3d at{100, 200, 0};
  jww::ImportResult r = d.import(doc, at);
  EXPECT_EQ(r.counts, (jww::ImportCounts{1, 2, 1, 1, 1, 1, 0}));

  auto lines = d.entities<DxDbLine>();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]->startPoint(), DxGePoint3d(101, 202, 0));
  EXPECT_EQ(lines[0]->endPoint(), DxGePoint3d(103, 204, 0));

  auto arcs = d.entities<DxDbArc>();
  ASSERT_EQ(arcs.size(), 1u);
  EXPECT_EQ(arcs[0]->center(), DxGePoint3d(105, 200, 0));
  EXPECT_NEAR(arcs[0]->startAngle(), 0, 1e-9);
  EXPECT_NEAR(arcs[0]->endAngle(), kPi / 2, 1e-9);
  EXPECT_EQ(arcs[0]->linetype(), "ByLayer") << "pen style 0 assigns no line type to a curve";

  auto ellipses = d.entities<DxDbEllipse>();
  ASSERT_EQ(ellipses.size(), 1u);
  EXPECT_NEAR(ellipses[0]->majorAxis().x, 2 * std::cos(kPi / 6), 1e-9);
  EXPECT_NEAR(ellipses[0]->majorAxis().y, 2 * std::sin(kPi / 6), 1e-9);
  EXPECT_DOUBLE_EQ(ellipses[0]->radiusRatio(), 0.5);

  auto points = d.entities<DxDbPoint>();
  ASSERT_EQ(points.size(), 1u);
  EXPECT_EQ(points[0]->position(), DxGePoint3d(107, 208, 0));

  auto texts = d.entities<DxDbText>();
  ASSERT_EQ(texts.size(), 1u) << "the picture text is left out";
  EXPECT_STREQ(texts[0]->textString(), "日本語の文字");
  EXPECT_EQ(texts[0]->position(), DxGePoint3d(101, 201, 0));
  EXPECT_DOUBLE_EQ(texts[0]->height(), 3);
  EXPECT_DOUBLE_EQ(texts[0]->widthFactor(), 0.8);
  EXPECT_NEAR(texts[0]->rotation(), kPi / 6, 1e-9);
  EXPECT_EQ(texts[0]->colorIndex(), 5);
  DxDbTextStyleTableRecord* style = nullptr;
  ASSERT_EQ(dxdbOpenObject(style, texts[0]->textStyle(), DxDb::kForRead), Dxad::eOk);
  EXPECT_EQ(style->fontFamily(), "ＭＳ 明朝");
  EXPECT_EQ(style->getName().rfind("JWWTEXT", 0), 0u) << style->getName();
  style->close();

  auto hatches = d.entities<DxDbHatch>();
  ASSERT_EQ(hatches.size(), 1u);
  EXPECT_TRUE(hatches[0]->isSolidFill());
  EXPECT_STREQ(hatches[0]->patternName(), "SOLID");
  EXPECT_EQ(hatches[0]->colorIndex(), 3) << "a solid's own colour wins over its pen";
  int32_t loopType;
  std::vector<DxGePoint2d> loop;
  std::vector<double> bulges;
  ASSERT_EQ(hatches[0]->getLoopAt(0, loopType, loop, bulges), Dxad::eOk);
  EXPECT_EQ(loop, (std::vector<DxGePoint2d>{{100, 200}, {102, 200}, {102, 202}, {100, 202}}));

  auto dims = d.entities<DxDbRotatedDimension>();
  ASSERT_EQ(dims.size(), 1u);
  EXPECT_EQ(dims[0]->xLine1Point(), DxGePoint3d(100, 200, 0));
  EXPECT_EQ(dims[0]->xLine2Point(), DxGePoint3d(130, 200, 0));
  EXPECT_EQ(dims[0]->dimLinePoint(), DxGePoint3d(130, 210, 0));
  EXPECT_EQ(dims[0]->dimensionText(), "3,000");
  // Its block draws the dimension line, both extension lines and the text, in place.
  std::vector<DxDbEntity*> pieces;
  ASSERT_EQ(dims[0]->explode(pieces), Dxad::eOk);
  std::map<std::string, int> kinds;
  for (DxDbEntity* p : pieces) {
    kinds[p->isA()->name()]++;
    if (auto* l = DxRxObject::cast<DxDbLine>(p); l && l->startPoint().y == 210)
      EXPECT_EQ(l->endPoint(), DxGePoint3d(130, 210, 0));
    delete p;
  }
  EXPECT_EQ(kinds, (std::map<std::string, int>{{"DxDbLine", 3}, {"DxDbText", 1}}));
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

TEST(JwwImportBlocks, DefinitionsAreMadeOnceAndInsertionsKeepScaleRotationAndNesting) {
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
  inner.refX = 2, inner.refY = 3, inner.scaleX = 0.5, inner.scaleY = 0.5, inner.rotation = 0.3, inner.blockNumber = 1;
  JwwBlock self = inner;
  self.blockNumber = 7;
  door.entities.blocks = {inner, self};
  doc.blockDefs = {window, door};
  doc.IndexBlockDef(0);
  doc.IndexBlockDef(1);
  JwwBlock ref;
  ref.refX = 10, ref.refY = 20, ref.scaleX = 2, ref.scaleY = -3, ref.rotation = kPi / 4, ref.blockNumber = 7;
  JwwBlock missing = ref;
  missing.blockNumber = 99;
  doc.entities.blocks = {ref, missing};

  jww::ImportResult r = d.import(doc, {5, 5, 0});
  EXPECT_EQ(r.counts.blocks, 1);
  auto refs = d.entities<DxDbBlockReference>();
  ASSERT_EQ(refs.size(), 1u);
  EXPECT_EQ(refs[0]->position(), DxGePoint3d(15, 25, 0));
  EXPECT_EQ(refs[0]->scaleFactors(), DxGeVector3d(2, -3, 1));
  EXPECT_NEAR(refs[0]->rotation(), kPi / 4, 1e-12);
  DxDbObjectId doorId = d.record(d.db->blockTableId(), "door7");
  DxDbObjectId windowId = d.record(d.db->blockTableId(), "窓1");
  ASSERT_FALSE(doorId.isNull());
  ASSERT_FALSE(windowId.isNull());
  EXPECT_EQ(refs[0]->blockTableRecord(), doorId);

  // Inside the door: the window, placed in block coordinates; the door's own insertion
  // of itself is left out.
  auto nested = d.entities<DxDbBlockReference>(doorId);
  ASSERT_EQ(nested.size(), 1u);
  EXPECT_EQ(nested[0]->blockTableRecord(), windowId);
  EXPECT_EQ(nested[0]->position(), DxGePoint3d(2, 3, 0));
  EXPECT_EQ(nested[0]->scaleFactors(), DxGeVector3d(0.5, 0.5, 1));
  auto windowLines = d.entities<DxDbLine>(windowId);
  ASSERT_EQ(windowLines.size(), 1u);
  EXPECT_EQ(windowLines[0]->startPoint(), DxGePoint3d(0, 0, 0)) << "block contents are not moved";
  EXPECT_EQ(windowLines[0]->layer(), "0") << "a layer used only inside a block is not made";

  // Again: the definitions are found, not made a second time or filled twice.
  std::size_t blocks = d.names(d.db->blockTableId()).size();
  d.import(doc);
  EXPECT_EQ(d.names(d.db->blockTableId()).size(), blocks);
  EXPECT_EQ(d.entities<DxDbLine>(windowId).size(), 1u);
  EXPECT_EQ(d.entities<DxDbBlockReference>().size(), 2u);
}

TEST(JwwImportLayers, OnlyTheDrawingsOwnRecordsMakeLayersBlockContentsFindThem) {
  JwwDocument doc;
  doc.header.layerNames[0][1] = "walls";
  doc.header.layerNames[0][3] = "fittings";
  JwwBlockDef door;
  door.number = 1;
  door.name = "door";
  door.entities.lines = {Line(Head(0, 3), 0, 0, 1, 0), Line(Head(0, 1), 0, 1, 1, 1)};
  doc.blockDefs = {door};
  doc.IndexBlockDef(0);
  JwwBlock ref;
  ref.head = Head(0, 1);
  ref.blockNumber = 1;
  doc.entities.blocks = {ref};

  Drawing d;
  jww::ImportResult r = d.import(doc);
  ASSERT_EQ(r.layers.size(), 1u);
  EXPECT_EQ(r.layers[0].name, "JWW[0][1]walls");
  DxDbObjectId doorId = d.record(d.db->blockTableId(), "door1");
  auto inside = d.entities<DxDbLine>(doorId);
  ASSERT_EQ(inside.size(), 2u);
  EXPECT_EQ(inside[0]->layer(), "0");
  EXPECT_EQ(inside[1]->layer(), "JWW[0][1]walls");

  // A drawing that already has the layer (from elsewhere) gets the block contents on it.
  Drawing other;
  {
    DxDbLayerTable* t = nullptr;
    ASSERT_EQ(other.db->getSymbolTable(t, DxDb::kForWrite), Dxad::eOk);
    auto* layer = new DxDbLayerTableRecord();
    layer->setName("JWW[0][3]fittings");
    ASSERT_EQ(t->add(layer), Dxad::eOk);
    layer->close();
    t->close();
  }
  r = other.import(doc);
  EXPECT_EQ(r.layers.size(), 1u);
  auto found = other.entities<DxDbLine>(other.record(other.db->blockTableId(), "door1"));
  ASSERT_EQ(found.size(), 2u);
  EXPECT_EQ(found[0]->layer(), "JWW[0][3]fittings");
}

TEST(JwwImportSteps, LayersAloneWhenTheDrawingIsNotPlaced) {
  Drawing d;
  JwwDocument doc = MakeSampleDocument(700);
  std::size_t blocks = d.names(d.db->blockTableId()).size();
  std::size_t styles = d.names(d.db->textStyleTableId()).size();
  jww::Importer importer(d.db.get(), doc);
  jww::ImportResult r;
  ASSERT_TRUE(importer.MakeLayers(r)) << r.failure;
  EXPECT_TRUE(d.db->openObjects().empty());
  EXPECT_GT(r.layersCreated, 0);
  for (const jww::LayerReport& layer : r.layers)
    EXPECT_FALSE(d.record(d.db->layerTableId(), layer.name.c_str()).isNull()) << layer.name;
  EXPECT_TRUE(d.entities().empty());
  EXPECT_EQ(d.names(d.db->blockTableId()).size(), blocks);
  EXPECT_EQ(d.names(d.db->textStyleTableId()).size(), styles);
  EXPECT_EQ(r.counts, jww::ImportCounts{});

  jww::Importer unprepared(d.db.get(), doc);
  EXPECT_FALSE(unprepared.Place({0, 0, 0}, {}, r)) << "placing needs the layers first";
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

TEST(JwwImportSample, TheSampleDocumentImportsWhole) {
  Drawing d;
  JwwDocument doc = MakeSampleDocument(600);
  jww::ImportResult r = d.import(doc);
  EXPECT_EQ(r.counts.lines, int(doc.entities.lines.size()));
  EXPECT_EQ(r.counts.dots, int(doc.entities.dots.size()));
  EXPECT_EQ(r.counts, jww::TranslatableCounts(doc)) << "the summary of a cancelled import counts alike";
  std::size_t entities = d.entities().size();
  EXPECT_EQ(int(entities), r.counts.lines + r.counts.circles + r.counts.dots + r.counts.texts + r.counts.solids +
                               r.counts.dimensions + r.counts.blocks);
}

TEST(JwwImportFailure, WithoutADrawingNothingIsDone) {
  JwwDocument doc = DocWithLayers();
  jww::Importer importer(nullptr, doc);
  jww::ImportResult r;
  EXPECT_FALSE(importer.Import({0, 0, 0}, {}, r));
  EXPECT_FALSE(r.failure.empty());
}

}  // namespace
