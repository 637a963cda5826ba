// Platform objects wrapped in host instances: one wrapper per platform object while the
// sibling plugin's shared dictionary is there, a new wrapper per call without it, and the
// class walk that names the host class after the platform object's own class.
//
// The sibling plugin's classes as host code and image plugins of the family meet them:
// value classes whose instance data is the platform's 32-bit layout, colour wrappers kept
// one per platform object, and the tagged Core Foundation wrapper.
#include <cstring>

#include <CoreFoundation/CoreFoundation.h>

#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

intptr_t RefCount(const host::Value& object) { return object.object.get()->refCount; }

class Wrappers : public PluginTest {
 protected:
  host::Runtime& StartWith(bool siblings) {
    host::Options options;
    options.siblings = siblings;
    return Probe(options);
  }
};

TEST_F(Wrappers, SameImageComesBackAsTheSameHostObject) {
  host::Runtime& runtime = StartWith(true);
  host::Value image = Shared("NewImage");
  EXPECT_EQ(support::ClassName(runtime, image), "NSImageQVR");
  EXPECT_NE(runtime.get(image, "Handle").integer, 0);
  EXPECT_EQ(Shared("ImageRetainCount", {image}).integer, 1);
  EXPECT_EQ(Shared("InstancesCount").integer, 1);

  intptr_t before = RefCount(image);
  host::Value again = Shared("WrapImageAgain", {image});
  EXPECT_EQ(again.object.get(), image.object.get());
  EXPECT_EQ(RefCount(image), before + 1);
  EXPECT_EQ(Shared("ImageRetainCount", {image}).integer, 1) << "no second retain on the image";
  again = host::Value();
  image = host::Value();
  EXPECT_EQ(Shared("InstancesCount").integer, 0) << "the destructor took the entry out";

  // A host object travels inside a platform collection in the sibling plugin's wrapper.
  host::Value held = runtime.newInstance("NSImageQVR");
  host::Value back = Shared("ObjectWrapperRoundTrip", {held});
  EXPECT_EQ(back.object.get(), held.object.get());
  EXPECT_EQ(back.object.get()->refCount, 2) << "the wrapper gave its reference back";
}

TEST_F(Wrappers, WithoutSiblingsEveryWrapIsANewWrapper) {
  host::Runtime& runtime = StartWith(false);
  host::Value image = Shared("NewImage");
  host::Value again = Shared("WrapImageAgain", {image});
  EXPECT_NE(again.object.get(), image.object.get());
  EXPECT_EQ(runtime.get(again, "Handle").integer, runtime.get(image, "Handle").integer);
  EXPECT_EQ(Shared("ImageRetainCount", {image}).integer, 2) << "each wrapper holds its own retain";
  again = host::Value();
  EXPECT_EQ(Shared("ImageRetainCount", {image}).integer, 1);
  EXPECT_TRUE(Shared("ObjectWrapperRoundTrip", {image}).isNil()) << "no object wrapper without the sibling plugin";
}

TEST_F(Wrappers, RepresentationWrappersKeepTheirIdentityTooAndNilWrapsToNil) {
  host::Runtime& runtime = StartWith(true);
  host::Value empty = runtime.newInstance("NSBitmapImageRepQVR", {runtime.memoryBlock("", 0)});
  EXPECT_TRUE(Shared("WrapBitmapRepAgain", {empty}).isNil());
  EXPECT_TRUE(Shared("WrapAs", {empty, Text("NSImageRep")}).isNil());
  EXPECT_EQ(Shared("InstancesCount").integer, 0);
  host::Value bitmap = Shared("NewBitmapRep");
  EXPECT_EQ(support::ClassName(runtime, bitmap), "NSBitmapImageRepQVR");
  EXPECT_EQ(Shared("WrapBitmapRepAgain", {bitmap}).object.get(), bitmap.object.get());
  host::Value pdf = Shared("NewPDFRep");
  EXPECT_EQ(support::ClassName(runtime, pdf), "NSPDFImageRepQVR");
  EXPECT_EQ(Shared("WrapPDFRepAgain", {pdf}).object.get(), pdf.object.get());
  EXPECT_EQ(Shared("InstancesCount").integer, 2);
  EXPECT_EQ(Shared("RepRetainCount", {bitmap}).integer, 1);
}

TEST_F(Wrappers, ClassWalkPicksTheMostSpecificHostClassWhoseNameFits) {
  host::Runtime& runtime = StartWith(true);
  host::Value bitmap = Shared("NewBitmapRep");
  host::Value walked = Shared("WrapAs", {bitmap, Text("NSImageRep")});
  EXPECT_EQ(support::ClassName(runtime, walked), "NSBitmapImageRepQVR");
  EXPECT_NE(walked.object.get(), bitmap.object.get()) << "never the registered wrapper";
  EXPECT_EQ(Shared("RepRetainCount", {bitmap}).integer, 2);
  host::Value second = Shared("WrapAs", {bitmap, Text("NSImageRep")});
  EXPECT_NE(second.object.get(), walked.object.get());

  // Dropping the walked wrappers leaves the registered wrapper's entry alone.
  walked = host::Value();
  second = host::Value();
  EXPECT_EQ(Shared("RepRetainCount", {bitmap}).integer, 1);
  EXPECT_EQ(Shared("WrapBitmapRepAgain", {bitmap}).object.get(), bitmap.object.get());

  // Wrong required class, unknown class name: no wrapper, no instance made.
  size_t objects = runtime.liveObjects();
  EXPECT_TRUE(Shared("WrapAs", {bitmap, Text("NSImage")}).isNil());
  EXPECT_TRUE(Shared("WrapAs", {bitmap, Text("NoSuchPlatformClass")}).isNil());
  host::Value image = Shared("NewImage");
  EXPECT_TRUE(Shared("WrapImageAs", {image, Text("NSImageRep")}).isNil());
  image = host::Value();
  EXPECT_EQ(runtime.liveObjects(), objects);
  // Class names of 196 bytes are tried, of 197 skipped.
  // The 197-byte class (kind 1) has a host class too, but its name is too long to be tried.
  const std::string name196 = "QVRProbeRep" + std::string(185, 'A') + "QVR";
  std::vector<host::Value> made;
  for (const std::string& expected : {name196, name196, std::string("NSImageRepQVR"), std::string("NSImageRepQVR")}) {
    made.push_back(Shared("NewRuntimeRep", {host::Value::ofInteger(int64_t(made.size()))}));
    EXPECT_EQ(support::ClassName(runtime, made.back()), expected) << "kind " << made.size() - 1;
    EXPECT_NE(runtime.get(made.back(), "Handle").integer, 0);
    EXPECT_EQ(Shared("RepRetainCount", {made.back()}).integer, 1);
  }
  EXPECT_EQ(Shared("InstancesCount").integer, 1) << "walked wrappers are not entered, only the bitmap is";
}

TEST_F(Wrappers, NoInstancesWithoutTheHostsNewInstance) {
  host::Options options;
  options.missingEntryPoints = {"PluginNewInstance"};
  Probe(options);
  EXPECT_TRUE(Shared("NewImage").isNil());
  EXPECT_TRUE(Shared("NewBitmapRep").isNil());
  EXPECT_TRUE(Shared("NewRuntimeRep", {host::Value::ofInteger(0)}).isNil());
}

using support::DataWord;
using host::Value;

TEST_F(PluginTest, GeometryValuesAndCoreFoundationWrappersKeepThePlatformLayout) {
  host::Runtime& runtime = Start();
  Value size = runtime.newInstance("NSSizeQVR", {Value::ofDouble(1.1), Value::ofDouble(2.5)});
  EXPECT_EQ(std::pair(DataWord<float>(size, 0), DataWord<float>(size, 4)), std::pair(1.1f, 2.5f));
  EXPECT_EQ(runtime.get(size, "Width").real, double(1.1f));
  runtime.set(size, "Height", Value::ofSingle(7.0f));
  EXPECT_EQ(DataWord<float>(size, 4), 7.0f);

  Value point = runtime.newInstance("NSPointQVR", {Value::ofDouble(-3), Value::ofDouble(4)});
  EXPECT_EQ(std::pair(DataWord<float>(point, 0), DataWord<float>(point, 4)), std::pair(-3.0f, 4.0f));

  Value rect = runtime.newInstance("NSRectQVR", {Value::ofDouble(1), Value::ofDouble(2), Value::ofDouble(3),
                                                 Value::ofDouble(4)});
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(DataWord<float>(rect, i * 4), float(i + 1));
  auto in = [&](const Value& self, std::vector<Value> at) { return runtime.call(self, "Contains", at).boolean; };
  auto empty = [&](const Value& self) { return runtime.call(self, "IsEmpty").boolean; };
  // The right edge is outside.
  const Value one = Value::ofDouble(1), two = Value::ofDouble(2), four = Value::ofDouble(4);
  EXPECT_EQ(std::pair(in(rect, {one, two}), in(rect, {four, two})), std::pair(true, false));
  EXPECT_EQ(std::pair(empty(rect), empty(runtime.newInstance("NSRectQVR"))), std::pair(false, true));

  Value range = runtime.newInstance("NSRangeQVR", {Value::ofInteger(5), Value::ofInteger(10)});
  EXPECT_EQ(std::pair(DataWord<uint32_t>(range, 0), DataWord<uint32_t>(range, 4)), std::pair(5u, 10u));
  EXPECT_EQ(std::tuple(runtime.call(range, "MaxRange").integer, in(range, {Value::ofInteger(14)}),
                       in(range, {Value::ofInteger(15)})),
            std::tuple(15, true, false));
  Value clamped = runtime.newInstance("NSRangeQVR", {Value::ofInteger(-5), Value::ofInteger(int64_t(1) << 40)});
  EXPECT_EQ(std::pair(runtime.get(clamped, "Location").integer, runtime.get(clamped, "Length").integer),
            std::pair(int64_t(0), int64_t(0xFFFFFFFF)));
  // The Core Foundation wrappers carry their tag.
  Value object = runtime.newInstance("CFObjectQVR");
  EXPECT_EQ(std::pair(DataWord<void*>(object, 0), DataWord<uint32_t>(object, 8)),
            std::pair(static_cast<void*>(nullptr), 0x52424346u));
  const unsigned char tagBytes[] = {0x46, 0x43, 0x42, 0x52};
  EXPECT_EQ(std::memcmp(reinterpret_cast<const char*>(object.object.get()) + 32, tagBytes, 4), 0);
  EXPECT_EQ(runtime.get(object, "TypeID").integer, 0);
  Value image = runtime.newInstance("CGImageQVR");
  EXPECT_EQ(runtime.get(image, "Width").integer, 0);
  EXPECT_EQ(runtime.classOf(image)->dataOffset, 24u);
}

TEST_F(PluginTest, FoundationWrappersAndColoursGiveTheMembersOneExpects) {
  host::Runtime& rt = Start();
  auto text = [&](const Value& self, const char* property) { return rt.utf8(rt.get(self, property)); };
  Value zone = rt.newInstance("NSTimeZoneQVR", {rt.string("Asia/Tokyo")});
  EXPECT_EQ(std::tuple(text(zone, "Name"), rt.get(zone, "SecondsFromGMT").integer,
                       rt.get(zone, "IsDaylightSavingTime").boolean),
            std::tuple("Asia/Tokyo", 9 * 3600, false));
  Value named = rt.callShared("NSTimeZoneQVR", "TimeZoneWithName", {rt.string("Europe/Paris")});
  EXPECT_EQ(rt.callShared("NSTimeZoneQVR", "TimeZoneWithName", {rt.string("Europe/Paris")}).object.get(),
            named.object.get());
  Value error = rt.newInstance("NSErrorQVR", {rt.string("QVRDomain"), Value::ofInteger(-7)});
  EXPECT_EQ(std::pair(text(error, "Domain"), rt.get(error, "Code").integer), std::pair(std::string("QVRDomain"), -7L));
  EXPECT_EQ(text(rt.newInstance("NSLocaleQVR", {rt.string("fr_FR")}), "LocaleIdentifier"), "fr_FR");
  EXPECT_EQ(text(rt.newInstance("NSCalendarQVR", {rt.string("gregorian")}), "CalendarIdentifier"), "gregorian");
  Value letters = rt.newInstance("NSCharacterSetQVR", {rt.string("abc")});
  auto member = [&](const Value& set, char c) {
    return rt.call(set, "CharacterIsMember", {Value::ofInteger(c)}).boolean;
  };
  EXPECT_EQ(std::pair(member(letters, 'b'), member(letters, 'd')), std::pair(true, false));
  EXPECT_TRUE(member(rt.callShared("NSCharacterSetQVR", "DecimalDigitCharacterSet"), '7'));
  Value attributed = rt.newInstance("NSAttributedStringQVR", {rt.string("h\xC3\xA9llo")});
  EXPECT_EQ(std::pair(text(attributed, "StringValue"), rt.get(attributed, "Length").integer),
            std::pair(std::string("h\xC3\xA9llo"), 5L));
  // The CF wrappers are subclasses of CFObjectQVR; one made empty holds nothing.
  EXPECT_EQ(rt.findClass("CFNumberQVR")->superclass, rt.findClass("CFObjectQVR"));
  EXPECT_EQ(rt.get(rt.newInstance("CFDateQVR"), "TypeID").integer, 0);
  EXPECT_EQ(rt.get(rt.newInstance("CFNumberQVR", {Value::ofDouble(-1.25)}), "DoubleValue").real, -1.25);
  EXPECT_EQ(text(rt.newInstance("CFStringQVR", {rt.string("t")}), "StringValue"), "t");
  EXPECT_EQ(text(rt.newInstance("CFURLQVR", {rt.string("file:///tmp/a")}), "AbsoluteString"), "file:///tmp/a");
  // Colours are one wrapper per platform colour.
  Value color = rt.newInstance("NSColorQVR", {Value::ofDouble(1), Value::ofDouble(0.5), Value::ofDouble(0.25),
                                                   Value::ofDouble(0.75)});
  // Like the host's event loop, every call into a plugin runs in an autorelease pool that
  // is drained when the call returns: only the wrapper's own retain is left on the colour.
  auto handle = reinterpret_cast<CFTypeRef>(static_cast<intptr_t>(rt.get(color, "Handle").integer));
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(CFGetRetainCount(handle), 1);
  for (auto [component, value] : {std::pair{"RedComponent", 1.0}, {"GreenComponent", 0.5}, {"BlueComponent", 0.25},
                                   {"AlphaComponent", 0.75}})
    EXPECT_NEAR(rt.get(color, component).real, value, 1e-6) << component;

  Value grey = rt.newInstance("NSColorQVR", {Value::ofDouble(0.5)});
  for (auto [component, value] : {std::pair{"RedComponent", 0.5}, {"AlphaComponent", 1.0}})
    EXPECT_NEAR(rt.get(grey, component).real, value, 1e-6) << component;

  Value white = rt.callShared("NSColorQVR", "WhiteColor");
  ASSERT_FALSE(white.isNil());
  EXPECT_EQ(white.object.get(), rt.callShared("NSColorQVR", "WhiteColor").object.get());

  Value space = rt.callShared("NSColorSpaceQVR", "DeviceGrayColorSpace");
  EXPECT_EQ(rt.get(space, "NumberOfColorComponents").integer, 1);
  EXPECT_EQ(rt.callShared("NSColorSpaceQVR", "DeviceGrayColorSpace").object.get(), space.object.get());
  EXPECT_EQ(rt.get(rt.callShared("NSColorSpaceQVR", "DeviceRGBColorSpace"), "NumberOfColorComponents").integer, 3);

  // An empty colour reads as zeros and has no colour space.
  Value none = rt.newInstance("NSColorQVR");
  EXPECT_EQ(rt.get(none, "RedComponent").real, 0.0);
  EXPECT_TRUE(rt.get(none, "ColorSpace").isNil());
}

}  // namespace
