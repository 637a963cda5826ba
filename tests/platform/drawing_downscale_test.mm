/* High-quality downscaling: a one-pixel checkerboard shrunk eight times with
   interpolation High (AppKit's NSImageInterpolationHigh) averages to an even mid grey,
   where nearest-neighbour sampling aliases into black or white. */
#import "drawing_pixels.h"

namespace {

class Downscale : public PoolTest {
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

  /* Mean and spread of the red channel of a context. */
  struct Spread {
    double mean = 0;
    int lowest = 255, highest = 0;
  };
  static Spread Stats(CGContextRef context) {
    size_t w = CGBitmapContextGetWidth(context), h = CGBitmapContextGetHeight(context);
    Spread out;
    for (size_t y = 0; y < h; y++)
      for (size_t x = 0; x < w; x++) {
        int v = PixelAt(context, x, y).r;
        out.mean += v;
        out.lowest = std::min(out.lowest, v);
        out.highest = std::max(out.highest, v);
      }
    out.mean /= double(w * h);
    return out;
  }
};

TEST_F(Downscale, HighQualityAveragesAFineCheckerboardWhereNearestNeighbourAliases) {
  CGImageRef board = Checkerboard(256);
  for (CGInterpolationQuality quality : {kCGInterpolationHigh, kCGInterpolationNone}) {
    SCOPED_TRACE(quality);
    CGContextRef context = ARGBContext(32, 32);
    CGContextSetInterpolationQuality(context, quality);
    CGContextDrawImage(context, CGRectMake(0, 0, 32, 32), board);
    Spread spread = Stats(context);
    if (quality == kCGInterpolationNone) {
      EXPECT_TRUE(spread.lowest < 20 || spread.highest > 235) << "sampling one pixel in eight hits black or white";
      continue;
    }
    EXPECT_NEAR(spread.mean, 127.5, 3);
    EXPECT_GE(spread.lowest, 118) << "no dark aliasing";
    EXPECT_LE(spread.highest, 137) << "no bright aliasing";
  }
}

TEST_F(Downscale, ImageInterpolationHighOfAGraphicsContextDrivesNSImageDrawing) {
  NSImage* image = [[[NSImage alloc] initWithCGImage:Checkerboard(128) size:NSZeroSize] autorelease];
  ASSERT_TRUE(image != nil);
  EXPECT_EQ([image size].width, 128);
  CGContextRef port = ARGBContext(16, 16);
  NSGraphicsContext* context = ContextOf(port);
  DrawIn(context, [&] {
    [context setImageInterpolation:NSImageInterpolationHigh];
    [image drawInRect:NSMakeRect(0, 0, 16, 16) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
  });
  Spread spread = Stats(port);
  EXPECT_NEAR(spread.mean, 127.5, 3);
  EXPECT_GE(spread.lowest, 118);
  EXPECT_LE(spread.highest, 137);
}

}  // namespace
