/* Colour spaces: shared device grey and RGB objects, and the named generic and sRGB
   spaces, which draw as the device spaces do (no colour management here). */
#include "cg_internal.h"

const CFStringRef kCGColorSpaceGenericGray = (CFStringRef) @"kCGColorSpaceGenericGray";
const CFStringRef kCGColorSpaceGenericRGB = (CFStringRef) @"kCGColorSpaceGenericRGB";
const CFStringRef kCGColorSpaceSRGB = (CFStringRef) @"kCGColorSpaceSRGB";
const CFStringRef kCGColorSpaceGenericGrayGamma2_2 = (CFStringRef) @"kCGColorSpaceGenericGrayGamma2_2";
const CFStringRef kCGColorSpaceLinearGray = (CFStringRef) @"kCGColorSpaceLinearGray";

@implementation CGColorSpaceObject
- (CFTypeID)_cfTypeID {
  return kQVRTypeIDCGColorSpace;
}
- (void)dealloc {
  if (name) CFRelease(name);
  [super dealloc];
}
- (NSString*)description {
  return [NSString stringWithFormat:@"<CGColorSpace %p> (%s)", (void*)self,
                                    model == kCGColorSpaceModelRGB ? "RGB" : "grey"];
}
@end

static CGColorSpaceRef MakeSpace(CGColorSpaceModel model, CFStringRef name) {
  CGColorSpaceObject* space = [[CGColorSpaceObject alloc] init];
  space->model = model;
  space->name = name ? (CFStringRef)CFRetain(name) : NULL;
  return CGRef<CGColorSpaceRef>(space);
}

/* The device spaces are made once and handed out with a new reference each time. */
CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) {
  static CGColorSpaceRef shared = MakeSpace(kCGColorSpaceModelMonochrome, NULL);
  return CGColorSpaceRetain(shared);
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) {
  static CGColorSpaceRef shared = MakeSpace(kCGColorSpaceModelRGB, NULL);
  return CGColorSpaceRetain(shared);
}

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
  if (!name) return NULL;
  NSString* n = (NSString*)name;
  if ([n isEqualToString:(NSString*)kCGColorSpaceGenericRGB] || [n isEqualToString:(NSString*)kCGColorSpaceSRGB])
    return MakeSpace(kCGColorSpaceModelRGB, name);
  if ([n isEqualToString:(NSString*)kCGColorSpaceGenericGray] ||
      [n isEqualToString:(NSString*)kCGColorSpaceGenericGrayGamma2_2] ||
      [n isEqualToString:(NSString*)kCGColorSpaceLinearGray])
    return MakeSpace(kCGColorSpaceModelMonochrome, name);
  return NULL;
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
  [CGObject(space) retain];
  return space;
}

void CGColorSpaceRelease(CGColorSpaceRef space) { [CGObject(space) release]; }

static CGColorSpaceObject* SpaceObject(CGColorSpaceRef space) {
  id object = CGObject(space);
  return [object isKindOfClass:[CGColorSpaceObject class]] ? (CGColorSpaceObject*)object : nil;
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  CGColorSpaceObject* object = SpaceObject(space);
  return object ? object->model : kCGColorSpaceModelUnknown;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  switch (CGColorSpaceGetModel(space)) {
    case kCGColorSpaceModelMonochrome: return 1;
    case kCGColorSpaceModelRGB: return 3;
    default: return 0;
  }
}

CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space) {
  CGColorSpaceObject* object = SpaceObject(space);
  return object && object->name ? (CFStringRef)CFRetain(object->name) : NULL;
}
