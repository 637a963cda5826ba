/* The worker-side frame of threaded work. Plain Objective-C, like the call guard's
   frames, since typed @catch clauses are only safe here; the typed clause is followed by
   a catch-all and checks the class chain itself. */
#import <Foundation/Foundation.h>

#include "threads/worker_frame.h"

#include "plugin/call_guard.h"

void RunInWorkerFrame(WorkerFrameBody body, void* context) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  @try {
    body(context);
  } @catch (NSException* exception) {
    if (!CocoaIsNSException(exception)) @throw;
    NSLog(@"%@\n", exception);
  } @catch (id other) {
    @throw;
  }
  [pool release];
}
