/* NSImage as an object: made from what holds images (encoded data, files, the pasteboard,
   CGImages), nil, never a crash, for anything that holds no image or a server that is not
   there; drawing into it with lockFocus (upright and flipped), its representations, copies,
   TIFF, CGImage renderings, the name registry with the standard images, threads drawing at
   once; and, with no display server named, no X11, XCB or XRender library, nor cairo (which
   brings them), mapped into the process once it has drawn, encoded and the plugin is loaded
   beside it. (Images over http, redirects and error statuses are checked through the
   plugin's URL factories, as host code reaches them.) */
#import "drawing_pixels.h"
#include "support/standard_image_names.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

namespace {

class ImageObject : public PoolTest {};

/* The bitmap an image holds after drawing, pixel x of row `row` from the top. */
RGBA RepPixel(NSImage* image, NSInteger x, NSInteger row) {
  NSBitmapImageRep* rep = nil;
  NSArray* reps = [image representations];
  for (NSUInteger i = 0; i < [reps count]; i++)
    if ([[reps objectAtIndex:i] isKindOfClass:[NSBitmapImageRep class]]) rep = [reps objectAtIndex:i];
  return rep ? ColourAt(rep, x, row) : RGBA{-1, -1, -1, -1};
}

/* Pixels of the image's bitmap at (x, row from the top) against their expected colours. */
void ExpectRepPixels(NSImage* image, std::initializer_list<Probe> probes) {
  for (const Probe& p : probes) EXPECT_EQ(RepPixel(image, p.x, p.row), p.colour) << "at " << p.x << ", " << p.row;
}

/* The image's size within the rounding of a resolution stored per metre. */
::testing::AssertionResult SizeIs(NSImage* image, CGFloat width, CGFloat height) {
  if (fabs([image size].width - width) < 0.01 && fabs([image size].height - height) < 0.01)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "size " << [image size].width << " x " << [image size].height;
}

/* A new image of the size filled with one colour through lockFocus. */
NSImage* Filled(CGFloat w, CGFloat h, NSColor* colour) {
  NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(w, h)] autorelease];
  [image lockFocus];
  [colour set];
  NSRectFill(NSMakeRect(0, 0, w, h));
  [image unlockFocus];
  return image;
}

/* A w x h representation, red on the left half and blue on the right, encoded as asked. */
NSData* RedBlue(int w, int h, NSBitmapImageFileType type = NSPNGFileType, NSDictionary* properties = nil) {
  std::vector<uint8_t> bytes;
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      const bool left = x < w / 2;
      bytes.insert(bytes.end(), {uint8_t(left ? 255 : 0), 0, uint8_t(left ? 0 : 255), 255});
    }
  NSBitmapImageRep* rep = [[[NSBitmapImageRep alloc] initWithCGImage:RGBAImage(w, h, bytes)] autorelease];
  return [rep representationUsingType:type properties:properties];
}

/* Draws the image at its size into a new context and reads one pixel from the top. */
RGBA DrawnPixel(NSImage* image, size_t x, size_t row) {
  const NSSize size = NSMakeSize(lround([image size].width), lround([image size].height));
  CGContextRef port = ARGBContext(size.width, size.height);
  DrawIn(ContextOf(port), [&] {
    [image drawInRect:NSMakeRect(0, 0, size.width, size.height) fromRect:NSZeroRect operation:NSCompositeCopy
             fraction:1];
  });
  return PixelAt(port, x, row);
}

/* From data and by reference to a file; files and file URLs of every format are read
   through the plugin's factories, pixel by pixel (plugin/image_creation_test.cpp). */
TEST_F(ImageObject, FromDataTakesTheSizeAndPixelsOfThePicture) {
  NSImage* image = [[[NSImage alloc] initWithData:RedBlue(8, 4)] autorelease];
  EXPECT_TRUE([image isValid]);
  EXPECT_TRUE(SizeIs(image, 8, 4));
  ASSERT_EQ([[image representations] count], 1u);
  EXPECT_TRUE([[[image representations] objectAtIndex:0] isKindOfClass:[NSBitmapImageRep class]]);
  EXPECT_EQ(DrawnPixel(image, 0, 0), (RGBA{255, 0, 0, 255}));
  EXPECT_EQ(DrawnPixel(image, 7, 3), (RGBA{0, 0, 255, 255}));
  NSString* path = [NSTemporaryDirectory() stringByAppendingPathComponent:
                                               [NSString stringWithFormat:@"image-loading-%d.png", getpid()]];
  ASSERT_TRUE([RedBlue(6, 2) writeToFile:path atomically:YES]);
  NSImage* referenced = [[[NSImage alloc] initByReferencingFile:path] autorelease];
  unlink([path fileSystemRepresentation]);
  EXPECT_TRUE(SizeIs(referenced, 6, 2));
}

TEST_F(ImageObject, NothingReadableGivesNil) {
  /* A port that was just free: nothing listens there. */
  int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(probe, (sockaddr*)&address, sizeof address);
  socklen_t length = sizeof address;
  getsockname(probe, (sockaddr*)&address, &length);
  close(probe);
  NSString* url = [NSString stringWithFormat:@"http://127.0.0.1:%d/x.png", ntohs(address.sin_port)];
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:[NSURL URLWithString:url]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:[NSData data]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:[@"not an image" dataUsingEncoding:NSUTF8StringEncoding]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:[RedBlue(8, 4) subdataWithRange:NSMakeRange(0, 20)]] == nil) << "truncated";
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfFile:@"/nonexistent/picture.png"] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfFile:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:[NSURL URLWithString:@"ftp://127.0.0.1/x.png"]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithIconRef:(IconRef)(void*)0x1234] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithCGImage:NULL size:NSZeroSize] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithPasteboard:nil] == nil);
}

/* A 16 x 8 JPEG (red left half, blue right half) whose EXIF block says the pixels are
   stored to be turned clockwise (orientation 6). */
TEST_F(ImageObject, ExifOrientationTurnsThePictureUprightUnlessIgnored) {
  NSDictionary* best = [NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:1] forKey:NSImageCompressionFactor];
  NSData* jpeg = RedBlue(16, 8, NSJPEGFileType, best);
  /* An APP1 segment: "Exif", a big-endian TIFF header and IFD0 with Orientation = 6. */
  const uint8_t app1[] = {0xFF, 0xE1, 0x00, 0x22, 'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,
                          0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0, 0, 0, 0, 0};
  NSMutableData* tagged = [NSMutableData dataWithBytes:[jpeg bytes] length:2];
  [tagged appendBytes:app1 length:sizeof app1];
  [tagged appendBytes:(const uint8_t*)[jpeg bytes] + 2 length:[jpeg length] - 2];
  NSImage* upright = [[[NSImage alloc] initWithData:tagged] autorelease];
  NSImage* stored = [[[NSImage alloc] initWithDataIgnoringOrientation:tagged] autorelease];
  ASSERT_TRUE(upright != nil && stored != nil);
  EXPECT_TRUE(SizeIs(stored, 16, 8));
  EXPECT_TRUE(SizeIs(upright, 8, 16));
  /* Turned clockwise: the left half is now on top. */
  const std::pair<NSImage*, Probe> probes[] = {{stored, {2, 4, {255, 0, 0, 255}}},
                                               {stored, {13, 4, {0, 0, 255, 255}}}, {upright, {4, 2, {255, 0, 0, 255}}},
                                               {upright, {4, 13, {0, 0, 255, 255}}}};
  for (const auto& [image, p] : probes)
    EXPECT_TRUE(Near(DrawnPixel(image, p.x, p.row), p.colour, 24)) << p.x << ", " << p.row;
}

TEST_F(ImageObject, FromTheGeneralPasteboard) {
  NSPasteboard* pasteboard = [NSPasteboard generalPasteboard];
  [pasteboard declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
  [pasteboard setString:@"only text" forType:NSStringPboardType];
  EXPECT_FALSE([NSImage canInitWithPasteboard:pasteboard]);
  EXPECT_TRUE([[NSImage alloc] initWithPasteboard:pasteboard] == nil);
  NSImage* source = [[[NSImage alloc] initWithData:RedBlue(4, 4)] autorelease];
  NSInteger before = [pasteboard changeCount];
  [pasteboard declareTypes:[NSArray arrayWithObject:NSTIFFPboardType] owner:nil];
  EXPECT_GT([pasteboard changeCount], before);
  EXPECT_TRUE([pasteboard setData:[source TIFFRepresentation] forType:NSTIFFPboardType]);
  NSArray* wanted = [NSArray arrayWithObjects:NSPDFPboardType, NSTIFFPboardType, nil];
  EXPECT_EQ([pasteboard availableTypeFromArray:wanted], NSTIFFPboardType);
  EXPECT_TRUE([NSImage canInitWithPasteboard:pasteboard]);
  NSImage* pasted = [[[NSImage alloc] initWithPasteboard:pasteboard] autorelease];
  ASSERT_TRUE(pasted != nil);
  EXPECT_TRUE(SizeIs(pasted, 4, 4));
  EXPECT_EQ(DrawnPixel(pasted, 0, 0), (RGBA{255, 0, 0, 255}));
  [pasteboard clearContents];
  EXPECT_EQ([[pasteboard types] count], 0u);
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
  ExpectRepPixels(image, {{0, 1, {255, 0, 0, 255}}, {0, 0, {255, 255, 255, 255}}});
  /* Focusing again starts from what is there. */
  [image lockFocus];
  [[NSColor blueColor] set];
  NSRectFill(NSMakeRect(3, 1, 1, 1)); /* top right */
  [image unlockFocus];
  ExpectRepPixels(image, {{3, 0, {0, 0, 255, 255}}, {0, 1, {255, 0, 0, 255}}});
  /* A flipped image is drawn into from the top. */
  NSImage* flipped = [[[NSImage alloc] initWithSize:NSMakeSize(2, 2)] autorelease];
  [flipped setFlipped:YES];
  [flipped lockFocus];
  EXPECT_TRUE([[NSGraphicsContext currentContext] isFlipped]);
  [[NSColor greenColor] set];
  NSRectFill(NSMakeRect(0, 0, 1, 1)); /* y down: the top-left pixel */
  [flipped unlockFocus];
  ExpectRepPixels(flipped, {{0, 0, {0, 255, 0, 255}}, {0, 1, {0, 0, 0, 0}}});

  // An dense made from a CGImage at a size of its own (8 x 8 pixels shown at 4 x 4 points)
  // keeps the dense's pixels through lockFocus.
  NSImage* dense = [[[NSImage alloc] initWithCGImage:RGBAImage(8, 8, std::vector<uint8_t>(8 * 8 * 4, 255))
                                                 size:NSMakeSize(4, 4)] autorelease];
  [dense lockFocus];
  [[NSColor blackColor] set];
  NSRectFill(NSMakeRect(0, 0, 0.5, 0.5)); /* one pixel at this density */
  [dense unlockFocus];
  EXPECT_EQ([[[dense representations] objectAtIndex:0] pixelsWide], 8);
  EXPECT_EQ([dense size].width, 4);
  ExpectRepPixels(dense, {{0, 7, {0, 0, 0, 255}}, {1, 7, {255, 255, 255, 255}}});
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
  ExpectRepPixels(canvas, {{8, 7, {255, 0, 0, 255}}, {7, 8, {0, 0, 0, 0}}});
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

TEST_F(ImageObject, TIFFAndCGImagesOfTheProposedSizeHoldThePixels) {
  NSImage* image = Filled(3, 3, [NSColor colorWithCalibratedRed:0 green:0 blue:1 alpha:1]);
  NSData* lzw = [image TIFFRepresentationUsingCompression:NSTIFFCompressionLZW factor:0];
  for (NSData* tiff : {[image TIFFRepresentation], lzw}) {
    NSImage* back = [[[NSImage alloc] initWithData:tiff] autorelease];
    EXPECT_TRUE(SizeIs(back, 3, 3));
    ExpectRepPixels(back, {{1, 1, {0, 0, 255, 255}}, {2, 2, {0, 0, 255, 255}}});
  }
  /* An empty image still has a TIFF form: one transparent pixel. */
  NSData* empty = [[[[NSImage alloc] init] autorelease] TIFFRepresentation];
  ASSERT_TRUE(empty != nil);
  EXPECT_TRUE(SizeIs([[[NSImage alloc] initWithData:empty] autorelease], 1, 1));

  // CGImages of its own size and of a proposed one.
  NSImage* green = Filled(4, 4, [NSColor greenColor]);
  CGImageRef own = [green CGImageForProposedRect:NULL context:nil hints:nil];
  NSRect proposed = NSMakeRect(0, 0, 10, 2);
  CGImageRef stretched = [green CGImageForProposedRect:&proposed context:nil hints:nil];
  EXPECT_EQ((std::vector<size_t>{CGImageGetWidth(own), CGImageGetWidth(stretched), CGImageGetHeight(stretched)}),
            (std::vector<size_t>{4, 10, 2}));
  CGContextRef port = ARGBContext(10, 2);
  CGContextDrawImage(port, CGRectMake(0, 0, 10, 2), stretched);
  EXPECT_EQ(PixelAt(port, 9, 1), (RGBA{0, 255, 0, 255}));
  EXPECT_TRUE([[[[NSImage alloc] init] autorelease] CGImageForProposedRect:NULL context:nil hints:nil] == NULL);
}

TEST_F(ImageObject, TheNameRegistryHoldsEveryStandardImageAndNamedOnes) {
  NSImage* computer = [NSImage imageNamed:NSImageNameComputer];
  ASSERT_TRUE(computer != nil);
  EXPECT_EQ([NSImage imageNamed:NSImageNameComputer], computer) << "the same object each time";
  EXPECT_TRUE([[computer name] isEqual:NSImageNameComputer]);
  EXPECT_GT([computer size].width, 0);
  NSImage* add = [NSImage imageNamed:NSImageNameAddTemplate];
  EXPECT_TRUE([add isTemplate]);
  ExpectRepPixels(add, {{16, 16, {0, 0, 0, 255}}, {1, 1, {0, 0, 0, 0}}});
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

  // Every standard name has an image, a template by its name, with something drawn.
  for (const char* standard : kStandardImageNames) {
    NSString* name = [@"NS" stringByAppendingString:[NSString stringWithUTF8String:standard]];
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
void DrawAndEncode(NSImage* shared, int level, std::atomic<int>* good) {
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

TEST_F(ImageObject, NothingOfXNorCairoIsMapped) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  NSImage* standard = [NSImage imageNamed:NSImageNameActionTemplate];
  ASSERT_TRUE(standard != nil);
  CGImageRef pixels = [standard CGImageForProposedRect:NULL context:nil hints:nil];
  ASSERT_TRUE(pixels != NULL);
  CGContextRef context = ARGBContext(16, 16);
  CGContextSetInterpolationQuality(context, kCGInterpolationHigh);
  CGContextDrawImage(context, CGRectMake(0, 0, 16, 16), pixels);
  EXPECT_GT(PixelAt(context, 8, 2).a, 0) << "the gear's tooth at the top";
  EXPECT_TRUE([standard TIFFRepresentation] != nil);

  const char* folder = getenv("QVR_LIB_DIR");
  ASSERT_TRUE(folder != NULL);
  void* plugin = dlopen((std::string(folder) + "/libNSImageQVR.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(plugin != NULL) << dlerror();

  std::ifstream maps("/proc/self/maps");
  ASSERT_TRUE(maps.good());
  std::string line;
  int lines = 0;
  while (std::getline(maps, line)) {
    lines++;
    for (const char* name : {"libX11", "libxcb", "libXrender", "libcairo"})
      EXPECT_EQ(line.find(name), std::string::npos) << line;
  }
  EXPECT_GT(lines, 10);
  dlclose(plugin);
}

}  // namespace
