// Host strings: the word layout older plugins read directly, encodings through iconv in
// both directions (UTF-8, UTF-16, ASCII, Mac Roman, unknown), the string entry points
// and their reference counts.
#include "host_fixture.h"

#include <cstring>

using host::Value;

namespace {

const char kCafeUTF8[] = "caf\xC3\xA9";      // "café"
const char kCafeMacRoman[] = "caf\x8E";     // é is 0x8E in Mac Roman
const char kCafeUTF16[] = "c\0a\0f\0\xE9\0";  // little-endian code units

}  // namespace

TEST_F(HostTest, StringObjectsHaveTheDocumentedWordsConvertBetweenEncodingsAndAnswerTheEntryPoints) {
  load();
  Value s = rt().string("hello", host::kEncodingUTF8);
  auto* words = reinterpret_cast<uintptr_t*>(s.string.get());
  // Reference count, buffer, encoding, length.
  EXPECT_EQ(std::tuple(words[0], words[2], words[3]), std::tuple(1u, uintptr_t(host::kEncodingUTF8), 5u));
  const char* buffer = reinterpret_cast<const char*>(words[1]);
  EXPECT_STREQ(buffer + 1, "hello");  // text from the buffer's second byte, NUL-terminated
  EXPECT_EQ(s.string.get()->text(), buffer + 1);
  // A plugin of an older host reads the same words.
  EXPECT_EQ(text(rt().call(rt().newInstance("TestBase"), "RawWords", {s})), "hello");
  {
    Value copy = s;
    EXPECT_EQ(words[0], 2u);
  }
  EXPECT_EQ(words[0], 1u);
  Value o = rt().newInstance("TestBase");
  const Value utf8 = rt().string(kCafeUTF8, host::kEncodingUTF8);
  const Value mac = rt().string(kCafeMacRoman, host::kEncodingMacRoman);
  const Value utf16 = rt().string(std::string(kCafeUTF16, 8), host::kEncodingUTF16);
  EXPECT_EQ(rt().utf8(mac), kCafeUTF8);
  EXPECT_EQ(rt().utf8(utf16), kCafeUTF8);
  // Conversions by the plugin, each way: ASCII cannot hold é (it becomes '?'), broken UTF-8
  // is replaced character by character, 0xFFFF converts nothing either way.
  const struct { Value from; uint32_t to; std::string bytes; } conversions[] = {{utf8, host::kEncodingMacRoman, kCafeMacRoman},
                     {utf8, host::kEncodingUTF16, std::string(kCafeUTF16, 8)}, {mac, host::kEncodingUTF8, kCafeUTF8},
                     {utf16, host::kEncodingUTF8, kCafeUTF8}, {utf16, host::kEncodingMacRoman, kCafeMacRoman},
                     {utf8, host::kEncodingASCII, "caf?"},
                     {rt().string("a\xFF" "b", host::kEncodingUTF8), host::kEncodingMacRoman, "a?b"},
                     {utf8, host::kEncodingUnknown, kCafeUTF8},
                     {rt().string("\x8E", host::kEncodingUnknown), host::kEncodingUTF8, "\x8E"}};
  for (const auto& c : conversions) {
    Value converted = rt().call(o, "Convert", {c.from, integer(c.to)});
    EXPECT_EQ(std::pair(rt().bytes(converted), rt().encoding(converted)), std::pair(c.bytes, c.to)) << c.to;
  }
  // An encoding the host does not know gives no string.
  EXPECT_EQ(rt().call(o, "Convert", {utf8, integer(0x12345)}).string.get(), nullptr);
  // The string entry points answer encoding, text, length and bytes; results are counted.
  // REALGetStringEncoding | StringGetCString | LenB through REALLoadGlobalMethod.
  EXPECT_EQ(text(rt().call(o, "StringInfo", {rt().string("abc", host::kEncodingASCII)})), "600|abc|3");
  EXPECT_EQ(text(rt().call(o, "StringInfo", {utf8})), "8000100|caf\xC3\xA9|5");
  EXPECT_EQ(text(rt().call(o, "StringInfo", {Value::nil()})), "ffff||0");
  // Platform strings: UTF-16 units, whatever the host encoding.
  for (const auto& [s, units] : std::vector<std::pair<Value, int64_t>>{
           {utf8, 4}, {utf16, 4}, {rt().string(kCafeMacRoman, host::kEncodingUnknown), 4},
           {rt().string("\xF0\x9F\x98\x80", host::kEncodingUTF8), 2}, {Value::nil(), -2}})
    EXPECT_EQ(rt().call(o, "PlatformLength", {s}).integer, units) << text(s);
  // String results are counted and released.
  size_t before = rt().liveStrings();
  {
    Value a = rt().call(o, "Describe", {str("x")});
    EXPECT_EQ(std::pair(a.string.get()->refCount, rt().liveStrings()), std::pair(intptr_t(1), before + 1));
  }
  EXPECT_EQ(rt().liveStrings(), before);
  for (int i = 0; i < 50; ++i) rt().call(o, "Describe", {str("repeat")});
  EXPECT_EQ(rt().liveStrings(), before);
  // Plugins read string bytes in the encoding they ask.
  auto bytesIn = [&](const Value& s, uint32_t encoding) {
    return rt().memoryBlockBytes(rt().call(o, "BytesIn", {s, integer(encoding)}));
  };
  EXPECT_EQ(bytesIn(utf16, host::kEncodingUTF8), kCafeUTF8);
  EXPECT_EQ(bytesIn(utf16, host::kEncodingMacRoman), kCafeMacRoman);
  EXPECT_EQ(bytesIn(utf16, host::kEncodingUnknown), std::string(kCafeUTF16, 8));  // the string's own bytes
  EXPECT_EQ(bytesIn(mac, host::kEncodingUTF16), std::string(kCafeUTF16, 8));
  EXPECT_EQ(bytesIn(rt().string("plain", host::kEncodingASCII), host::kEncodingUTF8), "plain");
  // Strings the plugin builds are tagged as it says; untagged ones are 0xFFFF.
  Value described = rt().call(o, "Describe", {utf16});
  EXPECT_EQ(std::pair(rt().bytes(described), rt().encoding(described)),
            std::pair(std::string("<") + kCafeUTF8 + ">", uint32_t(host::kEncodingUTF8)));
  Value retagged = rt().call(o, "Retag", {rt().string("x", host::kEncodingUTF8), integer(host::kEncodingASCII)});
  EXPECT_EQ(rt().encoding(retagged), host::kEncodingASCII);
}
