#include "jww_samples.h"

#include <cstdio>
#include <cstdlib>

namespace {

double Real(std::uint32_t seed, int field) { return seed * 10.25 + field * 0.5 - 3.0; }

template <class Run>
void FillRun(Run& run, std::uint32_t base) {
  for (std::size_t i = 0; i < run.words.size(); ++i) run.words[i] = base + static_cast<std::uint32_t>(i);
  for (std::size_t i = 0; i < run.reals.size(); ++i) run.reals[i] = base + i * 0.125;
}

}  // namespace

JwwRecordHead MakeHead(std::uint32_t seed) {
  JwwRecordHead h;
  h.group = seed * 3;
  h.penStyle = static_cast<std::uint8_t>(1 + seed % 9);
  h.penColor = static_cast<std::uint16_t>(1 + seed % 9);
  h.penWidth = static_cast<std::uint16_t>(seed % 5);
  h.layer = static_cast<std::uint16_t>(seed % 16);
  h.layerGroup = static_cast<std::uint16_t>((seed / 16) % 16);
  h.flags = static_cast<std::uint16_t>(seed & 0x3);
  return h;
}

JwwLine MakeLine(std::uint32_t seed) {
  JwwLine r;
  r.head = MakeHead(seed);
  r.startX = Real(seed, 1);
  r.startY = Real(seed, 2);
  r.endX = Real(seed, 3);
  r.endY = Real(seed, 4);
  return r;
}

JwwCircle MakeCircle(std::uint32_t seed) {
  JwwCircle r;
  r.head = MakeHead(seed);
  r.centerX = Real(seed, 1);
  r.centerY = Real(seed, 2);
  r.radius = 5 + seed % 7;
  r.startAngle = 0.25 * (seed % 4);
  r.arcAngle = seed % 2 ? 6.283185307179586 : -1.5;
  r.tiltAngle = 0.1 * (seed % 3);
  r.flatness = seed % 3 ? 1.0 : 0.5;
  r.fullCircle = seed % 2;
  return r;
}

JwwDot MakeDot(std::uint32_t seed, bool withSymbol) {
  JwwDot r;
  r.head = MakeHead(seed);
  r.head.penStyle = withSymbol ? kJwwSymbolPenStyle : 1;
  r.x = Real(seed, 1);
  r.y = Real(seed, 2);
  r.temporary = seed % 2;
  if (withSymbol) {
    r.symbolCode = 3 + seed % 5;
    r.rotationAngle = Real(seed, 3);
    r.scale = 1.5;
  }
  return r;
}

JwwText MakeText(std::uint32_t seed, std::string content) {
  JwwText r;
  r.head = MakeHead(seed);
  r.startX = Real(seed, 1);
  r.startY = Real(seed, 2);
  r.endX = Real(seed, 3);
  r.endY = Real(seed, 4);
  r.textKind = (seed % 4) * 10000;
  r.sizeX = 2.5;
  r.sizeY = 3.0;
  r.spacing = 0.5;
  r.angle = 30.0 * (seed % 12);
  r.fontName = seed % 2 ? "ＭＳ ゴシック" : "Arial";
  r.content = std::move(content);
  return r;
}

JwwSolid MakeSolid(std::uint32_t seed, bool withRgb) {
  JwwSolid r;
  r.head = MakeHead(seed);
  r.head.penColor = withRgb ? kJwwRgbSolidPenColor : 3;
  r.x1 = Real(seed, 1);
  r.y1 = Real(seed, 2);
  r.x2 = Real(seed, 3);
  r.y2 = Real(seed, 4);
  r.x3 = Real(seed, 5);
  r.y3 = Real(seed, 6);
  r.x4 = Real(seed, 7);
  r.y4 = Real(seed, 8);
  if (withRgb) r.rgbColor = 0x00336699u + seed;
  return r;
}

JwwMeasure MakeMeasure(std::uint32_t seed, bool extended) {
  JwwMeasure r;
  r.line = MakeLine(seed);
  r.text = MakeText(seed + 1, "1,234");
  if (extended) {
    r.sxfMode = static_cast<std::uint16_t>(1 + seed % 3);
    r.extensionLines = {MakeLine(seed + 2), MakeLine(seed + 3)};
    r.points = {MakeDot(seed + 4, false), MakeDot(seed + 5, true), MakeDot(seed + 6, false),
                MakeDot(seed + 7, true)};
  }
  return r;
}

JwwBlock MakeBlock(std::uint32_t seed, std::uint32_t blockNumber) {
  JwwBlock r;
  r.head = MakeHead(seed);
  r.refX = Real(seed, 1);
  r.refY = Real(seed, 2);
  r.scaleX = 2;
  r.scaleY = 0.5;
  r.rotation = 0.75;
  r.blockNumber = blockNumber;
  return r;
}

void FillHeader(JwwHeader& h, std::uint32_t version) {
  h.paperSize = 4;
  h.writeLayerGroup = 7;
  for (std::uint32_t g = 0; g < 16; ++g) {
    auto& group = h.layerGroups[g];
    group.state = g % 4;
    group.writeLayer = 15 - g;
    group.scale = 50.0 + g;
    group.protection = g % 3;
    for (std::uint32_t l = 0; l < 16; ++l) {
      group.layers[l].state = (g + l) % 4;
      group.layers[l].protection = (g * l) % 3;
      h.layerNames[g][l] = g % 2 ? "壁" + std::to_string(l) : "layer" + std::to_string(g * 16 + l);
    }
    h.layerGroupNames[g] = "グループ" + std::to_string(g);
  }
  FillRun(h.settingsBeforeLayerNames, 1000);
  FillRun(h.settingsAfterLayerNames, 2000);
  FillRun(h.settingsAfterLineTypes, 3000);
  FillRun(h.settingsTail, 4000);
  for (std::uint32_t i = 0; i < 10; ++i) {
    h.penColors[i] = {0x010203u * (i + 1), i + 1};
    h.pens[i].rgb = 0x030201u * (i + 1);
    h.pens[i].width = 2 * i;
    h.pens[i].dotRadius = 0.25 * i;
  }
  auto row = [&](std::size_t i) {
    h.lineTypes.pattern[i] = 0xF0F00000u + static_cast<std::uint32_t>(i);
    h.lineTypes.unit[i] = static_cast<std::uint32_t>(100 + i);
    h.lineTypes.pitch[i] = static_cast<std::uint32_t>(200 + i);
    h.lineTypes.printPitch[i] = static_cast<std::uint32_t>(300 + i);
  };
  for (std::size_t i = 2; i <= 19; ++i)
    if (i != 10) row(i);
  for (std::uint32_t i = 0; i < 5; ++i) h.lineTypes.randomExtra[i] = 500 + i;
  if (!JwwHasExtendedLayout(version)) return;
  for (std::size_t i = kJwwExtendedPenFirst; i < kJwwPenCount; ++i) {
    auto n = static_cast<std::uint32_t>(i);
    h.penColors[i] = {n * 0x10101u, n % 7};
    h.pens[i] = {"ペン" + std::to_string(i), n * 0x20202u, n % 5, n * 0.01};
  }
  for (std::size_t i = 30; i <= 62; ++i) row(i);
  for (std::uint32_t i = 0; i < 33; ++i) {
    auto& p = h.linePatterns[i];
    p.name = "pattern-" + std::to_string(i);
    p.code = 7 * i;
    for (std::size_t k = 0; k < p.lengths.size(); ++k) p.lengths[k] = i + k * 0.25;
  }
}

JwwDocument MakeEmptyDocument(std::uint32_t version) {
  JwwDocument doc;
  doc.version = version;
  return doc;
}

JwwDocument MakeSampleDocument(std::uint32_t version, bool fillHeader) {
  JwwDocument doc;
  doc.version = version;
  doc.memo = "試験用の図面\r\nsecond line";
  if (fillHeader) FillHeader(doc.header, version);
  bool ext = JwwHasExtendedLayout(version);
  JwwEntitySet& e = doc.entities;
  for (std::uint32_t i = 0; i < 3; ++i) e.lines.push_back(MakeLine(i));
  e.circles = {MakeCircle(10), MakeCircle(11)};
  e.dots = {MakeDot(20, false), MakeDot(21, true), MakeDot(22, false)};
  e.texts = {MakeText(30, "５ｍライン"), MakeText(31, "plain ASCII"),
             MakeText(32, std::string(300, 'x') + "終"), MakeText(33, "")};
  e.solids = {MakeSolid(40, true), MakeSolid(41, false)};
  e.measures = {MakeMeasure(50, ext), MakeMeasure(60, ext)};
  e.blocks = {MakeBlock(70, 1), MakeBlock(71, 4)};

  JwwBlockDef first;
  first.head = MakeHead(80);
  first.number = 1;
  first.referenced = 1;
  first.timeStamp = 0x6A850F12;
  first.name = "窓@@1";
  first.entities.lines = {MakeLine(81), MakeLine(82)};
  first.entities.texts = {MakeText(83, "部品")};
  JwwBlockDef second;
  second.head = MakeHead(90);
  second.number = 4;
  second.referenced = 1;
  second.name = "door";
  second.entities.circles = {MakeCircle(91)};
  second.entities.blocks = {MakeBlock(92, 1)};  // a nested insertion
  doc.blockDefs = {first, second};
  for (std::size_t i = 0; i < doc.blockDefs.size(); ++i) doc.IndexBlockDef(i);
  return doc;
}

std::vector<std::uint8_t> WriteOrDie(const JwwDocument& doc, JwwWriteOptions options) {
  std::vector<std::uint8_t> bytes;
  JwwFileWriter writer(options);
  if (!writer.WriteBuffer(doc, bytes)) {
    std::fprintf(stderr, "cannot write sample drawing: %s\n", writer.Error().c_str());
    std::abort();
  }
  return bytes;
}
