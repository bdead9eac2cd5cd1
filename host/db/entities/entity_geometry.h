// Geometry helpers of the entity methods: extents boxes, arcs and transformed normals.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "hostapi/db.h"

namespace dx::db {

constexpr double kDeg = M_PI / 180.0;

struct Box {
  DxGePoint3d lo{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                 std::numeric_limits<double>::max()};
  DxGePoint3d hi{-std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
                 -std::numeric_limits<double>::max()};
  bool empty = true;
  void add(const DxGePoint3d& p) {
    lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
    hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
    empty = false;
  }
  Dxad::ErrorStatus out(DxGePoint3d& a, DxGePoint3d& b) const {
    if (empty) return Dxad::eInvalidInput;
    a = lo;
    b = hi;
    return Dxad::eOk;
  }
};

// Points on a circle or arc in its plane, for extents (exact at the quadrants).
inline void addArc(Box& box, const DxGePoint3d& cOcs, double r, double a0, double a1,
                   const DxGeVector3d& n) {
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(n);
  auto at = [&](double a) {
    return toW * DxGePoint3d(cOcs.x + r * std::cos(a), cOcs.y + r * std::sin(a), cOcs.z);
  };
  while (a1 < a0) a1 += 2 * M_PI;
  box.add(at(a0));
  box.add(at(a1));
  for (int q = int(std::ceil(a0 / (M_PI / 2))); q * (M_PI / 2) < a1; ++q)
    box.add(at(q * (M_PI / 2)));
}

// New normal and the transform of an object coordinate system under xform.
inline DxGeVector3d xformNormal(const DxGeMatrix3d& m, const DxGeVector3d& n) {
  DxGeMatrix3d toW = DxGeMatrix3d::planeToWorld(n);
  DxGeVector3d ax = toW * DxGeVector3d::kXAxis, ay = toW * DxGeVector3d::kYAxis;
  DxGeVector3d nx = m * ax, ny = m * ay;
  return nx.crossProduct(ny).normal();
}

}  // namespace dx::db
