/* What an NSBitmapImageRep holds behind its public interface: the pixel planes (its own
   memory or the caller's), their layout, the properties dictionary, the frames of an
   animation, and the cached Core Graphics image. Shared by the imagereps/ files only. */
#ifndef QVR_IMAGEREPS_BITMAP_STORAGE_H
#define QVR_IMAGEREPS_BITMAP_STORAGE_H

#import <AppKit/AppKit.h>

#include <memory>
#include <vector>

#include "codecs/codecs.h"

struct BitmapStorage {
  unsigned char* planes[5] = {nullptr, nullptr, nullptr, nullptr, nullptr};
  qvr::PixelStorage owned;  // the pixels when the representation allocated them
  NSInteger samplesPerPixel = 0;
  NSInteger bitsPerPixel = 0;
  NSInteger bytesPerRow = 0;
  BOOL planar = NO;
  NSBitmapFormat format = 0;
  NSTIFFCompression compression = NSTIFFCompressionNone;
  float compressionFactor = 0.0f;
  NSMutableDictionary* properties = nil;  // retained
  NSColorSpace* colorSpace = nil;         // retained; nil: the one its name implies
  CGImageRef image = nullptr;             // cached -CGImage, owned
  NSData* jpegSource = nil;               // retained; the JPEG the pixels were decoded from,
                                          // while they are unchanged (drawing much smaller
                                          // decodes it again at a reduced size)
  qvr::ImageMetadata metadata;            // what the decoder found (ICC, EXIF block, dpi)
  // An animation's frames, composited when one is shown or written (copies of the
  // representation share them), and each frame's duration and colour table as this
  // representation has them; null and empty for a single image.
  std::shared_ptr<qvr::GifAnimation> animation;
  std::vector<qvr::ImageMetadata> frameMetadata;
};

@interface NSBitmapImageRep (QVRStorage)
- (BitmapStorage*)qvrStorage;
/* Takes over a decoded frame's pixels (no copy) and describes them. */
- (id)qvrInitWithFrame:(qvr::Frame&)frame;
/* The pixels as a codec Raster: a view of the representation's memory when its layout
   allows, otherwise an 8- or 16-bit meshed copy. */
- (qvr::Raster)qvrRaster;
/* Drops the cached CGImage (the pixels changed or may have). */
- (void)qvrPixelsChanged;
/* The CGImage that drawing the representation draws: -CGImageForProposedRect:'s, or one
   over the representation's own memory for this drawing only (see bitmap_core_graphics.mm). */
- (CGImageRef)qvrImageForDrawingInRect:(NSRect*)proposedDestRect
                               context:(NSGraphicsContext*)context
                                 hints:(NSDictionary*)hints;
@end

/* AppKit's TIFF compression constants and the codes in TIFF files differ for JPEG: AppKit's
   NSTIFFCompressionJPEG (6) is written as TIFF's current JPEG scheme (7), since 6 in a file
   is the withdrawn old-style JPEG that can be read but not written. */
inline int QVRTIFFFileCompression(NSTIFFCompression compression) {
  if (compression == NSTIFFCompressionJPEG) return 7;
  if (compression == NSTIFFCompressionOldJPEG) return 6;
  return int(compression);
}
inline NSTIFFCompression QVRTIFFCompressionFromFile(int code) {
  if (code == 7) return NSTIFFCompressionJPEG;
  if (code == 6) return NSTIFFCompressionOldJPEG;
  return NSTIFFCompression(code);
}

/* Number of colour samples of a colour space name (0 for one this system does not know). */
NSInteger QVRColourSamplesForSpaceName(NSString* name);
/* Whether the name is one where 0 means white (the black colour spaces). */
BOOL QVRSpaceNameIsInverted(NSString* name);

/* Encodes bitmap representations (the first alone for single-image formats) as type, with
   the given properties over each representation's own. nil when it cannot. */
NSData* QVREncodeBitmapReps(NSArray* reps, NSBitmapImageFileType type, NSDictionary* properties);

/* EXIF blocks (a TIFF structure) to and from the dictionary of NSImageEXIFData. */
NSDictionary* QVRDictionaryFromEXIF(const std::vector<uint8_t>& tiffStructure);
bool QVREXIFFromDictionary(NSDictionary* dictionary, std::vector<uint8_t>& tiffStructure);

#endif
