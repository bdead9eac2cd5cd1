// The ".dim" dimension style file: one block of "NAME value" lines per style, CR LF line
// ends. The variable names of the style's groups, the value forms, and the reading of a
// file back into its styles. Pure text work; the commands do the drawing side.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace express::styles {

inline constexpr const char* kStyleNameTag = "DIMENSION_STYLE_NAME";
inline constexpr const char* kStyleEndTag = "END_OF_STYLE";
inline constexpr const char* kFullInfoTag = "DIMTXT_FULLINFO";
inline constexpr const char* kTextStyleEndTag = "END_DIMTXT";
// The value standing for an empty text or no block.
inline constexpr const char* kEmptyValue = ".";

enum class DimValueKind { Text, Real, Int, TextStyle, Block };

struct DimVarDef {
  int code;
  const char* name;
  DimValueKind kind;
};

// The variable of a dimension style group code; null for groups the file leaves out.
const DimVarDef* dimVarByCode(int code);
// The group a variable name is imported into (the block reference where a name has both
// a text and a reference group); null for unknown names.
const DimVarDef* dimVarForImport(std::string_view name);
// The text style group: name and group code of the text style record.
const DimVarDef* textStyleVarByCode(int code);
const DimVarDef* textStyleVarByName(std::string_view name);

// Value forms.
std::string dimTextValue(std::string_view text);  // "." when empty
std::string dimRealValue(double v);               // "%f"
std::string dimIntValue(long v);                  // "%d"
// One line, "NAME value" and CR LF.
std::string dimLine(std::string_view name, std::string_view value);
std::string styleHeader(std::string_view styleName);  // upper-case name
std::string styleFooter(std::string_view styleName);  // with the empty line after it

// A line read back (without its line feed): split at the first blank; a trailing carriage
// return goes, and for the style name line one trailing blank as well.
struct DimLineRead {
  std::string name, value;
};
DimLineRead parseDimLine(std::string line);
// "." read back: the empty text.
std::string dimTextFromValue(const std::string& value);
double dimRealFromValue(const std::string& value);
long dimIntFromValue(const std::string& value);

// One style of a file: its name and its lines up to the end line, in file order.
struct DimStyleEntry {
  std::string name;
  std::vector<DimLineRead> lines;
};
std::vector<DimStyleEntry> readDimStyles(std::istream& in);

// Names typed by the user: comma-separated, each with wildcards; empty means all.
std::vector<std::string> splitStylePatterns(const std::string& answer);

}  // namespace express::styles
