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
    return NewRGBAImage(side, side, bytes);
  }

  /* Mean and spread of the red channel of a context. */
  static void Stats(CGContextRef context, double* mean, int* lowest, int* highest) {
    size_t w = CGBitmapContextGetWidth(context), h = CGBitmapContextGetHeight(context);
    double sum = 0;
    *lowest = 255;
    *highest = 0;
    for (size_t y = 0; y < h; y++)
      for (size_t x = 0; x < w; x++) {
        int v = PixelAt(context, x, y).r;
        sum += v;
        *lowest = std::min(*lowest, v);
        *highest = std::max(*highest, v);
      }
    *mean = sum / (w * h);
  }
};

TEST_F(Downscale, HighQualityAveragesAFineCheckerboardToMidGrey) {
  CGImageRef board = Checkerboard(256);
  CGContextRef context = NewARGBContext(32, 32);
  CGContextSetInterpolationQuality(context, kCGInterpolationHigh);
  CGContextDrawImage(context, CGRectMake(0, 0, 32, 32), board);
  double mean;
  int lowest, highest;
  Stats(context, &mean, &lowest, &highest);
  EXPECT_NEAR(mean, 127.5, 3);
  EXPECT_GE(lowest, 118) << "no dark aliasing";
  EXPECT_LE(highest, 137) << "no bright aliasing";
  CGContextRelease(context);
  CGImageRelease(board);
}

TEST_F(Downscale, NearestNeighbourAliasesWhichIsWhyHighMatters) {
  CGImageRef board = Checkerboard(256);
  CGContextRef context = NewARGBContext(32, 32);
  CGContextSetInterpolationQuality(context, kCGInterpolationNone);
  CGContextDrawImage(context, CGRectMake(0, 0, 32, 32), board);
  double mean;
  int lowest, highest;
  Stats(context, &mean, &lowest, &highest);
  EXPECT_TRUE(lowest < 20 || highest > 235) << "sampling one pixel in eight hits black or white";
  CGContextRelease(context);
  CGImageRelease(board);
}

TEST_F(Downscale, ImageInterpolationHighOfAGraphicsContextDrivesNSImageDrawing) {
  CGImageRef board = Checkerboard(128);
  NSImage* image = [[[NSImage alloc] initWithCGImage:board size:NSZeroSize] autorelease];
  CGImageRelease(board);
  ASSERT_TRUE(image != nil);
  EXPECT_EQ([image size].width, 128);
  CGContextRef port = NewARGBContext(16, 16);
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithGraphicsPort:port flipped:NO];
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:context];
  [context setImageInterpolation:NSImageInterpolationHigh];
  [image drawInRect:NSMakeRect(0, 0, 16, 16) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
  [NSGraphicsContext restoreGraphicsState];
  double mean;
  int lowest, highest;
  Stats(port, &mean, &lowest, &highest);
  EXPECT_NEAR(mean, 127.5, 3);
  EXPECT_GE(lowest, 118);
  EXPECT_LE(highest, 137);
  CGContextRelease(port);
}

}  // namespace
