/* A Core Graphics image of a host picture and its mask. On 10.7 and later the host makes
   it from a 32-bit copy that carries the mask; otherwise, or when the host cannot, the
   image comes from the picture's bitmap context and the mask, inverted into the sense in
   which an image used as a mask is read (255 paints), is applied with
   CGImageCreateWithMask. */
#include <ApplicationServices/ApplicationServices.h>
#include <CoreServices/CoreServices.h>

#include "picture/picture_editor.h"
#include "picture/pictures.h"
#include "plugin/host_bridge.h"

bool SystemIsAtLeast10(int minor) {
  SInt32 major = 0, minorVersion = 0;
  if (Gestalt(gestaltSystemVersionMajor, &major) != noErr) return false;
  if (Gestalt(gestaltSystemVersionMinor, &minorVersion) != noErr) return false;
  return major >= 10 && minorVersion >= minor;
}

namespace {

int32_t PictureSide(REALpicture picture, const char* name) {
  int32_t value = 0;
  if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(picture), name, &value)) value = 0;
  return value;
}

/* The host's own image of a 32-bit copy of picture that carries mask; null when the host
   cannot make one. */
CGImageRef HostImageOfCopy(REALpicture picture, REALpicture mask) {
  int32_t width = PictureSide(picture, "Width"), height = PictureSide(picture, "Height");
  REALpicture copy = REALNewPicture(width, height, 32);
  if (copy == nullptr) return nullptr;
  GraphicsDrawPicture(copy, picture, 0, 0, width, height, 0, 0, width, height);
  REALpicture copyMask = REALGetPictureMask(copy, true);
  if (copyMask != nullptr) {
    GraphicsDrawPicture(copyMask, mask, 0, 0, width, height, 0, 0, width, height);
    REALUnlockObject(reinterpret_cast<REALobject>(copyMask));
  }
  CGImageRef image = REALCopyPictureCGImage(copy);
  REALUnlockObject(reinterpret_cast<REALobject>(copy));
  return image;
}

/* image masked by the host mask picture; image itself when the mask cannot be applied.
   Takes over the caller's reference to image. */
CGImageRef ApplyMask(CGImageRef image, REALpicture mask) {
  REALpictureDescription description = {};
  if (!LockPictureDescriptionOfType(mask, &description, kPictureDescriptionBitmapContext)) return image;
  CGImageRef result = image;
  CGImageRef maskImage = nullptr;
  if (description.pictureType == kPictureDescriptionBitmapContext)
    maskImage = CGBitmapContextCreateImage(static_cast<CGContextRef>(description.data));
  if (maskImage != nullptr) {
    size_t mw = CGImageGetWidth(maskImage), mh = CGImageGetHeight(maskImage);
    CGColorSpaceRef grey = CGColorSpaceCreateDeviceGray();
    CGContextRef context =
        grey != nullptr ? CGBitmapContextCreate(nullptr, mw, mh, 8, 0, grey, kCGImageAlphaNone) : nullptr;
    if (context != nullptr) {
      CGContextDrawImage(context, CGRectMake(0, 0, (CGFloat)mw, (CGFloat)mh), maskImage);
      /* Black (opaque) mask pixels become 255, white (clear) ones 0. */
      unsigned char* bytes = static_cast<unsigned char*>(CGBitmapContextGetData(context));
      size_t rowBytes = CGBitmapContextGetBytesPerRow(context);
      size_t rows = CGBitmapContextGetHeight(context), columns = CGBitmapContextGetWidth(context);
      for (size_t row = 0; row < rows; ++row)
        for (unsigned char *b = bytes + row * rowBytes, *end = b + columns; b < end; ++b) *b = (unsigned char)(255 - *b);
      CGImageRef inverted = CGBitmapContextCreateImage(context);
      if (inverted != nullptr) {
        result = CGImageCreateWithMask(image, inverted);
        CGImageRelease(image);
        CGImageRelease(inverted);
      }
      CGContextRelease(context);
    }
    if (grey != nullptr) CGColorSpaceRelease(grey);
    CGImageRelease(maskImage);
  }
  REALUnlockPictureDescription(mask);
  return result;
}

}  // namespace

CGImageRef CreateCGImageInternal(REALpicture picture, REALpicture mask) {
  if (picture == nullptr) return nullptr;
  if (SystemIsAtLeast10(7))
    if (CGImageRef image = HostImageOfCopy(picture, mask)) return image;

  REALpictureDescription description = {};
  if (!LockPictureDescriptionOfType(picture, &description, kPictureDescriptionBitmapContext)) return nullptr;
  CGImageRef image = nullptr;
  if (description.pictureType == kPictureDescriptionBitmapContext)
    image = CGBitmapContextCreateImage(static_cast<CGContextRef>(description.data));
  if (image != nullptr && mask != nullptr) image = ApplyMask(image, mask);
  REALUnlockPictureDescription(picture);
  return image;
}
