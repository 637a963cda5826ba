/* The bitmap properties that travel inside files, checked with Pillow and libtiff's tools as
   well as our own reading: ICC profiles in PNG, JPEG and TIFF, EXIF in TIFF of one page and
   of many, the fallback background colour, and the compression factor of JPEG inside TIFF.
   Each acts given to the encoder and set on the representation alike. */
#import "platform/codec_support.h"

namespace {

class BitmapProperties : public CodecTest {};

std::string Hex(NSData* data) {
  static const char digits[] = "0123456789abcdef";
  std::string hex;
  const uint8_t* p = static_cast<const uint8_t*>([data bytes]);
  for (NSUInteger i = 0; i < [data length]; ++i) hex += digits[p[i] >> 4], hex += digits[p[i] & 15];
  return hex;
}

TEST_F(BitmapProperties, ICCProfileIsEmbeddedAndReadBackInPNGJPEGAndTIFF) {
  // A real sRGB profile, made by Pillow's colour management module.
  NSData* profile =
      MadeByPillow("open(out, 'wb').write(ImageCms.ImageCmsProfile(ImageCms.createProfile('sRGB')).tobytes())");
  ASSERT_GT([profile length], 128u);
  // Given to the encoder, and set on the representation.
  for (bool onTheRepresentation : {false, true})
    for (const auto& [type, extension] :
         {std::pair{NSPNGFileType, ".png"}, {NSJPEGFileType, ".jpg"}, {NSTIFFFileType, ".tiff"}}) {
      SCOPED_TRACE(std::string(extension) + (onTheRepresentation ? " (set on the representation)" : ""));
      NSBitmapImageRep* rep = MakeRep(MakeTestPicture(24, 16, 3));
      if (onTheRepresentation) [rep setProperty:NSImageColorSyncProfileData withValue:profile];
      NSData* data = [rep representationUsingType:type
                                       properties:onTheRepresentation ? nil : One(profile, NSImageColorSyncProfileData)];
      EXPECT_TRUE([[[NSBitmapImageRep imageRepWithData:data] valueForProperty:NSImageColorSyncProfileData]
          isEqualToData:profile]);
      EXPECT_EQ(Pillow(data, extension, "print(im.info.get('icc_profile', b'').hex())"), Hex(profile));
    }
  // Without one, none is written or reported.
  NSData* plain = [MakeRep(MakeTestPicture(8, 8, 3)) representationUsingType:NSPNGFileType properties:nil];
  EXPECT_EQ([[NSBitmapImageRep imageRepWithData:plain] valueForProperty:NSImageColorSyncProfileData], nil);
}

TEST_F(BitmapProperties, EXIFIsWrittenIntoTIFFAndReadBack) {
  NSDictionary* exif = Dict({{@"Make", @"Writer Test"}, {@"Model", @"Model 9"}, {@"ExposureTime", Num(0.5)},
                             {@"ISOSpeedRatings", Num(200)}, {@"DateTimeOriginal", @"2024:01:02 03:04:05"}});
  const TestPicture pictures[] = {MakeTestPicture(40, 30, 3), MakeTestPicture(20, 10, 1), MakeTestPicture(30, 12, 3)};
  NSBitmapImageRep* rep = MakeRep(pictures[0]);
  [rep setProperty:NSImageEXIFData withValue:exif];
  NSArray* reps = [NSArray arrayWithObjects:rep, MakeRep(pictures[1]), MakeRep(pictures[2]), nil];
  for (NSTIFFCompression compression : {NSTIFFCompressionNone, NSTIFFCompressionLZW}) {
    SCOPED_TRACE(compression);
    // Set on the representation, for three pages; given to the encoder, for one.
    NSData* tiffs[2] = {
        [NSBitmapImageRep TIFFRepresentationOfImageRepsInArray:reps usingCompression:compression factor:0],
        [MakeRep(pictures[0]) representationUsingType:NSTIFFFileType
                                           properties:Dict({{NSImageEXIFData, exif},
                                                            {NSImageCompressionMethod, Num(compression)}})]};
    for (NSData* tiff : tiffs) {
      NSArray* pages = [NSBitmapImageRep imageRepsWithData:tiff];
      ASSERT_EQ([pages count], tiff == tiffs[0] ? 3u : 1u);
      ExpectEXIF([[pages objectAtIndex:0] valueForProperty:NSImageEXIFData], exif);
      for (NSUInteger page = 0; page < [pages count]; ++page)
        EXPECT_EQ(MaxDifference(ReadRep([pages objectAtIndex:page]), pictures[page]), 0) << "page " << page;
      EXPECT_EQ([[NSBitmapImageRep imageRepWithData:tiff] pixelsWide], 40) << "one representation: the first page";
      EXPECT_EQ(Pillow(tiff, ".tiff",
                       "e = im.getexif(); x = e.get_ifd(0x8769); "
                       "print(im.n_frames, e[271], e[272], float(x[0x829a]), x[0x8827], x[0x9003])"),
                std::to_string([pages count]) + " Writer Test Model 9 0.5 200 2024:01:02 03:04:05");
      TestPicture independent;
      ASSERT_TRUE(DecodeWithCommand("tifftopnm " + Temporary(tiff, ".tiff"), independent));
      EXPECT_EQ(MaxDifference(independent, pictures[0]), 0);
    }
  }
}

TEST_F(BitmapProperties, FallbackBackgroundColourIsWhatTransparentPixelsBecome) {
  TestPicture clear = MakeTestPicture(16, 16, 4);
  for (size_t i = 3; i < clear.pixels.size(); i += 4) clear.pixels[i] = 0;
  NSColor* red = [NSColor colorWithCalibratedRed:1 green:0 blue:0 alpha:1];
  struct Case {
    NSBitmapImageFileType type;
    const char* extension;
    NSColor* colour;
    bool onTheRepresentation;
    const char* pixel;  // what Pillow reads at (5, 5), as RGBA
    };
  for (const Case& c : {Case{NSJPEGFileType, ".jpg", red, false, "(254, 0, 0, 255)"},
                        Case{NSJPEGFileType, ".jpg", red, true, "(254, 0, 0, 255)"},
                        Case{NSJPEGFileType, ".jpg", nil, false, "(255, 255, 255, 255)"},
                        Case{NSBMPFileType, ".bmp", red, false, "(255, 0, 0, 255)"},
                        Case{NSBMPFileType, ".bmp", red, true, "(255, 0, 0, 255)"}}) {
    SCOPED_TRACE(c.extension);
    NSBitmapImageRep* rep = MakeRep(clear);
    if (c.colour != nil && c.onTheRepresentation) [rep setProperty:NSImageFallbackBackgroundColor withValue:c.colour];
    NSDictionary* properties = c.colour != nil && !c.onTheRepresentation ? One(c.colour, NSImageFallbackBackgroundColor) : nil;
    EXPECT_EQ(Pillow([rep representationUsingType:c.type properties:properties], c.extension,
                     "print(im.convert('RGBA').getpixel((5, 5)))"),
              c.pixel);
  }
  // BMP without a fallback colour keeps the transparency.
  EXPECT_EQ(Pillow([MakeRep(clear) representationUsingType:NSBMPFileType properties:nil], ".bmp",
                   "print(im.convert('RGBA').getpixel((5, 5))[3])"),
            "0");
}

TEST_F(BitmapProperties, CompressionFactorTradesSizeForQualityInJPEGAndTIFF) {
  TestPicture picture = MakeTestPicture(96, 64, 3);
  NSBitmapImageRep* rep = MakeRep(picture);
  for (NSBitmapImageFileType type : {NSJPEGFileType, NSTIFFFileType}) {
    SCOPED_TRACE(int(type));
    NSUInteger previousSize = 0;
    double previousError = 1e9;
    // JPEG's whole range, ends included; JPEG inside TIFF in its middle.
    for (float factor : type == NSJPEGFileType ? std::vector<float>{0.0f, 0.1f, 0.5f, 0.9f, 1.0f}
                                               : std::vector<float>{0.1f, 0.5f, 0.9f}) {
      NSMutableDictionary* properties = Dict({{NSImageCompressionFactor, Num(factor)}});
      if (type == NSTIFFFileType) [properties setObject:Num(NSTIFFCompressionJPEG) forKey:NSImageCompressionMethod];
      NSData* data = [rep representationUsingType:type properties:properties];
      TestPicture independent;
      ASSERT_TRUE(DecodeWithCommand(
          (type == NSJPEGFileType ? "djpeg -pnm " : "tifftopnm ") + Temporary(data, ".bin"), independent));
      const double error = MeanDifference(independent, picture);
      EXPECT_GT([data length], previousSize) << factor;
      EXPECT_LT(error, previousError) << factor;
      previousSize = [data length];
      previousError = error;
    }
  }
}

}  // namespace
