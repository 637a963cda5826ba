/* The method this plugin adds to the platform's NSEPSImageRep: the PDF form that an EPS
   representation keeps of its PostScript, read from the representation itself. */
#ifndef QVR_IMAGEREP_MYNSEPSIMAGEREPQVR_H
#define QVR_IMAGEREP_MYNSEPSIMAGEREPQVR_H

#import <AppKit/AppKit.h>

@interface NSEPSImageRep (MyNSEPSImageRepQVR)
/* The representation's own PDF rendering, not retained; nil when it has none. */
- (NSPDFImageRep*)pdfImage;
@end

#endif
