/* What image creation reads from host values that no general conversion covers: the
   stored bytes of a host string as data, and a URL written in a host string. Both are
   autoreleased into the caller's pool. */
#ifndef QVR_IMAGE_CREATION_INPUTS_H
#define QVR_IMAGE_CREATION_INPUTS_H

#import <Foundation/Foundation.h>

#include "plugin/host_sdk.h"

/* The factories' argument check: a nil argument raises "NilObjectException" with the
   factory's message, before any platform work. */
bool ArgumentIsNil(const void* argument, const char* message);

/* The string's bytes as the host stores them, without any change of encoding (image
   bytes put into a string); empty data when the host gives none. */
NSData* NewNSDataFromStringBytes(REALstring string);

/* nil for a null string or one that is no valid URL. */
NSURL* NewNSURLFromString(REALstring string);

/* A host string as a platform string, or nil. */
NSString* NewNSStringFromRBString(REALstring string);

#endif
