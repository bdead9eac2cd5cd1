// SPLINE: knots, weights, control and fit points.
#include <cmath>

#include "host/db/entities/entity_geometry.h"
#include "host/db/family.h"

using namespace dx::db;
using namespace dx::db::fields;
using Dxad::ErrorStatus;

DX_DEFINE_CONCRETE(DxDbSpline, DxDbCurve, "SPLINE")

namespace dx::db {

namespace {
constexpr double kDefaultTolerance = 1e-10;  // what a file leaves out for groups 42 to 44
}

template <>
struct Access::Schemas<DxDbSpline> {
  static void define() {
    {
      using S = DxDbSpline;
      entity<S>(
          "SPLINE",
          {sub("AcDbSpline",
               {
                   normal<&S::m_normal>(),
                   req<&S::m_flags>(70, "flags"),
                   req<&S::m_degree>(71, "degree"),
                   derived(72, [](const DxDbObject& o, Sink& out,
                                  int c) { out.integer(c, Access::self<S>(o).m_knots.size()); }),
                   derived(73, [](const DxDbObject& o, Sink& out,
                                  int c) { out.integer(c, Access::self<S>(o).m_ctrl.size()); }),
                   derived(74, [](const DxDbObject& o, Sink& out,
                                  int c) { out.integer(c, Access::self<S>(o).m_fit.size()); }),
                   optRef<&S::m_knotTol, kDefaultTolerance>(42, "knot_tolerance"),
                   optRef<&S::m_ctrlTol, kDefaultTolerance>(43, "control_point_tolerance"),
                   optRef<&S::m_fitTol, kDefaultTolerance>(44, "fit_tolerance"),
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
                           case 40:
                             s.m_knots.push_back(asReal(t));
                             break;
                           case 41:
                             s.m_weights.push_back(asReal(t));
                             break;
                           case 10:
                             s.m_ctrl.emplace_back(t.pt[0], t.pt[1], t.pt[2]);
                             break;
                           case 11:
                             s.m_fit.emplace_back(t.pt[0], t.pt[1], t.pt[2]);
                             break;
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
  }
};

void defineSplineSchemas() { Access::Schemas<DxDbSpline>::define(); }

}  // namespace dx::db

void DxDbSpline::getSamplePoints(int count, std::vector<DxGePoint3d>& pts) const {
  pts.clear();
  int p = m_degree;
  size_t n = m_ctrl.size();
  if (n == 0) {
    pts = m_fit;
    return;
  }
  if (m_knots.size() != n + size_t(p) + 1 || p < 1) {
    pts = m_ctrl;
    return;
  }
  double t0 = m_knots[size_t(p)], t1 = m_knots[n];
  count = std::max(count, 2);
  for (int k = 0; k < count; ++k) {
    double t = t0 + (t1 - t0) * k / (count - 1);
    size_t span = size_t(p);
    while (span + 1 < n && m_knots[span + 1] <= t) ++span;
    std::vector<DxGePoint3d> d(size_t(p) + 1);
    std::vector<double> w(size_t(p) + 1);
    for (int j = 0; j <= p; ++j) {
      size_t idx = span - size_t(p) + size_t(j);
      double wt = m_weights.size() == n ? m_weights[idx] : 1.0;
      d[size_t(j)] = DxGePoint3d(m_ctrl[idx].x * wt, m_ctrl[idx].y * wt, m_ctrl[idx].z * wt);
      w[size_t(j)] = wt;
    }
    for (int r = 1; r <= p; ++r)
      for (int j = p; j >= r; --j) {
        size_t i = span - size_t(p) + size_t(j);
        double den = m_knots[i + size_t(p) + 1 - size_t(r)] - m_knots[i];
        double a = den == 0 ? 0 : (t - m_knots[i]) / den;
        d[size_t(j)] = DxGePoint3d(d[size_t(j - 1)].x * (1 - a) + d[size_t(j)].x * a,
                                   d[size_t(j - 1)].y * (1 - a) + d[size_t(j)].y * a,
                                   d[size_t(j - 1)].z * (1 - a) + d[size_t(j)].z * a);
        w[size_t(j)] = w[size_t(j - 1)] * (1 - a) + w[size_t(j)] * a;
      }
    double ww = w[size_t(p)] == 0 ? 1 : w[size_t(p)];
    pts.emplace_back(d[size_t(p)].x / ww, d[size_t(p)].y / ww, d[size_t(p)].z / ww);
  }
}
ErrorStatus DxDbSpline::getGeomExtents(DxGePoint3d& a, DxGePoint3d& b) const {
  // The curve itself, finely sampled: its control points may lie far outside it.
  Box box;
  std::vector<DxGePoint3d> pts;
  if (m_ctrl.size() >= 2) getSamplePoints(std::max<int>(128, int(m_ctrl.size()) * 16), pts);
  for (const auto& p : pts) box.add(p);
  if (pts.empty())
    for (const auto& p : m_fit.empty() ? m_ctrl : m_fit) box.add(p);
  return box.out(a, b);
}
ErrorStatus DxDbSpline::transformBy(const DxGeMatrix3d& m) {
  assertWriteEnabled();
  for (auto& p : m_ctrl) p = m * p;
  for (auto& p : m_fit) p = m * p;
  m_startTan = m * m_startTan;
  m_endTan = m * m_endTan;
  m_normal = (m * m_normal).normal();
  return Dxad::eOk;
}
