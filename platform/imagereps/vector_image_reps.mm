/* The EPS, PDF and PICT representation classes as far as they go without their readers:
   they exist, answer their documented accessors from their state, and read no data yet
   (initWithData: gives nil), so they stay out of the class registry until they can. */
#import <AppKit/AppKit.h>

@implementation NSPDFImageRep

+ (id)imageRepWithData:(NSData*)pdfData {
  return [[[self alloc] initWithData:pdfData] autorelease];
}

- (id)initWithData:(NSData*)pdfData {
  [self release];
  return nil;
}

- (void)dealloc {
  [_pdfData release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSPDFImageRep* copy = [super copyWithZone:zone];
  [copy->_pdfData retain];
  return copy;
}

- (NSData*)PDFRepresentation { return _pdfData; }
- (NSRect)bounds { return _bounds; }
- (NSInteger)currentPage { return _currentPage; }
- (NSInteger)pageCount { return _pageCount; }

- (void)setCurrentPage:(NSInteger)page {
  if (page >= 0 && page < _pageCount) _currentPage = page;
}

@end

@implementation NSEPSImageRep

+ (id)imageRepWithData:(NSData*)epsData {
  return [[[self alloc] initWithData:epsData] autorelease];
}

- (id)initWithData:(NSData*)epsData {
  [self release];
  return nil;
}

- (void)dealloc {
  [_epsData release];
  [_pdfImageRep release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSEPSImageRep* copy = [super copyWithZone:zone];
  [copy->_epsData retain];
  [copy->_pdfImageRep retain];
  return copy;
}

- (void)prepareGState {}
- (NSData*)EPSRepresentation { return _epsData; }
- (NSRect)boundingBox { return _boundingBox; }

@end

@implementation NSPICTImageRep

+ (id)imageRepWithData:(NSData*)pictData {
  return [[[self alloc] initWithData:pictData] autorelease];
}

- (id)initWithData:(NSData*)pictData {
  [self release];
  return nil;
}

- (void)dealloc {
  [_pictData release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSPICTImageRep* copy = [super copyWithZone:zone];
  [copy->_pictData retain];
  return copy;
}

- (NSData*)PICTRepresentation { return _pictData; }
- (NSRect)boundingBox { return _boundingBox; }

@end
