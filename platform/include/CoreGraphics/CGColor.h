/* Colours as Core Graphics values: components in a colour space, alpha last. */
#ifndef QVR_CGCOLOR_H
#define QVR_CGCOLOR_H

#include <CoreGraphics/CGColorSpace.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGColor* CGColorRef;

/* components holds CGColorSpaceGetNumberOfComponents(space) + 1 values (alpha last). */
CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat* components);
CGColorRef CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha);
CGColorRef CGColorCreateGenericGray(CGFloat gray, CGFloat alpha);
CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha);
CGColorRef CGColorRetain(CGColorRef color);
void CGColorRelease(CGColorRef color);
bool CGColorEqualToColor(CGColorRef a, CGColorRef b);
size_t CGColorGetNumberOfComponents(CGColorRef color);
const CGFloat* CGColorGetComponents(CGColorRef color);
CGFloat CGColorGetAlpha(CGColorRef color);
CGColorSpaceRef CGColorGetColorSpace(CGColorRef color);
CFTypeID CGColorGetTypeID(void);

#ifdef __cplusplus
}
#endif

#endif
