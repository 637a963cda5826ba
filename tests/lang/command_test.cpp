// The `qvr run` command: options, a program file, the embedded example, and the
// host knobs reaching the program (a host without the sibling plugin has no sibling
// classes, so a program that names one is told so before it runs).
#include "lang_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <unistd.h>

namespace {

std::string writeProgram(const std::string& text) {
  char path[] = "/tmp/qvr-lang-test-XXXXXX";
  int fd = mkstemp(path);
  if (fd >= 0) close(fd);
  std::ofstream(path) << text;
  return path;
}

}  // namespace

TEST(Command, RunsAProgramFile) {
  std::string path = writeProgram("Dim s As New NSSizeQVR(3, 4)\nPrint Str(s.Width * s.Height)\n");
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runCommand({path}, out, err), 0) << err.str();
  EXPECT_EQ(out.str(), "12\n");
  std::remove(path.c_str());
}

TEST(Command, WithoutSiblingsTheirClassesAreUnknown) {
  std::string path = writeProgram("Dim s As New NSSizeQVR(3, 4)\n");
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runCommand({"--no-siblings", path}, out, err), 1);
  EXPECT_NE(err.str().find(":1:14: error: unknown type \"NSSizeQVR\""), std::string::npos) << err.str();
  std::remove(path.c_str());
}

TEST(Command, WithoutAProgramRunsTheEmbeddedExample) {
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runCommand({}, out, err), 0) << err.str();
  EXPECT_NE(out.str().find("MemoryBlock"), std::string::npos);
  EXPECT_NE(out.str().find("NSSizeQVR: 64 x 48"), std::string::npos) << out.str();
}

TEST(Command, BadOptionsAndMissingProgramFiles) {
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runCommand({"--frobnicate"}, out, err), 2);
  EXPECT_NE(err.str().find("usage: qvr run"), std::string::npos);
  EXPECT_EQ(qvrlang::runCommand({"--host-version", "soon"}, out, err), 2);
  EXPECT_EQ(qvrlang::runCommand({"a.qvr", "b.qvr"}, out, err), 2);
  err.str("");
  EXPECT_EQ(qvrlang::runCommand({"/nonexistent/x.qvr"}, out, err), 2);
  EXPECT_NE(err.str().find("cannot read"), std::string::npos);
}
