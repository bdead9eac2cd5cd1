// The interactive command line: readline with history and completion of command names.
#pragma once

#include <memory>

#include "host/editor/core/driver.h"

namespace dx::console {
std::unique_ptr<dx::ed::InputSource> makeReadlineSource();
}
