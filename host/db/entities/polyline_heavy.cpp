// POLYLINE with its VERTEX entities and SEQEND: 2-D and 3-D polylines and meshes.
#include <cmath>

#include "host/geometry/pieces.h"
#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbPolylineHeavy, DxDbCurve, "POLYLINE")
DX_DEFINE_CONCRETE(DxDbVertex, DxDbEntity, "VERTEX")
DX_DEFINE_CONCRETE(DxDbSequenceEnd, DxDbEntity, "SEQEND")

namespace dx::db {

template <>
struct Access::Schemas<DxDbPolylineHeavy> {
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

  static void define() {
    {
      using P = DxDbPolylineHeavy;
      SubclassDef s =
          sub("AcDb2dPolyline",
              {
                  derived(
                      66, [](const DxDbObject&, Sink& out, int c) { out.integer(c, 1); },
                      [](const DxDbObject&) { return false; }),
                  req<&P::m_elevation>(10, "elevation"),
                  opt<&P::m_thickness, 0>(39, "thickness"),
                  req<&P::m_flags>(70, "flags"),
                  opt<&P::m_startWidth, 0>(40, "default_start_width"),
                  opt<&P::m_endWidth, 0>(41, "default_end_width"),
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
                                              opt<&V::m_startWidth, 0>(40, "start_width"),
                                              opt<&V::m_endWidth, 0>(41, "end_width"),
                                              opt<&V::m_bulge, 0>(42, "bulge"),
                                              req<&V::m_flags>(70, "flags"),
                                              opt<&V::m_tangentDeg, 0>(50, "tangent"),
                                          });
      s.alts = {"AcDb3dPolylineVertex", "AcDbPolyFaceMeshVertex", "AcDbPolygonMeshVertex",
                "AcDbFaceRecord"};
      s.markerFn = vertexMarker;
      entity<V>("VERTEX", {sub("AcDbVertex", {}), std::move(s)});
    }
    entity<DxDbSequenceEnd>("SEQEND", {});
  }
};

void definePolylineHeavySchemas() { Access::Schemas<DxDbPolylineHeavy>::define(); }

}  // namespace dx::db

DX_SETTER(DxDbVertex, setPosition, const DxGePoint3d&, m_pos)

DxDbPolylineHeavy::DxDbPolylineHeavy() = default;
DxDbPolylineHeavy::~DxDbPolylineHeavy() = default;
ErrorStatus DxDbPolylineHeavy::appendVertex(DxDbObjectId& id, DxDbVertex* v) {
  if (!v) return Dxad::eNullObjectPointer;
  Stub* s = Access::stub(*this);
  if (!s || !s->db) {
    // Kept with the polyline until the polyline itself goes into a database.
    id = {};
    m_pendingVertices.emplace_back(v);
    return Dxad::eOk;
  }
  assertWriteEnabled();
  id = s->db->attach(v);
  Access::owner(*v) = objectId();
  v->setPropertiesFrom(this);
  m_vertices.push_back(id);
  if (m_seqend.isNull()) {
    auto* end = new DxDbSequenceEnd();
    m_seqend = s->db->attach(end);
    Access::owner(*end) = objectId();
    end->setPropertiesFrom(this);
  }
  Access::openCount(*v) = 1;
  Access::openWrite(*v) = true;
  s->db->noteOpened(Access::stub(*v));
  return Dxad::eOk;
}
ErrorStatus DxDbPolylineHeavy::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  std::vector<const DxDbVertex*> verts;
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objectOf(id))) verts.push_back(v);
  for (size_t i = 0; i < verts.size(); ++i) {
    box.add(toW * verts[i]->position());
    size_t j = (i + 1) % verts.size();
    if (is3d() || verts[i]->bulge() == 0 || (j == 0 && !isClosed())) continue;
    // Bulged segments reach as far as their arcs.
    DxGePoint3d p = verts[i]->position(), q = verts[j]->position();
    auto arc = dx::geo::Piece::bulged(p.to2d(), q.to2d(), verts[i]->bulge());
    double a0 = arc.sweep > 0 ? arc.a0 : arc.a0 + arc.sweep;
    addArc(box, {arc.c.x, arc.c.y, p.z}, arc.r, a0, a0 + std::fabs(arc.sweep), m_normal);
  }
  return box.out(a, b);
}
ErrorStatus DxDbPolylineHeavy::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = is3d() ? m_normal : xformNormal(m, m_normal);
  DxGeMatrix3d toP = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::worldToPlane(n);
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objectOf(id))) {
      if (Stub* s = id.stub(); s && s->db) s->db->noteWrite(s);
      Access::self<DxDbVertex>(*v).m_pos = toP * (m * (toW * v->position()));
    }
  for (auto& v : m_pendingVertices) v->m_pos = toP * (m * (toW * v->position()));
  m_normal = n;
  return Dxad::eOk;
}
ErrorStatus DxDbPolylineHeavy::explode(std::vector<DxDbEntity*>& pieces) const {
  std::vector<const DxDbVertex*> vs;
  for (const auto& id : m_vertices)
    if (auto* v = DxRxObject::cast<DxDbVertex>(objectOf(id)))
      if (!(v->vertexFlags() & 16)) vs.push_back(v);
  if (vs.size() < 2) return Dxad::eOk;
  DxGeMatrix3d toW = is3d() ? DxGeMatrix3d() : DxGeMatrix3d::planeToWorld(m_normal);
  size_t segs = isClosed() ? vs.size() : vs.size() - 1;
  for (size_t i = 0; i < segs; ++i) {
    const DxDbVertex* a = vs[i];
    const DxDbVertex* b = vs[(i + 1) % vs.size()];
    DxDbEntity* e = nullptr;
    if (!is3d() && a->bulge() != 0) {
      DxDbPolyline tmp;
      Access::self<DxDbPolyline>(tmp).m_verts = {
          {{a->position().x, a->position().y}, 0, 0, a->bulge(), 0},
          {{b->position().x, b->position().y}, 0, 0, 0, 0}};
      Access::self<DxDbPolyline>(tmp).m_elevation = m_elevation.z;
      Access::self<DxDbPolyline>(tmp).m_normal = m_normal;
      DxGePoint3d c;
      double r, sa, ea;
      if (tmp.getArcSegAt(0, c, r, sa, ea)) e = new DxDbArc(c, m_normal, r, sa, ea);
    }
    if (!e) e = new DxDbLine(toW * a->position(), toW * b->position());
    e->setPropertiesFrom(this);
    pieces.push_back(e);
  }
  return Dxad::eOk;
}
