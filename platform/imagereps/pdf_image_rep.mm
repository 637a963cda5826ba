/* NSPDFImageRep on poppler's C++ interface: the document is opened from the bytes the
   representation keeps, one page (the current one) is its image, sized by its crop box, and
   drawing renders that page at the resolution the destination context asks for. */
#import <AppKit/AppKit.h>

#include <math.h>

#include <algorithm>

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#import "imagereps/vector_drawing.h"


/* Poppler reports damaged documents on stderr; a reader that gives nil says enough. */
static void QuietPoppler(const std::string&, void*) {}

static poppler::document* DocumentOf(void* document) {
  return static_cast<poppler::document*>(document);
}

static bool IsPDF(NSData* data) {
  const char* bytes = (const char*)[data bytes];
  NSUInteger length = [data length];
  /* The header may follow some bytes of junk, as readers allow within the first kilobyte. */
  NSUInteger limit = std::min<NSUInteger>(length, 1024);
  for (NSUInteger i = 0; i + 5 <= limit; ++i)
    if (memcmp(bytes + i, "%PDF-", 5) == 0) return true;
  return false;
}

/* Renders a page of width x height points into context where user space holds the page at
   (0,0)-(width,height): only the part the clip leaves visible, at the transform's scale. */
static BOOL DrawPage(poppler::page* page, CGContextRef context, CGFloat width, CGFloat height) {
  CGAffineTransform ctm = CGContextGetCTM(context);
  double sx = hypot(ctm.a, ctm.b), sy = hypot(ctm.c, ctm.d);
  if (!(sx > 0) || !(sy > 0) || !isfinite(sx) || !isfinite(sy)) return NO;
  /* The visible part of the page in user space: clipping is exact only without rotation. */
  CGRect visible = CGRectMake(0, 0, width, height);
  if (ctm.b == 0 && ctm.c == 0) visible = CGRectIntersection(visible, CGContextGetClipBoundingBox(context));
  if (CGRectIsNull(visible) || CGRectIsEmpty(visible)) return YES;
  /* Keep a render within 64 million pixels, lowering the resolution beyond that. */
  const double most = 64.0 * 1024 * 1024;
  double pixels = visible.size.width * sx * visible.size.height * sy;
  if (pixels > most) {
    double f = sqrt(most / pixels);
    sx *= f;
    sy *= f;
  }
  /* Whole pixels of the page at that resolution, rows counted from the page's top. */
  int x0 = (int)floor(CGRectGetMinX(visible) * sx), x1 = (int)ceil(CGRectGetMaxX(visible) * sx);
  int y0 = (int)floor((height - CGRectGetMaxY(visible)) * sy), y1 = (int)ceil((height - CGRectGetMinY(visible)) * sy);
  if (x1 <= x0 || y1 <= y0) return YES;
  poppler::page_renderer renderer;
  renderer.set_render_hint(poppler::page_renderer::antialiasing, true);
  renderer.set_render_hint(poppler::page_renderer::text_antialiasing, true);
  renderer.set_image_format(poppler::image::format_argb32);
  poppler::image image = renderer.render_page(page, sx * 72.0, sy * 72.0, x0, y0, x1 - x0, y1 - y0);
  if (!image.is_valid() || image.width() <= 0 || image.height() <= 0) return NO;
  /* Native-endian ARGB words: B, G, R, A in memory, opaque (the page's white paper). */
  CGDataProviderRef provider = CGDataProviderCreateWithData(NULL, image.const_data(),
                                                            (size_t)image.bytes_per_row() * image.height(), NULL);
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGImageRef picture = CGImageCreate((size_t)image.width(), (size_t)image.height(), 8, 32,
                                     (size_t)image.bytes_per_row(), space,
                                     kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little, provider, NULL,
                                     false, kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  if (picture == NULL) return NO;
  CGRect target = CGRectMake(x0 / sx, height - y0 / sy - image.height() / sy, image.width() / sx,
                             image.height() / sy);
  CGContextDrawImage(context, target, picture);
  /* The image reads the renderer's pixels, which go when this returns. */
  CGImageRelease(picture);
  return YES;
}

@implementation NSPDFImageRep

+ (void)initialize {
  if (self == [NSPDFImageRep class]) poppler::set_debug_error_function(QuietPoppler, NULL);
}

+ (id)imageRepWithData:(NSData*)pdfData {
  return [[[self alloc] initWithData:pdfData] autorelease];
}

+ (BOOL)canInitWithData:(NSData*)data {
  return [data isKindOfClass:[NSData class]] && IsPDF(data);
}

- (id)initWithData:(NSData*)pdfData {
  if (!(self = [super init])) return nil;
  if (![pdfData isKindOfClass:[NSData class]] || [pdfData length] == 0 || [pdfData length] > INT_MAX ||
      !IsPDF(pdfData)) {
    [self release];
    return nil;
  }
  _pdfData = [pdfData copy];
  /* Poppler reads the bytes in place; the representation keeps them as long as it lives. */
  poppler::document* document =
      poppler::document::load_from_raw_data((const char*)[_pdfData bytes], (int)[_pdfData length]);
  if (document == nullptr || document->is_locked() || document->pages() <= 0) {
    delete document;
    [self release];
    return nil;
  }
  _document = document;
  _pageCount = document->pages();
  _currentPage = -1;
  [self setCurrentPage:0];
  if (_currentPage != 0) {
    [self release];
    return nil;
  }
  VectorRepDescribe(self);
  return self;
}

- (void)dealloc {
  delete DocumentOf(_document);
  [_pdfData release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  /* A copy opens its own document, so that copies never share poppler's state. */
  NSPDFImageRep* copy = [[[self class] allocWithZone:zone] initWithData:_pdfData];
  [copy setCurrentPage:_currentPage];
  [copy setSize:[self size]];
  return copy;
}

- (NSData*)PDFRepresentation { return _pdfData; }
- (NSRect)bounds { return _bounds; }
- (NSInteger)currentPage { return _currentPage; }
- (NSInteger)pageCount { return _pageCount; }

/* A page outside the document leaves the current one as it is. */
- (void)setCurrentPage:(NSInteger)page {
  poppler::document* document = DocumentOf(_document);
  if (document == nullptr || page < 0 || page >= _pageCount) return;
  poppler::page* p = document->create_page((int)page);
  if (p == nullptr) return;
  poppler::rectf box = p->page_rect(poppler::crop_box);
  delete p;
  _currentPage = page;
  _bounds = NSMakeRect(0, 0, fabs(box.width()), fabs(box.height()));
  [self setSize:_bounds.size];
}

- (BOOL)draw {
  CGContextRef context = (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
  poppler::document* document = DocumentOf(_document);
  if (context == NULL || document == nullptr || _bounds.size.width <= 0 || _bounds.size.height <= 0) return NO;
  poppler::page* page = document->create_page((int)_currentPage);
  if (page == nullptr) return NO;
  /* The page fills the representation's size, which a caller may have changed. */
  NSSize size = [self size];
  CGContextSaveGState(context);
  CGContextScaleCTM(context, size.width / _bounds.size.width, size.height / _bounds.size.height);
  BOOL drawn = DrawPage(page, context, _bounds.size.width, _bounds.size.height);
  CGContextRestoreGState(context);
  delete page;
  return drawn;
}


@end

@implementation NSPDFImageRep (Types)

+ (NSArray*)imageUnfilteredTypes {
  return [NSArray arrayWithObject:@"com.adobe.pdf"];
}

+ (NSArray*)imageUnfilteredFileTypes {
  return [NSArray arrayWithObjects:@"pdf", @"'PDF '", nil];
}

+ (NSArray*)imageUnfilteredPasteboardTypes {
  return [NSArray arrayWithObjects:NSPasteboardTypePDF, NSPDFPboardType, nil];
}

@end
