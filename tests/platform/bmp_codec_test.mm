/* The BMP codec on its own: files from another encoder (ImageMagick) in every depth it
   writes, including RLE8, 16-bit and 32-bit bitfields, compared with another decoder
   (Pillow); hand-made RLE4/RLE8 streams with deltas, top-down rows, core headers; and
   malformed files that must fail cleanly. */
#include "../../platform/codecs/codecs.h"

#import "platform/codec_support.h"

#include <algorithm>
#include <cstring>

namespace {

TestPicture AsRGBA(const qvr::Raster& r) {
  TestPicture out{r.width, r.height, 4, std::vector<uint8_t>(size_t(r.width) * r.height * 4)};
  const uint8_t white[3] = {255, 255, 255};
  for (int y = 0; y < r.height; ++y) qvr::raster_row_to_8_bits(r, y, 4, white, &out.pixels[size_t(y) * r.width * 4]);
  return out;
}

class BMPCodec : public CodecTest {
 protected:
  // Decodes a file with ours and with Pillow and expects the same RGBA.
  void ExpectSameAsPillow(const std::string& path, bool expect_alpha) {
    NSData* bytes = ReadFile(path);
    ASSERT_GT([bytes length], 0u) << path;
    qvr::Frame frame;
    ASSERT_TRUE(qvr::bmp_decode(static_cast<const uint8_t*>([bytes bytes]), [bytes length], frame)) << path;
    EXPECT_EQ(frame.raster.alpha, expect_alpha) << path;
    TestPicture theirs;
    ASSERT_TRUE(DecodeWithPillow(path, theirs)) << path;
    EXPECT_LE(MaxDifference(AsRGBA(frame.raster), theirs), 1) << path;  // 16-bit channels may round differently by one
  }
};

TEST_F(BMPCodec, ReadsWhatImageMagickWritesInEveryDepth) {
  struct Case { const char* name; const char* options; bool alpha; } cases[] = {
      {"1bit.bmp", "-colors 2 -type palette BMP3:", false}, {"4bit.bmp", "-colors 16 -type palette BMP3:", false},
      {"8bit.bmp", "-colors 200 -type palette BMP3:", false}, {"rle8.bmp", "-colors 60 -compress RLE BMP3:", false},
      {"24bit.bmp", "-type truecolor BMP3:", false}, {"565.bmp", "-define bmp:subtype=RGB565 BMP:", false},
      {"555.bmp", "-define bmp:subtype=RGB555 BMP:", false},
      {"32bit.bmp", "-alpha set -channel A -fx 'i/w' +channel BMP:", true},
  };
  for (const Case& c : cases) {
    Made("convert -size 53x31 gradient:'#f02010'-'#1040e0' -swirl 60 " + std::string(c.options) + c.name, c.name);
    ExpectSameAsPillow(Path(c.name), c.alpha);
  }
}

// A bitmap file around pixel data: info header (40 bytes), palette, pixels.
std::vector<uint8_t> MakeFile(int width, int height, int bpp, uint32_t compression, const std::vector<uint8_t>& palette_bgra,
                              const std::vector<uint8_t>& pixels) {
  std::vector<uint8_t> f(54);
  auto put32 = [&](size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) f[at + i] = uint8_t(v >> (8 * i));
  };
  f[0] = 'B', f[1] = 'M';
  put32(10, uint32_t(54 + palette_bgra.size()));
  put32(14, 40);
  put32(18, uint32_t(width));
  put32(22, uint32_t(height));
  f[26] = 1;
  f[28] = uint8_t(bpp);
  put32(30, compression);
  put32(46, uint32_t(palette_bgra.size() / 4));
  f.insert(f.end(), palette_bgra.begin(), palette_bgra.end());
  f.insert(f.end(), pixels.begin(), pixels.end());
  put32(2, uint32_t(f.size()));
  return f;
}

const std::vector<uint8_t> kPalette = {0, 0, 0, 0, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 0};  // black, red, green, blue

// The kPalette index of each of `width` pixels `step` bytes apart (-1: another colour).
std::vector<int> Indices(const uint8_t* pixels, int width, int step) {
  std::vector<int> out;
  for (int x = 0; x < width; ++x) {
    const uint8_t* p = pixels + x * step;
    int index = -1;
    for (int i = 0; i < 4; ++i)
      if (p[0] == kPalette[4 * i + 2] && p[1] == kPalette[4 * i + 1] && p[2] == kPalette[4 * i]) index = i;
    out.push_back(index);
  }
  return out;
}

// Hand-made streams, bottom row first. RLE4: a run of 4 alternating 1, 2, a literal 3, 1, 2, 1,
// end of line; a delta of (2, 0), a run of 3 of index 3, end of bitmap (row 0 is never written).
// RLE8: a literal of 3 (padded with one byte to a word), a run of 2, end of line; a run of 5; end.
TEST_F(BMPCodec, RLE4AndRLE8RunsLiteralsDeltasAndLineEnds) {
  const struct {
    int width, height, bits;
    std::vector<uint8_t> stream;
    std::vector<std::vector<int>> rows;  // from the top, as palette indices; empty: not checked
  } cases[] = {
      {8, 3, 4, {4, 0x12, 0, 4, 0x31, 0x21, 0, 0, 0, 2, 2, 0, 3, 0x33, 0, 1},
       {{}, {0, 0, 3, 3, 3, 0, 0, 0}, {1, 2, 1, 2, 3, 1, 2, 1}}},
      {5, 2, 8, {0, 3, 1, 2, 3, 0, 2, 1, 0, 0, 5, 2, 0, 1}, {{2, 2, 2, 2, 2}, {1, 2, 3, 1, 1}}},
  };
  for (const auto& c : cases) {
    const std::vector<uint8_t> file = MakeFile(c.width, c.height, c.bits, c.bits == 4 ? 2 : 1, kPalette, c.stream);
    qvr::Frame frame;
    ASSERT_TRUE(qvr::bmp_decode(file.data(), file.size(), frame)) << c.bits;
    for (size_t row = 0; row < c.rows.size(); ++row) {
      if (c.rows[row].empty()) continue;
      EXPECT_EQ(Indices(frame.raster.row(int(row)), c.width, 3), c.rows[row]) << c.bits << " bits, row " << row;
    }
    TestPicture theirs;  // the other decoder agrees on the bottom row where it reads the stream
    if (DecodeWithPillow(Temporary(DataOf(file), ".bmp"), theirs)) {
      EXPECT_EQ(Indices(theirs.at(0, c.height - 1), c.width, 4), c.rows.back()) << c.bits;
    }
  }
}

TEST_F(BMPCodec, TopDownRowsAndCoreHeader) {
  std::vector<uint8_t> pixels = {0, 0, 255, 0, 255, 0, 0, 0, /* row 0: red, green, pad */
                                 255, 0, 0, 255, 255, 255, 0, 0 /* row 1: blue, white */};
  std::vector<uint8_t> file = MakeFile(2, 2, 24, 0, {}, pixels);
  const uint32_t minus_two = uint32_t(-2);
  for (int i = 0; i < 4; ++i) file[22 + i] = uint8_t(minus_two >> (8 * i));
  qvr::Frame frame;
  ASSERT_TRUE(qvr::bmp_decode(file.data(), file.size(), frame));
  EXPECT_EQ((std::vector<int>{frame.raster.row(0)[0], frame.raster.row(1)[2]}), (std::vector<int>{255, 255}))
      << "the first stored row is the top: red, blue below it";

  // OS/2 core header: 12 bytes, 16-bit sizes, 3-byte palette entries.
  std::vector<uint8_t> core = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 14 + 12 + 6, 0, 0, 0, 12, 0, 0, 0, 2, 0, 1, 0, 1, 0, 1, 0,
                               0, 0, 0, /* black */ 0, 255, 255, /* yellow */ 0x40, 0, 0, 0};
  ASSERT_TRUE(qvr::bmp_decode(core.data(), core.size(), frame));
  const uint8_t* row = frame.raster.row(0);
  // Black, then yellow (bit 1 set).
  EXPECT_EQ((std::vector<int>{row[0], row[3], row[5]}), (std::vector<int>{0, 255, 0}));
}

TEST_F(BMPCodec, MalformedFilesFailCleanly) {
  const std::vector<uint8_t> good = MakeFile(4, 4, 8, 1, kPalette, {4, 1, 0, 0, 4, 2, 0, 0, 4, 3, 0, 0, 4, 1, 0, 1});
  qvr::Frame frame;
  ASSERT_TRUE(qvr::bmp_decode(good.data(), good.size(), frame));
  // An RLE stream that stops before the last row.
  std::vector<uint8_t> cut(good.begin(), good.end() - 6);
  EXPECT_FALSE(qvr::bmp_decode(cut.data(), cut.size(), frame));
  // Runs longer than the row, deltas past the picture: clipped, not written out of bounds.
  const std::vector<uint8_t> wild = MakeFile(4, 4, 8, 1, kPalette, {255, 1, 0, 2, 200, 200, 9, 2, 0, 1});
  EXPECT_TRUE(qvr::bmp_decode(wild.data(), wild.size(), frame));
  // Palette indices past the table read as black.
  const std::vector<uint8_t> high = MakeFile(2, 1, 8, 0, kPalette, {200, 1, 0, 0});
  ASSERT_TRUE(qvr::bmp_decode(high.data(), high.size(), frame));
  EXPECT_EQ(frame.raster.row(0)[0], 0);
  EXPECT_EQ(frame.raster.row(0)[3], 255);
  // Impossible headers: 7 bits a pixel, two planes, a negative width, a header longer than the file.
  const std::pair<size_t, std::vector<uint8_t>> patches[] = {{28, {7}}, {26, {2}}, {18, {0, 0, 0, 0x80}}, {14, {0xFF, 0xFF}}};
  for (const auto& [at, patch] : patches) {
    std::vector<uint8_t> bad = good;
    std::copy(patch.begin(), patch.end(), bad.begin() + long(at));
    EXPECT_FALSE(qvr::bmp_decode(bad.data(), bad.size(), frame)) << at;
  }
  std::vector<uint8_t> bad = MakeFile(4, 4, 24, 0, {}, std::vector<uint8_t>(20, 0));  // pixels cut short
  EXPECT_FALSE(qvr::bmp_decode(bad.data(), bad.size(), frame));
  EXPECT_FALSE(qvr::bmp_decode(nullptr, 0, frame));
}

}  // namespace
