/* Drawing a representation the fuzz targets accepted into a small bitmap context: scaled
   into the whole context, then at its own size clipped to the context, so a document of
   any declared size costs a few thousand pixels. What lands there is read, every byte. */
#pragma once

#import <AppKit/AppKit.h>

#include <cstdlib>

namespace fuzz {

constexpr size_t kContextSide = 24;

inline void DrawIntoSmallContext(NSImageRep* rep) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef context = CGBitmapContextCreate(NULL, kContextSide, kContextSide, 8, 0, space,
                                               kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little);
  CGColorSpaceRelease(space);
  if (context == NULL) std::abort();
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:[NSGraphicsContext graphicsContextWithCGContext:context flipped:NO]];
  [rep drawInRect:NSMakeRect(0, 0, kContextSide, kContextSide)];
  [rep drawInRect:NSMakeRect(2, 2, kContextSide / 2, kContextSide / 3) fromRect:NSZeroRect
        operation:NSCompositingOperationSourceOver fraction:0.5 respectFlipped:YES hints:nil];
  NSSize size = [rep size];
  if (size.width > 0 && size.height > 0 && size.width <= 1e6 && size.height <= 1e6) [rep draw];
  [NSGraphicsContext restoreGraphicsState];
  const unsigned char* bytes = (const unsigned char*)CGBitmapContextGetData(context);
  unsigned sum = 0;
  for (size_t i = 0; i < CGBitmapContextGetBytesPerRow(context) * kContextSide; ++i) sum += bytes[i];
  (void)sum;
  CGContextRelease(context);
}

}  // namespace fuzz
