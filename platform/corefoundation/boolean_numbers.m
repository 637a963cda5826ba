/* Booleans as numbers: on Apple's platform BOOL is a signed char and [NSNumber
   numberWithBool:] answers its type encoding, "c"; code that tells booleans from other
   numbers by objCType depends on that. The GNU runtime's BOOL is unsigned ("C"), and
   GNUstep keeps its two boolean numbers in a class of their own that answers that; the
   class is taught to answer "c", nothing else about it changes. */
#import <Foundation/Foundation.h>
#include <objc/runtime.h>

static const char* BooleanObjCType(id self, SEL _cmd) {
  (void)self;
  (void)_cmd;
  return "c";
}

/* Done when the runtime loads this category, once Foundation's classes are in place (a
   plain library constructor runs before the runtime has registered them). */
@interface NSNumber (BooleanObjCTypeQVR)
@end

@implementation NSNumber (BooleanObjCTypeQVR)
+ (void)load {
  Class booleans = object_getClass([NSNumber numberWithBool:YES]);
  if (booleans != Nil && booleans != [NSNumber class])
    class_replaceMethod(booleans, @selector(objCType), (IMP)BooleanObjCType, "r*@:");
}
@end
