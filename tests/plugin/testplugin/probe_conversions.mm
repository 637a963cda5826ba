// ConversionProbeQVR: shared methods that drive the value conversions of data, dates and
// file URLs and the threaded runner the way image members will, so that tests reach them
// through the host. Platform temporaries live in the guard's pool of each call.
#import <Foundation/Foundation.h>

#include "tests/plugin/testplugin/probe.h"

#include <pthread.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "convert/data.h"
#include "convert/dates.h"
#include "convert/file_urls.h"
#include "convert/strings.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "threads/run_threaded.h"
#include "threads/thread_naming.h"

namespace {

REALstring HostString(NSString* text) { return CFString2RBString((CFStringRef)text); }

// ---- data

// The length of the data NewNSData makes of block, -1 for nil.
intptr_t NewDataLength(REALmemoryBlock block) {
  intptr_t length = -2;
  CocoaGuardPooled([&] {
    NSData* data = NewNSData(block);
    length = data != nil ? static_cast<intptr_t>([data length]) : -1;
  });
  return length;
}

// The block through NewNSData and back through NSDataRB; with scribble, the block's bytes
// are overwritten with 0xEE between the two.
REALmemoryBlock DataRoundTrip(REALmemoryBlock block, bool scribble) {
  REALmemoryBlock result = nullptr;
  CocoaGuardPooled([&] {
    NSData* data = NewNSData(block);
    if (scribble && block != nullptr) {
      if (void* bytes = REALMemoryBlockGetPtr(block)) std::memset(bytes, 0xEE, size_t(REALMemoryBlockGetSize(block)));
    }
    result = NSDataRB(data);
  });
  return result;
}

// NSDataRB of data holding bytes 0, 1, 2, ... (mod 256) of the given length. Lengths of
// 2 GiB - 1 and more are given as data over a small buffer that claims that length:
// NSDataRB refuses them before reading any byte.
REALmemoryBlock DataOfLength(int64_t length) {
  static unsigned char pattern[256];
  for (int i = 0; i < 256; ++i) pattern[i] = static_cast<unsigned char>(i);
  REALmemoryBlock result = nullptr;
  CocoaGuardPooled([&] {
    NSData* data;
    if (length >= 0x7FFFFFFF)
      data = [NSData dataWithBytesNoCopy:pattern length:static_cast<NSUInteger>(length) freeWhenDone:NO];
    else if (length <= 256)
      data = [NSData dataWithBytes:pattern length:static_cast<NSUInteger>(length < 0 ? 0 : length)];
    else
      return;
    result = NSDataRB(data);
  });
  return result;
}

// ---- dates

// "YYYY-MM-DD hh:mm:ss <zone> <seconds since 1970>" of the calendar date NewNSDate makes
// while the platform's local time zone is the one named (when one is named); "nil" for
// none.
REALstring CalendarDateOf(REALobject date, REALstring zoneName) {
  REALstring result = nullptr;
  CocoaGuardPooled([&] {
    NSString* name = [(NSString*)RBString2CFString(zoneName) autorelease];
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
    result = HostString(text);
  });
  return result;
}

// ---- file URLs

// The path of the file URL NewNSURLfile makes, "nil" for none, "not a file URL" for a URL
// of another scheme.
REALstring URLPathOf(REALfolderItem file) {
  REALstring result = nullptr;
  CocoaGuardPooled([&] {
    NSURL* url = NewNSURLfile(file);
    result = HostString(url == nil ? @"nil" : [url isFileURL] ? [url path] : @"not a file URL");
  });
  return result;
}

// The FolderItem NSURLRBFile makes of the file URL of path.
REALfolderItem FolderItemOfURLPath(REALstring path) {
  REALfolderItem result = nullptr;
  CocoaGuardPooled([&] {
    NSString* text = [(NSString*)RBString2CFString(path) autorelease];
    if (text != nil) result = NSURLRBFile([NSURL fileURLWithPath:text]);
  });
  return result;
}

// ---- the threaded runner

// Inputs and outputs of Work, as an image member keeps them.
struct WorkRecord {
  intptr_t milliseconds;
  bool ran;
  char threadName[16];
};

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
  REALstring result = nullptr;
  CocoaGuardPooled([&] { result = HostString([NSString stringWithUTF8String:text]); });
  return result;
}

#define SHARED(function, declaration) {reinterpret_cast<void*>(&function), nullptr, declaration, 0x4, 0, nullptr}

REALmethodDefinition ConversionProbeSharedMethods[] = {
    SHARED(NewDataLength, "NewDataLength(block as MemoryBlock) as Integer"),
    SHARED(DataRoundTrip, "DataRoundTrip(block as MemoryBlock, scribble as Boolean) as MemoryBlock"),
    SHARED(DataOfLength, "DataOfLength(length as Int64) as MemoryBlock"),
    SHARED(CalendarDateOf, "CalendarDateOf(d as Date, zone as String) as String"),
    SHARED(URLPathOf, "URLPathOf(f as FolderItem) as String"),
    SHARED(FolderItemOfURLPath, "FolderItemOfURLPath(path as String) as FolderItem"),
    SHARED(RunWork, "RunWork(milliseconds as Integer, failure as Integer) as String"),
};

}  // namespace

REALclassDefinition ConversionProbeQVRClass = {
    kREALCurrentControlVersion, "ConversionProbeQVR", nullptr, 0, 0, nullptr, nullptr,
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0,
    nullptr, 0,
    ConversionProbeSharedMethods, sizeof(ConversionProbeSharedMethods) / sizeof(ConversionProbeSharedMethods[0]),
    nullptr, 0, nullptr, 0,
};
