/* The fuzz target of the BMP codec: any bytes go to the decoder; whatever it accepts must be
   a complete picture that the encoder writes and the decoder reads back unchanged. */
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "codecs/codecs.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qvr::Frame frame;
  if (!qvr::bmp_decode(data, size, frame)) return 0;
  const qvr::Raster& raster = frame.raster;
  if (raster.empty() || raster.bits != 8 || (raster.samples != 3 && raster.samples != 4)) std::abort();
  // Every row is there and readable (the sanitizers see any short buffer).
  unsigned sum = 0;
  for (int y = 0; y < raster.height; ++y)
    for (size_t i = 0; i < size_t(raster.width) * raster.samples; ++i) sum += raster.row(y)[i];
  (void)sum;
  if (int64_t(raster.width) * raster.height > (int64_t(1) << 20)) return 0;  // keep round trips quick
  qvr::EncodeOptions options;
  std::vector<uint8_t> encoded;
  if (!qvr::bmp_encode(raster, options, encoded)) std::abort();
  qvr::Frame again;
  if (!qvr::bmp_decode(encoded.data(), encoded.size(), again)) std::abort();
  if (again.raster.width != raster.width || again.raster.height != raster.height ||
      again.raster.samples != raster.samples)
    std::abort();
  for (int y = 0; y < raster.height; ++y)
    if (std::memcmp(again.raster.row(y), raster.row(y), size_t(raster.width) * raster.samples) != 0) std::abort();
  return 0;
}
