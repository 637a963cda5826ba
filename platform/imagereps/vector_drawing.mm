/* Drawing of the resolution-independent representations: instead of turning the
   representation into a CGImage of its point size first (what NSImageRep does), the
   context's transform carries the mapping, and -draw renders at the resolution it finds. */
#import "imagereps/vector_drawing.h"

BOOL VectorRepDrawInRect(NSImageRep* rep, NSRect dstRect, NSRect fromRect, NSCompositingOperation op,
                         CGFloat fraction, BOOL respectFlipped) {
  NSGraphicsContext* current = [NSGraphicsContext currentContext];
  CGContextRef context = (CGContextRef)[current graphicsPort];
  NSSize size = [rep size];
  if (context == NULL || size.width <= 0 || size.height <= 0) return NO;
  NSRect from = NSIsEmptyRect(fromRect) ? NSMakeRect(0, 0, size.width, size.height) : fromRect;
  if (NSIsEmptyRect(dstRect)) return NO;
  CGContextSaveGState(context);
  CGContextSetBlendMode(context, NSCompositingOperationToCGBlendMode(op));
  CGContextSetAlpha(context, fraction < 0 ? 0 : fraction > 1 ? 1 : fraction);
  if (respectFlipped && [current isFlipped]) {
    CGContextTranslateCTM(context, 0, NSMaxY(dstRect) + NSMinY(dstRect));
    CGContextScaleCTM(context, 1, -1);
  }
  CGContextClipToRect(context, NSRectToCGRect(dstRect));
  CGContextTranslateCTM(context, dstRect.origin.x, dstRect.origin.y);
  CGContextScaleCTM(context, dstRect.size.width / from.size.width, dstRect.size.height / from.size.height);
  CGContextTranslateCTM(context, -from.origin.x, -from.origin.y);
  BOOL drawn = [rep draw];
  CGContextRestoreGState(context);
  return drawn;
}

void VectorRepDescribe(NSImageRep* rep) {
  [rep setAlpha:NO];
  [rep setOpaque:YES];
  [rep setBitsPerSample:NSImageRepMatchesDevice];
  [rep setPixelsWide:NSImageRepMatchesDevice];
  [rep setPixelsHigh:NSImageRepMatchesDevice];
}
