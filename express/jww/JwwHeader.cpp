#include "express/jww/JwwHeader.h"

namespace {

constexpr std::uint32_t Rgb(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  return r | (std::uint32_t{g} << 8) | (std::uint32_t{b} << 16);
}

// Pens 0..9 of a fresh drawing: background, then the colours JW_CAD users know by number.
constexpr std::uint32_t kPresetPenRgb[10] = {
    Rgb(255, 255, 255), Rgb(0, 255, 255), Rgb(0, 0, 0),     Rgb(0, 255, 0),   Rgb(255, 255, 0),
    Rgb(255, 0, 255),   Rgb(0, 0, 255),   Rgb(0, 128, 128), Rgb(255, 0, 128), Rgb(128, 128, 128)};

// Dash patterns of line types 2..9, one bit per dot, drawn from the low bit.
constexpr std::uint32_t kPresetPatterns[8] = {0xFFFF00FF, 0xFF00FF00, 0xF0F0F0F0, 0xFFF0FF00,
                                              0xFFF0F0F0, 0xFFFF0F0F, 0xCCCCCCCC, 0xFFFF3C3C};

}  // namespace

JwwHeader::JwwHeader() {
  for (std::size_t i = 0; i < 10; ++i) {
    penColors[i].rgb = kPresetPenRgb[i];
    pens[i].rgb = kPresetPenRgb[i];
  }
  for (std::size_t i = 0; i < 8; ++i) {
    lineTypes.pattern[i + 2] = kPresetPatterns[i];
    lineTypes.unit[i + 2] = 1;
    lineTypes.pitch[i + 2] = 1;
    lineTypes.printPitch[i + 2] = 1;
  }
}
