/* NSEPSImageRep: a representation holding Encapsulated PostScript, drawn through the PDF
   rendering it keeps of it; its bounding box comes from the EPS header. */
#ifndef QVR_APPKIT_NSEPSIMAGEREP_H
#define QVR_APPKIT_NSEPSIMAGEREP_H

#import <AppKit/NSImageRep.h>

@class NSPDFImageRep;

@interface NSEPSImageRep : NSImageRep {
 @protected
  NSData* _epsData;
  NSRect _boundingBox;
  NSPDFImageRep* _pdfImageRep; /* the PDF rendering of the PostScript, or nil */
}

+ (id)imageRepWithData:(NSData*)epsData;
- (id)initWithData:(NSData*)epsData;

- (void)prepareGState;
- (NSData*)EPSRepresentation;
- (NSRect)boundingBox;

@end

#endif
