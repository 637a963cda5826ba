// Platform objects wrapped in host instances: one wrapper per platform object while the
// sibling plugin's shared dictionary is there, a new wrapper per call without it, and the
// class walk that names the host class after the platform object's own class.
#include <gtest/gtest.h>

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
  std::string name196 = "QVRProbeRep" + std::string(185, 'A') + "QVR";
  host::Value exact = Shared("NewRuntimeRep", {host::Value::ofInteger(0)});
  EXPECT_EQ(support::ClassName(runtime, exact), name196);
  // The 197-byte class has a host class too, but its name is too long to be tried.
  host::Value sub = Shared("NewRuntimeRep", {host::Value::ofInteger(1)});
  EXPECT_EQ(support::ClassName(runtime, sub), name196);
  host::Value direct = Shared("NewRuntimeRep", {host::Value::ofInteger(2)});
  EXPECT_EQ(support::ClassName(runtime, direct), "NSImageRepQVR");
  host::Value custom = Shared("NewRuntimeRep", {host::Value::ofInteger(3)});
  EXPECT_EQ(support::ClassName(runtime, custom), "NSImageRepQVR");
  for (const host::Value* v : {&exact, &sub, &direct, &custom}) {
    EXPECT_NE(runtime.get(*v, "Handle").integer, 0);
    EXPECT_EQ(Shared("RepRetainCount", {*v}).integer, 1);
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

}  // namespace
