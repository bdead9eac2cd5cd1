// Commands run on their own stacks, so that a command waiting for an answer can be left
// suspended while its caller (the console, or a command call of another command) goes
// on, and be resumed when the answer comes.
#pragma once

#include <exception>
#include <functional>
#include <memory>

namespace dx::ed {

class CommandFiber {
 public:
  explicit CommandFiber(std::function<void()> body);
  ~CommandFiber();
  CommandFiber(const CommandFiber&) = delete;
  CommandFiber& operator=(const CommandFiber&) = delete;

  // Runs the body until it suspends or returns; true when it has returned.
  bool resume();
  bool finished() const { return m_done; }
  bool started() const { return m_started; }
  // An exception that escaped the body (rethrown by nobody; the caller reports it).
  std::exception_ptr error() const { return m_error; }

  // From inside a running fiber: back to whoever resumed it.
  static void suspend();
  // The fiber running now, or null on the main stack.
  static CommandFiber* current();

 private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
  std::function<void()> m_body;
  bool m_started = false;
  bool m_done = false;
  std::exception_ptr m_error;
};

}  // namespace dx::ed
