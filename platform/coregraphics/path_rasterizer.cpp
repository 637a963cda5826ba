/* The path rasterizer: flattening of curves, and the scanline coverage of polygons.
   Coverage is sampled on sixteen sub-scanlines a pixel row; along each sub-scanline the
   spans between edge crossings count exactly (partial pixels at their ends), summed per
   row through a difference array, so a row costs its crossings plus one pass over its
   pixels. Everything is computed in doubles and clamped before it becomes an index. */
#include "coregraphics/path_rasterizer.h"

#include <math.h>

#include <algorithm>

namespace qvr {

namespace {

/* Coordinates beyond this are clamped: far outside any mask, and small enough that the
   arithmetic below neither overflows nor loses the sub-pixel part inside a mask. */
const double kCoordinateLimit = 1e12;
const int kSubScanlines = 16;
const int kMaxCurveSegments = 512;

double Clamp(double v) { return v < -kCoordinateLimit ? -kCoordinateLimit : v > kCoordinateLimit ? kCoordinateLimit : v; }

bool Finite(const Polygon& polygon) {
  for (const PathPoint& p : polygon)
    if (!isfinite(p.x) || !isfinite(p.y)) return false;
  return true;
}

struct Edge {
  double x0, y0, x1, y1; /* y0 < y1 */
  int direction;
};

struct Crossing {
  double x;
  int direction;
  bool operator<(const Crossing& other) const { return x < other.x; }
};

/* Per-row accumulation: partial coverage per pixel plus a difference array of whole ones. */
class RowCoverage {
 public:
  explicit RowCoverage(int width) : width_(width), partial_(width + 1), whole_(width + 2) {}

  void Reset() {
    std::fill(partial_.begin(), partial_.end(), 0.0f);
    std::fill(whole_.begin(), whole_.end(), 0);
  }

  /* The span [a, b) of one sub-scanline, counted exactly. */
  void AddSpan(double a, double b) {
    a = std::max(a, 0.0);
    b = std::min(b, (double)width_);
    if (!(b > a)) return;
    int ia = (int)a, ib = (int)b;
    if (ia == ib) {
      partial_[ia] += (float)(b - a);
      return;
    }
    partial_[ia] += (float)(ia + 1 - a);
    whole_[ia + 1] += 1;
    whole_[ib] -= 1;
    if (ib < width_) partial_[ib] += (float)(b - ib);
  }

  /* The span [a, b) by pixel centres: whole pixels only. */
  void AddCentres(double a, double b) {
    double fa = std::max(ceil(std::max(a, -1.0) - 0.5), 0.0);
    double fb = std::min(ceil(std::min(b, (double)width_ + 1) - 0.5), (double)width_);
    if (!(fb > fa)) return;
    whole_[(int)fa] += 1;
    whole_[(int)fb] -= 1;
  }

  void Write(uint8_t* out, int samples) const {
    int running = 0;
    const float scale = 255.0f / (float)samples;
    for (int x = 0; x < width_; x++) {
      running += whole_[x];
      float v = ((float)running + partial_[x]) * scale + 0.5f;
      out[x] = v >= 255 ? 255 : v <= 0 ? 0 : (uint8_t)v;
    }
  }

 private:
  int width_;
  std::vector<float> partial_;
  std::vector<int> whole_;
};

bool Inside(int winding, FillRule rule) { return rule == FillRule::kNonZero ? winding != 0 : (winding & 1) != 0; }

}  // namespace

void FlatPath::MoveTo(double x, double y) {
  contours_.push_back(Contour());
  contours_.back().points.push_back({x, y});
  open_ = true;
  hasStart_ = false;
}

void FlatPath::LineTo(double x, double y) {
  if (!open_) {
    if (hasStart_) {
      PathPoint s = start_;
      MoveTo(s.x, s.y);
    } else {
      MoveTo(x, y);
      return;
    }
  }
  contours_.back().points.push_back({x, y});
}

void FlatPath::CurveTo(double x1, double y1, double x2, double y2, double x3, double y3) {
  if (!HasCurrentPoint()) MoveTo(x1, y1);
  if (!open_) LineTo(start_.x, start_.y);
  PathPoint p0 = contours_.back().points.back();
  /* Segments enough that the flattened curve stays within 0.1 pixel of the true one. */
  double dd = std::max(hypot(p0.x - 2 * x1 + x2, p0.y - 2 * y1 + y2), hypot(x1 - 2 * x2 + x3, y1 - 2 * y2 + y3));
  int n = 1;
  if (isfinite(dd) && dd > 0) {
    double estimate = ceil(sqrt(0.75 * dd / 0.1));
    n = estimate > kMaxCurveSegments ? kMaxCurveSegments : std::max(1, (int)estimate);
  }
  for (int i = 1; i <= n; i++) {
    double t = (double)i / n, u = 1 - t;
    double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
    LineTo(a * p0.x + b * x1 + c * x2 + d * x3, a * p0.y + b * y1 + c * y2 + d * y3);
  }
}

void FlatPath::Close() {
  if (!open_) return;
  contours_.back().closed = true;
  start_ = contours_.back().points.front();
  open_ = false;
  hasStart_ = true;
}

void FlatPath::Clear() {
  contours_.clear();
  open_ = false;
  hasStart_ = false;
}

std::vector<Polygon> FlatPath::Polygons() const {
  std::vector<Polygon> result;
  for (const Contour& c : contours_)
    if (c.points.size() >= 3) result.push_back(c.points);
  return result;
}

bool PolygonBounds(const std::vector<Polygon>& polygons, double* x0, double* y0, double* x1, double* y1) {
  bool any = false;
  for (const Polygon& polygon : polygons) {
    if (!Finite(polygon)) continue;
    for (const PathPoint& p : polygon) {
      double x = Clamp(p.x), y = Clamp(p.y);
      if (!any) {
        *x0 = *x1 = x;
        *y0 = *y1 = y;
        any = true;
      }
      *x0 = std::min(*x0, x);
      *x1 = std::max(*x1, x);
      *y0 = std::min(*y0, y);
      *y1 = std::max(*y1, y);
    }
  }
  return any;
}

void RasterizeCoverage(const std::vector<Polygon>& polygons, FillRule rule, bool antialias, uint8_t* mask,
                       int width, int height, int stride, double originX, double originY) {
  if (!mask || width <= 0 || height <= 0 || stride < width) return;
  for (int y = 0; y < height; y++) std::fill(mask + (size_t)y * stride, mask + (size_t)y * stride + width, 0);
  if (!isfinite(originX) || !isfinite(originY)) return;
  std::vector<Edge> edges;
  double top = INFINITY, bottom = -INFINITY;
  for (const Polygon& polygon : polygons) {
    if (polygon.size() < 2 || !Finite(polygon)) continue;
    for (size_t i = 0; i < polygon.size(); i++) {
      const PathPoint& p = polygon[i];
      const PathPoint& q = polygon[(i + 1) % polygon.size()];
      double px = Clamp(p.x) - originX, py = Clamp(p.y) - originY;
      double qx = Clamp(q.x) - originX, qy = Clamp(q.y) - originY;
      if (py == qy) continue;
      Edge e = py < qy ? Edge{px, py, qx, qy, 1} : Edge{qx, qy, px, py, -1};
      edges.push_back(e);
      top = std::min(top, e.y0);
      bottom = std::max(bottom, e.y1);
    }
  }
  if (edges.empty()) return;
  std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.y0 < b.y0; });

  int firstRow = (int)std::min((double)height, std::max(0.0, floor(top)));
  int endRow = (int)std::max(0.0, std::min((double)height, ceil(bottom)));
  const int samples = antialias ? kSubScanlines : 1;
  RowCoverage row(width);
  std::vector<Crossing> crossings;
  std::vector<const Edge*> active;
  size_t next = 0; /* edges before this one have started */
  for (int y = firstRow; y < endRow; y++) {
    row.Reset();
    bool touched = false;
    for (int s = 0; s < samples; s++) {
      double sy = antialias ? y + (s + 0.5) / samples : y + 0.5;
      while (next < edges.size() && edges[next].y0 <= sy) active.push_back(&edges[next++]);
      active.erase(std::remove_if(active.begin(), active.end(), [sy](const Edge* e) { return e->y1 <= sy; }),
                   active.end());
      crossings.clear();
      for (const Edge* e : active) {
        if (sy < e->y0) continue;
        double t = (sy - e->y0) / (e->y1 - e->y0);
        crossings.push_back({e->x0 + t * (e->x1 - e->x0), e->direction});
      }
      if (crossings.empty()) continue;
      std::sort(crossings.begin(), crossings.end());
      int winding = 0;
      double start = 0;
      for (const Crossing& c : crossings) {
        bool was = Inside(winding, rule);
        winding += c.direction;
        bool is = Inside(winding, rule);
        if (!was && is) start = c.x;
        else if (was && !is) {
          if (antialias) row.AddSpan(start, c.x);
          else row.AddCentres(start, c.x);
          touched = true;
        }
      }
    }
    if (touched) row.Write(mask + (size_t)y * stride, samples);
  }
}

}  // namespace qvr
