/* Where painting lands: the device box of what is painted, and its coverage, which is the
   rasterized shape cut by the clip. Pixel-aligned rectangles under a transform without
   rotation (the usual fill and clip) skip the rasterizer and cover their box wholly. */
#include "cg_internal.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>

ClipMask* ClipMaskRetain(ClipMask* clip) {
  if (clip) clip->references++;
  return clip;
}

void ClipMaskRelease(ClipMask* clip) {
  if (!clip || --clip->references > 0) return;
  free(clip->coverage);
  delete clip;
}

qvr::Polygon DeviceRectangle(const CGAffineTransform& t, CGRect r) {
  const double xs[4] = {r.origin.x, r.origin.x + r.size.width, r.origin.x + r.size.width, r.origin.x};
  const double ys[4] = {r.origin.y, r.origin.y, r.origin.y + r.size.height, r.origin.y + r.size.height};
  qvr::Polygon polygon;
  for (int i = 0; i < 4; i++)
    polygon.push_back({t.a * xs[i] + t.c * ys[i] + t.tx, t.b * xs[i] + t.d * ys[i] + t.ty});
  return polygon;
}

DeviceBox PaintedBox(const std::vector<qvr::Polygon>& polygons, const ClipMask* clip, size_t width, size_t height) {
  DeviceBox box = {0, 0, 0, 0};
  double x0, y0, x1, y1;
  if (!qvr::PolygonBounds(polygons, &x0, &y0, &x1, &y1)) return box;
  double limitX0 = 0, limitY0 = 0, limitX1 = (double)width, limitY1 = (double)height;
  if (clip) {
    limitX0 = std::max(limitX0, (double)clip->x0);
    limitY0 = std::max(limitY0, (double)clip->y0);
    limitX1 = std::min(limitX1, (double)clip->x1);
    limitY1 = std::min(limitY1, (double)clip->y1);
  }
  x0 = std::max(limitX0, floor(x0));
  y0 = std::max(limitY0, floor(y0));
  x1 = std::min(limitX1, ceil(x1));
  y1 = std::min(limitY1, ceil(y1));
  if (x1 <= x0 || y1 <= y0) return box;
  box = {(int)x0, (int)y0, (int)x1, (int)y1};
  return box;
}

/* One axis-aligned rectangle with whole-pixel corners covers its pixels exactly. */
static bool PixelAligned(const std::vector<qvr::Polygon>& polygons, const CGAffineTransform& t) {
  if (polygons.size() != 1 || polygons[0].size() != 4 || t.b != 0 || t.c != 0) return false;
  const qvr::Polygon& q = polygons[0];
  for (const qvr::PathPoint& p : q)
    if (p.x != floor(p.x) || p.y != floor(p.y)) return false;
  /* An axis-aligned rectangle, its sides in either order. */
  return (q[0].y == q[1].y && q[1].x == q[2].x && q[2].y == q[3].y && q[3].x == q[0].x) ||
         (q[0].x == q[1].x && q[1].y == q[2].y && q[2].x == q[3].x && q[3].y == q[0].y);
}

static inline uint8_t Multiply(uint8_t a, uint8_t b) {
  unsigned t = (unsigned)a * b + 128;
  return (uint8_t)((t + (t >> 8)) >> 8);
}

uint8_t* CoverageInBox(const std::vector<qvr::Polygon>& polygons, const CGAffineTransform& ctm, bool antialias,
                       const ClipMask* clip, const DeviceBox& box, qvr::FillRule rule, bool* failed) {
  if (box.empty()) return NULL;
  int w = box.width(), h = box.height(), stride = CoverageStride(w);
  uint8_t* coverage = NULL;
  if (!PixelAligned(polygons, ctm)) {
    coverage = (uint8_t*)malloc((size_t)stride * h);
    if (!coverage) {
      if (failed) *failed = true;
      return NULL;
    }
    qvr::RasterizeCoverage(polygons, rule, antialias, coverage, w, h, stride, box.x0, box.y0);
  }
  if (clip && clip->coverage) {
    int clipStride = CoverageStride(clip->x1 - clip->x0);
    if (!coverage) {
      coverage = (uint8_t*)malloc((size_t)stride * h);
      if (!coverage) {
        if (failed) *failed = true;
        return NULL;
      }
      memset(coverage, 255, (size_t)stride * h);
    }
    for (int y = 0; y < h; y++) {
      const uint8_t* cut = clip->coverage + (size_t)(box.y0 + y - clip->y0) * clipStride + (box.x0 - clip->x0);
      uint8_t* row = coverage + (size_t)y * stride;
      for (int x = 0; x < w; x++) row[x] = Multiply(row[x], cut[x]);
    }
  }
  return coverage;
}
