/* NSBitmapImageRep: an image held as pixels in memory (meshed or planar, 1 to 32 bits a
   sample, with or without alpha), read from and written to TIFF, BMP, GIF, JPEG, PNG and
   JPEG 2000 data, with a dictionary of properties that steer the encoders. */
#ifndef QVR_APPKIT_NSBITMAPIMAGEREP_H
#define QVR_APPKIT_NSBITMAPIMAGEREP_H

#import <AppKit/NSImageRep.h>

@class NSColor;
@class NSColorSpace;

typedef NSUInteger NSTIFFCompression;
enum {
  NSTIFFCompressionNone = 1,
  NSTIFFCompressionCCITTFAX3 = 3,
  NSTIFFCompressionCCITTFAX4 = 4,
  NSTIFFCompressionLZW = 5,
  NSTIFFCompressionJPEG = 6,
  NSTIFFCompressionNEXT = 32766,
  NSTIFFCompressionPackBits = 32773,
  NSTIFFCompressionOldJPEG = 32865
};

typedef NSUInteger NSBitmapImageFileType;
enum {
  NSTIFFFileType = 0,
  NSBMPFileType = 1,
  NSGIFFileType = 2,
  NSJPEGFileType = 3,
  NSPNGFileType = 4,
  NSJPEG2000FileType = 5
};

typedef NSInteger NSImageRepLoadStatus;
enum {
  NSImageRepLoadStatusUnknownType = -1,
  NSImageRepLoadStatusReadingHeader = -2,
  NSImageRepLoadStatusWillNeedAllData = -3,
  NSImageRepLoadStatusInvalidData = -4,
  NSImageRepLoadStatusUnexpectedEOF = -5,
  NSImageRepLoadStatusCompleted = -6
};

typedef NSUInteger NSBitmapFormat;
enum {
  NSAlphaFirstBitmapFormat = 1 << 0,
  NSAlphaNonpremultipliedBitmapFormat = 1 << 1,
  NSFloatingPointSamplesBitmapFormat = 1 << 2
};

/* Property keys of valueForProperty:, setProperty:withValue: and the encoders' dictionary. */
APPKIT_EXTERN NSString* const NSImageCompressionMethod;       /* TIFF: NSNumber, a NSTIFFCompression */
APPKIT_EXTERN NSString* const NSImageCompressionFactor;       /* JPEG, JPEG 2000: NSNumber 0.0 to 1.0 */
APPKIT_EXTERN NSString* const NSImageDitherTransparency;      /* GIF: NSNumber, a BOOL */
APPKIT_EXTERN NSString* const NSImageRGBColorTable;           /* GIF: NSData of packed RGB triples */
APPKIT_EXTERN NSString* const NSImageInterlaced;              /* PNG, GIF: NSNumber, a BOOL */
APPKIT_EXTERN NSString* const NSImageColorSyncProfileData;    /* TIFF, JPEG, PNG: NSData, an ICC profile */
APPKIT_EXTERN NSString* const NSImageFrameCount;              /* GIF: NSNumber, read only */
APPKIT_EXTERN NSString* const NSImageCurrentFrame;            /* GIF: NSNumber, selects the frame */
APPKIT_EXTERN NSString* const NSImageCurrentFrameDuration;    /* GIF: NSNumber, seconds */
APPKIT_EXTERN NSString* const NSImageLoopCount;               /* GIF: NSNumber */
APPKIT_EXTERN NSString* const NSImageGamma;                   /* PNG: NSNumber 0.0 to 1.0 */
APPKIT_EXTERN NSString* const NSImageProgressive;             /* JPEG: NSNumber, a BOOL */
APPKIT_EXTERN NSString* const NSImageEXIFData;                /* JPEG, TIFF: NSDictionary */
APPKIT_EXTERN NSString* const NSImageFallbackBackgroundColor; /* formats without alpha: NSColor */

@interface NSBitmapImageRep : NSImageRep {
 @private
  void* _storage;
}

/* Making bitmaps. Planes NULL: the representation allocates (and owns) zeroed storage;
   otherwise it draws from the caller's buffers, which must outlive it. */
- (id)initWithBitmapDataPlanes:(unsigned char**)planes
                    pixelsWide:(NSInteger)width
                    pixelsHigh:(NSInteger)height
                 bitsPerSample:(NSInteger)bps
               samplesPerPixel:(NSInteger)spp
                      hasAlpha:(BOOL)alpha
                      isPlanar:(BOOL)isPlanar
                colorSpaceName:(NSString*)colorSpaceName
                   bytesPerRow:(NSInteger)rBytes
                  bitsPerPixel:(NSInteger)pBits;
- (id)initWithBitmapDataPlanes:(unsigned char**)planes
                    pixelsWide:(NSInteger)width
                    pixelsHigh:(NSInteger)height
                 bitsPerSample:(NSInteger)bps
               samplesPerPixel:(NSInteger)spp
                      hasAlpha:(BOOL)alpha
                      isPlanar:(BOOL)isPlanar
                colorSpaceName:(NSString*)colorSpaceName
                  bitmapFormat:(NSBitmapFormat)bitmapFormat
                   bytesPerRow:(NSInteger)rBytes
                  bitsPerPixel:(NSInteger)pBits;

/* The pixel storage and its layout. */
- (unsigned char*)bitmapData;
- (void)getBitmapDataPlanes:(unsigned char**)data;
- (BOOL)isPlanar;
- (NSInteger)samplesPerPixel;
- (NSInteger)bitsPerPixel;
- (NSInteger)bytesPerRow;
- (NSInteger)bytesPerPlane;
- (NSInteger)numberOfPlanes;
- (NSBitmapFormat)bitmapFormat;

/* Pixels one at a time (x from the left, y from the top). */
- (void)getPixel:(NSUInteger[])p atX:(NSInteger)x y:(NSInteger)y;
- (void)setPixel:(NSUInteger[])p atX:(NSInteger)x y:(NSInteger)y;
- (NSColor*)colorAtX:(NSInteger)x y:(NSInteger)y;
- (void)setColor:(NSColor*)color atX:(NSInteger)x y:(NSInteger)y;

@end

@interface NSBitmapImageRep (Decoding)
/* Reading encoded data (TIFF, BMP, GIF, JPEG, PNG, JPEG 2000): nil for data none of them
   reads in full. imageRepsWithData: gives every page of a TIFF file. */
- (id)initWithData:(NSData*)data;
+ (id)imageRepWithData:(NSData*)data;
+ (NSArray*)imageRepsWithData:(NSData*)data;
+ (BOOL)canInitWithData:(NSData*)data;
@end

@interface NSBitmapImageRep (CoreGraphics)
/* Core Graphics and colour spaces. */
- (id)initWithCGImage:(CGImageRef)cgImage;
- (CGImageRef)CGImage;
- (NSColorSpace*)colorSpace;
- (NSBitmapImageRep*)bitmapImageRepByConvertingToColorSpace:(NSColorSpace*)targetSpace
                                            renderingIntent:(NSColorRenderingIntent)renderingIntent;
- (NSBitmapImageRep*)bitmapImageRepByRetaggingWithColorSpace:(NSColorSpace*)newSpace;
@end

@interface NSBitmapImageRep (TIFF)
- (void)getCompression:(NSTIFFCompression*)compression factor:(float*)factor;
- (void)setCompression:(NSTIFFCompression)compression factor:(float)factor;
- (BOOL)canBeCompressedUsing:(NSTIFFCompression)compression;
- (NSData*)TIFFRepresentation;
- (NSData*)TIFFRepresentationUsingCompression:(NSTIFFCompression)comp factor:(float)factor;
+ (NSData*)TIFFRepresentationOfImageRepsInArray:(NSArray*)array;
+ (NSData*)TIFFRepresentationOfImageRepsInArray:(NSArray*)array
                               usingCompression:(NSTIFFCompression)comp
                                         factor:(float)factor;
+ (void)getTIFFCompressionTypes:(const NSTIFFCompression**)list count:(NSInteger*)numTypes;
+ (NSString*)localizedNameForTIFFCompressionType:(NSTIFFCompression)compression;

@end

@interface NSBitmapImageRep (NSBitmapImageFileTypeExtensions)
+ (NSData*)representationOfImageRepsInArray:(NSArray*)imageReps
                                  usingType:(NSBitmapImageFileType)storageType
                                 properties:(NSDictionary*)properties;
- (NSData*)representationUsingType:(NSBitmapImageFileType)storageType
                        properties:(NSDictionary*)properties;
@end

@interface NSBitmapImageRep (Properties)
/* The properties the encoders read and the decoders fill in (the keys above). Setting
   NSImageCurrentFrame shows that frame of an animation. */
- (void)setProperty:(NSString*)property withValue:(id)value;
- (id)valueForProperty:(NSString*)property;
@end

#endif
