/* CGColor: a colour space and its components with alpha last. */
#include "cg_internal.h"

@implementation CGColorObject
- (CFTypeID)_cfTypeID {
  return kQVRTypeIDCGColor;
}
- (void)dealloc {
  CGColorSpaceRelease(space);
  [super dealloc];
}
@end

static CGColorObject* ColorObject(CGColorRef color) {
  id object = CGObject(color);
  return [object isKindOfClass:[CGColorObject class]] ? (CGColorObject*)object : nil;
}

static CGFloat Clamp(CGFloat v) { return v < 0 ? 0 : v > 1 ? 1 : v; }

CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat* components) {
  size_t n = CGColorSpaceGetNumberOfComponents(space);
  if (n == 0 || !components) return NULL;
  CGColorObject* color = [[CGColorObject alloc] init];
  color->space = CGColorSpaceRetain(space);
  color->count = n + 1;
  for (size_t i = 0; i <= n; i++) color->components[i] = Clamp(components[i]);
  return CGRef<CGColorRef>(color);
}

CGColorRef CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGFloat c[4] = {red, green, blue, alpha};
  CGColorRef color = CGColorCreate(space, c);
  CGColorSpaceRelease(space);
  return color;
}

CGColorRef CGColorCreateGenericGray(CGFloat gray, CGFloat alpha) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceGray();
  CGFloat c[2] = {gray, alpha};
  CGColorRef color = CGColorCreate(space, c);
  CGColorSpaceRelease(space);
  return color;
}

CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) {
  CGColorObject* object = ColorObject(color);
  if (!object) return NULL;
  CGFloat c[5];
  for (size_t i = 0; i < object->count; i++) c[i] = object->components[i];
  c[object->count - 1] = alpha;
  return CGColorCreate(object->space, c);
}

CGColorRef CGColorRetain(CGColorRef color) {
  [CGObject(color) retain];
  return color;
}

void CGColorRelease(CGColorRef color) { [CGObject(color) release]; }

bool CGColorEqualToColor(CGColorRef a, CGColorRef b) {
  if (a == b) return true;
  CGColorObject *x = ColorObject(a), *y = ColorObject(b);
  if (!x || !y || x->count != y->count || CGColorSpaceGetModel(x->space) != CGColorSpaceGetModel(y->space))
    return false;
  for (size_t i = 0; i < x->count; i++)
    if (x->components[i] != y->components[i]) return false;
  return true;
}

size_t CGColorGetNumberOfComponents(CGColorRef color) {
  CGColorObject* object = ColorObject(color);
  return object ? object->count : 0;
}

const CGFloat* CGColorGetComponents(CGColorRef color) {
  CGColorObject* object = ColorObject(color);
  return object ? object->components : NULL;
}

CGFloat CGColorGetAlpha(CGColorRef color) {
  CGColorObject* object = ColorObject(color);
  return object ? object->components[object->count - 1] : 0;
}

CGColorSpaceRef CGColorGetColorSpace(CGColorRef color) {
  CGColorObject* object = ColorObject(color);
  return object ? object->space : NULL;
}
