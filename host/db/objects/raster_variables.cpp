// RASTERVARIABLES: how the drawing shows its images (frame, quality, units).
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRasterVariables, DxDbObject, "RASTERVARIABLES")

namespace dx::db {

template <>
struct Access::Schemas<DxDbRasterVariables> {
  static void define() {
    using R = DxDbRasterVariables;
    object<R>("RASTERVARIABLES", {sub("AcDbRasterVariables",
                                      {
                                          req<&R::m_classVersion>(90, "class_version"),
                                          req<&R::m_frame>(70, "frame"),
                                          req<&R::m_quality>(71, "quality"),
                                          req<&R::m_units>(72, "units"),
                                      })});
  }
};

void defineRasterVariablesSchemas() { Access::Schemas<DxDbRasterVariables>::define(); }

}  // namespace dx::db

ErrorStatus DxDbRasterVariables::setImageFrame(bool on) {
  assertWriteEnabled();
  m_frame = on ? 1 : 0;
  return Dxad::eOk;
}

DxDbObjectId DxDbRasterVariables::openOrCreate(DxDbDatabase* db) {
  return dxdbNamedObject(db, "ACAD_IMAGE_VARS", [] { return (DxDbObject*)new DxDbRasterVariables(); });
}
