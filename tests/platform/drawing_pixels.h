/* Helpers of the drawing, Core Graphics, image and codec tests: bitmap contexts in the
   host's native premultiplied ARGB layout, reading a pixel by its row from the top, small
   images made from literal pixels, bitmap representations of any layout, and drawing with
   a graphics context made current for the length of a block. */
#ifndef QVR_TESTS_DRAWING_PIXELS_H
#define QVR_TESTS_DRAWING_PIXELS_H

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <math.h>
#include <stdint.h>
#include <vector>

struct RGBA {
  int r, g, b, a;
  bool operator==(const RGBA& o) const { return r == o.r && g == o.g && b == o.b && a == o.a; }
};

inline std::ostream& operator<<(std::ostream& out, const RGBA& p) {
  return out << "(" << p.r << ", " << p.g << ", " << p.b << ", " << p.a << ")";
}

/* Each component within tolerance of the expected one. */
inline ::testing::AssertionResult Near(const RGBA& actual, const RGBA& expected, int tolerance = 2) {
  if (abs(actual.r - expected.r) <= tolerance && abs(actual.g - expected.g) <= tolerance &&
      abs(actual.b - expected.b) <= tolerance && abs(actual.a - expected.a) <= tolerance)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << actual << " is not near " << expected;
}

/* Core Graphics objects are platform objects here: handed to the test's autorelease pool,
   they need no release call of their own. */
template <class T>
inline T Pooled(T object) {
  if (object) [(id)(void*)object autorelease];
  return object;
}

/* A context whose memory is B, G, R, A bytes (premultiplied), transparent at first;
   autoreleased. */
inline CGContextRef ARGBContext(size_t width, size_t height) {
  return Pooled(CGBitmapContextCreate(NULL, width, height, 8, 0, Pooled(CGColorSpaceCreateDeviceRGB()),
                                      kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little));
}

/* The pixel x of memory row `row` (row 0 is the top) of a B, G, R, A context. */
inline RGBA PixelAt(CGContextRef context, size_t x, size_t row) {
  const uint8_t* data = (const uint8_t*)CGBitmapContextGetData(context);
  const uint8_t* p = data + row * CGBitmapContextGetBytesPerRow(context) + x * 4;
  return RGBA{p[2], p[1], p[0], p[3]};
}

/* Pixels of a B, G, R, A context at (x, memory row) against their expected colours, each
   within the tolerance of the call or its own. */
struct Probe {
  size_t x, row;
  RGBA colour;
  int tolerance = -1;
};
inline void ExpectPixels(CGContextRef context, std::initializer_list<Probe> probes, int tolerance = 0) {
  for (const Probe& p : probes)
    EXPECT_TRUE(Near(PixelAt(context, p.x, p.row), p.colour, p.tolerance < 0 ? tolerance : p.tolerance))
        << "at " << p.x << ", " << p.row;
}

inline void FillContext(CGContextRef context, CGFloat r, CGFloat g, CGFloat b, CGFloat a) {
  CGContextSaveGState(context);
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextSetRGBFillColor(context, r, g, b, a);
  CGContextFillRect(context, CGRectMake(0, 0, CGBitmapContextGetWidth(context), CGBitmapContextGetHeight(context)));
  CGContextRestoreGState(context);
}

/* An image of bytes laid out as given, rows from the top (rows packed unless rowBytes is given); autoreleased. */
inline CGImageRef ImageOf(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                          CGColorSpaceRef space, CGBitmapInfo info, const std::vector<uint8_t>& bytes, size_t rowBytes = 0) {
  NSData* data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  return Pooled(CGImageCreate(width, height, bitsPerComponent, bitsPerPixel, rowBytes ? rowBytes : width * bitsPerPixel / 8,
                              Pooled(space), info,
                              Pooled(CGDataProviderCreateWithCFData((CFDataRef)(void*)data)), NULL, true,
                              kCGRenderingIntentDefault));
}
/* An image from premultiplied R, G, B, A bytes, rows from the top; autoreleased. */
inline CGImageRef RGBAImage(size_t width, size_t height, const std::vector<uint8_t>& rgba) {
  return ImageOf(width, height, 8, 32, CGColorSpaceCreateDeviceRGB(), kCGImageAlphaPremultipliedLast, rgba);
}

/* A representation of any documented layout with memory of its own (planes NULL) or the
   caller's, autoreleased; nil where the layout is refused. */
inline NSBitmapImageRep* NewBitmap(NSInteger w, NSInteger h, NSInteger bps, NSInteger spp, BOOL alpha, NSString* space,
                                   NSBitmapFormat format = 0, BOOL planar = NO, NSInteger row = 0, NSInteger pixel = 0,
                                   unsigned char** planes = NULL) {
  return [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:planes pixelsWide:w pixelsHigh:h bitsPerSample:bps
                                             samplesPerPixel:spp hasAlpha:alpha isPlanar:planar colorSpaceName:space
                                                bitmapFormat:format bytesPerRow:row bitsPerPixel:pixel] autorelease];
}

/* Runs draw() with context current, then brings the previous context back. */
template <class Draw>
inline void DrawIn(NSGraphicsContext* context, Draw draw) {
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:context];
  draw();
  [NSGraphicsContext restoreGraphicsState];
}
inline NSGraphicsContext* ContextOf(CGContextRef port, BOOL flipped = NO) {
  return [NSGraphicsContext graphicsContextWithGraphicsPort:port flipped:flipped];
}

/* A representation's pixel as calibrated RGB, 0 to 255, row 0 at the top. */
inline RGBA ColourAt(NSBitmapImageRep* rep, NSInteger x, NSInteger row) {
  NSColor* c = [[rep colorAtX:x y:row] colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
  return RGBA{(int)lround([c redComponent] * 255), (int)lround([c greenComponent] * 255),
              (int)lround([c blueComponent] * 255), (int)lround([c alphaComponent] * 255)};
}

/* An autorelease pool for the length of a test. */
class PoolTest : public ::testing::Test {
 protected:
  void SetUp() override { pool_ = [[NSAutoreleasePool alloc] init]; }
  void TearDown() override { [pool_ drain]; }
  NSAutoreleasePool* pool_ = nil;
};

#endif
