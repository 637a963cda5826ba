// The image plugin's start in hosts of different versions: the record layout it
// negotiates at each version boundary, the six classes as the host receives them in the
// newest and the oldest layout, and hosts that lack the version or registration entry
// points (a host without a version function is the NoVersion boundary); the qvr
// command's classes listing of the same, run as a user runs it; the Carbon calls as the
// plugin sees them from inside its process (Gestalt answering the configured system
// version) and every glue function without its entry point.
#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

const char* const kImageClasses[] = {"NSImageQVR",       "NSImageRepQVR",     "NSPDFImageRepQVR",
                                     "NSEPSImageRepQVR", "NSPICTImageRepQVR", "NSBitmapImageRepQVR"};

std::vector<std::string> ImageClassesInOrder(const host::Runtime& runtime) {
  std::vector<std::string> names;
  for (const host::ClassInfo* cls : runtime.classes()) {
    for (const char* name : kImageClasses)
      if (cls->name == name) names.push_back(cls->name);
  }
  return names;
}

struct Boundary { std::optional<double> version; int layout; };

std::string BoundaryName(const ::testing::TestParamInfo<Boundary>& info) {
  return support::HostVersionName(info.param.version);
}

class LayoutNegotiation : public PluginTest, public ::testing::WithParamInterface<Boundary> {};

TEST_P(LayoutNegotiation, RegistersEveryClassInTheNegotiatedLayout) {
  host::Options options;
  options.version = GetParam().version;
  host::Runtime& runtime = Start(options);
  ASSERT_TRUE(runtime.registeredPluginVersion().has_value());
  EXPECT_EQ(*runtime.registeredPluginVersion(), GetParam().layout);
  EXPECT_EQ(ImageClassesInOrder(runtime).size(), 6u);
  for (const char* name : kImageClasses) {
    host::ClassInfo* cls = runtime.findClass(name);
    ASSERT_NE(cls, nullptr) << name;
    EXPECT_EQ(cls->layout, GetParam().layout) << name;
    ASSERT_EQ(cls->recordWords.size(), GetParam().layout == 9 ? 25u : 29u) << name;
    EXPECT_EQ(cls->recordWords[0], uintptr_t(GetParam().layout)) << name;
    if (GetParam().layout == 9) {  // the plugin's own copy clears the attribute words
      EXPECT_EQ(cls->recordWords[16], 0u) << name;
      EXPECT_EQ(cls->recordWords[17], 0u) << name;
    }
  }
  // The records still serve: the empty representation constructor and Handle.
  EXPECT_EQ(runtime.get(runtime.newInstance("NSImageRepQVR"), "Handle").integer, 0);
}

INSTANTIATE_TEST_SUITE_P(VersionBoundaries, LayoutNegotiation,
                         ::testing::Values(Boundary{2013.03, 12}, Boundary{2013.9, 12}, Boundary{2013.02, 11},
                                           Boundary{2013.0, 11}, Boundary{2012.99, 10}, Boundary{2012.0, 10},
                                           Boundary{2011.9, 9}, Boundary{2010.02, 9}, Boundary{std::nullopt, 9},
                                           Boundary{0.0, 9}),
                         BoundaryName);

TEST_F(PluginTest, ClassesArriveInOrderWithTheirDataAndHandlesAndNewInstancesAreEmpty) {
  host::Runtime& runtime = Start();
  std::vector<std::string> expected(std::begin(kImageClasses), std::end(kImageClasses));
  EXPECT_EQ(ImageClassesInOrder(runtime), expected);

  // 8 bytes of Handle raised to 16; the subclasses have none of their own and live in
  // their base class's data, 24 bytes into the object.
  host::ClassInfo* image = runtime.findClass("NSImageQVR");
  host::ClassInfo* base = runtime.findClass("NSImageRepQVR");
  for (host::ClassInfo* cls : {image, base})
    EXPECT_EQ(std::pair(cls->dataSize, cls->dataOffset), std::pair(size_t(16), size_t(24))) << cls->name;
  EXPECT_EQ(image->recordWords[4], 24u);
  for (const char* name : {"NSPDFImageRepQVR", "NSEPSImageRepQVR", "NSPICTImageRepQVR", "NSBitmapImageRepQVR"}) {
    host::ClassInfo* cls = runtime.findClass(name);
    EXPECT_EQ(cls->dataSize, 0u) << name;
    EXPECT_EQ(cls->superclass, base) << name;
    EXPECT_EQ(cls->flags, 0x4u) << name;
  }
  EXPECT_EQ(image->superclass, nullptr);

  ASSERT_EQ(base->properties.size(), 10u);
  EXPECT_EQ(std::pair(base->constants.size(), base->sharedMethods.size()), std::pair(size_t(1), size_t(1)));
  for (host::ClassInfo* cls : {image, base}) {
    ASSERT_GE(cls->properties.size(), 1u);
    const host::PropertyInfo& handle = cls->properties[0];
    EXPECT_EQ(handle.name + " as " + handle.type, "Handle as Integer");
    EXPECT_EQ(handle.flags, 0x6u);
    const void* marker = reinterpret_cast<void*>(intptr_t(-1));  // the host reads and writes the data itself
    EXPECT_EQ(std::tuple(handle.getter, handle.setter, handle.param), std::tuple(marker, marker, 0)) << cls->name;
  }
  ASSERT_EQ(base->methods.size(), 2u);
  EXPECT_EQ(base->methods[0].declarationText, "Constructor");
  EXPECT_EQ(base->methods[0].flags, 0x84u);

  // New instances hold nothing and die quietly.
  for (const char* name : kImageClasses) {
    // The bitmap and document classes have constructors of their own; empty data makes
    // them hold nothing.
    const std::string kind(name);
    const bool fromData = kind != "NSImageQVR" && kind != "NSImageRepQVR";
    host::Value object = fromData ? runtime.newInstance(name, {runtime.memoryBlock("", 0)}) : runtime.newInstance(name);
    // NSImageQVR's Constructor gives every new instance an empty image of its own.
    if (std::string(name) == "NSImageQVR")
      EXPECT_NE(runtime.get(object, "Handle").integer, 0) << name;
    else
      EXPECT_EQ(runtime.get(object, "Handle").integer, 0) << name;
  }
}

// Hosts that lack an entry point of the start: no classes without registration (in either
// layout), and no crash; the classes all the same without version registration.
struct MissingCase { const char* name; double version; const char* missing; size_t classes; int layout; };

class MissingAtStart : public PluginTest, public ::testing::WithParamInterface<MissingCase> {};

TEST_P(MissingAtStart, ClassesAndLayout) {
  host::Options options;
  options.version = GetParam().version;
  options.missingEntryPoints = {GetParam().missing};
  host::Runtime& runtime = Start(options);
  EXPECT_EQ(ImageClassesInOrder(runtime).size(), GetParam().classes);
  if (GetParam().classes) {
    EXPECT_EQ(runtime.findClass("NSImageQVR")->layout, GetParam().layout);
  } else {
    EXPECT_EQ(*runtime.registeredPluginVersion(), GetParam().layout);
  }
}

INSTANTIATE_TEST_SUITE_P(Hosts, MissingAtStart,
                         ::testing::Values(MissingCase{"NoRegistration", 2013.03, "PluginRegisterClass", 0, 12},
                                           MissingCase{"NoRegistrationLayout9", 2011.0, "PluginRegisterClass", 0, 9},
                                           MissingCase{"NoVersionRegistration", 2013.03, "RegisterPluginVersion", 6, 12}),
                         support::ByName());

TEST_F(PluginTest, ConsoleAndNoSiblingHostsGetTheSameClasses) {
  host::Options options;
  options.kind = host::AppKind::Console;
  options.siblings = false;
  host::Runtime& runtime = Start(options);
  EXPECT_EQ(ImageClassesInOrder(runtime).size(), 6u);
  EXPECT_EQ(runtime.findClass("NSSizeQVR"), nullptr);
}

// What `qvr classes <arguments>` prints, then "status=<exit status>".
std::string Classes(const std::string& arguments) {
  return support::Output(host::Runtime::libraryDirectory() + "/../bin/qvr classes " + arguments +
                         " 2>/dev/null; echo status=$?");
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

TEST(QvrClasses, FirstLineNamesHostAndLayoutThenTheClasses) {
  const std::string plain = Classes("");
  EXPECT_EQ(FirstLine(plain), "host 2013.03, layout 12");
  EXPECT_NE(plain.find("\nstatus=0\n"), std::string::npos);
  for (auto [arguments, first] : {std::pair{"2013.02", "host 2013.02, layout 11"},
                                   {"2010.029 --console", "host 2010.029, layout 9"}, {"none", "host none, layout 9"}})
    EXPECT_EQ(FirstLine(Classes(std::string("--host-version ") + arguments)), first);
  const std::string out = Classes("--no-siblings");
  for (const char* line : {"\nstatus=0\n", "class NSImageQVR  [layout 12, data 16 bytes at 24, flags 0x4]",
                           "class NSBitmapImageRepQVR inherits NSImageRepQVR", "method Constructor  [flags 0x84]"})
    EXPECT_NE(out.find(line), std::string::npos) << line << " in\n" << out;
  EXPECT_EQ(out.find("class NSSizeQVR"), std::string::npos) << "no sibling classes";
  EXPECT_LT(out.find("class NSImageRepQVR"), out.find("class NSPDFImageRepQVR"));
  for (const char* bad : {"--host-version abc", "--bogus"})
    EXPECT_EQ(Classes(bad).find("status=0"), std::string::npos) << bad;
}

TEST_F(PluginTest, GestaltAnswersTheDefaultSystemVersion) {
  Probe();
  EXPECT_EQ(Utf8(Shared("SystemVersion")), "10.9 1090 -5551");
}

TEST_F(PluginTest, GestaltAnswersAnOlderConfiguredSystem) {
  host::Options options;
  options.systemMajor = 10;
  options.systemMinor = 6;
  Probe(options);
  EXPECT_EQ(Utf8(Shared("SystemVersion")), "10.6 1060 -5551");
}

// Every glue function gives its neutral result, and touches nothing, when the host has
// no entry point for it (as older hosts, or this host before it offers them).
TEST_F(PluginTest, GlueWithoutEntryPointsGivesNeutralResults) {
  host::Options options;
  options.missingEntryPoints = {"pluginObjectType", "RuntimeObjectIsa", "REALLoadObjectMethod",
                                "REALGetPropValueInt", "REALGetPropValueDouble", "REALYieldToRB",
                                "newMemoryBlock", "memoryBlockGetPtr", "memoryBlockGetSize",
                                "newPicture", "REALGetPictureMask", "REALPictureClearCache",
                                "pluginPictureGraphicsGetter", "REALCopyPictureCGImage",
                                "REALBuildPictureFromBuffer", "lockPictureDescription",
                                "REALLockPictureDescription", "unlockPictureDescription",
                                "REALFSSpecFromFolderItem", "FolderItemFromFSSpec", "REALFSRefFromFolderItem",
                                "REALFolderItemFromParentFSRef", "Int32ToVariant", "DoubleToVariant",
                                "BooleanToVariant", "StringToVariant", "VariantToInt32", "VariantToDouble",
                                "VariantToString", "RuntimeArrayDirectGetGetProc", "RuntimeUBound"};
  Probe(options);
  EXPECT_EQ(Utf8(Shared("NeutralGlue")), "");
}

}  // namespace
