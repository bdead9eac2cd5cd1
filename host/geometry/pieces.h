// Straight and circular pieces the plane curves are made of, shared by the curve and
// region code of the host and by the boundary tracer.
#pragma once

#include <vector>

#include "hostapi/geometry.h"

namespace dx::geo {

struct Piece {
  bool isArc = false;
  DxGePoint2d a, b;      // start and end
  DxGePoint2d c;         // arcs: centre, radius, start angle, signed sweep (ccw positive)
  double r = 0, a0 = 0, sweep = 0;
  bool flat = false;     // a chord standing in for a curve that has no exact piece

  static Piece line(const DxGePoint2d& a, const DxGePoint2d& b);
  static Piece bulged(const DxGePoint2d& a, const DxGePoint2d& b, double bulge);
  static Piece arc(const DxGePoint2d& c, double r, double a0, double sweep);
  DxGePoint2d at(double angle) const;
  // Angle past the start in the arc's sense, in [0, 2 pi).
  double offsetOnArc(double angle) const;
  bool angleOn(double angle, double tol) const;
  void extend(DxGePoint2d& lo, DxGePoint2d& hi) const;
  double distance(const DxGePoint2d& p) const;
  // This piece's share of the signed area of a closed chain of pieces.
  double areaTerm() const;
  double length() const;
};

// Meeting points of two pieces (tangent touches once, collinear overlaps at their ends).
void intersect(const Piece& p, const Piece& q, std::vector<DxGePoint2d>& out, double tol);
// Crossings of the ray from pt towards +x (half-open in y).
int crossings(const Piece& p, const DxGePoint2d& pt);
std::vector<Piece> piecesOf(const KvGeCurve2d& c);
// Appends the piece's start and inner chord points.
void linearize(const Piece& p, int perCircle, std::vector<DxGePoint2d>& pts);

}  // namespace dx::geo
