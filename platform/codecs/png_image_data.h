/* The image data of a PNG file (what its IDAT chunks carry) for 8-bit, non-interlaced
   pixels: each row filtered as the adaptive heuristic picks, the rows deflated by libdeflate
   in independent pieces on every core and joined into one zlib stream. */
#ifndef QVR_CODECS_PNG_IMAGE_DATA_H
#define QVR_CODECS_PNG_IMAGE_DATA_H

#include <cstdint>
#include <vector>

#include "codecs/raster.h"

namespace qvr {

// Appends the zlib stream of the raster's filtered rows to out. The raster is 8-bit, with
// straight alpha or premultiplied (divided back on the way). False when memory runs out.
bool png_image_data(const Raster& raster, std::vector<uint8_t>& out);

}  // namespace qvr

#endif
