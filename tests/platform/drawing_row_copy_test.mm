/* An image drawn pixel for pixel is copied row by row instead of composited; every
   combination of image layout, context layout, operation and placement must leave the
   context's memory byte for byte as compositing leaves it (including the fourth byte of
   layouts without alpha), and drawings the row copy does not apply to must not change. */
#include "drawing_pixels.h"

extern bool gCGContextRowCopies;

namespace {

struct Layout { const char* name; size_t components, bitsPerComponent, bitsPerPixel; CGBitmapInfo info; };

const Layout kBGRA = {"BGRA", 3, 8, 32, kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little},
             kRGBA = {"RGBA", 3, 8, 32, kCGImageAlphaPremultipliedLast},
             kBGRX = {"BGRX", 3, 8, 32, kCGImageAlphaNoneSkipFirst | kCGBitmapByteOrder32Little},
             kRGBX = {"RGBX", 3, 8, 32, kCGImageAlphaNoneSkipLast}, kRGB = {"RGB", 3, 8, 24, kCGImageAlphaNone},
             kARGB = {"ARGB", 3, 8, 32, kCGImageAlphaPremultipliedFirst},
             kXRGB = {"XRGB", 3, 8, 32, kCGImageAlphaNoneSkipFirst}, kGrey = {"grey", 1, 8, 8, kCGImageAlphaNone};

/* Image layouts: read in place (B,G,R,A and R,G,B,A premultiplied, B,G,R,X, R,G,B,X,
   R,G,B) and decoded first (A,R,G,B, X,R,G,B, straight alpha, grey, 16-bit). */
const Layout kImages[] = {kBGRA, kRGBA, kBGRX, kRGBX, kRGB, kARGB, kXRGB, {"RGBA straight", 3, 8, 32, kCGImageAlphaLast}, kGrey,
                          {"RGBA 16", 3, 16, 64, kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder16Little}};

/* Context layouts: drawn into directly and through a shadow (A,R,G,B, X,R,G,B: the
   desktop picture's; R,G,B; grey; alpha only 3 wide has rows of 3 bytes). */
const Layout kContexts[] = {kBGRA, kBGRX, kRGBA, kRGBX, kARGB, kXRGB, kRGB, kGrey, {"alpha", 0, 8, 8, kCGImageAlphaOnly}};

const size_t kImageWidth = 5, kImageHeight = 4;

/* Bytes with every level somewhere, alpha samples among them 0, 255 and values between
   (some colours above their alpha, as careless premultiplied data has). */
std::vector<uint8_t> Bytes(size_t count, unsigned seed) {
  std::vector<uint8_t> bytes(count);
  for (size_t i = 0; i < count; i++) bytes[i] = (uint8_t)((i * 97 + seed * 31 + (i % 7 == 0 ? 255 : 0)) % 256);
  for (size_t i = 0; i + 3 < count; i += 11) bytes[i] = 0;
  return bytes;
}

CGImageRef NewImage(const Layout& l) {
  /* Rows not a multiple of 4 apart for 24 bits. */
  const size_t rowBytes = l.bitsPerPixel == 32 ? kImageWidth * 4 : kImageWidth * l.bitsPerPixel / 8 + 2;
  return ImageOf(kImageWidth, kImageHeight, l.bitsPerComponent, l.bitsPerPixel,
                 l.components == 1 ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB(), l.info,
                 Bytes(rowBytes * kImageHeight, 1), rowBytes);
}

/* A context of the layout over memory that starts as the same varied bytes. */
CGContextRef NewContext(const Layout& l, size_t width, size_t height, std::vector<uint8_t>& memory) {
  size_t rowBytes = width * l.bitsPerPixel / 8;
  memory = Bytes(rowBytes * height, 2);
  CGColorSpaceRef space = l.components == 0 ? NULL
                          : Pooled(l.components == 1 ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB());
  return CGBitmapContextCreate(memory.data(), width, height, 8, rowBytes, space, l.info);
}

struct Placement {
  const char* name;
  CGBlendMode mode;
  CGFloat alpha;
  CGRect rect;
  CGAffineTransform ctm;  /* applied before drawing */
  CGRect clip;            /* CGRectNull: none; off the pixel grid it has coverage */
};

}  // namespace

class RowCopy : public PoolTest {};

TEST_F(RowCopy, GivesTheBytesCompositingGivesForEveryLayoutOperationAndPlacement) {
  const CGAffineTransform identity = CGAffineTransformIdentity;
  const Placement placements[] = {
      {"copy at the origin", kCGBlendModeCopy, 1, CGRectMake(0, 0, 5, 4), identity, CGRectNull},
      {"source over, moved", kCGBlendModeNormal, 1, CGRectMake(2, 1, 5, 4), identity, CGRectNull},
      {"copy, moved by the transform", kCGBlendModeCopy, 1, CGRectMake(0, 0, 5, 4),
       CGAffineTransformMakeTranslation(1, 2), CGRectNull},
      {"copy, half outside", kCGBlendModeCopy, 1, CGRectMake(-2, 3, 5, 4), identity, CGRectNull},
      {"copy, clipped to a rectangle", kCGBlendModeCopy, 1, CGRectMake(1, 1, 5, 4), identity,
       CGRectMake(2, 2, 2, 2)},
      {"copy, clipped off the pixel grid", kCGBlendModeCopy, 1, CGRectMake(1, 1, 5, 4), identity,
       CGRectMake(2, 2, 2.5, 2)},
      {"copy at a fraction", kCGBlendModeCopy, 0.5, CGRectMake(1, 1, 5, 4), identity, CGRectNull},
      {"source over at a fraction", kCGBlendModeNormal, 0.5, CGRectMake(1, 1, 5, 4), identity, CGRectNull},
      {"copy, scaled", kCGBlendModeCopy, 1, CGRectMake(0, 0, 7, 6), identity, CGRectNull},
      {"copy, half a pixel off", kCGBlendModeCopy, 1, CGRectMake(0.5, 1, 5, 4), identity, CGRectNull},
      {"copy, flipped", kCGBlendModeCopy, 1, CGRectMake(0, 0, 5, 4),
       CGAffineTransformMake(1, 0, 0, -1, 0, 6), CGRectNull},
      {"multiply", kCGBlendModeMultiply, 1, CGRectMake(1, 1, 5, 4), identity, CGRectNull},
  };
  const size_t width = 7, height = 6;
  for (const Layout& from : kImages) {
    CGImageRef image = NewImage(from);
    ASSERT_TRUE(image != NULL) << from.name;
    for (const Layout& to : kContexts)
      for (const size_t contextWidth : {width, (size_t)3})
        for (const Placement& place : placements) {
          std::vector<uint8_t> drawn[2];
          for (int general = 0; general < 2; general++) {
            CGContextRef context = NewContext(to, contextWidth, height, drawn[general]);
            ASSERT_TRUE(context != NULL) << to.name;
            CGContextConcatCTM(context, place.ctm);
            if (!CGRectIsNull(place.clip)) CGContextClipToRect(context, place.clip);
            CGContextSetBlendMode(context, place.mode);
            CGContextSetAlpha(context, place.alpha);
            gCGContextRowCopies = general == 0;
            CGContextDrawImage(context, place.rect, image);
            gCGContextRowCopies = true;
            CGContextRelease(context);
          }
          EXPECT_TRUE(drawn[0] == drawn[1]) << from.name << " image into a " << contextWidth << "-wide " << to.name
                                        << " context, " << place.name;
        }
  }
}
