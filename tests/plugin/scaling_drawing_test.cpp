// Scaled, faded and flipped copies of the held image, by their geometry and pixels;
// renaming and resizing; drawing into a Core Graphics context that host code holds as an
// integer, with several operations and opacities, read back by its pixels.
#include <array>
#include <cstdlib>

#include "support/plugin_fixture.h"

namespace {

using host::Value;

using RGBA = std::array<int, 4>;  // premultiplied

class ScalingDrawing : public support::PluginTest {
 protected:
  // An image of width x height pixels, each given by paint(x, y) (premultiplied).
  template <typename Paint>
  Value Image(int width, int height, Paint paint) {
    std::string bytes(size_t(width) * height * 4, '\0');
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        RGBA p = paint(x, y);
        const char px[4] = {char(p[0]), char(p[1]), char(p[2]), char(p[3])};
        bytes.replace((size_t(y) * width + x) * 4, 4, px, 4);
      }
    return Shared("ImageFromPixels", {Value::ofInteger(width), Value::ofInteger(height), Block(bytes)});
  }
  Value Plain(int width, int height, RGBA colour) {
    return Image(width, height, [&](int, int) { return colour; });
  }
  std::string Geometry(const Value& image) { return Utf8(Shared("ImageGeometry", {image})); }
  std::string Pixels(const Value& image) { return runtime_->memoryBlockBytes(Shared("ImagePixels", {image})); }
  Value Scale(const Value& image, double w, double h) {
    return runtime_->call(image, "imageByScalingToSize", {Value::ofDouble(w), Value::ofDouble(h)});
  }
};

// Pixel (x, y) of RGBA bytes rows width wide, within tolerance of want.
::testing::AssertionResult PixelNear(const std::string& bytes, int width, int x, int y, RGBA want, int tolerance = 2) {
  return support::SamplesNear(reinterpret_cast<const uint8_t*>(bytes.data()) + (size_t(y) * width + x) * 4, want,
                              tolerance)
         << " at (" << x << ", " << y << ")";
}

struct Probe { int x, y; RGBA want; };
// Each probed pixel of RGBA bytes rows width wide, within 2 of what it wants.
void ExpectPixels(const std::string& bytes, int width, std::initializer_list<Probe> probes) {
  for (const Probe& p : probes) EXPECT_TRUE(PixelNear(bytes, width, p.x, p.y, p.want));
}

const RGBA kRed{255, 0, 0, 255}, kBlue{0, 0, 255, 255}, kClear{0, 0, 0, 0}, kHalfBlue{0, 0, 128, 128};

TEST_F(ScalingDrawing, ScaledFadedFlippedCopiesNamesAndSizes) {
  host::Runtime& runtime = Probe();
  // Top half red, bottom half blue (rows from the top).
  Value image = Image(8, 8, [](int, int y) { return y < 4 ? kRed : kBlue; });
  std::string original = Pixels(image);

  // The same size, full opacity, not flipped: a copy, a new image of the same content.
  Value copy = Scale(image, 8, 8);
  EXPECT_NE(runtime.get(copy, "Handle").integer, runtime.get(image, "Handle").integer);
  EXPECT_EQ(Pixels(copy), original);

  // Fading renders at the same size with the opacity given.
  Value faded = runtime.call(image, "imageByFadingToFraction", {Value::ofDouble(0.25)});
  EXPECT_EQ(Geometry(faded), "8 x 8");
  ExpectPixels(Pixels(faded), 8, {{2, 1, {64, 0, 0, 64}}, {5, 6, {0, 0, 64, 64}}});
  Value halfOpaque = runtime.call(image, "imageByScalingToSize", {Value::ofDouble(8), Value::ofDouble(8),
                                                                  Value::ofDouble(0.5)});
  EXPECT_TRUE(PixelNear(Pixels(halfOpaque), 8, 0, 0, {128, 0, 0, 128}));

  // Flipped: the copy is marked flipped and its content is upside down.
  Value flipped = runtime.call(image, "imageByScalingToSize", {Value::ofDouble(8), Value::ofDouble(8),
                                                               Value::ofDouble(1), Value::ofBoolean(true),
                                                               Value::ofBoolean(true)});
  EXPECT_EQ(Geometry(flipped), "8 x 8 flipped");
  ExpectPixels(Pixels(flipped), 8, {{3, 0, kBlue}, {3, 7, kRed}});
  // Names are unique; sizes are set.
  Value named = Plain(4, 4, kRed), other = Plain(4, 4, kBlue);
  EXPECT_TRUE(runtime.call(named, "setName", {Text("encoding-test-image")}).boolean);
  EXPECT_FALSE(runtime.call(other, "setName", {Text("encoding-test-image")}).boolean) << "names are unique";
  EXPECT_TRUE(runtime.call(named, "setName", {Text("")}).boolean) << "the empty string takes the name away";
  EXPECT_TRUE(runtime.call(other, "setName", {Text("encoding-test-image")}).boolean);
  runtime.call(named, "setSize", {Value::ofDouble(10.5), Value::ofDouble(20)});
  EXPECT_EQ(Geometry(named), "10.5 x 20");

  Value none = WithoutImage();
  EXPECT_FALSE(runtime.call(none, "setName", {Text("x")}).boolean);
  runtime.call(none, "setSize", {Value::ofDouble(1), Value::ofDouble(1)});
  // Proportional scaling keeps the longer side; an empty instance gives no copy.
  Value landscape = Plain(200, 100, kRed), portrait = Plain(100, 200, kRed), square = Plain(100, 100, kRed);
  EXPECT_EQ(Geometry(Scale(landscape, 100, 100)), "100 x 50");
  EXPECT_EQ(Geometry(Scale(portrait, 100, 100)), "50 x 100");
  EXPECT_EQ(Geometry(Scale(square, 300, 50)), "300 x 50") << "a square source fills the target";
  EXPECT_EQ(Geometry(Scale(landscape, 50, 10)), "50 x 25") << "the other side may grow";
  EXPECT_EQ(Geometry(runtime_->call(landscape, "imageByScalingToSize",
                                    {Value::ofDouble(30), Value::ofDouble(70), Value::ofDouble(1),
                                     Value::ofBoolean(false), Value::ofBoolean(false)})),
            "30 x 70");

  // A scaled copy shows the source's content; the source is left as it was.
  EXPECT_TRUE(PixelNear(Pixels(Scale(landscape, 100, 100)), 100, 50, 25, kRed));
  EXPECT_EQ(Geometry(landscape), "200 x 100");
  // A copy too large to have pixels keeps its size and has nothing drawn.
  Value huge = Scale(landscape, 50000, 25000);
  EXPECT_EQ(Geometry(huge), "50000 x 25000");
  EXPECT_EQ(runtime.call(huge, "RepresentationsCount").integer, 0);

  EXPECT_TRUE(Scale(none, 10, 10).isNil());
  EXPECT_TRUE(runtime_->call(none, "imageByFadingToFraction", {Value::ofDouble(0.5)}).isNil());
}

// A loaded JPEG drawn at a much smaller size is decoded again at a reduced size (DCT
// scaling): the copy differs from drawing the same pixels in full by under one level on
// average, upright and flipped.
TEST_F(ScalingDrawing, JPEGScaledDownDecodesSmallerWithTheSameResult) {
  host::Runtime& runtime = Probe();
  // Photo-like: gradients, hard-edged blocks and sensor-like noise of a few levels.
  Value source = Image(640, 480, [](int x, int y) {
    const int noise = (x * 7919 + y * 104729) % 13 - 6;
    return RGBA{x * 200 / 640 + 20 + noise, y * 200 / 480 + 20 - noise, 60 + ((x / 80 + y / 80) % 2) * 120, 255};
  });
  Value loaded = runtime.callShared("NSImageQVR", "imageWithData", {runtime.call(source, "JPEGRepresentation")});
  Value inFull = Shared("ImageFromPixels", {Value::ofInteger(640), Value::ofInteger(480), Block(Pixels(loaded))});
  for (bool flip : {false, true}) {
    SCOPED_TRACE(flip);
    std::string pixels[2];
    for (int i = 0; i < 2; ++i) {
      Value scaled = runtime.call(i == 0 ? loaded : inFull, "imageByScalingToSize",
                                  {Value::ofDouble(64), Value::ofDouble(64), Value::ofDouble(1), Value::ofBoolean(flip),
                                   Value::ofBoolean(true)});
      EXPECT_EQ(Geometry(scaled), flip ? "64 x 48 flipped" : "64 x 48");
      pixels[i] = Pixels(scaled);
    }
    ASSERT_EQ(pixels[0].size(), pixels[1].size());
    EXPECT_NE(pixels[0], pixels[1]);  // the reduced decoding did happen
    double total = 0;
    for (size_t i = 0; i < pixels[0].size(); ++i) total += std::abs(uint8_t(pixels[0][i]) - uint8_t(pixels[1][i]));
    EXPECT_LT(total / pixels[0].size(), 1.0);
  }
}

TEST_F(ScalingDrawing, DrawsIntoAHostContextWithOperationsAndOpacities) {
  host::Runtime& runtime = Probe();
  Value blue = Plain(4, 4, kBlue);
  Value redLeft = Image(4, 4, [](int x, int) { return x < 2 ? kRed : kClear; });
  int64_t context = Shared("NewCGContext", {Value::ofInteger(8), Value::ofInteger(8)}).integer;
  ASSERT_NE(context, 0);
  const int64_t made = context;
  auto at = [&](const Value& image, double x, double y, double sx, double sy, double sw, double sh, int op,
                double fraction) {
    return runtime.call(image, "DrawIntoCGContextAtPoint",
                        {Value::ofInteger(context), Value::ofDouble(x), Value::ofDouble(y), Value::ofDouble(sx),
                         Value::ofDouble(sy), Value::ofDouble(sw), Value::ofDouble(sh), Value::ofInteger(op),
                         Value::ofDouble(fraction)})
        .boolean;
  };
  auto inRect = [&](const Value& image, double x, double y, double w, double h, int op, double fraction) {
    return runtime.call(image, "DrawIntoCGContextAtRect",
                        {Value::ofInteger(context), Value::ofDouble(x), Value::ofDouble(y), Value::ofDouble(w),
                         Value::ofDouble(h), Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(4),
                         Value::ofDouble(4), Value::ofInteger(op), Value::ofDouble(fraction)})
        .boolean;
  };
  auto pixels = [&] { return runtime.memoryBlockBytes(Shared("CGContextPixels", {Value::ofInteger(context)})); };

  // Source over at full opacity into the bottom-left quadrant (y grows upwards, memory
  // rows from the top), then at half opacity scaled into the top-right one.
  EXPECT_TRUE(at(blue, 0, 0, 0, 0, 4, 4, 2, 1.0));
  EXPECT_TRUE(inRect(blue, 4, 4, 4, 4, 2, 0.5));
  ExpectPixels(pixels(), 8, {{1, 6, kBlue}, {6, 1, kHalfBlue}, {1, 1, kClear}});

  // Copy replaces what is there, transparent parts included; source over a half-opaque
  // blue leaves the red on top; clear empties the rectangle.
  EXPECT_TRUE(inRect(redLeft, 0, 0, 4, 4, 1, 1.0));
  EXPECT_TRUE(inRect(redLeft, 4, 4, 4, 4, 2, 1.0));
  ExpectPixels(pixels(), 8, {{0, 7, kRed}, {3, 7, kClear}, {4, 0, kRed}, {7, 0, kHalfBlue}});
  // Clear, with fromRect naming a 2 x 4 part of the image: only that much of the
  // top-right quadrant is emptied.
  EXPECT_TRUE(at(blue, 4, 4, 2, 0, 2, 4, 0, 1.0));
  ExpectPixels(pixels(), 8, {{4, 0, kClear}, {5, 3, kClear}, {6, 0, kHalfBlue}, {7, 3, kHalfBlue}, {0, 7, kRed}});

  // An empty instance draws nothing; a zero context is refused before anything runs.
  Value none = WithoutImage();
  EXPECT_FALSE(at(none, 0, 0, 0, 0, 4, 4, 2, 1.0));
  EXPECT_FALSE(inRect(none, 0, 0, 4, 4, 2, 1.0));
  context = 0;
  EXPECT_EQ(Raised([&] { at(blue, 0, 0, 0, 0, 4, 4, 2, 1.0); }), "NilObjectException: CGContext is nil");
  EXPECT_EQ(Raised([&] { inRect(blue, 0, 0, 4, 4, 2, 1.0); }), "NilObjectException: CGContext is nil");
  Shared("ReleaseCGContext", {Value::ofInteger(made)});
  // Numbers that name no live context (made up, another kind of object, a released
  // context) draw nothing and raise nothing.
  for (int64_t wrong : {int64_t{12345}, runtime.get(blue, "Handle").integer, made}) {
    context = wrong;
    EXPECT_EQ(Raised([&] { EXPECT_FALSE(at(blue, 0, 0, 0, 0, 4, 4, 2, 1.0)); }), "") << wrong;
    EXPECT_EQ(Raised([&] { EXPECT_FALSE(inRect(blue, 0, 0, 4, 4, 2, 1.0)); }), "") << wrong;
  }
}

}  // namespace
