// APPID, UCS, VIEW and VPORT records.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRegAppTableRecord, DxDbSymbolTableRecord, "APPID")
DX_DEFINE_CONCRETE(DxDbUCSTableRecord, DxDbSymbolTableRecord, "UCS")
DX_DEFINE_CONCRETE(DxDbViewTableRecord, DxDbSymbolTableRecord, "VIEW")
DX_DEFINE_CONCRETE(DxDbViewportTableRecord, DxDbSymbolTableRecord, "VPORT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbUCSTableRecord> {
  static void define() {
    using R = DxDbSymbolTableRecord;
    object<DxDbRegAppTableRecord>(
        "APPID", record(sub("AcDbRegAppTableRecord",
                            {req<&R::m_name>(2, "name"), req<&R::m_flags>(70, "flags")})));
    {
      using U = DxDbUCSTableRecord;
      object<U>("UCS", record(sub("AcDbUCSTableRecord", {
                                                            req<&R::m_name>(2, "name"),
                                                            req<&R::m_flags>(70, "flags"),
                                                            req<&U::m_origin>(10, "origin"),
                                                            req<&U::m_x>(11, "xaxis"),
                                                            req<&U::m_y>(12, "yaxis"),
                                                        })));
    }
    object<DxDbViewTableRecord>(
        "VIEW", record(sub("AcDbViewTableRecord",
                           {req<&R::m_name>(2, "name"), req<&R::m_flags>(70, "flags")})));
    {
      using V = DxDbViewportTableRecord;
      object<V>("VPORT",
                record(sub("AcDbViewportTableRecord", {
                                                          req<&R::m_name>(2, "name"),
                                                          req<&R::m_flags>(70, "flags"),
                                                          req<&V::m_lowerLeft>(10, "lower_left"),
                                                          req<&V::m_upperRight>(11, "upper_right"),
                                                          req<&V::m_center>(12, "center"),
                                                          req<&V::m_height>(40, "height"),
                                                          req<&V::m_aspect>(41, "aspect_ratio"),
                                                      })));
    }
  }
};

void defineViewRecordsSchemas() { Access::Schemas<DxDbUCSTableRecord>::define(); }

}  // namespace dx::db

void DxDbUCSTableRecord::setOrigin(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_origin = p;
}
void DxDbUCSTableRecord::setXAxis(const DxGeVector3d& v) {
  assertWriteEnabled();
  m_x = v;
}
void DxDbUCSTableRecord::setYAxis(const DxGeVector3d& v) {
  assertWriteEnabled();
  m_y = v;
}
void DxDbViewportTableRecord::setCenterPoint(const DxGePoint2d& p) {
  assertWriteEnabled();
  m_center = p;
}
void DxDbViewportTableRecord::setHeight(double h) {
  assertWriteEnabled();
  m_height = h;
}
