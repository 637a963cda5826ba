/* What the Core Graphics files share and nobody else sees: the Objective-C classes behind
   the opaque references, the pixel layouts of images and bitmap contexts with their
   conversions to and from cairo's premultiplied ARGB32, and the type identifiers. */
#ifndef QVR_CG_INTERNAL_H
#define QVR_CG_INTERNAL_H

#import <Foundation/Foundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <cairo.h>
#include <pthread.h>

#include <vector>

/* Core Graphics type identifiers: 200 and up, clear of the Core Foundation ones. */
enum {
  kQVRTypeIDCGColor = 200,
  kQVRTypeIDCGColorSpace = 201,
  kQVRTypeIDCGContext = 202,
  kQVRTypeIDCGDataConsumer = 203,
  kQVRTypeIDCGDataProvider = 204,
  kQVRTypeIDCGFont = 205,
  kQVRTypeIDCGImage = 206,
  kQVRTypeIDCGLayer = 207,
  kQVRTypeIDCGPSConverter = 208,
};

/* Where the components of one pixel lie in memory. Offsets are byte offsets within the
   pixel, -1 for a component that is absent. Grey layouts use `grey` and no colour. */
struct PixelLayout {
  int bytesPerPixel;
  int red, green, blue, grey, alpha;
  int skip;           /* a byte that is there but holds nothing (written as 255) */
  bool premultiplied; /* colour already multiplied by alpha */
  bool alphaOnly;
  bool bigSamples;    /* 16 bits a component, high byte first */
  bool littleSamples; /* 16 bits a component, low byte first */
};

/* A layout with no components yet (plain data, so it can live in Objective-C objects). */
static inline PixelLayout PixelLayoutEmpty() {
  PixelLayout l = {0, -1, -1, -1, -1, -1, -1, false, false, false, false};
  return l;
}

/* The layout of 8- or 16-bit components described by a colour space's component count
   (1 grey, 3 RGB, 0 none), the bitmap info and the bits per pixel; false when the
   combination is not one this system reads or draws into. */
bool PixelLayoutFromBitmapInfo(size_t colorComponents, CGBitmapInfo info, size_t bitsPerComponent,
                               size_t bitsPerPixel, PixelLayout* layout);

/* Row conversions between a layout and cairo's native premultiplied ARGB32. */
void PixelRowToARGB(const PixelLayout& layout, const uint8_t* src, uint32_t* dst, size_t width);
void PixelRowFromARGB(const PixelLayout& layout, const uint32_t* src, uint8_t* dst, size_t width);

/* The cairo format whose memory equals the layout exactly, or CAIRO_FORMAT_INVALID. */
cairo_format_t PixelLayoutCairoFormat(const PixelLayout& layout);

@interface CGColorSpaceObject : NSObject {
 @public
  CGColorSpaceModel model;
  CFStringRef name; /* retained, or NULL for the device spaces */
}
@end

@interface CGColorObject : NSObject {
 @public
  CGColorSpaceRef space; /* retained */
  size_t count;          /* components including alpha */
  CGFloat components[5];
}
@end

@interface CGDataProviderObject : NSObject {
 @public
  const uint8_t* bytes;
  size_t length;
  void* info;
  CGDataProviderReleaseDataCallback releaseData;
  NSData* data; /* retained when the provider was made from CFData */
}
@end

@interface CGImageObject : NSObject {
 @public
  size_t width, height, bitsPerComponent, bitsPerPixel, bytesPerRow;
  CGColorSpaceRef space; /* retained; NULL for masks and alpha-only images */
  CGBitmapInfo bitmapInfo;
  CGDataProviderRef provider; /* retained */
  CGFloat decode[8];
  bool hasDecode;
  bool shouldInterpolate;
  bool isMask;
  CGColorRenderingIntent intent;
  PixelLayout layout; /* for images that are not masks */
  pthread_mutex_t surfaceLock;
  cairo_surface_t* surface; /* decoded form, made on first draw */
}
@end

/* The decoded form of an image: premultiplied ARGB32, or A8 coverage for image masks
   (255 paints) and alpha-only images. Owned by the image; NULL when it cannot be decoded. */
cairo_surface_t* CGImageGetCairoSurface(CGImageRef image);
/* A new image of premultiplied RGBA bytes (PremultipliedLast, default byte order) holding
   the pixels of an ARGB32 surface; NULL on failure. */
CGImageRef CGImageCreateFromARGBSurface(cairo_surface_t* surface, CGColorSpaceRef space);

/* The graphics state that cairo does not keep for us. */
struct GraphicsState {
  CGBlendMode blendMode;
  CGFloat alpha;
  CGInterpolationQuality interpolation;
  CGFloat fill[4]; /* premultiplication happens when drawing */
  bool antialias;
};

static inline GraphicsState GraphicsStateInitial() {
  GraphicsState s = {kCGBlendModeNormal, 1, kCGInterpolationDefault, {0, 0, 0, 1}, true};
  return s;
}

@interface CGContextObject : NSObject {
 @public
  cairo_surface_t* surface; /* the caller's memory itself, or a shadow of it */
  cairo_t* cr;
  bool shadowed; /* memory and surface differ: convert around every drawing */
  uint8_t* data;
  bool ownsData;
  CGBitmapContextReleaseDataCallback releaseCallback;
  void* releaseInfo;
  size_t width, height, bitsPerComponent, bitsPerPixel, bytesPerRow;
  CGColorSpaceRef space; /* retained; may be NULL for alpha-only */
  CGBitmapInfo bitmapInfo;
  PixelLayout layout;
  GraphicsState state;
  std::vector<GraphicsState>* savedStates;
}
@end

/* Copies the memory into the shadow surface (before drawing) or back (after), for the
   device-space pixel rectangle given; nothing to do for unshadowed contexts. */
void CGContextLoadShadow(CGContextObject* context, int x, int y, int w, int h);
void CGContextStoreShadow(CGContextObject* context, int x, int y, int w, int h);

/* Cairo keeps a context that met bad numbers in an error state for good: start it afresh
   (identity transform, no clip, as many saved levels as the state stack holds). */
void CGContextRecoverFromCairoError(CGContextObject* context);

/* Casts between the opaque references and their objects. */
template <typename Ref>
static inline id CGObject(Ref ref) {
  return (id)(void*)ref;
}
template <typename Ref>
static inline Ref CGRef(id object) {
  return (Ref)(void*)object;
}
static inline CGContextObject* CGContextGetObject(CGContextRef ref) {
  id object = CGObject(ref);
  return [object isKindOfClass:[CGContextObject class]] ? (CGContextObject*)object : nil;
}
static inline CGImageObject* CGImageGetObject(CGImageRef ref) {
  id object = CGObject(ref);
  return [object isKindOfClass:[CGImageObject class]] ? (CGImageObject*)object : nil;
}

#endif
