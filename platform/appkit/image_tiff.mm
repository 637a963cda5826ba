/* TIFF of an image: its bitmap representations as they are, any other representation
   rendered into a bitmap of its pixel size (or of the image's size), and one transparent
   bitmap for an image that has nothing to show. */
#import "image_internal.h"

#include <math.h>

@implementation NSImage (NSImageTIFF)

static NSBitmapImageRep* RenderedRep(NSImageRep* rep, NSSize size) {
  NSInteger wide = [rep pixelsWide] > 0 ? [rep pixelsWide] : (NSInteger)ceil(size.width);
  NSInteger high = [rep pixelsHigh] > 0 ? [rep pixelsHigh] : (NSInteger)ceil(size.height);
  if (wide < 1) wide = 1;
  if (high < 1) high = 1;
  NSBitmapImageRep* bitmap = [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                                      pixelsWide:wide
                                                                      pixelsHigh:high
                                                                   bitsPerSample:8
                                                                 samplesPerPixel:4
                                                                        hasAlpha:YES
                                                                        isPlanar:NO
                                                                  colorSpaceName:NSCalibratedRGBColorSpace
                                                                     bytesPerRow:0
                                                                    bitsPerPixel:0] autorelease];
  if (!bitmap) return nil;
  NSSize points = size.width > 0 && size.height > 0 ? size : NSMakeSize(wide, high);
  [bitmap setSize:points];
  if (!rep) return bitmap;
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:bitmap];
  if (!context) return nil;
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:context];
  [context setImageInterpolation:NSImageInterpolationHigh];
  [rep drawInRect:NSMakeRect(0, 0, points.width, points.height)];
  [context flushGraphics];
  [NSGraphicsContext restoreGraphicsState];
  return bitmap;
}

- (NSArray*)_bitmapRepresentationsForTIFF {
  NSMutableArray* bitmaps = [NSMutableArray array];
  NSSize size = [self size];
  for (NSUInteger i = 0; i < [_reps count]; i++) {
    NSImageRep* rep = [_reps objectAtIndex:i];
    if ([rep isKindOfClass:[NSBitmapImageRep class]]) {
      [bitmaps addObject:rep];
    } else {
      NSSize repSize = [rep size];
      NSBitmapImageRep* bitmap = RenderedRep(rep, repSize.width > 0 && repSize.height > 0 ? repSize : size);
      if (bitmap) [bitmaps addObject:bitmap];
    }
  }
  if ([bitmaps count] == 0) {
    NSBitmapImageRep* blank = RenderedRep(nil, size);
    if (blank) [bitmaps addObject:blank];
  }
  return bitmaps;
}

- (NSData*)TIFFRepresentation {
  NSArray* bitmaps = [self _bitmapRepresentationsForTIFF];
  return [bitmaps count] ? [NSBitmapImageRep TIFFRepresentationOfImageRepsInArray:bitmaps] : nil;
}

- (NSData*)TIFFRepresentationUsingCompression:(NSTIFFCompression)comp factor:(float)aFloat {
  NSArray* bitmaps = [self _bitmapRepresentationsForTIFF];
  return [bitmaps count] ? [NSBitmapImageRep TIFFRepresentationOfImageRepsInArray:bitmaps usingCompression:comp factor:aFloat] : nil;
}

@end
