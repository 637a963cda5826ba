/* PNG writing through libpng: grey, grey+alpha, RGB or RGBA at 8 or 16 bits (premultiplied
   input divided back, as PNG stores straight alpha), Adam7 on request, gamma, ICC profile,
   EXIF and resolution. libpng writes the chunks before the image data; 8-bit images that
   are not interlaced get their image data from the faster png_image_data. */
#include <algorithm>
#include <cmath>
#include <cstring>

#include <png.h>
#include <zlib.h>

#include "codecs/codecs.h"
#include "codecs/png_image_data.h"

namespace qvr {

namespace {

void append_to_vector(png_structp png, png_bytep data, png_size_t length) {
  std::vector<uint8_t>* out = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
  out->insert(out->end(), data, data + length);
}

void flush_nothing(png_structp) {}
void ignore_warning(png_structp, png_const_charp) {}

// Errors end the call quietly: back to the setjmp, nothing printed.
[[noreturn]] void jump_on_error(png_structp png, png_const_charp) { png_longjmp(png, 1); }

struct EncodeJob {
  png_structp png;
  png_infop info;
  const Raster* raster;  // rows as libpng takes them (converted beforehand when needed)
  const EncodeOptions* options;
  std::vector<uint8_t>* out;
  png_bytep* rows;  // null: the image data comes from png_image_data
};

void append_chunk(std::vector<uint8_t>& out, const char type[4], const uint8_t* data, size_t size) {
  const uint8_t length[4] = {uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8), uint8_t(size)};
  out.insert(out.end(), length, length + 4);
  const size_t start = out.size();
  out.insert(out.end(), type, type + 4);
  out.insert(out.end(), data, data + size);
  const uint32_t crc = uint32_t(crc32(0, out.data() + start, uInt(out.size() - start)));
  const uint8_t check[4] = {uint8_t(crc >> 24), uint8_t(crc >> 16), uint8_t(crc >> 8), uint8_t(crc)};
  out.insert(out.end(), check, check + 4);
}

// The image data in IDAT chunks of at most 1 MiB, then the closing IEND.
bool append_image_data(const Raster& raster, std::vector<uint8_t>& out) {
  std::vector<uint8_t> stream;
  if (!png_image_data(raster, stream)) return false;
  constexpr size_t kChunk = size_t(1) << 20;
  out.reserve(out.size() + stream.size() + (stream.size() / kChunk + 2) * 12);
  for (size_t at = 0; at < stream.size(); at += kChunk)
    append_chunk(out, "IDAT", stream.data() + at, std::min(kChunk, stream.size() - at));
  append_chunk(out, "IEND", nullptr, 0);
  return true;
}

bool run_encode(EncodeJob& job) {
  if (setjmp(png_jmpbuf(job.png))) return false;
  const Raster& raster = *job.raster;
  png_set_write_fn(job.png, job.out, append_to_vector, flush_nothing);
  int colour_type = 0;
  switch (raster.samples) {
    case 1: colour_type = PNG_COLOR_TYPE_GRAY; break;
    case 2: colour_type = raster.alpha ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_GRAY; break;
    case 3: colour_type = PNG_COLOR_TYPE_RGB; break;
    default: colour_type = PNG_COLOR_TYPE_RGB_ALPHA; break;
  }
  png_set_IHDR(job.png, job.info, png_uint_32(raster.width), png_uint_32(raster.height), raster.bits,
               colour_type, job.options->interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (job.options->gamma > 0.0) png_set_gAMA(job.png, job.info, job.options->gamma);
  if (const ImageMetadata* metadata = job.options->metadata) {
    if (!metadata->icc.empty())
      png_set_iCCP(job.png, job.info, "ICC Profile", PNG_COMPRESSION_TYPE_BASE, metadata->icc.data(),
                   png_uint_32(metadata->icc.size()));
    if (metadata->x_dpi > 0 && metadata->y_dpi > 0)
      png_set_pHYs(job.png, job.info, png_uint_32(std::lround(metadata->x_dpi / 0.0254)),
                   png_uint_32(std::lround(metadata->y_dpi / 0.0254)), PNG_RESOLUTION_METER);
    if (!metadata->exif.empty())
      png_set_eXIf_1(job.png, job.info, png_uint_32(metadata->exif.size()),
                     const_cast<png_bytep>(metadata->exif.data()));
  }
  png_write_info(job.png, job.info);
  if (job.rows == nullptr) return append_image_data(raster, *job.out);
  if (raster.bits == 16) {
    const uint16_t probe = 1;
    uint8_t first;
    std::memcpy(&first, &probe, 1);
    if (first == 1) png_set_swap(job.png);
  }
  png_write_image(job.png, job.rows);
  png_write_end(job.png, nullptr);
  return true;
}

}  // namespace

bool png_encode(const Raster& input, const EncodeOptions& options, std::vector<uint8_t>& out) {
  if (input.empty()) return false;
  // The fast image data takes 8-bit rows as they are, RGBA also premultiplied.
  const bool fast = input.bits == 8 && !options.interlaced && (!input.premultiplied || input.samples == 4);
  // For libpng, PNG's straight alpha: premultiplied pixels are divided back into a copy first.
  Raster converted;
  const Raster* raster = &input;
  if (!fast && input.alpha && input.premultiplied) {
    if (!converted.allocate(input.width, input.height, input.samples, input.bits, true)) return false;
    for (int y = 0; y < input.height; ++y)
      std::memcpy(converted.row(y), input.row(y), converted.stride);
    converted.premultiplied = true;
    raster_unpremultiply(converted);
    raster = &converted;
  }
  std::vector<png_bytep> rows(fast ? 0 : size_t(raster->height));
  for (size_t y = 0; y < rows.size(); ++y) rows[y] = const_cast<png_bytep>(raster->row(int(y)));
  EncodeJob job;
  job.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, jump_on_error, ignore_warning);
  if (job.png == nullptr) return false;
  job.info = png_create_info_struct(job.png);
  if (job.info == nullptr) {
    png_destroy_write_struct(&job.png, nullptr);
    return false;
  }
  job.raster = raster;
  job.options = &options;
  job.out = &out;
  job.rows = fast ? nullptr : rows.data();
  out.clear();
  out.reserve(fast ? 4096 : raster->stride * size_t(raster->height) / 2);
  const bool ok = run_encode(job);
  png_destroy_write_struct(&job.png, &job.info);
  if (!ok) out.clear();
  return ok;
}

}  // namespace qvr
