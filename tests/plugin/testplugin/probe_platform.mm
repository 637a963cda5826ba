// Probes of the Core Foundation and Carbon calls the plugin makes, checked from inside
// the plugin's process: dictionaries with each kind of callbacks, type IDs, and Gestalt's
// system version. Each returns "ok" or what it found wrong.
#import <Foundation/Foundation.h>
#include <ApplicationServices/ApplicationServices.h>

#include "tests/plugin/testplugin/probe.h"

#include <string>

#define CHECK(condition)                                   \
  do {                                                     \
    if (!(condition)) return std::string("failed: ") + #condition; \
  } while (0)

std::string CheckDictionaries() {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  std::string result = "ok";
  NSMutableString* key = [[NSMutableString alloc] initWithString:@"key"];
  NSMutableString* equalKey = [[NSMutableString alloc] initWithString:@"key"];
  NSObject* value = [[NSObject alloc] init];
  auto check = [&]() -> std::string {
    // Null callbacks: identity keys, no references.
    CFMutableDictionaryRef plain = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, NULL, NULL);
    NSUInteger keyRetains = [key retainCount], valueRetains = [value retainCount];
    CFDictionarySetValue(plain, key, value);
    CHECK([key retainCount] == keyRetains && [value retainCount] == valueRetains);
    CHECK(CFDictionaryGetValue(plain, key) == value);
    CHECK(CFDictionaryGetValue(plain, equalKey) == NULL);
    CHECK(CFDictionaryGetCount(plain) == 1);
    CFDictionarySetValue(plain, (const void*)0x10, (const void*)0x20);  // not objects at all
    CHECK(CFDictionaryGetValue(plain, (const void*)0x10) == (const void*)0x20);
    CFDictionaryRemoveValue(plain, (const void*)0x10);
    CFDictionaryRemoveValue(plain, key);
    CHECK(CFDictionaryGetCount(plain) == 0);
    CFRelease(plain);

    // kCFType callbacks: equal keys find the value, both are retained and released.
    CFMutableDictionaryRef typed = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                             &kCFTypeDictionaryValueCallBacks);
    CFDictionarySetValue(typed, key, value);
    CHECK([key retainCount] == keyRetains + 1 && [value retainCount] == valueRetains + 1);
    CHECK(CFDictionaryGetValue(typed, equalKey) == value);
    CHECK([(NSDictionary*)typed objectForKey:equalKey] == value);
    const void* found = NULL;
    CHECK(CFDictionaryGetValueIfPresent(typed, equalKey, &found) && found == value);
    CFDictionarySetValue(typed, equalKey, key);  // replaces the value, keeps the first key
    CHECK([value retainCount] == valueRetains);
    CHECK(CFDictionaryGetCount(typed) == 1);
    CFRelease(typed);
    CHECK([key retainCount] == keyRetains && [equalKey retainCount] == 1);
    return "ok";
  };
  result = check();
  [key release];
  [equalKey release];
  [value release];
  [pool release];
  return result;
}

std::string CheckTypeIDs() {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  auto check = [&]() -> std::string {
    CHECK(CFGetTypeID(@"text") == CFStringGetTypeID());
    CHECK(CFGetTypeID([NSData data]) == CFDataGetTypeID());
    CHECK(CFGetTypeID([NSArray array]) == CFArrayGetTypeID());
    CHECK(CFGetTypeID([NSMutableDictionary dictionary]) == CFDictionaryGetTypeID());
    CHECK(CFGetTypeID([NSNumber numberWithInt:3]) == CFNumberGetTypeID());
    CHECK(CFGetTypeID(kCFBooleanTrue) == CFBooleanGetTypeID());
    CHECK(CFGetTypeID([NSNumber numberWithBool:NO]) == CFBooleanGetTypeID());
    CHECK(CFGetTypeID([NSDate date]) == CFDateGetTypeID());
    CHECK(CFGetTypeID([NSURL fileURLWithPath:@"/tmp"]) == CFURLGetTypeID());
    CHECK(CFGetTypeID([NSSet set]) == CFSetGetTypeID());
    CHECK(CFGetTypeID([[[NSObject alloc] init] autorelease]) == CFTypeGetTypeID());
    CFMutableDictionaryRef plain = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, NULL, NULL);
    CFTypeID dictionary = CFGetTypeID(plain);
    CFRelease(plain);
    CHECK(dictionary == CFDictionaryGetTypeID());
    CGColorSpaceRef space = CGColorSpaceCreateDeviceGray();
    CFTypeID spaceID = CFGetTypeID(space);
    CGColorSpaceRelease(space);
    CHECK(spaceID == CGColorSpaceGetTypeID() && spaceID != CFStringGetTypeID());
    return "ok";
  };
  std::string result = check();
  [pool release];
  return result;
}

std::string SystemVersion() {
  SInt32 major = 0, minor = 0, packed = 0;
  if (Gestalt(gestaltSystemVersionMajor, &major) != noErr || Gestalt(gestaltSystemVersionMinor, &minor) != noErr ||
      Gestalt(gestaltSystemVersion, &packed) != noErr)
    return "error";
  SInt32 unknown = 0;
  char text[64];
  snprintf(text, sizeof text, "%d.%d %04x %d", (int)major, (int)minor, (unsigned)packed,
           (int)Gestalt(0x3F3F3F3F, &unknown));
  return text;
}
