/* The path rasterizer of the drawing layer: paths in device space with their curves
   flattened into polygons, and the anti-aliased coverage of such polygons as an 8-bit
   mask (non-zero or even-odd), which pixman then composites a colour or an image through.
   Pixman composites but does not rasterize paths of this kind, so this is our own. */
#ifndef QVR_PATH_RASTERIZER_H
#define QVR_PATH_RASTERIZER_H

#include <stdint.h>

#include <vector>

namespace qvr {

struct PathPoint {
  double x, y;
};

using Polygon = std::vector<PathPoint>;

enum class FillRule { kNonZero, kEvenOdd };

/* A path of straight contours: curves are flattened as they are added. */
class FlatPath {
 public:
  struct Contour {
    std::vector<PathPoint> points;
    bool closed = false;
  };

  void MoveTo(double x, double y);
  void LineTo(double x, double y); /* a move when there is no current point */
  /* A cubic Bezier curve from the current point, flattened to within a tenth of a pixel. */
  void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3);
  /* Closes the contour; the current point goes back to its start. */
  void Close();
  /* Ends the contour without closing it and leaves no current point. */
  void EndContour() {
    open_ = false;
    hasStart_ = false;
  }
  bool HasCurrentPoint() const { return open_ || hasStart_; }
  void Clear();

  const std::vector<Contour>& contours() const { return contours_; }
  /* The contours as polygons (each implicitly closed) for filling. */
  std::vector<Polygon> Polygons() const;

 private:
  std::vector<Contour> contours_;
  bool open_ = false;     /* the last contour takes further lines */
  bool hasStart_ = false; /* after a close: the next line starts a contour there */
  PathPoint start_ = {0, 0};
};

/* Writes the coverage of the polygons into a width x height mask of 8-bit samples whose
   pixel (0, 0) lies at device (originX, originY): 255 fully inside, 0 outside, partial on
   edges (sixteen sub-scanlines, exact horizontal coverage). Without antialiasing a pixel is
   in or out by its centre, as aliased fills are drawn. Polygons with
   a coordinate that is not finite are left out; huge ones are clamped far outside. Every
   sample of the mask is written, none outside it. */
void RasterizeCoverage(const std::vector<Polygon>& polygons, FillRule rule, bool antialias, uint8_t* mask,
                       int width, int height, int stride, double originX, double originY);

/* The device bounding box of the polygons' finite points; false when there is none. */
bool PolygonBounds(const std::vector<Polygon>& polygons, double* x0, double* y0, double* x1, double* y1);

}  // namespace qvr

#endif
