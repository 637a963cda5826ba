/* Host wrappers of Core Foundation objects. CFObjectQVR holds a retained CF object at
   byte 0 of its instance data and the tag 0x52424346 at byte 8, written by its
   constructor: image plugins of the family accept a new instance only when the tag is
   there. Its subclasses, one per CF and CG type, add the members one expects of the type
   (a string's value, a number's value, a URL's string) and no data. CGImageQVR holds a
   retained CGImage at byte 0 and has no tag. */
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

/* Subclasses of CFObjectQVR. Their members read the object as the Foundation class it
   is bridged to, or through the Core Graphics functions of its type. */
id Object(REALobject self) { return (id)ObjectData(self)->object; }
#define FN(f) reinterpret_cast<void*>(&f)

REALstring StringValue(REALobject self, intptr_t) { return siblings::HostString((CFStringRef)Object(self)); }
double NumberDouble(REALobject self, intptr_t) { return [Object(self) doubleValue]; }
int64_t NumberInteger(REALobject self, intptr_t) { return [Object(self) longLongValue]; }
REALstring URLString(REALobject self, intptr_t) { return siblings::HostString((CFStringRef)[Object(self) absoluteString]); }
intptr_t CollectionCount(REALobject self, intptr_t) { return static_cast<intptr_t>([Object(self) count]); }
bool BooleanValue(REALobject self, intptr_t) { return [Object(self) boolValue] == YES; }
intptr_t DataLength(REALobject self, intptr_t) { return static_cast<intptr_t>([Object(self) length]); }
double DateAbsoluteTime(REALobject self, intptr_t) { return [Object(self) timeIntervalSinceReferenceDate]; }
REALstring BundleIdentifier(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[Object(self) bundleIdentifier]);
}
REALstring UUIDString(REALobject self, intptr_t) { return siblings::HostString((CFStringRef)[Object(self) UUIDString]); }
REALstring ZoneName(REALobject self, intptr_t) { return siblings::HostString((CFStringRef)[Object(self) name]); }
REALstring AttributedString(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[Object(self) string]);
}
intptr_t ErrorCode(REALobject self, intptr_t) { return static_cast<intptr_t>([Object(self) code]); }
REALstring ErrorDomain(REALobject self, intptr_t) { return siblings::HostString((CFStringRef)[Object(self) domain]); }
intptr_t SpaceComponents(REALobject self, intptr_t) {
  return static_cast<intptr_t>(CGColorSpaceGetNumberOfComponents((CGColorSpaceRef)ObjectData(self)->object));
}
intptr_t ColorComponents(REALobject self, intptr_t) {
  return static_cast<intptr_t>(CGColorGetNumberOfComponents((CGColorRef)ObjectData(self)->object));
}
double ColorAlpha(REALobject self, intptr_t) { return CGColorGetAlpha((CGColorRef)ObjectData(self)->object); }
intptr_t ContextWidth(REALobject self, intptr_t) {
  return static_cast<intptr_t>(CGBitmapContextGetWidth((CGContextRef)ObjectData(self)->object));
}
intptr_t ContextHeight(REALobject self, intptr_t) {
  return static_cast<intptr_t>(CGBitmapContextGetHeight((CGContextRef)ObjectData(self)->object));
}

REALproperty Getter(const char* name, const char* type, void* getter) {
  return {nullptr, name, type, 0x6, getter, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};
}

REALproperty StringProperties[] = {Getter("StringValue", "String", FN(StringValue))};
REALproperty NumberProperties[] = {Getter("DoubleValue", "Double", FN(NumberDouble)),
                                   Getter("Int64Value", "Int64", FN(NumberInteger))};
REALproperty URLProperties[] = {Getter("AbsoluteString", "String", FN(URLString))};
REALproperty CountProperties[] = {Getter("Count", "Integer", FN(CollectionCount))};
REALproperty BooleanProperties[] = {Getter("Value", "Boolean", FN(BooleanValue))};
REALproperty DataProperties[] = {Getter("Length", "Integer", FN(DataLength))};
REALproperty DateProperties[] = {Getter("AbsoluteTime", "Double", FN(DateAbsoluteTime))};
REALproperty BundleProperties[] = {Getter("Identifier", "String", FN(BundleIdentifier))};
REALproperty UUIDProperties[] = {Getter("StringValue", "String", FN(UUIDString))};
REALproperty ZoneProperties[] = {Getter("Name", "String", FN(ZoneName))};
REALproperty AttributedProperties[] = {Getter("StringValue", "String", FN(AttributedString))};
REALproperty ErrorProperties[] = {Getter("Code", "Integer", FN(ErrorCode)), Getter("Domain", "String", FN(ErrorDomain))};
REALproperty SpaceProperties[] = {Getter("NumberOfComponents", "Integer", FN(SpaceComponents))};
REALproperty ColorProperties[] = {Getter("NumberOfComponents", "Integer", FN(ColorComponents)),
                                  Getter("Alpha", "Double", FN(ColorAlpha))};
REALproperty ContextProperties[] = {Getter("Width", "Integer", FN(ContextWidth)),
                                    Getter("Height", "Integer", FN(ContextHeight))};
#undef FN

template <size_t N>
constexpr uintptr_t Count(const REALproperty (&)[N]) {
  return N;
}

/* Constructors of the wrappers host code makes itself: the object from a host value. */
void Adopt(REALobject self, CFTypeRef object) {
  CFObjectData* data = ObjectData(self);
  if (data->object != nullptr) CFRelease(data->object);
  data->object = object;  // the new object's own reference
}
void StringConstructor(REALobject self, REALstring text) {
  CFStringRef string = siblings::CopyPlatformString(text);
  Adopt(self, string != nullptr ? string : CFStringCreateWithCString(nullptr, "", kCFStringEncodingUTF8));
}
void NumberConstructor(REALobject self, double value) {
  Adopt(self, (CFTypeRef)[[NSNumber alloc] initWithDouble:value]);  // a CFNumber, toll-free
}
void URLConstructor(REALobject self, REALstring text) {
  CFStringRef string = siblings::CopyPlatformString(text);
  if (string == nullptr) return;
  Adopt(self, CFURLCreateWithString(nullptr, string, nullptr));
  CFRelease(string);
}

REALmethodDefinition StringMethods[] = {
    {reinterpret_cast<void*>(&StringConstructor), nullptr, "Constructor(text as String)", 0x4, 0, nullptr}};
REALmethodDefinition NumberMethods[] = {
    {reinterpret_cast<void*>(&NumberConstructor), nullptr, "Constructor(value as Double)", 0x4, 0, nullptr}};
REALmethodDefinition URLMethods[] = {
    {reinterpret_cast<void*>(&URLConstructor), nullptr, "Constructor(url as String)", 0x4, 0, nullptr}};

REALclassDefinition Subclass(const char* name, REALproperty* properties = nullptr, uintptr_t propertyCount = 0,
                             REALmethodDefinition* methods = nullptr, uintptr_t methodCount = 0) {
  return {kREALCurrentControlVersion, name, "CFObjectQVR", 0, 0, nullptr, nullptr, properties, propertyCount,
          methods, methodCount, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0, nullptr, 0,
          nullptr, 0, nullptr, 0};
}

#define WITH(properties) properties, Count(properties)
REALclassDefinition Subclasses[] = {
    Subclass("CFStringQVR", WITH(StringProperties), StringMethods, 1),
    Subclass("CFNumberQVR", WITH(NumberProperties), NumberMethods, 1),
    Subclass("CFURLQVR", WITH(URLProperties), URLMethods, 1),
    Subclass("CFDictionaryQVR", WITH(CountProperties)),
    Subclass("CFArrayQVR", WITH(CountProperties)),
    Subclass("CFBooleanQVR", WITH(BooleanProperties)),
    Subclass("CFBinaryDataQVR", WITH(DataProperties)),
    Subclass("CFCharacterSetQVR"),
    Subclass("CFBundleQVR", WITH(BundleProperties)),
    Subclass("CFSetQVR", WITH(CountProperties)),
    Subclass("CFBagQVR", WITH(CountProperties)),
    Subclass("CFUUIDQVR", WITH(UUIDProperties)),
    Subclass("CFTimeZoneQVR", WITH(ZoneProperties)),
    Subclass("CFDateQVR", WITH(DateProperties)),
    Subclass("CFAttributedStringQVR", WITH(AttributedProperties)),
    Subclass("CFErrorQVR", WITH(ErrorProperties)),
    Subclass("CGPSConverterQVR"),
    Subclass("CGContextQVR", WITH(ContextProperties)),
    Subclass("CGColorSpaceQVR", WITH(SpaceProperties)),
    Subclass("CGColorQVR", WITH(ColorProperties)),
    Subclass("CGLayerQVR"),
    Subclass("CGFontQVR"),
    Subclass("CGDataConsumerQVR"),
    Subclass("CGDataProviderQVR"),
};
#undef WITH

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

void RegisterCFSubclasses(void (*registerClass)(REALclassDefinition*)) {
  for (REALclassDefinition& definition : Subclasses) registerClass(&definition);
}
