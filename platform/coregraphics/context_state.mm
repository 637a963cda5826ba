/* The graphics state of a context: the transformation and clip live in cairo's own state,
   the rest (blend mode, alpha, interpolation, fill colour, antialiasing) beside it, and
   CGContextSaveGState / RestoreGState push and pop both together. */
#include "cg_internal.h"

#include <math.h>

void CGContextSaveGState(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return;
  cairo_save(c->cr);
  c->savedStates->push_back(c->state);
}

void CGContextRestoreGState(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c || c->savedStates->empty()) return;
  cairo_restore(c->cr);
  c->state = c->savedStates->back();
  c->savedStates->pop_back();
}

void CGContextTranslateCTM(CGContextRef ref, CGFloat tx, CGFloat ty) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(tx) && isfinite(ty)) cairo_translate(c->cr, tx, ty);
}

void CGContextScaleCTM(CGContextRef ref, CGFloat sx, CGFloat sy) {
  CGContextObject* c = CGContextGetObject(ref);
  /* A zero scale would make the matrix singular, which cairo refuses for good. */
  if (c && sx != 0 && sy != 0 && isfinite(sx) && isfinite(sy)) cairo_scale(c->cr, sx, sy);
}

void CGContextRotateCTM(CGContextRef ref, CGFloat angle) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(angle)) cairo_rotate(c->cr, angle);
}

void CGContextConcatCTM(CGContextRef ref, CGAffineTransform t) {
  CGContextObject* c = CGContextGetObject(ref);
  double det = t.a * t.d - t.b * t.c;
  if (!c || det == 0 || !isfinite(det) || !isfinite(t.tx) || !isfinite(t.ty)) return;
  cairo_matrix_t m;
  cairo_matrix_init(&m, t.a, t.b, t.c, t.d, t.tx, t.ty);
  cairo_transform(c->cr, &m);
}

/* Cairo's matrix maps user space to memory rows (y down); Core Graphics' CTM maps it to device
   space with y up, so the base flip is taken back out. */
CGAffineTransform CGContextGetCTM(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return CGAffineTransformIdentity;
  cairo_matrix_t m;
  cairo_get_matrix(c->cr, &m);
  CGAffineTransform user = CGAffineTransformMake(m.xx, m.yx, m.xy, m.yy, m.x0, m.y0);
  CGAffineTransform flip = CGAffineTransformMake(1, 0, 0, -1, 0, (CGFloat)c->height);
  return CGAffineTransformConcat(user, flip);
}

void CGContextSetBlendMode(CGContextRef ref, CGBlendMode mode) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && mode >= kCGBlendModeNormal && mode <= kCGBlendModePlusLighter) c->state.blendMode = mode;
}

CGBlendMode CGContextGetBlendMode(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->state.blendMode : kCGBlendModeNormal;
}

void CGContextSetAlpha(CGContextRef ref, CGFloat alpha) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c || isnan(alpha)) return;
  c->state.alpha = alpha < 0 ? 0 : alpha > 1 ? 1 : alpha;
}

CGFloat CGContextGetAlpha(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->state.alpha : 1;
}

void CGContextSetInterpolationQuality(CGContextRef ref, CGInterpolationQuality quality) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && quality >= kCGInterpolationDefault && quality <= kCGInterpolationMedium) c->state.interpolation = quality;
}

CGInterpolationQuality CGContextGetInterpolationQuality(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->state.interpolation : kCGInterpolationDefault;
}

void CGContextSetShouldAntialias(CGContextRef ref, bool shouldAntialias) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c) c->state.antialias = shouldAntialias;
}

static CGFloat Unit(CGFloat v) { return isnan(v) ? 0 : v < 0 ? 0 : v > 1 ? 1 : v; }

void CGContextSetRGBFillColor(CGContextRef ref, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return;
  c->state.fill[0] = Unit(red);
  c->state.fill[1] = Unit(green);
  c->state.fill[2] = Unit(blue);
  c->state.fill[3] = Unit(alpha);
}

void CGContextSetGrayFillColor(CGContextRef ref, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBFillColor(ref, gray, gray, gray, alpha);
}

void CGContextSetFillColorWithColor(CGContextRef ref, CGColorRef color) {
  size_t n = CGColorGetNumberOfComponents(color);
  const CGFloat* v = CGColorGetComponents(color);
  if (n == 2) CGContextSetRGBFillColor(ref, v[0], v[0], v[0], v[1]);
  else if (n == 4) CGContextSetRGBFillColor(ref, v[0], v[1], v[2], v[3]);
}

void CGContextClipToRect(CGContextRef ref, CGRect rect) {
  CGContextClipToRects(ref, &rect, 1);
}

void CGContextClipToRects(CGContextRef ref, const CGRect* rects, size_t count) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c || (!rects && count)) return;
  cairo_new_path(c->cr);
  for (size_t i = 0; i < count; i++) {
    CGRect r = CGRectStandardize(rects[i]);
    if (CGRectIsNull(r) || !isfinite(r.origin.x) || !isfinite(r.origin.y) || !isfinite(r.size.width) ||
        !isfinite(r.size.height))
      continue;
    cairo_rectangle(c->cr, r.origin.x, r.origin.y, r.size.width, r.size.height);
  }
  cairo_set_antialias(c->cr, c->state.antialias ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
  cairo_clip(c->cr);
  CGContextRecoverFromCairoError(c);
}

CGRect CGContextGetClipBoundingBox(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return CGRectNull;
  double x0, y0, x1, y1;
  cairo_clip_extents(c->cr, &x0, &y0, &x1, &y1);
  return CGRectStandardize(CGRectMake(x0, y0, x1 - x0, y1 - y0));
}
