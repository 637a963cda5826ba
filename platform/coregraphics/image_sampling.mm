/* Sampling decoded images for drawing at another size: nearest pixel for no interpolation,
   bilinear for low, an area average (box filter) when shrinking at the default and medium
   quality, and for high quality a Lanczos filter, after an area-averaging reduction to twice
   the destination size when the image shrinks more than that. The Lanczos window grows with
   the factor, so doing the bulk with the cheap box keeps big shrinks fast while the last
   factor of two keeps them sharp. */
#include "cg_internal.h"

#include <math.h>
#include <stdlib.h>

#include <algorithm>

namespace {

/* Source pixels per destination pixel along the image's axes. */
void Shrink(const CGAffineTransform& t, double* sx, double* sy) {
  *sx = hypot(t.a, t.c);
  *sy = hypot(t.b, t.d);
}

bool SetTransform(pixman_image_t* image, const CGAffineTransform& t) {
  struct pixman_f_transform f;
  pixman_f_transform_init_identity(&f);
  f.m[0][0] = t.a;
  f.m[0][1] = t.c;
  f.m[0][2] = t.tx;
  f.m[1][0] = t.b;
  f.m[1][1] = t.d;
  f.m[1][2] = t.ty;
  pixman_transform_t fixed;
  if (!pixman_transform_from_pixman_f_transform(&fixed, &f)) return false;
  return pixman_image_set_transform(image, &fixed);
}

/* Pixman's separable convolution; each axis reconstructs the pixels with one kernel and
   samples them with another, widened by that axis's factor. */
bool SetConvolution(pixman_image_t* image, double sx, double sy, pixman_kernel_t reconstructX,
                    pixman_kernel_t reconstructY, pixman_kernel_t sampleX, pixman_kernel_t sampleY) {
  int count = 0;
  pixman_fixed_t* params = pixman_filter_create_separable_convolution(
      &count, pixman_double_to_fixed(std::max(sx, 1.0)), pixman_double_to_fixed(std::max(sy, 1.0)), reconstructX,
      reconstructY, sampleX, sampleY, 4, 4);
  if (!params) return false;
  bool ok = pixman_image_set_filter(image, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, params, count);
  free(params);
  return ok;
}

/* Shrinking by more than this on an axis averages areas; less is bilinear. */
const double kAveragingThreshold = 4.0 / 3.0;

/* An axis that shrinks averages the source pixels under each destination pixel (a box as
   wide as the factor); one that does not interpolates linearly (two boxes make a tent). */
void SetAveraging(pixman_image_t* image, double sx, double sy) {
  bool averageX = sx > kAveragingThreshold, averageY = sy > kAveragingThreshold;
  if ((!averageX && !averageY) ||
      !SetConvolution(image, averageX ? std::min(sx, 4096.0) : 1, averageY ? std::min(sy, 4096.0) : 1,
                      averageX ? PIXMAN_KERNEL_IMPULSE : PIXMAN_KERNEL_BOX,
                      averageY ? PIXMAN_KERNEL_IMPULSE : PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX))
    pixman_image_set_filter(image, PIXMAN_FILTER_BILINEAR, NULL, 0);
}

/* A view of the same memory, so transform and filter stay this drawing's own. */
pixman_image_t* View(pixman_image_t* pixels) {
  return pixman_image_create_bits(pixman_image_get_format(pixels), pixman_image_get_width(pixels),
                                  pixman_image_get_height(pixels), pixman_image_get_data(pixels),
                                  pixman_image_get_stride(pixels));
}

/* The pixels averaged down to width x height; NULL on failure. */
pixman_image_t* Reduce(pixman_image_t* pixels, int width, int height) {
  int iw = pixman_image_get_width(pixels), ih = pixman_image_get_height(pixels);
  pixman_format_code_t format = pixman_image_get_format(pixels) == PIXMAN_a8 ? PIXMAN_a8 : PIXMAN_a8r8g8b8;
  pixman_image_t* reduced = pixman_image_create_bits(format, width, height, NULL, 0);
  pixman_image_t* view = View(pixels);
  bool ok = reduced && view;
  if (ok) {
    double sx = (double)iw / width, sy = (double)ih / height;
    ok = SetTransform(view, CGAffineTransformMake(sx, 0, 0, sy, 0, 0));
    SetAveraging(view, sx, sy);
    pixman_image_set_repeat(view, PIXMAN_REPEAT_PAD);
    if (ok) pixman_image_composite32(PIXMAN_OP_SRC, view, NULL, reduced, 0, 0, 0, 0, 0, 0, width, height);
  }
  if (view) pixman_image_unref(view);
  if (!ok && reduced) {
    pixman_image_unref(reduced);
    reduced = NULL;
  }
  return reduced;
}

}  // namespace

pixman_image_t* CreateImageSampler(pixman_image_t* pixels, CGAffineTransform toImage, CGInterpolationQuality quality,
                                   bool reduce) {
  if (!pixels) return NULL;
  double sx, sy;
  Shrink(toImage, &sx, &sy);
  if (!isfinite(sx) || !isfinite(sy)) return NULL;
  bool shrinking = sx > 1 && sy > 1;
  pixman_image_t* source = NULL;
  if (quality == kCGInterpolationHigh && shrinking && reduce) {
    int iw = pixman_image_get_width(pixels), ih = pixman_image_get_height(pixels);
    double tw = std::max(1.0, ceil(2 * iw / sx)), th = std::max(1.0, ceil(2 * ih / sy));
    if (tw < iw / 1.5 || th < ih / 1.5) {
      tw = std::min(tw, (double)iw);
      th = std::min(th, (double)ih);
      source = Reduce(pixels, (int)tw, (int)th);
      if (source) {
        double fx = tw / iw, fy = th / ih;
        toImage = CGAffineTransformMake(toImage.a * fx, toImage.b * fy, toImage.c * fx, toImage.d * fy,
                                        toImage.tx * fx, toImage.ty * fy);
        Shrink(toImage, &sx, &sy);
      }
    }
  }
  if (!source) source = View(pixels);
  if (!source) return NULL;
  if (!SetTransform(source, toImage)) {
    pixman_image_unref(source);
    return NULL;
  }
  pixman_image_set_repeat(source, PIXMAN_REPEAT_PAD);
  switch (quality) {
    case kCGInterpolationNone: pixman_image_set_filter(source, PIXMAN_FILTER_NEAREST, NULL, 0); break;
    case kCGInterpolationLow: pixman_image_set_filter(source, PIXMAN_FILTER_BILINEAR, NULL, 0); break;
    case kCGInterpolationHigh:
      /* Without the reduction (image masks) the window grows with the factor: big
         factors average instead. */
      if (shrinking && sx <= 8 && sy <= 8 &&
          SetConvolution(source, sx, sy, PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_LANCZOS3,
                         PIXMAN_KERNEL_LANCZOS3))
        break;
      SetAveraging(source, sx, sy);
      break;
    default: SetAveraging(source, sx, sy); break;
  }
  return source;
}
