#include "host/text/layout.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "hostapi/db_base.h"

namespace dx::text {

std::u32string decode(const std::string& s) {
  std::u32string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    unsigned char c = static_cast<unsigned char>(s[i]);
    size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
    if (i + n > s.size()) n = 1;
    char32_t cp = n == 1 ? c : c & (0x7F >> n);
    for (size_t k = 1; k < n; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    out.push_back(cp);
    i += n;
  }
  return out;
}

// The underline and overline switches (%%u, %%o) and strike-through (%%k) take no room.
std::u32string percentCodes(const std::u32string& s) {
  std::u32string out;
  out.reserve(s.size());
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

double place(const std::u32string& s, Face* face, double height, double wf, double oblique,
             const Color& color, double x, double y, std::vector<Glyph>& out) {
  if (!face) return x;
  for (char32_t cp : s) {
    Face* f = face;
    const Face::Glyph* g = f->glyph(cp);
    if (!g && cp > 0x7F) {
      if (Face* c = japaneseFace(); c && (g = c->glyph(cp))) f = c;
    }
    if (!g) g = face->glyph('?'), f = face;
    if (!g) continue;
    // A text height is the height of the face's capitals, whatever face a glyph comes from.
    double k = height / f->cap;
    Glyph o;
    o.face = f;
    o.index = g->index;
    o.x = x, o.y = y;
    o.em = f->units * k;
    o.advance = g->advance * k;
    o.cap = height;
    o.lo = g->lo * k, o.hi = g->hi * k;
    o.wf = wf, o.oblique = oblique;
    o.color = color;
    out.push_back(o);
    x += o.advance * wf;
  }
  return x;
}

bool Layout::extents(DxGePoint3d& lo, DxGePoint3d& hi) const {
  bool any = false;
  auto add = [&](double x, double y) {
    DxGePoint3d p = frame * DxGePoint3d(x, y, 0);
    if (!any) lo = hi = p, any = true;
    lo.x = std::min(lo.x, p.x), lo.y = std::min(lo.y, p.y), lo.z = std::min(lo.z, p.z);
    hi.x = std::max(hi.x, p.x), hi.y = std::max(hi.y, p.y), hi.z = std::max(hi.z, p.z);
  };
  for (const Glyph& g : glyphs) {
    if (!g.face) {
      add(g.x, g.y);
      add(g.x + g.advance * g.wf, g.y);
      continue;
    }
    // The pen cell from the baseline (or the ink below it) to the capitals (or the ink
    // above them), sheared by the oblique angle.
    double y0 = g.y + std::min(0.0, g.lo), y1 = g.y + std::max(g.cap, g.hi);
    double x0 = g.x, x1 = g.x + g.advance * g.wf, t = std::tan(g.oblique);
    add(x0 + (y0 - g.y) * t, y0);
    add(x1 + (y0 - g.y) * t, y0);
    add(x0 + (y1 - g.y) * t, y1);
    add(x1 + (y1 - g.y) * t, y1);
  }
  return any;
}

void layoutText(const TextParams& p, Layout& out) {
  out.glyphs.clear();
  Face* face = faceFor(p.fontFile, p.family);
  std::u32string text = percentCodes(decode(p.text));
  double h = p.height, wf = p.widthFactor;
  // Laid with a unit width factor first: aligned and fitted texts find theirs from the width.
  double width = place(text, face, h, 1, 0, {}, 0, 0, out.glyphs);
  int hm = p.hmode, vm = p.vmode;
  DxGePoint3d anchor = p.defaultAlignment ? p.position : p.alignment;
  double rotation = p.rotation;
  if (hm == DxDb::kTextAlign || hm == DxDb::kTextFit) {
    // Both ends given: the text fills the line between them.
    DxGePoint3d a = p.position, b = p.alignment;
    double len = std::hypot(b.x - a.x, b.y - a.y);
    if (len > 0 && width > 0) {
      rotation = std::atan2(b.y - a.y, b.x - a.x);
      if (hm == DxDb::kTextAlign) {
        h *= len / (width * wf);
        out.glyphs.clear();
        width = place(text, face, h, 1, 0, {}, 0, 0, out.glyphs);
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
  else if (vm == DxDb::kTextBottom && face) dy = h * face->descent / face->cap;
  else if (vm == DxDb::kTextVertMid) dy = -h / 2;
  else if (vm == DxDb::kTextTop) dy = -h;
  for (Glyph& g : out.glyphs) {
    g.x = (g.x + dx) * wf;
    g.y += dy;
    g.wf = wf;
    g.oblique = p.oblique;
  }
  // Text units -> the text's plane (rotation, mirroring) -> world.
  DxGeMatrix3d local = DxGeMatrix3d::rotation(rotation, DxGeVector3d::kZAxis);
  if (p.mirrorX) local = local * DxGeMatrix3d::scaling(-1, 1, 1);
  if (p.mirrorY) local = local * DxGeMatrix3d::scaling(1, -1, 1);
  out.frame = DxGeMatrix3d::planeToWorld(p.normal) * DxGeMatrix3d::translation(anchor.asVector()) * local;
}

void layoutMText(const MTextParams& p, Layout& out) {
  out.glyphs.clear();
  double baseH = p.height > 0 ? p.height : 2.5;
  std::u32string s = percentCodes(decode(p.contents));
  struct State {
    Face* face;
    double h, wf, oblique;
    Color color;
  };
  State cur{faceFor(p.fontFile, p.family), baseH, p.widthFactor, p.oblique, {}};
  std::vector<State> stack;
  // Lines of glyphs, laid out at x from 0 and y 0, then moved into place.
  struct Line {
    std::vector<Glyph> glyphs;
    double width = 0, height = 0;
    bool columnBreak = false;  // starts a new column (\N in a text with columns)
  };
  std::vector<Line> lines(1);
  const bool columns = p.columnType > 0 && p.columnWidth > 0;
  double wrap = columns ? p.columnWidth : p.width > 0 ? p.width : 0;
  size_t lastBreak = 0;  // glyphs of the current line before its last break chance
  double x = 0;
  auto newLine = [&](double width) {
    lines.back().width = width;
    lines.emplace_back();
    x = 0;
    lastBreak = 0;
  };
  auto emit = [&](const std::u32string& text) {
    for (char32_t cp : text) {
      std::vector<Glyph>& cur_line = lines.back().glyphs;
      size_t before = cur_line.size();
      double nx = place(std::u32string(1, cp), cur.face, cur.h, cur.wf, cur.oblique, cur.color, x, 0, cur_line);
      lines.back().height = std::max(lines.back().height, cur.h);
      bool wide = cp >= 0x2E80;  // ideographs break anywhere
      if (cp != ' ' && wrap > 0 && nx > wrap * 1.001 && before > 0) {
        // Too long: what follows the last break chance starts the next line.
        size_t cut = lastBreak > 0 && !wide ? lastBreak : before;
        std::vector<Glyph> moved(cur_line.begin() + long(cut), cur_line.end());
        cur_line.resize(cut);
        double shift = moved.front().x;
        newLine(shift);
        for (Glyph& g : moved) g.x -= shift;
        lines.back().glyphs = std::move(moved);
        lines.back().height = cur.h;
        nx -= shift;
      }
      x = nx;
      if (cp == ' ' || wide) lastBreak = lines.back().glyphs.size();
    }
  };
  // A stacked fraction "a/b" (a bar between), "a^b" (no bar, as tolerances) or "a#b"
  // (diagonal): its parts at 70% of the height, above and below the middle of the line.
  auto stackFraction = [&](const std::string& arg) {
    size_t sep = arg.find_first_of("/^#");
    std::u32string top = decode(arg.substr(0, sep)), bottom;
    char kind = sep == std::string::npos ? '/' : arg[sep];
    if (sep != std::string::npos) bottom = decode(arg.substr(sep + 1));
    double H = cur.h, f = H * 0.7;
    std::vector<Glyph> a, b;
    double wa = place(top, cur.face, f, cur.wf, cur.oblique, cur.color, 0, 0, a);
    double wb = place(bottom, cur.face, f, cur.wf, cur.oblique, cur.color, 0, 0, b);
    double slash = 0;
    std::vector<Glyph> s;
    if (kind == '#') slash = place(U"/", cur.face, H, cur.wf, cur.oblique, cur.color, 0, 0, s);
    double w = kind == '#' ? wa + slash + wb : std::max(wa, wb);
    if (wrap > 0 && x + w > wrap * 1.001 && !lines.back().glyphs.empty()) newLine(x);
    std::vector<Glyph>& line = lines.back().glyphs;
    auto put = [&](std::vector<Glyph>& g, double dx, double y) {
      for (Glyph& e : g) e.x += x + dx, e.y = y, line.push_back(e);
    };
    if (kind == '#') {
      put(a, 0, H * 0.45);
      put(s, wa, 0);
      put(b, wa + slash, -H * 0.1);
    } else {
      put(a, (w - wa) / 2, H * 0.55);
      put(b, (w - wb) / 2, -H * 0.45);
      if (kind == '/') {
        Glyph bar;
        bar.x = x, bar.y = H * 0.4, bar.advance = w, bar.cap = H, bar.color = cur.color;
        line.push_back(bar);
      }
    }
    x += w;
    lines.back().height = std::max(lines.back().height, H);
    lastBreak = line.size();
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
        lines.back().columnBreak = code == 'N' && columns;
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
          if (v > 0 && std::isfinite(v)) cur.h = rel ? cur.h * v : v;
        } else if (code == 'W') {
          double v = std::atof(arg.c_str());
          if (v > 0 && std::isfinite(v)) cur.wf = v;
        } else if (code == 'Q') {
          double v = std::atof(arg.c_str());
          if (std::isfinite(v)) cur.oblique = v * M_PI / 180;
        } else if (code == 'C') {
          int aci = std::atoi(arg.c_str());
          cur.color = (aci == 0 || aci == 256) ? Color{} : Color{Color::kIndex, aci};
        } else if (code == 'c') {
          long v = std::atol(arg.c_str());
          // Windows order: blue in the high byte.
          cur.color = {Color::kRgb, 0, (v & 255) / 255.0, ((v >> 8) & 255) / 255.0, ((v >> 16) & 255) / 255.0};
        } else if (code == 'f' || code == 'F') {
          std::string name = arg.substr(0, arg.find('|'));
          cur.face = code == 'f' ? faceFor("", name) : faceFor(name, "");
        } else if (code == 'S') {
          stackFraction(arg);
        }
        break;
      }
      default:
        // \U+XXXX is resolved when the drawing is read; anything else shows as it stands.
        pending.push_back('\\');
        pending.push_back(code);
    }
  }
  flush();
  lines.back().width = x;
  // Line pitch: five thirds of the text height, times the spacing factor.
  double factor = p.lineSpacing > 0 ? p.lineSpacing : 1;
  double total = 0;
  std::vector<double> baseY, baseX(lines.size(), 0.0);
  int column = 0;
  auto columnFull = [&](double depth) {
    double h = column < int(p.columnHeights.size()) && p.columnHeights[size_t(column)] > 0
                   ? p.columnHeights[size_t(column)]
                   : p.columnHeight;
    bool more = p.columnType != 1 || p.columnCount <= 0 || column + 1 < p.columnCount;
    return h > 0 && depth > h * 1.001 && more;
  };
  for (size_t li = 0; li < lines.size(); ++li) {
    double lh = lines[li].height > 0 ? lines[li].height : baseH;
    bool first = li == 0;
    double next = total + (first ? lh : lh * 5.0 / 3.0 * factor);
    // A line that would reach below the column's foot starts the next column.
    if (columns && !first && (lines[li].columnBreak || columnFull(next + lh / 3))) {
      ++column;
      next = lh;
    }
    total = next;
    baseX[li] = columns ? column * (p.columnWidth + p.gutter) : 0;
    baseY.push_back(-total);
  }
  int attach = std::clamp(p.attachment, 1, 9);
  int col = (attach - 1) % 3, row = (attach - 1) / 3;
  double bottom = -total - (lines.back().height > 0 ? lines.back().height : baseH) / 3;
  double yShift = row == 0 || columns ? 0 : row == 1 ? -bottom / 2 : -bottom;
  for (size_t li = 0; li < lines.size(); ++li) {
    double w = lines[li].width;
    double xShift = col == 0 || columns ? 0 : col == 1 ? -w / 2 : -w;
    for (Glyph g : lines[li].glyphs) {
      g.x += xShift + baseX[li];
      g.y += baseY[li] + yShift;
      out.glyphs.push_back(g);
    }
  }
  DxGeVector3d xd = p.xdir.isZeroLength() ? DxGeVector3d::kXAxis : p.xdir.normal();
  DxGeVector3d n = p.normal.isZeroLength() ? DxGeVector3d::kZAxis : p.normal.normal();
  DxGeVector3d yd = n.crossProduct(xd);
  const DxGePoint3d& o = p.location;
  double cols[3][4] = {{xd.x, yd.x, n.x, o.x}, {xd.y, yd.y, n.y, o.y}, {xd.z, yd.z, n.z, o.z}};
  out.frame = DxGeMatrix3d();
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) out.frame.entry[i][j] = cols[i][j];
}

}  // namespace dx::text
