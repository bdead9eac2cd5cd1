#include "host/editor/commands/shape_files.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "host/editor/text_utils.h"
#include "hostapi/editor.h"

namespace fs = std::filesystem;

namespace dx::ed::cmd {
namespace {

std::string located(const std::string& name) {
  char found[1024];
  return dxedFindFile(name.c_str(), found, sizeof found) == RTNORM ? std::string(found) : std::string();
}

// Compiled shapes: the signature line ending in CR LF and 0x1A, the first and last number
// and the count, a (number, size) pair per shape, then each shape's bytes starting with
// its zero-terminated name.
bool fromShx(const std::string& bytes, const std::string& name, int& number) {
  size_t at = bytes.find("\r\n\x1a");
  if (bytes.rfind("AutoCAD-86 shapes", 0) != 0 || at == std::string::npos) return false;
  at += 3;
  auto u16 = [&](size_t p) { return unsigned(uint8_t(bytes[p])) | unsigned(uint8_t(bytes[p + 1])) << 8; };
  if (at + 6 > bytes.size()) return false;
  const unsigned count = u16(at + 4);
  size_t index = at + 6, data = index + 4 * size_t(count);
  if (data > bytes.size()) return false;
  for (unsigned i = 0; i < count; ++i, index += 4) {
    const unsigned num = u16(index), size = u16(index + 2);
    if (data + size > bytes.size()) return false;
    std::string shapeName(bytes.c_str() + data, strnlen(bytes.c_str() + data, size));
    if (iequals(shapeName, name)) {
      number = int(num);
      return true;
    }
    data += size;
  }
  return false;
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
    if (fromShx(bytes, name, number)) return true;
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
