// The command line's output: everything the host prints goes through here, so that the
// console, the pseudo-terminal and the tests see the same text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace dx::ed {

class Output {
 public:
  using Sink = std::function<void(std::string_view)>;
  // Null restores standard output.
  void setSink(Sink sink);
  void write(std::string_view s);
  // A prompt or message: a leading line break is dropped when the line is already
  // empty, so that messages starting with "\n" do not leave blank lines behind.
  void message(std::string_view s);
  void endLine();
  bool atLineStart() const { return m_column == 0; }
  // Output goes straight to a terminal (no sink, nothing captured): a line can be redrawn.
  bool toTerminal() const;
  // Everything written since the last take (tests read it).
  void setCapture(bool on) { m_capture = on; m_captured.clear(); }
  std::string takeCaptured() { return std::exchange(m_captured, {}); }
  // The terminal shows typed text itself; the column is back at 0 afterwards.
  void lineTypedByUser() { m_column = 0; }

 private:
  Sink m_sink;
  size_t m_column = 0;
  bool m_capture = false;
  std::string m_captured;
};

Output& output();

}  // namespace dx::ed
