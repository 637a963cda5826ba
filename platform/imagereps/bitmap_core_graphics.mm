/* Bitmap representations and Core Graphics: a CGImage of the pixels (over a copy of them,
   so it outlives changes; drawing borrows the pixels instead), a representation drawn
   from any CGImage, and the colour space a representation is tagged with, retagged or
   converted to. */
#import "imagereps/bitmap_storage.h"
#include "coregraphics/live_objects.h"

#include <cstdlib>
#include <cstring>

namespace {

void FreePixels(void* info, const void* data, size_t size) { std::free(const_cast<void*>(data)); }

bool HostIsLittleEndian() {
  const uint16_t probe = 1;
  uint8_t first;
  std::memcpy(&first, &probe, 1);
  return first == 1;
}

/* An image of the raster's rows, rowBytes apart, over the provider's bytes. */
CGImageRef ImageOfRaster(const qvr::Raster& raster, size_t rowBytes, CGDataProviderRef provider) {
  const bool grey = raster.colour_samples() == 1;
  CGColorSpaceRef space = grey ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  CGBitmapInfo info = raster.alpha ? (raster.premultiplied ? kCGImageAlphaPremultipliedLast : kCGImageAlphaLast)
                                   : kCGImageAlphaNone;
  if (raster.bits == 16) info |= HostIsLittleEndian() ? kCGBitmapByteOrder16Little : kCGBitmapByteOrder16Big;
  CGImageRef image = CGImageCreate(size_t(raster.width), size_t(raster.height), size_t(raster.bits),
                                   size_t(raster.bits) * size_t(raster.samples), rowBytes, space, info, provider,
                                   nullptr, true, kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  return image;
}

void ReleaseRepresentation(void* info, const void* data, size_t size) { [static_cast<id>(info) release]; }

}  // namespace

@implementation NSBitmapImageRep (CoreGraphics)

- (CGImageRef)CGImage {
  BitmapStorage* storage = [self qvrStorage];
  if (storage->image) return storage->image;
  qvr::Raster raster = [self qvrRaster];
  if (raster.empty()) return NULL;
  const size_t rowBytes = size_t(raster.width) * raster.samples * (raster.bits / 8);
  uint8_t* pixels = static_cast<uint8_t*>(std::malloc(rowBytes * size_t(raster.height)));
  if (pixels == nullptr) return NULL;
  qvr::advise_large_pages(pixels, rowBytes * size_t(raster.height));
  for (int y = 0; y < raster.height; ++y) std::memcpy(pixels + rowBytes * size_t(y), raster.row(y), rowBytes);
  CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, pixels, rowBytes * size_t(raster.height), FreePixels);
  if (provider == NULL) {
    std::free(pixels);
    return NULL;
  }
  storage->image = ImageOfRaster(raster, rowBytes, provider);
  CGDataProviderRelease(provider);
  return storage->image;
}

/* What drawing draws: the cached CGImage when there is one; otherwise, for pixels whose
   rows are already what -CGImage would copy (back to back, meshed 8 or 16 bits), an
   image over the representation's own memory, made for this one drawing (autoreleased,
   never cached, holding the representation), which saves copying the whole raster first.
   Drawing into the representation's own memory, or a JPEG drawn much smaller, goes the
   usual way. */
- (CGImageRef)qvrImageForDrawingInRect:(NSRect*)proposedDestRect
                               context:(NSGraphicsContext*)context
                                 hints:(NSDictionary*)hints {
  BitmapStorage* storage = [self qvrStorage];
  if (storage->image != NULL || storage->jpegSource != nil)
    return [self CGImageForProposedRect:proposedDestRect context:context hints:hints];
  qvr::Raster raster = [self qvrRaster];
  const size_t rowBytes = size_t(raster.width) * raster.samples * (raster.bits / 8);
  const size_t bytes = rowBytes * size_t(raster.height);
  const uint8_t* target = static_cast<const uint8_t*>(CGBitmapContextGetData((CGContextRef)[context graphicsPort]));
  const size_t targetBytes = CGBitmapContextGetBytesPerRow((CGContextRef)[context graphicsPort]) *
                             CGBitmapContextGetHeight((CGContextRef)[context graphicsPort]);
  const bool overlaps = target != nullptr && target < raster.pixels + bytes && raster.pixels < target + targetBytes;
  if (raster.empty() || raster.pixels != storage->planes[0] || raster.stride != rowBytes || overlaps)
    return [self CGImageForProposedRect:proposedDestRect context:context hints:hints];
  CGDataProviderRef provider = CGDataProviderCreateWithData([self retain], raster.pixels, bytes, ReleaseRepresentation);
  if (provider == NULL) {
    [self release];
    return [self CGImageForProposedRect:proposedDestRect context:context hints:hints];
  }
  CGImageRef image = ImageOfRaster(raster, rowBytes, provider);
  CGDataProviderRelease(provider);
  if (image == NULL) return [self CGImageForProposedRect:proposedDestRect context:context hints:hints];
  return (CGImageRef)[(id)image autorelease];
}

/* The image drawn (copied, not blended) into new pixels: grey images stay grey, everything
   else becomes RGB, with premultiplied alpha when the image has alpha. */
- (id)initWithCGImage:(CGImageRef)cgImage {
  // A reference that arrived as a number from host code may name no image at all.
  if (!CGLiveObjectIsLive(cgImage) || CFGetTypeID(cgImage) != CGImageGetTypeID()) {
    [self release];
    return nil;
  }
  const size_t width = CGImageGetWidth(cgImage), height = CGImageGetHeight(cgImage);
  const CGImageAlphaInfo alphaInfo = CGImageGetAlphaInfo(cgImage);
  const bool hasAlpha = alphaInfo != kCGImageAlphaNone && alphaInfo != kCGImageAlphaNoneSkipFirst &&
                        alphaInfo != kCGImageAlphaNoneSkipLast;
  CGColorSpaceRef imageSpace = CGImageGetColorSpace(cgImage);
  const bool grey = !hasAlpha && !CGImageIsMask(cgImage) && imageSpace != NULL &&
                    CGColorSpaceGetModel(imageSpace) == kCGColorSpaceModelMonochrome;
  self = [self initWithBitmapDataPlanes:NULL
                             pixelsWide:NSInteger(width)
                             pixelsHigh:NSInteger(height)
                          bitsPerSample:8
                        samplesPerPixel:grey ? 1 : hasAlpha ? 4 : 3
                               hasAlpha:hasAlpha
                               isPlanar:NO
                         colorSpaceName:grey ? NSCalibratedWhiteColorSpace : NSCalibratedRGBColorSpace
                            bytesPerRow:0
                           bitsPerPixel:grey ? 8 : 32];
  if (self == nil) return nil;
  BitmapStorage* storage = [self qvrStorage];
  CGColorSpaceRef space = grey ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  CGContextRef context = CGBitmapContextCreate(storage->planes[0], width, height, 8, size_t(storage->bytesPerRow), space,
                                               grey ? kCGImageAlphaNone
                                                    : hasAlpha ? kCGImageAlphaPremultipliedLast : kCGImageAlphaNoneSkipLast);
  CGColorSpaceRelease(space);
  if (context == NULL) {
    [self release];
    return nil;
  }
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextDrawImage(context, CGRectMake(0, 0, width, height), cgImage);
  CGContextRelease(context);
  return self;
}

- (NSColorSpace*)colorSpace {
  BitmapStorage* storage = [self qvrStorage];
  if (storage->colorSpace) return storage->colorSpace;
  const NSInteger colours = QVRColourSamplesForSpaceName(_colorSpaceName);
  const BOOL device = [_colorSpaceName hasPrefix:@"NSDevice"];
  if (colours == 1) return device ? [NSColorSpace deviceGrayColorSpace] : [NSColorSpace genericGrayColorSpace];
  if (colours == 3) return device ? [NSColorSpace deviceRGBColorSpace] : [NSColorSpace genericRGBColorSpace];
  return nil;
}

/* The same pixels under another colour space of the same model; nil for another model. */
- (NSBitmapImageRep*)bitmapImageRepByRetaggingWithColorSpace:(NSColorSpace*)newSpace {
  if (newSpace == nil) return nil;
  const NSInteger colours = QVRColourSamplesForSpaceName(_colorSpaceName);
  const NSColorSpaceModel model = [newSpace colorSpaceModel];
  if (!((model == NSGrayColorSpaceModel && colours == 1) || (model == NSRGBColorSpaceModel && colours == 3)))
    return nil;
  NSBitmapImageRep* copy = [[self copy] autorelease];
  BitmapStorage* storage = [copy qvrStorage];
  [storage->colorSpace release];
  storage->colorSpace = [newSpace retain];
  return copy;
}

/* Grey and RGB convert into each other (luma one way, repeated grey the other); without
   colour profiles the values are otherwise kept. */
- (NSBitmapImageRep*)bitmapImageRepByConvertingToColorSpace:(NSColorSpace*)targetSpace
                                            renderingIntent:(NSColorRenderingIntent)renderingIntent {
  if (targetSpace == nil) return nil;
  const NSColorSpaceModel model = [targetSpace colorSpaceModel];
  if (model != NSGrayColorSpaceModel && model != NSRGBColorSpaceModel) return nil;
  const NSInteger colours = QVRColourSamplesForSpaceName(_colorSpaceName);
  if ((model == NSGrayColorSpaceModel && colours == 1) || (model == NSRGBColorSpaceModel && colours == 3))
    return [self bitmapImageRepByRetaggingWithColorSpace:targetSpace];
  qvr::Raster raster = [self qvrRaster];
  if (raster.empty()) return nil;
  const int outColours = model == NSGrayColorSpaceModel ? 1 : 3;
  const int spp = outColours + (raster.alpha ? 1 : 0);
  NSBitmapImageRep* result = [[[NSBitmapImageRep alloc]
      initWithBitmapDataPlanes:NULL
                    pixelsWide:_pixelsWide
                    pixelsHigh:_pixelsHigh
                 bitsPerSample:8
               samplesPerPixel:spp
                      hasAlpha:raster.alpha
                      isPlanar:NO
                colorSpaceName:outColours == 1 ? NSCalibratedWhiteColorSpace : NSCalibratedRGBColorSpace
                  bitmapFormat:raster.alpha ? NSAlphaNonpremultipliedBitmapFormat : 0
                   bytesPerRow:0
                  bitsPerPixel:0] autorelease];
  if (result == nil) return nil;
  BitmapStorage* out = [result qvrStorage];
  const uint8_t white[3] = {255, 255, 255};
  std::vector<uint8_t> rgba(size_t(raster.width) * 4);
  for (int y = 0; y < raster.height; ++y) {
    qvr::raster_row_to_8_bits(raster, y, 4, white, rgba.data());
    uint8_t* o = out->planes[0] + size_t(out->bytesPerRow) * size_t(y);
    for (int x = 0; x < raster.width; ++x) {
      const uint8_t* p = &rgba[size_t(x) * 4];
      if (outColours == 1) *o++ = uint8_t((p[0] * 299u + p[1] * 587u + p[2] * 114u + 500u) / 1000u);
      else o = static_cast<uint8_t*>(std::memcpy(o, p, 3)) + 3;
      if (raster.alpha) *o++ = p[3];
    }
  }
  [out->colorSpace release];
  out->colorSpace = [targetSpace retain];
  return result;
}

@end
