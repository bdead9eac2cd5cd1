// The plane geometry of superhatch, free of the drawing: where the grid of pattern copies
// starts and how many columns and rows it has, the cut lines that make an area with
// islands into pieces without holes, how many points an arc is sampled with, and the
// shapes that decide which pieces a copy goes to.
#pragma once

#include <memory>
#include <vector>

#include "hostapi/geometry.h"

namespace express::shatch {

inline constexpr double kTol = 1e-10;

// Shift along one axis that moves a tile [tileMin, tileMax] by whole tiles of size so that
// the first column (or row) starts outside the boundary, whose minimum is boundMin.
double gridShift(double tileMin, double tileMax, double boundMin, double size);

struct CGridLayout {
  DxGeVector2d shift;    // whole tiles
  DxGePoint2d origin;    // lower-left corner of the first tile, after the shift
  double width = 0, height = 0;
  int columns = 0, rows = 0;
};

// The grid over the boundary extents bLo..bHi for a tile tLo..tHi (both in the pattern's
// own axis-aligned frame). False when the tile has no size or the grid cannot reach the
// boundary.
bool layGrid(const DxGePoint2d& tLo, const DxGePoint2d& tHi, const DxGePoint2d& bLo,
             const DxGePoint2d& bHi, CGridLayout& grid);

// Vertical cut lines for each island extents (lo, hi): at 10% of its width inside each
// side, reaching 5 units past the outer extents' bottom and top.
std::vector<KvGeLineSeg2d> cutLines(const DxGePoint2d& outerLo, const DxGePoint2d& outerHi,
                                    const std::vector<std::pair<DxGePoint2d, DxGePoint2d>>& islands);

// Points an arc of this sweep is sampled with when a full turn gets `accuracy` points;
// 0 when the accuracy is too small to sample at all.
int arcSampleCount(double sweep, int accuracy);

// Hole-free pieces of the area inside outer and outside the islands (closed point loops,
// counter-clockwise), split along the cut lines of the islands.
std::vector<std::vector<DxGePoint2d>> splitArea(const std::vector<DxGePoint2d>& outer,
                                                const std::vector<std::vector<DxGePoint2d>>& islands);

// The part of a polygon inside the rectangle lo..hi (edge by edge against each side, so a
// concave polygon may come back joined by edges of no width; its area is exact).
std::vector<DxGePoint2d> clipToRect(const std::vector<DxGePoint2d>& poly, const DxGePoint2d& lo,
                                    const DxGePoint2d& hi);

// A piece as the sorting sees it.
class CWyobiShape {
 public:
  virtual ~CWyobiShape() = default;
  virtual bool IsInside(const DxGePoint2d& p) const = 0;
  // Whether the axis-aligned rectangle lo..hi overlaps the shape.
  virtual bool IsOverlap(const DxGePoint2d& lo, const DxGePoint2d& hi) const = 0;
};

class CWyobiRect : public CWyobiShape {
 public:
  CWyobiRect(const DxGePoint2d& lo, const DxGePoint2d& hi) : m_lo(lo), m_hi(hi) {}
  bool IsInside(const DxGePoint2d& p) const override;
  bool IsOverlap(const DxGePoint2d& lo, const DxGePoint2d& hi) const override;

 private:
  DxGePoint2d m_lo, m_hi;
};

class CWyobiPolyline : public CWyobiShape {
 public:
  explicit CWyobiPolyline(std::vector<DxGePoint2d> pts);
  const std::vector<DxGePoint2d>& points() const { return m_pts; }
  // Points on an edge count as inside.
  bool IsInside(const DxGePoint2d& p) const override;
  bool IsOverlap(const DxGePoint2d& lo, const DxGePoint2d& hi) const override;

 private:
  std::vector<DxGePoint2d> m_pts;
  DxGePoint2d m_lo, m_hi;  // extents, to turn far-away copies down at once
};

// The pieces a copy with extents lo..hi goes to, in piece order: a piece holding one of
// the copy's corners or overlapping it takes it, and a piece holding all four corners
// ends the search.
void assignPieces(const std::vector<std::unique_ptr<CWyobiShape>>& pieces, const DxGePoint2d& lo,
                  const DxGePoint2d& hi, std::vector<size_t>& taken);

}  // namespace express::shatch
