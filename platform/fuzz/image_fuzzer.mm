/* The fuzz target of NSImage from data: any bytes, whichever representation class claims
   them. An image that comes back must answer its size and representations, hand out a
   TIFF of itself and read that back. */
#import <AppKit/AppKit.h>

#include <cstdint>
#include <cstdlib>

#include "fuzz/rep_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSImage* image = [[NSImage alloc] initWithData:[NSData dataWithBytes:bytes length:size]];
  if (image != nil) {
    const NSSize extent = [image size];
    NSArray* reps = [image representations];
    for (NSUInteger i = 0; i < [reps count]; ++i) fuzz::CheckImageRep([reps objectAtIndex:i]);
    if (extent.width * extent.height <= fuzz::kRoundTripPixels) {
      NSData* tiff = [image TIFFRepresentation];
      if (tiff != nil && [[[NSImage alloc] initWithData:tiff] autorelease] == nil) std::abort();
    }
  }
  [image release];
  [pool release];
  return 0;
}
