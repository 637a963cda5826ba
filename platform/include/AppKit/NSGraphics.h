/* AppKit drawing basics: compositing operations, colour space names, rendering intents,
   rectangle filling in the current graphics context, and the conversions between
   Foundation's and Core Graphics' geometry (the same layouts). */
#ifndef QVR_APPKIT_NSGRAPHICS_H
#define QVR_APPKIT_NSGRAPHICS_H

#import <Foundation/Foundation.h>
#include <CoreGraphics/CoreGraphics.h>

#ifndef APPKIT_EXTERN
#ifdef __cplusplus
#define APPKIT_EXTERN extern "C"
#else
#define APPKIT_EXTERN extern
#endif
#endif

/* Compositing operations. In a graphics context each maps onto the Core Graphics blend
   mode of the same meaning (Copy onto kCGBlendModeCopy, SourceOver onto Normal, ...);
   Highlight draws as SourceOver. Source and destination are premultiplied. */
typedef NSUInteger NSCompositingOperation;
enum {
  NSCompositeClear = 0,
  NSCompositeCopy = 1,
  NSCompositeSourceOver = 2,
  NSCompositeSourceIn = 3,
  NSCompositeSourceOut = 4,
  NSCompositeSourceAtop = 5,
  NSCompositeDestinationOver = 6,
  NSCompositeDestinationIn = 7,
  NSCompositeDestinationOut = 8,
  NSCompositeDestinationAtop = 9,
  NSCompositeXOR = 10,
  NSCompositePlusDarker = 11,
  NSCompositeHighlight = 12,
  NSCompositePlusLighter = 13,
  NSCompositeMultiply = 14,
  NSCompositeScreen = 15,
  NSCompositeOverlay = 16,
  NSCompositeDarken = 17,
  NSCompositeLighten = 18,
  NSCompositeColorDodge = 19,
  NSCompositeColorBurn = 20,
  NSCompositeSoftLight = 21,
  NSCompositeHardLight = 22,
  NSCompositeDifference = 23,
  NSCompositeExclusion = 24,
  NSCompositeHue = 25,
  NSCompositeSaturation = 26,
  NSCompositeColor = 27,
  NSCompositeLuminosity = 28,

  NSCompositingOperationClear = NSCompositeClear,
  NSCompositingOperationCopy = NSCompositeCopy,
  NSCompositingOperationSourceOver = NSCompositeSourceOver,
  NSCompositingOperationSourceIn = NSCompositeSourceIn,
  NSCompositingOperationSourceOut = NSCompositeSourceOut,
  NSCompositingOperationSourceAtop = NSCompositeSourceAtop,
  NSCompositingOperationDestinationOver = NSCompositeDestinationOver,
  NSCompositingOperationDestinationIn = NSCompositeDestinationIn,
  NSCompositingOperationDestinationOut = NSCompositeDestinationOut,
  NSCompositingOperationDestinationAtop = NSCompositeDestinationAtop,
  NSCompositingOperationXOR = NSCompositeXOR,
  NSCompositingOperationPlusDarker = NSCompositePlusDarker,
  NSCompositingOperationPlusLighter = NSCompositePlusLighter,
  NSCompositingOperationMultiply = NSCompositeMultiply,
  NSCompositingOperationScreen = NSCompositeScreen,
  NSCompositingOperationOverlay = NSCompositeOverlay,
  NSCompositingOperationDarken = NSCompositeDarken,
  NSCompositingOperationLighten = NSCompositeLighten,
  NSCompositingOperationColorDodge = NSCompositeColorDodge,
  NSCompositingOperationColorBurn = NSCompositeColorBurn,
  NSCompositingOperationSoftLight = NSCompositeSoftLight,
  NSCompositingOperationHardLight = NSCompositeHardLight,
  NSCompositingOperationDifference = NSCompositeDifference,
  NSCompositingOperationExclusion = NSCompositeExclusion,
  NSCompositingOperationHue = NSCompositeHue,
  NSCompositingOperationSaturation = NSCompositeSaturation,
  NSCompositingOperationColor = NSCompositeColor,
  NSCompositingOperationLuminosity = NSCompositeLuminosity,
};

/* The Core Graphics blend mode that draws a compositing operation (Normal for codes
   outside the table). */
APPKIT_EXTERN CGBlendMode NSCompositingOperationToCGBlendMode(NSCompositingOperation op);

typedef NSInteger NSColorRenderingIntent;
enum {
  NSColorRenderingIntentDefault = 0,
  NSColorRenderingIntentAbsoluteColorimetric = 1,
  NSColorRenderingIntentRelativeColorimetric = 2,
  NSColorRenderingIntentPerceptual = 3,
  NSColorRenderingIntentSaturation = 4,
};

/* Colour space names. */
APPKIT_EXTERN NSString* const NSCalibratedWhiteColorSpace;
APPKIT_EXTERN NSString* const NSCalibratedBlackColorSpace;
APPKIT_EXTERN NSString* const NSCalibratedRGBColorSpace;
APPKIT_EXTERN NSString* const NSDeviceWhiteColorSpace;
APPKIT_EXTERN NSString* const NSDeviceBlackColorSpace;
APPKIT_EXTERN NSString* const NSDeviceRGBColorSpace;
APPKIT_EXTERN NSString* const NSDeviceCMYKColorSpace;
APPKIT_EXTERN NSString* const NSNamedColorSpace;
APPKIT_EXTERN NSString* const NSPatternColorSpace;
APPKIT_EXTERN NSString* const NSCustomColorSpace;

/* Grey levels. */
APPKIT_EXTERN const CGFloat NSWhite;
APPKIT_EXTERN const CGFloat NSLightGray;
APPKIT_EXTERN const CGFloat NSDarkGray;
APPKIT_EXTERN const CGFloat NSBlack;

/* Filling in the current graphics context with the current fill colour (NSColor -set).
   NSRectFill composites with NSCompositeCopy, as AppKit's does; NSEraseRect fills with
   white. Without a current context they do nothing. */
APPKIT_EXTERN void NSRectFill(NSRect rect);
APPKIT_EXTERN void NSRectFillUsingOperation(NSRect rect, NSCompositingOperation op);
APPKIT_EXTERN void NSRectFillList(const NSRect* rects, NSInteger count);
APPKIT_EXTERN void NSRectFillListUsingOperation(const NSRect* rects, NSInteger count, NSCompositingOperation op);
APPKIT_EXTERN void NSEraseRect(NSRect rect);
APPKIT_EXTERN void NSRectClip(NSRect rect);

/* Foundation and Core Graphics geometry share their layout. */
static inline CGRect NSRectToCGRect(NSRect r) {
  return CGRectMake(r.origin.x, r.origin.y, r.size.width, r.size.height);
}
static inline NSRect NSRectFromCGRect(CGRect r) {
  return NSMakeRect(r.origin.x, r.origin.y, r.size.width, r.size.height);
}
static inline CGSize NSSizeToCGSize(NSSize s) {
  return CGSizeMake(s.width, s.height);
}
static inline NSSize NSSizeFromCGSize(CGSize s) {
  return NSMakeSize(s.width, s.height);
}
static inline CGPoint NSPointToCGPoint(NSPoint p) {
  return CGPointMake(p.x, p.y);
}
static inline NSPoint NSPointFromCGPoint(CGPoint p) {
  return NSMakePoint(p.x, p.y);
}

#endif
