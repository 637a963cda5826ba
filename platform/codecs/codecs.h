/* The entry points of the image codecs: one decoder and one encoder per format, all working
   on Raster buffers in memory. Decoders return false for anything they cannot read in full
   (corrupt, truncated, too large); they never abort. */
#ifndef QVR_CODECS_CODECS_H
#define QVR_CODECS_CODECS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "gif_animation.h"
#include "raster.h"

namespace qvr {

enum class ImageFormat { unknown, tiff, bmp, gif, jpeg, png, jpeg2000, ico, icns };

// Recognises a format by its signature bytes.
ImageFormat sniff_image_format(const uint8_t* data, size_t size);

// What the encoders may be asked for, beyond the pixels. Each encoder reads its own fields.
struct EncodeOptions {
  float quality = 0.8f;                   // JPEG, JPEG 2000: 0 (smallest) to 1 (best)
  bool progressive = false;               // JPEG
  bool interlaced = false;                // PNG (Adam7), GIF (four passes)
  double gamma = 0.0;                     // PNG gAMA to write; 0 writes none
  int tiff_compression = 1;               // TIFF: 1 none, 5 LZW, 6 JPEG, 32773 PackBits, ...
  bool dither_transparency = false;       // GIF: diffuse partial alpha into on/off
  std::vector<uint8_t> palette_rgb;       // GIF: fixed colour table, RGB triples
  uint8_t background_rgb[3] = {255, 255, 255};  // laid under alpha where it must go
  bool opaque_over_background = false;    // BMP: alpha laid over background_rgb, written opaque
  int loop_count = -1;                    // GIF: 0 loops forever; -1 says nothing (an
                                          // animation then loops forever, one image has none)
  const ImageMetadata* metadata = nullptr;  // ICC, EXIF, resolution, frame duration
};

// scale_denominator 2, 4 or 8 decodes at that fraction of the size (libjpeg's DCT scaling).
bool jpeg_decode(const uint8_t* data, size_t size, Frame& out, int scale_denominator = 1);
bool jpeg_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out);

bool png_decode(const uint8_t* data, size_t size, Frame& out);
bool png_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out);

// Every page of a TIFF file, in order.
bool tiff_decode(const uint8_t* data, size_t size, std::vector<Frame>& pages);
// One page per frame; each page's compression is options.tiff_compression.
bool tiff_encode(const std::vector<const Frame*>& pages, const EncodeOptions& options,
                 std::vector<uint8_t>& out);
bool tiff_compression_supported(int compression);

// GIF reading is GifAnimation (gif_animation.h). Writing: one frame, or an animation of
// several on a canvas as large as the largest.
bool gif_encode(const std::vector<const Frame*>& frames, const EncodeOptions& options,
                std::vector<uint8_t>& out);
// The same, a frame at a time: frame_at(i) answers frame i of count, which need stay valid
// only until the next call, so an animation need not be in memory whole.
bool gif_encode(size_t count, int canvas_width, int canvas_height,
                const std::function<const Frame*(size_t)>& frame_at, const EncodeOptions& options,
                std::vector<uint8_t>& out);

bool bmp_decode(const uint8_t* data, size_t size, Frame& out);
bool bmp_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out);

// Every image of an icon file, in the file's order, as RGBA: Windows icons (.ico) by our own
// reader, Apple icon files (.icns) through libicns. False when none can be read.
bool ico_decode(const uint8_t* data, size_t size, std::vector<Frame>& images);
bool icns_decode(const uint8_t* data, size_t size, std::vector<Frame>& images);

// JPEG 2000 (JP2 container) through OpenJPEG, linked; available answers whether the build has it.
bool jpeg2000_available();
bool jpeg2000_decode(const uint8_t* data, size_t size, Frame& out);
bool jpeg2000_encode(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& out);

}  // namespace qvr

#endif
