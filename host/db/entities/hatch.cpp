// HATCH: pattern, fill and boundary loops.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbHatch, DxDbEntity, "HATCH")

namespace dx::db {

template <>
struct Access::Schemas<DxDbHatch> {
  static void define() {
    entity<DxDbHatch>("HATCH", {sub("AcDbHatch", {
                                                     req<&DxDbHatch::m_elevation>(10, "elevation"),
                                                     normal<&DxDbHatch::m_normal>(),
                                                     req<&DxDbHatch::m_pattern>(2, "pattern_name"),
                                                     req<&DxDbHatch::m_solid>(70, "solid_fill"),
                                                     req<&DxDbHatch::m_assoc>(71, "associative"),
                                                 })});
  }
};

void defineHatchSchemas() { Access::Schemas<DxDbHatch>::define(); }

}  // namespace dx::db

ErrorStatus DxDbHatch::setPattern(HatchPatternType, const char* name) {
  assertWriteEnabled();
  m_pattern = name ? name : "SOLID";
  m_solid = upperKey(m_pattern) == "SOLID" ? 1 : 0;
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::setNormal(const DxGeVector3d& n) {
  assertWriteEnabled();
  m_normal = n.normal();
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::setElevation(double e) {
  assertWriteEnabled();
  m_elevation = {0, 0, e};
  return Dxad::eOk;
}

namespace {
// The boundary groups of a hatch live in its unmodelled groups after the associativity
// flag; they are rebuilt whole when a loop is added.
struct HatchLoop {
  int32_t type = 0;
  std::vector<DxGePoint2d> pts;
  std::vector<double> bulges;
};

std::vector<HatchLoop> parseLoops(const ObjectExtras* ex) {
  std::vector<HatchLoop> loops;
  if (!ex) return loops;
  std::vector<const XTag*> tags;
  for (const auto& r : ex->runs)
    for (const auto& t : r.tags) tags.push_back(&t);
  size_t i = 0;
  while (i < tags.size() && tags[i]->code != 91) ++i;
  if (i >= tags.size()) return loops;
  int64_t n = tags[i++]->i;
  for (int64_t k = 0; k < n && i < tags.size(); ++k) {
    if (tags[i]->code != 92) break;
    HatchLoop loop;
    loop.type = int32_t(tags[i++]->i);
    if (loop.type & 2) {
      bool hasBulge = false;
      int64_t nv = 0;
      while (i < tags.size() && tags[i]->code != 93) {
        if (tags[i]->code == 72) hasBulge = tags[i]->i != 0;
        ++i;
      }
      if (i < tags.size()) nv = tags[i++]->i;
      for (int64_t v = 0; v < nv && i < tags.size(); ++v) {
        if (tags[i]->code != 10) break;
        loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
        ++i;
        double b = 0;
        if (hasBulge && i < tags.size() && tags[i]->code == 42) b = tags[i++]->v[0];
        loop.bulges.push_back(b);
      }
    } else {
      int64_t ne = 0;
      if (i < tags.size() && tags[i]->code == 93) ne = tags[i++]->i;
      for (int64_t e = 0; e < ne && i < tags.size(); ++e) {
        if (tags[i]->code != 72) break;
        int64_t et = tags[i++]->i;
        int seen = 0;
        while (i < tags.size() && tags[i]->code != 72 && tags[i]->code != 97 &&
               tags[i]->code != 92) {
          if (et == 1 && tags[i]->code == 10 && seen++ == 0)
            loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
          if (et != 1 && tags[i]->code == 10 && seen++ == 0)
            loop.pts.emplace_back(tags[i]->v[0], tags[i]->v[1]);
          ++i;
        }
        loop.bulges.push_back(0);
      }
    }
    while (i < tags.size() && tags[i]->code != 92 && tags[i]->code != 75) ++i;
    loops.push_back(std::move(loop));
  }
  return loops;
}
}  // namespace

ErrorStatus DxDbHatch::appendLoop(int32_t loopType, const std::vector<DxGePoint2d>& pts,
                                  const std::vector<double>& bulges) {
  if (pts.size() < 2) return Dxad::eInvalidInput;
  assertWriteEnabled();
  std::vector<HatchLoop> loops = parseLoops(m_extras.get());
  loops.push_back({loopType | 2, pts, bulges});
  // Rebuild the boundary and pattern groups.
  auto& ex = Access::extrasMut(*this);
  ex.runs.clear();
  ExtraRun run;
  run.subclass = 1;    // AcDbHatch
  run.afterField = 4;  // after the associativity flag
  auto add = [&](int code, auto v) {
    XTag t;
    t.code = int16_t(code);
    t.kind = dx::dxf::kindOf(code);
    if constexpr (std::is_floating_point_v<decltype(v)>)
      t.v[0] = v;
    else
      t.i = int64_t(v);
    run.tags.push_back(t);
  };
  auto addPt = [&](int code, const DxGePoint2d& p) {
    XTag t;
    t.code = int16_t(code);
    t.kind = dx::dxf::Kind::Double;
    t.dims = 2;
    t.v[0] = p.x;
    t.v[1] = p.y;
    run.tags.push_back(t);
  };
  add(91, int64_t(loops.size()));
  for (const auto& l : loops) {
    bool hasBulge = std::any_of(l.bulges.begin(), l.bulges.end(), [](double b) { return b != 0; });
    add(92, int64_t(l.type | 2));
    add(72, int64_t(hasBulge ? 1 : 0));
    add(73, int64_t(1));
    add(93, int64_t(l.pts.size()));
    for (size_t i = 0; i < l.pts.size(); ++i) {
      addPt(10, l.pts[i]);
      if (hasBulge) add(42, i < l.bulges.size() ? l.bulges[i] : 0.0);
    }
    add(97, int64_t(0));
  }
  add(75, int64_t(1));
  add(76, int64_t(1));
  if (!m_solid) {
    add(52, 0.0);
    add(41, 1.0);
    add(77, int64_t(0));
    add(78, int64_t(0));
  }
  add(98, int64_t(0));
  ex.runs.push_back(std::move(run));
  return Dxad::eOk;
}
int DxDbHatch::numLoops() const { return int(parseLoops(m_extras.get()).size()); }
ErrorStatus DxDbHatch::getLoopAt(int index, int32_t& type, std::vector<DxGePoint2d>& pts,
                                 std::vector<double>& bulges) const {
  auto loops = parseLoops(m_extras.get());
  if (index < 0 || index >= int(loops.size())) return Dxad::eInvalidIndex;
  type = loops[size_t(index)].type;
  pts = loops[size_t(index)].pts;
  bulges = loops[size_t(index)].bulges;
  return Dxad::eOk;
}
ErrorStatus DxDbHatch::evaluateHatch() { return Dxad::eOk; }
ErrorStatus DxDbHatch::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  Box box;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  for (const auto& l : parseLoops(m_extras.get()))
    for (const auto& p : l.pts) box.add(toW * DxGePoint3d(p.x, p.y, m_elevation.z));
  return box.out(a, b);
}
ErrorStatus DxDbHatch::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  if (!m_extras) return Dxad::eOk;
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(m_normal);
  DxGeVector3d n = xformNormal(m, m_normal);
  DxGeMatrix3d toP = DxGeMatrix3d::worldToPlane(n);
  double z = m_elevation.z;
  // Boundary points (codes 10 with two coordinates) move; seeds too.
  for (auto& r : m_extras->runs)
    for (auto& t : r.tags)
      if (t.code == 10 && t.dims == 2) {
        DxGePoint3d p = toP * (m * (toW * DxGePoint3d(t.v[0], t.v[1], m_elevation.z)));
        t.v[0] = p.x;
        t.v[1] = p.y;
        z = p.z;
      }
  m_elevation = {0, 0, z};
  m_normal = n;
  return Dxad::eOk;
}
