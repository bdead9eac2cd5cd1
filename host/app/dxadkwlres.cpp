// dxadkwlres.dll: the host's keyword library, the localised names of module commands by
// identifier. This English build holds none, so every command is known by its global
// name; a translation ships its own library with the names.
#include "hostapi/resource.h"

namespace {
const DxResTable kTable = {kDxResTableVersion, nullptr, 0, nullptr, 0};
}

extern "C" __attribute__((visibility("default"))) const DxResTable* dxResourceTable() { return &kTable; }
