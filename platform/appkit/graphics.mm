/* AppKit drawing functions and constants: compositing operations as Core Graphics blend
   modes, rectangle fills and clips in the current graphics context, colour space names. */
#import <AppKit/AppKit.h>

NSString* const NSCalibratedWhiteColorSpace = @"NSCalibratedWhiteColorSpace";
NSString* const NSCalibratedBlackColorSpace = @"NSCalibratedBlackColorSpace";
NSString* const NSCalibratedRGBColorSpace = @"NSCalibratedRGBColorSpace";
NSString* const NSDeviceWhiteColorSpace = @"NSDeviceWhiteColorSpace";
NSString* const NSDeviceBlackColorSpace = @"NSDeviceBlackColorSpace";
NSString* const NSDeviceRGBColorSpace = @"NSDeviceRGBColorSpace";
NSString* const NSDeviceCMYKColorSpace = @"NSDeviceCMYKColorSpace";
NSString* const NSNamedColorSpace = @"NSNamedColorSpace";
NSString* const NSPatternColorSpace = @"NSPatternColorSpace";
NSString* const NSCustomColorSpace = @"NSCustomColorSpace";

const CGFloat NSWhite = 1;
const CGFloat NSLightGray = 2.0 / 3.0;
const CGFloat NSDarkGray = 1.0 / 3.0;
const CGFloat NSBlack = 0;

CGBlendMode NSCompositingOperationToCGBlendMode(NSCompositingOperation op) {
  static const CGBlendMode modes[] = {
      kCGBlendModeClear,           kCGBlendModeCopy,          kCGBlendModeNormal,
      kCGBlendModeSourceIn,        kCGBlendModeSourceOut,     kCGBlendModeSourceAtop,
      kCGBlendModeDestinationOver, kCGBlendModeDestinationIn, kCGBlendModeDestinationOut,
      kCGBlendModeDestinationAtop, kCGBlendModeXOR,           kCGBlendModePlusDarker,
      kCGBlendModeNormal /* highlight */,
      kCGBlendModePlusLighter,     kCGBlendModeMultiply,      kCGBlendModeScreen,
      kCGBlendModeOverlay,         kCGBlendModeDarken,        kCGBlendModeLighten,
      kCGBlendModeColorDodge,      kCGBlendModeColorBurn,     kCGBlendModeSoftLight,
      kCGBlendModeHardLight,       kCGBlendModeDifference,    kCGBlendModeExclusion,
      kCGBlendModeHue,             kCGBlendModeSaturation,    kCGBlendModeColor,
      kCGBlendModeLuminosity,
  };
  return op < sizeof modes / sizeof modes[0] ? modes[op] : kCGBlendModeNormal;
}

static CGContextRef CurrentPort(void) {
  return (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
}

void NSRectFillListUsingOperation(const NSRect* rects, NSInteger count, NSCompositingOperation op) {
  CGContextRef port = CurrentPort();
  if (!port || !rects) return;
  CGContextSaveGState(port);
  CGContextSetBlendMode(port, NSCompositingOperationToCGBlendMode(op));
  for (NSInteger i = 0; i < count; i++) CGContextFillRect(port, NSRectToCGRect(rects[i]));
  CGContextRestoreGState(port);
}

void NSRectFillUsingOperation(NSRect rect, NSCompositingOperation op) {
  NSRectFillListUsingOperation(&rect, 1, op);
}

void NSRectFill(NSRect rect) { NSRectFillUsingOperation(rect, NSCompositeCopy); }

void NSRectFillList(const NSRect* rects, NSInteger count) {
  NSRectFillListUsingOperation(rects, count, NSCompositeCopy);
}

void NSEraseRect(NSRect rect) {
  CGContextRef port = CurrentPort();
  if (!port) return;
  CGContextSaveGState(port);
  CGContextSetRGBFillColor(port, 1, 1, 1, 1);
  CGContextSetBlendMode(port, kCGBlendModeCopy);
  CGContextFillRect(port, NSRectToCGRect(rect));
  CGContextRestoreGState(port);
}

void NSRectClip(NSRect rect) {
  CGContextRef port = CurrentPort();
  if (port) CGContextClipToRect(port, NSRectToCGRect(rect));
}
