#include "host/editor/raster/raster_file.h"

#include <Magick++.h>

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

}  // namespace

bool readRasterInfo(const std::string& path, RasterInfo& info, std::string& error) {
  static std::once_flag once;
  std::call_once(once, [] { Magick::InitializeMagick(nullptr); });
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) {
    error = "file not found";
    return false;
  }
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
    // GraphicsMagick wraps the reason in its program name, the path and its source
    // position; the reason alone reads best.
    error = e.what();
    if (error.rfind("Magick: ", 0) == 0) error = error.substr(8);
    if (size_t p = error.find(" ("); p != std::string::npos) error.resize(p);
    if (error.empty()) error = "not an image format the host can read";
    return false;
  }
}

}  // namespace dx::ed
