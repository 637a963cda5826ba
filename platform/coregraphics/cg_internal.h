/* What the Core Graphics files share and nobody else sees: the Objective-C classes behind
   the opaque references, the pixel layouts of images and bitmap contexts with their
   conversions to and from pixman's premultiplied native ARGB32, the graphics state with its
   transform and clip, and the type identifiers. */
#ifndef QVR_CG_INTERNAL_H
#define QVR_CG_INTERNAL_H

#import <Foundation/Foundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <pixman.h>
#include "coregraphics/path_rasterizer.h"
#include "coregraphics/path_stroker.h"
#include "coregraphics/live_objects.h"
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

/* Row conversions between a layout and native premultiplied ARGB32 (PIXMAN_a8r8g8b8). */
void PixelRowToARGB(const PixelLayout& layout, const uint8_t* src, uint32_t* dst, size_t width);
void PixelRowFromARGB(const PixelLayout& layout, const uint32_t* src, uint8_t* dst, size_t width);

/* The pixman format whose memory equals the layout exactly (B,G,R,A or R,G,B,A bytes
   premultiplied, either with the alpha byte skipped, or 8-bit alpha), or 0. */
pixman_format_code_t PixelLayoutPixmanFormat(const PixelLayout& layout);
/* The same for images read in place as drawing sources, which also takes packed R,G,B. */
pixman_format_code_t PixelLayoutPixmanSourceFormat(const PixelLayout& layout);

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
  pixman_image_t* surface; /* decoded form, made on first draw */
}
@end

/* The decoded form of an image: premultiplied ARGB32 (or native RGB with a skipped byte
   when the memory is that already), or 8-bit coverage for image masks (255 paints) and
   alpha-only images. Owned by the image and never written; drawing takes its own view
   of it (pixman images carry their transform and filter). NULL when it cannot be decoded. */
pixman_image_t* CGImageGetPixmanImage(CGImageRef image);
/* A new image of premultiplied RGBA bytes (PremultipliedLast, default byte order) holding
   the pixels of an ARGB32 pixman image; NULL on failure. */
CGImageRef CGImageCreateFromARGBImage(pixman_image_t* pixels, CGColorSpaceRef space);

/* A source for drawing the decoded pixels through: toImage maps destination pixel
   coordinates (the centre of pixel (x, y) at x + 0.5, y + 0.5) to image pixels, edges
   repeat outward, and the filter follows the quality and how much the image shrinks.
   High quality shrinks in two steps when it shrinks a lot (reduce controls that). A new
   pixman reference the caller drops; NULL when the transform is beyond pixman's range. */
pixman_image_t* CreateImageSampler(pixman_image_t* pixels, CGAffineTransform toImage, CGInterpolationQuality quality,
                                   bool reduce);

struct DeviceBox;
@class CGContextObject;
/* Draws the image's pixels one for one into the box of the context's memory, image pixel
   (0, 0) at device pixel (dx, dy), converting each row from the image's layout to the
   context's as compositing would (copy, or an opaque image laid over); false (nothing
   drawn) when the box reaches outside the image or the image's bytes are not at hand.
   gCGContextRowCopies off makes every drawing composite (tests compare the two). */
bool CGContextDrawImageRows(CGContextObject* c, CGImageObject* image, const DeviceBox& box, int dx, int dy);
extern bool gCGContextRowCopies;

/* The clip of a graphics state in device pixels (memory rows, y down): nothing outside
   the box is painted, and inside it the coverage (box-sized, one byte a pixel) scales
   what is, or the whole box is open when there is none. Shared between saved states,
   counted, and never changed once made. */
struct ClipMask {
  int references;
  int x0, y0, x1, y1;
  uint8_t* coverage;
};
ClipMask* ClipMaskRetain(ClipMask* clip);
void ClipMaskRelease(ClipMask* clip);

/* Coverage rows are padded to four bytes, as pixman wants of an 8-bit image. */
static inline int CoverageStride(int width) { return (width + 3) & ~3; }

/* A device pixel box: x0 <= x < x1, y0 <= y < y1. */
struct DeviceBox {
  int x0, y0, x1, y1;
  int width() const { return x1 - x0; }
  int height() const { return y1 - y0; }
  bool empty() const { return x1 <= x0 || y1 <= y0; }
};

/* The device polygon of a user-space rectangle. */
qvr::Polygon DeviceRectangle(const CGAffineTransform& ctm, CGRect rect);
/* The pixels that filling the polygons can touch inside a width x height context and
   the clip (NULL: none); empty when nothing can change. */
DeviceBox PaintedBox(const std::vector<qvr::Polygon>& polygons, const ClipMask* clip, size_t width, size_t height);
/* The coverage of the polygons, cut by the clip, over box, as bytes of CoverageStride rows
   (free them with free()); NULL when every pixel of the box is fully covered, or when there
   was no memory for them (then *failed is set, where given). */
/* Paints the colour (unpremultiplied RGBA) through the shape, device-space polygons filled
   by rule, with the context's blend mode, alpha and clip. */
void PaintShape(CGContextObject* c, const std::vector<qvr::Polygon>& shape, qvr::FillRule rule, const CGFloat* rgba);
uint8_t* CoverageInBox(const std::vector<qvr::Polygon>& polygons, const CGAffineTransform& ctm, bool antialias,
                       const ClipMask* clip, const DeviceBox& box,
                       qvr::FillRule rule = qvr::FillRule::kNonZero, bool* failed = nullptr);

/* The graphics state of a context: blend mode, alpha, interpolation, fill colour and
   antialiasing, the transform from user space to device pixels (y down) and the clip
   (NULL: the whole context). */
struct GraphicsState {
  CGBlendMode blendMode;
  CGFloat alpha;
  CGInterpolationQuality interpolation;
  CGFloat fill[4]; /* premultiplication happens when drawing */
  bool antialias;
  CGAffineTransform ctm;
  ClipMask* clip;
  CGFloat stroke[4];
  CGFloat lineWidth; /* in user space */
  qvr::LineCap lineCap;
  qvr::LineJoin lineJoin;
  CGFloat miterLimit;
};

/* Core Graphics' default user space: origin at the bottom left, y up. */
static inline GraphicsState GraphicsStateInitial(size_t height) {
  GraphicsState s = {kCGBlendModeNormal, 1, kCGInterpolationDefault, {0, 0, 0, 1}, true,
                     CGAffineTransformMake(1, 0, 0, -1, 0, (CGFloat)height), NULL, {0, 0, 0, 1},
                     1, qvr::LineCap::kButt, qvr::LineJoin::kMiter, 10};
  return s;
}

@interface CGContextObject : NSObject {
 @public
  pixman_image_t* surface; /* the caller's memory itself, or a shadow of it */
  bool shadowed;           /* memory and surface differ: convert around every drawing */
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
  qvr::FlatPath* path; /* the current path, in device space */
}
@end

/* Copies the memory into the shadow surface (before drawing) or back (after), for the
   device-space pixel rectangle given; nothing to do for unshadowed contexts. */
void CGContextLoadShadow(CGContextObject* context, int x, int y, int w, int h);
void CGContextStoreShadow(CGContextObject* context, int x, int y, int w, int h);

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
  if (!CGLiveObjectIsLive(ref)) return nil;
  id object = CGObject(ref);
  return [object isKindOfClass:[CGContextObject class]] ? (CGContextObject*)object : nil;
}
static inline CGImageObject* CGImageGetObject(CGImageRef ref) {
  if (!CGLiveObjectIsLive(ref)) return nil;
  id object = CGObject(ref);
  return [object isKindOfClass:[CGImageObject class]] ? (CGImageObject*)object : nil;
}

#endif
