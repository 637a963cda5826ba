/* Bitmap representations of every documented layout: what the initializer accepts and
   refuses, memory of their own or the caller's (meshed and planar), the layout getters,
   pixels and colours one at a time in 1, 4, 8 and 16 bits, alpha first and float samples,
   and such layouts encoded as they look. */
#import "platform/codec_support.h"

namespace {

class BitmapLayout : public CodecTest {};

NSBitmapImageRep* Make(unsigned char** planes, NSInteger w, NSInteger h, NSInteger bps, NSInteger spp, BOOL alpha,
                       BOOL planar, NSString* space, NSBitmapFormat format, NSInteger row, NSInteger pixel) {
  return NewBitmap(w, h, bps, spp, alpha, space, format, planar, row, pixel, planes);
}

TEST_F(BitmapLayout, OwnMemoryIsZeroedAndDescribed) {
  NSBitmapImageRep* rep = Make(NULL, 10, 7, 8, 4, YES, NO, NSCalibratedRGBColorSpace, 0, 0, 0);
  EXPECT_EQ((std::vector<NSInteger>{[rep pixelsWide], [rep pixelsHigh], [rep bitsPerSample], [rep samplesPerPixel],
                                    [rep bitsPerPixel], [rep bytesPerRow], [rep bytesPerPlane], [rep numberOfPlanes],
                                    [rep isPlanar], [rep hasAlpha], [rep isOpaque], NSInteger([rep bitmapFormat])}),
            (std::vector<NSInteger>{10, 7, 8, 4, 32, 40, 280, 1, NO, YES, NO, 0}));
  EXPECT_TRUE(NSEqualSizes([rep size], NSMakeSize(10, 7)));
  EXPECT_TRUE([[rep colorSpaceName] isEqualToString:NSCalibratedRGBColorSpace]);
  for (NSInteger i = 0; i < [rep bytesPerPlane]; ++i) ASSERT_EQ([rep bitmapData][i], 0);
  // Padding in pixels and rows, as given.
  NSBitmapImageRep* padded = Make(NULL, 5, 2, 8, 3, NO, NO, NSDeviceRGBColorSpace, 0, 24, 32);
  EXPECT_EQ((std::vector<NSInteger>{[padded bitsPerPixel], [padded bytesPerRow]}), (std::vector<NSInteger>{32, 24}));
}

TEST_F(BitmapLayout, RefusesLayoutsThatDoNotAddUp) {
  EXPECT_EQ(Make(NULL, 0, 5, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);       // no width
  EXPECT_EQ(Make(NULL, 5, 5, 8, 4, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);       // 4 samples, RGB, no alpha
  EXPECT_EQ(Make(NULL, 5, 5, 8, 3, YES, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);      // alpha needs a sample
  EXPECT_EQ(Make(NULL, 5, 5, 7, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);       // 7 bits
  EXPECT_EQ(Make(NULL, 5, 5, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 10, 0), nil);      // row too short
  EXPECT_EQ(Make(NULL, 5, 5, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 16), nil);      // pixel too small
  EXPECT_EQ(Make(NULL, 5, 5, 8, 3, NO, NO, @"NoSuchColorSpace", 0, 0, 0), nil);
  EXPECT_EQ(Make(NULL, 20000, 20000, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);  // over 2^28 pixels
  EXPECT_NE(Make(NULL, 65536, 4, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0), nil);      // the widest
  EXPECT_EQ(Make(NULL, 5, 5, 16, 3, NO, NO, NSCalibratedRGBColorSpace, NSFloatingPointSamplesBitmapFormat, 0, 0), nil);
  EXPECT_NE(Make(NULL, 5, 5, 32, 3, NO, NO, NSCalibratedRGBColorSpace, NSFloatingPointSamplesBitmapFormat, 0, 0), nil);
}

TEST_F(BitmapLayout, CallersMemoryIsUsedInPlaceMeshedOrOneSampleAPlane) {
  std::vector<unsigned char> memory(3 * 4 * 2, 0);
  unsigned char* planes[1] = {memory.data()};
  NSBitmapImageRep* rep = Make(planes, 4, 2, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0);
  EXPECT_EQ([rep bitmapData], memory.data());
  memory[3 * 5 + 1] = 200;  // pixel (1, 1), green
  EXPECT_EQ(Samples(rep, 1, 1), (S{0, 200, 0}));
  NSUInteger q[3] = {1, 2, 3};
  [rep setPixel:q atX:3 y:0];
  EXPECT_EQ(std::vector<int>(memory.begin() + 9, memory.begin() + 12), (std::vector<int>{1, 2, 3}));

  // Planar: one sample a plane.
  std::vector<unsigned char> red(6, 10), green(6, 20), blue(6, 30), alpha(6, 255);
  unsigned char* colourPlanes[4] = {red.data(), green.data(), blue.data(), alpha.data()};
  NSBitmapImageRep* planar = Make(colourPlanes, 3, 2, 8, 4, YES, YES, NSCalibratedRGBColorSpace,
                               NSAlphaNonpremultipliedBitmapFormat, 0, 0);
  EXPECT_EQ((S{[planar isPlanar], NSUInteger([planar numberOfPlanes]), NSUInteger([planar bitsPerPixel]),
               NSUInteger([planar bytesPerRow])}),
            (S{YES, 4, 8, 3}));
  unsigned char* back[5];
  [planar getBitmapDataPlanes:back];
  EXPECT_EQ(back[2], blue.data());
  green[4] = 99;
  EXPECT_EQ(Samples(planar, 1, 1), (S{10, 99, 30, 255}));
  // Encoded, the colourPlanes come out meshed and right.
  NSBitmapImageRep* png = Reread(planar, NSPNGFileType);
  EXPECT_FALSE([png isPlanar]);
  EXPECT_EQ(Samples(png, 1, 1), (S{10, 99, 30, 255}));
  // Platform-allocated planar storage: one plane a sample, each bytesPerPlane long.
  NSBitmapImageRep* own = Make(NULL, 3, 2, 8, 3, NO, YES, NSCalibratedRGBColorSpace, 0, 0, 0);
  [own getBitmapDataPlanes:back];
  EXPECT_EQ(back[1], back[0] + [own bytesPerPlane]);
}

TEST_F(BitmapLayout, SamplesOfEveryDepthAndTheBlackColourSpace) {
  NSBitmapImageRep* one = Make(NULL, 9, 2, 1, 1, NO, NO, NSCalibratedWhiteColorSpace, 0, 0, 0);
  EXPECT_EQ([one bytesPerRow], 2);
  NSUInteger on = 1;
  [one setPixel:&on atX:8 y:1];
  EXPECT_EQ([one bitmapData][3], 0x80);  // most significant bit first
  EXPECT_EQ(Samples(one, 8, 1), S{1});

  NSBitmapImageRep* four = Make(NULL, 3, 1, 4, 2, YES, NO, NSCalibratedWhiteColorSpace, NSAlphaNonpremultipliedBitmapFormat, 0, 0);
  ASSERT_NE(four, nil);
  NSUInteger ga[2] = {0xA, 0x5};
  [four setPixel:ga atX:1 y:0];
  EXPECT_EQ([four bitmapData][1], 0xA5);
  NSColor* colour = [four colorAtX:1 y:0];
  EXPECT_NEAR([colour whiteComponent], 10.0 / 15, 1e-6);
  EXPECT_NEAR([colour alphaComponent], 5.0 / 15, 1e-6);

  NSBitmapImageRep* deep = Make(NULL, 2, 2, 16, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 0, 0);
  NSUInteger rgb[3] = {65535, 32768, 1};
  [deep setPixel:rgb atX:1 y:1];
  EXPECT_EQ(Samples(deep, 1, 1), (S{65535, 32768, 1}));
}

TEST_F(BitmapLayout, ColoursKnowPremultiplicationAndAlphaFirst) {
  NSBitmapImageRep* premultiplied = Make(NULL, 2, 1, 8, 4, YES, NO, NSCalibratedRGBColorSpace, 0, 0, 0);
  [premultiplied setColor:[NSColor colorWithCalibratedRed:1 green:0.5 blue:0 alpha:0.5] atX:0 y:0];
  EXPECT_EQ(Samples(premultiplied, 0, 0), (S{128, 64, 0, 128}));  // 1 x 0.5, 0.5 x 0.5
  EXPECT_TRUE(Near(ColourAt(premultiplied, 0, 0), RGBA{255, 128, 0, 128}));

  NSBitmapImageRep* first = Make(NULL, 2, 1, 8, 4, YES, NO, NSCalibratedRGBColorSpace,
                                 NSAlphaFirstBitmapFormat | NSAlphaNonpremultipliedBitmapFormat, 0, 0);
  EXPECT_EQ([first bitmapFormat], NSAlphaFirstBitmapFormat | NSAlphaNonpremultipliedBitmapFormat);
  [first setColor:[NSColor colorWithCalibratedRed:0.2 green:0.4 blue:0.6 alpha:0.8] atX:1 y:0];
  EXPECT_EQ(Samples(first, 1, 0), (S{204, 51, 102, 153}));  // alpha leads
  EXPECT_EQ(Samples(Reread(first, NSPNGFileType), 1, 0), (S{51, 102, 153, 204}));  // written the usual way round

  // Float samples, and the black colour space.
  NSBitmapImageRep* floats = Make(NULL, 2, 1, 32, 3, NO, NO, NSCalibratedRGBColorSpace, NSFloatingPointSamplesBitmapFormat, 0, 0);
  ASSERT_NE(floats, nil);
  float* samples = reinterpret_cast<float*>([floats bitmapData]);
  samples[3] = 1.0f, samples[4] = 0.5f, samples[5] = 0.0f;
  EXPECT_NEAR([[floats colorAtX:1 y:0] greenComponent], 0.5, 1e-6);
  EXPECT_EQ(Samples(Reread(floats, NSPNGFileType), 1, 0), (S{65535, 32768, 0}));  // deeper samples are written as 16 bits

  NSBitmapImageRep* black = Make(NULL, 1, 1, 8, 1, NO, NO, NSDeviceBlackColorSpace, 0, 0, 0);
  [black bitmapData][0] = 255;  // full ink
  EXPECT_NEAR([[black colorAtX:0 y:0] whiteComponent], 0.0, 1e-6);
  EXPECT_EQ(Samples([NSBitmapImageRep imageRepWithData:[black TIFFRepresentation]], 0, 0), S{0});
}

TEST_F(BitmapLayout, CopiesOwnTheirPixels) {
  std::vector<unsigned char> memory(12, 7);
  unsigned char* planes[1] = {memory.data()};
  NSBitmapImageRep* rep = Make(planes, 2, 2, 8, 3, NO, NO, NSCalibratedRGBColorSpace, 0, 6, 0);
  [rep setProperty:NSImageGamma withValue:Num(0.5)];
  NSBitmapImageRep* copy = [[rep copy] autorelease];
  EXPECT_NE([copy bitmapData], memory.data());
  memory[0] = 1;
  EXPECT_EQ(Samples(copy, 0, 0), (S{7, 7, 7}));
  EXPECT_EQ([[copy valueForProperty:NSImageGamma] doubleValue], 0.5);
  [copy setProperty:NSImageGamma withValue:nil];
  EXPECT_NE([rep valueForProperty:NSImageGamma], nil);
}

TEST_F(BitmapLayout, ResolutionComesFromTheFileAndGoesBackIntoIt) {
  NSBitmapImageRep* rep = MakeRep(MakeTestPicture(144, 72, 3));
  [rep setSize:NSMakeSize(72, 36)];  // 144 dpi
  for (NSBitmapImageFileType type : {NSPNGFileType, NSTIFFFileType, NSJPEGFileType, NSBMPFileType}) {
    NSBitmapImageRep* back = Reread(rep, type);
    EXPECT_NEAR([back size].width, 72, 0.5) << type;
    EXPECT_NEAR([back size].height, 36, 0.5) << type;
    EXPECT_EQ([back pixelsWide], 144);
  }
}

}  // namespace
