/* Core Foundation data and read access to arrays, over NSData and NSArray. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

CFDataRef CFDataCreate(CFAllocatorRef alloc, const UInt8* bytes, CFIndex length) {
  if (length < 0 || (bytes == NULL && length > 0)) return NULL;
  return (CFDataRef)[[NSData alloc] initWithBytes:bytes length:(NSUInteger)length];
}

CFIndex CFDataGetLength(CFDataRef data) {
  return data ? (CFIndex)[(NSData*)data length] : 0;
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
  return data ? (const UInt8*)[(NSData*)data bytes] : NULL;
}

CFIndex CFArrayGetCount(CFArrayRef array) {
  return array ? (CFIndex)[(NSArray*)array count] : 0;
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
  if (array == NULL || index < 0 || (NSUInteger)index >= [(NSArray*)array count]) return NULL;
  return (const void*)[(NSArray*)array objectAtIndex:(NSUInteger)index];
}
