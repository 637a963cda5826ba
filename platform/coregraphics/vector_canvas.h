/* A small vector canvas over premultiplied native ARGB32 pixels (rows top-down, y down):
   paths of lines, Bezier curves, arcs and rectangles under a transform, filled (non-zero)
   or stroked with a colour, or cleared, through the path rasterizer and pixman. It is
   what the standard images are drawn with. */
#ifndef QVR_VECTOR_CANVAS_H
#define QVR_VECTOR_CANVAS_H

#include <stdint.h>

#include <vector>

#include "coregraphics/path_rasterizer.h"
#include "coregraphics/path_stroker.h"

namespace qvr {

class VectorCanvas {
 public:
  /* A transparent canvas; pixels() is NULL when it could not be made. */
  VectorCanvas(int width, int height);
  ~VectorCanvas();
  VectorCanvas(const VectorCanvas&) = delete;
  VectorCanvas& operator=(const VectorCanvas&) = delete;

  const uint32_t* pixels() const { return pixels_.empty() ? nullptr : pixels_.data(); }
  int stride() const { return width_ * 4; }

  /* Transform, colour, clearing and stroke style; the path is not part of the state. */
  void Save();
  void Restore();
  void Translate(double tx, double ty);
  void Scale(double sx, double sy);
  void Rotate(double radians);

  void MoveTo(double x, double y);
  void LineTo(double x, double y);
  void CurveTo(double x1, double y1, double x2, double y2, double x3, double y3);
  /* Counter-clockwise in y-down terms, angles growing from a1 to a2 (a2 raised by full
     turns until it is not below a1); a line leads to the start from the current point. */
  void Arc(double cx, double cy, double radius, double a1, double a2);
  void Rectangle(double x, double y, double width, double height);
  void ClosePath();
  /* The next arc starts a contour of its own. */
  void NewSubPath();

  void SetColor(double r, double g, double b);
  /* Painting clears what it covers instead of painting the colour. */
  void SetClearing(bool clearing);
  void SetLineWidth(double width);
  void SetLineCap(LineCap cap);
  void SetLineJoin(LineJoin join);

  /* Paint the path (filled, or its stroke), then forget it. */
  void Fill();
  void Stroke();

 private:
  struct State {
    double m[6]; /* x' = m0 x + m2 y + m4, y' = m1 x + m3 y + m5 */
    double color[3];
    bool clearing;
    StrokeStyle stroke;
  };
  PathPoint Map(double x, double y) const;
  void Paint(const std::vector<Polygon>& polygons);

  int width_, height_;
  std::vector<uint32_t> pixels_;
  State state_;
  std::vector<State> saved_;
  FlatPath path_;
};

}  // namespace qvr

#endif
