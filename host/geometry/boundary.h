// Finding the closed area around a point among loose curves: the curves are split where
// they meet (within a gap tolerance) and the face holding the point is walked edge by
// edge, always taking the sharpest left turn. A uniform grid keeps every query local,
// so one pick costs about the size of the area found, not of the drawing.
#pragma once

#include <cstdint>
#include <vector>

#include "host/geometry/pieces.h"

namespace dx::geo {

struct BoundaryLoop {
  std::vector<Piece> pieces;  // end to end; the last ends where the first starts
  double area = 0;            // signed: counter-clockwise positive
  bool contains(const DxGePoint2d& p) const;
};

class BoundaryFinder {
 public:
  BoundaryFinder(std::vector<Piece> curves, double gapTolerance);
  // The smallest closed area around p: its outline counter-clockwise and, with islands,
  // the outlines (clockwise) of the closed shapes inside it that do not touch it, outer
  // ones only. False when p lies in no closed area.
  bool find(const DxGePoint2d& p, bool islands, BoundaryLoop& outer, std::vector<BoundaryLoop>& inner);

 private:
  struct Half {  // a part of an edge between two neighbouring splits, walked one way
    int edge = -1;
    int index = 0;  // from split index to index+1 (forward) or index+1 to index
    bool forward = true;
    bool operator==(const Half&) const = default;
  };
  void buildGrid();
  template <class F> void forCells(const DxGePoint2d& lo, const DxGePoint2d& hi, F&& f);
  const std::vector<double>& splits(int e);
  double paramOf(int e, const DxGePoint2d& p) const;
  DxGePoint2d pointAt(int e, double t) const;
  Piece part(const Half& h);
  void tangent(const Half& h, bool atEnd, double& angle, double& curvature);
  // Walks the face to the left of h; false when the walk does not close.
  bool walk(Half start, BoundaryLoop& loop, std::vector<int>& touched);
  // Traces from the first curve the ray from p towards +x meets, stepping over edges
  // marked taken. firstOnly: that loop whatever its sense; otherwise shapes seen from
  // outside are stepped over (and marked) until a loop holds p. Touched edges are marked.
  // The shapes stepped over go to passed.
  bool traceFrom(const DxGePoint2d& p, std::vector<char>& taken, bool firstOnly, BoundaryLoop& loop,
                 std::vector<BoundaryLoop>* passed = nullptr);

  std::vector<Piece> m_edges;
  std::vector<DxGePoint2d> m_lo, m_hi;  // edge boxes
  std::vector<std::vector<double>> m_splits;
  std::vector<char> m_splitDone;
  double m_tol;
  DxGePoint2d m_gridLo;
  double m_cell = 1;
  int m_nx = 1, m_ny = 1;
  std::vector<uint32_t> m_cellStart, m_cellEdges;
  std::vector<uint32_t> m_stamp;
  uint32_t m_stampNow = 0;
};

}  // namespace dx::geo
