/* Telling image formats apart by their first bytes, the way the representation registry
   decides which class can read some data. */
#include <cstring>

#include "codecs/codecs.h"

namespace qvr {

ImageFormat sniff_image_format(const uint8_t* d, size_t n) {
  if (n >= 8 && std::memcmp(d, "\x89PNG\r\n\x1a\n", 8) == 0) return ImageFormat::png;
  if (n >= 3 && d[0] == 0xFF && d[1] == 0xD8 && d[2] == 0xFF) return ImageFormat::jpeg;
  if (n >= 6 && (std::memcmp(d, "GIF87a", 6) == 0 || std::memcmp(d, "GIF89a", 6) == 0))
    return ImageFormat::gif;
  if (n >= 4 && (std::memcmp(d, "II*\0", 4) == 0 || std::memcmp(d, "MM\0*", 4) == 0))
    return ImageFormat::tiff;
  if (n >= 4 && (std::memcmp(d, "II+\0", 4) == 0 || std::memcmp(d, "MM\0+", 4) == 0))
    return ImageFormat::tiff;  // BigTIFF
  if (n >= 14 && d[0] == 'B' && d[1] == 'M') return ImageFormat::bmp;
  if (n >= 12 && std::memcmp(d, "\0\0\0\x0cjP  \r\n\x87\n", 12) == 0) return ImageFormat::jpeg2000;
  if (n >= 4 && std::memcmp(d, "\xff\x4f\xff\x51", 4) == 0) return ImageFormat::jpeg2000;
  // Icons: a Windows icon directory (type 1, at least one entry); an Apple icon family.
  if (n >= 6 && std::memcmp(d, "\0\0\1\0", 4) == 0 && (d[4] | d[5]) != 0) return ImageFormat::ico;
  if (n >= 8 && std::memcmp(d, "icns", 4) == 0) return ImageFormat::icns;
  return ImageFormat::unknown;
}

}  // namespace qvr
