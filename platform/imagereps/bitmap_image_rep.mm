/* NSBitmapImageRep's pixel memory: making bitmaps of any documented layout (meshed or planar,
   1 to 32 bits a sample, alpha first or last, premultiplied or not, float), over memory of
   its own or the caller's, describing that layout, and single-pixel access. */
#import "imagereps/bitmap_storage.h"

#include <cmath>
#include <cstring>

NSInteger QVRColourSamplesForSpaceName(NSString* name) {
  if ([name isEqualToString:NSCalibratedWhiteColorSpace] || [name isEqualToString:NSDeviceWhiteColorSpace] ||
      [name isEqualToString:NSCalibratedBlackColorSpace] || [name isEqualToString:NSDeviceBlackColorSpace])
    return 1;
  if ([name isEqualToString:NSCalibratedRGBColorSpace] || [name isEqualToString:NSDeviceRGBColorSpace]) return 3;
  if ([name isEqualToString:NSDeviceCMYKColorSpace]) return 4;
  return 0;
}

BOOL QVRSpaceNameIsInverted(NSString* name) {
  return [name isEqualToString:NSCalibratedBlackColorSpace] || [name isEqualToString:NSDeviceBlackColorSpace];
}

namespace {

// Samples of sub-byte or odd sizes are packed most significant bit first, as in TIFF.
uint32_t read_sample(const uint8_t* row, size_t bit, NSInteger bits) {
  switch (bits) {
    case 8:
      return row[bit >> 3];
    case 16: {
      uint16_t v;
      std::memcpy(&v, row + (bit >> 3), 2);
      return v;
    }
    case 32: {
      uint32_t v;
      std::memcpy(&v, row + (bit >> 3), 4);
      return v;
    }
    default: {
      uint32_t v = 0;
      for (NSInteger i = 0; i < bits; ++i) {
        const size_t b = bit + size_t(i);
        v = (v << 1) | ((row[b >> 3] >> (7 - (b & 7))) & 1u);
      }
      return v;
    }
  }
}

void write_sample(uint8_t* row, size_t bit, NSInteger bits, uint32_t value) {
  switch (bits) {
    case 8:
      row[bit >> 3] = uint8_t(value);
      return;
    case 16: {
      const uint16_t v = uint16_t(value);
      std::memcpy(row + (bit >> 3), &v, 2);
      return;
    }
    case 32:
      std::memcpy(row + (bit >> 3), &value, 4);
      return;
    default:
      for (NSInteger i = 0; i < bits; ++i) {
        const size_t b = bit + size_t(i);
        const unsigned one = (value >> (bits - 1 - i)) & 1u;
        const uint8_t mask = uint8_t(0x80u >> (b & 7));
        row[b >> 3] = one ? uint8_t(row[b >> 3] | mask) : uint8_t(row[b >> 3] & ~mask);
      }
  }
}

// The samples of one pixel as stored, in storage order (no bounds check).
void read_pixel(const BitmapStorage* s, NSInteger bps, NSInteger x, NSInteger y, NSUInteger* out) {
  for (NSInteger i = 0; i < s->samplesPerPixel; ++i) {
    const uint8_t* row = s->planes[s->planar ? i : 0] + size_t(s->bytesPerRow) * size_t(y);
    const size_t bit = s->planar ? size_t(x) * size_t(bps) : size_t(x) * size_t(s->bitsPerPixel) + size_t(i) * size_t(bps);
    out[i] = read_sample(row, bit, bps);
  }
}

}  // namespace

@implementation NSBitmapImageRep

- (BitmapStorage*)qvrStorage {
  return static_cast<BitmapStorage*>(_storage);
}

- (id)init {
  [self release];
  return nil;
}

- (id)initWithBitmapDataPlanes:(unsigned char**)planes
                    pixelsWide:(NSInteger)width
                    pixelsHigh:(NSInteger)height
                 bitsPerSample:(NSInteger)bps
               samplesPerPixel:(NSInteger)spp
                      hasAlpha:(BOOL)alpha
                      isPlanar:(BOOL)isPlanar
                colorSpaceName:(NSString*)colorSpaceName
                   bytesPerRow:(NSInteger)rBytes
                  bitsPerPixel:(NSInteger)pBits {
  return [self initWithBitmapDataPlanes:planes
                             pixelsWide:width
                             pixelsHigh:height
                          bitsPerSample:bps
                        samplesPerPixel:spp
                               hasAlpha:alpha
                               isPlanar:isPlanar
                         colorSpaceName:colorSpaceName
                           bitmapFormat:0
                            bytesPerRow:rBytes
                           bitsPerPixel:pBits];
}

/* The layout is checked as AppKit documents it: samples must match the colour space plus
   alpha, floats are 32 bits, a meshed pixel holds all its samples, a row all its pixels.
   Anything else gives nil. */
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
                  bitsPerPixel:(NSInteger)pBits {
  if (!(self = [super init])) return nil;
  const NSInteger colours = QVRColourSamplesForSpaceName(colorSpaceName);
  const BOOL floating = (bitmapFormat & NSFloatingPointSamplesBitmapFormat) != 0;
  /* A bitmap larger than the codecs' largest image is refused as an allocation that fails
     would be: a scaled or focused image that size draws nowhere instead of taking gigabytes. */
  BOOL valid = width > 0 && height > 0 && width <= qvr::kMaxDimension && height <= qvr::kMaxDimension &&
               int64_t(width) * height <= qvr::kMaxPixels && colours > 0 && spp == colours + (alpha ? 1 : 0) && spp <= 5;
  valid = valid && (floating ? bps == 32 : (bps == 1 || bps == 2 || bps == 4 || bps == 8 || bps == 12 || bps == 16));
  valid = valid && (bitmapFormat & ~NSUInteger(7)) == 0;
  if (valid) {
    if (pBits == 0) pBits = isPlanar ? bps : bps * spp;
    valid = isPlanar ? pBits == bps : pBits >= bps * spp;
  }
  const NSInteger minimumRow = valid ? (width * pBits + 7) / 8 : 0;
  if (valid) {
    if (rBytes == 0) rBytes = minimumRow;
    valid = rBytes >= minimumRow && double(rBytes) * double(height) * (isPlanar ? spp : 1) < double(1L << 34);
  }
  if (!valid) {
    [self release];
    return nil;
  }
  BitmapStorage* storage = new BitmapStorage();
  _storage = storage;
  storage->samplesPerPixel = spp;
  storage->bitsPerPixel = pBits;
  storage->bytesPerRow = rBytes;
  storage->planar = isPlanar;
  storage->format = alpha ? bitmapFormat : (bitmapFormat & NSFloatingPointSamplesBitmapFormat);
  storage->properties = [[NSMutableDictionary alloc] init];
  const NSInteger planeCount = isPlanar ? spp : 1;
  const size_t planeBytes = size_t(rBytes) * size_t(height);
  if (planes == NULL || planes[0] == NULL) {
    storage->owned.reserve(planeBytes * size_t(planeCount));
    qvr::advise_large_pages(storage->owned.data(), storage->owned.capacity());
    storage->owned.assign(planeBytes * size_t(planeCount), 0);
    for (NSInteger p = 0; p < planeCount; ++p) storage->planes[p] = storage->owned.data() + planeBytes * size_t(p);
  } else {
    for (NSInteger p = 0; p < planeCount; ++p) {
      if (planes[p] == NULL) {
        [self release];
        return nil;
      }
      storage->planes[p] = planes[p];
    }
  }
  _pixelsWide = width;
  _pixelsHigh = height;
  _bitsPerSample = bps;
  _hasAlpha = alpha;
  _isOpaque = !alpha;
  _size = NSMakeSize(width, height);
  [self setColorSpaceName:colorSpaceName];
  return self;
}

- (id)qvrInitWithFrame:(qvr::Frame&)frame {
  qvr::Raster& raster = frame.raster;
  const bool owned = !raster.storage.empty() && raster.pixels == raster.storage.data();
  NSString* space = raster.colour_samples() == 1 ? NSCalibratedWhiteColorSpace : NSCalibratedRGBColorSpace;
  NSBitmapFormat format = raster.alpha && !raster.premultiplied ? NSAlphaNonpremultipliedBitmapFormat : 0;
  unsigned char* noPlanes[5] = {NULL, NULL, NULL, NULL, NULL};
  // Describe first with no memory of its own, then take the raster's.
  unsigned char* planes[5] = {owned ? raster.pixels : NULL, NULL, NULL, NULL, NULL};
  self = [self initWithBitmapDataPlanes:owned ? planes : noPlanes
                             pixelsWide:raster.width
                             pixelsHigh:raster.height
                          bitsPerSample:raster.bits
                        samplesPerPixel:raster.samples
                               hasAlpha:raster.alpha
                               isPlanar:NO
                         colorSpaceName:space
                           bitmapFormat:format
                            bytesPerRow:NSInteger(raster.stride)
                           bitsPerPixel:0];
  if (self == nil) return nil;
  BitmapStorage* storage = [self qvrStorage];
  if (owned) {
    storage->owned = std::move(raster.storage);
    storage->planes[0] = storage->owned.data();
    raster.pixels = nullptr;
  } else {
    std::memcpy(storage->planes[0], raster.pixels, raster.stride * size_t(raster.height));
  }
  storage->metadata = frame.metadata;
  if (frame.metadata.x_dpi > 0 && frame.metadata.y_dpi > 0)
    _size = NSMakeSize(raster.width * 72.0 / frame.metadata.x_dpi, raster.height * 72.0 / frame.metadata.y_dpi);
  return self;
}

- (void)dealloc {
  if (BitmapStorage* storage = [self qvrStorage]) {
    [storage->properties release];
    [storage->colorSpace release];
    [storage->jpegSource release];
    if (storage->image) CGImageRelease(storage->image);
    delete storage;
    _storage = nullptr;
  }
  [super dealloc];
}

/* A copy owns a copy of the pixels, whoever owned the original's. */
- (id)copyWithZone:(NSZone*)zone {
  NSBitmapImageRep* copy = [super copyWithZone:zone];
  BitmapStorage* from = [self qvrStorage];
  BitmapStorage* to = new BitmapStorage(*from);
  copy->_storage = to;
  const NSInteger planeCount = from->planar ? from->samplesPerPixel : 1;
  const size_t planeBytes = size_t(from->bytesPerRow) * size_t(_pixelsHigh);
  to->owned.resize(planeBytes * size_t(planeCount));
  for (NSInteger p = 0; p < planeCount; ++p) {
    to->planes[p] = to->owned.data() + planeBytes * size_t(p);
    std::memcpy(to->planes[p], from->planes[p], planeBytes);
  }
  to->properties = [from->properties mutableCopy];
  [to->colorSpace retain];
  [to->jpegSource retain];
  to->image = nullptr;
  return copy;
}

- (void)qvrPixelsChanged {
  BitmapStorage* storage = [self qvrStorage];
  if (storage->image) {
    // Someone may still hold the image under the Get rule: let it go with the pool.
    [(id)storage->image autorelease];
    storage->image = nullptr;
  }
  [storage->jpegSource release];
  storage->jpegSource = nil;
}

/* Layout. */

- (unsigned char*)bitmapData {
  [self qvrPixelsChanged];  // the caller may write through the pointer
  return [self qvrStorage]->planes[0];
}

- (void)getBitmapDataPlanes:(unsigned char**)data {
  if (data == NULL) return;
  [self qvrPixelsChanged];
  BitmapStorage* storage = [self qvrStorage];
  for (int p = 0; p < 5; ++p) data[p] = storage->planes[p];
}

- (BOOL)isPlanar { return [self qvrStorage]->planar; }
- (NSInteger)samplesPerPixel { return [self qvrStorage]->samplesPerPixel; }
- (NSInteger)bitsPerPixel { return [self qvrStorage]->bitsPerPixel; }
- (NSInteger)bytesPerRow { return [self qvrStorage]->bytesPerRow; }
- (NSInteger)bytesPerPlane { return [self qvrStorage]->bytesPerRow * _pixelsHigh; }
- (NSInteger)numberOfPlanes { return [self qvrStorage]->planar ? [self qvrStorage]->samplesPerPixel : 1; }
- (NSBitmapFormat)bitmapFormat { return [self qvrStorage]->format; }

- (BOOL)draw {
  return [self drawInRect:NSMakeRect(0, 0, _size.width, _size.height)];
}

- (BOOL)drawInRect:(NSRect)rect {
  CGContextRef context = (CGContextRef)[[NSGraphicsContext currentContext] graphicsPort];
  CGImageRef image = [self CGImage];
  if (context == NULL || image == NULL) return NO;
  CGContextDrawImage(context, NSRectToCGRect(rect), image);
  return YES;
}

/* A JPEG drawn at half its size or less is decoded again, smaller, with libjpeg's DCT
   scaling (1/2, 1/4 or 1/8), as the platform's image I/O does: to the smallest size that
   still has twice the pixels drawn, so resampling keeps its quality at a fraction of the
   work of reducing the whole picture. */
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary*)hints {
  BitmapStorage* storage = [self qvrStorage];
  CGContextRef port = (CGContextRef)[context graphicsPort];
  if (storage->jpegSource == nil || proposedDestRect == NULL || port == NULL) return [self CGImage];
  const CGAffineTransform ctm = CGContextGetCTM(port);
  const double wide = std::fabs(proposedDestRect->size.width) * std::hypot(ctm.a, ctm.b);
  const double high = std::fabs(proposedDestRect->size.height) * std::hypot(ctm.c, ctm.d);
  int denominator = 1;
  while (denominator < 8 && double(_pixelsWide) / (denominator * 2) >= 2 * wide &&
         double(_pixelsHigh) / (denominator * 2) >= 2 * high)
    denominator *= 2;
  if (denominator == 1) return [self CGImage];
  qvr::Frame reduced;
  if (!qvr::jpeg_decode(static_cast<const uint8_t*>([storage->jpegSource bytes]), [storage->jpegSource length], reduced,
                        denominator))
    return [self CGImage];
  NSBitmapImageRep* smaller = [[[NSBitmapImageRep alloc] qvrInitWithFrame:reduced] autorelease];
  CGImageRef image = [smaller CGImage];
  return image ? image : [self CGImage];
}

/* Pixels one at a time: the samples as stored, in storage order. */

- (void)getPixel:(NSUInteger[])p atX:(NSInteger)x y:(NSInteger)y {
  if (p == NULL || x < 0 || y < 0 || x >= _pixelsWide || y >= _pixelsHigh) return;
  read_pixel([self qvrStorage], _bitsPerSample, x, y, p);
}

- (void)setPixel:(NSUInteger[])p atX:(NSInteger)x y:(NSInteger)y {
  if (p == NULL || x < 0 || y < 0 || x >= _pixelsWide || y >= _pixelsHigh) return;
  BitmapStorage* s = [self qvrStorage];
  for (NSInteger i = 0; i < s->samplesPerPixel; ++i) {
    uint8_t* row = s->planes[s->planar ? i : 0] + size_t(s->bytesPerRow) * size_t(y);
    const size_t bit = s->planar ? size_t(x) * size_t(_bitsPerSample)
                                 : size_t(x) * size_t(s->bitsPerPixel) + size_t(i) * size_t(_bitsPerSample);
    write_sample(row, bit, _bitsPerSample, uint32_t(p[i]));
  }
  [self qvrPixelsChanged];
}

/* Samples as fractions 0 to 1, colour first and alpha last, whatever the storage order. */
static void ReadFractions(NSBitmapImageRep* rep, NSInteger x, NSInteger y, CGFloat* out, NSInteger count) {
  NSUInteger raw[5] = {0, 0, 0, 0, 0};
  [rep getPixel:raw atX:x y:y];
  BitmapStorage* s = [rep qvrStorage];
  const NSInteger bps = [rep bitsPerSample];
  const BOOL floating = (s->format & NSFloatingPointSamplesBitmapFormat) != 0;
  const BOOL alphaFirst = [rep hasAlpha] && (s->format & NSAlphaFirstBitmapFormat) != 0;
  const double maximum = double((uint64_t(1) << bps) - 1);
  for (NSInteger i = 0; i < count; ++i) {
    const NSInteger stored = alphaFirst ? (i + 1) % count : i;
    if (floating) {
      float f;
      const uint32_t bits = uint32_t(raw[stored]);
      std::memcpy(&f, &bits, 4);
      out[i] = f;
    } else {
      out[i] = raw[stored] / maximum;
    }
  }
}

static void WriteFractions(NSBitmapImageRep* rep, NSInteger x, NSInteger y, const CGFloat* in, NSInteger count) {
  NSUInteger raw[5] = {0, 0, 0, 0, 0};
  BitmapStorage* s = [rep qvrStorage];
  const NSInteger bps = [rep bitsPerSample];
  const BOOL floating = (s->format & NSFloatingPointSamplesBitmapFormat) != 0;
  const BOOL alphaFirst = [rep hasAlpha] && (s->format & NSAlphaFirstBitmapFormat) != 0;
  const double maximum = double((uint64_t(1) << bps) - 1);
  for (NSInteger i = 0; i < count; ++i) {
    const NSInteger stored = alphaFirst ? (i + 1) % count : i;
    const CGFloat v = in[i] < 0 ? 0 : in[i] > 1 ? 1 : in[i];
    if (floating) {
      const float f = float(v);
      uint32_t bits;
      std::memcpy(&bits, &f, 4);
      raw[stored] = bits;
    } else {
      raw[stored] = NSUInteger(std::lround(v * maximum));
    }
  }
  [rep setPixel:raw atX:x y:y];
}

- (NSColor*)colorAtX:(NSInteger)x y:(NSInteger)y {
  if (x < 0 || y < 0 || x >= _pixelsWide || y >= _pixelsHigh) return nil;
  BitmapStorage* s = [self qvrStorage];
  const NSInteger count = s->samplesPerPixel;
  CGFloat v[5] = {0, 0, 0, 0, 0};
  ReadFractions(self, x, y, v, count);
  const CGFloat alpha = _hasAlpha ? v[count - 1] : 1.0;
  const NSInteger colours = _hasAlpha ? count - 1 : count;
  const BOOL premultiplied = _hasAlpha && !(s->format & NSAlphaNonpremultipliedBitmapFormat);
  for (NSInteger i = 0; i < colours; ++i)
    if (premultiplied) v[i] = alpha > 0 ? std::min<CGFloat>(1, v[i] / alpha) : 0;
  NSString* space = _colorSpaceName;
  const BOOL device = [space hasPrefix:@"NSDevice"];
  if (colours == 1) {
    const CGFloat white = QVRSpaceNameIsInverted(space) ? 1 - v[0] : v[0];
    return device ? [NSColor colorWithDeviceWhite:white alpha:alpha] : [NSColor colorWithCalibratedWhite:white alpha:alpha];
  }
  CGFloat r = v[0], g = v[1], b = v[2];
  if (colours == 4) {  // CMYK, naively
    r = (1 - v[0]) * (1 - v[3]);
    g = (1 - v[1]) * (1 - v[3]);
    b = (1 - v[2]) * (1 - v[3]);
  }
  return device ? [NSColor colorWithDeviceRed:r green:g blue:b alpha:alpha]
                : [NSColor colorWithCalibratedRed:r green:g blue:b alpha:alpha];
}

- (void)setColor:(NSColor*)color atX:(NSInteger)x y:(NSInteger)y {
  if (color == nil || x < 0 || y < 0 || x >= _pixelsWide || y >= _pixelsHigh) return;
  BitmapStorage* s = [self qvrStorage];
  const NSInteger count = s->samplesPerPixel;
  const NSInteger colours = _hasAlpha ? count - 1 : count;
  CGFloat v[5] = {0, 0, 0, 0, 0};
  CGFloat alpha = [color alphaComponent];
  if (colours == 1) {
    NSColor* grey = [color colorUsingColorSpaceName:NSCalibratedWhiteColorSpace];
    const CGFloat white = grey ? [grey whiteComponent] : 0;
    v[0] = QVRSpaceNameIsInverted(_colorSpaceName) ? 1 - white : white;
  } else {
    NSColor* rgb = [color colorUsingColorSpaceName:NSCalibratedRGBColorSpace];
    CGFloat r = 0, g = 0, b = 0;
    if (rgb) [rgb getRed:&r green:&g blue:&b alpha:&alpha];
    if (colours == 4) {
      const CGFloat k = 1 - std::max(r, std::max(g, b));
      v[3] = k;
      v[0] = k < 1 ? (1 - r - k) / (1 - k) : 0;
      v[1] = k < 1 ? (1 - g - k) / (1 - k) : 0;
      v[2] = k < 1 ? (1 - b - k) / (1 - k) : 0;
    } else {
      v[0] = r;
      v[1] = g;
      v[2] = b;
    }
  }
  if (_hasAlpha) {
    if (!(s->format & NSAlphaNonpremultipliedBitmapFormat))
      for (NSInteger i = 0; i < colours; ++i) v[i] *= alpha;
    v[count - 1] = alpha;
  }
  WriteFractions(self, x, y, v, count);
}

/* The pixels for the codecs and for Core Graphics. */

- (qvr::Raster)qvrRaster {
  BitmapStorage* s = [self qvrStorage];
  qvr::Raster raster;
  const NSInteger colours = QVRColourSamplesForSpaceName(_colorSpaceName);
  const NSInteger spp = s->samplesPerPixel;
  const BOOL floating = (s->format & NSFloatingPointSamplesBitmapFormat) != 0;
  const BOOL alphaFirst = _hasAlpha && (s->format & NSAlphaFirstBitmapFormat) != 0;
  const BOOL premultiplied = _hasAlpha && !(s->format & NSAlphaNonpremultipliedBitmapFormat);
  if (!s->planar && !floating && !alphaFirst && (_bitsPerSample == 8 || _bitsPerSample == 16) &&
      s->bitsPerPixel == _bitsPerSample * spp && (colours == 1 || colours == 3) &&
      !QVRSpaceNameIsInverted(_colorSpaceName)) {
    raster.view(s->planes[0], int(_pixelsWide), int(_pixelsHigh), int(spp), int(_bitsPerSample), _hasAlpha,
                size_t(s->bytesPerRow));
    raster.premultiplied = premultiplied;
    return raster;
  }
  // Any other layout: sample by sample (plain C++, no messages), to 8 bits (16 for deeper
  // samples), grey or RGB.
  const int outColours = colours == 1 ? 1 : 3;
  const int outSamples = outColours + (_hasAlpha ? 1 : 0);
  const int outBits = _bitsPerSample > 8 ? 16 : 8;
  if (!raster.allocate(int(_pixelsWide), int(_pixelsHigh), outSamples, outBits, _hasAlpha)) return raster;
  raster.premultiplied = premultiplied;
  const double outMax = outBits == 16 ? 65535.0 : 255.0;
  const double inMax = double((uint64_t(1) << std::min<NSInteger>(_bitsPerSample, 31)) - 1);
  const BOOL inverted = QVRSpaceNameIsInverted(_colorSpaceName);
  NSUInteger raw[5];
  double v[5];
  for (NSInteger y = 0; y < _pixelsHigh; ++y) {
    uint8_t* out = raster.row(int(y));
    for (NSInteger x = 0; x < _pixelsWide; ++x) {
      read_pixel(s, _bitsPerSample, x, y, raw);
      for (NSInteger i = 0; i < spp; ++i) {
        const NSInteger stored = alphaFirst ? (i + 1) % spp : i;
        if (floating) {
          float f;
          const uint32_t bits = uint32_t(raw[stored]);
          std::memcpy(&f, &bits, 4);
          v[i] = f < 0 ? 0 : f > 1 ? 1 : f;
        } else {
          v[i] = raw[stored] / inMax;
        }
      }
      double c[4];
      if (colours == 1) {
        c[0] = inverted ? (premultiplied ? v[spp - 1] : 1.0) - v[0] : v[0];
      } else if (colours == 3) {
        c[0] = v[0], c[1] = v[1], c[2] = v[2];
      } else {
        c[0] = (1 - v[0]) * (1 - v[3]), c[1] = (1 - v[1]) * (1 - v[3]), c[2] = (1 - v[2]) * (1 - v[3]);
      }
      if (_hasAlpha) c[outColours] = v[spp - 1];
      for (int i = 0; i < outSamples; ++i) {
        const uint32_t q = uint32_t(std::lround(c[i] * outMax));
        if (outBits == 16) {
          const uint16_t w = uint16_t(q);
          std::memcpy(out, &w, 2);
          out += 2;
        } else {
          *out++ = uint8_t(q);
        }
      }
    }
  }
  return raster;
}

@end
