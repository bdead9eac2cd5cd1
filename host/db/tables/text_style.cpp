// STYLE records: fonts, height, width and obliquing.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbTextStyleTableRecord, DxDbSymbolTableRecord, "STYLE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbTextStyleTableRecord> {
  static void define() {
    using R = DxDbSymbolTableRecord;
    {
      using S = DxDbTextStyleTableRecord;
      object<S>("STYLE", record(sub("AcDbTextStyleTableRecord",
                                    {
                                        req<&R::m_name>(2, "name"),
                                        req<&R::m_flags>(70, "flags"),
                                        req<&S::m_fixedHeight>(40, "height"),
                                        req<&S::m_widthFactor>(41, "width"),
                                        req<&S::m_obliqueDeg>(50, "oblique"),
                                        req<&S::m_genFlags>(71, "generation_flags"),
                                        req<&S::m_lastHeight>(42, "last_height"),
                                        req<&S::m_font>(3, "font"),
                                        req<&S::m_bigFont>(4, "bigfont"),
                                    })));
    }
  }
};

void defineTextStyleSchemas() { Access::Schemas<DxDbTextStyleTableRecord>::define(); }

}  // namespace dx::db

ErrorStatus DxDbTextStyleTableRecord::setFileName(const char* f) {
  assertWriteEnabled();
  m_font = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setBigFontFileName(const char* f) {
  assertWriteEnabled();
  m_bigFont = f ? f : "";
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setTextSize(double h) {
  if (h < 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_fixedHeight = h;
  return Dxad::eOk;
}
ErrorStatus DxDbTextStyleTableRecord::setXScale(double w) {
  if (w <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_widthFactor = w;
  return Dxad::eOk;
}
double DxDbTextStyleTableRecord::obliquingAngle() const { return m_obliqueDeg * M_PI / 180.0; }
ErrorStatus DxDbTextStyleTableRecord::setObliquingAngle(double r) {
  assertWriteEnabled();
  m_obliqueDeg = r * 180.0 / M_PI;
  return Dxad::eOk;
}
std::string DxDbTextStyleTableRecord::fontFamily() const {
  if (!m_extras) return "";
  bool acad = false;
  for (const auto& t : m_extras->xdata) {
    if (t.code == 1001)
      acad = t.s == "ACAD";
    else if (acad && t.code == 1000)
      return t.s;
  }
  return "";
}
