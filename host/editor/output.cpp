#include "host/editor/output.h"

#include <unistd.h>

#include <cstdio>

namespace dx::ed {

Output& output() {
  static Output out;
  return out;
}

void Output::setSink(Sink sink) { m_sink = std::move(sink); }

void Output::write(std::string_view s) {
  if (s.empty()) return;
  size_t nl = s.rfind('\n');
  m_column = nl == std::string_view::npos ? m_column + s.size() : s.size() - nl - 1;
  if (m_capture) m_captured.append(s);
  if (m_sink) {
    m_sink(s);
  } else {
    std::fwrite(s.data(), 1, s.size(), stdout);
    std::fflush(stdout);
  }
}

void Output::message(std::string_view s) {
  if (m_column == 0 && !s.empty() && s.front() == '\n') s.remove_prefix(1);
  write(s);
}

bool Output::toTerminal() const { return !m_sink && !m_capture && ::isatty(STDOUT_FILENO) == 1; }

void Output::endLine() {
  if (m_column != 0) write("\n");
}

}  // namespace dx::ed
