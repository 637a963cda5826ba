/* The fuzz target of the Windows icon reader: any bytes go to the decoder; whatever it
   accepts must be a list of complete RGBA pictures, every row of which can be read. */
#include <cstdint>
#include <cstdlib>

#include "codecs/codecs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<qvr::Frame> images;
  if (!qvr::ico_decode(data, size, images)) {
    if (!images.empty()) std::abort();  // a refusal leaves nothing behind
    return 0;
  }
  if (images.empty()) std::abort();
  for (const qvr::Frame& frame : images) {
    const qvr::Raster& raster = frame.raster;
    if (raster.empty() || raster.bits != 8 || raster.samples < 1 || raster.samples > 4) std::abort();
    unsigned sum = 0;
    for (int y = 0; y < raster.height; ++y)
      for (size_t i = 0; i < size_t(raster.width) * raster.samples; ++i) sum += raster.row(y)[i];
    (void)sum;
  }
  return 0;
}
