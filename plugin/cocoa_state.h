/* The shared Cocoa state every host-called function prepares first: the wrapper
   dictionary obtained from a sibling plugin and the one-time exception preparation. */
#ifndef QVR_PLUGIN_COCOA_STATE_H
#define QVR_PLUGIN_COCOA_STATE_H

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Platform object to the host wrapper holding it; takes no references. Null until a
   sibling plugin hands it out, and for good when none is loaded. */
extern CFMutableDictionaryRef instances;
extern bool ExceptionsInitialized;

/* Fetches instances and prepares exceptions through the sibling plugin, retrying on
   every call until it succeeds. */
void CocoaInit(void);

#ifdef __cplusplus
}
#endif

#endif
