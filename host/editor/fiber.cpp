#include "host/editor/fiber.h"

#include <boost/context/fiber.hpp>
#include <boost/context/protected_fixedsize_stack.hpp>
#include <cassert>

namespace ctx = boost::context;

namespace dx::ed {

namespace {
thread_local CommandFiber* t_current = nullptr;
// Module commands keep resource-string buffers and dialogs on their stacks.
constexpr size_t kStackSize = 4 << 20;
}  // namespace

struct CommandFiber::Impl {
  ctx::fiber self;    // the suspended command, while it is not running
  ctx::fiber caller;  // inside the command: where suspend() goes back to
};

CommandFiber::CommandFiber(std::function<void()> body)
    : m_impl(std::make_unique<Impl>()), m_body(std::move(body)) {}

CommandFiber::~CommandFiber() {
  if (m_started && !m_done && m_impl->self) {
    // Unwinds the abandoned command's stack, running its destructors.
    CommandFiber* prev = t_current;
    t_current = this;
    m_impl->self = ctx::fiber();
    t_current = prev;
  }
}

bool CommandFiber::resume() {
  if (m_done) return true;
  CommandFiber* prev = t_current;
  t_current = this;
  if (!m_started) {
    m_started = true;
    m_impl->self = ctx::fiber(std::allocator_arg, ctx::protected_fixedsize_stack(kStackSize),
                              [this](ctx::fiber&& caller) {
                                m_impl->caller = std::move(caller);
                                try {
                                  m_body();
                                } catch (const ctx::detail::forced_unwind&) {
                                  throw;
                                } catch (...) {
                                  m_error = std::current_exception();
                                }
                                m_done = true;
                                return std::move(m_impl->caller);
                              });
  }
  m_impl->self = std::move(m_impl->self).resume();
  t_current = prev;
  return m_done;
}

void CommandFiber::suspend() {
  CommandFiber* self = t_current;
  assert(self && "suspend() outside a command fiber");
  self->m_impl->caller = std::move(self->m_impl->caller).resume();
}

CommandFiber* CommandFiber::current() { return t_current; }

}  // namespace dx::ed
