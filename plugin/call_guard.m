/* The exception frames of the Cocoa call guard. Plain Objective-C on purpose: typed
   @catch clauses are only safe here, and each typed clause is followed by a catch-all,
   because on this runtime a lone typed clause was seen catching objects of other classes.
   The class test below makes the same decision by walking the class chain, so nothing
   but an NSException (or subclass) is ever converted. */
#import <Foundation/Foundation.h>

#include "plugin/call_guard.h"
#include "plugin/errors.h"

BOOL CocoaIsNSException(id object) {
  Class wanted = [NSException class];
  for (Class cls = object ? object_getClass(object) : Nil; cls != Nil; cls = class_getSuperclass(cls)) {
    if (cls == wanted) return YES;
  }
  return NO;
}

int CocoaRunSimpleFrame(CocoaGuardBody body, void* context) {
  @try {
    body(context);
  } @catch (NSException* exception) {
    if (!CocoaIsNSException(exception)) @throw;
    RaiseNSExceptionQVR(exception);
    return kCocoaGuardConverted;
  } @catch (id other) {
    @throw;
  }
  return kCocoaGuardCompleted;
}

int CocoaRunPooledFrame(CocoaGuardBody body, void* context) {
  NSAutoreleasePool* pool = nil;
  id rethrow = nil;
  int outcome = kCocoaGuardCompleted;
  @try {
    pool = [[NSAutoreleasePool alloc] init];
    body(context);
  } @catch (NSException* exception) {
    if (CocoaIsNSException(exception)) {
      outcome = kCocoaGuardConverted;
      @try {
        RaiseNSExceptionQVR(exception);
      } @catch (id again) {
        rethrow = [again retain];
      }
    } else {
      rethrow = [exception retain];
    }
  } @catch (id other) {
    rethrow = [other retain];
  }
  [pool release];
  pool = nil;
  if (rethrow != nil) {
    /* The object may have lived in the pool just released: keep it alive for the host,
       handed to whatever pool the caller runs. */
    [rethrow autorelease];
    @throw rethrow;
  }
  return outcome;
}
