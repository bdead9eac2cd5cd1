// SPATIAL_FILTER: the clip boundary of a block or external reference.
#include <algorithm>
#include <cstring>

#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbSpatialFilter, DxDbObject, "SPATIAL_FILTER")

namespace dx::db {

template <>
struct Access::Schemas<DxDbSpatialFilter> {
  using F = DxDbSpatialFilter;

  // From 72 on the groups repeat codes (40 is a front distance or a matrix value), so
  // they are read in order: front flag, [front distance], back flag, [back distance],
  // then the two matrices.
  static void readTail(DxDbObject& o, const InTag& t, LoadContext& ctx) {
    auto& f = Access::self<F>(o);
    if (ctx.firstHit) f.m_readReals = 0, f.m_readBack = false;
    switch (t.code) {
      case 72: f.m_frontOn = int16_t(asInt(t)); break;
      case 73: f.m_backOn = int16_t(asInt(t)), f.m_readBack = true; break;
      case 41: f.m_back = asReal(t); break;
      case 40:
        if (f.m_frontOn && !f.m_readBack) f.m_front = asReal(t);
        else if (f.m_readReals < 24) f.m_matrices[f.m_readReals++] = asReal(t);
        break;
      default: break;
    }
  }

  static void writeTail(const DxDbObject& o, Sink& out, int) {
    const auto& f = Access::self<F>(o);
    out.integer(72, f.m_frontOn);
    if (f.m_frontOn) out.real(40, f.m_front);
    out.integer(73, f.m_backOn);
    if (f.m_backOn) out.real(41, f.m_back);
    for (double v : f.m_matrices) out.real(40, v);
  }

  static void define() {
    object<F>("SPATIAL_FILTER",
              {sub("AcDbFilter", {}),
               sub("AcDbSpatialFilter",
                   {
                       derived(70,
                               [](const DxDbObject& o, Sink& out, int c) {
                                 out.integer(c, int64_t(Access::self<F>(o).m_points.size()));
                               }),
                       custom(
                           10, {},
                           [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                             auto& pts = Access::self<F>(o).m_points;
                             if (ctx.firstHit) pts.clear();
                             pts.emplace_back(t.pt[0], t.pt[1]);
                           },
                           [](const DxDbObject& o, Sink& out, int c) {
                             for (const auto& p : Access::self<F>(o).m_points) {
                               double pt[3] = {p.x, p.y, 0};
                               out.point(c, pt, 2);
                             }
                           },
                           nullptr, "boundary"),
                       req<&F::m_normal>(210, "normal"),
                       req<&F::m_origin>(11, "origin"),
                       req<&F::m_enabled>(71, "enabled"),
                       rest(72, readTail, writeTail, "clip_planes_and_matrices"),
                   })});
  }
};

void defineSpatialFilterSchemas() { Access::Schemas<DxDbSpatialFilter>::define(); }

}  // namespace dx::db

namespace {

DxGeMatrix3d matrixAt(const double* rows) {
  DxGeMatrix3d m;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) m.entry[i][j] = rows[i * 4 + j];
  return m;
}

void storeMatrix(const DxGeMatrix3d& m, double* rows) {
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) rows[i * 4 + j] = m.entry[i][j];
}

DxDbObjectId entryOf(DxDbObjectId dictId, const char* key) {
  DxDbDictionary* d = nullptr;
  DxDbObjectId id;
  if (dictId.isNull() || dxdbOpenObject(d, dictId, DxDb::kForRead) != Dxad::eOk) return id;
  d->getAt(key, id);
  d->close();
  return id;
}

}  // namespace

ErrorStatus DxDbSpatialFilter::setEnabled(bool on) {
  assertWriteEnabled();
  m_enabled = on ? 1 : 0;
  return Dxad::eOk;
}

ErrorStatus DxDbSpatialFilter::setDefinition(const std::vector<DxGePoint2d>& points,
                                             const DxGeVector3d& normal,
                                             const DxGeMatrix3d& blockTransform) {
  if (points.size() < 2 || std::abs(blockTransform.det()) < 1e-300 || normal.isZeroLength())
    return Dxad::eInvalidInput;
  assertWriteEnabled();
  m_points = points;
  m_normal = normal.normal();
  m_origin = DxGePoint3d();
  m_enabled = 1;
  m_frontOn = m_backOn = 0;
  storeMatrix(blockTransform.inverse(), m_matrices);
  storeMatrix(DxGeMatrix3d(), m_matrices + 12);
  return Dxad::eOk;
}

DxGeMatrix3d DxDbSpatialFilter::inverseBlockTransform() const { return matrixAt(m_matrices); }

std::vector<DxGePoint2d> DxDbSpatialFilter::invertedBoundary() const {
  std::vector<DxGePoint2d> hole;
  DxDbObjectId recId = entryOf(extensionDictionary(), "ACAD_XREC_ROUNDTRIP");
  DxDbXrecord* rec = nullptr;
  if (recId.isNull() || dxdbOpenObject(rec, recId, DxDb::kForRead) != Dxad::eOk) return hole;
  resbuf* chain = nullptr;
  rec->rbChain(&chain);
  rec->close();
  bool inSection = false;
  for (const resbuf* rb = chain; rb; rb = rb->rbnext) {
    if (rb->restype == 102)
      inSection = rb->resval.rstring && std::strcmp(rb->resval.rstring, "ACAD_INVERTEDCLIP_ROUNDTRIP") == 0;
    else if (inSection && rb->restype == 10)
      hole.emplace_back(rb->resval.rpoint[0], rb->resval.rpoint[1]);
  }
  dxutRelRb(chain);
  return hole.size() >= 2 ? hole : std::vector<DxGePoint2d>();
}

bool DxDbSpatialFilter::isInverted() const { return !invertedBoundary().empty(); }

ErrorStatus DxDbSpatialFilter::setInverted(DxGePoint2d lo, DxGePoint2d hi) {
  if (m_points.size() < 2 || !isWriteEnabled()) return Dxad::eNotOpenForWrite;
  std::vector<DxGePoint2d> hole = m_points;
  if (hole.size() == 2)
    hole = {hole[0], {hole[1].x, hole[0].y}, hole[1], {hole[0].x, hole[1].y}};
  double area = 0;
  for (size_t i = 0; i < hole.size(); ++i) {
    const auto &a = hole[i], &b = hole[(i + 1) % hole.size()];
    area += a.x * b.y - b.x * a.y;
    lo = DxGePoint2d(std::min(lo.x, a.x), std::min(lo.y, a.y));
    hi = DxGePoint2d(std::max(hi.x, a.x), std::max(hi.y, a.y));
  }
  double margin = std::max({hi.x - lo.x, hi.y - lo.y, 1.0}) * 0.05;
  lo = DxGePoint2d(lo.x - margin, lo.y - margin);
  hi = DxGePoint2d(hi.x + margin, hi.y + margin);
  // The outer frame counter-clockwise, a cut to the boundary, the boundary clockwise and
  // back along the cut: one polygon whose inside is the frame less the boundary.
  std::vector<DxGePoint2d> keyhole{lo, {hi.x, lo.y}, hi, {lo.x, hi.y}, lo};
  if (area > 0) std::reverse(hole.begin(), hole.end());
  keyhole.insert(keyhole.end(), hole.begin(), hole.end());
  keyhole.push_back(hole.front());
  if (extensionDictionary().isNull()) {
    if (auto es = createExtensionDictionary(); es != Dxad::eOk) return es;
  }
  DxDbDictionary* dict = nullptr;
  if (auto es = dxdbOpenObject(dict, extensionDictionary(), DxDb::kForWrite); es != Dxad::eOk) return es;
  auto* rec = new DxDbXrecord();
  DxDbObjectId recId;
  if (auto es = dict->setAt("ACAD_XREC_ROUNDTRIP", rec, recId); es != Dxad::eOk) {
    dict->close();
    delete rec;
    return es;
  }
  dict->close();
  // The boundary as the user gave it, then the outline it was stored as, so that a
  // reader can tell whether someone changed the outline since.
  resbuf* head = dxutNewRb(102);
  head->resval.rstring = strdup("ACAD_INVERTEDCLIP_ROUNDTRIP");
  resbuf* tail = head;
  auto add = [&](const std::vector<DxGePoint2d>& pts) {
    for (const auto& p : pts) {
      tail = tail->rbnext = dxutNewRb(10);
      tail->resval.rpoint[0] = p.x;
      tail->resval.rpoint[1] = p.y;
      tail->resval.rpoint[2] = 0;
    }
  };
  add(m_points);
  tail = tail->rbnext = dxutNewRb(102);
  tail->resval.rstring = strdup("ACAD_INVERTEDCLIP_ROUNDTRIP_COMPARE");
  add(keyhole);
  rec->setFromRbChain(head);
  dxutRelRb(head);
  rec->close();
  m_points = std::move(keyhole);
  return Dxad::eOk;
}

std::vector<DxGePoint3d> DxDbSpatialFilter::blockPolygon() const {
  std::vector<DxGePoint2d> pts = invertedBoundary();
  if (pts.empty()) pts = m_points;
  if (pts.size() == 2)
    pts = {pts[0], {pts[1].x, pts[0].y}, pts[1], {pts[0].x, pts[1].y}};
  // Plane coordinates -> world where the reference stood -> the block's coordinates.
  DxGeMatrix3d toBlock = inverseBlockTransform() * matrixAt(m_matrices + 12).inverse() *
                         DxGeMatrix3d::translation(m_origin - DxGePoint3d::kOrigin) *
                         DxGeMatrix3d::planeToWorld(m_normal);
  std::vector<DxGePoint3d> out;
  out.reserve(pts.size());
  for (const auto& p : pts) out.push_back(toBlock * DxGePoint3d(p.x, p.y, 0));
  return out;
}

DxDbObjectId dxdbSpatialFilterOf(const DxDbObject* reference) {
  if (!reference) return {};
  DxDbObjectId filterDict = entryOf(reference->extensionDictionary(), "ACAD_FILTER");
  return entryOf(filterDict, "SPATIAL");
}

bool dxdbReferenceClip(const DxDbBlockReference* reference, DxDbReferenceClip& clip) {
  clip = DxDbReferenceClip();
  DxDbObjectId id = dxdbSpatialFilterOf(reference);
  DxDbSpatialFilter* filter = nullptr;
  if (id.isNull() || dxdbOpenObject(filter, id, DxDb::kForRead) != Dxad::eOk) return false;
  if (filter->boundary().size() < 2) {
    filter->close();
    return false;
  }
  clip.enabled = filter->isEnabled();
  clip.inverted = filter->isInverted();
  clip.blockPolygon = filter->blockPolygon();
  filter->close();
  DxGeMatrix3d toWorld = reference->blockTransform();
  for (const auto& p : clip.blockPolygon) clip.worldPolygon.push_back(toWorld * p);
  return true;
}
