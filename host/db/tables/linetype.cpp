// LTYPE records: the dash pattern with its shapes and texts.
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbLinetypeTableRecord, DxDbSymbolTableRecord, "LTYPE")

namespace dx::db {

template <>
struct Access::Schemas<DxDbLinetypeTableRecord> {
  static FieldDef ltypeDashes() {
    using L = DxDbLinetypeTableRecord;
    return custom(
        49, {74, 75, 340, 46, 50, 44, 45, 9},
        [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
          auto& v = Access::self<L>(o).m_dashes;
          if (ctx.firstHit) v.clear();
          if (t.code == 49 || v.empty()) v.emplace_back();
          auto& d = v.back();
          switch (t.code) {
            case 49:
              d.length = asReal(t);
              break;
            case 74:
              d.shapeFlags = int16_t(asInt(t));
              break;
            case 75:
              d.shapeNumber = int16_t(asInt(t));
              break;
            case 340:
              d.style = t.id;
              break;
            case 46:
              d.scale = asReal(t);
              break;
            case 50:
              d.rotationRad = asReal(t) * M_PI / 180.0;
              break;
            case 44:
              d.xOffset = asReal(t);
              break;
            case 45:
              d.yOffset = asReal(t);
              break;
            case 9:
              d.text.assign(t.text.data(), t.text.size());
              break;
          }
        },
        [](const DxDbObject& o, Sink& out, int) {
          for (const auto& d : Access::self<L>(o).m_dashes) {
            out.real(49, d.length);
            out.integer(74, d.shapeFlags);
            if (d.shapeFlags & 6) {
              out.integer(75, d.shapeNumber);
              out.ref(340, d.style);
              out.real(46, d.scale);
              out.real(50, d.rotationRad * 180.0 / M_PI);
              out.real(44, d.xOffset);
              out.real(45, d.yOffset);
              if (d.shapeFlags & 2) out.str(9, d.text);
            }
          }
        },
        nullptr, "dashes");
  }

  static void define() {
    using R = DxDbSymbolTableRecord;
    {
      using L = DxDbLinetypeTableRecord;
      object<L>("LTYPE", record(sub("AcDbLinetypeTableRecord",
                                    {
                                        req<&R::m_name>(2, "name"),
                                        req<&R::m_flags>(70, "flags"),
                                        req<&L::m_description>(3, "description"),
                                        req<&L::m_alignment>(72, "alignment"),
                                        derived(73,
                                                [](const DxDbObject& o, Sink& out, int c) {
                                                  out.integer(c,
                                                              Access::self<L>(o).m_dashes.size());
                                                }),
                                        req<&L::m_patternLength>(40, "total_pattern_length"),
                                        ltypeDashes(),
                                    })));
    }
  }
};

void defineLinetypeSchemas() { Access::Schemas<DxDbLinetypeTableRecord>::define(); }

}  // namespace dx::db

ErrorStatus DxDbLinetypeTableRecord::setComments(const char* s) {
  assertWriteEnabled();
  m_description = s ? s : "";
  return Dxad::eOk;
}
ErrorStatus DxDbLinetypeTableRecord::setPatternLength(double l) {
  assertWriteEnabled();
  m_patternLength = l;
  return Dxad::eOk;
}
ErrorStatus DxDbLinetypeTableRecord::setDashes(const std::vector<Dash>& d) {
  assertWriteEnabled();
  m_dashes = d;
  double total = 0;
  for (const auto& x : d) total += std::fabs(x.length);
  m_patternLength = total;
  return Dxad::eOk;
}
