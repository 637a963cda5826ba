/* NSColor: grey and RGB colours with alpha, the named standard colours, component access,
   and -set / -setFill that make a colour the fill colour of the current graphics context. */
#ifndef QVR_APPKIT_NSCOLOR_H
#define QVR_APPKIT_NSCOLOR_H

#import <Foundation/Foundation.h>
#import <AppKit/NSGraphics.h>

@class NSColorSpace;

@interface NSColor : NSObject <NSCopying> {
 @private
  NSString* _colorSpaceName;
  CGFloat _components[4]; /* red, green, blue, alpha; grey colours keep white in all three */
  BOOL _isGray;
}

/* Standard colours (calibrated spaces; the same object at every call). */
+ (NSColor*)blackColor;
+ (NSColor*)darkGrayColor;
+ (NSColor*)lightGrayColor;
+ (NSColor*)whiteColor;
+ (NSColor*)grayColor;
+ (NSColor*)redColor;
+ (NSColor*)greenColor;
+ (NSColor*)blueColor;
+ (NSColor*)cyanColor;
+ (NSColor*)yellowColor;
+ (NSColor*)magentaColor;
+ (NSColor*)orangeColor;
+ (NSColor*)purpleColor;
+ (NSColor*)brownColor;
+ (NSColor*)clearColor;

/* Components outside 0 to 1 are clamped. */
+ (NSColor*)colorWithCalibratedRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (NSColor*)colorWithDeviceRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (NSColor*)colorWithSRGBRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (NSColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;
+ (NSColor*)colorWithCalibratedWhite:(CGFloat)white alpha:(CGFloat)alpha;
+ (NSColor*)colorWithDeviceWhite:(CGFloat)white alpha:(CGFloat)alpha;
+ (NSColor*)colorWithGenericGamma22White:(CGFloat)white alpha:(CGFloat)alpha;
+ (NSColor*)colorWithWhite:(CGFloat)white alpha:(CGFloat)alpha;
/* nil for a colour that is neither grey nor RGB. */
+ (NSColor*)colorWithCGColor:(CGColorRef)cgColor;

- (NSString*)colorSpaceName;
- (NSColorSpace*)colorSpace;
- (NSInteger)numberOfComponents;
- (void)getComponents:(CGFloat*)components;

/* RGB components of an RGB colour, white of a grey one (AppKit raises for the other
   kind; these answer the converted value). */
- (CGFloat)redComponent;
- (CGFloat)greenComponent;
- (CGFloat)blueComponent;
- (CGFloat)whiteComponent;
- (CGFloat)alphaComponent;
- (void)getRed:(CGFloat*)red green:(CGFloat*)green blue:(CGFloat*)blue alpha:(CGFloat*)alpha;
- (void)getWhite:(CGFloat*)white alpha:(CGFloat*)alpha;

/* nil for a colour space name other than the white and RGB ones. */
- (NSColor*)colorUsingColorSpaceName:(NSString*)colorSpaceName;
- (NSColor*)colorUsingColorSpace:(NSColorSpace*)space;
- (NSColor*)colorWithAlphaComponent:(CGFloat)alpha;
/* A new CGColor, owned by the colour (valid while it lives). */
- (CGColorRef)CGColor;

/* Make this the fill colour of the current graphics context (nothing here strokes, so
   -setStroke has no colour to change). */
- (void)set;
- (void)setFill;
- (void)setStroke;

@end

#endif
