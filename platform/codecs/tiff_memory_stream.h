/* libtiff over memory: a TIFF handle that reads from a byte range or writes into a growing
   vector, with libtiff's messages kept quiet (a failure shows as a failed call). */
#ifndef QVR_CODECS_TIFF_MEMORY_STREAM_H
#define QVR_CODECS_TIFF_MEMORY_STREAM_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <tiffio.h>

namespace qvr {

struct TiffMemoryStream {
  const uint8_t* source = nullptr;        // reading
  std::vector<uint8_t>* sink = nullptr;   // writing
  size_t size = 0;
  size_t position = 0;
};

// Opens stream for reading ("r") or writing ("w"); null on failure. Close with TIFFClose.
TIFF* tiff_open_memory(TiffMemoryStream& stream, const char* mode);

}  // namespace qvr

#endif
