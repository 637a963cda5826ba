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
  const size_t frameCount = storage->animation ? storage->frameMetadata.size() : 0;
  if ([property isEqualToString:NSImageCurrentFrame] && frameCount > 0) {
    if (![value respondsToSelector:@selector(integerValue)]) return;
    const NSInteger index = [value integerValue];
    if (index < 0 || size_t(index) >= frameCount) return;
    // The frame is composited straight into the shown pixels, which have its layout.
    qvr::Raster shown;
    shown.view(storage->planes[0], int(_pixelsWide), int(_pixelsHigh), int(storage->samplesPerPixel), 8,
               storage->animation->has_alpha(), size_t(storage->bytesPerRow));
    if (storage->planar || storage->bitsPerPixel != 8 * storage->samplesPerPixel ||
        !storage->animation->render(size_t(index), shown))
      return;
    [self qvrPixelsChanged];
    const qvr::ImageMetadata& frame = storage->frameMetadata[size_t(index)];
    [storage->properties setObject:[NSNumber numberWithInteger:index] forKey:NSImageCurrentFrame];
    [storage->properties setObject:[NSNumber numberWithFloat:float(frame.frame_duration)]
                            forKey:NSImageCurrentFrameDuration];
    if (!frame.palette_rgb.empty())
      [storage->properties setObject:[NSData dataWithBytes:frame.palette_rgb.data() length:frame.palette_rgb.size()]
                              forKey:NSImageRGBColorTable];
    return;
  }
  if ([property isEqualToString:NSImageFrameCount] && frameCount > 0) return;  // read only
  if (value == nil) [storage->properties removeObjectForKey:property];
  else [storage->properties setObject:value forKey:property];
  if ([property isEqualToString:NSImageCurrentFrameDuration] && frameCount > 0) {
    NSNumber* current = [storage->properties objectForKey:NSImageCurrentFrame];
    const size_t index = current ? size_t([current integerValue]) : 0;
    if (index < frameCount && [value respondsToSelector:@selector(doubleValue)])
      storage->frameMetadata[index].frame_duration = [value doubleValue];
  }
}

@end
