// Objects of classes the host does not model: kept whole and written back unchanged.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbUnknownObject, DxDbObject, "")

namespace dx::db {

template <>
struct Access::Schemas<DxDbUnknownObject> {
  static void define() { object<DxDbUnknownObject>("", {}, false); }
};

void defineUnknownObjectSchemas() { Access::Schemas<DxDbUnknownObject>::define(); }

}  // namespace dx::db
