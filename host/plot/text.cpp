// Texts: single-line texts with their alignments, multiline texts with their paragraph,
// font, height, colour and width codes. Glyphs come from the style's font (found by
// fontconfig); characters it lacks come from a face that has Japanese glyphs.
#include <cairo-ft.h>
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <unordered_map>

#include "host/plot/render.h"

namespace fs = std::filesystem;

namespace dx::plot {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct Face {
  FT_Face ft = nullptr;
  cairo_font_face_t* cairo = nullptr;
  double units = 1000;  // font units per em
  double cap = 700;     // height of a capital in font units: what a text height measures
  double descent = 200;
  struct Glyph {
    unsigned index = 0;
    double advance = 0;  // font units
  };
  std::unordered_map<uint32_t, Glyph> glyphs;
  const Glyph* glyph(uint32_t cp) {
    auto [it, fresh] = glyphs.try_emplace(cp);
    if (fresh) {
      it->second.index = FT_Get_Char_Index(ft, cp);
      if (it->second.index && FT_Load_Glyph(ft, it->second.index, FT_LOAD_NO_SCALE) == 0)
        it->second.advance = double(ft->glyph->metrics.horiAdvance);
    }
    return it->second.index ? &it->second : nullptr;
  }
};

// UTF-8 to code points; bytes that do not decode stand for themselves.
std::u32string decode(const std::string& s) {
  std::u32string out;
  for (size_t i = 0; i < s.size();) {
    unsigned char c = s[i];
    int n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
    if (i + n > s.size()) n = 1;
    char32_t cp = n == 1 ? c : c & (0x7F >> n);
    for (int k = 1; k < n; ++k) cp = (cp << 6) | (s[i + k] & 0x3F);
    out.push_back(cp);
    i += n;
  }
  return out;
}

// The %% codes of texts: degree, diameter, plus-minus, a character by number; the
// underline and overline switches draw nothing here.
std::u32string percentCodes(const std::u32string& s) {
  std::u32string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '%' && i + 2 < s.size() && s[i + 1] == '%') {
      char32_t c = s[i + 2];
      switch (c | 0x20) {
        case 'd': out.push_back(U'\u00B0'); i += 2; continue;
        case 'c': out.push_back(U'\u2300'); i += 2; continue;
        case 'p': out.push_back(U'\u00B1'); i += 2; continue;
        case 'u': case 'o': case 'k': i += 2; continue;
        default: break;
      }
      if (c == '%') {
        out.push_back('%');
        i += 2;
        continue;
      }
      if (c >= '0' && c <= '9') {
        size_t j = i + 2;
        char32_t v = 0;
        while (j < s.size() && j < i + 5 && s[j] >= '0' && s[j] <= '9') v = v * 10 + (s[j++] - '0');
        out.push_back(v);
        i = j - 1;
        continue;
      }
    }
    out.push_back(s[i]);
  }
  return out;
}

// One placed glyph of a laid-out text, in the text's own units (x along the baseline).
struct Item {
  Face* face;
  unsigned index;
  double x, y, em;  // position and em size in drawing units
  double advance;   // drawing units, before the width factor
  double cap;       // capital height in drawing units
  double wf, oblique;
  Rgb color;
};

// Faces by font file, for the whole process: cairo keeps its own references to the
// faces it has drawn with, so they stay loaded (a drawing names few fonts).
class Fonts {
 public:
  static Fonts& get() {
    static Fonts* fonts = new Fonts;  // never released: cairo may still hold its faces
    return *fonts;
  }

  // The face for a style's font file or family; the sans-serif default otherwise (SHX
  // fonts and fonts that are not installed).
  Face* forStyle(const std::string& fontFile, const std::string& family) {
    auto [it, fresh] = m_byStyle.try_emplace(fontFile + "|" + family);
    if (!fresh) return it->second;
    Face* f = nullptr;
    std::error_code ec;
    if (!fontFile.empty() && fs::is_regular_file(fontFile, ec)) f = load(fontFile);
    if (!f && !family.empty()) f = load(match(family, true));
    if (!f && !fontFile.empty()) {
      std::string ext = fs::path(fontFile).extension().string();
      std::transform(ext.begin(), ext.end(), ext.begin(), ::tolower);
      if (ext == ".ttf" || ext == ".otf" || ext == ".ttc") f = load(match(fs::path(fontFile).stem().string(), true));
    }
    if (!f) f = load(match("DejaVu Sans", false));
    if (!f) f = load(match("sans-serif", false));
    return it->second = f;
  }

  // A face with Japanese glyphs, for characters the style's face lacks.
  Face* japanese() {
    if (!m_japaneseLooked) {
      m_japaneseLooked = true;
      m_japanese = load(match("sans-serif:lang=ja", false));
    }
    return m_japanese;
  }

 private:
  Fonts() { FT_Init_FreeType(&m_lib); }

  Face* load(const std::string& file) {
    if (file.empty() || !m_lib) return nullptr;
    auto [it, fresh] = m_byFile.try_emplace(file);
    if (!fresh) return it->second.get();
    FT_Face ft = nullptr;
    if (FT_New_Face(m_lib, file.c_str(), 0, &ft) != 0) return nullptr;
    auto f = std::make_unique<Face>();
    f->ft = ft;
    f->units = ft->units_per_EM ? ft->units_per_EM : 1000;
    if (FT_Load_Char(ft, 'H', FT_LOAD_NO_SCALE) == 0 && ft->glyph->metrics.height > 0)
      f->cap = double(ft->glyph->metrics.height);
    else
      f->cap = f->units * 0.7;
    f->descent = std::fabs(double(ft->descender));
    f->cairo = cairo_ft_font_face_create_for_ft_face(ft, 0);
    it->second = std::move(f);
    return it->second.get();
  }

  // A font file by fontconfig pattern; with exact, only when the family matches.
  static std::string match(const std::string& pattern, bool exact) {
    if (!FcInit()) return "";
    FcPattern* pat = FcNameParse(reinterpret_cast<const FcChar8*>(pattern.c_str()));
    if (!pat) return "";
    FcConfigSubstitute(nullptr, pat, FcMatchPattern);
    FcDefaultSubstitute(pat);
    FcResult res;
    std::string file;
    if (FcPattern* m = FcFontMatch(nullptr, pat, &res)) {
      FcChar8 *f = nullptr, *fam = nullptr, *want = nullptr;
      if (FcPatternGetString(m, FC_FILE, 0, &f) == FcResultMatch) file = reinterpret_cast<char*>(f);
      if (exact && FcPatternGetString(m, FC_FAMILY, 0, &fam) == FcResultMatch &&
          FcPatternGetString(pat, FC_FAMILY, 0, &want) == FcResultMatch &&
          strcasecmp(reinterpret_cast<char*>(fam), reinterpret_cast<char*>(want)) != 0)
        file.clear();
      FcPatternDestroy(m);
    }
    FcPatternDestroy(pat);
    return file;
  }

  FT_Library m_lib = nullptr;
  std::map<std::string, std::unique_ptr<Face>> m_byFile;
  std::map<std::string, Face*> m_byStyle;  // "font file|family" -> a loaded face (or null)
  Face* m_japanese = nullptr;
  bool m_japaneseLooked = false;
};

}  // namespace

struct TextPainter::Impl {
  Renderer& r;
  struct Style {
    Face* face = nullptr;
    double wf = 1, oblique = 0;
  };
  std::unordered_map<dx::db::Stub*, Style> styles;
  cairo_font_options_t* options = nullptr;

  explicit Impl(Renderer& rr) : r(rr) {
    options = cairo_font_options_create();
    // Outlines as they are: texts are scaled, rotated and sheared freely.
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  }
  ~Impl() { cairo_font_options_destroy(options); }

  static Face* cached(const std::string& fontFile, const std::string& family) {
    return Fonts::get().forStyle(fontFile, family);
  }
  static Face* cjk() { return Fonts::get().japanese(); }

  const Style& style(DxDbObjectId id) {
    auto [it, fresh] = styles.try_emplace(id.stub());
    if (fresh) {
      ReadOpen<DxDbTextStyleTableRecord> s(id);
      if (s) {
        it->second.face = cached(s->fileName(), s->fontFamily());
        it->second.wf = s->xScale() > 0 ? s->xScale() : 1;
        it->second.oblique = s->obliquingAngle();
      } else {
        it->second.face = cached("", "");
      }
    }
    return it->second;
  }

  // Appends the glyphs of a string at pen position x; returns the new x.
  double place(const std::u32string& s, Face* face, double height, double wf, double oblique,
               const Rgb& color, double x, double y, std::vector<Item>& out) {
    if (!face) return x;
    double em = height * face->units / face->cap;
    for (char32_t cp : s) {
      Face* f = face;
      const Face::Glyph* g = f->glyph(cp);
      if (!g && cp > 0x7F) {
        if (Face* c = cjk(); c && (g = c->glyph(cp))) f = c;
      }
      if (!g) g = face->glyph('?'), f = face;
      if (!g) continue;
      double adv = g->advance / f->units * em;
      out.push_back({f, g->index, x, y, em, adv, height, wf, oblique, color});
      x += adv * wf;
    }
    return x;
  }

  // Draws placed glyphs through a frame: text units to entity coordinates.
  void paint(const std::vector<Item>& items, const DxGeMatrix3d& toDevice) {
    cairo_t* cr = r.cr();
    Pt o = toDev(toDevice, DxGePoint3d(0, 0, 0));
    Pt ex = toDev(toDevice, DxGePoint3d(1, 0, 0));
    Pt ey = toDev(toDevice, DxGePoint3d(0, 1, 0));
    cairo_matrix_t frame{ex.x - o.x, ex.y - o.y, ey.x - o.x, ey.y - o.y, o.x, o.y};
    double cap = 0;
    for (const Item& it : items) cap = std::max(cap, it.cap);
    double devCap = cap * std::sqrt(std::fabs(frame.xx * frame.yy - frame.xy * frame.yx));
    // Measuring, and texts too small to read, take the boxes of their characters: a
    // quarter of the height below the baseline to the top of the capitals.
    if (r.measuring() || devCap < 3) {
      if (devCap < 0.5 && !r.measuring()) return;  // below a pixel: nothing to see
      cairo_save(cr);
      cairo_transform(cr, &frame);
      for (const Item& it : items)
        cairo_rectangle(cr, it.x, it.y - it.cap * 0.25, it.advance * it.wf, it.cap * 1.25);
      cairo_restore(cr);
      if (r.measuring()) return r.measurePath();
      // Unreadable at this size: a light band shows where the text stands.
      cairo_set_source_rgba(cr, items[0].color.r, items[0].color.g, items[0].color.b, 0.35);
      cairo_fill(cr);
      return;
    }
    cairo_save(cr);
    cairo_transform(cr, &frame);
    cairo_set_font_options(cr, options);
    size_t i = 0;
    while (i < items.size()) {
      // A run of glyphs that share face, size, shape and colour goes to cairo at once.
      size_t j = i;
      std::vector<cairo_glyph_t> run;
      const Item& a = items[i];
      while (j < items.size() && items[j].face == a.face && items[j].em == a.em && items[j].wf == a.wf &&
             items[j].oblique == a.oblique && items[j].y == a.y && items[j].color.r == a.color.r &&
             items[j].color.g == a.color.g && items[j].color.b == a.color.b) {
        run.push_back({items[j].index, items[j].x, items[j].y});
        ++j;
      }
      cairo_set_font_face(cr, a.face->cairo);
      // Glyph space has y down; the text's own space has y up.
      cairo_matrix_t fm{a.em * a.wf, 0, -a.em * std::tan(a.oblique), -a.em, 0, 0};
      cairo_set_font_matrix(cr, &fm);
      cairo_set_source_rgb(cr, a.color.r, a.color.g, a.color.b);
      cairo_show_glyphs(cr, run.data(), int(run.size()));
      i = j;
    }
    cairo_restore(cr);
  }
};

TextPainter::TextPainter(Renderer& r) : d(std::make_unique<Impl>(r)) {}
TextPainter::~TextPainter() = default;

void TextPainter::drawText(const DxDbText* t, const DxGeMatrix3d& m, const Rgb& color) {
  const Impl::Style& st = d->style(t->textStyle());
  double h = t->height();
  if (h <= 0) {
    ReadOpen<DxDbTextStyleTableRecord> s(t->textStyle());
    h = s && s->textSize() > 0 ? s->textSize() : 2.5;
  }
  double wf = t->widthFactor() > 0 ? t->widthFactor() : st.wf;
  double oblique = t->oblique();
  std::u32string text = percentCodes(decode(t->textString()));
  std::vector<Item> items;
  double width = d->place(text, st.face, h, 1, 0, color, 0, 0, items);  // unit width factor
  if (items.empty()) return;
  int hm = t->horizontalMode(), vm = t->verticalMode();
  DxGePoint3d anchor = t->isDefaultAlignment() ? t->position() : t->alignmentPoint();
  double rotation = t->rotation();
  if (hm == DxDb::kTextAlign || hm == DxDb::kTextFit) {
    // Both ends given: the text fills the line between them.
    DxGePoint3d a = t->position(), b = t->alignmentPoint();
    double len = std::hypot(b.x - a.x, b.y - a.y);
    if (len > 0 && width > 0) {
      rotation = std::atan2(b.y - a.y, b.x - a.x);
      if (hm == DxDb::kTextAlign) {
        double k = len / (width * wf);
        h *= k;
        items.clear();
        width = d->place(text, st.face, h, 1, 0, color, 0, 0, items);
      } else {
        wf = len / width;
      }
    }
    anchor = a;
    hm = DxDb::kTextLeft;
    vm = DxDb::kTextBase;
  }
  double dx = 0, dy = 0;
  if (hm == DxDb::kTextCenter || hm == DxDb::kTextMid) dx = -width / 2;
  else if (hm == DxDb::kTextRight) dx = -width;
  if (hm == DxDb::kTextMid) dy = -h / 2;
  else if (vm == DxDb::kTextBottom) dy = h * st.face->descent / st.face->cap;
  else if (vm == DxDb::kTextVertMid) dy = -h / 2;
  else if (vm == DxDb::kTextTop) dy = -h;
  for (Item& it : items) {
    it.x = (it.x + dx) * wf;
    it.y += dy;
    it.wf = wf;
    it.oblique = oblique;
  }
  // Text units -> the text's plane (rotation, mirroring) -> world -> device.
  DxGeMatrix3d local = DxGeMatrix3d::rotation(rotation, DxGeVector3d::kZAxis);
  if (t->isMirroredInX()) local = local * DxGeMatrix3d::scaling(-1, 1, 1);
  if (t->isMirroredInY()) local = local * DxGeMatrix3d::scaling(1, -1, 1);
  DxGeMatrix3d frame = m * DxGeMatrix3d::planeToWorld(t->normal()) *
                       DxGeMatrix3d::translation(anchor.asVector()) * local;
  d->paint(items, frame);
}

void TextPainter::drawLabel(const std::string& text, DxDbObjectId style, double x, double y, double ux,
                            double uy, double height, const Rgb& color) {
  const Impl::Style& st = d->style(style);
  std::vector<Item> items;
  d->place(percentCodes(decode(text)), st.face, height, st.wf, st.oblique, color, 0, 0, items);
  // Text units are device units here, y up: the baseline along (ux, uy), up to its left.
  DxGeMatrix3d frame;
  frame.entry[0][0] = ux, frame.entry[0][1] = uy, frame.entry[0][3] = x;
  frame.entry[1][0] = uy, frame.entry[1][1] = -ux, frame.entry[1][3] = y;
  d->paint(items, frame);
}

void TextPainter::drawMText(const DxDbMText* t, const DxGeMatrix3d& m, const Rgb& color) {
  const Impl::Style& st = d->style(t->textStyle());
  double baseH = t->textHeight() > 0 ? t->textHeight() : 2.5;
  std::u32string s = percentCodes(decode(t->contents()));
  struct State {
    Face* face;
    double h, wf, oblique;
    Rgb color;
  };
  State cur{st.face, baseH, st.wf, st.oblique, color};
  std::vector<State> stack;
  // Lines of glyphs, laid out at x from 0 and y 0, then moved into place.
  struct Line {
    std::vector<Item> items;
    double width = 0, height = 0;
  };
  std::vector<Line> lines(1);
  double wrap = t->width() > 0 ? t->width() : 0;
  size_t lastBreak = 0;  // items of the current line before its last break chance
  double x = 0;
  auto newLine = [&](double width) {
    lines.back().width = width;
    lines.emplace_back();
    x = 0;
    lastBreak = 0;
  };
  auto emit = [&](const std::u32string& text) {
    for (char32_t cp : text) {
      size_t before = lines.back().items.size();
      double nx = d->place(std::u32string(1, cp), cur.face, cur.h, cur.wf, cur.oblique, cur.color, x, 0,
                           lines.back().items);
      lines.back().height = std::max(lines.back().height, cur.h);
      bool wide = cp >= 0x2E80;  // ideographs break anywhere
      if (cp != ' ' && wrap > 0 && nx > wrap * 1.001 && before > 0) {
        // Too long: what follows the last break chance starts the next line.
        size_t cut = lastBreak > 0 && !wide ? lastBreak : before;
        std::vector<Item> moved(lines.back().items.begin() + cut, lines.back().items.end());
        lines.back().items.resize(cut);
        double shift = moved.front().x;
        newLine(shift);
        for (Item& it : moved) it.x -= shift;
        lines.back().items = std::move(moved);
        lines.back().height = cur.h;
        nx -= shift;
      }
      x = nx;
      if (cp == ' ' || wide) lastBreak = lines.back().items.size();
    }
  };
  auto readArg = [&](size_t& i) {  // up to ';'
    std::string a;
    while (i < s.size() && s[i] != ';') a.push_back(char(s[i++]));
    return a;
  };
  std::u32string pending;
  auto flush = [&] {
    emit(pending);
    pending.clear();
  };
  for (size_t i = 0; i < s.size(); ++i) {
    char32_t c = s[i];
    if (c == '{') {
      flush();
      stack.push_back(cur);
      continue;
    }
    if (c == '}') {
      flush();
      if (!stack.empty()) cur = stack.back(), stack.pop_back();
      continue;
    }
    if (c != '\\' || i + 1 >= s.size()) {
      pending.push_back(c);
      continue;
    }
    char32_t code = s[++i];
    switch (code) {
      case 'P': case 'N': case 'n':
        flush();
        newLine(x);
        break;
      case '~': pending.push_back(U'\u00A0'); break;
      case '\\': case '{': case '}': pending.push_back(code); break;
      case 'L': case 'l': case 'O': case 'o': case 'K': case 'k': break;
      case 'H': case 'W': case 'Q': case 'C': case 'c': case 'f': case 'F': case 'T': case 'A':
      case 'p': case 'S': {
        flush();
        ++i;
        std::string arg = readArg(i);
        if (code == 'H') {
          double v = std::atof(arg.c_str());
          bool rel = !arg.empty() && (arg.back() == 'x' || arg.back() == 'X');
          if (v > 0) cur.h = rel ? cur.h * v : v;
        } else if (code == 'W') {
          double v = std::atof(arg.c_str());
          if (v > 0) cur.wf = v;
        } else if (code == 'Q') {
          cur.oblique = std::atof(arg.c_str()) * kPi / 180;
        } else if (code == 'C') {
          int aci = std::atoi(arg.c_str());
          cur.color = (aci == 0 || aci == 256) ? color : d->r.indexColor(aci);
        } else if (code == 'c') {
          long v = std::atol(arg.c_str());
          // Windows order: blue in the high byte.
          cur.color = {(v & 255) / 255.0, ((v >> 8) & 255) / 255.0, ((v >> 16) & 255) / 255.0};
        } else if (code == 'f' || code == 'F') {
          std::string family = arg.substr(0, arg.find('|'));
          if (code == 'f') cur.face = d->cached("", family);
          else cur.face = d->cached(family, "");
        } else if (code == 'S') {
          // A stacked fraction shows as its two parts around a slash.
          std::u32string frac;
          for (char ch : arg) frac.push_back(ch == '^' || ch == '#' ? U'/' : char32_t(ch));
          State keep = cur;
          cur.h *= 0.7;
          emit(frac);
          cur = keep;
        }
        break;
      }
      default:
        // \U+XXXX is resolved when the drawing is read; anything else is shown as is.
        pending.push_back('\\');
        pending.push_back(code);
    }
  }
  flush();
  lines.back().width = x;
  // Line pitch: five thirds of the text height, times the spacing factor.
  double factor = t->lineSpacingFactor() > 0 ? t->lineSpacingFactor() : 1;
  double total = 0;
  std::vector<double> baseY;
  for (size_t li = 0; li < lines.size(); ++li) {
    double lh = lines[li].height > 0 ? lines[li].height : baseH;
    total += li == 0 ? lh : lh * 5.0 / 3.0 * factor;
    baseY.push_back(-total);
  }
  int attach = t->attachment();
  int col = (attach - 1) % 3, row = (attach - 1) / 3;
  double bottom = -total - (lines.back().height > 0 ? lines.back().height : baseH) / 3;
  double yShift = row == 0 ? 0 : row == 1 ? -bottom / 2 : -bottom;
  std::vector<Item> all;
  for (size_t li = 0; li < lines.size(); ++li) {
    double w = lines[li].width;
    double xShift = col == 0 ? 0 : col == 1 ? -w / 2 : -w;
    for (Item it : lines[li].items) {
      it.x += xShift;
      it.y = baseY[li] + yShift;
      all.push_back(it);
    }
  }
  DxGeVector3d xdir = t->direction();
  if (xdir.isZeroLength()) xdir = DxGeVector3d::kXAxis;
  DxGeVector3d n = t->normal().normal();
  DxGeVector3d ydir = n.crossProduct(xdir.normal());
  DxGeMatrix3d frame;
  DxGeVector3d xd = xdir.normal();
  DxGePoint3d o = t->location();
  double cols[3][4] = {{xd.x, ydir.x, n.x, o.x}, {xd.y, ydir.y, n.y, o.y}, {xd.z, ydir.z, n.z, o.z}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) frame.entry[i][j] = cols[i][j];
  d->paint(all, m * frame);
}

}  // namespace dx::plot
