// TEXT and the attribute definitions and attributes built on it.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/entities/text_layout.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbText, DxDbEntity, "TEXT")
DX_DEFINE_CONCRETE(DxDbAttributeDefinition, DxDbText, "ATTDEF")
DX_DEFINE_CONCRETE(DxDbAttribute, DxDbText, "ATTRIB")

namespace dx::db {

template <>
struct Access::Schemas<DxDbText> {
  static SubclassDef textFirstSub() {
    using T = DxDbText;
    return sub("AcDbText", {
                               opt<&T::m_thickness, 0>(39, "thickness"),
                               req<&T::m_pos>(10, "position"),
                               req<&T::m_height>(40, "height"),
                               req<&T::m_text>(1, "text"),
                               opt<&T::m_rotationDeg, 0>(50, "rotation"),
                               opt<&T::m_widthFactor, 1>(41, "width"),
                               opt<&T::m_obliqueDeg, 0>(51, "oblique"),
                               nameRef<&T::m_style, Table::Style>(7, "style", true),
                               opt<&T::m_genFlags, 0>(71, "generation"),
                               opt<&T::m_hmode, 0>(72, "halign"),
                               FieldDef([] {
                                 FieldDef f = req<&T::m_align>(11, "align_point");
                                 f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
                                   auto& x = Access::self<DxDbText>(o);
                                   setValue(x.m_align, t);
                                   x.m_hasAlign = true;
                                 };
                                 f.isDefault = [](const DxDbObject& o) {
                                   const auto& t = Access::self<DxDbText>(o);
                                   return t.m_hmode == 0 && t.m_vmode == 0 && !t.m_hasAlign;
                                 };
                                 return f;
                               }()),
                               normal<&T::m_normal>(),
                           });
  }

  // A multiline attribute or definition carries a multiline text of its own after the
  // attribute's groups: the groups of a multiline text's subclass behind a 101 marker.
  static SubclassDef embeddedText() {
    SubclassDef s = mtextSubclass();
    s.marker = "Embedded Object";
    s.markerCode = 101;
    s.minVer = Ver::R2007;  // multiline attributes came with AC1021
    // Writers leave the direction out of an embedded text that runs along the x axis.
    for (FieldDef& f : s.fields)
      if (f.code == 11)
        f.isDefault = [](const DxDbObject& o) {
          const auto& m = Access::self<DxDbMText>(o);
          return m.m_hasRotation || m.m_xdir == DxGeVector3d(1, 0, 0);
        };
    s.part = [](const DxDbObject& o, bool make) -> DxDbObject* {
      auto& self = const_cast<DxDbObject&>(o);
      if (!make) {
        const ObjectExtras* ex = Access::extras(o);
        return ex ? ex->embedded.obj.get() : nullptr;
      }
      auto& carried = Access::extrasMut(self).embedded.obj;
      if (!carried) carried = std::make_unique<DxDbMText>();
      return carried.get();
    };
    return s;
  }

  static void define() {
    entity<DxDbText>("TEXT",
                     {textFirstSub(), sub("AcDbText", {opt<&DxDbText::m_vmode, 0>(73, "valign")})});
    entity<DxDbAttributeDefinition>(
        "ATTDEF", {textFirstSub(),
                   sub("AcDbAttributeDefinition",
                       {
                           req<&DxDbAttributeDefinition::m_prompt>(3, "prompt"),
                           req<&DxDbAttributeDefinition::m_tag>(2, "tag"),
                           req<&DxDbAttributeDefinition::m_attFlags>(70, "flags"),
                           opt<&DxDbAttributeDefinition::m_fieldLength, 0>(73, "field_length"),
                           opt<&DxDbText::m_vmode, 0>(74, "valign"),
                           keep(71, "attribute_type"),
                           keep(72),
                       }),
                   embeddedText()});
    entity<DxDbAttribute>(
        "ATTRIB",
        {textFirstSub(),
         sub("AcDbAttribute", {
                                  req<&DxDbAttribute::m_tag>(2, "tag"),
                                  req<&DxDbAttribute::m_attFlags>(70, "flags"),
                                  opt<&DxDbAttribute::m_fieldLength, 0>(73, "field_length"),
                                  opt<&DxDbText::m_vmode, 0>(74, "valign"),
                                  keep(71, "attribute_type"),
                                  keep(72),
                              }),
         embeddedText()});
  }
};

void defineTextSchemas() { Access::Schemas<DxDbText>::define(); }

}  // namespace dx::db

DxDbText::DxDbText(const DxGePoint3d& pos, const char* text, DxDbObjectId style, double height,
                   double rotation)
    : m_pos(pos),
      m_height(height),
      m_rotationDeg(rotation / kDeg),
      m_text(text ? text : ""),
      m_style(style) {}
DX_SETTER(DxDbText, setPosition, const DxGePoint3d&, m_pos)
ErrorStatus DxDbText::setAlignmentPoint(const DxGePoint3d& p) {
  assertWriteEnabled();
  m_align = p;
  m_hasAlign = true;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setTextString(const char* s) {
  assertWriteEnabled();
  m_text = s ? s : "";
  return Dxad::eOk;
}
DX_SETTER(DxDbText, setTextStyle, DxDbObjectId, m_style)
ErrorStatus DxDbText::setHeight(double h) {
  if (h <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_height = h;
  return Dxad::eOk;
}
double DxDbText::rotation() const { return m_rotationDeg * kDeg; }
ErrorStatus DxDbText::setRotation(double r) {
  assertWriteEnabled();
  m_rotationDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setWidthFactor(double w) {
  if (w <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_widthFactor = w;
  return Dxad::eOk;
}
double DxDbText::oblique() const { return m_obliqueDeg * kDeg; }
ErrorStatus DxDbText::setOblique(double r) {
  assertWriteEnabled();
  m_obliqueDeg = r / kDeg;
  return Dxad::eOk;
}
ErrorStatus DxDbText::setHorizontalMode(DxDb::TextHorzMode m) {
  assertWriteEnabled();
  m_hmode = int16_t(m);
  return Dxad::eOk;
}
ErrorStatus DxDbText::setVerticalMode(DxDb::TextVertMode m) {
  assertWriteEnabled();
  m_vmode = int16_t(m);
  return Dxad::eOk;
}
ErrorStatus DxDbText::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
ErrorStatus DxDbText::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  dx::text::Layout layout;
  layoutOf(*this, layout);
  if (layout.extents(a, b)) return Dxad::eOk;
  // Nothing to show (an empty or blank text): its insertion point.
  a = b = DxGeMatrix3d::planeToWorld(m_normal) * m_pos;
  return Dxad::eOk;
}
ErrorStatus DxDbText::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  double r = rotation();
  DxGeVector3d dir = m * (toW * DxGeVector3d(std::cos(r), std::sin(r), 0));
  DxGeVector3d up = m * (toW * DxGeVector3d(-std::sin(r), std::cos(r), 0));
  m_pos = toP * (m * (toW * m_pos));
  m_align = toP * (m * (toW * m_align));
  DxGeVector3d dirP = toP * dir;
  m_rotationDeg = std::atan2(dirP.y, dirP.x) / kDeg;
  if (m_rotationDeg < 0) m_rotationDeg += 360;
  double sx = dir.length();
  if (sx > 0) {
    m_height *= up.length();
    m_widthFactor *= sx / std::max(up.length(), 1e-300);
  }
  m_normal = n;
  return Dxad::eOk;
}

ErrorStatus DxDbAttributeDefinition::setTag(const char* t) {
  assertWriteEnabled();
  m_tag = t ? t : "";
  return Dxad::eOk;
}
ErrorStatus DxDbAttributeDefinition::setPrompt(const char* p) {
  assertWriteEnabled();
  m_prompt = p ? p : "";
  return Dxad::eOk;
}
bool DxDbAttributeDefinition::isMTextAttributeDefinition() const {
  return m_extras && m_extras->embedded.obj;
}

ErrorStatus DxDbAttribute::setTag(const char* t) {
  assertWriteEnabled();
  m_tag = t ? t : "";
  return Dxad::eOk;
}
bool DxDbAttribute::isMTextAttribute() const { return m_extras && m_extras->embedded.obj; }
DxDbMText* DxDbAttribute::getMTextAttribute() const {
  if (!isMTextAttribute()) return nullptr;
  auto* mt = static_cast<DxDbMText*>(m_extras->embedded.obj->clone());
  auto& m = Access::self<DxDbMText>(*mt);
  m.setPropertiesFrom(this);
  // What the embedded text leaves out, the attribute says.
  if (m.m_style.isNull()) m.m_style = m_style;
  if (m.m_height <= 0) m.m_height = m_height;
  if (m.m_contents.empty()) m.m_contents = m_text;
  return mt;
}
ErrorStatus DxDbAttribute::setAttributeFromBlock(const DxDbAttributeDefinition* def,
                                                 const DxGeMatrix3d& xf) {
  if (!def) return Dxad::eNullObjectPointer;
  assertWriteEnabled();
  auto& d = Access::self<DxDbText>(*def);
  m_pos = d.m_pos;
  m_align = d.m_align;
  m_hasAlign = d.m_hasAlign;
  m_height = d.m_height;
  m_rotationDeg = d.m_rotationDeg;
  m_widthFactor = d.m_widthFactor;
  m_obliqueDeg = d.m_obliqueDeg;
  m_style = d.m_style;
  m_genFlags = d.m_genFlags;
  m_hmode = d.m_hmode;
  m_vmode = d.m_vmode;
  m_normal = d.m_normal;
  m_thickness = d.m_thickness;
  m_text = def->textString();
  m_tag = def->tag();
  m_attFlags = int16_t(def->attributeFlags() & ~2);
  setPropertiesFrom(def);
  return DxDbText::transformBy(xf);
}
