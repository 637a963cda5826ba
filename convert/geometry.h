/* Platform sizes to the sibling plugin's NSSizeQVR instances and back, as the family
   keeps them: two 32-bit floats. */
#ifndef QVR_CONVERT_GEOMETRY_H
#define QVR_CONVERT_GEOMETRY_H

#import <Foundation/Foundation.h>

#include "plugin/host_sdk.h"

/* A new NSSizeQVR (one reference for the caller) holding size narrowed to floats; nil
   when the host has no such class. */
REALobject NewNSSizeQVR(NSSize size);
/* The size an NSSizeQVR holds; 0 by 0 for nil. */
NSSize NSSizeOfNSSizeQVR(REALobject value);

#endif
