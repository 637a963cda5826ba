/* TIFF reading through libtiff, every page: 8- and 16-bit grey and RGB (with or without
   alpha) straight from strips or tiles, anything else libtiff understands (palette, CMYK,
   YCbCr, bilevel, planar) through its RGBA reader. Resolution, ICC profile and EXIF kept. */
#include <algorithm>
#include <cstring>

#include "codecs/codecs.h"
#include "codecs/tiff_exif_block.h"
#include "codecs/tiff_memory_stream.h"

namespace qvr {

namespace {

constexpr int kMaxPages = 4096;

struct PageLayout {
  uint32_t width = 0, height = 0;
  uint16_t samples = 1, bits = 1, photometric = 0, planar = PLANARCONFIG_CONTIG;
  uint16_t sample_format = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE;
  uint16_t extra_count = 0;
  uint16_t* extra = nullptr;
};

// A few bytes of TIFF can declare strips that are not there, or pages that all share one
// strip, and libtiff then hands out blank rows for every declared pixel. So beyond the
// first 4 MiB of samples, the pages together must bring a byte of file for every 4,096
// bytes of samples they declare: more than LZW, Deflate or JPEG packs a real picture into.
// Fax coding is the exception: a blank line costs one bit however wide it is, so a byte
// of it may stand for as many sample bytes as the widest line holds.
constexpr int64_t kFreeSampleBytes = int64_t(4) << 20;

int64_t sample_bytes(const PageLayout& page) {
  return (int64_t(page.width) * page.height * page.samples * std::max<int64_t>(page.bits, 1) + 7) / 8;
}

int64_t sample_bytes_per_file_byte(const PageLayout& page) {
  switch (page.compression) {
    case COMPRESSION_CCITTRLE:
    case COMPRESSION_CCITTRLEW:
    case COMPRESSION_CCITTFAX3:
    case COMPRESSION_CCITTFAX4:
    case COMPRESSION_JBIG:
      return kMaxDimension;
    default:
      return 4096;
  }
}

bool read_layout(TIFF* tif, PageLayout& page) {
  if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &page.width) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &page.height))
    return false;
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &page.samples);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &page.bits);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &page.planar);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &page.sample_format);
  TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &page.compression);
  TIFFGetFieldDefaulted(tif, TIFFTAG_EXTRASAMPLES, &page.extra_count, &page.extra);
  if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &page.photometric))
    page.photometric = page.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  if (page.width == 0 || page.height == 0 || page.width > uint32_t(kMaxDimension) ||
      page.height > uint32_t(kMaxDimension) || int64_t(page.width) * page.height > kMaxPixels)
    return false;
  return true;
}

void read_metadata(TIFF* tif, ImageMetadata& metadata, const PageLayout& page) {
  metadata.tiff_compression = page.compression;
  float x = 0, y = 0;
  uint16_t unit = RESUNIT_INCH;
  TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
  if (TIFFGetField(tif, TIFFTAG_XRESOLUTION, &x) && TIFFGetField(tif, TIFFTAG_YRESOLUTION, &y) && x > 0 && y > 0 &&
      unit != RESUNIT_NONE) {
    const double scale = unit == RESUNIT_CENTIMETER ? 2.54 : 1.0;
    metadata.x_dpi = x * scale;
    metadata.y_dpi = y * scale;
  }
  uint32_t icc_length = 0;
  void* icc = nullptr;
  if (TIFFGetField(tif, TIFFTAG_ICCPROFILE, &icc_length, &icc) && icc != nullptr)
    metadata.icc.assign(static_cast<uint8_t*>(icc), static_cast<uint8_t*>(icc) + icc_length);
  uint16_t orientation = 1;
  if (TIFFGetField(tif, TIFFTAG_ORIENTATION, &orientation) && orientation >= 1 && orientation <= 8)
    metadata.orientation = orientation;
}

// Grey or RGB, 8 or 16 bits, interleaved, at most one alpha sample: read as stored.
bool readable_directly(const PageLayout& page) {
  if (page.sample_format != SAMPLEFORMAT_UINT || (page.bits != 8 && page.bits != 16)) return false;
  if (page.planar != PLANARCONFIG_CONTIG) return false;
  const int colours = page.photometric == PHOTOMETRIC_MINISBLACK ? 1 : page.photometric == PHOTOMETRIC_RGB ? 3 : 0;
  if (colours == 0) return false;
  if (page.compression == COMPRESSION_OJPEG) return false;
  return page.samples == colours || (page.samples == colours + 1 && page.extra_count == 1);
}

bool read_direct(TIFF* tif, const PageLayout& page, Frame& frame) {
  const bool alpha = page.extra_count == 1 && page.samples >= 2 && (page.samples == 2 || page.samples == 4);
  Raster& raster = frame.raster;
  if (!raster.allocate(int(page.width), int(page.height), page.samples, page.bits, alpha)) return false;
  raster.premultiplied = alpha && page.extra[0] == EXTRASAMPLE_ASSOCALPHA;
  if (TIFFIsTiled(tif)) {
    uint32_t tile_w = 0, tile_h = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tile_w);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tile_h);
    const tmsize_t tile_size = TIFFTileSize(tif);
    if (tile_w == 0 || tile_h == 0 || tile_size <= 0) return false;
    const size_t pixel_bytes = size_t(page.samples) * (page.bits / 8);
    if (size_t(tile_size) < size_t(tile_w) * tile_h * pixel_bytes) return false;
    std::vector<uint8_t> tile(static_cast<size_t>(tile_size));
    for (uint32_t ty = 0; ty < page.height; ty += tile_h) {
      for (uint32_t tx = 0; tx < page.width; tx += tile_w) {
        if (TIFFReadTile(tif, tile.data(), tx, ty, 0, 0) < 0) return false;
        const uint32_t copy_w = std::min(tile_w, page.width - tx);
        const uint32_t copy_h = std::min(tile_h, page.height - ty);
        for (uint32_t r = 0; r < copy_h; ++r)
          std::memcpy(raster.row(int(ty + r)) + tx * pixel_bytes, tile.data() + r * tile_w * pixel_bytes,
                      copy_w * pixel_bytes);
      }
    }
  } else {
    if (TIFFScanlineSize(tif) != tmsize_t(raster.stride)) return false;
    for (uint32_t y = 0; y < page.height; ++y)
      if (TIFFReadScanline(tif, raster.row(int(y)), y, 0) < 0) return false;
  }
  return true;
}

bool read_through_rgba(TIFF* tif, const PageLayout& page, Frame& frame) {
  char message[1024];
  if (!TIFFRGBAImageOK(tif, message)) return false;
  std::vector<uint32_t> pixels;
  pixels.resize(size_t(page.width) * page.height);
  if (!TIFFReadRGBAImageOriented(tif, page.width, page.height, pixels.data(), ORIENTATION_TOPLEFT, 0))
    return false;
  bool alpha = false;
  for (uint16_t i = 0; i < page.extra_count; ++i)
    if (page.extra[i] == EXTRASAMPLE_ASSOCALPHA || page.extra[i] == EXTRASAMPLE_UNASSALPHA) alpha = true;
  Raster& raster = frame.raster;
  if (!raster.allocate(int(page.width), int(page.height), alpha ? 4 : 3, 8, alpha)) return false;
  raster.premultiplied = alpha;  // libtiff's RGBA reader hands out associated alpha
  for (uint32_t y = 0; y < page.height; ++y) {
    const uint32_t* in = pixels.data() + size_t(y) * page.width;
    uint8_t* out = raster.row(int(y));
    for (uint32_t x = 0; x < page.width; ++x) {
      const uint32_t p = in[x];
      *out++ = uint8_t(TIFFGetR(p));
      *out++ = uint8_t(TIFFGetG(p));
      *out++ = uint8_t(TIFFGetB(p));
      if (alpha) *out++ = uint8_t(TIFFGetA(p));
    }
  }
  return true;
}

}  // namespace

bool tiff_decode(const uint8_t* data, size_t size, std::vector<Frame>& pages) {
  pages.clear();
  if (data == nullptr || size < 8) return false;
  TiffMemoryStream stream;
  stream.source = data;
  stream.size = size;
  TIFF* tif = tiff_open_memory(stream, "rm");
  if (tif == nullptr) return false;
  bool ok = true;
  int64_t declared = 0, file_bytes_needed = 0;
  do {
    PageLayout page;
    Frame frame;
    if (!read_layout(tif, page)) {
      ok = false;
      break;
    }
    declared += sample_bytes(page);
    file_bytes_needed += sample_bytes(page) / sample_bytes_per_file_byte(page);
    if (declared > kFreeSampleBytes && file_bytes_needed > int64_t(size)) {
      ok = false;
      break;
    }
    read_metadata(tif, frame.metadata, page);
    const bool read = readable_directly(page) ? read_direct(tif, page, frame) : read_through_rgba(tif, page, frame);
    if (!read) {
      ok = false;
      break;
    }
    if (pages.empty()) tiff_exif_block(data, size, frame.metadata.exif);
    pages.push_back(std::move(frame));
  } while (int(pages.size()) < kMaxPages && TIFFReadDirectory(tif));
  TIFFClose(tif);
  if (!ok) pages.clear();
  return ok && !pages.empty();
}

}  // namespace qvr
