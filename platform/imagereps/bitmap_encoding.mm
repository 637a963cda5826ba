/* NSBitmapImageRep to encoded data: the properties dictionary turned into encoder options,
   each representation's pixels handed to the codec as they lie when their layout allows,
   and the choice of codec by file type. */
#import "imagereps/bitmap_storage.h"

#include <cmath>

namespace {

double NumberFor(NSDictionary* properties, NSString* key, double fallback) {
  id value = [properties objectForKey:key];
  return [value respondsToSelector:@selector(doubleValue)] ? [value doubleValue] : fallback;
}

bool FlagFor(NSDictionary* properties, NSString* key) {
  id value = [properties objectForKey:key];
  return [value respondsToSelector:@selector(boolValue)] && [value boolValue];
}

/* The fallback background colour, when the properties name one. */
bool ReadBackground(NSDictionary* properties, uint8_t rgb[3]) {
  id colour = [properties objectForKey:NSImageFallbackBackgroundColor];
  if (![colour isKindOfClass:[NSColor class]]) return false;
  NSColor* converted = [colour colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
  if (converted == nil) return false;
  CGFloat r = 1, g = 1, b = 1, a = 1;
  [converted getRed:&r green:&g blue:&b alpha:&a];
  const CGFloat c[3] = {r, g, b};
  for (int i = 0; i < 3; ++i) rgb[i] = uint8_t(std::lround(std::min<CGFloat>(1, std::max<CGFloat>(0, c[i])) * 255));
  return true;
}

/* The frame to encode for one representation: its pixels, resolution, profile, EXIF and
   frame duration, each property taken from the call's dictionary first. */
bool FrameFor(NSBitmapImageRep* rep, NSDictionary* properties, qvr::Frame& frame) {
  BitmapStorage* storage = [rep qvrStorage];
  frame.raster = [rep qvrRaster];
  if (frame.raster.empty()) return false;
  frame.metadata = storage->metadata;
  const NSSize size = [rep size];
  if (size.width > 0 && size.height > 0) {
    frame.metadata.x_dpi = 72.0 * [rep pixelsWide] / size.width;
    frame.metadata.y_dpi = 72.0 * [rep pixelsHigh] / size.height;
  }
  id profile = [properties objectForKey:NSImageColorSyncProfileData];
  if (profile == nil) profile = [rep valueForProperty:NSImageColorSyncProfileData];
  frame.metadata.icc.clear();
  if ([profile isKindOfClass:[NSData class]]) {
    const uint8_t* bytes = static_cast<const uint8_t*>([profile bytes]);
    frame.metadata.icc.assign(bytes, bytes + [profile length]);
  }
  id exif = [properties objectForKey:NSImageEXIFData];
  if (exif == nil) exif = [rep valueForProperty:NSImageEXIFData];
  frame.metadata.exif.clear();
  if ([exif isKindOfClass:[NSDictionary class]]) {
    QVREXIFFromDictionary(exif, frame.metadata.exif);
  } else if ([exif isKindOfClass:[NSData class]]) {
    const uint8_t* bytes = static_cast<const uint8_t*>([exif bytes]);
    frame.metadata.exif.assign(bytes, bytes + [exif length]);
  }
  frame.metadata.palette_rgb.clear();  // the properties' colour table applies to the shown pixels
  id duration = [properties objectForKey:NSImageCurrentFrameDuration];
  if (duration == nil) duration = [rep valueForProperty:NSImageCurrentFrameDuration];
  if ([duration respondsToSelector:@selector(doubleValue)]) frame.metadata.frame_duration = [duration doubleValue];
  return true;
}

/* A representation that holds an animation goes to GIF whole: every frame as it was read,
   with the colour table it was read with unless the call names one, but the frame it shows
   as its pixels and properties are now. The other frames are composited one at a time into
   a scratch raster as the encoder asks for them. */
bool EncodeAnimation(NSBitmapImageRep* rep, NSDictionary* given, const qvr::Frame& shown,
                     const qvr::EncodeOptions& options, std::vector<uint8_t>& out) {
  BitmapStorage* storage = [rep qvrStorage];
  qvr::GifAnimation& animation = *storage->animation;
  const size_t current = size_t(std::max<NSInteger>(0, [[rep valueForProperty:NSImageCurrentFrame] integerValue]));
  const bool ownTables = [given objectForKey:NSImageRGBColorTable] == nil;
  qvr::Frame scratch;
  auto frameAt = [&](size_t i) -> const qvr::Frame* {
    if (i == current) return &shown;
    if (!animation.render(i, scratch.raster)) return nullptr;
    scratch.metadata = storage->frameMetadata[i];
    if (!ownTables) scratch.metadata.palette_rgb.clear();
    return &scratch;
  };
  return qvr::gif_encode(storage->frameMetadata.size(), animation.width(), animation.height(), frameAt, options, out);
}

}  // namespace

NSData* QVREncodeBitmapReps(NSArray* reps, NSBitmapImageFileType type, NSDictionary* given) {
  NSMutableArray* bitmaps = [NSMutableArray array];
  for (NSUInteger i = 0; i < [reps count]; ++i) {
    id rep = [reps objectAtIndex:i];
    if ([rep isKindOfClass:[NSBitmapImageRep class]]) [bitmaps addObject:rep];
  }
  if ([bitmaps count] == 0) return nil;
  const bool manyImages = type == NSTIFFFileType || type == NSGIFFileType;
  if (!manyImages) [bitmaps removeObjectsInRange:NSMakeRange(1, [bitmaps count] - 1)];

  // The call's properties win; the first representation's own fill the gaps.
  NSBitmapImageRep* first = [bitmaps objectAtIndex:0];
  NSMutableDictionary* properties = [[[first qvrStorage]->properties mutableCopy] autorelease];
  if (given != nil) [properties addEntriesFromDictionary:given];

  qvr::EncodeOptions options;
  options.quality = float(NumberFor(properties, NSImageCompressionFactor, 0.8));
  options.progressive = FlagFor(properties, NSImageProgressive);
  options.interlaced = FlagFor(properties, NSImageInterlaced);
  options.gamma = NumberFor(properties, NSImageGamma, 0.0);
  options.dither_transparency = FlagFor(properties, NSImageDitherTransparency);
  options.loop_count = int(NumberFor(properties, NSImageLoopCount, -1));
  options.tiff_compression = QVRTIFFFileCompression(
      NSTIFFCompression(NumberFor(properties, NSImageCompressionMethod, double([first qvrStorage]->compression))));
  // BMP keeps alpha unless the caller names a colour to show where it is clear.
  options.opaque_over_background = ReadBackground(properties, options.background_rgb);
  id table = [properties objectForKey:NSImageRGBColorTable];
  if ([table isKindOfClass:[NSData class]]) {
    const uint8_t* bytes = static_cast<const uint8_t*>([table bytes]);
    options.palette_rgb.assign(bytes, bytes + [table length] / 3 * 3);
  }

  std::vector<qvr::Frame> frames([bitmaps count]);
  std::vector<const qvr::Frame*> pointers;
  for (NSUInteger i = 0; i < [bitmaps count]; ++i) {
    if (!FrameFor([bitmaps objectAtIndex:i], i == 0 ? given : nil, frames[i])) return nil;
    pointers.push_back(&frames[i]);
  }
  options.metadata = &frames[0].metadata;
  const bool animation = type == NSGIFFileType && [bitmaps count] == 1 && [first qvrStorage]->animation != nullptr;

  std::vector<uint8_t> out;
  bool ok = false;
  switch (type) {
    case NSTIFFFileType:
      ok = qvr::tiff_encode(pointers, options, out);
      break;
    case NSBMPFileType:
      ok = qvr::bmp_encode(frames[0].raster, options, out);
      break;
    case NSGIFFileType:
      ok = animation ? EncodeAnimation(first, given, frames[0], options, out) : qvr::gif_encode(pointers, options, out);
      break;
    case NSJPEGFileType:
      ok = qvr::jpeg_encode(frames[0].raster, options, out);
      break;
    case NSPNGFileType:
      ok = qvr::png_encode(frames[0].raster, options, out);
      break;
    case NSJPEG2000FileType:
      ok = qvr::jpeg2000_encode(frames[0].raster, options, out);
      break;
    default:
      return nil;
  }
  if (!ok || out.empty()) return nil;
  return [NSData dataWithBytes:out.data() length:out.size()];
}

@implementation NSBitmapImageRep (NSBitmapImageFileTypeExtensions)

+ (NSData*)representationOfImageRepsInArray:(NSArray*)imageReps
                                  usingType:(NSBitmapImageFileType)storageType
                                 properties:(NSDictionary*)properties {
  return QVREncodeBitmapReps(imageReps, storageType, properties);
}

- (NSData*)representationUsingType:(NSBitmapImageFileType)storageType properties:(NSDictionary*)properties {
  return QVREncodeBitmapReps([NSArray arrayWithObject:self], storageType, properties);
}

@end
