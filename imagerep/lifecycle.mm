/* Creation and destruction of instances of NSImageRepQVR and its subclasses. A new
   instance holds nothing; the destructor gives back the wrapper's retain on its
   representation and takes it out of the shared wrapper dictionary, when the entry there
   is this wrapper's. */
#import <AppKit/AppKit.h>

#include "imagerep/NSImageRepQVR_class.h"
#include "imagerep/NSImageRepQVR_members.h"
#include "plugin/call_guard.h"

void NSImageRepConstructor(REALobject self) {
  CocoaGuardInitOnly([] {});
}

void NSImageRepDestructor(REALobject self) {
  if (self == nullptr) return;
  NSImageRepQVRData* data = NSImageRepQVRDataOf(self);
  CocoaGuardInitSimple([&] {
    NSImageRep* representation = data->Handle;
    if (representation == nil) return;
    if (instances != NULL && CFDictionaryGetValue(instances, representation) == self)
      CFDictionaryRemoveValue(instances, representation);
    [representation release];
    data->Handle = nil;
  });
}

/* "Constructor": an instance made with it holds no platform object. */
static void NSImageRepConstructorEmpty(REALobject) {}

static const REALmethodDefinition LifecycleRows[] = {
    {reinterpret_cast<void*>(&NSImageRepConstructorEmpty), nullptr, "Constructor", REALflagHost4 | REALflagHost80, 0,
     nullptr},
};

const MemberRows<REALmethodDefinition> NSImageRepLifecycleMethods = RowsOf(LifecycleRows);
