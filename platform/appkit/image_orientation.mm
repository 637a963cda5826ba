/* EXIF orientation: a JPEG whose EXIF block says its pixels are stored turned or mirrored
   is shown upright by initWithData:, its bitmaps redrawn through the inverse transform;
   initWithDataIgnoringOrientation: keeps the pixels as stored. */
#import "image_internal.h"

#include <libexif/exif-data.h>

int ImageDataOrientation(NSData* data) {
  const uint8_t* bytes = (const uint8_t*)[data bytes];
  NSUInteger length = [data length];
  if (length < 4 || bytes[0] != 0xFF || bytes[1] != 0xD8) return 1;
  ExifData* exif = exif_data_new_from_data(bytes, (unsigned int)MIN(length, (NSUInteger)UINT32_MAX));
  if (!exif) return 1;
  int orientation = 1;
  ExifEntry* entry = exif_content_get_entry(exif->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (entry && entry->format == EXIF_FORMAT_SHORT && entry->components >= 1 && entry->data && entry->size >= 2) {
    int value = exif_get_short(entry->data, exif_data_get_byte_order(exif));
    if (value >= 1 && value <= 8) orientation = value;
  }
  exif_data_unref(exif);
  return orientation;
}

/* Where a stored w x h picture goes in the upright one (y up, origin bottom left). */
static CGAffineTransform UprightTransform(int orientation, CGFloat w, CGFloat h) {
  switch (orientation) {
    case 2: return CGAffineTransformMake(-1, 0, 0, 1, w, 0);  /* mirrored left to right */
    case 3: return CGAffineTransformMake(-1, 0, 0, -1, w, h); /* turned half round */
    case 4: return CGAffineTransformMake(1, 0, 0, -1, 0, h);  /* mirrored top to bottom */
    case 5: return CGAffineTransformMake(0, -1, -1, 0, h, w); /* transposed */
    case 6: return CGAffineTransformMake(0, -1, 1, 0, 0, w);  /* to be turned clockwise */
    case 7: return CGAffineTransformMake(0, 1, 1, 0, 0, 0);   /* transversed */
    case 8: return CGAffineTransformMake(0, 1, -1, 0, h, 0);  /* to be turned anticlockwise */
    default: return CGAffineTransformIdentity;
  }
}

static NSImageRep* UprightRep(NSImageRep* rep, int orientation) {
  if (![rep isKindOfClass:[NSBitmapImageRep class]]) return rep;
  NSInteger w = [rep pixelsWide], h = [rep pixelsHigh];
  NSSize size = [rep size];
  if (w <= 0 || h <= 0 || !(size.width > 0 && size.height > 0)) return rep;
  BOOL turned = orientation >= 5;
  NSBitmapImageRep* upright = [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                                       pixelsWide:turned ? h : w
                                                                       pixelsHigh:turned ? w : h
                                                                    bitsPerSample:8
                                                                  samplesPerPixel:4
                                                                         hasAlpha:YES
                                                                         isPlanar:NO
                                                                   colorSpaceName:NSCalibratedRGBColorSpace
                                                                      bytesPerRow:0
                                                                     bitsPerPixel:0] autorelease];
  if (!upright) return rep;
  [upright setSize:turned ? NSMakeSize(size.height, size.width) : size];
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:upright];
  if (!context) return rep;
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:context];
  CGContextConcatCTM((CGContextRef)[context graphicsPort], UprightTransform(orientation, size.width, size.height));
  [rep drawInRect:NSMakeRect(0, 0, size.width, size.height)
           fromRect:NSZeroRect
          operation:NSCompositeCopy
           fraction:1
     respectFlipped:NO
              hints:nil];
  [context flushGraphics];
  [NSGraphicsContext restoreGraphicsState];
  /* What the picture says about itself stays with it. */
  NSString* keys[] = {NSImageEXIFData, NSImageColorSyncProfileData};
  for (NSString* key : keys) {
    id value = [(NSBitmapImageRep*)rep valueForProperty:key];
    /* The pixels are upright now: an orientation kept with them would turn them again. */
    if ([value isKindOfClass:[NSDictionary class]] && [value objectForKey:@"Orientation"]) {
      value = [[value mutableCopy] autorelease];
      [value removeObjectForKey:@"Orientation"];
    }
    if (value) [upright setProperty:key withValue:value];
  }
  return upright;
}

NSArray* ImageRepsUpright(NSArray* reps, int orientation) {
  if (orientation <= 1 || orientation > 8) return reps;
  NSMutableArray* upright = [NSMutableArray arrayWithCapacity:[reps count]];
  for (NSUInteger i = 0; i < [reps count]; i++) [upright addObject:UprightRep([reps objectAtIndex:i], orientation)];
  return upright;
}
