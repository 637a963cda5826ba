/* The CoreFoundation subset this system uses, over the Foundation library: CF objects are
   Objective-C objects (CFStringRef is an NSString, CFDictionaryRef an NSDictionary), so
   the toll-free bridge holds as on the original platform. Plain C, usable from C++ too. */
#ifndef QVR_COREFOUNDATION_H
#define QVR_COREFOUNDATION_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef uint16_t UInt16;
typedef uint32_t UInt32;
typedef int32_t SInt32;
typedef int16_t SInt16;
typedef uint64_t UInt64;
typedef int64_t SInt64;
typedef uint16_t UniChar;
typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef double CFTimeInterval;
typedef CFTimeInterval CFAbsoluteTime;
typedef UInt32 CFStringEncoding;
typedef SInt32 OSStatus;
typedef SInt16 OSErr;

typedef const void* CFTypeRef;
typedef const struct __CFString* CFStringRef;
typedef struct __CFString* CFMutableStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFData* CFDataRef;
typedef struct __CFData* CFMutableDataRef;
typedef const struct __CFArray* CFArrayRef;
typedef struct __CFArray* CFMutableArrayRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef const struct __CFURL* CFURLRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFDate* CFDateRef;
typedef const struct __CFSet* CFSetRef;
typedef const struct __CFError* CFErrorRef;

typedef struct {
  CFIndex location;
  CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
  CFRange range = {location, length};
  return range;
}

enum {
  kCFStringEncodingMacRoman = 0,
  kCFStringEncodingWindowsLatin1 = 0x0500,
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingASCII = 0x0600,
  kCFStringEncodingUnicode = 0x0100,
  kCFStringEncodingUTF8 = 0x08000100,
  kCFStringEncodingUTF16 = 0x0100,
  kCFStringEncodingUTF16BE = 0x10000100,
  kCFStringEncodingUTF16LE = 0x14000100,
  kCFStringEncodingInvalidId = 0xffffffffU,
};

typedef enum {
  kCFStringNormalizationFormD = 0,
  kCFStringNormalizationFormKD = 1,
  kCFStringNormalizationFormC = 2,
  kCFStringNormalizationFormKC = 3,
} CFStringNormalizationForm;

typedef enum {
  kCFURLPOSIXPathStyle = 0,
} CFURLPathStyle;

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFAllocatorRef kCFAllocatorNull;

/* Objects */
CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFIndex CFGetRetainCount(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
Boolean CFEqual(CFTypeRef a, CFTypeRef b);
CFHashCode CFHash(CFTypeRef object);

/* Type IDs: each CF type answers one; Objective-C classes that stand for a CF type answer
   the same number from -_cfTypeID. Core Foundation's own types use numbers below 0x100;
   any other Objective-C object answers CFTypeGetTypeID() (1). */
CFTypeID CFTypeGetTypeID(void);
CFTypeID CFNullGetTypeID(void);
CFTypeID CFStringGetTypeID(void);
CFTypeID CFDataGetTypeID(void);
CFTypeID CFArrayGetTypeID(void);
CFTypeID CFDictionaryGetTypeID(void);
CFTypeID CFURLGetTypeID(void);
CFTypeID CFNumberGetTypeID(void);
CFTypeID CFBooleanGetTypeID(void);
CFTypeID CFDateGetTypeID(void);
CFTypeID CFSetGetTypeID(void);
CFTypeID CFErrorGetTypeID(void);
CFTypeID CFUUIDGetTypeID(void);
CFTypeID CFTimeZoneGetTypeID(void);
CFTypeID CFBagGetTypeID(void);
CFTypeID CFBundleGetTypeID(void);
CFTypeID CFCharacterSetGetTypeID(void);
CFTypeID CFAttributedStringGetTypeID(void);

/* Strings */
CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cString, CFStringEncoding encoding);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars, CFIndex numChars);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex maxLength, CFStringRef string);
CFIndex CFStringGetLength(CFStringRef string);
void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding);
void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form);
CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef string);
CFMutableStringRef CFStringCreateMutable(CFAllocatorRef alloc, CFIndex maxLength);
void CFStringAppend(CFMutableStringRef string, CFStringRef appended);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
/* Never an inner pointer on this platform: callers fall back to CFStringGetCString. */
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding);

/* Data */
CFDataRef CFDataCreate(CFAllocatorRef alloc, const UInt8* bytes, CFIndex length);
CFIndex CFDataGetLength(CFDataRef data);
const UInt8* CFDataGetBytePtr(CFDataRef data);

/* Arrays (read access) */
CFIndex CFArrayGetCount(CFArrayRef array);
const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

/* Booleans and numbers */
/* The two shared boolean objects, made on first use (no work at library load time, when
   the Objective-C classes may not be ready yet). */
CFBooleanRef QVRCFBooleanTrue(void);
CFBooleanRef QVRCFBooleanFalse(void);
#define kCFBooleanTrue (QVRCFBooleanTrue())
#define kCFBooleanFalse (QVRCFBooleanFalse())
Boolean CFBooleanGetValue(CFBooleanRef boolean);

/* Dictionaries */
typedef const void* (*CFDictionaryRetainCallBack)(CFAllocatorRef allocator, const void* value);
typedef void (*CFDictionaryReleaseCallBack)(CFAllocatorRef allocator, const void* value);
typedef CFStringRef (*CFDictionaryCopyDescriptionCallBack)(const void* value);
typedef Boolean (*CFDictionaryEqualCallBack)(const void* a, const void* b);
typedef CFHashCode (*CFDictionaryHashCallBack)(const void* value);

typedef struct {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
  CFDictionaryHashCallBack hash;
} CFDictionaryKeyCallBacks;

typedef struct {
  CFIndex version;
  CFDictionaryRetainCallBack retain;
  CFDictionaryReleaseCallBack release;
  CFDictionaryCopyDescriptionCallBack copyDescription;
  CFDictionaryEqualCallBack equal;
} CFDictionaryValueCallBacks;

extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

/* A dictionary whose callbacks are null compares keys by pointer and takes no references:
   what a table from platform objects to host wrappers needs. */
CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef alloc, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value);
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);
void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key);
Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);
void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary);
/* keys and values receive CFDictionaryGetCount() pointers each (either may be null). */
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values);
typedef void (*CFDictionaryApplierFunction)(const void* key, const void* value, void* context);
void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier, void* context);

/* URLs */
CFStringRef CFURLGetString(CFURLRef url);
CFURLRef CFURLCreateWithString(CFAllocatorRef alloc, CFStringRef string, CFURLRef baseURL);
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef alloc, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
CFStringRef CFURLCopyLastPathComponent(CFURLRef url);
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef alloc, CFURLRef url);
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef alloc, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory);

#ifdef __cplusplus
}
#endif


/* File URLs and the file manager's references (CoreServices): an existing object's
   FSRef for a file URL, and a file URL (a directory URL for folders) for an FSRef. */
#ifdef __cplusplus
extern "C" {
#endif
struct FSRef;
Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* fsRef);
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef);
#ifdef __cplusplus
}
#endif

#endif
