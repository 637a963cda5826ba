/* Compositing through AppKit: an image drawn into a graphics context with copy and
   source-over over partial alpha, at fraction 0.25, into flipped contexts, and the other
   operations with their Porter-Duff results; NSRectFill and colours; the current context
   and its saved states. */
#import "drawing_pixels.h"

namespace {

class Compositing : public PoolTest {
 protected:
  /* A 2 x 2 image of one premultiplied colour. */
  NSImage* Solid(int r, int g, int b, int a) {
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 4; i++) bytes.insert(bytes.end(), {(uint8_t)r, (uint8_t)g, (uint8_t)b, (uint8_t)a});
    return [[[NSImage alloc] initWithCGImage:RGBAImage(2, 2, bytes) size:NSMakeSize(2, 2)] autorelease];
  }

  /* Draws image over a context holding `under` (straight colour) everywhere and answers
     one pixel (premultiplied). */
  RGBA Composite(NSImage* image, RGBA under, NSCompositingOperation op, CGFloat fraction) {
    CGContextRef port = ARGBContext(2, 2);
    FillContext(port, under.r / 255.0, under.g / 255.0, under.b / 255.0, under.a / 255.0);
    DrawIn(ContextOf(port), [&] { [image drawInRect:NSMakeRect(0, 0, 2, 2) fromRect:NSZeroRect operation:op fraction:fraction]; });
    return PixelAt(port, 1, 1);
  }
};

/* Copy replaces and source over blends; the fraction is the opacity of the source (copy at
   a fraction: the destination becomes the faded source); the other operations give their
   textbook Porter-Duff results. Sources are premultiplied, destinations straight. */
TEST_F(Compositing, OperationsAndFractionsGiveTheirTextbookResults) {
  NSImage *halfRed = Solid(128, 0, 0, 128), *red = Solid(255, 0, 0, 255), *halfGreen = Solid(0, 128, 0, 128);
  const RGBA blue = {0, 0, 255, 255}, halfBlue = {0, 0, 255, 128};
  EXPECT_EQ(Composite(red, halfBlue, NSCompositeClear, 1), (RGBA{0, 0, 0, 0}));
  const struct {
    NSImage* image;
    RGBA under;
    NSCompositingOperation operation;
    CGFloat fraction;
    RGBA expected;
  } cases[] = {
      {halfRed, blue, NSCompositeCopy, 1, {128, 0, 0, 128}},
      {halfRed, blue, NSCompositeSourceOver, 1, {128, 0, 127, 255}},
      {red, blue, NSCompositeSourceOver, 0.25, {64, 0, 191, 255}},
      {red, blue, NSCompositeCopy, 0.25, {64, 0, 0, 64}},
      {red, blue, NSCompositeSourceOver, 0, blue},
      {red, halfBlue, NSCompositeSourceIn, 1, {128, 0, 0, 128}},
      {red, halfBlue, NSCompositeSourceOut, 1, {127, 0, 0, 127}},
      {red, halfBlue, NSCompositeSourceAtop, 1, {128, 0, 0, 128}},
      {halfGreen, halfBlue, NSCompositeDestinationOver, 1, {0, 64, 128, 192}},
      {halfGreen, halfBlue, NSCompositeDestinationIn, 1, {0, 0, 64, 64}},
      {halfGreen, halfBlue, NSCompositeDestinationOut, 1, {0, 0, 64, 64}},
      {halfGreen, halfBlue, NSCompositeXOR, 1, {0, 64, 64, 128}},
      {halfGreen, halfBlue, NSCompositePlusLighter, 1, {0, 128, 128, 255}},
  };
  for (const auto& c : cases)
    EXPECT_TRUE(Near(Composite(c.image, c.under, c.operation, c.fraction), c.expected))
        << "operation " << c.operation << " at " << c.fraction;
}

TEST_F(Compositing, FlippedContextsShowImagesUpsideDownUnlessRespected) {
  /* Red over blue: red is the top row. */
  NSImage* image = [[[NSImage alloc] initWithCGImage:RGBAImage(1, 2, {255, 0, 0, 255, 0, 0, 255, 255})
                                                 size:NSMakeSize(1, 2)] autorelease];
  CGContextRef port = ARGBContext(2, 2);
  /* A flipped context: the drawing code's y runs down from the top. */
  CGContextTranslateCTM(port, 0, 2);
  CGContextScaleCTM(port, 1, -1);
  DrawIn(ContextOf(port, YES), [&] {
    [image drawInRect:NSMakeRect(0, 0, 1, 2) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
    [image drawInRect:NSMakeRect(1, 0, 1, 2) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1 respectFlipped:YES
                hints:nil];
  });
  /* Plain drawing: upside down (column 0); respecting the flip: upright (column 1). */
  ExpectPixels(port, {{0, 0, {0, 0, 255, 255}}, {0, 1, {255, 0, 0, 255}}, {1, 0, {255, 0, 0, 255}}, {1, 1, {0, 0, 255, 255}}});
}

TEST_F(Compositing, RectFillCopiesTheCurrentColourAndOperationsFollowTheContext) {
  CGContextRef port = ARGBContext(4, 1);
  FillContext(port, 0, 0, 1, 1);
  NSGraphicsContext* context = ContextOf(port);
  DrawIn(context, [&] {
    [[NSColor colorWithCalibratedRed:1 green:0 blue:0 alpha:0.5] set];
    NSRectFill(NSMakeRect(0, 0, 1, 1));
    NSRectFillUsingOperation(NSMakeRect(1, 0, 1, 1), NSCompositeSourceOver);
    [[NSColor whiteColor] setFill];
    NSRectFill(NSMakeRect(2, 0, 1, 1));
    [context setCompositingOperation:NSCompositeDestinationOver];
    EXPECT_EQ([context compositingOperation], (NSCompositingOperation)NSCompositeDestinationOver);
    EXPECT_EQ(CGContextGetBlendMode(port), kCGBlendModeDestinationOver);
    [context setImageInterpolation:NSImageInterpolationHigh];
    EXPECT_EQ(CGContextGetInterpolationQuality(port), kCGInterpolationHigh);
  });
  ExpectPixels(port, {{0, 0, {128, 0, 0, 128}}, {1, 0, {128, 0, 127, 255}}}, 2);
  ExpectPixels(port, {{2, 0, {255, 255, 255, 255}}, {3, 0, {0, 0, 255, 255}}});
}

TEST_F(Compositing, CurrentContextIsPerThreadAndClassLevelSavesBringItBack) {
  EXPECT_TRUE([NSGraphicsContext currentContext] == nil);
  CGContextRef b = ARGBContext(1, 1);
  NSGraphicsContext *first = ContextOf(ARGBContext(1, 1)), *second = ContextOf(b);
  [NSGraphicsContext setCurrentContext:first];
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:second];
  EXPECT_EQ([NSGraphicsContext currentContext], second);
  EXPECT_EQ([second graphicsPort], (void*)b);
  [NSGraphicsContext restoreGraphicsState];
  EXPECT_EQ([NSGraphicsContext currentContext], first);
  [NSGraphicsContext setCurrentContext:nil];
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithGraphicsPort:NULL flipped:NO] == nil);
  NSString* notAContext = @"not a context";
  EXPECT_TRUE([NSGraphicsContext graphicsContextWithGraphicsPort:(void*)notAContext flipped:NO] == nil);
}

TEST_F(Compositing, ColoursConvertBetweenWhiteAndRGB) {
  NSColor* grey = [NSColor colorWithCalibratedWhite:0.25 alpha:0.5];
  NSColor* rgb = [grey colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
  EXPECT_DOUBLE_EQ([rgb redComponent], 0.25);
  EXPECT_DOUBLE_EQ([rgb alphaComponent], 0.5);
  EXPECT_TRUE([grey colorUsingColorSpaceName:NSDeviceCMYKColorSpace] == nil);
  EXPECT_DOUBLE_EQ([[NSColor clearColor] alphaComponent], 0);
  EXPECT_DOUBLE_EQ([[NSColor colorWithDeviceRed:2 green:-1 blue:0.5 alpha:1] redComponent], 1) << "clamped";
  CGColorRef cg = [[NSColor redColor] CGColor];
  EXPECT_EQ(CGColorGetNumberOfComponents(cg), 4u);
  EXPECT_EQ([[NSColorSpace deviceRGBColorSpace] colorSpaceModel], NSRGBColorSpaceModel);
  EXPECT_EQ(CGColorSpaceGetModel([[NSColorSpace deviceGrayColorSpace] CGColorSpace]), kCGColorSpaceModelMonochrome);
}

}  // namespace
