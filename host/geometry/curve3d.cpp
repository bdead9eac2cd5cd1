// Space curves: sampling by parameter, circular arcs in any plane.
#include <algorithm>
#include <cmath>

#include "hostapi/geometry.h"

void DxGeCurve3d::getSamplePoints(int numSample, std::vector<DxGePoint3d>& pts) const {
  pts.clear();
  double s, e;
  getInterval(s, e);
  int n = std::max(2, numSample);
  pts.reserve(size_t(n));
  for (int i = 0; i < n; ++i) pts.push_back(evalPoint(s + (e - s) * i / (n - 1)));
}

DxGeCircArc3d::DxGeCircArc3d(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& ref,
                             double r, double s, double e) {
  set(c, n, ref, r, s, e);
}

DxGeCircArc3d& DxGeCircArc3d::set(const DxGePoint3d& c, const DxGeVector3d& n, const DxGeVector3d& ref,
                                  double r, double s, double e) {
  m_center = c;
  m_normal = n.normal();
  // The reference direction is kept in the arc's plane.
  DxGeVector3d inPlane = ref - m_normal * ref.dotProduct(m_normal);
  m_ref = inPlane.isZeroLength() ? dxgeArbitraryXAxis(m_normal) : inPlane.normal();
  m_radius = r;
  m_start = s;
  m_end = e;
  return *this;
}

DxGePoint3d DxGeCircArc3d::evalPoint(double angle) const {
  DxGeVector3d y = m_normal.crossProduct(m_ref);
  return m_center + m_ref * (m_radius * std::cos(angle)) + y * (m_radius * std::sin(angle));
}
