// Texts laid out in their styles' fonts: what their extents measure and plots draw.
#pragma once

#include "host/text/layout.h"
#include "hostapi/db.h"

namespace dx::db {

// The font and shape a text style gives its texts; defaults when there is no such style.
struct StyleFont {
  std::string file, family;
  double widthFactor = 1, oblique = 0, height = 0;  // height 0: not fixed by the style
};
StyleFont styleFont(DxDbObjectId style);

void layoutOf(const DxDbText& t, dx::text::Layout& out);
void layoutOf(const DxDbMText& t, dx::text::Layout& out);

}  // namespace dx::db
