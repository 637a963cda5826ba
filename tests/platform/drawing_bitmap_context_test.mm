/* Graphics contexts over bitmap representations of every meshed 8-bit layout (RGB with
   and without alpha, alpha first, straight alpha, grey with and without alpha): drawing
   lands in the representation's own pixels, upright, and layouts that cannot be drawn
   into give no context. */
#import "drawing_pixels.h"

namespace {

class BitmapRepContext : public PoolTest {
 protected:
  static NSBitmapImageRep* Rep(NSInteger spp, BOOL alpha, NSString* space, NSBitmapFormat format) {
    return NewBitmap(3, 2, 8, spp, alpha, space, format);
  }

  /* Fills the bottom-left pixel with orange at alpha 0.5 (copy) and the top-right one
     with opaque blue, through AppKit. */
  static void Paint(NSBitmapImageRep* rep) {
    NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:rep];
    ASSERT_TRUE(context != nil);
    DrawIn(context, [] {
      [[NSColor colorWithCalibratedRed:1 green:0.5 blue:0 alpha:0.5] set];
      NSRectFill(NSMakeRect(0, 0, 1, 1));
      [[NSColor blueColor] set];
      NSRectFill(NSMakeRect(2, 1, 1, 1));
    });
  }
};

TEST_F(BitmapRepContext, RGBWithAlphaInEveryArrangement) {
  const NSBitmapFormat formats[] = {0, NSAlphaFirstBitmapFormat, NSAlphaNonpremultipliedBitmapFormat,
                                    NSAlphaFirstBitmapFormat | NSAlphaNonpremultipliedBitmapFormat};
  for (NSBitmapFormat format : formats) {
    SCOPED_TRACE(format);
    NSBitmapImageRep* rep = Rep(4, YES, NSCalibratedRGBColorSpace, format);
    Paint(rep);
    EXPECT_TRUE(Near(ColourAt(rep, 0, 1), RGBA{255, 128, 0, 128}, 3)) << "bottom-left is the last row";
    EXPECT_TRUE(Near(ColourAt(rep, 2, 0), RGBA{0, 0, 255, 255}, 1));
    EXPECT_EQ(ColourAt(rep, 1, 0).a, 0);
  }
}

TEST_F(BitmapRepContext, RGBAndGreyWithoutAlphaAndGreyWithAlpha) {
  NSBitmapImageRep* rgb = Rep(3, NO, NSDeviceRGBColorSpace, 0);
  Paint(rgb);
  EXPECT_TRUE(Near(ColourAt(rgb, 0, 1), RGBA{128, 64, 0, 255}, 2)) << "no alpha to keep: premultiplied over black";
  EXPECT_TRUE(Near(ColourAt(rgb, 2, 0), RGBA{0, 0, 255, 255}, 1));

  NSBitmapImageRep* grey = Rep(1, NO, NSCalibratedWhiteColorSpace, 0);
  Paint(grey);
  EXPECT_TRUE(Near(ColourAt(grey, 2, 0), RGBA{29, 29, 29, 255}, 2)) << "blue's luminance";

  NSBitmapImageRep* greyAlpha = Rep(2, YES, NSDeviceWhiteColorSpace, 0);
  Paint(greyAlpha);
  EXPECT_EQ(ColourAt(greyAlpha, 2, 0).a, 255);
  EXPECT_TRUE(Near(ColourAt(greyAlpha, 0, 1), RGBA{153, 153, 153, 128}, 3));
}

TEST_F(BitmapRepContext, LayoutsThatCannotBeDrawnIntoGiveNoContext) {
  NSBitmapImageRep* wide = NewBitmap(2, 2, 16, 4, YES, NSCalibratedRGBColorSpace);
  NSBitmapImageRep* planar = NewBitmap(2, 2, 8, 3, NO, NSCalibratedRGBColorSpace, 0, YES);
  ASSERT_TRUE(wide != nil && planar != nil);
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithBitmapImageRep:wide] == nil);
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithBitmapImageRep:planar] == nil);
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithBitmapImageRep:nil] == nil);
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)@"text"] == nil);
}

TEST_F(BitmapRepContext, ContextNamesItsRepresentation) {
  NSBitmapImageRep* rep = Rep(4, YES, NSCalibratedRGBColorSpace, 0);
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:rep];
  EXPECT_EQ([[context attributes] objectForKey:NSGraphicsContextDestinationAttributeName], rep);
  EXPECT_FALSE([context isFlipped]);
  EXPECT_FALSE([context isDrawingToScreen]);
  EXPECT_EQ(CGBitmapContextGetData((CGContextRef)[context graphicsPort]), (void*)[rep bitmapData]);
}

}  // namespace
