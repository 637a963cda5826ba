// NSImageQVR's representations and measurements, and the members of NSImageRepQVR, on
// images read from files written by other tools: a multi-page TIFF, icon files (.ico with
// PNG and bitmap images, .icns), a JPEG with EXIF data and a PNG without.
#include <gtest/gtest.h>

#include <array>

#include "support/plugin_fixture.h"

namespace {

using host::Value;
using support::MadeByPillow;

class Representations : public support::PluginTest {
 protected:
  void SetUp() override { Probe(); }
  Value Image(const std::string& bytes) {
    return runtime_->callShared("NSImageQVR", "imageWithData(data as memoryblock) as NSImageQVR", {Block(bytes)});
  }
  int64_t Int(const Value& self, const char* property) { return runtime_->get(self, property).integer; }
  // "count max-width x max-height min-width x min-height".
  std::string Measurements(const Value& image) {
    return std::to_string(Int(image, "RepresentationsCount")) + " " + std::to_string(Int(image, "MaximumPixelWidth")) +
           "x" + std::to_string(Int(image, "MaximumPixelHeight")) + " " +
           std::to_string(Int(image, "MinimumPixelWidth")) + "x" + std::to_string(Int(image, "MinimumPixelHeight"));
  }
  // The class and pixel size of each representation, and the same sizes by index.
  std::string Listed(const Value& image) {
    std::string text;
    int64_t i = 0;
    for (const Value& rep : runtime_->arrayElements(runtime_->call(image, "representations"))) {
      const int64_t w = runtime_->call(image, "RepresentationWidth", {Value::ofInteger(i)}).integer;
      const int64_t h = runtime_->call(image, "RepresentationHeight", {Value::ofInteger(i++)}).integer;
      EXPECT_EQ(w, Int(rep, "pixelsWide"));
      EXPECT_EQ(h, Int(rep, "pixelsHigh"));
      text += (text.empty() ? "" : " ") + support::ClassName(*runtime_, rep) + ":" + std::to_string(w) + "x" +
              std::to_string(h);
    }
    return text;
  }
};

TEST_F(Representations, MultiPageTIFFsAndIconFilesHaveOneRepresentationPerImage) {
  const std::string tiff = MadeByPillow(
      "pages = [Image.new('RGB', s, (200, 10 * i, 30)) for i, s in enumerate([(30, 20), (10, 40), (64, 8)])]\n"
      "pages[0].save(out, 'TIFF', save_all=True, append_images=pages[1:])");
  const std::string icoPNG = MadeByPillow(
      "Image.new('RGBA', (128, 128), (0, 90, 200, 255)).save(out, 'ICO', sizes=[(16, 16), (32, 32), (128, 128)])");
  const std::string icoBMP = MadeByPillow(
      "Image.new('RGBA', (48, 48), (0, 90, 200, 128)).save(out, 'ICO', sizes=[(16, 16), (48, 48)], "
      "bitmap_format='bmp')");
  const std::string icns = support::MadeBy(
      "/usr/bin/python3 -c \"from PIL import Image\nfor s in (16, 32, 128): Image.new('RGBA', (s, s), (250, 0, 0, "
      "255)).save('%d.png' % s)\" && png2icns icon.icns 16.png 32.png 128.png > /dev/null", "icon.icns");

  const std::vector<std::array<std::string, 3>> table = {
      // file, measurements, representations
      {tiff, "3 64x40 10x8", "NSBitmapImageRepQVR:30x20 NSBitmapImageRepQVR:10x40 NSBitmapImageRepQVR:64x8"},
      {icoPNG, "3 128x128 16x16", "NSBitmapImageRepQVR:16x16 NSBitmapImageRepQVR:32x32 NSBitmapImageRepQVR:128x128"},
      {icoBMP, "2 48x48 16x16", "NSBitmapImageRepQVR:16x16 NSBitmapImageRepQVR:48x48"},
      {icns, "3 128x128 16x16", "NSBitmapImageRepQVR:16x16 NSBitmapImageRepQVR:32x32 NSBitmapImageRepQVR:128x128"},
  };
  for (const auto& row : table) {
    Value image = Image(row[0]);
    EXPECT_EQ(Measurements(image), row[1]);
    EXPECT_EQ(Listed(image), row[2]);
    EXPECT_TRUE(runtime_->get(image, "EXIFData").isNil());
  }
  // Past the end and before the start: the host's range message, also for an image
  // without representations (0 to -1).
  Value pages = Image(tiff);
  EXPECT_EQ(Raised([&] { runtime_->call(pages, "RepresentationWidth", {Value::ofInteger(3)}); }),
            "OutOfBoundsException: Parameter index to method RepresentationWidth is too big. Range is 0 to 2, but "
            "value is 3.");
  EXPECT_EQ(Raised([&] { runtime_->call(pages, "RepresentationHeight", {Value::ofInteger(-1)}); }),
            "OutOfBoundsException: Parameter index to method RepresentationHeight is too small. Range is 0 to 2, but "
            "value is -1.");
  Value empty = runtime_->newInstance("NSImageQVR");
  EXPECT_EQ(Raised([&] { runtime_->call(empty, "RepresentationWidth", {Value::ofInteger(0)}); }),
            "OutOfBoundsException: Parameter index to method RepresentationWidth is too big. Range is 0 to -1, but "
            "value is 0.");
  EXPECT_EQ(Measurements(empty), "0 0x0 0x0");
  EXPECT_EQ(Listed(empty), "");
  EXPECT_TRUE(runtime_->get(empty, "EXIFData").isNil());
}

TEST_F(Representations, EXIFDataAndTheMinimumWhereASizeIsZero) {
  const std::string jpeg = MadeByPillow(
      "ex = Image.Exif(); ex[0x010F] = 'QVR Camera'; ex[0x8769] = {0x829a: TiffImagePlugin.IFDRational(1, 250), "
      "0x829d: TiffImagePlugin.IFDRational(28, 10), 0x9003: '2024:01:02 03:04:05', 0x8827: 400}\n"
      "Image.new('RGB', (40, 30), (200, 100, 50)).save(out, 'JPEG', exif=ex)");
  const std::string png = MadeByPillow("Image.new('RGB', (4, 3)).save(out, 'PNG')");
  Value exif = runtime_->get(Image(jpeg), "EXIFData");
  ASSERT_EQ(support::ClassName(*runtime_, exif), "Dictionary");
  auto value = [&](const char* key) { return runtime_->unboxed(runtime_->call(exif, "Value", {Text(key)})); };
  EXPECT_EQ(Utf8(value("Make")), "QVR Camera");
  EXPECT_EQ(Utf8(value("DateTimeOriginal")), "2024:01:02 03:04:05");
  EXPECT_DOUBLE_EQ(value("ExposureTime").real, 0.004);
  EXPECT_DOUBLE_EQ(value("FNumber").real, 2.8);
  EXPECT_EQ(Utf8(runtime_->unboxed(runtime_->call(runtime_->variant(value("ISOSpeedRatings")), "StringValue"))), "400");
  EXPECT_TRUE(runtime_->get(Image(png), "EXIFData").isNil());
  EXPECT_EQ(Listed(Image(png)), "NSBitmapImageRepQVR:4x3");
  // The minimum takes zero for no value yet.
  const std::vector<std::pair<std::string, std::string>> table = {
      {"64x10,0x0,128x20", "3 128x20 128x20"},
      {"64x10,128x20,0x0", "3 128x20 0x0"},
      {"64x30,16x40,32x5", "3 64x40 16x5"},
      {"0x0", "1 0x0 0x0"},
  };
  for (const auto& row : table) {
    Value image = runtime_->callShared("ValueProbeQVR", "ImageOfRepSizes", {Text(row.first)});
    EXPECT_EQ(Measurements(image), row.second) << row.first;
    EXPECT_EQ(support::ClassName(*runtime_, runtime_->arrayElements(runtime_->call(image, "representations"))[0]),
              "NSImageRepQVR");
  }
}

TEST_F(Representations, TheBaseClassForwardsToItsRepresentation) {
  const std::string png = MadeByPillow("Image.new('RGBA', (5, 7)).save(out, 'PNG')");
  Value rep = runtime_->arrayElements(runtime_->call(Image(png), "representations")).at(0);
  host::Runtime& rt = *runtime_;
  EXPECT_EQ(Int(rep, "pixelsWide"), 5);
  EXPECT_EQ(Int(rep, "pixelsHigh"), 7);
  EXPECT_EQ(Int(rep, "bitsPerSample"), 8);
  EXPECT_TRUE(rt.get(rep, "hasAlpha").boolean);
  EXPECT_EQ(rt.get(rep, "width").real, 5.0);
  EXPECT_EQ(rt.get(rep, "height").real, 7.0);
  EXPECT_EQ(Utf8(rt.get(rep, "colorSpaceName")), "NSCalibratedRGBColorSpace");
  EXPECT_NE(Int(rep, "Handle"), 0);
  rt.call(rep, "setSize", {Value::ofDouble(2.5), Value::ofDouble(3.5)});
  Value size = rt.get(rep, "size");
  EXPECT_EQ(rt.get(size, "Width").real, 2.5);
  EXPECT_EQ(rt.get(size, "Height").real, 3.5);
  rt.set(rep, "size", rt.newInstance("NSSizeQVR", {Value::ofDouble(10), Value::ofDouble(20)}));
  EXPECT_EQ(rt.get(rep, "height").real, 20.0);
  rt.set(rep, "size", Value::nil());
  EXPECT_EQ(rt.get(rep, "width").real, 0.0);
  rt.set(rep, "pixelsWide", Value::ofInteger(9));
  rt.set(rep, "pixelsHigh", Value::ofInteger(11));
  rt.set(rep, "bitsPerSample", Value::ofInteger(16));
  rt.set(rep, "hasAlpha", Value::ofBoolean(false));
  rt.set(rep, "isOpaque", Value::ofBoolean(true));
  EXPECT_EQ(Int(rep, "pixelsWide") * 100 + Int(rep, "pixelsHigh"), 911);
  EXPECT_EQ(Int(rep, "bitsPerSample"), 16);
  EXPECT_FALSE(rt.get(rep, "hasAlpha").boolean);
  EXPECT_TRUE(rt.get(rep, "isOpaque").boolean);
  rt.set(rep, "colorSpaceName", Text("NSDeviceWhiteColorSpace"));
  EXPECT_EQ(Utf8(rt.get(rep, "colorSpaceName")), "NSDeviceWhiteColorSpace");
  rt.set(rep, "colorSpaceName", Text(""));
  EXPECT_EQ(Utf8(rt.get(rep, "colorSpaceName")), "");
  // What the platform object receives: the name, and nil for the empty string.
  Value custom = rt.callShared("FrameProbeQVR", "NewRuntimeRep", {Value::ofInteger(3)});
  for (const char* name : {"NSCalibratedWhiteColorSpace", ""}) {
    rt.set(custom, "colorSpaceName", Text(name));
    EXPECT_EQ(Utf8(rt.callShared("ValueProbeQVR", "LastColorSpaceName")), *name ? "\"" + std::string(name) + "\"" : "nil");
  }
  EXPECT_EQ(rt.constant("NSImageRepQVR", "NSImageRepMatchesDevice").integer, 0);
  EXPECT_TRUE(rt.callShared("NSImageRepQVR", "canInitWithData", {rt.memoryBlock(png.data(), png.size())}).boolean);
  EXPECT_FALSE(rt.callShared("NSImageRepQVR", "canInitWithData", {rt.memoryBlock("text", 4)}).boolean);
  EXPECT_FALSE(rt.callShared("NSImageRepQVR", "canInitWithData", {Value::nil()}).boolean);

  // An instance made with the empty Constructor holds nothing and sends nothing.
  Value none = rt.newInstance("NSImageRepQVR");
  for (const char* property : {"Handle", "pixelsWide", "pixelsHigh", "bitsPerSample"}) EXPECT_EQ(Int(none, property), 0);
  for (const char* property : {"hasAlpha", "isOpaque"}) EXPECT_FALSE(rt.get(none, property).boolean);
  EXPECT_EQ(rt.get(none, "width").real + rt.get(none, "height").real, 0.0);
  EXPECT_EQ(Utf8(rt.get(none, "colorSpaceName")), "");
  EXPECT_TRUE(rt.get(none, "size").isNil());
  rt.set(none, "pixelsWide", Value::ofInteger(3));
  rt.call(none, "setSize", {Value::ofDouble(1), Value::ofDouble(1)});
  EXPECT_EQ(Int(none, "pixelsWide"), 0);
}

}  // namespace
