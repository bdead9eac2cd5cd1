// Writes JW_CAD drawings with our JWW writer, for the examples and the import tests.
//
//   jww_make_drawing example OUT.jww    a small house plan: layers, walls, doors,
//                                       furniture blocks, texts, dimensions, fills
//   jww_make_drawing geometry OUT.jww   one record of each shape with known numbers,
//                                       which the import tests look for in the result
//   jww_make_drawing blocks OUT.jww     two block definitions, one named and one not, with
//                                       a layer that only the named one uses
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>
#include <utility>

#include "express/jww/jww_file_writer.h"
#include "express/jww/jww_record_make.h"

namespace {

constexpr double kPi = std::numbers::pi;

using jwwmake::Head;
using jwwmake::Line;

JwwCircle Arc(JwwRecordHead h, double cx, double cy, double r, double start, double arc, double tilt = 0,
              double flatness = 1, bool whole = false) {
  JwwCircle c;
  c.head = h;
  c.centerX = cx, c.centerY = cy, c.radius = r;
  c.startAngle = start, c.arcAngle = arc, c.tiltAngle = tilt, c.flatness = flatness;
  c.fullCircle = whole ? 1 : 0;
  return c;
}

JwwText Text(JwwRecordHead h, double x, double y, double size, double angle, std::string content,
             std::string font = "ＭＳ ゴシック", std::uint32_t kind = 0) {
  JwwText t;
  t.head = h;
  t.startX = x, t.startY = y;
  double length = size * 0.5 * double(content.size());
  t.endX = x + length * std::cos(angle * kPi / 180);
  t.endY = y + length * std::sin(angle * kPi / 180);
  t.sizeX = t.sizeY = size;
  t.angle = angle;
  t.textKind = kind;
  t.fontName = std::move(font);
  t.content = std::move(content);
  return t;
}

JwwMeasure Dimension(JwwRecordHead h, double x1, double y1, double x2, double y2, double offset,
                     std::string value) {
  // Horizontal or vertical, offset to the left of the direction from point 1 to point 2.
  double dx = x2 - x1, dy = y2 - y1, len = std::hypot(dx, dy);
  double nx = -dy / len * offset, ny = dx / len * offset;
  JwwMeasure m;
  m.line = Line(h, x1 + nx, y1 + ny, x2 + nx, y2 + ny);
  double angle = std::atan2(dy, dx) * 180 / kPi;
  double mx = (x1 + x2) / 2 + nx * 1.1, my = (y1 + y2) / 2 + ny * 1.1;
  m.text = Text(h, mx - 2 * std::cos(angle * kPi / 180), my - 2 * std::sin(angle * kPi / 180), 2.5, angle, value);
  m.sxfMode = 1;
  m.extensionLines = {Line(h, x1, y1, x1 + nx, y1 + ny), Line(h, x2, y2, x2 + nx, y2 + ny)};
  for (JwwDot& p : m.points) p.head = h;
  m.points[0].x = x1, m.points[0].y = y1;
  m.points[1].x = x2, m.points[1].y = y2;
  return m;
}

JwwBlock Insert(JwwRecordHead h, std::uint32_t number, double x, double y, double scale = 1, double rotation = 0) {
  JwwBlock b;
  b.head = h;
  b.blockNumber = number;
  b.refX = x, b.refY = y, b.scaleX = b.scaleY = scale, b.rotation = rotation;
  return b;
}

void AddDefinition(JwwDocument& doc, std::uint32_t number, std::string name, JwwEntitySet set) {
  JwwBlockDef def;
  def.number = number;
  def.referenced = 1;
  def.name = std::move(name);
  def.entities = std::move(set);
  doc.blockDefs.push_back(std::move(def));
  doc.IndexBlockDef(doc.blockDefs.size() - 1);
}

JwwDocument Example() {
  JwwDocument doc;
  doc.version = 700;
  doc.memo = "サンプル住宅 平面図";
  JwwHeader& h = doc.header;
  h.layerGroupNames[0] = "1階平面図";
  h.layerNames[0][0] = "通り芯";
  h.layerNames[0][1] = "躯体";
  h.layerNames[0][2] = "建具";
  h.layerNames[0][3] = "家具";
  h.layerNames[0][4] = "寸法";
  h.layerNames[0][5] = "文字";
  h.layerNames[0][6] = "仕上";
  h.layerGroups[0].layers[0].state = 1;  // grid lines: shown, not editable
  h.layerGroups[0].layers[6].state = 0;  // finishes: hidden
  JwwEntitySet& e = doc.entities;
  // Grid lines, chain pattern.
  for (double x : {0.0, 4550.0, 9100.0}) e.lines.push_back(Line(Head(0, 0, 5, 6), x, -1000, x, 7370));
  for (double y : {0.0, 3640.0, 6370.0}) e.lines.push_back(Line(Head(0, 0, 5, 6), -1000, y, 10100, y));
  // Walls: outer rectangle and one inner wall, as double lines.
  auto wall = [&](double x1, double y1, double x2, double y2) {
    double dx = x2 - x1, dy = y2 - y1, len = std::hypot(dx, dy), nx = -dy / len * 75, ny = dx / len * 75;
    e.lines.push_back(Line(Head(0, 1, 1, 2), x1 + nx, y1 + ny, x2 + nx, y2 + ny));
    e.lines.push_back(Line(Head(0, 1, 1, 2), x1 - nx, y1 - ny, x2 - nx, y2 - ny));
  };
  wall(0, 0, 9100, 0);
  wall(9100, 0, 9100, 6370);
  wall(9100, 6370, 0, 6370);
  wall(0, 6370, 0, 0);
  wall(4550, 0, 4550, 3640);
  wall(0, 3640, 9100, 3640);
  // Columns as filled squares.
  for (double x : {0.0, 4550.0, 9100.0})
    for (double y : {0.0, 3640.0, 6370.0}) {
      JwwSolid s;
      s.head = Head(0, 1, 1, 2);
      s.x1 = x - 100, s.y1 = y - 100, s.x2 = x + 100, s.y2 = y - 100;
      s.x3 = x + 100, s.y3 = y + 100, s.x4 = x - 100, s.y4 = y + 100;
      e.solids.push_back(s);
    }
  // Door: a leaf and its swing, as a block; the block "window" holds a pane.
  JwwEntitySet door;
  door.lines = {Line(Head(0, 2, 1, 3), 0, 0, 0, 800)};
  door.circles = {Arc(Head(0, 2, 2, 3), 0, 0, 800, 0, kPi / 2)};
  AddDefinition(doc, 1, "片開き戸", door);
  JwwEntitySet window;
  window.lines = {Line(Head(0, 2, 1, 3), 0, -40, 1600, -40), Line(Head(0, 2, 1, 3), 0, 40, 1600, 40)};
  AddDefinition(doc, 2, "引違い窓", window);
  // A table with four chairs: chairs are a block of their own, nested.
  JwwEntitySet chair;
  chair.circles = {Arc(Head(0, 3, 1, 4), 0, 0, 220, 0, 2 * kPi, 0, 1, true)};
  AddDefinition(doc, 3, "椅子", chair);
  JwwEntitySet table;
  table.circles = {Arc(Head(0, 3, 1, 4), 0, 0, 600, 0, 2 * kPi, 0, 0.6, true)};
  for (int i = 0; i < 4; ++i)
    table.blocks.push_back(Insert(Head(0, 3), 3, 800 * std::cos(i * kPi / 2), 520 * std::sin(i * kPi / 2)));
  AddDefinition(doc, 4, "食卓セット", table);
  e.blocks = {Insert(Head(0, 2), 1, 3000, 3640 - 75, 1, -kPi / 2), Insert(Head(0, 2), 1, 6000, 3640 - 75, 1, -kPi / 2),
              Insert(Head(0, 2), 2, 1500, 0), Insert(Head(0, 2), 2, 6000, 6370),
              Insert(Head(0, 2), 2, 9100, 1000, 1, kPi / 2), Insert(Head(0, 3), 4, 2275, 5000),
              Insert(Head(0, 3), 4, 6800, 1800, 0.8, kPi / 2)};
  // Room names and a title.
  e.texts = {Text(Head(0, 5, 1, 5), 1200, 2000, 300, 0, "リビング"),
             Text(Head(0, 5, 1, 5), 5800, 2400, 300, 0, "ダイニング"),
             Text(Head(0, 5, 1, 5), 1500, 5400, 300, 0, "寝室"),
             Text(Head(0, 5, 1, 5), 5900, 5400, 300, 0, "和室"),
             Text(Head(0, 5, 1, 1), 0, -2200, 500, 0, "サンプル住宅 1階平面図 S=1/100", "ＭＳ 明朝", 20000),
             Text(Head(0, 5, 1, 1), 9100, -2200, 250, 90, "北", "", 10000)};
  // Dimensions along the bottom and the left side.
  e.measures = {Dimension(Head(0, 4, 1, 1), 0, 0, 4550, 0, -1500, "4,550"),
                Dimension(Head(0, 4, 1, 1), 4550, 0, 9100, 0, -1500, "4,550"),
                Dimension(Head(0, 4, 1, 1), 0, 0, 9100, 0, -2000, "9,100"),
                Dimension(Head(0, 4, 1, 1), 0, 6370, 0, 0, -1500, "6,370")};
  // A tatami-room finish line, on the hidden layer.
  e.lines.push_back(Line(Head(0, 6, 9, 7), 4700, 3800, 8950, 6220));
  // Where the compass stands.
  JwwDot north;
  north.head = Head(0, 5, 1, 1);
  north.x = 9100, north.y = -1800;
  e.dots = {north};
  return doc;
}

// Records with round numbers that the import tests find again in the result.
JwwDocument Geometry() {
  JwwDocument doc;
  doc.version = 600;
  doc.header.layerNames[1][2] = "形状";
  doc.header.penColors[3].rgb = 0x0000FF;  // red
  JwwEntitySet& e = doc.entities;
  JwwRecordHead h = Head(1, 2, 1, 3);
  e.lines = {Line(h, 0, 0, 100, 50)};
  e.circles = {Arc(h, 10, 20, 5, 0, 2 * kPi, 0, 1, true),                 // circle
               Arc(h, 30, 20, 5, kPi / 2, -kPi / 2),                      // clockwise arc: 0..90 degrees
               Arc(h, 50, 20, 10, 0, 2 * kPi, kPi / 6, 0.5, true),       // tilted ellipse
               Arc(h, 70, 20, 4, 0, kPi, 0, 2.5),                          // flatness above 1
               Arc(h, 90, 20, 6, kPi / 4, kPi, kPi / 3, 0.4)};             // tilted elliptic arc
  e.dots = {JwwDot{}};
  e.dots[0].head = h;
  e.dots[0].x = 5, e.dots[0].y = 6;
  e.texts = {Text(h, 10, 40, 5, 30, "傾いた文字", "ＭＳ 明朝", 20000),
             Text(h, 10, 60, 5, 0, "italic", "", 10000),
             Text(h, 10, 80, 5, 0, "^@BMpicture.bmp,10,10")};
  e.texts[0].sizeX = 4;  // narrower than high
  JwwSolid s;
  s.head = h;
  s.x1 = 0, s.y1 = 100, s.x2 = 10, s.y2 = 100, s.x3 = 10, s.y3 = 110, s.x4 = 0, s.y4 = 110;
  e.solids = {s};
  e.measures = {Dimension(h, 0, -20, 40, -20, -10, "40")};
  JwwEntitySet inner;
  inner.lines = {Line(h, 0, 0, 1, 0)};
  AddDefinition(doc, 5, "inner", inner);
  JwwEntitySet outer;
  outer.blocks = {Insert(h, 5, 2, 3, 0.5, kPi / 2)};
  AddDefinition(doc, 6, "outer", outer);
  e.blocks = {Insert(h, 6, 200, 100, 2, kPi / 4)};
  e.blocks[0].scaleY = 3;
  return doc;
}

JwwDocument Blocks() {
  JwwDocument doc;
  doc.version = 700;
  doc.header.layerNames[0][1] = "壁";
  doc.header.layerNames[0][3] = "建具";
  JwwEntitySet door;
  door.lines = {Line(Head(0, 3), 0, 0, 900, 0), Line(Head(0, 1), 0, 0, 0, 900)};
  door.circles = {Arc(Head(0, 3), 0, 0, 900, 0, kPi / 2)};
  AddDefinition(doc, 1, "door", door);
  JwwEntitySet unnamed;
  unnamed.lines = {Line(Head(0, 1), 0, 0, 100, 100)};
  AddDefinition(doc, 2, "", unnamed);
  JwwEntitySet& e = doc.entities;
  e.lines = {Line(Head(0, 1), 0, 0, 5000, 0), Line(Head(0, 1), 0, 0, 0, 3000)};
  e.blocks = {Insert(Head(0, 1), 1, 1000, 0), Insert(Head(0, 1), 2, 2000, 0)};
  return doc;
}

}  // namespace

int main(int argc, char** argv) {
  const std::pair<const char*, JwwDocument (*)()> kinds[] = {
      {"example", Example}, {"geometry", Geometry}, {"blocks", Blocks}};
  auto kind = argc == 3 ? std::find_if(std::begin(kinds), std::end(kinds),
                                       [&](const auto& k) { return std::strcmp(argv[1], k.first) == 0; })
                        : std::end(kinds);
  if (kind == std::end(kinds)) {
    std::fprintf(stderr, "usage: %s example|geometry|blocks OUT.jww\n", argv[0]);
    return 2;
  }
  JwwDocument doc = kind->second();
  JwwWriteOptions options;
  options.unicodeStrings = doc.version >= 700;
  JwwFileWriter writer(options);
  if (!writer.Write(argv[2], doc)) {
    std::fprintf(stderr, "%s: %s\n", argv[0], writer.Error().c_str());
    return 1;
  }
  return 0;
}
