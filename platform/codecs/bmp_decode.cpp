/* Windows bitmap reading: 1, 4, 8 (palette), 16, 24 and 32 bits, uncompressed, RLE4, RLE8 and
   BITFIELDS, bottom-up and top-down, core/info/V4/V5 headers. Every read is bounds-checked
   against the data, so corrupt or cut files fail rather than reach past the end. */
#include <algorithm>
#include <cstring>

#include "codecs/codecs.h"

namespace qvr {

namespace {

enum : uint32_t { kRGB = 0, kRLE8 = 1, kRLE4 = 2, kBitfields = 3, kAlphaBitfields = 6 };

uint32_t u16(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8; }
uint32_t u32(const uint8_t* p) { return u16(p) | u16(p + 2) << 16; }
int32_t s32(const uint8_t* p) { return int32_t(u32(p)); }

struct Channel {
  uint32_t mask = 0;
  int shift = 0;
  uint32_t max = 0;  // largest value after shifting
  uint8_t get(uint32_t pixel) const {
    if (mask == 0) return 0;
    const uint32_t v = (pixel & mask) >> shift;
    return uint8_t((uint64_t(v) * 255u + max / 2) / max);
  }
};

Channel channel_for(uint32_t mask) {
  Channel c;
  c.mask = mask;
  if (mask == 0) return c;
  while (((mask >> c.shift) & 1u) == 0) ++c.shift;
  c.max = mask >> c.shift;
  return c;
}

struct Header {
  int32_t width = 0, height = 0;
  bool top_down = false;
  uint32_t bpp = 0, compression = kRGB, colours_used = 0;
  uint32_t pixel_offset = 0, header_size = 0;
  uint32_t masks[4] = {0, 0, 0, 0};  // red, green, blue, alpha
  int32_t x_ppm = 0, y_ppm = 0;
};

bool read_header(const uint8_t* d, size_t n, Header& h) {
  if (n < 26 || d[0] != 'B' || d[1] != 'M') return false;
  h.pixel_offset = u32(d + 10);
  h.header_size = u32(d + 14);
  if (h.header_size < 12 || h.header_size > n - 14) return false;
  const uint8_t* info = d + 14;
  if (h.header_size == 12) {
    h.width = int32_t(u16(info + 4));
    h.height = int32_t(u16(info + 6));
    if (u16(info + 8) != 1) return false;
    h.bpp = u16(info + 10);
  } else {
    if (h.header_size < 40) return false;
    h.width = s32(info + 4);
    h.height = s32(info + 8);
    if (u16(info + 12) != 1) return false;
    h.bpp = u16(info + 14);
    h.compression = u32(info + 16);
    h.x_ppm = s32(info + 24);
    h.y_ppm = s32(info + 28);
    h.colours_used = u32(info + 32);
    if (h.header_size >= 52) {
      for (int i = 0; i < 3; ++i) h.masks[i] = u32(info + 40 + 4 * i);
      if (h.header_size >= 56) h.masks[3] = u32(info + 52);
    } else if (h.compression == kBitfields || h.compression == kAlphaBitfields) {
      const size_t count = h.compression == kAlphaBitfields ? 4 : 3;
      if (14 + 40 + 4 * count > n) return false;
      for (size_t i = 0; i < count; ++i) h.masks[i] = u32(info + 40 + 4 * i);
    }
  }
  if (h.height < 0) {
    if (h.height == INT32_MIN) return false;
    h.height = -h.height;
    h.top_down = true;
  }
  if (h.width <= 0 || h.height <= 0 || h.width > kMaxDimension || h.height > kMaxDimension ||
      int64_t(h.width) * h.height > kMaxPixels)
    return false;
  switch (h.bpp) {
    case 1: case 4: case 8: case 16: case 24: case 32: break;
    default: return false;
  }
  if (h.compression == kRLE8 && h.bpp != 8) return false;
  if (h.compression == kRLE4 && h.bpp != 4) return false;
  if ((h.compression == kRLE8 || h.compression == kRLE4) && h.top_down) return false;
  if ((h.compression == kBitfields || h.compression == kAlphaBitfields) && h.bpp != 16 && h.bpp != 32) return false;
  if (h.compression > kBitfields && h.compression != kAlphaBitfields) return false;
  return h.pixel_offset < n;
}

bool read_palette(const uint8_t* d, size_t n, const Header& h, std::vector<uint8_t>& palette) {
  if (h.bpp > 8) return true;
  const uint32_t largest = 1u << h.bpp;
  const uint32_t count = h.colours_used == 0 || h.colours_used > largest ? largest : h.colours_used;
  const size_t entry = h.header_size == 12 ? 3 : 4;
  size_t start = 14 + size_t(h.header_size);
  if (h.header_size == 40 && (h.compression == kBitfields || h.compression == kAlphaBitfields))
    start += h.compression == kAlphaBitfields ? 16 : 12;
  palette.assign(size_t(largest) * 3, 0);  // indices past the table read as black
  for (uint32_t i = 0; i < count; ++i) {
    const size_t at = start + i * entry;
    if (at + 3 > n || at + 3 > h.pixel_offset) break;  // a short table: the rest stays black
    palette[i * 3 + 0] = d[at + 2];
    palette[i * 3 + 1] = d[at + 1];
    palette[i * 3 + 2] = d[at + 0];
  }
  return true;
}

// RLE4/RLE8 straight into the picture's rows through the palette (bottom-up as stored).
// Pixels that the stream skips over (deltas, early line and picture ends) stay as they were
// allocated: index 0's colour is not assumed, they are black.
bool expand_rle(const uint8_t* p, const uint8_t* end, const Header& h, const std::vector<uint8_t>& palette,
                Raster& raster) {
  const int w = h.width, rows = h.height;
  const bool four = h.compression == kRLE4;
  int x = 0, y = 0;
  uint8_t* row = raster.row(rows - 1);
  auto put = [&](unsigned index) {
    if (x < w) std::memcpy(row + size_t(x) * 3, &palette[size_t(index) * 3], 3);
    ++x;
  };
  auto next_row = [&](int step) {
    y += step;
    if (y < rows) row = raster.row(rows - 1 - y);
  };
  while (y < rows) {
    if (end - p < 2) return false;
    const unsigned count = p[0], value = p[1];
    p += 2;
    if (count > 0) {
      for (unsigned i = 0; i < count && x < w; ++i) put(four ? ((i & 1) ? (value & 0x0F) : (value >> 4)) : value);
      continue;
    }
    if (value == 0) {
      x = 0;
      next_row(1);
    } else if (value == 1) {
      return true;
    } else if (value == 2) {
      if (end - p < 2) return false;
      x += p[0];
      next_row(p[1]);
      p += 2;
    } else {
      const size_t bytes = four ? (value + 1) / 2 : value;
      const size_t padded = (bytes + 1) & ~size_t(1);
      if (size_t(end - p) < padded) return false;
      for (unsigned i = 0; i < value && x < w; ++i) put(four ? ((i & 1) ? (p[i / 2] & 0x0F) : (p[i / 2] >> 4)) : p[i]);
      p += padded;
    }
  }
  return true;  // every row filled; a missing end-of-bitmap marker is tolerated
}

}  // namespace

bool bmp_decode(const uint8_t* d, size_t n, Frame& out) {
  out = Frame();
  Header h;
  if (d == nullptr || !read_header(d, n, h)) return false;
  std::vector<uint8_t> palette;
  if (!read_palette(d, n, h, palette)) return false;
  const uint8_t* pixels = d + h.pixel_offset;
  const uint8_t* end = d + n;
  const int w = h.width, rows = h.height;

  Channel channels[4];
  bool has_alpha = false;
  if (h.bpp == 16 || h.bpp == 32) {
    uint32_t masks[4] = {h.masks[0], h.masks[1], h.masks[2], h.masks[3]};
    if (h.compression == kRGB) {
      if (h.bpp == 16) {
        masks[0] = 0x7C00; masks[1] = 0x03E0; masks[2] = 0x001F;
      } else {
        masks[0] = 0x00FF0000; masks[1] = 0x0000FF00; masks[2] = 0x000000FF;
      }
      masks[3] = h.header_size >= 56 ? h.masks[3] : 0;
    }
    for (int i = 0; i < 4; ++i) channels[i] = channel_for(masks[i]);
    has_alpha = masks[3] != 0;
  }

  const bool rle = h.compression == kRLE8 || h.compression == kRLE4;
  size_t row_bytes = 0;
  if (rle) {
    // Deltas and early ends let a few bytes describe a vast blank picture; no real file
    // packs more than a few thousand pixels into a byte, so larger claims are refused.
    const int64_t pixel_count = int64_t(w) * rows;
    if (too_little_data_for(pixel_count, end - pixels)) return false;
  } else {
    row_bytes = ((size_t(w) * h.bpp + 31) / 32) * 4;
    if (row_bytes * size_t(rows) > size_t(end - pixels)) return false;
  }

  Raster& raster = out.raster;
  if (!raster.allocate(w, rows, has_alpha ? 4 : 3, 8, has_alpha)) return false;
  if (rle) {
    if (!expand_rle(pixels, end, h, palette, raster)) {
      out = Frame();
      return false;
    }
  }
  bool any_alpha = false;
  for (int stored = 0; !rle && stored < rows; ++stored) {
    const int y = h.top_down ? stored : rows - 1 - stored;
    uint8_t* o = raster.row(y);
    const int spp = raster.samples;
    const uint8_t* in = pixels + row_bytes * size_t(stored);
    switch (h.bpp) {
      case 1: case 4: case 8: {
        const unsigned per_byte = 8 / h.bpp, mask = (1u << h.bpp) - 1;
        for (int x = 0; x < w; ++x, o += spp) {
          const unsigned shift = 8 - h.bpp * (unsigned(x) % per_byte + 1);
          const unsigned index = (in[unsigned(x) / per_byte] >> shift) & mask;
          std::memcpy(o, &palette[index * 3], 3);
        }
        break;
      }
      case 24:
        for (int x = 0; x < w; ++x, o += spp, in += 3) {
          o[0] = in[2];
          o[1] = in[1];
          o[2] = in[0];
        }
        break;
      default: {
        const int bytes = int(h.bpp) / 8;
        for (int x = 0; x < w; ++x, o += spp, in += bytes) {
          const uint32_t v = bytes == 2 ? u16(in) : u32(in);
          o[0] = channels[0].get(v);
          o[1] = channels[1].get(v);
          o[2] = channels[2].get(v);
          if (has_alpha) {
            o[3] = channels[3].get(v);
            any_alpha |= o[3] != 0;
          }
        }
        break;
      }
    }
  }
  // Many writers leave the alpha byte zero; an all-clear image means the alpha is unused.
  if (has_alpha && !any_alpha) {
    for (int y = 0; y < rows; ++y) {
      uint8_t* p = raster.row(y);
      for (int x = 0; x < w; ++x) p[size_t(x) * 4 + 3] = 255;
    }
  }
  if (h.x_ppm > 0 && h.y_ppm > 0) {
    out.metadata.x_dpi = dpi_of_pixels_per_metre(h.x_ppm);
    out.metadata.y_dpi = dpi_of_pixels_per_metre(h.y_ppm);
  }
  return true;
}

}  // namespace qvr
