/* Stroking for the path rasterizer: the outline of a pen of some width drawn along a
   flattened path, as polygons whose non-zero union is the stroked area (one quadrilateral
   a segment, one piece a join and a cap, all turned the same way so they never cancel). */
#ifndef QVR_PATH_STROKER_H
#define QVR_PATH_STROKER_H

#include "coregraphics/path_rasterizer.h"

namespace qvr {

enum class LineCap { kButt, kRound, kSquare };
enum class LineJoin { kMiter, kRound, kBevel };

struct StrokeStyle {
  double width = 1;
  LineCap cap = LineCap::kButt;
  LineJoin join = LineJoin::kMiter;
  double miterLimit = 10; /* longer miters are bevelled */
};

/* Appends the polygons of the stroke of path (device space, width in device units). */
void StrokeOutline(const FlatPath& path, const StrokeStyle& style, std::vector<Polygon>* out);

}  // namespace qvr

#endif
