// The database classes: their runtime class records and their group-code schemas.
#include <cmath>
#include <mutex>
#include <unordered_map>

#include "host/db/database_impl.h"
#include "host/db/fields.h"

using namespace dx::db;
using namespace dx::db::fields;

// ---------------------------------------------------------------------------------------
// Runtime class records

#define DX_DEFINE_RX(CLASS, PARENT, DXFNAME, CTOR)                              \
  DxRxClass* CLASS::desc() {                                                    \
    static DxRxClass* cls = new DxRxClass(#CLASS, PARENT::desc(), DXFNAME, CTOR); \
    return cls;                                                                 \
  }                                                                             \
  DxRxClass* CLASS::isA() const { return desc(); }

#define DX_DEFINE_ABSTRACT(CLASS, PARENT) DX_DEFINE_RX(CLASS, PARENT, "", nullptr)
#define DX_DEFINE_CONCRETE(CLASS, PARENT, DXFNAME)                                     \
  DX_DEFINE_RX(CLASS, PARENT, DXFNAME, []() -> DxRxObject* { return new CLASS(); }) \
  DxDbObject* CLASS::clone() const {                                               \
    auto* c = new CLASS(*this);                                                    \
    dx::db::Access::detach(*c);                                                    \
    return c;                                                                      \
  }

DX_DEFINE_ABSTRACT(DxDbObject, DxRxObject)
DX_DEFINE_ABSTRACT(DxDbEntity, DxDbObject)
DX_DEFINE_ABSTRACT(DxDbCurve, DxDbEntity)
DX_DEFINE_CONCRETE(DxDbLine, DxDbCurve, "LINE")
DX_DEFINE_CONCRETE(DxDbCircle, DxDbCurve, "CIRCLE")
DX_DEFINE_CONCRETE(DxDbArc, DxDbCurve, "ARC")
DX_DEFINE_CONCRETE(DxDbEllipse, DxDbCurve, "ELLIPSE")
DX_DEFINE_CONCRETE(DxDbPoint, DxDbEntity, "POINT")
DX_DEFINE_CONCRETE(DxDbPolyline, DxDbCurve, "LWPOLYLINE")
DX_DEFINE_CONCRETE(DxDbPolylineHeavy, DxDbCurve, "POLYLINE")
DX_DEFINE_CONCRETE(DxDbVertex, DxDbEntity, "VERTEX")
DX_DEFINE_CONCRETE(DxDbSequenceEnd, DxDbEntity, "SEQEND")
DX_DEFINE_CONCRETE(DxDbSolid, DxDbEntity, "SOLID")
DX_DEFINE_CONCRETE(DxDbText, DxDbEntity, "TEXT")
DX_DEFINE_CONCRETE(DxDbMText, DxDbEntity, "MTEXT")
DX_DEFINE_CONCRETE(DxDbAttributeDefinition, DxDbText, "ATTDEF")
DX_DEFINE_CONCRETE(DxDbAttribute, DxDbText, "ATTRIB")
DX_DEFINE_CONCRETE(DxDbBlockReference, DxDbEntity, "INSERT")
DX_DEFINE_CONCRETE(DxDbHatch, DxDbEntity, "HATCH")
DX_DEFINE_CONCRETE(DxDbDimension, DxDbEntity, "DIMENSION")
DX_DEFINE_CONCRETE(DxDbAlignedDimension, DxDbDimension, "DIMENSION")
DX_DEFINE_CONCRETE(DxDbRotatedDimension, DxDbDimension, "DIMENSION")
DX_DEFINE_CONCRETE(DxDbRasterImage, DxDbEntity, "IMAGE")
DX_DEFINE_CONCRETE(DxDbWipeout, DxDbRasterImage, "WIPEOUT")
DX_DEFINE_CONCRETE(DxDbSpline, DxDbCurve, "SPLINE")
DX_DEFINE_CONCRETE(DxDbUnknownEntity, DxDbEntity, "")
DX_DEFINE_CONCRETE(DxDbBlockBegin, DxDbEntity, "BLOCK")
DX_DEFINE_CONCRETE(DxDbBlockEnd, DxDbEntity, "ENDBLK")

DX_DEFINE_ABSTRACT(DxDbSymbolTableRecord, DxDbObject)
DX_DEFINE_CONCRETE(DxDbSymbolTable, DxDbObject, "TABLE")
DX_DEFINE_CONCRETE(DxDbLayerTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbLinetypeTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbTextStyleTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbDimStyleTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbBlockTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbRegAppTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbUCSTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbViewTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbViewportTable, DxDbSymbolTable, "TABLE")
DX_DEFINE_CONCRETE(DxDbLayerTableRecord, DxDbSymbolTableRecord, "LAYER")
DX_DEFINE_CONCRETE(DxDbLinetypeTableRecord, DxDbSymbolTableRecord, "LTYPE")
DX_DEFINE_CONCRETE(DxDbTextStyleTableRecord, DxDbSymbolTableRecord, "STYLE")
DX_DEFINE_CONCRETE(DxDbDimStyleTableRecord, DxDbSymbolTableRecord, "DIMSTYLE")
DX_DEFINE_CONCRETE(DxDbBlockTableRecord, DxDbSymbolTableRecord, "BLOCK_RECORD")
DX_DEFINE_CONCRETE(DxDbRegAppTableRecord, DxDbSymbolTableRecord, "APPID")
DX_DEFINE_CONCRETE(DxDbUCSTableRecord, DxDbSymbolTableRecord, "UCS")
DX_DEFINE_CONCRETE(DxDbViewTableRecord, DxDbSymbolTableRecord, "VIEW")
DX_DEFINE_CONCRETE(DxDbViewportTableRecord, DxDbSymbolTableRecord, "VPORT")

DX_DEFINE_CONCRETE(DxDbDictionary, DxDbObject, "DICTIONARY")
DX_DEFINE_CONCRETE(DxDbDictionaryWithDefault, DxDbDictionary, "ACDBDICTIONARYWDFLT")
DX_DEFINE_CONCRETE(DxDbGroup, DxDbObject, "GROUP")
DX_DEFINE_CONCRETE(DxDbXrecord, DxDbObject, "XRECORD")
DX_DEFINE_CONCRETE(DxDbRasterImageDef, DxDbObject, "IMAGEDEF")
DX_DEFINE_CONCRETE(DxDbLayout, DxDbObject, "LAYOUT")
DX_DEFINE_CONCRETE(DxDbUnknownObject, DxDbObject, "")

DxRxClass* DxDbDatabase::desc() {
  static DxRxClass* cls = new DxRxClass("DxDbDatabase", DxRxObject::desc());
  return cls;
}
DxRxClass* DxDbDatabase::isA() const { return desc(); }
DxRxClass* DxDbDatabaseReactor::desc() {
  static DxRxClass* cls = new DxRxClass("DxDbDatabaseReactor", DxRxObject::desc());
  return cls;
}
DxRxClass* DxDbDatabaseReactor::isA() const { return desc(); }

// ---------------------------------------------------------------------------------------
// Schemas

namespace {

std::vector<ClassSchema*>& allSchemas() {
  static std::vector<ClassSchema*> v;
  return v;
}
std::unordered_map<std::string, DxRxClass*>& byDxfName() {
  static std::unordered_map<std::string, DxRxClass*> m;
  return m;
}

ClassSchema* defineSchema(DxRxClass* cls, const char* dxfName, std::vector<SubclassDef> subs,
                          bool isEntity, bool registerName = true) {
  auto* sc = new ClassSchema();
  sc->dxfName = dxfName;
  sc->cls = cls;
  sc->subclasses = std::move(subs);
  sc->isEntity = isEntity;
  sc->finalize();
  cls->schema = sc;
  allSchemas().push_back(sc);
  if (registerName && dxfName[0]) byDxfName().emplace(dxfName, cls);
  return sc;
}

Stub* stubOf(const DxDbObject& o) { return Access::stub(o); }
DxDbObject* objOf(DxDbObjectId id) { return id.stub() ? id.stub()->obj : nullptr; }

// True when an entity lives in a paper-space layout block.
bool inPaperSpace(const DxDbObject& o) {
  DxDbObject* owner = objOf(o.ownerId());
  auto* btr = DxRxObject::cast<DxDbBlockTableRecord>(owner);
  if (!btr) return false;
  const std::string& n = btr->getName();
  return upperKey(n).rfind("*PAPER_SPACE", 0) == 0;
}

}  // namespace

// Member of the friend so that the schema lines may name class internals.
struct dx::db::Access::Defs {
// Groups of every entity (subclass AcDbEntity).
static SubclassDef entitySub() {
  using E = DxDbEntity;
  return sub("AcDbEntity",
             {
                 derived(67, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                         [](const DxDbObject& o) { return !inPaperSpace(o); }),
                 nameRef<&E::m_layer, Table::Layer>(8, "layer"),
                 FieldDef([] {
                   FieldDef f = nameRef<&E::m_linetype, Table::Linetype>(6, "linetype");
                   f.isDefault = [](const DxDbObject& o) {
                     const auto& e = Access::self<DxDbEntity>(o);
                     Stub* s = stubOf(o);
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
                 opt<&E::m_ltscale, 1.0>(48, "ltscale", Ver::R2000),
                 opt<&E::m_invisible, false>(60, "invisible"),
                 minVersion(
                     custom(
                         420, {},
                         [](DxDbObject& o, const InTag& t, LoadContext&) {
                           auto& c = Access::self<DxDbEntity>(o).m_color;
                           // The index group is optional beside a true colour; 256 marks
                           // "none given" so that none is written back.
                           int16_t keep = c.m_method == DxCmColor::kByACI ? c.m_index : 256;
                           uint32_t v = uint32_t(asInt(t)) & 0xFFFFFF;
                           c.setRGB(uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v));
                           c.m_index = keep;
                         },
                         [](const DxDbObject& o, Sink& out, int code) {
                           out.integer(code, Access::self<DxDbEntity>(o).m_color.rgb());
                         },
                         [](const DxDbObject& o) { return !Access::self<DxDbEntity>(o).m_color.isByColor(); },
                         "truecolor"),
                     Ver::R2004),
             });
}

template <class T>
static ClassSchema* entity(const char* dxfName, std::vector<SubclassDef> own, bool reg = true) {
  std::vector<SubclassDef> subs{entitySub()};
  for (auto& s : own) subs.push_back(std::move(s));
  return defineSchema(T::desc(), dxfName, std::move(subs), true, reg);
}

template <class T>
static ClassSchema* object(const char* dxfName, std::vector<SubclassDef> own, bool reg = true) {
  return defineSchema(T::desc(), dxfName, std::move(own), false, reg);
}

static SubclassDef textFirstSub() {
  using T = DxDbText;
  return sub("AcDbText", {
                             opt<&T::m_thickness, 0.0>(39, "thickness"),
                             req<&T::m_pos>(10, "position"),
                             req<&T::m_height>(40, "height"),
                             req<&T::m_text>(1, "text"),
                             opt<&T::m_rotationDeg, 0.0>(50, "rotation"),
                             opt<&T::m_widthFactor, 1.0>(41, "width"),
                             opt<&T::m_obliqueDeg, 0.0>(51, "oblique"),
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

// Vertex list of a lightweight polyline.
static FieldDef lwVertices() {
  return custom(
      10, {40, 41, 42, 91},
      [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
        auto& v = Access::self<DxDbPolyline>(o).m_verts;
        if (ctx.firstHit) v.clear();
        if (t.code == 10 || v.empty()) v.emplace_back();
        auto& last = v.back();
        switch (t.code) {
          case 10: last.pt = {t.pt[0], t.pt[1]}; break;
          case 40: last.startWidth = asReal(t); break;
          case 41: last.endWidth = asReal(t); break;
          case 42: last.bulge = asReal(t); break;
          case 91: last.id = int32_t(asInt(t)); break;
        }
      },
      [](const DxDbObject& o, Sink& out, int) {
        const auto& p = Access::self<DxDbPolyline>(o);
        for (const auto& v : p.m_verts) {
          double pt[3] = {v.pt.x, v.pt.y, 0};
          out.point(10, pt, 2);
          if (p.m_constWidth == 0 && (v.startWidth != 0 || v.endWidth != 0)) {
            out.real(40, v.startWidth);
            out.real(41, v.endWidth);
          }
          if (v.bulge != 0) out.real(42, v.bulge);
          if (v.id != 0 && out.version >= Ver::R2010) out.integer(91, v.id);
        }
      },
      nullptr, "vertices");
}

static const char* polylineMarker(const DxDbObject& o) {
  int16_t f = Access::self<DxDbPolylineHeavy>(o).polyFlags();
  if (f & 64) return "AcDbPolyFaceMesh";
  if (f & 16) return "AcDbPolygonMesh";
  if (f & 8) return "AcDb3dPolyline";
  return "AcDb2dPolyline";
}

static const char* vertexMarker(const DxDbObject& o) {
  int16_t f = Access::self<DxDbVertex>(o).vertexFlags();
  if ((f & 128) && !(f & 64)) return "AcDbFaceRecord";
  if (f & 128) return "AcDbPolyFaceMeshVertex";
  if (f & 64) return "AcDbPolygonMeshVertex";
  if (f & 32) return "AcDb3dPolylineVertex";
  return "AcDb2dVertex";
}

static DxDbBlockTableRecord* ownerBlock(const DxDbObject& o) {
  return DxRxObject::cast<DxDbBlockTableRecord>(objOf(o.ownerId()));
}

// Groups of BLOCK live on the block table record that owns it.
template <class V, V DxDbBlockTableRecord::*M>
static FieldDef onBlock(int code, const char* name) {
  FieldDef f;
  f.code = code;
  f.name = name;
  f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
    if (auto* b = ownerBlock(o)) setValue(b->*M, t);
  };
  f.emit = [](const DxDbObject& o, Sink& out, int c) {
    if (auto* b = ownerBlock(o)) emitValue(b->*M, out, c);
  };
  return f;
}

static FieldDef blockName(int code) {
  FieldDef f;
  f.code = code;
  f.name = "name";
  f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
    if (auto* b = ownerBlock(o))
      if (b->getName().empty()) Access::name(*b).assign(t.text.data(), t.text.size());
  };
  f.emit = [](const DxDbObject& o, Sink& out, int c) {
    auto* b = ownerBlock(o);
    out.str(c, b ? b->getName() : std::string());
  };
  return f;
}

static SubclassDef rasterSub(const char* marker) {
  using R = DxDbRasterImage;
  return sub(marker,
             {
                 req<&R::m_classVersion>(90, "class_version"),
                 req<&R::m_origin>(10, "insert"),
                 req<&R::m_u>(11, "u_pixel"),
                 req<&R::m_v>(12, "v_pixel"),
                 req<&R::m_size>(13, "image_size"),
                 req<&R::m_imageDef>(340, "image_def"),
                 req<&R::m_display>(70, "flags"),
                 req<&R::m_clipping>(280, "clipping"),
                 req<&R::m_brightness>(281, "brightness"),
                 req<&R::m_contrast>(282, "contrast"),
                 req<&R::m_fade>(283, "fade"),
                 req<&R::m_imageDefReactor>(360, "image_def_reactor"),
                 req<&R::m_clipType>(71, "clip_type"),
                 derived(91, [](const DxDbObject& o, Sink& out, int c) {
                   out.integer(c, int64_t(Access::self<R>(o).m_clip.size()));
                 }),
                 custom(
                     14, {},
                     [](DxDbObject& o, const InTag& t, LoadContext&) {
                       Access::self<R>(o).m_clip.emplace_back(t.pt[0], t.pt[1]);
                     },
                     [](const DxDbObject& o, Sink& out, int c) {
                       for (const auto& p : Access::self<R>(o).m_clip) {
                         double pt[3] = {p.x, p.y, 0};
                         out.point(c, pt, 2);
                       }
                     },
                     nullptr, "clip_vertices"),
             });
}

static SubclassDef dimensionSub() {
  using D = DxDbDimension;
  return sub("AcDbDimension", {
                                  req<&D::m_blockName>(2, "geometry"),
                                  req<&D::m_defPoint>(10, "defpoint"),
                                  req<&D::m_textPos>(11, "text_midpoint"),
                                  req<&D::m_type>(70, "dimtype"),
                                  opt<&D::m_attach, 5>(71, "attachment_point"),
                                  opt<&D::m_lsStyle, 1>(72, "line_spacing_style"),
                                  opt<&D::m_lsFactor, 1.0>(41, "line_spacing_factor"),
                                  optEmpty<&D::m_measurement>(42, "actual_measurement"),
                                  optEmpty<&D::m_text>(1, "text"),
                                  opt<&D::m_textRotDeg, 0.0>(53, "text_rotation"),
                                  opt<&D::m_hdirDeg, 0.0>(51, "horizontal_direction"),
                                  normal<&D::m_normal>(),
                                  nameRef<&D::m_dimstyle, Table::DimStyle>(3, "dimstyle"),
                              });
}

static SubclassDef alignedSub() {
  using D = DxDbDimension;
  return sub("AcDbAlignedDimension", {
                                         req<&D::m_xline1>(13, "defpoint2"),
                                         req<&D::m_xline2>(14, "defpoint3"),
                                         opt<&D::m_rotationDeg, 0.0>(50, "angle"),
                                         opt<&D::m_obliqueDeg, 0.0>(52, "oblique_angle"),
                                     });
}

// Dictionary entries: key (3) and soft (350) or hard (360) owner reference.
static FieldDef dictEntries() {
  return custom(
      3, {350, 360},
      [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
        auto& d = Access::self<DxDbDictionary>(o);
        if (ctx.firstHit) d.m_items.clear();
        if (t.code == 3) {
          d.m_items.emplace_back(std::string(t.text), DxDbObjectId());
        } else if (!d.m_items.empty()) {
          d.m_items.back().second = t.id;
          if (t.code == 350) d.m_softKeys = true;
        }
      },
      [](const DxDbObject& o, Sink& out, int) {
        const auto& d = Access::self<DxDbDictionary>(o);
        int code = (d.m_hardOwner || !d.m_softKeys) ? 360 : 350;
        if (d.m_softKeys && !d.m_hardOwner) code = 350;
        for (const auto& [k, id] : d.m_items) {
          if (id.isNull() || id.isErased()) continue;
          out.str(3, k);
          out.ref(code, id);
        }
      },
      nullptr, "entries");
}

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
          case 49: d.length = asReal(t); break;
          case 74: d.shapeFlags = int16_t(asInt(t)); break;
          case 75: d.shapeNumber = int16_t(asInt(t)); break;
          case 340: d.style = t.id; break;
          case 46: d.scale = asReal(t); break;
          case 50: d.rotationRad = asReal(t) * M_PI / 180.0; break;
          case 44: d.xOffset = asReal(t); break;
          case 45: d.yOffset = asReal(t); break;
          case 9: d.text.assign(t.text.data(), t.text.size()); break;
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

static void defineAll() {
  // Entities ----------------------------------------------------------------------------
  entity<DxDbLine>("LINE", {sub("AcDbLine", {
                                                opt<&DxDbLine::m_thickness, 0.0>(39, "thickness"),
                                                req<&DxDbLine::m_start>(10, "start"),
                                                req<&DxDbLine::m_end>(11, "end"),
                                                normal<&DxDbLine::m_normal>(),
                                            })});
  entity<DxDbCircle>("CIRCLE", {sub("AcDbCircle", {
                                                      opt<&DxDbCircle::m_thickness, 0.0>(39, "thickness"),
                                                      req<&DxDbCircle::m_center>(10, "center"),
                                                      req<&DxDbCircle::m_radius>(40, "radius"),
                                                      normal<&DxDbCircle::m_normal>(),
                                                  })});
  entity<DxDbArc>("ARC", {sub("AcDbCircle", {
                                                opt<&DxDbArc::m_thickness, 0.0>(39, "thickness"),
                                                req<&DxDbArc::m_center>(10, "center"),
                                                req<&DxDbArc::m_radius>(40, "radius"),
                                                normal<&DxDbArc::m_normal>(),
                                            }),
                          sub("AcDbArc", {
                                             req<&DxDbArc::m_startDeg>(50, "start_angle"),
                                             req<&DxDbArc::m_endDeg>(51, "end_angle"),
                                         })});
  entity<DxDbEllipse>("ELLIPSE", {sub("AcDbEllipse", {
                                                         req<&DxDbEllipse::m_center>(10, "center"),
                                                         req<&DxDbEllipse::m_major>(11, "major_axis"),
                                                         normal<&DxDbEllipse::m_normal>(),
                                                         req<&DxDbEllipse::m_ratio>(40, "ratio"),
                                                         req<&DxDbEllipse::m_startParam>(41, "start_param"),
                                                         req<&DxDbEllipse::m_endParam>(42, "end_param"),
                                                     })});
  entity<DxDbPoint>("POINT", {sub("AcDbPoint", {
                                                   req<&DxDbPoint::m_pos>(10, "location"),
                                                   opt<&DxDbPoint::m_thickness, 0.0>(39, "thickness"),
                                                   normal<&DxDbPoint::m_normal>(),
                                                   opt<&DxDbPoint::m_xAngleDeg, 0.0>(50, "angle"),
                                               })});
  entity<DxDbPolyline>(
      "LWPOLYLINE",
      {sub("AcDbPolyline", {
                               derived(90, [](const DxDbObject& o, Sink& out, int c) {
                                 out.integer(c, Access::self<DxDbPolyline>(o).m_verts.size());
                               }),
                               req<&DxDbPolyline::m_flags>(70, "flags"),
                               opt<&DxDbPolyline::m_constWidth, 0.0>(43, "const_width"),
                               opt<&DxDbPolyline::m_elevation, 0.0>(38, "elevation"),
                               opt<&DxDbPolyline::m_thickness, 0.0>(39, "thickness"),
                               lwVertices(),
                               normal<&DxDbPolyline::m_normal>(),
                           })});
  {
    using P = DxDbPolylineHeavy;
    SubclassDef s = sub("AcDb2dPolyline",
                        {
                            derived(66, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                                    [](const DxDbObject&) { return false; }),
                            req<&P::m_elevation>(10, "elevation"),
                            opt<&P::m_thickness, 0.0>(39, "thickness"),
                            req<&P::m_flags>(70, "flags"),
                            opt<&P::m_startWidth, 0.0>(40, "default_start_width"),
                            opt<&P::m_endWidth, 0.0>(41, "default_end_width"),
                            opt<&P::m_meshM, 0>(71, "m_count"),
                            opt<&P::m_meshN, 0>(72, "n_count"),
                            opt<&P::m_smoothM, 0>(73, "m_smooth_density"),
                            opt<&P::m_smoothN, 0>(74, "n_smooth_density"),
                            opt<&P::m_curveType, 0>(75, "smooth_type"),
                            normal<&P::m_normal>(),
                        });
    s.alts = {"AcDb3dPolyline", "AcDbPolyFaceMesh", "AcDbPolygonMesh"};
    s.markerFn = polylineMarker;
    entity<P>("POLYLINE", {std::move(s)});
  }
  {
    using V = DxDbVertex;
    SubclassDef s = sub("AcDb2dVertex", {
                                            req<&V::m_pos>(10, "location"),
                                            opt<&V::m_startWidth, 0.0>(40, "start_width"),
                                            opt<&V::m_endWidth, 0.0>(41, "end_width"),
                                            opt<&V::m_bulge, 0.0>(42, "bulge"),
                                            req<&V::m_flags>(70, "flags"),
                                            opt<&V::m_tangentDeg, 0.0>(50, "tangent"),
                                        });
    s.alts = {"AcDb3dPolylineVertex", "AcDbPolyFaceMeshVertex", "AcDbPolygonMeshVertex",
              "AcDbFaceRecord"};
    s.markerFn = vertexMarker;
    entity<V>("VERTEX", {sub("AcDbVertex", {}), std::move(s)});
  }
  entity<DxDbSequenceEnd>("SEQEND", {});
  entity<DxDbSolid>("SOLID", {sub("AcDbTrace", {
                                                   opt<&DxDbSolid::m_thickness, 0.0>(39, "thickness"),
                                                   FieldDef([] {
                                                     FieldDef f;
                                                     f.code = 10;
                                                     f.more = {11, 12, 13};
                                                     f.repeat = true;
                                                     f.name = "vertices";
                                                     f.set = [](DxDbObject& o, const InTag& t, LoadContext&) {
                                                       int i = t.code - 10;
                                                       if (i >= 0 && i < 4)
                                                         Access::self<DxDbSolid>(o).m_pts[i] = {t.pt[0], t.pt[1], t.pt[2]};
                                                     };
                                                     f.emit = [](const DxDbObject& o, Sink& out, int) {
                                                       for (int i = 0; i < 4; ++i) {
                                                         const auto& p = Access::self<DxDbSolid>(o).m_pts[i];
                                                         double pt[3] = {p.x, p.y, p.z};
                                                         out.point(10 + i, pt, 3);
                                                       }
                                                     };
                                                     return f;
                                                   }()),
                                                   normal<&DxDbSolid::m_normal>(),
                                               })});
  {
    using M = DxDbMText;
    entity<M>("MTEXT",
              {sub("AcDbMText",
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
                         f.isDefault = [](const DxDbObject& o) { return Access::self<M>(o).m_hasRotation; };
                         return f;
                       }()),
                       custom(
                           50, {},
                           [](DxDbObject& o, const InTag& t, LoadContext&) {
                             auto& m = Access::self<M>(o);
                             m.m_rotationRad = asReal(t);
                             m.m_hasRotation = true;
                           },
                           [](const DxDbObject& o, Sink& out, int c) { out.real(c, Access::self<M>(o).m_rotationRad); },
                           [](const DxDbObject& o) { return !Access::self<M>(o).m_hasRotation; }, "rotation"),
                       opt<&M::m_lsStyle, 1>(73, "line_spacing_style"),
                       opt<&M::m_lsFactor, 1.0>(44, "line_spacing_factor"),
                   })});
  }
  entity<DxDbText>("TEXT", {textFirstSub(), sub("AcDbText", {opt<&DxDbText::m_vmode, 0>(73, "valign")})});
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
                     })});
  entity<DxDbAttribute>("ATTRIB", {textFirstSub(),
                                   sub("AcDbAttribute",
                                       {
                                           req<&DxDbAttribute::m_tag>(2, "tag"),
                                           req<&DxDbAttribute::m_attFlags>(70, "flags"),
                                           opt<&DxDbAttribute::m_fieldLength, 0>(73, "field_length"),
                                           opt<&DxDbText::m_vmode, 0>(74, "valign"),
                                           keep(71, "attribute_type"),
                                           keep(72),
                                       })});
  {
    using B = DxDbBlockReference;
    SubclassDef s = sub("AcDbBlockReference",
                        {
                            derived(66, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                                    [](const DxDbObject& o) { return Access::self<B>(o).m_attribs.empty(); }),
                            nameRef<&B::m_block, Table::Block>(2, "name"),
                            req<&B::m_pos>(10, "insert"),
                            custom(
                                41, {42, 43},
                                [](DxDbObject& o, const InTag& t, LoadContext&) {
                                  Access::self<B>(o).m_scale[t.code - 41] = asReal(t);
                                },
                                [](const DxDbObject& o, Sink& out, int) {
                                  const double* s = Access::self<B>(o).m_scale;
                                  for (int i = 0; i < 3; ++i)
                                    if (s[i] != 1.0 || out.entityList) out.real(41 + i, s[i]);
                                },
                                nullptr, "scale"),
                            opt<&B::m_rotationDeg, 0.0>(50, "rotation"),
                            opt<&B::m_cols, 1>(70, "column_count"),
                            opt<&B::m_rows, 1>(71, "row_count"),
                            opt<&B::m_colSpacing, 0.0>(44, "column_spacing"),
                            opt<&B::m_rowSpacing, 0.0>(45, "row_spacing"),
                            normal<&B::m_normal>(),
                        });
    s.alts = {"AcDbMInsertBlock"};
    s.markerFn = [](const DxDbObject& o) {
      const auto& b = Access::self<B>(o);
      return (b.m_cols > 1 || b.m_rows > 1) ? "AcDbMInsertBlock" : "AcDbBlockReference";
    };
    entity<B>("INSERT", {std::move(s)});
  }
  entity<DxDbHatch>("HATCH", {sub("AcDbHatch", {
                                                   req<&DxDbHatch::m_elevation>(10, "elevation"),
                                                   normal<&DxDbHatch::m_normal>(),
                                                   req<&DxDbHatch::m_pattern>(2, "pattern_name"),
                                                   req<&DxDbHatch::m_solid>(70, "solid_fill"),
                                                   req<&DxDbHatch::m_assoc>(71, "associative"),
                                               })});
  entity<DxDbDimension>("DIMENSION", {dimensionSub()});
  entity<DxDbAlignedDimension>("DIMENSION", {dimensionSub(), alignedSub()}, false);
  entity<DxDbRotatedDimension>("DIMENSION", {dimensionSub(), alignedSub(), sub("AcDbRotatedDimension", {})},
                               false);
  entity<DxDbRasterImage>("IMAGE", {rasterSub("AcDbRasterImage")});
  entity<DxDbWipeout>("WIPEOUT", {rasterSub("AcDbWipeout")});
  {
    using S = DxDbSpline;
    entity<S>("SPLINE",
              {sub("AcDbSpline",
                   {
                       normal<&S::m_normal>(),
                       req<&S::m_flags>(70, "flags"),
                       req<&S::m_degree>(71, "degree"),
                       derived(72, [](const DxDbObject& o, Sink& out, int c) {
                         out.integer(c, Access::self<S>(o).m_knots.size());
                       }),
                       derived(73, [](const DxDbObject& o, Sink& out, int c) {
                         out.integer(c, Access::self<S>(o).m_ctrl.size());
                       }),
                       derived(74, [](const DxDbObject& o, Sink& out, int c) {
                         out.integer(c, Access::self<S>(o).m_fit.size());
                       }),
                       opt<&S::m_knotTol, 1e-10>(42, "knot_tolerance"),
                       opt<&S::m_ctrlTol, 1e-10>(43, "control_point_tolerance"),
                       opt<&S::m_fitTol, 1e-10>(44, "fit_tolerance"),
                       optEmpty<&S::m_startTan>(12, "start_tangent"),
                       optEmpty<&S::m_endTan>(13, "end_tangent"),
                       custom(
                           40, {41, 10, 11},
                           [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                             auto& s = Access::self<S>(o);
                             if (ctx.firstHit) {
                               s.m_knots.clear();
                               s.m_weights.clear();
                               s.m_ctrl.clear();
                               s.m_fit.clear();
                             }
                             switch (t.code) {
                               case 40: s.m_knots.push_back(asReal(t)); break;
                               case 41: s.m_weights.push_back(asReal(t)); break;
                               case 10: s.m_ctrl.emplace_back(t.pt[0], t.pt[1], t.pt[2]); break;
                               case 11: s.m_fit.emplace_back(t.pt[0], t.pt[1], t.pt[2]); break;
                             }
                           },
                           [](const DxDbObject& o, Sink& out, int) {
                             const auto& s = Access::self<S>(o);
                             for (double k : s.m_knots) out.real(40, k);
                             for (double w : s.m_weights) out.real(41, w);
                             for (const auto& p : s.m_ctrl) {
                               double pt[3] = {p.x, p.y, p.z};
                               out.point(10, pt, 3);
                             }
                             for (const auto& p : s.m_fit) {
                               double pt[3] = {p.x, p.y, p.z};
                               out.point(11, pt, 3);
                             }
                           },
                           nullptr, "data"),
                   })});
  }
  entity<DxDbUnknownEntity>("", {}, false);
  {
    using BB = DxDbBlockTableRecord;
    entity<DxDbBlockBegin>("BLOCK",
                           {sub("AcDbBlockBegin",
                                {
                                    blockName(2),
                                    onBlock<int16_t, &BB::m_blockFlags>(70, "flags"),
                                    onBlock<DxGePoint3d, &BB::m_origin>(10, "base_point"),
                                    blockName(3),
                                    onBlock<std::string, &BB::m_xrefPath>(1, "xref_path"),
                                    FieldDef([] {
                                      FieldDef f = onBlock<std::string, &BB::m_description>(4, "description");
                                      f.isDefault = [](const DxDbObject& o) {
                                        auto* b = ownerBlock(o);
                                        return !b || b->comments()[0] == 0;
                                      };
                                      f.minVer = Ver::R2000;
                                      return f;
                                    }()),
                                })});
  }
  entity<DxDbBlockEnd>("ENDBLK", {sub("AcDbBlockEnd", {})});

  // Symbol tables -------------------------------------------------------------------------
  object<DxDbSymbolTable>("TABLE", {sub("AcDbSymbolTable", {derived(70, [](const DxDbObject& o, Sink& out, int c) {
                                      size_t n = 0;
                                      for (const auto& id : Access::self<DxDbSymbolTable>(o).recordIds())
                                        n += !Access::implicit(static_cast<DxDbSymbolTableRecord&>(*id.stub()->obj));
                                      out.integer(c, int64_t(n));
                                    })})},
                          false);
  auto record = [](SubclassDef own) {
    std::vector<SubclassDef> v;
    v.push_back(sub("AcDbSymbolTableRecord", {}));
    v.push_back(std::move(own));
    return v;
  };
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
  {
    using L = DxDbLinetypeTableRecord;
    object<L>("LTYPE", record(sub("AcDbLinetypeTableRecord",
                                  {
                                      req<&R::m_name>(2, "name"),
                                      req<&R::m_flags>(70, "flags"),
                                      req<&L::m_description>(3, "description"),
                                      req<&L::m_alignment>(72, "alignment"),
                                      derived(73, [](const DxDbObject& o, Sink& out, int c) {
                                        out.integer(c, Access::self<L>(o).m_dashes.size());
                                      }),
                                      req<&L::m_patternLength>(40, "total_pattern_length"),
                                      ltypeDashes(),
                                  })));
  }
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
  {
    using D = DxDbDimStyleTableRecord;
    auto* sc = object<D>("DIMSTYLE",
                         record(sub("AcDbDimStyleTableRecord",
                                    {
                                        req<&R::m_name>(2, "name"),
                                        req<&R::m_flags>(70, "flags"),
                                        custom(
                                            -1, {},
                                            [](DxDbObject& o, const InTag& t, LoadContext&) {
                                              D::Var v;
                                              v.code = t.code;
                                              if (t.isRef) v.id = t.id;
                                              else if (t.kind == dx::dxf::Kind::Double) v.real = t.real;
                                              else if (t.kind == dx::dxf::Kind::String) v.text = std::string(t.text);
                                              else v.integer = t.integer;
                                              auto& vars = Access::self<D>(o).m_vars;
                                              for (auto& x : vars)
                                                if (x.code == v.code) {
                                                  x = std::move(v);
                                                  return;
                                                }
                                              vars.push_back(std::move(v));
                                            },
                                            [](const DxDbObject& o, Sink& out, int) {
                                              for (const auto& v : Access::self<D>(o).m_vars) {
                                                auto k = dx::dxf::kindOf(v.code);
                                                if (isRefCode(v.code)) out.ref(v.code, v.id);
                                                else if (k == dx::dxf::Kind::Double) out.real(v.code, v.real);
                                                else if (k == dx::dxf::Kind::String) out.str(v.code, v.text);
                                                else out.integer(v.code, v.integer);
                                              }
                                            },
                                            nullptr, "variables"),
                                    })));
    sc->handleCode = 105;
  }
  {
    using B = DxDbBlockTableRecord;
    object<B>("BLOCK_RECORD", record(sub("AcDbBlockTableRecord",
                                         {
                                             req<&R::m_name>(2, "name"),
                                             minVersion(optEmpty<&B::m_layout>(340, "layout"), Ver::R2000),
                                             minVersion(req<&B::m_insertUnits>(70, "units"), Ver::R2000),
                                             minVersion(req<&B::m_explodable>(280, "explode"), Ver::R2000),
                                             minVersion(req<&B::m_scalable>(281, "scale"), Ver::R2000),
                                         })));
  }
  object<DxDbRegAppTableRecord>("APPID", record(sub("AcDbRegAppTableRecord",
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
  object<DxDbViewTableRecord>("VIEW", record(sub("AcDbViewTableRecord",
                                                  {req<&R::m_name>(2, "name"), req<&R::m_flags>(70, "flags")})));
  {
    using V = DxDbViewportTableRecord;
    object<V>("VPORT", record(sub("AcDbViewportTableRecord", {
                                                                 req<&R::m_name>(2, "name"),
                                                                 req<&R::m_flags>(70, "flags"),
                                                                 req<&V::m_lowerLeft>(10, "lower_left"),
                                                                 req<&V::m_upperRight>(11, "upper_right"),
                                                                 req<&V::m_center>(12, "center"),
                                                                 req<&V::m_height>(40, "height"),
                                                                 req<&V::m_aspect>(41, "aspect_ratio"),
                                                             })));
  }

  // Objects -----------------------------------------------------------------------------
  object<DxDbDictionary>("DICTIONARY", {sub("AcDbDictionary", {
                                                                  opt<&DxDbDictionary::m_hardOwner, 0>(280, "hard_owned"),
                                                                  req<&DxDbDictionary::m_cloning>(281, "cloning"),
                                                                  dictEntries(),
                                                              })});
  object<DxDbDictionaryWithDefault>(
      "ACDBDICTIONARYWDFLT",
      {sub("AcDbDictionary", {
                                 opt<&DxDbDictionary::m_hardOwner, 0>(280, "hard_owned"),
                                 req<&DxDbDictionary::m_cloning>(281, "cloning"),
                                 dictEntries(),
                             }),
       sub("AcDbDictionaryWithDefault", {req<&DxDbDictionaryWithDefault::m_default>(340, "default")})});
  object<DxDbGroup>("GROUP", {sub("AcDbGroup", {
                                                   req<&DxDbGroup::m_description>(300, "description"),
                                                   req<&DxDbGroup::m_unnamed>(70, "unnamed"),
                                                   req<&DxDbGroup::m_selectable>(71, "selectable"),
                                                   custom(
                                                       340, {},
                                                       [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                                                         if (ctx.firstHit) Access::self<DxDbGroup>(o).m_entities.clear();
                                                         Access::self<DxDbGroup>(o).m_entities.push_back(t.id);
                                                       },
                                                       [](const DxDbObject& o, Sink& out, int c) {
                                                         for (const auto& id : Access::self<DxDbGroup>(o).m_entities)
                                                           if (!id.isErased() && id.isValid()) out.ref(c, id);
                                                       },
                                                       nullptr, "entities"),
                                               })});
  object<DxDbXrecord>("XRECORD", {sub("AcDbXrecord", {req<&DxDbXrecord::m_cloning>(280, "cloning")})});
  object<DxDbRasterImageDef>("IMAGEDEF", {sub("AcDbRasterImageDef",
                                               {
                                                   req<&DxDbRasterImageDef::m_classVersion>(90, "class_version"),
                                                   req<&DxDbRasterImageDef::m_file>(1, "filename"),
                                                   req<&DxDbRasterImageDef::m_size>(10, "image_size"),
                                                   req<&DxDbRasterImageDef::m_pixelSize>(11, "pixel_size"),
                                                   req<&DxDbRasterImageDef::m_loaded>(280, "loaded"),
                                                   req<&DxDbRasterImageDef::m_resUnits>(281, "resolution_units"),
                                               })});
  object<DxDbLayout>("LAYOUT", {sub("AcDbPlotSettings", {}),
                                sub("AcDbLayout", {
                                                      req<&DxDbLayout::m_name>(1, "name"),
                                                      req<&DxDbLayout::m_layoutFlags>(70, "layout_flags"),
                                                      req<&DxDbLayout::m_tabOrder>(71, "taborder"),
                                                      req<&DxDbLayout::m_block>(330, "block_record"),
                                                  })});
  object<DxDbUnknownObject>("", {}, false);
}

};

void Access::defineSchemas() { Defs::defineAll(); }

namespace dx::db {

void ensureSchemas() {
  static std::once_flag once;
  std::call_once(once, [] { Access::defineSchemas(); });
}

DxRxClass* classForDxfName(std::string_view dxfName) {
  ensureSchemas();
  auto it = byDxfName().find(std::string(dxfName));
  return it == byDxfName().end() ? nullptr : it->second;
}

DxDbObject* copyObject(const DxDbObject& o) {
  // The journal's copy keeps the identity the public clone leaves behind.
  DxDbObject* c = o.clone();
  Access::stub(*c) = Access::stub(o);
  Access::owner(*c) = o.ownerId();
  Access::xdict(*c) = o.extensionDictionary();
  return c;
}

}  // namespace dx::db
