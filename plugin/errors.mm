/* Host exceptions raised by the plugin. A host exception is an instance of a host
   exception class with "Message" and "ErrorNumber" set; a platform NSException becomes
   one through the sibling plugin's converter, or, when no sibling is loaded, as a
   "RuntimeException" carrying the exception's reason. */
#import <Foundation/Foundation.h>

#include "plugin/errors.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "convert/strings.h"
#include "plugin/host_bridge.h"
#include "plugin/sibling_interfaces.h"

/* Raises a new instance of className (or RuntimeException) with message, which the
   caller keeps. False when the host could make neither class. */
static bool RaiseWithMessage(const char* className, REALstring message) {
  REALobject exception = className ? REALnewInstance(className) : nullptr;
  if (exception == nullptr) exception = REALnewInstance("RuntimeException");
  if (exception == nullptr) return false;
  REALSetPropValueString(exception, "Message", message);
  REALSetPropValueInt32(exception, "ErrorNumber", 0);
  REALRaiseException(exception);
  REALUnlockObject(exception);
  return true;
}

void RaiseException(const char* className, const char* message) {
  REALstring text = nullptr;
  if (message != nullptr && message[0] != 0) {
    text = originalREALBuildString(message, static_cast<intptr_t>(std::strlen(message)));
    if (text != nullptr) REALSetStringEncoding(text, kREALTextEncodingASCII);
  }
  RaiseWithMessage(className, text);
  if (text != nullptr) REALUnlockString(text);
}

void RaiseOutOfBoundsException(int64_t value, int64_t lowerBound, int64_t count, const char* parameterName,
                               const char* methodName) {
  const char* name = methodName ? methodName : "?";
  const char* parameter = parameterName ? parameterName : "?";
  size_t size = std::strlen(name) + 205;
  auto* buffer = static_cast<char*>(std::calloc(size, 1));
  if (buffer == nullptr) {
    RaiseException("OutOfBoundsException", "Out of Bounds");
    return;
  }
  const char* format = value < 0
      ? "Parameter %s to method %s is too small. Range is %" PRId64 " to %" PRId64 ", but value is %" PRId64 "."
      : "Parameter %s to method %s is too big. Range is %" PRId64 " to %" PRId64 ", but value is %" PRId64 ".";
  std::snprintf(buffer, size, format, parameter, name, lowerBound, count - 1, value);
  RaiseException("OutOfBoundsException", buffer);
  std::free(buffer);
}

void RaiseNSExceptionQVR(NSException* exception) {
  /* Logging and converting make Foundation temporaries; the simple frame has no pool of
     its own, so they go to one here. (If the conversion throws, the pool is left to the
     enclosing one: the thrown object may live in it.) */
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSLog(@"A %@: %@, Info: %@\n", [exception name], [exception reason], [exception userInfo]);
  REALobject hostException = nullptr;
  bool viaSibling = [NSException respondsToSelector:@selector(NewNSExceptionQVR:)];
  if (viaSibling) hostException = static_cast<REALobject>([NSException NewNSExceptionQVR:exception]);
  if (hostException != nullptr) {
    REALRaiseException(hostException);
    REALUnlockObject(hostException);
  } else if (!viaSibling) {
    /* No sibling plugin: make the converter's result here, a RuntimeException whose
       Message is the reason. */
    REALstring reason = CFString2RBString((CFStringRef)[exception reason]);
    RaiseWithMessage("RuntimeException", reason);
    if (reason != nullptr) REALUnlockString(reason);
  }
  [pool release];
}
