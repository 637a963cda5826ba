/* CGImage: immutable bitmaps and image masks over a data provider, their getters, the
   cut-out of a rectangle, and the decoded pixman image that drawing uses (made once, on
   first use, under the image's lock since images are shared between threads). */
#include "cg_internal.h"

#include <math.h>
#include <string.h>

@implementation CGImageObject
- (id)init {
  if ((self = [super init])) {
    pthread_mutex_init(&surfaceLock, NULL);
    CGLiveObjectEnter(self);
  }
  return self;
}
- (CFTypeID)_cfTypeID {
  return kQVRTypeIDCGImage;
}
- (void)dealloc {
  CGLiveObjectLeave(self);
  if (surface) pixman_image_unref(surface);
  pthread_mutex_destroy(&surfaceLock);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  [super dealloc];
}
- (NSString*)description {
  return [NSString stringWithFormat:@"<CGImage %p> %zu x %zu, %zu bpc, %zu bpp, %zu bytes a row, info 0x%x%s",
                                    (void*)self, width, height, bitsPerComponent, bitsPerPixel, bytesPerRow,
                                    (unsigned)bitmapInfo, isMask ? ", mask" : ""];
}
@end

static CGDataProviderObject* ProviderOf(CGDataProviderRef provider) {
  id object = CGObject(provider);
  return [object isKindOfClass:[CGDataProviderObject class]] ? (CGDataProviderObject*)object : nil;
}

/* The provider must hold every row the image reads. */
static bool ProviderCovers(CGDataProviderObject* provider, size_t width, size_t height, size_t bitsPerPixel,
                           size_t bytesPerRow) {
  if (!provider || width == 0 || height == 0) return false;
  if (width > (SIZE_MAX - 7) / bitsPerPixel) return false;
  size_t rowBytes = (width * bitsPerPixel + 7) / 8;
  if (bytesPerRow < rowBytes) return false;
  if (height - 1 > (SIZE_MAX - rowBytes) / bytesPerRow) return false;
  return provider->length >= bytesPerRow * (height - 1) + rowBytes;
}

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                         CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                         CGColorRenderingIntent intent) {
  if (width > INT32_MAX || height > INT32_MAX) return NULL;
  PixelLayout layout;
  bool alphaOnly = (bitmapInfo & kCGBitmapAlphaInfoMask) == kCGImageAlphaOnly;
  size_t components = CGColorSpaceGetNumberOfComponents(space);
  if (!alphaOnly && components == 0) return NULL;
  if (!PixelLayoutFromBitmapInfo(alphaOnly ? 0 : components, bitmapInfo, bitsPerComponent, bitsPerPixel, &layout))
    return NULL;
  if (!ProviderCovers(ProviderOf(provider), width, height, bitsPerPixel, bytesPerRow)) return NULL;

  CGImageObject* image = [[CGImageObject alloc] init];
  image->width = width;
  image->height = height;
  image->bitsPerComponent = bitsPerComponent;
  image->bitsPerPixel = bitsPerPixel;
  image->bytesPerRow = bytesPerRow;
  image->space = space ? CGColorSpaceRetain(space) : NULL;
  image->bitmapInfo = bitmapInfo;
  image->provider = CGDataProviderRetain(provider);
  size_t decodeCount = 2 * (alphaOnly ? 1 : components + (layout.alpha >= 0 ? 1 : 0));
  if (decode && decodeCount <= 8) {
    memcpy(image->decode, decode, decodeCount * sizeof(CGFloat));
    image->hasDecode = true;
  }
  image->shouldInterpolate = shouldInterpolate;
  image->intent = intent;
  image->layout = layout;
  return CGRef<CGImageRef>(image);
}

CGImageRef CGImageMaskCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                             size_t bytesPerRow, CGDataProviderRef provider, const CGFloat* decode,
                             bool shouldInterpolate) {
  if (width > INT32_MAX || height > INT32_MAX) return NULL;
  if (bitsPerComponent != 1 && bitsPerComponent != 2 && bitsPerComponent != 4 && bitsPerComponent != 8) return NULL;
  if (bitsPerPixel != bitsPerComponent) return NULL;
  if (!ProviderCovers(ProviderOf(provider), width, height, bitsPerPixel, bytesPerRow)) return NULL;
  CGImageObject* image = [[CGImageObject alloc] init];
  image->width = width;
  image->height = height;
  image->bitsPerComponent = bitsPerComponent;
  image->bitsPerPixel = bitsPerPixel;
  image->bytesPerRow = bytesPerRow;
  image->bitmapInfo = kCGImageAlphaNone;
  image->provider = CGDataProviderRetain(provider);
  if (decode) {
    image->decode[0] = decode[0];
    image->decode[1] = decode[1];
    image->hasDecode = true;
  }
  image->shouldInterpolate = shouldInterpolate;
  image->isMask = true;
  return CGRef<CGImageRef>(image);
}

CGImageRef CGImageRetain(CGImageRef image) {
  [CGObject(image) retain];
  return image;
}

void CGImageRelease(CGImageRef image) { [CGObject(image) release]; }

size_t CGImageGetWidth(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->width : 0;
}
size_t CGImageGetHeight(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->height : 0;
}
size_t CGImageGetBitsPerComponent(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->bitsPerComponent : 0;
}
size_t CGImageGetBitsPerPixel(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->bitsPerPixel : 0;
}
size_t CGImageGetBytesPerRow(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->bytesPerRow : 0;
}
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? (CGImageAlphaInfo)(o->bitmapInfo & kCGBitmapAlphaInfoMask) : (CGImageAlphaInfo)kCGImageAlphaNone;
}
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->bitmapInfo : 0;
}
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->space : NULL;
}
CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->provider : NULL;
}
const CGFloat* CGImageGetDecode(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o && o->hasDecode ? o->decode : NULL;
}
bool CGImageGetShouldInterpolate(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->shouldInterpolate : false;
}
CGColorRenderingIntent CGImageGetRenderingIntent(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->intent : kCGRenderingIntentDefault;
}
bool CGImageIsMask(CGImageRef image) {
  CGImageObject* o = CGImageGetObject(image);
  return o ? o->isMask : false;
}

static const uint8_t* ImageBytes(CGImageObject* image) { return ProviderOf(image->provider)->bytes; }

/* One sample of a mask row, scaled to 0...255. */
static inline uint32_t MaskSample(const uint8_t* row, size_t x, size_t bits) {
  switch (bits) {
    case 1: return ((row[x >> 3] >> (7 - (x & 7))) & 1) * 255;
    case 2: return ((row[x >> 2] >> (6 - 2 * (x & 3))) & 3) * 85;
    case 4: return ((row[x >> 1] >> (4 - 4 * (x & 1))) & 15) * 17;
    default: return row[x];
  }
}

/* Coverage of a mask: samples act as inverse alpha, through the decode array. */
static pixman_image_t* DecodeMask(CGImageObject* image) {
  pixman_image_t* surface = pixman_image_create_bits(PIXMAN_a8, (int)image->width, (int)image->height, NULL, 0);
  if (!surface) return NULL;
  double d0 = image->hasDecode ? image->decode[0] : 0, d1 = image->hasDecode ? image->decode[1] : 1;
  uint8_t table[256];
  for (int s = 0; s < 256; s++) {
    double v = d0 + (s / 255.0) * (d1 - d0);
    double coverage = 1 - (v < 0 ? 0 : v > 1 ? 1 : v);
    table[s] = (uint8_t)lround(coverage * 255);
  }
  uint8_t* dst = (uint8_t*)pixman_image_get_data(surface);
  int stride = pixman_image_get_stride(surface);
  const uint8_t* src = ImageBytes(image);
  for (size_t y = 0; y < image->height; y++) {
    const uint8_t* row = src + y * image->bytesPerRow;
    uint8_t* out = dst + y * stride;
    for (size_t x = 0; x < image->width; x++) out[x] = table[MaskSample(row, x, image->bitsPerComponent)];
  }
  return surface;
}

static pixman_image_t* DecodeImage(CGImageObject* image) {
  const uint8_t* src = ImageBytes(image);
  pixman_format_code_t direct = PixelLayoutPixmanSourceFormat(image->layout);
  /* Memory that already is a pixman format is read in place (drawing never writes to a
     source); the provider outlives the pixman image, both belonging to the image. */
  if (direct != 0 && direct != PIXMAN_a8 && !image->hasDecode && image->bytesPerRow % 4 == 0 &&
      ((uintptr_t)src & 3) == 0 && image->bytesPerRow <= INT32_MAX) {
    pixman_image_t* surface = pixman_image_create_bits(direct, (int)image->width, (int)image->height,
                                                       (uint32_t*)(void*)src, (int)image->bytesPerRow);
    if (surface) return surface;
  }
  if (image->width > INT32_MAX / 4) return NULL;
  pixman_image_t* surface = pixman_image_create_bits(PIXMAN_a8r8g8b8, (int)image->width, (int)image->height, NULL, 0);
  if (!surface) return NULL;
  uint8_t* dst = (uint8_t*)pixman_image_get_data(surface);
  int stride = pixman_image_get_stride(surface);
  for (size_t y = 0; y < image->height; y++)
    PixelRowToARGB(image->layout, src + y * image->bytesPerRow, (uint32_t*)(dst + y * stride), image->width);
  /* A decode array of [1 0] pairs inverts colour components (as with grey scans). */
  if (image->hasDecode && !image->layout.alphaOnly) {
    bool invert = image->decode[0] > image->decode[1];
    if (invert) {
      for (size_t y = 0; y < image->height; y++) {
        uint32_t* row = (uint32_t*)(dst + y * stride);
        for (size_t x = 0; x < image->width; x++) {
          uint32_t a = row[x] >> 24;
          row[x] = (row[x] & 0xFF000000u) | (((a * 0x010101u) - (row[x] & 0x00FFFFFFu)) & 0x00FFFFFFu);
        }
      }
    }
  }
  return surface;
}

pixman_image_t* CGImageGetPixmanImage(CGImageRef ref) {
  CGImageObject* image = CGImageGetObject(ref);
  if (!image) return NULL;
  pthread_mutex_lock(&image->surfaceLock);
  if (!image->surface) image->surface = image->isMask ? DecodeMask(image) : DecodeImage(image);
  pixman_image_t* surface = image->surface;
  pthread_mutex_unlock(&image->surfaceLock);
  return surface;
}

CGImageRef CGImageCreateFromARGBImage(pixman_image_t* pixels, CGColorSpaceRef space) {
  if (!pixels || pixman_image_get_format(pixels) != PIXMAN_a8r8g8b8) return NULL;
  int width = pixman_image_get_width(pixels), height = pixman_image_get_height(pixels);
  int stride = pixman_image_get_stride(pixels);
  const uint8_t* src = (const uint8_t*)pixman_image_get_data(pixels);
  if (width <= 0 || height <= 0 || !src) return NULL;
  PixelLayout layout;
  PixelLayoutFromBitmapInfo(3, kCGImageAlphaPremultipliedLast, 8, 32, &layout);
  NSMutableData* bytes = [NSMutableData dataWithLength:(size_t)width * 4 * (size_t)height];
  if (!bytes) return NULL;
  uint8_t* dst = (uint8_t*)[bytes mutableBytes];
  for (int y = 0; y < height; y++)
    PixelRowFromARGB(layout, (const uint32_t*)(src + (size_t)y * stride), dst + (size_t)y * width * 4, (size_t)width);
  CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
  CGColorSpaceRef rgb = space && CGColorSpaceGetModel(space) == kCGColorSpaceModelRGB ? CGColorSpaceRetain(space)
                                                                                       : CGColorSpaceCreateDeviceRGB();
  CGImageRef image = CGImageCreate((size_t)width, (size_t)height, 8, 32, (size_t)width * 4, rgb,
                                   kCGImageAlphaPremultipliedLast, provider, NULL, true, kCGRenderingIntentDefault);
  CGColorSpaceRelease(rgb);
  CGDataProviderRelease(provider);
  return image;
}

CGImageRef CGImageCreateCopy(CGImageRef ref) {
  CGImageObject* image = CGImageGetObject(ref);
  if (!image) return NULL;
  return CGImageRetain(ref); /* images are immutable: a copy may be the same object */
}

CGImageRef CGImageCreateWithImageInRect(CGImageRef ref, CGRect rect) {
  CGImageObject* image = CGImageGetObject(ref);
  if (!image) return NULL;
  CGRect r = CGRectIntersection(CGRectIntegral(rect), CGRectMake(0, 0, image->width, image->height));
  if (CGRectIsEmpty(r)) return NULL;
  size_t x0 = (size_t)r.origin.x, y0 = (size_t)r.origin.y;
  size_t w = (size_t)r.size.width, h = (size_t)r.size.height;
  const uint8_t* src = ImageBytes(image);
  if (image->isMask) {
    /* Masks of fewer than 8 bits come out as 8-bit masks with the same decode. */
    NSMutableData* bytes = [NSMutableData dataWithLength:w * h];
    uint8_t* dst = (uint8_t*)[bytes mutableBytes];
    for (size_t y = 0; y < h; y++) {
      const uint8_t* row = src + (y0 + y) * image->bytesPerRow;
      for (size_t x = 0; x < w; x++) dst[y * w + x] = (uint8_t)MaskSample(row, x0 + x, image->bitsPerComponent);
    }
    CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
    CGImageRef result = CGImageMaskCreate(w, h, 8, 8, w, provider, image->hasDecode ? image->decode : NULL,
                                          image->shouldInterpolate);
    CGDataProviderRelease(provider);
    return result;
  }
  size_t pixelBytes = image->bitsPerPixel / 8;
  size_t rowBytes = w * pixelBytes;
  NSMutableData* bytes = [NSMutableData dataWithLength:rowBytes * h];
  uint8_t* dst = (uint8_t*)[bytes mutableBytes];
  for (size_t y = 0; y < h; y++) memcpy(dst + y * rowBytes, src + (y0 + y) * image->bytesPerRow + x0 * pixelBytes, rowBytes);
  CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
  CGImageRef result = CGImageCreate(w, h, image->bitsPerComponent, image->bitsPerPixel, rowBytes, image->space,
                                    image->bitmapInfo, provider, image->hasDecode ? image->decode : NULL,
                                    image->shouldInterpolate, image->intent);
  CGDataProviderRelease(provider);
  return result;
}
