// Data, dates and file URLs carried between host values and platform objects: copies
// that never alias, the one conversion that raises, dates as local wall-clock time, and
// FolderItems and file URLs along each of the host's three hand-over routes.
#include <gtest/gtest.h>

#include "support/plugin_fixture.h"

namespace {

using host::Value;

class Conversions : public support::PluginTest {
 protected:
  void SetUp() override { folder_.write("present.txt", "here"); }
  Value Call(std::string_view member, std::vector<Value> args = {}) {
    return runtime_->callShared("ValueProbeQVR", member, std::move(args));
  }
  std::string Bytes(const Value& block) { return runtime_->memoryBlockBytes(block); }
  std::string UrlPath(const std::string& path) { return Utf8(Call("URLPathOf", {runtime_->folderItem(path)})); }
  // The path of the FolderItem made from the file URL of path, "nil" for none.
  std::string ItemPath(const std::string& path) {
    Value item = Call("FolderItemOfURLPath", {Text(path)});
    return item.isNil() ? "nil" : runtime_->folderItemPath(item);
  }
  // NSDataRB of data of this length raises the host's OutOfMemoryException.
  void ExpectOutOfMemory(int64_t length) {
    auto e = Caught<host::HostException>([&] { Call("DataOfLength", {Value::ofInteger(length)}); });
    ASSERT_TRUE(e) << "nothing raised";
    EXPECT_EQ(e->className(), "OutOfMemoryException");
    EXPECT_EQ(e->message(), "Failed to allocate a memoryblock with " + std::to_string(length) + " bytes in size.");
    EXPECT_EQ(e->errorNumber(), 0);
  }
  static host::Options Without(std::set<std::string> missing) {
    host::Options options;
    options.missingEntryPoints = std::move(missing);
    return options;
  }

  support::TempFolder folder_;
  const std::string dir_ = folder_.path();
};

const std::string kPrecomposed = "caf\xC3\xA9.png";   // U+00E9
const std::string kDecomposed = "cafe\xCC\x81.png";   // e, U+0301

TEST_F(Conversions, DataDatesFolderItemsAndFileURLsConvertBothWays) {
  Probe();
  EXPECT_EQ(Call("NewDataLength", {Block("")}).integer, -1) << "an empty block gives nil";
  EXPECT_EQ(Call("NewDataLength", {Value::nil()}).integer, -1);
  const std::string ten("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x00", 10);
  Value block = Block(ten);
  EXPECT_EQ(Call("NewDataLength", {block}).integer, 10);
  EXPECT_EQ(Bytes(Call("DataRoundTrip", {block, Value::ofBoolean(true)})), ten)
      << "the block's change after the copy does not show";
  EXPECT_EQ(Bytes(block), std::string(10, '\xEE'));
  EXPECT_TRUE(Call("DataRoundTrip", {Block(""), Value::ofBoolean(false)}).isNil());

  EXPECT_TRUE(Call("DataOfLength", {Value::ofInteger(0)}).isNil());
  EXPECT_FALSE(runtime_->exceptionPending());
  EXPECT_EQ(Bytes(Call("DataOfLength", {Value::ofInteger(1)})), std::string(1, '\0'));
  ExpectOutOfMemory(0x7FFFFFFF);
  // Dates keep their wall-clock fields in the local zone.
  auto integer = [](int64_t v) { return Value::ofInteger(v); };
  Value date = runtime_->newInstance("Date", {integer(2012), integer(3), integer(4), integer(5), integer(6), integer(7)});
  // 05:06:07 in Berlin (UTC+1 in March) is 04:06:07 UTC, 1330833967 seconds after 1970.
  EXPECT_EQ(Utf8(Call("CalendarDateOf", {date, Text("Europe/Berlin")})), "2012-03-04 05:06:07 Europe/Berlin 1330833967");
  EXPECT_EQ(Utf8(Call("CalendarDateOf", {date, Text("Asia/Tokyo")})), "2012-03-04 05:06:07 Asia/Tokyo 1330805167");
  EXPECT_EQ(Utf8(Call("CalendarDateOf", {Value::nil(), Text("")})), "nil");
  // FolderItems and file URLs convert both ways.
  EXPECT_EQ(UrlPath(dir_ + "/present.txt"), dir_ + "/present.txt");
  EXPECT_EQ(UrlPath(dir_), dir_);
  EXPECT_EQ(UrlPath(dir_ + "/" + kPrecomposed), dir_ + "/" + kDecomposed) << "a missing item's name, in form D";
  EXPECT_EQ(UrlPath(dir_ + "/no folder/x.png"), "nil");
  EXPECT_EQ(Utf8(Call("URLPathOf", {Value::nil()})), "nil");
  // And back.
  EXPECT_EQ(ItemPath(dir_ + "/present.txt"), dir_ + "/present.txt");
  EXPECT_EQ(ItemPath(dir_ + "/" + kPrecomposed), dir_ + "/" + kDecomposed);
  EXPECT_EQ(ItemPath(dir_ + "/" + std::string(300, 'a')), dir_ + "/" + std::string(255, 'a'));
  EXPECT_EQ(ItemPath(dir_ + "/no folder/x.png"), "nil");
  EXPECT_EQ(ItemPath("/"), "/");
}

TEST_F(Conversions, ABlockTheHostCannotMakeIsAnOutOfMemoryException) {
  Probe(Without({"newMemoryBlock"}));
  ExpectOutOfMemory(3);
}

// Each route on its own: with one hand-over entry point gone, only the items that the
// others serve still convert.
TEST_F(Conversions, TheRootComesThroughItsFSSpecAndOtherItemsThroughTheirParent) {
  Probe(Without({"REALFolderItemFromParentFSRef"}));
  EXPECT_EQ(ItemPath("/"), "/");
  EXPECT_EQ(ItemPath(dir_ + "/present.txt"), "nil");
}

TEST_F(Conversions, WithoutFSSpecsTheRootIsLost) {
  Probe(Without({"FolderItemFromFSSpec", "REALGetPropValueInt"}));
  EXPECT_EQ(ItemPath("/"), "nil");
  EXPECT_EQ(ItemPath(dir_ + "/present.txt"), dir_ + "/present.txt");
  Value date = runtime_->newInstance("Date");
  EXPECT_EQ(Utf8(Call("CalendarDateOf", {date, Text("")})), "nil");
}

TEST_F(Conversions, WithoutFSRefsAnExistingItemComesThroughItsFSSpec) {
  Probe(Without({"REALFSRefFromFolderItem"}));
  EXPECT_EQ(UrlPath(dir_ + "/present.txt"), dir_ + "/present.txt");
  EXPECT_EQ(UrlPath(dir_ + "/" + kPrecomposed), "nil");
}

}  // namespace
