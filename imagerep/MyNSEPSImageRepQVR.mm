/* NSEPSImageRep (MyNSEPSImageRepQVR): pdfImage reads the instance variable in which the
   platform's EPS representation keeps its PDF rendering. The platform offers no accessor,
   so the variable is found by name through the runtime; a platform without it gives nil. */
#import "imagerep/MyNSEPSImageRepQVR.h"

#include <objc/runtime.h>

@implementation NSEPSImageRep (MyNSEPSImageRepQVR)

- (NSPDFImageRep*)pdfImage {
  static Ivar variable = class_getInstanceVariable([NSEPSImageRep class], "_pdfImageRep");
  if (variable == NULL) return nil;
  id form = object_getIvar(self, variable);
  return [form isKindOfClass:[NSPDFImageRep class]] ? (NSPDFImageRep*)form : nil;
}

@end
