/* NSGraphicsContext: the AppKit face of a Core Graphics context, the per-thread current
   context and a stack of saved graphics states. The compositing operation and the image
   interpolation are graphics state of the Core Graphics context beneath: setting them sets
   its blend mode (NSCompositingOperationToCGBlendMode) and interpolation quality, so image
   representations that draw through [[NSGraphicsContext currentContext] graphicsPort]
   with CGContextDrawImage honour them; a drawing's opacity (fraction) is the CG context's
   alpha (CGContextSetAlpha). */
#ifndef QVR_APPKIT_NSGRAPHICSCONTEXT_H
#define QVR_APPKIT_NSGRAPHICSCONTEXT_H

#import <Foundation/Foundation.h>
#import <AppKit/NSGraphics.h>

@class NSBitmapImageRep;

/* The same numbers as CGInterpolationQuality. */
typedef NSUInteger NSImageInterpolation;
enum {
  NSImageInterpolationDefault = 0,
  NSImageInterpolationNone = 1,
  NSImageInterpolationLow = 2,
  NSImageInterpolationHigh = 3,
  NSImageInterpolationMedium = 4,
};

/* Keys of -attributes. */
APPKIT_EXTERN NSString* const NSGraphicsContextDestinationAttributeName;
APPKIT_EXTERN NSString* const NSGraphicsContextRepresentationFormatAttributeName;

@interface NSGraphicsContext : NSObject {
 @private
  CGContextRef _cgContext;
  BOOL _flipped;
  NSDictionary* _attributes;
  id _bitmapImageRep;
  BOOL _antialias;
}

/* The current context of the calling thread (nil until one is set). */
+ (NSGraphicsContext*)currentContext;
+ (void)setCurrentContext:(NSGraphicsContext*)context;
+ (BOOL)currentContextDrawingToScreen;
/* Saves the current context and its graphics state; restore brings both back. */
+ (void)saveGraphicsState;
+ (void)restoreGraphicsState;

/* A context drawing through an existing Core Graphics context (a CGContextRef, retained);
   flipped only says whether the drawing code above treats y as growing downwards. nil
   for NULL or an object that is not a CGContext. */
+ (NSGraphicsContext*)graphicsContextWithGraphicsPort:(void*)graphicsPort flipped:(BOOL)initialFlippedState;
+ (NSGraphicsContext*)graphicsContextWithCGContext:(CGContextRef)graphicsPort flipped:(BOOL)initialFlippedState;
/* A context drawing straight into the representation's pixels (8 bits a sample, grey or
   RGB, meshed, with or without alpha); nil for any other layout. The pixels hold every
   drawing as soon as its call returns. The representation is retained. */
+ (NSGraphicsContext*)graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)bitmapRep;

- (void*)graphicsPort;
- (CGContextRef)CGContext;
- (BOOL)isFlipped;
- (BOOL)isDrawingToScreen;
- (NSDictionary*)attributes;

/* Save and restore the graphics state of this context (CGContextSaveGState). */
- (void)saveGraphicsState;
- (void)restoreGraphicsState;
- (void)flushGraphics;

- (void)setImageInterpolation:(NSImageInterpolation)interpolation;
- (NSImageInterpolation)imageInterpolation;
- (void)setCompositingOperation:(NSCompositingOperation)operation;
- (NSCompositingOperation)compositingOperation;
- (void)setShouldAntialias:(BOOL)antialias;
- (BOOL)shouldAntialias;

@end

#endif
