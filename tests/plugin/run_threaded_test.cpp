// The threaded runner: the calling host thread keeps yielding while the work runs on a
// worker of its own, so other host threads advance; work that cannot start leaves the
// caller's outputs alone; a missing mutex does not stop the run; the worker never calls
// the host; a work queue in the process takes the work instead of a new thread.
#include <dlfcn.h>

#include <atomic>

#include "support/plugin_fixture.h"

namespace {

using host::Value;

class ThreadedRunner : public support::PluginTest {
 protected:
  // "ran=<0|1> name=<worker thread's name> refused=<failures delivered>".
  std::string Run(int64_t milliseconds, int64_t failure = 0) {
    return Utf8(runtime_->callShared("ValueProbeQVR", "RunWork",
                                     {Value::ofInteger(milliseconds), Value::ofInteger(failure)}));
  }
};

const char kRan[] = "ran=1 name=NSImageLoad refused=0";

TEST_F(ThreadedRunner, HostThreadsAdvanceWhileWorkRunsAndFailuresAreQuiet) {
  host::Runtime& runtime = Probe();
  std::atomic<bool> stop{false};
  uint64_t otherYields = 0;
  size_t other = runtime.startThread([&] {
    while (!stop) {
      ++otherYields;
      runtime.yield();
    }
  });
  runtime.yield();  // the other thread is up and in its loop before the count starts
  uint64_t before = runtime.yieldCount(), otherBefore = otherYields;
  EXPECT_EQ(Run(50), kRan);
  uint64_t otherDuring = otherYields - otherBefore;
  uint64_t runnerYields = runtime.yieldCount() - before - otherDuring;
  // About one yield a millisecond, but a loaded machine stretches each 1 ms sleep to ten or
  // more: so at least one yield beyond the two around the wait, and no busy loop.
  EXPECT_GE(runnerYields, 3u);
  EXPECT_LE(runnerYields, 200u);
  EXPECT_GE(otherDuring, 2u) << "the other host thread ran meanwhile";
  stop = true;
  runtime.joinThread(other);
  // Two host threads run work at once.
  std::string otherResult;
  other = runtime.startThread([&] { otherResult = Run(30); });
  EXPECT_EQ(Run(30), kRan);
  runtime.joinThread(other);
  EXPECT_EQ(otherResult, kRan);
  // Instant work yields twice; failures are quiet.
  before = runtime.yieldCount();
  EXPECT_EQ(Run(0), kRan);
  EXPECT_GE(runtime.yieldCount() - before, 2u);

  before = runtime.yieldCount();
  EXPECT_EQ(Run(10, 1), "ran=0 name=untouched refused=1") << "no thread: nothing runs";
  EXPECT_EQ(runtime.yieldCount(), before);
  EXPECT_EQ(Run(10, 2), "ran=1 name=NSImageLoad refused=1") << "no mutex: the run completes";
  EXPECT_FALSE(runtime.exceptionPending());
  EXPECT_EQ(runtime.foreignThreadCalls(), 0u);
}

TEST_F(ThreadedRunner, AWorkQueueInTheProcessTakesTheWork) {
  void* library = dlopen(support::LibraryPath("libQVRTestWorkQueue.so").c_str(), RTLD_NOW | RTLD_GLOBAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto submissions = reinterpret_cast<long (*)()>(dlsym(library, "QVRTestWorkQueueSubmissions"));
  ASSERT_NE(submissions, nullptr);
  host::Runtime& runtime = Probe();
  EXPECT_EQ(Run(20), kRan);
  EXPECT_EQ(Run(0, 1), kRan) << "no thread is made, so a failing thread creation is never reached";
  EXPECT_EQ(submissions(), 2);
  EXPECT_EQ(runtime.foreignThreadCalls(), 0u);
}

}  // namespace
