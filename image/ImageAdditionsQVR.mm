/* The NSImage category ImageAdditionsQVR. Encoding: JPEG and BMP cannot carry
   transparency, so they encode the image drawn over white (an opaque bitmap at the
   image's size is that drawing already, and is read as it is); PNG and GIF encode the bitmap
   of the image's TIFF form and keep it; GIF refuses an image without an area. Copies:
   one core renders the image at a new size, with an opacity and optionally flipped, and
   keeps the source's aspect ratio when asked. */
#import <AppKit/AppKit.h>

#import "image/ImageAdditionsQVR.h"

/* The platform's file type codes for representationUsingType:properties:. */
static const NSBitmapImageFileType kBMPType = 1, kGIFType = 2, kJPEGType = 3, kPNGType = 4;
static const NSCompositingOperation kSourceOver = 2;
static const float kDefaultJPEGFactor = 0.8f;
/* Scaling renders with the platform's high interpolation and copies the source's
   pixels, transparency included, rather than compositing them over anything. */
static const NSImageInterpolation kHighInterpolation = 3;
static const NSCompositingOperation kCopy = 1;

/* The first bitmap representation of the image's TIFF form: every representation, also
   a PDF page or an EPS drawing, rendered the way the platform writes TIFF. */
static NSBitmapImageRep* BitmapOfTIFFForm(NSImage* image) {
  NSData* tiff = [image TIFFRepresentation];
  if (tiff == nil) return nil;
  return [NSBitmapImageRep imageRepWithData:tiff];
}

@implementation NSImage (ImageAdditionsQVR)

/* ---- encoding */

/* The image's only representation when it is an opaque 8-bit RGB bitmap at the image's own
   size, unflipped: drawn over an opaque fill it covers every pixel with its own, so it is
   already the flattened image and the encoders can read its pixels without any drawing. */
static NSBitmapImageRep* OpaqueBitmapAtOwnSize(NSImage* image) {
  NSArray* reps = [image representations];
  if ([reps count] != 1 || [image isFlipped]) return nil;
  NSImageRep* only = [reps objectAtIndex:0];
  if (![only isKindOfClass:[NSBitmapImageRep class]]) return nil;
  NSBitmapImageRep* rep = (NSBitmapImageRep*)only;
  NSString* space = [rep colorSpaceName];
  const NSSize size = [image size];
  const BOOL rgb = [space isEqualToString:NSCalibratedRGBColorSpace] || [space isEqualToString:NSDeviceRGBColorSpace];
  const BOOL layout = ![rep hasAlpha] && ![rep isPlanar] && [rep bitsPerSample] == 8 && [rep samplesPerPixel] == 3 &&
                      [rep bitsPerPixel] == 24 && ([rep bitmapFormat] & NSFloatingPointSamplesBitmapFormat) == 0;
  const BOOL ownSize = [rep pixelsWide] == size.width && [rep pixelsHigh] == size.height &&
                       NSEqualSizes([rep size], size);
  return rgb && layout && ownSize && [rep bitmapData] != NULL ? rep : nil;
}

/* A bitmap over the same pixels as a freshly drawn one would describe them: calibrated RGB
   at the image's size, without the source's properties (profile, EXIF), which drawing
   leaves behind. No pixel is copied. */
static NSBitmapImageRep* FlattenedViewOf(NSBitmapImageRep* rep, NSSize size) {
  unsigned char* planes[1] = {[rep bitmapData]};
  NSBitmapImageRep* view = [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:planes
                                                                    pixelsWide:[rep pixelsWide]
                                                                    pixelsHigh:[rep pixelsHigh]
                                                                 bitsPerSample:8
                                                               samplesPerPixel:3
                                                                      hasAlpha:NO
                                                                      isPlanar:NO
                                                                colorSpaceName:NSCalibratedRGBColorSpace
                                                                   bytesPerRow:[rep bytesPerRow]
                                                                  bitsPerPixel:24] autorelease];
  [view setSize:size];
  return view;
}

/* The same pixels with an opaque alpha sample, as drawing leaves them: formats that keep a
   fourth sample (BMP writes 32 bits when the bitmap has one) then write the same bytes. */
static NSBitmapImageRep* FlattenedCopyWithAlphaOf(NSBitmapImageRep* rep, NSSize size) {
  const NSInteger wide = [rep pixelsWide], high = [rep pixelsHigh];
  NSBitmapImageRep* copy = [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                                    pixelsWide:wide
                                                                    pixelsHigh:high
                                                                 bitsPerSample:8
                                                               samplesPerPixel:4
                                                                      hasAlpha:YES
                                                                      isPlanar:NO
                                                                colorSpaceName:NSCalibratedRGBColorSpace
                                                                   bytesPerRow:0
                                                                  bitsPerPixel:0] autorelease];
  if (copy == nil) return nil;
  [copy setSize:size];
  const unsigned char* from = [rep bitmapData];
  unsigned char* to = [copy bitmapData];
  const NSInteger fromRow = [rep bytesPerRow], toRow = [copy bytesPerRow];
  for (NSInteger y = 0; y < high; y++) {
    const unsigned char* in = from + fromRow * y;
    unsigned char* out = to + toRow * y;
    for (NSInteger x = 0; x < wide; x++, in += 3, out += 4) {
      out[0] = in[0];
      out[1] = in[1];
      out[2] = in[2];
      out[3] = 255;
    }
  }
  return copy;
}

- (NSBitmapImageRep*)opaqueBitmapImageRepQVR {
  NSSize size = [self size];
  NSBitmapImageRep* opaque = OpaqueBitmapAtOwnSize(self);
  if (opaque != nil) return FlattenedViewOf(opaque, size);
  NSImage* flat = [[[NSImage alloc] initWithSize:size] autorelease];
  if (flat == nil) return nil;
  const NSRect all = NSMakeRect(0, 0, size.width, size.height);
  [flat lockFocus];
  [[NSColor whiteColor] set];
  NSRectFill(all);
  /* The representation compositing would draw, drawn as it would be, but through the call
     that tells whether it drew: a drawing that failed (out of memory) is no blank image. */
  NSImageRep* best = [self bestRepresentationForRect:all context:[NSGraphicsContext currentContext] hints:nil];
  const BOOL drawn = best == nil || !(size.width > 0 && size.height > 0) ||
                     [best drawInRect:all fromRect:NSZeroRect operation:kSourceOver fraction:1 respectFlipped:YES
                                hints:nil];
  [flat unlockFocus];
  if (!drawn) return nil;
  NSArray* reps = [flat representations];
  for (NSUInteger i = 0; i < [reps count]; i++) {
    NSImageRep* rep = [reps objectAtIndex:i];
    if ([rep isKindOfClass:[NSBitmapImageRep class]]) return (NSBitmapImageRep*)rep;
  }
  NSData* tiff = [flat TIFFRepresentation];
  return tiff ? [NSBitmapImageRep imageRepWithData:tiff] : nil;
}

- (NSData*)JPEGRepresentationQVR {
  return [self JPEGRepresentationWithCompressionFactorQVR:kDefaultJPEGFactor];
}

- (NSData*)JPEGRepresentationWithCompressionFactorQVR:(float)factor {
  NSBitmapImageRep* rep = [self opaqueBitmapImageRepQVR];
  if (rep == nil) return nil;
  NSDictionary* properties = [NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:factor]
                                                         forKey:NSImageCompressionFactor];
  return [rep representationUsingType:kJPEGType properties:properties];
}

- (NSData*)BMPRepresentationQVR {
  NSBitmapImageRep* opaque = OpaqueBitmapAtOwnSize(self);
  NSBitmapImageRep* rep =
      opaque != nil ? FlattenedCopyWithAlphaOf(opaque, [self size]) : [self opaqueBitmapImageRepQVR];
  if (rep == nil) return nil;
  return [rep representationUsingType:kBMPType properties:nil];
}

- (NSData*)PNGRepresentationQVR {
  NSBitmapImageRep* rep = BitmapOfTIFFForm(self);
  if (rep == nil) return nil;
  return [rep representationUsingType:kPNGType properties:nil];
}

- (NSData*)GIFRepresentationQVR {
  NSBitmapImageRep* rep = BitmapOfTIFFForm(self);
  if (rep == nil) return nil;
  NSDictionary* properties =
      [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:YES], NSImageDitherTransparency, nil];
  if (properties == nil) return nil;
  NSSize size = [self size];
  /* An image without an area still has a TIFF form (one transparent pixel); as GIF it
     gives nothing. */
  if (!(size.width > 0 && size.height > 0)) return nil;
  return [rep representationUsingType:kGIFType properties:properties];
}

/* ---- measurements */

- (NSInteger)representationsCount {
  return static_cast<NSInteger>([[self representations] count]);
}

/* The largest pixel width (or height) over the representations, never below 0. */
static NSInteger LargestPixelSize(NSArray* reps, bool wide) {
  NSInteger largest = 0;
  const NSInteger count = static_cast<NSInteger>([reps count]);
  for (NSInteger i = 0; i < count; i++) {
    NSImageRep* rep = [reps objectAtIndex:static_cast<NSUInteger>(i)];
    const NSInteger v = wide ? [rep pixelsWide] : [rep pixelsHigh];
    if (v >= largest) largest = v;
  }
  return largest;
}

/* The smallest pixel width (or height), 0 standing for "no value yet". */
static NSInteger SmallestPixelSize(NSArray* reps, bool wide) {
  NSInteger smallest = 0;
  const NSInteger count = static_cast<NSInteger>([reps count]);
  for (NSInteger i = 0; i < count; i++) {
    NSImageRep* rep = [reps objectAtIndex:static_cast<NSUInteger>(i)];
    const NSInteger v = wide ? [rep pixelsWide] : [rep pixelsHigh];
    if (smallest == 0 || v <= smallest) smallest = v;
  }
  return smallest;
}

- (NSInteger)MaximumWidth {
  return LargestPixelSize([self representations], true);
}

- (NSInteger)MaximumHeight {
  return LargestPixelSize([self representations], false);
}

- (NSInteger)MinimumWidth {
  return SmallestPixelSize([self representations], true);
}

- (NSInteger)MinimumHeight {
  return SmallestPixelSize([self representations], false);
}

- (NSDictionary*)EXIFData {
  NSArray* reps = [self representations];
  const NSUInteger count = [reps count];
  for (NSUInteger i = 0; i < count; i++) {
    NSImageRep* rep = [reps objectAtIndex:i];
    if (![rep isKindOfClass:[NSBitmapImageRep class]]) continue;
    id exif = [(NSBitmapImageRep*)rep valueForProperty:NSImageEXIFData];
    if (exif != nil) return exif;
  }
  return nil;
}

/* ---- scaled and faded copies */

- (NSImage*)imageByScalingToSizeQVR:(NSSize)size {
  return [self imageByScalingToSizeQVR:size fraction:1.0f flipImage:NO proportionally:YES];
}

- (NSImage*)imageByScalingToSizeQVR:(NSSize)size fraction:(float)fraction {
  return [self imageByScalingToSizeQVR:size fraction:fraction flipImage:NO proportionally:YES];
}

- (NSImage*)imageByFadingToFraction:(float)fraction {
  return [self imageByScalingToSizeQVR:[self size] fraction:fraction flipImage:NO proportionally:NO];
}

- (NSImage*)imageByScalingToSizeQVR:(NSSize)targetSize
                           fraction:(float)fraction
                          flipImage:(BOOL)flip
                     proportionally:(BOOL)proportionally {
  NSSize source = [self size];
  /* Nothing to change: a plain copy keeps every representation as it is. */
  if (NSEqualSizes(source, targetSize) && fraction == 1.0f && !flip) return [[self copy] autorelease];

  /* The side matching the source's longer side is kept and the other follows the aspect
     ratio, in single precision, divided first. Nothing is rounded or centred, so the
     other side may come out larger than asked; a square source fills the target. */
  float width = (float)targetSize.width, height = (float)targetSize.height;
  const float sourceWidth = (float)source.width, sourceHeight = (float)source.height;
  if (proportionally && sourceWidth != sourceHeight) {
    if (sourceWidth > sourceHeight) {
      height = (width / sourceWidth) * sourceHeight;
    } else {
      width = (height / sourceHeight) * sourceWidth;
    }
  }
  NSSize target = NSMakeSize(width, height);

  NSImage* scaled = [[NSImage alloc] initWithSize:target];
  if (scaled == nil) return nil;
  if (flip) [scaled setFlipped:YES];
  [scaled lockFocus];
  [[NSGraphicsContext currentContext] setImageInterpolation:kHighInterpolation];
  [self drawInRect:NSMakeRect(0, 0, target.width, target.height)
          fromRect:NSMakeRect(0, 0, source.width, source.height)
         operation:kCopy
          fraction:fraction];
  [scaled unlockFocus];
  return [scaled autorelease];
}

@end
