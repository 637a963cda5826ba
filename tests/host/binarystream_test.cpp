// BinaryStream: creating, writing, reopening and reading a file at moving positions,
// and the IOExceptions for missing files, existing files, closed and read-only streams.
#include "host_fixture.h"

#include <cstdlib>
#include <functional>
#include <fstream>
#include <sstream>

using host::Value;

namespace {

std::string messageOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const host::HostException& e) {
    return e.className() + ": " + e.message();
  }
  return "no exception";
}

}  // namespace

TEST_F(HostTest, BinaryStreamsWriteAndReadFiles) {
  char pattern[] = "/tmp/qvr-stream-XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string dir = pattern;
  load();
  {
    Value folder = rt().callGlobal("GetFolderItem", {str(pattern)});
    Value file = rt().call(folder, "Child", {str("data.bin")});
    Value out = rt().callShared("BinaryStream", "Create", {file});
    rt().call(out, "Write", {rt().string(std::string("ab\0cd", 5), host::kEncodingUnknown)});
    rt().set(out, "Position", integer(1));
    rt().call(out, "Write", {str("XY")});
    EXPECT_EQ(rt().get(out, "Length").integer, 5);
    EXPECT_TRUE(rt().get(out, "EOF").boolean == false);
    rt().call(out, "Close");
    EXPECT_EQ(rt().get(file, "Length").integer, 5);
    std::ifstream check(dir + "/data.bin", std::ios::binary);
    std::stringstream bytes;
    bytes << check.rdbuf();
    EXPECT_EQ(bytes.str(), std::string("aXYcd", 5));

    Value in = rt().callShared("BinaryStream", "Open", {file});
    EXPECT_EQ(text(rt().call(in, "Read", {integer(2)})), "aX");
    EXPECT_EQ(rt().get(in, "Position").integer, 2);
    EXPECT_EQ(text(rt().call(in, "Read", {integer(100)})), "Ycd");
    EXPECT_TRUE(rt().get(in, "EOF").boolean);
    EXPECT_EQ(text(rt().call(in, "Read", {integer(1)})), "");
    EXPECT_EQ(messageOf([&] { rt().call(in, "Write", {str("no")}); }),
              "IOException: BinaryStream.Write: \"" + dir + "/data.bin\" was opened for reading only");
    rt().call(in, "Close");
    EXPECT_EQ(messageOf([&] { rt().call(in, "Read", {integer(1)}); }), "IOException: BinaryStream.Read: the stream is closed");

    EXPECT_EQ(messageOf([&] { rt().callShared("BinaryStream", "Create", {file}); }),
              "IOException: BinaryStream.Create cannot open \"" + dir + "/data.bin\": File exists");
    Value again = rt().callShared("BinaryStream", "Create", {file, Value::ofBoolean(true)});
    EXPECT_EQ(rt().get(again, "Length").integer, 0);
    rt().call(again, "Close");
    Value missing = rt().call(folder, "Child", {str("missing")});
    EXPECT_EQ(messageOf([&] { rt().callShared("BinaryStream", "Open", {missing, Value::ofBoolean(true)}); }),
              "IOException: BinaryStream.Open cannot open \"" + dir + "/missing\": No such file or directory");
    EXPECT_EQ(messageOf([&] { rt().callShared("BinaryStream", "Open", {Value::nil()}); }),
              "NilObjectException: BinaryStream.Open: the FolderItem is Nil");
  }
  EXPECT_EQ(std::system(("rm -rf '" + dir + "'").c_str()), 0);
}
