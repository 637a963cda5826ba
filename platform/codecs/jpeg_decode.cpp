/* JPEG reading through libjpeg-turbo: grey, RGB and (Adobe) CMYK to 8-bit rows, keeping the
   EXIF block (and its orientation), the ICC profile and the JFIF resolution; at a reduced
   size on request (DCT scaling). */
#include <cstdlib>
#include <cstring>

#include "codecs/codecs.h"
#include "codecs/exif_orientation.h"
#include "codecs/jpeg_error_manager.h"

namespace qvr {

namespace {

constexpr int kExifMarker = JPEG_APP0 + 1;

// Everything the libjpeg calls touch lives here, owned by the caller, so that a longjmp
// out of the library skips no destructor.
struct DecodeJob {
  jpeg_decompress_struct cinfo;
  JpegErrorManager error;
  const uint8_t* data;
  size_t size;
  Frame* out;
  std::vector<uint8_t>* cmyk_row;
  int scale_denominator;
};

void keep_markers(DecodeJob& job) {
  for (jpeg_saved_marker_ptr m = job.cinfo.marker_list; m != nullptr; m = m->next) {
    if (m->marker == kExifMarker && m->data_length > 6 &&
        std::memcmp(m->data, "Exif\0\0", 6) == 0 && job.out->metadata.exif.empty()) {
      job.out->metadata.exif.assign(m->data + 6, m->data + m->data_length);
    }
  }
  JOCTET* icc = nullptr;
  unsigned int icc_length = 0;
  if (jpeg_read_icc_profile(&job.cinfo, &icc, &icc_length) && icc != nullptr) {
    job.out->metadata.icc.assign(icc, icc + icc_length);
  }
  free(icc);
  if (job.cinfo.saw_JFIF_marker && job.cinfo.X_density > 0 && job.cinfo.Y_density > 0) {
    const double scale = job.cinfo.density_unit == 1 ? 1.0 : job.cinfo.density_unit == 2 ? 2.54 : 0.0;
    if (scale > 0) {
      job.out->metadata.x_dpi = job.cinfo.X_density * scale;
      job.out->metadata.y_dpi = job.cinfo.Y_density * scale;
    }
  }
}

void cmyk_to_rgb(const uint8_t* cmyk, uint8_t* rgb, int width, bool inverted) {
  for (int x = 0; x < width; ++x, cmyk += 4, rgb += 3) {
    unsigned c = cmyk[0], m = cmyk[1], y = cmyk[2], k = cmyk[3];
    if (!inverted) {
      c = 255 - c;
      m = 255 - m;
      y = 255 - y;
      k = 255 - k;
    }
    rgb[0] = uint8_t((c * k + 127) / 255);
    rgb[1] = uint8_t((m * k + 127) / 255);
    rgb[2] = uint8_t((y * k + 127) / 255);
  }
}

bool run_decode(DecodeJob& job) {
  if (setjmp(job.error.jump)) return false;
  jpeg_mem_src(&job.cinfo, job.data, static_cast<unsigned long>(job.size));
  jpeg_save_markers(&job.cinfo, kExifMarker, 0xFFFF);
  jpeg_save_markers(&job.cinfo, JPEG_APP0 + 2, 0xFFFF);
  if (jpeg_read_header(&job.cinfo, TRUE) != JPEG_HEADER_OK) return false;
  // Checked before libjpeg sets up the decode: a progressive file has it allocate and clear
  // coefficients for every pixel first. Huffman coding spends a bit at least on every 8 x 8
  // block; a file with less than a byte for every 4,096 pixels of a picture over a million
  // is cut short or made to claim memory, not a photograph.
  const int64_t pixels = int64_t(job.cinfo.image_width) * job.cinfo.image_height;
  if (pixels > kMaxPixels || too_little_data_for(pixels, int64_t(job.size))) return false;
  const bool cmyk = job.cinfo.jpeg_color_space == JCS_CMYK || job.cinfo.jpeg_color_space == JCS_YCCK;
  const bool grey = job.cinfo.num_components == 1;
  job.cinfo.out_color_space = cmyk ? JCS_CMYK : grey ? JCS_GRAYSCALE : JCS_RGB;
  job.cinfo.scale_num = 1;
  job.cinfo.scale_denom = unsigned(job.scale_denominator);
  job.out->metadata.progressive = jpeg_has_multiple_scans(&job.cinfo);
  keep_markers(job);
  jpeg_start_decompress(&job.cinfo);
  Raster& raster = job.out->raster;
  if (!raster.allocate(int(job.cinfo.output_width), int(job.cinfo.output_height), grey ? 1 : 3, 8, false, false))
    return false;
  if (cmyk) job.cmyk_row->resize(size_t(raster.width) * 4);
  while (job.cinfo.output_scanline < job.cinfo.output_height) {
    const int y = int(job.cinfo.output_scanline);
    JSAMPROW row = cmyk ? job.cmyk_row->data() : raster.row(y);
    if (jpeg_read_scanlines(&job.cinfo, &row, 1) != 1) return false;
    if (cmyk) cmyk_to_rgb(row, raster.row(y), raster.width, job.cinfo.saw_Adobe_marker);
  }
  jpeg_finish_decompress(&job.cinfo);
  return true;
}

}  // namespace

bool jpeg_decode(const uint8_t* data, size_t size, Frame& out, int scale_denominator) {
  if (data == nullptr || size < 4) return false;
  if (scale_denominator != 2 && scale_denominator != 4 && scale_denominator != 8) scale_denominator = 1;
  std::vector<uint8_t> cmyk_row;
  DecodeJob job;
  std::memset(&job.cinfo, 0, sizeof job.cinfo);
  job.data = data;
  job.size = size;
  job.out = &out;
  job.cmyk_row = &cmyk_row;
  job.scale_denominator = scale_denominator;
  job.cinfo.err = &job.error.pub;
  jpeg_error_manager_install(job.error);
  jpeg_create_decompress(&job.cinfo);
  const bool ok = run_decode(job);
  jpeg_destroy_decompress(&job.cinfo);
  if (!ok) {
    out = Frame();
    return false;
  }
  out.metadata.orientation = exif_orientation(out.metadata.exif);
  return true;
}

}  // namespace qvr
