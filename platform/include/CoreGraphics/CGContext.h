/* Drawing contexts: a current transformation matrix (user space has its origin at the
   bottom left, y up), a clip, a fill colour, a global alpha, a blend mode and an image
   interpolation quality, saved and restored as one graphics state. Images and rectangles
   are drawn with the blend mode, and with the global alpha applied to the source first. */
#ifndef QVR_CGCONTEXT_H
#define QVR_CGCONTEXT_H

#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGImage.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGContext* CGContextRef;

/* The Porter-Duff and separable blend modes. */
typedef int32_t CGBlendMode;
enum {
  kCGBlendModeNormal = 0,
  kCGBlendModeMultiply,
  kCGBlendModeScreen,
  kCGBlendModeOverlay,
  kCGBlendModeDarken,
  kCGBlendModeLighten,
  kCGBlendModeColorDodge,
  kCGBlendModeColorBurn,
  kCGBlendModeSoftLight,
  kCGBlendModeHardLight,
  kCGBlendModeDifference,
  kCGBlendModeExclusion,
  kCGBlendModeHue,
  kCGBlendModeSaturation,
  kCGBlendModeColor,
  kCGBlendModeLuminosity,
  kCGBlendModeClear,           /* R = 0 */
  kCGBlendModeCopy,            /* R = S */
  kCGBlendModeSourceIn,        /* R = S*Da */
  kCGBlendModeSourceOut,       /* R = S*(1 - Da) */
  kCGBlendModeSourceAtop,      /* R = S*Da + D*(1 - Sa) */
  kCGBlendModeDestinationOver, /* R = S*(1 - Da) + D */
  kCGBlendModeDestinationIn,   /* R = D*Sa */
  kCGBlendModeDestinationOut,  /* R = D*(1 - Sa) */
  kCGBlendModeDestinationAtop, /* R = S*(1 - Da) + D*Sa */
  kCGBlendModeXOR,             /* R = S*(1 - Da) + D*(1 - Sa) */
  kCGBlendModePlusDarker,      /* R = MAX(0, 1 - ((1 - D) + (1 - S))) */
  kCGBlendModePlusLighter,     /* R = MIN(1, S + D) */
};

/* Resampling of drawn images: None is nearest neighbour, Low bilinear, Medium and Default
   a box filter when shrinking, High the best filter (proper averaging when shrinking). */
typedef int32_t CGInterpolationQuality;
enum {
  kCGInterpolationDefault = 0,
  kCGInterpolationNone = 1,
  kCGInterpolationLow = 2,
  kCGInterpolationHigh = 3,
  kCGInterpolationMedium = 4,
};

CGContextRef CGContextRetain(CGContextRef context);
void CGContextRelease(CGContextRef context);
CFTypeID CGContextGetTypeID(void);

/* Makes the context's memory hold every drawing done so far. */
void CGContextFlush(CGContextRef context);
void CGContextSynchronize(CGContextRef context);

/* The graphics state. */
void CGContextSaveGState(CGContextRef context);
void CGContextRestoreGState(CGContextRef context);
void CGContextTranslateCTM(CGContextRef context, CGFloat tx, CGFloat ty);
void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy);
void CGContextRotateCTM(CGContextRef context, CGFloat angle);
void CGContextConcatCTM(CGContextRef context, CGAffineTransform transform);
CGAffineTransform CGContextGetCTM(CGContextRef context);
void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode);
CGBlendMode CGContextGetBlendMode(CGContextRef context);
void CGContextSetAlpha(CGContextRef context, CGFloat alpha);
CGFloat CGContextGetAlpha(CGContextRef context);
void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality);
CGInterpolationQuality CGContextGetInterpolationQuality(CGContextRef context);
void CGContextSetShouldAntialias(CGContextRef context, bool shouldAntialias);
void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha);
void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha);
void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color);

/* Stroking. */
typedef enum CGLineCap { kCGLineCapButt, kCGLineCapRound, kCGLineCapSquare } CGLineCap;
typedef enum CGLineJoin { kCGLineJoinMiter, kCGLineJoinRound, kCGLineJoinBevel } CGLineJoin;
void CGContextSetLineWidth(CGContextRef context, CGFloat width);
void CGContextSetLineCap(CGContextRef context, CGLineCap cap);
void CGContextSetLineJoin(CGContextRef context, CGLineJoin join);
void CGContextSetMiterLimit(CGContextRef context, CGFloat limit);
void CGContextSetRGBStrokeColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha);
void CGContextSetGrayStrokeColor(CGContextRef context, CGFloat gray, CGFloat alpha);

/* The current path (in device space: points are transformed by the CTM when added; not
   part of the graphics state). Filling or stroking it empties it. */
void CGContextBeginPath(CGContextRef context);
void CGContextMoveToPoint(CGContextRef context, CGFloat x, CGFloat y);
void CGContextAddLineToPoint(CGContextRef context, CGFloat x, CGFloat y);
void CGContextAddCurveToPoint(CGContextRef context, CGFloat cp1x, CGFloat cp1y, CGFloat cp2x, CGFloat cp2y, CGFloat x,
                              CGFloat y);
void CGContextAddRect(CGContextRef context, CGRect rect);
void CGContextAddEllipseInRect(CGContextRef context, CGRect rect);
void CGContextClosePath(CGContextRef context);
bool CGContextIsPathEmpty(CGContextRef context);
void CGContextFillPath(CGContextRef context);
void CGContextEOFillPath(CGContextRef context);
void CGContextStrokePath(CGContextRef context);
void CGContextFillEllipseInRect(CGContextRef context, CGRect rect);
void CGContextStrokeEllipseInRect(CGContextRef context, CGRect rect);
void CGContextStrokeRect(CGContextRef context, CGRect rect);
void CGContextStrokeRectWithWidth(CGContextRef context, CGRect rect, CGFloat width);
/* Strokes count / 2 separate segments, points[2i] to points[2i + 1]. */
void CGContextStrokeLineSegments(CGContextRef context, const CGPoint* points, size_t count);

/* Clipping (intersects the current clip). */
void CGContextClipToRect(CGContextRef context, CGRect rect);
void CGContextClipToRects(CGContextRef context, const CGRect* rects, size_t count);
CGRect CGContextGetClipBoundingBox(CGContextRef context);

/* Painting. */
void CGContextFillRect(CGContextRef context, CGRect rect);
void CGContextFillRects(CGContextRef context, const CGRect* rects, size_t count);
/* Sets the pixels of rect to transparent, whatever the blend mode. */
void CGContextClearRect(CGContextRef context, CGRect rect);
/* Draws image stretched over rect, its top row at the top of rect. */
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image);

#ifdef __cplusplus
}
#endif

#endif
