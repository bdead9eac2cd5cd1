// WIPEOUTVARIABLES: whether the drawing shows the frames of its wipeouts.
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbWipeoutVariables, DxDbObject, "WIPEOUTVARIABLES")

namespace dx::db {

template <>
struct Access::Schemas<DxDbWipeoutVariables> {
  static void define() {
    object<DxDbWipeoutVariables>(
        "WIPEOUTVARIABLES",
        {sub("AcDbWipeoutVariables", {req<&DxDbWipeoutVariables::m_frame>(70, "frame")})});
  }
};

void defineWipeoutVariablesSchemas() { Access::Schemas<DxDbWipeoutVariables>::define(); }

}  // namespace dx::db

ErrorStatus DxDbWipeoutVariables::setShowFrame(bool on) {
  assertWriteEnabled();
  m_frame = on ? 1 : 0;
  return Dxad::eOk;
}

DxDbObjectId DxDbWipeoutVariables::openOrCreate(DxDbDatabase* db) {
  return dxdbNamedObject(db, "ACAD_WIPEOUT_VARS",
                         [] { return (DxDbObject*)new DxDbWipeoutVariables(); });
}
