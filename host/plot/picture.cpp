// Raster pictures for images: the host's raster reader decodes the file, cairo keeps
// the pixels with their colours multiplied by their alpha.
#include "host/editor/raster/raster_file.h"
#include "host/plot/render.h"

namespace dx::plot {

cairo_surface_t* loadPicture(const std::string& path) {
  dx::ed::RasterPixels px;
  std::string error;
  if (!dx::ed::readRasterPixels(path, px, error)) return nullptr;  // the image shows its frame only
  cairo_surface_t* s = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, px.width, px.height);
  if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(s);
    return nullptr;
  }
  cairo_surface_flush(s);
  unsigned char* data = cairo_image_surface_get_data(s);
  const int stride = cairo_image_surface_get_stride(s);
  for (int y = 0; y < px.height; ++y) {
    unsigned char* row = data + size_t(y) * size_t(stride);
    const unsigned char* src = px.bgra.data() + size_t(y) * size_t(px.width) * 4;
    for (int x = 0; x < px.width; ++x, src += 4) {
      const unsigned a = src[3];
      for (int c = 0; c < 3; ++c) row[x * 4 + c] = static_cast<unsigned char>((src[c] * a + 127) / 255);
      row[x * 4 + 3] = static_cast<unsigned char>(a);
    }
  }
  cairo_surface_mark_dirty(s);
  return s;
}

}  // namespace dx::plot
