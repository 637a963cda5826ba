// The Core Foundation and Carbon calls as the plugin sees them from inside its process:
// dictionaries with null and kCFType callbacks, type IDs of Foundation and Core Graphics
// objects, and Gestalt answering the system version the host was configured with.
#include <gtest/gtest.h>

#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

TEST_F(PluginTest, DictionariesHonourTheirCallbacks) {
  Probe();
  EXPECT_EQ(Utf8(Shared("CheckDictionaries")), "ok");
}

TEST_F(PluginTest, TypeIDsComeFromTheObjects) {
  Probe();
  EXPECT_EQ(Utf8(Shared("CheckTypeIDs")), "ok");
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

}  // namespace
