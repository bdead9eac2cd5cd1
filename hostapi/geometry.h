// Draxel host interface: geometry family (points, vectors, matrices, tolerance).
#pragma once

#include <cmath>
#include <memory>
#include <vector>

struct DxGeTol {
  double equalPoint = 1e-10;
  double equalVector = 1e-10;
};

class DxGeVector3d;

class DxGePoint2d {
 public:
  double x = 0, y = 0;
  constexpr DxGePoint2d() = default;
  constexpr DxGePoint2d(double ax, double ay) : x(ax), y(ay) {}
  bool operator==(const DxGePoint2d&) const = default;
  bool isEqualTo(const DxGePoint2d& o, double tol = 1e-10) const {
    return std::hypot(x - o.x, y - o.y) <= tol;
  }
  double distanceTo(const DxGePoint2d& o) const { return std::hypot(x - o.x, y - o.y); }
};

class DxGeVector2d {
 public:
  double x = 0, y = 0;
  constexpr DxGeVector2d() = default;
  constexpr DxGeVector2d(double ax, double ay) : x(ax), y(ay) {}
  bool operator==(const DxGeVector2d&) const = default;
  double length() const { return std::hypot(x, y); }
  double angle() const {
    double a = std::atan2(y, x);
    return a < 0 ? a + 2 * M_PI : a;
  }
};

class DxGeVector3d {
 public:
  double x = 0, y = 0, z = 0;
  constexpr DxGeVector3d() = default;
  constexpr DxGeVector3d(double ax, double ay, double az) : x(ax), y(ay), z(az) {}
  bool operator==(const DxGeVector3d&) const = default;
  static const DxGeVector3d kXAxis, kYAxis, kZAxis, kIdentity;

  double length() const { return std::sqrt(x * x + y * y + z * z); }
  double dotProduct(const DxGeVector3d& v) const { return x * v.x + y * v.y + z * v.z; }
  DxGeVector3d crossProduct(const DxGeVector3d& v) const {
    return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x};
  }
  DxGeVector3d normal() const {
    double l = length();
    return l > 0 ? DxGeVector3d(x / l, y / l, z / l) : *this;
  }
  DxGeVector3d& normalize() { return *this = normal(); }
  bool isZeroLength(double tol = 1e-10) const { return length() <= tol; }
  bool isEqualTo(const DxGeVector3d& v, double tol = 1e-10) const {
    return (*this - v).length() <= tol;
  }
  DxGeVector3d operator+(const DxGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  DxGeVector3d operator-(const DxGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  DxGeVector3d operator-() const { return {-x, -y, -z}; }
  DxGeVector3d operator*(double s) const { return {x * s, y * s, z * s}; }
  DxGeVector3d& operator+=(const DxGeVector3d& v) { return *this = *this + v; }
  DxGeVector3d& operator*=(double s) { return *this = *this * s; }
};

inline constexpr DxGeVector3d DxGeVector3d::kXAxis{1, 0, 0};
inline constexpr DxGeVector3d DxGeVector3d::kYAxis{0, 1, 0};
inline constexpr DxGeVector3d DxGeVector3d::kZAxis{0, 0, 1};
inline constexpr DxGeVector3d DxGeVector3d::kIdentity{0, 0, 0};

class DxGePoint3d {
 public:
  double x = 0, y = 0, z = 0;
  constexpr DxGePoint3d() = default;
  constexpr DxGePoint3d(double ax, double ay, double az) : x(ax), y(ay), z(az) {}
  bool operator==(const DxGePoint3d&) const = default;
  static const DxGePoint3d kOrigin;

  double distanceTo(const DxGePoint3d& p) const { return (*this - p).length(); }
  bool isEqualTo(const DxGePoint3d& p, double tol = 1e-10) const { return distanceTo(p) <= tol; }
  DxGePoint3d operator+(const DxGeVector3d& v) const { return {x + v.x, y + v.y, z + v.z}; }
  DxGePoint3d operator-(const DxGeVector3d& v) const { return {x - v.x, y - v.y, z - v.z}; }
  DxGeVector3d operator-(const DxGePoint3d& p) const { return {x - p.x, y - p.y, z - p.z}; }
  DxGePoint3d& operator+=(const DxGeVector3d& v) { return *this = *this + v; }
  DxGeVector3d asVector() const { return {x, y, z}; }
  DxGePoint2d to2d() const { return {x, y}; }
};
inline constexpr DxGePoint3d DxGePoint3d::kOrigin{0, 0, 0};

// Row-major 4x4 affine matrix; points are column vectors (p' = M p).
class DxGeMatrix3d {
 public:
  double entry[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  static DxGeMatrix3d translation(const DxGeVector3d& v);
  static DxGeMatrix3d rotation(double angle, const DxGeVector3d& axis,
                               const DxGePoint3d& center = DxGePoint3d::kOrigin);
  static DxGeMatrix3d scaling(double s, const DxGePoint3d& center = DxGePoint3d::kOrigin);
  static DxGeMatrix3d scaling(double sx, double sy, double sz,
                              const DxGePoint3d& center = DxGePoint3d::kOrigin);
  // Object coordinate system of an extrusion direction (the arbitrary axis algorithm).
  static DxGeMatrix3d planeToWorld(const DxGeVector3d& normal);
  static DxGeMatrix3d worldToPlane(const DxGeVector3d& normal);

  DxGeMatrix3d& setToIdentity() { return *this = DxGeMatrix3d(); }
  DxGeMatrix3d& setToTranslation(const DxGeVector3d& v) { return *this = translation(v); }
  DxGeMatrix3d& setToRotation(double a, const DxGeVector3d& axis,
                              const DxGePoint3d& c = DxGePoint3d::kOrigin) {
    return *this = rotation(a, axis, c);
  }
  DxGeMatrix3d& setToScaling(double s, const DxGePoint3d& c = DxGePoint3d::kOrigin) {
    return *this = scaling(s, c);
  }
  DxGeMatrix3d operator*(const DxGeMatrix3d& m) const;
  DxGeMatrix3d& preMultBy(const DxGeMatrix3d& m) { return *this = m * *this; }
  DxGeMatrix3d& postMultBy(const DxGeMatrix3d& m) { return *this = *this * m; }
  DxGeMatrix3d inverse() const;
  DxGeMatrix3d& invert() { return *this = inverse(); }
  double det() const;
  bool isIdentity(double tol = 1e-12) const;
  // Uniform scale factor of the linear part (cube root of |det|).
  double scale() const;

  DxGePoint3d apply(const DxGePoint3d& p) const;
  DxGeVector3d apply(const DxGeVector3d& v) const;
};

inline DxGePoint3d operator*(const DxGeMatrix3d& m, const DxGePoint3d& p) { return m.apply(p); }
inline DxGeVector3d operator*(const DxGeMatrix3d& m, const DxGeVector3d& v) { return m.apply(v); }

// Arbitrary axis algorithm of the DXF format: the x axis of an object's coordinate system.
DxGeVector3d dxgeArbitraryXAxis(const DxGeVector3d& normal);

// ---------------------------------------------------------------------------------------
// 3-D curves

class DxGeCurve3d {
 public:
  virtual ~DxGeCurve3d() = default;
  virtual DxGePoint3d evalPoint(double param) const = 0;
  virtual void getInterval(double& startParam, double& endParam) const = 0;
  // numSample points evenly spaced in the parameter, both ends included (at least two).
  void getSamplePoints(int numSample, std::vector<DxGePoint3d>& pts) const;
};

// Circular arc: the parameter is the angle from refVec, counter-clockwise about normal.
class DxGeCircArc3d : public DxGeCurve3d {
 public:
  DxGeCircArc3d() = default;
  DxGeCircArc3d(const DxGePoint3d& center, const DxGeVector3d& normal, const DxGeVector3d& refVec,
                double radius, double startAng, double endAng);
  DxGeCircArc3d& set(const DxGePoint3d& center, const DxGeVector3d& normal,
                     const DxGeVector3d& refVec, double radius, double startAng, double endAng);
  DxGePoint3d center() const { return m_center; }
  DxGeVector3d normal() const { return m_normal; }
  DxGeVector3d refVec() const { return m_ref; }
  double radius() const { return m_radius; }
  double startAng() const { return m_start; }
  double endAng() const { return m_end; }
  DxGePoint3d startPoint() const { return evalPoint(m_start); }
  DxGePoint3d endPoint() const { return evalPoint(m_end); }
  DxGePoint3d evalPoint(double angle) const override;
  void getInterval(double& s, double& e) const override { s = m_start, e = m_end; }

 private:
  DxGePoint3d m_center;
  DxGeVector3d m_normal{0, 0, 1}, m_ref{1, 0, 0};
  double m_radius = 0, m_start = 0, m_end = 2 * M_PI;
};

// ---------------------------------------------------------------------------------------
// 2-D curves and regions (world XY or a plane's own coordinates)

enum class KvGeType { kLineSeg, kCircle, kPolyline };

class KvGeCurve2d {
 public:
  virtual ~KvGeCurve2d() = default;
  virtual KvGeType type() const = 0;
  virtual KvGeCurve2d* Clone() const = 0;
  virtual bool IsClosed() const = 0;
  virtual void GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const = 0;
  // The curve as a chain of points; a full circle turns into segmentsPerCircle chords
  // (arcs in proportion, at least one chord each). Closed curves repeat no point.
  virtual void MLinearize(int segmentsPerCircle, std::vector<DxGePoint2d>& pts) const = 0;
  // Points where the curves meet (arcs exact, not flattened), appended to pts; the
  // count appended. Overlapping collinear pieces meet at the overlap's ends.
  int IntersectWith(const KvGeCurve2d& other, std::vector<DxGePoint2d>& pts,
                    double tol = 1e-10) const;
  // A closed curve holds p (on the curve counts as inside); open curves hold nothing.
  bool IsInclude(const DxGePoint2d& p, double tol = 1e-10) const;
  // Signed area of a closed curve (counter-clockwise positive); 0 for open curves.
  double Area() const;
};

class KvGeLineSeg2d : public KvGeCurve2d {
 public:
  KvGeLineSeg2d() = default;
  KvGeLineSeg2d(const DxGePoint2d& a, const DxGePoint2d& b) : m_start(a), m_end(b) {}
  DxGePoint2d StartPoint() const { return m_start; }
  DxGePoint2d EndPoint() const { return m_end; }
  KvGeType type() const override { return KvGeType::kLineSeg; }
  KvGeCurve2d* Clone() const override { return new KvGeLineSeg2d(*this); }
  bool IsClosed() const override { return false; }
  void GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const override;
  void MLinearize(int, std::vector<DxGePoint2d>& pts) const override;

 private:
  DxGePoint2d m_start, m_end;
};

class KvGeCircle2d : public KvGeCurve2d {
 public:
  KvGeCircle2d() = default;
  KvGeCircle2d(const DxGePoint2d& c, double r) : m_center(c), m_radius(r) {}
  DxGePoint2d Center() const { return m_center; }
  double Radius() const { return m_radius; }
  KvGeType type() const override { return KvGeType::kCircle; }
  KvGeCurve2d* Clone() const override { return new KvGeCircle2d(*this); }
  bool IsClosed() const override { return true; }
  void GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const override;
  void MLinearize(int segmentsPerCircle, std::vector<DxGePoint2d>& pts) const override;

 private:
  DxGePoint2d m_center;
  double m_radius = 0;
};

// Vertices with bulges: the bulge of vertex i (tangent of a quarter of the included
// angle, positive counter-clockwise) shapes the segment from vertex i to the next.
class KvGePolyline2d : public KvGeCurve2d {
 public:
  KvGePolyline2d() = default;
  KvGePolyline2d(std::vector<DxGePoint2d> pts, std::vector<double> bulges, bool closed);
  unsigned NumVerts() const { return unsigned(m_pts.size()); }
  DxGePoint2d PointAt(unsigned i) const { return m_pts[i]; }
  double BulgeAt(unsigned i) const { return i < m_bulges.size() ? m_bulges[i] : 0.0; }
  void AddVertex(const DxGePoint2d& p, double bulge = 0);
  void SetClosed(bool c) { m_closed = c; }
  KvGeType type() const override { return KvGeType::kPolyline; }
  KvGeCurve2d* Clone() const override { return new KvGePolyline2d(*this); }
  bool IsClosed() const override { return m_closed; }
  void GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const override;
  void MLinearize(int segmentsPerCircle, std::vector<DxGePoint2d>& pts) const override;

 private:
  std::vector<DxGePoint2d> m_pts;
  std::vector<double> m_bulges;
  bool m_closed = false;
};

// An owning list of curves.
class KvGeObjList {
 public:
  KvGeObjList() = default;
  KvGeObjList(KvGeObjList&&) = default;
  KvGeObjList& operator=(KvGeObjList&&) = default;
  void Add(KvGeCurve2d* c) { m_items.emplace_back(c); }
  size_t Count() const { return m_items.size(); }
  const KvGeCurve2d* At(size_t i) const { return m_items[i].get(); }
  void Clear() { m_items.clear(); }

 private:
  std::vector<std::unique_ptr<KvGeCurve2d>> m_items;
};

// One area: an outer loop and the holes inside it, as point loops (outer loop
// counter-clockwise, holes clockwise).
class KvGeRegion2d {
 public:
  std::vector<DxGePoint2d> outer;
  std::vector<std::vector<DxGePoint2d>> holes;
  bool IsInclude(const DxGePoint2d& p) const;  // inside or on an edge
  double Area() const;                         // outer minus holes
  void GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const;
};

// Any number of areas, with holes; booleans, offsets and cuts by the polygon library.
class KvGeGeneralRegion2d {
 public:
  KvGeGeneralRegion2d() = default;
  // Closed curves taken even-odd: a curve inside another makes a hole, one inside that
  // an area again. Open curves are ignored.
  explicit KvGeGeneralRegion2d(const KvGeObjList& closedCurves, int segmentsPerCircle = 64);
  explicit KvGeGeneralRegion2d(const KvGeCurve2d& closedCurve, int segmentsPerCircle = 64);
  bool IsEmpty() const { return m_regions.empty(); }
  KvGeGeneralRegion2d Union(const KvGeGeneralRegion2d& o) const;
  KvGeGeneralRegion2d Subtract(const KvGeGeneralRegion2d& o) const;
  KvGeGeneralRegion2d Intersect(const KvGeGeneralRegion2d& o) const;
  // Grown (positive) or shrunk (negative) by distance, corners rounded.
  KvGeGeneralRegion2d Offset(double distance) const;
  // Splits every area along the whole line through the segment.
  void Cut(const KvGeLineSeg2d& line);
  bool IsInclude(const DxGePoint2d& p) const;
  double Area() const;
  bool GetExtent2d(DxGePoint2d& lo, DxGePoint2d& hi) const;
  // The areas as they stand now (after cuts: one per piece).
  void GetCurRegion2D(std::vector<KvGeRegion2d>& out) const { out = m_regions; }
  size_t NumRegions() const { return m_regions.size(); }

 private:
  std::vector<KvGeRegion2d> m_regions;
};
