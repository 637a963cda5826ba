// Host exceptions raised by the plugin: by class name and message, out-of-bounds
// messages, and platform exceptions met by each form of the Cocoa call guard, with and
// without the sibling plugin that converts them.
#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

enum Form { kFull = 0, kPooled = 1, kInitSimple = 2, kSimple = 3, kInitOnly = 4 };
enum Throw { kNothing = 0, kNSException = 1, kString = 2 };

const char kLogLine[] = "A QVRProbeException: probe reason, Info: ";

// Exceptions by class and message, unknown classes as RuntimeException, and the
// out-of-bounds messages (the last needs all of the buffer's room).
TEST_F(PluginTest, RaiseByClassAndMessageAndOutOfBounds) {
  Probe();
  auto e = Caught<host::HostException>(
      [&] { Shared("Raise", {Text("IllegalCastException"), Text("CGImage must be a CGImageQVR!")}); });
  ASSERT_TRUE(e) << "nothing raised";
  EXPECT_EQ(std::tuple(e->className(), e->message(), e->errorNumber()),
            std::tuple("IllegalCastException", "CGImage must be a CGImageQVR!", 0));
  EXPECT_EQ(Raised([&] { Shared("Raise", {Text("NilObjectException"), Text("")}); }), "NilObjectException: ");
  EXPECT_EQ(Raised([&] { Shared("RaiseNil", {Text("UnsupportedOperationException")}); }),
            "UnsupportedOperationException: ");
  EXPECT_EQ(Raised([&] { Shared("Raise", {Text("NoSuchException"), Text("kept message")}); }),
            "RuntimeException: kept message")
      << "an unknown class falls back to RuntimeException";

  const std::string longName(300, 'm');
  const std::string head = "OutOfBoundsException: Parameter index to method ";
  const struct { int64_t value, count; std::string method, message; } cases[] = {
      {-1, 3, "RepresentationWidth", "RepresentationWidth is too small. Range is 0 to 2, but value is -1."},
      {5, 2, "RepresentationHeight", "RepresentationHeight is too big. Range is 0 to 1, but value is 5."},
      {0, 0, "", "? is too big. Range is 0 to -1, but value is 0."},
      {INT64_MIN, INT64_MAX, "M",
       "M is too small. Range is 0 to 9223372036854775806, but value is -9223372036854775808."},
      {7, 1, longName, longName + " is too big. Range is 0 to 0, but value is 7."},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Raised([&] {
                Shared("RaiseOutOfBounds", {host::Value::ofInteger(c.value), host::Value::ofInteger(c.count), Text(c.method)});
              }),
              head + c.message);
  }
}

struct GuardCase { int form; bool siblings; };

std::string GuardCaseName(const ::testing::TestParamInfo<GuardCase>& info) {
  const char* names[] = {"Full", "Pooled", "InitAndSimple", "Simple", "InitOnly"};
  return std::string(names[info.param.form]) + (info.param.siblings ? "" : "NoSiblings");
}

class GuardForms : public PluginTest, public ::testing::WithParamInterface<GuardCase> {
 protected:
  host::Runtime& StartCase() {
    host::Options options;
    options.siblings = GetParam().siblings;
    return Probe(options);
  }
  host::Value Run(int form, int kind) {
    return Shared("GuardForm", {host::Value::ofInteger(form), host::Value::ofInteger(kind)});
  }
};

// A completed body gives its result; objects other than platform exceptions reach the
// host unchanged, not logged as a platform exception; the pool is released either way.
// Without the sibling plugin CocoaInit leaves the instances unset.
TEST_P(GuardForms, CompletedBodyAndOtherThrownObjects) {
  StartCase();
  support::StderrCapture log;
  EXPECT_EQ(Run(GetParam().form, kNothing).integer, 42);
  EXPECT_EQ(Shared("PoolProbesAlive").integer, 0);
  auto thrown = Caught<host::ThrownObject>([&] { Run(GetParam().form, kString); });
  ASSERT_TRUE(thrown) << "nothing thrown";
  EXPECT_EQ(thrown->object(), Shared("LastThrown").pointer);
  EXPECT_NE(thrown->className().find("String"), std::string::npos) << thrown->className();
  std::vector<std::string> lines = log.lines();
  EXPECT_EQ(support::CountContaining(lines, "QVRProbeException"), 0u);
  EXPECT_EQ(support::CountContaining(lines, ", Info: "), 0u) << "not logged as a platform exception";
  EXPECT_EQ(Shared("PoolProbesAlive").integer, 0) << "the guard's pool was released";
  if (!GetParam().siblings) {
    EXPECT_EQ(std::tuple(Shared("InstancesReady").boolean, Shared("ExceptionsReady").boolean,
                         Shared("InstancesCount").integer),
              std::tuple(false, false, -1));
  }
}

// The forms with an exception frame (Init only has none).
class FramedGuardForms : public GuardForms {};

TEST_P(FramedGuardForms, PlatformExceptionIsLoggedOnceAndConverted) {
  StartCase();
  support::StderrCapture log;
  auto e = Caught<host::HostException>([&] { Run(GetParam().form, kNSException); });
  ASSERT_TRUE(e) << "nothing raised";
  EXPECT_EQ(std::tuple(e->className(), e->message(), e->errorNumber()),
            std::tuple(GetParam().siblings ? "NSExceptionQVR" : "RuntimeException", "probe reason", 0));
  if (GetParam().siblings) {
    host::Value exception = host::Value::ofObject(e->exception());
    EXPECT_EQ(Utf8(runtime_->get(exception, "Name")) + ": " + Utf8(runtime_->get(exception, "Reason")),
              "QVRProbeException: probe reason");
  }
  std::vector<std::string> lines = log.lines();
  EXPECT_EQ(support::CountContaining(lines, kLogLine), 1u);
  EXPECT_EQ(support::CountContaining(lines, "probe key"), 1u) << "the userInfo is logged on the same line";
  EXPECT_EQ(Shared("PoolProbesAlive").integer, 0) << "the guard's pool was released";
}

TEST_P(FramedGuardForms, UnconvertibleExceptionGivesTheNeutralResult) {
  // With no way to make a host exception the platform exception is logged and swallowed.
  host::Options options;
  options.siblings = GetParam().siblings;
  options.missingEntryPoints = {"PluginNewInstance"};
  Probe(options);
  support::StderrCapture log;
  host::Value result;
  EXPECT_NO_THROW(result = Run(GetParam().form, kNSException));
  EXPECT_EQ(result.integer, 0);
  EXPECT_EQ(support::CountContaining(log.lines(), kLogLine), 1u);
  EXPECT_EQ(Shared("PoolProbesAlive").integer, 0);
  // Nor can the plugin raise an exception of its own.
  EXPECT_NO_THROW(Shared("Raise", {Text("NilObjectException"), Text("lost")}));
  EXPECT_FALSE(runtime_->exceptionPending());
}

INSTANTIATE_TEST_SUITE_P(EveryForm, GuardForms,
                         ::testing::Values(GuardCase{kFull, true}, GuardCase{kPooled, true},
                                           GuardCase{kInitSimple, true}, GuardCase{kSimple, true},
                                           GuardCase{kInitOnly, true}, GuardCase{kFull, false},
                                           GuardCase{kPooled, false}, GuardCase{kSimple, false}),
                         GuardCaseName);

INSTANTIATE_TEST_SUITE_P(EveryFramedForm, FramedGuardForms,
                         ::testing::Values(GuardCase{kFull, true}, GuardCase{kPooled, true},
                                           GuardCase{kInitSimple, true}, GuardCase{kSimple, true},
                                           GuardCase{kFull, false}, GuardCase{kPooled, false},
                                           GuardCase{kInitSimple, false}, GuardCase{kSimple, false}),
                         GuardCaseName);

// The simple form does not run CocoaInit, which finds the sibling additions; the Init
// only form has no exception frame and lets a platform exception through.
TEST_F(PluginTest, CocoaInitAndTheInitOnlyForm) {
  Probe();
  Shared("GuardForm", {host::Value::ofInteger(kSimple), host::Value::ofInteger(kNothing)});
  EXPECT_FALSE(Shared("InstancesReady").boolean);
  Shared("GuardForm", {host::Value::ofInteger(kInitSimple), host::Value::ofInteger(kNothing)});
  EXPECT_TRUE(Shared("InstancesReady").boolean);
  EXPECT_TRUE(Shared("ExceptionsReady").boolean);
  auto thrown = Caught<host::ThrownObject>(
      [&] { Shared("GuardForm", {host::Value::ofInteger(kInitOnly), host::Value::ofInteger(kNSException)}); });
  ASSERT_TRUE(thrown) << "nothing thrown";
  EXPECT_EQ(thrown->object(), Shared("LastThrown").pointer);
  EXPECT_EQ(thrown->className(), "NSException");
}

}  // namespace
