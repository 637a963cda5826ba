/* Inputs of image creation made from host strings (encoded image bytes carried in a
   string, file paths and URLs), and the factories' nil check. */
#import <Foundation/Foundation.h>

#include "image/creation_inputs.h"

#include "convert/string_bytes.h"
#include "convert/strings.h"
#include "plugin/errors.h"

bool ArgumentIsNil(const void* argument, const char* message) {
  if (argument != nullptr) return false;
  RaiseException("NilObjectException", message);
  return true;
}

NSData* NewNSDataFromStringBytes(REALstring string) {
  HostStringBytes stored(string);
  const char* bytes = stored.bytes();
  return [NSData dataWithBytes:bytes length:bytes != nullptr ? stored.length() : 0];
}

NSURL* NewNSURLFromString(REALstring string) {
  CFStringRef text = RBString2CFString(string);
  if (text == nullptr) return nil;
  CFURLRef url = CFURLCreateWithString(kCFAllocatorDefault, text, NULL);
  CFRelease(text);
  return [(NSURL*)url autorelease];
}

NSString* NewNSStringFromRBString(REALstring string) {
  return [(NSString*)RBString2CFString(string) autorelease];
}
