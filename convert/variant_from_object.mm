/* Platform object -> host value: the one place that decides what a platform value
   becomes in the host language. Tests in a fixed order, first match wins: collections
   become host arrays and Dictionaries, numbers and strings Variants of the matching type,
   dates host Dates, file URLs FolderItems, geometry values the sibling value classes,
   Core Foundation objects the sibling CF wrappers, and anything else a wrapper instance
   named after its class. A sibling class the host lacks is simply not found. */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <objc/runtime.h>

#include "convert/variants.h"

#include <cstring>

#include "convert/data.h"
#include "convert/dictionaries.h"
#include "convert/file_urls.h"
#include "convert/held_references.h"
#include "convert/strings.h"
#include "convert/swallowing_frame.h"
#include "convert/wrappers.h"
#include "plugin/cocoa_state.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"
#include "plugin/sibling_interfaces.h"
#include "plugin/sibling_values.h"

@interface NSObject (CFTypeIDOfObjectQVR)
- (CFTypeID)_cfTypeID;
@end

namespace {

/* The host's element type code of object arrays. */
enum { kHostObjectArray = 4 };

/* Core Foundation wrappers carry this tag at byte 8 of their instance data. */
enum : uint32_t { kCFObjectTag = 0x52424346 };

struct CFObjectQVRData {
  CFTypeRef object;
  uint32_t tag;
};

REALobject StringVariant(NSString* string) {
  HeldString hostString(CFString2RBString((CFStringRef)string));
  return REALNewVariantString(hostString.get());
}

/* Arrays and sets: an object array filled through its insert procedure; an element the
   host cannot take is skipped, the index still advances. */
REALobject ArrayOf(NSEnumerator* elements) {
  REALarray array = REALCreateArray(kHostObjectArray, -1);
  if (array == nullptr) return nullptr;
  intptr_t index = 0;
  for (id element = [elements nextObject]; element != nil; element = [elements nextObject], ++index) {
    HeldObject value(NewVariantFromNSObject(element));
    REALInsertArrayValueObject(array, index, value.get());
  }
  return reinterpret_cast<REALobject>(array);
}

REALobject NumberVariant(NSNumber* number) {
  const char* type = [number objCType];
  if (type == nullptr) type = "d";
  /* A platform boolean is a char: any non-zero char becomes true. */
  if (std::strcmp(type, "c") == 0) return REALNewVariantBoolean([number boolValue] ? true : false);
  if (std::strcmp(type, "C") == 0) return REALNewVariantInteger([number unsignedCharValue]);
  if (std::strcmp(type, "s") == 0) return REALNewVariantInteger([number shortValue]);
  if (std::strcmp(type, "S") == 0) return REALNewVariantInteger([number unsignedShortValue]);
  if (std::strcmp(type, "i") == 0) return REALNewVariantInteger([number intValue]);
  if (std::strcmp(type, "I") == 0) return REALNewVariantUInt32([number unsignedIntValue]);
  /* long is a word: 32 bits where the family began, 64 here, and all of it is kept. */
  if (std::strcmp(type, "l") == 0)
    return sizeof(long) == 4 ? REALNewVariantInteger(static_cast<int32_t>([number longValue]))
                             : REALNewVariantInt64([number longValue]);
  if (std::strcmp(type, "L") == 0)
    return sizeof(unsigned long) == 4 ? REALNewVariantUInt32(static_cast<uint32_t>([number unsignedLongValue]))
                                      : REALNewVariantUInt64([number unsignedLongValue]);
  if (std::strcmp(type, "q") == 0) return REALNewVariantInt64([number longLongValue]);
  if (std::strcmp(type, "Q") == 0) return REALNewVariantUInt64([number unsignedLongLongValue]);
  if (std::strcmp(type, "f") == 0) return REALNewVariantSingle([number floatValue]);
  return REALNewVariantDouble([number doubleValue]);
}

/* A host Date of the local wall-clock fields; fractions of a second are dropped. */
REALobject DateOf(NSDate* date) {
  NSCalendarDate* local =
      [[[NSCalendarDate alloc] initWithTimeIntervalSinceReferenceDate:[date timeIntervalSinceReferenceDate]] autorelease];
  if (local == nil) return nullptr;
  const int32_t fields[] = {
      static_cast<int32_t>([local yearOfCommonEra]), static_cast<int32_t>([local monthOfYear]),
      static_cast<int32_t>([local dayOfMonth]),      static_cast<int32_t>([local hourOfDay]),
      static_cast<int32_t>([local minuteOfHour]),    static_cast<int32_t>([local secondOfMinute]),
  };
  REALobject hostDate = REALnewInstance("Date");
  if (hostDate == nullptr) return nullptr;
  static const char* const names[] = {"Year", "Month", "Day", "Hour", "Minute", "Second"};
  for (int i = 0; i < 6; ++i) REALSetPropValueInt32(hostDate, names[i], fields[i]);
  return hostDate;
}

/* The classes whose wrappers are kept one per platform object (the first that the
   object is a kind of decides). */
REALobject CachedWrapper(NSObject* object, bool* decided) {
  static const char* const pairs[][2] = {
      {"NSCalendar", "NSCalendarQVR"}, {"NSError", "NSErrorQVR"},   {"NSCharacterSet", "NSCharacterSetQVR"},
      {"NSLocale", "NSLocaleQVR"},     {"NSTimer", "NSTimerQVR"}, {"NSTimeZone", "NSTimeZoneQVR"},
  };
  for (const auto& pair : pairs) {
    Class cls = objc_getClass(pair[0]);
    if (cls != Nil && [object isKindOfClass:cls]) {
      *decided = true;
      return NewFixedClassWrapper(object, pair[1]);
    }
  }
  *decided = false;
  return nullptr;
}

template <typename Data>
REALobject NewValueInstance(const char* className, const Data& fields) {
  REALobject instance = REALnewInstance(className);
  if (instance != nullptr) *SiblingValueDataOf<Data>(instance) = fields;
  return instance;
}

/* NSValues of geometry and time; nil for any other encoding. */
REALobject ValueOf(NSValue* value) {
  const char* type = [value objCType];
  if (type == nullptr) return nullptr;
  if (std::strcmp(type, @encode(NSRect)) == 0) {
    NSRect r = [value rectValue];
    return NewValueInstance("NSRectQVR", NSRectQVRData{static_cast<float>(r.origin.x), static_cast<float>(r.origin.y),
                                                       static_cast<float>(r.size.width),
                                                       static_cast<float>(r.size.height)});
  }
  if (std::strcmp(type, @encode(NSSize)) == 0) {
    NSSize s = [value sizeValue];
    return NewValueInstance("NSSizeQVR", NSSizeQVRData{static_cast<float>(s.width), static_cast<float>(s.height)});
  }
  if (std::strcmp(type, @encode(NSRange)) == 0) {
    NSRange r = [value rangeValue];
    return NewValueInstance("NSRangeQVR",
                            NSRangeQVRData{static_cast<uint32_t>(r.location), static_cast<uint32_t>(r.length)});
  }
  if (std::strcmp(type, @encode(NSPoint)) == 0) {
    NSPoint p = [value pointValue];
    return NewValueInstance("NSPointQVR", NSPointQVRData{static_cast<float>(p.x), static_cast<float>(p.y)});
  }
  /* The time types belong to sibling plugins, which add these methods. */
  struct TimeEncoding {
    const char* type;
    SEL message;
  };
  const TimeEncoding times[] = {
      {"{?=qll}", @selector(QTTimeValueQVR)},
      {"{?={?=qll}{?=qll}}", @selector(QTTimeRangeValueQVR)},
      {"{?=qiIq}", @selector(CMTimeValueQVR)},
      {"{?={?=qiIq}{?=qiIq}}", @selector(CMTimeRangeValueQVR)},
      {"{?={?={?=qiIq}{?=qiIq}}{?={?=qiIq}{?=qiIq}}}", @selector(CMTimeMappingValueQVR)},
  };
  for (const TimeEncoding& time : times) {
    if (std::strcmp(type, time.type) != 0) continue;
    if (![value respondsToSelector:time.message]) return nullptr;
    using Getter = void* (*)(id, SEL);
    return static_cast<REALobject>(reinterpret_cast<Getter>([value methodForSelector:time.message])(value, time.message));
  }
  return nullptr;
}

/* A new Core Foundation wrapper of className (or of CFObjectQVR when the host has no
   such class) holding object; nil unless the new instance carries the family's tag. */
REALobject CFWrapper(CFTypeRef object, const char* className) {
  REALobject instance = REALnewInstance(className);
  if (instance == nullptr) instance = REALnewInstance("CFObjectQVR");
  if (instance == nullptr) return nullptr;
  auto* data = SiblingValueDataOf<CFObjectQVRData>(instance);
  if (data->tag != kCFObjectTag) {
    REALUnlockObject(instance);
    return nullptr;
  }
  data->tag = kCFObjectTag;
  data->object = CFRetain(object);
  return instance;
}

/* The Core Foundation step: true when it decided (result set, possibly nil). */
bool CoreFoundationDecision(NSObject* object, REALobject* result) {
  bool decided = false;
  RunSwallowing([&] {
    if (static_cast<intptr_t>([object _cfTypeID]) <= 0) return;
    CFTypeRef cf = (CFTypeRef)object;
    CFTypeID type = CFGetTypeID(cf);
    if (type == CGImageGetTypeID()) {
      decided = true;
      REALobject instance = REALnewInstance("CGImageQVR");
      if (instance != nullptr) *WrapperHandleSlot(instance) = CGImageRetain((CGImageRef)cf);
      *result = instance;
      return;
    }
    struct TypeClass {
      CFTypeID (*typeID)(void);
      const char* className;
    };
    static const TypeClass table[] = {
        {&CFURLGetTypeID, "CFURLQVR"},
        {&CFDictionaryGetTypeID, "CFDictionaryQVR"},
        {&CFStringGetTypeID, "CFStringQVR"},
        {&CFNumberGetTypeID, "CFNumberQVR"},
        {&CFArrayGetTypeID, "CFArrayQVR"},
        {&CFBooleanGetTypeID, "CFBooleanQVR"},
        {&CFDataGetTypeID, "CFBinaryDataQVR"},
        {&CFCharacterSetGetTypeID, "CFCharacterSetQVR"},
        {&CFBundleGetTypeID, "CFBundleQVR"},
        {&CFSetGetTypeID, "CFSetQVR"},
        {&CFBagGetTypeID, "CFBagQVR"},
        {&CFUUIDGetTypeID, "CFUUIDQVR"},
        {&CFTimeZoneGetTypeID, "CFTimeZoneQVR"},
        {&CFDateGetTypeID, "CFDateQVR"},
        {&CFAttributedStringGetTypeID, "CFAttributedStringQVR"},
        {&CFErrorGetTypeID, "CFErrorQVR"},
        {&CGPSConverterGetTypeID, "CGPSConverterQVR"},
        {&CGContextGetTypeID, "CGContextQVR"},
        {&CGColorSpaceGetTypeID, "CGColorSpaceQVR"},
        {&CGColorGetTypeID, "CGColorQVR"},
        {&CGLayerGetTypeID, "CGLayerQVR"},
        {&CGFontGetTypeID, "CGFontQVR"},
        {&CGDataConsumerGetTypeID, "CGDataConsumerQVR"},
        {&CGDataProviderGetTypeID, "CGDataProviderQVR"},
    };
    const char* className = "CFObjectQVR";
    for (const TypeClass& entry : table) {
      if (entry.typeID() == type) {
        className = entry.className;
        break;
      }
    }
    decided = true;
    *result = CFWrapper(cf, className);
  });
  return decided;
}

}  // namespace

REALobject NewVariantFromNSObject(NSObject* object) {
  if (object == nil) return nullptr;
  if (object == [NSNull null]) return nullptr;
  if ([object isKindOfClass:[NSArray class]]) return ArrayOf([(NSArray*)object objectEnumerator]);
  if ([object isKindOfClass:[NSSet class]]) {
    return ArrayOf([[(NSSet*)object allObjects] objectEnumerator]);
  }
  if ([object isKindOfClass:[NSString class]]) return StringVariant((NSString*)object);
  if ([object isKindOfClass:[NSData class]]) return reinterpret_cast<REALobject>(NSDataRB((NSData*)object));
  if ([object isKindOfClass:[NSNumber class]]) return NumberVariant((NSNumber*)object);
  if ([object isKindOfClass:[NSDate class]]) return DateOf((NSDate*)object);
  if ([object isKindOfClass:[NSDictionary class]]) return NSDictionaryRB((NSDictionary*)object);
  if ([object isKindOfClass:[NSAttributedString class]]) return NewNSObjectQVR(object, [NSAttributedString class]);
  bool decided = false;
  REALobject cached = CachedWrapper(object, &decided);
  if (decided) return cached;
  if ([object isKindOfClass:[NSURL class]]) {
    REALfolderItem file = NSURLRBFile((NSURL*)object);
    if (file != nullptr) return reinterpret_cast<REALobject>(file);
    return StringVariant([(NSURL*)object absoluteString]);
  }
  if ([object isKindOfClass:[NSValue class]]) return ValueOf((NSValue*)object);
  if ([object respondsToSelector:@selector(_cfTypeID)]) {
    REALobject result = nullptr;
    if (CoreFoundationDecision(object, &result)) return result;
  }
  Class wrapperClass = objc_getClass("QVRREALobjectWrapper");
  if (wrapperClass != Nil && [object isKindOfClass:wrapperClass]) return static_cast<REALobject>([object unwrap]);
  Class cls = [object class];
  return cls != Nil ? NewNSObjectQVR(object, cls) : nullptr;
}
