/* Core Graphics geometry: points, sizes and rectangles in CGFloat, laid out exactly as
   Foundation's NSPoint, NSSize and NSRect, with the usual makers and queries. Plain C,
   usable from C++ and Objective-C. */
#ifndef QVR_CGGEOMETRY_H
#define QVR_CGGEOMETRY_H

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

struct CGPoint {
  CGFloat x;
  CGFloat y;
};
typedef struct CGPoint CGPoint;

struct CGSize {
  CGFloat width;
  CGFloat height;
};
typedef struct CGSize CGSize;

struct CGRect {
  CGPoint origin;
  CGSize size;
};
typedef struct CGRect CGRect;

/* An affine transform: x' = a x + c y + tx, y' = b x + d y + ty. */
struct CGAffineTransform {
  CGFloat a, b, c, d;
  CGFloat tx, ty;
};
typedef struct CGAffineTransform CGAffineTransform;

CG_EXTERN const CGPoint CGPointZero;
CG_EXTERN const CGSize CGSizeZero;
CG_EXTERN const CGRect CGRectZero;
CG_EXTERN const CGRect CGRectNull;
CG_EXTERN const CGAffineTransform CGAffineTransformIdentity;

static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
  CGPoint p;
  p.x = x;
  p.y = y;
  return p;
}

static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
  CGSize s;
  s.width = width;
  s.height = height;
  return s;
}

static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  CGRect r;
  r.origin.x = x;
  r.origin.y = y;
  r.size.width = width;
  r.size.height = height;
  return r;
}

/* Queries work on the standardised rectangle (negative sizes flipped to positive). */
CGRect CGRectStandardize(CGRect rect);
CGFloat CGRectGetMinX(CGRect rect);
CGFloat CGRectGetMidX(CGRect rect);
CGFloat CGRectGetMaxX(CGRect rect);
CGFloat CGRectGetMinY(CGRect rect);
CGFloat CGRectGetMidY(CGRect rect);
CGFloat CGRectGetMaxY(CGRect rect);
CGFloat CGRectGetWidth(CGRect rect);
CGFloat CGRectGetHeight(CGRect rect);
bool CGRectIsNull(CGRect rect);
bool CGRectIsEmpty(CGRect rect);
bool CGRectIsInfinite(CGRect rect);
bool CGRectEqualToRect(CGRect a, CGRect b);
bool CGSizeEqualToSize(CGSize a, CGSize b);
bool CGPointEqualToPoint(CGPoint a, CGPoint b);
bool CGRectContainsPoint(CGRect rect, CGPoint point);
bool CGRectContainsRect(CGRect outer, CGRect inner);
bool CGRectIntersectsRect(CGRect a, CGRect b);
CGRect CGRectIntersection(CGRect a, CGRect b);
CGRect CGRectUnion(CGRect a, CGRect b);
CGRect CGRectIntegral(CGRect rect);
CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy);
CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy);

CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d, CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformMakeTranslation(CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformMakeScale(CGFloat sx, CGFloat sy);
CGAffineTransform CGAffineTransformTranslate(CGAffineTransform t, CGFloat tx, CGFloat ty);
CGAffineTransform CGAffineTransformScale(CGAffineTransform t, CGFloat sx, CGFloat sy);
CGAffineTransform CGAffineTransformConcat(CGAffineTransform t1, CGAffineTransform t2);
CGAffineTransform CGAffineTransformInvert(CGAffineTransform t);
bool CGAffineTransformIsIdentity(CGAffineTransform t);
CGPoint CGPointApplyAffineTransform(CGPoint point, CGAffineTransform t);
CGSize CGSizeApplyAffineTransform(CGSize size, CGAffineTransform t);
CGRect CGRectApplyAffineTransform(CGRect rect, CGAffineTransform t);

#ifdef __cplusplus
}
#endif

#endif
