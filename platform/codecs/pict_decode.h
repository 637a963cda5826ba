/* Our own reader of QuickDraw PICT pictures (version 1 and 2, with or without the 512-byte
   file header), as no Debian library reads them: the header's frame, and the picture drawn
   into an RGBA raster the way QuickDraw draws it (aliased, pen below and right of the
   path). Plain C++, fuzzed in platform/fuzz/. */
#ifndef QVR_CODECS_PICT_DECODE_H
#define QVR_CODECS_PICT_DECODE_H

#include <cstddef>
#include <cstdint>

#include "codecs/raster.h"

namespace qvr {

struct PictHeader {
  size_t start = 0;       // 0, or 512 after a file header
  int version = 0;        // 1 or 2
  int top = 0, left = 0, bottom = 0, right = 0;  // the picture frame, in points
};

/* The frame and version when data starts like a PICT picture (at 0 or after 512 bytes). */
bool pict_read_header(const uint8_t* data, size_t size, PictHeader& header);

/* The picture drawn into out.raster: 8-bit RGBA, not premultiplied, transparent where
   nothing was drawn, one pixel per point of the drawing's coordinates (an extended
   version 2 header may give those a finer resolution than the frame's points). False for
   data that is not a PICT picture or whose frame is empty or vast; damaged opcodes end
   the drawing where they start. QuickTime-compressed pictures draw nothing. */
bool pict_decode(const uint8_t* data, size_t size, Frame& out);

/* The largest raster pict_decode makes, in pixels. */
constexpr int64_t kMaxPictPixels = int64_t(1) << 24;

}  // namespace qvr

#endif
