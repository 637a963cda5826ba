/* The representation classes: NSImageRepQVR, the root, whose instance data is the Handle
   (the retained NSImageRep or nil), and its four subclasses, which keep their platform
   object in that same Handle and add no data. */
#ifndef QVR_IMAGEREP_NSIMAGEREPQVR_CLASS_H
#define QVR_IMAGEREP_NSIMAGEREPQVR_CLASS_H

#import <AppKit/AppKit.h>

#include "plugin/host_sdk.h"
#include "plugin/instance_data.h"

extern REALclassDefinition NSImageRepQVRClass;
extern REALclassDefinition NSBitmapImageRepQVRClass;
extern REALclassDefinition NSEPSImageRepQVRClass;
extern REALclassDefinition NSPDFImageRepQVRClass;
extern REALclassDefinition NSPICTImageRepQVRClass;

struct NSImageRepQVRData {
  NSImageRep* Handle;
};

/* The Handle of an instance of NSImageRepQVR or any of its subclasses. */
inline NSImageRepQVRData* NSImageRepQVRDataOf(REALobject object) {
  return ClassData<NSImageRepQVRData>(NSImageRepQVRClass, object);
}

/* The Handle of an NSBitmapImageRepQVR, as the bitmap representation it holds. */
inline NSBitmapImageRep* NSBitmapImageRepOf(REALobject object) {
  return static_cast<NSBitmapImageRep*>(NSImageRepQVRDataOf(object)->Handle);
}

void NSImageRepConstructor(REALobject self);
void NSImageRepDestructor(REALobject self);

#endif
