#include "host/db/entities/text_layout.h"

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

void layoutOf(const DxDbMText& t, dx::text::Layout& out) {
  StyleFont f = styleFont(t.textStyle());
  dx::text::MTextParams p;
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
