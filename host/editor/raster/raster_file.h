// What the host needs to know of a raster file before it attaches it: its pixel size
// and resolution, read with GraphicsMagick (only the header is read).
#pragma once

#include <string>

namespace dx::ed {

struct RasterInfo {
  int width = 0, height = 0;  // pixels
  // Size of one pixel in `units` (0: the file gives no resolution, 2: cm, 5: inch).
  double pixelWidth = 1, pixelHeight = 1;
  int units = 0;
};

// False with a one-line reason (unreadable file, format no decoder knows) in error.
bool readRasterInfo(const std::string& path, RasterInfo& info, std::string& error);

}  // namespace dx::ed
