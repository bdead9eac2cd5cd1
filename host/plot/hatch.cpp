// Hatches from their entity list: boundary loops (polylines or edges: lines, arcs,
// elliptic arcs, splines) and the pattern's line families. Loops fill with the even-odd
// rule, so an island inside a boundary stays open; pattern lines are drawn across the
// boundary's box and clipped to the same region.
#include <algorithm>
#include <cmath>

#include "host/plot/render.h"

namespace dx::plot {

namespace {

constexpr double kPi = 3.14159265358979323846;
// More pattern lines than this in one family would paint the area solid anyway.
constexpr int kMaxFamilyLines = 20000;

struct PatternLine {
  double angle = 0;  // radians
  DxGePoint2d base, offset;
  std::vector<double> dashes;
};

struct HatchData {
  std::vector<std::vector<DxGePoint2d>> loops;
  std::vector<PatternLine> lines;
};

DxGePoint2d pt2(const resbuf* rb) { return {rb->resval.rpoint[0], rb->resval.rpoint[1]}; }

// A point of a B-spline (de Boor), rational when weights are given.
DxGePoint2d splinePoint(int p, const std::vector<double>& k, const std::vector<DxGePoint2d>& c,
                        const std::vector<double>& w, double t) {
  int n = int(c.size());
  int s = p;
  while (s < n - 1 && t >= k[s + 1]) ++s;
  std::vector<double> x(p + 1), y(p + 1), h(p + 1);
  for (int j = 0; j <= p; ++j) {
    int i = std::clamp(s - p + j, 0, n - 1);
    double wi = w.size() == c.size() ? w[i] : 1;
    x[j] = c[i].x * wi, y[j] = c[i].y * wi, h[j] = wi;
  }
  for (int r = 1; r <= p; ++r)
    for (int j = p; j >= r; --j) {
      int i = s - p + j;
      double den = k[i + p - r + 1] - k[i];
      double a = den > 0 ? (t - k[i]) / den : 0;
      x[j] = (1 - a) * x[j - 1] + a * x[j];
      y[j] = (1 - a) * y[j - 1] + a * y[j];
      h[j] = (1 - a) * h[j - 1] + a * h[j];
    }
  return h[p] != 0 ? DxGePoint2d(x[p] / h[p], y[p] / h[p]) : DxGePoint2d(x[p], y[p]);
}

// Reads loops and pattern lines; `rb` stands on the loop count (91).
// Angles come in radians, as entity lists give them.
HatchData parse(const resbuf* rb, double devScale) {
  HatchData hd;
  auto next = [&] { rb = rb ? rb->rbnext : nullptr; };
  int nLoops = rbInt(rb);
  next();
  for (int li = 0; li < nLoops && rb; ++li) {
    while (rb && rb->restype != 92) next();
    if (!rb) break;
    int type = rbInt(rb);
    next();
    std::vector<DxGePoint2d> loop;
    if (type & 2) {  // polyline loop: 72 has-bulge, 73 closed, 93 count, then 10 [42]
      bool hasBulge = false;
      int count = 0;
      for (; rb && rb->restype != 10; next()) {
        if (rb->restype == 72) hasBulge = rbInt(rb) != 0;
        if (rb->restype == 93) count = rbInt(rb);
      }
      std::vector<DxGePoint2d> v;
      std::vector<double> bulge;
      for (int i = 0; i < count && rb && rb->restype == 10; ++i) {
        v.push_back(pt2(rb));
        next();
        double b = 0;
        if (hasBulge && rb && rb->restype == 42) b = rb->resval.rreal, next();
        bulge.push_back(b);
      }
      if (!v.empty()) {
        loop.push_back(v[0]);
        for (size_t i = 0; i < v.size(); ++i) bulgePoints(v[i], v[(i + 1) % v.size()], bulge[i], devScale, loop);
      }
    } else {
      while (rb && rb->restype != 93) next();
      int edges = rb ? rbInt(rb) : 0;
      next();
      for (int ei = 0; ei < edges && rb; ++ei) {
        while (rb && rb->restype != 72) next();
        if (!rb) break;
        int et = rbInt(rb);
        next();
        if (et == 1) {
          while (rb && rb->restype != 10) next();
          if (!rb) break;
          DxGePoint2d a = pt2(rb);
          next();
          while (rb && rb->restype != 11) next();
          if (!rb) break;
          loop.push_back(a);
          loop.push_back(pt2(rb));
          next();
        } else if (et == 2 || et == 3) {
          DxGePoint2d c, major{1, 0};
          double r = 0, ratio = 1, a0 = 0, a1 = 0;
          int ccw = 1;
          for (; rb && rb->restype != 72 && rb->restype != 97 && rb->restype != 92; next()) {
            switch (rb->restype) {
              case 10: c = pt2(rb); break;
              case 11: major = pt2(rb); break;
              case 40: (et == 2 ? r : ratio) = rb->resval.rreal; break;
              case 50: a0 = rb->resval.rreal; break;
              case 51: a1 = rb->resval.rreal; break;
              case 73: ccw = rbInt(rb); break;
            }
            if (rb->restype == 73) {
              next();
              break;
            }
          }
          double len = et == 2 ? r : std::hypot(major.x, major.y);
          DxGeVector2d ux = et == 2 ? DxGeVector2d(r, 0) : DxGeVector2d(major.x, major.y);
          DxGeVector2d uy(-ux.y * (et == 2 ? 1 : ratio), ux.x * (et == 2 ? 1 : ratio));
          // Clockwise edges give their angles mirrored.
          if (!ccw) a0 = -a0, a1 = -a1;
          double e0 = a0, e1 = a1;
          if (ccw) {
            while (e1 <= e0) e1 += 2 * kPi;
          } else {
            while (e1 >= e0) e1 -= 2 * kPi;
          }
          std::vector<DxGePoint2d> arc;
          arcPoints(0, 0, 1, e0, e1, len * devScale, arc);
          for (auto& p : arc) loop.emplace_back(c.x + ux.x * p.x + uy.x * p.y, c.y + ux.y * p.x + uy.y * p.y);
        } else if (et == 4) {
          int degree = 3;
          std::vector<double> knots, weights;
          std::vector<DxGePoint2d> ctrl, fit;
          for (; rb && rb->restype != 72 && rb->restype != 97 && rb->restype != 92; next()) {
            switch (rb->restype) {
              case 94: degree = std::clamp(rbInt(rb), 1, 11); break;
              case 40: knots.push_back(rb->resval.rreal); break;
              case 42: weights.push_back(rb->resval.rreal); break;
              case 10: ctrl.push_back(pt2(rb)); break;
              case 11: fit.push_back(pt2(rb)); break;
            }
          }
          if (ctrl.size() > size_t(degree) && knots.size() == ctrl.size() + degree + 1) {
            double t0 = knots[degree], t1 = knots[ctrl.size()];
            int n = int(std::clamp<size_t>(ctrl.size() * 12, 24, 2000));
            for (int i = 0; i <= n; ++i) loop.push_back(splinePoint(degree, knots, ctrl, weights, t0 + (t1 - t0) * i / n));
          } else {
            loop.insert(loop.end(), fit.begin(), fit.end());
          }
        }
      }
    }
    if (loop.size() >= 2) hd.loops.push_back(std::move(loop));
  }
  // Pattern line families follow the boundary: 78 count, then 53 43 44 45 46 79 49...
  while (rb && rb->restype != 78) next();
  int nLines = rb ? rbInt(rb) : 0;
  next();
  for (int i = 0; i < nLines && rb; ++i) {
    while (rb && rb->restype != 53) next();
    if (!rb) break;
    PatternLine pl;
    pl.angle = rb->resval.rreal;
    next();
    for (; rb && rb->restype != 53 && rb->restype != 47 && rb->restype != 98; next()) {
      switch (rb->restype) {
        case 43: pl.base.x = rb->resval.rreal; break;
        case 44: pl.base.y = rb->resval.rreal; break;
        case 45: pl.offset.x = rb->resval.rreal; break;
        case 46: pl.offset.y = rb->resval.rreal; break;
        case 49: pl.dashes.push_back(rb->resval.rreal); break;
      }
    }
    hd.lines.push_back(std::move(pl));
  }
  return hd;
}

}  // namespace

void drawHatch(Renderer& r, DxDbHatch* h, const DxGeMatrix3d& m, const Pen& pen) {
  cairo_t* cr = r.cr();
  DxGeMatrix3d ocs = m * DxGeMatrix3d::planeToWorld(h->normal());
  double devScale = planeScale(ocs);
  EntityList list(h->objectId());
  const resbuf* loops = list.find(91);
  if (!loops) return;
  HatchData hd = parse(loops, devScale);
  if (hd.loops.empty()) return;
  double z = h->elevation();
  cairo_save(cr);
  cairo_new_path(cr);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
  double minX = 1e300, minY = 1e300, maxX = -1e300, maxY = -1e300;
  for (auto& loop : hd.loops) {
    for (size_t i = 0; i < loop.size(); ++i) {
      Pt p = toDev(ocs, DxGePoint3d(loop[i].x, loop[i].y, z));
      if (i == 0) cairo_move_to(cr, p.x, p.y);
      else cairo_line_to(cr, p.x, p.y);
      minX = std::min(minX, loop[i].x), maxX = std::max(maxX, loop[i].x);
      minY = std::min(minY, loop[i].y), maxY = std::max(maxY, loop[i].y);
    }
    cairo_close_path(cr);
  }
  cairo_set_source_rgb(cr, pen.color.r, pen.color.g, pen.color.b);
  if (h->isSolidFill() || hd.lines.empty() || r.measuring()) {
    r.fill();
    cairo_restore(cr);
    return;
  }
  cairo_clip(cr);
  // Each family: parallel lines through base + k * offset, covering the boundary's box.
  DxGePoint2d corners[4] = {{minX, minY}, {maxX, minY}, {maxX, maxY}, {minX, maxY}};
  for (const PatternLine& pl : hd.lines) {
    double dx = std::cos(pl.angle), dy = std::sin(pl.angle);
    double nx = -dy, ny = dx;
    double step = pl.offset.x * nx + pl.offset.y * ny;  // distance between lines
    double shift = pl.offset.x * dx + pl.offset.y * dy;  // pattern shift per line
    if (std::fabs(step) < 1e-12) continue;
    if (std::fabs(step) * devScale < 1.5) {
      // Lines closer than the pixels would merge: the family shows as a tint.
      cairo_set_source_rgba(cr, pen.color.r, pen.color.g, pen.color.b, 0.5);
      cairo_paint(cr);
      continue;
    }
    double lo = 1e300, hi = -1e300, along0 = 1e300, along1 = -1e300;
    for (auto& c : corners) {
      double rx = c.x - pl.base.x, ry = c.y - pl.base.y;
      lo = std::min(lo, (rx * nx + ry * ny) / step), hi = std::max(hi, (rx * nx + ry * ny) / step);
      along0 = std::min(along0, rx * dx + ry * dy), along1 = std::max(along1, rx * dx + ry * dy);
    }
    long k0 = long(std::floor(std::min(lo, hi))), k1 = long(std::ceil(std::max(lo, hi)));
    if (k1 - k0 > kMaxFamilyLines) k1 = k0 + kMaxFamilyLines;
    Pen linePen = pen;
    linePen.pattern = pl.dashes;
    linePen.patternScale = devScale;
    double patLen = 0;
    for (double d : pl.dashes) patLen += std::fabs(d);
    for (long k = k0; k <= k1; ++k) {
      // Origin of line k and where its dash pattern starts.
      double ox = pl.base.x + pl.offset.x * k, oy = pl.base.y + pl.offset.y * k;
      double t0 = along0 - shift * k - 1, t1 = along1 - shift * k + 1;
      if (patLen > 0) t0 = std::floor(t0 / patLen) * patLen;  // start on a pattern boundary
      Pt a = toDev(ocs, DxGePoint3d(ox + dx * t0, oy + dy * t0, z));
      Pt b = toDev(ocs, DxGePoint3d(ox + dx * t1, oy + dy * t1, z));
      cairo_move_to(cr, a.x, a.y);
      cairo_line_to(cr, b.x, b.y);
      if (!pl.dashes.empty()) r.stroke(linePen);
    }
    if (pl.dashes.empty()) r.stroke(linePen);
  }
  cairo_restore(cr);
}

}  // namespace dx::plot
