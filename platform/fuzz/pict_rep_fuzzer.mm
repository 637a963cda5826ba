/* The fuzz target of NSPICTImageRep, the class over the PICT reader (pict_codec fuzzes the
   reader alone): any bytes through initWithData: and imageRepWithData:; a representation
   that comes back must agree with canInitWithData:, have a bounding box its size and pixel
   dimensions match, hand out its CGImage, copy, and draw into a small context. */
#import <AppKit/AppKit.h>

#include <cstdint>
#include <cstdlib>

#include "fuzz/small_context.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSData* data = [NSData dataWithBytes:bytes length:size];
  NSPICTImageRep* rep = [NSPICTImageRep imageRepWithData:data];
  if (rep != nil) {
    if (![NSPICTImageRep canInitWithData:data]) std::abort();
    const NSRect box = [rep boundingBox];
    const NSSize size = [rep size];
    if (box.size.width <= 0 || box.size.height <= 0 || size.width != box.size.width ||
        size.height != box.size.height || [rep pixelsWide] <= 0 || [rep pixelsHigh] <= 0)
      std::abort();
    CGImageRef image = [rep CGImageForProposedRect:NULL context:nil hints:nil];
    if (image == NULL || (NSInteger)CGImageGetWidth(image) != [rep pixelsWide] ||
        (NSInteger)CGImageGetHeight(image) != [rep pixelsHigh])
      std::abort();
    NSPICTImageRep* copy = [[rep copy] autorelease];
    if (copy == nil || !NSEqualRects([copy boundingBox], box) || ![[copy PICTRepresentation] isEqualToData:data])
      std::abort();
    fuzz::DrawIntoSmallContext(rep);
  }
  [[[NSPICTImageRep alloc] initWithData:data] release];
  [pool release];
  return 0;
}
