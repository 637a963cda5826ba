// Many host threads at once: 8 host threads each make 100 calls of every MT member on
// images of their own while the others yield, and every result must equal what the
// member's direct twin (the same name without "MT") answers for the same receiver and
// arguments. Nothing may be left alive, and the run must end within a bounded number of
// yields.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tour.h"

namespace {

constexpr int kThreads = 8;
constexpr int kCalls = 100;

TEST(ThreadedMembers, EightHostThreadsAgreeWithTheDirectTwins) {
  tour::TourHost host({});
  host::Runtime& rt = *host.runtime;
  const std::vector<tour::Twin> twins = tour::ThreadedTwins(host);
  ASSERT_GE(twins.size(), 4u);
  const support::LiveCounts before = support::Live(rt);
  std::vector<std::string> problems;
  size_t calls = 0;
  for (int t = 0; t < kThreads; ++t)
    rt.startThread([&, t] {
      for (const tour::Twin& twin : twins) {
        const std::string label = "thread " + std::to_string(t) + ": " + twin.threaded->declarationText;
        try {
          host::Value self = twin.shared ? host::Value::nil() : tour::RealInstance(host, twin.owner);
          const std::vector<host::Value> args = tour::Arguments(host, *twin.direct);
          const auto call = [&](const host::MethodInfo& m) {  // the summary of the member's result
            return tour::Summary(rt, twin.shared ? rt.callShared(twin.owner->name, m.declarationText, args)
                                                 : rt.call(self, m.declarationText, args), true);
          };
          const std::string expected = call(*twin.direct);
          for (int i = 0; i < kCalls; ++i, ++calls) {
            const std::string got = call(*twin.threaded);
            if (got != expected) problems.push_back(label + " gave " + got + ", directly " + expected);
          }
        } catch (const std::exception& e) {
          problems.push_back(label + " threw " + e.what());
        }
      }
    });
  const bool ended = rt.runThreadsUntil([&] { return rt.runningThreads() == 0; }, 50000000);
  EXPECT_TRUE(ended) << "the threads did not end within the yield bound";
  EXPECT_EQ(calls, size_t(kThreads) * kCalls * twins.size());
  for (const std::string& problem : problems) ADD_FAILURE() << problem;
  EXPECT_TRUE(support::Live(rt) == before) << support::Describe(support::Live(rt)) << ", started with "
                                           << support::Describe(before);
}

}  // namespace
