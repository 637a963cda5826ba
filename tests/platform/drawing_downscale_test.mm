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

TEST_F(Downscale, HighQualityAveragesAFineCheckerboardWhereNearestNeighbourAliases) {
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

TEST_F(Downscale, ImageInterpolationHighOfAGraphicsContextDrivesNSImageDrawing) {
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
