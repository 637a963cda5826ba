/* The family's additions to NSException, which image plugins of the family find at run
   time: the shared dictionary from platform objects to the host wrappers that hold them,
   the one-time preparation of exception handling, and the conversion of a platform
   exception into a host exception. The host exception is an NSExceptionQVR, a
   RuntimeException whose Message is the reason and which keeps the platform exception
   for its Name and Reason properties. */
#import <Foundation/Foundation.h>

#include "siblings/exception_additions.h"

#include "siblings/sibling_glue.h"

namespace {

struct ExceptionData {
  NSException* Handle;
};

void ExceptionDestructor(REALobject self);
REALstring ExceptionName(REALobject self, intptr_t);
REALstring ExceptionReason(REALobject self, intptr_t);

REALproperty ExceptionProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "Name", "String", 0x6, reinterpret_cast<void*>(&ExceptionName), nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "Reason", "String", 0x6, reinterpret_cast<void*>(&ExceptionReason), nullptr, 0, nullptr, 0, nullptr, 0,
     nullptr},
};

}  // namespace

REALclassDefinition NSExceptionQVRClass = {
    kREALCurrentControlVersion, "NSExceptionQVR", "RuntimeException", sizeof(ExceptionData), 0, nullptr,
    reinterpret_cast<void*>(&ExceptionDestructor), ExceptionProperties,
    sizeof(ExceptionProperties) / sizeof(ExceptionProperties[0]), nullptr, 0, nullptr, 0, nullptr, 0, nullptr,
    nullptr, 0, nullptr, 0, 0x4, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0,
};

namespace {

ExceptionData* DataOf(REALobject self) { return siblings::InstanceData<ExceptionData>(NSExceptionQVRClass, self); }

void ExceptionDestructor(REALobject self) {
  ExceptionData* data = DataOf(self);
  [data->Handle release];
  data->Handle = nil;
}

REALstring ExceptionName(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[DataOf(self)->Handle name]);
}

REALstring ExceptionReason(REALobject self, intptr_t) {
  return siblings::HostString((CFStringRef)[DataOf(self)->Handle reason]);
}

bool prepared = false;
NSUncaughtExceptionHandler* previousHandler = nullptr;

/* An exception that escapes every frame ends the process; say what it was first. */
void LogUncaughtException(NSException* exception) {
  NSLog(@"Uncaught %@: %@, Info: %@\n", [exception name], [exception reason], [exception userInfo]);
  if (previousHandler != nullptr) previousHandler(exception);
}

}  // namespace

@implementation NSException (SiblingAdditionsQVR)

+ (CFMutableDictionaryRef)GetInstancesDictionaryQVR {
  /* Keys are platform objects compared by identity, values host objects: no
     references on either, so the table never keeps a wrapper or its object alive. */
  static CFMutableDictionaryRef dictionary = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, nullptr, nullptr);
  return dictionary;
}

+ (void)PrepareNSExceptionQVR {
  if (prepared) return;
  prepared = true;
  previousHandler = NSGetUncaughtExceptionHandler();
  NSSetUncaughtExceptionHandler(&LogUncaughtException);
}

+ (void*)NewNSExceptionQVR:(NSException*)exception {
  if (exception == nil) return nullptr;
  REALobject hostException = siblings::NewInstance("NSExceptionQVR");
  if (hostException != nullptr) {
    DataOf(hostException)->Handle = [exception retain];
  } else {
    hostException = siblings::NewInstance("RuntimeException");
    if (hostException == nullptr) return nullptr;
  }
  REALstring message = siblings::HostString((CFStringRef)[exception reason]);
  siblings::SetPropertyString(hostException, "Message", message);
  siblings::SetPropertyInt32(hostException, "ErrorNumber", 0);
  if (message != nullptr) siblings::UnlockString(message);
  return hostException;
}

@end
