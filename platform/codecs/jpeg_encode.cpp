/* JPEG writing through libjpeg-turbo: 8-bit grey or RGB rows (alpha laid over the fallback
   background), the compression factor as libjpeg quality, optional progressive scans, and
   the EXIF block, ICC profile and resolution carried over. */
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "codecs/codecs.h"
#include "codecs/jpeg_error_manager.h"

namespace qvr {

namespace {

struct EncodeJob {
  jpeg_compress_struct cinfo;
  JpegErrorManager error;
  const Raster* raster;
  const EncodeOptions* options;
  uint8_t* row_buffer;  // one converted row, or null when rows go in as they are
  unsigned char* output;
  unsigned long output_size;
};

// libjpeg's quality scale from the platform's factor: 0 is the smallest file, 1 the best.
int quality_from_factor(float factor) {
  if (!(factor >= 0.0f)) factor = 0.0f;
  if (factor > 1.0f) factor = 1.0f;
  const int quality = int(std::lround(factor * 100.0f));
  return quality < 1 ? 1 : quality;
}

void write_metadata(EncodeJob& job) {
  const ImageMetadata* metadata = job.options->metadata;
  if (metadata == nullptr) return;
  if (!metadata->exif.empty() && metadata->exif.size() + 6 <= 65533) {
    jpeg_write_m_header(&job.cinfo, JPEG_APP0 + 1, static_cast<unsigned int>(metadata->exif.size() + 6));
    static const char prefix[6] = {'E', 'x', 'i', 'f', 0, 0};
    for (char c : prefix) jpeg_write_m_byte(&job.cinfo, c);
    for (uint8_t b : metadata->exif) jpeg_write_m_byte(&job.cinfo, b);
  }
  if (!metadata->icc.empty()) {
    jpeg_write_icc_profile(&job.cinfo, metadata->icc.data(), static_cast<unsigned int>(metadata->icc.size()));
  }
}

bool run_encode(EncodeJob& job) {
  if (setjmp(job.error.jump)) return false;
  const Raster& raster = *job.raster;
  const bool grey = raster.colour_samples() == 1;
  jpeg_mem_dest(&job.cinfo, &job.output, &job.output_size);
  job.cinfo.image_width = JDIMENSION(raster.width);
  job.cinfo.image_height = JDIMENSION(raster.height);
  job.cinfo.input_components = grey ? 1 : 3;
  job.cinfo.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&job.cinfo);
  jpeg_set_quality(&job.cinfo, quality_from_factor(job.options->quality), TRUE);
  if (job.options->progressive) jpeg_simple_progression(&job.cinfo);
  if (const ImageMetadata* metadata = job.options->metadata) {
    if (metadata->x_dpi > 0 && metadata->y_dpi > 0 && metadata->x_dpi < 65535 && metadata->y_dpi < 65535) {
      job.cinfo.density_unit = 1;
      job.cinfo.X_density = UINT16(std::lround(metadata->x_dpi));
      job.cinfo.Y_density = UINT16(std::lround(metadata->y_dpi));
    }
  }
  jpeg_start_compress(&job.cinfo, TRUE);
  write_metadata(job);
  const int components = grey ? 1 : 3;
  while (job.cinfo.next_scanline < job.cinfo.image_height) {
    const int y = int(job.cinfo.next_scanline);
    JSAMPROW row;
    if (job.row_buffer != nullptr) {
      raster_row_to_8_bits(raster, y, components, job.options->background_rgb, job.row_buffer);
      row = job.row_buffer;
    } else {
      row = const_cast<JSAMPROW>(raster.row(y));
    }
    jpeg_write_scanlines(&job.cinfo, &row, 1);
  }
  jpeg_finish_compress(&job.cinfo);
  return true;
}

}  // namespace

bool jpeg_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out) {
  if (raster.empty() || raster.width > 65500 || raster.height > 65500) return false;
  const int colours = raster.colour_samples();
  const bool direct = raster.bits == 8 && !raster.alpha && (colours == 1 || colours == 3);
  std::vector<uint8_t> row_buffer(direct ? 0 : size_t(raster.width) * 3);
  EncodeJob job;
  std::memset(&job.cinfo, 0, sizeof job.cinfo);
  job.raster = &raster;
  job.options = &options;
  job.row_buffer = direct ? nullptr : row_buffer.data();
  job.output = nullptr;
  job.output_size = 0;
  job.cinfo.err = &job.error.pub;
  jpeg_error_manager_install(job.error);
  jpeg_create_compress(&job.cinfo);
  const bool ok = run_encode(job);
  jpeg_destroy_compress(&job.cinfo);
  if (ok && job.output != nullptr) out.assign(job.output, job.output + job.output_size);
  std::free(job.output);
  return ok && !out.empty();
}

}  // namespace qvr
