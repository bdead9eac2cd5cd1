// LAYER records.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbLayerTableRecord, DxDbSymbolTableRecord, "LAYER")

namespace dx::db {

template <>
struct Access::Schemas<DxDbLayerTableRecord> {
  static void define() {
    using R = DxDbSymbolTableRecord;
    {
      using L = DxDbLayerTableRecord;
      object<L>("LAYER",
                record(sub("AcDbLayerTableRecord",
                           {
                               req<&R::m_name>(2, "name"),
                               req<&R::m_flags>(70, "flags"),
                               req<&L::m_color>(62, "color"),
                               minVersion(opt<&L::m_trueColor, -1>(420, "true_color"), Ver::R2004),
                               nameRef<&L::m_linetype, Table::Linetype>(6, "linetype"),
                               minVersion(opt<&L::m_plot, true>(290, "plot"), Ver::R2000),
                               minVersion(req<&L::m_lineweight>(370, "lineweight"), Ver::R2000),
                           })));
    }
  }
};

void defineLayerSchemas() { Access::Schemas<DxDbLayerTableRecord>::define(); }

}  // namespace dx::db

void DxDbLayerTableRecord::setIsOff(bool off) {
  assertWriteEnabled();
  int16_t c = int16_t(std::abs(m_color));
  m_color = off ? int16_t(-c) : c;
}
void DxDbLayerTableRecord::setIsFrozen(bool f) {
  assertWriteEnabled();
  m_flags = int16_t(f ? (m_flags | 1) : (m_flags & ~1));
}
void DxDbLayerTableRecord::setIsLocked(bool l) {
  assertWriteEnabled();
  m_flags = int16_t(l ? (m_flags | 4) : (m_flags & ~4));
}
void DxDbLayerTableRecord::setIsPlottable(bool p) {
  assertWriteEnabled();
  m_plot = p;
}
DxCmColor DxDbLayerTableRecord::color() const {
  DxCmColor c;
  if (m_trueColor >= 0)
    c.setRGB(uint8_t(m_trueColor >> 16), uint8_t(m_trueColor >> 8), uint8_t(m_trueColor));
  else
    c.setColorIndex(int16_t(std::abs(m_color)));
  return c;
}
void DxDbLayerTableRecord::setColor(const DxCmColor& c) {
  assertWriteEnabled();
  bool off = isOff();
  int16_t idx = c.colorIndex();
  if (idx < 1 || idx > 255) idx = 7;
  m_color = off ? int16_t(-idx) : idx;
  m_trueColor = c.isByColor() ? c.rgb() : -1;
}
void DxDbLayerTableRecord::setLinetypeObjectId(DxDbObjectId id) {
  assertWriteEnabled();
  m_linetype = id;
}
void DxDbLayerTableRecord::setLineWeight(DxDb::LineWeight lw) {
  assertWriteEnabled();
  m_lineweight = int16_t(lw);
}
