/* Core Graphics geometry: rectangle queries on standardised rectangles, intersections and
   unions with the null rectangle as Core Graphics defines it, and affine transforms. */
#include "cg_internal.h"

#include <math.h>

const CGPoint CGPointZero = {0, 0};
const CGSize CGSizeZero = {0, 0};
const CGRect CGRectZero = {{0, 0}, {0, 0}};
const CGRect CGRectNull = {{INFINITY, INFINITY}, {0, 0}};
const CGAffineTransform CGAffineTransformIdentity = {1, 0, 0, 1, 0, 0};

CGRect CGRectStandardize(CGRect rect) {
  if (rect.size.width < 0) {
    rect.origin.x += rect.size.width;
    rect.size.width = -rect.size.width;
  }
  if (rect.size.height < 0) {
    rect.origin.y += rect.size.height;
    rect.size.height = -rect.size.height;
  }
  return rect;
}

CGFloat CGRectGetMinX(CGRect rect) { return CGRectStandardize(rect).origin.x; }
CGFloat CGRectGetMinY(CGRect rect) { return CGRectStandardize(rect).origin.y; }
CGFloat CGRectGetWidth(CGRect rect) { return fabs(rect.size.width); }
CGFloat CGRectGetHeight(CGRect rect) { return fabs(rect.size.height); }
CGFloat CGRectGetMaxX(CGRect rect) {
  CGRect r = CGRectStandardize(rect);
  return r.origin.x + r.size.width;
}
CGFloat CGRectGetMaxY(CGRect rect) {
  CGRect r = CGRectStandardize(rect);
  return r.origin.y + r.size.height;
}
CGFloat CGRectGetMidX(CGRect rect) {
  CGRect r = CGRectStandardize(rect);
  return r.origin.x + r.size.width / 2;
}
CGFloat CGRectGetMidY(CGRect rect) {
  CGRect r = CGRectStandardize(rect);
  return r.origin.y + r.size.height / 2;
}

bool CGRectIsNull(CGRect rect) { return isinf(rect.origin.x) || isinf(rect.origin.y); }
bool CGRectIsEmpty(CGRect rect) {
  return CGRectIsNull(rect) || rect.size.width == 0 || rect.size.height == 0;
}
bool CGRectIsInfinite(CGRect rect) { return isinf(rect.size.width) && isinf(rect.size.height); }

bool CGRectEqualToRect(CGRect a, CGRect b) {
  a = CGRectStandardize(a);
  b = CGRectStandardize(b);
  return a.origin.x == b.origin.x && a.origin.y == b.origin.y && a.size.width == b.size.width &&
         a.size.height == b.size.height;
}
bool CGSizeEqualToSize(CGSize a, CGSize b) { return a.width == b.width && a.height == b.height; }
bool CGPointEqualToPoint(CGPoint a, CGPoint b) { return a.x == b.x && a.y == b.y; }

bool CGRectContainsPoint(CGRect rect, CGPoint p) {
  CGRect r = CGRectStandardize(rect);
  return p.x >= r.origin.x && p.x < r.origin.x + r.size.width && p.y >= r.origin.y &&
         p.y < r.origin.y + r.size.height;
}

CGRect CGRectIntersection(CGRect a, CGRect b) {
  if (CGRectIsNull(a) || CGRectIsNull(b)) return CGRectNull;
  a = CGRectStandardize(a);
  b = CGRectStandardize(b);
  CGFloat x0 = fmax(a.origin.x, b.origin.x), y0 = fmax(a.origin.y, b.origin.y);
  CGFloat x1 = fmin(a.origin.x + a.size.width, b.origin.x + b.size.width);
  CGFloat y1 = fmin(a.origin.y + a.size.height, b.origin.y + b.size.height);
  if (x1 < x0 || y1 < y0) return CGRectNull;
  return CGRectMake(x0, y0, x1 - x0, y1 - y0);
}

bool CGRectIntersectsRect(CGRect a, CGRect b) { return !CGRectIsEmpty(CGRectIntersection(a, b)); }

bool CGRectContainsRect(CGRect outer, CGRect inner) {
  return CGRectEqualToRect(CGRectUnion(outer, inner), CGRectStandardize(outer));
}

CGRect CGRectUnion(CGRect a, CGRect b) {
  if (CGRectIsNull(a)) return CGRectStandardize(b);
  if (CGRectIsNull(b)) return CGRectStandardize(a);
  a = CGRectStandardize(a);
  b = CGRectStandardize(b);
  CGFloat x0 = fmin(a.origin.x, b.origin.x), y0 = fmin(a.origin.y, b.origin.y);
  CGFloat x1 = fmax(a.origin.x + a.size.width, b.origin.x + b.size.width);
  CGFloat y1 = fmax(a.origin.y + a.size.height, b.origin.y + b.size.height);
  return CGRectMake(x0, y0, x1 - x0, y1 - y0);
}

CGRect CGRectIntegral(CGRect rect) {
  if (CGRectIsNull(rect)) return rect;
  CGRect r = CGRectStandardize(rect);
  CGFloat x0 = floor(r.origin.x), y0 = floor(r.origin.y);
  CGFloat x1 = ceil(r.origin.x + r.size.width), y1 = ceil(r.origin.y + r.size.height);
  return CGRectMake(x0, y0, x1 - x0, y1 - y0);
}

CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy) {
  if (CGRectIsNull(rect)) return rect;
  CGRect r = CGRectStandardize(rect);
  r.origin.x += dx;
  r.origin.y += dy;
  return r;
}

CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy) {
  if (CGRectIsNull(rect)) return rect;
  CGRect r = CGRectStandardize(rect);
  r.origin.x += dx;
  r.origin.y += dy;
  r.size.width -= 2 * dx;
  r.size.height -= 2 * dy;
  if (r.size.width < 0 || r.size.height < 0) return CGRectNull;
  return r;
}

CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d, CGFloat tx, CGFloat ty) {
  CGAffineTransform t = {a, b, c, d, tx, ty};
  return t;
}
CGAffineTransform CGAffineTransformMakeTranslation(CGFloat tx, CGFloat ty) {
  return CGAffineTransformMake(1, 0, 0, 1, tx, ty);
}
CGAffineTransform CGAffineTransformMakeScale(CGFloat sx, CGFloat sy) {
  return CGAffineTransformMake(sx, 0, 0, sy, 0, 0);
}

/* t1 then t2. */
CGAffineTransform CGAffineTransformConcat(CGAffineTransform t1, CGAffineTransform t2) {
  return CGAffineTransformMake(t1.a * t2.a + t1.b * t2.c, t1.a * t2.b + t1.b * t2.d,
                               t1.c * t2.a + t1.d * t2.c, t1.c * t2.b + t1.d * t2.d,
                               t1.tx * t2.a + t1.ty * t2.c + t2.tx, t1.tx * t2.b + t1.ty * t2.d + t2.ty);
}
CGAffineTransform CGAffineTransformTranslate(CGAffineTransform t, CGFloat tx, CGFloat ty) {
  return CGAffineTransformConcat(CGAffineTransformMakeTranslation(tx, ty), t);
}
CGAffineTransform CGAffineTransformScale(CGAffineTransform t, CGFloat sx, CGFloat sy) {
  return CGAffineTransformConcat(CGAffineTransformMakeScale(sx, sy), t);
}
CGAffineTransform CGAffineTransformInvert(CGAffineTransform t) {
  CGFloat det = t.a * t.d - t.b * t.c;
  if (det == 0) return t;
  return CGAffineTransformMake(t.d / det, -t.b / det, -t.c / det, t.a / det,
                               (t.c * t.ty - t.d * t.tx) / det, (t.b * t.tx - t.a * t.ty) / det);
}
bool CGAffineTransformIsIdentity(CGAffineTransform t) {
  return t.a == 1 && t.b == 0 && t.c == 0 && t.d == 1 && t.tx == 0 && t.ty == 0;
}
CGPoint CGPointApplyAffineTransform(CGPoint p, CGAffineTransform t) {
  return CGPointMake(t.a * p.x + t.c * p.y + t.tx, t.b * p.x + t.d * p.y + t.ty);
}
CGSize CGSizeApplyAffineTransform(CGSize s, CGAffineTransform t) {
  return CGSizeMake(t.a * s.width + t.c * s.height, t.b * s.width + t.d * s.height);
}
CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform t) {
  if (CGRectIsNull(rect)) return rect;
  CGRect r = CGRectStandardize(rect);
  CGPoint p[4] = {CGPointApplyAffineTransform(r.origin, t),
                  CGPointApplyAffineTransform(CGPointMake(r.origin.x + r.size.width, r.origin.y), t),
                  CGPointApplyAffineTransform(CGPointMake(r.origin.x, r.origin.y + r.size.height), t),
                  CGPointApplyAffineTransform(
                      CGPointMake(r.origin.x + r.size.width, r.origin.y + r.size.height), t)};
  CGFloat x0 = p[0].x, x1 = p[0].x, y0 = p[0].y, y1 = p[0].y;
  for (int i = 1; i < 4; i++) {
    x0 = fmin(x0, p[i].x);
    x1 = fmax(x1, p[i].x);
    y0 = fmin(y0, p[i].y);
    y1 = fmax(y1, p[i].y);
  }
  return CGRectMake(x0, y0, x1 - x0, y1 - y0);
}
