/* The platform's bitmap property keys as host strings, for the key getters of
   NSBitmapImageRepQVR: a system whose AppKit lacks a key leaves its global null (a weak
   reference) or nil, and the getter then answers "". */
#ifndef QVR_IMAGEREP_PROPERTY_KEYS_H
#define QVR_IMAGEREP_PROPERTY_KEYS_H

#import <Foundation/Foundation.h>

#include "plugin/host_sdk.h"

/* A new host string holding the key the global points at, or null (""). */
REALstring PropertyKeyRB(NSString* const* key);

#endif
