/* The host runtime bridge: one small glue function per host service. Each resolves its
   entry point by name through the host's resolver on first use, keeps it in a cell of its
   own, and calls it; when the host has no such entry point it does nothing and gives the
   neutral result (null, 0, false). Arguments and results follow the host: Integer is
   pointer-sized, Int32 32 bits, Boolean one byte. */
#ifndef QVR_PLUGIN_HOST_BRIDGE_H
#define QVR_PLUGIN_HOST_BRIDGE_H

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include "plugin/host_sdk.h"

struct CGImage;

/* Set once by REALPluginMain before any glue function runs. */
extern REALResolver gResolver;

/* Classes and objects */
void REALRegisterClass(REALclassDefinition* definition);
REALobject REALnewInstance(const char* className);
REALclassRef REALGetClassRef(const char* className);
bool REALObjectIsA(REALobject object, REALclassRef classRef);
void REALLockObject(REALobject object);
void REALUnlockObject(REALobject object);

/* Strings */
void REALLockString(REALstring string);
void REALUnlockString(REALstring string);
REALstring originalREALBuildString(const void* bytes, intptr_t byteCount);
uint32_t REALGetStringEncoding(REALstring string);
void REALSetStringEncoding(REALstring string, uint32_t encoding);
REALstring REALConvertString(REALstring string, uint32_t encoding);
/* Both give a platform string that the caller owns; they keep separate cells. */
CFStringRef REALGetStringCFString(REALstring string, bool flag);
CFStringRef REALCopyStringCFString(REALstring string, bool flag);
/* True when out was filled; the caller then passes out to REALDisposeStringData. Falls
   back to reading the string's bytes itself on hosts without "PluginGetStringData". */
bool REALGetStringData(REALstring string, uint32_t encoding, REALstringData* out);
void REALDisposeStringData(REALstringData* data);

/* Methods and properties of host objects, by declaration or name */
void* REALLoadFrameworkMethod(const char* declaration);
void* REALLoadObjectMethod(REALobject object, const char* declaration);
bool REALGetPropValueInt32(REALobject object, const char* name, int32_t* value);
bool REALGetPropValueUInt8(REALobject object, const char* name, uint8_t* value);
bool REALGetPropValueDouble(REALobject object, const char* name, double* value);
bool REALGetPropValueSingle(REALobject object, const char* name, float* value);
bool REALGetPropValueString(REALobject object, const char* name, REALstring* value);
bool REALGetPropValueObject(REALobject object, const char* name, REALobject* value);
bool REALGetPropValueInt64(REALobject object, const char* name, int64_t* value);
bool REALSetPropValueInt32(REALobject object, const char* name, int32_t value);
bool REALSetPropValueString(REALobject object, const char* name, REALstring value);

/* Exceptions and threads */
void REALRaiseException(REALobject exception);
void REALYieldToRB(void);

/* Arrays. The element type codes are the host's. */
REALarray REALCreateArray(intptr_t elementType, intptr_t upperBound);
void REALInsertArrayValueString(REALarray array, intptr_t index, REALstring value);
void REALInsertArrayValueObject(REALarray array, intptr_t index, REALobject value);
void REALGetArrayValueInt32(REALarray array, intptr_t index, int32_t* value);
void REALGetArrayValueInt64(REALarray array, intptr_t index, int64_t* value);
void REALGetArrayValueUInt8(REALarray array, intptr_t index, uint8_t* value);
void REALGetArrayValueSingle(REALarray array, intptr_t index, float* value);
void REALGetArrayValueDouble(REALarray array, intptr_t index, double* value);
void REALGetArrayValueString(REALarray array, intptr_t index, REALstring* value);
void REALGetArrayValueObject(REALarray array, intptr_t index, REALobject* value);
intptr_t REALGetArrayUBound(REALarray array);
/* False, and upperBound untouched, on a host without "RuntimeUBound". */
bool REALGetArrayUBoundIfKnown(REALarray array, intptr_t* upperBound);

/* MemoryBlocks */
REALmemoryBlock REALNewMemoryBlockOriginal(intptr_t size);
void* REALMemoryBlockGetPtr(REALmemoryBlock block);
intptr_t REALMemoryBlockGetSize(REALmemoryBlock block);

/* Pictures */
REALpicture REALNewPicture(intptr_t width, intptr_t height, intptr_t depth);
REALpicture REALGetPictureMask(REALpicture picture, bool create);
void REALPictureClearCache(REALpicture picture);
REALgraphics REALGetPictureGraphics(REALpicture picture);
struct CGImage* REALCopyPictureCGImage(REALpicture picture);
REALpicture REALBuildPictureFromBuffer(intptr_t width, intptr_t height, int32_t pixelType,
                                       void* buffer, intptr_t rowBytes);
bool REALLockPictureDescription(REALpicture picture, REALpictureDescription* description);
bool REALLockPictureDescription(REALpicture picture, REALpictureDescription* description, uint32_t pixelType);
void REALUnlockPictureDescription(REALpicture picture);

/* File references */
bool REALFSSpecFromFolderItem(FSSpec* fileSpec, REALfolderItem item);
REALfolderItem FolderItemFromFSSpec(const FSSpec* fileSpec);
bool REALFSRefFromFolderItem(REALfolderItem item, FSRef* ref, HFSUniStr255* name);
REALfolderItem REALFolderItemFromParentFSRef(const FSRef* parent, const HFSUniStr255* name);

/* Variants */
REALobject REALNewVariantString(REALstring value);
REALobject REALNewVariantInteger(int32_t value);
REALobject REALNewVariantUInt32(uint32_t value);
REALobject REALNewVariantInt64(int64_t value);
REALobject REALNewVariantUInt64(uint64_t value);
REALobject REALNewVariantDouble(double value);
REALobject REALNewVariantSingle(float value);
REALobject REALNewVariantBoolean(bool value);
/* The readers of Variant values, with their fallbacks, are in convert/variants.h. */

#endif
