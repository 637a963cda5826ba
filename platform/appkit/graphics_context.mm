/* NSGraphicsContext: a Core Graphics context seen from AppKit, the current context of each
   thread, and the class-level stack that saves a context together with its state. */
#import <AppKit/AppKit.h>
#include "coregraphics/live_objects.h"

NSString* const NSGraphicsContextDestinationAttributeName = @"NSGraphicsContextDestinationAttributeName";
NSString* const NSGraphicsContextRepresentationFormatAttributeName =
    @"NSGraphicsContextRepresentationFormatAttributeName";

static NSString* const kCurrentContextKey = @"NSGraphicsContext.current";
static NSString* const kSavedContextsKey = @"NSGraphicsContext.saved";

@implementation NSGraphicsContext

- (id)initWithCGContext:(CGContextRef)port flipped:(BOOL)flipped {
  if ((self = [super init])) {
    _cgContext = CGContextRetain(port);
    _flipped = flipped;
    _antialias = YES;
  }
  return self;
}

- (void)dealloc {
  CGContextRelease(_cgContext);
  [_attributes release];
  [_bitmapImageRep release];
  [super dealloc];
}

/* Per thread, as AppKit keeps it. */
+ (NSGraphicsContext*)currentContext {
  return [[[NSThread currentThread] threadDictionary] objectForKey:kCurrentContextKey];
}

+ (void)setCurrentContext:(NSGraphicsContext*)context {
  NSMutableDictionary* dictionary = [[NSThread currentThread] threadDictionary];
  if (context) [dictionary setObject:context forKey:kCurrentContextKey];
  else [dictionary removeObjectForKey:kCurrentContextKey];
}

+ (BOOL)currentContextDrawingToScreen {
  return NO;
}

+ (void)saveGraphicsState {
  NSMutableDictionary* dictionary = [[NSThread currentThread] threadDictionary];
  NSMutableArray* saved = [dictionary objectForKey:kSavedContextsKey];
  if (!saved) {
    saved = [NSMutableArray array];
    [dictionary setObject:saved forKey:kSavedContextsKey];
  }
  NSGraphicsContext* current = [self currentContext];
  [saved addObject:current ? (id)current : (id)[NSNull null]];
  [current saveGraphicsState];
}

+ (void)restoreGraphicsState {
  NSMutableArray* saved = [[[NSThread currentThread] threadDictionary] objectForKey:kSavedContextsKey];
  if ([saved count] == 0) return;
  id context = [[[saved lastObject] retain] autorelease];
  [saved removeLastObject];
  if (context == [NSNull null]) context = nil;
  [self setCurrentContext:context];
  [context restoreGraphicsState];
}

/* Host code passes the port as a plain number, so anything but a live context is refused
   before a message reaches it. */
static BOOL IsCGContext(void* port) {
  id object = (id)port;
  return CGLiveObjectIsLive(port) && [object respondsToSelector:@selector(_cfTypeID)] &&
         CFGetTypeID((CFTypeRef)port) == CGContextGetTypeID();
}

+ (NSGraphicsContext*)graphicsContextWithGraphicsPort:(void*)graphicsPort flipped:(BOOL)initialFlippedState {
  if (!IsCGContext(graphicsPort)) return nil;
  return [[[self alloc] initWithCGContext:(CGContextRef)graphicsPort flipped:initialFlippedState] autorelease];
}

+ (NSGraphicsContext*)graphicsContextWithCGContext:(CGContextRef)graphicsPort flipped:(BOOL)initialFlippedState {
  return [self graphicsContextWithGraphicsPort:graphicsPort flipped:initialFlippedState];
}

/* The Core Graphics layout of a representation's pixels, when it is one of ours. */
static CGContextRef ContextOverRep(NSBitmapImageRep* rep) {
  if (![rep isKindOfClass:[NSBitmapImageRep class]] || [rep isPlanar] || [rep bitsPerSample] != 8) return NULL;
  NSInteger spp = [rep samplesPerPixel], bpp = [rep bitsPerPixel];
  BOOL alpha = [rep hasAlpha];
  NSBitmapFormat format = [rep bitmapFormat];
  if (format & NSFloatingPointSamplesBitmapFormat) return NULL;
  NSString* name = [rep colorSpaceName];
  BOOL grey = [name isEqual:NSCalibratedWhiteColorSpace] || [name isEqual:NSDeviceWhiteColorSpace];
  BOOL rgb = [name isEqual:NSCalibratedRGBColorSpace] || [name isEqual:NSDeviceRGBColorSpace];
  if (!grey && !rgb) return NULL;
  NSInteger colors = grey ? 1 : 3;
  if (spp != colors + (alpha ? 1 : 0) || bpp != spp * 8) return NULL;
  CGImageAlphaInfo info = kCGImageAlphaNone;
  if (alpha) {
    BOOL first = (format & NSAlphaFirstBitmapFormat) != 0;
    BOOL straight = (format & NSAlphaNonpremultipliedBitmapFormat) != 0;
    info = first ? (straight ? kCGImageAlphaFirst : kCGImageAlphaPremultipliedFirst)
                 : (straight ? kCGImageAlphaLast : kCGImageAlphaPremultipliedLast);
  }
  unsigned char* data = [rep bitmapData];
  NSInteger width = [rep pixelsWide], height = [rep pixelsHigh], row = [rep bytesPerRow];
  if (!data || width <= 0 || height <= 0 || row <= 0) return NULL;
  CGColorSpaceRef space = grey ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  CGContextRef port = CGBitmapContextCreate(data, (size_t)width, (size_t)height, 8, (size_t)row, space,
                                            info | kCGBitmapByteOrderDefault);
  CGColorSpaceRelease(space);
  return port;
}

+ (NSGraphicsContext*)graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)bitmapRep {
  CGContextRef port = ContextOverRep(bitmapRep);
  if (!port) return nil;
  NSGraphicsContext* context = [[[self alloc] initWithCGContext:port flipped:NO] autorelease];
  CGContextRelease(port);
  context->_bitmapImageRep = [bitmapRep retain];
  context->_attributes = [[NSDictionary alloc] initWithObjectsAndKeys:bitmapRep,
                                                                      NSGraphicsContextDestinationAttributeName, nil];
  /* Points of the representation's size map onto its pixels. */
  NSSize size = [bitmapRep size];
  if (size.width > 0 && size.height > 0)
    CGContextScaleCTM(port, [bitmapRep pixelsWide] / size.width, [bitmapRep pixelsHigh] / size.height);
  return context;
}

- (void*)graphicsPort {
  return _cgContext;
}

- (CGContextRef)CGContext {
  return _cgContext;
}

- (BOOL)isFlipped {
  return _flipped;
}

- (BOOL)isDrawingToScreen {
  return NO;
}

- (NSDictionary*)attributes {
  return _attributes;
}

- (void)saveGraphicsState {
  CGContextSaveGState(_cgContext);
}

- (void)restoreGraphicsState {
  CGContextRestoreGState(_cgContext);
}

- (void)flushGraphics {
  CGContextFlush(_cgContext);
}

- (void)setImageInterpolation:(NSImageInterpolation)interpolation {
  CGContextSetInterpolationQuality(_cgContext, (CGInterpolationQuality)interpolation);
}

- (NSImageInterpolation)imageInterpolation {
  return (NSImageInterpolation)CGContextGetInterpolationQuality(_cgContext);
}

- (void)setCompositingOperation:(NSCompositingOperation)operation {
  CGContextSetBlendMode(_cgContext, NSCompositingOperationToCGBlendMode(operation));
}

- (NSCompositingOperation)compositingOperation {
  CGBlendMode mode = CGContextGetBlendMode(_cgContext);
  for (NSCompositingOperation op = 0; op <= NSCompositeLuminosity; op++)
    if (op != NSCompositeHighlight && NSCompositingOperationToCGBlendMode(op) == mode) return op;
  return NSCompositeSourceOver;
}

- (void)setShouldAntialias:(BOOL)antialias {
  CGContextSetShouldAntialias(_cgContext, antialias);
  _antialias = antialias;
}

- (BOOL)shouldAntialias {
  return _antialias;
}

@end
