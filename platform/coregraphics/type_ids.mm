/* Type identifiers of the Core Graphics types. They lie at 200 and above so that they
   never meet a Core Foundation type's; each object's class answers its own from
   -_cfTypeID, which is what CFGetTypeID reads. */
#include "cg_internal.h"

CFTypeID CGColorGetTypeID(void) { return kQVRTypeIDCGColor; }
CFTypeID CGColorSpaceGetTypeID(void) { return kQVRTypeIDCGColorSpace; }
CFTypeID CGContextGetTypeID(void) { return kQVRTypeIDCGContext; }
CFTypeID CGDataConsumerGetTypeID(void) { return kQVRTypeIDCGDataConsumer; }
CFTypeID CGDataProviderGetTypeID(void) { return kQVRTypeIDCGDataProvider; }
CFTypeID CGFontGetTypeID(void) { return kQVRTypeIDCGFont; }
CFTypeID CGImageGetTypeID(void) { return kQVRTypeIDCGImage; }
CFTypeID CGLayerGetTypeID(void) { return kQVRTypeIDCGLayer; }
CFTypeID CGPSConverterGetTypeID(void) { return kQVRTypeIDCGPSConverter; }
