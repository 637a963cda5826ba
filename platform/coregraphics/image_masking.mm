/* CGImageCreateWithMask: an image clipped by an image mask (whose samples are inverse
   alpha) or by a grey image without alpha (whose samples are alpha), the mask stretched
   over the image. The result is a new premultiplied RGBA image with the mask applied. */
#include "cg_internal.h"

/* The mask's coverage as 8-bit samples of the image's size; the caller drops it. */
static pixman_image_t* CoverageOfMask(CGImageObject* mask, int width, int height) {
  pixman_image_t* source = CGImageGetPixmanImage(CGRef<CGImageRef>(mask));
  if (!source) return NULL;
  pixman_image_t* grey = NULL;
  if (!mask->isMask) {
    /* A grey image: its level (now in every colour channel of ARGB32) becomes alpha. */
    int w = (int)mask->width, h = (int)mask->height;
    grey = pixman_image_create_bits(PIXMAN_a8, w, h, NULL, 0);
    if (!grey) return NULL;
    const uint8_t* in = (const uint8_t*)pixman_image_get_data(source);
    uint8_t* out = (uint8_t*)pixman_image_get_data(grey);
    int inStride = pixman_image_get_stride(source), outStride = pixman_image_get_stride(grey);
    for (int y = 0; y < h; y++) {
      const uint32_t* row = (const uint32_t*)(in + (size_t)y * inStride);
      for (int x = 0; x < w; x++) out[(size_t)y * outStride + x] = (uint8_t)(row[x] & 255);
    }
    source = grey;
  }
  pixman_image_t* coverage = pixman_image_create_bits(PIXMAN_a8, width, height, NULL, 0);
  pixman_image_t* sampler = CreateImageSampler(
      source, CGAffineTransformMakeScale((double)mask->width / width, (double)mask->height / height),
      kCGInterpolationDefault, false);
  if (coverage && sampler)
    pixman_image_composite32(PIXMAN_OP_SRC, sampler, NULL, coverage, 0, 0, 0, 0, 0, 0, width, height);
  if (sampler) pixman_image_unref(sampler);
  if (grey) pixman_image_unref(grey);
  if (coverage && !sampler) {
    pixman_image_unref(coverage);
    coverage = NULL;
  }
  return coverage;
}

CGImageRef CGImageCreateWithMask(CGImageRef imageRef, CGImageRef maskRef) {
  CGImageObject* image = CGImageGetObject(imageRef);
  CGImageObject* mask = CGImageGetObject(maskRef);
  if (!image || !mask || image->isMask) return NULL;
  if (!mask->isMask && (mask->layout.grey < 0 || mask->layout.alpha >= 0 || mask->layout.alphaOnly)) return NULL;
  int width = (int)image->width, height = (int)image->height;
  pixman_image_t* source = CGImageGetPixmanImage(imageRef);
  if (!source) return NULL;
  pixman_image_t* coverage = CoverageOfMask(mask, width, height);
  if (!coverage) return NULL;
  CGImageRef masked = NULL;
  pixman_image_t* result = pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height, NULL, 0);
  if (result) {
    pixman_image_composite32(PIXMAN_OP_SRC, source, coverage, result, 0, 0, 0, 0, 0, 0, width, height);
    masked = CGImageCreateFromARGBImage(result, image->space);
    pixman_image_unref(result);
  }
  pixman_image_unref(coverage);
  return masked;
}
