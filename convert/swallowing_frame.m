/* A platform exception frame that swallows NSExceptions: the Core Foundation step of the
   object-to-variant dispatch gives no decision when the platform raises inside it, and
   the dispatch goes on. Any other thrown object goes on to the caller. Plain Objective-C,
   where typed @catch clauses are safe on this toolchain. */
#import <Foundation/Foundation.h>

#include "convert/swallowing_frame.h"

#include "plugin/call_guard.h"

int RunSwallowingNSExceptions(SwallowingFrameBody body, void* context) {
  @try {
    body(context);
  } @catch (NSException* exception) {
    if (!CocoaIsNSException(exception)) @throw;
    return 0;
  } @catch (id other) {
    @throw;
  }
  return 1;
}
