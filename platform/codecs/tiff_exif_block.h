/* EXIF out of a TIFF file and into one: the image directory's descriptive entries and the
   EXIF directory, gathered into a compact EXIF block (a TIFF structure of their own), and
   such a block's entries added to the first page of a file. */
#ifndef QVR_CODECS_TIFF_EXIF_BLOCK_H
#define QVR_CODECS_TIFF_EXIF_BLOCK_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvr {

// False when the file has no EXIF directory or its directories do not hold together.
bool tiff_exif_block(const uint8_t* data, size_t size, std::vector<uint8_t>& block);

// Adds the block's image directory entries (those the file's first directory lacks) and its
// EXIF directory to the file's first page. The block must be in the file's byte order; false,
// with the file as it was, when the two do not fit together.
bool tiff_insert_exif_block(std::vector<uint8_t>& file, const uint8_t* block, size_t block_size);

}  // namespace qvr

#endif
