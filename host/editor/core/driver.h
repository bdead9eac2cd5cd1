// The command loop: reads lines from a stack of input sources (the interactive console,
// script files, one-liners), splits them into answers and hands them to the command
// waiting for one, or starts the command a word names at "Command:".
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/editor/text_utils.h"

namespace dx::ed {

class InputSource {
 public:
  virtual ~InputSource() = default;
  // One line; false at the end. An interactive source shows the prompt itself.
  virtual bool readLine(const std::string& prompt, std::string& line) = 0;
  virtual bool interactive() const { return false; }
  // Where the last line came from ("plan.scr:12"), for messages.
  virtual std::string where() const { return ""; }
};

class TextSource : public InputSource {
 public:
  TextSource(std::string text, std::string name);
  bool readLine(const std::string&, std::string& line) override;
  std::string where() const override;

 private:
  std::vector<std::string> m_lines;
  size_t m_next = 0;
  std::string m_name;
};

// A script file; null with a message when it cannot be read.
std::unique_ptr<InputSource> openScript(const std::string& path, std::string& error);

class Driver {
 public:
  void push(std::unique_ptr<InputSource> src) { m_sources.push_back(std::move(src)); }
  // Runs until the input ends or QUIT. 0 when every line ran, 1 when the input stopped
  // on an error (an unknown command, a script out of answers).
  int run();
  const std::string& failure() const { return m_failure; }

 private:
  bool next(const std::string& prompt, Answer& a);
  bool interactiveNow() const;
  std::vector<std::unique_ptr<InputSource>> m_sources;
  static constexpr size_t kMaxScriptDepth = 32;
  std::deque<Answer> m_tokens;
  std::string m_lastWhere;
  std::string m_failure;
};

}  // namespace dx::ed
