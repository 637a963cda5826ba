/* NSImageRep: the abstract representation of one image (a bitmap, a PDF page, ...), with
   its size in points and in pixels, drawing into the current graphics context, and the
   class registry that picks the representation class able to read some data. */
#ifndef QVR_APPKIT_NSIMAGEREP_H
#define QVR_APPKIT_NSIMAGEREP_H

#import <Foundation/Foundation.h>
#include <ApplicationServices/ApplicationServices.h>
#import <AppKit/NSGraphics.h>

#ifndef APPKIT_EXTERN
#ifdef __cplusplus
#define APPKIT_EXTERN extern "C"
#else
#define APPKIT_EXTERN extern
#endif
#endif

@class NSGraphicsContext;
@class NSPasteboard;
@class NSURL;

enum {
  NSImageRepMatchesDevice = 0
};

/* Keys of the hints dictionary of drawInRect:fromRect:operation:fraction:respectFlipped:hints:. */
APPKIT_EXTERN NSString* const NSImageHintCTM;
APPKIT_EXTERN NSString* const NSImageHintInterpolation;

/* Posted when a class joins or leaves the registry. */
APPKIT_EXTERN NSString* const NSImageRepRegistryDidChangeNotification;

@interface NSImageRep : NSObject <NSCopying> {
 @protected
  NSSize _size;
  NSString* _colorSpaceName;
  NSInteger _bitsPerSample;
  NSInteger _pixelsWide;
  NSInteger _pixelsHigh;
  BOOL _hasAlpha;
  BOOL _isOpaque;
}

/* Drawing into the current graphics context. */
- (BOOL)draw;
- (BOOL)drawAtPoint:(NSPoint)point;
- (BOOL)drawInRect:(NSRect)rect;
- (BOOL)drawInRect:(NSRect)dstSpacePortionRect
          fromRect:(NSRect)srcSpacePortionRect
         operation:(NSCompositingOperation)op
          fraction:(CGFloat)requestedAlpha
    respectFlipped:(BOOL)respectContextIsFlipped
             hints:(NSDictionary*)hints;
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary*)hints;

/* Size in points and in pixels, and what each pixel holds. */
- (void)setSize:(NSSize)aSize;
- (NSSize)size;
- (void)setAlpha:(BOOL)flag;
- (BOOL)hasAlpha;
- (void)setOpaque:(BOOL)flag;
- (BOOL)isOpaque;
- (void)setColorSpaceName:(NSString*)string;
- (NSString*)colorSpaceName;
- (void)setBitsPerSample:(NSInteger)anInt;
- (NSInteger)bitsPerSample;
- (void)setPixelsWide:(NSInteger)anInt;
- (NSInteger)pixelsWide;
- (void)setPixelsHigh:(NSInteger)anInt;
- (NSInteger)pixelsHigh;

/* Making representations from files, URLs and the pasteboard. */
+ (NSArray*)imageRepsWithContentsOfFile:(NSString*)filename;
+ (id)imageRepWithContentsOfFile:(NSString*)filename;
+ (NSArray*)imageRepsWithContentsOfURL:(NSURL*)url;
+ (id)imageRepWithContentsOfURL:(NSURL*)url;
+ (NSArray*)imageRepsWithPasteboard:(NSPasteboard*)pasteboard;
+ (id)imageRepWithPasteboard:(NSPasteboard*)pasteboard;

@end

@interface NSImageRep (Registry)

/* The registry of representation classes. */
+ (void)registerImageRepClass:(Class)imageRepClass;
+ (void)unregisterImageRepClass:(Class)imageRepClass;
+ (NSArray*)registeredImageRepClasses;
+ (Class)imageRepClassForFileType:(NSString*)type;
+ (Class)imageRepClassForPasteboardType:(NSString*)type;
+ (Class)imageRepClassForType:(NSString*)type;
+ (Class)imageRepClassForData:(NSData*)data;

/* What a class (or, sent to NSImageRep, any registered class) can read. */
+ (BOOL)canInitWithData:(NSData*)data;
+ (BOOL)canInitWithPasteboard:(NSPasteboard*)pasteboard;
+ (NSArray*)imageUnfilteredFileTypes;
+ (NSArray*)imageUnfilteredPasteboardTypes;
+ (NSArray*)imageFileTypes;
+ (NSArray*)imagePasteboardTypes;
+ (NSArray*)imageUnfilteredTypes;
+ (NSArray*)imageTypes;

@end

#endif
