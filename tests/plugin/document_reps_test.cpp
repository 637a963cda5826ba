// The EPS, PDF and PICT representation classes and NSImageQVR's type lists and standard
// image names, driven through the host: a two-page PDF and an EPS figure made by
// Ghostscript, a PICT made by ImageMagick; rectangles as NSRectQVR, one host instance per
// platform object, nil for no data, and pages drawn into Pictures read back by pixels.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include "support/plugin_fixture.h"

namespace {

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
  host::Value constructed = runtime.newInstance("NSPDFImageRepQVR", {Block(pdf)});
  EXPECT_EQ(runtime.get(constructed, "pageCount").integer, 2);
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
  host::Value image = runtime.callShared("NSImageQVR", "imageWithData", {Block(kFigure)});
  auto pixel = Drawn(image, 200, 100);
  EXPECT_EQ(pixel(40, 50), "255 0 0 255");
  EXPECT_EQ(pixel(160, 80), "0 0 255 255");
  EXPECT_EQ(pixel(160, 20), "255 0 0 255");

  // A PICT: its frame, its data, and its pixels.
  std::string pict =
      support::MadeBy("convert -size 8x6 xc:'#3366cc' -fill '#ff8800' -draw 'rectangle 0,0 3,2' -depth 8 PICT:p.pict",
                          "p.pict");
  host::Value pictRep = runtime.callShared("NSPICTImageRepQVR", "imageRepWithData", {Block(pict)});
  EXPECT_EQ(Rect(runtime.get(pictRep, "boundingBox")), "0 0 8 6 ");
  EXPECT_EQ(runtime.memoryBlockBytes(runtime.call(pictRep, "PICTRepresentation")), pict);
  host::Value pictImage = runtime.callShared("NSImageQVR", "imageWithData", {Block(pict)});
  auto pictPixel = Drawn(pictImage, 8, 6);
  EXPECT_EQ(pictPixel(1, 1), "255 136 0 255");
  EXPECT_EQ(pictPixel(6, 4), "51 102 204 255");
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
  // Every getter gives the platform's name, each a standard image.
  const char* names[] = {
      "QuickLookTemplate", "BluetoothTemplate", "IChatTheaterTemplate", "SlideshowTemplate", "ActionTemplate",
      "SmartBadgeTemplate", "IconViewTemplate", "ListViewTemplate", "ColumnViewTemplate", "FlowViewTemplate",
      "PathTemplate", "InvalidDataFreestandingTemplate", "LockLockedTemplate", "LockUnlockedTemplate",
      "GoRightTemplate", "GoLeftTemplate", "RightFacingTriangleTemplate", "LeftFacingTriangleTemplate",
      "AddTemplate", "RemoveTemplate", "RevealFreestandingTemplate", "FollowLinkFreestandingTemplate",
      "EnterFullScreenTemplate", "ExitFullScreenTemplate", "StopProgressTemplate",
      "StopProgressFreestandingTemplate", "RefreshTemplate", "RefreshFreestandingTemplate", "Bonjour", "Computer",
      "FolderBurnable", "FolderSmart", "Folder", "Network", "DotMac", "MobileMe", "MultipleDocuments",
      "UserAccounts", "PreferencesGeneral", "Advanced", "Info", "FontPanel", "ColorPanel", "User", "UserGroup",
      "Everyone", "UserGuest", "MenuOnStateTemplate", "MenuMixedStateTemplate", "ApplicationIcon", "TrashEmpty",
      "TrashFull", "HomeTemplate", "BookmarksTemplate", "Caution", "StatusAvailable", "StatusPartiallyAvailable",
      "StatusUnavailable", "StatusNone"};
  ASSERT_EQ(sizeof names / sizeof names[0], 59u);
  for (const char* name : names) {
    host::Value value = runtime.callShared("NSImageQVR", std::string("NSImageName") + name);
    EXPECT_EQ(Utf8(value), std::string("NS") + name);
    EXPECT_FALSE(runtime.callShared("NSImageQVR", "imageNamed", {value}).isNil()) << name;
  }
  // No data and empty data make instances that hold nothing and give nil.
  const struct { const char *cls, *rect; bool rectIsProperty; const char* data; } cases[] = {
      {"NSPDFImageRepQVR", "bounds", true, "PDFRepresentation"},
      {"NSEPSImageRepQVR", "boundingBox", false, "EPSRepresentation"},
      {"NSPICTImageRepQVR", "boundingBox", true, "PICTRepresentation"}};
  for (const auto& c : cases) {
    host::Value empty = runtime.newInstance(c.cls, {Block("")});
    EXPECT_EQ(runtime.get(empty, "Handle").integer, 0) << c.cls;
    host::Value rect = c.rectIsProperty ? runtime.get(empty, c.rect) : runtime.call(empty, c.rect);
    EXPECT_EQ(Rect(rect), "0 0 0 0 ") << c.cls;
    EXPECT_TRUE(runtime.call(empty, c.data).isNil()) << c.cls;
    EXPECT_TRUE(runtime.callShared(c.cls, "imageRepWithData", {Block("not a picture")}).isNil()) << c.cls;
    EXPECT_TRUE(runtime.callShared(c.cls, "imageRepWithData", {host::Value()}).isNil()) << c.cls;
  }
  host::Value plain = runtime.newInstance("NSEPSImageRepQVR", {Block("")});
  EXPECT_TRUE(runtime.call(plain, "pdfImage").isNil());
  EXPECT_EQ(runtime.get(runtime.newInstance("NSPDFImageRepQVR", {Block("")}), "pageCount").integer, 0);
}

}  // namespace
