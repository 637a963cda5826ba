/* NSEPSImageRep: Encapsulated PostScript (plain, or behind a DOS binary header with a
   preview), sized by its DSC bounding box and drawn through the PDF form that Ghostscript
   makes of it when the representation is made; the PDF form lives in _pdfImageRep. */
#import <AppKit/AppKit.h>

#include "imagereps/eps_conversion.h"
#import "imagereps/vector_drawing.h"

static bool ReadEPS(NSData* data, const uint8_t*& ps, size_t& size, qvr::EpsBox& box) {
  if (![data isKindOfClass:[NSData class]]) return false;
  return qvr::eps_postscript((const uint8_t*)[data bytes], [data length], ps, size) &&
         qvr::eps_bounding_box(ps, size, box);
}

@implementation NSEPSImageRep

+ (id)imageRepWithData:(NSData*)epsData {
  return [[[self alloc] initWithData:epsData] autorelease];
}

+ (BOOL)canInitWithData:(NSData*)data {
  const uint8_t* ps = nullptr;
  size_t size = 0;
  qvr::EpsBox box;
  return ReadEPS(data, ps, size, box);
}

- (id)initWithData:(NSData*)epsData {
  if (!(self = [super init])) return nil;
  const uint8_t* ps = nullptr;
  size_t size = 0;
  qvr::EpsBox box;
  std::vector<uint8_t> pdf;
  if (!ReadEPS(epsData, ps, size, box) || !qvr::eps_to_pdf(ps, size, qvr::eps_time_limit(), pdf)) {
    [self release];
    return nil;
  }
  _pdfImageRep = [[NSPDFImageRep alloc] initWithData:[NSData dataWithBytes:pdf.data() length:pdf.size()]];
  if (_pdfImageRep == nil) {
    [self release];
    return nil;
  }
  _epsData = [epsData copy];
  _boundingBox = NSMakeRect(box.llx, box.lly, box.urx - box.llx, box.ury - box.lly);
  [self setSize:_boundingBox.size];
  VectorRepDescribe(self);
  return self;
}

- (void)dealloc {
  [_epsData release];
  [_pdfImageRep release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSEPSImageRep* copy = [super copyWithZone:zone];
  copy->_epsData = [_epsData retain];
  copy->_pdfImageRep = [_pdfImageRep copyWithZone:zone];
  return copy;
}

/* PostScript drawing needs no graphics state of its own here: the PDF form carries it. */
- (void)prepareGState {}
- (NSData*)EPSRepresentation { return _epsData; }
- (NSRect)boundingBox { return _boundingBox; }

- (BOOL)draw {
  NSSize size = [self size];
  return [_pdfImageRep drawInRect:NSMakeRect(0, 0, size.width, size.height)];
}


@end

@implementation NSEPSImageRep (Types)

+ (NSArray*)imageUnfilteredTypes {
  return [NSArray arrayWithObject:@"com.adobe.encapsulated-postscript"];
}

+ (NSArray*)imageUnfilteredFileTypes {
  return [NSArray arrayWithObjects:@"eps", @"epi", @"epsf", @"epsi", @"ps", @"'EPSF'", @"'EPSI'", nil];
}

+ (NSArray*)imageUnfilteredPasteboardTypes {
  return [NSArray arrayWithObject:NSPostScriptPboardType];
}

@end
