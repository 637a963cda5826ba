/* The current path of a context and its painting: points are taken through the CTM as
   they are added (so the path lives in device space, as in Core Graphics), filled by the
   non-zero or even-odd rule, or stroked with the line width, cap, join and miter limit of
   the graphics state; filling or stroking empties the path. */
#include "cg_internal.h"

#include <math.h>

namespace {

/* A cubic Bezier's control distance for a quarter of a circle. */
const double kQuarterArc = 0.5522847498307936;

CGContextObject* PathContext(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c && c->path ? c : nil;
}

qvr::PathPoint Device(const CGContextObject* c, CGFloat x, CGFloat y) {
  const CGAffineTransform& t = c->state.ctm;
  return {t.a * x + t.c * y + t.tx, t.b * x + t.d * y + t.ty};
}

void AddEllipse(CGContextObject* c, CGRect rect) {
  CGRect r = CGRectStandardize(rect);
  const double cx = CGRectGetMidX(r), cy = CGRectGetMidY(r), rx = r.size.width / 2, ry = r.size.height / 2;
  const double kx = rx * kQuarterArc, ky = ry * kQuarterArc;
  qvr::FlatPath& path = *c->path;
  qvr::PathPoint p = Device(c, cx + rx, cy);
  path.MoveTo(p.x, p.y);
  /* Four quarters counter-clockwise in user space, as Core Graphics adds them. */
  const double quarters[4][6] = {{cx + rx, cy + ky, cx + kx, cy + ry, cx, cy + ry},
                                 {cx - kx, cy + ry, cx - rx, cy + ky, cx - rx, cy},
                                 {cx - rx, cy - ky, cx - kx, cy - ry, cx, cy - ry},
                                 {cx + kx, cy - ry, cx + rx, cy - ky, cx + rx, cy}};
  for (const auto& q : quarters) {
    qvr::PathPoint a = Device(c, q[0], q[1]), b = Device(c, q[2], q[3]), e = Device(c, q[4], q[5]);
    path.CurveTo(a.x, a.y, b.x, b.y, e.x, e.y);
  }
  path.Close();
}

/* The stroke's width in device space: the user width scaled by the CTM's mean scale. */
double DeviceLineWidth(const CGContextObject* c) {
  const CGAffineTransform& t = c->state.ctm;
  return c->state.lineWidth * sqrt(fabs(t.a * t.d - t.b * t.c));
}

void Fill(CGContextObject* c, qvr::FillRule rule) {
  PaintShape(c, c->path->Polygons(), rule, c->state.fill);
  c->path->Clear();
}

void Stroke(CGContextObject* c) {
  qvr::StrokeStyle style;
  style.width = DeviceLineWidth(c);
  style.cap = c->state.lineCap;
  style.join = c->state.lineJoin;
  style.miterLimit = c->state.miterLimit;
  std::vector<qvr::Polygon> outline;
  if (style.width > 0) qvr::StrokeOutline(*c->path, style, &outline);
  PaintShape(c, outline, qvr::FillRule::kNonZero, c->state.stroke);
  c->path->Clear();
}

}  // namespace

void CGContextBeginPath(CGContextRef ref) {
  if (CGContextObject* c = PathContext(ref)) c->path->Clear();
}

void CGContextMoveToPoint(CGContextRef ref, CGFloat x, CGFloat y) {
  CGContextObject* c = PathContext(ref);
  if (!c) return;
  qvr::PathPoint p = Device(c, x, y);
  c->path->MoveTo(p.x, p.y);
}

void CGContextAddLineToPoint(CGContextRef ref, CGFloat x, CGFloat y) {
  CGContextObject* c = PathContext(ref);
  if (!c || !c->path->HasCurrentPoint()) return;  // Core Graphics wants a current point
  qvr::PathPoint p = Device(c, x, y);
  c->path->LineTo(p.x, p.y);
}

void CGContextAddCurveToPoint(CGContextRef ref, CGFloat cp1x, CGFloat cp1y, CGFloat cp2x, CGFloat cp2y, CGFloat x,
                              CGFloat y) {
  CGContextObject* c = PathContext(ref);
  if (!c || !c->path->HasCurrentPoint()) return;
  qvr::PathPoint a = Device(c, cp1x, cp1y), b = Device(c, cp2x, cp2y), e = Device(c, x, y);
  c->path->CurveTo(a.x, a.y, b.x, b.y, e.x, e.y);
}

void CGContextAddRect(CGContextRef ref, CGRect rect) {
  CGContextObject* c = PathContext(ref);
  if (!c) return;
  CGRect r = CGRectStandardize(rect);
  const CGFloat xs[4] = {CGRectGetMinX(r), CGRectGetMaxX(r), CGRectGetMaxX(r), CGRectGetMinX(r)};
  const CGFloat ys[4] = {CGRectGetMinY(r), CGRectGetMinY(r), CGRectGetMaxY(r), CGRectGetMaxY(r)};
  for (int i = 0; i < 4; i++) {
    qvr::PathPoint p = Device(c, xs[i], ys[i]);
    if (i == 0) c->path->MoveTo(p.x, p.y);
    else c->path->LineTo(p.x, p.y);
  }
  c->path->Close();
}

void CGContextAddEllipseInRect(CGContextRef ref, CGRect rect) {
  if (CGContextObject* c = PathContext(ref)) AddEllipse(c, rect);
}

void CGContextClosePath(CGContextRef ref) {
  CGContextObject* c = PathContext(ref);
  if (c && c->path->HasCurrentPoint()) c->path->Close();
}

bool CGContextIsPathEmpty(CGContextRef ref) {
  CGContextObject* c = PathContext(ref);
  return !c || c->path->contours().empty();
}

void CGContextFillPath(CGContextRef ref) {
  if (CGContextObject* c = PathContext(ref)) Fill(c, qvr::FillRule::kNonZero);
}

void CGContextEOFillPath(CGContextRef ref) {
  if (CGContextObject* c = PathContext(ref)) Fill(c, qvr::FillRule::kEvenOdd);
}

void CGContextStrokePath(CGContextRef ref) {
  if (CGContextObject* c = PathContext(ref)) Stroke(c);
}

void CGContextFillEllipseInRect(CGContextRef ref, CGRect rect) {
  CGContextBeginPath(ref);
  CGContextAddEllipseInRect(ref, rect);
  CGContextFillPath(ref);
}

void CGContextStrokeEllipseInRect(CGContextRef ref, CGRect rect) {
  CGContextBeginPath(ref);
  CGContextAddEllipseInRect(ref, rect);
  CGContextStrokePath(ref);
}

void CGContextStrokeRect(CGContextRef ref, CGRect rect) {
  CGContextBeginPath(ref);
  CGContextAddRect(ref, rect);
  CGContextStrokePath(ref);
}

void CGContextStrokeRectWithWidth(CGContextRef ref, CGRect rect, CGFloat width) {
  CGContextObject* c = PathContext(ref);
  if (!c) return;
  const CGFloat saved = c->state.lineWidth;
  CGContextSetLineWidth(ref, width);
  CGContextStrokeRect(ref, rect);
  c->state.lineWidth = saved;
}

void CGContextStrokeLineSegments(CGContextRef ref, const CGPoint* points, size_t count) {
  CGContextBeginPath(ref);
  for (size_t i = 0; points && i + 1 < count; i += 2) {
    CGContextMoveToPoint(ref, points[i].x, points[i].y);
    CGContextAddLineToPoint(ref, points[i + 1].x, points[i + 1].y);
  }
  CGContextStrokePath(ref);
}
