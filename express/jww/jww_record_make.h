// Small builders of records, for drawings made in code (examples, tests).
#pragma once

#include <cstdint>

#include "express/jww/jww_records.h"

namespace jwwmake {

inline JwwRecordHead Head(unsigned group, unsigned layer, unsigned style = 1, unsigned color = 1) {
  JwwRecordHead h;
  h.layerGroup = std::uint16_t(group);
  h.layer = std::uint16_t(layer);
  h.penStyle = std::uint8_t(style);
  h.penColor = std::uint16_t(color);
  return h;
}

inline JwwLine Line(JwwRecordHead h, double x1, double y1, double x2, double y2) {
  JwwLine l;
  l.head = h;
  l.startX = x1, l.startY = y1, l.endX = x2, l.endY = y2;
  return l;
}

}  // namespace jwwmake
