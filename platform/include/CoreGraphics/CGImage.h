/* CGImage: an immutable bitmap (8 bits a component; grey, RGB or alpha only, with alpha
   first or last, premultiplied or not, in either 32-bit byte order), image masks
   (1, 2, 4 or 8 bits of grey, painting the fill colour where samples are 0), and images
   clipped by a mask or cut to a rectangle. Row 0 of the data is the top row. */
#ifndef QVR_CGIMAGE_H
#define QVR_CGIMAGE_H

#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGGeometry.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGImage* CGImageRef;

typedef uint32_t CGImageAlphaInfo;
enum {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
  kCGImageAlphaOnly = 7,
};

/* The alpha info in the low bits, the byte order of 16- and 32-bit pixels above them.
   With kCGBitmapByteOrderDefault the components lie in memory in the order the alpha info
   names them (RGBA for ...Last, ARGB for ...First); kCGBitmapByteOrder32Little reverses a
   32-bit pixel (BGRA for ...First). */
typedef uint32_t CGBitmapInfo;
enum {
  kCGBitmapAlphaInfoMask = 0x1F,
  kCGBitmapFloatInfoMask = 0xF00,
  kCGBitmapFloatComponents = (1 << 8),
  kCGBitmapByteOrderMask = 0x7000,
  kCGBitmapByteOrderDefault = (0 << 12),
  kCGBitmapByteOrder16Little = (1 << 12),
  kCGBitmapByteOrder32Little = (2 << 12),
  kCGBitmapByteOrder16Big = (3 << 12),
  kCGBitmapByteOrder32Big = (4 << 12),
};
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define kCGBitmapByteOrder16Host kCGBitmapByteOrder16Big
#define kCGBitmapByteOrder32Host kCGBitmapByteOrder32Big
#else
#define kCGBitmapByteOrder16Host kCGBitmapByteOrder16Little
#define kCGBitmapByteOrder32Host kCGBitmapByteOrder32Little
#endif

/* NULL for a layout this system cannot read (only 8 bits a component, 1 or 3 colour
   components with optional alpha, or alpha alone), or for a provider that is too short. */
CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                         CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                         CGColorRenderingIntent intent);
/* An image mask: 1, 2, 4 or 8 bits a sample, one sample a pixel. Drawn, it paints the
   fill colour with alpha 1 - sample (decode can swap that sense). */
CGImageRef CGImageMaskCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                             size_t bytesPerRow, CGDataProviderRef provider, const CGFloat* decode,
                             bool shouldInterpolate);
/* The image clipped by mask, scaled to the image's size: an image mask lets the image
   through where its samples are 0; a grey image without alpha is used as alpha (255 lets
   it through). NULL when image is itself a mask or already masked. */
CGImageRef CGImageCreateWithMask(CGImageRef image, CGImageRef mask);
/* The pixels of image inside rect (pixel units, origin at the top-left), rect first
   made integral and clipped to the image; NULL when nothing remains. */
CGImageRef CGImageCreateWithImageInRect(CGImageRef image, CGRect rect);
CGImageRef CGImageCreateCopy(CGImageRef image);
CGImageRef CGImageRetain(CGImageRef image);
void CGImageRelease(CGImageRef image);

size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);
size_t CGImageGetBitsPerComponent(CGImageRef image);
size_t CGImageGetBitsPerPixel(CGImageRef image);
size_t CGImageGetBytesPerRow(CGImageRef image);
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
const CGFloat* CGImageGetDecode(CGImageRef image);
bool CGImageGetShouldInterpolate(CGImageRef image);
CGColorRenderingIntent CGImageGetRenderingIntent(CGImageRef image);
bool CGImageIsMask(CGImageRef image);
CFTypeID CGImageGetTypeID(void);

#ifdef __cplusplus
}
#endif

#endif
