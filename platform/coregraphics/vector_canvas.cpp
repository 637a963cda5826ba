/* The vector canvas: points are transformed as they are added (as PostScript-style
   canvases do), so a path keeps the transform each piece was drawn under; the stroke
   width scales with the transform at stroking time. Painting rasterizes the path into
   coverage and lets pixman composite the colour through it. */
#include "coregraphics/vector_canvas.h"

#include <math.h>

#include <algorithm>

#include <pixman.h>

namespace qvr {

VectorCanvas::VectorCanvas(int width, int height) : width_(width), height_(height) {
  if (width > 0 && height > 0 && width <= 4096 && height <= 4096) pixels_.assign((size_t)width * height, 0);
  state_ = State{{1, 0, 0, 1, 0, 0}, {0, 0, 0}, false, StrokeStyle()};
  state_.stroke.width = 2;
}

VectorCanvas::~VectorCanvas() {}

void VectorCanvas::Save() { saved_.push_back(state_); }

void VectorCanvas::Restore() {
  if (saved_.empty()) return;
  state_ = saved_.back();
  saved_.pop_back();
}

void VectorCanvas::Translate(double tx, double ty) {
  double* m = state_.m;
  m[4] += m[0] * tx + m[2] * ty;
  m[5] += m[1] * tx + m[3] * ty;
}

void VectorCanvas::Scale(double sx, double sy) {
  double* m = state_.m;
  m[0] *= sx;
  m[1] *= sx;
  m[2] *= sy;
  m[3] *= sy;
}

void VectorCanvas::Rotate(double radians) {
  double s = sin(radians), c = cos(radians);
  double* m = state_.m;
  double a = m[0], b = m[1], cc = m[2], d = m[3];
  m[0] = c * a + s * cc;
  m[1] = c * b + s * d;
  m[2] = -s * a + c * cc;
  m[3] = -s * b + c * d;
}

PathPoint VectorCanvas::Map(double x, double y) const {
  const double* m = state_.m;
  return {m[0] * x + m[2] * y + m[4], m[1] * x + m[3] * y + m[5]};
}

void VectorCanvas::MoveTo(double x, double y) {
  PathPoint p = Map(x, y);
  path_.MoveTo(p.x, p.y);
}

void VectorCanvas::LineTo(double x, double y) {
  PathPoint p = Map(x, y);
  path_.LineTo(p.x, p.y);
}

void VectorCanvas::CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) {
  PathPoint a = Map(x1, y1), b = Map(x2, y2), c = Map(x3, y3);
  path_.CurveTo(a.x, a.y, b.x, b.y, c.x, c.y);
}

void VectorCanvas::Arc(double cx, double cy, double radius, double a1, double a2) {
  if (!isfinite(cx) || !isfinite(cy) || !isfinite(radius) || !isfinite(a1) || !isfinite(a2)) return;
  if (a2 < a1) a2 += ceil((a1 - a2) / (2 * M_PI)) * 2 * M_PI;
  /* Chords within a twentieth of a pixel of the circle, judged at its device size. */
  double deviceRadius = fabs(radius) * sqrt(fabs(state_.m[0] * state_.m[3] - state_.m[1] * state_.m[2]));
  double step = deviceRadius > 0.05 ? 2 * acos(1 - 0.05 / deviceRadius) : M_PI / 2;
  int n = (int)std::min(1024.0, std::max(1.0, ceil((a2 - a1) / step)));
  PathPoint start = Map(cx + radius * cos(a1), cy + radius * sin(a1));
  if (path_.HasCurrentPoint()) path_.LineTo(start.x, start.y);
  else path_.MoveTo(start.x, start.y);
  for (int i = 1; i <= n; i++) {
    double a = a1 + (a2 - a1) * i / n;
    PathPoint p = Map(cx + radius * cos(a), cy + radius * sin(a));
    path_.LineTo(p.x, p.y);
  }
}

void VectorCanvas::Rectangle(double x, double y, double width, double height) {
  MoveTo(x, y);
  LineTo(x + width, y);
  LineTo(x + width, y + height);
  LineTo(x, y + height);
  ClosePath();
}

void VectorCanvas::ClosePath() { path_.Close(); }

void VectorCanvas::NewSubPath() { path_.EndContour(); }

void VectorCanvas::SetColor(double r, double g, double b) {
  state_.color[0] = r;
  state_.color[1] = g;
  state_.color[2] = b;
}

void VectorCanvas::SetClearing(bool clearing) { state_.clearing = clearing; }
void VectorCanvas::SetLineWidth(double width) { state_.stroke.width = width; }
void VectorCanvas::SetLineCap(LineCap cap) { state_.stroke.cap = cap; }
void VectorCanvas::SetLineJoin(LineJoin join) { state_.stroke.join = join; }

void VectorCanvas::Fill() {
  Paint(path_.Polygons());
  path_.Clear();
}

void VectorCanvas::Stroke() {
  StrokeStyle style = state_.stroke;
  const double* m = state_.m;
  style.width *= sqrt(fabs(m[0] * m[3] - m[1] * m[2]));
  std::vector<Polygon> outline;
  StrokeOutline(path_, style, &outline);
  Paint(outline);
  path_.Clear();
}

void VectorCanvas::Paint(const std::vector<Polygon>& polygons) {
  if (pixels_.empty() || polygons.empty()) return;
  int maskStride = (width_ + 3) & ~3;
  std::vector<uint8_t> coverage((size_t)maskStride * height_);
  RasterizeCoverage(polygons, FillRule::kNonZero, true, coverage.data(), width_, height_, maskStride, 0, 0);
  pixman_image_t* target = pixman_image_create_bits(PIXMAN_a8r8g8b8, width_, height_, pixels_.data(), stride());
  pixman_image_t* mask =
      pixman_image_create_bits(PIXMAN_a8, width_, height_, (uint32_t*)(void*)coverage.data(), maskStride);
  if (target && mask) {
    if (state_.clearing) {
      pixman_image_composite32(PIXMAN_OP_OUT_REVERSE, mask, nullptr, target, 0, 0, 0, 0, 0, 0, width_, height_);
    } else {
      pixman_color_t color;
      color.red = (uint16_t)lround(std::min(1.0, std::max(0.0, state_.color[0])) * 65535);
      color.green = (uint16_t)lround(std::min(1.0, std::max(0.0, state_.color[1])) * 65535);
      color.blue = (uint16_t)lround(std::min(1.0, std::max(0.0, state_.color[2])) * 65535);
      color.alpha = 65535;
      pixman_image_t* solid = pixman_image_create_solid_fill(&color);
      if (solid) {
        pixman_image_composite32(PIXMAN_OP_OVER, solid, mask, target, 0, 0, 0, 0, 0, 0, width_, height_);
        pixman_image_unref(solid);
      }
    }
  }
  if (mask) pixman_image_unref(mask);
  if (target) pixman_image_unref(target);
}

}  // namespace qvr
