/* The glue functions of the host runtime bridge. Every one follows the same rule: read
   its cell; when empty, ask the resolver and store the answer (null too, so a later call
   asks again); call the entry point when there is one, else give the neutral result.
   A cell is written with the same value by every thread that fills it, so relaxed
   atomics are all the ordering it needs. */
#include "plugin/host_bridge.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

REALResolver gResolver = nullptr;

namespace {

using Cell = std::atomic<void*>;

template <typename Function>
Function Entry(Cell& cell, const char* name) {
  void* entry = cell.load(std::memory_order_relaxed);
  if (entry == nullptr && gResolver != nullptr) {
    entry = gResolver(name);
    cell.store(entry, std::memory_order_relaxed);
  }
  return reinterpret_cast<Function>(entry);
}

}  // namespace

/* One cell per glue function, named after it. */
#define GLUE_CELL(glue) static Cell glue##Cell{nullptr}

/* Classes and objects */

GLUE_CELL(REALRegisterClass);
void REALRegisterClass(REALclassDefinition* definition) {
  if (auto entry = Entry<void (*)(REALclassDefinition*)>(REALRegisterClassCell, "PluginRegisterClass")) entry(definition);
}

GLUE_CELL(REALnewInstance);
REALobject REALnewInstance(const char* className) {
  auto entry = Entry<REALobject (*)(const char*)>(REALnewInstanceCell, "PluginNewInstance");
  return entry ? entry(className) : nullptr;
}

GLUE_CELL(REALGetClassRef);
REALclassRef REALGetClassRef(const char* className) {
  auto entry = Entry<REALclassRef (*)(const char*)>(REALGetClassRefCell, "pluginObjectType");
  return entry ? entry(className) : nullptr;
}

GLUE_CELL(REALObjectIsA);
bool REALObjectIsA(REALobject object, REALclassRef classRef) {
  auto entry = Entry<bool (*)(REALobject, REALclassRef)>(REALObjectIsACell, "RuntimeObjectIsa");
  return entry ? entry(object, classRef) : false;
}

GLUE_CELL(REALLockObject);
void REALLockObject(REALobject object) {
  if (auto entry = Entry<void (*)(REALobject)>(REALLockObjectCell, "REALLockObject")) entry(object);
}

GLUE_CELL(REALUnlockObject);
void REALUnlockObject(REALobject object) {
  if (auto entry = Entry<void (*)(REALobject)>(REALUnlockObjectCell, "REALUnlockObject")) entry(object);
}

/* Strings */

GLUE_CELL(REALLockString);
void REALLockString(REALstring string) {
  if (auto entry = Entry<void (*)(REALstring)>(REALLockStringCell, "REALLockString")) entry(string);
}

GLUE_CELL(REALUnlockString);
void REALUnlockString(REALstring string) {
  if (auto entry = Entry<void (*)(REALstring)>(REALUnlockStringCell, "REALUnlockString")) entry(string);
}

GLUE_CELL(originalREALBuildString);
REALstring originalREALBuildString(const void* bytes, intptr_t byteCount) {
  auto entry = Entry<REALstring (*)(const void*, intptr_t)>(originalREALBuildStringCell, "REALBuildString");
  return entry ? entry(bytes, byteCount) : nullptr;
}

GLUE_CELL(REALGetStringEncoding);
uint32_t REALGetStringEncoding(REALstring string) {
  auto entry = Entry<uint32_t (*)(REALstring)>(REALGetStringEncodingCell, "REALGetStringEncoding");
  return entry ? entry(string) : 0;
}

GLUE_CELL(REALSetStringEncoding);
void REALSetStringEncoding(REALstring string, uint32_t encoding) {
  if (auto entry = Entry<void (*)(REALstring, uint32_t)>(REALSetStringEncodingCell, "REALSetStringEncoding"))
    entry(string, encoding);
}

GLUE_CELL(REALConvertString);
REALstring REALConvertString(REALstring string, uint32_t encoding) {
  auto entry = Entry<REALstring (*)(REALstring, uint32_t)>(REALConvertStringCell, "REALConvertString");
  return entry ? entry(string, encoding) : nullptr;
}

GLUE_CELL(REALGetStringCFString);
CFStringRef REALGetStringCFString(REALstring string, bool flag) {
  auto entry = Entry<CFStringRef (*)(REALstring, int32_t)>(REALGetStringCFStringCell, "REALGetStringCFString");
  return entry ? entry(string, flag ? 1 : 0) : nullptr;
}

GLUE_CELL(REALCopyStringCFString);
CFStringRef REALCopyStringCFString(REALstring string, bool flag) {
  auto entry = Entry<CFStringRef (*)(REALstring, int32_t)>(REALCopyStringCFStringCell, "REALGetStringCFString");
  return entry ? entry(string, flag ? 1 : 0) : nullptr;
}

/* REALGetStringData keeps two cells: "PluginGetStringData" and, for its fallback,
   "StringGetCString"; the fallback's LenB function has a cell of its own. */
GLUE_CELL(REALGetStringData);
static Cell StringGetCStringCell{nullptr};
static Cell LenBCell{nullptr};

/* Copies length bytes into a new heap buffer followed by four zero bytes, and fills out. */
static bool FillStringDataCopy(const char* bytes, intptr_t length, uint32_t encoding, REALstringData* out) {
  if (length < 0 || (bytes == nullptr && length > 0)) return false;
  auto* buffer = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 4));
  if (buffer == nullptr) return false;
  if (length > 0) std::memcpy(buffer, bytes, static_cast<size_t>(length));
  std::memset(buffer + length, 0, 4);
  out->data = buffer;
  out->length = static_cast<uintptr_t>(length);
  out->encoding = encoding;
  return true;
}

bool REALGetStringData(REALstring string, uint32_t encoding, REALstringData* out) {
  if (auto entry = Entry<bool (*)(REALstring, uint32_t, REALstringData*)>(REALGetStringDataCell, "PluginGetStringData"))
    return entry(string, encoding, out);

  using CStringFunction = const char* (*)(REALstring);
  using LenBFunction = intptr_t (*)(REALstring);
  auto cString = Entry<CStringFunction>(StringGetCStringCell, "StringGetCString");
  auto lenB = reinterpret_cast<LenBFunction>(LenBCell.load(std::memory_order_relaxed));
  if (lenB == nullptr) {
    lenB = reinterpret_cast<LenBFunction>(REALLoadFrameworkMethod("LenB( s as string ) as integer"));
    LenBCell.store(reinterpret_cast<void*>(lenB), std::memory_order_relaxed);
  }
  if (cString == nullptr || lenB == nullptr || string == nullptr || out == nullptr) return false;

  if (encoding == kREALTextEncodingUnknown) return FillStringDataCopy(cString(string), lenB(string), encoding, out);
  if (REALGetStringEncoding(string) == encoding) return FillStringDataCopy(cString(string), lenB(string), encoding, out);

  REALstring converted = REALConvertString(string, encoding);
  if (converted == nullptr) return false;
  bool filled = FillStringDataCopy(cString(converted), lenB(converted), encoding, out);
  REALUnlockString(converted);
  return filled;
}

GLUE_CELL(REALDisposeStringData);
void REALDisposeStringData(REALstringData* data) {
  if (data == nullptr) return;
  if (auto entry = Entry<void (*)(REALstringData*)>(REALDisposeStringDataCell, "PluginDisposeStringData")) {
    entry(data);
    return;
  }
  std::free(const_cast<void*>(data->data));
  data->data = nullptr;
  data->length = 0;
}

/* Methods and properties of host objects */

GLUE_CELL(REALLoadFrameworkMethod);
void* REALLoadFrameworkMethod(const char* declaration) {
  auto entry = Entry<void* (*)(REALobject, const char*)>(REALLoadFrameworkMethodCell, "REALLoadGlobalMethod");
  return entry ? entry(nullptr, declaration) : nullptr;
}

GLUE_CELL(REALLoadObjectMethod);
void* REALLoadObjectMethod(REALobject object, const char* declaration) {
  auto entry = Entry<void* (*)(REALobject, const char*)>(REALLoadObjectMethodCell, "REALLoadObjectMethod");
  return entry ? entry(object, declaration) : nullptr;
}

#define GLUE_GET_PROPERTY(glue, hostName, Type)                                               \
  GLUE_CELL(glue);                                                                             \
  bool glue(REALobject object, const char* name, Type* value) {                                \
    auto entry = Entry<bool (*)(REALobject, const char*, Type*)>(glue##Cell, hostName);        \
    return entry ? entry(object, name, value) : false;                                        \
  }

GLUE_GET_PROPERTY(REALGetPropValueInt32, "REALGetPropValueInt", int32_t)
GLUE_GET_PROPERTY(REALGetPropValueUInt8, "REALGetPropValueBool", uint8_t)
GLUE_GET_PROPERTY(REALGetPropValueDouble, "REALGetPropValueDouble", double)
GLUE_GET_PROPERTY(REALGetPropValueSingle, "REALGetPropValueSingle", float)
GLUE_GET_PROPERTY(REALGetPropValueString, "REALGetPropValueString", REALstring)
GLUE_GET_PROPERTY(REALGetPropValueObject, "REALGetPropValueObject", REALobject)
GLUE_GET_PROPERTY(REALGetPropValueInt64, "REALGetPropValueInt64", int64_t)

GLUE_CELL(REALSetPropValueInt32);
bool REALSetPropValueInt32(REALobject object, const char* name, int32_t value) {
  auto entry = Entry<bool (*)(REALobject, const char*, int32_t)>(REALSetPropValueInt32Cell, "REALSetPropValueInt");
  return entry ? entry(object, name, value) : false;
}

GLUE_CELL(REALSetPropValueString);
bool REALSetPropValueString(REALobject object, const char* name, REALstring value) {
  auto entry =
      Entry<bool (*)(REALobject, const char*, REALstring)>(REALSetPropValueStringCell, "REALSetPropValueString");
  return entry ? entry(object, name, value) : false;
}

/* Exceptions and threads */

GLUE_CELL(REALRaiseException);
void REALRaiseException(REALobject exception) {
  if (auto entry = Entry<void (*)(REALobject)>(REALRaiseExceptionCell, "RuntimeRaiseException")) entry(exception);
}

GLUE_CELL(REALYieldToRB);
void REALYieldToRB(void) {
  if (auto entry = Entry<void (*)()>(REALYieldToRBCell, "REALYieldToRB")) entry();
}

/* Arrays */

GLUE_CELL(REALCreateArray);
REALarray REALCreateArray(intptr_t elementType, intptr_t upperBound) {
  auto entry = Entry<REALarray (*)(intptr_t, intptr_t)>(REALCreateArrayCell, "RuntimeArrayCreateSingleDimBoundedArray");
  return entry ? entry(elementType, upperBound) : nullptr;
}

/* The insert and get entry points hand out a procedure for the given array. */
#define GLUE_ARRAY_INSERT(glue, Type)                                                                     \
  GLUE_CELL(glue);                                                                                       \
  void glue(REALarray array, intptr_t index, Type value) {                                               \
    using Procedure = void (*)(REALarray, intptr_t, Type);                                              \
    auto entry = Entry<Procedure (*)(REALarray)>(glue##Cell, "RuntimeArrayDirectGetInsertProc");         \
    if (entry == nullptr) return;                                                                        \
    if (Procedure insert = entry(array)) insert(array, index, value);                                    \
  }

GLUE_ARRAY_INSERT(REALInsertArrayValueString, REALstring)
GLUE_ARRAY_INSERT(REALInsertArrayValueObject, REALobject)

#define GLUE_ARRAY_GET(glue, Type)                                                                        \
  GLUE_CELL(glue);                                                                                       \
  void glue(REALarray array, intptr_t index, Type* value) {                                              \
    using Procedure = void (*)(REALarray, intptr_t, Type*);                                             \
    auto entry = Entry<Procedure (*)(REALarray)>(glue##Cell, "RuntimeArrayDirectGetGetProc");            \
    if (entry == nullptr) return;                                                                        \
    if (Procedure get = entry(array)) get(array, index, value);                                          \
  }

GLUE_ARRAY_GET(REALGetArrayValueInt32, int32_t)
GLUE_ARRAY_GET(REALGetArrayValueInt64, int64_t)
GLUE_ARRAY_GET(REALGetArrayValueUInt8, uint8_t)
GLUE_ARRAY_GET(REALGetArrayValueSingle, float)
GLUE_ARRAY_GET(REALGetArrayValueDouble, double)
GLUE_ARRAY_GET(REALGetArrayValueString, REALstring)
GLUE_ARRAY_GET(REALGetArrayValueObject, REALobject)

GLUE_CELL(REALGetArrayUBound);
intptr_t REALGetArrayUBound(REALarray array) {
  auto entry = Entry<intptr_t (*)(REALarray)>(REALGetArrayUBoundCell, "RuntimeUBound");
  return entry ? entry(array) : 0;
}

bool REALGetArrayUBoundIfKnown(REALarray array, intptr_t* upperBound) {
  auto entry = Entry<intptr_t (*)(REALarray)>(REALGetArrayUBoundCell, "RuntimeUBound");
  if (entry == nullptr) return false;
  *upperBound = entry(array);
  return true;
}

/* MemoryBlocks */

GLUE_CELL(REALNewMemoryBlockOriginal);
REALmemoryBlock REALNewMemoryBlockOriginal(intptr_t size) {
  auto entry = Entry<REALmemoryBlock (*)(intptr_t)>(REALNewMemoryBlockOriginalCell, "newMemoryBlock");
  return entry ? entry(size) : nullptr;
}

GLUE_CELL(REALMemoryBlockGetPtr);
void* REALMemoryBlockGetPtr(REALmemoryBlock block) {
  auto entry = Entry<void* (*)(REALmemoryBlock)>(REALMemoryBlockGetPtrCell, "memoryBlockGetPtr");
  return entry ? entry(block) : nullptr;
}

GLUE_CELL(REALMemoryBlockGetSize);
intptr_t REALMemoryBlockGetSize(REALmemoryBlock block) {
  auto entry = Entry<intptr_t (*)(REALmemoryBlock)>(REALMemoryBlockGetSizeCell, "memoryBlockGetSize");
  return entry ? entry(block) : 0;
}

/* Pictures */

GLUE_CELL(REALNewPicture);
REALpicture REALNewPicture(intptr_t width, intptr_t height, intptr_t depth) {
  auto entry = Entry<REALpicture (*)(intptr_t, intptr_t, intptr_t)>(REALNewPictureCell, "newPicture");
  return entry ? entry(width, height, depth) : nullptr;
}

GLUE_CELL(REALGetPictureMask);
REALpicture REALGetPictureMask(REALpicture picture, bool create) {
  auto entry = Entry<REALpicture (*)(REALpicture, bool)>(REALGetPictureMaskCell, "REALGetPictureMask");
  return entry ? entry(picture, create) : nullptr;
}

GLUE_CELL(REALPictureClearCache);
void REALPictureClearCache(REALpicture picture) {
  if (auto entry = Entry<void (*)(REALpicture)>(REALPictureClearCacheCell, "REALPictureClearCache")) entry(picture);
}

GLUE_CELL(REALGetPictureGraphics);
REALgraphics REALGetPictureGraphics(REALpicture picture) {
  auto entry = Entry<REALgraphics (*)(REALpicture)>(REALGetPictureGraphicsCell, "pluginPictureGraphicsGetter");
  return entry ? entry(picture) : nullptr;
}

GLUE_CELL(REALCopyPictureCGImage);
struct CGImage* REALCopyPictureCGImage(REALpicture picture) {
  auto entry = Entry<struct CGImage* (*)(REALpicture)>(REALCopyPictureCGImageCell, "REALCopyPictureCGImage");
  return entry ? entry(picture) : nullptr;
}

GLUE_CELL(REALBuildPictureFromBuffer);
REALpicture REALBuildPictureFromBuffer(intptr_t width, intptr_t height, int32_t pixelType, void* buffer,
                                       intptr_t rowBytes) {
  auto entry = Entry<REALpicture (*)(intptr_t, intptr_t, int32_t, void*, intptr_t)>(REALBuildPictureFromBufferCell,
                                                                                    "REALBuildPictureFromBuffer");
  return entry ? entry(width, height, pixelType, buffer, rowBytes) : nullptr;
}

/* The two forms of locking a picture description keep a cell each. */
static Cell REALLockPictureDescriptionCell{nullptr};
static Cell REALLockPictureDescriptionTypedCell{nullptr};
bool REALLockPictureDescription(REALpicture picture, REALpictureDescription* description) {
  auto entry = Entry<bool (*)(REALpicture, REALpictureDescription*)>(REALLockPictureDescriptionCell,
                                                                     "lockPictureDescription");
  return entry ? entry(picture, description) : false;
}
bool REALLockPictureDescription(REALpicture picture, REALpictureDescription* description, uint32_t pixelType) {
  auto entry = Entry<bool (*)(REALpicture, REALpictureDescription*, uint32_t)>(REALLockPictureDescriptionTypedCell,
                                                                               "REALLockPictureDescription");
  return entry ? entry(picture, description, pixelType) : false;
}

GLUE_CELL(REALUnlockPictureDescription);
void REALUnlockPictureDescription(REALpicture picture) {
  if (auto entry = Entry<void (*)(REALpicture)>(REALUnlockPictureDescriptionCell, "unlockPictureDescription"))
    entry(picture);
}

/* File references */

GLUE_CELL(REALFSSpecFromFolderItem);
bool REALFSSpecFromFolderItem(FSSpec* fileSpec, REALfolderItem item) {
  auto entry = Entry<bool (*)(FSSpec*, REALfolderItem)>(REALFSSpecFromFolderItemCell, "REALFSSpecFromFolderItem");
  return entry ? entry(fileSpec, item) : false;
}

GLUE_CELL(FolderItemFromFSSpec);
REALfolderItem FolderItemFromFSSpec(const FSSpec* fileSpec) {
  auto entry = Entry<REALfolderItem (*)(const FSSpec*)>(FolderItemFromFSSpecCell, "FolderItemFromFSSpec");
  return entry ? entry(fileSpec) : nullptr;
}

GLUE_CELL(REALFSRefFromFolderItem);
bool REALFSRefFromFolderItem(REALfolderItem item, FSRef* ref, HFSUniStr255* name) {
  auto entry =
      Entry<bool (*)(REALfolderItem, FSRef*, HFSUniStr255*)>(REALFSRefFromFolderItemCell, "REALFSRefFromFolderItem");
  return entry ? entry(item, ref, name) : false;
}

GLUE_CELL(REALFolderItemFromParentFSRef);
REALfolderItem REALFolderItemFromParentFSRef(const FSRef* parent, const HFSUniStr255* name) {
  auto entry = Entry<REALfolderItem (*)(const FSRef*, const HFSUniStr255*)>(REALFolderItemFromParentFSRefCell,
                                                                            "REALFolderItemFromParentFSRef");
  return entry ? entry(parent, name) : nullptr;
}

/* Variants */

#define GLUE_NEW_VARIANT(glue, hostName, Type)                                   \
  GLUE_CELL(glue);                                                              \
  REALobject glue(Type value) {                                                 \
    auto entry = Entry<REALobject (*)(Type)>(glue##Cell, hostName);             \
    return entry ? entry(value) : nullptr;                                      \
  }

GLUE_NEW_VARIANT(REALNewVariantString, "StringToVariant", REALstring)
GLUE_NEW_VARIANT(REALNewVariantInteger, "Int32ToVariant", int32_t)
GLUE_NEW_VARIANT(REALNewVariantUInt32, "UInt32ToVariant", uint32_t)
GLUE_NEW_VARIANT(REALNewVariantInt64, "Int64ToVariant", int64_t)
GLUE_NEW_VARIANT(REALNewVariantUInt64, "UInt64ToVariant", uint64_t)
GLUE_NEW_VARIANT(REALNewVariantDouble, "DoubleToVariant", double)
GLUE_NEW_VARIANT(REALNewVariantSingle, "SingleToVariant", float)
GLUE_NEW_VARIANT(REALNewVariantBoolean, "BooleanToVariant", bool)
