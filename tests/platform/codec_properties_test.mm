/* The encoder properties do what they say, checked in the bytes written and by reading them
   back: JPEG progressive scans, PNG interlace and gamma, TIFF compression codes,
   GIF transparency, dithering, colour tables, interlace and animation, and EXIF read from
   and written into JPEG. */
#import "platform/codec_support.h"

#include <gif_lib.h>

#include <cstring>

namespace {

class CodecProperties : public CodecTest {};

bool Contains(NSData* data, NSData* part) {
  return [data rangeOfData:part options:0 range:NSMakeRange(0, [data length])].location != NSNotFound;
}

// Whether a colour (three samples) is an entry of a table of R, G, B entries.
bool InTable(NSData* table, const uint8_t* rgb) {
  for (NSUInteger at = 0; at + 3 <= [table length]; at += 3)
    if (std::memcmp(static_cast<const uint8_t*>([table bytes]) + at, rgb, 3) == 0) return true;
  return false;
}

TEST_F(CodecProperties, JPEGProgressiveScansAndPNGInterlaceAndGammaAreWrittenAndReadBack) {
  NSBitmapImageRep* rep = MakeRep(MakeTestPicture(64, 64, 3));
  NSData *progressive = Bytes({0xFF, 0xC2}), *plain = [rep representationUsingType:NSJPEGFileType properties:nil];
  NSData* scans = [rep representationUsingType:NSJPEGFileType properties:One(Num(YES), NSImageProgressive)];
  EXPECT_TRUE(Contains(plain, Bytes({0xFF, 0xC0})));
  EXPECT_FALSE(Contains(plain, progressive));
  EXPECT_TRUE(Contains(scans, progressive));
  NSBitmapImageRep* read = [NSBitmapImageRep imageRepWithData:scans];
  EXPECT_TRUE([[read valueForProperty:NSImageProgressive] boolValue]);
  TestPicture djpeg;
  ASSERT_TRUE(DecodeWithCommand("djpeg -pnm " + Temporary(scans, ".jpg"), djpeg));
  EXPECT_LE(MaxDifference(djpeg, ReadRep(read)), 1);

  // PNG interlace and gamma.
  TestPicture picture = MakeTestPicture(30, 21, 4);
  NSDictionary* properties = Dict({{NSImageInterlaced, Num(YES)}, {NSImageGamma, Num(0.45455)}});
  NSData* png = [MakeRep(picture) representationUsingType:NSPNGFileType properties:properties];
  ASSERT_GT([png length], 28u);
  EXPECT_EQ(static_cast<const uint8_t*>([png bytes])[28], 1);  // IHDR interlace method: Adam7
  EXPECT_TRUE(Contains(png, Bytes({'g', 'A', 'M', 'A', 0x00, 0x00, 0xB1, 0x8F})));  // 45455
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:png];
  EXPECT_EQ(MaxDifference(ReadRep(back), picture), 0);
  EXPECT_TRUE([[back valueForProperty:NSImageInterlaced] boolValue]);
  EXPECT_NEAR([[back valueForProperty:NSImageGamma] doubleValue], 0.45455, 1e-5);
  TestPicture independent;
  ASSERT_TRUE(DecodeWithPillow(Temporary(png, ".png"), independent));
  EXPECT_EQ(MaxDifference(independent, picture), 0);
  EXPECT_EQ([Reread(MakeRep(picture), NSPNGFileType) valueForProperty:NSImageGamma], nil);
}

TEST_F(CodecProperties, TIFFCompressionThatDoesNotFitFallsBackToNone) {
  NSBitmapImageRep* rgb = MakeRep(MakeTestPicture(16, 16, 3));
  EXPECT_FALSE([rgb canBeCompressedUsing:NSTIFFCompressionCCITTFAX4]);
  EXPECT_FALSE([rgb canBeCompressedUsing:NSTIFFCompressionNEXT]);
  EXPECT_EQ(FirstIFDTag([rgb TIFFRepresentationUsingCompression:NSTIFFCompressionCCITTFAX4 factor:0], 259), 1);
  // A one-bit bitmap can be faxed.
  NSBitmapImageRep* bilevel = NewBitmap(64, 8, 1, 1, NO, NSCalibratedWhiteColorSpace);
  std::memset([bilevel bitmapData], 0xF0, size_t([bilevel bytesPerPlane]));
  ASSERT_TRUE([bilevel canBeCompressedUsing:NSTIFFCompressionCCITTFAX4]);
  NSData* fax = [bilevel TIFFRepresentationUsingCompression:NSTIFFCompressionCCITTFAX4 factor:0];
  EXPECT_EQ(FirstIFDTag(fax, 259), 4);
  const TestPicture pixels = ReadRep([NSBitmapImageRep imageRepWithData:fax]);
  ASSERT_EQ(pixels.width, 64);
  EXPECT_EQ(pixels.at(0, 0)[0], 255);
  EXPECT_EQ(pixels.at(4, 0)[0], 0);
}

TEST_F(CodecProperties, GIFTransparencyColourTableAndInterlace) {
  // Everywhere 40% opaque: thresholded, all of it goes clear; dithered, about 40% stays.
  TestPicture picture = MakeTestPicture(64, 64, 4);
  for (size_t i = 3; i < picture.pixels.size(); i += 4) picture.pixels[i] = 102;
  NSBitmapImageRep* rep = MakeRep(picture);
  auto opaqueShare = [](NSBitmapImageRep* gif) {
    TestPicture p = ReadRep(gif);
    size_t opaque = 0;
    for (size_t i = 3; i < p.pixels.size(); i += 4) opaque += p.pixels[i] == 255;
    return double(opaque) / (p.pixels.size() / 4);
  };
  EXPECT_EQ(opaqueShare(Reread(rep, NSGIFFileType)), 0.0);
  EXPECT_NEAR(opaqueShare(Reread(rep, NSGIFFileType, One(Num(YES), NSImageDitherTransparency))), 0.4, 0.05);

  // A colour table given and interlaced rows.
  NSData* table = Bytes({0, 0, 0, 255, 255, 255, 255, 0, 0, 0, 0, 255});
  NSData* gif = [MakeRep(MakeTestPicture(33, 40, 3))
      representationUsingType:NSGIFFileType
                   properties:Dict({{NSImageRGBColorTable, table}, {NSImageInterlaced, Num(YES)}})];
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:gif];
  EXPECT_TRUE([[back valueForProperty:NSImageInterlaced] boolValue]);
  TestPicture pixels = ReadRep(back);
  for (size_t i = 0; i < pixels.pixels.size(); i += 3) ASSERT_TRUE(InTable(table, &pixels.pixels[i])) << i;
  TestPicture independent;
  ASSERT_TRUE(DecodeWithCommand("giftopnm " + Temporary(gif, ".gif"), independent));
  EXPECT_EQ(MaxDifference(independent, pixels), 0);  // the interlaced rows land where they belong
}

// Frames with their durations and a loop count (forever where none is given), read back and
// by Pillow; the colour table as read; a whole animation written back from the frame shown.
TEST_F(CodecProperties, GIFAnimationFramesDurationsLoopsAndColourTable) {
  NSMutableArray* reps = [NSMutableArray array];
  std::vector<TestPicture> pictures;
  for (int i = 0; i < 3; ++i) {
    pictures.push_back(WithoutAlpha(MakeFewColourPicture(24, 18, false)));
    for (size_t p = 0; p < pictures.back().pixels.size(); p += 3) pictures.back().pixels[p] = uint8_t(80 * i);
    NSBitmapImageRep* rep = MakeRep(i == 1 ? AsRGBA(pictures.back()) : pictures.back());  // opaque RGBA among RGB
    [rep setProperty:NSImageCurrentFrameDuration withValue:Num(0.1f * (i + 1))];
    [reps addObject:rep];
  }
  NSData* gif = [NSBitmapImageRep representationOfImageRepsInArray:reps usingType:NSGIFFileType
                                                        properties:One(Num(3), NSImageLoopCount)];
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:gif];
  EXPECT_EQ([[back valueForProperty:NSImageFrameCount] integerValue], 3);
  EXPECT_EQ([[back valueForProperty:NSImageLoopCount] integerValue], 3);
  for (int i = 0; i < 3; ++i) {
    [back setProperty:NSImageCurrentFrame withValue:Num(i)];
    EXPECT_EQ([[back valueForProperty:NSImageCurrentFrame] integerValue], i);
    EXPECT_NEAR([[back valueForProperty:NSImageCurrentFrameDuration] floatValue], 0.1f * (i + 1), 0.001);
    EXPECT_EQ(MaxDifference(ReadRep(back), pictures[size_t(i)]), 0) << i;
  }
  EXPECT_EQ(Pillow(gif, ".gif", "print(im.n_frames, im.info.get('loop'), im.info.get('duration'))"), "3 3 100");

  NSBitmapImageRep* animation = [NSBitmapImageRep
      imageRepWithData:[NSBitmapImageRep representationOfImageRepsInArray:reps usingType:NSGIFFileType properties:nil]];
  EXPECT_EQ([[animation valueForProperty:NSImageLoopCount] integerValue], 0);  // an animation loops forever
  // The colour table as read: every pixel's colour is in it.
  NSData* table = [animation valueForProperty:NSImageRGBColorTable];
  ASSERT_TRUE([table isKindOfClass:[NSData class]]);
  ASSERT_EQ([table length] % 3, 0u);
  const TestPicture shown = ReadRep(animation);
  for (size_t p = 0; p < shown.pixels.size(); p += 3) ASSERT_TRUE(InTable(table, &shown.pixels[p])) << p;
  // Showing frame 1, given a new duration and a loop count, it is written whole.
  [animation setProperty:NSImageCurrentFrame withValue:Num(1)];
  [animation setProperty:NSImageCurrentFrameDuration withValue:Num(0.5)];
  [animation setProperty:NSImageLoopCount withValue:Num(4)];
  NSData* again = [animation representationUsingType:NSGIFFileType properties:nil];
  EXPECT_EQ(Pillow(again, ".gif",
                   "d = []\nfor i in range(im.n_frames): im.seek(i); d.append(im.info['duration'])\n"
                   "print(im.n_frames, im.info.get('loop'), d)"),
            "3 4 [100, 500, 300]");
  back = [NSBitmapImageRep imageRepWithData:again];
  for (int i = 0; i < 3; ++i) {
    [back setProperty:NSImageCurrentFrame withValue:Num(i)];
    EXPECT_EQ(MaxDifference(ReadRep(back), pictures[size_t(i)]), 0) << i;
  }
  NSData* twice = [animation representationUsingType:NSGIFFileType properties:One(Num(2), NSImageLoopCount)];
  EXPECT_EQ(Pillow(twice, ".gif", "print(im.n_frames, im.info.get('loop'))"), "3 2");
  // One image has a loop count only when asked for one.
  for (NSDictionary* properties : {(NSDictionary*)nil, One(Num(3), NSImageLoopCount)})
    EXPECT_EQ(Pillow([MakeRep(pictures[0]) representationUsingType:NSGIFFileType properties:properties], ".gif",
                     "print(im.info.get('loop'))"),
              properties ? "3" : "None");
}

// EXIF of a JPEG that Pillow wrote is read; a dictionary given to the encoder is written and
// read back, by us and by Pillow.
TEST_F(CodecProperties, EXIFInJPEGIsReadAndWritten) {
  NSData* elsewhere = MadeByPillow(
      "im = Image.new('RGB', (40, 30), (200, 100, 50)); ex = Image.Exif(); ex[0x010F] = 'QVR Camera'; "
      "ex[0x0110] = 'Model 7'; ex[0x0112] = 6; ex[0x8769] = {0x829a: TiffImagePlugin.IFDRational(1, 250), "
      "0x9003: '2024:01:02 03:04:05', 0x8827: 400}; im.save(out, 'JPEG', exif=ex)");
  ExpectEXIF([[NSBitmapImageRep imageRepWithData:elsewhere] valueForProperty:NSImageEXIFData],
             Dict({{@"Make", @"QVR Camera"}, {@"Model", @"Model 7"}, {@"Orientation", Num(6)},
                   {@"ExposureTime", Num(0.004)}, {@"DateTimeOriginal", @"2024:01:02 03:04:05"},
                   {@"ISOSpeedRatings", Num(400)}}));
  NSDictionary* exif = Dict({{@"Make", @"Writer Test"}, {@"ExposureTime", Num(0.5)}, {@"Orientation", Num(3)}});
  NSData* jpeg = [MakeRep(MakeTestPicture(20, 20, 3)) representationUsingType:NSJPEGFileType
                                                                  properties:One(exif, NSImageEXIFData)];
  ExpectEXIF([[NSBitmapImageRep imageRepWithData:jpeg] valueForProperty:NSImageEXIFData], exif);
  EXPECT_EQ(Pillow(jpeg, ".jpg", "print(im.getexif()[271])"), "Writer Test");
}

// A little-endian TIFF with the pixels first and the directories after them (as cameras and
// scanners write it): 300 x 100 RGB, then IFD0 with an EXIF pointer, then the EXIF IFD.
NSData* TIFFWithEXIFAfterThePixels() {
  std::vector<uint8_t> f = {'I', 'I', 42, 0, 0, 0, 0, 0};
  const uint32_t width = 300, height = 100, strip = 8, strip_bytes = width * height * 3;
  for (uint32_t i = 0; i < strip_bytes; ++i) f.push_back(uint8_t(i % 251));
  auto u16 = [&](uint32_t v) { f.push_back(uint8_t(v)), f.push_back(uint8_t(v >> 8)); };
  auto u32 = [&](uint32_t v) { u16(v & 0xFFFF), u16(v >> 16); };
  auto entry = [&](uint16_t tag, uint16_t type, uint32_t count, uint32_t value) { u16(tag), u16(type), u32(count), u32(value); };
  const uint32_t ifd0 = uint32_t(f.size());
  f[4] = uint8_t(ifd0), f[5] = uint8_t(ifd0 >> 8), f[6] = uint8_t(ifd0 >> 16), f[7] = uint8_t(ifd0 >> 24);
  const uint32_t ifd0_entries = 11, exif_at = ifd0 + 2 + 12 * ifd0_entries + 4, exif_entries = 3;
  const uint32_t values = exif_at + 2 + 12 * exif_entries + 4;
  u16(ifd0_entries);
  entry(256, 3, 1, width);
  entry(257, 3, 1, height);
  entry(258, 3, 3, values);  // bits per sample: 8, 8, 8 out of line
  entry(259, 3, 1, 1);
  entry(262, 3, 1, 2);
  entry(271, 2, 5, values + 6);  // Make "Scan"
  entry(273, 4, 1, strip);
  entry(277, 3, 1, 3);
  entry(278, 3, 1, height);
  entry(279, 4, 1, strip_bytes);
  entry(0x8769, 4, 1, exif_at);
  u32(0);
  u16(exif_entries);
  entry(0x829A, 5, 1, values + 12);  // ExposureTime 1/125
  entry(0x8827, 3, 1, 200);          // ISOSpeedRatings
  entry(0x9003, 2, 20, values + 20); // DateTimeOriginal
  u32(0);
  u16(8), u16(8), u16(8);
  for (char c : std::string("Scan")) f.push_back(uint8_t(c));
  f.push_back(0), f.push_back(0);
  u32(1), u32(125);
  const std::string date = "2023:05:06 07:08:09";
  f.insert(f.end(), date.begin(), date.end());
  f.push_back(0);
  return DataOf(f);
}

TEST_F(CodecProperties, EXIFIsReadFromATIFFWhereverItLies) {
  NSData* tiff = TIFFWithEXIFAfterThePixels();
  ASSERT_GT([tiff length], 90000u);
  NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:tiff];
  EXPECT_EQ([rep pixelsWide], 300);
  NSDictionary* exif = [rep valueForProperty:NSImageEXIFData];
  ExpectEXIF(exif, Dict({{@"ExposureTime", Num(0.008)}, {@"ISOSpeedRatings", Num(200)},
                         {@"DateTimeOriginal", @"2023:05:06 07:08:09"}, {@"Make", @"Scan"}}));
  EXPECT_EQ([exif objectForKey:@"StripOffsets"], nil);  // pixel locations stay behind
  TestPicture independent;
  ASSERT_TRUE(DecodeWithCommand("tifftopnm " + Temporary(tiff, ".tiff"), independent));
  EXPECT_EQ(MaxDifference(independent, ReadRep(rep)), 0);
}

}  // namespace

namespace {

struct Patch { int left, top, width, height, colour, disposal; };

// A GIF written with giflib itself: a canvas of the given size with one colour table of four
// colours (index 0 transparent) and a frame per patch, each all one colour index.
NSData* PatchAnimation(int width, int height, const std::vector<Patch>& patches) {
  std::vector<uint8_t> bytes;
  int error = 0;
  GifFileType* gif = EGifOpen(&bytes, [](GifFileType* g, const GifByteType* data, int length) {
    auto* out = static_cast<std::vector<uint8_t>*>(g->UserData);
    out->insert(out->end(), data, data + length);
    return length;
  }, &error);
  GifColorType colours[4] = {{0, 0, 0}, {250, 20, 20}, {20, 250, 20}, {20, 20, 250}};
  ColorMapObject* map = GifMakeMapObject(4, colours);
  EGifSetGifVersion(gif, true);
  EGifPutScreenDesc(gif, width, height, 2, 0, map);
  for (const Patch& p : patches) {
    GraphicsControlBlock gcb{p.disposal, false, 10, 0};
    GifByteType extension[4];
    EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, int(EGifGCBToExtension(&gcb, extension)), extension);
    EGifPutImageDesc(gif, p.left, p.top, p.width, p.height, false, nullptr);
    std::vector<GifPixelType> row(size_t(p.width), GifPixelType(p.colour));
    for (int y = 0; y < p.height; ++y) EGifPutLine(gif, row.data(), p.width);
  }
  EGifCloseFile(gif, &error);
  GifFreeMapObject(map);
  return DataOf(bytes);
}

}  // namespace

// Frames that are small patches, with every disposal and transparent pixels, composited as
// Pillow composites them, shown in order and out of order; an animation whose canvas per
// frame would take gigabytes is read, and a few bytes claiming a vast canvas are not.
TEST_F(CodecProperties, GIFAnimationOfPatchesShowsEachFrameAsPillowDoes) {
  std::vector<Patch> patches = {{0, 0, 64, 48, 1, 1}, {10, 5, 20, 10, 2, 2}, {30, 20, 25, 20, 3, 3},
                                {5, 30, 40, 12, 0, 1}, {0, 0, 16, 16, 2, 3},  {40, 0, 24, 48, 3, 2},
                                {8, 8, 48, 32, 1, 1}};
  NSData* gif = PatchAnimation(64, 48, patches);
  // Every frame's RGBA, transparent pixels as 0, 0, 0, 0, in hexadecimal.
  const std::string frames = Pillow(gif, ".gif",
                                        "print(' '.join((im.seek(k), im.convert('RGBA').tobytes().hex())[1] "
                                        "for k in range(im.n_frames)))");
  NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:gif];
  ASSERT_EQ([[rep valueForProperty:NSImageFrameCount] integerValue], NSInteger(patches.size()));
  const size_t frameHex = 64 * 48 * 4 * 2;
  ASSERT_EQ(frames.size(), patches.size() * (frameHex + 1) - 1) << frames.substr(0, 200);
  for (int frame : {0, 1, 2, 3, 4, 5, 6, 2, 5, 0, 6}) {
    [rep setProperty:NSImageCurrentFrame withValue:Num(frame)];
    const TestPicture shown = ReadRep(rep);
    ASSERT_EQ(shown.samples, 4);
    std::string hex;
    char two[3];
    for (uint8_t sample : shown.pixels) hex.append(two, size_t(snprintf(two, sizeof two, "%02x", sample)));
    EXPECT_EQ(hex, frames.substr(size_t(frame) * (frameHex + 1), frameHex)) << "frame " << frame;
  }

  // 300 patches of 8 x 8 on 4,000 x 3,000: 14 GB as a whole canvas per frame.
  std::vector<Patch> sparse;
  for (int i = 0; i < 300; ++i) sparse.push_back({i * 13, i * 10, 8, 8, 1 + i % 3, 1});
  NSBitmapImageRep* big = [NSBitmapImageRep imageRepWithData:PatchAnimation(4000, 3000, sparse)];
  ASSERT_NE(big, nil);
  [big setProperty:NSImageCurrentFrame withValue:Num(299)];
  EXPECT_EQ([[big valueForProperty:NSImageCurrentFrame] integerValue], 299);
  const uint8_t* last = [big bitmapData] + size_t(2990 + 4) * size_t([big bytesPerRow]) + size_t(3887 + 4) * 4;
  const uint8_t* first = [big bitmapData] + size_t(4) * size_t([big bytesPerRow]) + 4 * 4;
  EXPECT_EQ(std::vector<int>({last[0], last[1], last[3], first[0], first[3]}), std::vector<int>({20, 20, 255, 250, 255}));

  EXPECT_EQ([NSBitmapImageRep imageRepWithData:PatchAnimation(16000, 16000, {{0, 0, 1, 1, 1, 1}})], nil);
}
