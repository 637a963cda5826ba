/* Host value -> platform object, the reverse of variant_from_object.mm: the Variant's
   type code decides; objects go through a fixed order of class tests, where the wrapper
   classes of this plugin and of sibling plugins give back the platform object they hold.
   Typed arrays are read straight from their element storage on hosts that keep it at
   byte 8 of the array (up to 2013.9), else through the host's element procedure. */
#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include "convert/variants.h"

#include <cstring>

#include "convert/data.h"
#include "convert/dates.h"
#include "convert/dictionaries.h"
#include "convert/file_urls.h"
#include "convert/held_references.h"
#include "convert/strings.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"
#include "plugin/registration.h"
#include "plugin/sibling_interfaces.h"
#include "plugin/sibling_values.h"

namespace {

/* The host's Variant type codes. */
enum : int32_t {
  kTypeInt32 = 2, kTypeInt64 = 3, kTypeSingle = 4, kTypeDouble = 5, kTypeCurrency = 6, kTypeDate = 7,
  kTypeString = 8, kTypeObject = 9, kTypeBoolean = 11, kTypeColor = 16,
  kTypeInt32Array = 0x1002, kTypeInt64Array = 0x1003, kTypeSingleArray = 0x1004, kTypeDoubleArray = 0x1005,
  kTypeDateArray = 0x1007, kTypeStringArray = 0x1008, kTypeObjectArray = 0x1009, kTypeBooleanArray = 0x100B,
};

/* The constant empty platform string stands for the host's empty string. */
NSString* StringOf(REALstring string) {
  NSString* result = nil;
  if (string != nullptr) result = [(NSString*)RBString2CFString(string) autorelease];
  return result != nil ? result : @"";
}

bool IsA(REALobject object, const char* className) {
  REALclassRef cls = REALGetClassRef(className);
  return cls != nullptr && REALObjectIsA(object, cls);
}

/* The element storage of an array when this host shows it (hosts up to 2013.9). */
const unsigned char* DirectStorage(REALobject array) {
  if (rbversion_rbversion > 2013.9) return nullptr;
  const unsigned char* storage = nullptr;
  std::memcpy(&storage, reinterpret_cast<const char*>(array) + 8, sizeof storage);
  return storage;
}

/* Element index of a numeric array, read directly or through the get procedure (a
   missing procedure leaves 0). */
template <typename T, void (*GetThroughHost)(REALarray, intptr_t, T*)>
T NumberAt(REALobject array, const unsigned char* storage, intptr_t index) {
  T value{};
  if (storage != nullptr)
    std::memcpy(&value, storage + size_t(index) * sizeof(T), sizeof(T));
  else
    GetThroughHost(reinterpret_cast<REALarray>(array), index, &value);
  return value;
}

/* A reference element (string, object) holding one reference for the caller, whichever
   way it was read. */
template <typename T, void (*GetThroughHost)(REALarray, intptr_t, T*), void (*Lock)(T)>
T ReferenceAt(REALobject array, const unsigned char* storage, intptr_t index) {
  T value = nullptr;
  if (storage != nullptr) {
    std::memcpy(&value, storage + size_t(index) * sizeof(T), sizeof(T));
    if (value != nullptr) Lock(value);
  } else {
    GetThroughHost(reinterpret_cast<REALarray>(array), index, &value);
  }
  return value;
}

NSObject* ElementOf(int32_t code, REALobject array, const unsigned char* storage, intptr_t i) {
  switch (code) {
    case kTypeInt32Array:
      return [NSNumber numberWithLong:NumberAt<int32_t, &REALGetArrayValueInt32>(array, storage, i)];
    case kTypeInt64Array:
      return [NSNumber numberWithLongLong:NumberAt<int64_t, &REALGetArrayValueInt64>(array, storage, i)];
    case kTypeSingleArray:
      return [NSNumber numberWithFloat:NumberAt<float, &REALGetArrayValueSingle>(array, storage, i)];
    case kTypeDoubleArray:
      return [NSNumber numberWithDouble:NumberAt<double, &REALGetArrayValueDouble>(array, storage, i)];
    case kTypeBooleanArray:
      return [NSNumber numberWithBool:NumberAt<uint8_t, &REALGetArrayValueUInt8>(array, storage, i) != 0];
    case kTypeStringArray: {
      HeldString s(ReferenceAt<REALstring, &REALGetArrayValueString, &REALLockString>(array, storage, i));
      return StringOf(s.get());
    }
    default: {  // dates and objects
      HeldObject o(ReferenceAt<REALobject, &REALGetArrayValueObject, &REALLockObject>(array, storage, i));
      return code == kTypeDateArray ? NewNSDate(o.get()) : GetVariantAsNSObject(o.get());
    }
  }
}

NSMutableArray* ArrayOf(int32_t code, REALobject array) {
  NSMutableArray* result = [NSMutableArray array];
  intptr_t upperBound = -1;
  if (!REALGetArrayUBoundIfKnown(reinterpret_cast<REALarray>(array), &upperBound)) return result;
  const unsigned char* storage = DirectStorage(array);
  /* A nil date or object element is refused by the platform array, which raises: the
     conversion ends there and the caller's guard reports it. */
  for (intptr_t i = 0; i <= upperBound; ++i) [result addObject:ElementOf(code, array, storage, i)];
  return result;
}

/* The handle of a wrapper instance, the platform object itself, not retained. */
NSObject* HandleOf(REALobject object) { return static_cast<NSObject*>(*WrapperHandleSlot(object)); }

NSObject* ObjectOf(REALobject object) {
  if (IsA(object, "MemoryBlock")) return NewNSData(reinterpret_cast<REALmemoryBlock>(object));
  if (REALLoadObjectMethod(object, "TrueItem(Index as integer) as Folderitem") != nullptr)
    return NewNSURLfile(reinterpret_cast<REALfolderItem>(object));
  if (IsA(object, "Dictionary")) return NewNSDictionary(object);
  static const char* const handleClasses[] = {
      "QuartzFilterQVR",      "NSImageQVR",          "NSImageRepQVR",          "NSFontQVR",
      "NSResponderQVR",       "NSAttributedStringQVR", "NSIndexSetQVR",        "NSColorQVR",
      "NSToolbarItemQVR",     "NSToolbarQVR",        "NSURLRequestQVR",        "NSCharacterSetQVR",
      "NSParagraphStyleQVR",  "NSTextContainerQVR",  "NSCalendarQVR",          "NSErrorQVR",
      "NSLocaleQVR",          "NSTimerQVR",          "NSTimeZoneQVR",          "WebUIDelegateQVR",
      "WebResourceLoadDelegateQVR", "WebFrameLoadDelegateQVR", "WebDownloadDelegateQVR", "DRBurnQVR",
      "PDFAnnotationQVR",     "PDFActionQVR",
  };
  for (const char* name : handleClasses)
    if (IsA(object, name)) return HandleOf(object);
  if (IsA(object, "NSSizeQVR")) {
    const NSSizeQVRData& s = *SiblingValueDataOf<NSSizeQVRData>(object);
    return [NSValue valueWithSize:NSMakeSize(s.width, s.height)];
  }
  if (IsA(object, "NSRectQVR")) {
    const NSRectQVRData& r = *SiblingValueDataOf<NSRectQVRData>(object);
    return [NSValue valueWithRect:NSMakeRect(r.x, r.y, r.width, r.height)];
  }
  if (IsA(object, "NSRangeQVR")) {
    const NSRangeQVRData& r = *SiblingValueDataOf<NSRangeQVRData>(object);
    return [NSValue valueWithRange:NSMakeRange(r.location, r.length)];
  }
  if (IsA(object, "NSPointQVR")) {
    const NSPointQVRData& p = *SiblingValueDataOf<NSPointQVRData>(object);
    return [NSValue valueWithPoint:NSMakePoint(p.x, p.y)];
  }
  /* The time classes: NSValue's class methods that their sibling plugins add. A missing
     method raises a platform exception, which the caller's guard reports. */
  struct TimeClass {
    const char* name;
    SEL message;
  };
  const TimeClass times[] = {
      {"QTKitTimeQVR", @selector(valueWithQTTimeQVR:)},
      {"QTKitTimeRangeQVR", @selector(valueWithQTTimeRangeQVR:)},
      {"CMTimeMappingQVR", @selector(valueWithCMTimeMappingQVR:)},
      {"CMTimeRangeQVR", @selector(valueWithCMTimeRangeQVR:)},
      {"CMTimeQVR", @selector(valueWithCMTimeQVR:)},
  };
  for (const TimeClass& time : times)
    if (IsA(object, time.name)) return [NSValue performSelector:time.message withObject:(id)object];
  if (IsA(object, "WebPolicyDelegateQVR")) return HandleOf(object);
  if (IsA(object, "CFObjectQVR")) return HandleOf(object);
  static const char* const cgClasses[] = {"CGColorQVR",      "CFNumberQVR",  "CGImageQVR", "CGColorSpaceQVR",
                                          "CGPathQVR",       "CGContextQVR", "CGLayerQVR"};
  for (const char* name : cgClasses)
    if (IsA(object, name)) return HandleOf(object);
  Class wrapperClass = objc_getClass("QVRREALobjectWrapper");
  if (wrapperClass != Nil) return [wrapperClass wrap:object];
  return nil;
}

}  // namespace

NSObject* GetVariantAsNSObject(REALobject value) {
  if (value == nullptr) return nil;
  const int32_t code = GetVariantType(value);
  switch (code) {
    case kTypeInt32:
    case kTypeColor:
      return [NSNumber numberWithLong:GetVariantInt32(value)];
    case kTypeInt64:
      return [NSNumber numberWithLongLong:GetVariantInt64(value)];
    case kTypeSingle:
      return [NSNumber numberWithFloat:GetVariantSingle(value)];
    case kTypeDouble:
    case kTypeCurrency:
      return [NSNumber numberWithDouble:GetVariantDouble(value)];
    case kTypeBoolean:
      return [NSNumber numberWithBool:(GetVariantInt32(value) & 0xFF) != 0];
    case kTypeDate: {
      REALobject date = nullptr;
      if (!REALGetPropValueObject(value, "DateValue", &date)) return nil;
      HeldObject held(date);
      return NewNSDate(held.get());
    }
    case kTypeString:
    case 18: case 19: case 20: case 21: case 23: {
      HeldString s(GetVariantString(value));
      return StringOf(s.get());
    }
    case kTypeObject:
      return ObjectOf(value);
    case kTypeInt32Array: case kTypeInt64Array: case kTypeSingleArray: case kTypeDoubleArray:
    case kTypeDateArray: case kTypeStringArray: case kTypeObjectArray: case kTypeBooleanArray:
      return ArrayOf(code, value);
    default:
      return nil;
  }
}
