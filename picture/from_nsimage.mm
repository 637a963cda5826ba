/* New host pictures rendered from an NSImage: the whole image or a rectangle of it drawn
   into a new 32-bit picture's own bitmap context, and the image's coverage drawn into an
   alpha-only buffer and written into a new grey mask picture (black opaque, white
   clear) through PictureWriter. */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include <stdlib.h>

#include "picture/picture_editor.h"
#include "picture/pictures.h"
#include "plugin/host_bridge.h"

namespace {

const int kMaxPictureSide = 32767;

/* Draws image's source rectangle into destination of a bitmap context with the copy
   operation; false when no graphics context can be made on it. */
bool DrawImageIntoContext(NSImage* image, CGContextRef context, NSRect destination, NSRect source) {
  NSGraphicsContext* saved = [[NSGraphicsContext currentContext] retain];
  NSGraphicsContext* drawing = [NSGraphicsContext graphicsContextWithGraphicsPort:context flipped:NO];
  if (drawing == nil) {
    [NSGraphicsContext setCurrentContext:saved];
    [saved release];
    return false;
  }
  [NSGraphicsContext setCurrentContext:drawing];
  [drawing saveGraphicsState];
  [image drawInRect:destination fromRect:source operation:NSCompositeCopy fraction:1.0f];
  [drawing restoreGraphicsState];
  [drawing flushGraphics];
  [NSGraphicsContext setCurrentContext:saved];
  [saved release];
  return true;
}

/* One row of a mask picture from alpha bytes: grey 255 - alpha in the three bytes from
   First, fourthValue in byte Fourth. The offsets are constants, so the loop vectorizes. */
template <int First, int Fourth>
void WriteMaskRow(const unsigned char* alpha, unsigned char* out, int w, unsigned char fourthValue) {
  for (int column = 0; column < w; ++column, out += 4) {
    unsigned char v = (unsigned char)(255 - alpha[column]);
    out[First] = out[First + 1] = out[First + 2] = v;
    out[Fourth] = fourthValue;
  }
}

}  // namespace

REALpicture NSImageCopyPictureRect(NSImage* image, int x, int y, int w, int h) {
  if (x < 0 || y < 0 || w < 0 || h < 0 || image == nil || ![image isValid]) return nullptr;
  NSSize size = [image size];
  int iw = (int)size.width, ih = (int)size.height;
  if (w == 0) w = iw;
  if (h == 0) h = ih;
  if (iw <= 0 || ih <= 0) return nullptr;
  if (x + w > iw) w = iw - x;
  if (y + h > ih) h = ih - y;
  if (w <= 0 || h <= 0) return nullptr;

  REALpicture picture = REALNewPicture(w, h, 32);
  if (picture == nullptr) return nullptr;
  REALpictureDescription description = {};
  bool locked = REALLockPictureDescription(picture, &description);
  bool drawn = locked && description.pictureType == kPictureDescriptionBitmapContext && description.data != nullptr &&
               DrawImageIntoContext(image, static_cast<CGContextRef>(description.data), NSMakeRect(0, 0, w, h),
                                    NSMakeRect(x, y, w, h));
  REALUnlockPictureDescription(picture);
  if (!drawn) {
    REALUnlockObject(reinterpret_cast<REALobject>(picture));
    return nullptr;
  }
  REALPictureClearCache(picture);
  return picture;
}

REALpicture NSImageCopyPictureMask(NSImage* image) {
  if (image == nil || ![image isValid]) return nullptr;
  NSSize size = [image size];
  int w = (int)size.width, h = (int)size.height;
  if (w < 1 || h < 1) return nullptr;
  CGColorSpaceRef grey = CGColorSpaceCreateDeviceGray();
  if (grey == nullptr) return nullptr;
  long long bytes = (long long)w * h;
  unsigned char* buffer = bytes >= 1 && bytes <= 2147483647LL ? static_cast<unsigned char*>(calloc((size_t)bytes, 1)) : nullptr;
  REALpicture result = nullptr;
  CGContextRef context = buffer != nullptr ? CGBitmapContextCreate(buffer, w, h, 8, w, grey, kCGImageAlphaOnly) : nullptr;
  bool drawn = false;
  if (context != nullptr) {
    drawn = DrawImageIntoContext(image, context, NSMakeRect(0, 0, w, h), NSMakeRect(0, 0, w, h));
    CGContextRelease(context);
  }
  REALpicture picture = drawn && w <= kMaxPictureSide && h <= kMaxPictureSide ? REALNewPicture(w, h, 32) : nullptr;
  if (picture != nullptr) {
    /* The creation reference stays with us until the writer is done, so the picture lives
       even on a host whose writer could take no lock of its own. */
    PictureWriter writer;
    if (writer.GetPictureEditor(picture, 0, 1)) {
      /* The grey bytes lead, or follow the fourth byte, by format. */
      int32_t format = writer.format;
      bool alphaLast = format == 1 || format == 3 || format == 5, alphaFirst = format == 2 || format == 4 || format == 6;
      for (int row = 0; (alphaLast || alphaFirst || format == kPictureFormatRowBuffer) && row < h; ++row) {
        writer.SelectRow(row);
        const unsigned char* alpha = buffer + (size_t)row * (size_t)w;
        if (alphaFirst) WriteMaskRow<1, 0>(alpha, writer.current, w, 255);
        else WriteMaskRow<0, 3>(alpha, writer.current, w, format == kPictureFormatRowBuffer ? 0 : 255);
      }
      result = picture;
      REALPictureClearCache(result);
    } else {
      REALUnlockObject(reinterpret_cast<REALobject>(picture));
    }
  }
  free(buffer);
  CGColorSpaceRelease(grey);
  return result;
}
