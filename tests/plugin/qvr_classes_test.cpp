// The qvr command's classes listing, run as a user runs it: the first line names the
// host version and the negotiated layout, then the classes the host holds; bad
// arguments fail.
#include <gtest/gtest.h>

#include <string>

#include "host/runtime.h"
#include "support/plugin_host.h"

namespace {

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
  EXPECT_EQ(FirstLine(Classes("--host-version 2013.02")), "host 2013.02, layout 11");
  EXPECT_EQ(FirstLine(Classes("--host-version 2010.029 --console")), "host 2010.029, layout 9");
  EXPECT_EQ(FirstLine(Classes("--host-version none")), "host none, layout 9");
  const std::string out = Classes("--no-siblings");
  EXPECT_NE(out.find("\nstatus=0\n"), std::string::npos);
  EXPECT_NE(out.find("class NSImageQVR  [layout 12, data 16 bytes at 24, flags 0x4]"), std::string::npos) << out;
  EXPECT_NE(out.find("class NSBitmapImageRepQVR inherits NSImageRepQVR"), std::string::npos);
  EXPECT_NE(out.find("method Constructor  [flags 0x84]"), std::string::npos);
  EXPECT_EQ(out.find("class NSSizeQVR"), std::string::npos) << "no sibling classes";
  EXPECT_LT(out.find("class NSImageRepQVR"), out.find("class NSPDFImageRepQVR"));
  for (const char* bad : {"--host-version abc", "--bogus"})
    EXPECT_EQ(Classes(bad).find("status=0"), std::string::npos) << bad;
}

}  // namespace
