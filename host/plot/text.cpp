// Texts: single-line and multiline texts as the text layout places their glyphs, drawn
// with cairo from the same FreeType faces.
#include <cairo-ft.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "host/db/entities/text_layout.h"
#include "host/plot/render.h"

namespace dx::plot {

using dx::text::Glyph;

struct TextPainter::Impl {
  Renderer& r;
  std::unordered_map<dx::text::Face*, cairo_font_face_t*> cairoFaces;
  cairo_font_options_t* options = nullptr;

  explicit Impl(Renderer& rr) : r(rr) {
    options = cairo_font_options_create();
    // Outlines as they are: texts are scaled, rotated and sheared freely.
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  }
  ~Impl() {
    cairo_font_options_destroy(options);
    for (auto& [f, c] : cairoFaces) cairo_font_face_destroy(c);
  }

  cairo_font_face_t* cairoFace(dx::text::Face* f) {
    auto [it, fresh] = cairoFaces.try_emplace(f);
    if (fresh) it->second = cairo_ft_font_face_create_for_ft_face(f->ft, 0);
    return it->second;
  }

  Rgb colorOf(const Glyph& g, const Rgb& entity) const {
    switch (g.color.kind) {
      case dx::text::Color::kIndex: return r.indexColor(g.color.index);
      case dx::text::Color::kRgb: return {g.color.r, g.color.g, g.color.b};
      default: return entity;
    }
  }

  // Draws placed glyphs through a frame: text units to device coordinates.
  void paint(const std::vector<Glyph>& items, const DxGeMatrix3d& toDevice, const Rgb& color) {
    if (items.empty()) return;
    cairo_t* cr = r.cr();
    Pt o = toDev(toDevice, DxGePoint3d(0, 0, 0));
    Pt ex = toDev(toDevice, DxGePoint3d(1, 0, 0));
    Pt ey = toDev(toDevice, DxGePoint3d(0, 1, 0));
    cairo_matrix_t frame{ex.x - o.x, ex.y - o.y, ey.x - o.x, ey.y - o.y, o.x, o.y};
    double cap = 0;
    for (const Glyph& it : items) cap = std::max(cap, it.cap);
    double devCap = cap * std::sqrt(std::fabs(frame.xx * frame.yy - frame.xy * frame.yx));
    // Measuring, and texts too small to read, take the boxes of their characters: a
    // quarter of the height below the baseline to the top of the capitals.
    if (r.measuring() || devCap < 3) {
      if (devCap < 0.5 && !r.measuring()) return;  // below a pixel: nothing to see
      cairo_save(cr);
      cairo_transform(cr, &frame);
      for (const Glyph& it : items)
        cairo_rectangle(cr, it.x, it.y - it.cap * 0.25, it.advance * it.wf, it.cap * 1.25);
      cairo_restore(cr);
      if (r.measuring()) return r.measurePath();
      // Unreadable at this size: a light band shows where the text stands.
      Rgb c = colorOf(items[0], color);
      cairo_set_source_rgba(cr, c.r, c.g, c.b, 0.35);
      cairo_fill(cr);
      return;
    }
    cairo_save(cr);
    cairo_transform(cr, &frame);
    cairo_set_font_options(cr, options);
    for (const Glyph& g : items) {
      if (g.face) continue;
      // Rules (fraction bars): a line a twentieth of the text height thick.
      Rgb c = colorOf(g, color);
      cairo_set_source_rgb(cr, c.r, c.g, c.b);
      cairo_move_to(cr, g.x, g.y);
      cairo_line_to(cr, g.x + g.advance * g.wf, g.y);
      cairo_set_line_width(cr, g.cap * 0.05);
      cairo_stroke(cr);
    }
    size_t i = 0;
    while (i < items.size()) {
      if (!items[i].face) {
        ++i;
        continue;
      }
      // A run of glyphs that share face, size, shape and colour goes to cairo at once.
      size_t j = i;
      std::vector<cairo_glyph_t> run;
      const Glyph& a = items[i];
      auto same = [&](const Glyph& b) {
        return b.face == a.face && b.em == a.em && b.wf == a.wf && b.oblique == a.oblique && b.y == a.y &&
               b.color.kind == a.color.kind && b.color.index == a.color.index && b.color.r == a.color.r &&
               b.color.g == a.color.g && b.color.b == a.color.b;
      };
      while (j < items.size() && same(items[j])) {
        run.push_back({items[j].index, items[j].x, items[j].y});
        ++j;
      }
      cairo_set_font_face(cr, cairoFace(a.face));
      // Glyph space has y down; the text's own space has y up.
      cairo_matrix_t fm{a.em * a.wf, 0, -a.em * std::tan(a.oblique), -a.em, 0, 0};
      cairo_set_font_matrix(cr, &fm);
      Rgb c = colorOf(a, color);
      cairo_set_source_rgb(cr, c.r, c.g, c.b);
      cairo_show_glyphs(cr, run.data(), int(run.size()));
      i = j;
    }
    cairo_restore(cr);
  }
};

TextPainter::TextPainter(Renderer& r) : d(std::make_unique<Impl>(r)) {}
TextPainter::~TextPainter() = default;

void TextPainter::drawText(const DxDbText* t, const DxGeMatrix3d& m, const Rgb& color) {
  dx::text::Layout layout;
  dx::db::layoutOf(*t, layout);
  d->paint(layout.glyphs, m * layout.frame, color);
}

void TextPainter::drawLabel(const std::string& text, DxDbObjectId style, double x, double y, double ux,
                            double uy, double height, const Rgb& color) {
  dx::db::StyleFont f = dx::db::styleFont(style);
  std::vector<Glyph> items;
  dx::text::place(dx::text::percentCodes(dx::text::decode(text)), dx::text::faceFor(f.file, f.family), height,
                  f.widthFactor, f.oblique, {}, 0, 0, items);
  // Text units are device units here, y up: the baseline along (ux, uy), up to its left.
  DxGeMatrix3d frame;
  frame.entry[0][0] = ux, frame.entry[0][1] = uy, frame.entry[0][3] = x;
  frame.entry[1][0] = uy, frame.entry[1][1] = -ux, frame.entry[1][3] = y;
  d->paint(items, frame, color);
}

void TextPainter::drawMText(const DxDbMText* t, const DxGeMatrix3d& m, const Rgb& color) {
  dx::text::Layout layout;
  dx::db::layoutOf(*t, layout);
  d->paint(layout.glyphs, m * layout.frame, color);
}

}  // namespace dx::plot
