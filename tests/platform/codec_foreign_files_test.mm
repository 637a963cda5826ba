/* Files written by other encoders (ImageMagick, cjpeg) in the variants our own encoders do
   not write: tiled, planar, 16-bit, palette and CMYK TIFF; progressive, grey and CMYK JPEG;
   palette, low-depth grey, transparent-palette and interlaced PNG; animated GIF with
   disposal. Each read by us and by Pillow, and the pixels compared. */
#import "platform/codec_support.h"

namespace {

struct Variant {
  const char* name;     // file name, its extension tells the format
  const char* command;  // shell command writing the file to $OUT
  int tolerance;        // largest sample difference allowed (16-bit files round either way)
  const char* decoder = nullptr;  // a netpbm command instead of Pillow
};

class CodecForeignFiles : public CodecTest, public ::testing::WithParamInterface<Variant> {};

// Our pixels as straight RGBA, whatever layout the representation has.
TestPicture AsRGBA(NSBitmapImageRep* rep) {
  TestPicture out{int([rep pixelsWide]), int([rep pixelsHigh]), 4, {}};
  for (int y = 0; y < out.height; ++y)
    for (int x = 0; x < out.width; ++x) {
      const RGBA c = ColourAt(rep, x, y);
      out.pixels.insert(out.pixels.end(), {uint8_t(c.r), uint8_t(c.g), uint8_t(c.b), uint8_t(c.a)});
    }
  return out;
}

TEST_P(CodecForeignFiles, ReadsLikePillow) {
  const Variant& v = GetParam();
  const std::string path = Path(v.name);
  NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:Made("OUT=" + path + "; " + v.command, v.name)];
  ASSERT_NE(rep, nil) << v.name;
  TestPicture ours = AsRGBA(rep), theirs;
  if (v.decoder != nullptr) {  // a netpbm reader: grey or RGB, opaque
    ASSERT_TRUE(DecodeWithCommand(std::string(v.decoder) + " " + path, theirs));
    theirs = AsRGBA(theirs);
  } else {
    ASSERT_TRUE(DecodeWithPillow(path, theirs));
  }
  // Fully clear pixels may carry any colour.
  for (TestPicture* p : {&ours, &theirs})
    for (size_t i = 0; i < p->pixels.size(); i += 4)
      if (p->pixels[i + 3] == 0) p->pixels[i] = p->pixels[i + 1] = p->pixels[i + 2] = 0;
  EXPECT_LE(MaxDifference(ours, theirs), v.tolerance) << v.name;
}

#define PICTURE "convert -size 61x43 gradient:'#e03010'-'#2050f0' -swirl 120 "

INSTANTIATE_TEST_SUITE_P(
    OtherEncoders, CodecForeignFiles,
    ::testing::Values(
        Variant{"tiled.tiff", PICTURE "-define tiff:tile-geometry=16x16 -compress zip $OUT", 1},
        Variant{"planar.tiff", PICTURE "-interlace plane -compress lzw $OUT", 1},
        Variant{"deep.tiff", PICTURE "-depth 16 $OUT", 1},
        Variant{"palette.tiff", PICTURE "-colors 20 -type palette $OUT", 0},
        Variant{"alpha.tiff", PICTURE "-alpha set -channel A -evaluate set 50% +channel $OUT", 1},
        Variant{"cmyk.tiff", PICTURE "-colorspace CMYK -depth 8 $OUT", 2},
        Variant{"progressive.jpg", PICTURE "ppm:- | cjpeg -progressive -quality 90 > $OUT", 0},
        Variant{"grey.jpg", PICTURE "-colorspace Gray -quality 90 $OUT", 0},
        Variant{"cmyk.jpg", PICTURE "-colorspace CMYK -quality 95 $OUT", 3},
        Variant{"palette.png", PICTURE "-colors 30 PNG8:$OUT", 0},
        Variant{"grey4.png", PICTURE "-colorspace Gray -depth 4 $OUT", 0},
        Variant{"grey16.png", PICTURE "-colorspace Gray -depth 16 $OUT", 1, "pngtopnm"},  // Pillow clips 16-bit grey
        Variant{"deep.png", PICTURE "-depth 16 -alpha set -channel A -fx 'i/w' +channel $OUT", 1},
        Variant{"trns.png", PICTURE "-colors 12 -transparent '#e03010' -fuzz 30% PNG8:$OUT", 0},
        Variant{"interlaced.png", PICTURE "-interlace PNG $OUT", 1},
        Variant{"animated.gif",
                "convert -size 40x30 xc:red \\( -size 20x10 xc:blue \\) -geometry +5+5 -dispose Background -delay 10 "
                "\\( -size 40x30 xc:none -fill green -draw 'circle 20,15 20,5' \\) -loop 0 $OUT",
                0},
        Variant{"bmp-rle.bmp", PICTURE "-colors 40 -compress RLE BMP3:$OUT", 0}),
    [](const ::testing::TestParamInfo<Variant>& info) {
      std::string name = info.param.name;
      for (char& c : name)
        if (!isalnum(static_cast<unsigned char>(c))) c = '_';
      return name;
    });

}  // namespace
