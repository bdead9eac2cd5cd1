#include "express/styles/dim_file.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace express::styles {
namespace {

using K = DimValueKind;

// The groups a style file carries, in group-code order.
constexpr DimVarDef kDimVars[] = {
    {3, "DIMPOST", K::Text},      {4, "DIMAPOST", K::Text},     {5, "DIMBLK", K::Text},
    {6, "DIMBLK1", K::Text},      {7, "DIMBLK2", K::Text},      {40, "DIMSCALE", K::Real},
    {41, "DIMASZ", K::Real},      {42, "DIMEXO", K::Real},      {43, "DIMDLI", K::Real},
    {44, "DIMEXE", K::Real},      {45, "DIMRND", K::Real},      {46, "DIMDLE", K::Real},
    {47, "DIMTP", K::Real},       {48, "DIMTM", K::Real},       {71, "DIMTOL", K::Int},
    {72, "DIMLIM", K::Int},       {73, "DIMTIH", K::Int},       {74, "DIMTOH", K::Int},
    {75, "DIMSE1", K::Int},       {76, "DIMSE2", K::Int},       {77, "DIMTAD", K::Int},
    {78, "DIMZIN", K::Int},       {79, "DIMAZIN", K::Int},      {140, "DIMTXT", K::Real},
    {141, "DIMCEN", K::Real},     {142, "DIMTSZ", K::Real},     {143, "DIMALTF", K::Real},
    {144, "DIMLFAC", K::Real},    {145, "DIMTVP", K::Real},     {146, "DIMTFAC", K::Real},
    {147, "DIMGAP", K::Real},     {148, "DIMALTRND", K::Real},  {170, "DIMALT", K::Int},
    {171, "DIMALTD", K::Int},     {172, "DIMTOFL", K::Int},     {173, "DIMSAH", K::Int},
    {174, "DIMTIX", K::Int},      {175, "DIMSOXD", K::Int},     {176, "DIMCLRD", K::Int},
    {177, "DIMCLRE", K::Int},     {178, "DIMCLRT", K::Int},     {179, "DIMADEC", K::Int},
    {270, "DIMUNIT", K::Int},     {271, "DIMDEC", K::Int},      {272, "DIMTDEC", K::Int},
    {273, "DIMALTU", K::Int},     {274, "DIMALTTD", K::Int},    {275, "DIMAUNIT", K::Int},
    {276, "DIMFRAC", K::Int},     {277, "DIMLUNIT", K::Int},    {278, "DIMDSEP", K::Int},
    {279, "DIMTMOVE", K::Int},    {280, "DIMJUST", K::Int},     {281, "DIMSD1", K::Int},
    {282, "DIMSD2", K::Int},      {283, "DIMTOLJ", K::Int},     {284, "DIMTZIN", K::Int},
    {285, "DIMALTZ", K::Int},     {286, "DIMALTTZ", K::Int},    {287, "DIMFIT", K::Int},
    {288, "DIMUPT", K::Int},      {289, "DIMATFIT", K::Int},    {340, "DIMTXSTY", K::TextStyle},
    {341, "DIMLDRBLK", K::Block}, {342, "DIMBLK", K::Block},    {343, "DIMBLK1", K::Block},
    {344, "DIMBLK2", K::Block},
};

// The text style record's groups, after the "DIMTXSTY" line.
constexpr DimVarDef kTextStyleVars[] = {
    {70, "DIMTXT_ISVERTICAL", K::Int}, {40, "DIMTXT_TXTSIZE", K::Real},  {41, "DIMTXT_XSCALE", K::Real},
    {50, "DIMTXT_OANGLE", K::Real},    {71, "DIMTXT_FLAGS", K::Int},     {42, "DIMTXT_PRIORSIZE", K::Real},
    {3, "DIMTXT_FILENAME", K::Text},   {4, "DIMTXT_BIGFILE", K::Text},
};

template <size_t N>
const DimVarDef* byCode(const DimVarDef (&table)[N], int code) {
  for (const DimVarDef& d : table)
    if (d.code == code) return &d;
  return nullptr;
}

// The last of a name's rows: a block name imports into its reference group.
template <size_t N>
const DimVarDef* byName(const DimVarDef (&table)[N], std::string_view name) {
  const DimVarDef* found = nullptr;
  for (const DimVarDef& d : table)
    if (name == d.name) found = &d;
  return found;
}

std::string upper(std::string_view s) {
  std::string u(s);
  for (char& c : u) c = char(std::toupper(static_cast<unsigned char>(c)));
  return u;
}

}  // namespace

const DimVarDef* dimVarByCode(int code) { return byCode(kDimVars, code); }
const DimVarDef* dimVarForImport(std::string_view name) { return byName(kDimVars, name); }
const DimVarDef* textStyleVarByCode(int code) { return byCode(kTextStyleVars, code); }
const DimVarDef* textStyleVarByName(std::string_view name) { return byName(kTextStyleVars, name); }

std::string dimTextValue(std::string_view text) { return text.empty() ? kEmptyValue : std::string(text); }

std::string dimRealValue(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%f", v);
  return buf;
}

std::string dimIntValue(long v) { return std::to_string(v); }

std::string dimLine(std::string_view name, std::string_view value) {
  std::string s(name);
  s += ' ';
  s += value;
  s += "\r\n";
  return s;
}

std::string styleHeader(std::string_view styleName) { return dimLine(kStyleNameTag, upper(styleName)); }
std::string styleFooter(std::string_view styleName) { return dimLine(kStyleEndTag, styleName) + "\r\n"; }

DimLineRead parseDimLine(std::string line) {
  DimLineRead r;
  size_t blank = line.find(' ');
  r.name = line.substr(0, blank);
  if (blank != std::string::npos) r.value = line.substr(blank + 1);
  // The line end as written: CR LF, the LF already gone.
  if (!r.value.empty() && r.value.back() == '\r') r.value.pop_back();
  else if (blank == std::string::npos && !r.name.empty() && r.name.back() == '\r') r.name.pop_back();
  if (r.name == kStyleNameTag && !r.value.empty() && r.value.back() == ' ') r.value.pop_back();
  return r;
}

std::string dimTextFromValue(const std::string& value) { return value == kEmptyValue ? std::string() : value; }
double dimRealFromValue(const std::string& value) { return std::strtod(value.c_str(), nullptr); }
long dimIntFromValue(const std::string& value) { return std::strtol(value.c_str(), nullptr, 10); }

std::vector<DimStyleEntry> readDimStyles(std::istream& in) {
  std::vector<DimStyleEntry> styles;
  DimStyleEntry* cur = nullptr;
  std::string raw;
  while (std::getline(in, raw)) {
    DimLineRead line = parseDimLine(raw);
    if (line.name == kStyleNameTag) {
      styles.push_back({line.value, {}});
      cur = &styles.back();
    } else if (line.name == kStyleEndTag) {
      cur = nullptr;
    } else if (cur && !line.name.empty()) {
      cur->lines.push_back(std::move(line));
    }
  }
  return styles;
}

std::vector<std::string> splitStylePatterns(const std::string& answer) {
  std::vector<std::string> out;
  std::string part;
  for (size_t i = 0; i <= answer.size(); ++i) {
    if (i == answer.size() || answer[i] == ',') {
      size_t b = part.find_first_not_of(' '), e = part.find_last_not_of(' ');
      if (b != std::string::npos) out.push_back(upper(part.substr(b, e - b + 1)));
      part.clear();
    } else {
      part += answer[i];
    }
  }
  if (out.empty()) out.push_back("*");
  return out;
}

}  // namespace express::styles
