// Cooperative host threads: the baton passes in turn, plugin work on a thread of its
// own yields while other host threads advance, and entry points called from threads
// that are not host threads are refused with their neutral result.
#include "host_fixture.h"

#include <stdexcept>
#include <thread>

namespace {

using host::Options;

class ThreadsTest : public HostTest {};

TEST_F(ThreadsTest, TheRuntimesThreadIsAHostThreadAndOthersRunInTurnWhenTheBatonComesTheirWay) {
  load();
  EXPECT_TRUE(host::Runtime::onHostThread());
  EXPECT_EQ(rt().runningThreads(), 0u);
  rt().yield();  // nobody else to run: comes straight back
  EXPECT_EQ(rt().yieldCount(), 1u);
  bool foreign = true;
  std::thread([&] { foreign = host::Runtime::onHostThread(); }).join();
  EXPECT_FALSE(foreign);
  int advances = 0;
  size_t id = rt().startThread([&] {
    for (int i = 0; i < 3; ++i) {
      ++advances;
      rt().yield();
    }
  });
  EXPECT_EQ(advances, 0) << "a new thread waits for the first yield";
  EXPECT_EQ(rt().runningThreads(), 1u);
  rt().yield();
  EXPECT_EQ(advances, 1);
  rt().yield();
  EXPECT_EQ(advances, 2);
  EXPECT_FALSE(rt().threadFinished(id));
  rt().joinThread(id);
  EXPECT_EQ(advances, 3);
  EXPECT_TRUE(rt().threadFinished(id));
  EXPECT_EQ(rt().runningThreads(), 0u);
  // The baton goes round in the order the threads started.
  std::string order;
  std::vector<size_t> ids;
  for (char name : {'a', 'b', 'c'})
    ids.push_back(rt().startThread([&, name] {
      for (int i = 0; i < 2; ++i) {
        order += name;
        rt().yield();
      }
    }));
  rt().yield();
  order += '.';
  rt().yield();
  order += '.';
  for (size_t id : ids) rt().joinThread(id);
  EXPECT_EQ(order, "abc.abc.");
  // RunThreadsUntil stops when done or when nothing is left.
  advances = 0;
  id = rt().startThread([&] {
    while (advances < 10) {
      ++advances;
      rt().yield();
    }
  });
  EXPECT_TRUE(rt().runThreadsUntil([&] { return advances >= 4; }));
  EXPECT_EQ(advances, 4);
  EXPECT_FALSE(rt().runThreadsUntil([] { return false; }, 2));
  EXPECT_EQ(advances, 6);
  EXPECT_FALSE(rt().runThreadsUntil([] { return false; }));  // the thread ends
  EXPECT_EQ(advances, 10);
  rt().joinThread(id);
}

TEST_F(ThreadsTest, JoinRethrowsHostThreadsAndPluginWorkCallThePluginAndForeignThreadsAreRefused) {
  load();
  size_t id = rt().startThread([] { throw std::runtime_error("body failed"); });
  EXPECT_THROW(rt().joinThread(id), std::runtime_error);
  EXPECT_THROW(rt().joinThread(id), std::logic_error);
  EXPECT_THROW(rt().joinThread(999), std::invalid_argument);
  EXPECT_THROW(rt().joinThread(0), std::invalid_argument);
  EXPECT_THROW(rt().threadFinished(999), std::invalid_argument);
  // A host thread calls the plugin and holds the values it gets.
  host::Value result;
  id = rt().startThread([&] {
    result = rt().callShared("TestBase", "Twice", {integer(21)});
    rt().yield();
  });
  rt().joinThread(id);
  EXPECT_EQ(result.integer, 42);
  // Plugin work on a thread of its own yields alone, or while another host thread advances.
  uint64_t before = rt().yieldCount();
  host::Value yields = rt().callShared("TestThreads", "YieldingWork", {integer(5)});
  EXPECT_GE(yields.integer, 5);
  EXPECT_EQ(rt().yieldCount() - before, static_cast<uint64_t>(yields.integer));
  EXPECT_EQ(rt().foreignThreadCalls(), 0u);
  // With another host thread, it advances once for every yield of the plugin.
  bool stop = false;
  int64_t advances = 0;
  id = rt().startThread([&] {
    while (!stop) {
      ++advances;
      rt().yield();
    }
  });
  yields = rt().callShared("TestThreads", "YieldingWork", {integer(50)});
  EXPECT_GE(yields.integer, 50);
  EXPECT_EQ(advances, yields.integer) << "one advance for every yield of the plugin";
  stop = true;
  rt().joinThread(id);
  EXPECT_EQ(rt().foreignThreadCalls(), 0u);
  // Entry points refuse a worker of the plugin and a thread of the host program.
  uint64_t yieldsBefore = rt().yieldCount();
  host::Value neutral = rt().callShared("TestThreads", "ForeignCalls");
  EXPECT_EQ(neutral.integer, 3) << "string, yield and resolver all answered neutrally";
  EXPECT_EQ(rt().foreignThreadCalls(), 3u);
  EXPECT_EQ(rt().yieldCount(), yieldsBefore) << "a refused yield hands nothing on";
  // A thread of the host program that is no host thread is refused too.
  auto build = entry<void* (*)(const char*, int32_t)>("REALBuildString");
  ASSERT_NE(build, nullptr);
  void* made = reinterpret_cast<void*>(1);
  std::thread([&] { made = build("abc", 3); }).join();
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(rt().foreignThreadCalls(), 4u);
}

TEST_F(ThreadsTest, ARuntimeEndsTheThreadsStillGoing) {
  int advances = 0;
  {
    host::Runtime runtime;
    runtime.startThread([&] {
      for (int i = 0; i < 5; ++i) {
        ++advances;
        runtime.yield();
      }
    });
  }
  EXPECT_EQ(advances, 5);
  EXPECT_FALSE(host::Runtime::onHostThread());
}

}  // namespace
