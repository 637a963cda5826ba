/* "Constructor(pic as Picture)" of NSBitmapImageRepQVR: a bitmap representation of a host
   Picture and its mask (black opaque, white clear). The pixels reach the platform as a Core
   Graphics image: the host's own conversion first, then ours with the mask, and for a
   picture that neither can read, the same two on a normalised 32-bit copy of it. */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "picture/pictures.h"
#include "plugin/call_guard.h"
#include "plugin/cocoa_state.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"

namespace {

/* A new image of the picture (the caller releases it), or null. */
CGImageRef ConvertPicture(REALpicture picture) {
  CGImageRef image = REALCopyPictureCGImage(picture);
  if (image != NULL) return image;
  REALpicture mask = REALGetPictureMask(picture, true);  // the host makes one when it has none
  image = CreateCGImageInternal(picture, mask);
  if (mask != nullptr) REALUnlockObject(reinterpret_cast<REALobject>(mask));
  return image;
}

/* The last way: the picture drawn into a new 32-bit picture (its mask into the copy's),
   converted again. Null when the picture has no area or nothing can be made of it. */
CGImageRef ConvertCopy(REALpicture picture) {
  int32_t width = 0, height = 0;
  if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(picture), "Width", &width)) width = 0;
  if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(picture), "Height", &height)) height = 0;
  if (width <= 0 || height <= 0) return NULL;
  REALpicture copy = REALNewPicture(width, height, 32);
  if (copy == nullptr) return NULL;
  GraphicsDrawPicture(copy, picture, 0, 0, width, height, 0, 0, width, height);
  if (REALpicture mask = REALGetPictureMask(picture, false)) {
    if (REALpicture copyMask = REALGetPictureMask(copy, true)) {
      GraphicsDrawPicture(copyMask, mask, 0, 0, width, height, 0, 0, width, height);
      REALUnlockObject(reinterpret_cast<REALobject>(copyMask));
    }
    REALUnlockObject(reinterpret_cast<REALobject>(mask));
  }
  CGImageRef image = ConvertPicture(copy);
  REALUnlockObject(reinterpret_cast<REALobject>(copy));
  return image;
}

void ConstructorPicture(REALobject self, REALpicture pic) {
  if (pic == nullptr) {
    RaiseException("NilObjectException", "Image is nil");
    return;
  }
  CocoaGuardFull([&] {
    CGImageRef image = ConvertPicture(pic);
    if (image == NULL) image = ConvertCopy(pic);
    if (image == NULL) {
      RaiseException("NilObjectException", "Image is nil");
      return;
    }
    NSBitmapImageRep* rep = [[NSBitmapImageRep alloc] initWithCGImage:image];
    NSImageRepQVRDataOf(self)->Handle = rep;
    CGImageRelease(image);
    if (rep != nil && instances != NULL) CFDictionarySetValue(instances, rep, self);
  });
}

/* The marker flag makes it a host method that takes a Picture, on hosts that know them. */
const REALmethodDefinition MethodRows[] = {
    {reinterpret_cast<void*>(&ConstructorPicture), nullptr, "Constructor(pic as Picture)", REALmarkerFlag4, 0, nullptr},
};

}  // namespace

const MemberRows<REALmethodDefinition> NSBitmapImageRepPictureMethods = RowsOf(MethodRows);
