/* The properties of a bitmap representation: the keys, reading and setting them, and the one
   property that acts when set, NSImageCurrentFrame, which shows another frame of an
   animation in the representation's pixels (with that frame's duration and colour table). */
#import "imagereps/bitmap_storage.h"

#include <cstring>

NSString* const NSImageCompressionMethod = @"NSImageCompressionMethod";
NSString* const NSImageCompressionFactor = @"NSImageCompressionFactor";
NSString* const NSImageDitherTransparency = @"NSImageDitherTransparency";
NSString* const NSImageRGBColorTable = @"NSImageRGBColorTable";
NSString* const NSImageInterlaced = @"NSImageInterlaced";
NSString* const NSImageColorSyncProfileData = @"NSImageColorSyncProfileData";
NSString* const NSImageFrameCount = @"NSImageFrameCount";
NSString* const NSImageCurrentFrame = @"NSImageCurrentFrame";
NSString* const NSImageCurrentFrameDuration = @"NSImageCurrentFrameDuration";
NSString* const NSImageLoopCount = @"NSImageLoopCount";
NSString* const NSImageGamma = @"NSImageGamma";
NSString* const NSImageProgressive = @"NSImageProgressive";
NSString* const NSImageEXIFData = @"NSImageEXIFData";
NSString* const NSImageFallbackBackgroundColor = @"NSImageFallbackBackgroundColor";

@implementation NSBitmapImageRep (Properties)

- (id)valueForProperty:(NSString*)property {
  if (property == nil) return nil;
  return [[[[self qvrStorage]->properties objectForKey:property] retain] autorelease];
}

- (void)setProperty:(NSString*)property withValue:(id)value {
  if (property == nil) return;
  BitmapStorage* storage = [self qvrStorage];
  if ([property isEqualToString:NSImageCurrentFrame] && !storage->frames.empty()) {
    if (![value respondsToSelector:@selector(integerValue)]) return;
    const NSInteger index = [value integerValue];
    if (index < 0 || size_t(index) >= storage->frames.size()) return;
    const qvr::Frame& frame = storage->frames[size_t(index)];
    // Every frame is the whole canvas in the same layout as the shown pixels.
    if (NSInteger(frame.raster.stride) != storage->bytesPerRow || frame.raster.height != _pixelsHigh) return;
    std::memcpy(storage->planes[0], frame.raster.pixels, frame.raster.stride * size_t(frame.raster.height));
    [self qvrPixelsChanged];
    [storage->properties setObject:[NSNumber numberWithInteger:index] forKey:NSImageCurrentFrame];
    [storage->properties setObject:[NSNumber numberWithFloat:float(frame.metadata.frame_duration)]
                            forKey:NSImageCurrentFrameDuration];
    if (!frame.metadata.palette_rgb.empty())
      [storage->properties setObject:[NSData dataWithBytes:frame.metadata.palette_rgb.data()
                                                    length:frame.metadata.palette_rgb.size()]
                              forKey:NSImageRGBColorTable];
    return;
  }
  if ([property isEqualToString:NSImageFrameCount] && !storage->frames.empty()) return;  // read only
  if (value == nil) [storage->properties removeObjectForKey:property];
  else [storage->properties setObject:value forKey:property];
  if ([property isEqualToString:NSImageCurrentFrameDuration] && !storage->frames.empty()) {
    NSNumber* current = [storage->properties objectForKey:NSImageCurrentFrame];
    const size_t index = current ? size_t([current integerValue]) : 0;
    if (index < storage->frames.size() && [value respondsToSelector:@selector(doubleValue)])
      storage->frames[index].metadata.frame_duration = [value doubleValue];
  }
}

@end
