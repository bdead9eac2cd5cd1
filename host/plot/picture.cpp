// Raster pictures for images: decoded by GraphicsMagick (BMP, CALS, JPEG, PNG, GIF, PCX,
// TGA, TIFF, ...) into a cairo surface.
#include <Magick++.h>

#include <cstring>
#include <mutex>

#include "host/plot/render.h"

namespace dx::plot {

cairo_surface_t* loadPicture(const std::string& path) {
  static std::once_flag init;
  std::call_once(init, [] { Magick::InitializeMagick(nullptr); });
  try {
    Magick::Image img;
    img.read(path);
    int w = int(img.columns()), h = int(img.rows());
    if (w <= 0 || h <= 0) return nullptr;
    cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
      cairo_surface_destroy(s);
      return nullptr;
    }
    // Pictures without transparency come as three channels and stand opaque.
    bool alpha = img.matte();
    int n = alpha ? 4 : 3;
    std::vector<unsigned char> px(size_t(w) * h * n);
    img.write(0, 0, w, h, alpha ? "BGRA" : "BGR", Magick::CharPixel, px.data());
    cairo_surface_flush(s);
    unsigned char* data = cairo_image_surface_get_data(s);
    int stride = cairo_image_surface_get_stride(s);
    for (int y = 0; y < h; ++y) {
      unsigned char* row = data + size_t(y) * stride;
      const unsigned char* src = px.data() + size_t(y) * w * n;
      for (int x = 0; x < w; ++x, src += n) {
        // cairo keeps colours multiplied by their alpha.
        unsigned a = alpha ? src[3] : 255;
        for (int c = 0; c < 3; ++c) row[x * 4 + c] = (unsigned char)((src[c] * a + 127) / 255);
        row[x * 4 + 3] = (unsigned char)a;
      }
    }
    cairo_surface_mark_dirty(s);
    return s;
  } catch (const std::exception&) {
    return nullptr;  // unreadable or unknown format: the image shows its frame only
  }
}

}  // namespace dx::plot
