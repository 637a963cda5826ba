/* The Objective-C side of the host's call boundary: runs a C callback inside an
   exception frame and reports any Objective-C object thrown out of it, so a plugin's
   uncaught platform exception reaches host code as a report, never as a crash. The
   frame lives in plain Objective-C because this compiler's Objective-C++ cannot catch
   typed Objective-C exceptions safely. */
#include <objc/runtime.h>
#include <stddef.h>

int qvr_host_call_guarded(void (*body)(void *), void *context, void **thrown, const char **className)
{
  @try {
    body(context);
  }
  @catch (id object) {
    *thrown = (void *)object;
    *className = object != nil ? object_getClassName(object) : "nil";
    return 1;
  }
  return 0;
}
