/* NSImage as an object: drawing into it with lockFocus (upright and flipped), its
   properties and flags, representations, copies, TIFF, CGImage renderings, the name
   registry with the standard images. */
#import "drawing_pixels.h"

#include <atomic>
#include <thread>

namespace {

class ImageObject : public PoolTest {};

/* The bitmap an image holds after drawing, pixel x of row `row` from the top. */
static RGBA RepPixel(NSImage* image, NSInteger x, NSInteger row) {
  NSBitmapImageRep* rep = nil;
  NSArray* reps = [image representations];
  for (NSUInteger i = 0; i < [reps count]; i++)
    if ([[reps objectAtIndex:i] isKindOfClass:[NSBitmapImageRep class]]) rep = [reps objectAtIndex:i];
  return rep ? ColourAt(rep, x, row) : RGBA{-1, -1, -1, -1};
}

/* A new image of the size filled with one colour through lockFocus. */
static NSImage* Filled(CGFloat w, CGFloat h, NSColor* colour) {
  NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(w, h)] autorelease];
  [image lockFocus];
  [colour set];
  NSRectFill(NSMakeRect(0, 0, w, h));
  [image unlockFocus];
  return image;
}

TEST_F(ImageObject, LockFocusDrawsIntoABitmapOfTheImage) {
  NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(4, 2)] autorelease];
  EXPECT_TRUE([image isValid]);
  EXPECT_EQ([[image representations] count], 0u);
  EXPECT_DOUBLE_EQ([[image backgroundColor] alphaComponent], 0);
  NSGraphicsContext* before = [NSGraphicsContext currentContext];
  [image lockFocus];
  EXPECT_TRUE([NSGraphicsContext currentContext] != before);
  [[NSColor whiteColor] set];
  NSRectFill(NSMakeRect(0, 0, 4, 2));
  [[NSColor redColor] set];
  NSRectFill(NSMakeRect(0, 0, 1, 1)); /* bottom left */
  [image unlockFocus];
  EXPECT_EQ([NSGraphicsContext currentContext], before);
  ASSERT_EQ([[image representations] count], 1u);
  EXPECT_EQ([[[image representations] objectAtIndex:0] pixelsWide], 4);
  EXPECT_EQ(RepPixel(image, 0, 1), (RGBA{255, 0, 0, 255}));
  EXPECT_EQ(RepPixel(image, 0, 0), (RGBA{255, 255, 255, 255}));
  /* Focusing again starts from what is there. */
  [image lockFocus];
  [[NSColor blueColor] set];
  NSRectFill(NSMakeRect(3, 1, 1, 1)); /* top right */
  [image unlockFocus];
  EXPECT_EQ(RepPixel(image, 3, 0), (RGBA{0, 0, 255, 255}));
  EXPECT_EQ(RepPixel(image, 0, 1), (RGBA{255, 0, 0, 255}));
  /* A flipped image is drawn into from the top. */
  NSImage* flipped = [[[NSImage alloc] initWithSize:NSMakeSize(2, 2)] autorelease];
  [flipped setFlipped:YES];
  EXPECT_TRUE([flipped isFlipped]);
  [flipped lockFocus];
  EXPECT_TRUE([[NSGraphicsContext currentContext] isFlipped]);
  [[NSColor greenColor] set];
  NSRectFill(NSMakeRect(0, 0, 1, 1)); /* y down: the top-left pixel */
  [flipped unlockFocus];
  EXPECT_EQ(RepPixel(flipped, 0, 0), (RGBA{0, 255, 0, 255}));
  EXPECT_EQ(RepPixel(flipped, 0, 1).a, 0);
}

/* An image made from a CGImage at a size of its own keeps the image's pixels, also through lockFocus. */
TEST_F(ImageObject, LockFocusKeepsThePixelsOfADenserRepresentation) {
  /* 8 x 8 pixels shown at 4 x 4 points (144 dots an inch). */
  NSImage* image = [[[NSImage alloc] initWithCGImage:RGBAImage(8, 8, std::vector<uint8_t>(8 * 8 * 4, 255))
                                                 size:NSMakeSize(4, 4)] autorelease];
  [image lockFocus];
  [[NSColor blackColor] set];
  NSRectFill(NSMakeRect(0, 0, 0.5, 0.5)); /* one pixel at this density */
  [image unlockFocus];
  NSImageRep* rep = [[image representations] objectAtIndex:0];
  EXPECT_EQ([rep pixelsWide], 8);
  EXPECT_EQ([image size].width, 4);
  EXPECT_EQ(RepPixel(image, 0, 7), (RGBA{0, 0, 0, 255}));
  EXPECT_EQ(RepPixel(image, 1, 7), (RGBA{255, 255, 255, 255}));
}

TEST_F(ImageObject, DrawingOneImageIntoAnotherScalesAndFades) {
  NSImage* source = Filled(8, 8, [NSColor redColor]);
  NSImage* target = [[[NSImage alloc] initWithSize:NSMakeSize(2, 2)] autorelease];
  [target lockFocus];
  [[NSGraphicsContext currentContext] setImageInterpolation:NSImageInterpolationHigh];
  [source drawInRect:NSMakeRect(0, 0, 2, 2) fromRect:NSZeroRect operation:NSCompositeCopy fraction:0.5];
  [target unlockFocus];
  EXPECT_TRUE(Near(RepPixel(target, 1, 1), RGBA{255, 0, 0, 128}, 2)) << "straight colour read back, half alpha";
  /* compositeToPoint draws at the image's own size. */
  NSImage* canvas = [[[NSImage alloc] initWithSize:NSMakeSize(16, 16)] autorelease];
  [canvas lockFocus];
  [source compositeToPoint:NSMakePoint(8, 8) operation:NSCompositeSourceOver];
  [canvas unlockFocus];
  EXPECT_EQ(RepPixel(canvas, 8, 7), (RGBA{255, 0, 0, 255}));
  EXPECT_EQ(RepPixel(canvas, 7, 8).a, 0);
}

TEST_F(ImageObject, RepresentationsComeAndGo) {
  NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(2, 2)] autorelease];
  NSBitmapImageRep* small = NewBitmap(2, 2, 8, 4, YES, NSCalibratedRGBColorSpace);
  NSBitmapImageRep* large = NewBitmap(8, 8, 8, 4, YES, NSCalibratedRGBColorSpace);
  [image addRepresentation:small];
  [image addRepresentation:large];
  [image addRepresentation:small];
  EXPECT_EQ([[image representations] count], 2u) << "a representation is held once";
  EXPECT_EQ([image bestRepresentationForRect:NSMakeRect(0, 0, 2, 2) context:nil hints:nil], small);
  EXPECT_EQ([image bestRepresentationForRect:NSMakeRect(0, 0, 6, 6) context:nil hints:nil], large);
  EXPECT_EQ([image bestRepresentationForRect:NSMakeRect(0, 0, 60, 60) context:nil hints:nil], large);
  /* A context that doubles its points wants twice the pixels. */
  CGContextRef port = ARGBContext(8, 8);
  CGContextScaleCTM(port, 4, 4);
  EXPECT_EQ([image bestRepresentationForRect:NSMakeRect(0, 0, 2, 2) context:ContextOf(port) hints:nil], large);
  [image removeRepresentation:small];
  [image removeRepresentation:nil];
  EXPECT_EQ([[image representations] count], 1u);
  NSImage* copy = [[image copy] autorelease];
  EXPECT_EQ([copy size].width, 2);
  EXPECT_EQ([[copy representations] count], 1u);
  EXPECT_NE([[copy representations] objectAtIndex:0], large) << "representations are copied too";
}

TEST_F(ImageObject, TIFFRoundTripsThePixels) {
  NSImage* image = Filled(3, 3, [NSColor colorWithCalibratedRed:0 green:0 blue:1 alpha:1]);
  NSData* tiff = [image TIFFRepresentation];
  ASSERT_GT([tiff length], 8u);
  NSImage* back = [[[NSImage alloc] initWithData:tiff] autorelease];
  EXPECT_NEAR([back size].width, 3, 0.01);
  EXPECT_EQ(RepPixel(back, 1, 1), (RGBA{0, 0, 255, 255}));
  NSData* lzw = [image TIFFRepresentationUsingCompression:NSTIFFCompressionLZW factor:0];
  ASSERT_TRUE(lzw != nil);
  EXPECT_EQ(RepPixel([[[NSImage alloc] initWithData:lzw] autorelease], 2, 2), (RGBA{0, 0, 255, 255}));
  /* An empty image still has a TIFF form: one transparent pixel. */
  NSData* empty = [[[[NSImage alloc] init] autorelease] TIFFRepresentation];
  ASSERT_TRUE(empty != nil);
  NSImage* blank = [[[NSImage alloc] initWithData:empty] autorelease];
  EXPECT_NEAR([blank size].width, 1, 0.01);
}

TEST_F(ImageObject, RendersToCGImagesOfTheProposedSize) {
  NSImage* image = Filled(4, 4, [NSColor greenColor]);
  CGImageRef own = [image CGImageForProposedRect:NULL context:nil hints:nil];
  ASSERT_TRUE(own != NULL);
  EXPECT_EQ(CGImageGetWidth(own), 4u);
  NSRect proposed = NSMakeRect(0, 0, 10, 2);
  CGImageRef stretched = [image CGImageForProposedRect:&proposed context:nil hints:nil];
  ASSERT_TRUE(stretched != NULL);
  EXPECT_EQ(CGImageGetWidth(stretched), 10u);
  EXPECT_EQ(CGImageGetHeight(stretched), 2u);
  CGContextRef port = ARGBContext(10, 2);
  CGContextDrawImage(port, CGRectMake(0, 0, 10, 2), stretched);
  EXPECT_EQ(PixelAt(port, 9, 1), (RGBA{0, 255, 0, 255}));
  EXPECT_TRUE([[[[NSImage alloc] init] autorelease] CGImageForProposedRect:NULL context:nil hints:nil] == NULL);
}

TEST_F(ImageObject, TheNameRegistryHoldsStandardAndNamedImages) {
  NSImage* computer = [NSImage imageNamed:NSImageNameComputer];
  ASSERT_TRUE(computer != nil);
  EXPECT_EQ([NSImage imageNamed:NSImageNameComputer], computer) << "the same object each time";
  EXPECT_TRUE([[computer name] isEqual:NSImageNameComputer]);
  EXPECT_GT([computer size].width, 0);
  NSImage* add = [NSImage imageNamed:NSImageNameAddTemplate];
  EXPECT_TRUE([add isTemplate]);
  EXPECT_EQ(RepPixel(add, 16, 16), (RGBA{0, 0, 0, 255}));
  EXPECT_EQ(RepPixel(add, 1, 1).a, 0);
  EXPECT_TRUE([NSImage imageNamed:@"NoSuchImageAnywhere"] == nil);
  EXPECT_TRUE([NSImage imageNamed:nil] == nil);

  NSAutoreleasePool* inner = [[NSAutoreleasePool alloc] init];
  NSImage* mine = [[NSImage alloc] initWithSize:NSMakeSize(1, 1)];
  EXPECT_TRUE([mine setName:@"MyImageName"]);
  EXPECT_EQ([NSImage imageNamed:@"MyImageName"], mine);
  NSImage* other = [[[NSImage alloc] initWithSize:NSMakeSize(1, 1)] autorelease];
  EXPECT_FALSE([other setName:@"MyImageName"]) << "names are unique";
  EXPECT_FALSE([other setName:NSImageNameComputer]);
  EXPECT_TRUE([mine setName:@"MyOtherName"]);
  EXPECT_TRUE([NSImage imageNamed:@"MyImageName"] == nil) << "renaming frees the old name";
  [inner drain];
  [mine release];
  EXPECT_TRUE([NSImage imageNamed:@"MyOtherName"] == nil) << "a freed image leaves the registry";
}

TEST_F(ImageObject, EveryStandardNameHasAnImage) {
  NSString* names[] = {
      NSImageNameQuickLookTemplate, NSImageNameBluetoothTemplate, NSImageNameIChatTheaterTemplate,
      NSImageNameSlideshowTemplate, NSImageNameActionTemplate, NSImageNameSmartBadgeTemplate,
      NSImageNameIconViewTemplate, NSImageNameListViewTemplate, NSImageNameColumnViewTemplate,
      NSImageNameFlowViewTemplate, NSImageNamePathTemplate, NSImageNameInvalidDataFreestandingTemplate,
      NSImageNameLockLockedTemplate, NSImageNameLockUnlockedTemplate, NSImageNameGoRightTemplate,
      NSImageNameGoLeftTemplate, NSImageNameRightFacingTriangleTemplate, NSImageNameLeftFacingTriangleTemplate,
      NSImageNameAddTemplate, NSImageNameRemoveTemplate, NSImageNameRevealFreestandingTemplate,
      NSImageNameFollowLinkFreestandingTemplate, NSImageNameEnterFullScreenTemplate,
      NSImageNameExitFullScreenTemplate, NSImageNameStopProgressTemplate, NSImageNameStopProgressFreestandingTemplate,
      NSImageNameRefreshTemplate, NSImageNameRefreshFreestandingTemplate, NSImageNameBonjour, NSImageNameComputer,
      NSImageNameFolderBurnable, NSImageNameFolderSmart, NSImageNameFolder, NSImageNameNetwork, NSImageNameDotMac,
      NSImageNameMobileMe, NSImageNameMultipleDocuments, NSImageNameUserAccounts, NSImageNamePreferencesGeneral,
      NSImageNameAdvanced, NSImageNameInfo, NSImageNameFontPanel, NSImageNameColorPanel, NSImageNameUser,
      NSImageNameUserGroup, NSImageNameEveryone, NSImageNameUserGuest, NSImageNameMenuOnStateTemplate,
      NSImageNameMenuMixedStateTemplate, NSImageNameApplicationIcon, NSImageNameTrashEmpty, NSImageNameTrashFull,
      NSImageNameHomeTemplate, NSImageNameBookmarksTemplate, NSImageNameCaution, NSImageNameStatusAvailable,
      NSImageNameStatusPartiallyAvailable, NSImageNameStatusUnavailable, NSImageNameStatusNone};
  for (NSString* name : names) {
    NSImage* image = [NSImage imageNamed:name];
    ASSERT_TRUE(image != nil) << [name UTF8String];
    EXPECT_EQ([image isTemplate], (BOOL)[name hasSuffix:@"Template"]) << [name UTF8String];
    /* Something was drawn: some pixel is not transparent. */
    NSBitmapImageRep* rep = (NSBitmapImageRep*)[[image representations] objectAtIndex:0];
    const uint8_t* data = [rep bitmapData];
    bool drawn = false;
    for (NSInteger i = 0; i < [rep bytesPerRow] * [rep pixelsHigh] && !drawn; i++) drawn = data[i] != 0;
    EXPECT_TRUE(drawn) << [name UTF8String];
  }
}

/* One worker: draws a grey level and the shared image into a new image, encodes it,
   reads it back, and counts a success when both agree. */
static void DrawAndEncode(NSImage* shared, int level, std::atomic<int>* good) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(8, 8)] autorelease];
  [image lockFocus];
  [[NSColor colorWithCalibratedWhite:level / 4.0 alpha:1] set];
  NSRectFill(NSMakeRect(0, 0, 8, 8));
  [shared drawInRect:NSMakeRect(0, 0, 8, 8) fromRect:NSZeroRect operation:NSCompositeSourceOver fraction:1];
  [image unlockFocus];
  NSImage* back = [[[NSImage alloc] initWithData:[image TIFFRepresentation]] autorelease];
  if ([NSGraphicsContext currentContext] == nil && back && RepPixel(back, 0, 0) == RepPixel(image, 0, 0)) (*good)++;
  [pool drain];
}

TEST_F(ImageObject, ThreadsDrawAndEncodeAtTheSameTimeEachInItsOwnContext) {
  /* The image methods with an MT suffix load and encode on worker threads. */
  NSImage* shared = [NSImage imageNamed:NSImageNameCaution];
  std::atomic<int> good{0};
  std::vector<std::thread> workers;
  for (int i = 0; i < 4; i++) workers.emplace_back(DrawAndEncode, shared, i, &good);
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(good, 4);
}

}  // namespace
