/* The pixel buffer the codecs read into and write from, and what travels with it (resolution,
   gamma, colour profile, EXIF, animation timing). Plain C++, no Objective-C, so every codec
   and the fuzzers can use it without the runtime. */
#ifndef QVR_CODECS_RASTER_H
#define QVR_CODECS_RASTER_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace qvr {

// An allocator that leaves new bytes as they come: decoders overwrite every pixel anyway,
// and zeroing a large picture first costs a pass over all of its memory.
template <typename T>
struct UninitialisedAllocator : std::allocator<T> {
  template <typename U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };
  UninitialisedAllocator() = default;
  template <typename U>
  UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept {}
  template <typename U>
  void construct(U* p) noexcept {
    ::new (static_cast<void*>(p)) U;
  }
  template <typename U, typename... Args>
  void construct(U* p, Args&&... args) {
    ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
  }
};

using PixelStorage = std::vector<uint8_t, UninitialisedAllocator<uint8_t>>;

// Meshed pixels, row 0 at the top. Samples are 8 bits, or 16 bits in native byte order.
// Sample order: grey; grey, alpha; red, green, blue; red, green, blue, alpha.
struct Raster {
  int width = 0;
  int height = 0;
  int samples = 0;             // 1 to 4
  int bits = 8;                // 8 or 16
  bool alpha = false;          // the last sample is alpha
  bool premultiplied = false;  // colour samples already multiplied by alpha
  size_t stride = 0;           // bytes from one row to the next
  uint8_t* pixels = nullptr;   // the first row: into storage, or someone else's memory
  PixelStorage storage;

  Raster() = default;
  // Copies own their pixels: a copy of a view is a view, a copy of owned storage is owned.
  Raster(const Raster& other) { *this = other; }
  Raster(Raster&& other) noexcept { *this = std::move(other); }
  Raster& operator=(const Raster& other);
  Raster& operator=(Raster&& other) noexcept;

  // Sizes own storage for w x h x spp at bps, zeroed unless the caller writes every pixel;
  // false if that would be absurd.
  bool allocate(int w, int h, int spp, int bps, bool has_alpha, bool zeroed = true);
  // Describes memory owned elsewhere (an encoder's input), without copying it.
  void view(uint8_t* first_row, int w, int h, int spp, int bps, bool has_alpha, size_t row_bytes);
  uint8_t* row(int y) { return pixels + stride * static_cast<size_t>(y); }
  const uint8_t* row(int y) const { return pixels + stride * static_cast<size_t>(y); }
  bool empty() const { return width <= 0 || height <= 0 || pixels == nullptr; }
  int colour_samples() const { return alpha ? samples - 1 : samples; }
};

// What a decoder learnt besides the pixels, and what an encoder may be asked to write.
struct ImageMetadata {
  double x_dpi = 72.0;
  double y_dpi = 72.0;
  double gamma = 0.0;             // PNG gAMA as stored (0.45455 for 2.2); 0 when absent
  std::vector<uint8_t> icc;       // ICC profile
  std::vector<uint8_t> exif;      // EXIF as a TIFF structure (no "Exif\0\0" prefix)
  int orientation = 1;            // EXIF orientation, 1 to 8
  bool interlaced = false;        // PNG Adam7 or GIF interlace
  bool progressive = false;       // JPEG progressive
  int tiff_compression = 0;       // TIFF compression code read or to write
  double frame_duration = 0.0;    // GIF: seconds this frame shows
  int loop_count = -1;            // GIF: NETSCAPE loop count (0 forever); -1 when absent
  std::vector<uint8_t> palette_rgb;  // GIF: the colour table the frame was drawn with (RGB)
};

struct Frame {
  Raster raster;
  ImageMetadata metadata;
};

// Largest image the codecs accept: width and height each, and pixels in all.
constexpr int kMaxDimension = 1 << 16;
constexpr int64_t kMaxPixels = int64_t(1) << 28;

// Past a million pixels a picture must come with a byte of data for every 4,096 of them.
// Blank runs, flat codestreams and empty canvases let a few bytes claim the largest picture
// there is; any real file of that size brings thousands of times more.
inline bool too_little_data_for(int64_t pixels, int64_t bytes) {
  return pixels > (int64_t(1) << 20) && pixels / 4096 > bytes;
}

// Pixels per metre (PNG, BMP) cannot say 72 dpi: 2835 is 72.009. A resolution within 0.02
// of a whole number of dots per inch is that number, so a 72-dpi picture written and read
// back keeps its size in points.
inline double dpi_of_pixels_per_metre(double pixels_per_metre) {
  const double dpi = pixels_per_metre * 0.0254, whole = std::round(dpi);
  return std::fabs(dpi - whole) < 0.02 ? whole : dpi;
}

// Asks for large pages over fresh memory that is about to be written (a picture's pixels).
void advise_large_pages(void* start, size_t length);

// One row converted to 8-bit samples in the layout an encoder wants: out_samples 1 (grey),
// 3 (RGB) or 4 (RGBA, not premultiplied). Alpha dropped on the way is laid over background.
void raster_row_to_8_bits(const Raster& raster, int y, int out_samples,
                          const uint8_t background_rgb[3], uint8_t* out);
// Multiplies colour samples by alpha, or divides them again (in place, any depth).
void raster_premultiply(Raster& raster);
void raster_unpremultiply(Raster& raster);

}  // namespace qvr

#endif
