// Placing the glyphs of texts: single-line texts with their alignments and multiline texts
// with their paragraph, font, height, colour, width and oblique codes. The glyphs are laid
// in the text's own units; a frame carries them into the world. Extents, text boxes and
// plots all measure and draw from this one layout.
#pragma once

#include <string>
#include <vector>

#include "hostapi/geometry.h"
#include "host/text/fonts.h"

namespace dx::text {

// A colour a multiline text's codes ask for; kEntity keeps the entity's own.
struct Color {
  enum Kind { kEntity, kIndex, kRgb } kind = kEntity;
  int index = 0;
  double r = 0, g = 0, b = 0;
};

// A placed glyph; one without a face is a rule (the bar of a stacked fraction): a line
// from (x, y) along the baseline, advance * wf long.
struct Glyph {
  Face* face = nullptr;
  unsigned index = 0;
  double x = 0, y = 0, em = 0;  // pen position and em size in text units
  double advance = 0;           // text units, before the width factor
  double cap = 0;               // capital height in text units
  double lo = 0, hi = 0;        // ink below and above the baseline, text units
  double wf = 1, oblique = 0;   // width factor, oblique angle (radians)
  Color color;
};

struct Layout {
  std::vector<Glyph> glyphs;
  DxGeMatrix3d frame;  // text units to world
  // World box of the glyphs' cells (pen advance by ink height); false when nothing shows.
  bool extents(DxGePoint3d& lo, DxGePoint3d& hi) const;
};

struct TextParams {
  std::string text;
  std::string fontFile, family;  // of the text's style
  double height = 0;             // > 0
  double widthFactor = 1, oblique = 0, rotation = 0;  // radians
  int hmode = 0, vmode = 0;      // DxDb::TextHorzMode, DxDb::TextVertMode
  bool defaultAlignment = true;  // left on the baseline: placed at position
  DxGePoint3d position, alignment;
  bool mirrorX = false, mirrorY = false;
  DxGeVector3d normal = DxGeVector3d::kZAxis;
};
void layoutText(const TextParams& p, Layout& out);

struct MTextParams {
  std::string contents;
  std::string fontFile, family;
  double height = 0, width = 0;  // width 0: no wrapping
  double widthFactor = 1, oblique = 0, lineSpacing = 1;
  int attachment = 1;            // 1..9, top left to bottom right
  DxGePoint3d location;
  DxGeVector3d xdir = DxGeVector3d::kXAxis, normal = DxGeVector3d::kZAxis;
  // Columns (type 1: static, 2: dynamic): lines wrap at the column width and flow down a
  // column until its height is full, then on in the next one, a gutter to the right.
  int columnType = 0, columnCount = 0;  // count 0: as many as the text needs
  double columnWidth = 0, gutter = 0, columnHeight = 0;
  std::vector<double> columnHeights;  // dynamic columns of their own heights, in order
};
void layoutMText(const MTextParams& p, Layout& out);

// Glyphs of a string at a pen position, in a face (characters it lacks from the Japanese
// face, else as '?'); returns the new pen x.
double place(const std::u32string& s, Face* face, double height, double wf, double oblique,
             const Color& color, double x, double y, std::vector<Glyph>& out);

// UTF-8 to code points (bytes that do not decode stand for themselves), and the %% codes
// of texts (degree, diameter, plus-minus, a character by number).
std::u32string decode(const std::string& s);
std::u32string percentCodes(const std::u32string& s);

}  // namespace dx::text
