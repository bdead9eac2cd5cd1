// Shape files: the number of a shape by its name, from a compiled ".shx" file or its
// ".shp" source, for linetypes that embed shapes.
#pragma once

#include <string>

namespace dx::ed::cmd {

// Looks name up (case does not matter) in the shape file (found as given, with ".shx",
// or as the ".shp" source of the same name). False with a one-line reason.
bool shapeNumber(const std::string& file, const std::string& name, int& number, std::string& why);

}  // namespace dx::ed::cmd
