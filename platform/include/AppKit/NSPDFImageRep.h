/* NSPDFImageRep: a representation holding a PDF document, one page of which (the
   current page) it draws; its bounds are that page's crop box in points. */
#ifndef QVR_APPKIT_NSPDFIMAGEREP_H
#define QVR_APPKIT_NSPDFIMAGEREP_H

#import <AppKit/NSImageRep.h>

@interface NSPDFImageRep : NSImageRep {
 @protected
  NSData* _pdfData;
  NSInteger _currentPage;
  NSInteger _pageCount;
  NSRect _bounds;
  void* _document;
}

+ (id)imageRepWithData:(NSData*)pdfData;
- (id)initWithData:(NSData*)pdfData;

- (NSData*)PDFRepresentation;
- (NSRect)bounds;
- (void)setCurrentPage:(NSInteger)page;
- (NSInteger)currentPage;
- (NSInteger)pageCount;

@end

#endif
