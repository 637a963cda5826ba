/* Host Dictionaries to platform dictionaries and back, entry by entry through the
   Variant conversions, so dictionaries nest to any depth. Both share one cache of the
   host Dictionary's methods. */
#ifndef QVR_CONVERT_DICTIONARIES_H
#define QVR_CONVERT_DICTIONARIES_H

#include "plugin/host_sdk.h"

#ifdef __OBJC__
@class NSDictionary;

/* A new host Dictionary (one reference for the caller) holding the converted entries in
   the order of allKeys; nil for nil or when the host cannot make one. */
REALobject NSDictionaryRB(NSDictionary* dictionary);

/* An autoreleased platform dictionary of the host Dictionary's entries (nil keys left
   out, nil values as NSNull); nil for nil. */
NSDictionary* NewNSDictionary(REALobject dictionary);
#endif

#endif
