// The input model's tokeniser and point syntax, shared by the console, scripts and tests.
#include <cctype>
#include <cmath>

#include "host/editor/text_utils.h"

namespace dx::ed {

std::vector<Answer> tokenizeLine(std::string_view line) {
  std::vector<Answer> out;
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  size_t i = 0;
  while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) ++i;
  if (i == line.size()) {
    out.push_back(Answer::empty());
    return out;
  }
  if (line[i] == ';') return out;
  while (i < line.size()) {
    if (std::isspace(static_cast<unsigned char>(line[i]))) {
      ++i;
      continue;
    }
    if (line[i] == '"') {
      size_t close = line.find('"', i + 1);
      std::string_view body =
          close == std::string_view::npos ? line.substr(i + 1) : line.substr(i + 1, close - i - 1);
      if (body.empty()) out.push_back(Answer::empty());
      else out.push_back(Answer::text_(std::string(body), true));
      i = close == std::string_view::npos ? line.size() : close + 1;
      continue;
    }
    size_t start = i;
    while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) ++i;
    std::string_view word = line.substr(start, i - start);
    if (word == "^C" || word == "^c") out.push_back(Answer::cancel());
    else out.push_back(Answer::text_(std::string(word)));
  }
  return out;
}

namespace {

bool coords(std::string_view s, double* v, int& n) {
  n = 0;
  size_t start = 0;
  for (size_t i = 0; i <= s.size(); ++i) {
    if (i < s.size() && s[i] != ',') continue;
    if (n == 3) return false;
    if (!parseDistance(s.substr(start, i - start), v[n])) return false;
    ++n;
    start = i + 1;
  }
  return n >= 2;
}

}  // namespace

bool parsePoint(std::string_view s, const std::optional<DxGePoint3d>& last, DxGePoint3d& out) {
  if (s.empty()) return false;
  bool rel = s[0] == '@';
  if (rel) {
    s.remove_prefix(1);
    if (!last) return false;
    if (s.empty()) {
      out = *last;
      return true;
    }
  }
  DxGePoint3d base = rel ? *last : DxGePoint3d::kOrigin;
  size_t lt = s.find('<');
  if (lt != std::string_view::npos) {
    double dist, angle;
    if (!parseDistance(s.substr(0, lt), dist)) return false;
    if (!parseAngle(s.substr(lt + 1), 0, angle)) return false;
    out = DxGePoint3d(base.x + dist * std::cos(angle), base.y + dist * std::sin(angle), base.z);
    return true;
  }
  double v[3] = {0, 0, 0};
  int n;
  if (!coords(s, v, n)) return false;
  out = DxGePoint3d(base.x + v[0], base.y + v[1], (n == 3 ? v[2] : 0) + (rel ? base.z : 0));
  return true;
}

}  // namespace dx::ed
