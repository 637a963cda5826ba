/* Core Foundation object calls over the Objective-C runtime: a CF object is a Foundation
   object, so CFRetain is retain, CFRelease is release, and equality and hashing are the
   object's own -isEqual: and -hash. The allocators are markers: Foundation allocates. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

struct __CFAllocator {
  int kind;
};
static const struct __CFAllocator defaultAllocator = {0};
static const struct __CFAllocator nullAllocator = {1};
const CFAllocatorRef kCFAllocatorDefault = &defaultAllocator;
const CFAllocatorRef kCFAllocatorNull = &nullAllocator;

CFTypeRef CFRetain(CFTypeRef object) {
  if (object == NULL) {
    [NSException raise:NSInvalidArgumentException format:@"CFRetain called with NULL"];
  }
  return (CFTypeRef)[(id)object retain];
}

void CFRelease(CFTypeRef object) {
  if (object == NULL) {
    [NSException raise:NSInvalidArgumentException format:@"CFRelease called with NULL"];
  }
  [(id)object release];
}

CFIndex CFGetRetainCount(CFTypeRef object) {
  return object ? (CFIndex)[(id)object retainCount] : 0;
}

Boolean CFEqual(CFTypeRef a, CFTypeRef b) {
  if (a == b) return true;
  if (a == NULL || b == NULL) return false;
  return [(id)a isEqual:(id)b] ? true : false;
}

CFHashCode CFHash(CFTypeRef object) {
  return object ? (CFHashCode)[(id)object hash] : 0;
}
