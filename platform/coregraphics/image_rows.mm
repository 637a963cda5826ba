/* Drawing an image at its own size, pixel for pixel, as a row copy: each row is read
   from the image's bytes and converted straight into the context's memory, with no
   decoded copy of the image, no shadow round trip and no general compositing. Used only
   where the compositing path would give the same bytes (see CGContextDrawImage), so the
   conversions here repeat exactly what that path reads and writes. */
#include "cg_internal.h"

#include <string.h>

bool gCGContextRowCopies = true;

namespace {

inline uint32_t SwapRedBlue(uint32_t v) { return (v & 0xFF00FF00u) | ((v >> 16) & 0xFFu) | ((v & 0xFFu) << 16); }

/* The pixman format the image is read in place as when drawn (what DecodeImage decides),
   or 0 when drawing decodes it with PixelRowToARGB. */
pixman_format_code_t InPlaceFormat(CGImageObject* image, const uint8_t* bytes) {
  pixman_format_code_t direct = PixelLayoutPixmanSourceFormat(image->layout);
  if (direct == 0 || direct == PIXMAN_a8 || image->hasDecode || image->bytesPerRow % 4 != 0 ||
      ((uintptr_t)bytes & 3) != 0 || image->bytesPerRow > INT32_MAX)
    return (pixman_format_code_t)0;
  return direct;
}

/* One row of the image as premultiplied ARGB32, as pixman fetches it (in place) or as
   decoding makes it. */
void FetchRow(CGImageObject* image, pixman_format_code_t format, const uint8_t* src, uint32_t* out, size_t width) {
  switch (format) {
    case PIXMAN_a8r8g8b8: memcpy(out, src, width * 4); return;
    case PIXMAN_x8r8g8b8:
      for (size_t x = 0; x < width; x++, src += 4) {
        uint32_t v;
        memcpy(&v, src, 4);
        out[x] = v | 0xFF000000u;
      }
      return;
    case PIXMAN_a8b8g8r8:
    case PIXMAN_x8b8g8r8: {
      const uint32_t opaque = format == PIXMAN_a8b8g8r8 ? 0 : 0xFF000000u;
      for (size_t x = 0; x < width; x++, src += 4) {
        uint32_t v;
        memcpy(&v, src, 4);
        out[x] = SwapRedBlue(v) | opaque;
      }
      return;
    }
    case PIXMAN_b8g8r8:
      for (size_t x = 0; x < width; x++, src += 3)
        out[x] = 0xFF000000u | (uint32_t)src[0] << 16 | (uint32_t)src[1] << 8 | src[2];
      return;
    default: PixelRowToARGB(image->layout, src, out, width); return;
  }
}

/* One ARGB32 row into memory of the destination format, as pixman stores it. */
void StoreRow(pixman_format_code_t format, const uint32_t* in, uint8_t* dst, size_t width) {
  switch (format) {
    case PIXMAN_a8:
      for (size_t x = 0; x < width; x++) dst[x] = (uint8_t)(in[x] >> 24);
      return;
    case PIXMAN_a8b8g8r8:
    case PIXMAN_x8b8g8r8: {
      /* Its store clears the unused byte; native x8r8g8b8 rows are written whole. */
      const uint32_t keep = format == PIXMAN_x8b8g8r8 ? 0x00FFFFFFu : 0xFFFFFFFFu;
      for (size_t x = 0; x < width; x++, dst += 4) {
        uint32_t v = SwapRedBlue(in[x]) & keep;
        memcpy(dst, &v, 4);
      }
      return;
    }
    default: memcpy(dst, in, width * 4); return;
  }
}

/* Pixman copies rows untouched between these pairs (its memcpy fast paths), so the
   destination's ignored byte keeps the source's fourth byte. */
bool CopiedVerbatim(pixman_format_code_t from, pixman_format_code_t to) {
  if (from == to) return PIXMAN_FORMAT_BPP(from) == 32;
  return (from == PIXMAN_a8r8g8b8 && to == PIXMAN_x8r8g8b8) || (from == PIXMAN_a8b8g8r8 && to == PIXMAN_x8b8g8r8);
}

/* A shadowed context whose 4-byte layout without alpha is the image's own: decoding
   and storing the shadow give the image's bytes with the unused byte set to 255. */
bool SameOpaqueWords(const PixelLayout& a, const PixelLayout& b) {
  return a.bytesPerPixel == 4 && a.alpha < 0 && a.skip >= 0 && a.red >= 0 && !a.bigSamples && !a.littleSamples &&
         !a.alphaOnly && b.bytesPerPixel == 4 && b.alpha == a.alpha && b.skip == a.skip && b.red == a.red &&
         b.green == a.green && b.blue == a.blue && b.grey == a.grey && !b.bigSamples && !b.littleSamples &&
         !b.alphaOnly;
}

/* Rows of this many pixels at a time, so the converted row stays in the cache. */
const size_t kChunk = 1024;

}  // namespace

bool CGContextDrawImageRows(CGContextObject* c, CGImageObject* image, const DeviceBox& box, int dx, int dy) {
  if (box.empty() || box.x0 < dx || box.y0 < dy || (size_t)(box.x1 - dx) > image->width ||
      (size_t)(box.y1 - dy) > image->height || image->bitsPerPixel % 8 != 0)
    return false;
  CGDataProviderObject* provider = (CGDataProviderObject*)CGObject(image->provider);
  if (![provider isKindOfClass:[CGDataProviderObject class]] || !provider->bytes) return false;
  const uint8_t* bytes = provider->bytes;
  const pixman_format_code_t from = InPlaceFormat(image, bytes);
  const pixman_format_code_t to = c->shadowed ? (pixman_format_code_t)0 : pixman_image_get_format(c->surface);
  const bool verbatim = to != 0 && from != 0 && CopiedVerbatim(from, to);
  const bool opaqueCopy = c->shadowed && from == 0 && SameOpaqueWords(image->layout, c->layout);
  /* The unused byte of an opaque copy, as a word; a local copy, not the bytes, so that
     the loop keeps it in a register. */
  uint8_t unusedBytes[4] = {0, 0, 0, 0};
  unusedBytes[opaqueCopy ? image->layout.skip : 0] = 0xFF;
  uint32_t unusedWord;
  memcpy(&unusedWord, unusedBytes, 4);
  const uint32_t unused = unusedWord;
  const size_t sourcePixel = image->bitsPerPixel / 8, targetPixel = (size_t)c->layout.bytesPerPixel;
  const size_t width = (size_t)box.width();
  uint32_t argb[kChunk];
  for (int y = box.y0; y < box.y1; y++) {
    const uint8_t* src = bytes + (size_t)(y - dy) * image->bytesPerRow + (size_t)(box.x0 - dx) * sourcePixel;
    uint8_t* dst = c->data + (size_t)y * c->bytesPerRow + (size_t)box.x0 * targetPixel;
    if (verbatim) {
      memcpy(dst, src, width * 4);
      continue;
    }
    if (opaqueCopy) {
      for (size_t x = 0; x < width; x++) {
        uint32_t v;
        memcpy(&v, src + 4 * x, 4);
        v |= unused;
        memcpy(dst + 4 * x, &v, 4);
      }
      continue;
    }
    for (size_t done = 0; done < width; done += kChunk) {
      size_t n = width - done < kChunk ? width - done : kChunk;
      FetchRow(image, from, src + done * sourcePixel, argb, n);
      /* A shadowed context gets what storing its shadow writes; an alpha-only shadow
         holds the alpha bytes themselves. */
      if (to != 0) StoreRow(to, argb, dst + done * targetPixel, n);
      else if (c->layout.alphaOnly) StoreRow(PIXMAN_a8, argb, dst + done, n);
      else PixelRowFromARGB(c->layout, argb, dst + done * targetPixel, n);
    }
  }
  return true;
}
