#include <cmath>

#include "hostapi/geometry.h"

DxGeMatrix3d DxGeMatrix3d::translation(const DxGeVector3d& v) {
  DxGeMatrix3d m;
  m.entry[0][3] = v.x;
  m.entry[1][3] = v.y;
  m.entry[2][3] = v.z;
  return m;
}

DxGeMatrix3d DxGeMatrix3d::rotation(double angle, const DxGeVector3d& axisIn,
                                    const DxGePoint3d& c) {
  DxGeVector3d a = axisIn.normal();
  double s = std::sin(angle), co = std::cos(angle), t = 1 - co;
  DxGeMatrix3d r;
  r.entry[0][0] = t * a.x * a.x + co;
  r.entry[0][1] = t * a.x * a.y - s * a.z;
  r.entry[0][2] = t * a.x * a.z + s * a.y;
  r.entry[1][0] = t * a.x * a.y + s * a.z;
  r.entry[1][1] = t * a.y * a.y + co;
  r.entry[1][2] = t * a.y * a.z - s * a.x;
  r.entry[2][0] = t * a.x * a.z - s * a.y;
  r.entry[2][1] = t * a.y * a.z + s * a.x;
  r.entry[2][2] = t * a.z * a.z + co;
  return translation(c.asVector()) * r * translation(-c.asVector());
}

DxGeMatrix3d DxGeMatrix3d::scaling(double s, const DxGePoint3d& c) { return scaling(s, s, s, c); }

DxGeMatrix3d DxGeMatrix3d::scaling(double sx, double sy, double sz, const DxGePoint3d& c) {
  DxGeMatrix3d m;
  m.entry[0][0] = sx;
  m.entry[1][1] = sy;
  m.entry[2][2] = sz;
  m.entry[0][3] = c.x * (1 - sx);
  m.entry[1][3] = c.y * (1 - sy);
  m.entry[2][3] = c.z * (1 - sz);
  return m;
}

DxGeVector3d dxgeArbitraryXAxis(const DxGeVector3d& nIn) {
  DxGeVector3d n = nIn.normal();
  const double limit = 1.0 / 64.0;
  DxGeVector3d ax = (std::fabs(n.x) < limit && std::fabs(n.y) < limit)
                        ? DxGeVector3d::kYAxis.crossProduct(n)
                        : DxGeVector3d::kZAxis.crossProduct(n);
  return ax.normal();
}

DxGeMatrix3d DxGeMatrix3d::planeToWorld(const DxGeVector3d& nIn) {
  DxGeVector3d n = nIn.normal();
  DxGeMatrix3d m;
  if (n.isEqualTo(DxGeVector3d::kZAxis, 1e-15)) return m;
  DxGeVector3d ax = dxgeArbitraryXAxis(n);
  DxGeVector3d ay = n.crossProduct(ax).normal();
  for (int i = 0; i < 3; ++i) {
    const double* col[3] = {&ax.x, &ay.x, &n.x};
    for (int j = 0; j < 3; ++j) m.entry[i][j] = col[j][i];
  }
  return m;
}

DxGeMatrix3d DxGeMatrix3d::worldToPlane(const DxGeVector3d& n) { return planeToWorld(n).inverse(); }

DxGeMatrix3d DxGeMatrix3d::operator*(const DxGeMatrix3d& b) const {
  DxGeMatrix3d r;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += entry[i][k] * b.entry[k][j];
      r.entry[i][j] = s;
    }
  return r;
}

double DxGeMatrix3d::det() const {
  const auto& e = entry;
  return e[0][0] * (e[1][1] * e[2][2] - e[1][2] * e[2][1]) -
         e[0][1] * (e[1][0] * e[2][2] - e[1][2] * e[2][0]) +
         e[0][2] * (e[1][0] * e[2][1] - e[1][1] * e[2][0]);
}

DxGeMatrix3d DxGeMatrix3d::inverse() const {
  // Affine inverse: invert the 3x3 part, then the translation.
  const auto& e = entry;
  double d = det();
  DxGeMatrix3d r;
  if (d == 0) return r;
  double id = 1.0 / d;
  r.entry[0][0] = (e[1][1] * e[2][2] - e[1][2] * e[2][1]) * id;
  r.entry[0][1] = (e[0][2] * e[2][1] - e[0][1] * e[2][2]) * id;
  r.entry[0][2] = (e[0][1] * e[1][2] - e[0][2] * e[1][1]) * id;
  r.entry[1][0] = (e[1][2] * e[2][0] - e[1][0] * e[2][2]) * id;
  r.entry[1][1] = (e[0][0] * e[2][2] - e[0][2] * e[2][0]) * id;
  r.entry[1][2] = (e[0][2] * e[1][0] - e[0][0] * e[1][2]) * id;
  r.entry[2][0] = (e[1][0] * e[2][1] - e[1][1] * e[2][0]) * id;
  r.entry[2][1] = (e[0][1] * e[2][0] - e[0][0] * e[2][1]) * id;
  r.entry[2][2] = (e[0][0] * e[1][1] - e[0][1] * e[1][0]) * id;
  for (int i = 0; i < 3; ++i)
    r.entry[i][3] = -(r.entry[i][0] * e[0][3] + r.entry[i][1] * e[1][3] + r.entry[i][2] * e[2][3]);
  return r;
}

bool DxGeMatrix3d::isIdentity(double tol) const {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      if (std::fabs(entry[i][j] - (i == j ? 1.0 : 0.0)) > tol) return false;
  return true;
}

double DxGeMatrix3d::scale() const { return std::cbrt(std::fabs(det())); }

DxGePoint3d DxGeMatrix3d::apply(const DxGePoint3d& p) const {
  const auto& e = entry;
  return {e[0][0] * p.x + e[0][1] * p.y + e[0][2] * p.z + e[0][3],
          e[1][0] * p.x + e[1][1] * p.y + e[1][2] * p.z + e[1][3],
          e[2][0] * p.x + e[2][1] * p.y + e[2][2] * p.z + e[2][3]};
}

DxGeVector3d DxGeMatrix3d::apply(const DxGeVector3d& v) const {
  const auto& e = entry;
  return {e[0][0] * v.x + e[0][1] * v.y + e[0][2] * v.z,
          e[1][0] * v.x + e[1][1] * v.y + e[1][2] * v.z,
          e[2][0] * v.x + e[2][1] * v.y + e[2][2] * v.z};
}
