/* NSColorSpace: the grey and RGB colour spaces (device, generic, sRGB) and the Core
   Graphics colour space behind each. */
#ifndef QVR_APPKIT_NSCOLORSPACE_H
#define QVR_APPKIT_NSCOLORSPACE_H

#import <Foundation/Foundation.h>
#import <AppKit/NSGraphics.h>

typedef NSInteger NSColorSpaceModel;
enum {
  NSUnknownColorSpaceModel = -1,
  NSGrayColorSpaceModel = 0,
  NSRGBColorSpaceModel = 1,
  NSCMYKColorSpaceModel = 2,
  NSLABColorSpaceModel = 3,
  NSDeviceNColorSpaceModel = 4,
  NSIndexedColorSpaceModel = 5,
  NSPatternColorSpaceModel = 6,

  NSColorSpaceModelUnknown = NSUnknownColorSpaceModel,
  NSColorSpaceModelGray = NSGrayColorSpaceModel,
  NSColorSpaceModelRGB = NSRGBColorSpaceModel,
  NSColorSpaceModelCMYK = NSCMYKColorSpaceModel,
  NSColorSpaceModelLAB = NSLABColorSpaceModel,
  NSColorSpaceModelDeviceN = NSDeviceNColorSpaceModel,
  NSColorSpaceModelIndexed = NSIndexedColorSpaceModel,
  NSColorSpaceModelPatterned = NSPatternColorSpaceModel,
};

@interface NSColorSpace : NSObject <NSCopying> {
 @private
  CGColorSpaceRef _cgColorSpace;
  NSString* _name;
}

/* Shared instances; the same object at every call. */
+ (NSColorSpace*)deviceRGBColorSpace;
+ (NSColorSpace*)genericRGBColorSpace;
+ (NSColorSpace*)sRGBColorSpace;
+ (NSColorSpace*)deviceGrayColorSpace;
+ (NSColorSpace*)genericGrayColorSpace;

/* nil for a Core Graphics space of a model this system does not handle. */
- (id)initWithCGColorSpace:(CGColorSpaceRef)cgColorSpace;
- (CGColorSpaceRef)CGColorSpace;
- (NSColorSpaceModel)colorSpaceModel;
- (NSInteger)numberOfColorComponents;
- (NSString*)localizedName;

@end

#endif
