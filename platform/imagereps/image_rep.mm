/* NSImageRep: the size and pixel description every representation carries, drawing into the
   current graphics context through a CGImage of the representation, and reading
   representations from files and URLs by way of the class registry. */
#import <AppKit/AppKit.h>

#import "imagereps/bitmap_storage.h"
#import "imagereps/vector_drawing.h"

NSString* const NSImageHintCTM = @"ctm";
NSString* const NSImageHintInterpolation = @"NSImageHintInterpolation";

@interface NSImageRep (QVRLoading)
+ (NSArray*)imageRepsWithData:(NSData*)data ofFileType:(NSString*)extension;
@end

@implementation NSImageRep

- (id)init {
  if ((self = [super init])) {
    _colorSpaceName = [NSCalibratedRGBColorSpace copy];
  }
  return self;
}

- (void)dealloc {
  [_colorSpaceName release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSImageRep* copy = (NSImageRep*)NSCopyObject(self, 0, zone);
  copy->_colorSpaceName = [_colorSpaceName copy];
  return copy;
}

/* Size and pixel description. */

- (void)setSize:(NSSize)aSize { _size = aSize; }
- (NSSize)size { return _size; }
- (void)setAlpha:(BOOL)flag { _hasAlpha = flag; }
- (BOOL)hasAlpha { return _hasAlpha; }
- (void)setOpaque:(BOOL)flag { _isOpaque = flag; }
- (BOOL)isOpaque { return _isOpaque; }
- (void)setBitsPerSample:(NSInteger)anInt { _bitsPerSample = anInt; }
- (NSInteger)bitsPerSample { return _bitsPerSample; }
- (void)setPixelsWide:(NSInteger)anInt { _pixelsWide = anInt; }
- (NSInteger)pixelsWide { return _pixelsWide; }
- (void)setPixelsHigh:(NSInteger)anInt { _pixelsHigh = anInt; }
- (NSInteger)pixelsHigh { return _pixelsHigh; }

- (void)setColorSpaceName:(NSString*)string {
  if (string == _colorSpaceName) return;
  [_colorSpaceName release];
  _colorSpaceName = [string copy];
}

- (NSString*)colorSpaceName { return _colorSpaceName; }

/* Drawing. A representation draws its contents with -draw into the current context, with
   its own size at the origin; subclasses provide -draw. */

- (BOOL)draw { return NO; }

- (BOOL)drawAtPoint:(NSPoint)point {
  if (point.x == 0 && point.y == 0) return [self draw];
  CGContextRef context = (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
  if (context == NULL) return NO;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, point.x, point.y);
  BOOL drawn = [self draw];
  CGContextRestoreGState(context);
  return drawn;
}

- (BOOL)drawInRect:(NSRect)rect {
  NSSize size = [self size];
  if (size.width <= 0 || size.height <= 0) return NO;
  CGContextRef context = (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
  if (context == NULL) return NO;
  CGContextSaveGState(context);
  CGContextTranslateCTM(context, rect.origin.x, rect.origin.y);
  CGContextScaleCTM(context, rect.size.width / size.width, rect.size.height / size.height);
  BOOL drawn = [self draw];
  CGContextRestoreGState(context);
  return drawn;
}

/* The representation rendered with -draw into a bitmap of its pixel size (its point size
   when it has no pixels of its own), as a CGImage owned by the autorelease pool. */
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)referenceContext
                               hints:(NSDictionary*)hints {
  NSSize size = [self size];
  NSInteger wide = [self pixelsWide], high = [self pixelsHigh];
  if (wide <= 0 || high <= 0) {
    wide = (NSInteger)ceil(size.width);
    high = (NSInteger)ceil(size.height);
  }
  if (wide <= 0 || high <= 0 || size.width <= 0 || size.height <= 0) return NULL;
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef bitmap = CGBitmapContextCreate(NULL, (size_t)wide, (size_t)high, 8, 0, space,
                                              kCGImageAlphaPremultipliedLast);
  CGColorSpaceRelease(space);
  if (bitmap == NULL) return NULL;
  CGContextScaleCTM(bitmap, wide / size.width, high / size.height);
  NSGraphicsContext* drawing = [NSGraphicsContext graphicsContextWithCGContext:bitmap flipped:NO];
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:drawing];
  BOOL drawn = [self draw];
  [NSGraphicsContext restoreGraphicsState];
  CGImageRef image = drawn ? CGBitmapContextCreateImage(bitmap) : NULL;
  CGContextRelease(bitmap);
  if (image != NULL) [(id)image autorelease];
  return image;
}

/* The part of the representation in fromRect (its own coordinates, origin bottom-left; the
   zero rectangle for all of it) drawn into rect with a compositing operation and an opacity.
   With respectFlipped, a flipped context still shows the image upright. A representation
   without pixels of its own (a PDF page, an EPS figure) draws at the destination's
   resolution instead of through a CGImage of its point size. */
- (BOOL)drawInRect:(NSRect)dstSpacePortionRect
          fromRect:(NSRect)srcSpacePortionRect
         operation:(NSCompositingOperation)op
          fraction:(CGFloat)requestedAlpha
    respectFlipped:(BOOL)respectContextIsFlipped
             hints:(NSDictionary*)hints {
  if ([self pixelsWide] == NSImageRepMatchesDevice || [self pixelsHigh] == NSImageRepMatchesDevice)
    return VectorRepDrawInRect(self, dstSpacePortionRect, srcSpacePortionRect, op, requestedAlpha,
                               respectContextIsFlipped);
  NSGraphicsContext* current = [NSGraphicsContext currentContext];
  CGContextRef context = (CGContextRef)[current graphicsPort];
  if (context == NULL) return NO;
  NSSize size = [self size];
  if (size.width <= 0 || size.height <= 0) return NO;
  NSRect from = srcSpacePortionRect;
  /* A bitmap answers an image for the rectangle that all of it would fill at this scale
     (it may answer a smaller one when drawn much smaller); others render for the target. */
  NSRect proposed = dstSpacePortionRect;
  if ([self isKindOfClass:[NSBitmapImageRep class]] && !NSIsEmptyRect(from)) {
    proposed.size.width *= size.width / from.size.width;
    proposed.size.height *= size.height / from.size.height;
  }
  CGImageRef image = [self isKindOfClass:[NSBitmapImageRep class]]
                         ? [(NSBitmapImageRep*)self qvrImageForDrawingInRect:&proposed context:current hints:hints]
                         : [self CGImageForProposedRect:&proposed context:current hints:hints];
  if (image == NULL) return NO;
  CGImageRef part = NULL;
  if (!NSIsEmptyRect(from) && !NSEqualRects(from, NSMakeRect(0, 0, size.width, size.height))) {
    // Points to pixels, and bottom-left origin to the image's top-left one.
    const CGFloat sx = CGImageGetWidth(image) / size.width, sy = CGImageGetHeight(image) / size.height;
    CGRect pixels = CGRectMake(from.origin.x * sx, (size.height - NSMaxY(from)) * sy, from.size.width * sx,
                               from.size.height * sy);
    part = CGImageCreateWithImageInRect(image, pixels);
    if (part == NULL) return NO;
  }
  CGContextSaveGState(context);
  CGContextSetBlendMode(context, NSCompositingOperationToCGBlendMode(op));
  CGContextSetAlpha(context, requestedAlpha < 0 ? 0 : requestedAlpha > 1 ? 1 : requestedAlpha);
  id interpolation = [hints objectForKey:NSImageHintInterpolation];
  if ([interpolation respondsToSelector:@selector(integerValue)])
    CGContextSetInterpolationQuality(context, (CGInterpolationQuality)[interpolation integerValue]);
  CGRect target = NSRectToCGRect(dstSpacePortionRect);
  if (respectContextIsFlipped && [current isFlipped]) {
    CGContextTranslateCTM(context, 0, CGRectGetMaxY(target) + CGRectGetMinY(target));
    CGContextScaleCTM(context, 1, -1);
  }
  CGContextDrawImage(context, target, part ? part : image);
  CGContextRestoreGState(context);
  CGImageRelease(part);
  return YES;
}

/* Reading from files and URLs: the registry picks the class for the bytes (or, failing
   that, for the file name's extension). */

+ (NSArray*)imageRepsWithData:(NSData*)data ofFileType:(NSString*)extension {
  if (data == nil) return nil;
  Class repClass = [self imageRepClassForData:data];
  if (repClass == Nil && [extension length] > 0) repClass = [self imageRepClassForFileType:extension];
  if (repClass == Nil) return nil;
  if ([repClass respondsToSelector:@selector(imageRepsWithData:)])
    return [repClass performSelector:@selector(imageRepsWithData:) withObject:data];
  id rep = [repClass respondsToSelector:@selector(imageRepWithData:)]
               ? [repClass performSelector:@selector(imageRepWithData:) withObject:data]
               : nil;
  return rep ? [NSArray arrayWithObject:rep] : nil;
}

+ (NSArray*)imageRepsWithContentsOfFile:(NSString*)filename {
  if (filename == nil) return nil;
  NSData* data = [NSData dataWithContentsOfFile:filename];
  NSArray* reps = [NSImageRep imageRepsWithData:data ofFileType:[filename pathExtension]];
  return [reps count] > 0 ? reps : nil;
}

+ (id)imageRepWithContentsOfFile:(NSString*)filename {
  NSArray* reps = [self imageRepsWithContentsOfFile:filename];
  return [reps count] > 0 ? [reps objectAtIndex:0] : nil;
}

+ (NSArray*)imageRepsWithContentsOfURL:(NSURL*)url {
  if (url == nil) return nil;
  if ([url isFileURL]) return [self imageRepsWithContentsOfFile:[url path]];
  NSData* data = [NSData dataWithContentsOfURL:url];
  NSArray* reps = [NSImageRep imageRepsWithData:data ofFileType:[[url path] pathExtension]];
  return [reps count] > 0 ? reps : nil;
}

+ (id)imageRepWithContentsOfURL:(NSURL*)url {
  NSArray* reps = [self imageRepsWithContentsOfURL:url];
  return [reps count] > 0 ? [reps objectAtIndex:0] : nil;
}

+ (NSArray*)imageRepsWithPasteboard:(NSPasteboard*)pasteboard {
  if (pasteboard == nil) return nil;
  NSArray* classes = [self registeredImageRepClasses];
  for (NSUInteger i = 0; i < [classes count]; ++i) {
    Class repClass = [classes objectAtIndex:i];
    if (self != [NSImageRep class] && ![repClass isSubclassOfClass:self]) continue;
    NSString* type = [pasteboard availableTypeFromArray:[repClass imageUnfilteredPasteboardTypes]];
    NSData* data = type ? [pasteboard dataForType:type] : nil;
    if (data == nil) continue;
    NSArray* reps = [NSImageRep imageRepsWithData:data ofFileType:nil];
    if ([reps count] > 0) return reps;
  }
  return nil;
}

+ (id)imageRepWithPasteboard:(NSPasteboard*)pasteboard {
  NSArray* reps = [self imageRepsWithPasteboard:pasteboard];
  return [reps count] > 0 ? [reps objectAtIndex:0] : nil;
}

@end
