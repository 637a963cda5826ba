/* The fuzz target of NSPDFImageRep: any bytes through initWithData: and imageRepWithData:
   (poppler reads the document; this checks our layer over it). A representation that comes
   back must answer a page count and, for every page it goes to (the first 16), bounds
   that are finite and not negative, equal to its size, and draw into a small context. */
#import <AppKit/AppKit.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "fuzz/small_context.h"

namespace {

constexpr NSInteger kPagesVisited = 16;

void CheckBounds(NSPDFImageRep* rep) {
  const NSRect bounds = [rep bounds];
  const NSSize size = [rep size];
  if (!std::isfinite(bounds.size.width) || !std::isfinite(bounds.size.height) || bounds.size.width < 0 ||
      bounds.size.height < 0 || size.width != bounds.size.width || size.height != bounds.size.height)
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSData* data = [NSData dataWithBytes:bytes length:size];
  NSPDFImageRep* rep = [NSPDFImageRep imageRepWithData:data];
  if (rep != nil) {
    if (![NSPDFImageRep canInitWithData:data]) std::abort();
    const NSInteger pages = [rep pageCount];
    if (pages < 1 || [rep currentPage] != 0) std::abort();
    CheckBounds(rep);
    for (NSInteger page = 0; page < pages && page < kPagesVisited; ++page) {
      [rep setCurrentPage:page];
      // A page poppler cannot open leaves the one before current.
      if ([rep currentPage] < 0 || [rep currentPage] > page) std::abort();
      CheckBounds(rep);
      fuzz::DrawIntoSmallContext(rep);
    }
    // Pages outside the document leave the current one as it is.
    const NSInteger current = [rep currentPage];
    [rep setCurrentPage:pages];
    [rep setCurrentPage:-1];
    if ([rep currentPage] != current) std::abort();
    NSPDFImageRep* copy = [[rep copy] autorelease];
    if (copy == nil || [copy pageCount] != pages || ![[copy PDFRepresentation] isEqualToData:data]) std::abort();
  }
  [[[NSPDFImageRep alloc] initWithData:data] release];
  [pool release];
  return 0;
}
