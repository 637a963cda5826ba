/* Wrapping platform objects in host instances. A wrapper owns one retain on its platform
   object (its Handle); the caller owns one host reference on the wrapper. */
#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include "convert/wrappers.h"

#include <cstring>

#include "image/NSImageQVR_class.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/cocoa_state.h"
#include "plugin/host_bridge.h"

/* The Handle of a new wrapper of a class of ours, or of a sibling's root class. */
static void** HandleSlotOf(REALobject wrapper, const char* hostClassName) {
  if (std::strcmp(hostClassName, NSImageQVRClass.name) == 0)
    return reinterpret_cast<void**>(&NSImageQVRDataOf(wrapper)->Handle);
  const REALclassDefinition* representationClasses[] = {&NSImageRepQVRClass, &NSBitmapImageRepQVRClass,
                                                        &NSEPSImageRepQVRClass, &NSPDFImageRepQVRClass,
                                                        &NSPICTImageRepQVRClass};
  for (const REALclassDefinition* definition : representationClasses) {
    if (std::strcmp(hostClassName, definition->name) == 0)
      return reinterpret_cast<void**>(&NSImageRepQVRDataOf(wrapper)->Handle);
  }
  return WrapperHandleSlot(wrapper);
}

/* The wrapper instances already holds for object (with a new reference), or a new
   wrapper of hostClassName entered there. */
REALobject NewFixedClassWrapper(id object, const char* hostClassName) {
  if (object == nil) return nullptr;
  if (instances != NULL) {
    const void* existing = nullptr;
    if (CFDictionaryGetValueIfPresent(instances, object, &existing) && existing != nullptr) {
      auto wrapper = static_cast<REALobject>(const_cast<void*>(existing));
      REALLockObject(wrapper);
      return wrapper;
    }
  }
  REALobject wrapper = REALnewInstance(hostClassName);
  if (wrapper == nullptr) return nullptr;
  *HandleSlotOf(wrapper, hostClassName) = [object retain];
  if (instances != NULL) CFDictionarySetValue(instances, object, wrapper);
  return wrapper;
}

REALobject NewNSImageQVR(NSImage* image) {
  return NewFixedClassWrapper(image, "NSImageQVR");
}

REALobject NewNSPDFImageRepQVR(NSPDFImageRep* representation) {
  return NewFixedClassWrapper(representation, "NSPDFImageRepQVR");
}

REALobject NewNSBitmapImageRepQVR(NSBitmapImageRep* representation) {
  return NewFixedClassWrapper(representation, "NSBitmapImageRepQVR");
}

REALobject NewNSColorQVR(NSColor* color) {
  return NewFixedClassWrapper(color, "NSColorQVR");
}

REALobject NewNSObjectQVR(NSObject* object, Class requiredClass) {
  if (object == nil || requiredClass == Nil) return nullptr;
  if (![object isKindOfClass:requiredClass]) return nullptr;
  enum { kNameBufferSize = 200, kLongestClassName = 196 };
  char hostClassName[kNameBufferSize];
  for (Class cls = [object class]; cls != Nil; cls = class_getSuperclass(cls)) {
    const char* name = class_getName(cls);
    size_t length = name ? std::strlen(name) : 0;
    if (length == 0 || length > kLongestClassName) continue;
    std::memcpy(hostClassName, name, length);
    std::memcpy(hostClassName + length, "QVR", 4);
    REALobject wrapper = REALnewInstance(hostClassName);
    if (wrapper == nullptr) continue;
    *HandleSlotOf(wrapper, hostClassName) = [object retain];
    return wrapper;
  }
  return nullptr;
}

REALobject NewNSEPSImageRepQVR(NSEPSImageRep* representation) {
  return NewFixedClassWrapper(representation, "NSEPSImageRepQVR");
}

REALobject NewNSPICTImageRepQVR(NSPICTImageRep* representation) {
  return NewFixedClassWrapper(representation, "NSPICTImageRepQVR");
}
