/* The fuzz target of NSBitmapImageRep from data, built once per format: QVR_FUZZ_FORMAT
   names the decoder, and only bytes that the sniffer hands to it are tried, so each build
   spends its time in one decoder. Every representation that imageRepsWithData: and
   initWithData: answer must hold together (rep_checks.h). */
#import <AppKit/AppKit.h>

#include <cstdint>

#include "codecs/codecs.h"
#include "fuzz/rep_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (qvr::sniff_image_format(bytes, size) != qvr::ImageFormat::QVR_FUZZ_FORMAT) return 0;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSData* data = [NSData dataWithBytes:bytes length:size];
  NSArray* reps = [NSBitmapImageRep imageRepsWithData:data];
  for (NSUInteger i = 0; i < [reps count]; ++i) fuzz::CheckBitmapRep([reps objectAtIndex:i]);
  NSBitmapImageRep* one = [[NSBitmapImageRep alloc] initWithData:data];
  if (one != nil) fuzz::CheckBitmapRep(one);
  [one release];
  [pool release];
  return 0;
}
