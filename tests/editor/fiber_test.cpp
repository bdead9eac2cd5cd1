#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host/editor/fiber.h"

using dx::ed::CommandFiber;

TEST(CommandFiber, SuspendsAndResumesInOrder) {
  std::vector<std::string> log;
  CommandFiber f([&] {
    log.push_back("a");
    CommandFiber::suspend();
    log.push_back("b");
    CommandFiber::suspend();
    log.push_back("c");
  });
  EXPECT_FALSE(f.resume());
  EXPECT_EQ(log, std::vector<std::string>{"a"});
  EXPECT_FALSE(f.resume());
  EXPECT_TRUE(f.resume());
  EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(f.finished());
  EXPECT_TRUE(f.resume());  // a finished command stays finished
}

TEST(CommandFiber, NestedFiberReturnsToItsOwnResumer) {
  // A command calling another command: the inner one suspends back to the outer
  // command, not to the main stack; the outer later resumes it again.
  std::vector<std::string> log;
  CommandFiber* innerPtr = nullptr;
  CommandFiber outer([&] {
    CommandFiber inner([&] {
      EXPECT_EQ(CommandFiber::current(), innerPtr);
      log.push_back("inner waits");
      CommandFiber::suspend();
      log.push_back("inner ends");
    });
    innerPtr = &inner;
    EXPECT_FALSE(inner.resume());
    EXPECT_EQ(CommandFiber::current(), &outer);
    log.push_back("outer waits");
    CommandFiber::suspend();
    EXPECT_TRUE(inner.resume());
    log.push_back("outer ends");
  });
  EXPECT_EQ(CommandFiber::current(), nullptr);
  EXPECT_FALSE(outer.resume());
  EXPECT_TRUE(outer.resume());
  EXPECT_EQ(log, (std::vector<std::string>{"inner waits", "outer waits", "inner ends", "outer ends"}));
}

TEST(CommandFiber, ExceptionIsKeptNotPropagated) {
  CommandFiber f([] { throw std::runtime_error("boom"); });
  EXPECT_TRUE(f.resume());
  ASSERT_TRUE(f.error());
  EXPECT_THROW(std::rethrow_exception(f.error()), std::runtime_error);
}

TEST(CommandFiber, AbandonedFiberUnwindsItsStack) {
  struct Guard {
    bool* flag;
    ~Guard() { *flag = true; }
  };
  bool destroyed = false;
  {
    CommandFiber f([&] {
      Guard g{&destroyed};
      CommandFiber::suspend();
      ADD_FAILURE() << "never resumed";
    });
    f.resume();
    EXPECT_FALSE(destroyed);
  }
  EXPECT_TRUE(destroyed);
}

TEST(CommandFiber, DeepStackIsAvailable) {
  // Module commands keep kilobytes of buffers on their stack.
  int depth = 0;
  std::function<void(int)> recurse = [&](int n) {
    volatile char buf[1024];
    buf[0] = char(n);
    depth = n;
    if (n < 1000) recurse(n + 1);
    (void)buf[0];
  };
  CommandFiber f([&] { recurse(0); });
  EXPECT_TRUE(f.resume());
  EXPECT_EQ(depth, 1000);
}
