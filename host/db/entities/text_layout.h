// Texts laid out in their styles' fonts: what their extents measure and plots draw.
#pragma once

#include "host/text/layout.h"
#include "hostapi/db.h"

namespace dx::db {

void layoutOf(const DxDbText& t, dx::text::Layout& out);
void layoutOf(const DxDbMText& t, dx::text::Layout& out);

}  // namespace dx::db
