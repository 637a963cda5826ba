/* Plugin start and class registration. The static class tables are written in layout 12;
   newer hosts take them as they are, hosts before 2012.0 (layout 9) get a 25-word record
   whose member arrays are shorter copies, made once and kept for the life of the
   process because the host goes on referring to them. */
#include "plugin/registration.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "plugin/host_bridge.h"

double rbversion_rbversion = 0.0;
int32_t CurrentREALControlVersion = 9;

int32_t NegotiatedLayoutVersion(double hostVersion) {
  if (hostVersion >= 2013.03) return 12;
  if (hostVersion >= 2013.0) return 11;
  if (hostVersion >= 2012.0) return 10;
  return 9;  // older hosts, an unknown version, and NaN
}

void PluginStartQVR(REALResolver resolver) {
  gResolver = resolver;
  auto registerPluginVersion =
      reinterpret_cast<void (*)(int32_t)>(resolver ? resolver("RegisterPluginVersion") : nullptr);
  auto getVersion = reinterpret_cast<double (*)()>(resolver ? resolver("REALGetRBVersion") : nullptr);
  if (getVersion != nullptr) rbversion_rbversion = getVersion();
  CurrentREALControlVersion = NegotiatedLayoutVersion(rbversion_rbversion);
  /* A host without the entry point cannot be told; registration goes on regardless,
     since every record carries its layout version too. */
  if (registerPluginVersion != nullptr) registerPluginVersion(CurrentREALControlVersion);
}

/* Marker bits to host bits: 0x40000 gives 0x4 and 0x80000 gives 0x8 on hosts from
   2010.029 on; all three markers are always cleared. */
static uintptr_t FixedFlags(uintptr_t flags, bool newer) {
  if (newer && (flags & (REALmarkerFlag4 | REALmarkerFlag8)) != 0) {
    if (flags & REALmarkerFlag4) flags |= REALflagHost4;
    if (flags & REALmarkerFlag8) flags |= REALflagHost8;
  }
  return flags & ~static_cast<uintptr_t>(REALmarkerFlags);
}

static void FixMethodFlags(REALmethodDefinition* methods, uintptr_t count, bool newer) {
  if (methods == nullptr || static_cast<intptr_t>(count) < 1) return;
  for (uintptr_t i = 0; i < count; i++) methods[i].mFlags = FixedFlags(methods[i].mFlags, newer);
}

static void FixPropertyFlags(REALproperty* properties, uintptr_t count, bool newer) {
  if (properties == nullptr || static_cast<intptr_t>(count) < 1) return;
  for (uintptr_t i = 0; i < count; i++) properties[i].flags = FixedFlags(properties[i].flags, newer);
}

void FixConsoleFlags(REALclassDefinition* definition) {
  if (definition == nullptr) return;
  bool newer = rbversion_rbversion >= 2010.029;
  definition->mFlags = FixedFlags(definition->mFlags, newer);
  FixMethodFlags(definition->methods, definition->methodCount, newer);
  FixMethodFlags(definition->sharedMethods, definition->sharedMethodCount, newer);
  FixPropertyFlags(definition->properties, definition->propertyCount, newer);
  FixPropertyFlags(definition->sharedProperties, definition->sharedPropertyCount, newer);
}

/* Zero-filled room for count records of recordWords words, or null when there is
   nothing to copy or the size would pass 0x7FFFFFFF bytes. */
static uintptr_t* NewRecordArray(uintptr_t count, size_t recordWords) {
  if (count == 0) return nullptr;
  size_t recordBytes = recordWords * sizeof(uintptr_t);
  if (count > 0x7FFFFFFFu / recordBytes) return nullptr;
  return static_cast<uintptr_t*>(std::calloc(count, recordBytes));
}

uintptr_t* FixProperties(const REALproperty* properties, uintptr_t count) {
  if (properties == nullptr || count == 0) return nullptr;
  uintptr_t* copies = NewRecordArray(count, 10);
  if (copies == nullptr) return nullptr;
  for (uintptr_t i = 0; i < count; i++) std::memcpy(copies + i * 10, &properties[i], 10 * sizeof(uintptr_t));
  return copies;
}

/* Layout-9 methods: function, setterFunction, declaration, mFlags. */
static uintptr_t* FixMethods(const REALmethodDefinition* methods, uintptr_t count) {
  if (methods == nullptr) return nullptr;
  uintptr_t* copies = NewRecordArray(count, 4);
  if (copies == nullptr) return nullptr;
  for (uintptr_t i = 0; i < count; i++) std::memcpy(copies + i * 4, &methods[i], 4 * sizeof(uintptr_t));
  return copies;
}

/* Layout-9 events: declaration, forSystemUse. The source record then points at its copy. */
static uintptr_t* FixEvents(REALevent* events, uintptr_t count) {
  if (events == nullptr) return nullptr;
  uintptr_t* copies = NewRecordArray(count, 2);
  if (copies == nullptr) return nullptr;
  for (uintptr_t i = 0; i < count; i++) {
    copies[i * 2] = reinterpret_cast<uintptr_t>(events[i].declaration);
    copies[i * 2 + 1] = events[i].forSystemUse;
    events[i].forSystemUse = reinterpret_cast<uintptr_t>(copies + i * 2);
  }
  return copies;
}

/* Layout-9 constants: declaration and the two reserved words. */
static uintptr_t* FixConstants(const REALconstant* constants, uintptr_t count) {
  if (constants == nullptr) return nullptr;
  uintptr_t* copies = NewRecordArray(count, 3);
  if (copies == nullptr) return nullptr;
  for (uintptr_t i = 0; i < count; i++) std::memcpy(copies + i * 3, &constants[i], 3 * sizeof(uintptr_t));
  return copies;
}

static uintptr_t Word(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }

enum { kVersion9RecordWords = 25 };

void MyREALRegisterClass(REALclassDefinition* definition) {
  if (definition == nullptr) return;
  definition->dataSize = (definition->dataSize + 15) & ~static_cast<uintptr_t>(15);

  if (CurrentREALControlVersion > 9) {
    definition->version = static_cast<uintptr_t>(CurrentREALControlVersion);
    REALRegisterClass(definition);
    return;
  }

  auto* record = static_cast<uintptr_t*>(std::calloc(kVersion9RecordWords, sizeof(uintptr_t)));
  if (record == nullptr) return;
  record[0] = 9;
  record[1] = Word(definition->name);
  record[2] = Word(definition->superName);
  record[3] = definition->dataSize;
  record[4] = definition->forSystemUse;
  record[5] = Word(definition->constructor);
  record[6] = Word(definition->destructor);
  record[7] = Word(FixProperties(definition->properties, definition->propertyCount));
  record[8] = definition->propertyCount;
  record[9] = Word(FixMethods(definition->methods, definition->methodCount));
  record[10] = definition->methodCount;
  record[11] = Word(FixEvents(definition->events, definition->eventCount));
  record[12] = definition->eventCount;
  record[13] = Word(definition->eventInstances);
  record[14] = definition->eventInstanceCount;
  record[15] = Word(definition->interfaces);
  record[16] = 0;
  record[17] = 0;
  record[18] = Word(FixConstants(definition->constants, definition->constantCount));
  record[19] = definition->constantCount;
  record[20] = definition->mFlags;
  record[21] = Word(FixProperties(definition->sharedProperties, definition->sharedPropertyCount));
  record[22] = definition->sharedPropertyCount;
  record[23] = Word(FixMethods(definition->sharedMethods, definition->sharedMethodCount));
  record[24] = definition->sharedMethodCount;
  std::memcpy(definition, record, kVersion9RecordWords * sizeof(uintptr_t));
  std::free(record);
  REALRegisterClass(definition);
}
