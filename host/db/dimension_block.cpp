// The block a linear dimension shows: rebuilt from its definition points and its style,
// and the standard arrow blocks the styles name.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/db/database_impl.h"
#include "hostapi/dimutil.h"

using namespace dx::db;
using Dxad::ErrorStatus;

namespace {

constexpr double kDeg = M_PI / 180.0;

// ---------------------------------------------------------------------------------------
// Standard arrows: unit size, tip at the origin, the body along -x (towards the other
// end of the dimension line).

struct ArrowShape {
  const char* name;  // block name, as drawings name them
  enum Fill { kLines, kFilled, kCircle, kFilledCircle } fill;
  std::vector<DxGePoint3d> pts;  // kLines: a closed or open run (closed when first == last)
  double radius = 0;             // circles: centred on the tip
};

const std::vector<ArrowShape>& arrowShapes() {
  static const std::vector<ArrowShape> shapes = [] {
    const double w = 1.0 / 6.0;
    std::vector<ArrowShape> v;
    v.push_back({"_ClosedFilled", ArrowShape::kFilled, {{0, 0, 0}, {-1, -w, 0}, {-1, w, 0}}});
    v.push_back({"_ClosedBlank", ArrowShape::kLines, {{0, 0, 0}, {-1, -w, 0}, {-1, w, 0}, {0, 0, 0}}});
    v.push_back({"_Closed", ArrowShape::kLines, {{0, 0, 0}, {-1, -w, 0}, {-1, w, 0}, {0, 0, 0}, {-1, 0, 0}}});
    v.push_back({"_Dot", ArrowShape::kFilledCircle, {}, 0.25});
    v.push_back({"_DotSmall", ArrowShape::kFilledCircle, {}, 0.125});
    v.push_back({"_DotBlank", ArrowShape::kCircle, {}, 0.25});
    v.push_back({"_Small", ArrowShape::kCircle, {}, 0.125});
    v.push_back({"_Origin", ArrowShape::kCircle, {}, 0.5});
    v.push_back({"_Open", ArrowShape::kLines, {{-1, -w, 0}, {0, 0, 0}, {-1, w, 0}}});
    v.push_back({"_Open30", ArrowShape::kLines, {{-1, -std::tan(15 * kDeg), 0}, {0, 0, 0}, {-1, std::tan(15 * kDeg), 0}}});
    v.push_back({"_Open90", ArrowShape::kLines, {{-0.5, -0.5, 0}, {0, 0, 0}, {-0.5, 0.5, 0}}});
    v.push_back({"_Oblique", ArrowShape::kLines, {{-0.5, -0.5, 0}, {0.5, 0.5, 0}}});
    v.push_back({"_ArchTick", ArrowShape::kFilled, {{-0.53, -0.47, 0}, {-0.47, -0.53, 0}, {0.53, 0.47, 0}, {0.47, 0.53, 0}}});
    v.push_back({"_BoxBlank", ArrowShape::kLines, {{-0.5, -0.5, 0}, {0.5, -0.5, 0}, {0.5, 0.5, 0}, {-0.5, 0.5, 0}, {-0.5, -0.5, 0}}});
    v.push_back({"_BoxFilled", ArrowShape::kFilled, {{-0.5, -0.5, 0}, {0.5, -0.5, 0}, {-0.5, 0.5, 0}, {0.5, 0.5, 0}}});
    v.push_back({"_DatumBlank", ArrowShape::kLines, {{0, 0.5, 0}, {-1, 0, 0}, {0, -0.5, 0}, {0, 0.5, 0}}});
    v.push_back({"_DatumFilled", ArrowShape::kFilled, {{0, 0.5, 0}, {-1, 0, 0}, {0, -0.5, 0}}});
    v.push_back({"_Integral", ArrowShape::kLines, {{-0.45, -0.45, 0}, {0, 0, 0}, {0.45, 0.45, 0}}});
    v.push_back({"_None", ArrowShape::kLines, {}});
    return v;
  }();
  return shapes;
}

bool sameName(const char* a, const char* b) {
  for (; *a && *b; ++a, ++b)
    if (std::toupper((unsigned char)*a) != std::toupper((unsigned char)*b)) return false;
  return !*a && !*b;
}

const ArrowShape* standardArrow(const char* name) {
  if (!name) return nullptr;
  const char* bare = name[0] == '_' ? name + 1 : name;
  for (const ArrowShape& s : arrowShapes())
    if (sameName(s.name + 1, bare)) return &s;
  return nullptr;
}

// The entities of an arrow shape, scaled by size, turned by angle and moved to tip.
std::vector<DxDbEntity*> arrowEntities(const ArrowShape& s, const DxGePoint3d& tip, double angle, double size) {
  const double c = std::cos(angle), sn = std::sin(angle);
  auto at = [&](const DxGePoint3d& p) {
    return DxGePoint3d(tip.x + size * (p.x * c - p.y * sn), tip.y + size * (p.x * sn + p.y * c), tip.z);
  };
  std::vector<DxDbEntity*> out;
  switch (s.fill) {
    case ArrowShape::kLines:
      for (size_t i = 1; i < s.pts.size(); ++i) out.push_back(new DxDbLine(at(s.pts[i - 1]), at(s.pts[i])));
      break;
    case ArrowShape::kFilled: {
      DxGePoint3d q[4];
      for (size_t i = 0; i < 4; ++i) q[i] = at(s.pts[std::min(i, s.pts.size() - 1)]);
      out.push_back(new DxDbSolid(q[0], q[1], q[2], q[3]));
      break;
    }
    case ArrowShape::kFilledCircle: {
      // A filled dot: a square solid inside its circle.
      const double h = s.radius / std::sqrt(2.0);
      out.push_back(new DxDbSolid(at({-h, -h, 0}), at({h, -h, 0}), at({-h, h, 0}), at({h, h, 0})));
      [[fallthrough]];
    }
    case ArrowShape::kCircle:
      out.push_back(new DxDbCircle(tip, DxGeVector3d(0, 0, 1), s.radius * size));
      break;
  }
  return out;
}

DxDbObjectId makeArrowBlock(DatabaseImpl& db, const ArrowShape& s) {
  DxDbSymbolTable* blocks = nullptr;
  if (dxdbOpenObject(blocks, db.tables[size_t(Table::Block)], DxDb::kForWrite) != Dxad::eOk) return {};
  auto* btr = new DxDbBlockTableRecord();
  btr->setName(s.name);
  DxDbObjectId id;
  if (blocks->add(id, btr) != Dxad::eOk) {
    delete btr;
    blocks->close();
    return {};
  }
  blocks->close();
  for (DxDbEntity* e : arrowEntities(s, DxGePoint3d(), 0, 1)) {
    Access::layer(*e) = db.layerZero;
    e->setColorIndex(0);
    if (btr->appendDxDbEntity(e) == Dxad::eOk) e->close();
    else delete e;
  }
  btr->close();
  return id;
}

// ---------------------------------------------------------------------------------------
// Style values with the defaults of an imperial or a metric drawing.

struct DimVars {
  double scale, asz, exo, exe, dle, rnd, txt, tsz, lfac, gap;
  int tih, toh, se1, se2, tad, zin, dec, sah, clrd, clre, clrt;
  char dsep = '.';
  std::string post;
  DxDbObjectId blk, blk1, blk2, txsty;
};

DimVars readVars(const DatabaseImpl& db, DxDbObjectId styleId) {
  const bool metric = db.headerInt("$MEASUREMENT", 0) == 1;
  DimVars v{};
  v.scale = 1, v.asz = metric ? 2.5 : 0.18, v.exo = metric ? 0.625 : 0.0625, v.exe = metric ? 1.25 : 0.18;
  v.txt = metric ? 2.5 : 0.18, v.lfac = 1, v.gap = metric ? 0.625 : 0.09;
  v.tih = v.toh = metric ? 0 : 1;
  v.tad = metric ? 1 : 0, v.zin = metric ? 8 : 0, v.dec = metric ? 2 : 4;
  auto* st = DxRxObject::cast<DxDbDimStyleTableRecord>(liveObjectOf(styleId));
  if (!st) st = DxRxObject::cast<DxDbDimStyleTableRecord>(liveObjectOf(db.recordId(Table::DimStyle, "Standard")));
  if (!st) return v;
  for (auto [code, field] : {std::pair{40, &v.scale}, {41, &v.asz}, {42, &v.exo}, {44, &v.exe}, {46, &v.dle},
                             {45, &v.rnd}, {140, &v.txt}, {142, &v.tsz}, {144, &v.lfac}, {147, &v.gap}})
    st->getValue(code, *field);
  for (auto [code, field] : {std::pair{73, &v.tih}, {74, &v.toh}, {75, &v.se1}, {76, &v.se2}, {77, &v.tad},
                             {78, &v.zin}, {271, &v.dec}, {173, &v.sah}, {176, &v.clrd}, {177, &v.clre},
                             {178, &v.clrt}})
    st->getValue(code, *field);
  int sep = 0;
  if (st->getValue(278, sep) && sep > 0 && sep < 128) v.dsep = char(sep);
  st->getValue(3, v.post);
  st->getValue(342, v.blk);
  st->getValue(343, v.blk1);
  st->getValue(344, v.blk2);
  st->getValue(340, v.txsty);
  if (v.scale <= 0) v.scale = 1;
  return v;
}

DxDbObjectId layerNamed(DatabaseImpl& db, const char* name) {
  DxDbObjectId id = db.recordId(Table::Layer, name);
  if (!id.isNull() && !id.isErased()) return id;
  DxDbSymbolTable* layers = nullptr;
  if (dxdbOpenObject(layers, db.tables[size_t(Table::Layer)], DxDb::kForWrite) != Dxad::eOk) return db.layerZero;
  auto* rec = new DxDbLayerTableRecord();
  rec->setName(name);
  rec->setIsPlottable(false);
  if (layers->add(id, rec) == Dxad::eOk) rec->close();
  else delete rec, id = db.layerZero;
  layers->close();
  return id;
}

// The next free name of an anonymous dimension block.
std::string freeDimBlockName(const DatabaseImpl& db) {
  static size_t next = 1;
  for (;; ++next) {
    std::string n = "*D" + std::to_string(next);
    if (db.recordId(Table::Block, n).isNull()) return n;
  }
}

}  // namespace

// ---------------------------------------------------------------------------------------

bool DxDmUtil::isStandardArrow(const char* name) { return standardArrow(name) != nullptr; }

DxDbObjectId DxDmUtil::getArrowId(const char* name, DxDbDatabase* database) {
  if (!database) database = dxdbHostApplicationServices()->workingDatabase();
  DatabaseImpl* db = implOf(database);
  if (!db || !name || !*name) return {};
  const ArrowShape* std = standardArrow(name);
  if (std == &arrowShapes().front()) return {};  // closed filled: drawn, not inserted
  DxDbObjectId id = db->recordId(Table::Block, std ? std->name : name);
  if (!id.isNull() && !id.isErased()) return id;
  return std ? makeArrowBlock(*db, *std) : DxDbObjectId();
}

std::string DxDmUtil::formatMeasurement(double value, const Format& f) {
  if (f.round > 0) value = std::round(value / f.round) * f.round;
  const int dec = std::clamp(f.decimals, 0, 8);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", dec, value);
  std::string s = buf;
  if (s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos) s.erase(0, 1);  // no "-0.00"
  size_t dot = s.find('.');
  if (dot != std::string::npos && (f.zeroSuppress & 8)) {
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
  }
  if (f.zeroSuppress & 4) {
    size_t digits = s[0] == '-' ? 1 : 0;
    if (s.compare(digits, 2, "0.") == 0) s.erase(digits, 1);
  }
  if (dot != std::string::npos) std::replace(s.begin(), s.end(), '.', f.separator);
  size_t mark = f.post.find("<>");
  if (mark != std::string::npos) return f.post.substr(0, mark) + s + f.post.substr(mark + 2);
  return s + f.post;
}

ErrorStatus DxDbDimension::recomputeDimBlock(bool) {
  const int kind = m_type & 7;
  if (kind != 0 && kind != 1) return Dxad::eNotApplicable;
  assertWriteEnabled();
  Stub* self = Access::stub(*this);
  if (!self || !self->db) return Dxad::eNotInDatabase;
  DatabaseImpl& db = *self->db;
  const DimVars v = readVars(db, m_dimstyle);
  const double s = v.scale;

  // The dimension line runs through the definition point, along the rotation (rotated)
  // or from the first to the second extension line origin (aligned).
  DxGeVector3d u(std::cos(m_rotationDeg * kDeg), std::sin(m_rotationDeg * kDeg), 0);
  if (kind == 1) {
    DxGeVector3d d = m_xline2 - m_xline1;
    d.z = 0;
    if (d.isZeroLength()) return Dxad::eInvalidInput;
    u = d.normal();
  }
  const DxGeVector3d n(-u.y, u.x, 0);
  auto onLine = [&](const DxGePoint3d& p) { return m_defPoint + u * u.dotProduct(p - m_defPoint); };
  const DxGePoint3d d1 = onLine(m_xline1), d2 = onLine(m_xline2);
  const double length = d1.distanceTo(d2);
  m_measurement = length * v.lfac;

  // The text: the dimension's own text, where "<>" stands for the measurement.
  DxDmUtil::Format fmt;
  fmt.decimals = v.dec, fmt.zeroSuppress = v.zin, fmt.round = v.rnd, fmt.separator = v.dsep, fmt.post = v.post;
  std::string measured = DxDmUtil::formatMeasurement(m_measurement, fmt);
  std::string text = m_text.empty() ? measured : m_text;
  if (size_t at = text.find("<>"); at != std::string::npos) text.replace(at, 2, measured);
  if (text == " ") text.clear();  // a single blank: no text

  double height = v.txt * s;
  double widthFactor = 1;
  DxDbObjectId textStyle = v.txsty;
  if (auto* ts = DxRxObject::cast<DxDbTextStyleTableRecord>(liveObjectOf(textStyle))) {
    if (ts->textSize() > 0) height = ts->textSize();
    widthFactor = ts->xScale();
  } else {
    textStyle = db.recordId(Table::Style, "Standard");
  }
  const double textWidth = double(text.size()) * height * 0.7 * widthFactor;
  const double gap = std::fabs(v.gap) * s;
  const double asz = v.asz * s;
  const bool ticks = v.tsz > 0;
  const bool inside = text.empty() || length >= textWidth + 2 * gap + (ticks ? 0 : 2 * asz);

  // Text direction readable from below or from the right.
  DxGeVector3d tu = u;
  if (tu.x < -1e-10 || (std::fabs(tu.x) <= 1e-10 && tu.y < 0)) tu = -tu;
  const bool horizontal = inside ? v.tih != 0 : v.toh != 0;
  const DxGeVector3d textDir = horizontal ? DxGeVector3d(1, 0, 0) : tu;
  const DxGeVector3d textUp(-textDir.y, textDir.x, 0);
  const DxGePoint3d mid = d1 + (d2 - d1) * 0.5;
  DxGePoint3d textAt = inside ? mid : d2 + (d2 - d1).normal() * (asz + gap + textWidth / 2);
  if (v.tad != 0) textAt = textAt + textUp * (height / 2 + gap);
  if (m_type & 128) textAt = m_textPos;  // the user placed the text
  m_textPos = textAt;

  // The pieces.
  std::vector<DxDbEntity*> pieces;
  auto colored = [](DxDbEntity* e, int aci) {
    e->setColorIndex(int16_t(aci));
    return e;
  };
  for (int i = 0; i < 2; ++i) {
    if (i == 0 ? v.se1 : v.se2) continue;
    const DxGePoint3d& origin = i == 0 ? m_xline1 : m_xline2;
    const DxGePoint3d& foot = i == 0 ? d1 : d2;
    DxGeVector3d dir = foot - origin;
    if (dir.isZeroLength()) continue;
    dir = dir.normal();
    pieces.push_back(colored(new DxDbLine(origin + dir * (v.exo * s), foot + dir * (v.exe * s)), v.clre));
  }
  const DxGeVector3d along = length > 1e-10 ? (d2 - d1).normal() : u;
  const double dle = ticks ? v.dle * s : 0;
  DxGePoint3d a = d1 - along * dle, b = d2 + along * dle;
  if (inside && !text.empty() && v.tad == 0 && !(m_type & 128)) {
    // Centred text breaks the dimension line.
    const double half = textWidth / 2 + gap;
    const DxGePoint3d cut1 = mid - along * half, cut2 = mid + along * half;
    if (cut1.distanceTo(d1) < length / 2) pieces.push_back(colored(new DxDbLine(a, cut1), v.clrd));
    if (cut2.distanceTo(d2) < length / 2) pieces.push_back(colored(new DxDbLine(cut2, b), v.clrd));
  } else {
    pieces.push_back(colored(new DxDbLine(a, b), v.clrd));
  }
  for (int i = 0; i < 2; ++i) {
    const DxGePoint3d& tip = i == 0 ? d1 : d2;
    const double angle = std::atan2(i == 0 ? -along.y : along.y, i == 0 ? -along.x : along.x);
    if (ticks) {
      const DxGeVector3d t = (along + n) * (v.tsz * s / 2);
      pieces.push_back(colored(new DxDbLine(tip - t, tip + t), v.clrd));
      continue;
    }
    DxDbObjectId arrow = v.sah ? (i == 0 ? v.blk1 : v.blk2) : v.blk;
    if (arrow.isNull() || !liveObjectOf(arrow)) {
      for (DxDbEntity* e : arrowEntities(arrowShapes().front(), tip, angle, asz)) pieces.push_back(colored(e, v.clrd));
      continue;
    }
    auto* ref = new DxDbBlockReference(tip, arrow);
    ref->setScaleFactors(DxGeVector3d(asz, asz, asz));
    ref->setRotation(angle);
    pieces.push_back(colored(ref, v.clrd));
  }
  if (!text.empty()) {
    auto* mt = new DxDbMText();
    mt->setLocation(textAt);
    mt->setTextHeight(height);
    mt->setTextStyle(textStyle);
    mt->setAttachment(DxDbMText::kMiddleCenter);
    mt->setDirection(textDir);
    mt->setContents(text.c_str());
    pieces.push_back(colored(mt, v.clrt));
  }
  const DxDbObjectId defpoints = layerNamed(db, "DEFPOINTS");
  for (const DxGePoint3d& p : {m_xline1, m_xline2, m_defPoint}) {
    auto* pt = new DxDbPoint(p);
    Access::layer(*pt) = defpoints;
    pieces.push_back(pt);
  }

  // Into the dimension's block, replacing what it held.
  DxDbObjectId blockId = m_block;
  if (blockId.isNull() || blockId.isErased()) blockId = db.recordId(Table::Block, m_blockName);
  DxDbBlockTableRecord* btr = nullptr;
  if (blockId.isNull() || blockId.isErased()) {
    DxDbSymbolTable* blocks = nullptr;
    ErrorStatus es = dxdbOpenObject(blocks, db.tables[size_t(Table::Block)], DxDb::kForWrite);
    if (es != Dxad::eOk) {
      for (DxDbEntity* e : pieces) delete e;
      return es;
    }
    btr = new DxDbBlockTableRecord();
    btr->setName(freeDimBlockName(db).c_str());
    Access::blockFlags(*btr) = 1;
    es = blocks->add(blockId, btr);
    blocks->close();
    if (es != Dxad::eOk) {
      delete btr;
      for (DxDbEntity* e : pieces) delete e;
      return es;
    }
  } else if (ErrorStatus es = dxdbOpenObject(btr, blockId, DxDb::kForWrite); es != Dxad::eOk) {
    for (DxDbEntity* e : pieces) delete e;
    return es;
  }
  m_block = blockId;
  m_blockName = btr->getName();
  for (const DxDbObjectId& id : btr->entityIds()) {
    DxDbEntity* old = nullptr;
    if (dxdbOpenObject(old, id, DxDb::kForWrite) != Dxad::eOk) continue;
    old->erase();
    old->close();
  }
  for (DxDbEntity* e : pieces) {
    if (Access::layer(*e).isNull()) Access::layer(*e) = db.layerZero;
    if (btr->appendDxDbEntity(e) == Dxad::eOk) e->close();
    else delete e;
  }
  btr->close();
  return Dxad::eOk;
}
