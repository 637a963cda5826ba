// The Core Foundation and Carbon calls as the plugin sees them from inside its process:
// dictionaries with null and kCFType callbacks, type IDs of Foundation and Core Graphics
// objects, and Gestalt answering the system version the host was configured with.
#include <gtest/gtest.h>

#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

TEST_F(PluginTest, DictionariesHonourTheirCallbacksTypeIDsComeFromTheObjectsGestaltAnswers) {
  Probe();
  EXPECT_EQ(Utf8(Shared("CheckDictionaries")), "ok");
  EXPECT_EQ(Utf8(Shared("CheckTypeIDs")), "ok");
  EXPECT_EQ(Utf8(Shared("SystemVersion")), "10.9 1090 -5551") << "the default system version";
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
