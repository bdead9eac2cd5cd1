#include "express/styles/lin_pattern.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace express::styles {

std::string linNumber(double v) {
  if (std::fabs(v) < 1e-7) return "0";
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.6f", std::fabs(v));
  std::string s = buf;
  while (!s.empty() && s.back() == '0') s.pop_back();
  if (!s.empty() && s.back() == '.') s.pop_back();
  if (s.empty()) s = "0";
  return v < 0 ? "-" + s : s;
}

double linRotationDegrees(double elementAngle, double rotation, double patternDirection) {
  // The constants are kept as the file format's other writers truncate them.
  return ((elementAngle + rotation - patternDirection) - 6.2831853071796) * 180.0 / 3.1415926535898;
}

std::string linPatternLine(const std::vector<PatternElement>& elements) {
  if (elements.empty()) return "";
  std::string line = ",A";
  for (const PatternElement& e : elements) {
    if (e.kind == PatternElement::kDash) {
      line += "," + linNumber(e.length);
      continue;
    }
    line += ",[" + (e.kind == PatternElement::kText ? "\"" + e.body + "\"" : e.body) + "," + e.style;
    auto opt = [&](const char* key, double v) {
      if (std::fabs(v) >= 1e-5) line += std::string(",") + key + "=" + linNumber(v);
    };
    opt("S", e.scale);
    opt("R", e.rotationDeg);
    opt("X", e.x);
    opt("Y", e.y);
    line += "]";
  }
  return line;
}

std::vector<PatternElement> buildPattern(std::vector<PatternPiece> pieces, double length) {
  for (PatternPiece& p : pieces) {
    if (p.from > p.to) std::swap(p.from, p.to);
    p.from = std::clamp(p.from, 0.0, length);
    p.to = std::clamp(p.to, 0.0, length);
  }
  std::stable_sort(pieces.begin(), pieces.end(),
                   [](const PatternPiece& a, const PatternPiece& b) { return a.from < b.from; });
  std::vector<PatternElement> out;
  double at = 0;
  for (const PatternPiece& p : pieces) {
    if (!p.isDash) {
      PatternElement e = p.element;
      e.x = p.from - at;
      out.push_back(e);
      continue;
    }
    if (p.from > at + 1e-10) out.push_back({PatternElement::kDash, -(p.from - at)});
    if (p.to < at - 1e-10) continue;  // inside a dash already taken
    out.push_back({PatternElement::kDash, p.to - std::max(p.from, at)});
    at = std::max(at, p.to);
  }
  if (!out.empty() && at < length - 1e-10) out.push_back({PatternElement::kDash, -(length - at)});
  return out;
}

PatternProblem checkPattern(const std::vector<PatternElement>& elements) {
  if (elements.empty()) return PatternProblem::kEmpty;
  int segments = 0;
  for (const PatternElement& e : elements) segments += e.kind == PatternElement::kDash;
  if (segments > kMaxPatternSegments) return PatternProblem::kTooManySegments;
  if (elements.size() == 1 && elements[0].kind == PatternElement::kDash && elements[0].length > 0)
    return PatternProblem::kContinuous;
  return PatternProblem::kNone;
}

bool isValidLinetypeName(const std::string& name) {
  if (name.empty()) return false;
  return name.find_first_of("*\\<>/?\":;|,=`") == std::string::npos;
}

namespace {
std::string upper(std::string s) {
  for (char& c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
  return s;
}
// Whether a line is the name line of name.
bool isNameLine(const std::string& line, const std::string& upperName) {
  if (line.empty() || line[0] != '*') return false;
  std::string n = line.substr(1, line.find(',') == std::string::npos ? std::string::npos : line.find(',') - 1);
  while (!n.empty() && (n.back() == ' ' || n.back() == '\r')) n.pop_back();
  return upper(n) == upperName;
}
}  // namespace

bool linDefines(const std::string& linText, const std::string& name) {
  std::istringstream in(linText);
  const std::string u = upper(name);
  for (std::string line; std::getline(in, line);)
    if (isNameLine(line, u)) return true;
  return false;
}

std::string linWithDefinition(const std::string& linText, const std::string& name, const std::string& definition) {
  std::istringstream in(linText);
  const std::string u = upper(name);
  std::string out;
  bool replaced = false, skipping = false;
  for (std::string line; std::getline(in, line);) {
    if (skipping) {
      // The old pattern lines run to the next definition or comment.
      if (line.empty() || line[0] == '*' || line[0] == ';') skipping = false;
      else continue;
    }
    if (!replaced && isNameLine(line, u)) {
      out += definition;
      replaced = skipping = true;
      continue;
    }
    out += line + "\n";
  }
  if (!replaced) out += definition;
  return out;
}

}  // namespace express::styles
