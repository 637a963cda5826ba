/* NSImage made from what holds images: encoded data, files, file URLs, the pasteboard
   and CGImages; nil, never a crash, for anything that holds no image or a server that is
   not there. (Images over http, redirects and error statuses are checked through the
   plugin's URL factories, as host code reaches them.) */
#import "drawing_pixels.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>


namespace {

/* A w x h representation, red on the left half and blue on the right, encoded as asked. */
static NSData* RedBlue(int w, int h, NSBitmapImageFileType type = NSPNGFileType, NSDictionary* properties = nil) {
  std::vector<uint8_t> bytes;
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      bool left = x < w / 2;
      bytes.insert(bytes.end(), {(uint8_t)(left ? 255 : 0), 0, (uint8_t)(left ? 0 : 255), 255});
    }
  NSBitmapImageRep* rep = [[[NSBitmapImageRep alloc] initWithCGImage:RGBAImage(w, h, bytes)] autorelease];
  return [rep representationUsingType:type properties:properties];
}

/* Draws the image at its size into a new context and reads one pixel from the top. Sizes
   of decoded files are near whole points (resolutions are stored per metre). */
static RGBA DrawnPixel(NSImage* image, size_t x, size_t row) {
  NSSize size = [image size];
  CGContextRef port = ARGBContext((size_t)lround(size.width), (size_t)lround(size.height));
  DrawIn(ContextOf(port), [&] {
    [image drawInRect:NSMakeRect(0, 0, lround(size.width), lround(size.height)) fromRect:NSZeroRect
            operation:NSCompositeCopy fraction:1];
  });
  return PixelAt(port, x, row);
}

class Loading : public PoolTest {};

TEST_F(Loading, FromDataTakesTheSizeAndPixelsOfThePicture) {
  NSData* png = RedBlue(8, 4);
  NSImage* image = [[[NSImage alloc] initWithData:png] autorelease];
  EXPECT_TRUE([image isValid]);
  EXPECT_NEAR([image size].width, 8, 0.01);
  EXPECT_NEAR([image size].height, 4, 0.01);
  ASSERT_EQ([[image representations] count], 1u);
  EXPECT_TRUE([[[image representations] objectAtIndex:0] isKindOfClass:[NSBitmapImageRep class]]);
  EXPECT_EQ(DrawnPixel(image, 0, 0), (RGBA{255, 0, 0, 255}));
  EXPECT_EQ(DrawnPixel(image, 7, 3), (RGBA{0, 0, 255, 255}));
}

TEST_F(Loading, NothingReadableGivesNil) {
  EXPECT_TRUE([[NSImage alloc] initWithData:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:[NSData data]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithData:[@"not an image" dataUsingEncoding:NSUTF8StringEncoding]] == nil);
  NSData* png = RedBlue(8, 4);
  EXPECT_TRUE([[NSImage alloc] initWithData:[png subdataWithRange:NSMakeRange(0, 20)]] == nil) << "truncated";
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfFile:@"/nonexistent/picture.png"] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfFile:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:nil] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:[NSURL URLWithString:@"ftp://127.0.0.1/x.png"]] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithIconRef:(IconRef)(void*)0x1234] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithCGImage:NULL size:NSZeroSize] == nil);
  EXPECT_TRUE([[NSImage alloc] initWithPasteboard:nil] == nil);
}

/* JPEG bytes of a 16 x 8 picture (red left half, blue right half) whose EXIF block says
   the pixels are stored to be turned clockwise (orientation 6). */
static NSData* SidewaysJPEG() {
  NSData* jpeg = RedBlue(16, 8, NSJPEGFileType,
                         [NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:1] forKey:NSImageCompressionFactor]);
  /* An APP1 segment: "Exif", a big-endian TIFF header and IFD0 with Orientation = 6. */
  const uint8_t app1[] = {0xFF, 0xE1, 0x00, 0x22, 'E', 'x', 'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8,
                          0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, 6, 0, 0, 0, 0, 0, 0};
  NSMutableData* tagged = [NSMutableData dataWithBytes:[jpeg bytes] length:2];
  [tagged appendBytes:app1 length:sizeof app1];
  [tagged appendBytes:(const uint8_t*)[jpeg bytes] + 2 length:[jpeg length] - 2];
  return tagged;
}

TEST_F(Loading, ExifOrientationTurnsThePictureUprightUnlessIgnored) {
  NSData* jpeg = SidewaysJPEG();
  NSImage* upright = [[[NSImage alloc] initWithData:jpeg] autorelease];
  NSImage* stored = [[[NSImage alloc] initWithDataIgnoringOrientation:jpeg] autorelease];
  ASSERT_TRUE(upright != nil);
  ASSERT_TRUE(stored != nil);
  EXPECT_NEAR([stored size].width, 16, 0.01);
  EXPECT_NEAR([upright size].width, 8, 0.01);
  EXPECT_NEAR([upright size].height, 16, 0.01);
  EXPECT_TRUE(Near(DrawnPixel(stored, 2, 4), RGBA{255, 0, 0, 255}, 24));
  EXPECT_TRUE(Near(DrawnPixel(stored, 13, 4), RGBA{0, 0, 255, 255}, 24));
  /* Turned clockwise: the left half is now on top. */
  EXPECT_TRUE(Near(DrawnPixel(upright, 4, 2), RGBA{255, 0, 0, 255}, 24));
  EXPECT_TRUE(Near(DrawnPixel(upright, 4, 13), RGBA{0, 0, 255, 255}, 24));
}

/* Files and file URLs of every format are read through the plugin's factories, pixel by
   pixel (plugin/image_creation_test.cpp); an image made by reference to a file is not. */
TEST_F(Loading, ByReferenceToAFile) {
  NSString* path = [NSTemporaryDirectory() stringByAppendingPathComponent:
                                               [NSString stringWithFormat:@"image-loading-%d.png", getpid()]];
  ASSERT_TRUE([RedBlue(6, 2) writeToFile:path atomically:YES]);
  NSImage* referenced = [[[NSImage alloc] initByReferencingFile:path] autorelease];
  unlink([path fileSystemRepresentation]);
  EXPECT_NEAR([referenced size].width, 6, 0.01);
}

TEST_F(Loading, FromAnUnreachableServerGivesNil) {
  /* A port that was just free: nothing listens there. */
  int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(probe, (sockaddr*)&address, sizeof address);
  socklen_t length = sizeof address;
  getsockname(probe, (sockaddr*)&address, &length);
  close(probe);
  NSURL* url = [NSURL URLWithString:[NSString stringWithFormat:@"http://127.0.0.1:%d/x.png", ntohs(address.sin_port)]];
  EXPECT_TRUE([[NSImage alloc] initWithContentsOfURL:url] == nil);
}

TEST_F(Loading, FromTheGeneralPasteboard) {
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
  EXPECT_NEAR([pasted size].width, 4, 0.01);
  EXPECT_EQ(DrawnPixel(pasted, 0, 0), (RGBA{255, 0, 0, 255}));
  [pasteboard clearContents];
  EXPECT_EQ([[pasteboard types] count], 0u);
}

}  // namespace
