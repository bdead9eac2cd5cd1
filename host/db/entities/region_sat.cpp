// ACIS text of a region body: written as version 400 records (body, lump, shell, then per
// face its plane, loops, coedges, edges, vertices, points and curves), and read by
// following the links by the kinds of the records they point at, so that the small
// differences between the versions other programs write do not matter.
#include "host/db/entities/region_sat.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <unordered_map>

namespace dx::db::sat {

namespace {

using Edge = DxDbRegion::Edge;
using Loop = DxDbRegion::Loop;
using Face = DxDbRegion::Face;

std::string num(double v) {
  if (v == 0) v = 0;  // no "-0"
  char b[32];
  std::snprintf(b, sizeof b, "%.17g", v);
  return b;
}
std::string xyz(const DxGePoint3d& p) { return num(p.x) + " " + num(p.y) + " " + num(p.z); }
std::string xyz(const DxGeVector3d& v) { return num(v.x) + " " + num(v.y) + " " + num(v.z); }
std::string ref(int i) { return "$" + std::to_string(i); }

}  // namespace

std::string writeBody(const std::vector<Face>& faces, const DxGeVector3d& normal) {
  // Indexes first: records point forwards and backwards.
  struct LoopIdx {
    int loop, first;  // the loop record and its first coedge (five records per edge)
  };
  struct FaceIdx {
    int face, surface;
    std::vector<LoopIdx> loops;
  };
  std::vector<FaceIdx> idx;
  int next = 3;  // body, lump, shell
  for (const Face& f : faces) {
    FaceIdx fi{next, next + 1, {}};
    next += 2;
    for (const Loop& l : f.loops) {
      fi.loops.push_back({next, next + 1});
      next += 1 + 5 * int(l.edges.size());
    }
    idx.push_back(std::move(fi));
  }
  std::vector<std::string> rec(static_cast<size_t>(next));
  rec[0] = "body $-1 $1 $-1 $-1 #";
  rec[1] = "lump $-1 $-1 $2 $0 #";
  rec[2] = "shell $-1 $-1 $-1 " + ref(faces.empty() ? -1 : idx[0].face) + " $-1 $1 #";
  DxGeVector3d u = dxgeArbitraryXAxis(normal);
  for (size_t fi = 0; fi < faces.size(); ++fi) {
    const FaceIdx& F = idx[fi];
    int nextFace = fi + 1 < faces.size() ? idx[fi + 1].face : -1;
    rec[size_t(F.face)] = "face $-1 " + ref(nextFace) + " " + ref(F.loops.empty() ? -1 : F.loops[0].loop) +
                          " $2 $-1 " + ref(F.surface) + " forward double out #";
    DxGePoint3d origin = faces[fi].loops.empty() || faces[fi].loops[0].edges.empty()
                             ? DxGePoint3d::kOrigin
                             : faces[fi].loops[0].edges[0].start;
    rec[size_t(F.surface)] = "plane-surface $-1 " + xyz(origin) + " " + xyz(normal) + " " + xyz(u) +
                             " forward_v I I I I #";
    for (size_t li = 0; li < faces[fi].loops.size(); ++li) {
      const Loop& loop = faces[fi].loops[li];
      const LoopIdx& L = F.loops[li];
      int nextLoop = li + 1 < F.loops.size() ? F.loops[li + 1].loop : -1;
      rec[size_t(L.loop)] = "loop $-1 " + ref(nextLoop) + " " + ref(L.first) + " " + ref(F.face) + " #";
      int n = int(loop.edges.size());
      auto at = [&](int e, int k) { return L.first + 5 * ((e + n) % n) + k; };  // k: 0 coedge .. 4 point
      for (int e = 0; e < n; ++e) {
        const Edge& ed = loop.edges[size_t(e)];
        rec[size_t(at(e, 0))] = "coedge $-1 " + ref(at(e + 1, 0)) + " " + ref(at(e - 1, 0)) + " $-1 " +
                                ref(at(e, 1)) + " forward " + ref(L.loop) + " $-1 #";
        // Each edge starts at its own vertex and ends at the next edge's.
        rec[size_t(at(e, 1))] = "edge $-1 " + ref(at(e, 3)) + " " + ref(at(e + 1, 3)) + " " + ref(at(e, 0)) +
                                " " + ref(at(e, 2)) + " forward #";
        if (ed.isArc) {
          rec[size_t(at(e, 2))] = "ellipse-curve $-1 " + xyz(ed.center) + " " + xyz(ed.normal.normal()) + " " +
                                  xyz(ed.majorAxis) + " " + num(ed.ratio) + " I I #";
        } else {
          rec[size_t(at(e, 2))] = "straight-curve $-1 " + xyz(ed.start) + " " + xyz((ed.end - ed.start).normal()) +
                                  " I I #";
        }
        rec[size_t(at(e, 3))] = "vertex $-1 " + ref(at(e, 1)) + " " + ref(at(e, 4)) + " #";
        rec[size_t(at(e, 4))] = "point $-1 " + xyz(ed.start) + " #";
      }
    }
  }
  std::string out = "400 " + std::to_string(next) + " 1 0\n";
  // A fixed date: saving the same region twice gives the same file.
  out += "6 Draxel 12 ACIS 4.00 NT 24 Mon Jan 01 00:00:00 2024\n";
  out += "1 9.9999999999999995e-07 1e-10\n";
  for (int i = 0; i < next; ++i) out += "-" + std::to_string(i) + " " + rec[size_t(i)] + "\n";
  out += "End-of-ACIS-data\n";
  return out;
}

namespace {

struct Record {
  std::string type;
  std::vector<std::string> toks;
};

bool isNumber(const std::string& t, double& v) {
  if (t.empty()) return false;
  char* end = nullptr;
  v = std::strtod(t.c_str(), &end);
  return end == t.c_str() + t.size() && std::isfinite(v);
}

class BodyReader {
 public:
  explicit BodyReader(std::string_view text) { split(text); }

  bool read(std::vector<Face>& faces, DxGeVector3d& normal) {
    int body = -1;
    for (size_t i = 0; i < m_recs.size() && body < 0; ++i)
      if (m_recs[i].type == "body") body = int(i);
    if (body < 0) return false;
    if (!transformOf(body)) return false;
    size_t guard = m_recs.size() + 1;
    for (int lump = link(body, "lump"); lump >= 0 && guard--; lump = link(lump, "lump")) {
      for (int shell = link(lump, "shell"); shell >= 0 && guard--; shell = link(shell, "shell")) {
        for (int face = link(shell, "face"); face >= 0 && guard--; face = link(face, "face")) {
          int surface = linkSuffix(face, "-surface");
          if (surface < 0 || m_recs[size_t(surface)].type != "plane-surface") return false;
          std::vector<double> pl;
          if (!numbers(surface, 9, pl)) return false;
          DxGeVector3d n = m_xf * DxGeVector3d(pl[3], pl[4], pl[5]);
          if (n.isZeroLength()) return false;
          if (word(face, "forward", "reversed") == "reversed") n = -n;
          if (faces.empty()) normal = n.normal();
          Face f;
          for (int loop = link(face, "loop"); loop >= 0 && guard--; loop = link(loop, "loop")) {
            Loop l;
            if (!readLoop(loop, l)) return false;
            f.loops.push_back(std::move(l));
          }
          if (f.loops.empty()) return false;
          orientFace(f, normal);
          faces.push_back(std::move(f));
        }
      }
    }
    return !faces.empty() && guard > 0;
  }

 private:
  void split(std::string_view text) {
    // Three header lines, then records ending in '#'.
    size_t pos = 0;
    for (int line = 0; line < 3 && pos < text.size(); ++line) {
      size_t nl = text.find('\n', pos);
      pos = nl == std::string_view::npos ? text.size() : nl + 1;
    }
    Record cur;
    bool fresh = true;
    auto flush = [&] {
      if (!cur.type.empty()) m_recs.push_back(std::move(cur));
      cur = Record();
      fresh = true;
    };
    while (pos < text.size()) {
      char c = text[pos];
      if (c == ' ' || c == '\n' || c == '\r' || c == '\t') {
        ++pos;
        continue;
      }
      if (c == '#') {
        flush();
        ++pos;
        continue;
      }
      size_t end = pos;
      while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end])) && text[end] != '#') ++end;
      std::string tok(text.substr(pos, end - pos));
      pos = end;
      if (tok[0] == '@') {  // a counted string: its length, a blank, the characters
        size_t len = size_t(std::strtoul(tok.c_str() + 1, nullptr, 10));
        pos = std::min(text.size(), pos + 1 + len);
        cur.toks.push_back("@");
        continue;
      }
      if (fresh) {
        fresh = false;
        // An optional record number "-N" before the kind.
        if (tok.size() > 1 && tok[0] == '-' && std::isdigit(static_cast<unsigned char>(tok[1]))) {
          fresh = true;
          continue;
        }
        if (tok.rfind("End-of-", 0) == 0) break;
        cur.type = tok;
        continue;
      }
      cur.toks.push_back(std::move(tok));
    }
    flush();
  }

  std::vector<int> refs(int r) const {
    std::vector<int> out;
    for (const auto& t : m_recs[size_t(r)].toks)
      if (t.size() > 1 && t[0] == '$') {
        int i = std::atoi(t.c_str() + 1);
        if (i >= 0 && size_t(i) < m_recs.size()) out.push_back(i);
      }
    return out;
  }
  // The first record of a kind that r points at (n-th with skip).
  int link(int r, const char* type, int skip = 0) const {
    for (int i : refs(r))
      if (m_recs[size_t(i)].type == type && skip-- == 0) return i;
    return -1;
  }
  int linkSuffix(int r, const std::string& suffix) const {
    for (int i : refs(r)) {
      const std::string& t = m_recs[size_t(i)].type;
      if (t.size() > suffix.size() && t.compare(t.size() - suffix.size(), suffix.size(), suffix) == 0) return i;
    }
    return -1;
  }
  std::string word(int r, const char* a, const char* b, bool last = false) const {
    std::string found;
    for (const auto& t : m_recs[size_t(r)].toks)
      if (t == a || t == b) {
        found = t;
        if (!last) break;
      }
    return found;
  }
  // The numbers of a geometry record before its first word; a leading extra value (the
  // history number of newer versions) is dropped.
  bool numbers(int r, size_t want, std::vector<double>& out) const {
    out.clear();
    double v;
    for (const auto& t : m_recs[size_t(r)].toks) {
      if (t[0] == '$') continue;
      if (!isNumber(t, v)) break;
      out.push_back(v);
    }
    if (out.size() < want) return false;
    out.erase(out.begin(), out.end() - long(want));
    return true;
  }
  bool point(int vertex, DxGePoint3d& p) const {
    int pt = link(vertex, "point");
    std::vector<double> v;
    if (pt < 0 || !numbers(pt, 3, v)) return false;
    p = m_xf * DxGePoint3d(v[0], v[1], v[2]);
    return true;
  }
  bool transformOf(int body) {
    int t = link(body, "transform");
    if (t < 0) return true;
    std::vector<double> v;
    if (!numbers(t, 13, v)) return false;
    // Rows of the rotation act on row vectors; then the scale and the shift.
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) m_xf.entry[i][j] = v[size_t(j * 3 + i)] * v[12];
      m_xf.entry[i][3] = v[size_t(9 + i)];
    }
    return true;
  }

  bool readLoop(int loop, Loop& out) {
    int first = link(loop, "coedge");
    size_t guard = m_recs.size();
    for (int co = first; co >= 0 && guard--;) {
      Edge e;
      if (!readCoedge(co, e)) return false;
      out.edges.push_back(e);
      co = link(co, "coedge");  // next
      if (co == first) return !out.edges.empty();
    }
    return false;
  }

  bool readCoedge(int co, Edge& out) const {
    int edge = link(co, "edge");
    if (edge < 0) return false;
    int v0 = link(edge, "vertex"), v1 = link(edge, "vertex", 1);
    if (v1 < 0) v1 = v0;  // a closed edge has one vertex
    int curve = linkSuffix(edge, "-curve");
    DxGePoint3d ps, pe;
    if (v0 < 0 || curve < 0 || !point(v0, ps) || !point(v1, pe)) return false;
    bool edgeFwd = word(edge, "forward", "reversed", true) != "reversed";
    bool coFwd = word(co, "forward", "reversed") != "reversed";
    const std::string& kind = m_recs[size_t(curve)].type;
    if (kind == "straight-curve") {
      out.start = coFwd ? ps : pe;
      out.end = coFwd ? pe : ps;
      return true;
    }
    if (kind != "ellipse-curve") return false;
    std::vector<double> v;
    if (!numbers(curve, 10, v) || v[9] <= 0) return false;
    out.isArc = true;
    out.center = m_xf * DxGePoint3d(v[0], v[1], v[2]);
    out.normal = (m_xf * DxGeVector3d(v[3], v[4], v[5])).normal();
    out.majorAxis = m_xf * DxGeVector3d(v[6], v[7], v[8]);
    out.ratio = v[9];
    if (out.majorAxis.isZeroLength() || out.normal.isZeroLength()) return false;
    // The piece of the curve the edge covers, in the curve's own sense.
    DxGePoint3d a = edgeFwd ? ps : pe, b = edgeFwd ? pe : ps;
    DxGeVector3d ma = out.majorAxis, mi = out.minorAxis();
    auto param = [&](const DxGePoint3d& p) {
      DxGeVector3d d = p - out.center;
      return std::atan2(d.dotProduct(mi) / mi.dotProduct(mi), d.dotProduct(ma) / ma.dotProduct(ma));
    };
    out.startParam = param(a);
    out.endParam = param(b);
    while (out.endParam <= out.startParam + 1e-12) out.endParam += 2 * M_PI;
    out.start = a;
    out.end = b;
    if (edgeFwd != coFwd) {
      Loop one{{out}};
      reverseLoop(one);
      out = one.edges[0];
    }
    return true;
  }

  std::vector<Record> m_recs;
  DxGeMatrix3d m_xf;
};

}  // namespace

bool readBody(std::string_view text, std::vector<Face>& faces, DxGeVector3d& normal) {
  faces.clear();
  BodyReader r(text);
  if (r.read(faces, normal)) return true;
  faces.clear();
  normal = DxGeVector3d(0, 0, 1);
  return false;
}

std::string encode(std::string_view plain) {
  std::string out;
  out.reserve(plain.size() + 8);
  for (char ch : plain) {
    if (ch == ' ') {
      out += ' ';
      continue;
    }
    char m = char(159 - static_cast<unsigned char>(ch));
    out += m;
    if (m == '^') out += ' ';  // a caret stands for itself followed by a blank
  }
  return out;
}

std::string decode(std::string_view stored) {
  std::string out;
  out.reserve(stored.size());
  for (size_t i = 0; i < stored.size(); ++i) {
    unsigned char ch = static_cast<unsigned char>(stored[i]);
    if (ch == '^' && i + 1 < stored.size()) {
      char next = stored[++i];
      ch = next == ' ' ? '^' : static_cast<unsigned char>(next - 64);  // "^J" and the like
    }
    out += ch == ' ' ? ' ' : char(159 - ch);
  }
  return out;
}

}  // namespace dx::db::sat
