// A test fixture for suites that drive the image plugin through the host: it starts the
// host with the test's knobs and, when the test body has returned (and with it every
// host value the body held), checks that the host's live objects and strings are back
// where they were once the plugins had loaded.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "support/plugin_host.h"
#include "support/raised.h"

namespace support {

// A value of the instance data of a root-class object, which starts 24 bytes into it.
template <typename T>
T DataWord(const host::Value& object, size_t offset) {
  T value;
  std::memcpy(&value, reinterpret_cast<const char*>(object.object.get()) + 24 + offset, sizeof value);
  return value;
}

// Whether the four samples at p are each within tolerance of want (r, g, b, a).
inline ::testing::AssertionResult SamplesNear(const uint8_t* p, std::array<int, 4> want, int tolerance) {
  for (int i = 0; i < 4; ++i)
    if (std::abs(int(p[i]) - want[i]) > tolerance)
      return ::testing::AssertionFailure() << "samples " << int(p[0]) << "," << int(p[1]) << "," << int(p[2]) << ","
                                           << int(p[3]);
  return ::testing::AssertionSuccess();
}

// Names a parameterized test after its parameter's name field.
struct ByName {
  template <class P>
  std::string operator()(const ::testing::TestParamInfo<P>& info) const { return info.param.name; }
};

class PluginTest : public ::testing::Test {
 protected:
  host::Runtime& Start(host::Options options = {}, ImagePlugin plugin = ImagePlugin::Product) {
    runtime_ = StartHost(std::move(options), plugin);
    baseline_ = Live(*runtime_);
    return *runtime_;
  }
  host::Runtime& Probe(host::Options options = {}) { return Start(std::move(options), ImagePlugin::TestPlugin); }

  // A shared method of the probe class.
  host::Value Shared(std::string_view member, std::vector<host::Value> args = {}) {
    return runtime_->callShared("FrameProbeQVR", member, std::move(args));
  }
  host::Value Text(std::string_view utf8) { return runtime_->string(utf8); }
  host::Value Block(const std::string& bytes) { return runtime_->memoryBlock(bytes.data(), bytes.size()); }
  // An NSImageQVR instance that holds no image: Constructor gives it an empty one, a failed
  // load takes that away.
  host::Value WithoutImage() {
    host::Value none = runtime_->newInstance("NSImageQVR");
    runtime_->call(none, "initWithContentsOfURL", {Text("")});
    return none;
  }
  std::string Utf8(const host::Value& value) { return runtime_->utf8(value); }
  // Fills a rectangle of a Picture with a colour, through its Graphics.
  void Fill(const host::Value& picture, uint32_t colour, double x, double y, double w, double h) {
    host::Value g = runtime_->get(picture, "Graphics");
    runtime_->set(g, "DrawingColor", host::Value::ofColor(colour));
    runtime_->call(g, "FillRect", {host::Value::ofDouble(x), host::Value::ofDouble(y), host::Value::ofDouble(w),
                                   host::Value::ofDouble(h)});
  }

  void TearDown() override {
    if (!runtime_) return;
    LiveCounts now = Live(*runtime_);
    EXPECT_TRUE(now == baseline_) << "live counts: " << Describe(now) << ", started with " << Describe(baseline_);
  }

  std::unique_ptr<host::Runtime> runtime_;
  LiveCounts baseline_;
};

}  // namespace support
