// What every entity has (layer, linetype, colour, lineweight, visibility) and the
// entities of classes the host does not model, kept whole.
#include <algorithm>
#include <cmath>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_ABSTRACT(DxDbEntity, DxDbObject)
DX_DEFINE_ABSTRACT(DxDbCurve, DxDbEntity)
DX_DEFINE_CONCRETE(DxDbUnknownEntity, DxDbEntity, "")

namespace {
// True when an entity lives in a paper-space layout block.
bool inPaperSpace(const DxDbObject& o) {
  DxDbObject* owner = objectOf(o.ownerId());
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(owner);
  if (!btr) return false;
  const std::string& n = btr->getName();
  return upperKey(n).rfind("*PAPER_SPACE", 0) == 0;
}
}  // namespace

namespace dx::db {

template <>
struct Access::Schemas<DxDbEntity> {
  // Groups of every entity (subclass AcDbEntity).
  static SubclassDef base() {
    using E = DxDbEntity;
    return sub("AcDbEntity",
               {
                   derived(
                       67, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                       [](const DxDbObject& o) { return !inPaperSpace(o); }),
                   nameRef<&E::m_layer, Table::Layer>(8, "layer"),
                   FieldDef([] {
                     FieldDef f = nameRef<&E::m_linetype, Table::Linetype>(6, "linetype");
                     f.isDefault = [](const DxDbObject& o) {
                       const auto& e = Access::self<DxDbEntity>(o);
                       Stub* s = Access::stub(o);
                       return e.linetypeId().isNull() ||
                              (s && s->db && e.linetypeId() == s->db->ltByLayer);
                     };
                     return f;
                   }()),
                   custom(
                       62, {},
                       [](DxDbObject& o, const InTag& t, LoadContext&) {
                         auto& c = Access::self<DxDbEntity>(o).m_color;
                         int16_t idx = int16_t(asInt(t));
                         if (c.isByColor()) {
                           c.m_index = idx;  // the nearest index that goes with a true colour
                         } else {
                           c.setColorIndex(int16_t(std::abs(idx)));
                         }
                       },
                       [](const DxDbObject& o, Sink& out, int code) {
                         const auto& c = Access::self<DxDbEntity>(o).m_color;
                         out.integer(code, c.colorIndex());
                       },
                       [](const DxDbObject& o) {
                         const auto& c = Access::self<DxDbEntity>(o).m_color;
                         return c.isByLayer() || (c.isByColor() && c.m_index == 256);
                       },
                       "color"),
                   opt<&E::m_lineweight, -1>(370, "lineweight", Ver::R2000),
                   opt<&E::m_ltscale, 1>(48, "ltscale", Ver::R2000),
                   opt<&E::m_invisible, false>(60, "invisible"),
                   minVersion(custom(
                                  420, {},
                                  [](DxDbObject& o, const InTag& t, LoadContext&) {
                                    auto& c = Access::self<DxDbEntity>(o).m_color;
                                    // The index group is optional beside a true colour; 256 marks
                                    // "none given" so that none is written back.
                                    int16_t keep =
                                        c.m_method == DxCmColor::kByACI ? c.m_index : 256;
                                    uint32_t v = uint32_t(asInt(t)) & 0xFFFFFF;
                                    c.setRGB(uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v));
                                    c.m_index = keep;
                                  },
                                  [](const DxDbObject& o, Sink& out, int code) {
                                    out.integer(code, Access::self<DxDbEntity>(o).m_color.rgb());
                                  },
                                  [](const DxDbObject& o) {
                                    return !Access::self<DxDbEntity>(o).m_color.isByColor();
                                  },
                                  "truecolor"),
                              Ver::R2004),
               });
  }

  static void define() { entity<DxDbUnknownEntity>("", {}, false); }
};

SubclassDef entitySubclass() { return Access::Schemas<DxDbEntity>::base(); }
void defineEntitySchemas() { Access::Schemas<DxDbEntity>::define(); }

}  // namespace dx::db

DxDbEntity::DxDbEntity() = default;

std::string DxDbEntity::layer() const {
  auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(objectOf(m_layer));
  return r ? r->getName() : std::string();
}
std::string DxDbEntity::linetype() const {
  auto* r = DxRxObject::cast<DxDbSymbolTableRecord>(objectOf(m_linetype));
  return r ? r->getName() : std::string("ByLayer");
}

static DxDbDatabase* dbFor(const DxDbObject* o) {
  DxDbDatabase* db = o->database();
  if (!db && dxdbHostApplicationServices()->workingDatabase())
    db = dxdbHostApplicationServices()->workingDatabase();
  return db;
}

ErrorStatus DxDbEntity::setLayer(const char* name) {
  DxDbDatabase* db = dbFor(this);
  if (!db) return Dxad::eNoDatabase;
  DxDbObjectId id = db->impl()->recordId(Table::Layer, name ? name : "");
  if (id.isNull()) return Dxad::eKeyNotFound;
  return setLayer(id);
}
ErrorStatus DxDbEntity::setLayer(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbLayerTableRecord>(objectOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_layer = id;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setLinetype(const char* name) {
  DxDbDatabase* db = dbFor(this);
  if (!db) return Dxad::eNoDatabase;
  DxDbObjectId id = db->impl()->recordId(Table::Linetype, name ? name : "");
  if (id.isNull()) return Dxad::eUndefinedLineType;
  return setLinetype(id);
}
ErrorStatus DxDbEntity::setLinetype(DxDbObjectId id) {
  if (!DxRxObject::cast<DxDbLinetypeTableRecord>(objectOf(id))) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_linetype = id;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setLinetypeScale(double s) {
  if (s <= 0) return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_ltscale = s;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setColor(const DxCmColor& c) {
  assertWriteEnabled();
  m_color = c;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setColorIndex(int16_t index) {
  DxCmColor c;
  if (auto es = c.setColorIndex(index); es != Dxad::eOk) return es;
  return setColor(c);
}
ErrorStatus DxDbEntity::setLineWeight(DxDb::LineWeight lw) {
  assertWriteEnabled();
  m_lineweight = int16_t(lw);
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::setVisibility(DxDb::Visibility v) {
  assertWriteEnabled();
  m_invisible = v == DxDb::kInvisible;
  return Dxad::eOk;
}

void DxDbEntity::setDatabaseDefaults(DxDbDatabase* db) {
  if (!db) db = dbFor(this);
  if (!db) return;
  m_layer = db->clayer();
  m_linetype = db->celtype();
  m_color = db->cecolor();
  m_ltscale = db->celtscale();
  m_lineweight = -1;
}

void DxDbEntity::setPropertiesFrom(const DxDbEntity* o) {
  if (!o) return;
  m_layer = o->m_layer;
  m_linetype = o->m_linetype;
  m_color = o->m_color;
  m_ltscale = o->m_ltscale;
  m_lineweight = o->m_lineweight;
  m_invisible = o->m_invisible;
}

ErrorStatus DxDbEntity::getGeomExtents(DxGePoint3d&, DxGePoint3d&) const {
  return Dxad::eInvalidInput;
}
ErrorStatus DxDbEntity::transformBy(const DxGeMatrix3d&) { return Dxad::eNotApplicable; }
ErrorStatus DxDbEntity::explode(std::vector<DxDbEntity*>&) const { return Dxad::eNotApplicable; }
ErrorStatus DxDbEntity::highlight() {
  m_highlighted = true;
  return Dxad::eOk;
}
ErrorStatus DxDbEntity::unhighlight() {
  m_highlighted = false;
  return Dxad::eOk;
}

// Kept point groups give an unmodelled entity its place, so a window can select it.
Dxad::ErrorStatus DxDbUnknownEntity::getGeomExtents(DxGePoint3d& lo, DxGePoint3d& hi) const {
  const ObjectExtras* extras = Access::extras(*this);
  bool any = false;
  for (const ExtraRun& run : extras ? extras->runs : std::vector<ExtraRun>{})
    for (const XTag& t : run.tags) {
      if (t.code < 10 || t.code > 18 || t.dims == 0) continue;
      const DxGePoint3d p(t.v[0], t.v[1], t.dims == 3 ? t.v[2] : 0.0);
      lo = any ? DxGePoint3d(std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)) : p;
      hi = any ? DxGePoint3d(std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)) : p;
      any = true;
    }
  return any ? Dxad::eOk : Dxad::eInvalidInput;
}
