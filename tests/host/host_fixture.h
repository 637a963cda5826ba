// The host suite's fixture: a fresh runtime per test with the suite's own plugin loaded,
// and a check at the end of every test that the live object and string counts are back
// where they were once the plugin had loaded. (A plugin's main function runs once per
// process, so each test runs in its own process, as CTest runs them.)
#pragma once

#include "host/runtime.h"
#include "support/raised.h"

#include <gtest/gtest.h>

#include <charconv>
#include <memory>
#include <string>

#ifndef QVR_HOST_TEST_PLUGIN
#error "QVR_HOST_TEST_PLUGIN names the host suite's test plugin"
#endif

class HostTest : public ::testing::Test {
 protected:
  void load(host::Options options = {}) {
    runtime_ = std::make_unique<host::Runtime>(std::move(options));
    runtime_->loadPlugin(QVR_HOST_TEST_PLUGIN);
    objects_ = runtime_->liveObjects();
    strings_ = runtime_->liveStrings();
  }

  void TearDown() override {
    if (!runtime_) return;
    EXPECT_FALSE(runtime_->exceptionPending());
    EXPECT_EQ(runtime_->liveObjects(), objects_) << "host objects left behind";
    EXPECT_EQ(runtime_->liveStrings(), strings_) << "host strings left behind";
  }

  host::Runtime& rt() { return *runtime_; }

  host::Value integer(int64_t v) { return host::Value::ofInteger(v); }
  host::Value str(const char* text) { return rt().string(text); }
  std::string text(const host::Value& v) { return rt().utf8(v); }
  // A value as "Kind value", so that a table row can name what a call must give:
  // "Int32 -4", "Double 2.5", "Boolean true", "Color ff00ff", "String abc", "TestDerived".
  std::string shown(const host::Value& v) {
    using Kind = host::Value::Kind;
    char number[32];
    switch (v.kind) {
      case Kind::Integer: return "Integer " + std::to_string(v.integer);
      case Kind::Int32: return "Int32 " + std::to_string(v.integer);
      case Kind::Int64: return "Int64 " + std::to_string(v.integer);
      case Kind::Boolean: return v.boolean ? "Boolean true" : "Boolean false";
      case Kind::Single:
      case Kind::Double:
        *std::to_chars(number, number + sizeof number - 1, v.real).ptr = 0;
        return (v.kind == Kind::Single ? "Single " : "Double ") + std::string(number);
      case Kind::Color:
        *std::to_chars(number, number + sizeof number - 1, v.integer, 16).ptr = 0;
        return "Color " + std::string(number);
      case Kind::String: return "String " + text(v);
      case Kind::Object: return v.object ? rt().classOf(v)->name : "nil";
      default: return v.isNil() ? "nil" : "other";
    }
  }
  // An entry point as plugins resolve it, as a function of type F.
  template <class F>
  F entry(const char* name) { return reinterpret_cast<F>(rt().entryPoint(name)); }
  std::string log() { return text(rt().callShared("TestBase", "Log")); }
  void clearLog() { rt().callShared("TestBase", "ClearLog"); }

  std::unique_ptr<host::Runtime> runtime_;
  size_t objects_ = 0, strings_ = 0;
};
