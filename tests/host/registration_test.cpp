// Loading and registration: the layout a plugin negotiates from the host version, the
// records as the host reads them in layouts 9 to 12, forSystemUse, the class table, the
// resolver's missing entry points and the once-per-process rule.
#include "host_fixture.h"
#include "support/plugin_host.h"

#include <cstdlib>

using host::Options;
using host::Value;

namespace {

Options withVersion(std::optional<double> version) {
  Options options;
  options.version = version;
  return options;
}

}  // namespace

// A host version, the layout the plugin registers in for it, and that layout's record
// sizes in words: the class record, a property, a method and a constant record.
struct Layout { std::optional<double> version; int layout; size_t words, propertyWords, methodWords, constantWords; };

class Layouts : public HostTest, public ::testing::WithParamInterface<Layout> {};

TEST_P(Layouts, RecordsAreReadWithTheirStridesEveryMemberWorksAndDataOffsetsAreHandedBack) {
  const Layout& l = GetParam();
  load(withVersion(l.version));
  EXPECT_EQ(rt().registeredPluginVersion(), l.layout);
  EXPECT_EQ(rt().callShared("TestBase", "Layout").integer, l.layout);
  EXPECT_EQ(rt().callShared("TestBase", "HostVersion").real, l.version.value_or(0.0));
  EXPECT_EQ(rt().callShared("TestBase", "Missing", {str("REALGetRBVersion")}).boolean, !l.version);
  EXPECT_FALSE(rt().callShared("TestBase", "Missing", {str("PluginRegisterClass")}).boolean);
  host::ClassInfo* base = rt().findClass("testbase");
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(base->layout, l.layout);
  ASSERT_EQ(base->recordWords.size(), l.words);
  EXPECT_EQ(base->recordWords[0], uintptr_t(l.layout));
  EXPECT_EQ(std::tuple(base->propertyRecordSize, base->methodRecordSize, base->constantRecordSize, base->flags),
            std::tuple(l.propertyWords * sizeof(void*), l.methodWords * sizeof(void*), l.constantWords * sizeof(void*),
                       uintptr_t(4)));
  // Layout 9: words 16-17 are cleared; the property, method, constant and shared method
  // counts stand where the narrower record has them.
  const std::vector<uintptr_t>& w = base->recordWords;
  if (l.layout == 9) {
    EXPECT_EQ(std::tuple(w[16] + w[17], w[8], w[10], w[19], w[24]), std::tuple(0u, 9u, 41u, 4u, 9u));
  }
  // Every member survived its record: names, declarations, accessors, values.
  ASSERT_EQ(std::tuple(base->properties.size(), base->methods.size(), base->sharedMethods.size(),
                       base->constants.size()),
            std::tuple(9u, 41u, 9u, 4u));
  EXPECT_EQ(base->properties[1].name, "Tag");
  EXPECT_EQ(base->properties[7].param, 7);
  EXPECT_EQ(base->properties[8].name + " as " + base->properties[8].type, "Name as String");
  EXPECT_EQ(base->methods[23].declarationText, "Slot(index as Integer) as Integer");
  EXPECT_NE(base->methods[23].setterFunction, nullptr);
  EXPECT_EQ(base->methods.back().declarationText, "MakeFragile() as TestFragile");
  EXPECT_EQ(base->sharedMethods.back().declaration.name, "ArmFragile");
  EXPECT_EQ(base->constants[2].name + " = " + base->constants[2].value, "Greeting = \"hello\"");
  EXPECT_EQ(base->constants[3].name, "Enabled");
  host::ClassInfo* derived = rt().findClass("TestDerived");
  host::ClassInfo* leaf = rt().findClass("TestLeaf");
  ASSERT_TRUE(derived && leaf);
  EXPECT_EQ(std::tuple(derived->layout, derived->recordWords.size(), derived->methods.size()),
            std::tuple(l.layout, l.words, size_t(3)));
  // forSystemUse holds each class's data offset, which the plugin reads back from its records.
  EXPECT_EQ(std::tuple(base->dataOffset, derived->dataOffset, leaf->dataOffset, leaf->dataSize, w[4]),
            std::tuple(size_t(24), 24 + base->dataSize, derived->dataOffset + derived->dataSize, size_t(0),
                       uintptr_t(24)));
  const host::ClassInfo* chain[] = {base, derived, leaf};
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(rt().callShared("TestBase", "RecordOffset", {integer(i)}).integer, int64_t(chain[i]->dataOffset)) << i;
  EXPECT_EQ(std::pair(derived->superclass, leaf->superclass), std::pair(base, derived));
  EXPECT_TRUE(leaf->isA(base) && !base->isA(leaf));
  // And they work.
  Value object = rt().newInstance("TestDerived");
  EXPECT_EQ(rt().call(object, "Add", {integer(2), integer(3)}).integer, 5);
  EXPECT_EQ(rt().call(object, "Extra").integer, 7);
  EXPECT_EQ(text(rt().get(object, "Name")), "name:-1");
  EXPECT_EQ(rt().constant("TestBase", "Pi").real, 3.25);
  // A plugin loads once per process, and one runtime is there at a time.
  EXPECT_THROW(rt().loadPlugin(QVR_HOST_TEST_PLUGIN), std::logic_error);
  EXPECT_THROW(host::Runtime second, std::logic_error);
  EXPECT_THROW(rt().loadPlugin("/nonexistent/libnothing.so"), std::runtime_error);
}

// Hosts from version 2013.03 on read layout 12, 2013.0 layout 11, 2012 layout 10; older
// hosts and hosts without a version entry point layout 9.
INSTANTIATE_TEST_SUITE_P(HostVersions, Layouts,
                         ::testing::Values(Layout{2013.03, 12, 29, 12, 6, 5}, Layout{2013.0, 11, 29, 12, 6, 5},
                                           Layout{2012.5, 10, 29, 12, 6, 5}, Layout{2011.9, 9, 25, 10, 4, 3},
                                           Layout{std::nullopt, 9, 25, 10, 4, 3}),
                         [](const auto& info) { return support::HostVersionName(info.param.version); });

// Each kind of application has its own application class among the built-in classes.
class AppKinds : public HostTest, public ::testing::WithParamInterface<std::pair<host::AppKind, std::string>> {};

TEST_P(AppKinds, ClassesListBuiltInClassesFirstWithTheApplicationClassOfTheKind) {
  Options options;
  options.kind = GetParam().first;
  load(options);
  auto classes = rt().classes();
  ASSERT_GE(classes.size(), 3u);
  EXPECT_TRUE(classes.front()->builtIn);
  EXPECT_EQ(classes[classes.size() - 3]->name, "TestBase");
  EXPECT_EQ(classes.back()->name, "TestLeaf");
  for (const char* name : {"Application", "ConsoleApplication", "WebApplication"})
    EXPECT_EQ(rt().findClass(name) != nullptr, name == GetParam().second) << name;
  for (const char* name : {"RuntimeException", "outofboundsexception", "MemoryBlock"})
    EXPECT_NE(rt().findClass(name), nullptr) << name;
  Value object = rt().newInstance("TestBase");
  EXPECT_TRUE(rt().call(object, "IsA", {object, str("TestBase")}).boolean);
}

INSTANTIATE_TEST_SUITE_P(Kinds, AppKinds,
                         ::testing::Values(std::pair{host::AppKind::Desktop, std::string("Application")},
                                           std::pair{host::AppKind::Console, std::string("ConsoleApplication")},
                                           std::pair{host::AppKind::Web, std::string("WebApplication")}),
                         [](const auto& info) { return info.param.second; });

TEST_F(HostTest, MissingEntryPointsResolveToNull) {
  Options options;
  options.missingEntryPoints = {"StringGetCString", "REALBuildString", "RuntimeRaiseException"};
  load(options);
  for (const char* name : {"StringGetCString", "REALBuildString", "RuntimeRaiseException"})
    EXPECT_TRUE(rt().callShared("TestBase", "Missing", {str(name)}).boolean) << name;
  for (const char* name : {"PluginNewInstance", "REALLoadObjectMethod", "memoryBlockGetSize", "RuntimeUBound",
                           "REALGetPropValueInt64", "REALSetPropValueObject", "PluginGetStringData"})
    EXPECT_FALSE(rt().callShared("TestBase", "Missing", {str(name)}).boolean) << name;
  EXPECT_TRUE(rt().callShared("TestBase", "Missing", {str("NoSuchEntryPoint")}).boolean);
  // Without REALBuildString the plugin's strings are all empty.
  EXPECT_EQ(text(rt().callShared("TestBase", "Log")), "");
  // Without RuntimeRaiseException nothing is raised.
  EXPECT_NO_THROW(rt().call(rt().newInstance("TestBase"), "Fail", {str("NilObjectException"), str("x")}));
}

TEST_F(HostTest, HostWithoutRegistrationGetsNoClasses) {
  Options options;
  options.missingEntryPoints = {"PluginRegisterClass"};
  load(options);
  EXPECT_EQ(rt().findClass("TestBase"), nullptr);
  for (host::ClassInfo* cls : rt().classes()) EXPECT_TRUE(cls->builtIn) << cls->name;
}

TEST(HostLibrary, SystemVersionIsPublishedBeforePluginsLoadAndTheFolderComesFromTheEnvironment) {
  host::Options options;
  options.systemMajor = 10;
  options.systemMinor = 6;
  host::Runtime runtime(options);
  ::unsetenv("QVR_SYSTEM_VERSION");
  EXPECT_THROW(runtime.loadPlugin("/nonexistent/libnothing.so"), std::runtime_error);
  const char* published = std::getenv("QVR_SYSTEM_VERSION");
  ASSERT_NE(published, nullptr);
  EXPECT_STREQ(published, "10.6");
  // The library folder comes from the environment.
  ::setenv("QVR_LIB_DIR", "/some/where", 1);
  EXPECT_EQ(host::Runtime::libraryDirectory(), "/some/where");
  ::unsetenv("QVR_LIB_DIR");
  EXPECT_FALSE(host::Runtime::libraryDirectory().empty());
}
