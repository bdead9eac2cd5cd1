// Draxel host interface: geometry family (points, vectors, matrices, tolerance).
#pragma once

#include <cmath>

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
