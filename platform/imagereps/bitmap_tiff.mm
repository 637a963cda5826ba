/* TIFF for bitmap representations: the compression a representation keeps (read from its
   file or set), which compressions fit its layout, and TIFF data of one or many
   representations as pages of one file. */
#import "imagereps/bitmap_storage.h"

namespace {

const NSTIFFCompression kCompressionTypes[] = {NSTIFFCompressionNone, NSTIFFCompressionCCITTFAX3,
                                               NSTIFFCompressionCCITTFAX4, NSTIFFCompressionLZW,
                                               NSTIFFCompressionJPEG, NSTIFFCompressionPackBits};

NSData* TIFFOf(NSArray* reps, NSTIFFCompression compression, float factor) {
  NSDictionary* properties = [NSDictionary
      dictionaryWithObjectsAndKeys:[NSNumber numberWithUnsignedInteger:compression], NSImageCompressionMethod,
                                   [NSNumber numberWithFloat:factor], NSImageCompressionFactor, nil];
  return QVREncodeBitmapReps(reps, NSTIFFFileType, properties);
}

}  // namespace

@implementation NSBitmapImageRep (TIFF)

- (void)getCompression:(NSTIFFCompression*)compression factor:(float*)factor {
  BitmapStorage* storage = [self qvrStorage];
  if (compression) *compression = storage->compression;
  if (factor) *factor = storage->compressionFactor;
}

- (void)setCompression:(NSTIFFCompression)compression factor:(float)factor {
  BitmapStorage* storage = [self qvrStorage];
  storage->compression = compression;
  storage->compressionFactor = factor;
}

/* The bilevel fax codes need one sample of one bit; JPEG needs 8-bit samples; NeXT and old
   JPEG can be read by some, written by nobody. */
- (BOOL)canBeCompressedUsing:(NSTIFFCompression)compression {
  switch (compression) {
    case NSTIFFCompressionNone:
    case NSTIFFCompressionLZW:
    case NSTIFFCompressionPackBits:
      return qvr::tiff_compression_supported(QVRTIFFFileCompression(compression));
    case NSTIFFCompressionJPEG:
      return _bitsPerSample == 8 && qvr::tiff_compression_supported(QVRTIFFFileCompression(compression));
    case NSTIFFCompressionCCITTFAX3:
    case NSTIFFCompressionCCITTFAX4:
      return _bitsPerSample == 1 && [self samplesPerPixel] == 1 &&
             qvr::tiff_compression_supported(QVRTIFFFileCompression(compression));
    default:
      return NO;
  }
}

- (NSData*)TIFFRepresentation {
  BitmapStorage* storage = [self qvrStorage];
  return TIFFOf([NSArray arrayWithObject:self], storage->compression, storage->compressionFactor);
}

- (NSData*)TIFFRepresentationUsingCompression:(NSTIFFCompression)comp factor:(float)factor {
  return TIFFOf([NSArray arrayWithObject:self], [self canBeCompressedUsing:comp] ? comp : NSTIFFCompression(NSTIFFCompressionNone), factor);
}

+ (NSData*)TIFFRepresentationOfImageRepsInArray:(NSArray*)array {
  NSBitmapImageRep* first = nil;
  for (NSUInteger i = 0; i < [array count] && first == nil; ++i) {
    id rep = [array objectAtIndex:i];
    if ([rep isKindOfClass:[NSBitmapImageRep class]]) first = rep;
  }
  if (first == nil) return nil;
  NSTIFFCompression compression;
  float factor;
  [first getCompression:&compression factor:&factor];
  return TIFFOf(array, compression, factor);
}

+ (NSData*)TIFFRepresentationOfImageRepsInArray:(NSArray*)array
                               usingCompression:(NSTIFFCompression)comp
                                         factor:(float)factor {
  return TIFFOf(array, comp, factor);
}

+ (void)getTIFFCompressionTypes:(const NSTIFFCompression**)list count:(NSInteger*)numTypes {
  if (list) *list = kCompressionTypes;
  if (numTypes) *numTypes = NSInteger(sizeof kCompressionTypes / sizeof kCompressionTypes[0]);
}

+ (NSString*)localizedNameForTIFFCompressionType:(NSTIFFCompression)compression {
  switch (compression) {
    case NSTIFFCompressionNone: return @"No Compression";
    case NSTIFFCompressionCCITTFAX3: return @"CCITTFAX3";
    case NSTIFFCompressionCCITTFAX4: return @"CCITTFAX4";
    case NSTIFFCompressionLZW: return @"LZW";
    case NSTIFFCompressionJPEG: return @"JPEG";
    case NSTIFFCompressionNEXT: return @"NeXT";
    case NSTIFFCompressionPackBits: return @"PackBits";
    case NSTIFFCompressionOldJPEG: return @"Old JPEG";
    default: return nil;
  }
}

@end
