/* Core Foundation strings are Foundation strings (toll-free): these calls create and read
   NSStrings, translating CFStringEncoding codes into Foundation's encodings. Creation
   returns a +1 object, as the Create rule says. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

/* Foundation's encoding for a CF code, or 0 when this platform cannot convert it. */
static NSStringEncoding QVRFoundationEncoding(CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingMacRoman: return NSMacOSRomanStringEncoding;
    case kCFStringEncodingWindowsLatin1: return NSWindowsCP1252StringEncoding;
    case kCFStringEncodingISOLatin1: return NSISOLatin1StringEncoding;
    case kCFStringEncodingASCII: return NSASCIIStringEncoding;
    case kCFStringEncodingUTF8: return NSUTF8StringEncoding;
    case kCFStringEncodingUTF16: return NSUnicodeStringEncoding;
    case kCFStringEncodingUTF16BE: return NSUTF16BigEndianStringEncoding;
    case kCFStringEncodingUTF16LE: return NSUTF16LittleEndianStringEncoding;
    default: return 0;
  }
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) {
  return QVRFoundationEncoding(encoding) != 0;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cString, CFStringEncoding encoding) {
  NSStringEncoding ns = QVRFoundationEncoding(encoding);
  if (cString == NULL || ns == 0) return NULL;
  /* UTF-16 has no C string form; read the bytes up to the terminator as they are. */
  NSString* string = [[NSString alloc] initWithBytes:cString length:strlen(cString) encoding:ns];
  return (CFStringRef)string;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars, CFIndex numChars) {
  if (numChars < 0 || (chars == NULL && numChars > 0)) return NULL;
  return (CFStringRef)[[NSString alloc] initWithCharacters:chars length:(NSUInteger)numChars];
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  NSStringEncoding ns = QVRFoundationEncoding(encoding);
  if (ns == 0 || numBytes < 0 || (bytes == NULL && numBytes > 0)) return NULL;
  /* Without an external representation UTF-16 is in host order; with one, a byte order
     mark decides, and Foundation's UTF-16 decoder honours it. */
  return (CFStringRef)[[NSString alloc] initWithBytes:bytes length:(NSUInteger)numBytes encoding:ns];
}

CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef string) {
  if (string == NULL) return NULL;
  return (CFStringRef)[(NSString*)string copy];
}

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef alloc, CFIndex maxLength) {
  return (CFMutableStringRef)[[NSMutableString alloc] init];
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex maxLength, CFStringRef string) {
  if (string == NULL) return NULL;
  return (CFMutableStringRef)[(NSString*)string mutableCopy];
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended) {
  if (string == NULL || appended == NULL) return;
  [(NSMutableString*)string appendString:(NSString*)appended];
}

CFIndex CFStringGetLength(CFStringRef string) {
  return string ? (CFIndex)[(NSString*)string length] : 0;
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
  if (string == NULL || buffer == NULL || range.location < 0 || range.length <= 0) return;
  [(NSString*)string getCharacters:buffer range:NSMakeRange((NSUInteger)range.location, (NSUInteger)range.length)];
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingUTF8: return length * 3;
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE: return length * 2;
    default: return length;
  }
}

const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding) {
  return NULL;
}

/* Copies the string into buffer with a terminating NUL; false (and an empty buffer) when
   it does not fit or cannot be represented in the encoding. */
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
  if (buffer == NULL || bufferSize < 1) return false;
  buffer[0] = 0;
  NSStringEncoding ns = QVRFoundationEncoding(encoding);
  if (string == NULL || ns == 0) return false;
  /* CF calls run outside any caller's pool: Foundation's temporaries go to our own. */
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  Boolean copied = false;
  NSData* bytes = [(NSString*)string dataUsingEncoding:ns allowLossyConversion:NO];
  NSUInteger length = [bytes length];
  if (bytes != nil && (CFIndex)length < bufferSize) {
    memcpy(buffer, [bytes bytes], length);
    buffer[length] = 0;
    copied = true;
  }
  [pool release];
  return copied;
}

void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form) {
  if (string == NULL) return;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSMutableString* target = (NSMutableString*)string;
  NSString* normalized = nil;
  switch (form) {
    case kCFStringNormalizationFormD: normalized = [target decomposedStringWithCanonicalMapping]; break;
    case kCFStringNormalizationFormKD: normalized = [target decomposedStringWithCompatibilityMapping]; break;
    case kCFStringNormalizationFormC: normalized = [target precomposedStringWithCanonicalMapping]; break;
    case kCFStringNormalizationFormKC: normalized = [target precomposedStringWithCompatibilityMapping]; break;
  }
  if (normalized != nil) [target setString:normalized];
  [pool release];
}
