// Text boxes from the text style's font, as the text layout places the glyphs.
#include <algorithm>

#include "host/editor/core/session.h"
#include "host/db/entities/text_layout.h"

int dxedTextBox(const resbuf* ent, dx_point p1, dx_point p2) {
  using namespace dx::ed;
  if (!ent || !p1 || !p2) return RTERROR;
  std::string text, styleName = "Standard";
  double height = 0, widthFactor = 0;
  bool haveHeight = false, haveWidth = false;
  for (const resbuf* rb = ent; rb; rb = rb->rbnext) {
    switch (rb->restype) {
      case 1: text = rb->resval.rstring ? rb->resval.rstring : ""; break;
      case 7: styleName = rb->resval.rstring ? rb->resval.rstring : "Standard"; break;
      case 40: height = rb->resval.rreal, haveHeight = true; break;
      case 41: widthFactor = rb->resval.rreal, haveWidth = true; break;
      case -1: {
        // An entity name alone: read the text from the drawing.
        if (ent->rbnext) break;
        resbuf* list = dxdbEntGet(rb->resval.rlname);
        if (!list) return RTERROR;
        int rc = dxedTextBox(list, p1, p2);
        dxutRelRb(list);
        return rc;
      }
      default: break;
    }
  }
  dx::db::StyleFont style;
  if (DxDbDatabase* db = Session::get().current() ? Session::get().current()->database() : nullptr) {
    Opened<DxDbTextStyleTable> table(db->textStyleTableId(), DxDb::kForRead);
    DxDbObjectId sid;
    if (table && table->getIdAt(styleName.c_str(), sid) == Dxad::eOk) style = dx::db::styleFont(sid);
  }
  if (!haveHeight || height <= 0) height = style.height > 0 ? style.height : Session::get().getReal("TEXTSIZE");
  if (!haveWidth || widthFactor <= 0) widthFactor = style.widthFactor;
  // The text's own frame: from its insertion point along the baseline, unrotated.
  dx::text::Layout layout;
  dx::text::TextParams p;
  p.text = text;
  p.fontFile = style.file;
  p.family = style.family;
  p.height = height;
  p.widthFactor = widthFactor;
  dx::text::layoutText(p, layout);
  if (!dx::text::faceFor(style.file, style.family)) return RTERROR;
  double w = 0, lo = 0, hi = text.empty() ? 0 : height;
  for (const auto& g : layout.glyphs) {
    w = std::max(w, g.x + g.advance * g.wf);
    lo = std::min(lo, g.y + g.lo);
    hi = std::max(hi, g.y + g.hi);
  }
  p1[0] = 0, p1[1] = lo, p1[2] = 0;
  p2[0] = w, p2[1] = hi, p2[2] = 0;
  return RTNORM;
}
