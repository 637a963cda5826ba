/* CGImageCreateWithMask: an image clipped by an image mask (whose samples are inverse
   alpha) or by a grey image without alpha (whose samples are alpha), the mask stretched
   over the image. The result is a new premultiplied RGBA image with the mask applied. */
#include "cg_internal.h"

/* The mask's coverage as an A8 surface of the image's size. */
static cairo_surface_t* CoverageOfMask(CGImageObject* mask, int width, int height) {
  cairo_surface_t* coverage = cairo_image_surface_create(CAIRO_FORMAT_A8, width, height);
  if (cairo_surface_status(coverage) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(coverage);
    return NULL;
  }
  cairo_surface_t* source = CGImageGetCairoSurface(CGRef<CGImageRef>(mask));
  if (!source) {
    cairo_surface_destroy(coverage);
    return NULL;
  }
  cairo_surface_t* grey = NULL;
  if (!mask->isMask) {
    /* A grey image: its level (now in every colour channel of ARGB32) becomes alpha. */
    int w = (int)mask->width, h = (int)mask->height;
    grey = cairo_image_surface_create(CAIRO_FORMAT_A8, w, h);
    cairo_surface_flush(source);
    cairo_surface_flush(grey);
    const uint8_t* in = cairo_image_surface_get_data(source);
    uint8_t* out = cairo_image_surface_get_data(grey);
    int inStride = cairo_image_surface_get_stride(source), outStride = cairo_image_surface_get_stride(grey);
    for (int y = 0; y < h; y++) {
      const uint32_t* row = (const uint32_t*)(in + (size_t)y * inStride);
      for (int x = 0; x < w; x++) out[(size_t)y * outStride + x] = (uint8_t)(row[x] & 255);
    }
    cairo_surface_mark_dirty(grey);
    source = grey;
  }
  cairo_t* cr = cairo_create(coverage);
  cairo_scale(cr, (double)width / mask->width, (double)height / mask->height);
  cairo_set_source_surface(cr, source, 0, 0);
  cairo_pattern_set_extend(cairo_get_source(cr), CAIRO_EXTEND_PAD);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_set_operator(cr, CAIRO_OPERATOR_SOURCE);
  cairo_paint(cr);
  cairo_destroy(cr);
  if (grey) cairo_surface_destroy(grey);
  cairo_surface_flush(coverage);
  return coverage;
}

CGImageRef CGImageCreateWithMask(CGImageRef imageRef, CGImageRef maskRef) {
  CGImageObject* image = CGImageGetObject(imageRef);
  CGImageObject* mask = CGImageGetObject(maskRef);
  if (!image || !mask || image->isMask) return NULL;
  if (!mask->isMask && (mask->layout.grey < 0 || mask->layout.alpha >= 0 || mask->layout.alphaOnly)) return NULL;
  int width = (int)image->width, height = (int)image->height;
  cairo_surface_t* source = CGImageGetCairoSurface(imageRef);
  if (!source) return NULL;
  cairo_surface_t* coverage = CoverageOfMask(mask, width, height);
  if (!coverage) return NULL;
  cairo_surface_t* result = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(result);
  cairo_set_source_surface(cr, source, 0, 0);
  cairo_mask_surface(cr, coverage, 0, 0);
  cairo_destroy(cr);
  CGImageRef masked = CGImageCreateFromARGBSurface(result, image->space);
  cairo_surface_destroy(result);
  cairo_surface_destroy(coverage);
  return masked;
}
