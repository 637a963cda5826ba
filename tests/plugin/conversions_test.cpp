// Data, dates and file URLs carried between host values and platform objects: copies
// that never alias, the one conversion that raises, dates as local wall-clock time, and
// FolderItems and file URLs along each of the host's three hand-over routes.
//
// Host strings to platform strings and back, in every encoding the host tags strings
// with and along each way the plugin can read a host string's bytes: the host's own
// platform string, the string data entry point, the fallback through StringGetCString
// and LenB, and the direct read of older hosts.
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
    EXPECT_EQ(std::tuple(e->className(), e->message(), e->errorNumber()),
              std::tuple("OutOfMemoryException",
                         "Failed to allocate a memoryblock with " + std::to_string(length) + " bytes in size.", 0));
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

TEST_F(Conversions, DataDatesFileURLsAndPlatformStringsConvertBothWays) {
  host::Runtime& runtime = Probe();
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
  // Platform strings of any length, string data, string arrays and decomposition.
  // 99 units go through the stack buffer, 100 through a heap buffer; U+263A takes three
  // UTF-8 bytes, so 100 of them need 300 bytes.
  host::Value short99 = Shared("RepeatUnit", {Value::ofInteger(0x263A), Value::ofInteger(99)});
  host::Value long100 = Shared("RepeatUnit", {Value::ofInteger(0x263A), Value::ofInteger(100)});
  EXPECT_EQ(runtime.bytes(short99).size(), 297u);
  EXPECT_EQ(runtime.bytes(long100).size(), 300u);
  EXPECT_EQ(runtime.bytes(long100).substr(0, 297), runtime.bytes(short99));
  EXPECT_EQ(runtime.bytes(Shared("RepeatUnit", {Value::ofInteger('x'), Value::ofInteger(5000)})),
            std::string(5000, 'x'));
  // Empty, and cut at the first NUL.
  host::Value empty = Shared("StringFromUnits", {Text("")});
  EXPECT_EQ(empty.kind, host::Value::Kind::String);
  EXPECT_FALSE(empty.string) << "an empty platform string is no host string at all";
  EXPECT_EQ(runtime.bytes(Shared("StringFromUnits", {Text("0061 0000 0062")})), "a");
  EXPECT_FALSE(Shared("StringFromUnits", {Text("0000")}).string);

  // String data from the host, string arrays filled in enumeration order, normalization form D.
  EXPECT_EQ(Utf8(Shared("StringData", {runtime.string("\xC3\xA9", host::kEncodingUTF8),
                                       Value::ofInteger(host::kEncodingUTF16)})),
            "enc=100 len=2 bytes=e900 tail=00000000");
  EXPECT_EQ(Utf8(Shared("FillAndJoin", {Text("a,b,c")})), "ubound=2:a|b|c");
  EXPECT_EQ(Utf8(Shared("FillAndJoin", {Text("\xC3\xA9t\xC3\xA9")})), "ubound=0:\xC3\xA9t\xC3\xA9");
  // An empty element is the host's empty string, inserted all the same.
  EXPECT_EQ(Utf8(Shared("FillAndJoin", {Text("x,,y")})), "ubound=2:x||y");
  EXPECT_EQ(Utf8(Shared("DecomposedUnits", {Text("\xC3\xA9")})), "0065 0301");
  EXPECT_EQ(Utf8(Shared("DecomposedUnits", {Text("a")})), "0061");
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
  EXPECT_EQ(Utf8(Call("CalendarDateOf", {runtime_->newInstance("Date"), Text("")})), "nil");
}

TEST_F(Conversions, WithoutFSRefsAnExistingItemComesThroughItsFSSpec) {
  Probe(Without({"REALFSRefFromFolderItem"}));
  EXPECT_EQ(UrlPath(dir_ + "/present.txt"), dir_ + "/present.txt");
  EXPECT_EQ(UrlPath(dir_ + "/" + kPrecomposed), "nil");
}

using support::PluginTest;

// Hosts that make the plugin read bytes itself instead of asking for a platform string.
host::Options OwnBytes(std::optional<double> version = 2013.03, std::set<std::string> alsoMissing = {}) {
  host::Options options;
  options.version = version;
  options.missingEntryPoints = std::move(alsoMissing);
  options.missingEntryPoints.insert("REALGetStringCFString");
  return options;
}

std::string PathName(const ::testing::TestParamInfo<int>& info) {
  const char* names[] = {"HostPlatformString", "StringData", "CStringFallback", "DirectRead2012"};
  return names[info.param];
}

class StringPaths : public PluginTest, public ::testing::WithParamInterface<int> {
 protected:
  host::Runtime& StartPath() {
    switch (GetParam()) {
      case 0: return Probe();                                              // host's platform string
      case 1: return Probe(OwnBytes());                                    // PluginGetStringData
      case 2: return Probe(OwnBytes(2013.03, {"PluginGetStringData", "PluginDisposeStringData"}));  // fallback
      default: return Probe(OwnBytes(2012.5));                             // direct read
    }
  }
  std::string Units(const host::Value& s) { return Utf8(Shared("PlatformUnits", {s})); }
};

TEST_P(StringPaths, EveryEncodingReadsAsTheSameTextAndComesBackAsUtf8) {
  host::Runtime& runtime = StartPath();
  EXPECT_EQ(Units(runtime.string("A\xC3\xA9", host::kEncodingUTF8)), "0041 00e9");
  EXPECT_EQ(Units(runtime.string("A\x8E", host::kEncodingMacRoman)), "0041 00e9");
  EXPECT_EQ(Units(runtime.string("Az", host::kEncodingASCII)), "0041 007a");
  // Unknown encoding is read as Mac Roman.
  EXPECT_EQ(Units(runtime.string("\x8E\xA5", host::kEncodingUnknown)), "00e9 2022");
  // Six bytes of UTF-16 are three characters.
  const char utf16[] = {'a', 0, 0x3A, 0x26, 'z', 0};
  EXPECT_EQ(Units(runtime.string(std::string_view(utf16, 6), host::kEncodingUTF16)), "0061 263a 007a");
  // Nil is no platform string; an empty host string is none either or an empty one.
  EXPECT_EQ(Units(host::Value::ofString(host::StringRef())), "null");
  // Round trips come back as UTF-8.
  for (auto [bytes, encoding, utf8] : {std::tuple{"gr\xC3\xBC\xC3\x9F \xE2\x98\xBA", host::kEncodingUTF8,
                                                 "gr\xC3\xBC\xC3\x9F \xE2\x98\xBA"},
                                      {"caf\x8E", host::kEncodingMacRoman, "caf\xC3\xA9"}}) {
    host::Value back = Shared("RoundTrip", {runtime.string(bytes, encoding)});
    EXPECT_EQ(std::pair(runtime.bytes(back), runtime.encoding(back)),
              std::pair(std::string(utf8), uint32_t(host::kEncodingUTF8)));
  }
}

INSTANTIATE_TEST_SUITE_P(ReadPaths, StringPaths, ::testing::Values(0, 1, 2, 3), PathName);

TEST_F(PluginTest, StringDataFallbackCopiesTheBytesWithFourZeroBytes) {
  host::Runtime& runtime = Probe(OwnBytes(2013.03, {"PluginGetStringData", "PluginDisposeStringData"}));
  auto data = [&](const host::Value& s, uint32_t encoding) {
    return Utf8(Shared("StringData", {s, host::Value::ofInteger(encoding)}));
  };
  EXPECT_EQ(data(runtime.string("abc", host::kEncodingMacRoman), host::kEncodingUnknown),
            "enc=ffff len=3 bytes=616263 tail=00000000");
  EXPECT_EQ(data(runtime.string("\xC3\xA9", host::kEncodingUTF8), host::kEncodingUTF8),
            "enc=8000100 len=2 bytes=c3a9 tail=00000000");
  // A UTF-16 string asked for UTF-8 is converted by the host; the converted string is
  // given back (the live counts at the end show it).
  const char utf16[] = {0x3A, 0x26, 'b', 0};
  EXPECT_EQ(data(runtime.string(std::string_view(utf16, 4), host::kEncodingUTF16), host::kEncodingUTF8),
            "enc=8000100 len=4 bytes=e298ba62 tail=00000000");
  EXPECT_EQ(data(host::Value::ofString(host::StringRef()), host::kEncodingUTF8), "false");
}

TEST_F(PluginTest, StringDataFallbackNeedsLenB) {
  host::Runtime& runtime = Probe(OwnBytes(2013.03, {"PluginGetStringData", "REALLoadGlobalMethod"}));
  EXPECT_EQ(Utf8(Shared("StringData", {runtime.string("abc"), Value::ofInteger(host::kEncodingUnknown)})), "false");
  // Without any way to read bytes a host string gives no platform string.
  EXPECT_EQ(Utf8(Shared("PlatformUnits", {runtime.string("abc")})), "null");
}

}  // namespace
