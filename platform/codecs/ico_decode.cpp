/* Windows icon files (.ico): a directory of images, each either a PNG or a bitmap without
   its file header whose height counts the colour rows and a 1-bit AND mask below them.
   Bitmap images are handed to the BMP reader with a file header made up for them (and,
   for 32 bits, masks that take the fourth byte as alpha); the AND mask then gives the
   transparency of images that carry no alpha of their own. */
#include <cstring>

#include "codecs/codecs.h"

namespace qvr {

namespace {

uint32_t u16(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8; }
uint32_t u32(const uint8_t* p) { return u16(p) | u16(p + 2) << 16; }
void put16(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
}
void put32(uint8_t* p, uint32_t v) {
  put16(p, v & 0xFFFF);
  put16(p + 2, v >> 16);
}

constexpr size_t kDirectoryEntrySize = 16;
constexpr uint32_t kMaxEntries = 1024;

/* A bitmap image of the icon: the colour rows through the BMP reader, then the mask. */
bool decode_dib(const uint8_t* d, size_t n, Frame& out) {
  if (n < 40) return false;
  const uint32_t header_size = u32(d);
  if (header_size < 40 || header_size > n) return false;
  const int32_t width = int32_t(u32(d + 4)), stored_height = int32_t(u32(d + 8));
  const uint32_t bpp = u16(d + 14), compression = u32(d + 16);
  if (width <= 0 || stored_height <= 1 || width > 4096 || stored_height > 8192) return false;
  if (compression != 0) return false;  // icons store their colour rows uncompressed
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return false;
  const int height = stored_height / 2;
  uint32_t colours = bpp <= 8 ? u32(d + 32) : 0;
  if (bpp <= 8 && (colours == 0 || colours > (1u << bpp))) colours = 1u << bpp;
  const size_t palette_size = size_t(colours) * 4;
  const size_t row_bytes = ((size_t(width) * bpp + 31) / 32) * 4;
  const size_t mask_row_bytes = ((size_t(width) + 31) / 32) * 4;
  const size_t colour_start = header_size + palette_size;
  if (colour_start > n || row_bytes * size_t(height) > n - colour_start) return false;
  const uint8_t* mask = d + colour_start + row_bytes * size_t(height);
  const bool has_mask = mask_row_bytes * size_t(height) <= size_t(d + n - mask);

  // A BMP file of the colour rows: file header, a 40-byte (56 for 32 bits) info header,
  // the palette and the rows.
  const uint32_t info_size = bpp == 32 ? 56 : 40;
  std::vector<uint8_t> bmp(14 + info_size + palette_size + row_bytes * size_t(height), 0);
  bmp[0] = 'B';
  bmp[1] = 'M';
  put32(&bmp[2], uint32_t(bmp.size()));
  put32(&bmp[10], 14 + info_size + uint32_t(palette_size));
  uint8_t* info = &bmp[14];
  put32(info, info_size);
  put32(info + 4, uint32_t(width));
  put32(info + 8, uint32_t(height));
  put16(info + 12, 1);
  put16(info + 14, bpp);
  if (bpp <= 8) put32(info + 32, colours);
  if (bpp == 32) {
    put32(info + 16, 3);  // bit fields: B, G, R, A bytes
    put32(info + 40, 0x00FF0000);
    put32(info + 44, 0x0000FF00);
    put32(info + 48, 0x000000FF);
    put32(info + 52, 0xFF000000);
  }
  std::memcpy(&bmp[14 + info_size], d + header_size, palette_size + row_bytes * size_t(height));
  Frame colour;
  if (!bmp_decode(bmp.data(), bmp.size(), colour)) return false;
  const Raster& in = colour.raster;
  if (in.width != width || in.height != height || in.bits != 8 || in.samples < 3) return false;

  // The result is RGBA; the image's own alpha wins when it has any, else the mask decides.
  bool own_alpha = false;
  if (in.samples == 4)
    for (int y = 0; y < height && !own_alpha; ++y)
      for (int x = 0; x < width && !own_alpha; ++x) own_alpha = in.row(y)[size_t(x) * 4 + 3] != 255;
  Raster& raster = out.raster;
  if (!raster.allocate(width, height, 4, 8, true, false)) return false;
  for (int y = 0; y < height; ++y) {
    const uint8_t* from = in.row(y);
    uint8_t* to = raster.row(y);
    const uint8_t* mask_row = has_mask ? mask + mask_row_bytes * size_t(height - 1 - y) : nullptr;
    for (int x = 0; x < width; ++x) {
      std::memcpy(to + size_t(x) * 4, from + size_t(x) * in.samples, 3);
      uint8_t alpha = 255;
      if (in.samples == 4 && own_alpha) alpha = from[size_t(x) * 4 + 3];
      else if (mask_row && ((mask_row[x / 8] >> (7 - x % 8)) & 1)) alpha = 0;
      to[size_t(x) * 4 + 3] = alpha;
    }
  }
  return true;
}

}  // namespace

bool ico_decode(const uint8_t* data, size_t size, std::vector<Frame>& images) {
  images.clear();
  if (data == nullptr || size < 6 || u16(data) != 0 || u16(data + 2) != 1) return false;
  const uint32_t count = u16(data + 4);
  if (count == 0 || count > kMaxEntries || 6 + size_t(count) * kDirectoryEntrySize > size) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t* entry = data + 6 + size_t(i) * kDirectoryEntrySize;
    const uint32_t length = u32(entry + 8), offset = u32(entry + 12);
    if (offset >= size || length > size - offset || length < 8) continue;
    const uint8_t* image = data + offset;
    Frame frame;
    const bool ok = std::memcmp(image, "\x89PNG\r\n\x1a\n", 8) == 0 ? png_decode(image, length, frame)
                                                                   : decode_dib(image, length, frame);
    // An entry that cannot be read is left out; the others still make the icon.
    if (ok) images.push_back(std::move(frame));
  }
  return !images.empty();
}

}  // namespace qvr
