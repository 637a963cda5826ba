/* Helpers of the drawing, Core Graphics and image tests: bitmap contexts in the host's
   native premultiplied ARGB layout, reading a pixel by its row from the top, and small
   images made from literal pixels. */
#ifndef QVR_TESTS_DRAWING_PIXELS_H
#define QVR_TESTS_DRAWING_PIXELS_H

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

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

/* A context whose memory is B, G, R, A bytes (premultiplied), transparent at first. */
inline CGContextRef NewARGBContext(size_t width, size_t height) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef context =
      CGBitmapContextCreate(NULL, width, height, 8, 0, space, kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little);
  CGColorSpaceRelease(space);
  return context;
}

/* The pixel x of memory row `row` (row 0 is the top) of a B, G, R, A context. */
inline RGBA PixelAt(CGContextRef context, size_t x, size_t row) {
  const uint8_t* data = (const uint8_t*)CGBitmapContextGetData(context);
  const uint8_t* p = data + row * CGBitmapContextGetBytesPerRow(context) + x * 4;
  return RGBA{p[2], p[1], p[0], p[3]};
}

inline void FillContext(CGContextRef context, CGFloat r, CGFloat g, CGFloat b, CGFloat a) {
  CGContextSaveGState(context);
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextSetRGBFillColor(context, r, g, b, a);
  CGContextFillRect(context, CGRectMake(0, 0, CGBitmapContextGetWidth(context), CGBitmapContextGetHeight(context)));
  CGContextRestoreGState(context);
}

/* An image from premultiplied R, G, B, A bytes, rows from the top. */
inline CGImageRef NewRGBAImage(size_t width, size_t height, const std::vector<uint8_t>& rgba) {
  NSData* bytes = [NSData dataWithBytes:rgba.data() length:rgba.size()];
  CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGImageRef image = CGImageCreate(width, height, 8, 32, width * 4, space, kCGImageAlphaPremultipliedLast, provider,
                                   NULL, true, kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  return image;
}

/* An autorelease pool for the length of a test. */
class PoolTest : public ::testing::Test {
 protected:
  void SetUp() override { pool_ = [[NSAutoreleasePool alloc] init]; }
  void TearDown() override { [pool_ drain]; }
  NSAutoreleasePool* pool_ = nil;
};

#endif
