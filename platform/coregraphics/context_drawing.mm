/* Painting into a context: filling and clearing rectangles and drawing images (and image
   masks, which paint the fill colour) stretched over a rectangle, with the blend mode as
   cairo operator and the global alpha applied to the source before compositing, as Core
   Graphics does. Every painting is confined to its rectangle, so even the operators cairo treats
   as unbounded leave the rest of the context alone. */
#include "cg_internal.h"

#include <math.h>

static cairo_operator_t OperatorForBlendMode(CGBlendMode mode) {
  switch (mode) {
    case kCGBlendModeMultiply: return CAIRO_OPERATOR_MULTIPLY;
    case kCGBlendModeScreen: return CAIRO_OPERATOR_SCREEN;
    case kCGBlendModeOverlay: return CAIRO_OPERATOR_OVERLAY;
    case kCGBlendModeDarken: return CAIRO_OPERATOR_DARKEN;
    case kCGBlendModeLighten: return CAIRO_OPERATOR_LIGHTEN;
    case kCGBlendModeColorDodge: return CAIRO_OPERATOR_COLOR_DODGE;
    case kCGBlendModeColorBurn: return CAIRO_OPERATOR_COLOR_BURN;
    case kCGBlendModeSoftLight: return CAIRO_OPERATOR_SOFT_LIGHT;
    case kCGBlendModeHardLight: return CAIRO_OPERATOR_HARD_LIGHT;
    case kCGBlendModeDifference: return CAIRO_OPERATOR_DIFFERENCE;
    case kCGBlendModeExclusion: return CAIRO_OPERATOR_EXCLUSION;
    case kCGBlendModeHue: return CAIRO_OPERATOR_HSL_HUE;
    case kCGBlendModeSaturation: return CAIRO_OPERATOR_HSL_SATURATION;
    case kCGBlendModeColor: return CAIRO_OPERATOR_HSL_COLOR;
    case kCGBlendModeLuminosity: return CAIRO_OPERATOR_HSL_LUMINOSITY;
    case kCGBlendModeClear: return CAIRO_OPERATOR_CLEAR;
    case kCGBlendModeCopy: return CAIRO_OPERATOR_SOURCE;
    case kCGBlendModeSourceIn: return CAIRO_OPERATOR_IN;
    case kCGBlendModeSourceOut: return CAIRO_OPERATOR_OUT;
    case kCGBlendModeSourceAtop: return CAIRO_OPERATOR_ATOP;
    case kCGBlendModeDestinationOver: return CAIRO_OPERATOR_DEST_OVER;
    case kCGBlendModeDestinationIn: return CAIRO_OPERATOR_DEST_IN;
    case kCGBlendModeDestinationOut: return CAIRO_OPERATOR_DEST_OUT;
    case kCGBlendModeDestinationAtop: return CAIRO_OPERATOR_DEST_ATOP;
    case kCGBlendModeXOR: return CAIRO_OPERATOR_XOR;
    case kCGBlendModePlusLighter: return CAIRO_OPERATOR_ADD;
    /* Cairo has no plus-darker; it draws as normal. */
    default: return CAIRO_OPERATOR_OVER;
  }
}

/* Operators for which painting through a coverage of alpha differs from painting a
   source whose alpha was multiplied first: those need the source made first. */
static bool NeedsPremultipliedSource(cairo_operator_t op) {
  return op == CAIRO_OPERATOR_SOURCE || op == CAIRO_OPERATOR_IN || op == CAIRO_OPERATOR_OUT ||
         op == CAIRO_OPERATOR_DEST_IN || op == CAIRO_OPERATOR_DEST_ATOP;
}

/* Cairo's best filter shrinks with a windowed sinc but enlarges nearly as steps, so high
   quality takes it only when the image shrinks on both axes and the smooth (bilinear when
   enlarging, box-filtered when shrinking) good filter otherwise. */
static cairo_filter_t FilterForQuality(CGInterpolationQuality quality, bool shrinking) {
  switch (quality) {
    case kCGInterpolationNone: return CAIRO_FILTER_NEAREST;
    case kCGInterpolationLow: return CAIRO_FILTER_BILINEAR;
    case kCGInterpolationHigh: return shrinking ? CAIRO_FILTER_BEST : CAIRO_FILTER_GOOD;
    default: return CAIRO_FILTER_GOOD;
  }
}

/* The memory pixels that painting inside the current clip can touch, after the caller
   clipped to its rectangle. */
struct DeviceBox {
  int x = 0, y = 0, w = 0, h = 0;
};

static DeviceBox ClipBox(CGContextObject* c) {
  DeviceBox box;
  double x0, y0, x1, y1;
  cairo_save(c->cr);
  cairo_identity_matrix(c->cr);
  cairo_clip_extents(c->cr, &x0, &y0, &x1, &y1);
  cairo_restore(c->cr);
  x0 = fmax(0, floor(x0));
  y0 = fmax(0, floor(y0));
  x1 = fmin((double)c->width, ceil(x1));
  y1 = fmin((double)c->height, ceil(y1));
  if (x1 <= x0 || y1 <= y0) return box;
  box.x = (int)x0;
  box.y = (int)y0;
  box.w = (int)(x1 - x0);
  box.h = (int)(y1 - y0);
  return box;
}

/* Opens a painting confined to rect; false (and nothing opened) when nothing can change. */
static bool BeginPainting(CGContextObject* c, CGRect rect, DeviceBox* box) {
  CGRect r = CGRectStandardize(rect);
  /* Cairo puts a context into a lasting error state for non-finite coordinates. */
  if (CGRectIsNull(r) || r.size.width == 0 || r.size.height == 0 || !isfinite(r.size.width) ||
      !isfinite(r.size.height) || !isfinite(r.origin.x) || !isfinite(r.origin.y))
    return false;
  cairo_save(c->cr);
  cairo_new_path(c->cr);
  cairo_rectangle(c->cr, r.origin.x, r.origin.y, r.size.width, r.size.height);
  cairo_set_antialias(c->cr, c->state.antialias ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
  cairo_clip(c->cr);
  *box = ClipBox(c);
  if (box->w == 0) {
    cairo_restore(c->cr);
    return false;
  }
  CGContextLoadShadow(c, box->x, box->y, box->w, box->h);
  return true;
}

static void EndPainting(CGContextObject* c, const DeviceBox& box) {
  cairo_restore(c->cr);
  CGContextRecoverFromCairoError(c);
  CGContextStoreShadow(c, box.x, box.y, box.w, box.h);
}

void CGContextFillRects(CGContextRef ref, const CGRect* rects, size_t count) {
  for (size_t i = 0; rects && i < count; i++) CGContextFillRect(ref, rects[i]);
}

void CGContextFillRect(CGContextRef ref, CGRect rect) {
  CGContextObject* c = CGContextGetObject(ref);
  DeviceBox box;
  if (!c || !BeginPainting(c, rect, &box)) return;
  const CGFloat* f = c->state.fill;
  cairo_set_source_rgba(c->cr, f[0], f[1], f[2], f[3] * c->state.alpha);
  cairo_set_operator(c->cr, OperatorForBlendMode(c->state.blendMode));
  cairo_paint(c->cr);
  EndPainting(c, box);
}

void CGContextClearRect(CGContextRef ref, CGRect rect) {
  CGContextObject* c = CGContextGetObject(ref);
  DeviceBox box;
  if (!c || !BeginPainting(c, rect, &box)) return;
  cairo_set_operator(c->cr, CAIRO_OPERATOR_CLEAR);
  cairo_paint(c->cr);
  EndPainting(c, box);
}

/* High-quality shrinking in two steps: an area-averaging (box) reduction to twice the
   destination size, then the windowed-sinc filter for the last factor of two. Cairo's
   sinc filter alone grows its window with the factor and costs seconds on big images;
   the box step is cheap and removes what would alias. Answers NULL when one step does,
   else the reduced surface, with the pattern matrix m rescaled to it. */
static cairo_surface_t* ReduceForHighQuality(cairo_surface_t* surface, double iw, double ih, double deviceWidth,
                                             double deviceHeight, cairo_matrix_t* m) {
  double tw = ceil(2 * deviceWidth), th = ceil(2 * deviceHeight);
  if (tw < 1) tw = 1;
  if (th < 1) th = 1;
  if (tw >= iw / 1.5 && th >= ih / 1.5) return NULL;
  if (tw > iw) tw = iw;
  if (th > ih) th = ih;
  cairo_surface_t* reduced = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, (int)tw, (int)th);
  if (cairo_surface_status(reduced) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(reduced);
    return NULL;
  }
  cairo_t* cr = cairo_create(reduced);
  cairo_scale(cr, tw / iw, th / ih);
  cairo_set_source_surface(cr, surface, 0, 0);
  cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_matrix_t toReduced;
  cairo_matrix_init_scale(&toReduced, tw / iw, th / ih);
  cairo_matrix_multiply(m, m, &toReduced);
  return reduced;
}

void CGContextDrawImage(CGContextRef ref, CGRect rect, CGImageRef imageRef) {
  CGContextObject* c = CGContextGetObject(ref);
  CGImageObject* image = CGImageGetObject(imageRef);
  if (!c || !image || rect.size.width == 0 || rect.size.height == 0) return;
  cairo_surface_t* surface = CGImageGetCairoSurface(imageRef);
  if (!surface) return;
  DeviceBox box;
  if (!BeginPainting(c, rect, &box)) return;

  /* Image pixel (u, v), v down from the top row, lies at user point
     (x + u * w / iw, y + h - v * h / ih); the pattern matrix is the inverse map. */
  double iw = (double)image->width, ih = (double)image->height;
  double x = rect.origin.x, y = rect.origin.y, w = rect.size.width, h = rect.size.height;
  cairo_matrix_t m;
  cairo_matrix_init(&m, iw / w, 0, 0, -ih / h, -x * iw / w, (y + h) * ih / h);
  double dw = w, dh = 0, ew = 0, eh = h;
  cairo_user_to_device_distance(c->cr, &dw, &dh);
  cairo_user_to_device_distance(c->cr, &ew, &eh);
  double deviceWidth = hypot(dw, dh), deviceHeight = hypot(ew, eh);
  bool shrinking = deviceWidth < iw && deviceHeight < ih;
  CGInterpolationQuality quality = image->shouldInterpolate ? c->state.interpolation : kCGInterpolationNone;
  cairo_surface_t* reduced = NULL;
  if (quality == kCGInterpolationHigh && shrinking && !image->isMask)
    reduced = ReduceForHighQuality(surface, iw, ih, deviceWidth, deviceHeight, &m);
  cairo_pattern_t* pattern = cairo_pattern_create_for_surface(reduced ? reduced : surface);
  if (reduced) cairo_surface_destroy(reduced); /* the pattern holds it */
  cairo_pattern_set_matrix(pattern, &m);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  cairo_pattern_set_filter(pattern, FilterForQuality(quality, shrinking));
  cairo_operator_t op = OperatorForBlendMode(c->state.blendMode);
  double alpha = c->state.alpha;

  if (image->isMask) {
    /* A stencil: the fill colour, painted through the mask's coverage. */
    const CGFloat* f = c->state.fill;
    cairo_set_source_rgba(c->cr, f[0], f[1], f[2], f[3] * alpha);
    cairo_set_operator(c->cr, op);
    cairo_mask(c->cr, pattern);
  } else if (op == CAIRO_OPERATOR_CLEAR) {
    cairo_set_operator(c->cr, op);
    cairo_paint(c->cr);
  } else if (alpha < 1 && NeedsPremultipliedSource(op)) {
    cairo_push_group(c->cr);
    cairo_set_source(c->cr, pattern);
    cairo_paint_with_alpha(c->cr, alpha);
    cairo_pop_group_to_source(c->cr);
    cairo_set_operator(c->cr, op);
    cairo_paint(c->cr);
  } else {
    cairo_set_source(c->cr, pattern);
    cairo_set_operator(c->cr, op);
    cairo_paint_with_alpha(c->cr, alpha);
  }
  cairo_pattern_destroy(pattern);
  EndPainting(c, box);
}
