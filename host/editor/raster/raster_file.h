// Raster files, read with GraphicsMagick: what the host needs to know before it attaches
// one (its pixel size and resolution, from the header only), and its pixels for plots.
#pragma once

#include <string>
#include <vector>

namespace dx::ed {

struct RasterInfo {
  int width = 0, height = 0;  // pixels
  // Size of one pixel in `units` (0: the file gives no resolution, 2: cm, 5: inch).
  double pixelWidth = 1, pixelHeight = 1;
  int units = 0;
};

// False with a one-line reason (unreadable file, format no decoder knows) in error.
bool readRasterInfo(const std::string& path, RasterInfo& info, std::string& error);

// The decoded picture: rows from the top, four bytes a pixel (blue, green, red, alpha;
// alpha 255 where the file has none).
struct RasterPixels {
  int width = 0, height = 0;
  std::vector<unsigned char> bgra;
};

// False with a one-line reason in error, as readRasterInfo.
bool readRasterPixels(const std::string& path, RasterPixels& pixels, std::string& error);

}  // namespace dx::ed
