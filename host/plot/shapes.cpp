#include "host/plot/shapes.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

#include "host/base/case.h"
#include "host/plot/render.h"

namespace dx::plot {
namespace {

// The sixteen directions of a one-byte vector, on a square: a length counts along the
// longer axis.
constexpr double kDir[16][2] = {{1, 0},   {1, .5},   {1, 1},   {.5, 1},   {0, 1},  {-.5, 1},
                                {-1, 1},  {-1, .5},  {-1, 0},  {-1, -.5}, {-1, -1}, {-.5, -1},
                                {0, -1},  {.5, -1},  {1, -1},  {1, -.5}};
constexpr double kPi = 3.14159265358979323846;

unsigned u16(const std::string& b, size_t p) { return unsigned(uint8_t(b[p])) | unsigned(uint8_t(b[p + 1])) << 8; }

// Bytes of the command at i (with its arguments), for the vertical-only flag that skips one.
size_t commandLength(std::string_view c, size_t i) {
  auto at = [&](size_t k) { return k < c.size() ? int8_t(c[k]) : 0; };
  switch (uint8_t(c[i])) {
    case 3: case 4: case 7: return 2;
    case 8: return 3;
    case 10: return 3;
    case 11: return 6;
    case 12: return 4;
    case 9: {
      size_t k = i + 1;
      while (k + 1 < c.size() && (at(k) || at(k + 1))) k += 2;
      return k + 2 - i;
    }
    case 13: {
      size_t k = i + 1;
      while (k + 1 < c.size() && (at(k) || at(k + 1))) k += 3;
      return k + 2 - i;
    }
    default: return 1;
  }
}

}  // namespace

bool ShapeFile::parse(std::string bytes) {
  m_bytes = std::move(bytes);
  m_shapes.clear();
  const std::string& b = m_bytes;
  size_t at = b.find("\r\n\x1a");
  if (b.rfind("AutoCAD-86 shapes", 0) != 0 || at == std::string::npos || at + 9 > b.size()) return false;
  at += 3;
  const unsigned count = u16(b, at + 4);
  size_t index = at + 6, data = index + 4 * size_t(count);
  if (data > b.size()) return false;
  for (unsigned i = 0; i < count; ++i, index += 4) {
    const unsigned number = u16(b, index), size = u16(b, index + 2);
    if (data + size > b.size()) return false;
    size_t nameLen = strnlen(b.data() + data, size);
    Shape s;
    s.number = int(number);
    s.name.assign(b.data() + data, nameLen);
    if (nameLen < size) s.code = std::string_view(b).substr(data + nameLen + 1, size - nameLen - 1);
    m_shapes.push_back(std::move(s));
    data += size;
  }
  return true;
}

bool ShapeFile::load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  return parse(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()));
}

const ShapeFile::Shape* ShapeFile::byNumber(int number) const {
  for (const Shape& s : m_shapes)
    if (s.number == number) return &s;
  return nullptr;
}

const ShapeFile::Shape* ShapeFile::byName(std::string_view name) const {
  for (const Shape& s : m_shapes)
    if (dx::base::iequals(s.name, name)) return &s;
  return nullptr;
}

std::vector<std::vector<DxGePoint2d>> ShapeFile::strokes(int number) const {
  std::vector<std::vector<DxGePoint2d>> out;
  if (const Shape* s = byNumber(number)) {
    DxGePoint2d at(0, 0);
    double scale = 1;
    run(*s, at, scale, out, 0);
  }
  // A pen that went down without moving leaves a single point: nothing to stroke.
  std::erase_if(out, [](const auto& line) { return line.size() < 2; });
  return out;
}

void ShapeFile::run(const Shape& s, DxGePoint2d& at, double& scale, std::vector<std::vector<DxGePoint2d>>& out,
                    int depth) const {
  std::string_view c = s.code;
  bool down = true, open = false;
  std::vector<DxGePoint2d> stack;
  auto arg = [&](size_t k) { return k < c.size() ? int8_t(c[k]) : int8_t(0); };
  auto uarg = [&](size_t k) { return k < c.size() ? uint8_t(c[k]) : uint8_t(0); };
  // Moves the pen to p, drawing the way there when it is down (pts: the path, ending at p).
  auto moveAlong = [&](const std::vector<DxGePoint2d>& pts) {
    if (down) {
      if (!open) out.push_back({at}), open = true;
      out.back().insert(out.back().end(), pts.begin(), pts.end());
    }
    at = pts.back();
  };
  auto moveTo = [&](DxGePoint2d p) { moveAlong({p}); };
  auto arc = [&](double cx, double cy, double r, double a0, double a1) {
    std::vector<DxGePoint2d> pts;
    arcPoints(cx, cy, r, a0, a1, r * 8, pts);
    pts.erase(pts.begin());
    if (!pts.empty()) moveAlong(pts);
  };
  for (size_t i = 0; i < c.size();) {
    const uint8_t op = uint8_t(c[i]);
    size_t len = commandLength(c, i);
    if (op >= 0x10) {
      moveTo({at.x + (op >> 4) * kDir[op & 15][0] * scale, at.y + (op >> 4) * kDir[op & 15][1] * scale});
      ++i;
      continue;
    }
    switch (op) {
      case 0: return;
      case 1: down = true; break;
      case 2: down = false, open = false; break;
      case 3: if (uarg(i + 1)) scale /= uarg(i + 1); break;
      case 4: scale *= uarg(i + 1); break;
      case 5: stack.push_back(at); break;
      case 6:
        if (!stack.empty()) at = stack.back(), stack.pop_back(), open = false;
        break;
      case 7:
        if (const Shape* sub = byNumber(uarg(i + 1)); sub && depth < 8) {
          open = false;
          run(*sub, at, scale, out, depth + 1);
        }
        break;
      case 8: moveTo({at.x + arg(i + 1) * scale, at.y + arg(i + 2) * scale}); break;
      case 9:
        for (size_t k = i + 1; k + 1 < c.size() && (arg(k) || arg(k + 1)); k += 2)
          moveTo({at.x + arg(k) * scale, at.y + arg(k + 1) * scale});
        break;
      case 10: {  // octant arc: radius, then (-)0SC: direction, start octant, count
        double r = uarg(i + 1) * scale;
        int sc = arg(i + 2), so = (std::abs(sc) >> 4) & 7, n = std::abs(sc) & 15;
        if (n == 0) n = 8;
        double a0 = so * kPi / 4, a1 = a0 + (sc < 0 ? -1 : 1) * n * kPi / 4;
        arc(at.x - r * std::cos(a0), at.y - r * std::sin(a0), r, a0, a1);
        break;
      }
      case 11: {  // fractional arc: start and end offsets in 256ths of an octant
        double r = (uarg(i + 3) * 256 + uarg(i + 4)) * scale;
        int sc = arg(i + 5), so = (std::abs(sc) >> 4) & 7, n = std::abs(sc) & 15;
        double dir = sc < 0 ? -1 : 1;
        double a0 = (so + dir * uarg(i + 1) / 256.0) * kPi / 4;
        double a1 = (so + dir * (n - 1) + dir * uarg(i + 2) / 256.0) * kPi / 4;
        if (r > 0) arc(at.x - r * std::cos(a0), at.y - r * std::sin(a0), r, a0, a1);
        break;
      }
      case 12:
      case 13: {  // arcs by displacement and bulge (127: a half circle)
        size_t k = i + 1;
        do {
          DxGePoint2d to(at.x + arg(k) * scale, at.y + arg(k + 1) * scale);
          std::vector<DxGePoint2d> pts;
          bulgePoints(at, to, arg(k + 2) / 127.0, 8, pts);
          moveAlong(pts);
          k += 3;
        } while (op == 13 && k + 1 < c.size() && (arg(k) || arg(k + 1)));
        break;
      }
      case 14:  // the next command is for vertical text only: skip it
        if (i + 1 < c.size()) len += commandLength(c, i + 1);
        break;
      default: break;
    }
    i += len;
  }
}

}  // namespace dx::plot
