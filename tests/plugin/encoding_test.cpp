// Encoding the held image: JPEG and BMP drawn over white, PNG and GIF with their
// transparency, TIFF with a chosen compression, each checked with a decoder that is not
// ours; and the threaded twins, which must give the same bytes.
#include <gtest/gtest.h>

#include "support/independent_decoder.h"
#include "support/plugin_fixture.h"

namespace {

using host::Value;
using support::DecodeIndependently;
using support::DecodedImage;
using support::SamplesNear;

class Encoding : public support::PluginTest {
 protected:
  // A 32 x 16 image: the left half opaque red, the right half fully transparent. Each
  // half fills whole JPEG blocks, so the colours do not bleed into each other.
  Value HalfTransparent() {
    std::string rgba(32 * 16 * 4, '\0');
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < 16; ++x) rgba.replace((y * 32 + x) * 4, 4, "\xff\x00\x00\xff", 4);
    return Shared("ImageFromPixels", {Value::ofInteger(32), Value::ofInteger(16), Block(rgba)});
  }
  std::string Encode(const Value& image, std::string_view member, std::vector<Value> args = {}) {
    Value block = runtime_->call(image, member, std::move(args));
    return block.isNil() ? std::string() : runtime_->memoryBlockBytes(block);
  }
};

TEST_F(Encoding, OpaqueFormatsShowWhiteWhereTransparentOthersKeepTransparency) {
  Probe();
  Value image = HalfTransparent();

  std::string jpeg = Encode(image, "JPEGRepresentation");
  EXPECT_EQ(jpeg, Encode(image, "JPEGRepresentationWithCompressionFactor", {Value::ofDouble(0.8)}));
  EXPECT_NE(jpeg, Encode(image, "JPEGRepresentationWithCompressionFactor", {Value::ofDouble(0.3)}));

  struct Case { const char* member; const char* format; int tolerance; bool keepsTransparency; };
  for (const Case& c : {Case{"JPEGRepresentation", "JPEG", 12, false}, Case{"BMPRepresentation", "BMP", 0, false},
                        Case{"PNGRepresentation", "PNG", 0, true}, Case{"GIFRepresentation", "GIF", 0, true}}) {
    SCOPED_TRACE(c.member);
    DecodedImage decoded = DecodeIndependently(Encode(image, c.member));
    ASSERT_TRUE(decoded.ok) << decoded.error;
    EXPECT_EQ(decoded.format, c.format);
    EXPECT_EQ(decoded.width, 32);
    EXPECT_EQ(decoded.height, 16);
    for (int y : {0, 7, 15}) {
      EXPECT_TRUE(SamplesNear(decoded.at(3, y), {255, 0, 0, 255}, c.tolerance)) << "at (3, " << y << ")";
      if (c.keepsTransparency) {
        EXPECT_EQ(decoded.at(28, y)[3], 0) << "transparent at (28, " << y << ")";
      } else {
        EXPECT_TRUE(SamplesNear(decoded.at(28, y), {255, 255, 255, 255}, c.tolerance)) << "at (28, " << y << ")";
      }
    }
  }
  // The source keeps its transparency: drawing over white happened on a copy.
  std::string pixels = runtime_->memoryBlockBytes(Shared("ImagePixels", {image}));
  EXPECT_EQ(pixels.substr((5 * 32 + 28) * 4, 4), std::string(4, '\0'));
}

TEST_F(Encoding, TIFFCompressionAndEmptyImages) {
  Probe();
  Value image = HalfTransparent();
  DecodedImage lzw = DecodeIndependently(Encode(image, "TIFFRepresentationUsingCompression",
                                                {Value::ofInteger(5), Value::ofDouble(0)}));
  ASSERT_TRUE(lzw.ok) << lzw.error;
  EXPECT_EQ(lzw.format, "TIFF");
  EXPECT_EQ(lzw.compression, "tiff_lzw");
  EXPECT_TRUE(SamplesNear(lzw.at(3, 3), {255, 0, 0, 255}, 0));
  EXPECT_EQ(lzw.at(28, 3)[3], 0);
  DecodedImage plain = DecodeIndependently(Encode(image, "TIFFRepresentation"));
  ASSERT_TRUE(plain.ok) << plain.error;
  EXPECT_EQ(plain.compression, "raw");
  EXPECT_EQ(plain.rgba, lzw.rgba);

  // An image of size 0 x 0 has a TIFF form but no GIF.
  Value empty = Shared("NewImage");
  EXPECT_FALSE(Encode(empty, "TIFFRepresentation").empty());
  EXPECT_TRUE(runtime_->call(empty, "GIFRepresentation").isNil());
  EXPECT_TRUE(runtime_->call(empty, "GIFRepresentationMT").isNil());
}

TEST_F(Encoding, ThreadedTwinsGiveTheSameBytesAndNilWithoutAnImage) {
  host::Runtime& runtime = Probe();
  Value image = HalfTransparent();
  struct Twin { const char *direct, *threaded; std::vector<Value> args; };
  const Twin twins[] = {
      {"GIFRepresentation", "GIFRepresentationMT", {}},
      {"BMPRepresentation", "BMPRepresentationMT", {}},
      {"PNGRepresentation", "PNGRepresentationMT", {}},
      {"JPEGRepresentation", "JPEGRepresentationMT", {}},
      {"JPEGRepresentationWithCompressionFactor", "JPEGRepresentationWithCompressionFactorMT", {Value::ofDouble(0.35)}},
      {"TIFFRepresentation", "TIFFRepresentationMT", {}},
      {"TIFFRepresentationUsingCompression", "TIFFRepresentationUsingCompressionMT",
       {Value::ofInteger(5), Value::ofDouble(0)}},
  };
  Value none = WithoutImage();
  for (const Twin& twin : twins) {
    // An instance that holds no image gives nil from every encoder, without an exception.
    EXPECT_TRUE(runtime.call(none, twin.direct, twin.args).isNil()) << twin.direct;
    EXPECT_TRUE(runtime.call(none, twin.threaded, twin.args).isNil()) << twin.threaded;
    uint64_t yields = runtime.yieldCount();
    std::string threaded = Encode(image, twin.threaded, twin.args);
    EXPECT_GE(runtime.yieldCount(), yields + 2) << twin.threaded << " yields while the worker runs";
    EXPECT_FALSE(threaded.empty()) << twin.threaded;
    EXPECT_EQ(threaded, Encode(image, twin.direct, twin.args)) << twin.threaded;
  }
  EXPECT_EQ(runtime.foreignThreadCalls(), 0u) << "the worker never calls the host";
}

}  // namespace

// JPEG and BMP read an opaque RGB bitmap at the image's own size as it is, without drawing
// it over white first: the bytes are those of the same pixels with an opaque alpha sample,
// which take the drawing path. At another size or flipped, both draw, and agree again.
TEST_F(Encoding, OpaqueBitmapsEncodeAsTheirDrawingOverWhiteWould) {
  host::Runtime& runtime = Probe();
  std::string rgb, rgba;
  for (int y = 0; y < 24; ++y)
    for (int x = 0; x < 40; ++x) {
      const char p[4] = {char(x * 6), char(y * 10 + (x * 7919) % 13), char((x * y) % 251), char(255)};
      rgb.append(p, 3);
      rgba.append(p, 4);
    }
  struct Case { const char* name; double width, height; bool flipped; };
  for (const Case& c : {Case{"own size", 40, 24, false}, Case{"scaled", 20, 12, false}, Case{"flipped", 40, 24, true}}) {
    SCOPED_TRACE(c.name);
    Value opaque = Shared("ImageFromPixels", {Value::ofInteger(40), Value::ofInteger(24), Block(rgb)});
    Value drawn = Shared("ImageFromPixels", {Value::ofInteger(40), Value::ofInteger(24), Block(rgba)});
    for (const Value& image : {opaque, drawn}) {
      runtime.set(image, "size", runtime.newInstance("NSSizeQVR", {Value::ofDouble(c.width), Value::ofDouble(c.height)}));
      runtime.set(image, "isFlipped", Value::ofBoolean(c.flipped));
    }
    for (const char* member : {"JPEGRepresentation", "BMPRepresentation"}) {
      const std::string bytes = Encode(opaque, member);
      EXPECT_EQ(bytes, Encode(drawn, member)) << member;
      DecodedImage decoded = DecodeIndependently(bytes);
      EXPECT_TRUE(decoded.ok) << decoded.error;
    }
    EXPECT_EQ(Encode(opaque, "JPEGRepresentationWithCompressionFactor", {Value::ofDouble(0.4)}),
              Encode(drawn, "JPEGRepresentationWithCompressionFactor", {Value::ofDouble(0.4)}));
  }
}
