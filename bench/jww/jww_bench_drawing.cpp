#include "bench/jww/jww_bench_drawing.h"

#include <string>
#include <utility>

namespace {

JwwRecordHead Head(std::uint32_t i) {
  JwwRecordHead h;
  h.group = i % 97;
  h.penStyle = static_cast<std::uint8_t>(1 + i % 9);
  h.penColor = static_cast<std::uint16_t>(1 + i % 9);
  h.layer = static_cast<std::uint16_t>(i % 16);
  h.layerGroup = static_cast<std::uint16_t>((i / 16) % 16);
  return h;
}

const char* const kJapanese[] = {"５ｍライン", "道路中心線", "日影規制をクリアーした。", "ﾊﾟﾗﾍﾟｯﾄ", "真北"};

// A drawing of every record kind in the proportions of a real plan: mostly lines,
// then texts and arcs, some points, solids, insertions and dimensions, and block
// definitions holding a few records each.
}  // namespace

JwwDocument MakeBenchDrawing(std::size_t records) {
  JwwDocument doc;
  doc.version = 600;
  doc.memo = "ベンチマーク用の図面";
  JwwEntitySet& e = doc.entities;
  e.lines.reserve(records * 45 / 100);
  std::uint32_t n = 0;
  auto d = [&](int k) { return n * 0.001 + k; };
  auto line = [&](int k) {
    JwwLine l;
    l.head = Head(n);
    l.startX = d(k);
    l.startY = d(k + 1);
    l.endX = d(k + 2);
    l.endY = d(k + 3);
    return l;
  };
  auto text = [&](std::string font, std::string content) {
    JwwText t;
    t.head = Head(n);
    t.startX = d(1);
    t.startY = d(2);
    t.endX = d(3);
    t.endY = d(4);
    t.textKind = 10000 * (n % 4);
    t.sizeX = t.sizeY = 3;
    t.fontName = std::move(font);
    t.content = std::move(content);
    return t;
  };
  auto dot = [&](bool symbol) {
    JwwDot p;
    p.head = Head(n);
    p.x = d(1);
    p.y = d(2);
    if (symbol) {
      p.head.penStyle = kJwwSymbolPenStyle;
      p.symbolCode = 3;
      p.scale = 1;
    }
    return p;
  };
  for (std::size_t i = 0; i < records; ++i, ++n) {
    std::size_t slot = i % 100;
    if (slot < 45) {
      e.lines.push_back(line(1));
    } else if (slot < 60) {
      JwwCircle c;
      c.head = Head(n);
      c.centerX = d(1);
      c.centerY = d(2);
      c.radius = 5;
      c.arcAngle = 3.14;
      c.flatness = slot % 2 ? 1.0 : 0.6;
      c.fullCircle = slot % 3 == 0;
      e.circles.push_back(c);
    } else if (slot < 70) {
      e.dots.push_back(dot(slot % 4 == 0));
    } else if (slot < 85) {
      e.texts.push_back(text(slot % 2 ? "ＭＳ ゴシック" : "Arial",
                             slot % 3 ? "W" + std::to_string(n) + " x " + std::to_string(slot)
                                      : kJapanese[n % 5]));
    } else if (slot < 93) {
      JwwSolid s;
      s.head = Head(n);
      // A rectangle: corners on one line would fill nothing.
      s.x1 = d(1), s.y1 = d(2), s.x2 = d(3), s.y2 = d(2);
      s.x3 = d(3), s.y3 = d(4), s.x4 = d(1), s.y4 = d(4);
      if (slot % 2) {
        s.head.penColor = kJwwRgbSolidPenColor;
        s.rgbColor = 0x336699;
      }
      e.solids.push_back(s);
    } else if (slot < 98) {
      JwwBlock b;
      b.head = Head(n);
      b.refX = d(1);
      b.refY = d(2);
      b.blockNumber = n % 100;
      e.blocks.push_back(b);
    } else {
      JwwMeasure m;
      m.line = line(1);
      m.text = text("ＭＳ ゴシック", std::to_string(n));
      m.sxfMode = 1;
      m.extensionLines = {line(5), line(9)};
      for (auto& p : m.points) p = dot(false);
      e.measures.push_back(std::move(m));
    }
  }
  for (std::uint32_t b = 0; b < 100; ++b) {
    JwwBlockDef def;
    def.number = b;
    def.name = "部品" + std::to_string(b);
    for (int k = 0; k < 20; ++k, ++n) def.entities.lines.push_back(line(1));
    doc.blockDefs.push_back(std::move(def));
  }
  return doc;
}

