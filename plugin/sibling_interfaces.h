/* What this plugin expects of a sibling plugin of the family loaded into the same host:
   class methods added to NSException. Declared here, implemented (when the sibling is
   loaded) there; every use asks respondsToSelector: first. */
#ifndef QVR_PLUGIN_SIBLING_INTERFACES_H
#define QVR_PLUGIN_SIBLING_INTERFACES_H

#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

@interface NSException (SiblingAdditionsQVR)
/* The process-wide dictionary from platform objects to the host wrappers holding them. */
+ (CFMutableDictionaryRef)GetInstancesDictionaryQVR;
/* One-time preparation of platform exception handling for host calls. */
+ (void)PrepareNSExceptionQVR;
/* A new host exception object for exception, holding one reference for the caller, or nil. */
+ (void*)NewNSExceptionQVR:(NSException*)exception;
@end

#endif
