// NSImageQVR's representations and measurements, and the members of NSImageRepQVR, on
// images read from files written by other tools: a multi-page TIFF, icon files (.ico with
// PNG and bitmap images, .icns), a JPEG with EXIF data and a PNG without.
//
// The EPS, PDF and PICT representation classes and NSImageQVR's type lists and standard
// image names, driven through the host: a two-page PDF and an EPS figure made by
// Ghostscript, a PICT made by ImageMagick; rectangles as NSRectQVR, one host instance per
// platform object, nil for no data, and pages drawn into Pictures read back by pixels.
#include <array>
#include <functional>
#include <sstream>
#include <string>

#include "support/plugin_fixture.h"
#include "support/standard_image_names.h"

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
      {"64x10,0x0,128x20", "3 128x20 128x20"}, {"64x10,128x20,0x0", "3 128x20 0x0"},
      {"64x30,16x40,32x5", "3 64x40 16x5"}, {"0x0", "1 0x0 0x0"},
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
  EXPECT_EQ(std::tuple(Int(rep, "pixelsWide"), Int(rep, "pixelsHigh"), Int(rep, "bitsPerSample")), std::tuple(5, 7, 8));
  EXPECT_TRUE(rt.get(rep, "hasAlpha").boolean);
  EXPECT_EQ(std::pair(rt.get(rep, "width").real, rt.get(rep, "height").real), std::pair(5.0, 7.0));
  EXPECT_EQ(Utf8(rt.get(rep, "colorSpaceName")), "NSCalibratedRGBColorSpace");
  EXPECT_NE(Int(rep, "Handle"), 0);
  rt.call(rep, "setSize", {Value::ofDouble(2.5), Value::ofDouble(3.5)});
  Value size = rt.get(rep, "size");
  EXPECT_EQ(std::pair(rt.get(size, "Width").real, rt.get(size, "Height").real), std::pair(2.5, 3.5));
  rt.set(rep, "size", rt.newInstance("NSSizeQVR", {Value::ofDouble(10), Value::ofDouble(20)}));
  EXPECT_EQ(rt.get(rep, "height").real, 20.0);
  rt.set(rep, "size", Value::nil());
  EXPECT_EQ(rt.get(rep, "width").real, 0.0);
  rt.set(rep, "pixelsWide", Value::ofInteger(9));
  rt.set(rep, "pixelsHigh", Value::ofInteger(11));
  rt.set(rep, "bitsPerSample", Value::ofInteger(16));
  rt.set(rep, "hasAlpha", Value::ofBoolean(false));
  rt.set(rep, "isOpaque", Value::ofBoolean(true));
  EXPECT_EQ(std::tuple(Int(rep, "pixelsWide"), Int(rep, "pixelsHigh"), Int(rep, "bitsPerSample")), std::tuple(9, 11, 16));
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

using support::PluginTest;

const char kTwoPagesCommand[] =
    "printf '%%!PS\\n<< /PageSize [200 100] >> setpagedevice 1 0 0 setrgbcolor 0 0 100 100 rectfill showpage\\n"
    "<< /PageSize [100 300] >> setpagedevice 0 0 1 setrgbcolor 0 0 50 50 rectfill showpage\\n' > two.ps && "
    "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sOutputFile=two.pdf two.ps";

const char kFigure[] =
    "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 10 20 110 70\n%%EndComments\n"
    "1 0 0 setrgbcolor 10 20 100 50 rectfill 0 0 1 setrgbcolor 60 20 50 25 rectfill\n%%EOF\n";

class DocumentReps : public PluginTest {
 protected:
  // X, Y, Width and Height of an NSRectQVR.
  std::string Rect(const host::Value& rect) {
    if (rect.isNil()) return "nil";
    std::ostringstream out;
    for (const char* field : {"X", "Y", "Width", "Height"}) out << runtime_->get(rect, field).real << " ";
    return out.str();
  }
  // The image drawn with NSImageQVR.DrawIntoCGContextAtRect into a transparent context of
  // w x h, whole, scaled to fill it; a function giving "r g b a" of pixel x, y (y from the top).
  std::function<std::string(int, int)> Drawn(const host::Value& image, int w, int h) {
    using host::Value;
    Value context = Shared("NewCGContext", {Value::ofInteger(w), Value::ofInteger(h)});
    double iw = runtime_->get(image, "width").real, ih = runtime_->get(image, "height").real;
    EXPECT_TRUE(runtime_->call(image, "DrawIntoCGContextAtRect",
                               {context, Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(w), Value::ofDouble(h),
                                Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(iw), Value::ofDouble(ih),
                                Value::ofInteger(2), Value::ofDouble(1)})
                    .boolean);
    std::string bytes = runtime_->memoryBlockBytes(Shared("CGContextPixels", {context}));
    Shared("ReleaseCGContext", {context});
    return [bytes, w](int x, int y) {
      const uint8_t* p = reinterpret_cast<const uint8_t*>(bytes.data()) + (size_t(y) * w + x) * 4;
      return std::to_string(p[0]) + " " + std::to_string(p[1]) + " " + std::to_string(p[2]) + " " +
             std::to_string(p[3]);
    };
  }
};

TEST_F(DocumentReps, PdfPagesBoundsDataAndIdentity) {
  host::Runtime& runtime = Probe();
  std::string pdf = support::MadeBy(kTwoPagesCommand, "two.pdf");
  host::Value rep = runtime.callShared("NSPDFImageRepQVR", "imageRepWithData", {Block(pdf)});
  EXPECT_EQ(support::ClassName(runtime, rep), "NSPDFImageRepQVR");
  EXPECT_EQ(runtime.get(rep, "pageCount").integer, 2);
  EXPECT_EQ(runtime.get(rep, "currentPage").integer, 0);
  EXPECT_EQ(Rect(runtime.get(rep, "bounds")), "0 0 200 100 ");
  runtime.set(rep, "currentPage", host::Value::ofInteger(1));
  EXPECT_EQ(runtime.get(rep, "currentPage").integer, 1);
  EXPECT_EQ(Rect(runtime.get(rep, "bounds")), "0 0 100 300 ");
  EXPECT_EQ(runtime.memoryBlockBytes(runtime.call(rep, "PDFRepresentation")), pdf);
  // The first page as an image, drawn at two scales: red left half, white paper on the right.
  host::Value image = runtime.callShared("NSImageQVR", "imageWithData", {Block(pdf)});
  for (int scale : {1, 3}) {
    auto pixel = Drawn(image, 200 * scale, 100 * scale);
    EXPECT_EQ(pixel(99 * scale, 50 * scale), "255 0 0 255") << scale;
    EXPECT_EQ(pixel(101 * scale, 50 * scale), "255 255 255 255") << scale;
  }
  host::Value again = runtime.callShared("NSPDFImageRepQVR", "imageRepWithData", {Block(pdf)});
  EXPECT_NE(again.object.get(), rep.object.get()) << "new data, a new representation";
  EXPECT_EQ(runtime.get(runtime.newInstance("NSPDFImageRepQVR", {Block(pdf)}), "pageCount").integer, 2);
}

TEST_F(DocumentReps, EpsAndPictBoxesDataAndPixels) {
  host::Runtime& runtime = Probe();
  host::Value rep = runtime.callShared("NSEPSImageRepQVR", "imageRepWithData", {Block(kFigure)});
  EXPECT_EQ(Rect(runtime.call(rep, "boundingBox")), "10 20 100 50 ");
  EXPECT_EQ(runtime.memoryBlockBytes(runtime.call(rep, "EPSRepresentation")), kFigure);
  runtime.call(rep, "prepareGState");
  host::Value pdf = runtime.call(rep, "pdfImage");
  EXPECT_EQ(support::ClassName(runtime, pdf), "NSPDFImageRepQVR");
  EXPECT_EQ(runtime.call(rep, "pdfImage").object.get(), pdf.object.get()) << "the same host instance twice";
  EXPECT_EQ(Rect(runtime.get(pdf, "bounds")), "0 0 100 50 ");
  EXPECT_EQ(runtime.get(pdf, "pageCount").integer, 1);
  // The figure as an image, drawn at twice its size: red left half, blue bottom right.
  auto pixel = Drawn(runtime.callShared("NSImageQVR", "imageWithData", {Block(kFigure)}), 200, 100);
  EXPECT_EQ(pixel(40, 50) + ", " + pixel(160, 80) + ", " + pixel(160, 20), "255 0 0 255, 0 0 255 255, 255 0 0 255");

  // A PICT: its frame, its data, and its pixels.
  std::string pict =
      support::MadeBy("convert -size 8x6 xc:'#3366cc' -fill '#ff8800' -draw 'rectangle 0,0 3,2' -depth 8 PICT:p.pict",
                          "p.pict");
  host::Value pictRep = runtime.callShared("NSPICTImageRepQVR", "imageRepWithData", {Block(pict)});
  EXPECT_EQ(Rect(runtime.get(pictRep, "boundingBox")), "0 0 8 6 ");
  EXPECT_EQ(runtime.memoryBlockBytes(runtime.call(pictRep, "PICTRepresentation")), pict);
  auto pictPixel = Drawn(runtime.callShared("NSImageQVR", "imageWithData", {Block(pict)}), 8, 6);
  EXPECT_EQ(pictPixel(1, 1) + ", " + pictPixel(6, 4), "255 136 0 255, 51 102 204 255");
}

TEST_F(DocumentReps, RectanglesAreNilWithoutTheSiblingPlugin) {
  host::Options options;
  options.siblings = false;
  host::Runtime& runtime = Probe(options);
  host::Value rep = runtime.callShared("NSEPSImageRepQVR", "imageRepWithData", {Block(kFigure)});
  EXPECT_TRUE(runtime.call(rep, "boundingBox").isNil());
  EXPECT_FALSE(runtime.call(rep, "pdfImage").isNil());
}

TEST_F(DocumentReps, TypeListsNamedImagesAndInstancesWithoutData) {
  host::Runtime& runtime = Probe();
  for (const char* list : {"imageUnfilteredFileTypes", "imageUnfilteredPasteboardTypes", "imageFileTypes",
                           "imagePasteboardTypes", "imageTypes", "imageUnfilteredTypes"}) {
    std::vector<host::Value> types = runtime.arrayElements(runtime.callShared("NSImageQVR", list));
    ASSERT_FALSE(types.empty()) << list;
    std::string joined;
    for (const host::Value& type : types) joined += Utf8(type) + " ";
    if (std::string(list).find("FileTypes") != std::string::npos) {
      EXPECT_EQ(joined.find("tiff "), 0u) << "the platform's order: bitmaps first: " << joined;
      EXPECT_LT(joined.find("pdf "), joined.find("eps ")) << joined;
      EXPECT_LT(joined.find("eps "), joined.find("pict ")) << joined;
    }
  }
  host::Value computer = runtime.callShared("NSImageQVR", "NSImageNameComputer");
  EXPECT_EQ(Utf8(computer), "NSComputer");
  host::Value image = runtime.callShared("NSImageQVR", "imageNamed", {computer});
  ASSERT_FALSE(image.isNil());
  EXPECT_EQ(runtime.callShared("NSImageQVR", "imageNamed", {computer}).object.get(), image.object.get());
  EXPECT_TRUE(runtime.callShared("NSImageQVR", "imageNamed", {Text("NoSuchImageAnywhere")}).isNil());
  EXPECT_TRUE(runtime.callShared("NSImageQVR", "imageNamed", {Text("")}).isNil());
  // Every getter gives the platform's name (the registry's image for each is checked on
  // the platform side).
  ASSERT_EQ(std::size(kStandardImageNames), 59u);
  for (const char* name : kStandardImageNames)
    EXPECT_EQ(Utf8(runtime.callShared("NSImageQVR", std::string("NSImageName") + name)), std::string("NS") + name);
  // No data and empty data make instances that hold nothing and give nil.
  const struct { const char *cls, *rect; bool rectIsProperty; const char* data; } cases[] = {
      {"NSPDFImageRepQVR", "bounds", true, "PDFRepresentation"},
      {"NSEPSImageRepQVR", "boundingBox", false, "EPSRepresentation"},
      {"NSPICTImageRepQVR", "boundingBox", true, "PICTRepresentation"}};
  for (const auto& c : cases) {
    host::Value empty = runtime.newInstance(c.cls, {Block("")});
    EXPECT_EQ(runtime.get(empty, "Handle").integer, 0) << c.cls;
    EXPECT_EQ(Rect(c.rectIsProperty ? runtime.get(empty, c.rect) : runtime.call(empty, c.rect)), "0 0 0 0 ") << c.cls;
    EXPECT_TRUE(runtime.call(empty, c.data).isNil()) << c.cls;
    EXPECT_TRUE(runtime.callShared(c.cls, "imageRepWithData", {Block("not a picture")}).isNil()) << c.cls;
    EXPECT_TRUE(runtime.callShared(c.cls, "imageRepWithData", {host::Value()}).isNil()) << c.cls;
  }
  EXPECT_TRUE(runtime.call(runtime.newInstance("NSEPSImageRepQVR", {Block("")}), "pdfImage").isNil());
  EXPECT_EQ(runtime.get(runtime.newInstance("NSPDFImageRepQVR", {Block("")}), "pageCount").integer, 0);
}

}  // namespace
