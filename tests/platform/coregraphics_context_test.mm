/* Bitmap contexts: every memory layout the imaging code uses, filled and read back byte by
   byte; the origin at the bottom left with memory row 0 on top; the getters; images made
   from contexts; the layouts and arguments a context refuses; and the current path, filled
   and stroked, checked by the alpha it leaves in an alpha-only context (rows top first):
   the fill rules, stroke widths, caps and the convenience calls, and a path that is emptied
   by painting it. */
#import "drawing_pixels.h"

#include <functional>
#include <string>

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
      {"alpha only", false, kCGImageAlphaOnly, 1, {128}}, {"grey", true, kCGImageAlphaNone, 1, {76}},
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

TEST_F(BitmapContext, OriginTransformsAndStateSavedAndRestored) {
  CGContextRef origin = ARGBContext(4, 4);
  CGContextSetRGBFillColor(origin, 1, 0, 0, 1);
  CGContextFillRect(origin, CGRectMake(0, 0, 1, 1));
  CGContextSetRGBFillColor(origin, 0, 0, 1, 1);
  CGContextFillRect(origin, CGRectMake(3, 3, 1, 1));
  /* User (0, 0) is in the last memory row, (3, 3) in the first. */
  ExpectPixels(origin, {{0, 3, {255, 0, 0, 255}}, {0, 0, {0, 0, 0, 0}}, {3, 0, {0, 0, 255, 255}}});

  // Transforms and state, saved and restored.
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
                                 CGBitmapContextGetBitsPerPixel(context), CGBitmapContextGetBitsPerComponent(context),
                                 CGBitmapContextGetAlphaInfo(context), CGBitmapContextGetBitmapInfo(context)}),
            (std::vector<size_t>{7, 3, 32, 8, kCGImageAlphaPremultipliedLast, kCGImageAlphaPremultipliedLast}));
  EXPECT_GE(CGBitmapContextGetBytesPerRow(context), 28u);
  EXPECT_EQ(CGBitmapContextGetColorSpace(context), space);
  const uint8_t* data = (const uint8_t*)CGBitmapContextGetData(context);
  for (size_t i = 0; i < CGBitmapContextGetBytesPerRow(context) * 3; i++) ASSERT_EQ(data[i], 0) << "new memory is clear";
}

TEST_F(BitmapContext, ImagesCopyThePixelsOfTheirMoment) {
  CGContextRef context = ARGBContext(3, 2);
  FillContext(context, 0, 0, 1, 1);
  CGImageRef image = Pooled(CGBitmapContextCreateImage(context));
  ASSERT_TRUE(image != NULL);
  FillContext(context, 1, 0, 0, 1);
  EXPECT_EQ((std::vector<size_t>{CGImageGetWidth(image), CGImageGetHeight(image), CGImageGetBitmapInfo(image)}),
            (std::vector<size_t>{3, 2, CGBitmapContextGetBitmapInfo(context)}));
  const uint8_t* p = CFDataGetBytePtr(Pooled(CGDataProviderCopyData(CGImageGetDataProvider(image))));
  EXPECT_EQ(p[0], 255) << "blue, in B G R A order";
  EXPECT_EQ(p[2], 0);
  /* Drawn back, the image restores what it copied. */
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextDrawImage(context, CGRectMake(0, 0, 3, 2), image);
  EXPECT_EQ(PixelAt(context, 2, 1), (RGBA{0, 0, 255, 255}));
}

TEST_F(BitmapContext, RefusesWhatItCannotDrawAndIgnoresBadNumbers) {
  CGColorSpaceRef rgb = Pooled(CGColorSpaceCreateDeviceRGB());
  uint8_t memory[64];
  const uint32_t last = kCGImageAlphaPremultipliedLast;
  /* No width, 16 bits, rows shorter than the pixels, no colour space, float components, no such alpha. */
  const struct {
    void* data;
    size_t width, bits, row;
    CGColorSpaceRef space;
    uint32_t info;
  } refused[] = {{NULL, 0, 8, 0, rgb, last},    {NULL, 4, 16, 0, rgb, last}, {memory, 4, 8, 8, rgb, last},
                 {NULL, 4, 8, 0, NULL, last},   {NULL, 4, 8, 0, rgb, last | kCGBitmapFloatComponents},
                 {NULL, 4, 8, 0, rgb, 9}};
  for (const auto& c : refused)
    EXPECT_TRUE(CGBitmapContextCreate(c.data, c.width, 4, c.bits, c.row, c.space, c.info) == NULL)
        << "case " << &c - refused;
  EXPECT_TRUE(Pooled(CGBitmapContextCreate(NULL, 4, 4, 8, 0, NULL, kCGImageAlphaOnly)) != NULL)
      << "alpha-only contexts need no colour space";
  /* Functions given NULL or objects of another type do nothing. */
  CGContextFillRect(NULL, CGRectMake(0, 0, 1, 1));
  CGContextDrawImage(NULL, CGRectMake(0, 0, 1, 1), NULL);
  EXPECT_TRUE(CGBitmapContextGetData((CGContextRef)(void*)rgb) == NULL);
  EXPECT_TRUE(CGBitmapContextCreateImage(NULL) == NULL);

  // Bad numbers are ignored and leave the context working.
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

struct PathCase {
  const char* name;
  std::function<void(CGContextRef)> draw;
  const char* map; /* 8 x 6, top row first: '#' full, '.' empty, '+' partial, '?' anything */
};

TEST_F(BitmapContext, PathsPaintTheirArea) {
  /* A rectangle with a smaller one inside it, turned the same way. */
  static const auto nested = [](CGContextRef c) {
    CGContextAddRect(c, CGRectMake(0, 0, 8, 6));
    CGContextAddRect(c, CGRectMake(2, 2, 4, 2));
  };
  const PathCase cases[] = {
      {"even-odd leaves the inner square empty", [](CGContextRef c) { nested(c), CGContextEOFillPath(c); },
       "########" "########" "##....##" "##....##" "########" "########"},
      {"non-zero fills it", [](CGContextRef c) { nested(c), CGContextFillPath(c); },
       "########" "########" "########" "########" "########" "########"},
      {"a triangle of whole-pixel corners is not its bounding box",
       [](CGContextRef c) {
         CGContextMoveToPoint(c, 0, 0);
         CGContextAddLineToPoint(c, 8, 0);
         CGContextAddLineToPoint(c, 0, 6);
         CGContextClosePath(c);
         CGContextFillPath(c);
       },
       "++......" "#++....." "##++...." "####++.." "#####++." "######++"},
      {"a two-unit stroke centred on its rectangle's edges",
       [](CGContextRef c) { CGContextStrokeRectWithWidth(c, CGRectMake(1, 1, 6, 4), 2); },
       "########" "########" "##....##" "##....##" "########" "########"},
      {"butt and square caps",
       [](CGContextRef c) {
         CGContextSetLineWidth(c, 2);
         const CGPoint butt[] = {CGPointMake(2, 5), CGPointMake(6, 5)};
         CGContextStrokeLineSegments(c, butt, 2);
         CGContextSetLineCap(c, kCGLineCapSquare);
         const CGPoint square[] = {CGPointMake(2, 1), CGPointMake(6, 1)};
         CGContextStrokeLineSegments(c, square, 2);
       },
       "..####.." "..####.." "........" "........" ".######." ".######."},
      {"an ellipse: its middle full, its corners empty",
       [](CGContextRef c) { CGContextFillEllipseInRect(c, CGRectMake(0, 0, 8, 6)); },
       ".??????." "????????" "?######?" "?######?" "????????" ".??????."},
      {"a stroked ellipse is hollow",
       [](CGContextRef c) { CGContextStrokeEllipseInRect(c, CGRectMake(1, 1, 6, 4)); },
       "????????" "????????" "???..???" "???..???" "????????" "????????"},
      {"a line needs a current point; an empty path paints nothing",
       [](CGContextRef c) {
         CGContextAddLineToPoint(c, 8, 6);
         CGContextSetLineWidth(c, 4);
         CGContextStrokePath(c);
         CGContextFillPath(c);
       },
       "........" "........" "........" "........" "........" "........"},
  };
  for (const PathCase& pc : cases) {
    SCOPED_TRACE(pc.name);
    std::vector<uint8_t> alpha(8 * 6, 0);
    CGContextRef c = Pooled(CGBitmapContextCreate(alpha.data(), 8, 6, 8, 8, NULL, kCGImageAlphaOnly));
    ASSERT_TRUE(c != NULL);
    pc.draw(c);
    EXPECT_TRUE(CGContextIsPathEmpty(c));
    std::string got;
    for (uint8_t a : alpha) got += a == 255 ? '#' : a == 0 ? '.' : '+';
    for (size_t i = 0; i < got.size(); i++)
      if (pc.map[i] != '?' && pc.map[i] != got[i]) {
        ADD_FAILURE() << "at (" << i % 8 << ", " << i / 8 << "): " << got;
        break;
      }
  }
}

TEST_F(BitmapContext, TheStrokeColourAndWidthAreStateSavedAndRestored) {
  uint32_t pixels[4 * 4] = {0};
  CGColorSpaceRef space = Pooled(CGColorSpaceCreateDeviceRGB());
  CGContextRef c = Pooled(CGBitmapContextCreate(pixels, 4, 4, 8, 16, space,
                                                kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little));
  CGContextSetRGBFillColor(c, 1, 0, 0, 1);
  CGContextSaveGState(c);
  CGContextSetGrayStrokeColor(c, 0, 1);
  CGContextSetLineWidth(c, 8);
  CGContextRestoreGState(c);
  CGContextStrokeRect(c, CGRectMake(0, 0, 4, 4));  // one unit, black, centred on the edges
  EXPECT_EQ(pixels[1], 0x80000000u);               // half of an edge pixel, black
  EXPECT_EQ(pixels[5], 0u);                        // inside: untouched
  CGContextMoveToPoint(c, 0, 0);
  EXPECT_FALSE(CGContextIsPathEmpty(c));
  CGContextBeginPath(c);
  EXPECT_TRUE(CGContextIsPathEmpty(c));
}

}  // namespace
