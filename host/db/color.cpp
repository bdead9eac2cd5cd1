// Colours: colour indexes, true colours and the index palette.
#include <array>
#include <cmath>

#include "hostapi/db.h"

namespace {
// The 256-entry index palette: 1-9 fixed colours, 10-249 24 hues in 10 shades (full and
// half saturation at five brightness levels), 250-255 greys.
std::array<uint32_t, 256> buildPalette() {
  std::array<uint32_t, 256> p{};
  auto rgb = [](int r, int g, int b) { return uint32_t((r << 16) | (g << 8) | b); };
  p[0] = rgb(0, 0, 0);
  p[1] = rgb(255, 0, 0);
  p[2] = rgb(255, 255, 0);
  p[3] = rgb(0, 255, 0);
  p[4] = rgb(0, 255, 255);
  p[5] = rgb(0, 0, 255);
  p[6] = rgb(255, 0, 255);
  p[7] = rgb(255, 255, 255);
  p[8] = rgb(128, 128, 128);
  p[9] = rgb(192, 192, 192);
  static const int value[10] = {255, 255, 204, 204, 153, 153, 127, 127, 76, 76};
  for (int i = 10; i < 250; ++i) {
    double h = ((i - 10) / 10) * 15.0;
    double v = value[i % 10] / 255.0;
    double s = (i % 2) ? 0.5 : 1.0;
    double c = v * s, hp = h / 60.0, x = c * (1 - std::fabs(std::fmod(hp, 2.0) - 1)), m = v - c;
    double r = 0, g = 0, b = 0;
    if (hp < 1) r = c, g = x;
    else if (hp < 2) r = x, g = c;
    else if (hp < 3) g = c, b = x;
    else if (hp < 4) g = x, b = c;
    else if (hp < 5) r = x, b = c;
    else r = c, b = x;
    auto level = [](double x) { return int(std::floor(x * 255 + 1e-6)); };
    p[size_t(i)] = rgb(level(r + m), level(g + m), level(b + m));
  }
  static const int grey[6] = {51, 91, 132, 173, 214, 255};
  for (int i = 0; i < 6; ++i) p[size_t(250 + i)] = rgb(grey[i], grey[i], grey[i]);
  return p;
}
const std::array<uint32_t, 256>& palette() {
  static const auto p = buildPalette();
  return p;
}
}  // namespace

uint32_t DxCmColor::paletteRGB(int16_t index) {
  if (index < 0 || index > 255) return 0xFFFFFF;
  return palette()[size_t(index)];
}

int16_t DxCmColor::nearestIndex(uint8_t r, uint8_t g, uint8_t b) {
  int best = 7;
  long bestD = -1;
  for (int i = 1; i < 256; ++i) {
    uint32_t c = palette()[size_t(i)];
    long dr = long((c >> 16) & 0xFF) - r, dg = long((c >> 8) & 0xFF) - g, db = long(c & 0xFF) - b;
    long d = dr * dr + dg * dg + db * db;
    if (bestD < 0 || d < bestD) {
      bestD = d;
      best = i;
      if (d == 0) break;
    }
  }
  return int16_t(best);
}

DxCmColor DxCmColor::byACI(int16_t index) {
  DxCmColor c;
  c.setColorIndex(index);
  return c;
}

int16_t DxCmColor::colorIndex() const {
  switch (m_method) {
    case kByLayer: return 256;
    case kByBlock: return 0;
    case kForeground: return 7;
    case kByColor:
      return m_index > 0 && m_index < 256
                 ? m_index
                 : nearestIndex(uint8_t(m_rgb >> 16), uint8_t(m_rgb >> 8), uint8_t(m_rgb));
    default: return m_index;
  }
}

Dxad::ErrorStatus DxCmColor::setColorIndex(int16_t index) {
  if (index < 0 || index > 257) return Dxad::eInvalidInput;
  m_rgb = 0;
  if (index == 256) {
    m_method = kByLayer;
    m_index = 256;
  } else if (index == 0) {
    m_method = kByBlock;
    m_index = 0;
  } else if (index == 257) {
    m_method = kNone;
    m_index = 257;
  } else {
    m_method = kByACI;
    m_index = index;
  }
  return Dxad::eOk;
}

Dxad::ErrorStatus DxCmColor::setRGB(uint8_t r, uint8_t g, uint8_t b) {
  m_method = kByColor;
  m_rgb = (uint32_t(r) << 16) | (uint32_t(g) << 8) | b;
  m_index = nearestIndex(r, g, b);
  return Dxad::eOk;
}

uint8_t DxCmColor::red() const {
  return m_method == kByColor ? uint8_t(m_rgb >> 16) : uint8_t(paletteRGB(colorIndex()) >> 16);
}
uint8_t DxCmColor::green() const {
  return m_method == kByColor ? uint8_t(m_rgb >> 8) : uint8_t(paletteRGB(colorIndex()) >> 8);
}
uint8_t DxCmColor::blue() const {
  return m_method == kByColor ? uint8_t(m_rgb) : uint8_t(paletteRGB(colorIndex()));
}
