/* Bitmap contexts: every memory layout the imaging code uses, filled and read back byte by
   byte; the origin at the bottom left with memory row 0 on top; the getters; images made
   from contexts; and the layouts and arguments a context refuses. */
#import "drawing_pixels.h"

namespace {

class BitmapContext : public PoolTest {};

struct LayoutCase {
  const char* name;
  bool grey;
  uint32_t info;
  size_t bytesPerPixel;
  /* The bytes of a pixel after filling with half-transparent orange (1, 0.5, 0, 0.5). */
  std::vector<int> expected;
};

TEST_F(BitmapContext, EveryLayoutHoldsWhatWasDrawnInItsOwnByteOrder) {
  const LayoutCase cases[] = {
      {"premultiplied last", false, kCGImageAlphaPremultipliedLast, 4, {128, 64, 0, 128}},
      {"premultiplied first", false, kCGImageAlphaPremultipliedFirst, 4, {128, 128, 64, 0}},
      {"premultiplied first little", false, kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little, 4,
       {0, 64, 128, 128}},
      {"premultiplied last big", false, kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Big, 4, {128, 64, 0, 128}},
      {"premultiplied last little", false, kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Little, 4,
       {128, 0, 64, 128}},
      {"plain last", false, kCGImageAlphaLast, 4, {255, 128, 0, 128}},
      {"plain first", false, kCGImageAlphaFirst, 4, {128, 255, 128, 0}},
      {"skip last", false, kCGImageAlphaNoneSkipLast, 4, {128, 64, 0, 255}},
      {"skip first little", false, kCGImageAlphaNoneSkipFirst | kCGBitmapByteOrder32Little, 4, {0, 64, 128, -1}},
      {"alpha only", false, kCGImageAlphaOnly, 1, {128}},
      {"grey", true, kCGImageAlphaNone, 1, {76}},
  };
  for (const LayoutCase& c : cases) {
    SCOPED_TRACE(c.name);
    CGColorSpaceRef space = Pooled(c.grey ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB());
    /* Rows of 5 pixels with 3 spare bytes: not a multiple of 4, so no layout is wrapped as is. */
    const size_t width = 5, height = 3, row = width * c.bytesPerPixel + 3;
    std::vector<uint8_t> memory(row * height, 0xEE);
    CGContextRef context = Pooled(CGBitmapContextCreate(memory.data(), width, height, 8, row, space, c.info));
    ASSERT_TRUE(context != NULL);
    CGContextSetBlendMode(context, kCGBlendModeCopy);
    CGContextSetRGBFillColor(context, 1, 0.5, 0, 0.5);
    CGContextFillRect(context, CGRectMake(0, 0, width, height));
    for (size_t y = 0; y < height; y++) {
      for (size_t x = 0; x < width; x++) {
        const uint8_t* pixel = memory.data() + y * row + x * c.bytesPerPixel;
        for (size_t i = 0; i < c.expected.size(); i++) {
          if (c.expected[i] < 0) continue; /* a skipped byte holds nothing defined */
          EXPECT_NEAR(pixel[i], c.expected[i], 2) << "pixel " << x << "," << y << " byte " << i;
        }
      }
      EXPECT_EQ(memory[y * row + row - 1], 0xEE) << "the spare bytes of a row stay untouched";
    }
  }
}

TEST_F(BitmapContext, OriginIsBottomLeftAndMemoryRowZeroIsTheTop) {
  CGContextRef context = ARGBContext(4, 4);
  CGContextSetRGBFillColor(context, 1, 0, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1));
  EXPECT_EQ(PixelAt(context, 0, 3), (RGBA{255, 0, 0, 255})) << "user (0, 0) is the last memory row";
  EXPECT_EQ(PixelAt(context, 0, 0), (RGBA{0, 0, 0, 0}));
  CGContextSetRGBFillColor(context, 0, 0, 1, 1);
  CGContextFillRect(context, CGRectMake(3, 3, 1, 1));
  EXPECT_EQ(PixelAt(context, 3, 0), (RGBA{0, 0, 255, 255}));
}

TEST_F(BitmapContext, TransformsAndStateAreSavedAndRestored) {
  CGContextRef context = ARGBContext(8, 8);
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, 4, 0);
  CGContextScaleCTM(context, 2, 2);
  CGContextSetAlpha(context, 0.5);
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGAffineTransform ctm = CGContextGetCTM(context);
  EXPECT_EQ((std::vector<CGFloat>{ctm.a, ctm.b, ctm.c, ctm.d, ctm.tx, ctm.ty}), (std::vector<CGFloat>{2, 0, 0, 2, 4, 0}));
  CGContextSetRGBFillColor(context, 0, 1, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 1, 1)); /* device (4..6, 0..2) */
  EXPECT_TRUE(Near(PixelAt(context, 5, 7), RGBA{0, 128, 0, 128}));
  EXPECT_EQ(PixelAt(context, 3, 7), (RGBA{0, 0, 0, 0}));
  CGContextRestoreGState(context);
  EXPECT_EQ(CGContextGetAlpha(context), 1);
  EXPECT_EQ(CGContextGetBlendMode(context), kCGBlendModeNormal);
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGContextGetCTM(context)));
  CGContextRestoreGState(context); /* one more restore than saves: ignored */
}

TEST_F(BitmapContext, ClipsConfinePaintingAndClearRectClears) {
  CGContextRef context = ARGBContext(6, 6);
  FillContext(context, 1, 1, 1, 1);
  CGContextSaveGState(context);
  CGContextClipToRect(context, CGRectMake(2, 2, 2, 2));
  CGContextSetRGBFillColor(context, 0, 0, 0, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 6, 6));
  CGContextRestoreGState(context);
  ExpectPixels(context, {{2, 2, {0, 0, 0, 255}}, {1, 2, {255, 255, 255, 255}}, {4, 4, {255, 255, 255, 255}}});
  CGContextSetBlendMode(context, kCGBlendModeMultiply);
  CGContextClearRect(context, CGRectMake(0, 0, 1, 6));
  ExpectPixels(context, {{0, 3, {0, 0, 0, 0}}, {1, 3, {255, 255, 255, 255}}});  // clearing ignores the blend mode
}

TEST_F(BitmapContext, GettersDescribeTheMemory) {
  CGColorSpaceRef space = Pooled(CGColorSpaceCreateDeviceRGB());
  CGContextRef context = Pooled(CGBitmapContextCreate(NULL, 7, 3, 8, 0, space, kCGImageAlphaPremultipliedLast));
  EXPECT_EQ((std::vector<size_t>{CGBitmapContextGetWidth(context), CGBitmapContextGetHeight(context),
                                 CGBitmapContextGetBitsPerPixel(context), CGBitmapContextGetBitsPerComponent(context)}),
            (std::vector<size_t>{7, 3, 32, 8}));
  EXPECT_GE(CGBitmapContextGetBytesPerRow(context), 28u);
  EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), kCGImageAlphaPremultipliedLast);
  EXPECT_EQ(CGBitmapContextGetBitmapInfo(context), (CGBitmapInfo)kCGImageAlphaPremultipliedLast);
  EXPECT_EQ(CGBitmapContextGetColorSpace(context), space);
  ASSERT_TRUE(CGBitmapContextGetData(context) != NULL);
  const uint8_t* data = (const uint8_t*)CGBitmapContextGetData(context);
  for (size_t i = 0; i < CGBitmapContextGetBytesPerRow(context) * 3; i++) ASSERT_EQ(data[i], 0) << "new memory is clear";
}

TEST_F(BitmapContext, ImagesCopyThePixelsOfTheirMoment) {
  CGContextRef context = ARGBContext(3, 2);
  FillContext(context, 0, 0, 1, 1);
  CGImageRef image = Pooled(CGBitmapContextCreateImage(context));
  ASSERT_TRUE(image != NULL);
  FillContext(context, 1, 0, 0, 1);
  EXPECT_EQ(CGImageGetWidth(image), 3u);
  EXPECT_EQ(CGImageGetHeight(image), 2u);
  EXPECT_EQ(CGImageGetBitmapInfo(image), CGBitmapContextGetBitmapInfo(context));
  const uint8_t* p = CFDataGetBytePtr(Pooled(CGDataProviderCopyData(CGImageGetDataProvider(image))));
  EXPECT_EQ(p[0], 255) << "blue, in B G R A order";
  EXPECT_EQ(p[2], 0);
  /* Drawn back, the image restores what it copied. */
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextDrawImage(context, CGRectMake(0, 0, 3, 2), image);
  EXPECT_EQ(PixelAt(context, 2, 1), (RGBA{0, 0, 255, 255}));
}

TEST_F(BitmapContext, RefusesWhatItCannotDraw) {
  CGColorSpaceRef rgb = Pooled(CGColorSpaceCreateDeviceRGB());
  uint8_t memory[64];
  EXPECT_TRUE(CGBitmapContextCreate(NULL, 0, 4, 8, 0, rgb, kCGImageAlphaPremultipliedLast) == NULL);
  EXPECT_TRUE(CGBitmapContextCreate(NULL, 4, 4, 16, 0, rgb, kCGImageAlphaPremultipliedLast) == NULL);
  EXPECT_TRUE(CGBitmapContextCreate(memory, 4, 4, 8, 8, rgb, kCGImageAlphaPremultipliedLast) == NULL)
      << "rows shorter than the pixels";
  EXPECT_TRUE(CGBitmapContextCreate(NULL, 4, 4, 8, 0, NULL, kCGImageAlphaPremultipliedLast) == NULL);
  EXPECT_TRUE(CGBitmapContextCreate(NULL, 4, 4, 8, 0, rgb, kCGImageAlphaPremultipliedLast | kCGBitmapFloatComponents) ==
              NULL);
  EXPECT_TRUE(CGBitmapContextCreate(NULL, 4, 4, 8, 0, rgb, 9) == NULL);
  EXPECT_TRUE(Pooled(CGBitmapContextCreate(NULL, 4, 4, 8, 0, NULL, kCGImageAlphaOnly)) != NULL)
      << "alpha-only contexts need no colour space";
  /* Functions given NULL or objects of another type do nothing. */
  CGContextFillRect(NULL, CGRectMake(0, 0, 1, 1));
  CGContextDrawImage(NULL, CGRectMake(0, 0, 1, 1), NULL);
  EXPECT_TRUE(CGBitmapContextGetData((CGContextRef)(void*)rgb) == NULL);
  EXPECT_TRUE(CGBitmapContextCreateImage(NULL) == NULL);
}

TEST_F(BitmapContext, BadNumbersAreIgnoredAndLeaveTheContextWorking) {
  CGContextRef context = ARGBContext(4, 4);
  CGImageRef image = RGBAImage(1, 1, {0, 255, 0, 255});
  CGContextTranslateCTM(context, NAN, 1);
  CGContextScaleCTM(context, INFINITY, 0);
  CGContextConcatCTM(context, CGAffineTransformMake(NAN, 0, 0, 1, 0, 0));
  CGContextSetAlpha(context, NAN);
  CGContextFillRect(context, CGRectMake(NAN, 0, 2, 2));
  CGContextFillRect(context, CGRectMake(0, 0, INFINITY, 2));
  CGContextDrawImage(context, CGRectMake(0, NAN, 2, 2), image);
  CGContextDrawImage(context, CGRectMake(1e300, -1e300, 1e300, 1e300), image);
  CGContextFillRect(context, CGRectMake(-1e12, -1e12, 2e12, 2e12));
  EXPECT_TRUE(CGAffineTransformIsIdentity(CGContextGetCTM(context)));
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextDrawImage(context, CGRectMake(0, 0, 4, 4), image);
  EXPECT_EQ(PixelAt(context, 2, 2), (RGBA{0, 255, 0, 255})) << "still draws after all that";
  EXPECT_TRUE(CGBitmapContextCreate(NULL, (size_t)1 << 40, (size_t)1 << 40, 8, 0, Pooled(CGColorSpaceCreateDeviceRGB()),
                                    kCGImageAlphaPremultipliedLast) == NULL);
}

TEST_F(BitmapContext, ReleaseCallbackGetsTheCallersMemoryBack) {
  static int released = 0;
  static void* seen = NULL;
  std::vector<uint8_t> memory(16 * 4);
  CGContextRef context = CGBitmapContextCreateWithData(
      memory.data(), 4, 4, 8, 16, Pooled(CGColorSpaceCreateDeviceRGB()), kCGImageAlphaPremultipliedLast,
      [](void* info, void* data) {
        released++;
        seen = data;
      },
      NULL);
  ASSERT_TRUE(context != NULL);
  CFRetain(context);
  CGContextRelease(context);
  EXPECT_EQ(released, 0);
  CFRelease(context);
  EXPECT_EQ(released, 1);
  EXPECT_EQ(seen, memory.data());
}

}  // namespace
