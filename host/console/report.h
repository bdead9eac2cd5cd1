// The drawing summary of "draxel --report".
#pragma once

#include <string>

class DxDbDatabase;

namespace dx::console {
std::string drawingReport(DxDbDatabase* db, const std::string& name);
}
