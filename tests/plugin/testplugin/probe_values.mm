// ValueProbeQVR: shared methods that carry platform objects to host values and back
// through the Variant and Dictionary conversions, so tests reach both dispatch tables
// through the host (platform objects are named by kind, results described as text); and
// that drive the conversions of data, dates and file URLs and the threaded runner the
// way image members will. Platform temporaries live in the guard's pool of each call.
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>
#include <objc/runtime.h>
#include <pthread.h>
#include <time.h>

#include "tests/plugin/testplugin/probe.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "convert/data.h"
#include "convert/dates.h"
#include "convert/file_urls.h"
#include "convert/strings.h"
#include "convert/variants.h"
#include "convert/wrappers.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "plugin/registration.h"
#include "threads/run_threaded.h"
#include "threads/thread_naming.h"

// A number of any type encoding: Foundation here stores numbers in its own types, so the
// encodings of the conversion table ("c" 5, "C" 200, "Q" 2^40, ...) are made by hand.
@interface QVRProbeTypedNumber : NSNumber {
  char type_[8];
  long long signed_;
  unsigned long long unsigned_;
  double real_;
}
- (id)initWithType:(const char*)type text:(NSString*)text;
@end

@implementation QVRProbeTypedNumber
- (id)initWithType:(const char*)type text:(NSString*)text {
  if ((self = [super init]) != nil) {
    strncpy(type_, type, sizeof type_ - 1);
    signed_ = [text longLongValue];
    unsigned_ = strtoull([text UTF8String], nullptr, 10);
    real_ = [text doubleValue];
  }
  return self;
}
- (const char*)objCType { return type_; }
- (void)getValue:(void*)value { memcpy(value, &signed_, sizeof signed_); }
- (BOOL)boolValue { return signed_ != 0; }
- (unsigned char)unsignedCharValue { return (unsigned char)unsigned_; }
- (short)shortValue { return (short)signed_; }
- (unsigned short)unsignedShortValue { return (unsigned short)unsigned_; }
- (int)intValue { return (int)signed_; }
- (unsigned int)unsignedIntValue { return (unsigned int)unsigned_; }
- (long)longValue { return (long)signed_; }
- (unsigned long)unsignedLongValue { return (unsigned long)unsigned_; }
- (long long)longLongValue { return signed_; }
- (unsigned long long)unsignedLongLongValue { return unsigned_; }
- (float)floatValue { return (float)real_; }
- (double)doubleValue { return real_; }
@end

namespace {

NSString* Text(REALstring s) {
  NSString* text = [(NSString*)RBString2CFString(s) autorelease];
  return text != nil ? text : @"";
}

REALstring HostString(NSString* text) { return CFString2RBString((CFStringRef)text); }

// Kept for the process, so converting one twice meets the same platform object.
NSTimeZone* SharedZone() {
  static NSTimeZone* zone = [[NSTimeZone timeZoneWithName:@"Europe/Paris"] retain];
  return zone;
}

CGImageRef NewImage() {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef context = CGBitmapContextCreate(nullptr, 3, 2, 8, 0, space, kCGImageAlphaPremultipliedLast);
  CGImageRef image = CGBitmapContextCreateImage(context);
  CGContextRelease(context);
  CGColorSpaceRelease(space);
  return image;
}

// An NSValue of any encoding, with zero bytes.
NSValue* ValueOfEncoding(const char* type) {
  static const char zeros[64] = {};
  return [NSValue valueWithBytes:zeros objCType:type];
}

// The platform object of a kind; "file:<path>" names a file URL.
id ObjectOfKind(NSString* kind) {
  if ([kind hasPrefix:@"file:"]) return [NSURL fileURLWithPath:[kind substringFromIndex:5]];
  // "typed:<objCType>:<value>"
  if ([kind hasPrefix:@"typed:"]) {
    NSArray* parts = [kind componentsSeparatedByString:@":"];
    return [[[QVRProbeTypedNumber alloc] initWithType:[[parts objectAtIndex:1] UTF8String] text:[parts objectAtIndex:2]]
        autorelease];
  }
  static const std::map<std::string, std::function<id()>> kinds = {
      {"nil", [] { return id(nil); }}, {"null", [] { return id([NSNull null]); }},
      {"true", [] { return id([NSNumber numberWithBool:YES]); }},
      {"int7", [] { return id([NSNumber numberWithInt:7]); }},
      {"longlong-2^40", [] { return id([NSNumber numberWithLongLong:-(1LL << 40)]); }},
      {"float1.5", [] { return id([NSNumber numberWithFloat:1.5f]); }},
      {"double2.25", [] { return id([NSNumber numberWithDouble:2.25]); }}, {"string", [] { return id(@"h\u00e9"); }},
      {"emptystring", [] { return id(@""); }}, {"data", [] { return id([NSData dataWithBytes:"abc" length:3]); }},
      {"emptydata", [] { return id([NSData data]); }},
      {"array", [] { return id([NSArray arrayWithObjects:@"a", [NSNumber numberWithInt:1], [NSNull null], nil]); }},
      {"emptyarray", [] { return id([NSArray array]); }},
      {"nested", [] {
         return id([NSArray arrayWithObjects:[NSArray arrayWithObject:@"in"], [NSSet setWithObject:@"s"], nil]);
       }},
      {"set", [] { return id([NSSet setWithObject:[NSNumber numberWithInt:9]]); }},
      {"dictionary", [] {
         NSDictionary* inner = [NSDictionary dictionaryWithObjectsAndKeys:[NSNumber numberWithInt:1], @"x",
                                                                           [NSNumber numberWithInt:2], @"y", nil];
         return id([NSDictionary dictionaryWithObjectsAndKeys:[NSNull null], @"a", inner, @"inner", @"t", @"s",
                                                                [NSNumber numberWithDouble:0.5], @"z", nil]);
       }},
      {"emptydictionary", [] { return id([NSDictionary dictionary]); }},
      {"date", [] {
         // 2021-03-04 05:06:07.9 local time.
         NSCalendarDate* d = [NSCalendarDate dateWithYear:2021 month:3 day:4 hour:5 minute:6 second:7
                                                  timeZone:[NSTimeZone localTimeZone]];
         return id([NSDate dateWithTimeIntervalSinceReferenceDate:[d timeIntervalSinceReferenceDate] + 0.9]);
       }},
      {"weburl", [] { return id([NSURL URLWithString:@"http://example.com/a?b=1"]); }},
      {"size", [] { return id([NSValue valueWithSize:NSMakeSize(3, 4)]); }},
      {"point", [] { return id([NSValue valueWithPoint:NSMakePoint(-1.5, 2)]); }},
      {"rect", [] { return id([NSValue valueWithRect:NSMakeRect(1, 2, 3, 4)]); }},
      {"range", [] { return id([NSValue valueWithRange:NSMakeRange(5, 6)]); }},
      {"unknownvalue", [] { return id(ValueOfEncoding("{?=ii}")); }},
      {"cmtime", [] { return id(ValueOfEncoding("{?=qiIq}")); }}, {"timezone", [] { return id(SharedZone()); }},
      {"attributed", [] { return id([[[NSAttributedString alloc] initWithString:@"x"] autorelease]); }},
      {"cgimage", [] { return id([(id)NewImage() autorelease]); }},
      {"colorspace", [] { return id([(id)CGColorSpaceCreateDeviceGray() autorelease]); }},
      {"bundle", [] { return id([NSBundle mainBundle]); }},
      {"object", [] { return id([[[NSObject alloc] init] autorelease]); }},
      {"image", [] { return id([[[NSImage alloc] initWithSize:NSMakeSize(2, 2)] autorelease]); }},
      {"customrep", [] {
         return id([[[objc_getClass("QVRProbeCustomBitmapRep") alloc]
             initWithBitmapDataPlanes:nullptr pixelsWide:2 pixelsHigh:2 bitsPerSample:8 samplesPerPixel:4 hasAlpha:YES
                             isPlanar:NO colorSpaceName:NSDeviceRGBColorSpace bytesPerRow:0 bitsPerPixel:0] autorelease]);
       }},
  };
  auto found = kinds.find([kind UTF8String]);
  return found == kinds.end() ? nil : found->second();
}

NSString* Describe(id object);

NSString* DescribeEach(NSArray* items) {
  NSMutableArray* parts = [NSMutableArray array];
  for (NSUInteger i = 0; i < [items count]; ++i) [parts addObject:Describe([items objectAtIndex:i])];
  return [parts componentsJoinedByString:@", "];
}

// A text that tells class and value apart: "bool:1", "l:7" (objCType:value),
// "string:a", "mutable[...]", "{k=v, ...}" (entries sorted),
// "size:{width = 3; height = 4}" (geometry as Foundation writes it), class names.
NSString* Describe(id object) {
  if (object == nil) return @"nil";
  if (object == [NSNull null]) return @"null";
  if (object == (id)kCFBooleanTrue || object == (id)kCFBooleanFalse)
    return [NSString stringWithFormat:@"bool:%d", [object boolValue] ? 1 : 0];
  if ([object isKindOfClass:[NSString class]]) return [@"string:" stringByAppendingString:object];
  if ([object isKindOfClass:[NSNumber class]])
    return [NSString stringWithFormat:@"%s:%@", [object objCType], [object stringValue]];
  if ([object isKindOfClass:[NSArray class]])
    return [NSString stringWithFormat:@"%@[%@]", [object isKindOfClass:[NSMutableArray class]] ? @"mutable" : @"",
                                      DescribeEach(object)];
  if ([object isKindOfClass:[NSDictionary class]]) {
    NSMutableArray* parts = [NSMutableArray array];
    NSArray* keys = [object allKeys];
    for (NSUInteger i = 0; i < [keys count]; ++i) {
      id key = [keys objectAtIndex:i];
      [parts addObject:[NSString stringWithFormat:@"%@=%@", Describe(key), Describe([object objectForKey:key])]];
    }
    return [NSString stringWithFormat:@"{%@}", [[parts sortedArrayUsingSelector:@selector(compare:)]
                                                   componentsJoinedByString:@", "]];
  }
  if ([object isKindOfClass:[NSData class]]) return [NSString stringWithFormat:@"data:%lu", (unsigned long)[object length]];
  if ([object isKindOfClass:[NSCalendarDate class]])
    return [@"date:" stringByAppendingString:[object descriptionWithCalendarFormat:@"%Y-%m-%d %H:%M:%S"]];
  if ([object isKindOfClass:[NSURL class]]) return [@"url:" stringByAppendingString:[object absoluteString]];
  if ([object isKindOfClass:[NSTimeZone class]]) return [@"timezone:" stringByAppendingString:[object name]];
  if ([object isKindOfClass:[NSValue class]]) {
    auto is = [&](const char* type) { return strcmp([object objCType], type) == 0; };
    if (is(@encode(NSSize))) return [@"size:" stringByAppendingString:NSStringFromSize([object sizeValue])];
    if (is(@encode(NSPoint))) return [@"point:" stringByAppendingString:NSStringFromPoint([object pointValue])];
    if (is(@encode(NSRect))) return [@"rect:" stringByAppendingString:NSStringFromRect([object rectValue])];
    if (is(@encode(NSRange))) return [@"range:" stringByAppendingString:NSStringFromRange([object rangeValue])];
  }
  return NSStringFromClass([object class]);
}

REALobject ToVariant(REALstring kind) {
  return GuardedResult([&] { return NewVariantFromNSObject(ObjectOfKind(Text(kind))); });
}

REALstring DescribeVariant(REALobject value) {
  return GuardedResult([&] { return HostString(Describe(GetVariantAsNSObject(value))); });
}

// The host value through GetVariantAsNSObject and back through NewVariantFromNSObject.
REALobject RoundTrip(REALobject value) {
  return GuardedResult([&] { return NewVariantFromNSObject(GetVariantAsNSObject(value)); });
}

// An image whose representations report the given pixel widths and heights (plain
// NSImageReps), in order: "64x10,0x0,128x20".
REALobject ImageOfRepSizes(REALstring sizes) {
  return GuardedResult([&] {
    NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(1, 1)] autorelease];
    NSArray* all = [Text(sizes) componentsSeparatedByString:@","];
    for (NSUInteger i = 0; i < [all count]; ++i) {
      NSArray* sides = [[all objectAtIndex:i] componentsSeparatedByString:@"x"];
      NSImageRep* rep = [[[NSImageRep alloc] init] autorelease];
      [rep setPixelsWide:[[sides objectAtIndex:0] integerValue]];
      [rep setPixelsHigh:[[sides objectAtIndex:1] integerValue]];
      [image addRepresentation:rep];
    }
    return NewNSImageQVR(image);
  });
}

// An untagged stand-in for a Core Foundation wrapper class, registered only when no
// sibling plugin brought the real ones: the conversion must refuse and drop its instances.
int untaggedDropped = 0;
void UntaggedDestructor(REALobject) { ++untaggedDropped; }
intptr_t UntaggedWrappersDropped() { return untaggedDropped; }

REALclassDefinition UntaggedBundleClass = {
    kREALCurrentControlVersion, "CFBundleQVR", nullptr, 16, 0, nullptr, reinterpret_cast<void*>(&UntaggedDestructor),
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4,
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
};

REALstring LastColorSpaceName() {
  return GuardedResult([&] { return HostString([NSString stringWithUTF8String:LastColorSpaceNameSent()]); });
}

// ---- data, dates and file URLs

// The length of the data NewNSData makes of block, -1 for nil.
intptr_t NewDataLength(REALmemoryBlock block) {
  return GuardedResult([&] {
    NSData* data = NewNSData(block);
    return data != nil ? static_cast<intptr_t>([data length]) : intptr_t{-1};
  });
}

// The block through NewNSData and back through NSDataRB; with scribble, the block's bytes
// are overwritten with 0xEE between the two.
REALmemoryBlock DataRoundTrip(REALmemoryBlock block, bool scribble) {
  return GuardedResult([&] {
    NSData* data = NewNSData(block);
    if (scribble && block != nullptr) {
      if (void* bytes = REALMemoryBlockGetPtr(block)) std::memset(bytes, 0xEE, size_t(REALMemoryBlockGetSize(block)));
    }
    return NSDataRB(data);
  });
}

// NSDataRB of data holding bytes 0, 1, 2, ... (mod 256) of the given length. Lengths of
// 2 GiB - 1 and more are given as data over a small buffer that claims that length:
// NSDataRB refuses them before reading any byte.
REALmemoryBlock DataOfLength(int64_t length) {
  static unsigned char pattern[256];
  for (int i = 0; i < 256; ++i) pattern[i] = static_cast<unsigned char>(i);
  return GuardedResult([&]() -> REALmemoryBlock {
    NSData* data;
    if (length >= 0x7FFFFFFF)
      data = [NSData dataWithBytesNoCopy:pattern length:static_cast<NSUInteger>(length) freeWhenDone:NO];
    else if (length <= 256)
      data = [NSData dataWithBytes:pattern length:static_cast<NSUInteger>(length < 0 ? 0 : length)];
    else
      return nullptr;
    return NSDataRB(data);
  });
}

// "YYYY-MM-DD hh:mm:ss <zone> <seconds since 1970>" of the calendar date NewNSDate makes
// while the platform's local time zone is the one named (when one is named); "nil" for
// none.
REALstring CalendarDateOf(REALobject date, REALstring zoneName) {
  return GuardedResult([&] {
    NSString* name = Text(zoneName);
    NSTimeZone* saved = [NSTimeZone defaultTimeZone];
    if ([name length] != 0) [NSTimeZone setDefaultTimeZone:[NSTimeZone timeZoneWithName:name]];
    NSCalendarDate* calendarDate = NewNSDate(date);
    /* Read while the zone is still set: the local zone follows the default zone. */
    NSString* text = @"nil";
    if (calendarDate != nil)
      text = [NSString stringWithFormat:@"%@ %@ %lld", [calendarDate descriptionWithCalendarFormat:@"%Y-%m-%d %H:%M:%S"],
                                        [[calendarDate timeZone] name],
                                        static_cast<long long>([calendarDate timeIntervalSince1970])];
    [NSTimeZone setDefaultTimeZone:saved];
    return HostString(text);
  });
}

// The path of the file URL NewNSURLfile makes, "nil" for none, "not a file URL" for a URL
// of another scheme.
REALstring URLPathOf(REALfolderItem file) {
  return GuardedResult([&] {
    NSURL* url = NewNSURLfile(file);
    return HostString(url == nil ? @"nil" : [url isFileURL] ? [url path] : @"not a file URL");
  });
}

// The FolderItem NSURLRBFile makes of the file URL of path.
REALfolderItem FolderItemOfURLPath(REALstring path) {
  return GuardedResult([&] { return NSURLRBFile([NSURL fileURLWithPath:Text(path)]); });
}

// ---- the threaded runner

// Inputs and outputs of Work, as an image member keeps them.
struct WorkRecord { intptr_t milliseconds; bool ran; char threadName[16]; };

void Work(void* record) {
  auto* work = static_cast<WorkRecord*>(record);
  NameCurrentThreadQVR("NSImageLoad");
  struct timespec pause = {static_cast<time_t>(work->milliseconds / 1000), long(work->milliseconds % 1000) * 1000000L};
  while (nanosleep(&pause, &pause) != 0) {
  }
  pthread_getname_np(pthread_self(), work->threadName, sizeof work->threadName);
  work->ran = true;
}

// Runs a work function of the given milliseconds through RunThreaded. failure: 0 none,
// 1 the thread cannot be created, 2 the mutex cannot be allocated. Answers
// "ran=<0|1> name=<worker's name> refused=<failures delivered>".
REALstring RunWork(intptr_t milliseconds, intptr_t failure) {
  WorkRecord record = {milliseconds, false, "untouched"};
  FailNextThreadCreation(failure == 1);
  FailNextMutexAllocation(failure == 2);
  RunThreaded(&record, &Work);
  int refused = TakeDeliveredFailures();
  FailNextThreadCreation(false);
  FailNextMutexAllocation(false);
  char text[80];
  std::snprintf(text, sizeof text, "ran=%d name=%s refused=%d", record.ran ? 1 : 0, record.threadName, refused);
  return GuardedResult([&] { return HostString([NSString stringWithUTF8String:text]); });
}


REALmethodDefinition ValueProbeSharedMethods[] = {
    SHARED(ToVariant, "ToVariant(kind as String) as Variant"),
    SHARED(DescribeVariant, "Describe(value as Variant) as String"),
    SHARED(RoundTrip, "RoundTrip(value as Variant) as Variant"),
    SHARED(ImageOfRepSizes, "ImageOfRepSizes(sizes as String) as NSImageQVR"),
    SHARED(UntaggedWrappersDropped, "UntaggedWrappersDropped as Integer"),
    SHARED(LastColorSpaceName, "LastColorSpaceName as String"),
    SHARED(NewDataLength, "NewDataLength(block as MemoryBlock) as Integer"),
    SHARED(DataRoundTrip, "DataRoundTrip(block as MemoryBlock, scribble as Boolean) as MemoryBlock"),
    SHARED(DataOfLength, "DataOfLength(length as Int64) as MemoryBlock"),
    SHARED(CalendarDateOf, "CalendarDateOf(d as Date, zone as String) as String"),
    SHARED(URLPathOf, "URLPathOf(f as FolderItem) as String"),
    SHARED(FolderItemOfURLPath, "FolderItemOfURLPath(path as String) as FolderItem"),
    SHARED(RunWork, "RunWork(milliseconds as Integer, failure as Integer) as String"),
};

}  // namespace

REALclassDefinition ValueProbeQVRClass = SHARED_METHODS_CLASS("ValueProbeQVR", ValueProbeSharedMethods, 0);

void RegisterValueProbeClasses() {
  MyREALRegisterClass(&ValueProbeQVRClass);
  if (REALGetClassRef("CFObjectQVR") == nullptr) MyREALRegisterClass(&UntaggedBundleClass);
}
