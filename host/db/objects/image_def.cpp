// IMAGEDEF: the image file an IMAGE shows.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRasterImageDef, DxDbObject, "IMAGEDEF")

namespace dx::db {

template <>
struct Access::Schemas<DxDbRasterImageDef> {
  static void define() {
    object<DxDbRasterImageDef>(
        "IMAGEDEF", {sub("AcDbRasterImageDef",
                         {
                             req<&DxDbRasterImageDef::m_classVersion>(90, "class_version"),
                             req<&DxDbRasterImageDef::m_file>(1, "filename"),
                             req<&DxDbRasterImageDef::m_size>(10, "image_size"),
                             req<&DxDbRasterImageDef::m_pixelSize>(11, "pixel_size"),
                             req<&DxDbRasterImageDef::m_loaded>(280, "loaded"),
                             req<&DxDbRasterImageDef::m_resUnits>(281, "resolution_units"),
                         })});
  }
};

void defineImageDefSchemas() { Access::Schemas<DxDbRasterImageDef>::define(); }

}  // namespace dx::db

ErrorStatus DxDbRasterImageDef::setSourceFileName(const char* f) {
  assertWriteEnabled();
  m_file = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImageDef::load() {
  m_loaded = 1;
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImageDef::setResolution(const DxGeVector2d& pixelSize, int units) {
  if (pixelSize.x <= 0 || pixelSize.y <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_pixelSize = pixelSize;
  m_resUnits = int16_t(units);
  return Dxad::eOk;
}
