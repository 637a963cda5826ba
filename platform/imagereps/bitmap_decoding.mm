/* NSBitmapImageRep from encoded data: which formats it reads, the decoders behind
   initWithData: and imageRepsWithData: (every TIFF page and every image of an icon file
   as a representation of its own; every GIF frame kept for NSImageCurrentFrame), and the
   properties a decoder fills in. */
#import "imagereps/bitmap_storage.h"

namespace {

qvr::ImageFormat FormatOf(NSData* data) {
  if (data == nil) return qvr::ImageFormat::unknown;
  return qvr::sniff_image_format(static_cast<const uint8_t*>([data bytes]), [data length]);
}

/* Every image in the data: TIFF pages or icon sizes, or the one image of the others
   (GIF is read by InitWithGIF). */
bool DecodeAll(NSData* data, qvr::ImageFormat format, std::vector<qvr::Frame>& frames) {
  const uint8_t* bytes = static_cast<const uint8_t*>([data bytes]);
  const size_t length = [data length];
  frames.clear();
  qvr::Frame one;
  bool ok = false;
  switch (format) {
    case qvr::ImageFormat::tiff:
      return qvr::tiff_decode(bytes, length, frames);
    case qvr::ImageFormat::gif:
      return false;  // read by InitWithGIF: its frames are composited on demand
    case qvr::ImageFormat::ico:
      return qvr::ico_decode(bytes, length, frames);
    case qvr::ImageFormat::icns:
      return qvr::icns_decode(bytes, length, frames);
    case qvr::ImageFormat::jpeg:
      ok = qvr::jpeg_decode(bytes, length, one);
      break;
    case qvr::ImageFormat::png:
      ok = qvr::png_decode(bytes, length, one);
      break;
    case qvr::ImageFormat::bmp:
      ok = qvr::bmp_decode(bytes, length, one);
      break;
    case qvr::ImageFormat::jpeg2000:
      ok = qvr::jpeg2000_decode(bytes, length, one);
      break;
    case qvr::ImageFormat::unknown:
      return false;
  }
  if (ok) frames.push_back(std::move(one));
  return ok;
}

void FillDecodedProperties(NSBitmapImageRep* rep, qvr::ImageFormat format, size_t frameCount) {
  BitmapStorage* storage = [rep qvrStorage];
  NSMutableDictionary* properties = storage->properties;
  const qvr::ImageMetadata& metadata = storage->metadata;
  if (!metadata.exif.empty()) {
    NSDictionary* exif = QVRDictionaryFromEXIF(metadata.exif);
    if ([exif count] > 0) [properties setObject:exif forKey:NSImageEXIFData];
  }
  if (!metadata.icc.empty())
    [properties setObject:[NSData dataWithBytes:metadata.icc.data() length:metadata.icc.size()]
                   forKey:NSImageColorSyncProfileData];
  switch (format) {
    case qvr::ImageFormat::png:
      if (metadata.gamma > 0) [properties setObject:[NSNumber numberWithDouble:metadata.gamma] forKey:NSImageGamma];
      [properties setObject:[NSNumber numberWithBool:metadata.interlaced] forKey:NSImageInterlaced];
      break;
    case qvr::ImageFormat::jpeg:
      [properties setObject:[NSNumber numberWithBool:metadata.progressive] forKey:NSImageProgressive];
      break;
    case qvr::ImageFormat::tiff:
      storage->compression = QVRTIFFCompressionFromFile(metadata.tiff_compression);
      [properties setObject:[NSNumber numberWithUnsignedInteger:storage->compression] forKey:NSImageCompressionMethod];
      break;
    case qvr::ImageFormat::gif:
      [properties setObject:[NSNumber numberWithInteger:NSInteger(frameCount)] forKey:NSImageFrameCount];
      [properties setObject:[NSNumber numberWithInteger:0] forKey:NSImageCurrentFrame];
      [properties setObject:[NSNumber numberWithFloat:float(metadata.frame_duration)]
                     forKey:NSImageCurrentFrameDuration];
      if (metadata.loop_count >= 0)
        [properties setObject:[NSNumber numberWithInteger:metadata.loop_count] forKey:NSImageLoopCount];
      [properties setObject:[NSNumber numberWithBool:metadata.interlaced] forKey:NSImageInterlaced];
      if (!metadata.palette_rgb.empty())
        [properties setObject:[NSData dataWithBytes:metadata.palette_rgb.data() length:metadata.palette_rgb.size()]
                       forKey:NSImageRGBColorTable];
      break;
    default:
      break;
  }
}

}  // namespace

@implementation NSBitmapImageRep (Decoding)

+ (BOOL)canInitWithData:(NSData*)data {
  const qvr::ImageFormat format = FormatOf(data);
  if (format == qvr::ImageFormat::jpeg2000) return qvr::jpeg2000_available();
  return format != qvr::ImageFormat::unknown;
}

/* A GIF shows its first frame; an animation keeps the others for NSImageCurrentFrame. */
static id InitWithGIF(NSBitmapImageRep* rep, NSData* data) {
  std::shared_ptr<qvr::GifAnimation> animation =
      qvr::GifAnimation::read(static_cast<const uint8_t*>([data bytes]), [data length]);
  qvr::Frame first;
  if (animation == nullptr || !animation->render(0, first.raster)) {
    [rep release];
    return nil;
  }
  first.metadata = animation->metadata(0);
  rep = [rep qvrInitWithFrame:first];
  if (rep != nil && animation->frame_count() > 1) {
    BitmapStorage* storage = [rep qvrStorage];
    for (size_t i = 0; i < animation->frame_count(); ++i) storage->frameMetadata.push_back(animation->metadata(i));
    storage->animation = std::move(animation);
  }
  if (rep != nil) FillDecodedProperties(rep, qvr::ImageFormat::gif, std::max<size_t>(1, [rep qvrStorage]->frameMetadata.size()));
  return rep;
}

- (id)initWithData:(NSData*)data {
  const qvr::ImageFormat format = FormatOf(data);
  if (format == qvr::ImageFormat::gif) return InitWithGIF(self, data);
  std::vector<qvr::Frame> frames;
  if (!DecodeAll(data, format, frames) || frames.empty()) {
    [self release];
    return nil;
  }
  self = [self qvrInitWithFrame:frames[0]];
  if (self != nil) FillDecodedProperties(self, format, 1);
  if (self != nil && format == qvr::ImageFormat::jpeg) [self qvrStorage]->jpegSource = [data copy];
  return self;
}

+ (id)imageRepWithData:(NSData*)data {
  return [[[self alloc] initWithData:data] autorelease];
}

/* A representation per TIFF page and per icon image. */
static bool HasSeveralImages(qvr::ImageFormat format) {
  return format == qvr::ImageFormat::tiff || format == qvr::ImageFormat::ico || format == qvr::ImageFormat::icns;
}

+ (NSArray*)imageRepsWithData:(NSData*)data {
  const qvr::ImageFormat format = FormatOf(data);
  if (!HasSeveralImages(format)) {
    id rep = [self imageRepWithData:data];
    return rep ? [NSArray arrayWithObject:rep] : nil;
  }
  std::vector<qvr::Frame> pages;
  if (!DecodeAll(data, format, pages)) return nil;
  NSMutableArray* reps = [NSMutableArray arrayWithCapacity:pages.size()];
  for (qvr::Frame& page : pages) {
    NSBitmapImageRep* rep = [[self alloc] qvrInitWithFrame:page];
    if (rep == nil) return nil;
    FillDecodedProperties(rep, format, 1);
    [reps addObject:rep];
    [rep release];
  }
  return reps;
}

@end

/* The formats, as type identifiers, file name extensions and HFS types, and pasteboard types. */
@implementation NSBitmapImageRep (Types)

+ (NSArray*)imageUnfilteredTypes {
  NSMutableArray* types = [NSMutableArray arrayWithObjects:@"public.tiff", @"com.microsoft.bmp",
                                                           @"com.compuserve.gif", @"public.jpeg", @"public.png", nil];
  if (qvr::jpeg2000_available()) [types addObject:@"public.jpeg-2000"];
  [types addObjectsFromArray:[NSArray arrayWithObjects:@"com.microsoft.ico", @"com.apple.icns", nil]];
  return types;
}

+ (NSArray*)imageUnfilteredFileTypes {
  NSMutableArray* types = [NSMutableArray
      arrayWithObjects:@"tiff", @"tif", @"'TIFF'", @"bmp", @"BMP", @"'BMP '", @"'BMPf'", @"gif", @"'GIFf'", @"jpg",
                       @"jpeg", @"jpe", @"'JPEG'", @"png", @"'PNGf'", nil];
  if (qvr::jpeg2000_available()) [types addObjectsFromArray:[NSArray arrayWithObjects:@"jp2", @"j2k", @"jpf", @"'jp2 '", nil]];
  [types addObjectsFromArray:[NSArray arrayWithObjects:@"ico", @"'ICO '", @"icns", @"'icns'", nil]];
  return types;
}

+ (NSArray*)imageUnfilteredPasteboardTypes {
  return [NSArray arrayWithObjects:NSPasteboardTypeTIFF, NSTIFFPboardType, NSPasteboardTypePNG, nil];
}

@end
