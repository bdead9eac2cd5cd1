// Compiled shape files (".shx"): their shapes by number and name, and the strokes a shape
// draws, for linetypes that embed shapes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/db.h"

namespace dx::plot {

class ShapeFile {
 public:
  struct Shape {
    int number = 0;
    std::string name;
    std::string_view code;  // the definition bytes after the name
  };
  // False when the bytes are not a compiled shape file (or are cut short).
  bool parse(std::string bytes);
  // Reads and parses the file; false when it cannot be read or is not a shape file.
  bool load(const std::string& path);
  const Shape* byNumber(int number) const;
  const Shape* byName(std::string_view name) const;  // case does not matter

  // The polylines a shape draws, in shape units with y up (pen moves are not drawn).
  // Empty for an unknown number. Subshapes are followed a few levels deep.
  std::vector<std::vector<DxGePoint2d>> strokes(int number) const;

 private:
  void run(const Shape& s, DxGePoint2d& at, double& scale, std::vector<std::vector<DxGePoint2d>>& out,
           int depth) const;
  std::string m_bytes;
  std::vector<Shape> m_shapes;
};

}  // namespace dx::plot
