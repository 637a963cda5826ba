/* The common frame of the initWith methods: the image the instance holds is given up
   first, so a failed load leaves the instance empty; then the new image is made inside
   the full call guard and, when there is one, becomes the instance's Handle. */
#ifndef QVR_IMAGE_INIT_WITH_H
#define QVR_IMAGE_INIT_WITH_H

#import <AppKit/AppKit.h>

#include "image/NSImageQVR_class.h"
#include "plugin/call_guard.h"

/* create makes the input and the image from it, answering an owned NSImage or nil (nil
   also when it has no input). True when the instance holds the new image. */
template <typename Create>
bool InitNSImageWith(REALobject self, Create&& create) {
  CocoaInit();
  NSImageDestructor(self);
  bool result = false;
  CocoaGuardFull([&] {
    NSImage* image = create();
    if (image == nil) return;
    SetNSImageHandle(self, image);
    result = true;
  });
  return result;
}

#endif
