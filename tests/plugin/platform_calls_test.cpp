// The Carbon calls as the plugin sees them from inside its process: Gestalt answering the
// system version the host was configured with; and every glue function without its entry
// point.
#include <gtest/gtest.h>

#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

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
