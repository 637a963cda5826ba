/* The EXIF orientation (1 to 8) of an EXIF block, read with libexif. */
#ifndef QVR_CODECS_EXIF_ORIENTATION_H
#define QVR_CODECS_EXIF_ORIENTATION_H

#include <cstdint>
#include <vector>

namespace qvr {

// tiff_structure is EXIF as a TIFF header and IFDs (the APP1 payload after "Exif\0\0").
// Gives 1 (upright) when there is no block or no valid orientation in it.
int exif_orientation(const std::vector<uint8_t>& tiff_structure);

}  // namespace qvr

#endif
