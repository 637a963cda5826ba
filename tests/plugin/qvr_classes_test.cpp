// The qvr command's classes listing, run as a user runs it: the first line names the
// host version and the negotiated layout, then the classes the host holds.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "host/runtime.h"

namespace {

std::string RunQvr(const std::string& arguments, int* status) {
  std::string command = host::Runtime::libraryDirectory() + "/../bin/qvr " + arguments + " 2>/dev/null";
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  *status = pclose(pipe);
  return output;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

TEST(QvrClasses, FirstLineNamesHostAndLayout) {
  int status = -1;
  EXPECT_EQ(FirstLine(RunQvr("classes", &status)), "host 2013.03, layout 12");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(FirstLine(RunQvr("classes --host-version 2013.02", &status)), "host 2013.02, layout 11");
  EXPECT_EQ(FirstLine(RunQvr("classes --host-version 2010.029 --console", &status)), "host 2010.029, layout 9");
  EXPECT_EQ(FirstLine(RunQvr("classes --host-version none", &status)), "host none, layout 9");
}

TEST(QvrClasses, ListsTheClassesAsTheHostHoldsThem) {
  int status = -1;
  std::string out = RunQvr("classes --no-siblings", &status);
  EXPECT_EQ(status, 0);
  EXPECT_NE(out.find("class NSImageQVR  [layout 12, data 16 bytes at 24, flags 0x4]"), std::string::npos) << out;
  EXPECT_NE(out.find("class NSBitmapImageRepQVR inherits NSImageRepQVR"), std::string::npos);
  EXPECT_NE(out.find("method Constructor  [flags 0x84]"), std::string::npos);
  EXPECT_EQ(out.find("class NSSizeQVR"), std::string::npos) << "no sibling classes";
  EXPECT_LT(out.find("class NSImageRepQVR"), out.find("class NSPDFImageRepQVR"));
}

TEST(QvrClasses, RejectsBadArguments) {
  int status = -1;
  RunQvr("classes --host-version abc", &status);
  EXPECT_NE(status, 0);
  RunQvr("classes --bogus", &status);
  EXPECT_NE(status, 0);
}

}  // namespace
