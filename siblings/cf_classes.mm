/* Host wrappers of Core Foundation objects. CFObjectQVR holds a retained CF object at
   byte 0 of its instance data and the tag 0x52424346 at byte 8, written by its
   constructor: image plugins of the family accept a new instance only when the tag is
   there. CGImageQVR holds a retained CGImage at byte 0 and has no tag. */
#import <Foundation/Foundation.h>
#include <ApplicationServices/ApplicationServices.h>

#include "siblings/cf_classes.h"

#include "siblings/sibling_glue.h"

namespace {

enum : uint32_t { kCFObjectTag = 0x52424346 };

struct CFObjectData {
  CFTypeRef object;
  uint32_t tag;
};
static_assert(offsetof(CFObjectData, tag) == 8, "the tag is at byte 8");

struct CGImageData {
  CGImageRef image;
};

CFObjectData* ObjectData(REALobject self) { return siblings::InstanceData<CFObjectData>(CFObjectQVRClass, self); }
CGImageData* ImageData(REALobject self) { return siblings::InstanceData<CGImageData>(CGImageQVRClass, self); }

/* CFObjectQVR */

void ObjectConstructor(REALobject self) { ObjectData(self)->tag = kCFObjectTag; }

void ObjectDestructor(REALobject self) {
  CFObjectData* data = ObjectData(self);
  CFTypeRef object = data->object;
  data->object = nullptr;
  if (object != nullptr) CFRelease(object);
}

intptr_t ObjectTypeID(REALobject self, intptr_t) {
  CFTypeRef object = ObjectData(self)->object;
  return object ? static_cast<intptr_t>(CFGetTypeID(object)) : 0;
}

REALstring ObjectDescription(REALobject self, intptr_t) {
  CFTypeRef object = ObjectData(self)->object;
  return object ? siblings::HostString((CFStringRef)[(id)object description]) : nullptr;
}

bool ObjectEquals(REALobject self, REALobject other) {
  if (other == nullptr) return false;
  return CFEqual(ObjectData(self)->object, ObjectData(other)->object);
}

REALproperty ObjectProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "TypeID", "Integer", 0x6, reinterpret_cast<void*>(&ObjectTypeID), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
    {nullptr, "Description", "String", 0x6, reinterpret_cast<void*>(&ObjectDescription), nullptr, 0, nullptr, 0,
     nullptr, 0, nullptr},
};

REALmethodDefinition ObjectMethods[] = {
    {reinterpret_cast<void*>(&ObjectEquals), nullptr, "Equals(other as CFObjectQVR) as boolean", 0x4, 0, nullptr},
};

/* CGImageQVR */

void ImageDestructor(REALobject self) {
  CGImageData* data = ImageData(self);
  CGImageRef image = data->image;
  data->image = nullptr;
  if (image != nullptr) CGImageRelease(image);
}

intptr_t ImageWidth(REALobject self, intptr_t) {
  CGImageRef image = ImageData(self)->image;
  return image ? static_cast<intptr_t>(CGImageGetWidth(image)) : 0;
}

intptr_t ImageHeight(REALobject self, intptr_t) {
  CGImageRef image = ImageData(self)->image;
  return image ? static_cast<intptr_t>(CGImageGetHeight(image)) : 0;
}

REALproperty ImageProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "Width", "Integer", 0x6, reinterpret_cast<void*>(&ImageWidth), nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "Height", "Integer", 0x6, reinterpret_cast<void*>(&ImageHeight), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
};

}  // namespace

REALclassDefinition CFObjectQVRClass = {
    kREALCurrentControlVersion, "CFObjectQVR", nullptr, sizeof(CFObjectData), 0,
    reinterpret_cast<void*>(&ObjectConstructor), reinterpret_cast<void*>(&ObjectDestructor), ObjectProperties,
    sizeof(ObjectProperties) / sizeof(ObjectProperties[0]), ObjectMethods, sizeof(ObjectMethods) / sizeof(ObjectMethods[0]),
    nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
};

REALclassDefinition CGImageQVRClass = {
    kREALCurrentControlVersion, "CGImageQVR", nullptr, sizeof(CGImageData), 0, nullptr,
    reinterpret_cast<void*>(&ImageDestructor), ImageProperties, sizeof(ImageProperties) / sizeof(ImageProperties[0]),
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, nullptr, 0, nullptr, 0,
    nullptr, 0,
};
