// The pattern of a complex linetype made from drawn geometry: elements along the line,
// the number format of the ".lin" file, the two definition lines, and the file update
// that replaces or appends one definition.
#pragma once

#include <string>
#include <vector>

namespace express::styles {

struct PatternElement {
  enum Kind { kDash, kText, kShape } kind = kDash;
  double length = 0;   // dash > 0, gap < 0, dot 0
  std::string body;    // text (without quotes) or shape name
  std::string style;
  double scale = 0, rotationDeg = 0, x = 0, y = 0;
};

// "%.6f" of the size, trailing zeros and point stripped, the sign in front; sizes below
// 1e-7 are "0".
std::string linNumber(double v);
// The rotation written for an element: its angle plus its own rotation, relative to the
// pattern direction, in degrees (all angles in radians).
double linRotationDegrees(double elementAngle, double rotation, double patternDirection);
// The pattern line ("A,..." ) of the elements; "" when there are none.
std::string linPatternLine(const std::vector<PatternElement>& elements);

// Geometry measured along the pattern: dashes (from, to; equal for a dot) and texts or
// shapes at a position, with their perpendicular offset, in pattern distances.
struct PatternPiece {
  double from = 0, to = 0;
  bool isDash = true;          // false: a text or shape in `element`
  PatternElement element;      // for texts and shapes: body, style, scale, rotation, y
};
// Orders the pieces along [0, length] and turns them into dashes, gaps, dots and texts
// (a text's x offset counts from the end of the element before it).
std::vector<PatternElement> buildPattern(std::vector<PatternPiece> pieces, double length);

// Why a pattern cannot be a linetype: "" when it can.
enum class PatternProblem { kNone, kEmpty, kContinuous, kTooManySegments };
inline constexpr int kMaxPatternSegments = 12;
PatternProblem checkPattern(const std::vector<PatternElement>& elements);

// A linetype name may not hold * \ < > / ? " : ; | , = `.
bool isValidLinetypeName(const std::string& name);

// ".lin" text: whether it defines name (any case), and the text with the definition
// of name replaced (or appended when absent) by the two lines.
bool linDefines(const std::string& linText, const std::string& name);
std::string linWithDefinition(const std::string& linText, const std::string& name, const std::string& definition);

}  // namespace express::styles
