// IMAGE and WIPEOUT: a raster frame in space with its clip boundary.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbRasterImage, DxDbEntity, "IMAGE")
DX_DEFINE_CONCRETE(DxDbWipeout, DxDbRasterImage, "WIPEOUT")

namespace dx::db {

template <>
struct Access::Schemas<DxDbRasterImage> {
  static SubclassDef rasterSub(const char* marker) {
    using R = DxDbRasterImage;
    return sub(marker, {
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
                           derived(91,
                                   [](const DxDbObject& o, Sink& out, int c) {
                                     out.integer(c, int64_t(Access::self<R>(o).m_clip.size()));
                                   }),
                           custom(
                               14, {},
                               [](DxDbObject& o, const InTag& t, LoadContext& ctx) {
                                 // A list given back replaces the outline, never adds to it.
                                 auto& clip = Access::self<R>(o).m_clip;
                                 if (ctx.firstHit) clip.clear();
                                 clip.emplace_back(t.pt[0], t.pt[1]);
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

  static void define() {
    entity<DxDbRasterImage>("IMAGE", {rasterSub("AcDbRasterImage")});
    entity<DxDbWipeout>("WIPEOUT", {rasterSub("AcDbWipeout")});
  }
};

void defineImageSchemas() { Access::Schemas<DxDbRasterImage>::define(); }

}  // namespace dx::db

ErrorStatus DxDbRasterImage::setImageDefId(DxDbObjectId id) {
  assertWriteEnabled();
  m_imageDef = id;
  return Dxad::eOk;
}
void DxDbRasterImage::getOrientation(DxGePoint3d& o, DxGeVector3d& u, DxGeVector3d& v) const {
  o = m_origin;
  u = m_u;
  v = m_v;
}
bool DxDbRasterImage::setOrientation(const DxGePoint3d& o, const DxGeVector3d& uw,
                                     const DxGeVector3d& vw) {
  if (uw.isZeroLength() || vw.isZeroLength()) return false;
  assertWriteEnabled();
  m_origin = o;
  m_u = uw * (1.0 / m_size.x);
  m_v = vw * (1.0 / m_size.y);
  return true;
}
ErrorStatus DxDbRasterImage::setDisplayOpt(ImageDisplayOpt opt, bool on) {
  assertWriteEnabled();
  m_display = int16_t(on ? (m_display | opt) : (m_display & ~opt));
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::setClipBoundary(const std::vector<DxGePoint2d>& pts) {
  assertWriteEnabled();
  m_clip = pts;
  m_clipType = pts.size() == 2 ? 1 : 2;
  m_clipping = 1;
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeVector3d uw = m_u * m_size.x, vw = m_v * m_size.y;
  box.add(m_origin);
  box.add(m_origin + uw);
  box.add(m_origin + vw);
  box.add(m_origin + uw + vw);
  return box.out(a, b);
}
ErrorStatus DxDbRasterImage::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  m_origin = m * m_origin;
  m_u = m * m_u;
  m_v = m * m_v;
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::setReactorId(DxDbObjectId id) {
  assertWriteEnabled();
  m_imageDefReactor = id;
  return Dxad::eOk;
}
ErrorStatus DxDbRasterImage::setClipping(bool on) {
  assertWriteEnabled();
  m_clipping = on ? 1 : 0;
  return Dxad::eOk;
}
// Pixel coordinates count from the centre of the top-left pixel, y downwards; the
// frame's corners are at -0.5 and size - 0.5.
DxGePoint3d DxDbRasterImage::pixelToWorld(const DxGePoint2d& p) const {
  return m_origin + m_u * (p.x + 0.5) + m_v * (m_size.y - p.y - 0.5);
}
DxGePoint2d DxDbRasterImage::worldToPixel(const DxGePoint3d& p) const {
  // Least squares in the image's plane, so u and v need not be perpendicular.
  DxGeVector3d d = p - m_origin;
  double uu = m_u.dotProduct(m_u), uv = m_u.dotProduct(m_v), vv = m_v.dotProduct(m_v);
  double du = d.dotProduct(m_u), dv = d.dotProduct(m_v);
  double det = uu * vv - uv * uv;
  if (std::fabs(det) < 1e-300) return {0, 0};
  double a = (du * vv - dv * uv) / det, b = (dv * uu - du * uv) / det;
  return {a - 0.5, m_size.y - b - 0.5};
}
std::vector<DxGePoint3d> DxDbRasterImage::clipBoundaryWorld() const {
  std::vector<DxGePoint2d> px = m_clip;
  if (m_clipping == 0 || px.size() < 2)
    px = {{-0.5, -0.5}, {m_size.x - 0.5, m_size.y - 0.5}};
  if (px.size() == 2)  // a rectangle by two opposite corners
    px = {px[0], {px[1].x, px[0].y}, px[1], {px[0].x, px[1].y}};
  std::vector<DxGePoint3d> out;
  out.reserve(px.size());
  for (const auto& p : px) out.push_back(pixelToWorld(p));
  if (out.size() > 1 && out.front().isEqualTo(out.back())) out.pop_back();
  return out;
}

// A wipeout is a one-pixel image stretched over the polygon's extents in its plane; the
// polygon is its clip boundary in that pixel's coordinates (-0.5 to 0.5).
bool DxDbWipeout::setBoundary(const std::vector<DxGePoint3d>& polygon, const DxGeVector3d& normal) {
  if (polygon.size() < 3) return false;
  DxGeMatrix3d toPlane = DxGeMatrix3d::worldToPlane(normal);
  DxGeMatrix3d toWorld = DxGeMatrix3d::planeToWorld(normal);
  std::vector<DxGePoint3d> local;
  local.reserve(polygon.size());
  Box box;
  for (const auto& p : polygon) {
    local.push_back(toPlane * p);
    box.add(local.back());
  }
  DxGePoint3d lo, hi;
  if (box.out(lo, hi) != Dxad::eOk) return false;
  double w = hi.x - lo.x, h = hi.y - lo.y;
  double twiceArea = 0;  // collinear points have extents but no area
  for (size_t i = 0; i < local.size(); ++i) {
    const DxGePoint3d& a = local[i];
    const DxGePoint3d& b = local[(i + 1) % local.size()];
    twiceArea += a.x * b.y - b.x * a.y;
  }
  if (w < 1e-10 || h < 1e-10 || std::fabs(twiceArea) < 2e-10) return false;
  assertWriteEnabled();
  m_size = {1, 1};
  m_origin = toWorld * DxGePoint3d(lo.x, lo.y, local.front().z);
  m_u = toWorld * DxGeVector3d(w, 0, 0);
  m_v = toWorld * DxGeVector3d(0, h, 0);
  m_clip.clear();
  for (const auto& p : local) m_clip.emplace_back((p.x - lo.x) / w - 0.5, 0.5 - (p.y - lo.y) / h);
  if (!m_clip.front().isEqualTo(m_clip.back())) m_clip.push_back(m_clip.front());
  m_clipType = 2;
  m_clipping = 1;
  m_display = kShow | kShowUnAligned | kClip;
  return true;
}
