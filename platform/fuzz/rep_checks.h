/* What every fuzz target asks of a representation that a decoder accepted: its geometry
   holds together and every byte of its pixel memory is readable (AddressSanitizer sees a
   short buffer), and small ones go through an encoder and back; an animation shows its
   last frame and then its second (composited again from the start), and small ones are
   written back whole as GIF. */
#pragma once

#import <AppKit/AppKit.h>

#include <cstdlib>

namespace fuzz {

// Reps of more pixels than this are read but not re-encoded, to keep each run quick.
constexpr long kRoundTripPixels = 1 << 16;

inline void CheckBitmapRep(NSBitmapImageRep* rep) {
  const long wide = long([rep pixelsWide]), high = long([rep pixelsHigh]);
  const long rowBytes = long([rep bytesPerRow]), planes = long([rep numberOfPlanes]);
  if (wide <= 0 || high <= 0 || rowBytes * 8 < wide * long([rep bitsPerPixel]) / planes) std::abort();
  unsigned char* data[5] = {};
  [rep getBitmapDataPlanes:data];
  unsigned sum = 0;
  for (long p = 0; p < planes && p < 5; ++p)
    for (long i = 0; i < rowBytes * high; ++i) sum += data[p][i];
  (void)sum;
  [rep colorAtX:0 y:0];
  [rep colorAtX:wide - 1 y:high - 1];
  if (wide * high > kRoundTripPixels) return;
  const long frames = [[rep valueForProperty:NSImageFrameCount] integerValue];
  if (frames > 1) {
    [rep setProperty:NSImageCurrentFrame withValue:[NSNumber numberWithLong:frames - 1]];
    [rep setProperty:NSImageCurrentFrame withValue:[NSNumber numberWithLong:1]];
    if ([[rep valueForProperty:NSImageCurrentFrame] integerValue] != 1) std::abort();
    if (frames <= 64 && [rep representationUsingType:NSGIFFileType properties:nil] == nil) std::abort();
  }
  NSData* png = [rep representationUsingType:NSPNGFileType properties:[NSDictionary dictionary]];
  if (png == nil || [NSBitmapImageRep imageRepWithData:png] == nil) std::abort();
}

inline void CheckImageRep(NSImageRep* rep) {
  [rep size];
  if ([rep isKindOfClass:[NSBitmapImageRep class]]) CheckBitmapRep(static_cast<NSBitmapImageRep*>(rep));
}

}  // namespace fuzz
