/* Creation and destruction of NSImageQVR instances. A new instance holds no image; the
   destructor gives back the wrapper's retain on its image and takes the image out of the
   shared wrapper dictionary, when the entry there is this wrapper's. */
#import <AppKit/AppKit.h>

#include "image/NSImageQVR_class.h"
#include "plugin/call_guard.h"

void NSImageConstructor(REALobject self) {
  CocoaGuardInitOnly([] {});
}

void NSImageDestructor(REALobject self) {
  if (self == nullptr) return;
  NSImageQVRData* data = NSImageQVRDataOf(self);
  CocoaGuardFull([&] {
    NSImage* image = data->Handle;
    if (image == nil) return;
    if (instances != NULL && CFDictionaryGetValue(instances, image) == self) CFDictionaryRemoveValue(instances, image);
    [image release];
  });
  data->Handle = nil;
}
