/* What this plugin expects of a sibling plugin of the family loaded into the same host:
   class methods added to NSException, the host object wrapper class (looked up by name)
   and the time value methods added to NSValue. Declared here, implemented (when the sibling is
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

/* The messages of QVRREALobjectWrapper, a platform class that holds a host object. The
   class itself is found with objc_getClass at run time. */
@interface NSObject (HostObjectWrapperQVR)
/* An autoreleased wrapper of the host object. */
+ (id)wrap:(void*)hostObject;
/* The host object held. */
- (void*)unwrap;
@end

/* NSValues of the family's time types and back; each ...ValueQVR method answers a host
   instance of the matching time class. */
@interface NSValue (TimeValuesQVR)
+ (NSValue*)valueWithQTTimeQVR:(void*)hostObject;
+ (NSValue*)valueWithQTTimeRangeQVR:(void*)hostObject;
+ (NSValue*)valueWithCMTimeMappingQVR:(void*)hostObject;
+ (NSValue*)valueWithCMTimeRangeQVR:(void*)hostObject;
+ (NSValue*)valueWithCMTimeQVR:(void*)hostObject;
- (void*)QTTimeValueQVR;
- (void*)QTTimeRangeValueQVR;
- (void*)CMTimeValueQVR;
- (void*)CMTimeRangeValueQVR;
- (void*)CMTimeMappingValueQVR;
@end

#endif
