/* The Objective-C side of the host's call boundary: runs a C callback inside an
   exception frame and reports any Objective-C object thrown out of it, so a plugin's
   uncaught platform exception reaches host code as a report, never as a crash. The
   frame lives in plain Objective-C because this compiler's Objective-C++ cannot catch
   typed Objective-C exceptions safely.

   Autorelease pools: like the host's event loop, every host thread keeps a pool for as
   long as it runs, and each call into a plugin gets a pool of its own, drained when the
   call returns, so platform temporaries made outside a plugin's own pools are freed. */
#import <Foundation/Foundation.h>
#include <objc/runtime.h>
#include <stddef.h>

void *qvr_host_pool_push(void)
{
  return [[NSAutoreleasePool alloc] init];
}

void qvr_host_pool_pop(void *pool)
{
  [(NSAutoreleasePool *)pool release];
}

int qvr_host_call_guarded(void (*body)(void *), void *context, void **thrown, const char **className)
{
  NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
  id caught = nil;
  int outcome = 0;
  @try {
    body(context);
  }
  @catch (id object) {
    /* The object may live in the pool drained below: keep it alive for the report. */
    caught = [object retain];
    *className = object != nil ? object_getClassName(object) : "nil";
    outcome = 1;
  }
  [pool release];
  if (outcome) {
    /* Handed to the thread's own pool, so it outlives the report and is freed later. */
    [caught autorelease];
    *thrown = (void *)caught;
  }
  return outcome;
}
