#include "host/editor/commands/shape_files.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/editor/text_utils.h"
#include "host/plot/shapes.h"
#include "hostapi/editor.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {
namespace {

std::string located(const std::string& name) {
  char found[1024];
  return dxedFindFile(name.c_str(), found, sizeof found) == RTNORM ? std::string(found) : std::string();
}

bool fromShx(std::string bytes, const std::string& name, int& number) {
  plot::ShapeFile file;
  const plot::ShapeFile::Shape* shape = file.parse(std::move(bytes)) ? file.byName(name) : nullptr;
  if (shape) number = shape->number;
  return shape != nullptr;
}

// Shape source: each shape starts with "*number,bytes,NAME".
bool fromShp(std::istream& in, const std::string& name, int& number) {
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] != '*') continue;
    size_t c1 = line.find(','), c2 = c1 == std::string::npos ? c1 : line.find(',', c1 + 1);
    if (c2 == std::string::npos) continue;
    std::string n = line.substr(c2 + 1);
    while (!n.empty() && (n.back() == '\r' || n.back() == ' ')) n.pop_back();
    if (!iequals(n, name)) continue;
    number = int(std::strtol(line.c_str() + 1, nullptr, 0));
    return true;
  }
  return false;
}

}  // namespace

bool shapeNumber(const std::string& file, const std::string& name, int& number, std::string& why) {
  fs::path p(file);
  std::string shx = located(p.extension().empty() ? file + ".shx" : file);
  if (!shx.empty()) {
    std::ifstream in(shx, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (fromShx(std::move(bytes), name, number)) return true;
  }
  std::string shp = located(p.replace_extension(".shp").string());
  if (!shp.empty()) {
    std::ifstream in(shp);
    if (fromShp(in, name, number)) return true;
  }
  why = shx.empty() && shp.empty() ? "shape file \"" + file + "\" not found"
                                   : "no shape \"" + name + "\" in \"" + file + "\"";
  return false;
}

}  // namespace dx::ed::cmd
