/* Core Foundation over Foundation's objects: dictionaries with null callbacks (identity keys,
   no references) and with the kCFType ones (equal keys, retained and released), the type
   IDs that Foundation and Core Graphics objects answer through CFGetTypeID, each type's its
   own, and references counted alike by Core Foundation and Core Graphics. */
#import "drawing_pixels.h"

#include <iterator>
#include <set>

namespace {

class CoreFoundation : public PoolTest {};

TEST_F(CoreFoundation, DictionariesHonourTheirCallbacks) {
  NSMutableString* key = [[[NSMutableString alloc] initWithString:@"key"] autorelease];
  NSMutableString* equalKey = [[[NSMutableString alloc] initWithString:@"key"] autorelease];
  NSObject* value = [[[NSObject alloc] init] autorelease];
  const NSUInteger keyRetains = [key retainCount], valueRetains = [value retainCount];

  CFMutableDictionaryRef plain = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, NULL, NULL);
  CFDictionarySetValue(plain, key, value);
  const auto retains = [&] { return std::vector<NSUInteger>{[key retainCount], [value retainCount]}; };
  EXPECT_EQ(retains(), (std::vector<NSUInteger>{keyRetains, valueRetains}));
  EXPECT_EQ(CFDictionaryGetValue(plain, key), value);
  EXPECT_EQ(CFDictionaryGetValue(plain, equalKey), nullptr);
  EXPECT_EQ(CFDictionaryGetCount(plain), 1);
  CFDictionarySetValue(plain, (const void*)0x10, (const void*)0x20);  // not objects at all
  EXPECT_EQ(CFDictionaryGetValue(plain, (const void*)0x10), (const void*)0x20);
  CFDictionaryRemoveValue(plain, (const void*)0x10);
  CFDictionaryRemoveValue(plain, key);
  EXPECT_EQ(CFDictionaryGetCount(plain), 0);
  CFRelease(plain);

  CFMutableDictionaryRef typed = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                           &kCFTypeDictionaryValueCallBacks);
  CFDictionarySetValue(typed, key, value);
  EXPECT_EQ(retains(), (std::vector<NSUInteger>{keyRetains + 1, valueRetains + 1}));
  EXPECT_EQ(CFDictionaryGetValue(typed, equalKey), value);
  EXPECT_EQ([(NSDictionary*)typed objectForKey:equalKey], value);
  const void* found = NULL;
  EXPECT_TRUE(CFDictionaryGetValueIfPresent(typed, equalKey, &found));
  EXPECT_EQ(found, value);
  CFDictionarySetValue(typed, equalKey, key);  // replaces the value, keeps the first key
  EXPECT_EQ([value retainCount], valueRetains);
  EXPECT_EQ(CFDictionaryGetCount(typed), 1);
  CFRelease(typed);
  EXPECT_EQ([key retainCount], keyRetains);
  EXPECT_EQ([equalKey retainCount], 1u);
}

TEST_F(CoreFoundation, TypeIDsComeFromTheObjectsAndAreDistinct) {
  const std::pair<CFTypeRef, CFTypeID> objects[] = {
      {@"text", CFStringGetTypeID()}, {[NSData data], CFDataGetTypeID()}, {[NSArray array], CFArrayGetTypeID()},
      {[NSMutableDictionary dictionary], CFDictionaryGetTypeID()},
      {Pooled(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, NULL, NULL)), CFDictionaryGetTypeID()},
      {[NSNumber numberWithInt:3], CFNumberGetTypeID()}, {kCFBooleanTrue, CFBooleanGetTypeID()},
      {[NSNumber numberWithBool:NO], CFBooleanGetTypeID()}, {[NSDate date], CFDateGetTypeID()},
      {[NSURL fileURLWithPath:@"/tmp"], CFURLGetTypeID()}, {[NSSet set], CFSetGetTypeID()},
      {[[[NSObject alloc] init] autorelease], CFTypeGetTypeID()},
      {Pooled(CGColorSpaceCreateDeviceGray()), CGColorSpaceGetTypeID()},
      {RGBAImage(1, 1, {0, 0, 0, 255}), CGImageGetTypeID()},
      {CGImageGetDataProvider(RGBAImage(1, 1, {0, 0, 0, 255})), CGDataProviderGetTypeID()},
      {ARGBContext(1, 1), CGContextGetTypeID()}, {Pooled(CGColorCreateGenericRGB(1, 0, 0, 1)), CGColorGetTypeID()},
  };
  for (const auto& [object, type] : objects) EXPECT_EQ(CFGetTypeID(object), type) << [[(id)object description] UTF8String];
  /* Every type has an identifier of its own, also the Core Graphics types not made here. */
  const CFTypeID ids[] = {CFStringGetTypeID(), CFDataGetTypeID(), CFArrayGetTypeID(), CFDictionaryGetTypeID(),
                          CFNumberGetTypeID(), CFBooleanGetTypeID(), CFURLGetTypeID(), CFDateGetTypeID(),
                          CGImageGetTypeID(), CGContextGetTypeID(), CGColorSpaceGetTypeID(), CGColorGetTypeID(),
                          CGDataProviderGetTypeID(), CGDataConsumerGetTypeID(), CGLayerGetTypeID(), CGFontGetTypeID(),
                          CGPSConverterGetTypeID()};
  EXPECT_EQ(std::set<CFTypeID>(std::begin(ids), std::end(ids)).size(), std::size(ids));
  /* CFRetain and CFRelease count the same references as the Core Graphics functions. */
  CGImageRef image = RGBAImage(1, 1, {0, 0, 0, 255});
  const CFIndex before = CFGetRetainCount(image);
  CFRetain(image);
  EXPECT_EQ(CFGetRetainCount(image), before + 1);
  CGImageRelease(image);
  EXPECT_EQ(CFGetRetainCount(image), before);
}

}  // namespace
