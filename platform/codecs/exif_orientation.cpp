/* Reading the orientation tag out of an EXIF block: the one EXIF fact the decoders need,
   since drawing upright depends on it. */
#include "codecs/exif_orientation.h"

#include <algorithm>

#include <libexif/exif-data.h>

namespace qvr {

int exif_orientation(const std::vector<uint8_t>& tiff_structure) {
  if (tiff_structure.size() < 8) return 1;
  std::vector<uint8_t> block(6 + tiff_structure.size());
  const char prefix[6] = {'E', 'x', 'i', 'f', 0, 0};
  std::copy(prefix, prefix + 6, block.begin());
  std::copy(tiff_structure.begin(), tiff_structure.end(), block.begin() + 6);
  ExifData* exif = exif_data_new_from_data(block.data(), static_cast<unsigned int>(block.size()));
  if (exif == nullptr) return 1;
  int orientation = 1;
  ExifEntry* entry = exif_data_get_entry(exif, EXIF_TAG_ORIENTATION);
  if (entry != nullptr && entry->format == EXIF_FORMAT_SHORT && entry->components >= 1 &&
      entry->size >= 2) {
    const int value = exif_get_short(entry->data, exif_data_get_byte_order(exif));
    if (value >= 1 && value <= 8) orientation = value;
  }
  exif_data_unref(exif);
  return orientation;
}

}  // namespace qvr
