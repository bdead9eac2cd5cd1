// Text helpers of the command line that need no drawing: wildcard matching, number and
// angle formats, answers and their tokeniser, point syntax.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/case.h"
#include "hostapi/geometry.h"

namespace dx::ed {

bool wcMatch(std::string_view s, std::string_view pattern, bool nocase);

// Linear units 1-5 (scientific, decimal, engineering, architectural, fractional).
// dimzin bits: 1/2 feet and inches zero suppression, 4 leading zero, 8 trailing zeros.
std::string formatDistance(double v, int unit, int prec, int dimzin = 0);
// Any of the linear formats; false when the text is not a distance.
bool parseDistance(std::string_view s, double& v);
// Angular units 0-4 (degrees, d'm's", grads, radians, surveyor); angle in radians.
std::string formatAngle(double rad, int unit, int prec);
bool parseAngle(std::string_view s, int unit, double& rad);

// One answer of the input model.
struct Answer {
  enum Kind { Text, Empty, Cancel, Point, Real, Int, Name, Picks };
  Kind kind = Text;
  std::string text;        // the text as typed (or a rendering of a typed value)
  bool quoted = false;     // typed in double quotes: never a keyword or cancel
  bool shown = false;      // already visible on the terminal: no echo
  DxGePoint3d pt;
  double real = 0;
  int64_t integer = 0;
  int64_t name[2] = {0, 0};

  static Answer text_(std::string t, bool quoted = false) {
    Answer a;
    a.kind = Text;
    a.text = std::move(t);
    a.quoted = quoted;
    return a;
  }
  static Answer empty() {
    Answer a;
    a.kind = Empty;
    return a;
  }
  static Answer cancel() {
    Answer a;
    a.kind = Cancel;
    a.text = "^C";
    return a;
  }
  bool isEmpty() const { return kind == Empty || (kind == Text && text.empty()); }
};

// Splits one input line into answers: separated by blanks, double quotes keep blanks,
// "" or an empty line is an empty answer, ^C cancels, a line starting with ';' is a
// comment (no answers).
std::vector<Answer> tokenizeLine(std::string_view line);

// Point syntax: "x,y[,z]", "@dx,dy[,dz]", "@d<a", "d<a" (angle in degrees), "@" (the last
// point). Relative forms need last.
bool parsePoint(std::string_view s, const std::optional<DxGePoint3d>& last, DxGePoint3d& out);

using base::iequals;
using base::upper;
std::string formatPoint(const DxGePoint3d& p, int unit = 2, int prec = 4);

}  // namespace dx::ed
