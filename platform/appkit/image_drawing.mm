/* Drawing an image into the current graphics context through its best representation,
   the older composite calls, rendering it to a CGImage, and lockFocus / unlockFocus,
   which draw into a bitmap representation of the image through a graphics context of
   its own. */
#import "image_internal.h"

#include <math.h>

/* Nested lockFocus calls on one image count in the high bits of the flags. */
static const unsigned kFocusDepthShift = 16;

/* A new premultiplied RGBA bitmap of the given pixel size, drawn at the given point size. */
static NSBitmapImageRep* NewBitmap(NSInteger wide, NSInteger high, NSSize size) {
  NSBitmapImageRep* rep = [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                                  pixelsWide:wide
                                                                  pixelsHigh:high
                                                               bitsPerSample:8
                                                             samplesPerPixel:4
                                                                    hasAlpha:YES
                                                                    isPlanar:NO
                                                              colorSpaceName:NSCalibratedRGBColorSpace
                                                                 bytesPerRow:0
                                                                bitsPerPixel:0];
  [rep setSize:size];
  return rep;
}

static NSInteger PixelsFor(CGFloat points) {
  if (!(points > 0) || points > 1e6) return 1;
  return (NSInteger)ceil(points);
}

@implementation NSImage (NSImageDrawing)

- (void)lockFocus {
  [self lockFocusFlipped:[self isFlipped]];
}

- (void)lockFocusFlipped:(BOOL)flipped {
  unsigned depth = _flags >> kFocusDepthShift;
  [NSGraphicsContext saveGraphicsState];
  if (depth > 0) {
    [NSGraphicsContext setCurrentContext:_focusContext];
    _flags += 1u << kFocusDepthShift;
    return;
  }
  NSSize size = [self size];
  BOOL empty = !(size.width > 0 && size.height > 0);
  NSSize drawn = empty ? NSMakeSize(1, 1) : size;
  /* As many pixels as the richest representation has, so drawing keeps its detail. */
  NSInteger wide = PixelsFor(drawn.width), high = PixelsFor(drawn.height);
  for (NSUInteger i = 0; !empty && i < [_reps count]; i++) {
    NSImageRep* existing = [_reps objectAtIndex:i];
    if ([existing pixelsWide] > wide && [existing pixelsHigh] > 0 && [existing pixelsHigh] < (NSInteger)1 << 20) {
      wide = [existing pixelsWide];
      high = [existing pixelsHigh];
    }
  }
  NSBitmapImageRep* rep = NewBitmap(wide, high, drawn);
  NSGraphicsContext* bitmapContext = rep ? [NSGraphicsContext graphicsContextWithBitmapImageRep:rep] : nil;
  CGContextRef port = (CGContextRef)[bitmapContext graphicsPort];
  if (!port) {
    /* Somewhere to draw that goes nowhere, so that unlockFocus still balances. */
    [rep release];
    rep = nil;
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    port = CGBitmapContextCreate(NULL, 1, 1, 8, 0, space, kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Host);
    CGColorSpaceRelease(space);
    bitmapContext = [NSGraphicsContext graphicsContextWithGraphicsPort:port flipped:flipped];
    CGContextRelease(port);
  } else if (flipped) {
    bitmapContext = [NSGraphicsContext graphicsContextWithGraphicsPort:port flipped:YES];
  }
  [NSGraphicsContext setCurrentContext:bitmapContext];
  /* What the image shows now is where the drawing starts from. */
  if (rep && !empty && [_reps count] > 0)
    [self drawInRect:NSMakeRect(0, 0, size.width, size.height) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
  if (flipped) {
    CGContextTranslateCTM(port, 0, drawn.height);
    CGContextScaleCTM(port, 1, -1);
  }
  [bitmapContext saveGraphicsState];
  _focusRep = empty ? nil : rep;
  if (empty) [rep release];
  _focusContext = [bitmapContext retain];
  _flags = (_flags & ~kImageFocusFlipped) | (flipped ? kImageFocusFlipped : 0);
  _flags += 1u << kFocusDepthShift;
}

- (void)unlockFocus {
  unsigned depth = _flags >> kFocusDepthShift;
  if (depth == 0) return;
  _flags -= 1u << kFocusDepthShift;
  if (depth > 1) {
    [NSGraphicsContext restoreGraphicsState];
    return;
  }
  [_focusContext restoreGraphicsState];
  [_focusContext flushGraphics];
  [NSGraphicsContext restoreGraphicsState];
  if (_focusRep) {
    [_reps removeAllObjects];
    [_reps addObject:_focusRep];
  }
  [_focusRep release];
  _focusRep = nil;
  [_focusContext release];
  _focusContext = nil;
}

- (void)drawInRect:(NSRect)dstSpacePortionRect
          fromRect:(NSRect)srcSpacePortionRect
         operation:(NSCompositingOperation)op
          fraction:(CGFloat)requestedAlpha
    respectFlipped:(BOOL)respectContextIsFlipped
             hints:(NSDictionary*)hints {
  NSGraphicsContext* context = [NSGraphicsContext currentContext];
  NSSize size = [self size];
  if (!context || !(size.width > 0 && size.height > 0)) return;
  NSRect source = srcSpacePortionRect;
  if (source.size.width == 0 && source.size.height == 0) source = NSMakeRect(0, 0, size.width, size.height);
  NSImageRep* rep = [self bestRepresentationForRect:dstSpacePortionRect context:context hints:hints];
  if (!rep) return;
  /* The source rectangle in the representation's own points. */
  NSSize repSize = [rep size];
  if (!(repSize.width > 0 && repSize.height > 0)) repSize = size;
  CGFloat sx = repSize.width / size.width, sy = repSize.height / size.height;
  NSRect repSource = NSMakeRect(source.origin.x * sx, source.origin.y * sy, source.size.width * sx,
                                source.size.height * sy);
  [rep drawInRect:dstSpacePortionRect
           fromRect:repSource
          operation:op
           fraction:requestedAlpha
     respectFlipped:respectContextIsFlipped
              hints:hints];
}

- (void)drawInRect:(NSRect)rect fromRect:(NSRect)fromRect operation:(NSCompositingOperation)op fraction:(CGFloat)delta {
  [self drawInRect:rect fromRect:fromRect operation:op fraction:delta respectFlipped:NO hints:nil];
}

- (void)drawAtPoint:(NSPoint)point fromRect:(NSRect)fromRect operation:(NSCompositingOperation)op fraction:(CGFloat)delta {
  NSSize size = fromRect.size;
  if (size.width == 0 && size.height == 0) size = [self size];
  [self drawInRect:NSMakeRect(point.x, point.y, size.width, size.height)
          fromRect:fromRect
         operation:op
          fraction:delta
    respectFlipped:NO
             hints:nil];
}

- (void)drawInRect:(NSRect)rect {
  [self drawInRect:rect fromRect:NSZeroRect operation:NSCompositeSourceOver fraction:1 respectFlipped:NO hints:nil];
}

- (BOOL)drawRepresentation:(NSImageRep*)imageRep inRect:(NSRect)rect {
  if (!imageRep || ![NSGraphicsContext currentContext]) return NO;
  if ([_backgroundColor alphaComponent] > 0) {
    [_backgroundColor set];
    NSRectFillUsingOperation(rect, NSCompositeSourceOver);
  }
  return [imageRep drawInRect:rect];
}

- (void)compositeToPoint:(NSPoint)point fromRect:(NSRect)rect operation:(NSCompositingOperation)op fraction:(CGFloat)delta {
  NSSize size = rect.size;
  if (size.width == 0 && size.height == 0) size = [self size];
  [self drawInRect:NSMakeRect(point.x, point.y, size.width, size.height)
          fromRect:rect
         operation:op
          fraction:delta
    respectFlipped:YES
             hints:nil];
}

- (void)compositeToPoint:(NSPoint)point operation:(NSCompositingOperation)op {
  [self compositeToPoint:point fromRect:NSZeroRect operation:op fraction:1];
}

- (void)compositeToPoint:(NSPoint)point operation:(NSCompositingOperation)op fraction:(CGFloat)delta {
  [self compositeToPoint:point fromRect:NSZeroRect operation:op fraction:delta];
}

- (void)compositeToPoint:(NSPoint)point fromRect:(NSRect)rect operation:(NSCompositingOperation)op {
  [self compositeToPoint:point fromRect:rect operation:op fraction:1];
}

- (void)dissolveToPoint:(NSPoint)point fraction:(CGFloat)aFloat {
  [self compositeToPoint:point fromRect:NSZeroRect operation:NSCompositeSourceOver fraction:aFloat];
}

- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect context:(NSGraphicsContext*)referenceContext hints:(NSDictionary*)hints {
  NSSize size = [self size];
  NSSize target = proposedDestRect ? proposedDestRect->size : size;
  if (!(target.width > 0 && target.height > 0) || !(size.width > 0 && size.height > 0)) return NULL;
  NSInteger wide = PixelsFor(target.width), high = PixelsFor(target.height);
  /* A bitmap of exactly that size is its own rendering. */
  NSImageRep* rep = [self bestRepresentationForRect:NSMakeRect(0, 0, target.width, target.height)
                                            context:referenceContext
                                              hints:hints];
  if ([rep isKindOfClass:[NSBitmapImageRep class]] && [rep pixelsWide] == wide && [rep pixelsHigh] == high) {
    CGImageRef image = [(NSBitmapImageRep*)rep CGImage];
    if (image) return image;
  }
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef port = CGBitmapContextCreate(NULL, (size_t)wide, (size_t)high, 8, 0, space,
                                            kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Host);
  CGColorSpaceRelease(space);
  if (!port) return NULL;
  CGContextScaleCTM(port, wide / target.width, high / target.height);
  NSGraphicsContext* drawing = [NSGraphicsContext graphicsContextWithGraphicsPort:port flipped:NO];
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:drawing];
  [drawing setImageInterpolation:NSImageInterpolationHigh];
  [self drawInRect:NSMakeRect(0, 0, target.width, target.height)
          fromRect:NSZeroRect
         operation:NSCompositeCopy
          fraction:1
    respectFlipped:NO
             hints:hints];
  [NSGraphicsContext restoreGraphicsState];
  CGImageRef image = CGBitmapContextCreateImage(port);
  CGContextRelease(port);
  return image ? (CGImageRef)[(id)(void*)image autorelease] : NULL;
}

@end
