/* Bitmap representations and images meeting Core Graphics and the graphics context: CGImage
   of the pixels and a representation drawn from a CGImage; images and representations drawn
   into the current context with every compositing operation, a fraction, a source rectangle
   and flipped contexts; NSRectFill and colours; the current context and its saved states;
   colour space tags and conversions; and graphics contexts over representations of every
   meshed 8-bit layout (RGB with and without alpha, alpha first, straight alpha, grey with
   and without alpha), and the layouts that give none. */
#import "platform/codec_support.h"

namespace {

class BitmapCoreGraphics : public CodecTest {};

// An RGBA canvas (premultiplied) made current for the duration of a drawing.
NSBitmapImageRep* Canvas(int w, int h) { return NewBitmap(w, h, 8, 4, YES, NSCalibratedRGBColorSpace); }

// A canvas pixel's stored (premultiplied) samples.
RGBA Premultiplied(NSBitmapImageRep* canvas, NSInteger x, NSInteger y) {
  const S p = Samples(canvas, x, y);
  return RGBA{int(p[0]), int(p[1]), int(p[2]), int(p[3])};
}

template <typename Draw>
void DrawInto(NSBitmapImageRep* canvas, BOOL flipped, Draw draw) {
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:canvas];
  ASSERT_NE(context, nil);
  if (flipped) {
    context = [NSGraphicsContext graphicsContextWithCGContext:[context CGContext] flipped:YES];
    CGContextTranslateCTM([context CGContext], 0, [canvas pixelsHigh]);
    CGContextScaleCTM([context CGContext], 1, -1);
  }
  DrawIn(context, draw);
}

/* A 2 x 2 source of one colour (premultiplied) drawn over a destination holding `under`
   (straight) everywhere: as an NSImage into a Core Graphics context, and as a bitmap
   representation (straight alpha; an opaque one without alpha) into a canvas of its own.
   The pixel each leaves, premultiplied. */
std::pair<RGBA, RGBA> Composite(RGBA source, RGBA under, NSCompositingOperation op, CGFloat fraction) {
  std::vector<uint8_t> bytes;
  TestPicture straight{2, 2, source.a == 255 ? 3 : 4, {}};
  for (int i = 0; i < 4; i++) {
    bytes.insert(bytes.end(), {uint8_t(source.r), uint8_t(source.g), uint8_t(source.b), uint8_t(source.a)});
    for (int c : {source.r, source.g, source.b}) straight.pixels.push_back(uint8_t(source.a ? c * 255 / source.a : 0));
    if (straight.samples == 4) straight.pixels.push_back(uint8_t(source.a));
  }
  NSImage* image = [[[NSImage alloc] initWithCGImage:RGBAImage(2, 2, bytes) size:NSMakeSize(2, 2)] autorelease];
  CGContextRef port = ARGBContext(2, 2);
  NSBitmapImageRep* canvas = Canvas(2, 2);
  FillContext(port, under.r / 255.0, under.g / 255.0, under.b / 255.0, under.a / 255.0);
  DrawIn(ContextOf(port), [&] {
    [image drawInRect:NSMakeRect(0, 0, 2, 2) fromRect:NSZeroRect operation:op fraction:fraction];
  });
  DrawInto(canvas, NO, [&] {
    FillContext([[NSGraphicsContext currentContext] CGContext], under.r / 255.0, under.g / 255.0, under.b / 255.0,
                under.a / 255.0);
    EXPECT_TRUE([MakeRep(straight) drawInRect:NSMakeRect(0, 0, 2, 2) fromRect:NSZeroRect operation:op fraction:fraction
                               respectFlipped:NO hints:nil]);
  });
  return {PixelAt(port, 1, 1), Premultiplied(canvas, 1, 1)};
}

// A CGImage of RGBA, grey and 16-bit pixels, and representations made from it.
TEST_F(BitmapCoreGraphics, CGImageHoldsThePixels) {
  NSBitmapImageRep* rep = MakeRep(MakeTestPicture(21, 13, 4));
  CGImageRef image = [rep CGImage];
  ASSERT_NE(image, nullptr);
  EXPECT_EQ((std::vector<size_t>{CGImageGetWidth(image), CGImageGetHeight(image)}), (std::vector<size_t>{21, 13}));
  EXPECT_EQ([rep CGImage], image);  // kept while the pixels stay as they are
  NSBitmapImageRep* back = [[[NSBitmapImageRep alloc] initWithCGImage:image] autorelease];
  EXPECT_TRUE([back hasAlpha]);
  for (int y = 0; y < 13; ++y)
    for (int x = 0; x < 21; ++x) {
      NSColor* a = [rep colorAtX:x y:y];
      NSColor* b = [back colorAtX:x y:y];
      if ([a alphaComponent] < 0.1) continue;  // premultiplying loses colour of nearly clear pixels
      ASSERT_NEAR([a redComponent], [b redComponent], 0.05) << x << "," << y;
      ASSERT_NEAR([a alphaComponent], [b alphaComponent], 0.01);
    }
  // Writing the pixels afterwards gives a new image; the first still shows the old ones.
  CGImageRetain(image);
  [rep bitmapData][0] = 1;
  EXPECT_NE([rep CGImage], image);
  CGImageRelease(image);

  NSBitmapImageRep* grey = MakeRep(MakeTestPicture(8, 8, 1));
  NSBitmapImageRep* greyBack = [[[NSBitmapImageRep alloc] initWithCGImage:[grey CGImage]] autorelease];
  EXPECT_EQ(MaxDifference(ReadRep(greyBack), ReadRep(grey)), 0);  // one sample, as it was
  NSBitmapImageRep* deep = NewBitmap(3, 1, 16, 3, NO, NSCalibratedRGBColorSpace);
  NSUInteger p[3] = {65535, 0, 32896};
  [deep setPixel:p atX:2 y:0];
  EXPECT_EQ(Samples([[[NSBitmapImageRep alloc] initWithCGImage:[deep CGImage]] autorelease], 2, 0), (S{255, 0, 128}));
}

TEST_F(BitmapCoreGraphics, DrawsUprightAndPartsOfItself) {
  // Top half red, bottom half green.
  TestPicture halves{4, 4, 3, {}};
  for (int y = 0; y < 4; ++y)
    for (int x = 0; x < 4; ++x) halves.pixels.insert(halves.pixels.end(), {uint8_t(y < 2 ? 255 : 0), uint8_t(y < 2 ? 0 : 255), 0});
  NSBitmapImageRep* source = MakeRep(halves);
  for (BOOL flipped : {NO, YES}) {
    NSBitmapImageRep* canvas = Canvas(4, 4);
    DrawInto(canvas, flipped, [&] {
      [source drawInRect:NSMakeRect(0, 0, 4, 4) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1
          respectFlipped:YES hints:nil];
    });
    EXPECT_EQ(std::pair(Premultiplied(canvas, 0, 0), Premultiplied(canvas, 0, 3)),
              std::pair(RGBA{255, 0, 0, 255}, RGBA{0, 255, 0, 255})) << "flipped " << int(flipped);  // red on top
  }
  // The bottom half alone (source rectangles have their origin at the bottom-left).
  NSBitmapImageRep* canvas = Canvas(4, 4);
  DrawInto(canvas, NO, [&] {
    [source drawInRect:NSMakeRect(0, 0, 4, 4) fromRect:NSMakeRect(0, 0, 4, 2) operation:NSCompositeCopy fraction:1
        respectFlipped:NO hints:nil];
  });
  EXPECT_EQ(Premultiplied(canvas, 2, 0), (RGBA{0, 255, 0, 255}));
  // draw and drawAtPoint: use the rep's own size.
  NSBitmapImageRep* placed = Canvas(8, 8);
  DrawInto(placed, NO, [&] { EXPECT_TRUE([source drawAtPoint:NSMakePoint(4, 0)]); });
  // The bottom-right quarter's lowest row is green, the bottom-left quarter empty.
  EXPECT_EQ(std::pair(Premultiplied(placed, 5, 7), Premultiplied(placed, 1, 7).a), std::pair(RGBA{0, 255, 0, 255}, 0));
}

TEST_F(BitmapCoreGraphics, ColourSpacesTagsAndConversions) {
  NSBitmapImageRep* rgb = MakeRep(MakeTestPicture(6, 6, 3));
  EXPECT_EQ([[rgb colorSpace] colorSpaceModel], NSRGBColorSpaceModel);
  NSBitmapImageRep* tagged = [rgb bitmapImageRepByRetaggingWithColorSpace:[NSColorSpace sRGBColorSpace]];
  EXPECT_EQ([tagged colorSpace], [NSColorSpace sRGBColorSpace]);
  EXPECT_EQ(MaxDifference(ReadRep(tagged), ReadRep(rgb)), 0);
  EXPECT_EQ([rgb bitmapImageRepByRetaggingWithColorSpace:[NSColorSpace deviceGrayColorSpace]], nil);
  NSBitmapImageRep* grey = [rgb bitmapImageRepByConvertingToColorSpace:[NSColorSpace genericGrayColorSpace]
                                                       renderingIntent:NSColorRenderingIntentDefault];
  EXPECT_EQ([grey samplesPerPixel], 1);
  NSUInteger rgbPixel[3], greyPixel[1];
  [rgb getPixel:rgbPixel atX:3 y:2];
  [grey getPixel:greyPixel atX:3 y:2];
  EXPECT_NEAR(double(greyPixel[0]), 0.299 * rgbPixel[0] + 0.587 * rgbPixel[1] + 0.114 * rgbPixel[2], 1.0);
  NSBitmapImageRep* again = [grey bitmapImageRepByConvertingToColorSpace:[NSColorSpace genericRGBColorSpace]
                                                         renderingIntent:NSColorRenderingIntentPerceptual];
  ASSERT_NE(again, nil);
  [again getPixel:rgbPixel atX:3 y:2];
  EXPECT_EQ(std::pair(rgbPixel[0], rgbPixel[2]), std::pair(greyPixel[0], greyPixel[0]));
}

/* Graphics contexts over representations of every meshed 8-bit layout: orange at alpha 0.5
   copied into the bottom-left pixel and opaque blue into the top-right one land in the
   representation's own pixels, upright. */
TEST_F(BitmapCoreGraphics, ContextsOverEveryMeshedLayoutDrawIntoItsPixels) {
  const std::vector<Probe> rgba = {{0, 1, {255, 128, 0, 128}}, {2, 0, {0, 0, 255, 255}}, {1, 0, {0, 0, 0, 0}}};
  const struct {
    NSInteger samples;
    BOOL alpha;
    NSString* space;
    NSBitmapFormat format;
    std::vector<Probe> probes;
    int tolerance;
  } cases[] = {
      {4, YES, NSCalibratedRGBColorSpace, 0, rgba, 3},
      {4, YES, NSCalibratedRGBColorSpace, NSAlphaFirstBitmapFormat, rgba, 3},
      {4, YES, NSCalibratedRGBColorSpace, NSAlphaNonpremultipliedBitmapFormat, rgba, 3},
      {4, YES, NSCalibratedRGBColorSpace, NSAlphaFirstBitmapFormat | NSAlphaNonpremultipliedBitmapFormat, rgba, 3},
      // No alpha to keep: premultiplied over black.
      {3, NO, NSDeviceRGBColorSpace, 0, {{0, 1, {128, 64, 0, 255}}, {2, 0, {0, 0, 255, 255}}}, 2},
      {1, NO, NSCalibratedWhiteColorSpace, 0, {{2, 0, {29, 29, 29, 255}}}, 2},  // blue's luminance
      {2, YES, NSDeviceWhiteColorSpace, 0, {{2, 0, {29, 29, 29, 255}}, {0, 1, {153, 153, 153, 128}}}, 3},
  };
  for (const auto& c : cases) {
    NSBitmapImageRep* rep = NewBitmap(3, 2, 8, c.samples, c.alpha, c.space, c.format);
    DrawInto(rep, NO, [] {
      [[NSColor colorWithCalibratedRed:1 green:0.5 blue:0 alpha:0.5] set];
      NSRectFill(NSMakeRect(0, 0, 1, 1));
      [[NSColor blueColor] set];
      NSRectFill(NSMakeRect(2, 1, 1, 1));
    });
    for (const Probe& p : c.probes)
      EXPECT_TRUE(Near(ColourAt(rep, p.x, p.row), p.colour, c.tolerance))
          << c.samples << " samples, format " << c.format << ", at " << p.x << ", " << p.row;
  }
  // The context names its representation and draws into its memory.
  NSBitmapImageRep* rep = Canvas(3, 2);
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:rep];
  EXPECT_EQ([[context attributes] objectForKey:NSGraphicsContextDestinationAttributeName], rep);
  EXPECT_FALSE([context isFlipped] || [context isDrawingToScreen]);
  EXPECT_EQ(CGBitmapContextGetData((CGContextRef)[context graphicsPort]), (void*)[rep bitmapData]);
  // Layouts that cannot be drawn into give no context.
  NSBitmapImageRep* refused[] = {NewBitmap(2, 2, 16, 4, YES, NSCalibratedRGBColorSpace),
                                 NewBitmap(2, 2, 8, 3, NO, NSCalibratedRGBColorSpace, 0, YES), nil,
                                 (NSBitmapImageRep*)@"text"};  // 16 bits, planar, nil, not a representation
  ASSERT_TRUE(refused[0] != nil && refused[1] != nil);
  for (NSBitmapImageRep* r : refused) EXPECT_TRUE([NSGraphicsContext graphicsContextWithBitmapImageRep:r] == nil) << r;
}

/* Copy replaces and source over blends; the fraction is the opacity of the source (copy at
   a fraction: the destination becomes the faded source); the other operations give their
   textbook Porter-Duff results; alike for images and bitmap representations. */
TEST_F(BitmapCoreGraphics, OperationsAndFractionsGiveTheirTextbookResults) {
  const RGBA halfRed = {128, 0, 0, 128}, red = {255, 0, 0, 255}, halfGreen = {0, 128, 0, 128};
  const RGBA blue = {0, 0, 255, 255}, halfBlue = {0, 0, 255, 128};
  EXPECT_EQ(Composite(red, halfBlue, NSCompositeClear, 1), std::pair(RGBA{0, 0, 0, 0}, RGBA{0, 0, 0, 0}));
  const struct {
    RGBA source;
    RGBA under;
    NSCompositingOperation operation;
    CGFloat fraction;
    RGBA expected;
  } cases[] = {
      {halfRed, blue, NSCompositeCopy, 1, {128, 0, 0, 128}},
      {halfRed, blue, NSCompositeSourceOver, 1, {128, 0, 127, 255}},
      {red, blue, NSCompositeSourceOver, 0.25, {64, 0, 191, 255}}, {red, blue, NSCompositeCopy, 0.25, {64, 0, 0, 64}},
      {red, blue, NSCompositeSourceOver, 0, blue}, {red, {0, 0, 0, 0}, NSCompositeSourceOver, 0.25, {64, 0, 0, 64}},
      {red, halfBlue, NSCompositeSourceIn, 1, {128, 0, 0, 128}},
      {red, halfBlue, NSCompositeSourceOut, 1, {127, 0, 0, 127}},
      {red, halfBlue, NSCompositeSourceAtop, 1, {128, 0, 0, 128}},
      {halfGreen, halfBlue, NSCompositeDestinationOver, 1, {0, 64, 128, 192}},
      {halfGreen, halfBlue, NSCompositeDestinationIn, 1, {0, 0, 64, 64}},
      {halfGreen, halfBlue, NSCompositeDestinationOut, 1, {0, 0, 64, 64}},
      {halfGreen, halfBlue, NSCompositeXOR, 1, {0, 64, 64, 128}},
      {halfGreen, halfBlue, NSCompositePlusLighter, 1, {0, 128, 128, 255}},
  };
  for (const auto& c : cases) {
    const auto [image, rep] = Composite(c.source, c.under, c.operation, c.fraction);
    EXPECT_TRUE(Near(image, c.expected)) << "an image, operation " << c.operation << " at " << c.fraction;
    EXPECT_TRUE(Near(rep, c.expected)) << "a representation, operation " << c.operation << " at " << c.fraction;
  }
}

TEST_F(BitmapCoreGraphics, FlippedContextsShowImagesUpsideDownUnlessRespected) {
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
  ExpectPixels(port,
               {{0, 0, {0, 0, 255, 255}}, {0, 1, {255, 0, 0, 255}}, {1, 0, {255, 0, 0, 255}}, {1, 1, {0, 0, 255, 255}}});
}

TEST_F(BitmapCoreGraphics, RectFillCopiesTheCurrentColourAndOperationsFollowTheContext) {
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

TEST_F(BitmapCoreGraphics, CurrentContextIsPerThreadAndClassLevelSavesBringItBack) {
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

TEST_F(BitmapCoreGraphics, ColoursConvertBetweenWhiteAndRGB) {
  NSColor* grey = [NSColor colorWithCalibratedWhite:0.25 alpha:0.5];
  NSColor* rgb = [grey colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
  EXPECT_EQ(std::pair([rgb redComponent], [rgb alphaComponent]), std::pair(CGFloat(0.25), CGFloat(0.5)));
  EXPECT_TRUE([grey colorUsingColorSpaceName:NSDeviceCMYKColorSpace] == nil);
  EXPECT_DOUBLE_EQ([[NSColor clearColor] alphaComponent], 0);
  EXPECT_DOUBLE_EQ([[NSColor colorWithDeviceRed:2 green:-1 blue:0.5 alpha:1] redComponent], 1) << "clamped";
  CGColorRef cg = [[NSColor redColor] CGColor];
  EXPECT_EQ(CGColorGetNumberOfComponents(cg), 4u);
  EXPECT_EQ([[NSColorSpace deviceRGBColorSpace] colorSpaceModel], NSRGBColorSpaceModel);
  EXPECT_EQ(CGColorSpaceGetModel([[NSColorSpace deviceGrayColorSpace] CGColorSpace]), kCGColorSpaceModelMonochrome);
}

}  // namespace
