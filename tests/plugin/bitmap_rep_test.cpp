// NSBitmapImageRepQVR driven through the host: its constants and property keys, the
// constructors from a pixel layout and from data in every format the platform reads (made by
// Pillow), the layout properties read back against the pixels in bitmapData, colorSpace and
// CGImage as sibling wrappers, the factories with their exceptions, and instances that hold
// no representation.
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "support/plugin_fixture.h"

namespace {

using host::Value;
using support::PluginTest;

const char kClass[] = "NSBitmapImageRepQVR";

class BitmapRep : public PluginTest {
 protected:
  Value Shared(std::string_view member, std::vector<Value> args = {}) {
    return runtime_->callShared(kClass, member, std::move(args));
  }
  int64_t Integer(const Value& rep, std::string_view property) { return runtime_->get(rep, property).integer; }
  // The colour samples of the representation's first row (8-bit RGB pixels, any padding
  // left out), read where bitmapData points.
  std::string FirstRow(const Value& rep) {
    const auto* data = static_cast<const char*>(runtime_->get(rep, "bitmapData").pointer);
    const int64_t pixelBytes = Integer(rep, "bitsPerPixel") / 8, width = Integer(rep, "bytesPerRow") / pixelBytes;
    std::string rgb;
    for (int64_t x = 0; data != nullptr && x < width; ++x) rgb.append(data + x * pixelBytes, 3);
    return rgb;
  }
  // "bitsPerPixel bytesPerRow bytesPerPlane samplesPerPixel numberOfPlanes bitmapFormat".
  std::string Layout(const Value& rep) {
    std::string text;
    for (const char* p : {"bitsPerPixel", "bytesPerRow", "bytesPerPlane", "samplesPerPixel", "numberOfPlanes",
                          "bitmapFormat"})
      text += (text.empty() ? "" : " ") + std::to_string(Integer(rep, p));
    return text;
  }
};

const char kNoLayout[] = "0 0 0 0 0 0";

// A 6 x 4 picture of distinct colours written by Pillow in each format the platform reads.
struct PillowFiles {
  std::map<std::string, std::string> bytes;  // extension to file bytes
  std::string firstRow;                       // RGB of row 0
  PillowFiles() {
    support::TempFolder folder;
    const std::string script =
        "import sys\nfrom PIL import Image\nim = Image.new('RGB', (6, 4))\n"
        "im.putdata([(x * 40, y * 60, 200 - x * 10) for y in range(4) for x in range(6)])\n"
        "for ext in ('png', 'tiff', 'gif', 'bmp', 'jp2'): im.save(sys.argv[1] + '/image.' + ext)\n"
        "im.save(sys.argv[1] + '/image.jpg', quality=100, subsampling=0)\n";
    EXPECT_EQ(std::system(("/usr/bin/python3 -c \"" + script + "\" " + folder.path()).c_str()), 0);
    for (const std::string ext : {"png", "tiff", "gif", "bmp", "jp2", "jpg"})
      bytes[ext] = support::ReadBytes(folder.path("image." + ext));
    for (int x = 0; x < 6; ++x) firstRow += {char(x * 40), char(0), char(200 - x * 10)};
  }
};

TEST_F(BitmapRep, ConstantsInTableOrderAndPropertyKeys) {
  host::Runtime& runtime = Probe();
  const std::pair<const char*, int> constants[] = {
      {"NSTIFFCompressionNone", 1}, {"NSTIFFCompressionCCITTFAX3", 3}, {"NSTIFFCompressionCCITTFAX4", 4},
      {"NSTIFFCompressionLZW", 5}, {"NSTIFFCompressionJPEG", 6}, {"NSTIFFCompressionNEXT", 32766},
      {"NSTIFFCompressionPackBits", 32773}, {"NSTIFFCompressionOldJPEG", 32865}, {"NSTIFFFileType", 0},
      {"NSBMPFileType", 1}, {"NSGIFFileType", 2}, {"NSJPEGFileType", 3}, {"NSPNGFileType", 4},
      {"NSJPEG2000FileType", 5}, {"NSImageRepLoadStatusUnknownType", -1}, {"NSImageRepLoadStatusReadingHeader", -2},
      {"NSImageRepLoadStatusWillNeedAllData", -3}, {"NSImageRepLoadStatusInvalidData", -4},
      {"NSImageRepLoadStatusUnexpectedEOF", -5}, {"NSImageRepLoadStatusCompleted", -6},
      {"NSAlphaFirstBitmapFormat", 1}, {"NSAlphaNonpremultipliedBitmapFormat", 2},
      {"NSFloatingPointSamplesBitmapFormat", 4}};
  const auto& registered = runtime.findClass(kClass)->constants;
  ASSERT_EQ(registered.size(), std::size(constants));
  for (size_t i = 0; i < registered.size(); ++i) {
    EXPECT_EQ(registered[i].name, constants[i].first) << i;
    EXPECT_EQ(runtime.constant(kClass, constants[i].first).integer, constants[i].second) << constants[i].first;
  }
  for (const char* key : {"NSImageCompressionMethod", "NSImageCompressionFactor", "NSImageDitherTransparency",
                          "NSImageRGBColorTable", "NSImageInterlaced", "NSImageColorSyncProfileData",
                          "NSImageFrameCount", "NSImageCurrentFrame", "NSImageCurrentFrameDuration",
                          "NSImageLoopCount", "NSImageGamma", "NSImageProgressive", "NSImageEXIFData",
                          "NSImageFallbackBackgroundColor"})
    EXPECT_EQ(Utf8(Shared(key)), key);
  // A key the platform does not provide reads as "".
  EXPECT_EQ(Utf8(runtime.callShared("FrameProbeQVR", "AbsentPropertyKeys")), "");
}

TEST_F(BitmapRep, LayoutAndDataConstructorsAndTheirProperties) {
  host::Runtime& runtime = Start();
  struct Case {
    int width, height, bitsPerSample, samples;
    bool alpha;
    const char* space;
    int rowBytes, pixelBits;
    const char* layout;  // what the representation reports (kNoLayout: refused)
  };
  for (const Case& c : {Case{10, 3, 8, 4, true, "NSDeviceRGBColorSpace", 0, 0, "32 40 120 4 1 0"},
                        Case{10, 3, 8, 3, false, "NSCalibratedRGBColorSpace", 64, 32, "32 64 192 3 1 0"},
                        Case{5, 2, 16, 1, false, "NSCalibratedWhiteColorSpace", 0, 0, "16 10 20 1 1 0"},
                        Case{5, 2, 8, 3, false, "", 0, 0, kNoLayout},  // no colour space name: nil
                        Case{5, 2, 7, 3, false, "NSDeviceRGBColorSpace", 0, 0, kNoLayout}}) {  // 7 bits: refused
    SCOPED_TRACE(std::to_string(c.samples) + " x " + std::to_string(c.bitsPerSample) + " " + c.space);
    Value rep = runtime.newInstance(
        kClass, {Value::ofInteger(c.width), Value::ofInteger(c.height), Value::ofInteger(c.bitsPerSample),
                 Value::ofInteger(c.samples), Value::ofBoolean(c.alpha), Text(c.space), Value::ofInteger(c.rowBytes),
                 Value::ofInteger(c.pixelBits)});
    const bool made = std::string(c.layout) != kNoLayout;
    EXPECT_EQ(Layout(rep), c.layout);
    EXPECT_EQ(Integer(rep, "Handle") != 0, made);
    EXPECT_FALSE(runtime.get(rep, "isPlanar").boolean);
    EXPECT_EQ(runtime.get(rep, "bitmapData").pointer != nullptr, made);
    EXPECT_EQ(runtime.call(rep, "canBeCompressedUsing", {Value::ofInteger(5)}).boolean, made);
    // TIFF keeps every layout the platform makes.
    EXPECT_EQ(runtime.call(rep, "TIFFRepresentation as Memoryblock").isNil(), !made);
  }
  // Pixels written through bitmapData are the representation's.
  Value rep = runtime.newInstance(kClass, {Value::ofInteger(2), Value::ofInteger(1), Value::ofInteger(8),
                                           Value::ofInteger(3), Value::ofBoolean(false), Text("NSDeviceRGBColorSpace"),
                                           Value::ofInteger(0), Value::ofInteger(0)});
  std::memcpy(runtime.get(rep, "bitmapData").pointer, "\xff\x00\x00\x00\x00\xff", 6);
  Value back = Shared("imageRepWithData", {runtime.call(rep, "TIFFRepresentation as Memoryblock")});
  EXPECT_EQ(FirstRow(back), std::string("\xff\x00\x00\x00\x00\xff", 6));
  // Only the compressions that fit: fax needs one bit per pixel.
  EXPECT_FALSE(runtime.call(rep, "canBeCompressedUsing", {Value::ofInteger(4)}).boolean);
  // Data in every format, through the constructor and the factory.
  PillowFiles files;
  for (const auto& [extension, bytes] : files.bytes) {
    SCOPED_TRACE(extension);
    ASSERT_FALSE(bytes.empty());
    Value constructed = runtime.newInstance(kClass, {Block(bytes)});
    Value made = Shared("imageRepWithData", {Block(bytes)});
    for (const Value& rep : {constructed, made}) {
      ASSERT_EQ(support::ClassName(runtime, rep), kClass);
      ASSERT_EQ(Integer(rep, "samplesPerPixel"), 3);
      EXPECT_EQ(Integer(rep, "bitsPerPixel"), 24);
      EXPECT_EQ(Integer(rep, "bytesPerPlane"), 4 * Integer(rep, "bytesPerRow"));
      const std::string row = FirstRow(rep);
      ASSERT_EQ(row.size(), files.firstRow.size());
      const int tolerance = extension == "jpg" || extension == "jp2" ? 8 : 0;
      for (size_t i = 0; i < row.size(); ++i)
        EXPECT_NEAR(static_cast<unsigned char>(row[i]), static_cast<unsigned char>(files.firstRow[i]), tolerance)
            << i;
    }
  }
  // Junk and nothing make no representation and raise nothing.
  for (const Value& junk : {Block("not an image at all"), Block("")}) {
    EXPECT_EQ(Integer(runtime.newInstance(kClass, {junk}), "Handle"), 0);
    EXPECT_TRUE(Shared("imageRepWithData", {junk}).isNil());
  }
}

TEST_F(BitmapRep, ColorSpaceCGImageRetaggingAndWhatTheFactoriesRefuse) {
  host::Runtime& runtime = Start();
  Value rep = Shared("imageRepWithData", {Block(PillowFiles().bytes["png"])});
  Value space = runtime.get(rep, "colorSpace");
  ASSERT_EQ(support::ClassName(runtime, space), "NSColorSpaceQVR");
  EXPECT_EQ(runtime.get(rep, "colorSpace").object.get(), space.object.get()) << "the same host instance twice";

  // The CGImage is a new CGImageQVR that the image class takes.
  Value cgImage = runtime.get(rep, "CGImage");
  ASSERT_EQ(support::ClassName(runtime, cgImage), "CGImageQVR");
  EXPECT_EQ(Integer(cgImage, "Width"), 6);
  Value image = runtime.callShared("NSImageQVR", "imageWithCGImage", {cgImage});
  EXPECT_EQ(runtime.get(image, "width").real, 6.0);
  EXPECT_EQ(FirstRow(Shared("imageRepWithCGImage", {cgImage})), FirstRow(rep));
  EXPECT_EQ(FirstRow(Shared("imageRepWithCGImageRef", {runtime.get(cgImage, "Handle")})), FirstRow(rep));

  // Retagged with device RGB, the new representation reports that space's one wrapper.
  Value deviceRGB = runtime.callShared("NSColorSpaceQVR", "DeviceRGBColorSpace");
  Value retagged = runtime.call(rep, "bitmapImageRepByRetaggingWithColorSpace", {deviceRGB});
  ASSERT_EQ(support::ClassName(runtime, retagged), kClass);
  EXPECT_EQ(runtime.get(retagged, "colorSpace").object.get(), deviceRGB.object.get());
  EXPECT_EQ(FirstRow(retagged), FirstRow(rep));
  // A grey space does not fit RGB pixels; nil is no space at all.
  EXPECT_TRUE(runtime.call(rep, "bitmapImageRepByRetaggingWithColorSpace",
                           {runtime.callShared("NSColorSpaceQVR", "DeviceGrayColorSpace")}).isNil());
  EXPECT_TRUE(runtime.call(rep, "bitmapImageRepByRetaggingWithColorSpace", {Value::nil()}).isNil());
  // The factories refuse what is no image; an empty instance answers nothing.
  for (const Value& wrong : {Value::nil(), runtime.newInstance("NSImageQVR"), runtime.newInstance("NSSizeQVR")})
    EXPECT_EQ(Raised([&] { Shared("imageRepWithCGImage", {wrong}); }),
              "IllegalCastException: CGImage must be a CGImageQVR!")
        << support::ClassName(runtime, wrong);
  EXPECT_EQ(Raised([&] { Shared("imageRepWithCGImage", {runtime.newInstance("CGImageQVR")}); }),
            "NilObjectException: CGImage is nil");
  EXPECT_EQ(Raised([&] { Shared("imageRepWithCGImageRef", {Value::ofInteger(0)}); }),
            "NilObjectException: CGImage is nil");
  // A number that names no image (made up, or a live object of another kind) gives no
  // representation instead of being taken for one.
  Value other = runtime.newInstance("NSImageQVR");
  for (int64_t wrong : {int64_t{12345}, runtime.get(other, "Handle").integer}) {
    Value none;
    EXPECT_EQ(Raised([&] { none = Shared("imageRepWithCGImageRef", {Value::ofInteger(wrong)}); }), "");
    EXPECT_TRUE(none.isNil()) << wrong;
  }
  Value none = runtime.newInstance(kClass, {Block("junk")});
  EXPECT_EQ(Layout(none), kNoLayout);
  EXPECT_FALSE(runtime.get(none, "isPlanar").boolean);
  EXPECT_EQ(runtime.get(none, "bitmapData").pointer, nullptr);
  EXPECT_TRUE(runtime.get(none, "colorSpace").isNil());
  EXPECT_TRUE(runtime.get(none, "CGImage").isNil());
  EXPECT_TRUE(runtime.call(none, "TIFFRepresentation as Memoryblock").isNil());
  EXPECT_FALSE(runtime.call(none, "canBeCompressedUsing", {Value::ofInteger(1)}).boolean);
  EXPECT_TRUE(runtime.call(none, "bitmapImageRepByRetaggingWithColorSpace", {Value::nil()}).isNil());
}

TEST_F(BitmapRep, WithoutTheSiblingPluginNoWrappersAndNoCGImageClass) {
  host::Options options;
  options.siblings = false;
  host::Runtime& runtime = Start(options);
  Value rep = Shared("imageRepWithData", {Block(PillowFiles().bytes["bmp"])});
  EXPECT_TRUE(runtime.get(rep, "colorSpace").isNil());
  EXPECT_TRUE(runtime.get(rep, "CGImage").isNil());
  EXPECT_EQ(Raised([&] { Shared("imageRepWithCGImage", {rep}); }), "IllegalCastException: CGImage must be a CGImageQVR!");
}

}  // namespace
