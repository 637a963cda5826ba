/* The fuzz target of the PICT reader: any bytes go to the decoder; whatever it accepts must
   be a whole RGBA picture of the frame's size or smaller, every row readable. */
#include <cstdint>
#include <cstdlib>

#include "codecs/pict_decode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qvr::PictHeader header;
  bool known = qvr::pict_read_header(data, size, header);
  qvr::Frame frame;
  if (!qvr::pict_decode(data, size, frame)) return 0;
  if (!known) std::abort();
  const qvr::Raster& raster = frame.raster;
  if (raster.empty() || raster.bits != 8 || raster.samples != 4 || !raster.alpha) std::abort();
  if (int64_t(raster.width) * raster.height > qvr::kMaxPictPixels) std::abort();
  unsigned sum = 0;
  for (int y = 0; y < raster.height; ++y)
    for (size_t i = 0; i < size_t(raster.width) * 4; ++i) sum += raster.row(y)[i];
  (void)sum;
  return 0;
}
