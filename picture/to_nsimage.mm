/* NewNSImage: a host picture, with an optional mask picture, as an NSImage holding one
   bitmap representation. Without a mask on 10.6 and later the host makes the image; the
   copy loops otherwise read the pixels through PictureReader, the mask becoming a
   premultiplied alpha channel (black opaque, white clear). */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "picture/picture_editor.h"
#include "picture/pictures.h"
#include "plugin/host_bridge.h"

namespace {

NSBitmapImageRep* NewRepresentation(int32_t width, int32_t height, bool alpha) {
  return [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                  pixelsWide:width
                                                  pixelsHigh:height
                                               bitsPerSample:8
                                             samplesPerPixel:alpha ? 4 : 3
                                                    hasAlpha:alpha ? YES : NO
                                                    isPlanar:NO
                                              colorSpaceName:NSCalibratedRGBColorSpace
                                                 bytesPerRow:0
                                                bitsPerPixel:0] autorelease];
}

/* Where the copy loops write: the representation's own row length and pixel step, read
   back rather than assumed. */
struct Destination {
  unsigned char* data;
  NSInteger rowBytes, step;
  explicit Destination(NSBitmapImageRep* rep)
      : data([rep bitmapData]), rowBytes([rep bytesPerRow]), step([rep bitsPerPixel] / 8) {}
  unsigned char* Row(int32_t y) const { return data + (NSInteger)y * rowBytes; }
};

NSImage* HostImage(REALpicture image) {
  if (!SystemIsAtLeast10(6)) return nil;
  CGImageRef cgImage = REALCopyPictureCGImage(image);
  if (cgImage == nullptr) return nil;
  NSSize size = NSMakeSize((float)CGImageGetWidth(cgImage), (float)CGImageGetHeight(cgImage));
  NSImage* result = [[[NSImage alloc] initWithCGImage:cgImage size:size] autorelease];
  CGImageRelease(cgImage);
  return result;
}

NSImage* CopyWithoutAlpha(REALpicture image) {
  PictureReader reader;
  if (!reader.GetPictureEditor(image, 1, 0)) return nil;
  int32_t w = reader.width, h = reader.height;
  NSBitmapImageRep* rep = NewRepresentation(w, h, false);
  if (rep == nil) return nil;
  Destination to(rep);
  PictureChannels c = PictureChannelsOf(reader.format);
  for (int32_t y = 0; y < h; ++y, reader.NextRow()) {
    const unsigned char* in = reader.current;
    unsigned char* out = to.Row(y);
    for (int32_t x = 0; x < w; ++x, in += 4, out += to.step) {
      out[0] = in[c.red];
      out[1] = in[c.green];
      out[2] = in[c.blue];
    }
  }
  NSImage* result = [[[NSImage alloc] initWithSize:NSMakeSize(0, 0)] autorelease];
  if (result != nil) {
    [result addRepresentation:rep];
    [result setSize:NSMakeSize((float)w, (float)h)];
  }
  return result;
}

NSImage* CopyWithMask(REALpicture image, REALpicture mask) {
  PictureReader pixels;
  PictureReader coverage;
  if (!pixels.GetPictureEditor(image, 1, 0) || !coverage.GetPictureEditor(mask, 1, 0)) return nil;
  if (pixels.width != coverage.width || pixels.height != coverage.height) return nil;
  int32_t w = pixels.width, h = pixels.height;
  NSBitmapImageRep* rep = NewRepresentation(w, h, true);
  if (rep == nil) return nil;
  Destination to(rep);
  PictureChannels c = PictureChannelsOf(pixels.format);
  int maskByte = PictureChannelsOf(coverage.format).red;
  for (int32_t y = 0; y < h; ++y, pixels.NextRow(), coverage.NextRow()) {
    const unsigned char* in = pixels.current;
    const unsigned char* m = coverage.current;
    unsigned char* out = to.Row(y);
    for (int32_t x = 0; x < w; ++x, in += 4, m += 4, out += to.step) {
      unsigned a = 255u - (maskByte >= 0 ? m[maskByte] : 0u);
      out[0] = (unsigned char)(in[c.red] * a / 255);
      out[1] = (unsigned char)(in[c.green] * a / 255);
      out[2] = (unsigned char)(in[c.blue] * a / 255);
      out[3] = (unsigned char)a;
    }
  }
  NSImage* result = [[[NSImage alloc] initWithSize:NSMakeSize((float)w, (float)h)] autorelease];
  if (result != nil) [result addRepresentation:rep];
  return result;
}

}  // namespace

NSImage* NewNSImage(REALpicture image, REALpicture mask) {
  if (image == nullptr) return nil;
  if (mask != nullptr) return CopyWithMask(image, mask);
  if (NSImage* hostImage = HostImage(image)) return hostImage;
  REALpicture ownMask = REALGetPictureMask(image, false);
  if (ownMask != nullptr) {
    NSImage* result = CopyWithMask(image, ownMask);
    REALUnlockObject(reinterpret_cast<REALobject>(ownMask));
    return result;
  }
  return CopyWithoutAlpha(image);
}
