/* Every format written and read back: the pixels as our decoders see them, and as decoders
   that share no code with ours (netpbm, djpeg, Pillow) see them. */
#import "platform/codec_support.h"

#include <tuple>

namespace {

class CodecRoundTrip : public CodecTest {};

// Every layout kept exactly, in a small picture and in one large enough that its rows are
// deflated in several pieces joined into one stream: read back exactly by libpng
// (pngtopnm), ImageMagick and Pillow, and pixel for pixel what the row-by-row writer gives
// in an interlaced file, also from premultiplied pixels (divided back on the way).
TEST_F(CodecRoundTrip, PNGKeepsEveryLayoutWholeOrInPiecesLikeTheRowByRowWriter) {
  NSDictionary* interlaced = One(Num(YES), NSImageInterlaced);
  for (int size : {67, 1100})
  for (int samples : {1, 2, 3, 4, -4}) {  // -4: RGBA premultiplied
    SCOPED_TRACE(std::to_string(size) + " wide, " + std::to_string(samples));
    TestPicture picture = MakeTestPicture(size, size * 7 / 11, samples < 0 ? 4 : samples);
    NSBitmapImageRep* rep = MakeRep(picture);
    if (samples < 0) {
      NSBitmapImageRep* premultiplied = NewBitmap(picture.width, picture.height, 8, 4, YES, NSCalibratedRGBColorSpace);
      unsigned char* out = [premultiplied bitmapData];
      for (size_t i = 0; i < picture.pixels.size(); i += 4) {
        const unsigned a = picture.pixels[i + 3];
        for (int c = 0; c < 3; ++c) out[i + c] = uint8_t((picture.pixels[i + c] * a + 127) / 255);
        out[i + 3] = uint8_t(a);
      }
      rep = premultiplied;
    }
    NSData* png = [rep representationUsingType:NSPNGFileType properties:nil];
    NSData* general = [rep representationUsingType:NSPNGFileType properties:interlaced];
    TestPicture fast, slow;
    ASSERT_TRUE(DecodeWithPillow(Temporary(png, ".png"), fast));
    ASSERT_TRUE(DecodeWithPillow(Temporary(general, ".png"), slow));
    EXPECT_EQ(MaxDifference(fast, slow), 0);
    if (samples < 0) continue;
    if (samples == 4) {
      EXPECT_EQ(MaxDifference(fast, picture), 0);
    }
    const bool grey = samples <= 2;
    for (const char* reader : {"pngtopnm ", "convert -quiet PNG:"}) {
      TestPicture independent;
      const std::string tail = reader[0] == 'c' ? (grey ? " pgm:-" : " ppm:-") : "";
      ASSERT_TRUE(DecodeWithCommand(reader + Temporary(png, ".png") + tail, independent)) << reader;
      EXPECT_EQ(MaxDifference(independent, WithoutAlpha(picture)), 0) << reader;
    }
    EXPECT_EQ(MaxDifference(ReadRep([NSBitmapImageRep imageRepWithData:png]), picture), 0);
  }

  // Sixteen-bit samples are kept.
  NSBitmapImageRep* rep = NewBitmap(9, 4, 16, 3, NO, NSCalibratedRGBColorSpace);
  for (NSInteger y = 0; y < 4; ++y)
    for (NSInteger x = 0; x < 9; ++x) {
      NSUInteger p[3] = {NSUInteger(x * 7000 + y), NSUInteger(65535 - x * 3), NSUInteger(y * 16000 + 1)};
      [rep setPixel:p atX:x y:y];
    }
  NSBitmapImageRep* back = Reread(rep, NSPNGFileType);
  EXPECT_EQ([back bitsPerSample], 16);
  for (NSInteger y = 0; y < 4; ++y)
    for (NSInteger x = 0; x < 9; ++x) ASSERT_EQ(Samples(back, x, y), Samples(rep, x, y)) << x << "," << y;
}

// Every compression code is in the file, given as an argument or a property, and read back
// (written again without one, it keeps its own); lossless codes keep the pixels exactly,
// JPEG inside TIFF close, as our reader and libtiff's see them.
TEST_F(CodecRoundTrip, TIFFKeepsPixelsAndTheCodeOfEveryCompression) {
  for (int samples : {1, 3, 4})
    for (NSTIFFCompression code : {NSTIFFCompressionNone, NSTIFFCompressionLZW, NSTIFFCompressionPackBits,
                                   NSTIFFCompressionJPEG}) {
      if (code == NSTIFFCompressionJPEG && samples != 3) continue;
      SCOPED_TRACE(std::to_string(samples) + " samples, compression " + std::to_string(code));
      const TestPicture picture = MakeTestPicture(code == NSTIFFCompressionJPEG ? 64 : 50, 31, samples);
      NSBitmapImageRep* rep = MakeRep(picture);
      ASSERT_TRUE([rep canBeCompressedUsing:code]);
      NSData* tiff = [rep TIFFRepresentationUsingCompression:code factor:0.9f];
      // AppKit's JPEG code 6 is TIFF's current JPEG scheme, 7 in the file (6 there is old-style JPEG).
      const int inFile = code == NSTIFFCompressionJPEG ? 7 : int(code);
      EXPECT_EQ(FirstIFDTag(tiff, 259), inFile);
      NSDictionary* property = One(Num(code), NSImageCompressionMethod);
      EXPECT_EQ(FirstIFDTag([rep representationUsingType:NSTIFFFileType properties:property], 259), inFile);
      NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:tiff];
      NSTIFFCompression read = NSTIFFCompressionNone;
      float factor;
      [back getCompression:&read factor:&factor];
      EXPECT_EQ(read, code);
      EXPECT_EQ([[back valueForProperty:NSImageCompressionMethod] integerValue], NSInteger(code));
      EXPECT_EQ(FirstIFDTag([back TIFFRepresentation], 259), inFile);
      const TestPicture ours = ReadRep(back);
      // netpbm reads the colour samples; Pillow also the (unassociated) alpha.
      TestPicture independent;
      const std::string path = Temporary(tiff, ".tiff");
      ASSERT_TRUE(samples == 4 ? DecodeWithPillow(path, independent) : DecodeWithCommand("tifftopnm " + path, independent));
      for (const TestPicture& read : {ours, independent}) {
        if (code == NSTIFFCompressionJPEG) EXPECT_LT(MeanDifference(read, picture), 4.0);
        else EXPECT_EQ(MaxDifference(read, picture), 0);
      }
    }
}

// Grey and RGB stay close and djpeg sees our pixels; alpha is laid over white.
TEST_F(CodecRoundTrip, JPEGStaysCloseAndIndependentDecoderAgrees) {
  for (int samples : {1, 3, 4}) {
    const TestPicture picture = MakeTestPicture(80, 60, samples);
    NSData* jpeg = [MakeRep(picture) representationUsingType:NSJPEGFileType
                                                  properties:One(Num(samples == 4 ? 1.0f : 0.9f),
                                                                 NSImageCompressionFactor)];
    NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:jpeg];
    EXPECT_FALSE([back hasAlpha]);
    const TestPicture ours = ReadRep(back);
    EXPECT_LT(MeanDifference(ours, OverWhite(picture)), samples == 4 ? 2.0 : 3.0) << samples;
    TestPicture independent;
    ASSERT_TRUE(DecodeWithCommand("djpeg -pnm " + Temporary(jpeg, ".jpg"), independent));
    EXPECT_LE(MaxDifference(independent, ours), 1) << samples;  // the same decoder family, same pixels
  }
}

TEST_F(CodecRoundTrip, BMPKeepsPixelsWithAndWithoutAlpha) {
  for (int samples : {1, 3, 4}) {
    const TestPicture picture = MakeTestPicture(33, 17, samples);
    NSData* bmp = [MakeRep(picture) representationUsingType:NSBMPFileType properties:nil];
    ASSERT_NE(bmp, nil);
    EXPECT_EQ(static_cast<const uint8_t*>([bmp bytes])[28], samples == 4 ? 32 : 24) << "bits a pixel";
    // BMP has no grey: it comes back as RGB.
    const TestPicture expected = samples == 1 ? WithoutAlpha(AsRGBA(picture)) : picture;
    EXPECT_EQ(MaxDifference(ReadRep([NSBitmapImageRep imageRepWithData:bmp]), expected), 0) << samples;
    const std::string path = Temporary(bmp, ".bmp");
    TestPicture independent, netpbm;
    ASSERT_TRUE(DecodeWithPillow(path, independent));
    EXPECT_EQ(MaxDifference(independent, AsRGBA(expected)), 0) << samples;
    if (samples == 4) continue;
    ASSERT_TRUE(DecodeWithCommand("bmptoppm " + path, netpbm));
    EXPECT_EQ(MaxDifference(netpbm, expected), 0);
  }
}

TEST_F(CodecRoundTrip, GIFKeepsAFewColoursExactlyAndAPhotographClose) {
  const TestPicture picture = MakeFewColourPicture(41, 29, true);
  NSData* gif = [MakeRep(picture) representationUsingType:NSGIFFileType properties:nil];
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:gif];
  ASSERT_TRUE([back hasAlpha]);
  EXPECT_EQ(MaxDifference(ReadRep(back), picture), 0);
  const std::string path = Temporary(gif, ".gif");
  TestPicture independent, netpbm;
  ASSERT_TRUE(DecodeWithPillow(path, independent));
  for (size_t i = 0; i < independent.pixels.size(); i += 4)
    if (independent.pixels[i + 3] == 0) independent.pixels[i] = independent.pixels[i + 1] = independent.pixels[i + 2] = 0;
  EXPECT_EQ(MaxDifference(independent, picture), 0);
  ASSERT_TRUE(DecodeWithCommand("giftopnm " + path, netpbm));
  EXPECT_EQ(netpbm.width, 41);
  const TestPicture photograph = MakeTestPicture(64, 64, 3);
  EXPECT_LT(MeanDifference(ReadRep(Reread(MakeRep(photograph), NSGIFFileType)), photograph), 6.0);
}

TEST_F(CodecRoundTrip, JPEG2000WhenTheLibraryIsThere) {
  if (![[NSBitmapImageRep imageUnfilteredTypes] containsObject:@"public.jpeg-2000"]) GTEST_SKIP();
  const TestPicture picture = MakeTestPicture(48, 40, 3);
  NSData* jp2 = [MakeRep(picture) representationUsingType:NSJPEG2000FileType
                                               properties:One(Num(1.0f), NSImageCompressionFactor)];
  EXPECT_EQ(MaxDifference(ReadRep([NSBitmapImageRep imageRepWithData:jp2]), picture), 0);
  TestPicture independent;
  ASSERT_TRUE(DecodeWithPillow(Temporary(jp2, ".jp2"), independent));
  EXPECT_EQ(MaxDifference(WithoutAlpha(independent), picture), 0);
  // Past a million pixels a codestream must bring a byte for every 4,096 of them: Pillow's
  // flat 1200 x 1000 picture (some 360 bytes) reads, its 2048 x 1024 one (as small) does not.
  for (const auto& [width, height, reads] : {std::tuple{1200, 1000, true}, std::tuple{2048, 1024, false}}) {
    const std::string size = std::to_string(width) + ", " + std::to_string(height);
    NSBitmapImageRep* flat = [NSBitmapImageRep
        imageRepWithData:MadeByPillow("Image.new('RGB', (" + size + "), (10, 20, 30)).save(out, 'JPEG2000')")];
    EXPECT_EQ(flat != nil, reads) << width << " x " << height;
    if (flat) {
      const TestPicture pixels = ReadRep(flat);
      EXPECT_EQ(std::vector<int>(pixels.pixels.begin(), pixels.pixels.begin() + 3), std::vector<int>({10, 20, 30}));
    }
  }
}

}  // namespace
