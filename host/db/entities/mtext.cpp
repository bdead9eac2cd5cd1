// MTEXT: multiline text with its formatting codes kept in the contents.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/entities/text_layout.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbMText, DxDbEntity, "MTEXT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbMText> {
  static SubclassDef own() {
    using M = DxDbMText;
    SubclassDef s = sub("AcDbMText",
                     {
                         req<&M::m_location>(10, "insert"),
                         req<&M::m_height>(40, "char_height"),
                         FieldDef([] {
                           FieldDef f = req<&M::m_width>(41, "width");
                           f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
                             auto& m = Access::self<M>(o);
                             m.m_width = asReal(t);
                             m.m_hasWidth = true;
                           };
                           f.isDefault = [](const DxDbObject& o) {
                             const auto& m = Access::self<M>(o);
                             return !m.m_hasWidth && m.m_width == 0;
                           };
                           return f;
                         }()),
                         req<&M::m_attach>(71, "attachment_point"),
                         req<&M::m_flow>(72, "flow_direction"),
                         custom(
                             3, {1},
                             [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                               auto& m = Access::self<M>(o);
                               if (ctx.firstHit) m.m_contents.clear();
                               m.m_contents.append(t.text.data(), t.text.size());
                             },
                             [](const DxDbObject& o, Sink& out, int) {
                               // Chunks of at most 250 bytes, cut between characters.
                               std::string_view s = Access::self<M>(o).m_contents;
                               while (s.size() > 250) {
                                 size_t n = 250;
                                 while (n > 0 && (uint8_t(s[n]) & 0xC0) == 0x80) --n;
                                 out.str(3, s.substr(0, n));
                                 s.remove_prefix(n);
                               }
                               out.str(1, s);
                             },
                             nullptr, "text"),
                         nameRef<&M::m_style, Table::Style>(7, "style", true),
                         normal<&M::m_normal>(),
                         FieldDef([] {
                           FieldDef f = req<&M::m_xdir>(11, "text_direction");
                           f.isDefault = [](const DxDbObject& o) {
                             return Access::self<M>(o).m_hasRotation;
                           };
                           return f;
                         }()),
                         custom(
                             50, {},
                             [](DxDbObject& o, const InTag& t, LoadContext&) {
                               auto& m = Access::self<M>(o);
                               m.m_rotationRad = asReal(t);
                               m.m_hasRotation = true;
                             },
                             [](const DxDbObject& o, Sink& out, int c) {
                               out.real(c, Access::self<M>(o).m_rotationRad);
                             },
                             [](const DxDbObject& o) { return !Access::self<M>(o).m_hasRotation; },
                             "rotation"),
                         opt<&M::m_lsStyle, 1>(73, "line_spacing_style"),
                         opt<&M::m_lsFactor, 1>(44, "line_spacing_factor"),
                     });
    // The file gives the rotation (and any other angle) of a multiline text in radians.
    for (FieldDef& f : s.fields) f.angles = AngleUnit::Radians;
    return s;
  }

  static void define() {
    ClassSchema* sc = entity<DxDbMText>("MTEXT", {own()});
    sc->angles = AngleUnit::Radians;
  }
};

SubclassDef mtextSubclass() { return Access::Schemas<DxDbMText>::own(); }

void defineMTextSchemas() { Access::Schemas<DxDbMText>::define(); }

}  // namespace dx::db

DX_SETTER(DxDbMText, setLocation, const DxGePoint3d&, m_location)
ErrorStatus DxDbMText::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
DxGeVector3d DxDbMText::direction() const {
  if (m_hasRotation) {
    DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
    return toW * DxGeVector3d(std::cos(m_rotationRad), std::sin(m_rotationRad), 0);
  }
  return m_xdir;
}
ErrorStatus DxDbMText::setDirection(const DxGeVector3d& d) {
  if (d.isZeroLength()) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_xdir = d.normal();
  m_hasRotation = false;
  return Dxad::eOk;
}
double DxDbMText::rotation() const {
  DxGeVector3d d = DxGeMatrix3d::worldToPlane(m_normal) * direction();
  double a = std::atan2(d.y, d.x);
  return a < 0 ? a + 2 * M_PI : a;
}
ErrorStatus DxDbMText::setRotation(double r) {
  assertWriteEnabled();
  m_xdir = DxGeMatrix3d::planeToWorld(m_normal) * DxGeVector3d(std::cos(r), std::sin(r), 0);
  m_hasRotation = false;
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setWidth(double w) {
  if (w < 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_width = w;
  m_hasWidth = true;
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setTextHeight(double h) {
  if (h <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_height = h;
  return Dxad::eOk;
}
DX_SETTER(DxDbMText, setTextStyle, DxDbObjectId, m_style)
ErrorStatus DxDbMText::setAttachment(AttachmentPoint a) {
  if (a < kTopLeft || a > kBottomRight) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_attach = int16_t(a);
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setFlowDirection(FlowDirection f) {
  assertWriteEnabled();
  m_flow = int16_t(f);
  return Dxad::eOk;
}
ErrorStatus DxDbMText::setContents(const char* s) {
  assertWriteEnabled();
  m_contents = s ? s : "";
  return Dxad::eOk;
}
ErrorStatus DxDbMText::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  dx::text::Layout layout;
  layoutOf(*this, layout);
  if (layout.extents(a, b)) return Dxad::eOk;
  a = b = m_location;
  return Dxad::eOk;
}
ErrorStatus DxDbMText::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeVector3d d = m * direction();
  DxGeVector3d up = m * m_normal.crossProduct(direction().normal());
  m_location = m * m_location;
  m_normal = d.crossProduct(up).normal();
  double s = d.length();
  m_xdir = d.normal();
  m_hasRotation = false;
  m_height *= up.length();
  m_width *= s;
  return Dxad::eOk;
}
