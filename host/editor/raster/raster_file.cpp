#include "host/editor/raster/raster_file.h"

#include <Magick++.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <mutex>

namespace dx::ed {
namespace {

// Formats without a signature are only recognised by a prefix naming the coder.
std::string coderPath(const std::string& path) {
  std::string ext = std::filesystem::path(path).extension().string();
  for (char& c : ext) c = char(std::tolower(static_cast<unsigned char>(c)));
  if (ext == ".cal" || ext == ".cals") return "CALS:" + path;
  if (ext == ".tga") return "TGA:" + path;
  return path;
}

// GraphicsMagick started once, and the file there: false with the reason otherwise.
bool ready(const std::string& path, std::string& error) {
  static std::once_flag once;
  std::call_once(once, [] { Magick::InitializeMagick(nullptr); });
  std::error_code ec;
  if (std::filesystem::is_regular_file(path, ec)) return true;
  error = "file not found";
  return false;
}

// GraphicsMagick wraps the reason in its program name, the path and its source
// position; the reason alone reads best.
std::string reason(const std::exception& e) {
  std::string error = e.what();
  if (error.rfind("Magick: ", 0) == 0) error = error.substr(8);
  if (size_t p = error.find(" ("); p != std::string::npos) error.resize(p);
  if (error.empty()) error = "not an image format the host can read";
  return error;
}

}  // namespace

bool readRasterInfo(const std::string& path, RasterInfo& info, std::string& error) {
  if (!ready(path, error)) return false;
  try {
    Magick::Image img;
    img.quiet(true);
    img.ping(coderPath(path));
    info.width = int(img.columns());
    info.height = int(img.rows());
    if (info.width <= 0 || info.height <= 0) {
      error = "the image has no pixels";
      return false;
    }
    double xr = img.xResolution(), yr = img.yResolution();
    info.units = 0;
    info.pixelWidth = info.pixelHeight = 1;
    if (xr > 0 && yr > 0) {
      switch (img.resolutionUnits()) {
        case Magick::PixelsPerInchResolution: info.units = 5; break;
        case Magick::PixelsPerCentimeterResolution: info.units = 2; break;
        default: break;
      }
      if (info.units) {
        info.pixelWidth = 1.0 / xr;
        info.pixelHeight = 1.0 / yr;
      }
    }
    return true;
  } catch (const std::exception& e) {
    error = reason(e);
    return false;
  }
}

bool readRasterPixels(const std::string& path, RasterPixels& pixels, std::string& error) {
  if (!ready(path, error)) return false;
  try {
    Magick::Image img;
    img.quiet(true);
    img.read(coderPath(path));
    pixels.width = int(img.columns());
    pixels.height = int(img.rows());
    if (pixels.width <= 0 || pixels.height <= 0) {
      error = "the image has no pixels";
      return false;
    }
    const size_t n = size_t(pixels.width) * size_t(pixels.height);
    pixels.bgra.resize(n * 4);
    if (img.matte()) {
      img.write(0, 0, pixels.width, pixels.height, "BGRA", Magick::CharPixel, pixels.bgra.data());
      return true;
    }
    // Pictures without transparency come as three channels and stand opaque.
    std::vector<unsigned char> bgr(n * 3);
    img.write(0, 0, pixels.width, pixels.height, "BGR", Magick::CharPixel, bgr.data());
    for (size_t i = 0; i < n; ++i) {
      std::copy_n(&bgr[i * 3], 3, &pixels.bgra[i * 4]);
      pixels.bgra[i * 4 + 3] = 255;
    }
    return true;
  } catch (const std::exception& e) {
    error = reason(e);
    return false;
  }
}

}  // namespace dx::ed
