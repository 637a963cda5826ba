// Loading and registration: the layout a plugin negotiates from the host version, the
// records as the host reads them in layouts 9 to 12, forSystemUse, the class table, the
// resolver's missing entry points and the once-per-process rule.
#include "host_fixture.h"

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

TEST_F(HostTest, Layout12RecordsAreReadWithTheirStrides) {
  load(withVersion(2013.03));
  EXPECT_EQ(rt().registeredPluginVersion(), 12);
  host::ClassInfo* base = rt().findClass("testbase");
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(base->layout, 12);
  EXPECT_EQ(base->recordWords.size(), 29u);
  EXPECT_EQ(base->propertyRecordSize, 12 * sizeof(void*));
  EXPECT_EQ(base->methodRecordSize, 6 * sizeof(void*));
  EXPECT_EQ(base->constantRecordSize, 5 * sizeof(void*));
  EXPECT_EQ(base->properties.size(), 9u);
  EXPECT_EQ(base->methods.size(), 41u);
  EXPECT_EQ(base->sharedMethods.size(), 9u);
  EXPECT_EQ(base->constants.size(), 4u);
  EXPECT_EQ(base->properties[1].name, "Tag");
  EXPECT_EQ(base->properties[7].param, 7);
  EXPECT_EQ(base->methods.back().declarationText, "MakeFragile() as TestFragile");
  EXPECT_EQ(base->sharedMethods.back().declaration.name, "ArmFragile");
  EXPECT_EQ(base->constants[2].name, "Greeting");
  EXPECT_EQ(base->constants[2].value, "\"hello\"");
  EXPECT_EQ(base->flags, 4u);
  EXPECT_EQ(rt().callShared("TestBase", "Layout").integer, 12);
}

TEST_F(HostTest, Layout9RecordsAreReadWithTheNarrowStrides) {
  load(withVersion(2011.9));
  EXPECT_EQ(rt().registeredPluginVersion(), 9);
  host::ClassInfo* base = rt().findClass("TestBase");
  ASSERT_NE(base, nullptr);
  EXPECT_EQ(base->layout, 9);
  ASSERT_EQ(base->recordWords.size(), 25u);
  EXPECT_EQ(base->propertyRecordSize, 10 * sizeof(void*));
  EXPECT_EQ(base->methodRecordSize, 4 * sizeof(void*));
  EXPECT_EQ(base->constantRecordSize, 3 * sizeof(void*));
  EXPECT_EQ(base->recordWords[0], 9u);
  EXPECT_EQ(base->recordWords[16], 0u);
  EXPECT_EQ(base->recordWords[17], 0u);
  EXPECT_EQ(base->recordWords[8], 9u);   // property count
  EXPECT_EQ(base->recordWords[10], 41u);  // method count
  EXPECT_EQ(base->recordWords[19], 4u);   // constant count
  EXPECT_EQ(base->recordWords[24], 9u);   // shared method count
  // Every member survived the narrower records: names, declarations, accessors.
  ASSERT_EQ(base->properties.size(), 9u);
  EXPECT_EQ(base->properties[8].name, "Name");
  EXPECT_EQ(base->properties[8].type, "String");
  ASSERT_EQ(base->methods.size(), 41u);
  EXPECT_EQ(base->methods[23].declarationText, "Slot(index as Integer) as Integer");
  EXPECT_NE(base->methods[23].setterFunction, nullptr);
  ASSERT_EQ(base->constants.size(), 4u);
  EXPECT_EQ(base->constants[3].name, "Enabled");
  EXPECT_EQ(base->sharedMethods.size(), 9u);
  // And they work.
  Value object = rt().newInstance("TestBase");
  EXPECT_EQ(rt().call(object, "Add", {integer(2), integer(3)}).integer, 5);
  EXPECT_EQ(text(rt().get(object, "Name")), "name:0");
  EXPECT_EQ(rt().constant("TestBase", "Pi").real, 3.25);
  EXPECT_EQ(rt().callShared("TestBase", "Layout").integer, 9);
}

TEST_F(HostTest, Layouts10And11AreReadLikeLayout12) {
  load(withVersion(2013.0));
  EXPECT_EQ(rt().registeredPluginVersion(), 11);
  host::ClassInfo* derived = rt().findClass("TestDerived");
  ASSERT_NE(derived, nullptr);
  EXPECT_EQ(derived->layout, 11);
  EXPECT_EQ(derived->recordWords.size(), 29u);
  EXPECT_EQ(derived->methods.size(), 3u);
  Value object = rt().newInstance("TestDerived");
  EXPECT_EQ(rt().call(object, "Extra").integer, 7);
}

TEST_F(HostTest, MissingVersionEntryPointGivesLayout9) {
  load(withVersion(std::nullopt));
  EXPECT_EQ(rt().callShared("TestBase", "HostVersion").real, 0.0);
  EXPECT_EQ(rt().callShared("TestBase", "Layout").integer, 9);
  EXPECT_TRUE(rt().callShared("TestBase", "Missing", {str("REALGetRBVersion")}).boolean);
  EXPECT_FALSE(rt().callShared("TestBase", "Missing", {str("PluginRegisterClass")}).boolean);
}

TEST_F(HostTest, ForSystemUseHoldsEachClassesDataOffsetAndAPluginLoadsOnce) {
  load();
  host::ClassInfo* base = rt().findClass("TestBase");
  host::ClassInfo* derived = rt().findClass("TestDerived");
  host::ClassInfo* leaf = rt().findClass("TestLeaf");
  ASSERT_TRUE(base && derived && leaf);
  EXPECT_EQ(base->dataOffset, 24u);
  EXPECT_EQ(derived->dataOffset, 24u + base->dataSize);
  EXPECT_EQ(leaf->dataOffset, derived->dataOffset + derived->dataSize);
  EXPECT_EQ(leaf->dataSize, 0u);
  // The plugin reads the offsets back from its own records.
  EXPECT_EQ(rt().callShared("TestBase", "RecordOffset", {integer(0)}).integer, 24);
  EXPECT_EQ(rt().callShared("TestBase", "RecordOffset", {integer(1)}).integer, int64_t(derived->dataOffset));
  EXPECT_EQ(rt().callShared("TestBase", "RecordOffset", {integer(2)}).integer, int64_t(leaf->dataOffset));
  EXPECT_EQ(base->recordWords[4], 24u);
  EXPECT_EQ(derived->superclass, base);
  EXPECT_EQ(leaf->superclass, derived);
  EXPECT_TRUE(leaf->isA(base));
  EXPECT_FALSE(base->isA(leaf));
  // A plugin loads once per process.
  EXPECT_THROW(rt().loadPlugin(QVR_HOST_TEST_PLUGIN), std::logic_error);
  EXPECT_THROW(host::Runtime second, std::logic_error);  // one runtime at a time
  EXPECT_THROW(rt().loadPlugin("/nonexistent/libnothing.so"), std::runtime_error);
}

TEST_F(HostTest, ClassesListBuiltInClassesFirst) {
  Options options;
  options.kind = host::AppKind::Console;
  load(options);
  auto classes = rt().classes();
  ASSERT_GE(classes.size(), 3u);
  EXPECT_TRUE(classes.front()->builtIn);
  EXPECT_EQ(classes[classes.size() - 3]->name, "TestBase");
  EXPECT_EQ(classes.back()->name, "TestLeaf");
  EXPECT_NE(rt().findClass("ConsoleApplication"), nullptr);
  EXPECT_EQ(rt().findClass("Application"), nullptr);
  EXPECT_EQ(rt().findClass("WebApplication"), nullptr);
  EXPECT_NE(rt().findClass("RuntimeException"), nullptr);
  EXPECT_NE(rt().findClass("outofboundsexception"), nullptr);
  EXPECT_NE(rt().findClass("MemoryBlock"), nullptr);
}

TEST_F(HostTest, ApplicationClassFollowsTheKind) {
  Options options;
  options.kind = host::AppKind::Web;
  load(options);
  EXPECT_NE(rt().findClass("WebApplication"), nullptr);
  EXPECT_EQ(rt().findClass("Application"), nullptr);
  Value object = rt().newInstance("TestBase");
  EXPECT_TRUE(rt().call(object, "IsA", {object, str("TestBase")}).boolean);
}

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
  Value object = rt().newInstance("TestBase");
  EXPECT_NO_THROW(rt().call(object, "Fail", {str("NilObjectException"), str("x")}));
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
