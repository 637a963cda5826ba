// Encoded images read back by a decoder that is not ours (Pillow, run through python3),
// so that tests check what the plugin wrote by its pixels rather than by our own codecs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace support {

struct DecodedImage {
  bool ok = false;
  std::string format;        // "JPEG", "PNG", "GIF", "BMP", "TIFF"
  std::string compression;   // TIFF: "raw", "tiff_lzw", ...; empty for others
  int width = 0, height = 0;
  std::vector<uint8_t> rgba;  // straight (not premultiplied) RGBA, top row first
  std::string error;
  // The four samples of pixel (x, y), x from the left, y from the top.
  const uint8_t* at(int x, int y) const { return &rgba[(size_t(y) * width + x) * 4]; }
};

DecodedImage DecodeIndependently(const std::string& encoded);

}  // namespace support
