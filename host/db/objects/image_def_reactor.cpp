// IMAGEDEF_REACTOR: the link from an image definition back to one image that shows it.
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRasterImageDefReactor, DxDbObject, "IMAGEDEF_REACTOR")

namespace dx::db {

template <>
struct Access::Schemas<DxDbRasterImageDefReactor> {
  static void define() {
    using R = DxDbRasterImageDefReactor;
    object<R>("IMAGEDEF_REACTOR", {sub("AcDbRasterImageDefReactor",
                                       {
                                           req<&R::m_classVersion>(90, "class_version"),
                                           req<&R::m_image>(330, "image"),
                                       })});
  }
};

void defineImageDefReactorSchemas() { Access::Schemas<DxDbRasterImageDefReactor>::define(); }

}  // namespace dx::db

ErrorStatus DxDbRasterImageDefReactor::setImageId(DxDbObjectId id) {
  assertWriteEnabled();
  m_image = id;
  return Dxad::eOk;
}
