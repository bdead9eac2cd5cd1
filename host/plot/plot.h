// Plots a layout of a drawing to a PNG, SVG or PDF file (chosen by the file's extension).
#pragma once

#include <string>

class DxDbDatabase;

namespace dx::plot {

struct Options {
  std::string layout;          // "" or "Model": model space; else a paper space layout's name
  int width = 1600, height = 1200;  // pixels for PNG, points for SVG and PDF
  bool hasWindow = false;      // else the extents of what is drawn
  double window[4] = {0, 0, 0, 0};  // x1, y1, x2, y2 in the layout's coordinates
  bool blackBackground = false;     // colour 7 then draws white
};

// Parses "WxH" and "x1,y1,x2,y2"; false on a malformed value.
bool parseSize(const std::string& s, int& w, int& h);
bool parseWindow(const std::string& s, double w[4]);

// Writes the plot to a temporary name and renames it into place. On failure, returns
// false with a one-line reason in err and leaves any existing file alone.
bool plotToFile(DxDbDatabase* db, const std::string& path, const Options& opt, std::string& err);

}  // namespace dx::plot
