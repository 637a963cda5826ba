/* EXIF out of a TIFF file: the image directory's descriptive entries and the EXIF
   directory, gathered into a compact EXIF block (a TIFF structure of their own). */
#ifndef QVR_CODECS_TIFF_EXIF_BLOCK_H
#define QVR_CODECS_TIFF_EXIF_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvr {

// False when the file has no EXIF directory or its directories do not hold together.
bool tiff_exif_block(const uint8_t* data, size_t size, std::vector<uint8_t>& block);

}  // namespace qvr

#endif
