/* NSImage: an image of a size in points made of representations (bitmaps, PDF pages, ...)
   read from data, files, URLs or the pasteboard, drawn into the current graphics context
   through its best representation, drawn into with lockFocus (into a bitmap
   representation of its own), registered by name, and written out as TIFF. */
#ifndef QVR_APPKIT_NSIMAGE_H
#define QVR_APPKIT_NSIMAGE_H

#import <Foundation/Foundation.h>
#import <AppKit/NSGraphics.h>
#import <AppKit/NSBitmapImageRep.h>

@class NSColor;
@class NSGraphicsContext;
@class NSImageRep;
@class NSPasteboard;
@class NSURL;

/* Carbon icon references: none exist on this system. */
typedef struct OpaqueIconRef* IconRef;

typedef NSUInteger NSImageCacheMode;
enum {
  NSImageCacheDefault = 0,
  NSImageCacheAlways = 1,
  NSImageCacheBySize = 2,
  NSImageCacheNever = 3,
};

typedef NSUInteger NSImageLoadStatus;
enum {
  NSImageLoadStatusCompleted = 0,
  NSImageLoadStatusCancelled = 1,
  NSImageLoadStatusInvalidData = 2,
  NSImageLoadStatusUnexpectedEOF = 3,
  NSImageLoadStatusReadError = 4,
};

/* The standard images of the name registry (each is drawn by this system). */
typedef NSString* NSImageName;
APPKIT_EXTERN NSString* const NSImageNameQuickLookTemplate;
APPKIT_EXTERN NSString* const NSImageNameBluetoothTemplate;
APPKIT_EXTERN NSString* const NSImageNameIChatTheaterTemplate;
APPKIT_EXTERN NSString* const NSImageNameSlideshowTemplate;
APPKIT_EXTERN NSString* const NSImageNameActionTemplate;
APPKIT_EXTERN NSString* const NSImageNameSmartBadgeTemplate;
APPKIT_EXTERN NSString* const NSImageNameIconViewTemplate;
APPKIT_EXTERN NSString* const NSImageNameListViewTemplate;
APPKIT_EXTERN NSString* const NSImageNameColumnViewTemplate;
APPKIT_EXTERN NSString* const NSImageNameFlowViewTemplate;
APPKIT_EXTERN NSString* const NSImageNamePathTemplate;
APPKIT_EXTERN NSString* const NSImageNameInvalidDataFreestandingTemplate;
APPKIT_EXTERN NSString* const NSImageNameLockLockedTemplate;
APPKIT_EXTERN NSString* const NSImageNameLockUnlockedTemplate;
APPKIT_EXTERN NSString* const NSImageNameGoRightTemplate;
APPKIT_EXTERN NSString* const NSImageNameGoLeftTemplate;
APPKIT_EXTERN NSString* const NSImageNameRightFacingTriangleTemplate;
APPKIT_EXTERN NSString* const NSImageNameLeftFacingTriangleTemplate;
APPKIT_EXTERN NSString* const NSImageNameAddTemplate;
APPKIT_EXTERN NSString* const NSImageNameRemoveTemplate;
APPKIT_EXTERN NSString* const NSImageNameRevealFreestandingTemplate;
APPKIT_EXTERN NSString* const NSImageNameFollowLinkFreestandingTemplate;
APPKIT_EXTERN NSString* const NSImageNameEnterFullScreenTemplate;
APPKIT_EXTERN NSString* const NSImageNameExitFullScreenTemplate;
APPKIT_EXTERN NSString* const NSImageNameStopProgressTemplate;
APPKIT_EXTERN NSString* const NSImageNameStopProgressFreestandingTemplate;
APPKIT_EXTERN NSString* const NSImageNameRefreshTemplate;
APPKIT_EXTERN NSString* const NSImageNameRefreshFreestandingTemplate;
APPKIT_EXTERN NSString* const NSImageNameBonjour;
APPKIT_EXTERN NSString* const NSImageNameComputer;
APPKIT_EXTERN NSString* const NSImageNameFolderBurnable;
APPKIT_EXTERN NSString* const NSImageNameFolderSmart;
APPKIT_EXTERN NSString* const NSImageNameFolder;
APPKIT_EXTERN NSString* const NSImageNameNetwork;
APPKIT_EXTERN NSString* const NSImageNameDotMac;
APPKIT_EXTERN NSString* const NSImageNameMobileMe;
APPKIT_EXTERN NSString* const NSImageNameMultipleDocuments;
APPKIT_EXTERN NSString* const NSImageNameUserAccounts;
APPKIT_EXTERN NSString* const NSImageNamePreferencesGeneral;
APPKIT_EXTERN NSString* const NSImageNameAdvanced;
APPKIT_EXTERN NSString* const NSImageNameInfo;
APPKIT_EXTERN NSString* const NSImageNameFontPanel;
APPKIT_EXTERN NSString* const NSImageNameColorPanel;
APPKIT_EXTERN NSString* const NSImageNameUser;
APPKIT_EXTERN NSString* const NSImageNameUserGroup;
APPKIT_EXTERN NSString* const NSImageNameEveryone;
APPKIT_EXTERN NSString* const NSImageNameUserGuest;
APPKIT_EXTERN NSString* const NSImageNameMenuOnStateTemplate;
APPKIT_EXTERN NSString* const NSImageNameMenuMixedStateTemplate;
APPKIT_EXTERN NSString* const NSImageNameApplicationIcon;
APPKIT_EXTERN NSString* const NSImageNameTrashEmpty;
APPKIT_EXTERN NSString* const NSImageNameTrashFull;
APPKIT_EXTERN NSString* const NSImageNameHomeTemplate;
APPKIT_EXTERN NSString* const NSImageNameBookmarksTemplate;
APPKIT_EXTERN NSString* const NSImageNameCaution;
APPKIT_EXTERN NSString* const NSImageNameStatusAvailable;
APPKIT_EXTERN NSString* const NSImageNameStatusPartiallyAvailable;
APPKIT_EXTERN NSString* const NSImageNameStatusUnavailable;
APPKIT_EXTERN NSString* const NSImageNameStatusNone;

@interface NSImage : NSObject <NSCopying> {
 @private
  NSSize _size;
  NSString* _name;
  NSMutableArray* _reps;
  NSColor* _backgroundColor;
  NSString* _accessibilityDescription;
  NSRect _alignmentRect;
  NSImageCacheMode _cacheMode;
  id _delegate;
  NSBitmapImageRep* _focusRep;
  NSGraphicsContext* _focusContext;
  unsigned int _flags;
}

- (id)init;
- (id)initWithSize:(NSSize)size;

/* Size in points; an image without a size set takes that of its first representation. */
- (void)setSize:(NSSize)size;
- (NSSize)size;
/* Names must be unique: NO when another image holds the name (nil removes the name). */
- (BOOL)setName:(NSString*)name;
- (NSString*)name;
/* YES when the image has a representation, or a size to draw into. */
- (BOOL)isValid;

/* Flags and properties. Flipped: drawing into the image (lockFocus) happens with the
   origin at the top left, y down; drawing the image is the same either way. */
- (void)setFlipped:(BOOL)flag;
- (BOOL)isFlipped;
- (void)setScalesWhenResized:(BOOL)flag;
- (BOOL)scalesWhenResized;
- (void)setDataRetained:(BOOL)flag;
- (BOOL)isDataRetained;
- (void)setCachedSeparately:(BOOL)flag;
- (BOOL)isCachedSeparately;
- (void)setCacheDepthMatchesImageDepth:(BOOL)flag;
- (BOOL)cacheDepthMatchesImageDepth;
- (void)setUsesEPSOnResolutionMismatch:(BOOL)flag;
- (BOOL)usesEPSOnResolutionMismatch;
- (void)setPrefersColorMatch:(BOOL)flag;
- (BOOL)prefersColorMatch;
- (void)setMatchesOnMultipleResolution:(BOOL)flag;
- (BOOL)matchesOnMultipleResolution;
- (void)setMatchesOnlyOnBestFittingAxis:(BOOL)flag;
- (BOOL)matchesOnlyOnBestFittingAxis;
- (void)setTemplate:(BOOL)flag;
- (BOOL)isTemplate;
- (void)setCacheMode:(NSImageCacheMode)mode;
- (NSImageCacheMode)cacheMode;
/* The colour under the image's transparent parts when it is cached (clear; nil sets clear). */
- (void)setBackgroundColor:(NSColor*)color;
- (NSColor*)backgroundColor;
- (void)setAlignmentRect:(NSRect)rect;
- (NSRect)alignmentRect;
- (void)setAccessibilityDescription:(NSString*)description;
- (NSString*)accessibilityDescription;
- (void)setDelegate:(id)delegate;
- (id)delegate;
/* Images draw straight from their representations here, with no separate cache and no
   incremental loading: both have nothing to do. */
- (void)recache;
- (void)cancelIncrementalLoad;

/* Representations. addRepresentation: raises NSInvalidArgumentException for nil. */
- (NSArray*)representations;
- (void)addRepresentation:(NSImageRep*)imageRep;
- (void)addRepresentations:(NSArray*)imageReps;
- (void)removeRepresentation:(NSImageRep*)imageRep;
/* A resolution-independent representation, else the smallest bitmap covering rect, else
   the largest. */
- (NSImageRep*)bestRepresentationForRect:(NSRect)rect context:(NSGraphicsContext*)referenceContext hints:(NSDictionary*)hints;

@end

/* Making images from encoded data, files, URLs, the pasteboard and CGImages. Every
   initialiser answers nil (and frees the receiver) when it gets nothing it can read: nil
   or empty data, an unreadable file, a URL it cannot fetch (file, http and https URLs are
   fetched), an empty pasteboard. */
@interface NSImage (NSImageLoading)
- (id)initWithData:(NSData*)data;
/* As initWithData:, without turning the pixels by an EXIF orientation tag. */
- (id)initWithDataIgnoringOrientation:(NSData*)data;
- (id)initWithContentsOfFile:(NSString*)fileName;
- (id)initWithContentsOfURL:(NSURL*)url;
- (id)initByReferencingFile:(NSString*)fileName;
- (id)initByReferencingURL:(NSURL*)url;
- (id)initWithPasteboard:(NSPasteboard*)pasteboard;
/* A zero size takes the image's pixel size. */
- (id)initWithCGImage:(CGImageRef)cgImage size:(NSSize)size;
/* There are no icon references on this system: always nil. */
- (id)initWithIconRef:(IconRef)iconRef;

/* What images can be read from: forwarded to NSImageRep's class registry. */
+ (NSArray*)imageTypes;
+ (NSArray*)imageUnfilteredTypes;
+ (NSArray*)imageFileTypes;
+ (NSArray*)imageUnfilteredFileTypes;
+ (NSArray*)imagePasteboardTypes;
+ (NSArray*)imageUnfilteredPasteboardTypes;
+ (BOOL)canInitWithPasteboard:(NSPasteboard*)pasteboard;
@end

/* The name registry: the standard images (made on first use and kept) and every image
   given a name with setName: (held without a reference while it lives). */
@interface NSImage (NSImageNames)
/* nil for an unknown name. */
+ (id)imageNamed:(NSString*)name;
@end

/* Drawing the image into the current graphics context, and drawing into the image. */
@interface NSImage (NSImageDrawing)
/* Makes a graphics context on a bitmap representation of the image's size (drawn from
   the image's current content, transparent when it has none) current; unlockFocus makes
   the previous context current again and leaves that bitmap as the image's only
   representation. */
- (void)lockFocus;
- (void)lockFocusFlipped:(BOOL)flipped;
- (void)unlockFocus;

/* fromRect is in the image's own coordinates (NSZeroRect: the whole image); fraction is
   the opacity, op the compositing operation. Without respectFlipped a flipped context
   shows the image upside down. */
- (void)drawAtPoint:(NSPoint)point fromRect:(NSRect)fromRect operation:(NSCompositingOperation)op fraction:(CGFloat)delta;
- (void)drawInRect:(NSRect)rect fromRect:(NSRect)fromRect operation:(NSCompositingOperation)op fraction:(CGFloat)delta;
- (void)drawInRect:(NSRect)dstSpacePortionRect
          fromRect:(NSRect)srcSpacePortionRect
         operation:(NSCompositingOperation)op
          fraction:(CGFloat)requestedAlpha
    respectFlipped:(BOOL)respectContextIsFlipped
             hints:(NSDictionary*)hints;
- (void)drawInRect:(NSRect)rect;
- (BOOL)drawRepresentation:(NSImageRep*)imageRep inRect:(NSRect)rect;
/* The older composite calls: the image at its own size with its bottom-left corner at
   point, upright also in flipped contexts. */
- (void)compositeToPoint:(NSPoint)point operation:(NSCompositingOperation)op;
- (void)compositeToPoint:(NSPoint)point operation:(NSCompositingOperation)op fraction:(CGFloat)delta;
- (void)compositeToPoint:(NSPoint)point fromRect:(NSRect)rect operation:(NSCompositingOperation)op;
- (void)compositeToPoint:(NSPoint)point fromRect:(NSRect)rect operation:(NSCompositingOperation)op fraction:(CGFloat)delta;
- (void)dissolveToPoint:(NSPoint)point fraction:(CGFloat)aFloat;

/* The image rendered at the pixel size of proposedDestRect (or its own size); owned by the
   autorelease pool. NULL when it cannot be drawn. */
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect context:(NSGraphicsContext*)referenceContext hints:(NSDictionary*)hints;
@end

/* TIFF of the bitmap representations (others are rendered to bitmaps first; an image
   without any gives one transparent bitmap of its size, at least 1 x 1). */
@interface NSImage (NSImageTIFF)
- (NSData*)TIFFRepresentation;
- (NSData*)TIFFRepresentationUsingCompression:(NSTIFFCompression)comp factor:(float)aFloat;
@end

#endif
