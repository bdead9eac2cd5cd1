#pragma once
// How the records of a JW_CAD drawing map onto the host's entities: names, layer states,
// line types, text properties and the geometry of every record kind. Pure functions of
// the records, so the rules can be checked without a drawing.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "express/jww/jww_document.h"

namespace jww {

struct Point2 {
  double x = 0, y = 0;
  bool operator==(const Point2&) const = default;
};

// "JWW[g][l]" followed by the layer's name in the file.
std::string LayerName(const JwwHeader& header, unsigned group, unsigned layer);

struct LayerState {
  bool off = false;
  bool locked = false;
  bool operator==(const LayerState&) const = default;
};
// The state of a new layer from its group's state and its own state in the file.
LayerState LayerStateOf(std::uint32_t groupState, std::uint32_t layerState);

// Host line type of a pen style; styles above 9 leave `otherwise` as it is.
const char* LineTypeName(int penStyle, const char* otherwise);
// The named line types the pen styles 2 to 9 map to.
inline constexpr std::array<const char*, 8> kNamedLineTypes = {
    "DASHED2", "DASHED", "DASHEDX2", "DASHDOT", "DASHDOTX2", "DIVIDE2", "DIVIDE", "DOT"};

// RGB of a pen colour, as red, green, blue bytes; nullopt for a number outside the table.
struct Rgb {
  std::uint8_t r = 0, g = 0, b = 0;
  bool operator==(const Rgb&) const = default;
};
Rgb RgbOfWord(std::uint32_t rgbWord);  // red in the low byte
std::optional<Rgb> PenRgb(const JwwHeader& header, std::uint32_t penColor);

// Texts that stand for an embedded picture ("^@BM" then a file name) are not drawn.
bool IsPictureText(std::string_view content);

struct TextProps {
  Point2 position;  // left end of the base line
  double height = 0;
  double widthFactor = 1;
  double rotation = 0;  // radians
  double oblique = 0;   // radians
  bool bold = false;
  bool italic = false;
};
// False for a text whose size gives no height.
bool TextPropsOf(const JwwText& text, TextProps& out);
inline constexpr double kItalicOblique = 0.20943951023931934;  // 12 degrees

// A CDataEnko record as a circle, an arc or an elliptic arc.
struct CurveGeom {
  enum Kind { kCircle, kArc, kEllipse } kind = kCircle;
  Point2 center;
  double radius = 0;                // circle and arc
  double startAngle = 0, endAngle = 0;  // arc: counter-clockwise, radians
  Point2 majorAxis;                 // ellipse: from the centre to the end of the major axis
  double ratio = 1;                 // ellipse: minor / major, in (0, 1]
  double startParam = 0, endParam = 0;  // ellipse: counter-clockwise, radians
};
// nullopt for a record without extent (no radius, no flatness).
std::optional<CurveGeom> CurveGeomOf(const JwwCircle& circle);

// The outline of a solid, in loop order, without repeated corners; fewer than three
// corners means there is nothing to fill.
std::vector<Point2> SolidOutline(const JwwSolid& solid);

struct DimensionGeom {
  Point2 xLine1, xLine2;  // the measured points, where the extension lines start
  Point2 dimLine;         // a point of the dimension line (its end at the second point)
  double rotation = 0;    // of the dimension line, radians
  Point2 textMiddle;      // middle of the dimension text
  double textRotation = 0;
  std::string text;
};
// nullopt for a dimension line of no length.
std::optional<DimensionGeom> DimensionGeomOf(const JwwMeasure& measure, bool extended);

// The block name of a definition: its name followed by its number ("door" 1 gives
// "door1", an empty name just "2"). Only the characters a table name cannot hold are
// replaced, by '_'.
std::string BlockName(const JwwBlockDef& def);

// Entities per record kind, in the order of the import's summary.
struct ImportCounts {
  int lines = 0, circles = 0, dots = 0, texts = 0, solids = 0, dimensions = 0, blocks = 0;
  bool operator==(const ImportCounts&) const = default;
};

// The entities the drawing's own records (not those inside block definitions) translate
// into, by the same rules the import applies; the summary of an import that was not
// placed reports these.
ImportCounts TranslatableCounts(const JwwDocument& doc);

// Groups the definitions (by index in doc.blockDefs) that reach each other through
// their insertions: an insertion inside a definition of the same group would make a
// block contain itself, so it is left out. Each definition gets its group number.
std::vector<std::uint32_t> InsertionCycleGroups(const JwwDocument& doc);

// All coordinates and sizes of a record are numbers (a damaged file may hold NaN).
bool IsFinite(const JwwLine& line);
bool IsFinite(const JwwDot& dot);
bool IsFinite(const JwwBlock& block);

}  // namespace jww
