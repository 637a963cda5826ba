/* The fuzz target of NSEPSImageRep's own parsing, without Ghostscript: the DOS binary
   header's PostScript section and the DSC bounding box (header, "(atend)" trailer). What
   the parser answers must lie within the input, start "%!", and be a finite, non-empty box. */
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "imagereps/eps_conversion.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const uint8_t* ps = nullptr;
  size_t psSize = 0;
  if (!qvr::eps_postscript(data, size, ps, psSize)) return 0;
  if (ps < data || psSize < 2 || psSize > size || size_t(ps - data) > size - psSize || ps[0] != '%' || ps[1] != '!')
    std::abort();
  qvr::EpsBox box;
  if (!qvr::eps_bounding_box(ps, psSize, box)) return 0;
  for (double v : {box.llx, box.lly, box.urx, box.ury})
    if (!std::isfinite(v) || std::fabs(v) > 1e6) std::abort();
  if (!(box.urx > box.llx) || !(box.ury > box.lly)) std::abort();
  return 0;
}
