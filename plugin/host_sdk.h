/* The host's plugin interface as this plugin sees it: opaque host references, the
   registration records in layout version 12, the string data record. Every word that
   holds a pointer, a count or flags is pointer-sized, so the records keep their field
   order on 64-bit hosts. Nothing here comes from the host's own headers. */
#ifndef QVR_PLUGIN_HOST_SDK_H
#define QVR_PLUGIN_HOST_SDK_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Host references: opaque, reference-counted by the host. Variants, Dates, Dictionaries
   and exceptions are host objects too. */
typedef struct REALobjectStruct* REALobject;
typedef struct REALstringStruct* REALstring;
typedef struct REALmemoryBlockStruct* REALmemoryBlock;
typedef struct REALfolderItemStruct* REALfolderItem;
typedef struct REALpictureStruct* REALpicture;
typedef struct REALgraphicsStruct* REALgraphics;
typedef struct REALarrayStruct* REALarray;
typedef struct REALclassRefStruct* REALclassRef;
struct REALpictureDescription;

/* The resolver handed to REALPluginMain: entry point by name, or null. */
typedef void* (*REALResolver)(const char* entryName);

/* A getter or setter of this value asks the host to read or write the instance data
   itself, at byte offset param. */
#define REALstandardAccessor ((void*)(intptr_t)-1)

/* Member flags the host understands, and the plugin's own markers, which are rewritten
   for the host before registration and never reach it. */
enum {
  REALflagHost2 = 0x2,
  REALflagHost4 = 0x4,
  REALflagHost8 = 0x8,
  REALflagHost80 = 0x80,
  REALmarkerFlag4 = 0x40000,   /* becomes 0x4 on hosts from 2010.029 on, dropped before */
  REALmarkerFlag8 = 0x80000,   /* becomes 0x8 on hosts from 2010.029 on, dropped before */
  REALmarkerDrop = 0x100000,   /* always dropped */
  REALmarkerFlags = 0x1C0000,
};

typedef struct REALproperty {
  const char* group;
  const char* name;
  const char* type;
  uintptr_t flags;
  void* getter;
  void* setter;
  intptr_t param;
  void* editor;
  uintptr_t enumCount;
  const char** enumEntries;
  uintptr_t attributeCount;
  void* attributes;
} REALproperty;

typedef struct REALmethodDefinition {
  void* function;
  void* setterFunction;
  const char* declaration;
  uintptr_t mFlags;
  uintptr_t attributeCount;
  void* attributes;
} REALmethodDefinition;

typedef struct REALconstant {
  const char* declaration;
  uintptr_t reserved1;
  uintptr_t reserved2;
  uintptr_t attributeCount;
  void* attributes;
} REALconstant;

typedef struct REALevent {
  const char* declaration;
  uintptr_t forSystemUse;
  uintptr_t attributeCount;
  void* attributes;
} REALevent;

/* Layout 12 of the class record (29 words). Layouts 10 and 11 are the same words; layout
   9 keeps the first 25 with shorter member records (see registration). */
typedef struct REALclassDefinition {
  uintptr_t version;
  const char* name;
  const char* superName;
  uintptr_t dataSize;
  uintptr_t forSystemUse;
  void* constructor;
  void* destructor;
  REALproperty* properties;
  uintptr_t propertyCount;
  REALmethodDefinition* methods;
  uintptr_t methodCount;
  REALevent* events;
  uintptr_t eventCount;
  void* eventInstances;
  uintptr_t eventInstanceCount;
  const char* interfaces;
  void* attributes;
  uintptr_t attributeCount;
  REALconstant* constants;
  uintptr_t constantCount;
  uintptr_t mFlags;
  REALproperty* sharedProperties;
  uintptr_t sharedPropertyCount;
  REALmethodDefinition* sharedMethods;
  uintptr_t sharedMethodCount;
  void* delegates;
  uintptr_t delegateCount;
  void* enums;
  uintptr_t enumCount;
} REALclassDefinition;

/* The layout version the static tables are written in. */
enum { kREALCurrentControlVersion = 12 };

/* The bytes of a host string in some encoding, filled by REALGetStringData and given
   back with REALDisposeStringData. */
typedef struct REALstringData {
  const void* data;
  uintptr_t length;
  uintptr_t encoding;
  uintptr_t reserved1;
  uintptr_t reserved2;
} REALstringData;

/* Host string encodings: the platform's CFStringEncoding codes. */
enum {
  kREALTextEncodingMacRoman = 0,
  kREALTextEncodingUTF16 = 0x100,
  kREALTextEncodingASCII = 0x600,
  kREALTextEncodingUTF8 = 0x08000100,
  kREALTextEncodingUnknown = 0xFFFF,
};

/* Element types of "RuntimeArrayCreateSingleDimBoundedArray". */
enum {
  kREALArrayTypeInteger = 0,
  kREALArrayTypeInt32 = 1,
  kREALArrayTypeDouble = 2,
  kREALArrayTypeString = 3,
  kREALArrayTypeObject = 4,
  kREALArrayTypeBoolean = 5,
  kREALArrayTypeSingle = 6,
  kREALArrayTypeInt64 = 7,
};

#ifdef __cplusplus
}

static_assert(sizeof(REALproperty) == 12 * sizeof(void*), "a property record is 12 words");
static_assert(sizeof(REALmethodDefinition) == 6 * sizeof(void*), "a method record is 6 words");
static_assert(sizeof(REALconstant) == 5 * sizeof(void*), "a constant record is 5 words");
static_assert(sizeof(REALevent) == 4 * sizeof(void*), "an event record is 4 words");
static_assert(sizeof(REALclassDefinition) == 29 * sizeof(void*), "a class record is 29 words");
static_assert(sizeof(REALstringData) == 5 * sizeof(void*), "a string data record is 5 words");
#endif

#endif
