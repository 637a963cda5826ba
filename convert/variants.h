/* Platform objects to host values and back, through Variants: numbers, strings, dates,
   collections, data, files, geometry and wrapper instances. Both directions run inside
   the caller's Cocoa call guard and raise no host exception of their own. */
#ifndef QVR_CONVERT_VARIANTS_H
#define QVR_CONVERT_VARIANTS_H

#include <stdint.h>

#include "plugin/host_sdk.h"

/* The readers of a Variant's value. Each uses its host entry point ("VarType" loaded as a
   global method, "VariantToString", "VariantToInt32", ...) and, on a host without it,
   the Variant's property ("Type", "StringValue", "Int32Value", "LongValue",
   "SingleValue", "DoubleValue"); a read that fails gives 0 or nil. GetVariantString
   answers a string holding one reference for the caller, or nil. */
int32_t GetVariantType(REALobject value);
REALstring GetVariantString(REALobject value);
int32_t GetVariantInt32(REALobject value);
int64_t GetVariantInt64(REALobject value);
float GetVariantSingle(REALobject value);
double GetVariantDouble(REALobject value);

#ifdef __OBJC__
@class NSObject;

/* A host value for object holding one reference for the caller: a Variant, an array, a
   MemoryBlock, a Date, a Dictionary, a FolderItem or a wrapper instance; nil for nil,
   NSNull and anything without a host form. */
REALobject NewVariantFromNSObject(NSObject* object);

/* The platform object for a host value, not owned by the caller (autoreleased, or held
   by the host object it came from), or nil. */
NSObject* GetVariantAsNSObject(REALobject value);
#endif

#endif
