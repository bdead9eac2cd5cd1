// Progress on the command line: a bar redrawn in place on an interactive terminal.
// Scripts and redirected output get nothing from here; the caller prints a line per step.
#include <unistd.h>

#include <algorithm>
#include <string>

#include "host/editor/output.h"
#include "hostapi/ui.h"

namespace {
constexpr int kBarWidth = 30;
bool g_drawn = false;
}  // namespace

bool DxUiProgressInPlace() { return dx::ed::output().toTerminal() && ::isatty(STDIN_FILENO) == 1; }

void DxUiProgressShow(int position, int range, const char* label, const char* text) {
  if (!DxUiProgressInPlace()) return;
  int filled = range > 0 ? std::clamp(position, 0, range) * kBarWidth / range : 0;
  std::string line = "\r[" + std::string(std::size_t(filled), '#') + std::string(std::size_t(kBarWidth - filled), '-') +
                     "] " + (label ? label : "") + " " + (text ? text : "") + "\x1b[K";
  dx::ed::output().write(line);
  g_drawn = true;
}

void DxUiProgressEnd() {
  if (g_drawn) dx::ed::output().endLine();
  g_drawn = false;
}
