#include "express/jww/jww_translate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

namespace jww {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kDegree = 3.14159265358979 / 180;

bool Finite(std::initializer_list<double> values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

double Distance(Point2 a, Point2 b) { return std::hypot(a.x - b.x, a.y - b.y); }

// Twice the signed area of the triangle a, b, c.
double Cross(Point2 a, Point2 b, Point2 c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x); }

bool SegmentsCross(Point2 a, Point2 b, Point2 c, Point2 d) {
  double d1 = Cross(a, b, c), d2 = Cross(a, b, d), d3 = Cross(c, d, a), d4 = Cross(c, d, b);
  return ((d1 > 0 && d2 < 0) || (d1 < 0 && d2 > 0)) && ((d3 > 0 && d4 < 0) || (d3 < 0 && d4 > 0));
}

}  // namespace

std::string LayerName(const JwwHeader& header, unsigned group, unsigned layer) {
  char prefix[32];
  std::snprintf(prefix, sizeof prefix, "%s[%u][%u]", "JWW", group, layer);
  return prefix + header.layerNames[group & 15][layer & 15];
}

LayerState LayerStateOf(std::uint32_t g, std::uint32_t l) {
  bool groupEditable = g == 2 || g == 3;
  if (g == 0) return {.off = true};
  if (groupEditable && l != 0 && l != 1) return {};
  if (!groupEditable || l != 0) return {.locked = true};
  return {.off = true};
}

const char* LineTypeName(int penStyle, const char* otherwise) {
  if (penStyle <= 1) return "Continuous";
  if (penStyle <= 9) return kNamedLineTypes[std::size_t(penStyle - 2)];
  return otherwise;
}

Rgb RgbOfWord(std::uint32_t w) {
  return {std::uint8_t(w & 0xFF), std::uint8_t((w >> 8) & 0xFF), std::uint8_t((w >> 16) & 0xFF)};
}

std::optional<Rgb> PenRgb(const JwwHeader& header, std::uint32_t penColor) {
  bool inTable = penColor < 10 || (penColor >= kJwwExtendedPenFirst && penColor < kJwwPenCount);
  if (!inTable) return std::nullopt;
  return RgbOfWord(header.penColors[penColor].rgb);
}

bool IsPictureText(std::string_view content) { return content.size() >= 4 && content.substr(0, 4) == "^@BM"; }

bool TextPropsOf(const JwwText& t, TextProps& out) {
  if (!Finite({t.startX, t.startY, t.sizeX, t.sizeY, t.angle}) || !(t.sizeY > 0)) return false;
  out.position = {t.startX, t.startY};
  out.height = t.sizeY * 0.6;
  out.widthFactor = t.sizeX > 0 ? t.sizeX / t.sizeY : 1;
  out.rotation = std::fmod(t.angle, 360.0) * kDegree;
  std::uint32_t kind = t.textKind / 10000;
  out.bold = kind == 2 || kind == 3;
  out.italic = kind == 1 || kind == 3;
  out.oblique = t.fontName.empty() && out.italic ? kItalicOblique : 0;
  return true;
}

std::optional<CurveGeom> CurveGeomOf(const JwwCircle& c) {
  if (!Finite({c.centerX, c.centerY, c.radius, c.startAngle, c.arcAngle, c.tiltAngle, c.flatness}))
    return std::nullopt;
  CurveGeom g;
  g.center = {c.centerX, c.centerY};
  double radius = std::fabs(c.radius);
  double flatness = std::fabs(c.flatness);
  if (radius == 0 || flatness == 0) return std::nullopt;
  bool whole = c.fullCircle == 1;
  // The arc angle may run clockwise; the host's curves always run counter-clockwise.
  double from = c.startAngle, to = c.startAngle + c.arcAngle;
  if (c.arcAngle < 0) std::swap(from, to);

  if (c.flatness == 1 && std::fabs(c.arcAngle) > 0.1 && radius > 0.5) {
    g.radius = radius;
    if (whole) {
      g.kind = CurveGeom::kCircle;
    } else {
      g.kind = CurveGeom::kArc;
      // JW_CAD measures the start of a tilted arc from its tilt; adding the tilt keeps
      // the arc where JW_CAD draws it.
      g.startAngle = from + c.tiltAngle;
      g.endAngle = to + c.tiltAngle;
    }
    return g;
  }

  // Angles of an elliptic arc are parameters of the ellipse in its own tilted frame.
  // With a flatness above 1 the axis across the tilt is the longer one: it becomes the
  // major axis, and the parameters turn back by a quarter.
  g.kind = CurveGeom::kEllipse;
  double axisAngle = c.tiltAngle;
  double major = radius;
  double shift = 0;
  g.ratio = flatness;
  if (flatness > 1) {
    axisAngle += kPi / 2;
    major = radius * flatness;
    g.ratio = 1 / flatness;
    shift = -kPi / 2;
  }
  g.ratio = std::clamp(g.ratio, 1e-6, 1.0);
  g.majorAxis = {major * std::cos(axisAngle), major * std::sin(axisAngle)};
  if (whole) {
    g.startParam = 0;
    g.endParam = 2 * kPi;
  } else {
    g.startParam = from + shift;
    g.endParam = to + shift;
  }
  return g;
}

std::vector<Point2> SolidOutline(const JwwSolid& s) {
  if (!Finite({s.x1, s.y1, s.x2, s.y2, s.x3, s.y3, s.x4, s.y4})) return {};
  std::array<Point2, 4> p = {Point2{s.x1, s.y1}, {s.x2, s.y2}, {s.x3, s.y3}, {s.x4, s.y4}};
  // Corners may come in the crossed order of a filled quadrilateral (1, 2, 4, 3): a
  // loop through them in that order would cross itself.
  if (SegmentsCross(p[0], p[1], p[2], p[3]) || SegmentsCross(p[1], p[2], p[3], p[0])) {
    if (!SegmentsCross(p[0], p[1], p[3], p[2]) && !SegmentsCross(p[1], p[3], p[2], p[0])) std::swap(p[2], p[3]);
  }
  std::vector<Point2> out;
  for (Point2 q : p)
    if (out.empty() || Distance(out.back(), q) > 1e-10) out.push_back(q);
  while (out.size() > 1 && Distance(out.front(), out.back()) <= 1e-10) out.pop_back();
  if (out.size() < 3) return {};
  // Three corners in a row leave no area either.
  double area = 0;
  for (std::size_t i = 0; i < out.size(); ++i) area += Cross({0, 0}, out[i], out[(i + 1) % out.size()]);
  if (std::fabs(area) <= 1e-12) return {};
  return out;
}

std::optional<DimensionGeom> DimensionGeomOf(const JwwMeasure& m, bool extended) {
  const JwwLine& l = m.line;
  if (!IsFinite(l)) return std::nullopt;
  Point2 s{l.startX, l.startY}, e{l.endX, l.endY};
  double length = Distance(s, e);
  if (length <= 1e-10) return std::nullopt;
  DimensionGeom g;
  g.rotation = std::atan2(e.y - s.y, e.x - s.x);
  g.xLine1 = s;
  g.xLine2 = e;
  g.dimLine = e;

  // Each extension line runs from a measured point to an end of the dimension line:
  // the end nearer the dimension line tells which end it belongs to.
  if (extended) {
    struct Ext {
      Point2 a, b;
      bool usable;
    };
    std::array<Ext, 2> ext;
    for (int i = 0; i < 2; ++i) {
      const JwwLine& x = m.extensionLines[i];
      ext[i] = {{x.startX, x.startY}, {x.endX, x.endY}, IsFinite(x)};
      ext[i].usable = ext[i].usable && Distance(ext[i].a, ext[i].b) > 1e-10;
    }
    auto nearness = [](const Ext& x, Point2 p) { return std::min(Distance(x.a, p), Distance(x.b, p)); };
    auto farEnd = [](const Ext& x, Point2 p) { return Distance(x.a, p) > Distance(x.b, p) ? x.a : x.b; };
    if (ext[0].usable && ext[1].usable) {
      bool straight = nearness(ext[0], s) + nearness(ext[1], e) <= nearness(ext[1], s) + nearness(ext[0], e);
      const Ext& first = straight ? ext[0] : ext[1];
      const Ext& second = straight ? ext[1] : ext[0];
      g.xLine1 = farEnd(first, s);
      g.xLine2 = farEnd(second, e);
    } else {
      for (const Ext& x : ext) {
        if (!x.usable) continue;
        if (nearness(x, s) <= nearness(x, e)) g.xLine1 = farEnd(x, s);
        else g.xLine2 = farEnd(x, e);
      }
    }
  }

  const JwwText& t = m.text;
  g.text = t.content;
  TextProps props;
  if (TextPropsOf(t, props)) {
    Point2 ts{t.startX, t.startY};
    Point2 te = Finite({t.endX, t.endY}) ? Point2{t.endX, t.endY} : ts;
    double c = std::cos(props.rotation), sn = std::sin(props.rotation);
    double half = props.height / 2;
    g.textMiddle = {(ts.x + te.x) / 2 - sn * half, (ts.y + te.y) / 2 + c * half};
    g.textRotation = props.rotation;
  } else {
    g.textMiddle = {(s.x + e.x) / 2, (s.y + e.y) / 2};
    g.textRotation = g.rotation;
  }
  return g;
}

std::string BlockName(const JwwBlockDef& def) {
  // A table name cannot hold < > / \ " : ; ? * | = ` , nor control characters; anything
  // else, '@' and Japanese text included, is kept as JW_CAD wrote it.
  std::string name = def.name;
  for (char& c : name)
    if (std::strchr("<>/\\\":;?*|=`,", c) || static_cast<unsigned char>(c) < 0x20) c = '_';
  char number[16];
  std::snprintf(number, sizeof number, "%u", def.number);
  return name + number;
}

ImportCounts TranslatableCounts(const JwwDocument& doc) {
  const JwwEntitySet& set = doc.entities;
  ImportCounts n;
  auto count = [](const auto& records, auto translates) {
    return int(std::count_if(records.begin(), records.end(), translates));
  };
  n.lines = count(set.lines, [](const JwwLine& l) { return IsFinite(l); });
  n.circles = count(set.circles, [](const JwwCircle& c) { return CurveGeomOf(c).has_value(); });
  n.dots = count(set.dots, [](const JwwDot& d) { return IsFinite(d); });
  n.texts = count(set.texts, [](const JwwText& t) {
    TextProps p;
    return !IsPictureText(t.content) && TextPropsOf(t, p);
  });
  n.solids = count(set.solids, [](const JwwSolid& s) { return !SolidOutline(s).empty(); });
  bool extended = JwwHasExtendedLayout(doc.version);
  n.dimensions = count(set.measures, [&](const JwwMeasure& m) { return DimensionGeomOf(m, extended).has_value(); });
  n.blocks = count(set.blocks, [&](const JwwBlock& b) { return IsFinite(b) && doc.FindBlockDef(b.blockNumber); });
  return n;
}

std::vector<std::uint32_t> InsertionCycleGroups(const JwwDocument& doc) {
  // Tarjan's strongly connected components, with an explicit stack: a damaged file may
  // nest definitions deeper than the call stack would take.
  const std::size_t n = doc.blockDefs.size();
  std::vector<std::vector<std::uint32_t>> edges(n);
  for (std::size_t i = 0; i < n; ++i)
    for (const JwwBlock& b : doc.blockDefs[i].entities.blocks)
      if (const JwwBlockDef* target = doc.FindBlockDef(b.blockNumber))
        edges[i].push_back(std::uint32_t(target - doc.blockDefs.data()));

  constexpr std::uint32_t kUnseen = UINT32_MAX;
  std::vector<std::uint32_t> index(n, kUnseen), low(n, 0), group(n, kUnseen);
  std::vector<bool> onStack(n, false);
  std::vector<std::uint32_t> stack;
  struct Frame {
    std::uint32_t node;
    std::size_t next;
  };
  std::vector<Frame> calls;
  std::uint32_t counter = 0, groups = 0;
  for (std::uint32_t root = 0; root < n; ++root) {
    if (index[root] != kUnseen) continue;
    calls.push_back({root, 0});
    index[root] = low[root] = counter++;
    stack.push_back(root);
    onStack[root] = true;
    while (!calls.empty()) {
      Frame& f = calls.back();
      if (f.next < edges[f.node].size()) {
        std::uint32_t w = edges[f.node][f.next++];
        if (index[w] == kUnseen) {
          index[w] = low[w] = counter++;
          stack.push_back(w);
          onStack[w] = true;
          calls.push_back({w, 0});
        } else if (onStack[w]) {
          low[f.node] = std::min(low[f.node], index[w]);
        }
        continue;
      }
      std::uint32_t v = f.node;
      calls.pop_back();
      if (!calls.empty()) low[calls.back().node] = std::min(low[calls.back().node], low[v]);
      if (low[v] == index[v]) {
        std::uint32_t w;
        do {
          w = stack.back();
          stack.pop_back();
          onStack[w] = false;
          group[w] = groups;
        } while (w != v);
        ++groups;
      }
    }
  }
  return group;
}

bool IsFinite(const JwwLine& l) { return Finite({l.startX, l.startY, l.endX, l.endY}); }
bool IsFinite(const JwwDot& d) { return Finite({d.x, d.y}); }
bool IsFinite(const JwwBlock& b) { return Finite({b.refX, b.refY, b.scaleX, b.scaleY, b.rotation}); }

}  // namespace jww
