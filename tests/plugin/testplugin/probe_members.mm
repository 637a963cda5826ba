// Shared methods of FrameProbeQVR: each drives one frame function the way a member of an
// image class will, so tests can call it through the host. Host strings come in and go
// out through the plugin's own conversions.
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <objc/runtime.h>

#include "tests/plugin/testplugin/probe.h"

#include <cstdio>
#include <string>
#include <vector>

#include "convert/strings.h"
#include "convert/variants.h"
#include "convert/wrappers.h"
#include "image/NSImageQVR_class.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "imagerep/property_keys.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"

// The sibling plugin's QVRREALobjectWrapper, looked up by name at run time.
@interface NSObject (ObjectWrapperProbe)
+ (id)wrap:(REALobject)object;
- (REALobject)unwrap;
@end

// Counts live instances, so a test can see that a pool was released.
@interface QVRPoolProbe : NSObject
+ (long)alive;
@end

static long poolProbesAlive = 0;

@implementation QVRPoolProbe
+ (long)alive { return poolProbesAlive; }
- (id)init {
  if ((self = [super init]) != nil) poolProbesAlive++;
  return self;
}
- (void)dealloc {
  poolProbesAlive--;
  [super dealloc];
}
@end

namespace {

// Objects thrown by the probes outside a pool are kept here rather than autoreleased.
NSMutableArray* keptObjects = nil;
void* lastThrown = nullptr;

id Keep(id object) {
  if (keptObjects == nil) keptObjects = [[NSMutableArray alloc] init];
  [keptObjects addObject:object];
  [object release];
  return object;
}

std::string Utf8(REALstring string) {
  CFStringRef platform = RBString2CFString(string);
  if (platform == nullptr) return std::string();
  std::string out;
  CFIndex size = CFStringGetLength(platform) * 6 + 1;
  std::vector<char> buffer(static_cast<size_t>(size));
  if (CFStringGetCString(platform, buffer.data(), size, kCFStringEncodingUTF8)) out = buffer.data();
  CFRelease(platform);
  return out;
}

// The host string of a platform string made for it, which it then gives up.
REALstring Adopt(CFStringRef platform) {
  REALstring result = CFString2RBString(platform);
  if (platform) CFRelease(platform);
  return result;
}

REALstring HostString(const std::string& text) {
  return Adopt(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

std::string Hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

// ---- exceptions

void Raise(REALstring className, REALstring message) {
  std::string cls = Utf8(className), text = Utf8(message);
  RaiseException(cls.c_str(), text.c_str());
}

void RaiseNil(REALstring className) { std::string cls = Utf8(className); RaiseException(cls.c_str(), nullptr); }

void RaiseOutOfBounds(int64_t value, int64_t count, REALstring method) {
  std::string name = Utf8(method);
  RaiseOutOfBoundsException(value, 0, count, "index", name.empty() ? nullptr : name.c_str());
}

// form: 0 Full, 1 Pooled, 2 Init and simple, 3 Simple, 4 Init only. throwKind: 0 nothing,
// 1 an NSException, 2 a string (not an NSException). Pooled forms also autorelease a
// QVRPoolProbe into the guard's pool first. Completed bodies give 42.
intptr_t GuardForm(intptr_t form, intptr_t throwKind) {
  intptr_t result = 0;
  bool pooled = form == 0 || form == 1;
  auto body = [&] {
    if (pooled) [[[QVRPoolProbe alloc] init] autorelease];
    if (throwKind == 1) {
      NSDictionary* info = Keep([[NSDictionary alloc] initWithObjectsAndKeys:@"probe value", @"probe key", nil]);
      NSException* exception =
          Keep([[NSException alloc] initWithName:@"QVRProbeException" reason:@"probe reason" userInfo:info]);
      lastThrown = exception;
      @throw exception;
    }
    if (throwKind == 2) {
      NSString* thrown = pooled ? [NSString stringWithFormat:@"thrown %d", 2]
                                : Keep([[NSString alloc] initWithFormat:@"thrown %d", 2]);
      lastThrown = thrown;
      @throw thrown;
    }
    result = 42;
  };
  switch (form) {
    case 0: CocoaGuardFull(body); break;
    case 1: CocoaGuardPooled(body); break;
    case 2: CocoaGuardInitSimple(body); break;
    case 3: CocoaGuardSimple(body); break;
    default: CocoaGuardInitOnly(body); break;
  }
  return result;
}

intptr_t PoolProbesAlive() { return poolProbesAlive; }
void* LastThrown() { return lastThrown; }
bool InstancesReady() { return instances != NULL; }
bool ExceptionsReady() { return ExceptionsInitialized; }
void* EventCopy() { return reinterpret_cast<void*>(ProbeEventForSystemUse()); }
intptr_t InstancesCount() { return instances ? CFDictionaryGetCount(instances) : -1; }

// ---- strings

REALstring RoundTrip(REALstring s) { return Adopt(RBString2CFString(s)); }

std::string UnitsOf(CFStringRef platform) {
  if (platform == nullptr) return "null";
  std::string out;
  CFIndex length = CFStringGetLength(platform);
  std::vector<UniChar> units(static_cast<size_t>(length) + 1);
  CFStringGetCharacters(platform, CFRangeMake(0, length), units.data());
  for (CFIndex i = 0; i < length; ++i) out += (i ? " " : "") + Hex(units[static_cast<size_t>(i)], 4);
  return out;
}

// The UTF-16 units of the platform string made from s, in hex ("null" for none).
REALstring PlatformUnits(REALstring s) {
  CFStringRef platform = RBString2CFString(s);
  REALstring result = HostString(UnitsOf(platform));
  if (platform) CFRelease(platform);
  return result;
}

// The same after normalization form D.
REALstring DecomposedUnits(REALstring s) {
  CFStringRef platform = RBString2CFString(s);
  if (platform == nullptr) return HostString("null");
  CFMutableStringRef mutableCopy = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, platform);
  CFRelease(platform);
  CFStringNormalize(mutableCopy, kCFStringNormalizationFormD);
  REALstring result = HostString(UnitsOf(mutableCopy));
  CFRelease(mutableCopy);
  return result;
}

// A host string made by CFString2RBString from hex UTF-16 units ("0061 0000 0062").
REALstring StringFromUnits(REALstring hexUnits) {
  std::string text = Utf8(hexUnits);
  std::vector<UniChar> units;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find(' ', at);
    if (end == std::string::npos) end = text.size();
    if (end > at) units.push_back(static_cast<UniChar>(std::stoul(text.substr(at, end - at), nullptr, 16)));
    at = end + 1;
  }
  return Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(), static_cast<CFIndex>(units.size())));
}

REALstring RepeatUnit(intptr_t unit, intptr_t count) {
  if (count < 0 || count > 100000) return nullptr;
  std::vector<UniChar> units(static_cast<size_t>(count), static_cast<UniChar>(unit));
  return Adopt(CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(), static_cast<CFIndex>(count)));
}

// What REALGetStringData gives: "false", or "enc=<hex> len=<n> bytes=<hex> tail=<hex>",
// the tail being the four bytes after the text.
REALstring StringData(REALstring s, int64_t encoding) {
  REALstringData data = {};
  if (!REALGetStringData(s, static_cast<uint32_t>(encoding), &data)) return HostString("false");
  std::string out = "enc=" + Hex(static_cast<unsigned>(data.encoding), 1) + " len=" + std::to_string(data.length) + " bytes=";
  auto bytes = static_cast<const unsigned char*>(data.data);
  for (uintptr_t i = 0; i < data.length; ++i) out += Hex(bytes[i], 2);
  out += " tail=";
  for (uintptr_t i = 0; i < 4; ++i) out += Hex(bytes[data.length + i], 2);
  REALDisposeStringData(&data);
  return HostString(out);
}

// Splits joined at commas into a new host string array with FillStringArray, then reads
// the array back: "ubound=<n>:<e0>|<e1>|...".
REALstring FillAndJoin(REALstring joined) {
  std::string out = "no array";
  CocoaGuardPooled([&] {
    NSString* text = [(NSString*)RBString2CFString(joined) autorelease];
    NSArray* parts = text ? [text componentsSeparatedByString:@","] : [NSArray array];
    REALarray array = REALCreateArray(kREALArrayTypeString, -1);
    if (array == nullptr) return;
    FillStringArray(array, (CFArrayRef)parts);
    intptr_t upper = REALGetArrayUBound(array);
    out = "ubound=" + std::to_string(upper) + ":";
    for (intptr_t i = 0; i <= upper; ++i) {
      REALstring element = nullptr;
      REALGetArrayValueString(array, i, &element);
      out += (i ? "|" : "") + Utf8(element);
      if (element) REALUnlockString(element);
    }
    REALUnlockObject(reinterpret_cast<REALobject>(array));
  });
  return HostString(out);
}

// ---- wrappers

NSImage* ImageHandle(REALobject image) { return image ? NSImageQVRDataOf(image)->Handle : nil; }
NSImageRep* RepHandle(REALobject representation) {
  return representation ? NSImageRepQVRDataOf(representation)->Handle : nil;
}
intptr_t RetainCount(id handle) { return handle ? static_cast<intptr_t>([handle retainCount]) : 0; }
intptr_t ImageRetainCount(REALobject image) { return RetainCount(ImageHandle(image)); }
intptr_t RepRetainCount(REALobject representation) { return RetainCount(RepHandle(representation)); }

// A host object for a platform object that make() answers retained, which is released
// once wrapped.
template <class Make, class Wrap>
REALobject Wrapped(Make make, Wrap wrap) {
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    auto made = make();
    result = wrap(made);
    [made release];
  });
  return result;
}

REALobject NewBitmapRep() {
  return Wrapped([] { return [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL pixelsWide:2 pixelsHigh:2
      bitsPerSample:8 samplesPerPixel:4 hasAlpha:YES isPlanar:NO colorSpaceName:NSDeviceRGBColorSpace
      bytesPerRow:0 bitsPerPixel:0]; }, NewNSBitmapImageRepQVR);
}

REALobject NewPDFRep() { return Wrapped([] { return [[NSPDFImageRep alloc] init]; }, NewNSPDFImageRepQVR); }

REALobject NewImage() { return Wrapped([] { return [[NSImage alloc] init]; }, NewNSImageQVR); }

// The host object wrap() gives for a platform object wrapped before, in the simple guard
// that runs CocoaInit first.
template <class Wrap>
REALobject WrappedAgain(Wrap wrap) {
  REALobject result = nullptr;
  CocoaGuardInitSimple([&] { result = wrap(); });
  return result;
}

REALobject WrapImageAgain(REALobject image) {
  if (image == nullptr) {
    RaiseException("NilObjectException", "image is nil");
    return nullptr;
  }
  return WrappedAgain([&] { return NewNSImageQVR(ImageHandle(image)); });
}

REALobject WrapBitmapRepAgain(REALobject rep) {
  return WrappedAgain([&] { return NewNSBitmapImageRepQVR((NSBitmapImageRep*)RepHandle(rep)); });
}

REALobject WrapPDFRepAgain(REALobject rep) {
  return WrappedAgain([&] { return NewNSPDFImageRepQVR((NSPDFImageRep*)RepHandle(rep)); });
}

REALobject WrapHandleAs(id handle, REALstring requiredClass) {
  std::string name = Utf8(requiredClass);
  return WrappedAgain([&] { return NewNSObjectQVR(handle, objc_getClass(name.c_str())); });
}

REALobject WrapAs(REALobject representation, REALstring requiredClass) {
  return WrapHandleAs(RepHandle(representation), requiredClass);
}

REALobject WrapImageAs(REALobject image, REALstring requiredClass) {
  return WrapHandleAs(ImageHandle(image), requiredClass);
}

// kind 0: the 196-byte class; 1: its 197-byte subclass; 2: a 197-byte direct subclass of
// NSImageRep; 3: a short-named NSImageRep subclass without a host class.
REALobject NewRuntimeRep(intptr_t kind) {
  const char* names[] = {LongClassName(196), LongClassName(197), LongClassName(-197), "QVRProbeCustomRep"};
  if (kind < 0 || kind > 3) return nullptr;
  return Wrapped([&] { return (NSImageRep*)[[objc_getClass(names[kind]) alloc] init]; },
                 [](NSImageRep* made) { return NewNSObjectQVR(made, [NSImageRep class]); });
}

// A host object carried through the sibling plugin's QVRREALobjectWrapper and back (unwrap
// gives a new reference), or nil when that class is not there.
REALobject ObjectWrapperRoundTrip(REALobject object) {
  return GuardedResult([&]() -> REALobject {
    Class wrapperClass = objc_getClass("QVRREALobjectWrapper");
    if (wrapperClass == Nil || object == nullptr) return nullptr;
    id wrapper = [wrapperClass wrap:object];
    NSArray* carried = [NSArray arrayWithObject:wrapper];  // as a platform collection holds it
    return [[carried objectAtIndex:0] unwrap];
  });
}

// Calls every glue function whose entry point a test made missing and lists those that
// did not give their neutral result ("" when all did).
REALstring NeutralGlue() {
  std::string wrong;
  auto expect = [&](bool neutral, const char* name) {
    if (!neutral) wrong += std::string(wrong.empty() ? "" : " ") + name;
  };
  REALobject object = reinterpret_cast<REALobject>(&wrong);  // never dereferenced: no entry point
  REALpicture picture = reinterpret_cast<REALpicture>(&wrong);
  expect(REALGetClassRef("NSImageQVR") == nullptr, "pluginObjectType");
  expect(!REALObjectIsA(object, nullptr), "RuntimeObjectIsa");
  expect(REALLoadObjectMethod(object, "Foo") == nullptr, "REALLoadObjectMethod");
  int32_t i32 = 5;
  expect(!REALGetPropValueInt32(object, "X", &i32) && i32 == 5, "REALGetPropValueInt");
  double d = 5;
  expect(!REALGetPropValueDouble(object, "X", &d) && d == 5, "REALGetPropValueDouble");
  REALYieldToRB();
  expect(REALNewMemoryBlockOriginal(4) == nullptr, "newMemoryBlock");
  expect(REALMemoryBlockGetPtr(nullptr) == nullptr && REALMemoryBlockGetSize(nullptr) == 0, "memoryBlockGetPtr");
  expect(REALNewPicture(2, 2, 32) == nullptr, "newPicture");
  expect(REALGetPictureMask(picture, true) == nullptr, "REALGetPictureMask");
  REALPictureClearCache(picture);
  expect(REALGetPictureGraphics(picture) == nullptr, "pluginPictureGraphicsGetter");
  expect(REALCopyPictureCGImage(picture) == nullptr, "REALCopyPictureCGImage");
  expect(REALBuildPictureFromBuffer(1, 1, 0, nullptr, 4) == nullptr, "REALBuildPictureFromBuffer");
  expect(!REALLockPictureDescription(picture, nullptr), "lockPictureDescription");
  expect(!REALLockPictureDescription(picture, nullptr, 0), "REALLockPictureDescription");
  REALUnlockPictureDescription(picture);
  FSRef ref;
  FSSpec fileSpec;
  expect(!REALFSRefFromFolderItem(nullptr, &ref, nullptr) && !REALFSSpecFromFolderItem(&fileSpec, nullptr), "FSRef");
  expect(FolderItemFromFSSpec(&fileSpec) == nullptr && REALFolderItemFromParentFSRef(&ref, nullptr) == nullptr, "FolderItem");
  expect(REALNewVariantInteger(1) == nullptr && REALNewVariantDouble(1) == nullptr &&
             REALNewVariantBoolean(true) == nullptr && REALNewVariantString(nullptr) == nullptr,
         "variants");
  expect(GetVariantInt32(object) == 0 && GetVariantDouble(object) == 0 && GetVariantString(object) == nullptr,
         "variant values");
  REALarray array = reinterpret_cast<REALarray>(&wrong);
  int32_t element = 9;
  REALGetArrayValueInt32(array, 0, &element);
  expect(element == 9 && REALGetArrayUBound(array) == 0, "arrays");
  return HostString(wrong);
}

// The system version Gestalt answers: "major.minor sysv unknownSelectorResult".
REALstring SystemVersionProbe() {
  SInt32 major = 0, minor = 0, packed = 0, unknown = 0;
  if (Gestalt(gestaltSystemVersionMajor, &major) != noErr || Gestalt(gestaltSystemVersionMinor, &minor) != noErr ||
      Gestalt(gestaltSystemVersion, &packed) != noErr)
    return HostString("error");
  char text[64];
  std::snprintf(text, sizeof text, "%d.%d %04x %d", int(major), int(minor), unsigned(packed),
                int(Gestalt(0x3F3F3F3F, &unknown)));
  return HostString(text);
}

}  // namespace

/* What the key getters answer for a key this system's AppKit lacks, its global missing (a
   weak reference left null) or nil: "" both times, else what they answered. */
REALstring AbsentPropertyKeys() {
  static NSString* const nilKey = nil;
  if (REALstring missing = PropertyKeyRB(nullptr)) return missing;
  return PropertyKeyRB(&nilKey);
}

REALmethodDefinition FrameProbeSharedMethods[] = {
    SHARED(Raise, "Raise(className as String, message as String)"), SHARED(RaiseNil, "RaiseNil(className as String)"),
    SHARED(RaiseOutOfBounds, "RaiseOutOfBounds(value as Int64, count as Int64, method as String)"),
    SHARED(GuardForm, "GuardForm(form as Integer, throwKind as Integer) as Integer"),
    SHARED(PoolProbesAlive, "PoolProbesAlive as Integer"), SHARED(LastThrown, "LastThrown as Ptr"),
    SHARED(InstancesReady, "InstancesReady as Boolean"), SHARED(ExceptionsReady, "ExceptionsReady as Boolean"),
    SHARED(InstancesCount, "InstancesCount as Integer"), SHARED(EventCopy, "EventCopy as Ptr"),
    SHARED(RoundTrip, "RoundTrip(s as String) as String"),
    SHARED(PlatformUnits, "PlatformUnits(s as String) as String"),
    SHARED(DecomposedUnits, "DecomposedUnits(s as String) as String"),
    SHARED(StringFromUnits, "StringFromUnits(units as String) as String"),
    SHARED(RepeatUnit, "RepeatUnit(unit as Integer, count as Integer) as String"),
    SHARED(StringData, "StringData(s as String, encoding as Int64) as String"),
    SHARED(FillAndJoin, "FillAndJoin(joined as String) as String"), SHARED(NewImage, "NewImage as NSImageQVR"),
    SHARED(WrapImageAgain, "WrapImageAgain(image as NSImageQVR) as NSImageQVR"),
    SHARED(ImageRetainCount, "ImageRetainCount(image as NSImageQVR) as Integer"),
    SHARED(NewBitmapRep, "NewBitmapRep as NSBitmapImageRepQVR"), SHARED(NewPDFRep, "NewPDFRep as NSPDFImageRepQVR"),
    SHARED(WrapBitmapRepAgain, "WrapBitmapRepAgain(rep as NSImageRepQVR) as NSBitmapImageRepQVR"),
    SHARED(WrapPDFRepAgain, "WrapPDFRepAgain(rep as NSImageRepQVR) as NSPDFImageRepQVR"),
    SHARED(RepRetainCount, "RepRetainCount(rep as NSImageRepQVR) as Integer"),
    SHARED(WrapAs, "WrapAs(rep as NSImageRepQVR, requiredClass as String) as NSImageRepQVR"),
    SHARED(WrapImageAs, "WrapImageAs(image as NSImageQVR, requiredClass as String) as NSImageRepQVR"),
    SHARED(NewRuntimeRep, "NewRuntimeRep(kind as Integer) as NSImageRepQVR"),
    SHARED(NeutralGlue, "NeutralGlue as String"),
    SHARED(ObjectWrapperRoundTrip, "ObjectWrapperRoundTrip(o as NSImageQVR) as NSImageQVR"),
    SHARED(SystemVersionProbe, "SystemVersion as String"),
    SHARED(ImageFromPixels, "ImageFromPixels(width as Integer, height as Integer, rgba as MemoryBlock) as NSImageQVR"),
    SHARED(ImagePixels, "ImagePixels(image as NSImageQVR) as MemoryBlock"),
    SHARED(ImageGeometry, "ImageGeometry(image as NSImageQVR) as String"),
    SHARED(NewCGContext, "NewCGContext(width as Integer, height as Integer) as Integer"),
    SHARED(CGContextPixels, "CGContextPixels(context as Integer) as MemoryBlock"),
    SHARED(ReleaseCGContext, "ReleaseCGContext(context as Integer)"),
    SHARED(AbsentPropertyKeys, "AbsentPropertyKeys as String"),
};

const uintptr_t FrameProbeSharedMethodCount = sizeof(FrameProbeSharedMethods) / sizeof(FrameProbeSharedMethods[0]);
