/* CGImage: reading every layout, drawing stretched into a rectangle with each
   interpolation, image masks as stencils, images clipped by masks (image masks and grey
   images, each in its own sense), rectangles cut out, and the images it refuses to make.
   High-quality downscaling: a one-pixel checkerboard shrunk eight times with interpolation
   High (AppKit's NSImageInterpolationHigh) averages to an even mid grey, where
   nearest-neighbour sampling aliases into black or white. */
#import "drawing_pixels.h"

namespace {

class Images : public PoolTest {
 protected:
  static CGImageRef Checkerboard(size_t side) {
    std::vector<uint8_t> bytes(side * side * 4);
    for (size_t y = 0; y < side; y++)
      for (size_t x = 0; x < side; x++) {
        uint8_t v = ((x + y) & 1) ? 255 : 0;
        uint8_t* p = &bytes[(y * side + x) * 4];
        p[0] = p[1] = p[2] = v;
        p[3] = 255;
      }
    return RGBAImage(side, side, bytes);
  }

  /* The red channel of a context: an even mid grey without dark or bright aliasing. */
  static void ExpectEvenGrey(CGContextRef context) {
    size_t w = CGBitmapContextGetWidth(context), h = CGBitmapContextGetHeight(context);
    double mean = 0;
    for (size_t y = 0; y < h; y++)
      for (size_t x = 0; x < w; x++) {
        int v = PixelAt(context, x, y).r;
        mean += v;
        EXPECT_TRUE(v >= 118 && v <= 137) << v << " at " << x << ", " << y;
      }
    EXPECT_NEAR(mean / double(w * h), 127.5, 3);
  }
};

/* 2 x 2: red, green on top; blue, white below; all opaque. */
static CGImageRef Quadrants() {
  return RGBAImage(2, 2, {255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255});
}

TEST_F(Images, DrawsStretchedWithTheTopRowOnTop) {
  CGImageRef image = Quadrants();
  CGContextRef context = ARGBContext(8, 8);
  CGContextSetInterpolationQuality(context, kCGInterpolationNone);
  CGContextDrawImage(context, CGRectMake(0, 0, 8, 8), image);
  ExpectPixels(context, {{0, 0, {255, 0, 0, 255}}, {3, 3, {255, 0, 0, 255}}, {4, 0, {0, 255, 0, 255}},
                         {0, 7, {0, 0, 255, 255}}, {7, 7, {255, 255, 255, 255}}});
  /* Into a smaller rectangle at an offset: only that rectangle changes (its top half is memory row 4). */
  FillContext(context, 0, 0, 0, 0);
  CGContextDrawImage(context, CGRectMake(2, 2, 4, 2), image);
  ExpectPixels(context, {{2, 4, {255, 0, 0, 255}}, {5, 5, {255, 255, 255, 255}}, {1, 4, {0, 0, 0, 0}}, {2, 6, {0, 0, 0, 0}}});
}

TEST_F(Images, InterpolationHighBlendsScalingUpAndAveragesScalingDown) {
  CGImageRef image = RGBAImage(2, 1, {0, 0, 0, 255, 255, 255, 255, 255});
  CGContextRef context = ARGBContext(16, 1);
  CGContextSetInterpolationQuality(context, kCGInterpolationHigh);
  CGContextDrawImage(context, CGRectMake(0, 0, 16, 1), image);
  RGBA left = PixelAt(context, 0, 0), middle = PixelAt(context, 8, 0), right = PixelAt(context, 15, 0);
  EXPECT_LT(left.r, 30);
  EXPECT_GT(right.r, 225);
  EXPECT_GT(middle.r, 60);
  EXPECT_LT(middle.r, 200);
  EXPECT_LE(PixelAt(context, 6, 0).r, PixelAt(context, 9, 0).r) << "a ramp, not a step";

  /* Scaling a fine checkerboard down averages it where nearest-neighbour sampling aliases. */
  CGImageRef board = Checkerboard(256);
  CGContextRef high = ARGBContext(32, 32), none = ARGBContext(32, 32);
  CGContextSetInterpolationQuality(high, kCGInterpolationHigh);
  CGContextSetInterpolationQuality(none, kCGInterpolationNone);
  CGContextDrawImage(high, CGRectMake(0, 0, 32, 32), board);
  CGContextDrawImage(none, CGRectMake(0, 0, 32, 32), board);
  ExpectEvenGrey(high);
  const int sampled = PixelAt(none, 5, 5).r;
  EXPECT_TRUE(sampled < 20 || sampled > 235) << "sampling one pixel in eight hits black or white";
}

TEST_F(Images, ReadsGreyAndStraightAlphaAndSixteenBitLayouts) {
  CGImageRef greyImage = ImageOf(2, 1, 8, 8, CGColorSpaceCreateDeviceGray(), kCGImageAlphaNone, {10, 200});
  CGImageRef straightImage = ImageOf(1, 1, 8, 32, CGColorSpaceCreateDeviceRGB(), kCGImageAlphaLast, {255, 0, 0, 128});
  CGImageRef wideImage = ImageOf(1, 1, 16, 48, CGColorSpaceCreateDeviceRGB(), kCGImageAlphaNone,
                                 {0x80, 0x11, 0x40, 0x22, 0x20, 0x33}); /* 16-bit big-endian RGB */
  ASSERT_TRUE(greyImage && straightImage && wideImage);
  CGContextRef context = ARGBContext(4, 1);
  CGContextDrawImage(context, CGRectMake(0, 0, 2, 1), greyImage);
  CGContextDrawImage(context, CGRectMake(2, 0, 1, 1), straightImage);
  CGContextDrawImage(context, CGRectMake(3, 0, 1, 1), wideImage);
  ExpectPixels(context, {{0, 0, {10, 10, 10, 255}}, {1, 0, {200, 200, 200, 255}}, {3, 0, {0x80, 0x40, 0x20, 255}}});
  EXPECT_TRUE(Near(PixelAt(context, 2, 0), RGBA{128, 0, 0, 128}, 1)) << "premultiplied when drawn";
}

/* Packed R,G,B rows with a word-aligned stride are read where they lie; the channels must
   land in their places in either byte order of the destination, also when scaled. */
TEST_F(Images, PackedRGBKeepsItsChannelsInEveryDestination) {
  CGImageRef image = ImageOf(4, 2, 8, 24, CGColorSpaceCreateDeviceRGB(), kCGImageAlphaNone,
                             {200, 100, 50, 1, 2, 3, 0, 0, 255, 255, 255, 255, 17, 34, 51, 0, 255, 0, 90, 91, 92, 255, 0, 0});
  const RGBA expected[2][4] = {{{200, 100, 50, 255}, {1, 2, 3, 255}, {0, 0, 255, 255}, {255, 255, 255, 255}},
                               {{17, 34, 51, 255}, {0, 255, 0, 255}, {90, 91, 92, 255}, {255, 0, 0, 255}}};
  std::vector<uint8_t> rgbaMemory(8 * 4 * 4);
  CGContextRef rgbaContext = Pooled(CGBitmapContextCreate(rgbaMemory.data(), 8, 4, 8, 32, Pooled(CGColorSpaceCreateDeviceRGB()),
                                                          kCGImageAlphaPremultipliedLast));
  CGContextRef argbContext = ARGBContext(8, 4);
  for (CGContextRef context : {rgbaContext, argbContext}) {
    FillContext(context, 0.5, 0.5, 0.5, 1);
    CGContextDrawImage(context, CGRectMake(0, 2, 4, 2), image);                /* source over, as is */
    CGContextSetInterpolationQuality(context, kCGInterpolationNone);
    CGContextDrawImage(context, CGRectMake(0, 0, 8, 2), image);                /* stretched */
  }
  for (int row = 0; row < 2; row++) {
    for (int x = 0; x < 4; x++) {
      const uint8_t* p = &rgbaMemory[(size_t)row * 32 + (size_t)x * 4];
      EXPECT_EQ((RGBA{p[0], p[1], p[2], p[3]}), expected[row][x]) << "R,G,B,A at " << x << ", " << row;
      EXPECT_EQ(PixelAt(argbContext, x, row), expected[row][x]) << "B,G,R,A at " << x << ", " << row;
      const uint8_t* q = &rgbaMemory[(size_t)(row + 2) * 32 + (size_t)(2 * x + 1) * 4];
      EXPECT_EQ((RGBA{q[0], q[1], q[2], q[3]}), expected[row][x]) << "stretched, R,G,B,A at " << x << ", " << row;
      EXPECT_EQ(PixelAt(argbContext, 2 * x, row + 2), expected[row][x]) << "stretched, B,G,R,A";
    }
  }
}

TEST_F(Images, ImageMasksPaintAndMask) {
  /* 1-bit mask, 4 x 1: 0 1 0 1 (MSB first). */
  uint8_t bits[] = {0x50};
  CGDataProviderRef provider = Pooled(CGDataProviderCreateWithData(NULL, bits, 1, NULL));
  CGImageRef mask = Pooled(CGImageMaskCreate(4, 1, 1, 1, 1, provider, NULL, false));
  EXPECT_TRUE(CGImageIsMask(mask));
  CGContextRef context = ARGBContext(4, 1);
  CGContextSetRGBFillColor(context, 0, 0, 1, 1);
  CGContextDrawImage(context, CGRectMake(0, 0, 4, 1), mask);
  ExpectPixels(context, {{0, 0, {0, 0, 255, 255}}, {1, 0, {0, 0, 0, 0}}, {2, 0, {0, 0, 255, 255}}});
  /* A decode array of [1 0] turns the sense around. */
  CGFloat decode[] = {1, 0};
  FillContext(context, 0, 0, 0, 0);
  CGContextDrawImage(context, CGRectMake(0, 0, 4, 1), Pooled(CGImageMaskCreate(4, 1, 1, 1, 1, provider, decode, false)));
  ExpectPixels(context, {{0, 0, {0, 0, 0, 0}}, {1, 0, {0, 0, 255, 255}}});

  // Images masked: an image mask's samples are inverse alpha, a grey image's alpha.
  CGImageRef image = RGBAImage(2, 1, {255, 0, 0, 255, 255, 0, 0, 255});
  uint8_t samples[] = {0, 191};
  CGDataProviderRef inverseData = Pooled(CGDataProviderCreateWithData(NULL, samples, 2, NULL));
  CGImageRef inverse = Pooled(CGImageMaskCreate(2, 1, 8, 8, 2, inverseData, NULL, false));
  CGImageRef masked = Pooled(CGImageCreateWithMask(image, inverse));
  EXPECT_FALSE(CGImageIsMask(masked));
  CGContextRef inverted = ARGBContext(2, 1);
  CGContextDrawImage(inverted, CGRectMake(0, 0, 2, 1), masked);
  EXPECT_EQ(PixelAt(inverted, 0, 0), (RGBA{255, 0, 0, 255}));
  EXPECT_TRUE(Near(PixelAt(inverted, 1, 0), RGBA{64, 0, 0, 64}, 1));
  EXPECT_TRUE(CGImageCreateWithMask(inverse, inverse) == NULL) << "a mask cannot be masked";

  /* A grey image's samples are alpha, stretched to fit: a 2 x 1 one, left opaque (255),
     right transparent (0), over a white 4 x 2 image. */
  CGImageRef white = RGBAImage(4, 2, std::vector<uint8_t>(4 * 2 * 4, 255));
  CGImageRef grey = ImageOf(2, 1, 8, 8, CGColorSpaceCreateDeviceGray(), kCGImageAlphaNone, {255, 0});
  masked = Pooled(CGImageCreateWithMask(white, grey));
  EXPECT_EQ(CGImageGetWidth(masked), 4u);
  CGContextRef wide = ARGBContext(4, 2);
  CGContextSetInterpolationQuality(wide, kCGInterpolationNone);
  CGContextDrawImage(wide, CGRectMake(0, 0, 4, 2), masked);
  ExpectPixels(wide,
               {{0, 0, {255, 255, 255, 255}}, {0, 1, {255, 255, 255, 255}}, {3, 0, {0, 0, 0, 0}}, {3, 1, {0, 0, 0, 0}}});
  EXPECT_TRUE(CGImageCreateWithMask(white, white) == NULL) << "an image with alpha cannot serve as a inverse";
}

TEST_F(Images, CutsOutRectanglesFromTheTopLeft) {
  CGImageRef image = Quadrants();
  CGImageRef part = Pooled(CGImageCreateWithImageInRect(image, CGRectMake(1, 0, 5, 1)));
  EXPECT_EQ(CGImageGetWidth(part), 1u) << "clipped to the image";
  EXPECT_EQ(CGImageGetHeight(part), 1u);
  CGContextRef context = ARGBContext(1, 1);
  CGContextDrawImage(context, CGRectMake(0, 0, 1, 1), part);
  EXPECT_EQ(PixelAt(context, 0, 0), (RGBA{0, 255, 0, 255}));
  EXPECT_TRUE(CGImageCreateWithImageInRect(image, CGRectMake(5, 5, 1, 1)) == NULL);
}

TEST_F(Images, RefusesLayoutsAndDataItCannotRead) {
  CGColorSpaceRef rgb = Pooled(CGColorSpaceCreateDeviceRGB());
  uint8_t bytes[16] = {0};
  CGDataProviderRef provider = Pooled(CGDataProviderCreateWithData(NULL, bytes, sizeof bytes, NULL));
  EXPECT_TRUE(Pooled(CGImageCreate(2, 2, 8, 32, 8, rgb, kCGImageAlphaPremultipliedLast, provider, NULL, false, 0)) != NULL);
  EXPECT_TRUE(CGImageCreate(3, 2, 8, 32, 12, rgb, kCGImageAlphaPremultipliedLast, provider, NULL, false, 0) == NULL)
      << "provider too short";
  EXPECT_TRUE(CGImageCreate(2, 2, 8, 24, 8, rgb, kCGImageAlphaPremultipliedLast, provider, NULL, false, 0) == NULL)
      << "bits per pixel do not match the components";
  EXPECT_TRUE(CGImageCreate(2, 2, 5, 15, 8, rgb, kCGImageAlphaNone, provider, NULL, false, 0) == NULL);
  EXPECT_TRUE(CGImageCreate(2, 2, 8, 32, 8, NULL, kCGImageAlphaPremultipliedLast, provider, NULL, false, 0) == NULL);
  EXPECT_TRUE(CGImageCreate(0, 2, 8, 32, 8, rgb, kCGImageAlphaPremultipliedLast, provider, NULL, false, 0) == NULL);
  EXPECT_TRUE(CGImageCreate(2, 2, 8, 32, 8, rgb, kCGImageAlphaPremultipliedLast, NULL, NULL, false, 0) == NULL);
  EXPECT_TRUE(CGImageMaskCreate(2, 2, 3, 3, 1, provider, NULL, false) == NULL);
  EXPECT_EQ(CGImageGetWidth(NULL), 0u);
  CGImageRelease(NULL);
}

TEST_F(Images, ImageInterpolationHighOfAGraphicsContextDrivesNSImageDrawing) {
  NSImage* image = [[[NSImage alloc] initWithCGImage:Checkerboard(128) size:NSZeroSize] autorelease];
  EXPECT_EQ([image size].width, 128);
  CGContextRef port = ARGBContext(16, 16);
  NSGraphicsContext* context = ContextOf(port);
  DrawIn(context, [&] {
    [context setImageInterpolation:NSImageInterpolationHigh];
    [image drawInRect:NSMakeRect(0, 0, 16, 16) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
  });
  ExpectEvenGrey(port);
}

}  // namespace
