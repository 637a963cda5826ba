// The plugin's marker bits in member flags, rewritten for the host before registration,
// and the layout-9 copies of every kind of member record, word by word, as the host
// receives them. Driven through the probe class of the test plugin, whose tables carry
// all three markers, an event, constants and attribute lists.
#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

// The flags of the member of that name (a method's or a property's).
uintptr_t MemberFlags(const host::ClassInfo* cls, const std::string& name) {
  for (const host::MethodInfo& m : cls->methods)
    if (m.declaration.name == name) return m.flags;
  for (const host::PropertyInfo& p : cls->properties)
    if (p.name == name) return p.flags;
  ADD_FAILURE() << "no member " << name;
  return ~uintptr_t(0);
}

// version: none for a host without a version function.
struct FlagCase { std::optional<double> version; uintptr_t classFlags, marked4, marked8, markedDrop, property; };

void PrintTo(const FlagCase& c, std::ostream* os) { *os << support::HostVersionName(c.version); }

std::string FlagCaseName(const ::testing::TestParamInfo<FlagCase>& info) {
  return support::HostVersionName(info.param.version);
}

class MarkerFlags : public PluginTest, public ::testing::WithParamInterface<FlagCase> {};

TEST_P(MarkerFlags, BecomeHostFlagsOnNewerHostsAndVanishOnOlderOnes) {
  host::Options options;
  options.version = GetParam().version;
  host::Runtime& runtime = Probe(options);
  host::ClassInfo* probe = runtime.findClass("FrameProbeQVR");
  ASSERT_NE(probe, nullptr);
  EXPECT_EQ(probe->layout, GetParam().version ? probe->layout : 9) << "hosts without a version read layout 9";
  EXPECT_EQ(probe->flags, GetParam().classFlags);
  EXPECT_EQ(MemberFlags(probe, "Marked4"), GetParam().marked4);
  EXPECT_EQ(MemberFlags(probe, "Marked8"), GetParam().marked8);
  EXPECT_EQ(MemberFlags(probe, "MarkedDrop"), GetParam().markedDrop);
  EXPECT_EQ(MemberFlags(probe, "Plain"), 0x84u);  // host flags pass unchanged
  EXPECT_EQ(MemberFlags(probe, "Marked"), GetParam().property);
  for (const host::MethodInfo& m : probe->sharedMethods) EXPECT_EQ(m.flags, 0x4u) << m.declarationText;
  // The image's members that take or return pictures carry the picture marker.
  host::ClassInfo* image = runtime.findClass("NSImageQVR");
  for (const char* name : {"initWithPicture", "CopyPictureRect", "CopyPicture", "CopyMask", "CopyPictureWithMask"})
    EXPECT_EQ(MemberFlags(image, name), GetParam().marked4) << name;
  for (const host::MethodInfo& m : runtime.findClass("NSBitmapImageRepQVR")->methods)
    EXPECT_TRUE(m.declarationText != "Constructor(pic as Picture)" || m.flags == GetParam().marked4) << m.flags;
  // No marker bit reaches the host anywhere.
  for (const host::ClassInfo* cls : runtime.classes()) {
    EXPECT_EQ(cls->flags & 0x1C0000u, 0u) << cls->name;
    for (const host::MethodInfo& m : cls->methods) EXPECT_EQ(m.flags & 0x1C0000u, 0u) << m.declarationText;
    for (const host::PropertyInfo& p : cls->properties) EXPECT_EQ(p.flags & 0x1C0000u, 0u) << p.name;
  }
}

INSTANTIATE_TEST_SUITE_P(HostVersions, MarkerFlags,
                         ::testing::Values(FlagCase{2013.03, 0xC, 0x4, 0x8, 0x2, 0xE},
                                           FlagCase{2011.9, 0xC, 0x4, 0x8, 0x2, 0xE},
                                           FlagCase{2010.029, 0xC, 0x4, 0x8, 0x2, 0xE},
                                           FlagCase{2010.02, 0x0, 0x0, 0x0, 0x2, 0x2},
                                           FlagCase{std::nullopt, 0x0, 0x0, 0x0, 0x2, 0x2}),
                         FlagCaseName);

TEST_F(PluginTest, LayoutNineRecordsAreWordForWordCopies) {
  host::Options options;
  options.version = 2011.9;
  host::Runtime& runtime = Probe(options);
  host::ClassInfo* probe = runtime.findClass("FrameProbeQVR");
  ASSERT_NE(probe, nullptr);
  const std::vector<uintptr_t>& w = probe->recordWords;
  ASSERT_EQ(w.size(), 25u);
  EXPECT_EQ(w[0], 9u);
  EXPECT_STREQ(reinterpret_cast<const char*>(w[1]), "FrameProbeQVR");
  EXPECT_EQ(w[2], 0u);
  EXPECT_EQ(w[3], 16u);  // 8 bytes raised to 16
  EXPECT_EQ(w[4], probe->dataOffset);

  // Properties: 10 words each, attributes dropped.
  ASSERT_EQ(w[8], 2u);
  auto* properties = reinterpret_cast<const uintptr_t*>(w[7]);
  ASSERT_NE(properties, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(properties[1]), "Handle");
  EXPECT_STREQ(reinterpret_cast<const char*>(properties[10 + 0]), "Probe");   // group of the second
  EXPECT_STREQ(reinterpret_cast<const char*>(properties[10 + 1]), "Marked");
  EXPECT_STREQ(reinterpret_cast<const char*>(properties[10 + 2]), "Int32");
  EXPECT_EQ(properties[10 + 3], 0xEu);
  EXPECT_EQ(properties[10 + 6], 7u);  // param
  EXPECT_EQ(probe->propertyRecordSize, 10 * sizeof(void*));

  // Methods: function, setter, declaration, flags.
  ASSERT_EQ(w[10], 4u);
  auto* methods = reinterpret_cast<const uintptr_t*>(w[9]);
  ASSERT_NE(methods, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(methods[2]), "Marked4 as Int32");
  EXPECT_EQ(methods[3], 0x4u);
  EXPECT_STREQ(reinterpret_cast<const char*>(methods[4 + 2]), "Marked8 as Int32");
  EXPECT_EQ(methods[4 + 3], 0x8u);
  EXPECT_STREQ(reinterpret_cast<const char*>(methods[12 + 2]), "Plain as Int32");
  EXPECT_EQ(methods[12 + 3], 0x84u);

  // Events: declaration and forSystemUse; the source record points at its copy.
  ASSERT_EQ(w[12], 1u);
  auto* events = reinterpret_cast<const uintptr_t*>(w[11]);
  ASSERT_NE(events, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(events[0]), "Happened(count as integer)");
  EXPECT_EQ(Shared("EventCopy").pointer, static_cast<const void*>(events));

  // Attributes gone, constants in 3 words.
  EXPECT_EQ(w[16], 0u);
  EXPECT_EQ(w[17], 0u);
  ASSERT_EQ(w[19], 2u);
  auto* constants = reinterpret_cast<const uintptr_t*>(w[18]);
  ASSERT_NE(constants, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(constants[0]), "ProbeAnswer=42");
  EXPECT_EQ(constants[1], 0u);
  EXPECT_EQ(constants[2], 0u);
  EXPECT_STREQ(reinterpret_cast<const char*>(constants[3]), "ProbeName=\"probe\"");
  EXPECT_EQ(probe->constantRecordSize, 3 * sizeof(void*));

  EXPECT_EQ(w[20], 0xCu);
  EXPECT_EQ(w[21], 0u);  // no shared properties: null array
  EXPECT_EQ(w[22], 0u);
  EXPECT_GT(w[24], 10u);
  EXPECT_NE(w[23], 0u);

  // And the host serves them: a constant, a property through its getter, a method.
  EXPECT_EQ(runtime.constant("FrameProbeQVR", "ProbeAnswer").integer, 42);
  host::Value object = runtime.newInstance("FrameProbeQVR");
  EXPECT_EQ(runtime.get(object, "Marked").integer, 4);
  EXPECT_EQ(runtime.call(object, "Plain").integer, 1);
  // The sibling classes register in layout 9 too.
  host::ClassInfo* size = runtime.findClass("NSSizeQVR");
  ASSERT_NE(size, nullptr);
  EXPECT_EQ(size->layout, 9);
  EXPECT_EQ(size->propertyRecordSize, 10 * sizeof(void*));
  host::Value value = runtime.newInstance("NSSizeQVR", {host::Value::ofDouble(3), host::Value::ofDouble(4)});
  EXPECT_EQ(runtime.get(value, "Height").real, 4.0);
  EXPECT_NE(runtime.findClass("NSExceptionQVR"), nullptr);
}

// Layout 12 records are handed over as written, and the long-named classes register.
TEST_F(PluginTest, LayoutTwelveRecordsAndLongNamedClasses) {
  host::Runtime& runtime = Probe();
  host::ClassInfo* probe = runtime.findClass("FrameProbeQVR");
  ASSERT_NE(probe, nullptr);
  ASSERT_EQ(probe->recordWords.size(), 29u);
  EXPECT_EQ(std::tuple(probe->propertyRecordSize, probe->methodRecordSize, probe->constantRecordSize),
            std::tuple(12 * sizeof(void*), 6 * sizeof(void*), 5 * sizeof(void*)));
  EXPECT_EQ(probe->recordWords[17], 2u);  // attribute count kept
  // The event record was not touched.
  EXPECT_EQ(Shared("EventCopy").pointer, nullptr);
  size_t found = 0;
  for (const host::ClassInfo* cls : runtime.classes()) {
    if (cls->name.rfind("QVRProbeRep", 0) == 0) {
      ++found;
      EXPECT_TRUE(cls->name.size() == 199 || cls->name.size() == 200) << cls->name.size();
      EXPECT_EQ(cls->superName, "NSImageRepQVR");
    }
  }
  EXPECT_EQ(found, 2u);
}

}  // namespace
