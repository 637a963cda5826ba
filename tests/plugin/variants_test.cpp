// Platform objects to host values and back, through both dispatch tables, as host code
// meets them: with and without the sibling plugin, on hosts without the variant entry
// points (the Variant's properties stand in), and with typed arrays read directly (host
// 2013.9) or through the element procedure (later hosts). Every case leaves the host's
// live counts where it found them (the fixture checks).
#include <algorithm>
#include <array>
#include <cstdio>

#include "support/plugin_fixture.h"

namespace {

using host::Value;
using support::DataWord;

std::string Number(double d) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%g", d);
  return buffer;
}

// A host value as text that tells type and value apart: "Int32:7", "[String:a, nil]",
// "{a=nil, b=Double:0.5}" (entries sorted), "Date:2021-03-04 05:06:07", class names.
std::string HostText(host::Runtime& rt, const Value& given) {
  Value v = rt.unboxed(given);
  switch (v.kind) {
    case Value::Kind::Nil: return "nil";
    case Value::Kind::Boolean: return v.boolean ? "Boolean:true" : "Boolean:false";
    case Value::Kind::Int32: return "Int32:" + std::to_string(v.integer);
    case Value::Kind::UInt32: return "UInt32:" + std::to_string(v.integer);
    case Value::Kind::Integer: case Value::Kind::Int64: return "Int64:" + std::to_string(v.integer);
    case Value::Kind::UInt64: return "UInt64:" + std::to_string(uint64_t(v.integer));
    case Value::Kind::Single: return "Single:" + Number(v.real);
    case Value::Kind::Double: return "Double:" + Number(v.real);
    case Value::Kind::String: return "String:" + rt.utf8(v);
    case Value::Kind::Object: break;
    default: return "?";
  }
  if (v.isNil()) return "nil";
  std::string cls = support::ClassName(rt, v);
  if (cls.size() > 2 && cls.substr(cls.size() - 2) == "()") {
    std::string text = "[";
    for (const Value& element : rt.arrayElements(v)) text += (text.size() > 1 ? ", " : "") + HostText(rt, element);
    return text + "]";
  }
  if (cls == "Dictionary") {
    std::vector<std::string> entries;
    for (int64_t i = 0; i < rt.get(v, "Count").integer; ++i) {
      Value key = rt.call(v, "Key", {Value::ofInteger(i)});
      entries.push_back(rt.utf8(rt.unboxed(key)) + "=" + HostText(rt, rt.call(v, "Value", {key})));
    }
    std::sort(entries.begin(), entries.end());
    std::string text = "{";
    for (const std::string& entry : entries) text += (text.size() > 1 ? ", " : "") + entry;
    return text + "}";
  }
  if (cls == "Date") {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "Date:%04d-%02d-%02d %02d:%02d:%02d", int(rt.get(v, "Year").integer),
                  int(rt.get(v, "Month").integer), int(rt.get(v, "Day").integer), int(rt.get(v, "Hour").integer),
                  int(rt.get(v, "Minute").integer), int(rt.get(v, "Second").integer));
    return buffer;
  }
  if (cls == "MemoryBlock") return "MemoryBlock:" + rt.memoryBlockBytes(v);
  if (cls == "FolderItem") return "FolderItem:" + rt.folderItemPath(v);
  if (cls == "NSSizeQVR" || cls == "NSPointQVR")
    return cls + ":" + Number(DataWord<float>(v, 0)) + "," + Number(DataWord<float>(v, 4));
  if (cls == "NSRectQVR")
    return cls + ":" + Number(DataWord<float>(v, 0)) + "," + Number(DataWord<float>(v, 4)) + "," +
           Number(DataWord<float>(v, 8)) + "," + Number(DataWord<float>(v, 12));
  if (cls == "NSRangeQVR")
    return cls + ":" + std::to_string(DataWord<uint32_t>(v, 0)) + "," + std::to_string(DataWord<uint32_t>(v, 4));
  return cls;
}

struct Setup { const char* name; bool siblings; std::optional<double> version; std::set<std::string> missing; };

const Setup kSetups[] = {
    {"Siblings", true, 2013.03, {}}, {"NoSiblings", false, 2013.03, {}},
    {"NoVariantEntryPoints", true, 2013.03,
     {"VariantToInt32", "VariantToInt64", "VariantToSingle", "VariantToDouble", "VariantToString",
      "REALLoadGlobalMethod"}},
    {"DirectArraysOnly", true, 2013.9, {"RuntimeArrayDirectGetGetProc"}}, {"ArraysThroughProcedures", true, 2019.1, {}},
};

void PrintTo(const Setup& setup, std::ostream* out) { *out << setup.name; }
class Variants : public support::PluginTest, public ::testing::WithParamInterface<Setup> {
 protected:
  void SetUp() override {
    folder_.write("file.txt", "x");
    host::Options options;
    options.siblings = GetParam().siblings;
    options.version = GetParam().version;
    options.missingEntryPoints = GetParam().missing;
    Probe(options);
  }
  Value Shared(std::string_view member, std::vector<Value> args) {
    return runtime_->callShared("ValueProbeQVR", member, std::move(args));
  }
  std::string ToHost(const std::string& kind) { return HostText(*runtime_, Shared("ToVariant", {Text(kind)})); }
  std::string ToPlatform(const Value& value) { return Utf8(Shared("Describe", {value})); }
  bool Siblings() const { return GetParam().siblings; }

  support::TempFolder folder_;
  const std::string dir_ = folder_.path();
};

TEST_P(Variants, PlatformObjectsAndHostValuesConvertBothWays) {
  // kind, with the sibling plugin, without it ("=" the same).
  const std::vector<std::array<std::string, 3>> table = {
      {"nil", "nil", "="}, {"null", "nil", "="}, {"true", "Boolean:true", "="}, {"int7", "Int32:7", "="},
      {"longlong-2^40", "Int64:-1099511627776", "="}, {"typed:c:5", "Boolean:true", "="},
      {"typed:c:0", "Boolean:false", "="}, {"typed:C:200", "Int32:200", "="}, {"typed:s:-3", "Int32:-3", "="},
      {"typed:S:65535", "Int32:65535", "="}, {"typed:i:-7", "Int32:-7", "="},
      {"typed:I:4000000000", "UInt32:4000000000", "="}, {"typed:l:-5000000000", "Int64:-5000000000", "="},
      {"typed:L:5000000000", "UInt64:5000000000", "="}, {"typed:q:-1099511627776", "Int64:-1099511627776", "="},
      {"typed:Q:1099511627776", "UInt64:1099511627776", "="},
      {"typed:Q:18446744073709551615", "UInt64:18446744073709551615", "="}, {"typed:f:0.75", "Single:0.75", "="},
      {"typed:{?=ii}:3.5", "Double:3.5", "="}, {"float1.5", "Single:1.5", "="}, {"double2.25", "Double:2.25", "="},
      {"string", "String:h\xC3\xA9", "="}, {"emptystring", "String:", "="}, {"data", "MemoryBlock:abc", "="},
      {"emptydata", "nil", "="}, {"array", "[String:a, Int32:1, nil]", "="}, {"emptyarray", "[]", "="},
      {"nested", "[[String:in], [String:s]]", "="}, {"set", "[Int32:9]", "="},
      {"dictionary", "{a=nil, inner={x=Int32:1, y=Int32:2}, s=String:t, z=Double:0.5}", "="},
      {"emptydictionary", "{}", "="}, {"date", "Date:2021-03-04 05:06:07", "="},
      {"weburl", "String:http://example.com/a?b=1", "="},
      {"file:" + dir_ + "/file.txt", "FolderItem:" + dir_ + "/file.txt", "="}, {"size", "NSSizeQVR:3,4", "nil"},
      {"point", "NSPointQVR:-1.5,2", "nil"}, {"rect", "NSRectQVR:1,2,3,4", "nil"}, {"range", "NSRangeQVR:5,6", "nil"},
      {"unknownvalue", "nil", "="}, {"cmtime", "nil", "="}, {"timezone", "NSTimeZoneQVR", "nil"},
      {"attributed", "NSAttributedStringQVR", "nil"}, {"cgimage", "CGImageQVR", "nil"},
      {"colorspace", "CGColorSpaceQVR", "nil"}, {"bundle", "CFBundleQVR", "nil"}, {"object", "nil", "="},
      {"image", "NSImageQVR", "="}, {"customrep", "NSBitmapImageRepQVR", "="},
  };
  for (const auto& row : table) {
    const std::string& expected = Siblings() || row[2] == "=" ? row[1] : row[2];
    EXPECT_EQ(ToHost(row[0]), expected) << row[0];
  }
  // Without the sibling plugin the test plugin registers an untagged CFBundleQVR, whose
  // instance the conversion makes, refuses and drops.
  EXPECT_EQ(Shared("UntaggedWrappersDropped", {}).integer, Siblings() ? 0 : 1);
  if (Siblings()) {
    // Cached wrappers: the same platform time zone gives the same host instance.
    Value zone = Shared("ToVariant", {Text("timezone")});
    EXPECT_EQ(Shared("ToVariant", {Text("timezone")}).object.get(), zone.object.get());
    EXPECT_EQ(Utf8(runtime_->get(zone, "Name")), "Europe/Paris");
    // A CF wrapper holds its object with the tag.
    Value space = Shared("ToVariant", {Text("colorspace")});
    EXPECT_EQ(DataWord<uint32_t>(space, 8), 0x52424346u);
    EXPECT_EQ(runtime_->get(space, "NumberOfComponents").integer, 1);
  }
  // And host values become platform objects.
  host::Runtime& rt = *runtime_;
  Value dictionary = rt.newInstance("Dictionary");
  rt.assign(dictionary, "Value", {Text("a")}, Value::nil());
  rt.assign(dictionary, "Value", {Text("n")}, Value::ofInt32(3));
  Value inner = rt.newInstance("Dictionary");
  rt.assign(inner, "Value", {Value::ofInt32(1)}, Text("one"));
  rt.assign(dictionary, "Value", {Text("inner")}, inner);
  Value date = rt.newInstance("Date", {Value::ofInteger(2020), Value::ofInteger(2), Value::ofInteger(29),
                                       Value::ofInteger(23), Value::ofInteger(59), Value::ofInteger(58)});
  const std::string block("\0\1\2", 3);
  const std::vector<std::pair<Value, std::string>> hostTable = {
      {Value::nil(), "nil"}, {rt.variant(Value::ofInt32(7)), "i:7"},
      {rt.variant(Value::ofInteger(int64_t(1) << 40)), "q:1099511627776"}, {rt.variant(Value::ofSingle(1.5f)), "f:1.5"},
      {rt.variant(Value::ofDouble(-2.5)), "d:-2.5"}, {rt.variant(Value::ofBoolean(true)), "bool:1"},
      {rt.variant(Value::ofBoolean(false)), "bool:0"}, {rt.variant(Value::ofColor(0x00FF8000)), "i:16744448"},
      {rt.variant(Text("h\xC3\xA9")), "string:h\xC3\xA9"}, {rt.variant(Text("")), "string:"},
      {date, "date:2020-02-29 23:59:58"}, {rt.memoryBlock(block.data(), block.size()), "data:3"},
      {rt.memoryBlock("", 0), "nil"},
      {rt.folderItem(dir_ + "/file.txt"), "url:file://" + dir_ + "/file.txt"},
      {dictionary, "{string:a=null, string:inner={i:1=string:one}, string:n=i:3}"},
      {rt.newInstance("Dictionary"), "{}"},
      {rt.array(host::kArrayInt32, {Value::ofInt32(1), Value::ofInt32(-2)}), "mutable[i:1, i:-2]"},
      {rt.array(host::kArrayInt32), "mutable[]"},
      {rt.array(host::kArrayInteger, {Value::ofInteger(int64_t(1) << 40)}), "mutable[q:1099511627776]"},
      {rt.array(host::kArrayInt64, {Value::ofInteger(-3)}), "mutable[i:-3]"},
      {rt.array(host::kArraySingle, {Value::ofSingle(0.25f)}), "mutable[f:0.25]"},
      {rt.array(host::kArrayDouble, {Value::ofDouble(0.5), Value::ofDouble(8)}), "mutable[d:0.5, d:8]"},
      {rt.array(host::kArrayBoolean, {Value::ofBoolean(true), Value::ofBoolean(false)}), "mutable[bool:1, bool:0]"},
      {rt.array(host::kArrayString, {Text("a"), Text(""), Text("b")}), "mutable[string:a, string:, string:b]"},
      {rt.array(host::kArrayDate, {date}), "mutable[date:2020-02-29 23:59:58]"},
      {rt.array(host::kArrayObject, {rt.variant(Value::ofInt32(4)), rt.array(host::kArrayString, {Text("x")})}),
       "mutable[i:4, mutable[string:x]]"},
  };
  for (const auto& row : hostTable) EXPECT_EQ(ToPlatform(row.first), row.second) << row.second;

  // Instances of this plugin's classes give their platform object itself (numbers come
  // back in the smallest type Foundation here keeps them in).
  Value image = rt.newInstance("NSImageQVR", {Value::ofDouble(2), Value::ofDouble(3)});
  EXPECT_EQ(ToPlatform(image), "NSImage");
  EXPECT_EQ(rt.get(Shared("RoundTrip", {image}), "Handle").integer, rt.get(image, "Handle").integer);
  EXPECT_EQ(ToPlatform(rt.newInstance("NSImageRepQVR")), "nil");
  // A host object of no known class travels in a QVRREALobjectWrapper and comes back.
  Value stream = rt.newInstance("FrameProbeQVR");
  EXPECT_EQ(ToPlatform(stream), Siblings() ? "QVRREALobjectWrapper" : "nil");
  EXPECT_EQ(Shared("RoundTrip", {stream}).object.get(), Siblings() ? stream.object.get() : nullptr);
  if (!Siblings()) return;
  const std::vector<std::pair<Value, std::string>> values = {
      {rt.newInstance("NSSizeQVR", {Value::ofDouble(3), Value::ofDouble(4)}), "size:{width = 3; height = 4}"},
      {rt.newInstance("NSPointQVR", {Value::ofDouble(-1), Value::ofDouble(2.5)}), "point:{x = -1; y = 2.5}"},
      {rt.newInstance("NSRectQVR", {Value::ofDouble(1), Value::ofDouble(2), Value::ofDouble(3), Value::ofDouble(4)}),
       "rect:{x = 1; y = 2; width = 3; height = 4}"},
      {rt.newInstance("NSRangeQVR", {Value::ofInteger(5), Value::ofInteger(6)}), "range:{location=5, length=6}"},
      {rt.newInstance("NSTimeZoneQVR", {Text("Asia/Tokyo")}), "timezone:Asia/Tokyo"},
      {rt.newInstance("NSErrorQVR", {Text("QVR"), Value::ofInteger(4)}), "NSError"},
      {rt.newInstance("CFNumberQVR", {Value::ofDouble(2.5)}), "d:2.5"},
      {rt.newInstance("CFStringQVR", {Text("cf")}), "string:cf"},
      {rt.newInstance("CFURLQVR", {Text("https://example.com/x")}), "url:https://example.com/x"},
  };
  for (const auto& row : values) EXPECT_EQ(ToPlatform(row.first), row.second) << row.second;
  // Geometry and wrappers survive the round trip.
  EXPECT_EQ(HostText(rt, Shared("RoundTrip", {values[2].first})), "NSRectQVR:1,2,3,4");
  EXPECT_EQ(Shared("RoundTrip", {values[4].first}).object.get(), values[4].first.object.get());
}

INSTANTIATE_TEST_SUITE_P(Setups, Variants, ::testing::ValuesIn(kSetups), support::ByName());

}  // namespace
