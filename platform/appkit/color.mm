/* NSColor: grey and RGB colours with alpha, the standard named colours, conversion
   between the white and RGB spaces, and setting the current context's fill colour. */
#import <AppKit/AppKit.h>

#include <math.h>

static CGFloat Unit(CGFloat v) { return isnan(v) ? 0 : v < 0 ? 0 : v > 1 ? 1 : v; }

@implementation NSColor

- (id)initWithSpaceName:(NSString*)name red:(CGFloat)r green:(CGFloat)g blue:(CGFloat)b alpha:(CGFloat)a grey:(BOOL)grey {
  if ((self = [super init])) {
    _colorSpaceName = [name copy];
    _components[0] = Unit(r);
    _components[1] = Unit(g);
    _components[2] = Unit(b);
    _components[3] = Unit(a);
    _isGray = grey;
  }
  return self;
}

- (void)dealloc {
  [_colorSpaceName release];
  [super dealloc];
}

static NSColor* RGB(NSString* space, CGFloat r, CGFloat g, CGFloat b, CGFloat a) {
  return [[[NSColor alloc] initWithSpaceName:space red:r green:g blue:b alpha:a grey:NO] autorelease];
}

static NSColor* White(NSString* space, CGFloat w, CGFloat a) {
  return [[[NSColor alloc] initWithSpaceName:space red:w green:w blue:w alpha:a grey:YES] autorelease];
}

#define SHARED(expression)                                \
  static NSColor* shared = [(expression) retain]; \
  return shared

+ (NSColor*)blackColor { SHARED(White(NSCalibratedWhiteColorSpace, 0, 1)); }
+ (NSColor*)darkGrayColor { SHARED(White(NSCalibratedWhiteColorSpace, 1.0 / 3.0, 1)); }
+ (NSColor*)lightGrayColor { SHARED(White(NSCalibratedWhiteColorSpace, 2.0 / 3.0, 1)); }
+ (NSColor*)whiteColor { SHARED(White(NSCalibratedWhiteColorSpace, 1, 1)); }
+ (NSColor*)grayColor { SHARED(White(NSCalibratedWhiteColorSpace, 0.5, 1)); }
+ (NSColor*)clearColor { SHARED(White(NSCalibratedWhiteColorSpace, 0, 0)); }
+ (NSColor*)redColor { SHARED(RGB(NSCalibratedRGBColorSpace, 1, 0, 0, 1)); }
+ (NSColor*)greenColor { SHARED(RGB(NSCalibratedRGBColorSpace, 0, 1, 0, 1)); }
+ (NSColor*)blueColor { SHARED(RGB(NSCalibratedRGBColorSpace, 0, 0, 1, 1)); }
+ (NSColor*)cyanColor { SHARED(RGB(NSCalibratedRGBColorSpace, 0, 1, 1, 1)); }
+ (NSColor*)yellowColor { SHARED(RGB(NSCalibratedRGBColorSpace, 1, 1, 0, 1)); }
+ (NSColor*)magentaColor { SHARED(RGB(NSCalibratedRGBColorSpace, 1, 0, 1, 1)); }
+ (NSColor*)orangeColor { SHARED(RGB(NSCalibratedRGBColorSpace, 1, 0.5, 0, 1)); }
+ (NSColor*)purpleColor { SHARED(RGB(NSCalibratedRGBColorSpace, 0.5, 0, 0.5, 1)); }
+ (NSColor*)brownColor { SHARED(RGB(NSCalibratedRGBColorSpace, 0.6, 0.4, 0.2, 1)); }

+ (NSColor*)colorWithCalibratedRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
  return RGB(NSCalibratedRGBColorSpace, red, green, blue, alpha);
}
+ (NSColor*)colorWithDeviceRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
  return RGB(NSDeviceRGBColorSpace, red, green, blue, alpha);
}
+ (NSColor*)colorWithSRGBRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
  return RGB(NSCustomColorSpace, red, green, blue, alpha);
}
+ (NSColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha {
  return RGB(NSCustomColorSpace, red, green, blue, alpha);
}
+ (NSColor*)colorWithCalibratedWhite:(CGFloat)white alpha:(CGFloat)alpha {
  return White(NSCalibratedWhiteColorSpace, white, alpha);
}
+ (NSColor*)colorWithDeviceWhite:(CGFloat)white alpha:(CGFloat)alpha {
  return White(NSDeviceWhiteColorSpace, white, alpha);
}
+ (NSColor*)colorWithGenericGamma22White:(CGFloat)white alpha:(CGFloat)alpha {
  return White(NSCustomColorSpace, white, alpha);
}
+ (NSColor*)colorWithWhite:(CGFloat)white alpha:(CGFloat)alpha {
  return White(NSCustomColorSpace, white, alpha);
}

+ (NSColor*)colorWithCGColor:(CGColorRef)cgColor {
  size_t n = CGColorGetNumberOfComponents(cgColor);
  const CGFloat* c = CGColorGetComponents(cgColor);
  if (n == 2) return White(NSCustomColorSpace, c[0], c[1]);
  if (n == 4) return RGB(NSCustomColorSpace, c[0], c[1], c[2], c[3]);
  return nil;
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)other {
  if (other == self) return YES;
  if (![other isKindOfClass:[NSColor class]]) return NO;
  NSColor* color = other;
  return _isGray == color->_isGray && [_colorSpaceName isEqual:color->_colorSpaceName] &&
         _components[0] == color->_components[0] && _components[1] == color->_components[1] &&
         _components[2] == color->_components[2] && _components[3] == color->_components[3];
}

- (NSUInteger)hash {
  return (NSUInteger)(_components[0] * 255) << 24 ^ (NSUInteger)(_components[1] * 255) << 16 ^
         (NSUInteger)(_components[2] * 255) << 8 ^ (NSUInteger)(_components[3] * 255);
}

- (NSString*)description {
  if (_isGray) return [NSString stringWithFormat:@"%@ %g %g", _colorSpaceName, _components[0], _components[3]];
  return [NSString stringWithFormat:@"%@ %g %g %g %g", _colorSpaceName, _components[0], _components[1],
                                    _components[2], _components[3]];
}

- (NSString*)colorSpaceName {
  return _colorSpaceName;
}

- (NSColorSpace*)colorSpace {
  BOOL device = [_colorSpaceName isEqual:NSDeviceRGBColorSpace] || [_colorSpaceName isEqual:NSDeviceWhiteColorSpace];
  if (_isGray) return device ? [NSColorSpace deviceGrayColorSpace] : [NSColorSpace genericGrayColorSpace];
  return device ? [NSColorSpace deviceRGBColorSpace] : [NSColorSpace genericRGBColorSpace];
}

- (NSInteger)numberOfComponents {
  return _isGray ? 2 : 4;
}

- (void)getComponents:(CGFloat*)components {
  if (!components) return;
  if (_isGray) {
    components[0] = _components[0];
    components[1] = _components[3];
  } else {
    for (int i = 0; i < 4; i++) components[i] = _components[i];
  }
}

- (CGFloat)redComponent {
  return _components[0];
}
- (CGFloat)greenComponent {
  return _components[1];
}
- (CGFloat)blueComponent {
  return _components[2];
}
- (CGFloat)alphaComponent {
  return _components[3];
}
- (CGFloat)whiteComponent {
  if (_isGray) return _components[0];
  return 0.299 * _components[0] + 0.587 * _components[1] + 0.114 * _components[2];
}

- (void)getRed:(CGFloat*)red green:(CGFloat*)green blue:(CGFloat*)blue alpha:(CGFloat*)alpha {
  if (red) *red = _components[0];
  if (green) *green = _components[1];
  if (blue) *blue = _components[2];
  if (alpha) *alpha = _components[3];
}

- (void)getWhite:(CGFloat*)white alpha:(CGFloat*)alpha {
  if (white) *white = [self whiteComponent];
  if (alpha) *alpha = _components[3];
}

- (NSColor*)colorUsingColorSpaceName:(NSString*)name {
  if (!name || [name isEqual:_colorSpaceName]) return self;
  if ([name isEqual:NSCalibratedRGBColorSpace] || [name isEqual:NSDeviceRGBColorSpace])
    return RGB(name, _components[0], _components[1], _components[2], _components[3]);
  if ([name isEqual:NSCalibratedWhiteColorSpace] || [name isEqual:NSDeviceWhiteColorSpace])
    return White(name, [self whiteComponent], _components[3]);
  return nil;
}

- (NSColor*)colorUsingColorSpace:(NSColorSpace*)space {
  switch ([space colorSpaceModel]) {
    case NSRGBColorSpaceModel:
      return RGB(NSCustomColorSpace, _components[0], _components[1], _components[2], _components[3]);
    case NSGrayColorSpaceModel: return White(NSCustomColorSpace, [self whiteComponent], _components[3]);
    default: return nil;
  }
}

- (NSColor*)colorWithAlphaComponent:(CGFloat)alpha {
  return [[[NSColor alloc] initWithSpaceName:_colorSpaceName
                                         red:_components[0]
                                       green:_components[1]
                                        blue:_components[2]
                                       alpha:alpha
                                        grey:_isGray] autorelease];
}

- (CGColorRef)CGColor {
  CGColorRef color = _isGray ? CGColorCreateGenericGray(_components[0], _components[3])
                             : CGColorCreateGenericRGB(_components[0], _components[1], _components[2], _components[3]);
  /* Owned by the autorelease pool, as AppKit's answer is owned by the colour. */
  return (CGColorRef)[(id)(void*)color autorelease];
}

- (void)set {
  [self setFill];
}

- (void)setFill {
  CGContextRef port = (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
  if (port) CGContextSetRGBFillColor(port, _components[0], _components[1], _components[2], _components[3]);
}

- (void)setStroke {
  /* Nothing here strokes paths; the stroke colour has no user. */
}

@end
