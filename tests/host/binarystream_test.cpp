// BinaryStream: creating, writing, reopening and reading a file at moving positions,
// and the IOExceptions for missing files, existing files, closed and read-only streams.
#include "host_fixture.h"
#include "support/plugin_host.h"

using host::Value;

TEST_F(HostTest, BinaryStreamsWriteAndReadFiles) {
  support::TempFolder temporary;
  const std::string& dir = temporary.path();
  load();
  Value folder = rt().callGlobal("GetFolderItem", {str(dir.c_str())});
  Value file = rt().call(folder, "Child", {str("data.bin")});
  Value out = rt().callShared("BinaryStream", "Create", {file});
  rt().call(out, "Write", {rt().string(std::string("ab\0cd", 5), host::kEncodingUnknown)});
  rt().set(out, "Position", integer(1));
  rt().call(out, "Write", {str("XY")});
  EXPECT_EQ(rt().get(out, "Length").integer, 5);
  EXPECT_TRUE(rt().get(out, "EOF").boolean == false);
  rt().call(out, "Close");
  EXPECT_EQ(rt().get(file, "Length").integer, 5);
  EXPECT_EQ(support::ReadBytes(dir + "/data.bin"), std::string("aXYcd", 5));

  Value in = rt().callShared("BinaryStream", "Open", {file});
  EXPECT_EQ(text(rt().call(in, "Read", {integer(2)})), "aX");
  EXPECT_EQ(rt().get(in, "Position").integer, 2);
  EXPECT_EQ(text(rt().call(in, "Read", {integer(100)})), "Ycd");
  EXPECT_TRUE(rt().get(in, "EOF").boolean);
  EXPECT_EQ(text(rt().call(in, "Read", {integer(1)})), "");
  EXPECT_EQ(Raised([&] { rt().call(in, "Write", {str("no")}); }),
            "IOException: BinaryStream.Write: \"" + dir + "/data.bin\" was opened for reading only");
  rt().call(in, "Close");
  EXPECT_EQ(Raised([&] { rt().call(in, "Read", {integer(1)}); }), "IOException: BinaryStream.Read: the stream is closed");

  EXPECT_EQ(Raised([&] { rt().callShared("BinaryStream", "Create", {file}); }),
            "IOException: BinaryStream.Create cannot open \"" + dir + "/data.bin\": File exists");
  Value again = rt().callShared("BinaryStream", "Create", {file, Value::ofBoolean(true)});
  EXPECT_EQ(rt().get(again, "Length").integer, 0);
  rt().call(again, "Close");
  Value missing = rt().call(folder, "Child", {str("missing")});
  EXPECT_EQ(Raised([&] { rt().callShared("BinaryStream", "Open", {missing, Value::ofBoolean(true)}); }),
            "IOException: BinaryStream.Open cannot open \"" + dir + "/missing\": No such file or directory");
  EXPECT_EQ(Raised([&] { rt().callShared("BinaryStream", "Open", {Value::nil()}); }),
            "NilObjectException: BinaryStream.Open: the FolderItem is Nil");
}
