// The text-to-multiline-text conversion without the drawing: single-line strings turned
// into multiline-text code, the order of the lines and the wrapping width.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace express::text {

// A single-line string as multiline-text code: "%%%" becomes "%", backslashes are doubled,
// "%%U" and "%%O" switch underline and overline on and are closed at the end of the
// string.
std::string convertTextString(const std::string& s);

// What the conversion needs of one source text.
struct SourceText {
  std::string string;
  double x = 0, y = 0;       // insertion point (its own coordinate system)
  double height = 0;
  double widthFactor = 1;
  double rotation = 0;       // radians
  int color = 256;           // 256: by layer
  double boxRight = 0;       // upper-right X of its text box
  bool annotative = false;
};

// Indices of texts from top to bottom (descending Y); equal Y keep the given order.
std::vector<size_t> topToBottom(const std::vector<SourceText>& texts);

// Horizontal span of a text for the wrapping width: its box along the cosine of
// cosRotation; upright-ish texts (cosine within 1e-6 of 0) span their height on the side
// the sine of sinRotation points to.
void textSpan(double x, double boxRight, double height, double cosRotation, double sinRotation,
              double& left, double& right);

struct MergeResult {
  std::string contents;
  double width = 0;          // 0: no wrapping
  bool annotative = false;   // of the last text taken
};

// One multiline text's contents from texts in the given order (the first is the head).
// heightText writes a height for the "\H" code.
MergeResult mergeTexts(const std::vector<const SourceText*>& ordered, bool wordWrap,
                       bool widthFactorPrefix, const std::function<std::string(double)>& heightText);

}  // namespace express::text
