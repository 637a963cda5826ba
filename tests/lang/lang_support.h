// Helpers for the language tests: run program text in a fresh host runtime (with or
// without the plugins) and keep what it printed, what it reported and its status.
#pragma once

#include <qvrlang/run.h>

#include <host/runtime.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace langtest {

struct Outcome {
  int status = -1;
  std::string out, err;
  size_t leakedObjects = 0, leakedStrings = 0;  // host objects and strings the run left alive
};

// Runs source in a host whose plugins are loaded, counting what it left alive.
inline Outcome runIn(host::Runtime& rt, const std::string& source) {
  Outcome outcome;
  const size_t objects = rt.liveObjects(), strings = rt.liveStrings();
  std::ostringstream out, err;
  outcome.status = qvrlang::runSource(rt, source, "test.qvr", out, err);
  outcome.out = out.str();
  outcome.err = err.str();
  outcome.leakedObjects = rt.liveObjects() - objects;
  outcome.leakedStrings = rt.liveStrings() - strings;
  return outcome;
}

inline Outcome run(const std::string& source, bool plugins = false) {
  host::Runtime rt;
  if (plugins) rt.loadStandardPlugins();
  return runIn(rt, source);
}

// A table row: a program and what it prints, or the message it fails with.
struct Case { std::string source, expected; };

// Runs each case in rt, checking what it printed (or reported, when it failed; with
// bothStreams, its output, "|" and its error output) and that it left no host object or
// string alive.
inline void expectAll(host::Runtime& rt, const std::vector<Case>& cases, bool bothStreams = false) {
  for (const Case& c : cases) {
    Outcome o = runIn(rt, c.source);
    EXPECT_EQ(bothStreams ? o.out + "|" + o.err : o.status == 0 ? o.out : o.err, c.expected) << c.source;
    EXPECT_EQ(o.leakedObjects, 0u) << c.source;
    EXPECT_EQ(o.leakedStrings, 0u) << c.source;
  }
}

inline void expectAll(const std::vector<Case>& cases, bool plugins = false, bool bothStreams = false) {
  host::Runtime rt;
  if (plugins) rt.loadStandardPlugins();
  expectAll(rt, cases, bothStreams);
}

}  // namespace langtest
