#include "host/editor/fiber.h"

#include <boost/context/fiber.hpp>
#include <boost/context/protected_fixedsize_stack.hpp>
#include <cassert>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#define DX_ASAN_FIBERS 1
#endif

namespace ctx = boost::context;

namespace dx::ed {

namespace {
thread_local CommandFiber* t_current = nullptr;
// Module commands keep resource-string buffers and dialogs on their stacks.
constexpr size_t kStackSize = 4 << 20;

// AddressSanitizer must be told of every stack switch, or it takes the other stack for
// an overflow of this one (an exception thrown inside a command shows it first).
void startSwitch(void** fakeStack, const void* bottom, size_t size) {
#ifdef DX_ASAN_FIBERS
  __sanitizer_start_switch_fiber(fakeStack, bottom, size);
#endif
}
void finishSwitch(void* fakeStack, const void** oldBottom, size_t* oldSize) {
#ifdef DX_ASAN_FIBERS
  __sanitizer_finish_switch_fiber(fakeStack, oldBottom, oldSize);
#endif
}

// The fixed-size protected stack, remembering where it lies.
struct KnownStack {
  ctx::protected_fixedsize_stack inner{kStackSize};
  const void** bottom;
  size_t* size;
  ctx::stack_context allocate() {
    ctx::stack_context sc = inner.allocate();
    *bottom = static_cast<char*>(sc.sp) - sc.size;
    *size = sc.size;
    return sc;
  }
  void deallocate(ctx::stack_context& sc) noexcept { inner.deallocate(sc); }
};
}  // namespace

struct CommandFiber::Impl {
  ctx::fiber self;    // the suspended command, while it is not running
  ctx::fiber caller;  // inside the command: where suspend() goes back to
  const void* stackBottom = nullptr;  // the command's stack
  size_t stackSize = 0;
  const void* callerBottom = nullptr;  // the stack that resumed it last
  size_t callerSize = 0;
};

CommandFiber::CommandFiber(std::function<void()> body)
    : m_impl(std::make_unique<Impl>()), m_body(std::move(body)) {}

CommandFiber::~CommandFiber() {
  if (m_started && !m_done && m_impl->self) {
    // Unwinds the abandoned command's stack, running its destructors.
    CommandFiber* prev = t_current;
    t_current = this;
    void* fake = nullptr;
    startSwitch(&fake, m_impl->stackBottom, m_impl->stackSize);
    m_impl->self = ctx::fiber();
    finishSwitch(fake, nullptr, nullptr);
    t_current = prev;
  }
}

bool CommandFiber::resume() {
  if (m_done) return true;
  CommandFiber* prev = t_current;
  t_current = this;
  if (!m_started) {
    m_started = true;
    m_impl->self = ctx::fiber(std::allocator_arg, KnownStack{{kStackSize}, &m_impl->stackBottom, &m_impl->stackSize},
                              [this](ctx::fiber&& caller) {
                                finishSwitch(nullptr, &m_impl->callerBottom, &m_impl->callerSize);
                                m_impl->caller = std::move(caller);
                                try {
                                  m_body();
                                } catch (const ctx::detail::forced_unwind&) {
                                  startSwitch(nullptr, m_impl->callerBottom, m_impl->callerSize);
                                  throw;
                                } catch (...) {
                                  m_error = std::current_exception();
                                }
                                m_done = true;
                                // This stack is finished: nothing of it is kept.
                                startSwitch(nullptr, m_impl->callerBottom, m_impl->callerSize);
                                return std::move(m_impl->caller);
                              });
  }
  void* fake = nullptr;
  startSwitch(&fake, m_impl->stackBottom, m_impl->stackSize);
  m_impl->self = std::move(m_impl->self).resume();
  finishSwitch(fake, nullptr, nullptr);
  t_current = prev;
  return m_done;
}

void CommandFiber::suspend() {
  CommandFiber* self = t_current;
  assert(self && "suspend() outside a command fiber");
  Impl& impl = *self->m_impl;
  void* fake = nullptr;
  startSwitch(&fake, impl.callerBottom, impl.callerSize);
  try {
    impl.caller = std::move(impl.caller).resume();
  } catch (const ctx::detail::forced_unwind&) {
    // Abandoned: the stack unwinds from here.
    finishSwitch(fake, &impl.callerBottom, &impl.callerSize);
    throw;
  }
  finishSwitch(fake, &impl.callerBottom, &impl.callerSize);
}

CommandFiber* CommandFiber::current() { return t_current; }

}  // namespace dx::ed
