/* Icon files as the platform reads them: one bitmap representation per image, in the
   file's order. Windows icons with bitmap images of 1, 4, 8, 24 and 32 bits are made here
   byte by byte, so every pixel and its transparency (from the AND mask, or the image's own
   alpha) is known; icons with PNG images and Apple icon files come from Pillow and
   png2icns, one colour per size. */
#include <array>
#include <functional>

#import "platform/codec_support.h"

namespace {

void Put16(std::string& out, uint32_t v) { out.append({char(v & 0xFF), char(v >> 8 & 0xFF)}); }
void Put32(std::string& out, uint32_t v) {
  Put16(out, v & 0xFFFF);
  Put16(out, v >> 16);
}

// A bitmap icon image: colour (r, g, b, a) and mask bit of each pixel, x from the left and
// y from the top.
struct IconImage {
  int width, height, bits;
  std::function<uint32_t(int, int)> colour;  // 0xRRGGBBAA; the palette index for <= 8 bits
  std::function<bool(int, int)> masked;
  std::vector<uint32_t> palette;             // 0xRRGGBB
};

std::string Dib(const IconImage& image) {
  std::string out;
  for (uint32_t v : {40u, uint32_t(image.width), uint32_t(image.height * 2)}) Put32(out, v);
  Put16(out, 1);
  Put16(out, uint32_t(image.bits));
  // Compression, image size, resolutions, colours used, colours important.
  for (uint32_t v : {0u, 0u, 0u, 0u, uint32_t(image.palette.size()), 0u}) Put32(out, v);
  for (uint32_t rgb : image.palette) out.append({char(rgb & 0xFF), char(rgb >> 8 & 0xFF), char(rgb >> 16), 0});
  const size_t rowBytes = (size_t(image.width) * image.bits + 31) / 32 * 4;
  for (int y = image.height - 1; y >= 0; --y) {
    std::string row(rowBytes, '\0');
    for (int x = 0; x < image.width; ++x) {
      const uint32_t c = image.colour(x, y);
      if (image.bits <= 8) {
        const int bit = x * image.bits;
        row[size_t(bit / 8)] = char(uint8_t(row[size_t(bit / 8)]) | c << (8 - image.bits - bit % 8));
      } else {
        char bgra[4] = {char(c >> 8 & 0xFF), char(c >> 16 & 0xFF), char(c >> 24), char(c & 0xFF)};
        row.replace(size_t(x) * (image.bits / 8), size_t(image.bits / 8), bgra, size_t(image.bits / 8));
      }
    }
    out += row;
  }
  for (int y = image.height - 1; y >= 0; --y) {
    std::string row((size_t(image.width) + 31) / 32 * 4, '\0');
    for (int x = 0; x < image.width; ++x)
      if (image.masked(x, y)) row[size_t(x / 8)] = char(uint8_t(row[size_t(x / 8)]) | 0x80 >> (x % 8));
    out += row;
  }
  return out;
}

std::string Icon(const std::vector<IconImage>& images) {
  std::string out, data;
  for (uint32_t v : {0u, 1u, uint32_t(images.size())}) Put16(out, v);
  for (const IconImage& image : images) {
    const std::string dib = Dib(image);
    out.append({char(image.width), char(image.height), 0, 0});
    Put16(out, 1);
    Put16(out, uint32_t(image.bits));
    Put32(out, uint32_t(dib.size()));
    Put32(out, uint32_t(6 + 16 * images.size() + data.size()));
    data += dib;
  }
  return out + data;
}

// The RGBA a reader must give for a pixel of the image.
std::array<int, 4> Expected(const IconImage& image, int x, int y) {
  uint32_t c = image.colour(x, y);
  if (image.bits <= 8) c = image.palette[c] << 8 | 0xFF;
  if (image.bits == 24) c |= 0xFF;
  const bool ownAlpha = image.bits == 32;
  const int alpha = ownAlpha ? int(c & 0xFF) : image.masked(x, y) ? 0 : 255;
  return {int(c >> 24), int(c >> 16 & 0xFF), int(c >> 8 & 0xFF), alpha};
}

NSArray* Representations(NSData* data) { return [NSBitmapImageRep imageRepsWithData:data]; }
NSArray* Representations(const std::string& bytes) { return Representations(DataOf(bytes)); }

// Each representation's size, "width x height", and the samples at the middle of one.
std::vector<std::string> Sizes(NSArray* reps) {
  std::vector<std::string> sizes;
  for (NSUInteger i = 0; i < [reps count]; ++i)
    sizes.push_back(std::to_string([[reps objectAtIndex:i] pixelsWide]) + "x" +
                    std::to_string([[reps objectAtIndex:i] pixelsHigh]));
  return sizes;
}
RGBA Middle(NSArray* reps, NSUInteger index) {
  const TestPicture read = ReadRep([reps objectAtIndex:index]);
  const uint8_t* p = read.at(read.width / 2, read.height / 2);
  return {p[0], p[1], p[2], read.samples == 4 ? p[3] : 255};
}

class IconFiles : public CodecTest {};

TEST_F(IconFiles, BitmapImagesOfEveryDepthKeepTheirPixelsAndMasks) {
  std::vector<uint32_t> two = {0x000000, 0xFFFFFF}, sixteen, many;
  for (uint32_t i = 0; i < 16; ++i) sixteen.push_back(i * 0x100F01);
  for (uint32_t i = 0; i < 40; ++i) many.push_back(0x050301 * i);
  const std::vector<IconImage> images = {
      {8, 8, 1, [](int x, int y) { return uint32_t((x + y) % 2); }, [](int, int y) { return y == 0; }, two},
      {5, 3, 4, [](int x, int y) { return uint32_t(x * 3 + y) % 16; }, [](int x, int) { return x == 4; }, sixteen},
      {4, 4, 8, [](int x, int y) { return uint32_t(y * 10 + x); }, [](int x, int y) { return x == y; }, many},
      {3, 2, 24, [](int x, int y) { return uint32_t(x) * 0x40000000u + uint32_t(y) * 0x300000u + 0x1200u; },
       [](int x, int) { return x == 2; }, {}},
      {2, 2, 32, [](int x, int y) { return uint32_t(0x10203000 + x * 0x500000 + uint32_t(y * 2 + x) * 60); },
       [](int, int) { return true; }, {}},
  };
  NSArray* reps = Representations(Icon(images));
  ASSERT_EQ([reps count], images.size());
  for (size_t i = 0; i < images.size(); ++i) {
    const IconImage& image = images[i];
    TestPicture read = ReadRep([reps objectAtIndex:i]);
    ASSERT_EQ((std::vector<int>{read.width, read.height, read.samples}), (std::vector<int>{image.width, image.height, 4}))
        << image.bits;
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        const std::array<int, 4> want = Expected(image, x, y);
        const uint8_t* got = read.at(x, y);
        EXPECT_EQ(got[3], want[3]) << image.bits << " bits at " << x << "," << y;
        if (want[3] == 0) continue;  // the colour under a clear pixel is not kept
        for (int s = 0; s < 3; ++s) EXPECT_EQ(got[s], want[size_t(s)]) << image.bits << " bits at " << x << "," << y;
      }
  }
  // An entry that cannot be read is left out; an icon of none is no icon.
  std::string broken = Icon(images);
  broken.replace(6 + 16 + 12, 4, "\xff\xff\xff\x7f", 4);  // the second image's offset: past the end
  EXPECT_EQ([Representations(broken) count], images.size() - 1);
  EXPECT_EQ(Representations(Icon({}).substr(0, 6)), nil);
}

TEST_F(IconFiles, PNGIconsAndAppleIconFilesGiveOneRepresentationPerSize) {
  NSData* ico = Made("/usr/bin/python3 -c \"from PIL import Image\n"
                     "Image.new('RGBA', (32, 32), (30, 120, 220, 200)).save('png.ico', sizes=[(16, 16), (32, 32)])\n"
                     "for s, c in [(16, (250, 0, 0)), (32, (0, 250, 0)), (128, (0, 0, 250))]:\n"
                     "  Image.new('RGBA', (s, s), c + (255,)).save(str(s) + '.png')\n"
                     "Image.new('RGBA', (256, 256), (1, 2, 3, 255)).save('pillow.icns')\n"
                     // A JPEG 2000 element, then one of the newer sizes holding neither format.
                     "import io, struct\nb = io.BytesIO()\n"
                     "Image.new('RGB', (128, 128), (10, 200, 30)).save(b, 'JPEG2000')\n"
                     "d = b'ic07' + struct.pack('>I', 8 + len(b.getvalue())) + b.getvalue() + b'ic08' + struct.pack('>I', 16) + bytes(8)\n"
                     "open('jp2.icns', 'wb').write(b'icns' + struct.pack('>I', 8 + len(d)) + d)\n\" && "
                     "png2icns icon.icns 16.png 32.png 128.png > /dev/null",
                     "png.ico");
  NSData *icns = ReadFile(Path("icon.icns")), *pillowIcns = ReadFile(Path("pillow.icns"));
  NSData* jp2Icns = ReadFile(Path("jp2.icns"));

  // Partly transparent colour, kept premultiplied: within one step of Pillow's.
  NSArray* reps = Representations(ico);
  ASSERT_EQ(Sizes(reps), (std::vector<std::string>{"16x16", "32x32"}));
  for (NSUInteger i = 0; i < [reps count]; ++i) EXPECT_TRUE(Near(Middle(reps, i), RGBA{30, 120, 220, 200}, 1)) << i;
  reps = Representations(icns);
  ASSERT_EQ(Sizes(reps), (std::vector<std::string>{"16x16", "32x32", "128x128"}));
  for (int i = 0; i < int([reps count]); ++i)
    EXPECT_EQ(Middle(reps, i), (RGBA{i == 0 ? 250 : 0, i == 1 ? 250 : 0, i == 2 ? 250 : 0, 255})) << i;
  EXPECT_EQ([[[[[NSImage alloc] initWithData:icns] autorelease] representations] count], 3u);
  // Pillow's icon files hold PNG elements only, the Retina sizes among them.
  reps = Representations(pillowIcns);
  ASSERT_EQ(Sizes(reps), (std::vector<std::string>{"128x128", "256x256", "512x512", "1024x1024", "32x32", "64x64",
                                                   "256x256", "512x512"}));
  EXPECT_EQ(Middle(reps, 0), (RGBA{1, 2, 3, 255}));
  reps = Representations(jp2Icns);
  ASSERT_EQ(Sizes(reps), (std::vector<std::string>{"128x128"}));
  EXPECT_EQ(Middle(reps, 0), (RGBA{10, 200, 30, 255}));
}

}  // namespace
