/* Creation and destruction of NSImageQVR instances. A new instance holds no image until
   a constructor or creator gives it one; the destructor gives back the wrapper's retain
   on its image and takes the image out of the shared wrapper dictionary, when the entry
   there is this wrapper's. */
#import <AppKit/AppKit.h>

#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"

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

void SetNSImageHandle(REALobject self, NSImage* image) {
  NSImageQVRDataOf(self)->Handle = image;
  if (image != nil && instances != NULL) CFDictionarySetValue(instances, image, self);
}

namespace {

/* "Constructor": an empty image of no size. Unlike the creators it refuses to replace an
   image the instance already holds. */
void ConstructorEmpty(REALobject self) {
  if (NSImageQVRDataOf(self)->Handle != nil) {
    RaiseException("UnsupportedOperationException", "Constructor called too often. Object is already initialized.");
    return;
  }
  CocoaGuardFull([&] { SetNSImageHandle(self, [[NSImage alloc] init]); });
}

void ConstructorSize(REALobject self, double width, double height) {
  initWithSize(self, width, height);
}

}  // namespace

bool initWithSize(REALobject self, double width, double height) {
  NSImageDestructor(self);
  bool result = false;
  CocoaGuardFull([&] {
    /* The platform's sizes are single precision; narrowing here keeps results equal to
       those of a 32-bit build. */
    NSImage* image = [[NSImage alloc] initWithSize:NSMakeSize(static_cast<float>(width), static_cast<float>(height))];
    if (image == nil) return;
    SetNSImageHandle(self, image);
    result = true;
  });
  return result;
}

static const REALmethodDefinition LifecycleMethodRows[] = {
    {reinterpret_cast<void*>(&ConstructorEmpty), nullptr, "Constructor", REALflagHost4, 0, nullptr},
    {reinterpret_cast<void*>(&ConstructorSize), nullptr, "Constructor(width as double, height as double)", REALflagHost4,
     0, nullptr},
    {reinterpret_cast<void*>(&initWithSize), nullptr, "initWithSize(width as double, height as double) as boolean",
     REALflagHost4, 0, nullptr},
};

const MemberRows<REALmethodDefinition> NSImageLifecycleMethods = RowsOf(LifecycleMethodRows);
