/* NSColorSpace: the shared grey and RGB colour spaces over their Core Graphics spaces. */
#import <AppKit/AppKit.h>

@implementation NSColorSpace

static NSColorSpace* SharedSpace(CGColorSpaceRef cg, NSString* name) {
  NSColorSpace* space = [[NSColorSpace alloc] initWithCGColorSpace:cg];
  space->_name = [name copy];
  CGColorSpaceRelease(cg);
  return space;
}

+ (NSColorSpace*)deviceRGBColorSpace {
  static NSColorSpace* shared = SharedSpace(CGColorSpaceCreateDeviceRGB(), @"Device RGB");
  return shared;
}
+ (NSColorSpace*)genericRGBColorSpace {
  static NSColorSpace* shared = SharedSpace(CGColorSpaceCreateWithName(kCGColorSpaceGenericRGB), @"Generic RGB");
  return shared;
}
+ (NSColorSpace*)sRGBColorSpace {
  static NSColorSpace* shared = SharedSpace(CGColorSpaceCreateWithName(kCGColorSpaceSRGB), @"sRGB");
  return shared;
}
+ (NSColorSpace*)deviceGrayColorSpace {
  static NSColorSpace* shared = SharedSpace(CGColorSpaceCreateDeviceGray(), @"Device Gray");
  return shared;
}
+ (NSColorSpace*)genericGrayColorSpace {
  static NSColorSpace* shared = SharedSpace(CGColorSpaceCreateWithName(kCGColorSpaceGenericGray), @"Generic Gray");
  return shared;
}

- (id)initWithCGColorSpace:(CGColorSpaceRef)cgColorSpace {
  CGColorSpaceModel model = CGColorSpaceGetModel(cgColorSpace);
  if (model != kCGColorSpaceModelRGB && model != kCGColorSpaceModelMonochrome) {
    [self release];
    return nil;
  }
  if ((self = [super init])) _cgColorSpace = CGColorSpaceRetain(cgColorSpace);
  return self;
}

- (void)dealloc {
  CGColorSpaceRelease(_cgColorSpace);
  [_name release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)other {
  if (other == self) return YES;
  if (![other isKindOfClass:[NSColorSpace class]]) return NO;
  NSColorSpace* space = other;
  return CGColorSpaceGetModel(_cgColorSpace) == CGColorSpaceGetModel(space->_cgColorSpace) &&
         ((!_name && !space->_name) || [_name isEqual:space->_name]);
}

- (NSUInteger)hash {
  return (NSUInteger)CGColorSpaceGetModel(_cgColorSpace) ^ [_name hash];
}

- (CGColorSpaceRef)CGColorSpace {
  return _cgColorSpace;
}

- (NSColorSpaceModel)colorSpaceModel {
  return CGColorSpaceGetModel(_cgColorSpace) == kCGColorSpaceModelRGB ? NSRGBColorSpaceModel : NSGrayColorSpaceModel;
}

- (NSInteger)numberOfColorComponents {
  return (NSInteger)CGColorSpaceGetNumberOfComponents(_cgColorSpace);
}

- (NSString*)localizedName {
  if (_name) return _name;
  return [self colorSpaceModel] == NSRGBColorSpaceModel ? @"RGB" : @"Gray";
}

- (NSString*)description {
  return [NSString stringWithFormat:@"<NSColorSpace %p> %@", (void*)self, [self localizedName]];
}

@end
