/* Host strings to platform strings and back, and platform string arrays into host
   string arrays. None of these raises: failures give null (the host's empty string). */
#ifndef QVR_CONVERT_STRINGS_H
#define QVR_CONVERT_STRINGS_H

#include <CoreFoundation/CoreFoundation.h>

#include "plugin/host_sdk.h"

/* A new platform string owned by the caller, or null for a null string or on failure. */
CFStringRef RBString2CFString(REALstring string);
/* A new UTF-8 host string holding one reference for the caller; null for a null or empty
   string or on failure. The text ends at the first NUL character. */
REALstring CFString2RBString(CFStringRef string);
/* Appends every string of strings (an NSArray of platform strings) to array at indices
   0, 1, 2, ... in enumeration order. */
void FillStringArray(REALarray array, CFArrayRef strings);

#endif
