/* The graphics state of a context: transform, clip, blend mode, alpha, interpolation, fill
   and stroke colours, line width, cap, join and miter limit, and antialiasing, which CGContextSaveGState / RestoreGState push and pop together
   (saved states share their clip, which is never changed in place). */
#include "cg_internal.h"

#include <math.h>

void CGContextSaveGState(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return;
  c->savedStates->push_back(c->state);
  ClipMaskRetain(c->state.clip);
}

void CGContextRestoreGState(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c || c->savedStates->empty()) return;
  ClipMaskRelease(c->state.clip);
  c->state = c->savedStates->back();
  c->savedStates->pop_back();
}

/* A transform that cannot map user space onto device pixels any more is refused, so the
   state always stays usable. */
static void SetCTM(CGContextObject* c, CGAffineTransform t) {
  double det = t.a * t.d - t.b * t.c;
  if (det == 0 || !isfinite(det) || !isfinite(t.tx) || !isfinite(t.ty)) return;
  c->state.ctm = t;
}

void CGContextTranslateCTM(CGContextRef ref, CGFloat tx, CGFloat ty) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(tx) && isfinite(ty)) SetCTM(c, CGAffineTransformTranslate(c->state.ctm, tx, ty));
}

void CGContextScaleCTM(CGContextRef ref, CGFloat sx, CGFloat sy) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(sx) && isfinite(sy)) SetCTM(c, CGAffineTransformScale(c->state.ctm, sx, sy));
}

void CGContextRotateCTM(CGContextRef ref, CGFloat angle) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(angle)) {
    double sn = sin(angle), cs = cos(angle);
    SetCTM(c, CGAffineTransformConcat(CGAffineTransformMake(cs, sn, -sn, cs, 0, 0), c->state.ctm));
  }
}

void CGContextConcatCTM(CGContextRef ref, CGAffineTransform t) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(t.a) && isfinite(t.b) && isfinite(t.c) && isfinite(t.d))
    SetCTM(c, CGAffineTransformConcat(t, c->state.ctm));
}

/* The state's transform maps user space to memory rows (y down); Core Graphics' CTM maps
   it to device space with y up, so the base flip is taken back out. */
CGAffineTransform CGContextGetCTM(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return CGAffineTransformIdentity;
  CGAffineTransform flip = CGAffineTransformMake(1, 0, 0, -1, 0, (CGFloat)c->height);
  return CGAffineTransformConcat(c->state.ctm, flip);
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

static void SetColour(CGFloat* colour, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  colour[0] = Unit(red);
  colour[1] = Unit(green);
  colour[2] = Unit(blue);
  colour[3] = Unit(alpha);
}

void CGContextSetRGBFillColor(CGContextRef ref, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c) SetColour(c->state.fill, red, green, blue, alpha);
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

void CGContextSetRGBStrokeColor(CGContextRef ref, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c) SetColour(c->state.stroke, red, green, blue, alpha);
}

void CGContextSetGrayStrokeColor(CGContextRef ref, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBStrokeColor(ref, gray, gray, gray, alpha);
}

void CGContextSetLineWidth(CGContextRef ref, CGFloat width) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(width) && width >= 0) c->state.lineWidth = width;
}

void CGContextSetLineCap(CGContextRef ref, CGLineCap cap) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return;
  c->state.lineCap = cap == kCGLineCapRound ? qvr::LineCap::kRound
                      : cap == kCGLineCapSquare ? qvr::LineCap::kSquare
                                                : qvr::LineCap::kButt;
}

void CGContextSetLineJoin(CGContextRef ref, CGLineJoin join) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return;
  c->state.lineJoin = join == kCGLineJoinRound ? qvr::LineJoin::kRound
                       : join == kCGLineJoinBevel ? qvr::LineJoin::kBevel
                                                  : qvr::LineJoin::kMiter;
}

void CGContextSetMiterLimit(CGContextRef ref, CGFloat limit) {
  CGContextObject* c = CGContextGetObject(ref);
  if (c && isfinite(limit) && limit >= 0) c->state.miterLimit = limit;
}

void CGContextClipToRect(CGContextRef ref, CGRect rect) {
  CGContextClipToRects(ref, &rect, 1);
}

/* The new clip is the old one cut by the union of the rectangles. */
void CGContextClipToRects(CGContextRef ref, const CGRect* rects, size_t count) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c || (!rects && count)) return;
  std::vector<qvr::Polygon> polygons;
  for (size_t i = 0; i < count; i++) {
    CGRect r = CGRectStandardize(rects[i]);
    if (CGRectIsNull(r) || !isfinite(r.origin.x) || !isfinite(r.origin.y) || !isfinite(r.size.width) ||
        !isfinite(r.size.height))
      continue;
    polygons.push_back(DeviceRectangle(c->state.ctm, r));
  }
  ClipMask* clip = new ClipMask();
  clip->references = 1;
  DeviceBox box = PaintedBox(polygons, c->state.clip, c->width, c->height);
  if (!box.empty()) {
    clip->x0 = box.x0;
    clip->y0 = box.y0;
    clip->x1 = box.x1;
    clip->y1 = box.y1;
    clip->coverage = CoverageInBox(polygons, c->state.ctm, c->state.antialias, c->state.clip, box);
  }
  ClipMaskRelease(c->state.clip);
  c->state.clip = clip;
}

/* The clip's box in user space (the whole context when nothing clips). */
CGRect CGContextGetClipBoundingBox(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return CGRectNull;
  const ClipMask* clip = c->state.clip;
  CGRect device = clip ? CGRectMake(clip->x0, clip->y0, clip->x1 - clip->x0, clip->y1 - clip->y0)
                       : CGRectMake(0, 0, (CGFloat)c->width, (CGFloat)c->height);
  if (clip && (clip->x1 <= clip->x0 || clip->y1 <= clip->y0)) return CGRectZero;
  return CGRectApplyAffineTransform(device, CGAffineTransformInvert(c->state.ctm));
}
