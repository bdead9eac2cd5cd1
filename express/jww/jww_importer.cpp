#include "express/jww/jww_importer.h"

#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <tuple>

#include "express/env/holders.h"
#include "express/jww/jww_translate.h"

namespace jww {
namespace {

using express::CDbObjectPtr;
using express::CResbufPtr;

constexpr int kLayerCount = 256;
// Extended-data flags of a TrueType text style.
constexpr std::int32_t kItalicFlag = 0x02000000;
constexpr std::int32_t kBoldFlag = 0x01000000;

// The JWW layer of a record head, or -1 for numbers outside the 16 x 16 layers.
int LayerIndex(const JwwRecordHead& h) {
  return h.layerGroup < 16 && h.layer < 16 ? h.layerGroup * 16 + h.layer : -1;
}

template <class F>
void ForEachHead(const JwwEntitySet& set, F&& f) {
  for (const auto& r : set.lines) f(r.head);
  for (const auto& r : set.circles) f(r.head);
  for (const auto& r : set.dots) f(r.head);
  for (const auto& r : set.texts) f(r.head);
  for (const auto& r : set.solids) f(r.head);
  for (const auto& r : set.measures) f(r.line.head);
  for (const auto& r : set.blocks) f(r.head);
}

struct TextStyleKey {
  std::string typeface;
  bool bold, italic;
  auto operator<=>(const TextStyleKey&) const = default;
};

// Typeface and flags of a style, from its "ACAD" extended data. Read and written
// through the entity lists, which carry extended data of table records too.
TextStyleKey KeyOfStyle(DxDbObjectId id) {
  TextStyleKey key{"", false, false};
  dx_name name;
  dxdbIdToName(name, id);
  CResbufPtr apps(dxutBuildList(RTSTR, "ACAD", 0));
  CResbufPtr list(dxdbEntGet(name, apps.get()));
  bool inAcad = false;
  for (resbuf* rb = list.get(); rb; rb = rb->rbnext) {
    if (rb->restype == 1001) inAcad = rb->resval.rstring && std::strcmp(rb->resval.rstring, "ACAD") == 0;
    if (!inAcad) continue;
    if (rb->restype == 1000 && key.typeface.empty() && rb->resval.rstring) key.typeface = rb->resval.rstring;
    if (rb->restype == 1071) {
      key.italic = (rb->resval.rlong & kItalicFlag) != 0;
      key.bold = (rb->resval.rlong & kBoldFlag) != 0;
    }
  }
  return key;
}

bool SetStyleFont(DxDbObjectId id, const TextStyleKey& key) {
  std::int32_t flags = (key.italic ? kItalicFlag : 0) | (key.bold ? kBoldFlag : 0);
  CResbufPtr list(dxutNewRb(-1));
  if (!list) return false;
  dxdbIdToName(list->resval.rlname, id);
  resbuf* marker = list->rbnext = dxutNewRb(-3);
  if (!marker) return false;
  marker->rbnext = dxutBuildList(1001, "ACAD", 1000, key.typeface.c_str(), 1071, int(flags), 0);
  return dxdbEntMod(list.get()) == RTNORM;
}

}  // namespace

struct Importer::Context {
  Context(DxDbDatabase* database, const JwwDocument& document) : db(database), doc(document) {}
  DxDbDatabase* db;
  const JwwDocument& doc;
  DxGeVector3d offset;
  std::array<DxDbObjectId, kLayerCount> layers{};
  DxDbObjectId layerZero;
  std::array<DxDbObjectId, 10> lineTypes{};  // by pen style 1..9
  DxDbObjectId defaultLineType;
  std::array<std::int16_t, kJwwPenCount> colors{};  // 0: not looked up yet, -1: none
  std::map<TextStyleKey, DxDbObjectId> styles;
  std::map<TextStyleKey, DxDbObjectId> existingStyles;
  bool stylesScanned = false;
  int nextStyleNumber = 1;
  std::vector<DxDbObjectId> blockIds;        // by definition index; null: not made
  std::vector<std::uint32_t> cycleGroups;    // by definition index
  DxDbObjectId dimStyle;
  int nextDimensionBlock = 1;

  // ---- properties
  void Apply(DxDbEntity* e, const JwwRecordHead& h, bool withLineType = true) {
    int index = LayerIndex(h);
    DxDbObjectId layer = index >= 0 && !layers[index].isNull() ? layers[index] : layerZero;
    e->setLayer(layer);
    if (std::int16_t color = ColorIndex(h.penColor); color > 0) e->setColorIndex(color);
    if (withLineType) {
      DxDbObjectId lt = h.penStyle <= 9 ? lineTypes[std::max<int>(h.penStyle, 1)] : defaultLineType;
      if (!lt.isNull()) e->setLinetype(lt);
    }
  }

  std::int16_t ColorIndex(std::uint32_t pen) {
    if (pen >= kJwwPenCount) return -1;
    std::int16_t& c = colors[pen];
    if (c == 0) {
      std::optional<Rgb> rgb = PenRgb(doc.header, pen);
      c = rgb ? DxCmColor::nearestIndex(rgb->r, rgb->g, rgb->b) : -1;
    }
    return c;
  }

  // ---- text styles
  DxDbObjectId TextStyle(const std::string& typeface, bool bold, bool italic) {
    TextStyleKey key{typeface, bold, italic};
    if (auto it = styles.find(key); it != styles.end()) return it->second;
    if (!stylesScanned) ScanStyles();
    DxDbObjectId id;
    if (auto it = existingStyles.find(key); it != existingStyles.end()) id = it->second;
    else id = AddStyle(key);
    styles.emplace(key, id);
    return id;
  }

  void ScanStyles() {
    stylesScanned = true;
    CDbObjectPtr<DxDbTextStyleTable> table(db->textStyleTableId(), DxDb::kForRead);
    if (!table) return;
    for (DxDbObjectId id : table->recordIds()) {
      existingStyles.emplace(KeyOfStyle(id), id);  // the first one wins
    }
  }

  DxDbObjectId AddStyle(const TextStyleKey& key) {
    DxDbObjectId id;
    {
      CDbObjectPtr<DxDbTextStyleTable> table(db->textStyleTableId(), DxDb::kForWrite);
      if (!table) return {};
      std::string name;
      do name = "JWWTEXT" + std::to_string(nextStyleNumber++);
      while (table->has(name.c_str()));
      auto style = std::make_unique<DxDbTextStyleTableRecord>();
      if (style->setName(name.c_str()) != Dxad::eOk) return {};
      if (table->add(id, style.get()) != Dxad::eOk) return {};
      style.release()->close();
    }
    // Bold and italic are kept even without a typeface, so that the style is found
    // again by the next import. Without its extended data the style still draws the
    // text, in the host's font.
    if ((!key.typeface.empty() || key.bold || key.italic) && EnsureAcadApp()) SetStyleFont(id, key);
    return id;
  }

  bool EnsureAcadApp() {
    CDbObjectPtr<DxDbRegAppTable> apps(db->regAppTableId(), DxDb::kForRead);
    if (!apps) return false;
    if (apps->has("ACAD")) return true;
    if (apps->upgradeOpen() != Dxad::eOk) return false;
    auto app = std::make_unique<DxDbRegAppTableRecord>();
    app->setName("ACAD");
    if (apps->add(app.get()) != Dxad::eOk) return false;
    app.release()->close();
    return true;
  }

  // ---- entities, each appended to `owner` (open for write) and counted when it was added
  bool Append(DxDbBlockTableRecord* owner, DxDbEntity* e) {
    std::unique_ptr<DxDbEntity> holder(e);
    if (owner->appendDxDbEntity(e) != Dxad::eOk) return false;
    holder.release()->close();
    return true;
  }

  DxGePoint3d At(double x, double y, const DxGeVector3d& by) const { return {x + by.x, y + by.y, by.z}; }

  DxDbText* MakeText(const JwwText& t, const DxGeVector3d& by) {
    TextProps p;
    if (!TextPropsOf(t, p)) return nullptr;
    DxDbObjectId style = TextStyle(t.fontName, p.bold, p.italic);
    if (style.isNull()) return nullptr;
    auto* e = new DxDbText(At(p.position.x, p.position.y, by), t.content.c_str(), style, p.height, p.rotation);
    e->setWidthFactor(p.widthFactor);
    if (p.oblique != 0) e->setOblique(p.oblique);
    Apply(e, t.head);
    return e;
  }

  // A dimension and the anonymous block that draws it: the dimension line, the
  // extension lines and the text as the file has them, so that every reader shows
  // the dimension as JW_CAD did.
  bool AddDimension(DxDbBlockTableRecord* owner, const JwwMeasure& m, const DimensionGeom& g, bool extended,
                    const DxGeVector3d& by) {
    std::string blockName;
    DxDbObjectId blockId;
    {
      CDbObjectPtr<DxDbBlockTable> table(db->blockTableId(), DxDb::kForWrite);
      if (!table) return false;
      do blockName = "*D" + std::to_string(nextDimensionBlock++);
      while (table->has(blockName.c_str()));
      auto block = std::make_unique<DxDbBlockTableRecord>();
      if (block->setName(blockName.c_str()) != Dxad::eOk || table->add(blockId, block.get()) != Dxad::eOk)
        return false;
      block.release()->close();
    }
    {
      CDbObjectPtr<DxDbBlockTableRecord> block(blockId, DxDb::kForWrite);
      if (!block) return false;
      auto addLine = [&](const JwwLine& l) {
        auto* e = new DxDbLine(At(l.startX, l.startY, by), At(l.endX, l.endY, by));
        Apply(e, l.head);
        Append(block.get(), e);
      };
      addLine(m.line);
      if (extended)
        for (const JwwLine& x : m.extensionLines)
          if (IsFinite(x) && (x.startX != x.endX || x.startY != x.endY)) addLine(x);
      if (DxDbText* text = MakeText(m.text, by)) Append(block.get(), text);
    }
    auto* e = new DxDbRotatedDimension(g.rotation, At(g.xLine1.x, g.xLine1.y, by), At(g.xLine2.x, g.xLine2.y, by),
                                       At(g.dimLine.x, g.dimLine.y, by), g.text.c_str(), dimStyle);
    e->setTextPosition(At(g.textMiddle.x, g.textMiddle.y, by));
    Apply(e, m.line.head);
    std::unique_ptr<DxDbEntity> holder(e);
    DxDbObjectId id;
    if (owner->appendDxDbEntity(id, e) != Dxad::eOk) return false;
    holder.release()->close();
    // The host has no setter for the block and text angle of a dimension; its entity
    // list sets them.
    CResbufPtr list(dxutNewRb(-1));
    if (!list) return true;
    dxdbIdToName(list->resval.rlname, id);
    list->rbnext = dxutBuildList(2, blockName.c_str(), 53, g.textRotation, 0);  // radians, as lists give angles
    dxdbEntMod(list.get());
    return true;
  }


  void AddSet(DxDbBlockTableRecord* owner, const JwwEntitySet& set, const DxGeVector3d& by,
             std::optional<std::uint32_t> insideGroup, ImportCounts& n) {
    for (const JwwLine& l : set.lines) {
      if (!IsFinite(l)) continue;
      auto* e = new DxDbLine(At(l.startX, l.startY, by), At(l.endX, l.endY, by));
      Apply(e, l.head);
      n.lines += Append(owner, e);
    }
    for (const JwwCircle& c : set.circles) {
      std::optional<CurveGeom> g = CurveGeomOf(c);
      if (!g) continue;
      DxGePoint3d center = At(g->center.x, g->center.y, by);
      DxDbEntity* e;
      if (g->kind == CurveGeom::kCircle) e = new DxDbCircle(center, DxGeVector3d::kZAxis, g->radius);
      else if (g->kind == CurveGeom::kArc) e = new DxDbArc(center, g->radius, g->startAngle, g->endAngle);
      else
        e = new DxDbEllipse(center, DxGeVector3d::kZAxis, {g->majorAxis.x, g->majorAxis.y, 0}, g->ratio,
                            g->startParam, g->endParam);
      Apply(e, c.head, c.head.penStyle != 0);
      n.circles += Append(owner, e);
    }
    for (const JwwDot& d : set.dots) {
      if (!IsFinite(d)) continue;
      auto* e = new DxDbPoint(At(d.x, d.y, by));
      Apply(e, d.head);
      n.dots += Append(owner, e);
    }
    for (const JwwText& t : set.texts) {
      if (IsPictureText(t.content)) continue;
      if (DxDbText* e = MakeText(t, by)) n.texts += Append(owner, e);
    }
    for (const JwwSolid& s : set.solids) {
      std::vector<Point2> outline = SolidOutline(s);
      if (outline.empty()) continue;
      std::vector<DxGePoint2d> loop;
      loop.reserve(outline.size());
      for (Point2 p : outline) loop.emplace_back(p.x + by.x, p.y + by.y);
      auto* e = new DxDbHatch();
      e->setPattern(DxDbHatch::kPreDefined, "SOLID");
      if (by.z != 0) e->setElevation(by.z);
      e->appendLoop(DxDbHatch::kExternal | DxDbHatch::kPolyline, loop, {});
      Apply(e, s.head);
      if (s.HasRgb()) {
        Rgb rgb = RgbOfWord(s.rgbColor);
        e->setColorIndex(DxCmColor::nearestIndex(rgb.r, rgb.g, rgb.b));
      }
      n.solids += Append(owner, e);
    }
    bool extended = JwwHasExtendedLayout(doc.version);
    for (const JwwMeasure& m : set.measures) {
      std::optional<DimensionGeom> g = DimensionGeomOf(m, extended);
      if (g) n.dimensions += AddDimension(owner, m, *g, extended, by);
    }
    for (const JwwBlock& b : set.blocks) {
      if (!IsFinite(b)) continue;
      const JwwBlockDef* def = doc.FindBlockDef(b.blockNumber);
      if (!def) continue;
      std::size_t index = std::size_t(def - doc.blockDefs.data());
      if (blockIds[index].isNull()) continue;
      if (insideGroup && cycleGroups[index] == *insideGroup) continue;  // would contain itself
      auto* e = new DxDbBlockReference(At(b.refX, b.refY, by), blockIds[index]);
      e->setScaleFactors({b.scaleX != 0 ? b.scaleX : 1, b.scaleY != 0 ? b.scaleY : 1, 1});
      e->setRotation(b.rotation);
      Apply(e, b.head);
      n.blocks += Append(owner, e);
    }
  }
};

Importer::Importer(DxDbDatabase* db, const JwwDocument& doc) : db_(db), doc_(doc) {}
Importer::~Importer() = default;

bool Importer::MakeLayers(ImportResult& result) {
  result = {};
  if (!db_) {
    result.failure = "no drawing";
    return false;
  }
  cx_ = std::make_unique<Context>(db_, doc_);
  Context& cx = *cx_;

  // Only the drawing's own records make layers. Entities inside block definitions take
  // the layer of their group and layer when the drawing has it (made here, or by an
  // earlier import), else layer "0".
  std::array<bool, kLayerCount> used{};
  ForEachHead(doc_.entities, [&](const JwwRecordHead& h) {
    if (int i = LayerIndex(h); i >= 0) used[i] = true;
  });

  CDbObjectPtr<DxDbLayerTable> table(db_->layerTableId(), DxDb::kForWrite);
  if (!table) {
    result.failure = "the layer table cannot be opened";
    return false;
  }
  table->getIdAt("0", cx.layerZero);
  for (unsigned g = 0; g < 16; ++g) {
    for (unsigned l = 0; l < 16; ++l) {
      std::string name = LayerName(doc_.header, g, l);
      DxDbObjectId id;
      if (table->getIdAt(name.c_str(), id) == Dxad::eOk) {
        cx.layers[g * 16 + l] = id;
        continue;
      }
      if (!used[g * 16 + l]) continue;
      auto layer = std::make_unique<DxDbLayerTableRecord>();
      LayerReport report{g, l, name, false};
      if (layer->setName(name.c_str()) == Dxad::eOk) {
        const JwwLayerGroupState& group = doc_.header.layerGroups[g];
        LayerState state = LayerStateOf(group.state, group.layers[l].state);
        layer->setIsOff(state.off);
        layer->setIsFrozen(false);
        layer->setIsLocked(state.locked);
        report.created = table->add(id, layer.get()) == Dxad::eOk;
      }
      if (report.created) {
        layer.release()->close();
        cx.layers[g * 16 + l] = id;
        ++result.layersCreated;
      }
      result.layers.push_back(std::move(report));
    }
  }
  return true;
}

bool Importer::Place(const DxGeVector3d& offset, const LineTypeLoader& loadLineTypes, ImportResult& result) {
  if (!cx_) {
    result.failure = "the layers were not made";
    return false;
  }
  Context& cx = *cx_;
  cx.offset = offset;
  result.counts = {};

  // Line types are loaded for block contents too: unlike layers they are shared by name.
  std::array<bool, 10> styleUsed{};
  auto note = [&](const JwwRecordHead& h) {
    if (h.penStyle >= 2 && h.penStyle <= 9) styleUsed[h.penStyle] = true;
  };
  ForEachHead(doc_.entities, note);
  for (const JwwBlockDef& def : doc_.blockDefs) ForEachHead(def.entities, note);

  // Line types: the named ones the drawing lacks are loaded first.
  {
    std::vector<std::string> missing;
    {
      CDbObjectPtr<DxDbLinetypeTable> table(db_->linetypeTableId(), DxDb::kForRead);
      if (!table) {
        result.failure = "the line type table cannot be opened";
        return false;
      }
      for (int s = 2; s <= 9; ++s)
        if (styleUsed[s] && !table->has(LineTypeName(s, "")))
          missing.emplace_back(LineTypeName(s, ""));
    }
    if (!missing.empty() && loadLineTypes) loadLineTypes(missing);
    CDbObjectPtr<DxDbLinetypeTable> table(db_->linetypeTableId(), DxDb::kForRead);
    if (!table) {
      result.failure = "the line type table cannot be opened";
      return false;
    }
    for (int s = 1; s <= 9; ++s) table->getIdAt(LineTypeName(s, ""), cx.lineTypes[s]);
    table->getIdAt(kDefaultLineType, cx.defaultLineType);
  }
  cx.dimStyle = db_->dimstyle();

  // Block definitions: all records first, so that definitions can hold insertions of
  // each other whatever their order in the file.
  cx.cycleGroups = InsertionCycleGroups(doc_);
  cx.blockIds.resize(doc_.blockDefs.size());
  std::vector<bool> fill(doc_.blockDefs.size(), false);
  {
    CDbObjectPtr<DxDbBlockTable> table(db_->blockTableId(), DxDb::kForWrite);
    if (!table) {
      result.failure = "the block table cannot be opened";
      return false;
    }
    for (std::size_t i = 0; i < doc_.blockDefs.size(); ++i) {
      std::string name = BlockName(doc_.blockDefs[i]);
      DxDbObjectId id;
      // A definition of that name already in the drawing is the one its insertions use.
      if (table->getIdAt(name.c_str(), id) != Dxad::eOk) {
        auto block = std::make_unique<DxDbBlockTableRecord>();
        if (block->setName(name.c_str()) != Dxad::eOk || table->add(id, block.get()) != Dxad::eOk) continue;
        block.release()->close();
        fill[i] = true;
      }
      cx.blockIds[i] = id;
    }
  }
  for (std::size_t i = 0; i < doc_.blockDefs.size(); ++i) {
    if (!fill[i]) continue;
    CDbObjectPtr<DxDbBlockTableRecord> block(cx.blockIds[i], DxDb::kForWrite);
    if (!block) continue;
    ImportCounts inside;
    cx.AddSet(block.get(), doc_.blockDefs[i].entities, {0, 0, 0}, cx.cycleGroups[i], inside);
  }

  CDbObjectPtr<DxDbBlockTableRecord> model(db_->modelSpaceId(), DxDb::kForWrite);
  if (!model) {
    result.failure = "model space cannot be opened";
    return false;
  }
  cx.AddSet(model.get(), doc_.entities, offset, std::nullopt, result.counts);
  return true;
}

}  // namespace jww
