#include "express/jww/jww_header.h"

namespace {

struct PresetPen {
  std::uint32_t screenRgb, screenWidth, printRgb, printWidth;
  double dotRadius;
};

// Pens 0..9 of a fresh drawing, as JW_CAD presets them: 0 is the background, then
// light blue, black, green, yellow, magenta, blue, dark cyan, deep pink and grey.
constexpr PresetPen kPresetPens[10] = {
    {0xFFFFFF, 1, 0xFFFFFF, 1, 1.0}, {0xC0C000, 1, 0xFFFF00, 1, 0.2},
    {0x000000, 1, 0x000000, 2, 0.3}, {0x00C000, 1, 0x00FF00, 3, 0.4},
    {0x00C0C0, 1, 0x00FFFF, 4, 0.5}, {0xC000C0, 1, 0xFF00FF, 5, 0.5},
    {0xFF0000, 2, 0xFF0000, 6, 0.5}, {0x808000, 3, 0x808000, 7, 0.5},
    {0x8000FF, 5, 0x0000FF, 8, 0.5}, {0xC0C0C0, 1, 0xC0C0C0, 1, 1.0}};

// Line types 2..9: dash pattern (one bit per dot), dots per bit, pitch, print pitch.
struct PresetLineType {
  std::uint32_t pattern, unit, pitch, printPitch;
};
constexpr PresetLineType kPresetLineTypes[8] = {
    {0x99999999, 4, 1, 10},  {0xC3C3C3C3, 8, 1, 10}, {0xE7E7E7E7, 8, 1, 10},
    {0xF99FF99F, 16, 1, 10}, {0xFFF99FFF, 32, 1, 10}, {0xF24FF24F, 16, 1, 10},
    {0xFFF24FFF, 32, 1, 10}, {0x22222222, 4, 1, 10}};

}  // namespace

JwwHeader::JwwHeader() {
  for (std::size_t i = 0; i < 10; ++i) {
    const PresetPen& p = kPresetPens[i];
    penColors[i] = {p.screenRgb, p.screenWidth};
    pens[i].rgb = p.printRgb;
    pens[i].width = p.printWidth;
    pens[i].dotRadius = p.dotRadius;
  }
  for (std::size_t i = 0; i < 8; ++i) {
    const PresetLineType& t = kPresetLineTypes[i];
    lineTypes.pattern[i + 2] = t.pattern;
    lineTypes.unit[i + 2] = t.unit;
    lineTypes.pitch[i + 2] = t.pitch;
    lineTypes.printPitch[i + 2] = t.printPitch;
  }
}
