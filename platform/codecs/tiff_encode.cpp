/* TIFF writing through libtiff: one page per frame, grey or RGB at 8 or 16 bits with alpha as
   an extra sample (associated when premultiplied), in the compression asked for when libtiff
   can write it for that page (none otherwise), with resolution, ICC profile and, on the first
   page, EXIF. */
#include <algorithm>
#include <cmath>
#include <cstring>

#include "codecs/codecs.h"
#include "codecs/tiff_exif_block.h"
#include "codecs/tiff_memory_stream.h"

namespace qvr {

namespace {

bool bilevel_compression(int compression) {
  return compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
}

// The compression a page is actually written with: bilevel codes only for one grey
// sample, JPEG only for 8 bits, and codes libtiff cannot write fall back to none.
int effective_compression(const Raster& raster, int wanted) {
  switch (wanted) {
    case COMPRESSION_LZW:
    case COMPRESSION_PACKBITS:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return TIFFIsCODECConfigured(uint16_t(wanted)) ? wanted : COMPRESSION_NONE;
    case COMPRESSION_JPEG:
      return raster.bits == 8 && TIFFIsCODECConfigured(COMPRESSION_JPEG) ? wanted : COMPRESSION_NONE;
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
      return raster.samples == 1 ? wanted : COMPRESSION_NONE;
    default:
      return COMPRESSION_NONE;
  }
}

bool write_page(TIFF* tif, const Frame& frame, const EncodeOptions& options, int page_number, int page_count) {
  const Raster& raster = frame.raster;
  const int compression = effective_compression(raster, options.tiff_compression);
  const bool bilevel = bilevel_compression(compression);
  const int colours = raster.colour_samples();
  TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(raster.width));
  TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(raster.height));
  TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, uint16_t(bilevel ? 1 : raster.bits));
  TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, uint16_t(bilevel ? 1 : raster.samples));
  TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, colours == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
  TIFFSetField(tif, TIFFTAG_COMPRESSION, uint16_t(compression));
  TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  if (raster.alpha && !bilevel) {
    const uint16_t extra = raster.premultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &extra);
  }
  if (compression == COMPRESSION_LZW || compression == COMPRESSION_ADOBE_DEFLATE || compression == COMPRESSION_DEFLATE)
    TIFFSetField(tif, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  if (compression == COMPRESSION_JPEG) {
    // The factor is JPEG quality here, as for JPEG files; 0 asks for the codec's default.
    float factor = options.quality;
    int quality = factor > 0.0f ? int(std::lround(std::min(factor, 1.0f) * 100.0f)) : 75;
    TIFFSetField(tif, TIFFTAG_JPEGQUALITY, quality < 1 ? 1 : quality);
  }
  if (page_count > 1) {
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tif, TIFFTAG_PAGENUMBER, uint16_t(page_number), uint16_t(page_count));
  }
  const ImageMetadata& metadata = frame.metadata;
  if (metadata.x_dpi > 0 && metadata.y_dpi > 0) {
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, float(metadata.x_dpi));
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, float(metadata.y_dpi));
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
  }
  if (!metadata.icc.empty())
    TIFFSetField(tif, TIFFTAG_ICCPROFILE, uint32_t(metadata.icc.size()), metadata.icc.data());
  TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));

  std::vector<uint8_t> row(bilevel ? size_t(raster.width + 7) / 8 : raster.stride);
  for (int y = 0; y < raster.height; ++y) {
    if (bilevel) {
      // Grey to one bit, black 0 as MinIsBlack says: at or above half is white.
      std::fill(row.begin(), row.end(), 0);
      const uint8_t* in = raster.row(y);
      for (int x = 0; x < raster.width; ++x) {
        const unsigned v = raster.bits == 16 ? unsigned(reinterpret_cast<const uint16_t*>(in)[x] >> 8) : in[x];
        if (v >= 128) row[size_t(x) / 8] |= uint8_t(0x80u >> (x % 8));
      }
    } else {
      std::memcpy(row.data(), raster.row(y), raster.stride);  // libtiff may encode in place
    }
    if (TIFFWriteScanline(tif, row.data(), uint32_t(y), 0) < 0) return false;
  }
  return TIFFWriteDirectory(tif) != 0;
}

}  // namespace

bool tiff_compression_supported(int compression) {
  switch (compression) {
    case COMPRESSION_NONE:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
    case COMPRESSION_LZW:
    case COMPRESSION_JPEG:
    case COMPRESSION_PACKBITS:
      return compression == COMPRESSION_NONE || TIFFIsCODECConfigured(uint16_t(compression));
    default:
      return false;
  }
}

bool tiff_encode(const std::vector<const Frame*>& pages, const EncodeOptions& options, std::vector<uint8_t>& out) {
  if (pages.empty()) return false;
  for (const Frame* page : pages)
    if (page == nullptr || page->raster.empty()) return false;
  out.clear();
  TiffMemoryStream stream;
  stream.sink = &out;
  // EXIF goes in as it is, so the file takes the byte order of the EXIF block.
  const std::vector<uint8_t>& exif = pages[0]->metadata.exif;
  const bool with_exif = exif.size() >= 8 && (exif[0] == 'I' || exif[0] == 'M');
  TIFF* tif = tiff_open_memory(stream, !with_exif ? "w" : exif[0] == 'I' ? "wl" : "wb");
  if (tif == nullptr) return false;
  bool ok = true;
  for (size_t i = 0; ok && i < pages.size(); ++i)
    ok = write_page(tif, *pages[i], options, int(i), int(pages.size()));
  TIFFClose(tif);
  if (ok && with_exif) tiff_insert_exif_block(out, exif.data(), exif.size());
  if (!ok) out.clear();
  return ok && !out.empty();
}

}  // namespace qvr
