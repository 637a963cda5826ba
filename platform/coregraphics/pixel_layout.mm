/* Pixel layouts: where grey, red, green, blue and alpha lie in a pixel for each
   combination of colour space, alpha info and byte order that images and bitmap contexts
   accept, and the row conversions to and from pixman's premultiplied native ARGB32 that
   reading images and drawing into foreign layouts rest on. */
#include "cg_internal.h"

#include <string.h>

bool PixelLayoutFromBitmapInfo(size_t colorComponents, CGBitmapInfo info, size_t bitsPerComponent,
                               size_t bitsPerPixel, PixelLayout* layout) {
  PixelLayout result = PixelLayoutEmpty();
  CGImageAlphaInfo alphaInfo = info & kCGBitmapAlphaInfoMask;
  uint32_t byteOrder = info & kCGBitmapByteOrderMask;
  if (info & kCGBitmapFloatComponents) return false;
  if (bitsPerComponent != 8 && bitsPerComponent != 16) return false;
  if (alphaInfo > kCGImageAlphaOnly) return false;

  /* The sample sequence, as the alpha info names it. */
  int order[4];
  int samples = 0;
  enum { kColor0 = 0, kAlpha = 10, kSkip = 11 };
  if (alphaInfo == kCGImageAlphaOnly) {
    order[samples++] = kAlpha;
    result.alphaOnly = true;
  } else {
    if (colorComponents != 1 && colorComponents != 3) return false;
    bool first = alphaInfo == kCGImageAlphaPremultipliedFirst || alphaInfo == kCGImageAlphaFirst ||
                 alphaInfo == kCGImageAlphaNoneSkipFirst;
    bool last = alphaInfo == kCGImageAlphaPremultipliedLast || alphaInfo == kCGImageAlphaLast ||
                alphaInfo == kCGImageAlphaNoneSkipLast;
    int extra = (alphaInfo == kCGImageAlphaNoneSkipFirst || alphaInfo == kCGImageAlphaNoneSkipLast) ? kSkip : kAlpha;
    if (first) order[samples++] = extra;
    for (size_t i = 0; i < colorComponents; i++) order[samples++] = kColor0 + (int)i;
    if (last) order[samples++] = extra;
    result.premultiplied =
        alphaInfo == kCGImageAlphaPremultipliedFirst || alphaInfo == kCGImageAlphaPremultipliedLast;
  }
  if (bitsPerPixel != (size_t)samples * bitsPerComponent) return false;
  int bytesPerSample = (int)bitsPerComponent / 8;
  result.bytesPerPixel = samples * bytesPerSample;

  /* Little-endian pixel words reverse the samples of a pixel. */
  bool reverse = false;
  if (bitsPerComponent == 8) {
    if (byteOrder == kCGBitmapByteOrder32Little) {
      if (bitsPerPixel != 32) return false;
      reverse = true;
    } else if (byteOrder == kCGBitmapByteOrder16Little) {
      if (bitsPerPixel != 16) return false;
      reverse = true;
    } else if (byteOrder == kCGBitmapByteOrder32Big && bitsPerPixel != 32) {
      return false;
    } else if (byteOrder == kCGBitmapByteOrder16Big && bitsPerPixel != 16) {
      return false;
    }
  } else {
    if (byteOrder == kCGBitmapByteOrder16Little) result.littleSamples = true;
    else if (byteOrder == kCGBitmapByteOrderDefault || byteOrder == kCGBitmapByteOrder16Big) result.bigSamples = true;
    else return false;
  }

  for (int i = 0; i < samples; i++) {
    int offset = (reverse ? samples - 1 - i : i) * bytesPerSample;
    switch (order[i]) {
      case kAlpha: result.alpha = offset; break;
      case kSkip: result.skip = offset; break;
      default:
        if (colorComponents == 1) result.grey = offset;
        else if (order[i] == 0) result.red = offset;
        else if (order[i] == 1) result.green = offset;
        else result.blue = offset;
    }
  }
  *layout = result;
  return true;
}

pixman_format_code_t PixelLayoutPixmanFormat(const PixelLayout& l) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  if (l.bigSamples || l.littleSamples) return (pixman_format_code_t)0;
  if (l.bytesPerPixel == 4 && l.blue == 0 && l.green == 1 && l.red == 2) {
    if (l.alpha == 3 && l.premultiplied) return PIXMAN_a8r8g8b8;
    if (l.skip == 3) return PIXMAN_x8r8g8b8;
  }
  /* R,G,B,A in memory is a little-endian word with red lowest: pixman's a8b8g8r8. This is
     the layout of the bitmaps lockFocus draws into; without it every painting would go
     through a shadow ARGB copy of the whole bitmap. */
  if (l.bytesPerPixel == 4 && l.red == 0 && l.green == 1 && l.blue == 2) {
    if (l.alpha == 3 && l.premultiplied) return PIXMAN_a8b8g8r8;
    if (l.skip == 3) return PIXMAN_x8b8g8r8;
  }
  if (l.bytesPerPixel == 1 && l.alphaOnly) return PIXMAN_a8;
#endif
  return (pixman_format_code_t)0;
}

pixman_format_code_t PixelLayoutPixmanSourceFormat(const PixelLayout& l) {
  pixman_format_code_t format = PixelLayoutPixmanFormat(l);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  /* Pixman composes a 24-bit pixel from its bytes lowest first, so R,G,B bytes are
     b8g8r8 (red in the low byte). Pixman reads such images in place; drawing into them
     keeps the shadow, whose conversions are what contexts of this layout were tested with. */
  if (format == 0 && !l.bigSamples && !l.littleSamples && l.bytesPerPixel == 3 && l.red == 0 && l.green == 1 &&
      l.blue == 2)
    format = PIXMAN_b8g8r8;
#endif
  return format;
}

static inline uint32_t Mul255(uint32_t a, uint32_t b) {
  uint32_t t = a * b + 128;
  return (t + (t >> 8)) >> 8;
}

/* The loops read the layout into locals first: the destination could alias the layout
   as far as the compiler knows, and reloading offsets per pixel would double the work. */
void PixelRowToARGB(const PixelLayout& l, const uint8_t* src, uint32_t* dst, size_t width) {
  const int hi = l.littleSamples ? 1 : 0; /* 16-bit samples: read the high byte */
  const int step = l.bytesPerPixel;
  const int alpha = l.alpha >= 0 ? l.alpha + hi : -1;
  if (l.alphaOnly) {
    for (size_t x = 0; x < width; x++, src += step) dst[x] = (uint32_t)src[alpha] << 24;
    return;
  }
  const bool premultiplied = l.premultiplied;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  /* R, G, B, A or R, G, B, X bytes, already premultiplied: swap red and blue in the word. */
  if (step == 4 && !hi && !l.bigSamples && l.red == 0 && l.green == 1 && l.blue == 2 &&
      ((l.alpha == 3 && premultiplied) || l.skip == 3)) {
    const uint32_t opaque = l.skip == 3 ? 0xFF000000u : 0;
    for (size_t x = 0; x < width; x++, src += 4) {
      uint32_t v;
      memcpy(&v, src, 4);
      dst[x] = ((v & 0xFF00FF00u) | ((v >> 16) & 0xFFu) | ((v & 0xFFu) << 16)) | opaque;
    }
    return;
  }
  /* A, R, G, B or X, R, G, B bytes (premultiplied): the word byte-swapped; colour above
     alpha is cut to it, as below (a no-op where alpha is 255). */
  if (step == 4 && !hi && !l.bigSamples && l.red == 1 && l.green == 2 && l.blue == 3 &&
      ((l.alpha == 0 && premultiplied) || l.skip == 0)) {
    const bool skip = l.skip == 0;
    for (size_t x = 0; x < width; x++, src += 4) {
      uint32_t v;
      memcpy(&v, src, 4);
      v = __builtin_bswap32(v);
      if (skip) {
        dst[x] = v | 0xFF000000u;
      } else {
        uint32_t a = v >> 24, r = (v >> 16) & 255, g = (v >> 8) & 255, b = v & 255;
        dst[x] = a << 24 | (r < a ? r : a) << 16 | (g < a ? g : a) << 8 | (b < a ? b : a);
      }
    }
    return;
  }
#endif
  const int red = (l.grey >= 0 ? l.grey : l.red) + hi;
  const int green = (l.grey >= 0 ? l.grey : l.green) + hi;
  const int blue = (l.grey >= 0 ? l.grey : l.blue) + hi;
  for (size_t x = 0; x < width; x++, src += step) {
    uint32_t r = src[red], g = src[green], b = src[blue];
    uint32_t a = alpha >= 0 ? src[alpha] : 255;
    if (a != 255) {
      if (premultiplied) {
        if (r > a) r = a;
        if (g > a) g = a;
        if (b > a) b = a;
      } else {
        r = Mul255(r, a);
        g = Mul255(g, a);
        b = Mul255(b, a);
      }
    }
    dst[x] = a << 24 | r << 16 | g << 8 | b;
  }
}

void PixelRowFromARGB(const PixelLayout& l, const uint32_t* src, uint8_t* dst, size_t width) {
  const int step = l.bytesPerPixel;
  const bool wide = l.bigSamples || l.littleSamples;
  const int alpha = l.alpha, skip = l.skip, grey = l.grey;
  const int red = l.red, green = l.green, blue = l.blue;
  const bool unpremultiply = alpha >= 0 && !l.premultiplied;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  if (step == 4 && !wide && red == 0 && green == 1 && blue == 2 &&
      ((alpha == 3 && l.premultiplied) || skip == 3)) {
    const uint32_t opaque = skip == 3 ? 0xFF000000u : 0;
    for (size_t x = 0; x < width; x++, dst += 4) {
      uint32_t v = src[x];
      v = ((v & 0xFF00FF00u) | ((v >> 16) & 0xFFu) | ((v & 0xFFu) << 16)) | opaque;
      memcpy(dst, &v, 4);
    }
    return;
  }
  /* A, R, G, B (premultiplied) or X, R, G, B bytes: the word byte-swapped. */
  if (step == 4 && !wide && red == 1 && green == 2 && blue == 3 && ((alpha == 0 && l.premultiplied) || skip == 0)) {
    const uint32_t opaque = skip == 0 ? 0xFFu : 0;
    for (size_t x = 0; x < width; x++, dst += 4) {
      uint32_t v = __builtin_bswap32(src[x]) | opaque;
      memcpy(dst, &v, 4);
    }
    return;
  }
#endif
  if (l.alphaOnly) {
    for (size_t x = 0; x < width; x++, dst += step) {
      dst[alpha] = (uint8_t)(src[x] >> 24);
      if (wide) dst[alpha + 1] = dst[alpha];
    }
    return;
  }
  for (size_t x = 0; x < width; x++, dst += step) {
    uint32_t p = src[x];
    uint32_t a = p >> 24, r = (p >> 16) & 255, g = (p >> 8) & 255, b = p & 255;
    if (unpremultiply && a != 255) {
      if (a == 0) {
        r = g = b = 0;
      } else {
        r = (r * 255 + a / 2) / a;
        g = (g * 255 + a / 2) / a;
        b = (b * 255 + a / 2) / a;
        if (r > 255) r = 255;
        if (g > 255) g = 255;
        if (b > 255) b = 255;
      }
    }
    if (grey >= 0) {
      dst[grey] = (uint8_t)((77 * r + 150 * g + 29 * b + 128) >> 8);
    } else {
      dst[red] = (uint8_t)r;
      dst[green] = (uint8_t)g;
      dst[blue] = (uint8_t)b;
    }
    if (alpha >= 0) dst[alpha] = (uint8_t)a;
    if (skip >= 0) dst[skip] = 255;
    if (wide) { /* 16-bit samples: v * 257 has equal bytes */
      if (grey >= 0) dst[grey + 1] = dst[grey];
      else {
        dst[red + 1] = dst[red];
        dst[green + 1] = dst[green];
        dst[blue + 1] = dst[blue];
      }
      if (alpha >= 0) dst[alpha + 1] = dst[alpha];
      if (skip >= 0) dst[skip + 1] = 255;
    }
  }
}
