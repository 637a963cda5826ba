/* Colour spaces: device grey and device RGB (with the generic and sRGB names mapped onto
   them), the model and component count of each. Objects are retained with CFRetain or
   CGColorSpaceRetain and answer CGColorSpaceGetTypeID. */
#ifndef QVR_CGCOLORSPACE_H
#define QVR_CGCOLORSPACE_H

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGColorSpace* CGColorSpaceRef;

typedef int32_t CGColorSpaceModel;
enum {
  kCGColorSpaceModelUnknown = -1,
  kCGColorSpaceModelMonochrome = 0,
  kCGColorSpaceModelRGB = 1,
  kCGColorSpaceModelCMYK = 2,
  kCGColorSpaceModelLab = 3,
  kCGColorSpaceModelDeviceN = 4,
  kCGColorSpaceModelIndexed = 5,
  kCGColorSpaceModelPattern = 6,
};

typedef int32_t CGColorRenderingIntent;
enum {
  kCGRenderingIntentDefault = 0,
  kCGRenderingIntentAbsoluteColorimetric = 1,
  kCGRenderingIntentRelativeColorimetric = 2,
  kCGRenderingIntentPerceptual = 3,
  kCGRenderingIntentSaturation = 4,
};

/* Names accepted by CGColorSpaceCreateWithName. */
CG_EXTERN const CFStringRef kCGColorSpaceGenericGray;
CG_EXTERN const CFStringRef kCGColorSpaceGenericRGB;
CG_EXTERN const CFStringRef kCGColorSpaceSRGB;
CG_EXTERN const CFStringRef kCGColorSpaceGenericGrayGamma2_2;
CG_EXTERN const CFStringRef kCGColorSpaceLinearGray;

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void);
CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
/* NULL for a name this system does not know. */
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name);
CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
void CGColorSpaceRelease(CGColorSpaceRef space);
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
/* The name a space was made with (device spaces have none); NULL when there is none. */
CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space);
CFTypeID CGColorSpaceGetTypeID(void);

#ifdef __cplusplus
}
#endif

#endif
