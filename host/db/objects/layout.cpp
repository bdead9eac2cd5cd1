// LAYOUT: a model or paper space tab and its block.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbLayout, DxDbObject, "LAYOUT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbLayout> {
  static void define() {
    object<DxDbLayout>("LAYOUT",
                       {sub("AcDbPlotSettings", {}),
                        sub("AcDbLayout", {
                                              req<&DxDbLayout::m_name>(1, "name"),
                                              req<&DxDbLayout::m_layoutFlags>(70, "layout_flags"),
                                              req<&DxDbLayout::m_tabOrder>(71, "taborder"),
                                              req<&DxDbLayout::m_block>(330, "block_record"),
                                          })});
  }
};

void defineLayoutSchemas() { Access::Schemas<DxDbLayout>::define(); }

}  // namespace dx::db

ErrorStatus DxDbLayout::setLayoutName(const char* n) {
  assertWriteEnabled();
  m_name = n ? n : "";
  return Dxad::eOk;
}
ErrorStatus DxDbLayout::setBlockTableRecordId(DxDbObjectId id) {
  assertWriteEnabled();
  m_block = id;
  return Dxad::eOk;
}
