/* Every format written and read back: the pixels as our decoders see them, and as decoders
   that share no code with ours (netpbm, djpeg, Pillow) see them. */
#import "platform/codec_support.h"

#include <gtest/gtest.h>

#include <tuple>

#include <cstdio>

namespace {

class CodecRoundTrip : public CodecTest {};

// Every layout kept exactly, in a small picture and in one large enough that its rows are
// deflated in several pieces joined into one stream: read back exactly by libpng
// (pngtopnm), ImageMagick and Pillow, and pixel for pixel what the row-by-row writer gives
// in an interlaced file, also from premultiplied pixels (divided back on the way).
TEST_F(CodecRoundTrip, PNGKeepsEveryLayoutWholeOrInPiecesLikeTheRowByRowWriter) {
  NSDictionary* interlaced = [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES] forKey:NSImageInterlaced];
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
    ASSERT_NE(png, nil);
    ASSERT_NE(general, nil);
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
    EXPECT_EQ([[NSBitmapImageRep imageRepWithData:png] samplesPerPixel], samples);
    EXPECT_EQ(MaxDifference(ReadRep([NSBitmapImageRep imageRepWithData:png]), picture), 0);
  }
}

TEST_F(CodecRoundTrip, PNGKeepsSixteenBitSamples) {
  NSBitmapImageRep* rep = NewBitmap(9, 4, 16, 3, NO, NSCalibratedRGBColorSpace);
  ASSERT_NE(rep, nil);
  for (NSInteger y = 0; y < 4; ++y)
    for (NSInteger x = 0; x < 9; ++x) {
      NSUInteger p[3] = {NSUInteger(x * 7000 + y), NSUInteger(65535 - x * 3), NSUInteger(y * 16000 + 1)};
      [rep setPixel:p atX:x y:y];
    }
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:[rep representationUsingType:NSPNGFileType properties:nil]];
  ASSERT_NE(back, nil);
  EXPECT_EQ([back bitsPerSample], 16);
  NSUInteger a[3], b[3];
  for (NSInteger y = 0; y < 4; ++y)
    for (NSInteger x = 0; x < 9; ++x) {
      [rep getPixel:a atX:x y:y];
      [back getPixel:b atX:x y:y];
      for (int s = 0; s < 3; ++s) ASSERT_EQ(a[s], b[s]) << x << "," << y;
    }
}

TEST_F(CodecRoundTrip, TIFFKeepsPixelsInEveryCompression) {
  const NSTIFFCompression codes[] = {NSTIFFCompressionNone, NSTIFFCompressionLZW, NSTIFFCompressionPackBits};
  for (int samples : {1, 3, 4}) {
    TestPicture picture = MakeTestPicture(50, 31, samples);
    for (NSTIFFCompression code : codes) {
      NSData* tiff = [MakeRep(picture) TIFFRepresentationUsingCompression:code factor:0];
      ASSERT_NE(tiff, nil);
      NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:tiff];
      ASSERT_NE(back, nil);
      EXPECT_EQ(MaxDifference(ReadRep(back), picture), 0) << samples << " " << code;
      // netpbm reads the colour samples; Pillow also the (unassociated) alpha.
      TestPicture independent;
      const std::string path = Temporary(tiff, ".tiff");
      if (samples == 4) {
        ASSERT_TRUE(DecodeWithPillow(path, independent));
        EXPECT_EQ(MaxDifference(independent, picture), 0) << code;
      } else {
        ASSERT_TRUE(DecodeWithCommand("tifftopnm " + path, independent));
        EXPECT_EQ(MaxDifference(independent, picture), 0) << samples << " " << code;
      }
    }
  }
}

TEST_F(CodecRoundTrip, TIFFWithJPEGCompressionStaysClose) {
  TestPicture picture = MakeTestPicture(64, 48, 3);
  NSData* tiff = [MakeRep(picture) TIFFRepresentationUsingCompression:NSTIFFCompressionJPEG factor:0.9f];
  ASSERT_NE(tiff, nil);
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:tiff];
  ASSERT_NE(back, nil);
  EXPECT_LT(MeanDifference(ReadRep(back), picture), 4.0);
  TestPicture independent;
  ASSERT_TRUE(DecodeWithCommand("tifftopnm " + Temporary(tiff, ".tiff"), independent));
  EXPECT_LT(MeanDifference(independent, picture), 4.0);
}

TEST_F(CodecRoundTrip, JPEGStaysCloseAndIndependentDecoderAgrees) {
  for (int samples : {1, 3}) {
    TestPicture picture = MakeTestPicture(80, 60, samples);
    NSDictionary* properties = [NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:0.9f]
                                                           forKey:NSImageCompressionFactor];
    NSData* jpeg = [MakeRep(picture) representationUsingType:NSJPEGFileType properties:properties];
    ASSERT_NE(jpeg, nil);
    NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:jpeg];
    ASSERT_NE(back, nil);
    TestPicture ours = ReadRep(back);
    EXPECT_LT(MeanDifference(ours, picture), 3.0) << samples;
    TestPicture independent;
    ASSERT_TRUE(DecodeWithCommand("djpeg -pnm " + Temporary(jpeg, ".jpg"), independent));
    EXPECT_LE(MaxDifference(independent, ours), 1) << samples;  // the same decoder family, same pixels
  }
}

TEST_F(CodecRoundTrip, JPEGOfAnImageWithAlphaIsLaidOverWhite) {
  TestPicture picture = MakeTestPicture(40, 40, 4);
  NSData* jpeg = [MakeRep(picture) representationUsingType:NSJPEGFileType
                                                properties:[NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:1.0f]
                                                                                       forKey:NSImageCompressionFactor]];
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:jpeg];
  ASSERT_NE(back, nil);
  EXPECT_FALSE([back hasAlpha]);
  EXPECT_LT(MeanDifference(ReadRep(back), OverWhite(picture)), 2.0);
}

TEST_F(CodecRoundTrip, FallbackBackgroundColourReplacesWhite) {
  TestPicture picture = MakeTestPicture(32, 32, 4);
  NSDictionary* properties = [NSDictionary dictionaryWithObjectsAndKeys:
      [NSColor colorWithCalibratedRed:0 green:0 blue:1 alpha:1], NSImageFallbackBackgroundColor,
      [NSNumber numberWithFloat:1.0f], NSImageCompressionFactor, nil];
  NSBitmapImageRep* back = [NSBitmapImageRep
      imageRepWithData:[MakeRep(picture) representationUsingType:NSJPEGFileType properties:properties]];
  ASSERT_NE(back, nil);
  NSUInteger p[3];
  [back getPixel:p atX:0 y:16];  // fully clear in the source: the background shows
  EXPECT_LT(p[0], 12u);
  EXPECT_LT(p[1], 12u);
  EXPECT_GT(p[2], 240u);
}

TEST_F(CodecRoundTrip, BMPKeepsPixelsWithAndWithoutAlpha) {
  for (int samples : {1, 3, 4}) {
    TestPicture picture = MakeTestPicture(33, 17, samples);
    NSData* bmp = [MakeRep(picture) representationUsingType:NSBMPFileType properties:nil];
    ASSERT_NE(bmp, nil);
    EXPECT_EQ(static_cast<const uint8_t*>([bmp bytes])[28], samples == 4 ? 32 : 24) << "bits a pixel";
    NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:bmp];
    ASSERT_NE(back, nil);
    // BMP has no grey: it comes back as RGB.
    const TestPicture expected = samples == 1 ? WithoutAlpha(AsRGBA(picture)) : picture;
    EXPECT_EQ(MaxDifference(ReadRep(back), expected), 0) << samples;
    std::string path = Temporary(bmp, ".bmp");
    TestPicture independent;
    ASSERT_TRUE(DecodeWithPillow(path, independent));
    EXPECT_EQ(MaxDifference(independent, AsRGBA(expected)), 0) << samples;
    if (samples != 4) {
      TestPicture netpbm;
      ASSERT_TRUE(DecodeWithCommand("bmptoppm " + path, netpbm));
      EXPECT_EQ(MaxDifference(netpbm, expected), 0);
    }
  }
}

TEST_F(CodecRoundTrip, GIFKeepsAFewColoursAndClearPixelsExactly) {
  TestPicture picture = MakeFewColourPicture(41, 29, true);
  NSData* gif = [MakeRep(picture) representationUsingType:NSGIFFileType properties:nil];
  ASSERT_NE(gif, nil);
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:gif];
  ASSERT_NE(back, nil);
  ASSERT_TRUE([back hasAlpha]);
  EXPECT_EQ(MaxDifference(ReadRep(back), picture), 0);
  std::string path = Temporary(gif, ".gif");
  TestPicture independent;
  ASSERT_TRUE(DecodeWithPillow(path, independent));
  for (size_t i = 0; i < independent.pixels.size(); i += 4)
    if (independent.pixels[i + 3] == 0) independent.pixels[i] = independent.pixels[i + 1] = independent.pixels[i + 2] = 0;
  EXPECT_EQ(MaxDifference(independent, picture), 0);
  TestPicture netpbm;
  ASSERT_TRUE(DecodeWithCommand("giftopnm " + path, netpbm));
  EXPECT_EQ(netpbm.width, 41);
}

TEST_F(CodecRoundTrip, GIFOfAPhotographStaysClose) {
  TestPicture picture = MakeTestPicture(64, 64, 3);
  NSBitmapImageRep* back =
      [NSBitmapImageRep imageRepWithData:[MakeRep(picture) representationUsingType:NSGIFFileType properties:nil]];
  ASSERT_NE(back, nil);
  EXPECT_LT(MeanDifference(ReadRep(back), picture), 6.0);
}

TEST_F(CodecRoundTrip, JPEG2000WhenTheLibraryIsThere) {
  if (![[NSBitmapImageRep imageUnfilteredTypes] containsObject:@"public.jpeg-2000"]) GTEST_SKIP();
  TestPicture picture = MakeTestPicture(48, 40, 3);
  NSDictionary* lossless = [NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:1.0f]
                                                       forKey:NSImageCompressionFactor];
  NSData* jp2 = [MakeRep(picture) representationUsingType:NSJPEG2000FileType properties:lossless];
  ASSERT_NE(jp2, nil);
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:jp2];
  ASSERT_NE(back, nil);
  EXPECT_EQ(MaxDifference(ReadRep(back), picture), 0);
  TestPicture independent;
  ASSERT_TRUE(DecodeWithPillow(Temporary(jp2, ".jp2"), independent));
  EXPECT_EQ(MaxDifference(WithoutAlpha(independent), picture), 0);
  // Past a million pixels a codestream must bring a byte for every 4,096 of them: Pillow's
  // flat 1200 x 1000 picture (some 360 bytes) reads, its 2048 x 1024 one (as small) does not.
  for (const auto& [width, height, reads] : {std::tuple{1200, 1000, true}, std::tuple{2048, 1024, false}}) {
    const std::string path = Temporary([NSData data], ".jp2");
    Output("/usr/bin/python3 -c \"import sys; from PIL import Image; Image.new('RGB', (" + std::to_string(width) + ", " +
           std::to_string(height) + "), (10, 20, 30)).save(sys.argv[1])\" " + path);
    NSBitmapImageRep* flat = [NSBitmapImageRep imageRepWithData:ReadFile(path)];
    EXPECT_EQ(flat != nil, reads) << width << " x " << height;
    if (flat) {
      const TestPicture pixels = ReadRep(flat);
      EXPECT_EQ(std::vector<int>(pixels.pixels.begin(), pixels.pixels.begin() + 3), std::vector<int>({10, 20, 30}));
    }
  }
}

}  // namespace
