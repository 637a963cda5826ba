/* The codecs' pixel buffer: allocation with size limits, row conversion to the 8-bit
   layouts encoders take, and premultiplication both ways. */
#include "codecs/raster.h"

#include <cstring>

#include <sys/mman.h>

namespace qvr {

// Large pictures are worth whole 2 MiB pages: a 12-megapixel RGB picture otherwise takes
// some nine thousand page faults on its first write, which costs more than decoding it.
// Only advice: the kernel may ignore it, and memory already touched keeps its pages.
void advise_large_pages(void* start, size_t length) {
  constexpr size_t kHuge = size_t(2) << 20;
  if (length < 2 * kHuge) return;
  const uintptr_t first = (reinterpret_cast<uintptr_t>(start) + kHuge - 1) & ~(kHuge - 1);
  const uintptr_t end = (reinterpret_cast<uintptr_t>(start) + length) & ~(kHuge - 1);
  if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

bool Raster::allocate(int w, int h, int spp, int bps, bool has_alpha, bool zeroed) {
  if (w <= 0 || h <= 0 || w > kMaxDimension || h > kMaxDimension) return false;
  if (int64_t(w) * h > kMaxPixels) return false;
  if (spp < 1 || spp > 4 || (bps != 8 && bps != 16)) return false;
  width = w;
  height = h;
  samples = spp;
  bits = bps;
  alpha = has_alpha;
  premultiplied = false;
  stride = size_t(w) * spp * (bps / 8);
  storage.clear();
  storage.shrink_to_fit();
  storage.reserve(stride * size_t(h));
  advise_large_pages(storage.data(), storage.capacity());
  if (zeroed) storage.assign(stride * size_t(h), 0);
  else storage.resize(stride * size_t(h));
  pixels = storage.data();
  return true;
}

Raster& Raster::operator=(const Raster& other) {
  if (this == &other) return *this;
  width = other.width;
  height = other.height;
  samples = other.samples;
  bits = other.bits;
  alpha = other.alpha;
  premultiplied = other.premultiplied;
  stride = other.stride;
  storage = other.storage;
  const bool owned = !other.storage.empty() && other.pixels == other.storage.data();
  pixels = owned ? storage.data() : other.pixels;
  return *this;
}

Raster& Raster::operator=(Raster&& other) noexcept {
  if (this == &other) return *this;
  width = other.width;
  height = other.height;
  samples = other.samples;
  bits = other.bits;
  alpha = other.alpha;
  premultiplied = other.premultiplied;
  stride = other.stride;
  const bool owned = !other.storage.empty() && other.pixels == other.storage.data();
  storage = std::move(other.storage);
  pixels = owned ? storage.data() : other.pixels;
  other.storage.clear();
  other.pixels = nullptr;
  other.width = other.height = 0;
  return *this;
}

void Raster::view(uint8_t* first_row, int w, int h, int spp, int bps, bool has_alpha,
                  size_t row_bytes) {
  storage.clear();
  width = w;
  height = h;
  samples = spp;
  bits = bps;
  alpha = has_alpha;
  stride = row_bytes;
  pixels = first_row;
}

namespace {

inline unsigned sample_at(const uint8_t* row, int index, int bits) {
  if (bits == 16) {
    uint16_t v;
    std::memcpy(&v, row + index * 2, 2);
    return (v + 128u) / 257u;
  }
  return row[index];
}

inline uint8_t unpremultiply8(unsigned c, unsigned a) {
  if (a == 0) return 0;
  unsigned v = (c * 255u + a / 2) / a;
  return static_cast<uint8_t>(v > 255 ? 255 : v);
}

}  // namespace

void raster_row_to_8_bits(const Raster& raster, int y, int out_samples,
                          const uint8_t background_rgb[3], uint8_t* out) {
  const uint8_t* in = raster.row(y);
  const int spp = raster.samples;
  const int colours = raster.colour_samples();
  const bool premultiplied = raster.premultiplied && raster.alpha;
  // The common cases go straight through.
  if (raster.bits == 8 && spp == out_samples && (!raster.alpha || !premultiplied)) {
    std::memcpy(out, in, size_t(raster.width) * spp);
    return;
  }
  for (int x = 0; x < raster.width; ++x) {
    const int base = x * spp;
    unsigned r = sample_at(in, base, raster.bits);
    unsigned g = colours >= 3 ? sample_at(in, base + 1, raster.bits) : r;
    unsigned b = colours >= 3 ? sample_at(in, base + 2, raster.bits) : r;
    unsigned a = raster.alpha ? sample_at(in, base + spp - 1, raster.bits) : 255u;
    if (out_samples == 4) {
      if (premultiplied) {
        r = unpremultiply8(r, a);
        g = unpremultiply8(g, a);
        b = unpremultiply8(b, a);
      }
      out[0] = uint8_t(r);
      out[1] = uint8_t(g);
      out[2] = uint8_t(b);
      out[3] = uint8_t(a);
      out += 4;
      continue;
    }
    if (a != 255u) {
      // Source over the background: c*a + bg*(1-a), or c + bg*(1-a) when premultiplied.
      const unsigned inv = 255u - a;
      if (premultiplied) {
        r = (r * 255u + background_rgb[0] * inv + 127u) / 255u;
        g = (g * 255u + background_rgb[1] * inv + 127u) / 255u;
        b = (b * 255u + background_rgb[2] * inv + 127u) / 255u;
      } else {
        r = (r * a + background_rgb[0] * inv + 127u) / 255u;
        g = (g * a + background_rgb[1] * inv + 127u) / 255u;
        b = (b * a + background_rgb[2] * inv + 127u) / 255u;
      }
      if (r > 255) r = 255;
      if (g > 255) g = 255;
      if (b > 255) b = 255;
    }
    if (out_samples == 1) {
      // Rec. 601 luma, as JPEG and most greyscale conversions use.
      out[0] = colours >= 3 ? uint8_t((r * 299u + g * 587u + b * 114u + 500u) / 1000u) : uint8_t(r);
      out += 1;
    } else {
      out[0] = uint8_t(r);
      out[1] = uint8_t(g);
      out[2] = uint8_t(b);
      out += 3;
    }
  }
}

namespace {

template <typename T, unsigned Max>
void scale_colours(Raster& raster, bool multiply) {
  const int spp = raster.samples;
  for (int y = 0; y < raster.height; ++y) {
    T* p = reinterpret_cast<T*>(raster.row(y));
    for (int x = 0; x < raster.width; ++x, p += spp) {
      const uint32_t a = p[spp - 1];
      if (a == Max) continue;
      for (int c = 0; c < spp - 1; ++c) {
        uint32_t v;
        if (multiply) {
          v = (uint32_t(p[c]) * a + Max / 2) / Max;
        } else {
          v = a == 0 ? 0 : (uint32_t(p[c]) * Max + a / 2) / a;
          if (v > Max) v = Max;
        }
        p[c] = T(v);
      }
    }
  }
}

}  // namespace

void raster_premultiply(Raster& raster) {
  if (!raster.alpha || raster.premultiplied) return;
  if (raster.bits == 16) scale_colours<uint16_t, 65535u>(raster, true);
  else scale_colours<uint8_t, 255u>(raster, true);
  raster.premultiplied = true;
}

void raster_unpremultiply(Raster& raster) {
  if (!raster.alpha || !raster.premultiplied) return;
  if (raster.bits == 16) scale_colours<uint16_t, 65535u>(raster, false);
  else scale_colours<uint8_t, 255u>(raster, false);
  raster.premultiplied = false;
}

}  // namespace qvr
