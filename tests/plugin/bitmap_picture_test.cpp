// "Constructor(pic as Picture)" of NSBitmapImageRepQVR through the host: the pixels and the
// mask of a Picture in the representation (alpha = 255 - mask, colour premultiplied), on a
// host that converts pictures itself (no mask is ever made for the picture then), on one
// without that conversion, and for pictures that are nil.
#include <gtest/gtest.h>

#include <string>

#include "support/plugin_fixture.h"

namespace {

using host::Value;

class BitmapPicture : public support::PluginTest {
 protected:
  Value Int(int64_t v) { return Value::ofInteger(v); }
  // The representation's pixel (x, y) as RGBA, read where bitmapData points.
  std::string Pixel(const Value& rep, int x, int y) {
    const auto* data = static_cast<const unsigned char*>(runtime_->get(rep, "bitmapData").pointer);
    if (data == nullptr) return "";
    const int64_t rowBytes = runtime_->get(rep, "bytesPerRow").integer;
    const int64_t pixelBytes = runtime_->get(rep, "bitsPerPixel").integer / 8;
    const unsigned char* p = data + y * rowBytes + x * pixelBytes;
    std::string rgba(reinterpret_cast<const char*>(p), 3);
    rgba += runtime_->get(rep, "samplesPerPixel").integer == 4 ? char(p[3]) : '\xff';
    return rgba;
  }
};

// One way to an image: the host's own conversion (of either storage), and ours without it.
struct Way { const char* name; host::AppKind kind; bool withoutHostImages; };

void PrintTo(const Way& way, std::ostream* os) { *os << way.name; }
class EveryWay : public BitmapPicture, public ::testing::WithParamInterface<Way> {};

// A 6 x 4 picture, red on the left half, blue on the right, whose mask makes the top row
// clear and the second row half covered (grey 128).
TEST_P(EveryWay, PixelsAndMask) {
  const Way& way = GetParam();
  host::Options options;
  options.kind = way.kind;
  if (way.withoutHostImages) options.missingEntryPoints.insert("REALCopyPictureCGImage");
  host::Runtime& runtime = Start(options);
  const bool hostConverts = !way.withoutHostImages;
  Value picture = runtime.newInstance("Picture", {Int(6), Int(4), Int(32)});
  Fill(picture, 0xFF0000, 0, 0, 3, 4);
  Fill(picture, 0x0000FF, 3, 0, 3, 4);
  Value plain = runtime.newInstance("NSBitmapImageRepQVR", {picture});
  EXPECT_EQ(Pixel(plain, 0, 0), std::string("\xff\0\0\xff", 4));
  EXPECT_EQ(Pixel(plain, 5, 3), std::string("\0\0\xff\xff", 4));
  // The host's own conversion never reads the picture's pixels through its description,
  // nor asks for a mask the picture did not have; the way without it does both.
  EXPECT_EQ(runtime.pictureCounts(picture).descriptionLocks == 0, hostConverts);
  EXPECT_EQ(runtime.call(picture, "Mask", {Value::ofBoolean(false)}).isNil(), hostConverts);

  Value mask = runtime.call(picture, "Mask", {Value::ofBoolean(true)});
  Fill(mask, 0x000000, 0, 0, 6, 4);
  Fill(mask, 0xFFFFFF, 0, 0, 6, 1);
  Fill(mask, 0x808080, 0, 1, 6, 1);
  Value masked = runtime.newInstance("NSBitmapImageRepQVR", {picture});
  ASSERT_NE(runtime.get(masked, "Handle").integer, 0);
  EXPECT_EQ(Pixel(masked, 1, 0)[3], '\0') << "white is clear";
  EXPECT_EQ(Pixel(masked, 1, 2), std::string("\xff\0\0\xff", 4)) << "black is opaque";
  const std::string half = Pixel(masked, 4, 1);
  EXPECT_NEAR(static_cast<unsigned char>(half[3]), 127, 1);
  EXPECT_NEAR(static_cast<unsigned char>(half[2]), 127, 1) << "colour premultiplied";
}

INSTANTIATE_TEST_SUITE_P(BitmapPicture, EveryWay,
                         ::testing::Values(Way{"Desktop", host::AppKind::Desktop, false},
                                           Way{"DesktopWithoutHostImages", host::AppKind::Desktop, true},
                                           Way{"Console", host::AppKind::Console, false}),
                         support::ByName());

TEST_F(BitmapPicture, RecordedAsItsWrapperMarkedAsTakingAPictureAndNilRaises) {
  host::Runtime& runtime = Probe();
  Value picture = runtime.newInstance("Picture", {Int(3), Int(2), Int(32)});
  Value rep = runtime.newInstance("NSBitmapImageRepQVR", {picture});
  // Wrapping its representation again finds this very instance.
  EXPECT_EQ(runtime.callShared("FrameProbeQVR", "WrapBitmapRepAgain", {rep}).object.get(), rep.object.get());
  for (const host::MethodInfo& method : runtime.findClass("NSBitmapImageRepQVR")->methods)
    if (method.declarationText == "Constructor(pic as Picture)") {
      EXPECT_EQ(method.flags, 0x4u);
    }

  Value none = runtime.newInstance("NSBitmapImageRepQVR", {runtime.memoryBlock("", 0)});
  EXPECT_EQ(Raised([&] { runtime.call(none, "Constructor(pic as Picture)", {Value::nil()}); }),
            "NilObjectException: Image is nil");
  EXPECT_EQ(runtime.get(none, "Handle").integer, 0);
}

}  // namespace
