/* The fuzz target of the Apple icon file reader: our walk over the elements, libpng for
   PNG elements and libicns for the older ones. Any bytes go in; nothing may crash or leak,
   and whatever is accepted must be complete pictures whose every row reads. */
#include <cstdint>
#include <cstdlib>

#include "codecs/codecs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<qvr::Frame> images;
  if (!qvr::icns_decode(data, size, images)) return 0;
  for (const qvr::Frame& frame : images) {
    const qvr::Raster& raster = frame.raster;
    if (raster.empty() || raster.samples < 1 || raster.samples > 4) std::abort();
    unsigned sum = 0;
    for (int y = 0; y < raster.height; ++y)
      for (size_t i = 0; i < raster.stride && i < size_t(raster.width) * raster.samples; ++i) sum += raster.row(y)[i];
    (void)sum;
  }
  return 0;
}
