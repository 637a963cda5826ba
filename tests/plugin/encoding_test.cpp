// Encoding the held image: JPEG and BMP drawn over white, PNG and GIF with their
// transparency, TIFF with a chosen compression, each checked with a decoder that is not
// ours; and the threaded twins, which must give the same bytes.
//
// NSBitmapImageRepQVR's encoders and its properties by key, driven through the host: each
// encoder without and with a Dictionary of properties, checked by Pillow and ImageMagick
// (compression factor, LZW and JPEG inside TIFF, interlace, progressive scans, ICC profile,
// EXIF, loop count, fallback colour); values set and read with valueForProperty in every
// kind the conversions carry; and what a loaded image reports of itself.
#include <cstdlib>
#include <string>

#include "support/independent_decoder.h"
#include "support/plugin_fixture.h"

namespace {

using host::Value;
using support::DecodeIndependently;
using support::DecodedImage;
using support::SamplesNear;

// "format width x height" of a decoded image, or its error.
std::string Shape(const DecodedImage& d) {
  return d.ok ? d.format + " " + std::to_string(d.width) + "x" + std::to_string(d.height) : d.error;
}

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
    ASSERT_EQ(Shape(decoded), std::string(c.format) + " 32x16");
    for (int y : {0, 7, 15}) {
      EXPECT_TRUE(SamplesNear(decoded.at(3, y), {255, 0, 0, 255}, c.tolerance)) << "at (3, " << y << ")";
      const uint8_t* right = decoded.at(28, y);
      EXPECT_TRUE(c.keepsTransparency ? right[3] == 0 : SamplesNear(right, {255, 255, 255, 255}, c.tolerance))
          << "at (28, " << y << ")";
    }
  }
  // The source keeps its transparency: drawing over white happened on a copy.
  std::string pixels = runtime_->memoryBlockBytes(Shared("ImagePixels", {image}));
  EXPECT_EQ(pixels.substr((5 * 32 + 28) * 4, 4), std::string(4, '\0'));
}

TEST_F(Encoding, TIFFCompressionAndEmptyImages) {
  Probe();
  Value image = HalfTransparent();
  const std::vector<Value> lzwArguments = {Value::ofInteger(5), Value::ofDouble(0)};
  DecodedImage lzw = DecodeIndependently(Encode(image, "TIFFRepresentationUsingCompression", lzwArguments));
  ASSERT_EQ(Shape(lzw) + " " + lzw.compression, "TIFF 32x16 tiff_lzw");
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
      {"GIFRepresentation", "GIFRepresentationMT", {}}, {"BMPRepresentation", "BMPRepresentationMT", {}},
      {"PNGRepresentation", "PNGRepresentationMT", {}}, {"JPEGRepresentation", "JPEGRepresentationMT", {}},
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

using support::MadeByPillow;

const char kClass[] = "NSBitmapImageRepQVR";

// Runs a shell command on the bytes written to a temporary file (named wherever {} stands)
// and returns what it prints, without the last newline.
std::string Tool(const std::string& bytes, std::string command) {
  support::TempFolder folder;
  folder.write("file", bytes);
  for (size_t at = command.find("{}"); at != std::string::npos; at = command.find("{}", at))
    command.replace(at, 2, folder.path("file"));
  return support::Output(command + " 2>&1", true);
}

std::string Pillow(const std::string& bytes, const std::string& program) {
  return Tool(bytes, "/usr/bin/python3 -c \"import sys; from PIL import Image; im = Image.open(sys.argv[1]); " + program +
                         "\" {}");
}

std::string Hex(const std::string& bytes) {
  static const char digits[] = "0123456789abcdef";
  std::string hex;
  for (unsigned char c : bytes) hex += digits[c >> 4], hex += digits[c & 15];
  return hex;
}

// Any number a Variant holds, as a double (Booleans as 0 and 1).
double Number(const Value& v) {
  switch (v.kind) {
    case Value::Kind::Double:
    case Value::Kind::Single: return v.real;
    case Value::Kind::Boolean: return v.boolean ? 1 : 0;
    default: return double(v.integer);
  }
}

class BitmapEncoding : public support::PluginTest {
 protected:
  // A 32 x 16 representation: a gradient, the right quarter fully transparent.
  Value Rep() {
    const std::string png = MadeByPillow("im = Image.new('RGBA', (32, 16)); im.putdata([(x * 8, y * 16, 255 - x * 4, "
                                 "0 if x >= 24 else 255) for y in range(16) for x in range(32)]); im.save(out, 'PNG')");
    return runtime_->callShared(kClass, "imageRepWithData", {Block(png)});
  }
  Value Dictionary(const std::vector<std::pair<std::string, Value>>& entries) {
    Value dictionary = runtime_->newInstance("Dictionary");
    for (const auto& [key, value] : entries) runtime_->assign(dictionary, "Value", {Text(key)}, value);
    return dictionary;
  }
  std::string Encode(const Value& rep, std::string_view member, Value properties = Value::nil()) {
    Value block = runtime_->call(rep, member, {properties});
    return block.isNil() ? std::string() : runtime_->memoryBlockBytes(block);
  }
};

TEST_F(BitmapEncoding, EveryEncoderAndThePropertiesByKey) {
  host::Runtime& runtime = Start();
  Value rep = Rep();
  struct Case { const char* member; const char* format; bool keepsAlpha; };
  for (const Case& c : {Case{"PNGRepresentation", "PNG", true}, Case{"GIFRepresentation", "GIF", true},
                        Case{"BMPRepresentation", "BMP", true}, Case{"JPEGRepresentation", "JPEG", false},
                        Case{"TIFFRepresentation", "TIFF", true}}) {
    SCOPED_TRACE(c.member);
    const std::string plain = Encode(rep, c.member);
    DecodedImage decoded = DecodeIndependently(plain);
    ASSERT_EQ(Shape(decoded), std::string(c.format) + " 32x16");
    EXPECT_EQ(decoded.at(28, 3)[3], c.keepsAlpha ? 0 : 255);
    EXPECT_NEAR(decoded.at(4, 8)[0], 32, c.keepsAlpha && std::string(c.format) != "GIF" ? 0 : 12);
    // An empty Dictionary asks for nothing more than none.
    EXPECT_EQ(Encode(rep, c.member, Dictionary({})), plain);
    // An instance without a representation encodes to nil and raises nothing.
    EXPECT_TRUE(runtime.call(runtime.newInstance(kClass, {Block("junk")}), c.member, {Value::nil()}).isNil());
  }
  auto one = [&](const char* key, Value value) { return Dictionary({{key, value}}); };

  // The compression factor trades size for fidelity, in JPEG and in JPEG inside TIFF.
  DecodedImage original = DecodeIndependently(Encode(rep, "PNGRepresentation"));
  for (const char* member : {"JPEGRepresentation", "TIFFRepresentation"}) {
    size_t previousSize = 0;
    double previousError = 1e9;
    for (double factor : {0.1, 0.5, 0.95}) {
      Value properties = one("NSImageCompressionFactor", Value::ofDouble(factor));
      runtime.assign(properties, "Value", {Text("NSImageCompressionMethod")}, Value::ofInteger(6));
      const std::string data = Encode(rep, member, properties);
      DecodedImage decoded = DecodeIndependently(data);
      ASSERT_TRUE(decoded.ok) << decoded.error;
      double error = 0;
      for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 24; ++x)
          for (int i = 0; i < 3; ++i) error += std::abs(decoded.at(x, y)[i] - original.at(x, y)[i]);
      // Inside TIFF the JPEG tables and the alpha plane blur the size of so small an image.
      if (std::string(member) == "JPEGRepresentation") {
        EXPECT_GT(data.size(), previousSize) << factor;
      }
      EXPECT_LT(error, previousError) << member << " " << factor;
      previousSize = data.size();
      previousError = error;
    }
  }
  auto interlace = [](const std::string& bytes) { return Tool(bytes, "identify -format '%[interlace]' {}"); };
  const Value lzw = one("NSImageCompressionMethod", Value::ofInteger(5));
  EXPECT_EQ(DecodeIndependently(Encode(rep, "TIFFRepresentation", lzw)).compression, "tiff_lzw");
  EXPECT_EQ(interlace(Encode(rep, "PNGRepresentation", one("NSImageInterlaced", Value::ofBoolean(true)))), "PNG");
  EXPECT_EQ(interlace(Encode(rep, "JPEGRepresentation", one("NSImageProgressive", Value::ofBoolean(true)))), "JPEG");
  EXPECT_EQ(interlace(Encode(rep, "JPEGRepresentation")), "None");
  const Value loop3 = one("NSImageLoopCount", Value::ofInteger(3));
  EXPECT_EQ(Pillow(Encode(rep, "GIFRepresentation", loop3), "print(im.info.get('loop'))"), "3");
  const Value red = runtime.newInstance("NSColorQVR", {Value::ofDouble(1), Value::ofDouble(0), Value::ofDouble(0)});
  DecodedImage overRed =
      DecodeIndependently(Encode(rep, "BMPRepresentation", one("NSImageFallbackBackgroundColor", red)));
  ASSERT_TRUE(overRed.ok) << overRed.error;
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(overRed.at(28, 3)), 4), std::string("\xff\0\0\xff", 4));

  // A colour profile and EXIF survive the round trip, for Pillow and for the platform.
  const std::string profile =
      MadeByPillow("open(out, 'wb').write(ImageCms.ImageCmsProfile(ImageCms.createProfile('sRGB')).tobytes())");
  ASSERT_GT(profile.size(), 128u);
  for (const char* member : {"PNGRepresentation", "JPEGRepresentation", "TIFFRepresentation"}) {
    SCOPED_TRACE(member);
    Value properties = Dictionary({{"NSImageColorSyncProfileData", Block(profile)},
                                   {"NSImageEXIFData", Dictionary({{"Make", Text("QVR Writer")}})}});
    const std::string data = Encode(rep, member, properties);
    EXPECT_EQ(Pillow(data, "print(im.info.get('icc_profile', b'').hex())"), Hex(profile));
    Value back = runtime.callShared(kClass, "imageRepWithData", {Block(data)});
    Value backProfile = runtime.call(back, "valueForProperty", {Text("NSImageColorSyncProfileData")});
    EXPECT_EQ(runtime_->memoryBlockBytes(runtime.unboxed(backProfile)), profile);
    Value exif = runtime.unboxed(runtime.call(back, "valueForProperty", {Text("NSImageEXIFData")}));
    EXPECT_EQ(Utf8(runtime.unboxed(runtime.call(exif, "Value", {Text("Make")}))), "QVR Writer");
    if (std::string(member) != "PNGRepresentation") {
      EXPECT_EQ(Pillow(data, "print(im.getexif()[271])"), "QVR Writer");
    }
  }
  // Properties by key, both ways, and what a loaded image reports.
  auto get = [&](const Value& from, const char* key) {
    return runtime.unboxed(runtime.call(from, "valueForProperty", {Text(key)}));
  };
  auto set = [&](const char* key, const Value& v) {
    runtime.assign(rep, "valueForProperty", {Text(key)}, runtime.variant(v));
  };
  set("NSImageCompressionFactor", Value::ofDouble(0.25));
  EXPECT_EQ(Number(get(rep, "NSImageCompressionFactor")), 0.25);
  set("QVRNote", Text("h\xC3\xA9llo"));
  EXPECT_EQ(Utf8(get(rep, "QVRNote")), "h\xC3\xA9llo");
  set("QVRBytes", Block(std::string("\0\1\2", 3)));
  EXPECT_EQ(runtime.memoryBlockBytes(get(rep, "QVRBytes")), std::string("\0\1\2", 3));
  set("QVRList", runtime.array(host::kArrayInt32, {Value::ofInt32(4), Value::ofInt32(-5)}));
  std::vector<Value> list = runtime.arrayElements(get(rep, "QVRList"));
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(Number(runtime.unboxed(list[1])), -5);
  set("QVRNote", Value::nil());
  EXPECT_TRUE(get(rep, "QVRNote").isNil());
  EXPECT_TRUE(get(rep, "").isNil());
  set("", Text("ignored"));

  // Set on the representation, the properties act in the encoders.
  set("NSImageEXIFData", Dictionary({{"Make", Text("Set Here")}, {"ISOSpeedRatings", Value::ofInteger(800)}}));
  set("NSImageProgressive", Value::ofBoolean(true));
  const std::string jpeg = Encode(rep, "JPEGRepresentation");
  EXPECT_EQ(interlace(jpeg), "JPEG");
  EXPECT_EQ(Pillow(jpeg, "e = im.getexif(); print(e[271], e.get_ifd(0x8769)[0x8827])"), "Set Here 800");
  EXPECT_EQ(Utf8(runtime.unboxed(runtime.call(get(rep, "NSImageEXIFData"), "Value", {Text("Make")}))), "Set Here");

  // What loaded images report: progressive scans, and an animation's frames and loops.
  const std::string progressive = MadeByPillow("Image.new('RGB', (16, 16), (9, 99, 199)).save(out, 'JPEG', progressive=True)");
  EXPECT_EQ(Number(get(runtime.callShared(kClass, "imageRepWithData", {Block(progressive)}), "NSImageProgressive")), 1);
  const std::string gif = MadeByPillow("f = [Image.new('RGB', (8, 8), (60 * i, 0, 0)) for i in range(3)]; f[0].save(out, 'GIF', "
                               "save_all=True, append_images=f[1:], duration=[100, 200, 300], loop=5)");
  Value animation = runtime.callShared(kClass, "imageRepWithData", {Block(gif)});
  EXPECT_EQ(Number(get(animation, "NSImageFrameCount")), 3);
  EXPECT_EQ(Number(get(animation, "NSImageLoopCount")), 5);
  EXPECT_NEAR(Number(get(animation, "NSImageCurrentFrameDuration")), 0.1, 1e-6);
  runtime.assign(animation, "valueForProperty", {Text("NSImageCurrentFrame")}, runtime.variant(Value::ofInteger(2)));
  EXPECT_NEAR(Number(get(animation, "NSImageCurrentFrameDuration")), 0.3, 1e-6);
  const std::string twice = Encode(animation, "GIFRepresentation", one("NSImageLoopCount", Value::ofInteger(2)));
  EXPECT_EQ(Pillow(twice, "print(im.n_frames, im.info.get('loop'))"), "3 2");
}

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

}  // namespace
