#include "host/db/entities/text_layout.h"

#include <cmath>

#include "host/db/schema.h"

namespace dx::db {
StyleFont styleFont(DxDbObjectId id) {
  StyleFont f;
  DxDbTextStyleTableRecord* s = nullptr;
  if (!id.isNull() && dxdbOpenObject(s, id, DxDb::kForRead) == Dxad::eOk && s) {
    f.file = s->fileName();
    f.family = s->fontFamily();
    if (s->xScale() > 0) f.widthFactor = s->xScale();
    f.oblique = s->obliquingAngle();
    f.height = s->textSize();
    s->close();
  }
  return f;
}

void layoutOf(const DxDbText& t, dx::text::Layout& out) {
  StyleFont f = styleFont(t.textStyle());
  dx::text::TextParams p;
  p.text = t.textString();
  p.fontFile = f.file;
  p.family = f.family;
  p.height = t.height() > 0 ? t.height() : f.height > 0 ? f.height : 2.5;
  p.widthFactor = t.widthFactor() > 0 ? t.widthFactor() : f.widthFactor;
  p.oblique = t.oblique();
  p.rotation = t.rotation();
  p.hmode = t.horizontalMode();
  p.vmode = t.verticalMode();
  p.defaultAlignment = t.isDefaultAlignment();
  p.position = t.position();
  p.alignment = t.alignmentPoint();
  p.mirrorX = t.isMirroredInX();
  p.mirrorY = t.isMirroredInY();
  p.normal = t.normal();
  dx::text::layoutText(p, out);
}

namespace {
// Columns are kept as the file gives them: the defined height in the text's own groups
// (46; 75, 76, 48 and 49 in some writers), the rest in the embedded object that R2018
// files append (101), whose 71 is the column type, 72 the count, 44 the width, 45 the
// gutter and each 46 a column's height.
void readColumns(const DxDbMText& t, dx::text::MTextParams& p) {
  const ObjectExtras* ex = Access::extras(t);
  if (!ex) return;
  double rectHeight = 0;
  for (const ExtraRun& run : ex->runs) {
    bool embedded = false;
    for (const XTag& g : run.tags) {
      double real = g.kind == dxf::Kind::Double ? g.v[0] : double(g.i);
      int whole = int(g.kind == dxf::Kind::Double ? 0 : g.i);
      if (g.code == 101) embedded = true;
      else if (!embedded && g.code == 46) p.columnHeight = real;
      else if (!embedded && g.code == 75) p.columnType = whole;
      else if (!embedded && g.code == 76) p.columnCount = whole;
      else if (!embedded && g.code == 48) p.columnWidth = real;
      else if (!embedded && g.code == 49) p.gutter = real;
      else if (embedded && g.code == 71) p.columnType = whole;
      else if (embedded && g.code == 72) p.columnCount = whole;
      else if (embedded && g.code == 44) p.columnWidth = real;
      else if (embedded && g.code == 45) p.gutter = real;
      else if (embedded && g.code == 41) rectHeight = real;
      else if (embedded && g.code == 46) p.columnHeights.push_back(real);
    }
  }
  if (p.columnHeight <= 0) p.columnHeight = rectHeight;
  if (!std::isfinite(p.columnWidth) || !std::isfinite(p.gutter) || !std::isfinite(p.columnHeight))
    p.columnType = 0;
}
}  // namespace

void layoutOf(const DxDbMText& t, dx::text::Layout& out) {
  StyleFont f = styleFont(t.textStyle());
  dx::text::MTextParams p;
  readColumns(t, p);
  p.contents = t.contents();
  p.fontFile = f.file;
  p.family = f.family;
  p.height = t.textHeight();
  p.width = t.width();
  p.widthFactor = f.widthFactor;
  p.oblique = f.oblique;
  p.lineSpacing = t.lineSpacingFactor();
  p.attachment = t.attachment();
  p.location = t.location();
  p.xdir = t.direction();
  p.normal = t.normal();
  dx::text::layoutMText(p, out);
}

}  // namespace dx::db
