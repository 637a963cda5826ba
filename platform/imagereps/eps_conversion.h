/* Encapsulated PostScript read without a PostScript interpreter in our process: the DSC
   bounding box, the PostScript section of a DOS binary EPS file, and the conversion to PDF
   by Ghostscript run as a separate, time-limited process. Plain C++. */
#ifndef QVR_IMAGEREPS_EPS_CONVERSION_H
#define QVR_IMAGEREPS_EPS_CONVERSION_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvr {

struct EpsBox {
  double llx = 0, lly = 0, urx = 0, ury = 0;
};

/* The PostScript of EPS data: the section a DOS binary header (C5 D0 D3 C6) points at, or
   all of it when it starts "%!". False for anything else or a header pointing outside. */
bool eps_postscript(const uint8_t* data, size_t size, const uint8_t*& ps, size_t& psSize);

/* The "%%BoundingBox:" comment of the header (or, when it says "(atend)", of the trailer);
   false without one or with an empty box. */
bool eps_bounding_box(const uint8_t* ps, size_t size, EpsBox& box);

/* Ghostscript's PDF of the PostScript, one page the size of the bounding box with its
   lower-left corner at the origin. Ghostscript runs with -dSAFER (no file access beyond
   its own input and output), no shell, a minimal environment, limits on memory, and is
   killed when it runs longer than the time limit (seconds): false then, or on any failure. */
bool eps_to_pdf(const uint8_t* ps, size_t size, double timeLimit, std::vector<uint8_t>& pdf);

/* The conversion's time limit: QVR_EPS_TIME_LIMIT (seconds) when set, else 20 seconds. */
double eps_time_limit();

}  // namespace qvr

#endif
