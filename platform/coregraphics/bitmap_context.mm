/* Bitmap contexts: a pixman image over the caller's memory (or the context's own) when
   the layout is one pixman draws into directly, otherwise a premultiplied shadow image
   that is filled from the memory before each drawing and written back after it, so the
   memory always holds what was drawn. User space starts with the origin at the bottom
   left and y up; memory row 0 is the top row. */
#include "cg_internal.h"
#include "codecs/raster.h"

#include <stdlib.h>
#include <string.h>

@implementation CGContextObject
- (id)init {
  if ((self = [super init])) CGLiveObjectEnter(self);
  return self;
}
- (CFTypeID)_cfTypeID {
  return kQVRTypeIDCGContext;
}
- (void)dealloc {
  CGLiveObjectLeave(self);
  if (surface) pixman_image_unref(surface);
  ClipMaskRelease(state.clip);
  for (const GraphicsState& saved : *savedStates) ClipMaskRelease(saved.clip);
  if (ownsData) free(data);
  else if (releaseCallback) releaseCallback(releaseInfo, data);
  CGColorSpaceRelease(space);
  delete savedStates;
  delete path;
  [super dealloc];
}
- (NSString*)description {
  return [NSString stringWithFormat:@"<CGContext %p> bitmap %zu x %zu, %zu bpp, info 0x%x", (void*)self, width, height,
                                    bitsPerPixel, (unsigned)bitmapInfo];
}
@end

void CGContextLoadShadow(CGContextObject* c, int x, int y, int w, int h) {
  if (!c->shadowed || w <= 0 || h <= 0) return;
  uint8_t* pixels = (uint8_t*)pixman_image_get_data(c->surface);
  int stride = pixman_image_get_stride(c->surface);
  size_t pixelBytes = (size_t)c->layout.bytesPerPixel;
  for (int row = y; row < y + h; row++) {
    const uint8_t* src = c->data + (size_t)row * c->bytesPerRow + (size_t)x * pixelBytes;
    uint8_t* dst = pixels + (size_t)row * stride;
    if (c->layout.alphaOnly) memcpy(dst + x, src, (size_t)w);
    else PixelRowToARGB(c->layout, src, (uint32_t*)dst + x, (size_t)w);
  }
}

void CGContextStoreShadow(CGContextObject* c, int x, int y, int w, int h) {
  if (!c->shadowed || w <= 0 || h <= 0) return;
  const uint8_t* pixels = (const uint8_t*)pixman_image_get_data(c->surface);
  int stride = pixman_image_get_stride(c->surface);
  size_t pixelBytes = (size_t)c->layout.bytesPerPixel;
  for (int row = y; row < y + h; row++) {
    uint8_t* dst = c->data + (size_t)row * c->bytesPerRow + (size_t)x * pixelBytes;
    const uint8_t* src = pixels + (size_t)row * stride;
    if (c->layout.alphaOnly) memcpy(dst, src + x, (size_t)w);
    else PixelRowFromARGB(c->layout, (const uint32_t*)src + x, dst, (size_t)w);
  }
}

CGContextRef CGBitmapContextCreateWithData(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                           size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo,
                                           CGBitmapContextReleaseDataCallback releaseCallback,
                                           void* releaseInfo) {
  if (width == 0 || height == 0 || width > 0x7FFFFFF || height > 0x7FFFFFF) return NULL;
  if (bitsPerComponent != 8) return NULL;
  CGImageAlphaInfo alphaInfo = bitmapInfo & kCGBitmapAlphaInfoMask;
  bool alphaOnly = alphaInfo == kCGImageAlphaOnly;
  size_t components = alphaOnly ? 0 : CGColorSpaceGetNumberOfComponents(space);
  if (!alphaOnly && components == 0) return NULL;
  size_t samples = alphaOnly ? 1 : components + (alphaInfo == kCGImageAlphaNone ? 0 : 1);
  size_t bitsPerPixel = samples * 8;
  PixelLayout layout;
  if (!PixelLayoutFromBitmapInfo(components, bitmapInfo, 8, bitsPerPixel, &layout)) return NULL;
  size_t minimumRow = width * (bitsPerPixel / 8);
  if (bytesPerRow == 0) bytesPerRow = data ? minimumRow : (minimumRow + 15) & ~(size_t)15;
  if (bytesPerRow < minimumRow || bytesPerRow > SIZE_MAX / height) return NULL;

  pixman_format_code_t direct = PixelLayoutPixmanFormat(layout);
  uint8_t* memory = (uint8_t*)data;
  bool owns = false;
  if (!memory) {
    memory = (uint8_t*)calloc(bytesPerRow * height, 1);
    if (!memory) return NULL;
    /* Fresh memory, not yet touched: a big bitmap gets whole 2 MiB pages at its first
       write instead of thousands of page faults. */
    qvr::advise_large_pages(memory, bytesPerRow * height);
    owns = true;
  }
  pixman_image_t* surface = NULL;
  bool shadowed = true;
  if (direct != 0 && bytesPerRow % 4 == 0 && ((uintptr_t)memory & 3) == 0 && bytesPerRow <= INT32_MAX) {
    surface = pixman_image_create_bits(direct, (int)width, (int)height, (uint32_t*)memory, (int)bytesPerRow);
    shadowed = false;
  } else if (width * 4 <= INT32_MAX) {
    surface = pixman_image_create_bits(alphaOnly ? PIXMAN_a8 : PIXMAN_a8r8g8b8, (int)width, (int)height, NULL, 0);
  }
  if (!surface) {
    if (owns) free(memory);
    return NULL;
  }

  CGContextObject* context = [[CGContextObject alloc] init];
  context->surface = surface;
  context->shadowed = shadowed;
  context->data = memory;
  context->ownsData = owns;
  context->releaseCallback = releaseCallback;
  context->releaseInfo = releaseInfo;
  context->width = width;
  context->height = height;
  context->bitsPerComponent = 8;
  context->bitsPerPixel = bitsPerPixel;
  context->bytesPerRow = bytesPerRow;
  context->space = space ? CGColorSpaceRetain(space) : NULL;
  context->bitmapInfo = bitmapInfo;
  context->layout = layout;
  context->state = GraphicsStateInitial(height);
  context->savedStates = new std::vector<GraphicsState>();
  context->path = new qvr::FlatPath();
  return CGRef<CGContextRef>(context);
}

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) {
  return CGBitmapContextCreateWithData(data, width, height, bitsPerComponent, bytesPerRow, space, bitmapInfo,
                                       NULL, NULL);
}

void* CGBitmapContextGetData(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->data : NULL;
}
size_t CGBitmapContextGetWidth(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->width : 0;
}
size_t CGBitmapContextGetHeight(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->height : 0;
}
size_t CGBitmapContextGetBytesPerRow(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->bytesPerRow : 0;
}
size_t CGBitmapContextGetBitsPerPixel(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->bitsPerPixel : 0;
}
size_t CGBitmapContextGetBitsPerComponent(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->bitsPerComponent : 0;
}
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? (CGImageAlphaInfo)(c->bitmapInfo & kCGBitmapAlphaInfoMask) : (CGImageAlphaInfo)kCGImageAlphaNone;
}
CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->bitmapInfo : 0;
}
CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  return c ? c->space : NULL;
}

CGImageRef CGBitmapContextCreateImage(CGContextRef ref) {
  CGContextObject* c = CGContextGetObject(ref);
  if (!c) return NULL;
  NSData* bytes = [[NSData alloc] initWithBytes:c->data length:c->bytesPerRow * c->height];
  if (!bytes) return NULL;
  CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
  [bytes release];
  CGImageRef image = CGImageCreate(c->width, c->height, c->bitsPerComponent, c->bitsPerPixel, c->bytesPerRow,
                                   c->space, c->bitmapInfo, provider, NULL, true, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
  return image;
}

CGContextRef CGContextRetain(CGContextRef context) {
  [CGObject(context) retain];
  return context;
}

void CGContextRelease(CGContextRef context) { [CGObject(context) release]; }

/* Drawing reaches the memory before each drawing call returns: nothing is pending. */
void CGContextFlush(CGContextRef ref) {}

void CGContextSynchronize(CGContextRef ref) { CGContextFlush(ref); }
