/* PNG reading through libpng: every colour type and depth to 8- or 16-bit grey, grey+alpha,
   RGB or RGBA (palettes and tRNS expanded), with gamma, ICC profile, EXIF and resolution. */
#include <cmath>
#include <cstring>

#include <png.h>

#include "codecs/codecs.h"
#include "codecs/exif_orientation.h"

namespace qvr {

namespace {

struct MemoryReader {
  const uint8_t* data;
  size_t size;
  size_t offset;
};

void read_from_memory(png_structp png, png_bytep out, png_size_t length) {
  MemoryReader* reader = static_cast<MemoryReader*>(png_get_io_ptr(png));
  if (length > reader->size - reader->offset) png_error(png, "truncated");
  std::memcpy(out, reader->data + reader->offset, length);
  reader->offset += length;
}

void ignore_warning(png_structp, png_const_charp) {}

// Errors end the call quietly: back to the setjmp, nothing printed.
[[noreturn]] void jump_on_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }

// Everything libpng touches is owned by the caller; this frame holds no C++ objects,
// so libpng's longjmp on error skips no destructor.
struct DecodeJob {
  png_structp png;
  png_infop info;
  MemoryReader reader;
  Frame* out;
  std::vector<png_bytep>* rows;
};

void read_metadata(DecodeJob& job) {
  ImageMetadata& metadata = job.out->metadata;
  double gamma = 0.0;
  if (png_get_gAMA(job.png, job.info, &gamma)) metadata.gamma = gamma;
  png_charp name = nullptr;
  int compression = 0;
  png_bytep profile = nullptr;
  png_uint_32 profile_length = 0;
  if (png_get_iCCP(job.png, job.info, &name, &compression, &profile, &profile_length) && profile != nullptr)
    metadata.icc.assign(profile, profile + profile_length);
  png_uint_32 res_x = 0, res_y = 0;
  int unit = 0;
  if (png_get_pHYs(job.png, job.info, &res_x, &res_y, &unit) && unit == PNG_RESOLUTION_METER &&
      res_x > 0 && res_y > 0) {
    metadata.x_dpi = dpi_of_pixels_per_metre(res_x);
    metadata.y_dpi = dpi_of_pixels_per_metre(res_y);
  }
  png_uint_32 exif_length = 0;
  png_bytep exif = nullptr;
  if (png_get_eXIf_1(job.png, job.info, &exif_length, &exif) && exif != nullptr && exif_length > 0)
    metadata.exif.assign(exif, exif + exif_length);
  metadata.interlaced = png_get_interlace_type(job.png, job.info) != PNG_INTERLACE_NONE;
}

// Whether every chunk up to IEND lies within the data. libpng allocates and clears a
// chunk at the length the file claims before it reads a byte of it, so a 300-byte file
// whose text chunk claims 2 GB took seconds only to fail; it is refused here instead.
bool chunks_fit(const uint8_t* data, size_t size) {
  for (size_t at = 8; at + 12 <= size;) {
    const size_t length = size_t(data[at]) << 24 | size_t(data[at + 1]) << 16 | size_t(data[at + 2]) << 8 | data[at + 3];
    if (length > size - at - 12) return false;
    if (std::memcmp(data + at + 4, "IEND", 4) == 0) return true;
    at += 12 + length;
  }
  return true;  // cut short between chunks: libpng reports what is missing
}

bool run_decode(DecodeJob& job) {
  if (setjmp(png_jmpbuf(job.png))) return false;
  png_set_read_fn(job.png, &job.reader, read_from_memory);
  png_set_user_limits(job.png, kMaxDimension, kMaxDimension);
  png_read_info(job.png, job.info);
  png_uint_32 width = 0, height = 0;
  int depth = 0, colour_type = 0, interlace = 0;
  png_get_IHDR(job.png, job.info, &width, &height, &depth, &colour_type, &interlace, nullptr, nullptr);
  if (int64_t(width) * height > kMaxPixels) return false;
  // Deflate gives at most 1,032 bytes for each byte it reads, so a file too small to hold
  // its rows (each with its filter byte) is refused before the picture is allocated: a few
  // bytes of an interlaced picture would otherwise spread its first pass over every page.
  const int64_t row_bytes = (int64_t(width) * png_get_channels(job.png, job.info) * depth + 7) / 8 + 1;
  if (row_bytes * height > int64_t(job.reader.size) * 1032 + 1024) return false;
  read_metadata(job);
  bool alpha = (colour_type & PNG_COLOR_MASK_ALPHA) != 0;
  if (colour_type == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(job.png);
  if (colour_type == PNG_COLOR_TYPE_GRAY && depth < 8) png_set_expand_gray_1_2_4_to_8(job.png);
  if (png_get_valid(job.png, job.info, PNG_INFO_tRNS)) {
    png_set_tRNS_to_alpha(job.png);
    alpha = true;
  }
  const int bits = depth == 16 ? 16 : 8;
  if (bits == 16) {
    const uint16_t probe = 1;
    uint8_t first;
    std::memcpy(&first, &probe, 1);
    if (first == 1) png_set_swap(job.png);  // 16-bit samples in native order
  }
  png_set_interlace_handling(job.png);
  png_read_update_info(job.png, job.info);
  const int channels = png_get_channels(job.png, job.info);
  if (channels < 1 || channels > 4) return false;
  Raster& raster = job.out->raster;
  if (!raster.allocate(int(width), int(height), channels, bits, alpha, false)) return false;
  if (png_get_rowbytes(job.png, job.info) != raster.stride) return false;
  job.rows->resize(height);
  for (png_uint_32 y = 0; y < height; ++y) (*job.rows)[y] = raster.row(int(y));
  png_read_image(job.png, job.rows->data());
  png_read_end(job.png, nullptr);
  return true;
}

}  // namespace

bool png_decode(const uint8_t* data, size_t size, Frame& out) {
  if (data == nullptr || size < 8 || png_sig_cmp(data, 0, 8) != 0 || !chunks_fit(data, size)) return false;
  std::vector<png_bytep> rows;
  DecodeJob job;
  job.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, jump_on_error, ignore_warning);
  if (job.png == nullptr) return false;
  job.info = png_create_info_struct(job.png);
  if (job.info == nullptr) {
    png_destroy_read_struct(&job.png, nullptr, nullptr);
    return false;
  }
  job.reader = MemoryReader{data, size, 0};
  job.out = &out;
  job.rows = &rows;
  const bool ok = run_decode(job);
  png_destroy_read_struct(&job.png, &job.info, nullptr);
  if (!ok) {
    out = Frame();
    return false;
  }
  out.metadata.orientation = exif_orientation(out.metadata.exif);
  return true;
}

}  // namespace qvr
