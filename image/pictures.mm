/* NSImageQVR members that take or return host Pictures: making the image from a picture
   and its mask, and rendering the image back into new pictures, masks, and pictures that
   carry their mask. Their rows carry the picture marker flag, which the host sees as its
   flag 0x4 only from 2010.029 on. None raises; failures are nil or false. */
#import <AppKit/AppKit.h>

#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "image/init_with.h"
#include "picture/pictures.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"

namespace {

bool initWithPicture(REALobject self, REALpicture img, REALpicture mask) {
  return InitNSImageWith(self, [&]() -> NSImage* { return [NewNSImage(img, mask) retain]; });
}

void ConstructorPicture(REALobject self, REALpicture image, REALpicture mask) { initWithPicture(self, image, mask); }

/* Runs copy on the held image in the pooled guard; null for an instance without one. */
template <typename Copy>
REALpicture CopyFromImage(REALobject self, Copy copy) {
  REALpicture result = nullptr;
  CocoaGuardPooled([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image != nil) result = copy(image);
  });
  return result;
}

/* The color space argument is accepted and ignored. */
REALpicture CopyPictureRect(REALobject self, intptr_t x, intptr_t y, intptr_t w, intptr_t h, REALobject) {
  return CopyFromImage(self, [&](NSImage* image) { return NSImageCopyPictureRect(image, (int)x, (int)y, (int)w, (int)h); });
}

REALpicture CopyPicture(REALobject self, REALobject) {
  return CopyFromImage(self, [](NSImage* image) { return NSImageCopyPictureRect(image, 0, 0, 0, 0); });
}

REALpicture CopyMask(REALobject self) {
  return CopyFromImage(self, [](NSImage* image) { return NSImageCopyPictureMask(image); });
}

int32_t PictureSide(REALpicture picture, const char* name) {
  int32_t value = 0;
  if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(picture), name, &value)) value = 0;
  return value;
}

/* The picture with its mask installed as the host's own mask of it; without a mask when
   no representation has alpha. */
REALpicture PictureWithMask(NSImage* image) {
  bool alpha = false;
  NSArray* reps = [image representations];
  for (NSUInteger i = 0, count = [reps count]; i < count && !alpha; ++i) alpha = [[reps objectAtIndex:i] hasAlpha];
  if (!alpha) return NSImageCopyPictureRect(image, 0, 0, 0, 0);
  REALpicture mask = NSImageCopyPictureMask(image);
  if (mask == nullptr) return nullptr;
  REALpicture picture = NSImageCopyPictureRect(image, 0, 0, 0, 0);
  REALpicture target = nullptr;
  int32_t width = 0, height = 0;
  if (picture != nullptr) {
    width = PictureSide(picture, "Width");
    height = PictureSide(picture, "Height");
    if (width > 0 && height > 0) target = REALGetPictureMask(picture, true);
  }
  bool drawn = false;
  if (target != nullptr) {
    drawn = GraphicsDrawPicture(target, mask, 0, 0, width, height, 0, 0, width, height);
    REALUnlockObject(reinterpret_cast<REALobject>(target));
  }
  REALUnlockObject(reinterpret_cast<REALobject>(mask));
  if (!drawn && picture != nullptr) {
    REALUnlockObject(reinterpret_cast<REALobject>(picture));
    picture = nullptr;
  }
  return picture;
}

REALpicture CopyPictureWithMask(REALobject self, REALobject) { return CopyFromImage(self, &PictureWithMask); }

template <typename Function>
REALmethodDefinition PictureMethod(Function* function, const char* declaration) {
  return {reinterpret_cast<void*>(function), nullptr, declaration, REALmarkerFlag4, 0, nullptr};
}

const REALmethodDefinition PictureMethodRows[] = {
    PictureMethod(&initWithPicture, "initWithPicture(img as picture, mask as picture = nil) as boolean"),
    PictureMethod(&ConstructorPicture, "Constructor(image as Picture, mask as picture = nil)"),
    PictureMethod(&CopyPictureRect,
                  "CopyPictureRect(x as integer, y as integer, w as integer, h as integer, CGColorSpace as Variant = "
                  "nil) as picture"),
    PictureMethod(&CopyPicture, "CopyPicture(CGColorSpace as Variant = nil) as picture"),
    PictureMethod(&CopyMask, "CopyMask as picture"),
    PictureMethod(&CopyPictureWithMask, "CopyPictureWithMask(CGColorSpace as Variant = nil) as picture"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSImagePictureMethods = RowsOf(PictureMethodRows);
