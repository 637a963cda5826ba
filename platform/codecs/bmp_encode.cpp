/* Windows bitmap writing: 24-bit BI_RGB for opaque images (and for images with alpha laid
   over a background colour on request), 32-bit BI_BITFIELDS with an alpha mask (a V4 header)
   for images with alpha, bottom-up rows, resolution in pixels per metre. */
#include <cmath>
#include <cstring>

#include "codecs/codecs.h"

namespace qvr {

namespace {

void put16(std::vector<uint8_t>& out, size_t at, uint32_t v) {
  out[at] = uint8_t(v);
  out[at + 1] = uint8_t(v >> 8);
}

void put32(std::vector<uint8_t>& out, size_t at, uint32_t v) {
  put16(out, at, v & 0xFFFF);
  put16(out, at + 2, v >> 16);
}

}  // namespace

bool bmp_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out) {
  if (raster.empty()) return false;
  const bool alpha = raster.alpha && !options.opaque_over_background;
  const uint32_t bpp = alpha ? 32 : 24;
  const uint32_t header_size = alpha ? 108 : 40;
  const size_t row_bytes = ((size_t(raster.width) * bpp + 31) / 32) * 4;
  const size_t image_bytes = row_bytes * size_t(raster.height);
  const size_t offset = 14 + header_size;
  if (offset + image_bytes > 0xFFFFFFFFu) return false;
  out.assign(offset + image_bytes, 0);
  out[0] = 'B';
  out[1] = 'M';
  put32(out, 2, uint32_t(offset + image_bytes));
  put32(out, 10, uint32_t(offset));
  put32(out, 14, header_size);
  put32(out, 18, uint32_t(raster.width));
  put32(out, 22, uint32_t(raster.height));  // positive: bottom-up
  put16(out, 26, 1);
  put16(out, 28, bpp);
  put32(out, 30, alpha ? 3 : 0);
  put32(out, 34, uint32_t(image_bytes));
  double x_dpi = 72.0, y_dpi = 72.0;
  if (options.metadata != nullptr && options.metadata->x_dpi > 0 && options.metadata->y_dpi > 0) {
    x_dpi = options.metadata->x_dpi;
    y_dpi = options.metadata->y_dpi;
  }
  put32(out, 38, uint32_t(std::lround(x_dpi / 0.0254)));
  put32(out, 42, uint32_t(std::lround(y_dpi / 0.0254)));
  if (alpha) {
    put32(out, 54, 0x00FF0000);
    put32(out, 58, 0x0000FF00);
    put32(out, 62, 0x000000FF);
    put32(out, 66, 0xFF000000);
    put32(out, 70, 0x73524742);  // 'sRGB'
  }
  std::vector<uint8_t> row(size_t(raster.width) * (alpha ? 4 : 3));
  for (int y = 0; y < raster.height; ++y) {
    raster_row_to_8_bits(raster, y, alpha ? 4 : 3, options.background_rgb, row.data());
    uint8_t* o = out.data() + offset + row_bytes * size_t(raster.height - 1 - y);
    const uint8_t* in = row.data();
    if (alpha) {
      for (int x = 0; x < raster.width; ++x, in += 4, o += 4) {
        o[0] = in[2];
        o[1] = in[1];
        o[2] = in[0];
        o[3] = in[3];
      }
    } else {
      for (int x = 0; x < raster.width; ++x, in += 3, o += 3) {
        o[0] = in[2];
        o[1] = in[1];
        o[2] = in[0];
      }
    }
  }
  return true;
}

}  // namespace qvr
