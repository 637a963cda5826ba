/* Apple icon files (.icns): one image for each icon element of the file, in the file's
   order. Elements that hold a PNG or a JPEG 2000 image (the newer sizes, and the Retina ones
   libicns does not know) are read by our own PNG and JPEG 2000 readers; the others through
   libicns, with their mask applied. Masks, the table of contents and other non-image
   elements give no image of their own. */
#include <cstdlib>
#include <cstring>
#include <memory>

// The library's header declares C functions without saying so to C++.
extern "C" {
#include <icns.h>
}

#include "codecs/codecs.h"

namespace qvr {

namespace {

uint32_t be32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

constexpr size_t kElementHeaderSize = 8;

// The element types of the newer sizes: PNG or JPEG 2000 only.
bool HoldsOnlyCompressedImages(icns_type_t type) {
  static const char* const types[] = {"ic07", "ic08", "ic09", "ic10", "ic11", "ic12",
                                      "ic13", "ic14", "icp4", "icp5", "icp6"};
  for (const char* name : types)
    if (uint32_t(type) == be32(reinterpret_cast<const uint8_t*>(name))) return true;
  return false;
}

struct FamilyDeleter {
  void operator()(icns_family_t* family) const { std::free(family); }
};

}  // namespace

bool icns_decode(const uint8_t* data, size_t size, std::vector<Frame>& images) {
  images.clear();
  if (data == nullptr || size < kElementHeaderSize || std::memcmp(data, "icns", 4) != 0) return false;
  const uint32_t declared = be32(data + 4);
  if (declared < kElementHeaderSize || declared > size || declared > 0x7FFFFFFF) return false;
  // The elements must tile the file exactly before libicns sees it: it leaks what it
  // allocated on some malformed families. PNG elements are read either way.
  bool wellFormed = false;
  for (size_t at = kElementHeaderSize; at + kElementHeaderSize <= declared;) {
    const uint32_t length = be32(data + at + 4);
    if (length < kElementHeaderSize || length > declared - at) break;
    at += length;
    wellFormed = at == declared;
  }
  std::vector<uint8_t> copy;  // the library takes the bytes as mutable
  std::unique_ptr<icns_family_t, FamilyDeleter> family;
  auto legacyFamily = [&]() -> icns_family_t* {
    if (!wellFormed || family != nullptr || !copy.empty()) return family.get();
    icns_set_print_errors(0);
    copy.assign(data, data + declared);
    icns_family_t* loaded = nullptr;
    const int status = icns_import_family_data(icns_size_t(declared), copy.data(), &loaded);
    family.reset(loaded);  // also made when the import failed
    if (status != ICNS_STATUS_OK) family.reset();
    return family.get();
  };
  // The element types, read from the file itself in its order.
  for (size_t at = kElementHeaderSize; at + kElementHeaderSize <= declared;) {
    const icns_type_t type = be32(data + at);
    const uint32_t length = be32(data + at + 4);
    if (length < kElementHeaderSize || length > declared - at) break;
    const uint8_t* payload = data + at + kElementHeaderSize;
    const size_t payloadLength = length - kElementHeaderSize;
    at += length;
    const ImageFormat format = sniff_image_format(payload, payloadLength);
    if (format == ImageFormat::png || format == ImageFormat::jpeg2000) {
      Frame frame;
      const bool read = format == ImageFormat::png ? png_decode(payload, payloadLength, frame)
                                                   : jpeg2000_decode(payload, payloadLength, frame);
      if (read) images.push_back(std::move(frame));
      continue;
    }
    // The newer sizes hold only PNG or JPEG 2000; libicns takes anything else in them for
    // JPEG 2000 and leaks on it.
    if (HoldsOnlyCompressedImages(type)) continue;
    const icns_icon_info_t info = icns_get_image_info_for_type(type);
    if (!info.isImage || info.iconWidth == 0 || info.iconHeight == 0 || legacyFamily() == nullptr) continue;
    icns_image_t image;
    std::memset(&image, 0, sizeof image);
    if (icns_get_image32_with_mask_from_family(family.get(), type, &image) != ICNS_STATUS_OK) {
      icns_free_image(&image);
      continue;
    }
    Frame frame;
    const bool fits = image.imageData != nullptr && image.imageChannels == 4 && image.imagePixelDepth == 8 &&
                      image.imageWidth > 0 && image.imageHeight > 0 && image.imageWidth <= 4096 &&
                      image.imageHeight <= 4096 &&
                      image.imageDataSize >= uint64_t(image.imageWidth) * image.imageHeight * 4;
    if (fits && frame.raster.allocate(int(image.imageWidth), int(image.imageHeight), 4, 8, true, false)) {
      for (uint32_t y = 0; y < image.imageHeight; ++y)
        std::memcpy(frame.raster.row(int(y)), image.imageData + size_t(y) * image.imageWidth * 4,
                    size_t(image.imageWidth) * 4);
      images.push_back(std::move(frame));
    }
    icns_free_image(&image);
  }
  return !images.empty();
}

}  // namespace qvr
