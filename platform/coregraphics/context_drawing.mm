/* Painting into a context: filling and clearing rectangles, painting shapes (filled and
   stroked paths), and drawing images (and image masks, which paint the fill colour)
   stretched over a rectangle, with the blend mode as
   pixman operator and the global alpha applied to the source before compositing, as Core
   Graphics does. Every painting is confined to its rectangle and the clip: operators that
   leave the destination alone where the source is empty composite through the coverage;
   the others (copy, clear, source in and out, destination in and atop) are worked out
   on a copy of the pixels and blended back by coverage, so they too leave the rest of
   the context as it was. */
#include "cg_internal.h"

#include <math.h>
#include <stdlib.h>

static pixman_op_t OperatorForBlendMode(CGBlendMode mode) {
  switch (mode) {
    case kCGBlendModeMultiply: return PIXMAN_OP_MULTIPLY;
    case kCGBlendModeScreen: return PIXMAN_OP_SCREEN;
    case kCGBlendModeOverlay: return PIXMAN_OP_OVERLAY;
    case kCGBlendModeDarken: return PIXMAN_OP_DARKEN;
    case kCGBlendModeLighten: return PIXMAN_OP_LIGHTEN;
    case kCGBlendModeColorDodge: return PIXMAN_OP_COLOR_DODGE;
    case kCGBlendModeColorBurn: return PIXMAN_OP_COLOR_BURN;
    case kCGBlendModeSoftLight: return PIXMAN_OP_SOFT_LIGHT;
    case kCGBlendModeHardLight: return PIXMAN_OP_HARD_LIGHT;
    case kCGBlendModeDifference: return PIXMAN_OP_DIFFERENCE;
    case kCGBlendModeExclusion: return PIXMAN_OP_EXCLUSION;
    case kCGBlendModeHue: return PIXMAN_OP_HSL_HUE;
    case kCGBlendModeSaturation: return PIXMAN_OP_HSL_SATURATION;
    case kCGBlendModeColor: return PIXMAN_OP_HSL_COLOR;
    case kCGBlendModeLuminosity: return PIXMAN_OP_HSL_LUMINOSITY;
    case kCGBlendModeClear: return PIXMAN_OP_CLEAR;
    case kCGBlendModeCopy: return PIXMAN_OP_SRC;
    case kCGBlendModeSourceIn: return PIXMAN_OP_IN;
    case kCGBlendModeSourceOut: return PIXMAN_OP_OUT;
    case kCGBlendModeSourceAtop: return PIXMAN_OP_ATOP;
    case kCGBlendModeDestinationOver: return PIXMAN_OP_OVER_REVERSE;
    case kCGBlendModeDestinationIn: return PIXMAN_OP_IN_REVERSE;
    case kCGBlendModeDestinationOut: return PIXMAN_OP_OUT_REVERSE;
    case kCGBlendModeDestinationAtop: return PIXMAN_OP_ATOP_REVERSE;
    case kCGBlendModeXOR: return PIXMAN_OP_XOR;
    case kCGBlendModePlusLighter: return PIXMAN_OP_ADD;
    /* Pixman has no plus-darker; it draws as normal. */
    default: return PIXMAN_OP_OVER;
  }
}

/* Operators that change the destination where the source is empty. */
static bool Unbounded(pixman_op_t op) {
  return op == PIXMAN_OP_CLEAR || op == PIXMAN_OP_SRC || op == PIXMAN_OP_IN || op == PIXMAN_OP_OUT ||
         op == PIXMAN_OP_IN_REVERSE || op == PIXMAN_OP_ATOP_REVERSE;
}

/* A solid premultiplied colour (or, with colour NULL, an alpha) as a pixman source. */
static pixman_image_t* Solid(const CGFloat* rgb, double alpha) {
  pixman_color_t color;
  color.alpha = (uint16_t)lround(alpha * 65535);
  color.red = (uint16_t)lround((rgb ? rgb[0] : 0) * alpha * 65535);
  color.green = (uint16_t)lround((rgb ? rgb[1] : 0) * alpha * 65535);
  color.blue = (uint16_t)lround((rgb ? rgb[2] : 0) * alpha * 65535);
  return pixman_image_create_solid_fill(&color);
}

/* One painting: the device box it may change, and the coverage there (NULL: all of it). */
struct Painting {
  DeviceBox box;
  uint8_t* bytes;
  pixman_image_t* coverage;
};

static bool ShapePaintingArea(CGContextObject* c, const std::vector<qvr::Polygon>& shape, qvr::FillRule rule,
                              Painting* p);

/* Where a painting confined to rect and the clip lands, and its coverage there; false
   (and nothing to free) when nothing can change. */
static bool PaintingArea(CGContextObject* c, CGRect rect, Painting* p) {
  CGRect r = CGRectStandardize(rect);
  if (CGRectIsNull(r) || r.size.width == 0 || r.size.height == 0 || !isfinite(r.size.width) ||
      !isfinite(r.size.height) || !isfinite(r.origin.x) || !isfinite(r.origin.y))
    return false;
  return ShapePaintingArea(c, std::vector<qvr::Polygon>(1, DeviceRectangle(c->state.ctm, r)), qvr::FillRule::kNonZero, p);
}

/* Where a painting of a shape (device-space polygons) lands, and its coverage there. */
static bool ShapePaintingArea(CGContextObject* c, const std::vector<qvr::Polygon>& shape, qvr::FillRule rule,
                              Painting* p) {
  p->box = PaintedBox(shape, c->state.clip, c->width, c->height);
  if (p->box.empty()) return false;
  bool failed = false;
  p->bytes = CoverageInBox(shape, c->state.ctm, c->state.antialias, c->state.clip, p->box, rule, &failed);
  if (failed) return false;  // no memory for the coverage: paint nothing rather than the whole box
  p->coverage = NULL;
  if (p->bytes) {
    p->coverage = pixman_image_create_bits(PIXMAN_a8, p->box.width(), p->box.height(), (uint32_t*)(void*)p->bytes,
                                           CoverageStride(p->box.width()));
    if (!p->coverage) {
      free(p->bytes);
      return false;
    }
  }
  return true;
}

/* Opens a painting confined to rect and the clip; false (and nothing opened) when nothing
   can change. */
static bool BeginPainting(CGContextObject* c, CGRect rect, Painting* p) {
  if (!PaintingArea(c, rect, p)) return false;
  CGContextLoadShadow(c, p->box.x0, p->box.y0, p->box.width(), p->box.height());
  return true;
}

static void FreePaintingArea(Painting* p) {
  if (p->coverage) pixman_image_unref(p->coverage);
  free(p->bytes);
}

static void EndPainting(CGContextObject* c, Painting* p) {
  CGContextStoreShadow(c, p->box.x0, p->box.y0, p->box.width(), p->box.height());
  FreePaintingArea(p);
}

/* Composites source (its pixel (0, 0) at the box's corner) faded by alpha with op. */
static void Composite(CGContextObject* c, pixman_op_t op, pixman_image_t* source, double alpha, Painting* p) {
  const DeviceBox& b = p->box;
  int w = b.width(), h = b.height();
  pixman_image_t* fade = alpha < 1 ? Solid(NULL, alpha) : NULL;
  /* Without a coverage mask the box is painted whole, so even an unbounded operator may
     composite straight onto the surface; only a shape's edges need the detour below. */
  if (!Unbounded(op) || !p->coverage) {
    /* The fade and the coverage multiply into one mask. */
    pixman_image_t* mask = fade;
    if (p->coverage && fade) {
      pixman_image_composite32(PIXMAN_OP_IN, fade, NULL, p->coverage, 0, 0, 0, 0, 0, 0, w, h);
      mask = p->coverage;
    } else if (p->coverage) {
      mask = p->coverage;
    }
    pixman_image_composite32(op, source, mask, c->surface, 0, 0, 0, 0, b.x0, b.y0, w, h);
  } else {
    pixman_image_t* work = pixman_image_create_bits(pixman_image_get_format(c->surface), w, h, NULL, 0);
    if (work) {
      pixman_image_composite32(PIXMAN_OP_SRC, c->surface, NULL, work, b.x0, b.y0, 0, 0, 0, 0, w, h);
      pixman_image_composite32(op, source, fade, work, 0, 0, 0, 0, 0, 0, w, h);
      pixman_image_composite32(PIXMAN_OP_OUT_REVERSE, p->coverage, NULL, c->surface, 0, 0, 0, 0, b.x0, b.y0, w, h);
      pixman_image_composite32(PIXMAN_OP_ADD, work, p->coverage, c->surface, 0, 0, 0, 0, b.x0, b.y0, w, h);
      pixman_image_unref(work);
    }
  }
  if (fade) pixman_image_unref(fade);
}

void CGContextFillRects(CGContextRef ref, const CGRect* rects, size_t count) {
  for (size_t i = 0; rects && i < count; i++) CGContextFillRect(ref, rects[i]);
}

void CGContextFillRect(CGContextRef ref, CGRect rect) {
  CGContextObject* c = CGContextGetObject(ref);
  Painting p;
  if (!c || !BeginPainting(c, rect, &p)) return;
  pixman_image_t* colour = Solid(c->state.fill, c->state.fill[3] * c->state.alpha);
  if (colour) {
    Composite(c, OperatorForBlendMode(c->state.blendMode), colour, 1, &p);
    pixman_image_unref(colour);
  }
  EndPainting(c, &p);
}

void PaintShape(CGContextObject* c, const std::vector<qvr::Polygon>& shape, qvr::FillRule rule, const CGFloat* rgba) {
  Painting p;
  if (shape.empty() || !ShapePaintingArea(c, shape, rule, &p)) return;
  CGContextLoadShadow(c, p.box.x0, p.box.y0, p.box.width(), p.box.height());
  pixman_image_t* colour = Solid(rgba, rgba[3] * c->state.alpha);
  if (colour) {
    Composite(c, OperatorForBlendMode(c->state.blendMode), colour, 1, &p);
    pixman_image_unref(colour);
  }
  EndPainting(c, &p);
}

void CGContextClearRect(CGContextRef ref, CGRect rect) {
  CGContextObject* c = CGContextGetObject(ref);
  Painting p;
  if (!c || !BeginPainting(c, rect, &p)) return;
  pixman_image_t* nothing = Solid(NULL, 0);
  if (nothing) {
    Composite(c, PIXMAN_OP_CLEAR, nothing, 1, &p);
    pixman_image_unref(nothing);
  }
  EndPainting(c, &p);
}

void CGContextDrawImage(CGContextRef ref, CGRect rect, CGImageRef imageRef) {
  CGContextObject* c = CGContextGetObject(ref);
  CGImageObject* image = CGImageGetObject(imageRef);
  if (!c || !image || rect.size.width == 0 || rect.size.height == 0) return;
  Painting p;
  if (!PaintingArea(c, rect, &p)) return;

  /* Image pixel (u, v), v down from the top row, lies at user point
     (x + u * w / iw, y + h - v * h / ih); the sampler wants the inverse map from the
     painting's pixels (its corner at the origin) to the image. */
  CGRect r = rect;
  double iw = (double)image->width, ih = (double)image->height;
  CGAffineTransform imageToUser =
      CGAffineTransformMake(r.size.width / iw, 0, 0, -r.size.height / ih, r.origin.x, r.origin.y + r.size.height);
  CGAffineTransform imageToDevice = CGAffineTransformConcat(imageToUser, c->state.ctm);
  CGAffineTransform imageToBox =
      CGAffineTransformConcat(imageToDevice, CGAffineTransformMakeTranslation(-p.box.x0, -p.box.y0));
  CGInterpolationQuality quality = image->shouldInterpolate ? c->state.interpolation : kCGInterpolationNone;
  pixman_op_t op = OperatorForBlendMode(c->state.blendMode);
  double alpha = c->state.alpha;

  /* An image that lands pixel for pixel on whole device pixels, painted whole, at full
     opacity, and either copied or laid opaque over what is there, gives the context
     exactly its own pixels: a row copy does that without compositing. */
  const CGAffineTransform& t = imageToDevice;
  bool opaque = image->layout.alpha < 0;
  if (gCGContextRowCopies && !p.coverage && alpha >= 1 && !image->isMask && !image->hasDecode &&
      (op == PIXMAN_OP_SRC || (op == PIXMAN_OP_OVER && opaque)) && t.a == 1 && t.b == 0 && t.c == 0 && t.d == 1 &&
      t.tx == floor(t.tx) && t.ty == floor(t.ty) && fabs(t.tx) < INT32_MAX && fabs(t.ty) < INT32_MAX &&
      CGContextDrawImageRows(c, image, p.box, (int)t.tx, (int)t.ty)) {
    FreePaintingArea(&p);
    return;
  }
  pixman_image_t* pixels = CGImageGetPixmanImage(imageRef);
  if (!pixels) {
    FreePaintingArea(&p);
    return;
  }
  CGContextLoadShadow(c, p.box.x0, p.box.y0, p.box.width(), p.box.height());
  pixman_image_t* source = NULL;
  if (op != PIXMAN_OP_CLEAR)
    source = CreateImageSampler(pixels, CGAffineTransformInvert(imageToBox), quality, !image->isMask);

  if (op == PIXMAN_OP_CLEAR) {
    pixman_image_t* nothing = Solid(NULL, 0);
    if (nothing) {
      Composite(c, op, nothing, 1, &p);
      pixman_image_unref(nothing);
    }
  } else if (source && image->isMask) {
    /* A stencil: the fill colour, painted through the mask's coverage. */
    int w = p.box.width(), h = p.box.height();
    pixman_image_t* colour = Solid(c->state.fill, c->state.fill[3] * alpha);
    pixman_image_t* stencil = pixman_image_create_bits(PIXMAN_a8r8g8b8, w, h, NULL, 0);
    if (colour && stencil) {
      pixman_image_composite32(PIXMAN_OP_SRC, colour, source, stencil, 0, 0, 0, 0, 0, 0, w, h);
      Composite(c, op, stencil, 1, &p);
    }
    if (colour) pixman_image_unref(colour);
    if (stencil) pixman_image_unref(stencil);
  } else if (source) {
    Composite(c, op, source, alpha, &p);
  }
  if (source) pixman_image_unref(source);
  EndPainting(c, &p);
}
