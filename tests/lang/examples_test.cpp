// The example programs in examples/: each runs with the plugins loaded and prints
// exactly its checked-in expected output. Also the embedded example of `qvr run`.
#include "lang_support.h"
#include "support/plugin_host.h"

#include <cstdlib>
#include <sstream>

namespace {

std::string examplesDirectory() {
  if (const char* source = std::getenv("QVR_SOURCE_DIR")) return std::string(source) + "/examples";
  std::string here = __FILE__;  // tests/lang/examples_test.cpp
  return here.substr(0, here.rfind("/tests/")) + "/examples";
}

void expectExample(const std::string& name, host::Options options = {}) {
  const std::string dir = examplesDirectory();
  const std::string expected = support::ReadBytes(dir + "/" + name + ".expected");
  ASSERT_FALSE(expected.empty()) << "no expected output for " << name << " in " << dir;
  host::Runtime rt(options);
  rt.loadStandardPlugins();
  std::ostringstream out, err;
  int status = qvrlang::runFile(rt, dir + "/" + name + ".qvr", out, err);
  EXPECT_EQ(status, 0) << err.str();
  EXPECT_EQ(out.str(), expected);
}

}  // namespace

// One test an example, each in its own process, as the plugins load once per process.
class Example : public ::testing::TestWithParam<const char*> {};
TEST_P(Example, PrintsItsExpectedOutput) { expectExample(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Each, Example,
                         ::testing::Values("hello", "arrays", "exceptions", "memoryblock", "geometry", "image", "image_loading",
                                           "image_encoding", "files", "dictionary", "pictures", "drawing", "picture_conversion",
                                           "representations", "console", "picture_files", "bitmap", "documents", "classes", "threads"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

// Console pictures live in the host row buffer; the program prints the same.
TEST(Examples, PictureConversionInAConsoleApplication) {
  host::Options options;
  options.kind = host::AppKind::Console;
  expectExample("picture_conversion", options);
}

TEST(Examples, TheEmbeddedExampleRunsToItsEnd) {
  host::Runtime rt;
  rt.loadStandardPlugins();
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runSource(rt, qvrlang::embeddedExample(), "example", out, err), 0) << err.str();
  EXPECT_NE(out.str().find("caught OutOfBoundsException"), std::string::npos) << out.str();
  for (const char* written : {"example.png: PNG, written", "example.jpeg: JPEG, written", "example.tiff: TIFF, written",
                              "example.gif: GIF, written", "example.bmp: BMP, written", "New NSImageQVR(pic, mask): 8 x 6",
                              "back to a Picture: 32 x 24, mask at (0, 0) 255, at (31, 0) 0", "MemoryBlock"})
    EXPECT_NE(out.str().find(written), std::string::npos) << out.str();
}
