// NSImageQVR as an object: its constructors, initWithSize, the properties that forward to
// the NSImage it holds, its plain methods and constants, and what an instance without an
// image answers.
#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

class ImageObject : public PluginTest {
 protected:
  host::Value Image(std::vector<host::Value> args = {}) { return runtime_->newInstance("NSImageQVR", std::move(args)); }
  double Real(const host::Value& object, const char* property) { return runtime_->get(object, property).real; }
  bool Flag(const host::Value& object, const char* property) { return runtime_->get(object, property).boolean; }
  // width and height of an image, Width and Height of an NSSizeQVR.
  std::pair<double, double> Sides(const host::Value& object, const char* w = "width", const char* h = "height") {
    return {Real(object, w), Real(object, h)};
  }
  intptr_t Handle(const host::Value& object) { return runtime_->get(object, "Handle").integer; }
  host::Value ImageProbe(std::string_view member, std::vector<host::Value> args) {
    return runtime_->callShared("ImageProbeQVR", member, std::move(args));
  }
};

TEST_F(ImageObject, ConstructorsAndSize) {
  host::Runtime& runtime = Probe();
  host::Value image = Image();
  EXPECT_NE(Handle(image), 0) << "Constructor makes an image of no size";
  EXPECT_FALSE(Flag(image, "isValid"));
  EXPECT_EQ(Real(image, "width"), 0.0);
  host::Value size = runtime.get(image, "size");
  ASSERT_EQ(support::ClassName(runtime, size), "NSSizeQVR");
  EXPECT_EQ(Sides(size, "Width", "Height"), std::pair(0.0, 0.0));

  intptr_t first = Handle(image);
  EXPECT_EQ(Raised([&] { runtime.call(image, "Constructor"); }),
            "UnsupportedOperationException: Constructor called too often. Object is already initialized.");
  EXPECT_EQ(Handle(image), first) << "the first image stays";

  runtime.call(image, "Constructor", {host::Value::ofDouble(100), host::Value::ofDouble(50)});
  EXPECT_EQ(Sides(image), std::pair(100.0, 50.0));
  EXPECT_TRUE(Flag(image, "isValid"));
  EXPECT_EQ(Shared("InstancesCount").integer, 1) << "the old image left instances with its release";

  EXPECT_TRUE(runtime.call(image, "initWithSize", {host::Value::ofDouble(0.5), host::Value::ofDouble(0.25)}).boolean);
  EXPECT_EQ(Sides(image), std::pair(0.5, 0.25));
  EXPECT_EQ(Shared("ImageRetainCount", {image}).integer, 1);

  host::Value one = runtime.get(image, "size"), two = runtime.get(image, "size");
  EXPECT_NE(one.object.get(), two.object.get()) << "a new NSSizeQVR at every read";
  EXPECT_EQ(Sides(one, "Width", "Height"), Sides(two, "Width", "Height"));
  EXPECT_EQ(Real(two, "Height"), 0.25);

  runtime.set(image, "size", runtime.newInstance("NSSizeQVR", {host::Value::ofDouble(3), host::Value::ofDouble(4.5)}));
  EXPECT_EQ(Sides(image), std::pair(3.0, 4.5));
  runtime.set(image, "size", host::Value::nil());
  EXPECT_EQ(Real(image, "width"), 0.0);

  EXPECT_EQ(Real(Image({host::Value::ofDouble(7), host::Value::ofDouble(9)}), "height"), 9.0);
  EXPECT_EQ(std::pair(runtime.constant("NSImageQVR", "NSImageCacheNever").integer,
                      runtime.constant("NSImageQVR", "NSImageLoadStatusReadError").integer),
            std::pair(int64_t(3), int64_t(4)));
}

TEST_F(ImageObject, PropertiesRoundTripAndWithoutAnImageAreNeutral) {
  host::Runtime& runtime = Probe();
  host::Value image = Image({host::Value::ofDouble(4), host::Value::ofDouble(4)});
  runtime.set(image, "cacheMode", host::Value::ofInteger(2));
  EXPECT_EQ(runtime.get(image, "cacheMode").integer, 2);
  for (const char* flag : {"isTemplate", "isFlipped", "cacheDepthMatchesImageDepth", "usesEPSOnResolutionMismatch",
                           "prefersColorMatch", "isCachedSeparately", "isDataRetained", "matchesOnMultipleResolution",
                           "scalesWhenResized"}) {
    bool was = Flag(image, flag);
    runtime.set(image, flag, host::Value::ofBoolean(!was));
    EXPECT_EQ(Flag(image, flag), !was) << flag;
    runtime.set(image, flag, host::Value::ofBoolean(was));
    EXPECT_EQ(Flag(image, flag), was) << flag;
  }

  EXPECT_EQ(Utf8(runtime.get(image, "Name")), "");
  EXPECT_TRUE(ImageProbe("NameImage", {image, Text("probe image \xC3\xA9")}).boolean);
  EXPECT_EQ(Utf8(runtime.get(image, "Name")), "probe image \xC3\xA9");
  EXPECT_TRUE(ImageProbe("NameImage", {image, host::Value::nil()}).boolean) << "the name is given back";

  runtime.set(image, "accessibilityDescription", Text("a small square"));
  EXPECT_EQ(Utf8(runtime.get(image, "accessibilityDescription")), "a small square");
  EXPECT_FALSE(ImageProbe("AccessibilityIsNil", {image}).boolean);
  runtime.set(image, "accessibilityDescription", Text(""));
  EXPECT_TRUE(ImageProbe("AccessibilityIsNil", {image}).boolean) << "the empty string sends nil";

  host::Value color = runtime.get(image, "backgroundColor");
  ASSERT_EQ(support::ClassName(runtime, color), "NSColorQVR");
  EXPECT_EQ(runtime.get(image, "backgroundColor").object.get(), color.object.get()) << "one wrapper per colour";
  host::Value red = runtime.newInstance("NSColorQVR", {host::Value::ofDouble(1), host::Value::ofDouble(0),
                                                       host::Value::ofDouble(0)});
  runtime.set(image, "backgroundColor", red);
  EXPECT_EQ(Handle(runtime.get(image, "backgroundColor")), Handle(red));
  runtime.set(image, "backgroundColor", host::Value::nil());
  EXPECT_NE(Handle(runtime.get(image, "backgroundColor")), Handle(red));

  runtime.call(image, "recache");
  runtime.call(image, "cancelIncrementalLoad");
  runtime.call(image, "removeRepresentation", {host::Value::nil()});
  EXPECT_EQ(Raised([&] { runtime.call(image, "addRepresentation", {host::Value::nil()}); }).rfind("NSExceptionQVR: ", 0), 0u)
      << "the platform exception, converted";

  // Without an image everything is neutral, and nothing is sent.
  host::Value emptied = Image({host::Value::ofDouble(2), host::Value::ofDouble(3)});
  intptr_t held = Handle(emptied);
  runtime.set(emptied, "Handle", host::Value::ofInteger(0));
  EXPECT_TRUE(runtime.get(emptied, "size").isNil());
  EXPECT_EQ(Real(emptied, "height"), 0.0);
  EXPECT_FALSE(Flag(emptied, "isValid"));
  EXPECT_TRUE(runtime.get(emptied, "backgroundColor").isNil());
  EXPECT_EQ(Utf8(runtime.get(emptied, "Name")), "");
  runtime.set(emptied, "isFlipped", host::Value::ofBoolean(true));
  runtime.set(emptied, "size", runtime.newInstance("NSSizeQVR", {host::Value::ofDouble(1), host::Value::ofDouble(1)}));
  runtime.call(emptied, "addRepresentation", {host::Value::nil()});
  EXPECT_FALSE(runtime.exceptionPending());
  runtime.set(emptied, "Handle", host::Value::ofInteger(held));
  EXPECT_EQ(Real(emptied, "height"), 3.0);
  EXPECT_FALSE(Flag(emptied, "isFlipped"));
}

}  // namespace
