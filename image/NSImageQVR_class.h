/* The host class NSImageQVR: its class record and instance data (the Handle, the
   retained NSImage or nil), its constructor and destructor. */
#ifndef QVR_IMAGE_NSIMAGEQVR_CLASS_H
#define QVR_IMAGE_NSIMAGEQVR_CLASS_H

#import <AppKit/AppKit.h>

#include "plugin/host_sdk.h"
#include "plugin/instance_data.h"

extern REALclassDefinition NSImageQVRClass;

struct NSImageQVRData {
  NSImage* Handle;
};

inline NSImageQVRData* NSImageQVRDataOf(REALobject object) {
  return ClassData<NSImageQVRData>(NSImageQVRClass, object);
}

void NSImageConstructor(REALobject self);
/* The release step: removes the image from instances, releases it, clears Handle. Also
   run by the initWith methods before they load a new image. */
void NSImageDestructor(REALobject self);

/* Makes image, with its creation reference, the Handle of the empty instance self and
   enters it in instances. */
void SetNSImageHandle(REALobject self, NSImage* image);

/* The creators of this file's lifecycle group, also called by other members. */
bool initWithSize(REALobject self, double width, double height);

#endif
