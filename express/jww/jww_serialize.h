#pragma once
// One description of the file layout of the header and of every record body, used by
// both the reader and the writer. An archive provides Io() for std::uint8_t,
// std::uint16_t, std::uint32_t, double and std::string (reading into or writing from
// the reference), and Extended() telling whether the version has the 420 layout.
// The record arguments are templates so that the writer can pass const records; the
// functions are constexpr so that the size of a record can be counted at compile time.

#include <type_traits>

#include "express/jww/jww_header.h"
#include "express/jww/jww_records.h"

namespace jww_detail {

template <class R, class T>
concept RecordOf = std::is_same_v<std::remove_const_t<R>, T>;

template <class Ar, class Run>
constexpr void SerializeRun(Ar& ar, Run& run) {
  std::size_t w = 0, d = 0;
  for (char c : std::remove_const_t<Run>::kLayout) {
    if (c == 'w')
      ar.Io(run.words[w++]);
    else
      ar.Io(run.reals[d++]);
  }
}

template <class Ar, class R>
  requires RecordOf<R, JwwRecordHead>
constexpr void Serialize(Ar& ar, R& h) {
  ar.Io(h.group);
  ar.Io(h.penStyle);
  ar.Io(h.penColor);
  ar.Io(h.penWidth);
  ar.Io(h.layer);
  ar.Io(h.layerGroup);
  ar.Io(h.flags);
}

template <class Ar, class R>
  requires RecordOf<R, JwwLine>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.startX);
  ar.Io(r.startY);
  ar.Io(r.endX);
  ar.Io(r.endY);
}

template <class Ar, class R>
  requires RecordOf<R, JwwCircle>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.centerX);
  ar.Io(r.centerY);
  ar.Io(r.radius);
  ar.Io(r.startAngle);
  ar.Io(r.arcAngle);
  ar.Io(r.tiltAngle);
  ar.Io(r.flatness);
  ar.Io(r.fullCircle);
}

template <class Ar, class R>
  requires RecordOf<R, JwwDot>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.x);
  ar.Io(r.y);
  ar.Io(r.temporary);
  if (r.head.penStyle == kJwwSymbolPenStyle) {
    ar.Io(r.symbolCode);
    ar.Io(r.rotationAngle);
    ar.Io(r.scale);
  }
}

template <class Ar, class R>
  requires RecordOf<R, JwwText>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.startX);
  ar.Io(r.startY);
  ar.Io(r.endX);
  ar.Io(r.endY);
  ar.Io(r.textKind);
  ar.Io(r.sizeX);
  ar.Io(r.sizeY);
  ar.Io(r.spacing);
  ar.Io(r.angle);
  ar.Io(r.fontName);
  ar.Io(r.content);
}

template <class Ar, class R>
  requires RecordOf<R, JwwSolid>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.x1);
  ar.Io(r.y1);
  ar.Io(r.x2);
  ar.Io(r.y2);
  ar.Io(r.x3);
  ar.Io(r.y3);
  ar.Io(r.x4);
  ar.Io(r.y4);
  if (r.head.penColor == kJwwRgbSolidPenColor) ar.Io(r.rgbColor);
}

// The parts of a dimension carry no class tag: they are stored inline.
template <class Ar, class R>
  requires RecordOf<R, JwwMeasure>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.line);
  Serialize(ar, r.text);
  if (!ar.Extended()) return;
  ar.Io(r.sxfMode);
  for (auto& line : r.extensionLines) Serialize(ar, line);
  for (auto& dot : r.points) Serialize(ar, dot);
}

template <class Ar, class R>
  requires RecordOf<R, JwwBlock>
constexpr void Serialize(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.refX);
  ar.Io(r.refY);
  ar.Io(r.scaleX);
  ar.Io(r.scaleY);
  ar.Io(r.rotation);
  ar.Io(r.blockNumber);
}

// A block definition up to its own object list.
template <class Ar, class R>
  requires RecordOf<R, JwwBlockDef>
constexpr void SerializeBlockDefHead(Ar& ar, R& r) {
  Serialize(ar, r.head);
  ar.Io(r.number);
  ar.Io(r.referenced);
  ar.Io(r.timeStamp);
  ar.Io(r.name);
}

template <class Ar, class T>
constexpr void SerializeLineTypeRow(Ar& ar, T& table, std::size_t i) {
  ar.Io(table.pattern[i]);
  ar.Io(table.unit[i]);
  ar.Io(table.pitch[i]);
  ar.Io(table.printPitch[i]);
}

template <class Ar, class H>
  requires RecordOf<H, JwwHeader>
constexpr void Serialize(Ar& ar, H& h) {
  ar.Io(h.paperSize);
  ar.Io(h.writeLayerGroup);
  for (auto& g : h.layerGroups) {
    ar.Io(g.state);
    ar.Io(g.writeLayer);
    ar.Io(g.scale);
    ar.Io(g.protection);
    for (auto& l : g.layers) {
      ar.Io(l.state);
      ar.Io(l.protection);
    }
  }
  SerializeRun(ar, h.settingsBeforeLayerNames);
  for (auto& group : h.layerNames)
    for (auto& name : group) ar.Io(name);
  for (auto& name : h.layerGroupNames) ar.Io(name);
  SerializeRun(ar, h.settingsAfterLayerNames);
  for (std::size_t i = 0; i < 10; ++i) {
    ar.Io(h.penColors[i].rgb);
    ar.Io(h.penColors[i].width);
  }
  for (std::size_t i = 0; i < 10; ++i) {
    ar.Io(h.pens[i].rgb);
    ar.Io(h.pens[i].width);
    ar.Io(h.pens[i].dotRadius);
  }
  auto& types = h.lineTypes;
  for (std::size_t i = 2; i <= 9; ++i) SerializeLineTypeRow(ar, types, i);
  for (std::size_t i = 11; i <= 15; ++i) {
    SerializeLineTypeRow(ar, types, i);
    ar.Io(types.randomExtra[i - 11]);
  }
  for (std::size_t i = 16; i <= 19; ++i) SerializeLineTypeRow(ar, types, i);
  SerializeRun(ar, h.settingsAfterLineTypes);
  if (ar.Extended()) {
    for (std::size_t i = kJwwExtendedPenFirst; i < kJwwPenCount; ++i) {
      ar.Io(h.penColors[i].rgb);
      ar.Io(h.penColors[i].width);
    }
    for (std::size_t i = kJwwExtendedPenFirst; i < kJwwPenCount; ++i) {
      ar.Io(h.pens[i].name);
      ar.Io(h.pens[i].rgb);
      ar.Io(h.pens[i].width);
      ar.Io(h.pens[i].dotRadius);
    }
    for (std::size_t i = 30; i <= 62; ++i) SerializeLineTypeRow(ar, types, i);
    for (auto& p : h.linePatterns) {
      ar.Io(p.name);
      ar.Io(p.code);
      for (auto& v : p.lengths) ar.Io(v);
    }
  }
  SerializeRun(ar, h.settingsTail);
}

}  // namespace jww_detail
