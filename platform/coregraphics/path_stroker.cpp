/* The stroke outline: each segment becomes a rectangle around it, each corner a miter,
   bevel or round piece on its outer side, each open end a cap. Pieces overlap; the
   non-zero fill of their union is the stroke, so every piece is made positively oriented. */
#include "coregraphics/path_stroker.h"

#include <math.h>

#include <algorithm>

namespace qvr {

namespace {

double SignedArea(const Polygon& p) {
  double area = 0;
  for (size_t i = 0; i < p.size(); i++) {
    const PathPoint& a = p[i];
    const PathPoint& b = p[(i + 1) % p.size()];
    area += a.x * b.y - b.x * a.y;
  }
  return area;
}

void Emit(Polygon polygon, std::vector<Polygon>* out) {
  if (SignedArea(polygon) < 0) std::reverse(polygon.begin(), polygon.end());
  out->push_back(std::move(polygon));
}

void Disc(PathPoint c, double radius, std::vector<Polygon>* out) {
  /* Enough sides that no chord strays more than a twentieth of a pixel from the circle. */
  int n = 8;
  if (radius > 0.05) n = (int)std::min(256.0, std::max(8.0, ceil(M_PI / acos(1 - 0.05 / radius))));
  Polygon p;
  for (int i = 0; i < n; i++) {
    double a = 2 * M_PI * i / n;
    p.push_back({c.x + radius * cos(a), c.y + radius * sin(a)});
  }
  Emit(std::move(p), out);
}

/* The corner at v from direction d1 into direction d2 (unit vectors). */
void Join(PathPoint v, PathPoint d1, PathPoint d2, const StrokeStyle& style, double half, std::vector<Polygon>* out) {
  double cross = d1.x * d2.y - d1.y * d2.x, dot = d1.x * d2.x + d1.y * d2.y;
  if (fabs(cross) < 1e-12 && dot > 0) return; /* straight on */
  if (style.join == LineJoin::kRound) {
    Disc(v, half, out);
    return;
  }
  double side = cross > 0 ? -1 : 1; /* the outer side of the turn */
  PathPoint n1 = {-d1.y * side * half, d1.x * side * half}, n2 = {-d2.y * side * half, d2.x * side * half};
  PathPoint a = {v.x + n1.x, v.y + n1.y}, b = {v.x + n2.x, v.y + n2.y};
  bool miter = style.join == LineJoin::kMiter && 2 <= style.miterLimit * style.miterLimit * (1 + dot) && 1 + dot > 1e-12;
  if (miter) {
    PathPoint tip = {v.x + (n1.x + n2.x) / (1 + dot), v.y + (n1.y + n2.y) / (1 + dot)};
    Emit({v, a, tip, b}, out);
  } else {
    Emit({v, a, b}, out);
  }
}

/* The cap at end p of a stroke leaving in direction d (pointing away from the stroke). */
void Cap(PathPoint p, PathPoint d, const StrokeStyle& style, double half, std::vector<Polygon>* out) {
  if (style.cap == LineCap::kRound) {
    Disc(p, half, out);
  } else if (style.cap == LineCap::kSquare) {
    PathPoint n = {-d.y * half, d.x * half}, f = {p.x + d.x * half, p.y + d.y * half};
    Emit({{p.x + n.x, p.y + n.y}, {f.x + n.x, f.y + n.y}, {f.x - n.x, f.y - n.y}, {p.x - n.x, p.y - n.y}}, out);
  }
}

}  // namespace

void StrokeOutline(const FlatPath& path, const StrokeStyle& style, std::vector<Polygon>* out) {
  double half = style.width / 2;
  if (!(half > 0) || !isfinite(half)) return;
  for (const FlatPath::Contour& contour : path.contours()) {
    /* Points that repeat add no direction. */
    Polygon pts;
    bool finite = true;
    for (const PathPoint& p : contour.points) {
      if (!isfinite(p.x) || !isfinite(p.y)) finite = false;
      if (pts.empty() || hypot(p.x - pts.back().x, p.y - pts.back().y) > 1e-9) pts.push_back(p);
    }
    if (!finite || pts.empty()) continue;
    bool closed = contour.closed;
    if (closed && pts.size() > 1 && hypot(pts.front().x - pts.back().x, pts.front().y - pts.back().y) <= 1e-9)
      pts.pop_back();
    if (pts.size() == 1) {
      if (style.cap == LineCap::kRound) Disc(pts[0], half, out);
      else if (style.cap == LineCap::kSquare)
        Emit({{pts[0].x - half, pts[0].y - half}, {pts[0].x + half, pts[0].y - half},
              {pts[0].x + half, pts[0].y + half}, {pts[0].x - half, pts[0].y + half}},
             out);
      continue;
    }
    size_t n = pts.size(), segments = closed ? n : n - 1;
    std::vector<PathPoint> dirs(segments);
    for (size_t i = 0; i < segments; i++) {
      const PathPoint& p = pts[i];
      const PathPoint& q = pts[(i + 1) % n];
      double length = hypot(q.x - p.x, q.y - p.y);
      PathPoint d = {(q.x - p.x) / length, (q.y - p.y) / length};
      if (!isfinite(d.x) || !isfinite(d.y)) d = {1, 0}; /* lengths beyond double range */
      dirs[i] = d;
      PathPoint nrm = {-d.y * half, d.x * half};
      Emit({{p.x + nrm.x, p.y + nrm.y}, {q.x + nrm.x, q.y + nrm.y}, {q.x - nrm.x, q.y - nrm.y}, {p.x - nrm.x, p.y - nrm.y}},
           out);
    }
    for (size_t i = 1; i < segments; i++) Join(pts[i], dirs[i - 1], dirs[i], style, half, out);
    if (closed) {
      Join(pts[0], dirs[segments - 1], dirs[0], style, half, out);
    } else {
      Cap(pts[0], {-dirs[0].x, -dirs[0].y}, style, half, out);
      Cap(pts[n - 1], dirs[segments - 1], style, half, out);
    }
  }
}

}  // namespace qvr
