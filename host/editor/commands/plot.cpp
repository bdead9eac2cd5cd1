// -PLOT: the current drawing to a PNG, SVG or PDF file, from the command line or a
// script: the file, the layout, then the window (its corners, or Extents).
#include "host/editor/commands/common.h"
#include "host/plot/plot.h"

namespace dx::ed::cmd {

void cmdPlot() {
  DxDbDatabase* d = db();
  if (!d) return;
  std::string path;
  if (askString("\nEnter plot file name (.png, .svg or .pdf): ", path) != RTNORM || path.empty()) return;
  dx::plot::Options opt;
  if (askString("\nEnter layout name <Model>: ", opt.layout) == RTCAN) return;
  std::string kw;
  DxGePoint3d a, b;
  int rc = askPoint("\nSpecify first corner of the window or [Extents] <Extents>: ", nullptr, a, "Extents", &kw);
  if (rc == RTCAN) return;
  if (rc == RTNORM) {
    if (askPoint("\nSpecify opposite corner: ", &a, b) != RTNORM) return;
    // The window is given in the current UCS; a plot frames it in world coordinates.
    DxGePoint3d wa = ucsToWorld(a), wb = ucsToWorld(b);
    if (wa.x == wb.x || wa.y == wb.y) {
      say("\nThe window needs two corners apart in X and Y.\n");
      return;
    }
    opt.window[0] = std::min(wa.x, wb.x), opt.window[1] = std::min(wa.y, wb.y);
    opt.window[2] = std::max(wa.x, wb.x), opt.window[3] = std::max(wa.y, wb.y);
    opt.hasWindow = true;
  }
  std::string err;
  if (!dx::plot::plotToFile(d, path, opt, err)) {
    say("\nCannot plot: " + err + ".\n");
    return;
  }
  say("\nPlotted to " + path + ".\n");
}

}  // namespace dx::ed::cmd
