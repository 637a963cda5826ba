// Entry points given null or foreign pointers, and the standard plugin folder: bad input
// from a plugin gives a neutral answer, never a crash.
#include "host_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

using host::Value;

TEST_F(HostTest, EntryPointsIgnoreNullAndForeignPointersAndArrayProceduresRaiseOutOfBounds) {
  load();
  alignas(16) unsigned char foreign[64] = {};
  void* stranger = foreign;
  Value o = rt().newInstance("TestBase");
  // Entry points that take an object, a string or a record: a null, a foreign pointer, and
  // (for arrays and blocks) an object of another class are ignored or refused.
  for (const auto& [name, argument] : std::vector<std::pair<const char*, void*>>{
           {"REALLockObject", nullptr}, {"REALUnlockObject", stranger}, {"REALLockString", stranger},
           {"REALUnlockString", nullptr}, {"PluginDisposeStringData", nullptr}, {"RuntimeRaiseException", stranger}})
    entry<void (*)(void*)>(name)(argument);
  for (const auto& [name, argument] : std::vector<std::pair<const char*, void*>>{
           {"RuntimeArrayDirectGetInsertProc", stranger}, {"RuntimeArrayDirectGetGetProc", nullptr},
           {"memoryBlockGetPtr", stranger}, {"RuntimeArrayDirectGetInsertProc", o.object.get()},
           {"memoryBlockGetPtr", o.object.get()}})
    EXPECT_EQ(entry<void* (*)(void*)>(name)(argument), nullptr) << name;
  for (const char* name : {"PluginNewInstance", "pluginObjectType"})
    for (const char* className : {static_cast<const char*>(nullptr), "NoSuchClass"})
      EXPECT_EQ(entry<void* (*)(const char*)>(name)(className), nullptr) << name;
  EXPECT_EQ(entry<int (*)(void*, void*)>("RuntimeObjectIsa")(stranger, nullptr), 0);
  EXPECT_EQ(entry<void* (*)(const char*, int32_t)>("REALBuildString")(nullptr, 5), nullptr);
  EXPECT_EQ(entry<void* (*)(const char*, int32_t)>("REALBuildString")("x", -1), nullptr);
  EXPECT_EQ(entry<uint32_t (*)(void*)>("REALGetStringEncoding")(stranger), host::kEncodingUnknown);
  entry<void (*)(void*, uint32_t)>("REALSetStringEncoding")(stranger, 0);
  EXPECT_EQ(entry<void* (*)(void*, uint32_t)>("REALConvertString")(stranger, host::kEncodingUTF8), nullptr);
  EXPECT_EQ(entry<int (*)(void*, uint32_t, void*)>("PluginGetStringData")(stranger, 0, foreign), 0);
  EXPECT_STREQ(entry<const char* (*)(void*)>("StringGetCString")(stranger), "");
  EXPECT_EQ(entry<void* (*)(void*, int32_t)>("REALGetStringCFString")(stranger, 0), nullptr);
  for (const char* declaration : {"NoSuch() as Integer", "not a (declaration", static_cast<const char*>(nullptr)})
    EXPECT_EQ(entry<void* (*)(void*, const char*)>("REALLoadGlobalMethod")(nullptr, declaration), nullptr);
  EXPECT_EQ(entry<void* (*)(void*, const char*)>("REALLoadObjectMethod")(stranger, "Byte(o as Integer) as Integer"), nullptr);
  int32_t number = 0;
  EXPECT_EQ(entry<int (*)(void*, const char*, int32_t*)>("REALGetPropValueInt")(stranger, "Size", &number), 0);
  EXPECT_EQ(entry<int (*)(void*, const char*, int32_t)>("REALSetPropValueInt")(nullptr, "Size", 1), 0);
  EXPECT_FALSE(rt().exceptionPending());
  for (auto [type, bound] : {std::pair{99, 0}, {3, -2}})
    EXPECT_EQ(entry<void* (*)(int32_t, int32_t)>("RuntimeArrayCreateSingleDimBoundedArray")(type, bound), nullptr);
  EXPECT_EQ(entry<intptr_t (*)(void*)>("RuntimeUBound")(stranger), -1);
  EXPECT_EQ(entry<void* (*)(int32_t)>("newMemoryBlock")(-5), nullptr);
  EXPECT_EQ(entry<intptr_t (*)(void*)>("memoryBlockGetSize")(stranger), 0);
  // A class record of an unknown layout is refused.
  size_t classes = rt().classes().size();
  uintptr_t record[29] = {7, reinterpret_cast<uintptr_t>("Stray")};
  entry<void (*)(void*)>("PluginRegisterClass")(record);
  entry<void (*)(void*)>("PluginRegisterClass")(nullptr);
  // So is a second class of a name already taken, and one whose superclass is unknown.
  uintptr_t again[29] = {12, reinterpret_cast<uintptr_t>("TestBase")};
  entry<void (*)(void*)>("PluginRegisterClass")(again);
  uintptr_t orphan[29] = {12, reinterpret_cast<uintptr_t>("Orphan"), reinterpret_cast<uintptr_t>("NoSuchBase")};
  entry<void (*)(void*)>("PluginRegisterClass")(orphan);
  EXPECT_EQ(rt().classes().size(), classes);
  for (const char* name : {"Stray", "Orphan"}) EXPECT_EQ(rt().findClass(name), nullptr) << name;
  // Array procedures raise OutOfBoundsException past the end.
  Value array = rt().array(host::kArrayInt32, {Value::ofInt32(1)});
  auto get = reinterpret_cast<void (*)(void*, int32_t, void*)>(
      entry<void* (*)(void*)>("RuntimeArrayDirectGetGetProc")(array.object.get()));
  auto insert = reinterpret_cast<void (*)(void*, int32_t, int32_t)>(
      entry<void* (*)(void*)>("RuntimeArrayDirectGetInsertProc")(array.object.get()));
  int32_t value = 42;
  get(array.object.get(), 5, &value);
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(rt().exceptionPending());
  EXPECT_THROW(rt().call(o, "Add", {integer(1)}), host::HostException);
  insert(array.object.get(), 2, 9);  // one past the end is out of bounds too
  EXPECT_TRUE(rt().exceptionPending());
  EXPECT_THROW(rt().call(o, "Add", {integer(1)}), host::HostException);
  insert(array.object.get(), 1, 9);  // appending is fine
  get(array.object.get(), 1, &value);
  EXPECT_EQ(std::pair(value, entry<intptr_t (*)(void*)>("RuntimeUBound")(array.object.get())),
            std::pair(9, intptr_t(1)));
}

TEST(HostStandardPlugins, LoadTheImagePluginFromTheLibraryFolder) {
  namespace fs = std::filesystem;
  fs::path dir = fs::temp_directory_path() / ("qvr-host-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  fs::create_symlink(QVR_HOST_TEST_PLUGIN, dir / "libNSImageQVR.so");
  ::setenv("QVR_LIB_DIR", dir.c_str(), 1);
  {
    host::Options options;
    options.siblings = true;  // no sibling library in the folder: loading fails before the image plugin
    host::Runtime runtime(options);
    EXPECT_THROW(runtime.loadStandardPlugins(), std::runtime_error);
    EXPECT_EQ(runtime.findClass("TestBase"), nullptr);
  }
  {
    host::Options options;
    options.siblings = false;
    host::Runtime runtime(options);
    runtime.loadStandardPlugins();
    EXPECT_NE(runtime.findClass("TestBase"), nullptr);
    EXPECT_EQ(runtime.registeredPluginVersion(), 12);
  }
  fs::remove_all(dir);
}
