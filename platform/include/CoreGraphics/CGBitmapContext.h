/* Bitmap contexts: drawing into memory of a given layout, the caller's or the context's
   own. Row 0 of the memory is the top row of the picture. Layouts: 8-bit grey with no
   alpha, 8-bit alpha only (colour space grey or NULL), and 32-bit RGB with alpha or a
   skipped byte first or last, premultiplied or not, in default, big or little 32-bit
   byte order; beyond the platform's own set, also 24-bit RGB without alpha and 16-bit grey with
   alpha, the meshed layouts of bitmap representations. The memory holds every drawing
   as soon as the drawing call returns. */
#ifndef QVR_CGBITMAPCONTEXT_H
#define QVR_CGBITMAPCONTEXT_H

#include <CoreGraphics/CGContext.h>

#ifdef __cplusplus
extern "C" {
#endif

/* data NULL: the context allocates zeroed memory of its own (bytesPerRow 0 lets it choose
   the row length). NULL for a layout it cannot draw into or a bytesPerRow too small. */
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo);

typedef void (*CGBitmapContextReleaseDataCallback)(void* releaseInfo, void* data);
/* As above; when the context goes it calls releaseCallback(releaseInfo, data). */
CGContextRef CGBitmapContextCreateWithData(void* data, size_t width, size_t height,
                                           size_t bitsPerComponent, size_t bytesPerRow,
                                           CGColorSpaceRef space, uint32_t bitmapInfo,
                                           CGBitmapContextReleaseDataCallback releaseCallback,
                                           void* releaseInfo);

void* CGBitmapContextGetData(CGContextRef context);
size_t CGBitmapContextGetWidth(CGContextRef context);
size_t CGBitmapContextGetHeight(CGContextRef context);
size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
size_t CGBitmapContextGetBitsPerComponent(CGContextRef context);
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context);
CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context);
CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef context);
/* A new image holding a copy of the context's pixels now; NULL for a context that is
   not a bitmap context. */
CGImageRef CGBitmapContextCreateImage(CGContextRef context);

#ifdef __cplusplus
}
#endif

#endif
